"""The laboratories' formats: JCAMP-DX, SPC, lensmeter XML and TM-27, as they are read."""

import io
import re
import struct
from pathlib import Path
from typing import Any

import pytest
from cli import repeated, rows

import vekanalysis as vek
from vekanalysis import Refusal
from vekanalysis.reading import read_content

FILES = Path(__file__).resolve().parents[1] / "data" / "labfiles"


def sample(name: str) -> bytes:
    return (FILES / name).read_bytes()


def refusal(content: bytes, **options: Any) -> str:
    with pytest.raises(Refusal) as refused:
        read_content(content, "f", **options)
    text = str(refused.value)
    assert text.startswith("f: ")
    assert "\n" not in text
    assert len(text) < 300
    return text


# With points as the samples were made: (nm, coherent value) of the first, middle and last.
@pytest.mark.parametrize(("name", "expected"), rows("samples.jsonl"))
def test_samples_have_the_points_that_they_were_made_of(name: str, expected: list[Any]) -> None:
    spectra = vek.read(FILES / name)
    assert [
        [s.label, s.source.data_set, s.kind, s.unit, s.points, s.metadata, [*s.notes]]
        for s in spectra
    ] == [facts for *facts, _ in expected]
    for spectrum, (*_, points) in zip(spectra, expected, strict=True):
        (first, _), *others, (last, _) = points
        assert spectrum.range_nm == pytest.approx((first, last), rel=1e-6)
        places = [spectrum.range_nm[0], *(x for x, _ in others), spectrum.range_nm[1]]
        values = [spectrum.scan(x) for x in places]
        assert values == pytest.approx([y for _, y in points], rel=1e-6, abs=1e-12)


def test_every_ordinate_form_gives_the_same_numbers() -> None:
    scans = [vek.read(path)[0].scan for path in sorted(FILES.glob("jdx-absorbance-*"))]
    assert len(scans) == 6
    assert all(scan == scans[0] for scan in scans)
    values = scans[0].values()
    assert sum(values) == pytest.approx(13.2143, abs=1e-9)
    assert (scans[0](480), scans[0](600), scans[0](640)) == (1.1988, 0.3488, 0.0288)
    assert values.count(-0.0012) == 11


@pytest.mark.parametrize(
    ("flags", "step", "second", "z"),
    [
        # Even steps from the first one's place, which without a step tells where the next is.
        (4, 0.5, 7.0, ["3 min", "3.5 min", "4 min"]),
        (4, 0.0, 7.0, ["3 min", "7 min", "11 min"]),
        # Each has its own place.
        (4 + 8, 0.5, 7.0, ["3 min", "1 min", "2 min"]),
        (4 + 16, 0.0, 7.0, ["3 min", "1 min", "2 min"]),
    ],
)
def test_places_of_several_spc_spectra(
    flags: int, step: float, second: float, z: list[str]
) -> None:
    fields = {"flags": flags, "z step": step, "subfile z": 3.0, "next z": second}
    content = io.BytesIO(patched(MULTIPLE, fields))
    assert [spectrum.metadata["Z"] for spectrum in vek.read(content)] == z


def test_options_choose_fill_gaps_and_contradict_nothing() -> None:
    path = FILES / "jdx-link-two-blocks.jdx"
    (second,) = vek.read(path, data_sets=["Sample A reflection"])
    assert second.kind == "reflectance"
    with pytest.raises(Refusal, match="no data set 'B'; the data sets are: 'Sample A tra"):
        vek.read(path, data_sets=["B"])
    dark = sample("spc-new-le-float-even-nm.spc")
    (as_asked,) = read_content(dark, "f", unit="%", kind="transmittance")
    assert as_asked.scan(400) == pytest.approx(0.008995512)
    (exitance,) = read_content(sample("tm27-irradiance.spdx"), "f", unit="mW m-2 nm-1")
    assert exitance.scan(580) == pytest.approx(0.01578e-3)
    unstated = jcamp("0.4 1 2 3 4 5", x="", first=0.4, last=0.44)
    assert read_content(unstated, "f", wavelength_unit="um")[0].range_nm == (400, 440)
    assert "asked for is irradiance" in refusal(dark, kind="irradiance")
    assert "asked for is um" in refusal(dark, wavelength_unit="um")
    assert "skip is for tables of text, and this is SPC" in refusal(dark, skip=3)


