"""Measurement files and CSV: the writer's containers, records, buffers, paths, errors, JSON."""

from __future__ import annotations

import gc
import itertools
import json
import math
import mmap
import os
import subprocess
import sys
from collections.abc import Callable
from dataclasses import replace
from pathlib import Path
from typing import Any

import numpy as np
import pytest
from vekwriter import Contents, DataSet

from vekanalysis import Scan, io

EXAMPLES = Path(__file__).resolve().parents[2] / "examples"
LENSES = [
    DataSet("Lens A", [(400.0, 0.5), (410.0, 0.625), (420.0, 0.75)]),
    DataSet("empty", []),
    DataSet("Lens \u00e9", [(700.0, 0.25), (600.0, 0.125)]),
]
CONTENTS = Contents(data_sets=LENSES, apply_data_calibration=True, scan_summary="\u00b5 " * 400)
IMAGE = CONTENTS.file()
INFO_NAMES = [n for n in vars(CONTENTS) if hasattr(io.DataInfo, n) and "and_units" not in n]
UNITS = {
    "type_and_units": ("Transmittance", "", 3, 0),
    "auxiliary_type_and_units": ("Current", "A", 1, 2),
}
UNIT_NAMES = ("measurement_type", "units", "measurement_type_code", "units_code")
X_TYPES = ["Wavelength / nm", "Time / s", "Time / ms", "Arbitrary units", "Wavelength / µm", ""]

BUFFER_FUNCTIONS: list[Callable[[Any], object]] = [
    io.load_vekfile_binary_data,
    io.load_vek_scan_binary_data,
    lambda buffer: io.vekfile_to_json_binary_data(buffer, -1, True),
]
PATH_FUNCTIONS: list[Callable[[Any], object]] = [
    io.load_vekfile,
    io.load_vek_scan_data,
    lambda path: io.vekfile_to_json(path, -1, True),
    io.load_csv,
]


def check_record(file: io.VekFile, written: Contents) -> None:
    meta, graph, info = file.meta, file.graph, file.data_info
    assert meta.file_version == written.file_version
    assert meta.has_timestamps == (written.has_timestamps and written.file_version >= 3)
    assert meta.x_type == X_TYPES[written.x_type]
    assert graph.gv_version == written.gv_version
    assert (graph.x_axis_title, graph.y_axis_title) == (written.x_axis_title, written.y_axis_title)
    assert [d.name for d in file.data_sets] == [d.name for d in written.data_sets]
    for read, data_set in zip(file.data_sets, written.data_sets, strict=True):
        assert read.no_of_points == len(data_set.points)
        assert list(read.data.items()) == sorted(dict(data_set.points).items())
    for name in INFO_NAMES:
        assert getattr(info, name) == getattr(written, name), name
    for name, expected in UNITS.items():
        assert tuple(getattr(getattr(info, name), part) for part in UNIT_NAMES) == expected


@pytest.mark.parametrize("file_version", range(1, 6))
@pytest.mark.parametrize("gv_version", range(1, 6))
def test_every_version_of_the_layout_is_read(file_version: int, gv_version: int) -> None:
    notes = [(999, "note", [["one", "two"], []]), (1, "", []), (2, "x" * 300, [["\u00b5"]])]
    for flag, timestamps in itertools.product((0, 1, 2), (False, True)):
        graph: Any = {"graph_flag": flag, "graph_records": 3, "annotations": notes}
        flags: Any = {"has_timestamps": timestamps, "apply_reference": timestamps}
        versions: Any = {"file_version": file_version, "gv_version": gv_version}
        more: Any = {"x_type": file_version, "arrows": (2, 1)}
        written = replace(CONTENTS, **versions, **graph, **flags, **more)
        for version, cutoff in ((3, 4096), (4, 4096), (3, 0)):
            image = written.file(version=version, cutoff=cutoff, fragmented=True)
            check_record(io.load_vekfile_binary_data(image), written)


BUFFERS: dict[str, Callable[[bytes], object]] = {
    "bytes": bytes,
    "bytearray": bytearray,
    "memoryview": memoryview,
    "strided memoryview": lambda b: memoryview(bytes(x for c in b for x in (c, 0)))[::2],
    "char memoryview": lambda b: memoryview(b).cast("c"),
    "list": list,
    "tuple": tuple,
    "NumPy": lambda b: np.frombuffer(b, dtype=np.uint8).copy(),
    "read-only NumPy": lambda b: np.frombuffer(b, dtype=np.uint8),
    "list of NumPy integers": lambda b: list(np.frombuffer(b, dtype=np.uint8)),
}


@pytest.mark.parametrize("make", BUFFERS.values(), ids=BUFFERS.keys())
def test_buffers_of_all_kinds_are_accepted(make: Callable[[bytes], object]) -> None:
    buffer: Any = make(IMAGE)
    check_record(io.load_vekfile_binary_data(buffer), CONTENTS)
    assert io.load_vek_scan_binary_data(buffer=buffer).keys() == {d.name for d in LENSES}
    with pytest.raises(RuntimeError, match="Buffer is empty"):
        BUFFER_FUNCTIONS[0](make(b""))


