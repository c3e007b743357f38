"""What the options of the command line become, which texts they take, and the files they name."""

from __future__ import annotations

import os
from pathlib import Path
from typing import Any

import pytest
from cli import GREY, ROOT, Runner, flat, write_csv, write_vek

from vekanalysis.commands import _files
from vekanalysis.commands._errors import CommandError
from vekanalysis.commands._pages import file_name
from vekanalysis.commands._parser import make_parser
from vekanalysis.quantities import TABLES

LAYOUT = dict.fromkeys(("wavelength_unit", "columns", "skip", "delimiter", "decimal", "encoding"))
LAYOUT |= {"duplicates": "last", "sort": False, "unit": None, "kind": None}
PERCENT = {"percent": False, "short": ("percent", "%")}
MW = {"mw": False, "short": ("mw", "mW m-2 nm-1")}
SPECTRA = {"files": ["a"], "data_set": [], **LAYOUT}
REPORT = {"reference": [], "json": False, "plot": None, **SPECTRA}
TABLE = dict.fromkeys(("csv", "pattern", "jobs", "cluster", "uncertainty", "draws", "seed"))
TABLE |= {"full": False, "group": None, "width": None}
PAGES = {"overwrite": False, "table": [], "grid": None}
LEAST = dict.fromkeys(f"min_{each}" for each in ("height", "prominence", "distance", "width"))


@pytest.mark.parametrize(
    ("line", "expected"),
    [
        ("report a", {"html": None, "figures": None} | REPORT | TABLE | PAGES | PERCENT),
        ("light a", {"white": "d65", "f1_prime": False} | REPORT | TABLE | MW),
        ("peaks a", {"baseline": "valleys"} | LEAST | REPORT),
        ("stitch a", {"start": None, "end": None, "target": 0.01} | SPECTRA),
        (
            "certificate a --out o",
            {"out": "o", "purpose": [], "set": []}
            | dict.fromkeys(("settings", "uncertainty", "limits", "pdf", "record", "pattern"))
            | {"group": None, **SPECTRA, **PAGES, **PERCENT},
        ),
        ("verify a", {"files": ["a"]}),
        (
            "calibrate a --start b --free c",
            {"file": "a", "start": "b", "free": "c"}
            | {"try_phases": None, "json": False, "plot": None},
        ),
        ("references", {"name": None, "json": False}),
        ("info a", {"files": ["a"], "json": False, **LAYOUT}),
        ("json a", {"file": "a", "indent": 2, "ascii": False}),
        ("csv a", {"file": "a", "data_set": [], "wide": False, "long": False}),
        ("completion zsh", {"shell": "zsh"}),
    ],
)
def test_what_is_not_said_is_the_usual(line: str, expected: dict[str, Any]) -> None:
    found = vars(make_parser("vekanalysis").parse_args(line.split()))
    assert found.pop("program") == "vekanalysis"
    assert found.pop("command").__name__.rpartition(".")[2] == line.split()[0]
    assert found == expected


@pytest.mark.parametrize(
    ("option", "expected"),
    [
        ("--jobs 1", 1),
        ("--jobs 1024", 1024),
        ("--width 50", 50),
        ("--width 10000", 10_000),
        ("--seed 0", 0),
        ("--seed 999999999", 999_999_999),
        ("--draws auto", "auto"),
        ("--draws 2000", 2000),
        ("--draws 100000000", 100_000_000),
        ("--columns 0,2", [0, 2]),
        ("--columns 10,T,-1", [10, "T", "-1"]),
        ("--skip 5", 5),
        ("--skip 5-5", {5}),
        ("--skip 1-3,7", {1, 2, 3, 7}),
        ("--delimiter tab", "\t"),
        ("--delimiter blank", " "),
        ("--delimiter blanks", " "),
        ("--delimiter comma", ","),
        ("--delimiter semicolon", ";"),
        ("--delimiter |", "|"),
        ("--grid tables", TABLES),
        ("--grid 0.05", 0.05),
        ("--table a=b", ["a=b"]),
        ("--data-set A", ["A"]),
        ("--figures percent", "percent"),
        ("json a --indent -1", -1),
        ("json a --indent 1024", 1024),
        ("calibrate a --start b --free c --try-phases 1", 1),
        ("calibrate a --start b --free c --try-phases 1000", 1000),
    ],
)
def test_texts_become_what_they_mean(option: str, expected: object) -> None:
    words = f"report a {option}".split() if option.startswith("--") else option.split()
    found = make_parser("vekanalysis", words[:1]).parse_args(words)
    assert getattr(found, words[-2].strip("-").replace("-", "_")) == expected


REFUSED = (ROOT / "tests/data/mistakes/commands.txt").read_text().splitlines()


