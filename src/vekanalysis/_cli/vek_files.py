"""``vekanalysis info``, ``json`` and ``csv``: what is in measurement files."""

import csv
import json
import math
from argparse import Namespace
from collections.abc import Iterable, Iterator
from io import StringIO

from .. import io
from .._core import Scan
from .._figures.errors import CommandError
from .._figures.spectra import (
    VekFile,
    check_names,
    read_vek,
    read_vek_bytes,
    select_data_sets,
    unreadable,
)
from .._figures.text import interval
from .output import Json, emit, emit_json, emit_json_text, note, one_line, printable

# The width of the names of facts.
_NAME = 22


def run_json(arguments: Namespace) -> None:
    content = read_vek_bytes(arguments.file)

    def export(ascii_only: bool) -> str:
        try:
            return io.vekfile_to_json_binary_data(content, arguments.indent, ascii_only)
        except (RuntimeError, ValueError) as error:
            raise unreadable(arguments.file, error) from None

    emit_json_text(export, arguments.ascii)


def run_info(arguments: Namespace) -> None:
    files = [read_vek(path) for path in arguments.files]
    if arguments.json:
        emit_json({"files": [_info_document(file) for file in files]})
    else:
        emit(printable("\n".join(_info_text(file) for file in files)))


def _info_document(file: VekFile) -> Json:
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


def _info_text(file: VekFile) -> str:
    meta, graph, info = file.record.meta, file.record.graph, file.record.data_info
    facts = [
        ("format", f"file version {meta.file_version}, graph-view version {graph.gv_version}"),
        ("date and time", info.date_and_time),
        ("summary", info.scan_summary),
        ("x axis", _titled(meta.x_type, graph.x_axis_title)),
        ("y axis", _titled(_quantity(info.type_and_units), graph.y_axis_title)),
        ("auxiliary channel", _quantity(info.auxiliary_type_and_units)),
        ("point timestamps", "yes" if meta.has_timestamps else "no"),
        ("data calibration", _applied(info.apply_data_calibration, info.data_calibration_file)),
        ("certificate file", info.certificate_file),
        ("system file", info.system_file),
        (
            "reference",
            _applied(
                info.apply_reference,
                info.reference_type,
                info.reference_file,
                info.reference_parameter,
            ),
        ),
        ("add-on before", _joined(info.pre_scan_addon_description, info.pre_scan_addon_filename)),
        ("add-on after", _joined(info.post_scan_addon_description, info.post_scan_addon_filename)),
    ]
    lines = [file.path]
    for name, text in facts:
        first, *rest = text.splitlines() or ["-"]
        lines.append(f"  {name:<{_NAME}}{first}".rstrip())
        lines += [f"  {'':<{_NAME}}{line}".rstrip() for line in rest]
    lines.append(f"  data sets ({len(file.data_sets)})")
    unit = meta.x_type.partition(" / ")[2]
    lines += [
        f"    {one_line(label)}: {_points(item, unit)}" for label, item in file.data_sets.items()
    ]
    return "\n".join(lines) + "\n"


def _points(data_set: io.DataSet, unit: str) -> str:
    values = data_set.data.values()
    if not values:
        return "no points"
    text = f"{interval(_range(data_set.data))}{' ' * bool(unit)}{unit}"
    text += f", {data_set.no_of_points} points, values {min(values):g} to {max(values):g}"
    if len(values) != data_set.no_of_points:
        text += f", {len(values)} of the points at different x"
    return text


def _quantity(quantity: io.MeasurementTypeUnits) -> str:
    return " / ".join(text for text in (quantity.measurement_type, quantity.units) if text)


def _titled(text: str, title: str) -> str:
    return f"{text or 'not known'}, titled '{title}'" if title not in ("", text) else text


def _joined(*texts: str) -> str:
    return ", ".join(text for text in texts if text)


def _applied(applied: bool, *texts: str) -> str:
    return _joined("applied" if applied else "not applied", *texts)


def run_csv(arguments: Namespace) -> None:
    file = read_vek(arguments.file)
    selected = select_data_sets(file, arguments.data_set)
    check_names(file.path, arguments.data_set, selected, file.data_sets)
    if arguments.wide:
        rows = _wide_rows(file, selected)
    elif arguments.long or len(selected) > 1:
        rows = _long_rows(file, selected)
    else:
        (data_set,) = selected.values()
        rows = data_set.data.items()
    text = StringIO()
    csv.writer(text, lineterminator="\n").writerows(rows)
    emit(text.getvalue())


def _x_title(file: VekFile) -> str:
    return file.record.meta.x_type or "x"


def _long_rows(file: VekFile, data_sets: dict[str, io.DataSet]) -> Iterator[Iterable[object]]:
    value_title = _quantity(file.record.data_info.type_and_units) or "value"
    yield "data set", _x_title(file), value_title
    for label, data_set in data_sets.items():
        for x, value in data_set.data.items():
            yield label, x, value


def _wide_rows(file: VekFile, data_sets: dict[str, io.DataSet]) -> Iterator[Iterable[object]]:
    scans = [data_set.data for data_set in data_sets.values()]
    grids = [scan.wavelengths() for scan in scans]
    lowest = max((grid[0] if grid else math.inf) for grid in grids)
    highest = min((grid[-1] if grid else -math.inf) for grid in grids)
    if not lowest <= highest:
        raise CommandError(f"{file.path}: the data sets have no common range; use --long")
    yield _x_title(file), *data_sets
    try:
        for x in sorted({x for grid in grids for x in grid if lowest <= x <= highest}):
            yield x, *(scan(x) for scan in scans)
    except RuntimeError as error:
        raise CommandError(f"{file.path}: no values between the points ({error})") from None
    left_out = sum(not lowest <= x <= highest for grid in grids for x in grid)
    if left_out:
        common = interval((lowest, highest))
        note(f"{left_out} points outside of the common range {common} are left out; --long has all")
