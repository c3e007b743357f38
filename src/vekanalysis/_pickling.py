"""Copying and pickling of scans and result records.

The reducers are registered with ``copyreg``, so the classes gain no members. A scan
travels as its array of points, which pickle protocol 5 can hand over out of band.
"""

import copyreg

from ._core import Interpolation, Observer, Scan, chromaticity, colorimetry, utils

TYPE_CHECKING = False  # typing itself would double the time that importing the package takes
if TYPE_CHECKING:
    from collections.abc import Callable
    from typing import Any

    import numpy as np
    from numpy.typing import NDArray


def _restore_scan(points: NDArray[np.float64], epsilon: float, interpolation: int) -> Scan:
    return Scan(points[0], points[1], epsilon, Interpolation(interpolation))


def _reduce_scan(scan: Scan) -> tuple[Callable[..., Scan], tuple[Any, ...]]:
    return _restore_scan, (scan.to_numpy(), scan.epsilon, int(scan.interpolation))


def _register_record(
    record_type: type, *fields: str, restore: Callable[..., Any] | None = None
) -> None:
    make = restore or record_type

    def reduce(record: object) -> tuple[Callable[..., Any], tuple[Any, ...]]:
        return make, tuple(getattr(record, field) for field in fields)

    copyreg.pickle(record_type, reduce)


def register() -> None:
    """Register the reducers."""
    copyreg.pickle(Scan, _reduce_scan)
    _register_record(Observer, "x", "y", "z")
    _register_record(chromaticity.CIExy, "x", "y")
    _register_record(colorimetry.CIEXYZ, "X", "Y", "Z")
    _register_record(colorimetry.CIELAB, "L_star", "a_star", "b_star")
    _register_record(colorimetry.RYG, "red", "yellow", "green")
    _register_record(colorimetry.RYGB, "red", "yellow", "green", "blue")
    _register_record(
        utils.ScanStatistics,
        *("mean", "min", "max", "variance", "skewness", "kurtosis", "median"),
        restore=utils._scan_statistics,
    )