JCAMP = """##TITLE= t
##JCAMP-DX= 4.24
##DATA TYPE= UV/VIS SPECTRUM
##XUNITS= {x}
##YUNITS= {y}
##FIRSTX= {first}
##LASTX= {last}
##NPOINTS= {n}
{table}
##END=
"""


def jcamp(table: str, n: object = 5, **labels: object) -> bytes:
    """A block whose table, without more said, is of ordinates at 400, 410, 420, 430, 440 nm."""
    facts = {"x": "NANOMETERS", "y": "COUNTS", "first": 400, "last": 440} | labels
    if not table.startswith("##"):
        table = f"##XYDATA= (X++(Y..Y))\n{table}"
    return JCAMP.format(table=table, n=n, **facts).encode()


@pytest.mark.parametrize(("case", "table", "labels", "expected"), rows("jcamp-forms.jsonl"))
def test_ordinate_forms(
    case: str, table: str, labels: dict[str, object], expected: list[float] | None
) -> None:
    values = expected or [10, 12, 14, 16, 18]
    (spectrum,) = read_content(jcamp(repeated(table), **{"n": len(values)} | labels), "f")
    assert spectrum.scan.values() == values


EVEN = "##XYDATA= (X++(Y..Y))\n400 1 2 3 4 5"
PAIRS = "##XYPOINTS= (XY..XY)\n"
COUNTS = "'t': counts in counts"


@pytest.mark.parametrize(("table", "labels", "notes"), rows("jcamp-notes.jsonl"))
def test_what_contradicts_the_table_is_told(
    table: str, labels: dict[str, Any], notes: list[str]
) -> None:
    (spectrum,) = read_content(jcamp(table, **labels), "f")
    assert [*spectrum.notes] == [*notes, COUNTS]


def changed(text: str, changes: dict[str, str]) -> str:
    for old, new in changes.items():
        text = text.replace(old, repeated(new))
    return text


@pytest.mark.parametrize(("case", "table", "changes", "reason"), rows("jcamp-refused.jsonl"))
def test_damaged_jcamp_is_refused(
    case: str, table: str, changes: dict[str, str], reason: str
) -> None:
    content = changed(jcamp(repeated(table)).decode(), changes)
    assert refusal(content.encode()) == f"f: {repeated(reason)}"


@pytest.mark.parametrize(("labels", "reason"), rows("jcamp-labels.jsonl"))
def test_labels_that_make_no_spectrum(labels: dict[str, object], reason: str) -> None:
    first = str(labels.get("first", 400)).partition("\n")[0]
    table = "400,0,1,2 3 4 5" if first == "400,0" else f"{first} 1 2 3 4 5"
    assert refusal(jcamp(table, **labels)) == f"f: {reason}"


VACUUM = "wavelengths converted from cm-1: those in vacuum, 0.15 nm longer than in air at 550 nm"


@pytest.mark.parametrize(
    ("x", "first", "last", "wavelengths", "values", "note"),
    [
        ("MICROMETERS", 0.5876, 0.6, [587.6, 593.8, 600], [1, 2, 3], "um to nm"),
        ("Angstroms", 4000, 4100, [400, 405, 410], [1, 2, 3], "angstrom to nm"),
        ("mm", 0.0004, 0.00041, [400, 405, 410], [1, 2, 3], "mm to nm"),
        ("Meters", 4e-07, 4.1e-07, [400, 405, 410], [1, 2, 3], "m to nm"),
        ("eV", 2, 4, [309.96049608300063, 413.2806614440008, 619.9209921660013], [3, 2, 1],
         "eV: those in vacuum, 0.15 nm longer than in air at 550 nm"),
        ("1/CM", 20000, 25000, [400, 444.44444444444446, 500], [3, 2, 1],
         VACUUM.removeprefix("wavelengths converted from ")),
        ("nm", 420, 400, [400, 410, 420], [3, 2, 1], None),
    ],
)  # fmt: skip
def test_units_of_x(
    x: str, first: float, last: float, wavelengths: list[float], values: list[float], note: str
) -> None:
    content = jcamp(f"{first!r} 1 2 3", 3, x=x, first=repr(first), last=repr(last))
    (spectrum,) = read_content(content, "f")
    assert spectrum.scan.to_lists() == (wavelengths, values)
    assert [*spectrum.notes] == [*[f"wavelengths converted from {note}"] * bool(note), COUNTS]


