"""Spectra written as CSV, JCAMP-DX and TM-27."""

import datetime
from pathlib import Path
from typing import Any
from xml.sax.saxutils import escape

import numpy as np
import pytest
from cli import ROOT, rows
from numpy.typing import NDArray

import vekanalysis as vek
from vekanalysis import Refusal, Scan, Spectrum

GRID: NDArray[np.float64] = np.array([380.0, 381.1, 400.0 + 1e-9, 550.0, 780.0])
VALUES: NDArray[np.float64] = np.array([1 / 3, 1e-300, -0.0, 0.1 + 0.2, 1.9999999999999998])
WRITTEN = [
    *(Spectrum(Scan(GRID, VALUES * by), *of) for by, *of in rows("written.jsonl", "spectra")),
    Spectrum(Scan(np.linspace(380, 780, 401), np.sin(np.arange(401.0))), "reflectance", "1", "T"),
    Spectrum(Scan([400.0, 401.0, 402.0], [-0.0, 0.0, -0.0]), "counts", "counts", "evenly spaced"),
]
LENS = Spectrum(Scan([400, 410], [0.1, 0.2]), "transmittance", "1", "lens")


@pytest.mark.parametrize("extension", ["csv", "jdx", "spdx"])
@pytest.mark.parametrize("spectrum", WRITTEN, ids=lambda s: f"{s.kind} {s.unit}")
def test_what_is_written_is_read_back_to_the_last_bit(
    spectrum: Spectrum, extension: str, tmp_path: Path
) -> None:
    path = tmp_path / f"file.{extension}"
    vek.write(spectrum, path)
    (back,) = vek.read(path)
    coherent = spectrum
    if spectrum.unit not in (None, "a.u."):
        base = vek.units.parse(spectrum.unit or "")
        assert base is not None
        coherent = spectrum.to(base.base)
    assert back.scan.to_lists() == coherent.scan.to_lists()
    assert np.array_equal(np.signbit(back.scan.values()), np.signbit(coherent.scan.values()))
    # "relative" says nothing of the kind.
    kind = "unknown" if extension == "spdx" and spectrum.unit == "a.u." else spectrum.kind
    assert (back.kind, back.unit) == (kind, coherent.unit)
    if extension != "csv":
        label = spectrum.label or "file"
        if extension == "jdx":
            label = label.replace("##", "# #").replace("$$", "$ $")
        assert back.label == label


def written(spectra: Spectrum | list[Spectrum], path: Path) -> str:
    vek.write(spectra, path, overwrite=True)
    return path.read_text()


def test_several_spectra_are_the_columns_of_a_csv(tmp_path: Path) -> None:
    path = tmp_path / "file.CSV"
    lens = Spectrum(Scan([400, 410, 420], [0.1, -1e-7, 0.3]), "transmittance", "1", "lens\n7")
    dark = Spectrum(Scan([410, 415.5], [1e22, 0.02]), "transmittance", "1", "lens 7")
    lamp = Spectrum(Scan([410, 415.5], [0, 0.02]), "irradiance", "mW m-2 nm-1", "=lamp, A")
    assert written([lens, dark, lamp], path) == (
        "Wavelength [nm],lens 7 transmittance [1],2 lens 7 transmittance [1],"
        '"\'=lamp, A irradiance [mW m-2 nm-1]"\n'
        "400.0,0.1,,\n410.0,-1e-07,1e+22,0.0\n415.5,,0.02,0.02\n420.0,0.3,,\n"
    )
    assert [spectrum.scan for spectrum in vek.read(path)] == [
        lens.scan, dark.scan, lamp.scan / 1000,
    ]  # fmt: skip


TEMPLATES = ROOT / "tests/data/spectra"


def jcamp_head(title: str, form: str) -> str:
    head = (TEMPLATES / "jcamp-head.txt").read_text()
    return head.format(title=title, form=form, version=vek.version())


