"""The report of lenses and filters."""

from collections.abc import Sequence
from typing import TYPE_CHECKING, Any

from ..quantities import LENS, Figures, measurand, on_grid
from ..spectrum import Spectrum
from ._inputs import Spectra, as_spectra
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
    spectra: Spectra,
    *,
    clear_lens: bool = True,
    budget: Budget | None = None,
    draws: Draws = None,
    seed: int | None = None,
    grid: float | None = None,
) -> Report:
    """What the standards say of lenses and filters.

    Parameters
    ----------
    spectra : Spectrum, Scan, mapping of str to one of them, or iterable of them
        Spectral transmittances. Per cent and absorbances are converted, with a note; values of
        which nobody states what they are have to lie between 0 and 1.
    clear_lens : bool
        Whether transmittances come with that of a clear lens.
    budget : Budget, optional
        Of the uncertainty, which the figures then come with.
    draws, seed
        As of `uncertainty.simulate`; without draws the uncertainty is of first order.
    grid : float, optional
        Step in nm to which the spectra are brought first: see `quantities.on_grid`. With a budget
        all points must have been measured.

    Returns
    -------
    Report

    Raises
    ------
    Refusal
        If a spectrum is of something else, or outside of what a transmittance can be.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> report = vek.reports.lens(vek.read("examples/two-lenses.vek"))
    >>> print(report.text().splitlines()[0])
    Lens report, vekanalysis 4.2.0
    >>> [round(row["ISO8980_3_tau_v"], 4) for row in report.rows()]
    [0.5496, 0.633]
    """
    transmittances = [measurand(spectrum, "transmittance") for spectrum in as_spectra(spectra)]
    if grid is not None:
        thinned = budget is not None
        transmittances = [on_grid(each, grid, thinned=thinned) for each in transmittances]
    figures = Figures(LENS)
    values = [figures.values(spectrum.scan) for spectrum in transmittances]
    if not clear_lens:
        values = [
            {key: value._replace(clear_lens=None) for key, value in each.items()} for each in values
        ]
    uncertainty = None
    if budget is not None:
        uncertainty = make_uncertainty(transmittances, LENS, budget, draws, seed)
    return Report("Lens report", transmittances, LENS, values, (_SAMPLING,), _figure, uncertainty)


def _figure(spectra: Sequence[Spectrum]) -> Any:
    from ._pictures import lens_figure

    return lens_figure(spectra)
