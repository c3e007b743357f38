"""The one door for files: what is stated of columns, what is done with it, and what is refused."""

import io
import math
from pathlib import Path
from typing import Any

import pytest
from cli import ROOT, Points, repeated, rows, write_vek
from vekwriter import Contents, DataSet

import vekanalysis as vek
from vekanalysis.errors import for_command_line
from vekanalysis.reading import read_pairs, stem


def read(text: str | bytes, **options: Any) -> list[vek.Spectrum]:
    file = io.BytesIO(text.encode() if isinstance(text, str) else text)
    file.name = "lens.csv"
    return vek.read(file, **options)


# A title, what it is taken for, and by what the value 8 of the file comes out.
TITLES = (ROOT / "tests/data/reading/titles.txt").read_text("utf-8").splitlines()


@pytest.mark.parametrize("case", TITLES)
def test_titles_state_kind_and_unit(case: str) -> None:
    title, expected = case.split(" -> ")
    kind, *unit, value = expected.split()
    (spectrum,) = read(f"Wavelength [nm];{title}\n400;8\n410;8\n")
    assert (spectrum.kind, str(spectrum.unit)) == (kind, " ".join(unit))
    assert spectrum.scan.values() == [float(value)] * 2
    # Whatever is stated is told.
    assert bool(spectrum.notes) == (expected != "unknown None 8")


@pytest.mark.parametrize(
    ("case", "text", "options", "expected", "metadata", "notes"), rows("files.jsonl")
)
def test_files_are_read_as_they_state(
    case: str,
    text: str,
    options: dict[str, Any],
    expected: list[Any],
    metadata: dict[str, str],
    notes: list[str],
) -> None:
    spectra = read(text, **options)
    assert [[s.label, s.kind, s.unit, s.scan.values()] for s in spectra] == expected
    assert all(s.source.column == (s.label if len(spectra) > 1 else None) for s in spectra)
    assert all(380.0 <= s.scan.min_wavelength() <= 999.5 for s in spectra)
    assert [s.scan for s in vek.read(io.StringIO(text), **options)] == [s.scan for s in spectra]
    told = [*dict.fromkeys(note for s in spectra for note in s.notes)]
    assert (spectra[0].metadata, told) == (metadata, notes)


@pytest.mark.parametrize(("text", "options", "points", "notes"), rows("told.jsonl"))
def test_what_is_done_to_a_table_is_told(
    text: str, options: dict[str, Any], points: dict[str, list[list[float]]], notes: list[str]
) -> None:
    spectra = read(text, **options)
    assert {s.label: [*s.scan.to_lists()] for s in spectra} == points
    assert [note for note in spectra[0].notes if not note.startswith("column")] == notes


@pytest.mark.parametrize(("case", "text", "options", "reason", "remedy"), rows("refused.jsonl"))
def test_what_contradicts_or_is_doubtful_is_refused(
    case: str, text: str, options: dict[str, Any], reason: str, remedy: str
) -> None:
    with pytest.raises(vek.Refusal) as caught:
        read(repeated(text), **options)
    assert str(caught.value).removeprefix("lens.csv: ") == repeated(reason)
    assert for_command_line(caught.value).partition("; ")[2] == remedy


def test_refusals_quote_names_of_any_length_and_sort_in_one_short_line() -> None:
    hostile = [
        Contents(data_sets=[DataSet("A\n\x1b[2J" + "x" * 1000, [])]).file(),
        f"Wavenumber [cm-1] {'x' * 1000};T\n400;1\n410;1\n",
    ]
    for content in hostile:
        with pytest.raises(vek.Refusal) as caught:
            read(content)
        assert str(caught.value).isprintable()
        assert len(str(caught.value)) < 300


def test_what_a_file_is_does_not_depend_on_its_name(tmp_path: Path) -> None:
    points = [(400.0, 50.0), (410.0, 60.0)]
    facts = {"type_and_units": ("Transmittance / %", "3 1"), "date_and_time": "2026-05-04 10:00"}
    content = Contents(data_sets=[DataSet("A", points), DataSet("A", points)], **facts).file()
    path = tmp_path / "lens.csv"
    path.write_bytes(content)
    first, second = vek.read(path)
    assert (first.label, second.label) == ("A", "A (2)")
    assert first.scan.to_lists() == ([400, 410], [0.5, 0.6])
    assert first.notes == ("data set 'A': transmittance in %, divided by 100",)
    assert first.metadata["date"] == "2026-05-04 10:00"
    assert (first.source.data_set, len(first.source.sha256 or "")) == ("A", 64)
    assert [*map(stem, ("a/b.7.CSV", "b.7", ".csv", "a\\c.x"))] == ["b.7", "b.7", ".csv", "c.x"]
    assert vek.read(path, data_sets=["A (2)"]) == [second]
    path.write_bytes("Wellenlänge in nm;T\n400;0,5\n410;0,6\n".encode("utf-16"))
    assert vek.read(path)[0].scan.to_lists() == first.scan.to_lists()
    # In UTF-16 the second byte may be that of a version of SPC, and some letters end in zero.
    path.write_bytes(("MĀ\n" + "x\n" * 40 + "nm;T\n400;0,5\n410;0,6\n").encode("utf-16-be"))
    assert vek.read(path)[0].scan.to_lists() == first.scan.to_lists()


