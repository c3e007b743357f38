"""The tolerant reader of text files: what it takes, what it refuses, what it says."""

import io
import re
from contextlib import nullcontext
from pathlib import Path
from typing import Any

import pytest
from cli import ROOT, rows

import vekanalysis as vek


def read(text: str | bytes, **options: Any) -> vek.Table:
    return vek.read_table(io.BytesIO(text.encode() if isinstance(text, str) else text), **options)


@pytest.mark.parametrize(("case", "text", "options"), rows("taken.jsonl"))
def test_files_are_taken_as_they_come(case: str, text: str, options: dict[str, Any]) -> None:
    points = dict(read(text, **options).scan.items())
    if "sort" in options:
        assert points.pop(405.0) == 1.0
    assert points == {400.0: 0.25, 410.0: 0.5}


@pytest.mark.parametrize("encoding", ["utf-8-sig", "utf-16", "utf-16-le", "utf-16-be", "cp1252"])
def test_the_encoding_is_found_out(encoding: str, tmp_path: Path) -> None:
    path = tmp_path / "lens.csv"
    path.write_bytes("Wellenlänge in nm;Größe\n400;0,25\n410;0,5\n".encode(encoding))
    table = vek.read_table(path)
    assert [*table] == ["Größe"]
    assert table.source == str(path)


@pytest.mark.parametrize(("text", "reason"), rows("table-refused.jsonl"))
def test_nonsense_is_refused_with_its_line(text: str, reason: str) -> None:
    with pytest.raises(vek.Refusal) as caught:
        read(text)
    assert str(caught.value) == f"file: {reason}"


SETS = [
    ({"columns": {"nm", "a"}}, "at least one of values"),
    ({"skip": {0}}, "skip names line 0; lines count from 1"),
    ({"skip": {9}}, "skip names line 9; the file has 3"),
]


@pytest.mark.parametrize(("options", "reason"), [*rows("options-refused.jsonl"), *SETS])
def test_options_that_do_not_fit_are_refused(options: dict[str, Any], reason: str) -> None:
    with pytest.raises(ValueError, match=reason):
        read("nm;a\n400;1\n410;2", **options)


@pytest.mark.parametrize("reader", [vek.read, vek.read_table])
@pytest.mark.parametrize(("ends", "look"), rows("unit-looks.jsonl"))
def test_wavelengths_of_no_stated_unit_are_looked_at(
    ends: tuple[float, float], look: str | None, reader: Any
) -> None:
    content = "{};1\n{};2\n".format(*ends)
    for file in io.StringIO(content), io.BytesIO(content.encode()):
        with pytest.raises(vek.Refusal, match=re.escape(look)) if look else nullcontext():
            assert reader(file)
    for title in "nm", "Wavelength (nm)":
        assert reader(io.StringIO(f"{title};T\n{content}"), columns=(0, 1))
    assert reader(io.StringIO(content), wavelength_unit="nm")


def test_comma_and_numbers_are_read_as_told() -> None:
    table = read("380,0,0,5\n390,1,0,7", delimiter=",")
    assert [*table] == ["column 1", "column 2", "column 3"]
    assert read("nm;T\n400;2").scan[400] == 2
    with pytest.raises(TypeError, match="a path or an open file is needed; got int"):
        vek.read_table(5)  # type: ignore[call-overload]
    assert read("wl,a\n380,5\n390,7").scan.to_lists() == ([380, 390], [5, 7])
    assert read("0.4 1\n0.5876 1", wavelength_unit="um").scan.wavelengths() == [400, 587.6]


def test_the_table_says_what_it_skipped() -> None:
    table = read(
        "\n# run 3\nLens\nwl;a;b;a\n(nm);V;V;V\n400;1;;3\n410;2;3;4\n400;9;9;9\nend", skip=[8]
    )
    assert table.units == {"a": "V", "b": "V", "a (2)": "V"}
    assert [(line, reason) for line, _, reason in table.skipped] == [
        (2, "comment"), (3, "text"), (4, "column names"), (5, "units"), (8, "as asked"),
        (9, "text"),
    ]  # fmt: skip
    assert table["b"].to_lists() == ([410], [3])
    assert "'b': cells without a number left out: 1, the first in line 6" in str(table)
    assert read(" \n400;1\n", skip=1).skipped == ()
    told = read("n,wl,T\n1,0.4,25\n2,0.41,50\n", percent=True, wavelength_unit="um")
    assert told.notes == (
        "wavelengths converted from um to nm",
        "values divided by 100",
        "'n' left out: it numbers the rows",
    )
    with pytest.raises(ValueError, match="3 spectra, one is needed; choose by name: 'a', 'b'"):
        table.scan  # noqa: B018


@pytest.mark.parametrize(
    ("title", "unit"),
    [("E (W/m²/nm)", "W/m²/nm"), ("T [%]", "%"), ("%T", "%"), ("I / A", "A"), ("lens", "")],
)
def test_units_are_those_of_the_titles(title: str, unit: str) -> None:
    assert read(f"nm;{title}\n400;1\n", percent=False).units == {title: unit}


def test_what_load_csv_takes_comes_out_the_same() -> None:
    for path in (ROOT / "examples").glob("*glass*.csv"):
        assert vek.read_table(path).scan == vek.io.load_csv(path)
        assert not re.search("skipped", str(vek.read_table(path)))
