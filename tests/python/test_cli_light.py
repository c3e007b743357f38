"""The light source report and the built-in spectra of the command line."""

from __future__ import annotations

import csv
import math
import re
from collections.abc import Callable
from itertools import pairwise
from pathlib import Path

import pytest
from cli import Runner, flat, write_csv, write_vek

import vekanalysis as vek
from vekanalysis import lighting

NAMES = [name for name in dir(vek.colorimetry.data) if not name.startswith("_")]
LAB = "CIELAB_tristimulus_values"


def reference(name: str) -> vek.Scan:
    scan = getattr(vek.colorimetry.data, name)()
    assert isinstance(scan, vek.Scan)
    return scan


def built_in(name: str) -> vek.Scan:
    return reference(name) if name in NAMES else vek.reports.built_in(name).scan


def test_the_scale_of_the_white_counts_only_where_it_should(run: Runner, tmp_path: Path) -> None:
    dim = [(wl, 0.001 * value) for wl, value in reference("cie_illuminant_a").items()]
    source = write_csv(tmp_path / "a.csv", dim)
    itself = run("light", "--json", "--white", "a", source)
    # 0.001 of the white is on the straight part: L* = 116 * 841/108 * 0.001.
    lightness = itself.value(f"{LAB}.L_star")["value"]
    assert lightness == pytest.approx(116 * 841 / 108 * 0.001, rel=1e-9)
    both = run("light", "--json", "--white", "e", source, "--reference", "cie_illuminant_a")
    for field in ("a_star", "b_star"):
        key = f"{LAB}_scaled_white.{field}"
        assert itself.value(key)["value"] == pytest.approx(0.0, abs=1e-9)
        assert both.value(key, 0)["value"] == pytest.approx(both.value(key, 1)["value"])
        assert both.value(key)["value"] > 10
    file = run("light", "--json", "--white", source, source)
    assert file.value(f"{LAB}.L_star")["value"] == pytest.approx(100.0)


@pytest.mark.parametrize(("unit", "note"), [("counts", "responsivity"), ("nA", "power per nm")])
def test_a_note_says_when_the_colours_of_a_signal_are_right(unit: str, note: str) -> None:
    lamp = vek.lighting.reference("LED-B3")
    (row,) = vek.reports.light(vek.Spectrum(lamp, "other", unit)).rows()
    assert f"values are {'in nA' if unit == 'nA' else unit}: colours are right only" in row["notes"]
    assert note in row["notes"]
    assert row["correlated_colour_temperature.cct"] == pytest.approx(4102.6, abs=0.1)


UNITS = {
    "Irradiance / W m-2 nm-1": 1.0,
    "Irradiance / W/(m^2 nm)": 1.0,
    "Irradiance / mW/m\N{SUPERSCRIPT TWO}/nm": 1e-3,
    "Irradiance / \N{MICRO SIGN}W cm^-2 nm^-1": 1e-2,
    "Irradiance / counts": None,
    "Irradiance / W m-2": None,
    "Irradiance / a.u.": None,
    "Radiance / W m-2 sr-1 nm-1": None,
}


@pytest.mark.parametrize(("unit", "scale"), UNITS.items())
def test_illuminance_follows_what_the_file_states(
    run: Runner, tmp_path: Path, unit: str, scale: float | None
) -> None:
    path = write_vek(tmp_path / "a.vek", [("A", flat(2.0))], type_and_units=(unit, "1 1"))
    in_watts = vek.radiometry.illuminance(vek.io.load_vek_scan_data(path)["A"])
    result = run("light", "--json", path)
    value = result.value("illuminance")
    assert (value["value"] is None, bool(value["problem"])) == (scale is None,) * 2
    assert value["value"] == (scale and pytest.approx(scale * in_watts, rel=1e-12))
    assert result.value("CIE_1931_chromaticity.x")["value"] is not None
    if scale not in (1e-3, None):
        refusal = run.refuse("light", "--mw", path)
        assert refusal.startswith(f"{path}: data set 'A': stated is ")
        assert "mW m-2 nm-1" in refusal


