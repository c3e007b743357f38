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


def _restore_by_name[Record](record_type: type[Record], *values: object) -> Record:
    record = record_type()
    for field, value in zip(fields(record_type), values, strict=True):
        setattr(record, field, value)
    return record


def _register_record(record_type: type, restore: Callable[..., Any], *before: object) -> None:
    """Let ``restore`` make the record of its fields, behind the arguments ``before``."""
    names = fields(record_type)

    def reduce(record: object) -> tuple[Callable[..., Any], tuple[Any, ...]]:
        return restore, (*before, *(getattr(record, name) for name in names))

    copyreg.pickle(record_type, reduce)


def register() -> None:
    """Register the reducers."""
    copyreg.pickle(Scan, _reduce_scan)
    made_of_fields: tuple[type, ...] = (
        Observer,
        chromaticity.CIExy,
        colorimetry.CIEXYZ,
        colorimetry.CIELAB,
        colorimetry.RYG,
        colorimetry.RYGB,
    )
    for record_type in made_of_fields:
        _register_record(record_type, record_type)
    filled_in: tuple[type, ...] = (fitting.FitWavelengthParams, fitting.FitWavelengthParamsFree)
    for record_type in filled_in:
        _register_record(record_type, _restore_by_name, record_type)
    restores: tuple[tuple[type, Callable[..., Any]], ...] = (
        (utils.ScanStatistics, utils._scan_statistics),
        (utils.StitchResults, utils._stitch_results),
        (io.Meta, io._meta),
        (io.DataSet, io._data_set),
        (io.MeasurementTypeUnits, io._measurement_type_units),
        (io.DataInfo, io._data_info),
        (io.Graph, io._graph),
        (io.VekFile, io._vek_file),
    )
    for record_type, restore in restores:
        _register_record(record_type, restore)