@pytest.mark.parametrize("refused", REFUSED)
def test_what_does_not_go_together_is_refused(
    run: Runner, tmp_path: Path, monkeypatch: pytest.MonkeyPatch, refused: str
) -> None:
    arguments, told = refused.split(" -> ")
    monkeypatch.chdir(tmp_path)
    for name in "gh":
        write_csv(Path(f"{name}.csv"), flat(0.5))
    write_vek(Path("two.vek"), [("A", flat(0.5)), ("B", flat(0.5))])
    Path("b.toml").write_text("")
    Path("folder").mkdir()
    before = sorted(tmp_path.iterdir())
    for short, long in {
        "TABLE": "--csv, --jobs, --cluster and --pattern are for files, without --json, --plot or "
        "--reference",
        "REQUIRED": "the following arguments are required:",
        "FIGURES": "--figures percent is for the text; JSON and tables have fractions",
        "STITCH": "two spectra can be stitched",
        "EXPLAINED": f"'vekanalysis {arguments.partition(' ')[0]} --help' explains",
    }.items():
        told = told.replace(short, long)
    assert run.refuse(*arguments.split()) == told
    assert sorted(tmp_path.iterdir()) == before


def test_a_label_becomes_the_name_of_a_file() -> None:
    labels = ["Lens 7/a", "..", "", "._a.b+c-d_", "\N{GREEK SMALL LETTER MU}\x1b[0m", "x" * 101]
    names = ["Lens_7_a", "spectrum", "spectrum", "a.b+c-d", "\N{GREEK SMALL LETTER MU}_0m"]
    assert [file_name(label) for label in labels] == [*names, "x" * 100]


def test_certificates_of_one_name_and_bad_files_are_told(run: Runner, tmp_path: Path) -> None:
    (tmp_path / "in").mkdir()
    write_vek(tmp_path / "in/a.vek", [("A 1", flat(0.5)), ("A/1", flat(0.6))])
    (tmp_path / "in/b.csv").write_text("")
    write_csv(tmp_path / "in/c.csv", flat(0.5))
    out = tmp_path / "out"
    result = run("certificate", tmp_path / "in", "--out", f"{out}/", "--record", out / "json")
    told = [line.removeprefix("vekanalysis: ") for line in result.err.splitlines()]
    assert told == [
        "another spectrum is named 'A_1', too: A/1",
        f"{tmp_path}/in/b.csv: the file is empty",
    ]
    assert (result.status, result.out) == (1, "")
    files = sorted(str(path.relative_to(out)) for path in out.rglob("*.*"))
    assert files == ["A_1.html", "c.html", "json/A_1.json", "json/c.json"]
    again = run("certificate", tmp_path / "in/c.csv", "--out", out)
    assert again.err == f"vekanalysis: {out}/c.html: is there already; --overwrite replaces it\n"
    assert run("certificate", tmp_path / "in/c.csv", "--out", out, "--overwrite").status == 0


def test_only_what_is_asked_for_of_a_measurement_file_counts(run: Runner, tmp_path: Path) -> None:
    one = write_vek(tmp_path / "1.vek", [("A", flat(0.5)), ("B", flat(0.5))])
    two = write_vek(tmp_path / "2.vek", [("C", flat(0.5))])
    # One of which none is asked for is passed.
    chosen = run("peaks", one, two, GREY, "--data-set", "B", "--json").document
    assert [each["label"] for each in chosen["spectra"]] == ["B", "grey-glass-4mm"]
    refusal = run.refuse("peaks", one, two, "--data-set", "B", "--data-set", "D")
    assert refusal == f"{one}, {two}: no data set 'D'; the data sets are: 'A', 'B', 'C'"


def test_the_files_of_a_folder(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    folder = tmp_path / "scans"
    for name in ("b/.hidden", "c.csv", ".d"):
        (folder / name).mkdir(parents=True)
    for name in ("z.CSV", "a.txt", "a.log", ".e.csv", "b/m.csv", "b/.hidden/n.csv", ".d/o.csv"):
        (folder / name).write_text("")
    (folder / "b/loop").symlink_to(folder)
    (folder / "linked.csv").symlink_to(ROOT / GREY)
    (folder / "table.csv").symlink_to(folder / "z.CSV")
    monkeypatch.chdir(tmp_path)

    def found(output: str, pattern: str | None = None) -> list[str]:
        return _files.input_files(["scans"], output, pattern)

    names = ["a.txt", "linked.csv", "table.csv", "z.CSV", "b/m.csv"]
    assert found("-") == found("other.csv") == [f"scans/{name}" for name in names]
    # What is written is no input, whatever it is called.
    assert found("scans/z.CSV") == ["scans/a.txt", "scans/linked.csv", "scans/b/m.csv"]
    assert found("scans/b/m.csv") == [f"scans/{name}" for name in names[:-1]]
    assert found("-", "*.l*g") == ["scans/a.log"]
    assert _files.input_files(["none", "scans/b"], "-") == ["none", "scans/b/m.csv"]

    def refused(top: str) -> None:
        raise PermissionError(13, "Permission denied", top)

    monkeypatch.setattr(os, "scandir", refused)
    with pytest.raises(CommandError, match=r"^scans: cannot be read: Permission denied$"):
        found("-")
