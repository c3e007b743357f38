"""The light source report and the built-in spectra of the command line."""

from __future__ import annotations

import csv
import re
from itertools import pairwise
from pathlib import Path

import pytest
from cli import Runner, flat, write_csv, write_vek

import vekanalysis as vek

NAMES = [name for name in dir(vek.colorimetry.data) if not name.startswith("_")]
LAB = "CIELAB_tristimulus_values"


def reference(name: str) -> vek.Scan:
    scan = getattr(vek.colorimetry.data, name)()
    assert isinstance(scan, vek.Scan)
    return scan


def test_daylight_is_white_to_itself(run: Runner) -> None:
    result = run("light", "--json", "--reference", "cie_illuminant_d65")
    lab = [result.value(f"{LAB}.{field}")["value"] for field in ("L_star", "a_star")]
    assert lab == pytest.approx([100.0, 0.0], abs=1e-9)
    # CIE 15:2004, Table T.3.
    observers = {"CIE_1931": (0.31272, 0.32903), "CIE_1964": (0.31382, 0.33100)}
    for observer, published in observers.items():
        point = [result.value(f"{observer}_chromaticity.{axis}")["value"] for axis in "xy"]
        assert point == pytest.approx(published, abs=5e-5)


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


@pytest.mark.parametrize("unit", UNITS)
def test_illuminance_follows_what_the_file_states(run: Runner, tmp_path: Path, unit: str) -> None:
    path = write_vek(tmp_path / "a.vek", [("A", flat(2.0))], type_and_units=(unit, "1 1"))
    in_watts = vek.radiometry.illuminance(vek.io.load_vek_scan_data(path)["A"])
    result, scale = run("light", "--json", path), UNITS[unit]
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


def test_the_wien_temperature_is_a_black_bodys(run: Runner, tmp_path: Path) -> None:
    body = [(wl, vek.physics.planks_law_sr_nm(5000.0, wl)) for wl, _ in flat(0.0, 300, 900, 1)]
    result = run("light", "--json", write_csv(tmp_path / "body.csv", body))
    # Wien's constant, 2.8977721e-3 m K, over 5000 K is 579.55 nm.
    assert result.value("peak_wavelength")["value"] == 580.0
    temperature = result.value("wiens_displacement_law_T")["value"]
    assert temperature == pytest.approx(2.8977721e6 / 580, rel=1e-12)
    rising = run("light", "--json", "--reference", "cie_illuminant_a")
    assert "end of the data" in rising.value("wiens_displacement_law_T")["problem"]


def test_the_mismatch_of_a_photometer_comes_on_request(run: Runner, tmp_path: Path) -> None:
    photometer = ("--json", "--reference", "cie_1931_standard_observer_y")
    assert "f1_prime" not in run("light", *photometer).out
    value = run("light", "--f1-prime", *photometer).value("f1_prime")["value"]
    assert value == pytest.approx(0.0, abs=1e-12)
    ultraviolet = write_csv(tmp_path / "uv.csv", flat(1.0, 280, 370))
    assert run("light", "--f1-prime", "--json", ultraviolet).value("f1_prime")["value"] is None


def test_all_built_in_spectra_are_listed(run: Runner) -> None:
    listed = run("references", "--json").document["references"]
    assert sorted(item["name"] for item in listed) == sorted(NAMES)
    reconstructions = {item["name"] for item in listed if item["status"] == "reconstruction"}
    assert reconstructions == {name for name in NAMES if re.search("signal|incand|led_", name)}
    for item in listed:
        scan = reference(item["name"])
        assert item["range_nm"] == [scan.min_wavelength(), scan.max_wavelength()]
        assert item["points"] == len(scan.wavelengths())
        assert scan[item["peak"]["wavelength_nm"]] == item["peak"]["value"] == max(scan.values())
        steps = {b - a for a, b in pairwise(scan.wavelengths())}
        assert item["step_nm"] == (steps.pop() if len(steps) == 1 else None)
    text = run("references").out
    assert max(map(len, text.splitlines())) <= 90
    assert all(f"  {name} " in text for name in NAMES)


@pytest.mark.parametrize("name", NAMES)
def test_a_built_in_spectrum_comes_as_csv_that_reads_back(
    run: Runner, tmp_path: Path, name: str
) -> None:
    path = tmp_path / "reference.csv"
    path.write_text(run("references", name).out)
    assert [*vek.io.load_csv(path).items()] == [*reference(name).items()]
    document = run("references", name, "--json").document
    assert (document["wavelengths_nm"], document["values"]) == reference(name).to_lists()
