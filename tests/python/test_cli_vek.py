"""Measurement files on the command line."""

from __future__ import annotations

import csv
import math
from pathlib import Path

import pytest
from cli import GREY, ROOT, Runner, flat, write_csv, write_vek

import vekanalysis as vek

FILES = ROOT / "tests/data/labfiles"
INSTRUMENTS = [FILES / "spc-new-multi3.spc", FILES / "jdx-link-two-blocks.jdx"]
LABELS = ["A", "B, \N{MICRO SIGN}\x1b", "A (2)"]


@pytest.fixture
def lenses(tmp_path: Path) -> Path:
    """Two data sets of one name, a comma and an odd sign in another, and grids that differ."""
    grids = [(0.25, 380, 780, 10), (0.5, 390, 790, 20), (0.75, 380, 800, 10)]
    return write_vek(
        tmp_path / "lenses.vek",
        [(name, flat(*grid)) for name, grid in zip(["A", LABELS[1], "A"], grids, strict=True)],
        scan_summary="first line\nsecond \x1b line",
    )


def test_info_shows_what_a_terminal_may_see(run: Runner, lenses: Path) -> None:
    text = run("info", lenses, lenses).out
    assert text.count(f"{lenses}\n") == 2
    assert "second ? line" in text
    assert "\x1b" not in text


def test_info_tells_ranges_along_any_axis(run: Runner, tmp_path: Path) -> None:
    path = write_vek(tmp_path / "a.vek", [("none", []), ("far", [(4.0, 1.0), (math.inf, 2)])])
    (document,) = run("info", "--json", path).document["files"]
    assert [data_set["range"] for data_set in document["data_sets"]] == [None, [4.0, None]]
    other_axis = write_vek(tmp_path / "time.vek", [("A", flat(0.5))], x_type=1)
    assert run("csv", other_axis, "--long").out.startswith("data set,Time / s,")
    assert "A: 280-780 s, 101 points" in run("info", other_axis).out


def test_json_is_the_librarys(run: Runner, lenses: Path) -> None:
    for indent in (-1, 0, 2):
        expected = vek.io.vekfile_to_json(lenses, indent, False) + "\n"
        assert run("json", lenses, "--indent", indent).out == expected
    assert not expected.isascii()
    assert run("json", lenses, "--ascii").out == vek.io.vekfile_to_json(lenses, 2, True) + "\n"


def test_json_takes_what_is_no_spectrum(run: Runner, tmp_path: Path) -> None:
    path = write_vek(tmp_path / "nan.vek", [("A", [(math.nan, 1.0)])])
    assert run("json", path).document["data_sets"][0]["data"] == {"x": [None], "y": [1.0]}


def test_the_long_form_has_all_points(run: Runner, lenses: Path) -> None:
    text = run("csv", lenses).out
    assert run("csv", lenses, "--long").out == text
    two = run("csv", lenses, "--data-set", "A (2)", "--data-set", LABELS[1]).out
    assert len(two.splitlines()) == 1 + 21 + 43
    assert [LABELS[1], "390.0", "0.5"] in [*csv.reader(text.splitlines())]


def test_the_wide_form_interpolates_as_the_library_does(run: Runner, tmp_path: Path) -> None:
    grey = [*vek.io.load_csv(GREY).items()]
    path = write_vek(tmp_path / "a.vek", [("all", grey), ("half", grey[::2])])
    _, *rows = csv.reader(run("csv", path, "--wide").out.splitlines())
    half = vek.Scan(*map(list, zip(*grey[::2], strict=True)))
    assert [[*map(float, row)] for row in rows] == [[wl, value, half(wl)] for wl, value in grey]


@pytest.mark.parametrize(
    ("names", "labels"),
    [(["A"], ["A", "A (2)"]), (["A (2)"], ["A (2)"]), ([LABELS[1], "A (2)"], LABELS[1:])],
)
def test_data_sets_are_chosen_by_name(
    run: Runner, lenses: Path, tmp_path: Path, names: list[str], labels: list[str]
) -> None:
    other = write_vek(tmp_path / "other.vek", [("C", flat(1.0))])
    options = [f"--data-set={name}" for name in [*names, "C"]]
    spectra = run("report", "--json", lenses, other, GREY, *options).document["spectra"]
    assert [spectrum["label"] for spectrum in spectra] == [*labels, "C", "grey-glass-4mm"]


@pytest.mark.parametrize(
    ("names", "found"),
    [
        (["subfile 2"], ["subfile 2"]),
        (["subfile 3", "subfile 1", "Sample A transmission"], ["1", "3", "transmission"]),
        (["C", "Sample A reflection"], ["C", "reflection"]),
        (["Sample A reflection (2)"], []),
    ],
)
def test_spectra_of_other_instruments_are_chosen_by_name(
    run: Runner, tmp_path: Path, names: list[str], found: list[str]
) -> None:
    other = write_vek(tmp_path / "other.vek", [("C", flat(1.0)), ("D", flat(1.0))])
    # The reflectance is no quantity of a lens, but has peaks as all do.
    command = ["peaks", "--json", other, *INSTRUMENTS, GREY]
    command += [f"--data-set={name}" for name in names]
    if not found:
        told = run.refuse(*command)
        assert f"no data set '{names[0]}'; the data sets are: 'C', 'D', 'subfile 1'" in told
        return
    labels = [spectrum["label"] for spectrum in run(*command).document["spectra"]]
    assert len(labels) == len(found) + 1
    assert all(label.endswith(end) for label, end in zip(labels, found, strict=False))
    assert labels[-1] == "grey-glass-4mm"


def test_content_tells_the_kind_and_labels_differ(run: Runner, tmp_path: Path) -> None:
    names = ["A", "A (2)", "A", "A"]
    disguised = write_vek(tmp_path / "vek.csv", [(name, flat(0.5)) for name in names])
    text = write_csv(tmp_path / "text.vek", flat(0.5))
    spectra = run("report", "--json", disguised, text).document["spectra"]
    assert [s["label"] for s in spectra] == ["A", "A (2)", "A (3)", "A (4)", "text"]


@pytest.mark.parametrize("command", ["report", "light", "info", "json", "csv"])
@pytest.mark.parametrize("size", [8, 2000])
def test_damaged_files_are_refused(run: Runner, lenses: Path, command: str, size: int) -> None:
    lenses.write_bytes(lenses.read_bytes()[:size])
    assert run.refuse(command, lenses).startswith(f"{lenses}: no readable measurement file: ")