TAKEN = "taken as {}: no unit is stated, and the highest value is {}"


@pytest.mark.parametrize(
    ("y", "highest", "options", "expected", "note"),
    [
        ("TRANSMITTANCE", "2", {}, ("transmittance", "1", 2), TAKEN.format("a fraction", 2)),
        ("REFLECTANCE", "2.25", {}, ("reflectance", "1", 0.0225), TAKEN.format("per cent", 2.25)),
        ("TRANSMITTANCE", "2.5", {"unit": "1"}, ("transmittance", "1", 2.5), None),
        ("A", "2", {}, ("absorbance", "OD", 2), None),
        ("Arbitrary Units", "2", {}, ("unknown", "a.u.", 2), None),
        ("RELATIVE", "2", {"unit": "%", "kind": "reflectance"}, ("reflectance", "1", 0.02), None),
        ("W/m2/um", "2", {}, ("irradiance", "W m-2 nm-1", 0.002), VACUUM),
        ("IRRADIANCE", "2", {"unit": "W/m2/nm"}, ("irradiance", "W m-2 nm-1", 2), VACUUM),
    ],
)  # fmt: skip
def test_units_of_y(
    y: str, highest: str, options: dict[str, Any], expected: tuple[Any, ...], note: str | None
) -> None:
    first, last, x = (20000, 25000, "1/CM") if note == VACUUM else (400, 420, "NANOMETERS")
    content = jcamp(f"{first} {highest} 1 0", 3, y=y, x=x, first=first, last=last)
    (spectrum,) = read_content(content, "f", **options)
    assert (spectrum.kind, spectrum.unit, max(spectrum.scan.values())) == expected
    assert [*spectrum.notes[:-1]] == [note] * bool(note)


@pytest.mark.parametrize(
    ("points", "reason", "sorted_reason"),
    [
        ("400 1\n400 2\n420 3", "2: x is 400 again; pass duplicates", "2: x is 400"),
        ("420 1\n420 2\n400 3", "2: x is 420 again; pass duplicates", "2: x is 420"),
        ("400 1\n410 2\n405 3\n410 4", "3: x is 405 after 410, where it ascends; pass",
         "4: x is 410 again"),
        ("420 1\n400 2\n410 3\n420 4", "3: x is 410 after 400, where it descends; pass",
         "4: x is 420 again"),
        ("420 1\n400 2\n400.05 3\n420 4", "3: x is 400.05 after 400, where it descends; pass",
         "4: x is 420 again"),
        ("400 1\n410 2\n409.95 3\n410 4", "3: x is 409.95 after 410, where it ascends; pass",
         "4: x is 410 again"),
    ],
)  # fmt: skip
def test_points_out_of_order(points: str, reason: str, sorted_reason: str) -> None:
    content = jcamp(PAIRS + points, points.count("\n") + 1)
    assert f"point {reason}" in refusal(content)
    assert f"point {sorted_reason}" in refusal(content, sort=True)


def test_texts_for_metadata_are_one_line_of_bounded_length() -> None:
    for title, label in (
        ("x y\t" * 200, "x y " * 74 + "x y…"),
        ("x" * 300, "x" * 300),
        ("a\x07", "a"),
    ):
        (spectrum,) = read_content(
            jcamp("400 1 2 3 4 5").replace(b"= t", f"= {title}".encode()), "f"
        )
        assert (spectrum.label, spectrum.metadata["TITLE"]) == (label, label)
    many = "".join(f"##{index}#= {index}\n" for index in range(105))
    (spectrum,) = read_content(jcamp(f"{many}{EVEN}"), "f")
    assert [*spectrum.metadata] == ["TITLE", "DATA TYPE", *(f"{index}#" for index in range(98))]


def test_pairs_keep_to_one_order_unless_asked() -> None:
    turning = jcamp("##XYPOINTS= (XY..XY)\n400 1\n420 2\n410 3\n430 4\n430 6")
    for duplicates, last in ("first", 4), ("last", 6), ("mean", 5):
        (spectrum,) = read_content(turning, "f", sort=True, duplicates=duplicates)
        assert spectrum.scan.to_lists() == ([400, 410, 420, 430], [1, 3, 2, last])


