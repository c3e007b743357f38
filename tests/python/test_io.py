"""Measurement files: the writer's containers, records, buffers, paths, errors, JSON."""

from __future__ import annotations

import array
import gc
import io as python_io
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
from vekwriter import Contents, DataSet, container

from vekanalysis import Scan, io

EXAMPLES = Path(__file__).resolve().parents[2] / "examples"
LENSES = [
    DataSet("Lens A", [(400.0, 0.5), (410.0, 0.625), (420.0, 0.75)]),
    DataSet("empty", []),
    DataSet("Lens \u00e9", [(700.0, 0.25), (600.0, 0.125)]),
]
CONTENTS = Contents(data_sets=LENSES)
IMAGE = CONTENTS.file()

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


@pytest.mark.parametrize("version", [3, 4])
@pytest.mark.parametrize("fragmented", [False, True])
@pytest.mark.parametrize("sizes", [(0,), (64,), (4095, 1), (4096, 5000, 65), (90_000, 100)])
def test_another_reader_reads_the_written_containers(
    version: int, fragmented: bool, sizes: tuple[int, ...]
) -> None:
    olefile = pytest.importorskip("olefile")
    streams = [(f"Stream{i}", np.arange(n, dtype="<u2").tobytes()[:n]) for i, n in enumerate(sizes)]
    image = container(streams, version=version, fragmented=fragmented)
    with olefile.OleFileIO(
        python_io.BytesIO(image), raise_defects=olefile.DEFECT_INCORRECT
    ) as other:
        assert sorted(other.listdir()) == sorted([name] for name, _ in streams)
        for name, data in streams:
            assert other.openstream(name).read() == data


def test_containers_with_difat_sectors_are_read_here_and_elsewhere() -> None:
    points = [(200.0 + 0.001 * i, math.sin(i)) for i in range(1_000_000)]
    image = Contents(data_sets=[DataSet("long", points)]).file(fragmented=True)
    assert len(image) > 236 * 128 * 512, "this takes a second DIFAT sector"
    assert io.load_vek_scan_binary_data(image)["long"].to_numpy().T.tolist() == [
        list(point) for point in points
    ]
    olefile = pytest.importorskip("olefile")
    with olefile.OleFileIO(python_io.BytesIO(image)) as other:
        assert b"long" in other.openstream("Contents").read(1000)


def check_record(file: io.VekFile, written: Contents) -> None:
    assert file.meta.file_version == written.file_version
    assert file.meta.has_timestamps == (written.has_timestamps and written.file_version >= 3)
    assert file.graph.gv_version == written.gv_version
    assert file.graph.x_axis_title == written.x_axis_title
    assert file.graph.y_axis_title == written.y_axis_title
    assert [d.name for d in file.data_sets] == [d.name for d in written.data_sets]
    for read, data_set in zip(file.data_sets, written.data_sets, strict=True):
        assert read.no_of_points == len(data_set.points)
        assert list(read.data.items()) == sorted(dict(data_set.points).items())
    for name in vars(written).keys() & set(dir(file.data_info)) - {
        "type_and_units",
        "auxiliary_type_and_units",
    }:
        assert getattr(file.data_info, name) == getattr(written, name), name
    units = file.data_info.type_and_units
    assert (units.measurement_type, units.units) == ("Transmittance", "")
    assert (units.measurement_type_code, units.units_code) == (3, 0)
    assert file.data_info.auxiliary_type_and_units.units == "A"


@pytest.mark.parametrize("file_version", range(1, 6))
@pytest.mark.parametrize("gv_version", range(1, 6))
def test_every_version_of_the_layout_is_read(file_version: int, gv_version: int) -> None:
    annotations = [(999, "note", [["one", "two"], []]), (1, "", []), (2, "x" * 300, [["\u00b5"]])]
    for flag, timestamps in itertools.product((0, 1, 2), (False, True)):
        written = replace(
            CONTENTS,
            file_version=file_version,
            gv_version=gv_version,
            graph_flag=flag,
            has_timestamps=timestamps,
            graph_records=3,
            annotations=annotations,
            arrows=(2, 1),
            scan_summary="\u00b5 " * 400,
        )
        for version, cutoff in ((3, 4096), (4, 4096), (3, 0)):
            image = written.file(version=version, cutoff=cutoff, fragmented=True)
            check_record(io.load_vekfile_binary_data(image), written)