def test_a_memory_map_is_accepted_and_released() -> None:
    with (EXAMPLES / "two-lenses.vek").open("rb") as file:
        mapped = mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ)
        assert len(io.load_vek_scan_binary_data(mapped)) == 2
        mapped.close()  # fails while the memory is still exported


@pytest.mark.parametrize(
    "buffer",
    [None, 5, "text", [256], [-1], ["a"], [1.5], np.array([1.5]), np.zeros((2, 2), np.uint8)],
    ids=str,
)
def test_other_buffers_are_type_errors(buffer: Any) -> None:
    for load in BUFFER_FUNCTIONS:
        with pytest.raises(TypeError, match="incompatible function arguments"):
            load(buffer)


DAMAGES = [("Buffer is empty", b""), ("File corrupted", IMAGE[:1535])]


@pytest.mark.parametrize(("message", "image"), DAMAGES, ids=["empty", "cut"])
def test_damage_is_named_and_so_is_the_file(message: str, image: bytes, tmp_path: Path) -> None:
    path = tmp_path / "damaged.vek"
    path.write_bytes(image)
    with pytest.raises(RuntimeError) as from_bytes:
        io.load_vekfile_binary_data(image)
    with pytest.raises(RuntimeError) as from_path:
        io.load_vekfile(path)
    for caught in (from_bytes, from_path):
        assert (caught.type, caught.value.args) == (RuntimeError, (message,))
    assert not hasattr(from_bytes.value, "__notes__")
    assert from_path.value.__notes__ == [f"File: {path}"]


def test_points_without_a_wavelength_are_left_out_with_a_warning(tmp_path: Path) -> None:
    nan = (math.nan, 1.0)
    sets = [DataSet("it's", [nan, (400, 2), nan]), DataSet("B", [(400, 1)]), DataSet("C", [nan])]
    few = "points without a wavelength (NaN) left out: 2 of data set \"it's\", 1 of data set 'C'"
    many = few + ", " + ", ".join(["1 of data set 'D'"] * 6) + " and those of 3 more data sets"
    path = tmp_path / "nan.vek"
    for more, text in (([], few), ([DataSet("D", [nan])] * 9, many)):
        image = Contents(data_sets=[*sets, *more]).file()
        path.write_bytes(image)
        for function, argument in (
            (io.load_vekfile_binary_data, image),
            (io.load_vekfile, path),
            (io.load_vek_scan_binary_data, image),
            (io.load_vek_scan_data, path),
        ):
            with pytest.warns(UserWarning, match="NaN") as caught:
                loaded = function(argument)
            assert [str(warning.message) for warning in caught] == [text]
            assert caught[0].filename == __file__
    assert list(loaded["it's"].items()) == [(400.0, 2.0)]
    with pytest.warns(UserWarning, match="NaN"):
        file = io.load_vekfile(path)
    assert [data_set.left_out for data_set in file.data_sets[:3]] == [2, 0, 1]
    with pytest.raises(UserWarning):
        io.load_vekfile(path)


def test_names_of_files_are_text_or_path_objects(tmp_path: Path) -> None:
    for name in ("plain.vek", "m\u00e4\u00dfung \u6e2c\u5b9a \U0001f600.vek"):
        path = tmp_path / name
        path.write_bytes(IMAGE)
        for form in (str(path), path, os.fspath(path)):
            check_record(io.load_vekfile(form), CONTENTS)
            assert len(io.load_vek_scan_data(file_path=form)) == 3
    for load in PATH_FUNCTIONS:
        for wrong in (None, 5, [str(path)]):
            with pytest.raises(TypeError, match="incompatible function arguments"):
                load(wrong)


@pytest.mark.parametrize("load", PATH_FUNCTIONS)
def test_files_that_cannot_be_read_are_named(load: Callable[[Any], object], tmp_path: Path) -> None:
    names = ["missing.vek", "\u00e4.vek", str(tmp_path), tmp_path / "missing" / "lens.vek", ""]
    if sys.platform == "linux":
        names.append(os.fsdecode(b"not utf-8 \xff.vek"))
    for name in names:
        with pytest.raises(RuntimeError) as caught:
            load(name)
        assert str(caught.value).startswith(f"Could not open file for reading: {name}")
        assert caught.value.__notes__ == [f"File: {name}"]
    (tmp_path / "real").write_text("1 2")
    with pytest.raises(RuntimeError, match="Could not open file for reading: "):
        load(str(tmp_path / "real") + "\0.vek")


def test_records_are_made_by_the_reader_only_and_read_only() -> None:
    file = io.load_vekfile_binary_data(IMAGE)
    data_set = file.data_sets[0]
    records = [file, file.meta, file.graph, file.data_info, file.data_info.type_and_units, data_set]
    for record in records:
        with pytest.raises(TypeError, match="No constructor defined!"):
            type(record)()
        for name in dir(record):
            if not name.startswith("_"):
                with pytest.raises(AttributeError):
                    setattr(record, name, getattr(record, name))