def test_links_nest_within_bounds() -> None:
    inner = jcamp("400 1 2 3 4 5").decode()
    link = "##TITLE= l\n##DATA TYPE= LINK\n##BLOCKS= 3\n"
    nested = (link * 2 + inner * 2 + "##END=\n" * 2).encode()
    first, second = read_content(nested, "f")
    assert (first.source.data_set, second.source.data_set) == ("t", "t (2)")
    assert "BLOCKS is 3, but there are 2" in first.notes
    assert "blocks more than 20 deep" in refusal((link * 10_000 + inner).encode())


LENSES = """<?xml version="1.0"?>
<Ophthalmology xmlns:c="http://www.joia.or.jp/standardized/namespaces/Common"
 xmlns:m="http://www.joia.or.jp/standardized/namespaces/LM">{before}
<m:Measure type="LM"><m:LM>{lenses}<m:PD><m:R>32</m:R></m:PD></m:LM></m:Measure></Ophthalmology>
"""


def lens(side: str, points: str, unit: str = " % ") -> str:
    pairs = [pair.split(":") for pair in points.split()]
    values = "".join(
        f'<TransmittanceValue><m:WaveLength unit="nm">{x}</m:WaveLength>'
        f'<m:Transmittance unit="{unit}">{y}</m:Transmittance></TransmittanceValue>'
        for x, y in pairs
    )
    return (
        f'<m:{side}><m:UVTransmittance unit="%">3</m:UVTransmittance>'
        f"<TransmittanceData>{values}</TransmittanceData></m:{side}>"
    )


def lenses(*texts: str, before: str = "") -> bytes:
    return LENSES.format(lenses="".join(texts), before=before).encode()


def test_lenses_are_named_after_their_sides() -> None:
    content = lenses(lens("R", "400:0 500:20.5"), lens("L", "400:1 500:22"))
    right, left = read_content(content, "f")
    assert (right.label, left.label) == ("R", "L")
    assert (right.scan(500), left.scan(500)) == (0.205, 0.22)
    assert right.metadata == {"UVTransmittance": "3 %"}
    (alone,) = read_content(lens("S", "400:0 500:20.5").replace("m:", "").encode(), "f")
    assert (alone.scan, alone.source.data_set) == (right.scan, "S")
    bare = content.decode().replace("m:", "").replace("c:", "")
    assert read_content(bare.encode("utf-16"), "f")[1].scan == left.scan


def xml(base: str, changes: dict[str, str]) -> bytes:
    """A text, a sample, or the points of a lens after its side; with parts of it replaced."""
    if base.startswith("<"):
        text = repeated(base)
    elif (FILES / base).is_file():
        text = sample(base).decode("latin-1")
    else:
        text = lenses(lens(*base.split(" ", 1)) if base else "").decode()
    return changed(text, changes).encode("latin-1")


@pytest.mark.parametrize(("case", "base", "changes", "reason"), rows("xml-refused.jsonl"))
def test_xml_that_is_refused(case: str, base: str, changes: dict[str, str], reason: str) -> None:
    assert refusal(xml(base, changes)) == f"f: {reason}"


CUSTOM = "taken in {}, as is customary: the format states no unit"


