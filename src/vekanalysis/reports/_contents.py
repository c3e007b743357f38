"""What is in files."""

import json
from collections.abc import Sequence
from typing import NamedTuple

from .._core import Scan, io
from ..reading import MeasurementFile
from ..spectrum import Spectrum
from ._base import Printable
from ._layout import Json, describe, interval, one_line, wrap
from ._report import spectrum_document

# The width of the names of facts.
_NAME = 22


class TextFile(NamedTuple):
    """A file that is no measurement file, and what was read of it."""

    path: str
    spectra: Sequence[Spectrum]


type File = MeasurementFile | TextFile


class Contents(Printable):
    """Axes, date, data sets, calibration and reference of measurement files; spectra of others."""

    def __init__(self, files: Sequence[File]) -> None:
        self.files = tuple(files)

    def _lines(self, encoding: str) -> list[str]:
        lines: list[str] = []
        for file in self.files:
            lines += [""] if lines else []
            lines += _text_lines(file) if isinstance(file, TextFile) else _file_lines(file)
        return lines

    def document(self) -> dict[str, Json]:
        """The facts as plain Python objects, as ``json()`` writes them."""
        return {
            "files": [
                {"file": file.path, "spectra": [spectrum_document(s) for s in file.spectra]}
                if isinstance(file, TextFile)
                else _file_document(file)
                for file in self.files
            ]
        }


def _text_lines(file: TextFile) -> list[str]:
    lines = [file.path]
    metadata = {name: text for s in file.spectra for name, text in s.metadata.items()}
    lines += [f"  {name:<{_NAME - 1}} {one_line(text)}" for name, text in metadata.items()]
    lines.append(f"  spectra ({len(file.spectra)})")
    for spectrum in file.spectra:
        values = spectrum.scan.values()
        facts = describe(spectrum).removeprefix(f"{spectrum.where}: ")
        lines.append(f"    {spectrum.label}: {facts}, values {min(values):g} to {max(values):g}")
        for note in spectrum.notes:
            lines += wrap(note, " " * 6)
    return lines


def _file_document(file: MeasurementFile) -> Json:
    document: dict[str, Json] = json.loads(io.vekfile_to_json_binary_data(file.content, -1, False))
    document["file"] = file.path
    document["data_sets"] = [
        {
            "label": label,
            "name": data_set.name,
            "no_of_points": data_set.no_of_points,
            "distinct_points": len(data_set.data.wavelengths()),
            "range": [*_range(data_set.data)] if data_set.data.wavelengths() else None,
        }
        for label, data_set in file.data_sets.items()
    ]
    return document


def _range(scan: Scan) -> tuple[float, float]:
    return scan.min_wavelength(), scan.max_wavelength()


def _file_lines(file: MeasurementFile) -> list[str]:
    lines = [file.path]
    for name, text in _facts(file):
        first, *rest = text.splitlines() or ["-"]
        lines.append(f"  {name:<{_NAME}}{first}".rstrip())
        lines += [f"  {'':<{_NAME}}{line}".rstrip() for line in rest]
    lines.append(f"  data sets ({len(file.data_sets)})")
    unit = file.record.meta.x_type.partition(" / ")[2]
    lines += [
        f"    {one_line(label)}: {_points(item, unit)}" for label, item in file.data_sets.items()
    ]
    return lines


def _facts(file: MeasurementFile) -> list[tuple[str, str]]:
    meta, graph, info = file.record.meta, file.record.graph, file.record.data_info
    reference = info.reference_type, info.reference_file, info.reference_parameter
    return [
        ("format", f"file version {meta.file_version}, graph-view version {graph.gv_version}"),
        ("date and time", info.date_and_time),
        ("summary", info.scan_summary),
        ("x axis", _titled(meta.x_type, graph.x_axis_title)),
        ("y axis", _titled(quantity_title(info.type_and_units), graph.y_axis_title)),
        ("auxiliary channel", quantity_title(info.auxiliary_type_and_units)),
        ("point timestamps", "yes" if meta.has_timestamps else "no"),
        ("data calibration", _applied(info.apply_data_calibration, info.data_calibration_file)),
        ("certificate file", info.certificate_file),
        ("system file", info.system_file),
        ("reference", _applied(info.apply_reference, *reference)),
        ("add-on before", _joined(info.pre_scan_addon_description, info.pre_scan_addon_filename)),
        ("add-on after", _joined(info.post_scan_addon_description, info.post_scan_addon_filename)),
    ]


def _points(data_set: io.DataSet, unit: str) -> str:
    values = data_set.data.values()
    if not values:
        return "no points"
    text = f"{interval(_range(data_set.data))}{' ' * bool(unit)}{unit}"
    text += f", {data_set.no_of_points} points, values {min(values):g} to {max(values):g}"
    if len(values) != data_set.no_of_points:
        text += f", {len(values)} of the points at different x"
    return text


def quantity_title(quantity: io.MeasurementTypeUnits) -> str:
    return " / ".join(text for text in (quantity.measurement_type, quantity.units) if text)


def _titled(text: str, title: str) -> str:
    return f"{text or 'not known'}, titled '{title}'" if title not in ("", text) else text


def _joined(*texts: str) -> str:
    return ", ".join(text for text in texts if text)


def _applied(applied: bool, *texts: str) -> str:
    return _joined("applied" if applied else "not applied", *texts)
