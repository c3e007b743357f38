"""The law of propagation of uncertainty, by what each component does to the spectrum."""

from collections.abc import Iterable, Iterator, Mapping, Sequence
from typing import Final

import numpy as np
from numpy.typing import NDArray

from .._core import Scan
from ..spectrum import Spectrum
from ._budget import Budget
from ._case import Case, Keys, case_of, evaluate
from ._effects import Effect
from ._results import Results
from ._sizes import Floats

# Quantities that are the wavelength of a point: their differences are 0, or a step.
_STEPS: Final = ("peak_wavelength",)


def propagate(
    spectrum: Spectrum | Scan,
    budget: Budget,
    keys: Keys | None = None,
    *,
    coverage: float | None = None,
) -> Results:
    """Quantities of a spectrum with their uncertainty, to first order (JCGM 100:2008, 5.2).

    Each component changes the spectrum by one standard uncertainty up and down, and half the
    difference of the quantities is its contribution; the wavelengths of the points stay. Where a
    component has a number for every point, the sensitivities of the quantities take the place of
    the difference. Components are independent of each other.

    Parameters
    ----------
    spectrum : Spectrum or Scan
        Of a Scan the values are taken as they stand.
    budget : Budget
        Absolute sizes without a unit are in the coherent unit of the spectrum's kind.
    keys : iterable of Quantity or str, optional
        By default the catalogue that fits to the kind of the spectrum; that of lenses for a Scan.
    coverage : float, optional
        In place of that of the budget.

    Returns
    -------
    Results

    Raises
    ------
    Refusal
        If the spectrum is of no kind for the quantities, or the budget does not fit to it.
    RuntimeError
        If there are errors of the wavelength, and the spectrum cannot be interpolated.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> from vekanalysis.uncertainty import Budget, Component, propagate
    >>> lens = vek.Scan(range(380, 781, 5), [0.25] * 81)
    >>> budget = Budget(components=[Component(name="line", kind="gain", standard=0.002)])
    >>> print(propagate(lens, budget)["ISO8980_3_tau_v"])
    0.25000 ± 0.00098
    """
    return first_order(case_of(spectrum, budget, keys), coverage)


def first_order(case: Case, coverage: float | None = None) -> Results:
    """The results of a case; a quantity whose uncertainty is not finite has a problem."""
    budget = case.prepared.budget
    (effects,) = contributions([case])
    problems = dict(case.problems)
    keys, values, possible = list(case.keys), case.numbers, case.possible
    smooth, finite = is_smooth(keys), are_finite(effects, len(keys))
    if not (finite & smooth).all():
        for i, key in enumerate(keys):
            if not smooth[i]:
                problems[key] = "It goes from point to point: only draws have its uncertainty"
            elif not finite[i]:
                problems[key] = "The uncertainty is not a finite number"
        kept = np.flatnonzero(finite & smooth)
        keys, possible = [keys[i] for i in kept], [possible[i] for i in kept]
        values = values[kept]
        effects = {name: part[kept] for name, part in effects.items()}
    dof = {component.name: component.dof for component in budget.components}
    if coverage is None:
        coverage = budget.coverage
    return Results(keys, values, effects, dof, coverage, problems, possible)


def is_smooth(keys: Sequence[str]) -> NDArray[np.bool]:
    """Which quantities have an uncertainty to first order at all."""
    return np.array([key not in _STEPS for key in keys], dtype=bool)


def are_finite(effects: Mapping[str, Floats], count: int) -> NDArray[np.bool]:
    """For which of so many quantities all contributions are finite numbers."""
    finite = np.ones(count, dtype=bool)
    for part in effects.values():
        finite &= np.isfinite(part.sum(axis=1))
    return finite


def contributions(cases: Sequence[Case]) -> Iterator[dict[str, Floats]]:
    """Of each component the effect on the quantities, shape (quantities, independent errors).

    One after another for cases that have grid, quantities and evaluators in common.
    """
    first = cases[0]
    effects = [list(case.prepared.effects(case.spectrum)) for case in cases]
    pairs = [effect.both for each in effects for effect in each if effect.both is not None]
    halves: Iterator[Floats] = iter(())
    if pairs:
        together = 2 * len(pairs) // len(cases)
        both = evaluate(first.groups, np.concatenate(pairs), len(first.keys), together)
        halves = iter(0.5 * (both[0::2] - both[1::2]))
    for case, each in zip(cases, effects, strict=True):
        yield _contributions(case, each, halves)


def _contributions(
    case: Case, effects: Iterable[Effect], halves: Iterator[Floats]
) -> dict[str, Floats]:
    """The same of one case; ``halves`` has half the differences, in their order."""
    sensitivities = None
    found = {}
    for effect in effects:
        if effect.form == "figure":
            part = figure_sizes(effect, case)[:, np.newaxis]
        elif effect.both is not None:
            part = next(halves)[:, np.newaxis]
        else:
            if sensitivities is None:
                sensitivities = case.sensitivities()
            if effect.form in ("independent", "jitter"):
                part = sensitivities * effect.rows[0]
            else:
                part = sensitivities @ effect.rows.T
        found[effect.component.name] = part
    return found


def figure_sizes(effect: Effect, case: Case) -> Floats:
    """What a component adds to each quantity: its size to those that it is for."""
    component = effect.component
    wanted = np.array([key in component.quantities for key in case.keys], dtype=np.float64)
    size = float(effect.rows[0])
    sizes: Floats = size * wanted * (np.abs(case.numbers) if component.relative else 1.0)
    return sizes
