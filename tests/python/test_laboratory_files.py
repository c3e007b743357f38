"""The laboratories' formats: JCAMP-DX, SPC, lensmeter XML and TM-27, as they are read."""

import io
import re
import struct
from pathlib import Path
from typing import Any

import numpy as np
import pytest
from cli import rows

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
    ("flags", "steps", "z"),
    [
        # Even steps from the first one's place, which without a step tells where the next is.
        (4, (0.5, 7.0), ["3 min", "3.5 min", "4 min"]),
        (4, (0.0, 7.0), ["3 min", "7 min", "11 min"]),
        # Each has its own place.
        (4 + 8, (0.5, 7.0), ["3 min", "1 min", "2 min"]),
        (4 + 16, (0.0, 7.0), ["3 min", "1 min", "2 min"]),
    ],
)
def test_places_of_several_spc_spectra(
    flags: int, steps: tuple[float, float], z: list[str]
) -> None:
    step, following = (struct.pack("<f", number) for number in steps)
    first = struct.pack("<f", 3.0) + following
    content = patched(MULTIPLE, flags=bytes([flags]), at_312=step, at_516=first)
    assert [spectrum.metadata["Z"] for spectrum in vek.read(io.BytesIO(content))] == z


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


@pytest.mark.parametrize(("case", "table", "expected"), rows("jcamp-forms.jsonl"))
def test_ordinate_forms(case: str, table: str, expected: list[float] | None) -> None:
    labels: dict[str, object] = {}
    if "commas" in case:
        labels = {"first": "400,0", "last": "440,0"}
    if "E in" in case:
        labels = {"last": 430}
    values = expected or [10, 12, 14, 16, 18]
    (spectrum,) = read_content(jcamp(table, 5 if "missing" in case else len(values), **labels), "f")
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


BOMB = ["bomb", f"400A0W{'9' * 9999}", f"line 10: 'W{'9' * 58}…' is too long a number"]


@pytest.mark.parametrize(("case", "table", "reason"), [*rows("jcamp-refused.jsonl"), BOMB])
def test_damaged_jcamp_is_refused(case: str, table: str, reason: str) -> None:
    content = jcamp(table)
    if case == "no end of x":
        content = content.replace(b"##LASTX= 440\n", b"")
    if case in ("open end", "doubtful E", "one point"):
        content = content.replace(b"##NPOINTS= 5\n", b"")
    if case == "open end":
        content = content.replace(b"##END=", b"")
    assert refusal(content) == f"f: {reason}"


@pytest.mark.parametrize(("labels", "reason"), rows("jcamp-labels.jsonl"))
def test_labels_that_make_no_spectrum(labels: dict[str, object], reason: str) -> None:
    first = str(labels.get("first", 400)).partition("\n")[0]
    table = "400,0,1,2 3 4 5" if first == "400,0" else f"{first} 1 2 3 4 5"
    assert refusal(jcamp(table, **labels)) == f"f: {reason}"


VACUUM = "wavelengths converted from {}: those in vacuum, 0.15 nm longer than in air at 550 nm"


@pytest.mark.parametrize(("x", "ends", "wavelengths", "note"), rows("x-units.jsonl"))
def test_units_of_x(x: str, ends: list[float], wavelengths: list[float], note: str | None) -> None:
    content = jcamp(f"{ends[0]!r} 1 2 3", 3, x=x, first=repr(ends[0]), last=repr(ends[1]))
    (spectrum,) = read_content(content, "f")
    descends = ends[0] > ends[1] or note == VACUUM
    assert spectrum.scan.to_lists() == (wavelengths, [3, 2, 1] if descends else [1, 2, 3])
    assert spectrum.notes == (
        (note.format("eV" if x == "eV" else "cm-1"), COUNTS) if note else (COUNTS,)
    )


