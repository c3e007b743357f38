"""Measurement files on the command line."""

from __future__ import annotations

import csv
import math
from pathlib import Path

import pytest
from cli import GREY, Runner, flat, write_csv, write_vek

import vekanalysis as vek


@pytest.fixture
def run(capsys: pytest.CaptureFixture[str]) -> Runner:
    return Runner(capsys)


@pytest.fixture
def lenses(tmp_path: Path) -> Path:
    """Two data sets of one name, a comma in a name, and grids that differ."""
    return write_vek(
        tmp_path / "lenses.vek",
        [
            ("A", flat(0.25, 380, 780, 10)),
            ("B, dark", flat(0.5, 390, 790, 20)),
            ("A", flat(0.75, 380, 800, 10)),
        ],
        scan_summary="first line\nsecond \x1b line",
        apply_reference=True,
        reference_file="lamp.vek",
    )


def test_info_says_what_is_in_a_file(run: Runner, lenses: Path) -> None:
    text = run("info", lenses, lenses).out
    assert text.count(f"{lenses}\n") == 2
    for fact in (
        "file version 5, graph-view version 5",
        "2024-03-01 10:15:00",
        "second ? line",
        "not applied, calibration.cal",
        "applied, none, lamp.vek, 1.0",
        "before, before.exe",
        "data sets (3)",
        "A: 380-780 nm, 41 points, values 0.25 to 0.25",
        "A (2): 380-800 nm, 43 points",
    ):
        assert fact in text
    (document,) = run("info", "--json", lenses).document["files"]
    assert document["data_info"]["reference_file"] == "lamp.vek"
    assert [data_set["label"] for data_set in document["data_sets"]] == ["A", "B, dark", "A (2)"]


def test_info_counts_points_and_wavelengths(run: Runner, tmp_path: Path) -> None:
    path = write_vek(tmp_path / "a.vek", [("A", [(400.0, 1.0), (400.0, 2.0)]), ("none", [])])
    text = run("info", path).out
    assert "A: 400-400 nm, 2 points, values 2 to 2, 1 of the points at different x" in text
    assert "none: no points" in text
    endless = write_vek(tmp_path / "b.vek", [("A", [(400.0, 1.0), (math.inf, 2.0)])])
    (document,) = run("info", "--json", endless).document["files"]
    assert document["data_sets"][0]["range"] == [400.0, None]
    assert run.refuse("report", path) == f"{path}: data set 'none': it has no points"


@pytest.mark.parametrize("indent", [-1, 0, 2])
def test_json_is_the_librarys(run: Runner, lenses: Path, indent: int) -> None:
    assert run("json", lenses, "--indent", indent).out == (
        vek.io.vekfile_to_json(lenses, indent, False) + "\n"
    )


def test_json_can_be_ascii(run: Runner, tmp_path: Path) -> None:
    path = write_vek(tmp_path / "a.vek", [("\N{MICRO SIGN}", flat(1.0))])
    assert "\N{MICRO SIGN}" in run("json", path).out
    assert run("json", path, "--ascii").out.isascii()
    assert "1024" in run.refuse("json", path, "--indent", 5000)


def test_one_data_set_is_a_plain_csv(run: Runner, lenses: Path, tmp_path: Path) -> None:
    path = tmp_path / "out.csv"
    path.write_text(run("csv", lenses, "--data-set", "B, dark").out)
    assert [*vek.io.load_csv(path).items()] == flat(0.5, 390, 790, 20)


@pytest.mark.parametrize("options", [[], ["--long"]])
def test_the_long_form_has_all_points(run: Runner, lenses: Path, options: list[str]) -> None:
    header, *rows = csv.reader(run("csv", lenses, *options).out.splitlines())
    assert header == ["data set", "Wavelength / nm", "Transmittance"]
    assert len(rows) == 41 + 21 + 43
    assert rows[-1] == ["A (2)", "800.0", "0.75"]
    assert ["B, dark", "390.0", "0.5"] in rows


def test_the_wide_form_has_the_common_grid(run: Runner, lenses: Path) -> None:
    result = run("csv", lenses, "--wide")
    header, *rows = csv.reader(result.out.splitlines())
    assert header == ["Wavelength / nm", "A", "B, dark", "A (2)"]
    assert [float(row[0]) for row in rows] == [wl for wl, _ in flat(0, 390, 780, 10)]
    for row in rows:
        assert [float(value) for value in row[1:]] == pytest.approx([0.25, 0.5, 0.75])
    assert "5 points outside of the common range 390-780 are left out" in result.err


