"""The maker's measurement files as spectra, with what their records say."""

import warnings
from collections.abc import Sequence
from typing import NamedTuple

from .._core import Scan, io
from ..errors import Refusal, Remedy
from ..spectrum import Source, Spectrum
from .choice import chosen
from .encoding import shortened
from .statements import state_unit
from .text import TextOptions, distinct
from .values import Options, settled
from .wavelengths import WavelengthUnit, in_nm

_X_UNITS: dict[str, WavelengthUnit] = {"Wavelength / nm": "nm", "Wavelength / µm": "um"}
# The first bytes of a compound file, the container of measurement files.
_COMPOUND_FILE = bytes.fromhex("d0cf11e0a1b11ae1")


class MeasurementFile(NamedTuple):
    """A measurement file, its bytes, and its data sets under names that differ."""

    path: str
    content: bytes
    record: io.VekFile
    data_sets: dict[str, io.DataSet]


def is_measurement_file(content: bytes) -> bool:
    return content.startswith(_COMPOUND_FILE)


def parse_measurement(content: bytes, path: str) -> MeasurementFile:
    """The record of a measurement file; Refusal if it is damaged or none."""
    if not is_measurement_file(content):
        raise Refusal(f"{path}: not a measurement file (.vek)")
    try:
        with warnings.catch_warnings():
            # Points that are left out become notes of their spectra.
            warnings.simplefilter("ignore", UserWarning)
            record = io.load_vekfile_binary_data(content)
    except (RuntimeError, ValueError) as error:
        raise unreadable(path, error) from None
    data_sets = record.data_sets
    labels = distinct([data_set.name for data_set in data_sets])
    return MeasurementFile(path, content, record, dict(zip(labels, data_sets, strict=True)))


def unreadable(path: str, error: Exception) -> Refusal:
    """What the reader of measurement files says, as the user is told it."""
    reason = str(error).rstrip(".") or "damaged directory"
    return Refusal(f"{path}: no readable measurement file: {reason}")


def select_data_sets(file: MeasurementFile, names: Sequence[str]) -> dict[str, io.DataSet]:
    """The data sets by label, those with such a name or label; Refusal where one is none."""
    return {label: file.data_sets[label] for label in chosen(file.path, offered_names(file), names)}


def offered_names(file: MeasurementFile) -> dict[str, str]:
    """The names of the data sets, of which there must be some, by label."""
    if not file.data_sets:
        raise Refusal(f"{file.path}: there are no data sets in it")
    return {label: data_set.name for label, data_set in file.data_sets.items()}


def read_measurement(
    content: bytes,
    source: Source,
    data_sets: Sequence[str],
    values: Options,
    options: TextOptions,
) -> list[Spectrum]:
    """The data sets of a measurement file, all or those named."""
    file = parse_measurement(content, source.file or "file")
    selected = select_data_sets(file, data_sets)
    return [_spectrum(file, label, source, values, options) for label in selected]


def _spectrum(
    file: MeasurementFile, label: str, source: Source, asked: Options, options: TextOptions
) -> Spectrum:
    data_set = file.data_sets[label]
    what = f"data set '{shortened(label)}'"
    where = f"{file.path}: {what}"
    unit = _wavelength_unit(file.record.meta.x_type, options.wavelength_unit, where)
    points = sum(1 for _ in data_set.data)  # without a list of them
    if not points:
        raise Refusal(f"{where}: it has no points")
    notes: list[str] = []
    if data_set.left_out:
        plural = "s" * (data_set.left_out > 1)
        notes.append(f"{data_set.left_out} point{plural} without a wavelength (NaN) left out")
    repeated = data_set.no_of_points - data_set.left_out - points
    if repeated > 0:
        plural = "s" * (repeated > 1)
        notes.append(f"{repeated} repeated wavelength{plural}: the last value of each counts")
    if unit != "nm":
        notes.append(f"wavelengths converted from {unit} to nm")
    scan = _set_up(data_set.data, unit, options)
    stated = file.record.data_info.type_and_units
    statement = state_unit(stated.units, stated.measurement_type)
    values = settled(scan, statement, asked, what, where)
    return Spectrum(
        values.scan,
        values.kind,
        values.unit,
        label,
        source._replace(data_set=label),
        _metadata(file),
        (*notes, *values.notes),
    )


def _wavelength_unit(x_type: str, asked: WavelengthUnit | None, where: str) -> WavelengthUnit:
    if x_type == "":
        return asked or "nm"
    unit = _X_UNITS.get(x_type)
    if unit is None:
        raise Refusal(f"{where}: its x axis is '{x_type}', not a wavelength in nm")
    if asked not in (None, unit):
        raise Refusal(
            f"{where}: its x axis is '{x_type}', asked for is {asked}",
            Remedy("leave {} out", (("wavelength_unit", ...),)),
        )
    return unit


def _set_up(scan: Scan, unit: WavelengthUnit, options: TextOptions) -> Scan:
    """The points in nm, with the settings asked for."""
    if unit == "nm" and (options.epsilon, options.interpolation) == (
        scan.epsilon,
        scan.interpolation,
    ):
        return scan
    wavelengths, values = scan.to_lists()
    in_unit = in_nm(wavelengths, "", unit, "")
    return Scan(in_unit, values, options.epsilon, options.interpolation)


def _metadata(file: MeasurementFile) -> dict[str, str]:
    """What the record says of the measurement, without what it leaves empty."""
    record, info = file.record, file.record.data_info
    facts = {
        "date": info.date_and_time,
        "summary": info.scan_summary,
        "measurement": info.type_and_units.measurement_type,
        "x axis": record.graph.x_axis_title,
        "y axis": record.graph.y_axis_title,
        "system file": info.system_file,
        "calibration file": info.data_calibration_file if info.apply_data_calibration else "",
        "certificate file": info.certificate_file,
        "reference": info.reference_type if info.apply_reference else "",
        "reference file": info.reference_file if info.apply_reference else "",
        "reference parameter": info.reference_parameter if info.apply_reference else "",
        "add-on before": info.pre_scan_addon_description,
        "add-on before, file": info.pre_scan_addon_filename,
        "add-on after": info.post_scan_addon_description,
        "add-on after, file": info.post_scan_addon_filename,
    }
    return {name: text.strip() for name, text in facts.items() if text.strip()}