@pytest.mark.parametrize(
    ("y", "highest", "options", "kind", "unit", "value", "note"), rows("y-units.jsonl")
)
def test_units_of_y(
    y: str, highest: str, options: dict[str, Any], kind: str, unit: str, value: float, note: str
) -> None:
    x = {"x": "1/CM", "first": 20000, "last": 25000} if note and "vacuum" in note else {"last": 420}
    (spectrum,) = read_content(
        jcamp(f"{x.get('first', 400)} {highest} 1 0", 3, y=y, **x), "f", **options
    )
    assert (spectrum.kind, spectrum.unit, max(spectrum.scan.values())) == (kind, unit, value)
    assert [*spectrum.notes[:-1]] == [note] * bool(note)


@pytest.mark.parametrize(
    ("factor", "value"),
    [("1.", 3), ("+.5", 1.5), ("1e3", 3000), ("0.0001", 0.0003), ("0.3", 0.3 * 3), ("1" * 60, None),
     ("-0.01", -0.03), ("1" * 61, ""), ("1e", ""), ("e5", ""), ("1_0", ""), ("1e1234567", "")],
)  # fmt: skip
def test_factors(factor: str, value: float | str | None) -> None:
    content = jcamp(f"##YFACTOR= {factor}\n{EVEN}")
    if value == "":
        assert f"line 9: YFACTOR: '{factor[:59]}" in refusal(content)
        return
    (spectrum,) = read_content(content, "f")
    assert spectrum.scan(420) == (float(factor) * 3 if value is None else value)


@pytest.mark.parametrize(("points", "reason", "sorted_reason"), rows("x-order.jsonl"))
def test_points_out_of_order(points: str, reason: str, sorted_reason: str) -> None:
    content = jcamp(PAIRS + points, points.count("\n") + 1)
    assert reason in refusal(content)
    assert sorted_reason in refusal(content, sort=True)


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


def test_raman_shifts_are_no_wavelengths() -> None:
    content = jcamp("400 1 2 3 4 5", x="1/CM").replace(b"UV/VIS", b"RAMAN")
    assert "Raman shift" in refusal(content)


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


ENTITIES = '<!DOCTYPE a [<!ENTITY b "bbbb"><!ENTITY c "&b;&b;&b;">]>'
POINT = "<TransmittanceValue><m:Transmittance>3</m:Transmittance></TransmittanceValue>"
XML = {
    "prescription": sample("joia-no-spectrum.xml"),
    "no lens": lenses(),
    "half a point": lenses(
        lens("R", "400:1").replace("</TransmittanceData>", f"{POINT}</TransmittanceData>")
    ),
    "comma": lenses(lens("R", "400:1,5 500:2")),
    "hexadecimal": lenses(lens("R", "400:0x10 500:2")),
    "infinite": lenses(lens("R", "400:1e999 500:2")),
    "two units": lenses(lens("R", "400:1 500:2").replace(" % ", "1", 1)),
    "entities": lenses(lens("R", "400:1")).replace(b"<Oph", ENTITIES.encode() + b"<Oph", 1),
    "long file": b"<R>".ljust(32_000_001),
    "depth": lenses(before="<a>" * 100_000),
    "long text": lenses(before="a" * 200_000),
    "elements": lenses(before="<a/>" * 600_000),
    "attributes": f"<R {' '.join(f'a{index}="1"' for index in range(65))}/>".encode(),
    "many attributes": f"<R {' '.join(f'a{index}="1"' for index in range(64))}/>".encode(),
    "deep": b"<R>" + b"<a>" * 19 + b"</a>" * 19 + b"</R>",
    "deeper": b"<R>" + b"<a>" * 20,
    "cut": lenses(lens("R", "400:1"))[:-30],
    "encoding": b'<?xml version="1.0" encoding="UTF-7"?><R/>',
    "bytes": b"<R>\n\xff</R>",
    "root": b"<?xml version='1.0'?><svg/>",
    "no quantity": sample("tm27-irradiance.spdx").replace(b"Quantity>irradiance", b"Quantity>"),
    "no text": lenses(lens("R", "400:<b>9</b>5 401:6")),
    "micrometres": b"<IESTM2714><SpectralDistribution><SpectralQuantity>flux</SpectralQuantity>"
    b"<SpectralData wavelength='0.4'>1</SpectralData><SpectralData wavelength='0.7'>1"
    b"</SpectralData></SpectralDistribution></IESTM2714>",
    "no distribution": b"<IESTM2714/>",
    "no wavelength": sample("tm27-irradiance.spdx").replace(b' wavelength="385.0"', b""),
    "two wavelengths": lenses(
        lens("S", "400:1").replace("<m:Tr", "<m:WaveLength>1</m:WaveLength><m:Tr")
    ),
    "no transmittance": lenses(lens("S", "400:1").replace("m:Transmittance", "m:T")),
    "one point": lenses(lens("R", "400:1")),
    "no points": b"<IESTM2714><SpectralDistribution/></IESTM2714>",
}


