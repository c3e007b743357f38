"""The law of propagation of uncertainty for spectrum after spectrum."""

from collections.abc import Iterable, Iterator, Sequence
from typing import Final, NamedTuple

import numpy as np

from ..quantities import Quantity
from ..spectrum import Spectrum
from ._budget import Budget
from ._case import Case, Cases
from ._propagation import are_finite, contributions, is_smooth
from ._results import combined, coverage_factors, part_of
from ._sizes import Floats

# Values of changed spectra that are there at a time, unless one spectrum alone has more.
_VALUES: Final = 1_000_000


class Columns(NamedTuple):
    """Uncertainties of quantities of spectra, each an array of shape (spectra, quantities).

    NaN where a quantity has none; else as in `Uncertain`.
    """

    u: Floats
    expanded: Floats
    k: Floats
    dof: Floats


class Propagator:
    """The uncertainties of quantities of many spectra.

    Gives what `propagate` gives, to the last digit, without a record for each figure: the changed
    spectra of all that are on one grid are evaluated together.

    Parameters
    ----------
    budget : Budget
    quantities : iterable of Quantity
    """

    def __init__(self, budget: Budget, quantities: Iterable[Quantity]) -> None:
        self._budget = budget
        self._quantities = tuple(quantities)

    def __call__(
        self, spectra: Sequence[Spectrum], numbers: Sequence[Sequence[float | None]]
    ) -> Columns:
        """The uncertainties of some spectra.

        Parameters
        ----------
        spectra : sequence of Spectrum
        numbers : sequence of sequence of float or None
            Of each spectrum its quantities, as `quantities.Figures` gives them.

        Returns
        -------
        Columns

        Raises
        ------
        Refusal, RuntimeError
            As `propagate` does, if one of the spectra has no uncertainties.
        """
        columns = {record.key: i for i, record in enumerate(self._quantities)}
        result = np.full((len(Columns._fields), len(spectra), len(columns)), np.nan)
        found = map(Cases(self._budget, self._quantities), spectra, numbers, strict=True)
        for rows, batch in _batches(found, len(self._budget.components)):
            wanted = [columns[key] for key in batch[0].keys]
            result[:, np.array(rows)[:, np.newaxis], wanted] = _columns(batch)
        return Columns(*result)


def _batches(cases: Iterable[Case], components: int) -> Iterator[tuple[list[int], list[Case]]]:
    """Cases that have all but the spectrum in common, with their places among all."""
    waiting: dict[tuple[int, int], tuple[list[int], list[Case]]] = {}
    for place, case in enumerate(cases):
        # The same objects for all that `Cases` found to be on one grid.
        common = id(case.prepared), id(case.groups)
        places, batch = waiting.setdefault(common, ([], []))
        places.append(place)
        batch.append(case)
        if 2 * components * len(batch) * case.spectrum.values.size >= _VALUES:
            yield waiting.pop(common)
    yield from waiting.values()


def _columns(cases: Sequence[Case]) -> Floats:
    """The fields of `Columns`, one after another, of cases of a batch."""
    budget, keys = cases[0].prepared.budget, cases[0].keys
    parts = np.empty((len(cases), len(budget.components), len(keys)))
    known = np.empty((len(cases), len(keys)), dtype=bool)
    for i, effects in enumerate(contributions(cases)):
        for j, effect in enumerate(effects.values()):
            parts[i, j] = part_of(effect)
        # Where the roots of the sums of squares are finite, so is all that is in them.
        known[i] = np.isfinite(parts[i]).all() or are_finite(effects, len(keys))
    known &= is_smooth(keys)
    parts = np.where(known[:, np.newaxis], parts, 0.0)
    u, dof = combined(parts, [component.dof for component in budget.components])
    k = coverage_factors(budget.coverage, dof)
    return np.where(known, np.array([u, k * u, k, dof]), np.nan)
