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
from cli import ROOT, Runner
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


def _table(*lines: str, rows: int = 3) -> str:
    return "\n".join([*lines, *(f"{400 + 10 * row};0.5" for row in range(rows))]) + "\n"


def _columns(count: int, values: list[str]) -> str:
    titles = ";".join(f"A {i} (%)" for i in range(count))
    rows = [f"{400 + i};" + ";".join([value] * count) for i, value in enumerate(values)]
    return "\n".join([f"nm;{titles}", *rows, ""])


def _jcamp(*records: str, data: str = "400, 0.5\n410, 0.5") -> str:
    head = ["##TITLE= a", "##JCAMP-DX= 4.24", "##DATA TYPE= UV/VIS SPECTRUM", "##ORIGIN= a"]
    head += ["##OWNER= a", "##XUNITS= NANOMETERS", "##YUNITS= TRANSMITTANCE"]
    return "\n".join([*head, *records, "##XYPOINTS= (XY..XY)", data, "##END=\n"])


def _packed(text: str) -> str:
    limits = ["##XFACTOR= 1", "##YFACTOR= 1", "##FIRSTX= 400", "##LASTX= 500", "##NPOINTS= 11"]
    return _jcamp(*limits).replace(
        "##XYPOINTS= (XY..XY)\n400, 0.5\n410, 0.5", f"##XYDATA= (X++(Y..Y))\n{text}"
    )


def _xml(body: str) -> str:
    root = '<IESTM2714 xmlns="http://www.ies.org/iestm2714" version="1.0">'
    return f'<?xml version="1.0"?>{root}{body}</IESTM2714>'


def _tm27(points: int, header: str = "") -> str:
    data = "".join(
        f'<SpectralData wavelength="{300 + i / 16}">0.5</SpectralData>' for i in range(points)
    )
    return _xml(
        f"<Header><Description>a</Description>{header}</Header><SpectralDistribution><SpectralQuantity>relative</SpectralQuantity>{data}</SpectralDistribution>"
    )


def _noise(count: int) -> str:
    chance = random.Random(1)
    return "".join(f"{300 + 1000 * i / count:.6f}\t{chance.random():.6f}\n" for i in range(count))


def _vek(sets: int, points: int = 2, name: str = "A", **contents: Any) -> bytes:
    data = [DataSet(name, [(400.0 + i, 0.5) for i in range(points)]) for _ in range(sets)]
    return Contents(data_sets=data, **contents).file()


