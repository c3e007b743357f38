"""Time follows the size of the input: families of hostile files, each at two sizes."""

from __future__ import annotations

import ast
import random
import re
import subprocess
import sys
import time
from collections.abc import Callable, Iterator
from contextlib import suppress
from functools import partial
from importlib import import_module
from pathlib import Path
from pkgutil import walk_packages
from typing import Any

import pytest
from cli import ROOT, Runner, repeated, rows
from vekwriter import Contents, DataSet

from vekanalysis import Refusal, reports
from vekanalysis.certificates import Limits, Settings
from vekanalysis.reading import read, read_table
from vekanalysis.uncertainty import Budget

PACKAGE = ROOT / "src" / "vekanalysis"

# An input eight times as large may take 2.5 to the power of 3 as long, which is n log n with room
# for a machine that is at work on other things; what is quadratic takes 64 times as long.
FACTOR = 8
SLOWEST = 2.5**3
# Seconds below which a time is no more than the call itself.
FLOOR = 0.02


def _columns(count: int, values: list[str]) -> str:
    titles = ";".join(f"A {i} (%)" for i in range(count))
    rows = [f"{400 + i};" + ";".join([value] * count) for i, value in enumerate(values)]
    return "\n".join([f"nm;{titles}", *rows, ""])


# What the texts below consist of, by names in braces.
PARTS: dict[str, str] = dict(rows("parts.jsonl", "scaling"))


def _made(text: str, size: int) -> str:
    """A text of a size: its parts put in, and what stands between « and » repeated."""
    for name, part in (*PARTS.items(), ("size", str(size))):
        text = text.replace(f"{{{name}}}", part)
    return repeated(text, size)


def _each(count: int, make: Callable[[int], str]) -> str:
    return "".join(map(make, range(count)))


def _jcamp(data: str) -> str:
    return _made("{jcamp}{pairs}", 0) + data + "##END=\n"


def _tm27(points: int) -> str:
    data = _each(points, lambda i: f'<SpectralData wavelength="{300 + i / 16}">0.5</SpectralData>')
    return _made("{header}{spectrum}", 0) + data + PARTS["closed"]


def _noise(count: int) -> str:
    chance = random.Random(1)
    return "".join(f"{300 + 1000 * i / count:.6f}\t{chance.random():.6f}\n" for i in range(count))


def _vek(sets: int, points: int = 2, name: str = "A", **contents: Any) -> bytes:
    data = [DataSet(name, [(400.0 + i, 0.5) for i in range(points)]) for _ in range(sets)]
    return Contents(data_sets=data, **contents).file()


# Of what `vekanalysis.read` takes: the input of a size.
FILES: dict[str, tuple[int, Callable[[int], str | bytes]]] = {
    "descending wavelengths": (
        5_000,
        lambda n: _each(n, lambda i: f"{2000 - i / 100:.2f};0.5\n"),
    ),
    "ragged rows": (1_000, lambda n: _each(n, lambda i: f"400{';1' * (i % 50)}\n")),
    "shapes": (
        3_000,
        lambda n: _each(n, lambda i: f"{'x' * (i % 300)} {'abc'[i % 3]}\n") + PARTS["rows"],
    ),
    "JCAMP-DX pairs": (
        3_000,
        lambda n: _jcamp(_each(n, lambda i: f"{400 + i / 100:.2f}, 0.5\n")),
    ),
    "JCAMP-DX pairs in a line": (
        3_000,
        lambda n: _jcamp(_each(n, lambda i: f"{400 + i / 100:.2f},0.5; ") + "\n"),
    ),
    "JCAMP-DX packed lines": (
        3_000,
        lambda n: _made("{ordinates}", 0) + _each(n, lambda i: f"{400 + i}A\n") + "##END=\n",
    ),
    "TM-27 points": (1_000, _tm27),
    "data sets of one name": (200, _vek),
    "data sets of long names": (20, lambda n: _vek(20, name="A" * n * 20)),
    "points of a data set": (5_000, lambda n: _vek(1, n)),
    "long comment": (3_000, lambda n: _vek(1, scan_summary="a\n" * n)),
    **{name: (size, partial(_made, text)) for name, size, text in rows("files.jsonl", "scaling")},
}

# What people write for a laboratory, and who reads it.
DOCUMENTS = {name: case for name, *case in rows("documents.jsonl", "scaling")}
READERS: dict[str, type[Any]] = {kind.__name__: kind for kind in (Budget, Limits, Settings)}