def test_the_wide_form_interpolates_as_the_library_does(run: Runner, tmp_path: Path) -> None:
    grey = [*vek.io.load_csv(GREY).items()]
    path = write_vek(tmp_path / "a.vek", [("all", grey), ("half", grey[::2])])
    _, *rows = csv.reader(run("csv", path, "--wide").out.splitlines())
    half = vek.Scan([wl for wl, _ in grey[::2]], [value for _, value in grey[::2]])
    assert [[float(number) for number in row] for row in rows] == [
        [wl, value, half(wl)] for wl, value in grey
    ]


def test_sets_without_a_common_grid_have_no_wide_form(run: Runner, tmp_path: Path) -> None:
    uv = ("A", flat(1.0, 300, 400))
    apart = write_vek(tmp_path / "a.vek", [uv, ("B", flat(1.0, 500, 600))])
    assert "no common range" in run.refuse("csv", apart, "--wide")
    few = write_vek(tmp_path / "b.vek", [uv, ("B", flat(1.0, 300, 400, 50))])
    assert "too few points" in run.refuse("csv", few, "--wide")


def test_a_report_has_a_column_a_data_set(run: Runner, lenses: Path) -> None:
    report = run("report", "--json", lenses)
    labels = [spectrum["label"] for spectrum in report.document["spectra"]]
    assert labels == ["A", "B, dark", "A (2)"]
    first, _, third = (report.value("ANSI_Z80_3_tau_spectral_min", i)["value"] for i in range(3))
    assert (first, third) == (0.25, 0.75)


@pytest.mark.parametrize(
    ("names", "labels"),
    [(["A"], ["A", "A (2)"]), (["A (2)"], ["A (2)"]), (["B, dark", "A (2)"], ["B, dark", "A (2)"])],
)
def test_data_sets_are_chosen_by_name(
    run: Runner, lenses: Path, tmp_path: Path, names: list[str], labels: list[str]
) -> None:
    other = write_vek(tmp_path / "other.vek", [("C", flat(1.0))])
    options = [f"--data-set={name}" for name in [*names, "C"]]
    spectra = run("report", "--json", lenses, other, GREY, *options).document["spectra"]
    assert [spectrum["label"] for spectrum in spectra] == [*labels, "C", "grey-glass-4mm"]
    told = run.refuse("report", lenses, "--data-set", "A", "--data-set", "D")
    assert told == f"{lenses}: no data set 'D'; the data sets are: 'A', 'B, dark', 'A (2)'"
    assert "no data set 'D'" in run.refuse("csv", lenses, "--data-set", "D")


def test_labels_differ_whatever_the_names(run: Runner, tmp_path: Path) -> None:
    path = write_vek(tmp_path / "a.vek", [(name, flat(1.0)) for name in ("A", "A (2)", "A", "A")])
    spectra = run("report", "--json", path).document["spectra"]
    assert [s["label"] for s in spectra] == ["A", "A (2)", "A (3)", "A (4)"]


def test_the_content_tells_the_kind_of_a_file(run: Runner, lenses: Path, tmp_path: Path) -> None:
    disguised = lenses.rename(tmp_path / "lenses.csv")
    assert len(run("report", "--json", disguised).document["spectra"]) == 3
    text = write_csv(tmp_path / "text.vek", flat(0.5))
    assert run("report", text).status == 0
    assert run.refuse("info", text) == f"{text}: not a measurement file (.vek)"


@pytest.mark.parametrize("command", ["report", "light", "info", "json", "csv"])
def test_damaged_files_are_refused_in_one_line(run: Runner, lenses: Path, command: str) -> None:
    lenses.write_bytes(lenses.read_bytes()[:2000])
    assert run.refuse(command, lenses).startswith(f"{lenses}: no readable measurement file: ")


@pytest.mark.parametrize("command", ["report", "light", "csv"])
def test_a_file_without_data_sets_is_refused(run: Runner, tmp_path: Path, command: str) -> None:
    path = write_vek(tmp_path / "empty.vek", [])
    assert run.refuse(command, path) == f"{path}: there are no data sets in it"


def test_a_report_needs_wavelengths(run: Runner, tmp_path: Path) -> None:
    path = write_vek(tmp_path / "time.vek", [("A", flat(0.5))], x_type=1)
    assert "x axis is 'Time / s'" in run.refuse("report", path)
    assert run("csv", path, "--long").out.startswith("data set,Time / s,")
    assert "A: 280-780 s, 101 points" in run("info", path).out
