"""Quantities of spectra: what a spectrum must be, and what reports are told of it."""

import copy
import math

import pytest

import vekanalysis as vek
from vekanalysis import colorimetry, quantities

V = "ISO8980_3_tau_v"


def spectrum(value: float, kind: str = "unknown", unit: str | None = None) -> vek.Spectrum:
    wavelengths = [*range(380, 781, 5)]
    return vek.Spectrum(vek.Scan(wavelengths, [value] * 81), kind, unit, "it")  # type: ignore[arg-type]


@pytest.mark.parametrize(
    ("value", "kind", "unit", "wanted", "result", "note"),
    [
        (0.5, "transmittance", "1", "transmittance", 0.5, None),
        (50, "transmittance", "%", "transmittance", 0.5, "converted from transmittance in %"),
        (1, "absorbance", "OD", "transmittance", 0.1, "converted from absorbance in OD"),
        (1, "unknown", "OD", "transmittance", 0.1, "converted from absorbance in OD"),
        (0.5, "unknown", None, "transmittance", 0.5, "kind and unit are not stated; the values"),
        (0.5, "transmittance", None, "transmittance", 0.5, "its unit is not stated; the values"),
        (50, "unknown", "%", "transmittance", 0.5, "values in %, taken for a transmittance"),
        (2, "irradiance", "mW m-2 nm-1", "irradiance", 0.002, "converted from irradiance in mW"),
        (2, "unknown", "mW m-2 nm-1", "irradiance", 0.002, "converted from irradiance in mW"),
        (2, "counts", "counts", "light", 2, None),
        (2, "unknown", None, "light", 2, None),
        (2, "unknown", None, "responsivity", 2, None),
    ],
)
def test_a_spectrum_becomes_what_is_wanted(
    value: float, kind: str, unit: str | None, wanted: str, result: float, note: str | None
) -> None:
    made = quantities.measurand(spectrum(value, kind, unit), wanted)
    assert made.scan[500] == result
    assert (note or "") in "; ".join(made.notes)
    assert bool(made.notes) == (note is not None)


@pytest.mark.parametrize(
    ("value", "kind", "unit", "wanted", "reason"),
    [
        (
            0.5,
            "reflectance",
            "1",
            "transmittance",
            "it: reflectance, not a transmittance; its unit is 1",
        ),
        (0.5, "unknown", "a.u.", "transmittance", "it: not known to be a transmittance; its unit"),
        (0.5, "other", None, "transmittance", "it: not known to be a transmittance"),
        (0.5, "counts", "counts", "transmittance", "it: counts, not a transmittance"),
        (50, "unknown", None, "transmittance", "it: 50 at 380 nm is no transmittance between 0"),
        (math.nan, "unknown", None, "transmittance", "it: nan at 380 nm is no transmittance"),
        (
            0.5,
            "absorbance",
            None,
            "transmittance",
            "it: absorbance, not a transmittance; its unit is not stated",
        ),
        (1, "unknown", None, "irradiance", "not known to be an irradiance; its unit is not stated"),
        (1, "irradiance", None, "irradiance", "irradiance of which the unit is not stated"),
        (1, "radiance", "W m-2 sr-1 nm-1", "irradiance", "it: radiance, not an irradiance"),
        (1, "transmittance", "1", "light", "it: transmittance, not a light source"),
        (1, "other", "µmol m-2 s-1 nm-1", "light", "it: not known to be a light source; its unit"),
        (1, "other", "W m-2 eV-1", "light", "it: not known to be a light source"),
        (1, "other", None, "light", "it: not known to be a light source; its unit is not stated"),
        (1, "irradiance", "W m-2 nm-1", "responsivity", "it: irradiance, not a responsivity"),
    ],
)
def test_another_kind_is_refused(
    value: float, kind: str, unit: str | None, wanted: str, reason: str
) -> None:
    with pytest.raises(vek.Refusal) as refusal:
        quantities.measurand(spectrum(value, kind, unit), wanted)
    assert reason in refusal.value.reason


@pytest.mark.parametrize(
    ("left_out", "note"),
    [
        ((480, 500), None),
        (
            (480, 505),
            "points are up to 25 nm apart (480-505 nm); what lies between was not measured",
        ),
        (
            (775, 900),
            "points are up to 125 nm apart (775-900 nm); what lies between was not measured",
        ),
        ((780, 900), None),
        ((200, 280), None),
    ],
)
@pytest.mark.parametrize(("kind", "unit"), [("transmittance", "1"), ("light", "W m-2 nm-1")])
def test_a_gap_in_the_bands_is_told_once(
    left_out: tuple[int, int], note: str | None, kind: str, unit: str
) -> None:
    grid = [float(wl) for wl in range(200, 1005, 5) if not left_out[0] < wl < left_out[1]]
    given = vek.Spectrum(vek.Scan(grid, [0.5] * len(grid)), unit=unit)
    made = quantities.measurand(quantities.measurand(given, kind), kind)
    assert [each for each in made.notes if "apart" in each] == ([] if note is None else [note])


def test_values_that_look_like_per_cent_have_a_remedy() -> None:
    with pytest.raises(vek.Refusal, match="pass unit='%' if the values are per cent"):
        quantities.measurand(spectrum(50), "transmittance")
    with pytest.raises(ValueError, match="kind is 'colour'; it must be 'light' or one of"):
        quantities.measurand(spectrum(50), "colour")


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
    assert quantities.illuminant("E").values() == [1.0] * 81
    with pytest.raises(ValueError, match="no illuminant 'F2'"):
        quantities.evaluate(light, wanted, white="F2")


def test_a_table_changed_in_place_counts_at_once() -> None:
    table = colorimetry.data.cie_illuminant_d65()
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
