"""The report of lenses and filters."""

from collections.abc import Sequence
from typing import TYPE_CHECKING, Any

from ..quantities import (
    LENS,
    LENS_FULL,
    Figures,
    OwnTable,
    Repeats,
    measurand,
    on_grid,
    with_tables,
)
from ..spectrum import Spectrum
from ._inputs import Objects, as_objects
from ._repeated import SCATTER, budgets_of, make_repeated
from ._report import Report
from ._uncertain import Draws, make_uncertainty

if TYPE_CHECKING:
    from ..uncertainty import Budget
else:
    Budget = Any  # that room is imported when it is used

_SAMPLING = (
    "All figures but the means and τ_min weight the data with tables, at the wavelengths of both: "
    "at wavelengths that the tables do not have a clear lens may give a little more or less than 1."
)


def lens(
    spectra: Objects,
    *,
    clear_lens: bool = True,
    full: bool = False,
    budget: Budget | None = None,
    draws: Draws = None,
    seed: int | None = None,
    grid: float | None = None,
    tables: Sequence[OwnTable] = (),
) -> Report:
    """What the standards say of lenses and filters.

    Parameters
    ----------
    spectra : Spectrum, Scan, Repeats, mapping of str to one of the first two, or iterable of them
        Spectral transmittances. Per cent and absorbances are converted, with a note; values of
        which nobody states what they are have to lie between 0 and 1. `quantities.Repeats` count
        as one spectrum, their mean.
    clear_lens : bool
        Whether transmittances come with that of a clear lens.
    full : bool
        Whether there are also the derived quantities: attenuation quotients, signals relative to a
        clear lens, the smallest value over the luminous one.
    budget : Budget, optional
        Of the uncertainty, which the figures then come with; with the noise of the repeats, if
        it is to have that (`Budget.with_repeats`).
    draws, seed
        As of `uncertainty.simulate`; without draws the uncertainty is of first order.
    grid : float, optional
        Step in nm to which the spectra are brought first: see `quantities.on_grid`. With a budget
        all points must have been measured.
    tables : sequence of OwnTable
        Of the laboratory's own, in place of built-in ones: see `quantities.with_tables`.

    Returns
    -------
    Report

    Raises
    ------
    Refusal
        If a spectrum is of something else, or outside of what a transmittance can be, or if
        repeats have no mean.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> report = vek.reports.lens(vek.read("examples/two-lenses.vek"))
    >>> print(report.text().splitlines()[0])
    Lens report, vekanalysis 4.2.0
    >>> [round(row["ISO8980_3_tau_v"], 4) for row in report.rows()]
    [0.5496, 0.633]
    """
    thinned = budget is not None
    measured = [_measured(each, grid, thinned=thinned) for each in as_objects(spectra)]
    transmittances = [each.mean if isinstance(each, Repeats) else each for each in measured]
    wanted = with_tables(LENS_FULL if full else LENS, tables)
    figures = Figures(wanted)
    values = [figures.values(spectrum.scan) for spectrum in transmittances]
    if not clear_lens:
        values = [
            {key: value._replace(clear_lens=None) for key, value in each.items()} for each in values
        ]
    repeats = make_repeated(measured, wanted, lambda spectrum: figures(spectrum.scan)[0])
    notes = [_SAMPLING, *[SCATTER] * any(repeats)]
    uncertainty = None
    if budget is not None:
        budgets, said = budgets_of(budget, repeats)
        notes += said
        uncertainty = make_uncertainty(transmittances, wanted, budgets, draws, seed)
    return Report(
        "Lens report", transmittances, wanted, values, notes, _figure, uncertainty, repeats=repeats
    )


def _measured(item: Spectrum | Repeats, grid: float | None, *, thinned: bool) -> Spectrum | Repeats:
    if isinstance(item, Repeats):
        return item.transmittances(grid, thinned=thinned)
    spectrum = measurand(item, "transmittance")
    return spectrum if grid is None else on_grid(spectrum, grid, thinned=thinned)


def _figure(spectra: Sequence[Spectrum]) -> Any:
    from ._pictures import lens_figure

    return lens_figure(spectra)