@pytest.mark.parametrize(
    ("quantity", "comment", "kind", "unit", "notes"),
    [
        ("Transmittance", "", "transmittance", "1",
         [TAKEN.format("a fraction", 0.9), "'f': transmittance in 1"]),
        ("reflectance", "", "reflectance", "1",
         ["the file does not state its ReflectionGeometry", TAKEN.format("a fraction", 0.9),
          "'f': reflectance in 1"]),
        ("flux", "", "flux", "W nm-1", [CUSTOM.format("W nm-1"), "'f': flux in W nm-1"]),
        ("absorptance", "", "other", "1",
         ["the file states 'absorptance'", CUSTOM.format("1"), "'f': in 1, another quantity"]),
        ("T-Factor", "", "unknown", "1",
         ["the file states 'T-Factor'", CUSTOM.format("1"), "'f': in 1, kind not stated"]),
        ("relative", "", "unknown", "a.u.",
         ["the file states 'relative'", CUSTOM.format("a.u."), "'f': in a.u., kind not stated"]),
        ("other", "", "unknown", None, ["the file states 'other'"]),
        ("other", "Quantity: Absorbance", "absorbance", "OD", ["'f': absorbance in OD"]),
        ("other", "No Quantity: Absorbance", "unknown", None, ["the file states 'other'"]),
        ("none", "Quantity: Absorbance", "unknown", None, ["the file states 'none'"]),
    ],
)  # fmt: skip
def test_quantities_of_tm27(
    quantity: str, comment: str, kind: str, unit: str | None, notes: list[str]
) -> None:
    content = sample("tm27-transmittance.spdx").replace(
        b"y>transmittance", f"y>{quantity}".encode()
    )
    end = b"</t:Header>"
    content = content.replace(end, f"<t:Comments>{comment}</t:Comments>".encode() + end)
    (spectrum,) = read_content(content, "f")
    assert (spectrum.kind, spectrum.unit) == (kind, unit)
    assert [*spectrum.notes] == notes
    assert spectrum.metadata.get("Comments", "") == comment


COMMON = (
    "<c:Common><c:Company> A\n B</c:Company><c:Date/><c:Patient><c:ID>7</c:ID>"
    "<c:LastName>X</c:LastName></c:Patient></c:Common>"
)


PERCENT = "'f': transmittance in %, divided by 100"


@pytest.mark.parametrize(
    ("points", "unit", "value", "notes"),
    [
        ("400:1 500:20", "%", 0.2,
         ["whole per cent: rounded, with a standard uncertainty of 0.29 % (absolute)", PERCENT]),
        ("400:1 500:20.5", "%", 0.205, [PERCENT]),
        ("400:0 500:1", "", 1, [TAKEN.format("a fraction", 1), "'f': transmittance in 1"]),
        ("400:0 500:3", "", 0.03, [TAKEN.format("per cent", 3), PERCENT]),
    ],
)  # fmt: skip
def test_what_lensmeters_state(points: str, unit: str, value: float, notes: list[str]) -> None:
    content = lenses(lens("S", points, unit), before=COMMON)
    for text in content, content.replace(b' unit="nm"', b""):
        (spectrum,) = read_content(text, "f")
        assert (spectrum.scan(500), [*spectrum.notes]) == (value, notes)
        facts = {"Company": "A B", "Patient ID": "7", "UVTransmittance": "3 %"}
        assert spectrum.metadata == facts


# Where a header has what, and the format of a number there.
SPC_FIELDS = {field: place for field, *place in rows("spc-fields.jsonl")}


def patched(name: str, fields: dict[str, Any]) -> bytes:
    """A sample with other numbers or texts in fields of its header."""
    content = bytearray(sample(name))
    for field, value in fields.items():
        offset, number = SPC_FIELDS[field]
        new = struct.pack(f"<{number}", value) if number else value.encode("latin-1")
        content[offset : offset + len(new)] = new
    return bytes(content)


OLD_MULTIPLE, MULTIPLE = "spc-old-multi2.spc", "spc-new-multi3.spc"
LISTED = "spc-new-xyxy-directory.spc"


def test_spc_needs_its_header() -> None:
    old = sample("spc-old-even-nm.spc")
    assert refusal(old[:224]) == "f: truncated: the points need 378 bytes, and 224 are there"
    told = "the bytes are not utf-16-le; pass encoding= if it is text"
    assert refusal(old[:223]) == f"f: line 1: {told}"


@pytest.mark.parametrize(("case", "name", "fields", "reason"), rows("spc-refused.jsonl"))
def test_spc_that_is_refused(case: str, name: str, fields: dict[str, Any], reason: str) -> None:
    assert refusal(patched(name, fields)) == f"f: {reason}"


@pytest.mark.parametrize(("name", "fields", "facts"), rows("spc-headers.jsonl"))
def test_what_spc_headers_state(
    name: str, fields: dict[str, Any], facts: dict[str, str | None]
) -> None:
    spectrum = read_content(patched(name, fields), "f")[0]
    found = {**spectrum.metadata, "kind": spectrum.kind, "unit": spectrum.unit}
    found["first note"] = next(iter(spectrum.notes), None)
    assert {fact: found.get(fact) for fact in facts} == facts