# Of what `vekanalysis.read` takes: the input of a size.
FILES: dict[str, tuple[int, Callable[[int], str | bytes]]] = {
    "two numbers without end": (20_000, lambda n: f"{'1' * n} {'1' * n}x\n"),
    "one number without end": (40_000, lambda n: f"{'1' * n}\n" * 2),
    "points in a number": (40_000, lambda n: _table("1." * n)),
    "signs": (40_000, lambda n: _table("+-" * n)),
    "digits with blanks": (20_000, lambda n: _table("1 " * n)),
    "digits with commas": (20_000, lambda n: _table("1," * n)),
    "grouped digits": (20_000, lambda n: _table("1" + ".111" * n, rows=3)),
    "exponents": (20_000, lambda n: _table("1e" * n)),
    "long rows": (1_000, lambda n: _columns(n, ["0.5", "0.5"]).partition("\n")[2]),
    "equal titles": (1_000, lambda n: f"nm{';A' * n}\n400{';0.5' * n}\n410{';0.5' * n}\n"),
    "differing titles": (500, lambda n: _columns(n, ["0.5", "0.5"])),
    "empty cells": (10_000, lambda n: "nm;T" + ";" * n + "\n400;0.5\n410;0.5\n"),
    "empty cells in each row": (
        2_000,
        lambda n: "".join(f"{400 + wl};0.5{';' * n}\n" for wl in range(5)),
    ),
    "brackets in a title": (10_000, lambda n: _table(f"nm;{'(' * n}")),
    "brackets and words in a title": (10_000, lambda n: _table(f"nm;{'(a ' * n}{')' * n}")),
    "units in a title": (5_000, lambda n: _table("nm;T " + "[%] " * n)),
    "unit without end": (5_000, lambda n: _table(f"nm;T [{'W m-2 ' * n}]")),
    "cm and blanks": (10_000, lambda n: _table("nm;cm" + " " * n + "x")),
    "letters of a unit": (10_000, lambda n: _table(f"nm;T [{'m' * n}]")),
    "words of a title": (5_000, lambda n: _table("nm;" + "wave " * n)),
    "slashes in a title": (10_000, lambda n: _table("nm;T " + "/" * n)),
    "per": (10_000, lambda n: _table("nm;T " + "per " * n)),
    "quotes": (10_000, lambda n: _table('nm;"' + '""' * n)),
    "open quote": (10_000, lambda n: 'nm;"T\n' + "400;0.5\n" * n),
    "long quoted cell": (30_000, lambda n: f'nm;"{"a" * n}"\n400;0.5\n410;0.5\n'),
    "header lines": (3_000, lambda n: _table(*[f"key {i}: value" for i in range(n)])),
    "equal header lines": (3_000, lambda n: _table(*["Sample: lens"] * n)),
    "header without end": (10_000, lambda n: _table("Sample: " + "a: " * n)),
    "header lines of units": (3_000, lambda n: _table(*["Unit: nm;%"] * n)),
    "empty lines": (50_000, lambda n: "\n" * n + _table()),
    "carriage returns": (50_000, lambda n: "\r" * n + _table()),
    "words between rows": (2_000, lambda n: "400;0.5\nword\n" * n),
    "lines of words": (5_000, lambda n: "a b c d\n" * n),
    "comments": (5_000, lambda n: "# comment: 1 2 3\n" * n + _table()),
    "dates": (5_000, lambda n: _table(*["2024-03-01 10:15:00;1"] * n)),
    "descending wavelengths": (
        5_000,
        lambda n: "".join(f"{2000 - i / 100:.2f};0.5\n" for i in range(n)),
    ),
    "equal wavelengths": (5_000, lambda n: "400;0.5\n" * n),
    "ragged rows": (1_000, lambda n: "".join("400" + ";1" * (i % 50) + "\n" for i in range(n))),
    "blanks": (50_000, lambda n: " " * n + "400 0.5\n410 0.5\n"),
    "tabs": (20_000, lambda n: "400\t0.5" + "\t" * n + "\n410\t0.5\n"),
    "percent signs": (10_000, lambda n: _table("nm;" + "%" * n)),
    "letters beyond ASCII": (10_000, lambda n: _table("nm;" + "é\u2212 " * n)),
    "JCAMP-DX titles": (20_000, lambda n: "##TITLE= " + " " * n + "\n"),
    "JCAMP-DX comments": (20_000, lambda n: "$$ a\n" * n + "##TITLE= a\n"),
    "JCAMP-DX open brackets": (10_000, lambda n: _jcamp("##X= " + "<" * n)),
    "JCAMP-DX labels": (3_000, lambda n: _jcamp(*[f"##X{i}= 1" for i in range(n)])),
    "JCAMP-DX equal labels": (3_000, lambda n: _jcamp(*["##X= 1"] * n)),
    "JCAMP-DX long label": (20_000, lambda n: _jcamp("##" + "X" * n)),
    "JCAMP-DX blocks": (
        300,
        lambda n: f"##TITLE= a\n##DATA TYPE= LINK\n##BLOCKS= {n}\n" + _jcamp() * n + "##END=\n",
    ),
    "JCAMP-DX nested blocks": (
        300,
        lambda n: "##TITLE= a\n##DATA TYPE= LINK\n##BLOCKS= 1\n" * n + _jcamp(),
    ),
    "JCAMP-DX pairs": (
        3_000,
        lambda n: _jcamp(data="\n".join(f"{400 + i / 100:.2f}, 0.5" for i in range(n))),
    ),
    "JCAMP-DX pairs in a line": (
        3_000,
        lambda n: _jcamp(data=" ".join(f"{400 + i / 100:.2f},0.5;" for i in range(n))),
    ),
    "JCAMP-DX digits": (10_000, lambda n: _jcamp(data="1" * n + " " + "1" * n + "x")),
    "JCAMP-DX packed digits": (10_000, lambda n: _packed("400 " + "1" * n)),
    "JCAMP-DX packed tokens": (10_000, lambda n: _packed("400" + "@" + "%S9" * n)),
    "JCAMP-DX packed repeats": (10_000, lambda n: _packed("400A" + "S" + "9" * n)),
    "JCAMP-DX packed lines": (3_000, lambda n: _packed("\n".join(f"{400 + i}A" for i in range(n)))),
    "TM-27 points": (1_000, lambda n: _tm27(n)),
    "TM-27 long text": (50_000, lambda n: _tm27(2, f"<Comments>{'a ' * n}</Comments>")),
    "TM-27 fields": (2_000, lambda n: _tm27(2, "<Comments>a</Comments>" * n)),
    "XML depth": (20_000, lambda n: _xml("<a>" * n + "</a>" * n)),
    "XML attributes": (
        3_000,
        lambda n: _xml("<a " + " ".join(f'b{i}="1"' for i in range(n)) + "/>"),
    ),
    "XML entities": (10_000, lambda n: _xml("&amp;" * n)),
    "XML declaration": (30_000, lambda n: "<?xml " + "encoding " * n),
    "data sets of one name": (200, lambda n: _vek(n)),
    "data sets of long names": (20, lambda n: _vek(20, name="A" * n * 20)),
    "points of a data set": (5_000, lambda n: _vek(1, n)),
    "long comment": (3_000, lambda n: _vek(1, scan_summary="a\n" * n)),
    "square brackets": (10_000, lambda n: _table("nm;" + "[" * n)),
    "brackets between blanks": (5_000, lambda n: _table("nm  " + "( " * n)),
    "cm and blanks first": (10_000, lambda n: _table("cm" + " " * n + "x;T")),
    "pairs of columns": (500, lambda n: f"nm;T{';nm;T' * n}\n400;1{';400;1' * n}\n"),
    "blanks behind quotes": (5_000, lambda n: ";".join(['"1"'] * n) + " " * n + "\n"),
    "shapes": (3_000, lambda n: _table(*[f"{'x' * (i % 300)} {'abc'[i % 3]}" for i in range(n)])),
    "JCAMP-DX packed numbers": (20_000, lambda n: _packed("400 " + "1 " * n)),
    "JCAMP-DX brackets and comments": (20_000, lambda n: _packed("400 1 2 " + "<$$" * n)),
    "JCAMP-DX comments in a title": (20_000, lambda n: "##TITLE= " + "$$<" * n),
    "XML comments": (20_000, lambda n: "<!---->" * n + "<R/>"),
    "XML long tag": (50_000, lambda n: "<R " + "a" * n),
    "gaps in each column": (500, lambda n: _columns(n, ["0.5", "", "0.5"])),
    "facts for each column": (
        200,
        lambda n: "".join(f"key {i}: a\n" for i in range(n)) + _columns(n, ["0.5"] * 3),
    ),
}