LENS = DataSet("A", [(0.4, 50.0), (0.41, 60.0)])


@pytest.mark.parametrize("applied", [False, True])
def test_records_of_measurement_files_are_metadata(applied: bool) -> None:
    contents = Contents(
        data_sets=[LENS],
        x_type=4,
        apply_data_calibration=applied,
        apply_reference=applied,
        pre_scan_addon_filename=" ",
    )
    options = {"interpolation": vek.LINEAR, "epsilon": 0.5} if applied else {}
    (lens,) = read(contents.file(), unit="%", **options)
    expected = {
        "date": "2024-03-01 10:15:00",
        "summary": "summary",
        "measurement": "Transmittance",
        "x axis": "Wavelength / nm",
        "y axis": "Transmittance",
        "system file": "system.ini",
        "certificate file": "certificate.pdf",
        "add-on before": "before",
        "add-on after": "after",
        "add-on after, file": "after.exe",
    }
    if applied:
        expected |= {"reference": "none", "reference file": "reference.vek"}
        expected |= {"reference parameter": "1.0", "calibration file": "calibration.cal"}
    assert lens.metadata == expected
    expected_scan = vek.Scan([400, 410], [0.5, 0.6], **options)
    assert repr(lens.scan) == repr(expected_scan)
    assert lens.scan.to_lists() == expected_scan.to_lists()
    assert lens.notes == (
        "wavelengths converted from um to nm",
        "data set 'A': transmittance in %, as asked, divided by 100",
    )


def test_an_axis_of_an_unknown_code_is_in_the_unit_asked_for() -> None:
    content = Contents(data_sets=[LENS], x_type=99).file()
    found = [read(content, unit="%", wavelength_unit=unit)[0].range_nm for unit in (None, "um")]
    assert found == [(0.4, 0.41), (400, 410)]


@pytest.mark.parametrize(
    ("contents", "options", "reason"),
    [
        (Contents(), {}, "lens.csv: there are no data sets in it"),
        (Contents(data_sets=[DataSet("A", [])]), {}, "lens.csv: data set 'A': it has no points"),
        (Contents(data_sets=[LENS, LENS]), {"data_sets": ["A", "B"]},
         "lens.csv: no data set 'B'; the data sets are: 'A', 'A (2)'"),
        (Contents(data_sets=[LENS], x_type=4), {"wavelength_unit": "nm"},
         "lens.csv: data set 'A': its x axis is 'Wavelength / µm', asked for is nm"),
        (Contents(data_sets=[LENS], x_type=1), {},
         "lens.csv: data set 'A': its x axis is 'Time / s', not a wavelength in nm"),
        (Contents(data_sets=[LENS]), {"decimal": "-"}, "decimal is '-'; it must be '.' or ','"),
    ],
)  # fmt: skip
def test_measurement_files_that_are_refused(
    contents: Contents, options: dict[str, Any], reason: str
) -> None:
    with pytest.raises(vek.Refusal) as caught:
        read(contents.file(), **options)
    assert caught.value.reason == reason
    with pytest.raises(vek.Refusal, match="no readable measurement file: File corrupted"):
        read(contents.file()[:600])


@pytest.mark.parametrize(("content", "points", "told"), rows("pairs.jsonl"))
def test_pairs_that_are_no_spectra(content: str, points: Any, told: Any) -> None:
    if points is not None:
        scan, notes = read_pairs(content.encode(), "f")
        assert ([*scan.to_lists()], [*notes]) == (points, told)
        return
    with pytest.raises(vek.Refusal) as caught:
        read_pairs(content.encode(), "f")
    needed = "expected two numbers a line, with decimal points, without a header"
    assert str(caught.value) == told.format(needed)


@pytest.mark.parametrize("first", [math.nan, 0.8])
def test_a_value_that_is_no_number_does_not_hide_per_cent(first: float, tmp_path: Path) -> None:
    points = [(400.0, first), (410.0, 85.0), (420.0, math.nan)]
    (tmp_path / "a.vek").write_bytes(Contents(data_sets=[DataSet("A", points)]).file())
    with pytest.raises(vek.Refusal, match="reaches 85, which looks like per cent"):
        vek.read(tmp_path / "a.vek")


@pytest.mark.parametrize(
    ("points", "told"),
    [
        ([(math.nan, 0.1), (400.0, 0.5), (410.0, 0.6)], ["1 point without a wavelength"]),
        ([(400.0, 0.5), (410.0, 0.6), (410.0, 0.7)], ["1 repeated wavelength"]),
        (
            [(math.nan, 0.1), *[(400.0, 0.5), (410.0, 0.6)] * 2, (math.nan, 0.1)],
            ["2 points without a wavelength", "2 repeated wavelengths"],
        ),
    ],
)
@pytest.mark.filterwarnings("ignore:.*without a wavelength")
def test_points_of_a_data_set_that_do_not_count_are_told(
    points: Points, told: list[str], tmp_path: Path
) -> None:
    (lens,) = vek.read(write_vek(tmp_path / "a.vek", [("A", points)]), kind="transmittance")
    notes = [note for note in lens.notes if "wavelength" in note]
    assert [note[: len(start)] for note, start in zip(notes, told, strict=True)] == told