def test_without_a_unit_there_are_no_lux_unless_it_is_said(run: Runner, tmp_path: Path) -> None:
    path = write_csv(tmp_path / "lamp.csv", flat(1.0))
    sun = "AM15G_ASTM_G17303"
    lux = [vek.radiometry.illuminance(scan) for scan in (vek.io.load_csv(path), reference(sun))]
    for options, scale in ([], None), (["--mw"], 1e-3), (["--unit", "W/m2/nm"], 1.0):
        result = run("light", "--json", path, "--reference", sun, *options)
        values = [result.value("illuminance", column)["value"] for column in range(2)]
        assert values == [scale and pytest.approx(scale * lux[0]), pytest.approx(lux[1], rel=1e-12)]
        notes = "".join(result.document["spectra"][0]["notes"])
        assert ("as asked" in notes) == (scale is not None)
    assert "not stated" in run("light", "--json", path).value("illuminance")["problem"]


def test_a_table_of_lights_has_the_figures_of_the_report(run: Runner, tmp_path: Path) -> None:
    titled = "nm;E [mW/(m^2*nm)]\n" + "".join(f"{wl};{wl / 400}\n" for wl, _ in flat(0))
    (tmp_path / "lamp.txt").write_text(titled)
    table = run("light", "--csv", "-", "--f1-prime", "--white", "a", tmp_path)
    (row,) = csv.DictReader(table.out.splitlines())
    report = run("light", "--json", "--f1-prime", "--white", "a", tmp_path / "lamp.txt")
    for quantity in report.document["quantities"]:
        value = quantity["values"][0]["value"]
        assert row[quantity["key"]] == ("" if value is None else repr(value))
    scan = vek.Scan([wl for wl, _ in flat(0)], [wl / 400 for wl, _ in flat(0)])
    lux = vek.radiometry.illuminance(scan) / 1000
    assert float(row["illuminance"]) == pytest.approx(lux, rel=1e-12)
    assert "irradiance in mW m-2 nm-1, divided by 1000" in row["notes"]


LINEAR_GRID = [380.0 + 2 * i for i in range(201)]


@pytest.mark.parametrize(
    ("key", "value_at", "reason"),
    [
        ("colour_rendering.Ra", lambda wl: 0.0, "no light between 380 and 780 nm"),
        ("chromaticity.x", lambda wl: -1.0, "below zero over most of 380 to 780 nm"),
        ("photon_flux", lambda wl: 1.0 - 9.0 * (wl > 660), "the result is below zero, -"),
        ("illuminance", lambda wl: 1.0 - 9.0 * (530 < wl < 580), "the result is below zero, -"),
        ("colour_fidelity.Rg", lambda wl: float(520 < wl < 540), "Duv is 0."),
        ("correlated_colour_temperature.duv", lambda wl: float(520 < wl < 540), "beyond 0.05"),
        ("dominant_wavelength.wavelength", lambda wl: float(not 480 < wl < 600), "purple"),
        ("dominant_wavelength.complementary", lambda wl: float(wl > 560), "a dominant wavelength"),
        ("hazard_weighted.retinal_thermal", lambda wl: 1.0, "380 to 780 nm, not 380 to 1400 nm"),
        ("peak_wavelength", lambda wl: wl, "780 nm, is at the end of the data"),
        ("bandwidth.width", lambda wl: float(wl in (450, 600)), "more than one peak rises"),
    ],
)
def test_a_quantity_that_cannot_be_had_says_why(
    run: Runner, tmp_path: Path, key: str, value_at: Callable[[float], float], reason: str
) -> None:
    path = write_csv(tmp_path / "lamp.csv", [(wl, value_at(wl)) for wl in LINEAR_GRID])
    value = run("light", "--json", "--unit", "W m-2 nm-1", path).value(key)
    assert value["value"] is None
    assert reason in value["problem"]
    assert "lighting" not in value["problem"]