def test_large_xml_and_halves_of_characters_are_refused() -> None:
    assert refusal(b"<R>" + b" " * 32_000_000) == (
        "f: 32000003 bytes of XML; at most 32000000 are taken"
    )
    assert refusal(b"<R>+2AA-</R>", encoding="utf-7") == "f: damaged XML: half a character"


@pytest.mark.parametrize(("case", "reason"), rows("xml-refused.jsonl"))
def test_xml_that_is_refused(case: str, reason: str) -> None:
    assert refusal(XML[case]) == f"f: {reason}"


@pytest.mark.parametrize(("quantity", "comment", "kind", "unit", "notes"), rows("tm27.jsonl"))
def test_quantities_of_tm27(
    quantity: str, comment: str, kind: str, unit: str | None, notes: list[str]
) -> None:
    content = sample("tm27-transmittance.spdx").replace(
        b"y>transmittance", f"y>{quantity}".encode()
    )
    end = b"</t:Header>"
    content = content.replace(end, f"<t:Comments>{comment}</t:Comments>".encode() + end)
    (spectrum,) = read_content(content, "f")
    words = {
        "fraction": "taken as a fraction: no unit is stated, and the highest value is 0.9",
        "custom": f"taken in {unit}, as is customary: the format states no unit",
        "stated": f"the file states '{quantity}'",
    }
    assert (spectrum.kind, spectrum.unit) == (kind, unit)
    assert [*spectrum.notes] == [note.format(**words) for note in notes]
    assert spectrum.metadata.get("Comments", "") == comment


COMMON = (
    "<c:Common><c:Company> A\n B</c:Company><c:Date/><c:Patient><c:ID>7</c:ID>"
    "<c:LastName>X</c:LastName></c:Patient></c:Common>"
)


@pytest.mark.parametrize(("points", "unit", "value", "notes"), rows("lensmeter.jsonl"))
def test_what_lensmeters_state(points: str, unit: str, value: float, notes: list[str]) -> None:
    content = lenses(lens("S", points, unit), before=COMMON)
    for text in content, content.replace(b' unit="nm"', b""):
        (spectrum,) = read_content(text, "f")
        assert (spectrum.scan(500), [*spectrum.notes]) == (value, notes)
        facts = {"Company": "A B", "Patient ID": "7", "UVTransmittance": "3 %"}
        assert spectrum.metadata == facts


SPC_OFFSETS = {"flags": 0, "exponent": 3, "points": 4, "first": 8, "subfiles": 24}


def patched(name: str, **fields: bytes) -> bytes:
    content = bytearray(sample(name))
    for field, value in fields.items():
        offset = (
            SPC_OFFSETS.get(field) or int(field.removeprefix("at_") or 0) if field != "flags" else 0
        )
        content[offset : offset + len(value)] = value
    return bytes(content)