def test_a_jcamp_file_has_a_block_a_spectrum(tmp_path: Path) -> None:
    spectra, blocks = [], []
    block = (TEMPLATES / "jcamp-block.txt").read_text()
    for x, kind, unit, form, stated in rows("jcamp-types.jsonl", "spectra"):
        scan = Scan([float(wl) for wl in x], [25, 1e22, -1e-7])
        spectra.append(Spectrum(scan, kind, unit, "##a $$"))
        data = f"##XYPOINTS= (XY..XY)\n{x[0]}, 25\n{x[1]}, 1E+22\n{x[2]}, -1E-07"
        if x[0] == "400":
            data = "##XYDATA= (X++(Y..Y))\n400 25 1E+22 -1E-07"
        head = jcamp_head("# #a $ $", form)
        blocks.append(head + block.format(unit=stated, x=x, data=data))
        assert written(spectra[-1], tmp_path / "one.jdx") == blocks[-1]
    path = tmp_path / "file.dx"
    head, blank = jcamp_head("11 spectra", "LINK"), "\n"
    assert written(spectra, path) == f"{head}##BLOCKS= 11\n{blank.join(blocks)}##END=\n"
    found = [spectrum.scan.wavelengths() for spectrum in vek.read(path)]
    assert found == [spectrum.scan.wavelengths() for spectrum in spectra]
    fractions = Spectrum(Scan([400, 410], [0.5, 2.0]), "reflectance", "1")
    assert "\n##YUNITS= REFLECTANCE\n" in written(fractions, path)


@pytest.mark.parametrize("digits", [1, 2, 3])
def test_lines_of_ordinates_have_at_most_76_signs(digits: int, tmp_path: Path) -> None:
    values = [1.0 + (10**digits - 1) % (i + 3) * 10**-digits for i in range(90)]
    lens = Spectrum(Scan(np.arange(400.0, 490.0), values), "absorbance", "OD")
    text = written(lens, tmp_path / "lens.jcm")
    lines = text.partition("(Y..Y))\n")[2].removesuffix("\n##END=\n").split("\n")
    for line, following in zip(lines, [*lines[1:], None], strict=True):
        assert len(line) <= 76
        assert following is None or len(line) + len(following.split()[1]) + 1 > 76


# What a TM-27 file has at most, besides its points.
FACTS = dict(rows("tm27-facts.jsonl", "spectra"))


def tm27(facts: dict[str, str], values: tuple[str, str]) -> str:
    def elements(names: list[str]) -> str:
        texts = [(name, escape(facts[name])) for name in names if name in facts]
        return "".join(f"    <{name}>{text}</{name}>\n" for name, text in texts)

    header, quantity = list(FACTS)[:10], ["SpectralQuantity", "TransmissionGeometry"]
    quantity += ["ReflectionGeometry", *list(FACTS)[12:]]
    template = (TEMPLATES / "tm27.txt").read_text()
    return template.format(header=elements(header), quantity=elements(quantity), values=values)


@pytest.mark.parametrize(
    ("kind", "unit", "quantity", "factor", "more"), rows("tm27-quantities.jsonl", "spectra")
)
def test_a_tm27_file_states_the_quantity_and_is_in_its_unit(
    kind: vek.units.Kind, unit: str, quantity: str, factor: float, more: Any, tmp_path: Path
) -> None:
    spectrum = Spectrum(Scan([400, 410.5], [0.5, 0.25]), kind, unit)
    facts = {
        "Description": "spectrum",
        "DocumentCreator": f"vekanalysis {vek.version()}",
        "DocumentCreationDate": datetime.datetime.now(datetime.UTC).date().isoformat(),
        "SpectralQuantity": quantity,
    }
    text = written(spectrum, tmp_path / "a.spdx")
    assert text == tm27(facts | more, (f"{0.5 * factor}", f"{0.25 * factor}"))


