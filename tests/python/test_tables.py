"""The tolerant reader of text files: what it takes, what it refuses, what it says."""

import io
import re
from pathlib import Path
from typing import Any

import pytest

import vekanalysis as vek


def read(text: str | bytes, **options: Any) -> vek.Table:
    return vek.read_table(io.BytesIO(text.encode() if isinstance(text, str) else text), **options)


TAKEN = {
    "blanks": ("400 0.25\n410   0.5\n", {}),
    "mixed blanks": ("400\t 0.25\n410\t0.5", {}),
    "comma": ("400,0.25\r\n410,0.5\r\n", {}),
    "decimal comma": ("400,0;0,25\n410;0,5\n", {}),
    "decimal comma, blanks": ("400,0 0,25\n410,0 0,5\n", {}),
    "exponents, signs": ("+4e2\t2.5E-1\n41.e1\t.5\n", {}),
    "old line ends": ("400 0.25\r410 0.5\r", {}),
    "header": ("Lens 7\nmeasured 2026-05-04\n\nnm;T\n400;0.25\n410;0.5\n\nmean 0.375\n", {}),
    "header in a comment": ("# wavelength T\n400 0.25\n! dark\n410 0.5\n", {}),
    "units behind blanks": (
        "Wavelength (nm) T / 1\n400 0.25\n410 0.5\n",
        {"columns": ("Wavelength", "T")},
    ),
    "no micrometres": ("vacuum wavelength nm;T\n400;0.25\n410;0.5\n", {}),
    "units": ("Wavelength\tT\n[nm]\t1\n400\t0.25\n410\t0.5\n", {}),
    "quotes": ('"wl, nm","T, 1"\n"400","0.25"\n"410","0.5"\n', {}),
    "delimiters at the end": ("wl;T;\n400;0.25;\n410;0.5;\n", {}),
    "row numbers": (",wl,T\n0,400,0.25\n1,410,0.5\n", {}),
    "wavelengths second": ("T;Wellenlänge [nm]\n0,25;400\n0,5;410\n", {}),
    "columns by name": ("wl;dark;T (1)\n400;9;0.25\n410;9;0.5\n", {"columns": ["wl", "T"]}),
    "columns by number": ("400;9;0.25\n410;9;0.5\n", {"columns": (0, 2)}),
    "skipped lines": ("400;x\n400;7\n400;0.25\n410;0.5\n", {"skip": {1, 2}}),
    "skipped start": ("1;2;3\n400;0.25\n410;0.5\n", {"skip": 1}),
    "no number": ("400;0.25\n405;n/a\n406;\n407;NaN\n410;0.5\n", {}),
    "descending": ("410 0.5\n400 0.25\n", {}),
    "unsorted": ("405 1\n410 0.5\n400 0.25\n405 1\n", {"sort": True, "duplicates": "first"}),
    "per cent": ("nm %T\n400 25\n410 50\n", {"percent": True}),
    "kept per cent": ("nm %T\n400 0.25\n410 0.5\n", {"percent": False}),
    "micrometres": ("0.4 0.25\n0.41 0.5\n", {"wavelength_unit": "um"}),
    "angstrom": ("4000 0.25\n4100 0.5\n", {"wavelength_unit": "angstrom"}),
}


@pytest.mark.parametrize(("text", "options"), TAKEN.values(), ids=TAKEN)
def test_files_are_taken_as_they_come(text: str, options: dict[str, Any]) -> None:
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


