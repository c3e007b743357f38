"""Quantities of spectra: what a spectrum must be, and what reports are told of it."""

import copy
import math
import re
from typing import Any

import pytest
from cli import ROOT, rows

import vekanalysis as vek
from vekanalysis import colorimetry, quantities

V = "ISO8980_3_tau_v"


def spectrum(value: float, kind: str = "unknown", unit: str | None = None) -> vek.Spectrum:
    wavelengths = [*range(380, 781, 5)]
    return vek.Spectrum(vek.Scan(wavelengths, [value] * 81), kind, unit, "it")  # type: ignore[arg-type]


ROWS = (ROOT / "tests/data/measurands.txt").read_text("utf-8")


@pytest.mark.parametrize("row", ROWS.splitlines()[1:])
def test_a_spectrum_becomes_what_is_wanted_or_is_refused(row: str) -> None:
    value, kind, unit, wanted, result, told = row.split("; ", 5)
    given = spectrum(float(value), kind, None if unit == "None" else unit)
    if result == "refused":
        with pytest.raises(vek.Refusal) as refusal:
            quantities.measurand(given, wanted)
        assert str(refusal.value) == told
    else:
        made = quantities.measurand(given, wanted)
        assert (made.scan[500], "; ".join(made.notes) or "nothing") == (float(result), told)


def refused(wanted: str, **changes: Any) -> str:
    with pytest.raises(vek.Refusal) as refusal:
        quantities.measurand(spectrum(1, "counts", "counts").replace(**changes), wanted)
    return str(refusal.value)


def test_a_refusal_tells_what_else_to_choose() -> None:
    told = "counts, not a transmittance; its unit is counts; choose"
    data_set, column = vek.Source("a.vek", "3"), vek.Source("a.csv", column="b")
    assert refused("transmittance", source=data_set) == f"a.vek: 3: {told} another with data_sets="
    other = f"a.csv: b: {told} other columns with columns="
    assert refused("transmittance", source=column) == other
    lux: Any = {"kind": "other", "unit": "lx", "notes": ("a", "title 'E' is no kind")}
    told = "it: not known to be a transmittance; title 'E' is no kind"
    assert refused("transmittance", **lux) == told
    assert refused("light", **lux) == "it: not known to be a light source; its unit is lx"


def test_of_wrong_transmittances_the_worst_is_named() -> None:
    for values, worst in (
        ([0, 2, 30, -40], "-40 at 403 nm"),
        ([2, math.inf, math.nan, 3], "inf at 401 nm"),
        ([1.6, 1.5, -0.5, 1.7], "1.7 at 403 nm"),
    ):
        lens = vek.Scan([400, 401, 402, 403], values)
        told = refused("transmittance", scan=lens, kind="unknown", unit=None)
        assert told.startswith(f"it: {worst} is no transmittance between 0 and 1")


@pytest.mark.parametrize(("start", "end", "told"), rows("gaps.jsonl", "spectra"))
@pytest.mark.parametrize(("kind", "unit"), [("transmittance", "1"), ("light", "W m-2 nm-1")])
def test_a_gap_in_the_bands_is_told_once(
    start: float, end: float, told: bool, kind: str, unit: str
) -> None:
    grid = sorted({end, *(float(wl) for wl in range(200, 1005, 5) if not start < wl < end)})
    given = vek.Spectrum(vek.Scan(grid, [0.5] * len(grid)), unit=unit)
    made = quantities.measurand(quantities.measurand(given, kind), kind)
    note = (
        f"points are up to {end - start:g} nm apart ({start}-{end} nm); what lies between was not "
        "measured"
    )
    assert [each for each in made.notes if "apart" in each] == [note] * told


def test_what_no_spectrum_can_be_made_is_refused() -> None:
    known = f"('transmittance', {str(vek.units.KINDS[1:-2])[1:]}"
    for kind in ("colour", "unknown", "other"):
        told = re.escape(f"kind is '{kind}'; it must be 'light' or one of {known}")
        with pytest.raises(ValueError, match=f"^{told}$"):
            quantities.measurand(spectrum(50, "other"), kind)


def test_light_in_an_unknown_unit_has_a_colour_and_no_illuminance() -> None:
    values = quantities.evaluate(spectrum(1), quantities.LIGHT)
    assert [*values] == [quantity.key for quantity in quantities.LIGHT]
    assert values["CIE_1931_chromaticity.x"].value is not None
    assert values["illuminance"] == quantities.Value(
        problem="Not computable: not known to be an irradiance; its unit is not stated",
        needed=(380.0, 780.0),
    )
    known = quantities.evaluate(spectrum(1000, "irradiance", "mW m-2 nm-1"), "illuminance")
    scan = spectrum(1).scan
    assert known["illuminance"].value == vek.radiometry.illuminance(scan)


def test_scans_and_records_are_taken_as_they_are() -> None:
    scan = spectrum(0.25).scan
    (record,) = [quantity for quantity in quantities.LENS if quantity.key == V]
    value = quantities.evaluate(scan, [record, "f1_prime"], clear_lens=False)[V]
    assert value == (0.25, None, (380.0, 780.0), (380.0, 780.0), None)
    assert value.complete
    with pytest.raises(ValueError, match="no quantity 'ISO8980_tau_v'; the nearest is "):
        quantities.evaluate(scan, "ISO8980_tau_v")
    with pytest.raises(TypeError):
        quantities.evaluate(scan, [None])  # type: ignore[list-item]


def test_a_white_is_named_or_given() -> None:
    light = colorimetry.data.cie_illuminant_a()
    key = "CIELAB_tristimulus_values.L_star"
    wanted = [quantity for quantity in quantities.light("A") if quantity.key == key]
    assert wanted[0].name == "white A, 1931 observer"
    for white in "a", light, vek.Spectrum(light):
        value = quantities.evaluate(light, wanted, white=white)[key].value
        assert value == pytest.approx(100, abs=1e-12)
    data = colorimetry.data
    c, d65 = data.cie_illuminant_c(), data.cie_illuminant_d65()
    for name, known in ("A", light), ("c", c), ("d65", d65):
        assert quantities.illuminant(name) is known
    assert quantities.illuminant("E") == vek.Scan(range(380, 781, 5), [1.0] * 81)
    with pytest.raises(ValueError, match="no illuminant 'F2'"):
        quantities.evaluate(light, wanted, white="F2")


@pytest.mark.parametrize("name", ["cie_illuminant_d65", "cie_1931_standard_observer_y"])
def test_a_table_changed_in_place_counts_at_once(name: str) -> None:
    table = getattr(colorimetry.data, name)()
    original = copy.copy(table)
    lens = vek.Scan([*range(300, 801, 5)], [i / 100 for i in range(101)])
    before = quantities.evaluate(lens, V)[V]
    try:
        table *= original
        after = quantities.evaluate(lens, V)[V]
        assert after.value == colorimetry.ISO8980_3_tau_v(lens) != before.value
    finally:
        table /= original
    for wavelength, value in original.items():
        table[wavelength] = value
    assert quantities.evaluate(lens, V)[V] == before
