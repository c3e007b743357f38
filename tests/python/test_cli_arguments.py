"""What the options of the command line become, which texts they take, and the files they name."""

from __future__ import annotations

import json
import os
from pathlib import Path
from typing import Any

import pytest
from cli import GREY, ROOT, Runner, flat, rows, write_csv, write_vek

from vekanalysis.commands import _files
from vekanalysis.commands._errors import CommandError
from vekanalysis.commands._pages import file_name
from vekanalysis.commands._parser import make_parser
from vekanalysis.quantities import TABLES


@pytest.mark.parametrize(("line", "expected"), rows("defaults.jsonl", "commands"))
def test_what_is_not_said_is_the_usual(line: str, expected: dict[str, Any]) -> None:
    found = vars(make_parser("vekanalysis").parse_args(line.split()))
    assert found.pop("program") == "vekanalysis"
    assert found.pop("command").__name__.rpartition(".")[2] == line.split()[0]
    assert json.loads(json.dumps(found)) == expected


LISTS = [("--skip 5-5", {5}), ("--skip 1-3,7", {1, 2, 3, 7}), ("--grid tables", TABLES)]


@pytest.mark.parametrize(("option", "expected"), [*rows("options.jsonl", "commands"), *LISTS])
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