def test_a_radiance_has_a_luminance(run: Runner, tmp_path: Path) -> None:
    path = write_csv(tmp_path / "screen.csv", flat(0.002))
    options = ("--kind", "radiance", "--unit", "W m-2 sr-1 nm-1", path)
    report = run("light", "--json", *options)
    lux = run("light", "--json", "--unit", "W m-2 nm-1", path).value("illuminance")["value"]
    assert report.value("luminance")["value"] == lux
    assert report.value("illuminance")["value"] is None
    weighted = report.value("hazard_weighted.radiance.blue_light")["value"]
    assert weighted == lighting.hazard_weighted(vek.io.load_csv(path)).blue_light
    text = run("light", *options).out
    assert "  L_v " in text
    assert "  E_v " not in text


def test_a_picture_has_spectrum_chromaticity_and_colour_vectors() -> None:
    pytest.importorskip("matplotlib")
    lamp = vek.reports.built_in("FL2")
    _, diagram, vectors = vek.reports.light(lamp).figure().axes
    (point,) = [line for line in diagram.lines if line.get_label() == "FL2"]
    chromaticity = lighting.chromaticity(lamp.scan)
    expected = [chromaticity.u_prime, chromaticity.v_prime]
    assert point.get_xydata()[0].tolist() == pytest.approx(expected, rel=1e-12)
    ring = vectors.lines[1].get_xydata()
    # Of bin 1, whose middle is at 11.25 degrees, the way outwards is the shift of its chroma.
    shift = lighting.colour_fidelity(lamp.scan).bins[0].Rcs / 100
    angle = math.radians(11.25)
    assert ring[0] @ (math.cos(angle), math.sin(angle)) == pytest.approx(1 + shift)
    dark = vek.Scan(LINEAR_GRID, [0.0] * len(LINEAR_GRID))
    assert len(vek.reports.light(dark).figure().axes) == 1


def test_the_mismatch_of_a_photometer_comes_on_request(run: Runner, tmp_path: Path) -> None:
    photometer = ("--json", "--reference", "cie_1931_standard_observer_y")
    assert "f1_prime" not in run("light", *photometer).out
    value = run("light", "--f1-prime", *photometer).value("f1_prime")["value"]
    assert value == pytest.approx(0.0, abs=1e-12)
    ultraviolet = write_csv(tmp_path / "uv.csv", flat(1.0, 280, 370))
    assert run("light", "--f1-prime", "--json", ultraviolet).value("f1_prime")["value"] is None


def test_all_built_in_spectra_are_listed(run: Runner) -> None:
    listed = run("references", "--json").document["references"]
    of_lighting = [item.name for item in lighting.references()]
    assert sorted(item["name"] for item in listed) == sorted(NAMES + of_lighting)
    reconstructions = {item["name"] for item in listed if item["status"] == "reconstruction"}
    assert reconstructions == {name for name in NAMES if re.search("signal|incand|led_", name)}
    for item in listed:
        scan = built_in(item["name"])
        assert item["range_nm"] == [scan.min_wavelength(), scan.max_wavelength()]
        assert item["points"] == len(scan.wavelengths())
        assert scan[item["peak"]["wavelength_nm"]] == item["peak"]["value"] == max(scan.values())
        steps = {b - a for a, b in pairwise(scan.wavelengths())}
        assert item["step_nm"] == (steps.pop() if len(steps) == 1 else None)
    daylight = run("light", "--json", "--reference", "daylight(7500)")
    temperature = daylight.value("correlated_colour_temperature.cct")["value"]
    assert temperature == pytest.approx(7500, abs=5)
    assert "from 4000 to 25000 K" in run.refuse("references", "daylight(3000)")


@pytest.mark.parametrize("name", [*NAMES, "FL3.15", "planckian(2856)"])
def test_a_built_in_spectrum_comes_as_csv_that_reads_back(
    run: Runner, tmp_path: Path, name: str
) -> None:
    path = tmp_path / "reference.csv"
    path.write_text(run("references", name).out)
    assert [*vek.io.load_csv(path).items()] == [*built_in(name).items()]
    document = run("references", name, "--json").document
    assert (document["wavelengths_nm"], document["values"]) == built_in(name).to_lists()