# Of commands on one file, which comes last.
COMMANDS: dict[str, tuple[int, tuple[str, ...], Callable[[int], str | bytes]]] = {
    "peaks of noise": (3_000, ("peaks",), _noise),
    "peaks of a staircase": (
        3_000,
        ("peaks",),
        lambda n: _each(n, lambda i: f"{300 + i / 100:.2f} {i + i % 2 * 3}\n"),
    ),
    "report of columns": (20, ("report",), lambda n: _columns(n, ["50"] * 20)),
    "report of data sets": (20, ("report", "--json"), lambda n: _vek(n, 5)),
    "light of points": (
        3_000,
        ("light", "--unit", "W m-2 nm-1"),
        lambda n: _each(n, lambda i: f"{300 + 600 * i / n:.5f};0.5\n"),
    ),
    "table of columns": (20, ("report", "--csv", "-"), lambda n: _columns(n, ["50"] * 20)),
    "contents": (100, ("info",), _vek),
    "contents as JSON": (100, ("info", "--json"), _vek),
    "points as CSV": (100, ("csv",), _vek),
    "file as JSON": (100, ("json",), _vek),
    "name of a data set that is not there": (100, ("csv", "--data-set", "B"), _vek),
}


def _best(call: Callable[[], object], times: int = 3) -> float:
    """The least of the processor's times: that of other programs does not count."""
    best = float("inf")
    for _ in range(times):
        start = time.process_time()
        call()
        best = min(best, time.process_time() - start)
        if best < FLOOR:
            break
    return best


def _check(
    call: Callable[[Path], object], size: int, make: Callable[[int], str | bytes], path: Path
) -> None:
    files = path / "small.txt", path / "large.txt"
    for file, length in zip(files, (size, FACTOR * size), strict=True):
        content = make(length)
        file.write_bytes(content.encode() if isinstance(content, str) else content)
    _check_times(call, *files)


def _check_times(call: Callable[[Path], object], small: Path, large: Path) -> None:
    call(small)  # What is made once counts for none.
    for _ in range(3):
        times = _best(lambda: call(small)), _best(lambda: call(large))
        if times[1] <= max(FLOOR, SLOWEST * times[0]):
            return
    pytest.fail(f"{FACTOR} times the input takes {times[1] / times[0]:.0f} times as long: {times}")


def _outcome(call: Callable[[], object]) -> None:
    """Let it be refused."""
    with suppress(Refusal):
        call()


@pytest.mark.parametrize("name", FILES)
def test_reading_follows_the_size(name: str, tmp_path: Path) -> None:
    size, make = FILES[name]
    for reader in (read, read_table):
        call = partial(reader, duplicates="last")
        _check(lambda path, call=call: _outcome(lambda: call(path)), size, make, tmp_path)


@pytest.mark.parametrize("name", DOCUMENTS)
def test_documents_follow_the_size(name: str, tmp_path: Path) -> None:
    size, kind, text = DOCUMENTS[name]
    reader = READERS[kind].read
    _check(lambda path: _outcome(lambda: reader(path)), size, partial(_made, text), tmp_path)


@pytest.mark.parametrize(
    ("header", "count", "reason"),
    [
        ("", 10_001, "more than 10000 spectra in all; choose with --data-set or --columns"),
        ("", 100_001, "100001 columns of values; at most 100000 are read at a time; choose with"),
        ("a:b\n" * 100_000, 1, "100001 lines are no rows of numbers; at most 100000 are taken"),
    ],
)
def test_a_file_of_very_many_spectra_or_lines_of_text_is_refused(
    header: str, count: int, reason: str, run: Runner, tmp_path: Path
) -> None:
    titles, values = ";" * count, ";1" * count
    (tmp_path / "a.csv").write_text(f"{header}nm{titles}\n400{values}\n410{values}\n")
    assert reason in run.refuse("report", tmp_path / "a.csv")


@pytest.mark.parametrize(
    ("words", "reason"),
    [
        (("report", "--grid", "1e-9"), "a step of 1e-09 nm is too fine for its range"),
        (("report", "--grid", "1e-320"), "is too fine for its range"),
        (("report", "--skip", "7,1-999999999"), "must be 1000000 lines at most, not 7,1-999999999"),
        (("report", "--columns", "0,999999999"), "there is no column 999999999"),
        (("csv", "--wide"), "18002 rows of 300 values; at most 5000000 values are taken side by"),
    ],
)
def test_what_would_become_far_greater_than_the_input_is_refused(
    words: tuple[str, ...], reason: str, run: Runner, tmp_path: Path
) -> None:
    path = tmp_path / "a"
    if words[0] == "csv":
        points = [[(400 + (i + number / 300), 0.5) for i in range(60)] for number in range(300)]
        ends = [(300.0, 0.5), (500.0, 0.5)]
        sets = [DataSet(str(number), [*ends, *each]) for number, each in enumerate(points)]
        path.write_bytes(Contents(data_sets=sets).file())
    else:
        path.write_text("400;0.5\n410;0.5\n")
    assert reason in run.refuse(*words, path)


def test_the_text_of_a_report_follows_the_number_of_spectra(tmp_path: Path) -> None:
    made = {}
    for name, count in ("small.txt", 400), ("large.txt", FACTOR * 400):
        (tmp_path / name).write_text(_columns(count, ["50"]))
        made[name] = reports.lens(read(tmp_path / name))
    _check_times(
        lambda path: made[path.name].text(), tmp_path / "small.txt", tmp_path / "large.txt"
    )