FLOAT, OLD_FLOAT, OLD_MULTIPLE, MULTIPLE, LISTED = (
    "spc-new-le-float-even-nm.spc",
    "spc-old-even-nm.spc",
    "spc-old-multi2.spc",
    "spc-new-multi3.spc",
    "spc-new-xyxy-directory.spc",
)
U32 = struct.Struct("<I").pack
SPC = {
    "header only": sample("spc-old-even-nm.spc")[:224],
    "no header": sample("spc-old-even-nm.spc")[:223],
    "truncated": sample("spc-truncated.spc"),
    "huge count": sample("spc-huge-count.spc"),
    "one point": patched(FLOAT, points=U32(1)),
    "many subfiles": patched(MULTIPLE, subfiles=U32(2**31)),
    "subfiles of one": patched(FLOAT, subfiles=U32(2)),
    "first x": patched(FLOAT, first=struct.pack("<d", np.nan)),
    "large exponent": patched(OLD_FLOAT, at_2=b"\xff\x7f"),
    "old floats": patched(OLD_FLOAT, at_2=b"\x80\x00"),
    "half a point": patched(OLD_FLOAT, at_4=struct.pack("<f", 6.5)),
    "directory in the header": patched(LISTED, points=U32(100)),
    "directory behind": patched(LISTED, points=U32(740)),
    "subfile in the header": patched(LISTED, at_728=U32(8)),
    "points of its own": patched(LISTED, at_528=U32(2**30)),
    "no stored x": patched(LISTED, flags=b"\x44"),
    "signalling NaN": patched(FLOAT, at_544=U32(0x7F800001)),
    "infinite range": patched(FLOAT, first=struct.pack("<dd", -1.7e308, 1.7e308)),
    "Raman": patched(FLOAT, at_28=b"\x0d"),
    "time": patched(FLOAT, at_28=b"\x04"),
    "Raman by technique": patched(FLOAT, at_2=b"\x0b", at_28=b"\1"),
    "x code": patched(FLOAT, at_28=b"\x0f"),
    **{f"old flags {flags!r}": patched(OLD_FLOAT, flags=flags) for flags in (b"\x40", b"\x80")},
    "old floats, negative": patched(OLD_FLOAT, at_2=b"\x80\xff"),
    **{
        f"{points} points": patched(OLD_FLOAT, at_4=struct.pack("<f", points))
        for points in (0, 1, 2.0**24, 2.0**24 - 1)
    },
    "own point": patched(LISTED, at_528=U32(1)),
    "whole numbers": patched(MULTIPLE, exponent=b"\x80", at_513=b"\5"),
}


@pytest.mark.parametrize(("case", "reason"), rows("spc-refused.jsonl"))
def test_spc_that_is_refused(case: str, reason: str) -> None:
    assert refusal(SPC[case]) == f"f: {reason}"


LOG = {"SOURCE": "synthetic", "SLIT": "2.0 nm"}
NO_LOG = {"SOURCE": None, "SLIT": None}
BROKEN = NO_LOG | {"first note": "the log is damaged and left out"}