def test_an_empty_text_reads_up_to_the_next_zero_byte() -> None:
    file = io.load_vekfile_binary_data(replace(CONTENTS, date_and_time="").file())
    assert file.data_info.date_and_time == "\x07summary"
    assert file.data_info.scan_summary == "summary"


BUFFERS: dict[str, Callable[[bytes], object]] = {
    "bytes": bytes,
    "bytearray": bytearray,
    "memoryview": memoryview,
    "strided memoryview": lambda b: memoryview(bytes(x for c in b for x in (c, 0)))[::2],
    "char memoryview": lambda b: memoryview(b).cast("c"),
    "array.array": lambda b: array.array("B", b),
    "list": list,
    "tuple": tuple,
    "NumPy": lambda b: np.frombuffer(b, dtype=np.uint8).copy(),
    "read-only NumPy": lambda b: np.frombuffer(b, dtype=np.uint8),
    "strided NumPy": lambda b: np.repeat(np.frombuffer(b, dtype=np.uint8), 3)[::3],
    "list of NumPy integers": lambda b: list(np.frombuffer(b, dtype=np.uint8)),
}


@pytest.mark.parametrize("make", BUFFERS.values(), ids=BUFFERS.keys())
def test_buffers_of_all_kinds_are_accepted(make: Callable[[bytes], object]) -> None:
    buffer: Any = make(IMAGE)
    check_record(io.load_vekfile_binary_data(buffer), CONTENTS)
    assert io.load_vek_scan_binary_data(buffer=buffer).keys() == {d.name for d in LENSES}
    for load in BUFFER_FUNCTIONS:
        with pytest.raises(RuntimeError) as caught:
            load(make(b""))
        assert str(caught.value) == "Buffer is empty"


def test_a_memory_map_is_accepted_and_released(tmp_path: Path) -> None:
    (tmp_path / "lens.vek").write_bytes(IMAGE)
    with (tmp_path / "lens.vek").open("rb") as file:
        mapped = mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ)
        check_record(io.load_vekfile_binary_data(mapped), CONTENTS)
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


def damaged(change: str) -> bytes:
    image = bytearray(IMAGE)
    match change:
        case "signature":
            image[0] = 0
        case "cut":
            del image[1535:]
        case "no entry":
            return container([("Other", CONTENTS.stream())])
        case "no marker":
            return container([("Contents", bytes(5000))])
        case "size":
            return container([("Contents", CONTENTS.stream() + b"\0")])
        case "ends early":
            stream = CONTENTS.stream()[:-4]
            size = len(stream).to_bytes(4, "little")
            return container([("Contents", stream[:20] + size + stream[24:])])
        case "NaN":
            return Contents(data_sets=[DataSet("n", [(math.nan, 1.0)])]).file()
    return bytes(image)


DAMAGES = {
    "signature": (RuntimeError, "Wrong file format"),
    "cut": (RuntimeError, "File corrupted"),
    "no entry": (RuntimeError, "Contents entry missing."),
    "no marker": (RuntimeError, "16 byte GUID header missing."),
    "size": (RuntimeError, "Size does not match entry size."),
    "ends early": (RuntimeError, "Attempt to read past end of __buffer."),
    "NaN": (ValueError, "Scan: wavelength must not be NaN"),
}


@pytest.mark.parametrize("change", DAMAGES)
def test_damage_is_named_and_so_is_the_file(change: str, tmp_path: Path) -> None:
    kind, message = DAMAGES[change]
    image = damaged(change)
    path = tmp_path / "damaged.vek"
    path.write_bytes(image)
    with pytest.raises(kind) as from_bytes:
        io.load_vekfile_binary_data(image)
    with pytest.raises(kind) as from_path:
        io.load_vekfile(path)
    for caught in (from_bytes, from_path):
        assert type(caught.value) is kind
        assert caught.value.args == (message,)
    assert not hasattr(from_bytes.value, "__notes__")
    assert from_path.value.__notes__ == [f"File: {path}"]


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