@pytest.mark.parametrize("name", COMMANDS)
def test_commands_follow_the_size(name: str, run: Runner, tmp_path: Path) -> None:
    size, words, make = COMMANDS[name]
    _check(lambda path: run(*words, path), size, make, tmp_path)


# Strings of which patterns that try again and again never see the end.
PIECES = r"""1 1. 1, + - +- e 1e 1e+ a A A1 ( ) [ % / = # ## $$ < <a ' " \ & x _ : é µ nm S9 @ J"""
LONG_PIECES = (" ", "\t", "\n", "1 ", "a ", "$$ ", "wave ", "per ", "<?xml ", "encoding=")
METHODS = ("fullmatch", "match", "search", "findall", "finditer", "split", "sub")


def _uses() -> tuple[dict[str, set[str]], list[tuple[str, str, str]]]:
    """The methods by the name of a pattern, and the patterns that stand where they are used."""
    used: dict[str, set[str]] = {}
    written = []
    for path in PACKAGE.rglob("*.py"):
        for node in ast.walk(ast.parse(path.read_text())):
            if not isinstance(node, ast.Call) or not isinstance(node.func, ast.Attribute):
                continue
            method, owner = node.func.attr, ast.unparse(node.func.value)
            if method not in METHODS:
                continue
            if owner != "re":
                name = re.split(r"[.\[]", owner)[0]
                used.setdefault(name, set()).add(method.replace("finditer", "findall"))
                continue
            pattern = node.args[0]
            assert isinstance(pattern, ast.Constant), f"{path}:{node.lineno}"
            written.append((f"{path.name}:{node.lineno}", pattern.value, method))
    return used, written


def _patterns() -> Iterator[tuple[str, re.Pattern[Any], str]]:
    """All of the package: where each is, and a method by which it is used."""
    used, written = _uses()
    yield from ((where, re.compile(text), method) for where, text, method in written)
    for module in walk_packages([str(PACKAGE)], "vekanalysis."):
        if "_core" in module.name or module.name.endswith("__main__"):
            continue
        try:
            names = vars(import_module(module.name))
        except ImportError:  # Of a library that not all have.
            continue
        for name, value in names.items():
            for pattern in value.values() if isinstance(value, dict) else [value]:
                if isinstance(pattern, re.Pattern):
                    for method in sorted(used.get(name, METHODS[:3])):
                        yield f"{module.name}.{name}", pattern, method


def test_patterns_take_time_by_the_length_of_the_text() -> None:
    patterns = {(found, method): where for where, found, method in _patterns()}
    assert len(patterns) > 30
    wrong = []
    for (pattern, method), where in patterns.items():
        for piece in (*PIECES.split(), *LONG_PIECES):
            subject: Any = piece * (20_000 // len(piece)) + "\0"
            nothing: Any = ""
            if isinstance(pattern.pattern, bytes):
                subject, nothing = subject.encode(), b""
            arguments = (nothing, subject) if method == "sub" else (subject,)
            use = partial(getattr(pattern, method), *arguments)
            # Some 2 ms where it is linear, half a second and more where it is not.
            if _best(use) > 0.1 and _best(use) > 0.1:
                wrong.append(f"{where}: {method} {pattern.pattern!r} of {piece!r}")
    assert wrong == []


@pytest.mark.skipif(sys.platform != "linux", reason="Linux tells the memory of a process")
@pytest.mark.parametrize(
    ("suffix", "columns", "most"),
    [("csv", 1, 8.0), ("csv", 3, 12.0), ("vek", 1, 4.0), ("jdx", 1, 12.0)],
    ids=["a column", "three", "measurement", "pairs"],
)
def test_a_long_file_takes_memory_by_its_size(
    tmp_path: Path, suffix: str, columns: int, most: float
) -> None:
    for name, count in (("long", 1_000_000), ("short", 2)):
        if suffix == "vek":
            content = _vek(1, count // 2)
        elif suffix == "jdx":
            content = _jcamp(_each(count, lambda row: f"{21 + row},1\n")).encode()
        else:
            lines = (";".join([f"{21 + row}", *["1"] * columns]) for row in range(count))
            content = ("nm;" + ";".join("abc"[:columns]) + "\n" + "\n".join(lines)).encode()
        (tmp_path / f"{name}.{suffix}").write_bytes(content)
    # What the modules take is there before.
    program = """
import re, sys, vekanalysis as vek
def most(file):
    vek.read(file)
    return int(re.search("VmHWM:(.*) kB", open("/proc/self/status").read())[1])
before = most(sys.argv[1])
print(1024 * (most(sys.argv[2]) - before))
"""
    short, long = (tmp_path / f"{name}.{suffix}" for name in ("short", "long"))
    command = [sys.executable, "-c", program, short, long]
    taken = int(subprocess.run(command, check=True, capture_output=True).stdout)
    assert 1.0 < taken / long.stat().st_size < most