@pytest.mark.parametrize(
    ("name", "flags", "exponent", "values"),
    [
        # 32 bits after an old header: the high word first, the sign that of the whole.
        (OLD_MULTIPLE, 4, 2, struct.pack("<HHHH", 0x6000, 1, 0xE000, 0)),
        (OLD_MULTIPLE, 5, 2, struct.pack("<hh", 3 << 13, -1 << 13)),
        (MULTIPLE, 4, 2, struct.pack("<ii", (3 << 29) + 1, -1 << 29)),
        (MULTIPLE, 5, 2, struct.pack("<hh", 3 << 13, -1 << 13)),
        # Of floats the flag for 16 bits says nothing.
        (MULTIPLE, 5, -128, struct.pack("<ff", 1.5, -0.5)),
    ],
)
def test_ordinates_of_spc(name: str, flags: int, exponent: int, values: bytes) -> None:
    old = name == OLD_MULTIPLE
    fields = {"flags": flags, **({"old points": 2} if old else {"points": 2, "subfiles": 2})}
    if exponent == -128:
        fields["exponent"] = exponent
    header = patched(name, fields)[: 224 if old else 512]
    subfile = struct.pack("<xbxxff4xI12x", exponent, 0.0, 0.0, 2) + values
    spectra = read_content(header + 2 * subfile, "f")
    expected = [1.5 + 2**-30 if flags == 4 else 1.5, -0.5]
    assert [spectrum.scan.values() for spectrum in spectra] == [expected] * 2


def test_a_directory_of_one_block_is_refused_before_it_is_read() -> None:
    directory = struct.pack("<IIf", 512, 120, 0.0) * 100_000
    content = patched(LISTED, {"subfiles": 100_000})[:728] + directory
    assert "overlaps with others" in refusal(content)


@pytest.mark.parametrize("name", ["old-multi2", "new-multi3", "new-xyxy-directory", "new-xy-um"])
def test_spc_cut_anywhere_is_refused_or_whole(name: str) -> None:
    content = sample(f"spc-{name}.spc")
    whole = [spectrum.scan for spectrum in read_content(content, "f")]
    for length in range(224, len(content)):
        try:
            spectra = read_content(content[:length], "f")
        except Refusal:
            continue
        # Bytes behind the data may be missing, or a whole subfile of an old file.
        assert [s.scan for s in spectra] == whole[: len(spectra)]
        assert len(spectra) == len(whole) or name.startswith("old")


def test_halves_of_characters_are_refused() -> None:
    assert refusal(b"<R>+2AA-</R>", encoding="utf-7") == "f: damaged XML: half a character"


def test_controlling_characters_do_not_reach_a_terminal() -> None:
    assert "\ufffd<a>" in refusal(b"x\x1c<a>")
    (table,) = read_content(b"Key\x1b[2J: a\x7f\nWavelength (nm);T\x07 (%)\n400;1\n410;2\n", "f")
    assert table.metadata == {"Key\ufffd[2J": "a\ufffd"}
    assert table.notes == ("column 1 'T\ufffd (%)': transmittance in %, divided by 100",)


@pytest.mark.parametrize("name", ["jdx-absorbance-affn.jdx", "jdx-transmittance-xypoints.jdx"])
def test_jcamp_without_its_start_is_no_table(name: str) -> None:
    content = sample(name)
    assert "there is no ##TITLE=" in refusal(content.replace(b"##TITLE", b"\x01#TITLE"))
    assert "there is no ##TITLE=" in refusal(content.partition(b"\n")[2])


@pytest.mark.parametrize("encoding", ["undefined", "a\0", "no such codec"])
@pytest.mark.parametrize("name", ["jdx-decimal-comma.jdx", "tm27-irradiance.spdx"])
def test_encodings_that_decode_nothing(name: str, encoding: str) -> None:
    assert "which Python does not know" in refusal(sample(name), encoding=encoding)
    damaged = sample(name) + b"\xff"
    assert re.search(
        "the bytes are not ascii; (pass|leave) enc", refusal(damaged, encoding="ascii")
    )