def test_json_has_what_the_records_have(tmp_path: Path) -> None:
    nan_point = [(5.0, math.inf), (4.0, 1e300), (5.0, -0.0), (math.nan, 0.1)]
    written = replace(CONTENTS, data_sets=[*LENSES, DataSet("odd", nan_point)])
    (tmp_path / "lens.vek").write_bytes(written.file())
    exported = io.vekfile_to_json(tmp_path / "lens.vek", 2, False)
    assert exported == io.vekfile_to_json_binary_data(written.file(), 2, False)
    document = json.loads(exported)
    assert exported == json.dumps(document, indent=2, sort_keys=True, ensure_ascii=False)
    odd = document["data_sets"].pop()
    assert odd["data"] == {"x": [5.0, 4.0, 5.0, None], "y": [None, 1e300, -0.0, 0.1]}

    file = io.load_vekfile_binary_data(IMAGE)

    def as_json(record: object) -> object:
        if isinstance(record, Scan):
            return {"x": record.wavelengths(), "y": record.values()}
        if isinstance(record, list):
            return [as_json(item) for item in record]
        if type(record).__module__ != type(file).__module__:
            return record
        names = [name for name in dir(record) if not name.startswith("_")]
        return {name: as_json(getattr(record, name)) for name in names}

    for data_set in document["data_sets"]:
        points = sorted(zip(*data_set["data"].values(), strict=True))
        data_set["data"] = {axis: [p[i] for p in points] for i, axis in enumerate("xy")}
    assert document == as_json(file)


def test_json_layout_follows_indent_and_ascii() -> None:
    compact = io.vekfile_to_json_binary_data(IMAGE, -1, True)
    assert compact.isascii()
    assert "Lens \\u00e9" in compact
    assert "\n" not in compact
    assert '": ' not in compact
    flat = io.vekfile_to_json_binary_data(buffer=IMAGE, indent=0, ensure_ascii=False)
    assert "Lens \u00e9" in flat
    assert flat.count("\n") > 50
    assert "\n " not in flat
    wide = io.vekfile_to_json_binary_data(IMAGE, 1024, True)
    assert wide == json.dumps(json.loads(compact), indent=1024, sort_keys=True)
    for indent in (1025, 5000, 2**31 - 1):
        with pytest.raises(ValueError, match="indent must not exceed 1024"):
            io.vekfile_to_json_binary_data(IMAGE, indent, True)


def test_the_example_holds_the_two_lenses() -> None:
    scans = io.load_vek_scan_data(EXAMPLES / "two-lenses.vek")
    assert scans == {
        "Grey glass 4 mm": io.load_csv(EXAMPLES / "grey-glass-4mm.csv"),
        "Bronze glass 4 mm": io.load_csv(EXAMPLES / "bronze-glass-4mm.csv"),
    }


@pytest.mark.skipif(not hasattr(os, "mkfifo"), reason="needs named pipes")
@pytest.mark.parametrize("function", ["load_vekfile", "load_csv"])
def test_reading_releases_the_interpreter_lock(function: str, tmp_path: Path) -> None:
    # The reader waits for the writer, another thread of the same interpreter.
    os.mkfifo(tmp_path / "pipe")
    (tmp_path / "lens.vek").write_bytes(IMAGE)
    script = f"""
import threading, pathlib
from vekanalysis import io
folder = pathlib.Path({str(tmp_path)!r})
data = (folder / "lens.vek").read_bytes() if {function!r} == "load_vekfile" else b"1 2"
writer = threading.Timer(0.2, lambda: (folder / "pipe").write_bytes(data))
writer.start()
io.{function}(folder / "pipe")
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
        done = subprocess.run(
            [sys.executable, "-c", script], capture_output=True, text=True, check=True
        )
        assert int(done.stdout) < 4 * len(image) + (1 << 20)
