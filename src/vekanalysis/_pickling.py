"""Copying and pickling of scans and result records.

The reducers are registered with ``copyreg``, so the classes gain no members. A scan
travels as its array of points, which pickle protocol 5 can hand over out of band.
"""

import copyreg

from ._core import (
    Interpolation,
    Observer,
    Scan,
    chromaticity,
    colorimetry,
    fitting,
    io,
    utils,
)
from ._records import fields

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


_FIT_FIELDS = ("d", "omega_t", "omega_m", "cos_K", "theta_z", "alpha", "a", "phi")


def _restore_fit_params(*values: float) -> fitting.FitWavelengthParams:
    params = fitting.FitWavelengthParams()
    for field, value in zip(_FIT_FIELDS, values, strict=True):
        setattr(params, field, value)
    return params


def _restore_fit_params_free(*flags: bool) -> fitting.FitWavelengthParamsFree:
    free = fitting.FitWavelengthParamsFree()
    for field, flag in zip(_FIT_FIELDS, flags, strict=True):
        setattr(free, field, flag)
    return free


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
    _register_record(
        utils.StitchResults,
        *("success", "n", "k", "error", "average", "percent_error_rms"),
        *("stitch_point", "stitch_scan"),
        restore=utils._stitch_results,
    )
    _register_record(fitting.FitWavelengthParams, *_FIT_FIELDS, restore=_restore_fit_params)
    _register_record(
        fitting.FitWavelengthParamsFree, *_FIT_FIELDS, restore=_restore_fit_params_free
    )
    restores: list[tuple[type, Callable[..., Any]]] = [
        (io.Meta, io._meta),
        (io.DataSet, io._data_set),
        (io.MeasurementTypeUnits, io._measurement_type_units),
        (io.DataInfo, io._data_info),
        (io.Graph, io._graph),
        (io.VekFile, io._vek_file),
    ]
    for record_type, restore in restores:
        _register_record(record_type, *fields(record_type), restore=restore)