REFUSED = {
    "400,5\n410,7": (r"line 1: '400,5' can be read in two ways", "delimiter"),
    "# x\n380,0,0,5\n390,0,0,7": (r"line 2: '380,0,0,5' can be read in two ways", "decimal"),
    "wl, T\n380, 0,5\n390, 0,7": (r"line 2: '380, 0,5' can be read in two ways", ""),
    "wl,T\n380,0,5\n380,5,0,7": (r"line 2: '380,0,5' can be read in two ways", ""),
    "400;0.1x\n410;0.2": (r"line 1: '400;0.1x' is not a row of 2 numbers as line 2 is", "skip"),
    "400;0.1\n\nlamp off\n410;0.2": (r"line 3: 'lamp off' is not a row", "skip"),
    "900;1\n999;2\n1 00;3": (r"line 3: '1 00;3' is not a row", "skip"),
    "400;1\n410;2\n420;3;x": (r"line 3: '420;3;x' is not a row", "skip"),
    "400;1\n410;\x1d.2": (r"line 2: .* is not a row", "skip"),
    "400;1\n410;2\n4": (r"line 3: '4' is not a row", "skip"),
    "400;1\n410;2\n420;-x": (r"line 3: '420;-x' is not a row", "skip"),
    "400;1;2\n410;2": (r"line 2: 2 columns where line 1 has 3$", ""),
    "400;1e999\n410;2": (r"line 1: '1e999' is too large a number", ""),
    "wl;a\n400;1\n-;2": (r"line 3: there is no wavelength", ""),
    "0;1\n5;2": (r"line 1: the wavelength is 0; it must be above zero", ""),
    "400;1\n410;2\n410;3": (r"line 3: wavelength 410 again", "duplicates"),
    "400;1\n410;2\n405;3": (r"line 3: wavelength 405 after 410, where they ascend", "sort"),
    "0.4 1\n0.7 2": (r"wavelengths from 0.4 to 0.7 look like um", "wavelength_unit"),
    "4e-7 1\n7e-7 2": (r"from 4e-07 to 7e-07 look like m,", "wavelength_unit='m'"),
    "1 4\n2 5\n3 6": (r"are 1, 2, 3 to 3, which look like row numbers", "wavelength_unit"),
    "4000 1\n400 2": (r"from 400 to 4000 look like wavenumbers in cm-1", "wavelength_unit='nm'"),
    "4000 1\n7000 2": (r"from 4000 to 7000 look like angstrom", "wavelength_unit"),
    "Wavelength (µm);a\n400;1": (r"the wavelengths are in um \('Wavelength \(µm\)'", "unit='um'"),
    "Wavelength\ta\nÅ\t1\n400\t1": (r"in angstrom \('Wavelength Å'", "unit='angstrom'"),
    "Wavenumber [cm-1] A\n400 1": (r"'Wavenumber \[cm-1\]' is in cm-1, not a wavelength", ""),
    "All by wave number, cm-1\n400 1": (r"is in cm-1, not a wavelength", ""),
    "nm;Transmitancia (por ciento)\n400;0.5": (r"is in per cent", "percent"),
    "nm;T [%]\n400;12": (
        r"'T \[%\]' is in per cent",
        "pass percent=True to divide by 100 or percent=False to take the values as they are",
    ),
    "nm;Transmission\n400;12": (r"'Transmission' reaches 12, which looks like per", "percent"),
    "nm;T\n400;2.1": (r"'T' reaches 2.1, which looks like per cent; pass percent=True", "percent"),
    "##TITLE=x\n##XYDATA=(X++(Y..Y))\n1 2": (r"JCAMP-DX in its form .*, whose lines are", "export"),
    "nm,A,B,nm\n400,1.5,2,400": (r"columns 0 'nm' and 3 'nm' look like wavelengths", "columns"),
    "PK\x03\x04": (r"a spreadsheet or an archive, not text", ""),
    "400\n410": (r"line 1: got '400', need lines with two numbers", ""),
    "": (r"there are no numbers in it", ""),
    "\0\0\0\0": (r"zero bytes", "encoding"),
}


@pytest.mark.parametrize(("text", "reason", "remedy"), [(k, *v) for k, v in REFUSED.items()])
def test_nonsense_is_refused_with_its_line(text: str, reason: str, remedy: str) -> None:
    with pytest.raises(ValueError, match=f"^file: .*{reason}") as caught:
        read(text)
    assert remedy in str(caught.value)
    assert "\n" not in str(caught.value)