def test_parts_of_a_record_keep_it_alive() -> None:
    scan = io.load_vekfile_binary_data(IMAGE).data_sets[0].data
    gc.collect()
    again = io.load_vekfile_binary_data(IMAGE)
    assert again.data_sets[0].data is again.data_sets[0].data
    assert scan == again.data_sets[0].data == Scan([400, 410, 420], [0.5, 0.625, 0.75])


def test_json_has_what_was_written(tmp_path: Path) -> None:
    odd = DataSet("odd", [(5.0, math.inf), (4.0, 1e300), (5.0, -0.0), (math.nan, 0.1)])
    written = replace(CONTENTS, data_sets=[odd], file_version=3, gv_version=2, has_timestamps=True)
    (tmp_path / "lens.vek").write_bytes(written.file())
    exported = io.vekfile_to_json(file_path=tmp_path / "lens.vek", indent=2, ensure_ascii=False)
    buffer = written.file()
    assert exported == io.vekfile_to_json_binary_data(buffer=buffer, indent=2, ensure_ascii=False)
    points = {"x": [5.0, 4.0, 5.0, None], "y": [None, 1e300, -0.0, 0.1]}
    units = {name: dict(zip(UNIT_NAMES, parts, strict=True)) for name, parts in UNITS.items()}
    assert json.loads(exported) == {
        "meta": {"file_version": 3, "has_timestamps": True, "x_type": "Wavelength / nm"},
        "graph": {
            "gv_version": 2,
            "x_axis_title": written.x_axis_title,
            "y_axis_title": written.y_axis_title,
        },
        "data_sets": [{"name": "odd", "no_of_points": 4, "data": points}],
        "data_info": {name: getattr(written, name) for name in INFO_NAMES} | units,
    }
    assert "-0.0" in exported


@pytest.mark.parametrize("indent", [-(2**31), -1, 0, 1, 3, 1024])
def test_json_is_laid_out_as_the_standard_library_does_it(indent: int) -> None:
    data_sets = [*LENSES, DataSet('"data_sets": [', [(1.0, 2.0)])]
    layout: dict[str, Any] = {"separators": (",", ":")} if indent < 0 else {"indent": indent}
    for count, ascii_only in itertools.product(range(5), (False, True)):
        buffer = replace(CONTENTS, data_sets=data_sets[:count]).file()
        exported = io.vekfile_to_json_binary_data(buffer, indent, ascii_only)
        document = json.loads(exported)
        assert len(document.get("data_sets", [])) == count
        assert ("data_sets" in document) == (count > 0)
        assert exported == json.dumps(document, sort_keys=True, ensure_ascii=ascii_only, **layout)
    for too_wide in (1025, 2**31 - 1):
        with pytest.raises(ValueError, match="vekfile_to_json: indent must not exceed 1024"):
            io.vekfile_to_json_binary_data(IMAGE, too_wide, True)


def test_the_example_holds_the_two_lenses() -> None:
    scans = io.load_vek_scan_data(EXAMPLES / "two-lenses.vek")
    assert scans == {
        "Grey glass 4 mm": io.load_csv(EXAMPLES / "grey-glass-4mm.csv"),
        "Bronze glass 4 mm": io.load_csv(EXAMPLES / "bronze-glass-4mm.csv"),
    }


@pytest.mark.skipif(not hasattr(os, "mkfifo"), reason="needs named pipes")
def test_reading_releases_the_interpreter_lock(tmp_path: Path) -> None:
    # The reader waits for the writer, another thread of the same interpreter.
    os.mkfifo(tmp_path / "pipe")
    sources = {"load_vekfile": "two-lenses.vek", "load_csv": "grey-glass-4mm.csv"}
    for function, source in sources.items():
        script = f"""
import threading, pathlib
from vekanalysis import io
pipe = pathlib.Path({str(tmp_path / "pipe")!r})
data = pathlib.Path({str(EXAMPLES / source)!r}).read_bytes()
threading.Timer(0.2, lambda: pipe.write_bytes(data)).start()
io.{function}(pipe)
"""
        subprocess.run([sys.executable, "-c", script], timeout=20, check=True)


@pytest.mark.skipif(sys.platform != "linux", reason="reads /proc")
def test_loading_needs_less_than_four_times_the_size(tmp_path: Path) -> None:
    for name, step in (("up", 1), ("down", -1)):
        points = [(200.0 + 0.1 * i, float(i)) for i in range(4000)][::step]
        image = Contents(data_sets=[DataSet(f"set {i}", points) for i in range(80)]).file()
        (tmp_path / name).write_bytes(image)
        script = f"""
import re
from vekanalysis import io
def status(key):
    return int(re.search(key + r":\\s+(\\d+) kB", open("/proc/self/status").read())[1]) * 1024
io.load_csv({os.devnull!r})
before = status("VmRSS")
io.load_vekfile({str(tmp_path / name)!r})
print(status("VmHWM") - before)
"""
        done = subprocess.check_output([sys.executable, "-c", script])
        assert int(done) < 4 * len(image) + (1 << 20)
