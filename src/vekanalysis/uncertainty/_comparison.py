"""Two spectra of one day, whose errors are partly the same."""

from collections.abc import Iterator, Mapping
from typing import NamedTuple

import numpy as np

from .._core import Scan
from ..errors import Refusal
from ..spectrum import Spectrum
from ._budget import Budget
from ._case import Keys
from ._propagation import propagate
from ._results import Results, Uncertain
from ._sizes import Floats


class Compared(NamedTuple):
    """A quantity of two spectra.

    Attributes
    ----------
    a, b : Uncertain
        Of the one and of the other.
    difference : Uncertain
        a - b.
    ratio : Uncertain or None
        a / b; None where b is 0.
    """

    a: Uncertain
    b: Uncertain
    difference: Uncertain
    ratio: Uncertain | None


class Comparison(Mapping[str, Compared]):
    """Quantities by key that two spectra both have, with what the errors have in common."""

    def __init__(self, a: Results, b: Results, budget: Budget) -> None:
        """``a`` and ``b`` are of that budget."""
        self.a = a
        self.b = b
        self._keys = [key for key in a if key in b]
        self._joint = _joint(a, b, self._keys, budget)

    def __getitem__(self, key: str) -> Compared:
        a, b = self.a[key], self.b[key]  # the one that lacks it knows why
        of_a, of_b = f"a:{key}", f"b:{key}"
        ratio = None if b.value == 0.0 else self._joint.ratio(of_a, of_b)
        return Compared(a, b, self._joint.margin(of_a, of_b), ratio)

    def __iter__(self) -> Iterator[str]:
        return iter(self._keys)

    def __len__(self) -> int:
        return len(self._keys)

    def __repr__(self) -> str:
        return f"<Comparison: {len(self)} quantities>"


def compare(
    a: Spectrum | Scan,
    b: Spectrum | Scan,
    budget: Budget,
    keys: Keys | None = None,
    *,
    coverage: float | None = None,
) -> Comparison:
    """Difference and ratio of quantities of two spectra that were measured on one day.

    Both have the same gain, zero, wavelengths and all else that a component of the budget is
    ``shared`` for; noise and the like each has for itself. So the difference may be more certain
    than either.

    Parameters
    ----------
    a, b : Spectrum or Scan
    budget : Budget
    keys : iterable of Quantity or str, optional
    coverage : float, optional
        As for `propagate`.

    Returns
    -------
    Comparison
        By key, with ``difference`` and ``ratio``.

    Raises
    ------
    Refusal
        As `propagate`; and where an error with a number for each point is shared by spectra with
        different points.
    """
    return Comparison(
        propagate(a, budget, keys, coverage=coverage),
        propagate(b, budget, keys, coverage=coverage),
        budget,
    )


def _joint(a: Results, b: Results, keys: list[str], budget: Budget) -> Results:
    """The quantities of both, ``a:`` and ``b:`` before their keys, with all covariances."""
    effects: dict[str, Floats] = {}
    dof = {}
    for component in budget.components:
        name = component.name
        of_a, of_b = a.effect(name, keys), b.effect(name, keys)
        dof[name] = component.dof
        if not component.is_shared:
            effects[name] = np.block([[of_a, np.zeros_like(of_b)], [np.zeros_like(of_a), of_b]])
        elif of_a.shape == of_b.shape:
            effects[name] = np.concatenate((of_a, of_b))
        else:
            raise Refusal(
                f"component '{name}' is shared, and has a number for each point: the spectra have "
                f"{of_a.shape[1]} and {of_b.shape[1]}"
            )
    values = [of[key].value for of in (a, b) for key in keys]
    names = [f"{of}:{key}" for of in "ab" for key in keys]
    return Results(names, np.array(values), effects, dof, a.coverage)
