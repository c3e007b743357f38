"""Quantities of many spectra on one grid."""

from collections.abc import Sequence
from typing import Any, Final

import numpy as np

from .. import quantities
from .._core import Interpolation, Scan
from ..quantities import Quantity
from ._sizes import Floats

# To be linear on a grid a quantity must be the sum of those of unit pulses as exactly as this.
_LINEAR: Final = 1e-12
# Step of differences, of the largest value of a spectrum.
_STEP: Final = 1e-4


class Evaluator:
    """The quantities of spectra that have the same wavelengths.

    What is linear in the values is a sum of the quantities of unit pulses, which are computed
    once; the rest is computed by the library's functions, spectrum by spectrum. Whether a quantity
    is linear depends on the grid: with wavelengths that the tables of its weights do not have the
    interpolant counts. Nothing is changed by use, so threads may share it.
    """

    def __init__(
        self,
        wavelengths: Floats,
        records: Sequence[Quantity],
        interpolation: Interpolation,
        epsilon: float,
    ) -> None:
        self._wavelengths = wavelengths
        self._records = tuple(records)
        self._form = epsilon, interpolation
        count = len(wavelengths)
        # Pulses on a constant: a pulse alone may be refused, as light without any.
        constant = np.full(count, 0.5)
        pulses = self._one_by_one(constant + 0.25 * np.eye(count), self._records)
        base = self._one_by_one(constant[np.newaxis], self._records)
        self._weights = (pulses - base).T / 0.25
        rng = np.random.default_rng(0)
        trials = 0.5 + 0.4 * rng.uniform(-1.0, 1.0, (3, count)).cumsum(axis=1) / np.sqrt(count)
        exact = self._one_by_one(trials, self._records)
        error = np.abs(trials @ self._weights.T - exact)
        scale = 1.0 + np.abs(self._weights).sum(axis=1)
        with np.errstate(invalid="ignore"):
            self._is_linear = (error <= _LINEAR * scale).all(axis=0)
        self._others = np.flatnonzero(~self._is_linear)

    def __getstate__(self) -> dict[str, Any]:
        keys = [(record.kind, record.key) for record in self._records]
        return self.__dict__ | {"_records": keys}

    def __setstate__(self, state: dict[str, Any]) -> None:
        every = (*quantities.LENS, *quantities.LIGHT, *quantities.PHOTOMETER)
        by_key = {(record.kind, record.key): record for record in every}
        self.__dict__ |= state | {"_records": tuple(by_key[key] for key in state["_records"])}

    @property
    def linear(self) -> tuple[bool, ...]:
        """Which of the quantities are linear on this grid."""
        return tuple(map(bool, self._is_linear))

    def __call__(self, spectra: Floats) -> Floats:
        """Shape (m, points) to (m, quantities); NaN where there is no value."""
        result = spectra @ self._weights.T
        if len(self._others):
            records = [self._records[i] for i in self._others]
            result[:, self._others] = self._one_by_one(spectra, records)
        return result

    def sensitivities(self, values: Floats) -> Floats:
        """Change of each quantity with each value: shape (quantities, points).

        Of what is not linear by differences about the spectrum.
        """
        result = self._weights.copy()
        if len(self._others):
            records = [self._records[i] for i in self._others]
            step = _STEP * (np.abs(values).max() or 1.0)
            steps = step * np.eye(len(values))
            ups = self._one_by_one(values + steps, records)
            downs = self._one_by_one(values - steps, records)
            result[self._others] = (ups - downs).T / (2.0 * step)
        return result

    def _one_by_one(self, spectra: Floats, records: Sequence[Quantity]) -> Floats:
        result = np.empty((len(spectra), len(records)))
        for row, values in zip(result, spectra, strict=True):
            scan = Scan(self._wavelengths, values, *self._form)
            found = quantities.evaluate(scan, records, clear_lens=False)
            row[:] = [np.nan if each.value is None else each.value for each in found.values()]
        return result