_COMPONENT = "[[component]]\nname='a{i}'\nkind='gain'\nstandard=0.01\n"
_CATEGORY = "[[category]]\nname='a{i}'\nquantity='ISO8980_3_tau_v'\nabove=0.1\nat_most=1.0\n"
_LABELS = "label='a'\nsource='a'\nedition='a'\n"


def _each(count: int, text: str, last: str = "") -> str:
    return "".join(text.replace("{i}", str(i)) for i in range(count)) + last


# What people write for a laboratory, and who reads it.
DOCUMENTS: dict[str, tuple[int, type[Any], Callable[[int], str]]] = {
    "components": (50, Budget, lambda n: _each(n, _COMPONENT)),
    "component of a name that is there": (
        50,
        Budget,
        lambda n: _each(n, _COMPONENT, _COMPONENT.replace("{i}", "0")),
    ),
    "component of an unknown key": (
        50,
        Budget,
        lambda n: _each(n, _COMPONENT, _COMPONENT.replace("kind", "kin")),
    ),
    "keys within a string": (
        300,
        Budget,
        lambda n: f"label='''\n{'[[component]]\nname=1\n' * n}'''\n[[component]]\nname=1\n",
    ),
    "long key": (5_000, Budget, lambda n: _COMPONENT + "x" * n + "=1\n"),
    "many keys": (300, Budget, lambda n: _COMPONENT + _each(n, "x{i}=1\n")),
    "long kind": (5_000, Budget, lambda n: _COMPONENT.replace("gain", "g" * n)),
    "many tables": (300, Budget, lambda n: _each(n, "[a{i}]\n")),
    "depth of lists": (5_000, Budget, lambda n: "a=" + "[" * n),
    "depth of names": (5_000, Budget, lambda n: "a" + ".a" * n + "=1"),
    "long list": (2_000, Budget, lambda n: _COMPONENT.replace("0.01", f"[{'0.1,' * n}]")),
    "categories": (50, Limits, lambda n: _LABELS + _each(n, _CATEGORY)),
    "category of a wrong bound": (
        50,
        Limits,
        lambda n: _LABELS + _each(n, _CATEGORY, _CATEGORY.replace("0.1", "'x'")),
    ),
    "long name of a quantity": (
        5_000,
        Limits,
        lambda n: _LABELS + _CATEGORY.replace("tau_v", "v" * n),
    ),
    "many fields": (300, Settings, lambda n: "[fields]\n" + _each(n, "a{i}='x'\n")),
    "long address": (500, Settings, lambda n: f"[laboratory]\nname='a'\naddress=[{'"a",' * n}]\n"),
}

# Of commands on one file, which comes last.
COMMANDS: dict[str, tuple[int, tuple[str, ...], Callable[[int], str | bytes]]] = {
    "peaks of noise": (3_000, ("peaks",), _noise),
    "peaks of a staircase": (
        3_000,
        ("peaks",),
        lambda n: "".join(f"{300 + i / 100:.2f} {i + i % 2 * 3}\n" for i in range(n)),
    ),
    "report of columns": (20, ("report",), lambda n: _columns(n, ["50"] * 20)),
    "report of data sets": (20, ("report", "--json"), lambda n: _vek(n, 5)),
    "light of points": (
        3_000,
        ("light", "--unit", "W m-2 nm-1"),
        lambda n: "".join(f"{300 + 600 * i / n:.5f};0.5\n" for i in range(n)),
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
    size, kind, make = DOCUMENTS[name]
    _check(lambda path: _outcome(lambda: kind.read(path)), size, make, tmp_path)


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
    rows = "".join(f"{wl}{';1' * count}\n" for wl in (400, 410))
    (tmp_path / "a.csv").write_text(f"{header}nm{';' * count}\n{rows}")
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
            content = _jcamp(data="\n".join(f"{21 + row},1" for row in range(count))).encode()
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