@pytest.mark.parametrize(
    ("name", "fields", "facts"),
    [
        (FLOAT, {"at_2": b"\3", "at_32": U32(0), "at_36": b"\0", "at_45": b"x  y\0"}, {
            "technique": "code 3", "date": None, "resolution": None, "source": "x y",
            "comment": "synthetic", "method": None, **LOG,
        }),
        (FLOAT, {"at_32": U32(2024 << 20 | 12 << 16 | 29 << 11 | 23 << 6 | 59), "at_264": b"m\0"},
         {"technique": "UV-VIS", "date": "2024-12-29 23:59", "method": "m"}),
        (FLOAT, {"at_32": U32(1 << 20 | 1 << 16 | 1 << 11)}, {"date": "1-01-01 00:00"}),
        (FLOAT, {"at_2": b"\x0b"}, {"technique": "Raman", "kind": "transmittance"}),
        (FLOAT, {"at_29": b"\6"}, {"kind": "other", "unit": "unit code 6"}),
        (FLOAT, {"at_29": b"\x0c"}, {"kind": "unknown", "unit": "a.u."}),
        (FLOAT, {"at_29": b"\x83"}, {"kind": "unknown", "unit": "a.u."}),
        (FLOAT, {"at_29": b"\x0b"}, {"kind": "unknown", "unit": "1", "Z": None}),
        (FLOAT, {"at_218": b"Raman shift\0R\0"}, {"kind": "transmittance"}),
        (FLOAT, {"flags": b"\x20", "at_218": b"Wavelength (um)\0Irradiance\0zz"},
         {"kind": "irradiance", "first note": "wavelengths converted from um to nm", **LOG}),
        (FLOAT, {"flags": b"\x20", "at_218": b"\0%T\0\0"}, {"kind": "transmittance"}),
        (MULTIPLE, {"flags": b"\x24", "at_218": b"\0\0floor\0"}, {"Z": "0 floor"}),
        # Where the log is, how long it is, and where its text begins.
        *((FLOAT, {"at_248": U32(offset)}, facts) for offset, facts in (
            (0, NO_LOG), (8, BROKEN), (511, BROKEN), (917 - 63, BROKEN), (10**6, BROKEN),
        )),
        *((FLOAT, {"at_788": U32(size)}, facts) for size, facts in (
            (63, BROKEN), (64, NO_LOG), (82, LOG | NO_LOG | {"SOURCE": "synthetic"}), (129, LOG),
            (130, BROKEN),
        )),
        *((FLOAT, {"at_796": U32(start)}, facts) for start, facts in (
            (63, BROKEN), (71, {"SOURCE": None, "SLIT": "2.0 nm"}), (130, BROKEN),
        )),
        (OLD_FLOAT, {}, {"date": "96-01-15 09:30", "resolution": "2 nm", "technique": None,
                         "comment": "synthetic old", "kind": "transmittance"}),
        (OLD_FLOAT, {"at_18": b"\0\0"}, {"date": None}),
        (OLD_FLOAT, {"at_18": b"\x60\xf0", "at_194": b"\0Absorbance\0\0"}, {
            "date": "96-01-15 09:30", "kind": "absorbance"}),
        (OLD_FLOAT, {"flags": b"\x20", "at_194": b"\0R [%]\0\0"}, {"kind": "reflectance"}),
        (OLD_FLOAT, {"at_194": b"\0R [%]\0\0"}, {"kind": "transmittance"}),
        (OLD_MULTIPLE, {"at_18": b"\5\x60"}, {"date": "05-01-15 09:30", "Z": "0 Hz"}),
        (OLD_MULTIPLE, {"at_18": b"\5\xf0", "at_194": b"\0\0floor\0"}, {"Z": "0 floor"}),
        (OLD_MULTIPLE, {"at_18": b"\5\xf0"}, {"Z": "0"}),
    ],
)  # fmt: skip
def test_what_spc_headers_state(
    name: str, fields: dict[str, bytes], facts: dict[str, str | None]
) -> None:
    spectrum = read_content(patched(name, **fields), "f")[0]
    found = {**spectrum.metadata, "kind": spectrum.kind, "unit": spectrum.unit}
    found["first note"] = spectrum.notes[0]
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
    header = bytearray(patched(name, flags=bytes([flags]))[: 224 if "old" in name else 512])
    header[4:8] = struct.pack("<f", 2.0) if "old" in name else U32(2)
    header[3:4] = b"\x80" if exponent == -128 else header[3:4]
    header[24:28] = header[24:28] if "old" in name else U32(2)
    subfile = struct.pack("<xbxxff4xI12x", exponent, 0.0, 0.0, 2) + values
    spectra = read_content(bytes(header) + 2 * subfile, "f")
    expected = [1.5 + 2**-30 if flags == 4 else 1.5, -0.5]
    assert [spectrum.scan.values() for spectrum in spectra] == [expected] * 2


def stated_by(content: bytes) -> str | list[str | None]:
    """Why a file is refused, else kind, unit, technique and the first note."""
    try:
        (spectrum,) = read_content(content, "f")
    except Refusal as refused:
        return refused.reason
    return [spectrum.kind, spectrum.unit, spectrum.metadata["technique"], *spectrum.notes[:1]]


@pytest.mark.parametrize(("place", "code", "expected"), rows("spc-codes.jsonl"))
def test_codes_of_spc(place: int, code: int, expected: str | list[str]) -> None:
    assert stated_by(patched(FLOAT, **{f"at_{place}": bytes([code])})) == expected


def test_a_directory_of_one_block_is_refused_before_it_is_read() -> None:
    content = bytearray(sample(LISTED))
    entry = struct.pack("<IIf", 512, 120, 0.0)
    content[24:28] = U32(100_000)
    assert "overlaps with others" in refusal(bytes(content[:728]) + entry * 100_000)


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
