"""What repeated measurements tell of their noise."""

import math
from collections.abc import Sequence
from typing import Final, NamedTuple

import numpy as np

from .. import units
from .._core import Scan
from ..errors import Refusal
from ..spectrum import Spectrum
from ._sizes import Curve, Factor, Floats

# Where values without a unit are taken for fractions.
_LOWEST: Final = -0.5
_HIGHEST: Final = 1.5


class Noise(NamedTuple):
    """Type A evaluation of repeated spectra (JCGM 100:2008, 4.2)."""

    standard: Curve
    # The covariance between the wavelengths; of a rank of one less than there are repeats.
    factor: Factor
    dof: float


def noise_of(name: str, repeats: Sequence[Spectrum | Scan], averaged: int, relative: bool) -> Noise:
    """The noise of a mean of ``averaged`` such spectra; relative to the mean where asked."""
    if len(repeats) < 2:
        raise Refusal(f"component '{name}': repeats: at least two spectra are needed")
    if isinstance(averaged, bool) or not isinstance(averaged, int) or averaged < 1:
        raise Refusal(f"component '{name}': averaged must be a whole number above 0")
    scans = [_in_coherent_unit(name, repeat, relative) for repeat in repeats]
    grid = scans[0].to_numpy()[0]
    values = np.empty((len(scans), len(grid)))
    for row, scan in zip(values, scans, strict=True):
        wavelengths, row_values = scan.to_numpy()
        if not np.array_equal(wavelengths, grid):
            raise Refusal(f"component '{name}': repeats: the wavelengths of the spectra differ")
        row[:] = row_values
    if not np.isfinite(values).all():
        raise Refusal(f"component '{name}': repeats: there are values that are not finite")
    mean = values.mean(axis=0)
    rows: Floats = (values - mean) / math.sqrt((len(scans) - 1) * averaged)
    if relative:
        if not (np.abs(mean) > 0.0).all():
            raise Refusal(f"component '{name}': repeats: no relative noise where the mean is 0")
        rows /= np.abs(mean)
    standard = np.sqrt((rows * rows).sum(axis=0))
    return Noise(Curve(grid, standard), Factor(grid, rows), float(len(scans) - 1))


def _in_coherent_unit(name: str, repeat: Spectrum | Scan, relative: bool) -> Scan:
    if isinstance(repeat, Scan):
        return repeat
    unit = None if repeat.unit is None else units.parse(repeat.unit)
    if unit is not None:
        return repeat.to(unit.base).scan
    scan = repeat.scan
    if not relative and not all(_LOWEST <= value <= _HIGHEST for value in scan.values()):
        raise Refusal(
            f"component '{name}': repeats: the unit of {repeat.where} is not stated, and its "
            "values are no fractions; state unit"
        )
    return scan