def test_what_is_known_of_a_measurement_is_in_a_tm27_file(tmp_path: Path) -> None:
    lens = Spectrum(Scan([400, 410.5], [0.5, 2.0]), "transmittance", "1", "lens <7>")
    text = written(lens.replace(metadata=FACTS), tmp_path / "a.spdx")
    assert text == tm27(FACTS, ("0.5", "2.0"))
    known = "kind", "unit", "scan", "label"
    (back,) = vek.read(tmp_path / "a.spdx")
    assert [getattr(back, name) for name in known] == [getattr(lens, name) for name in known]
    assert "<Description>lens &lt;7&gt;</Description>" in written(lens, tmp_path / "a.spdx")
    shortest = Spectrum(Scan([1, vek.reading.SHORTEST_IN_NM], [0.5, 0.25]), "flux", "W nm-1")
    assert written(shortest, tmp_path / "a.spdx")
    assert vek.read(tmp_path / "a.spdx")[0].scan == shortest.scan


def test_a_file_is_written_whole_or_not_at_all(tmp_path: Path) -> None:
    path = tmp_path / "lens.csv"
    vek.write(LENS, path)
    before = path.read_bytes()
    with pytest.raises(FileExistsError):
        vek.write(LENS, path)
    vek.write(LENS.replace(label="other"), path, overwrite=True)
    assert path.read_bytes() != before
    with pytest.raises(IsADirectoryError):
        vek.write(LENS, tmp_path, format="csv", overwrite=True)
    with pytest.raises(FileNotFoundError):
        vek.write(LENS, tmp_path / "none" / "lens.csv")
    assert [file.name for file in tmp_path.iterdir()] == ["lens.csv"]


LONG = ("irradiance", "W m-2 nm-1", "a" * 3000, f"{'a' * 100} irradiance [W m-2 nm-1]")


# What would be read as something else is left out.
@pytest.mark.parametrize(
    ("kind", "unit", "label", "title"), [*rows("csv-titles.jsonl", "spectra"), LONG]
)
def test_labels_in_csv_change_no_values(
    kind: vek.units.Kind, unit: str | None, label: str, title: str, tmp_path: Path
) -> None:
    spectrum = Spectrum(Scan([400, 410], [0.1, 90]), kind, unit, label)
    path = tmp_path / "lens.csv"
    if kind == "transmittance":
        spectrum = spectrum.replace(scan=spectrum.scan / 100)
    text = written(spectrum, path)
    assert text.splitlines()[0] == f"Wavelength [nm],{title}"
    (back,) = vek.read(path)
    assert back.scan == spectrum.scan
    assert unit in (None, "a.u.") or (back.kind, back.unit) == (kind, unit)


@pytest.mark.parametrize(
    ("spectrum", "name", "reason"),
    [
        (LENS, "lens.xls", "the ending does not say the format; pass format='csv', format='jcamp'"),
        (LENS.replace(unit=None), "lens.csv", "its unit is not stated; pass unit='1' or unit='%'"),
        (LENS.replace(scan=Scan([400, 410], [0.1, np.nan])), "a.csv", "the value at 410 nm is nan"),
        (LENS.replace(scan=Scan([0, 410], [0.1, 0.2])), "a.csv", "must be finite and above zero"),
        (LENS.replace(scan=Scan([1, 2], [0.1, 0.2])), "a.spdx", "would be taken for micrometres"),
        (LENS.replace(scan=Scan([400], [0.1])), "a.csv", "1 points, at least 2"),
        (
            LENS.replace(scan=Scan([400, 410], [0.1, 2.5])),
            "a.spdx",
            "above 2 would be taken for per cent",
        ),
    ],
)
def test_what_a_file_could_not_give_back_is_not_written(
    spectrum: Spectrum, name: str, reason: str, tmp_path: Path
) -> None:
    with pytest.raises(Refusal) as refused:
        vek.write(spectrum, tmp_path / name)
    assert reason in str(refused.value)
    assert not [*tmp_path.iterdir()]