@pytest.mark.parametrize(
    ("options", "reason"),
    [
        ({"columns": ("nm", "b")}, "no column named 'b'; the columns are: 'nm', 'a'"),
        ({"columns": (0, 2)}, "there is no column 2"),
        ({"columns": (0, 0)}, "must not name a column twice"),
        ({"columns": {"nm", "a"}}, "at least one of values"),
        ({"percent": "no"}, "must be True, False or None"),
        ({"columns": "nm"}, "at least one of values"),
        ({"delimiter": ","}, "line 1: got 'nm;a', need lines with .* for delimiter=','"),
        ({"delimiter": ",", "decimal": ","}, "must differ"),
        ({"decimal": "-"}, "must be '.' or ','"),
        ({"duplicates": "sum"}, "must be one of 'refuse', 'first', 'last', 'mean'"),
        ({"skip": -1}, "must be a number of lines"),
        ({"skip": {0}}, "skip names line 0; lines count from 1"),
        ({"delimiter": ";;"}, "delimiter is ';;'; it must be one character, ' ' for blanks"),
        ({"skip": {9}}, "skip names line 9; the file has 3"),
        ({"encoding": "utf-9"}, "which Python does not know"),
        ({"encoding": "utf-16"}, "not utf-16|no numbers|zero bytes|need lines"),
        ({"wavelength_unit": "furlong"}, "must be one of 'nm', 'um', 'angstrom', 'm'"),
    ],
)
def test_options_that_do_not_fit_are_refused(options: dict[str, Any], reason: str) -> None:
    with pytest.raises(ValueError, match=reason):
        read("nm;a\n400;1\n410;2", **options)


@pytest.mark.parametrize("reader", [vek.read, vek.read_table])
@pytest.mark.parametrize(
    ("ends", "look"),
    [
        ((1e-6, 1.99e-5), "1e-06 to 1.99e-05 look like m,"),
        ((1e-6, 2e-5), "1e-06 to 2e-05 look like um,"),
        ((0.5, 19.9), "0.5 to 19.9 look like um,"),
        ((5, 20), None),
        ((1, 2), "the wavelengths are 1, 2, 3 to 2, which look like row numbers; pass"),
        ((2, 30), None),
        ((1, 30), None),
        ((349.9, 3500), None),
        ((350, 3500), "from 350 to 3500 look like wavenumbers in cm-1, not nm, and no title says"),
        ((680, 3500), "from 680 to 3500 look like wavenumbers"),
        ((680.1, 3500), None),
        ((500, 3499.9), None),
        ((2499.9, 2600), None),
        ((2500, 2600), "from 2500 to 2600 look like angstrom, not nm, and no title says what they"),
    ],
)
def test_wavelengths_of_no_stated_unit_are_looked_at(
    ends: tuple[float, float], look: str | None, reader: Any
) -> None:
    content = "{};1\n{};2\n".format(*ends)
    if look is None:
        assert reader(io.StringIO(content))
        return
    with pytest.raises(vek.Refusal, match=re.escape(look)):
        reader(io.StringIO(content))
    for title in "nm", "Wavelength (nm)":
        assert reader(io.StringIO(f"{title};T\n{content}"), columns=(0, 1))
    assert reader(io.StringIO(content), wavelength_unit="nm")


def test_comma_and_numbers_are_read_as_told() -> None:
    assert read("380,0,0,5\n390,1,0,7", delimiter=",").keys() == {
        "column 1",
        "column 2",
        "column 3",
    }
    assert read("nm;T\n400;2").scan[400] == 2
    with pytest.raises(TypeError, match="a path or an open file is needed; got int"):
        vek.read_table(5)  # type: ignore[call-overload]
    assert read("wl,a\n380,5\n390,7").scan.to_lists() == ([380, 390], [5, 7])
    assert read("0.4 1\n0.5876 1", wavelength_unit="um").scan.wavelengths() == [400, 587.6]


@pytest.mark.parametrize(("rule", "value"), [("first", 1.0), ("last", 4.0), ("mean", 2.5)])
def test_repeated_wavelengths_count_as_asked(rule: str, value: float) -> None:
    table = read("400 1\n400 4\n401 1", duplicates=rule)
    assert table.scan[400] == value
    assert table.notes == ("'column 1': points merged with others of the same wavelength: 1",)


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
    examples = Path(__file__).resolve().parents[2] / "examples"
    for path in examples.glob("*glass*.csv"):
        assert vek.read_table(path).scan == vek.io.load_csv(path)
        assert not re.search("skipped", str(vek.read_table(path)))
