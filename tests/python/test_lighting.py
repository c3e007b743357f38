"""Light sources: published figures, laws of the quantities, what is refused."""

import csv
import math
import pickle
import re
from collections.abc import Callable

import pytest
from cli import ROOT

from vekanalysis import LINEAR, Scan, colorimetry, lighting
from vekanalysis.lighting import colour_fidelity, colour_rendering
from vekanalysis.lighting import correlated_colour_temperature as cct
from vekanalysis.quantities import Evaluator

LINES = (ROOT / "tests/data/light-check-values.csv").read_text().splitlines()
ROWS = [*csv.DictReader(line for line in LINES if not line.startswith("#"))]
WAVELENGTHS = [float(wl) for wl in range(360, 831)]


def of(function: Callable[[float], float], wavelengths: list[float] = WAVELENGTHS) -> Scan:
    return Scan(wavelengths, [function(wl) for wl in wavelengths], interpolation=LINEAR)


def source(name: str) -> Scan:
    if name in ("A", "D65"):
        scan = getattr(colorimetry.data, f"cie_illuminant_{name.lower()}")() * 1.0
        scan.interpolation = LINEAR
        return scan
    if name.startswith("gauss"):
        _, mean, sigma, _ = name.split(":")
        return of(lambda wl: math.exp(-((wl - float(mean)) ** 2) / (2 * float(sigma) ** 2)))
    return of(lambda _: 1.0) if name == "E" else lighting.reference(name)


def chromaticity(name: str) -> tuple[float, float]:
    kind, *numbers = name.split(":")
    a, b = (float(number) for number in numbers[:2]) if kind in ("uv", "xy") else (0.0, 0.0)
    if kind == "uv":
        divisor = 2 * a - 8 * b + 4
        return 3 * a / divisor, 2 * b / divisor
    if kind == "xy":
        return a, b
    point = lighting.chromaticity(source(name), 1 if kind == "gauss" else 5)
    return point.x, point.y


def dominant(name: str, quantity: str) -> float:
    white = (1 / 3, 1 / 3) if name.endswith(":E") else chromaticity(name.rsplit(":", 1)[1])
    found = lighting.dominant_wavelength(chromaticity(name), white)
    if quantity == "purity":
        return found.purity
    return -found.wavelength if found.is_complementary else found.wavelength


def alpha_opic(name: str, quantity: str) -> float:
    kind, channel = quantity.split()
    if kind == "EDI":
        per_lumen = getattr(lighting.alpha_opic(source("D65")), channel).elr
        return float(name.removeprefix("mW/m2=")) / per_lumen
    found = getattr(lighting.alpha_opic(source(name)), channel)
    of_one_lux = found.irradiance * 1e3 / found.elr
    return {"ELR": found.elr, "DER": found.der, "EDI100": 100 * found.edi / of_one_lux}[kind]


def hazard(name: str, quantity: str) -> float:
    """A weight: the quantity of 1 W m-2 nm-1 at one wavelength alone, in steps of 1 nm."""
    at = float(name.removeprefix("wl:"))
    lamp = of(lambda wl: float(wl == at), [float(wl) for wl in range(200, 1401)])
    edition = "ICNIRP 2013" if "icnirp" in quantity else "IEC 62471"
    weighted = lighting.hazard_weighted(lamp, edition)
    field = {"thermal": "retinal_thermal", "blue": "blue_light", "actinic": "actinic_uv"}
    return float(getattr(weighted, field[quantity.split()[0]]))


def photons(name: str, quantity: str) -> float:
    if name == "E":
        return lighting.photon_flux(source("E"), 400, 700) / 300
    at = float(name.removeprefix("mono:"))
    return lighting.photon_flux(of(lambda wl: float(wl == at)), 400, 700)


def fidelity(name: str, quantity: str, step: int) -> float:
    found = colour_fidelity(source(name), step)
    field, _, part = quantity.partition("_")
    if part.startswith("CES"):
        return found.Rf_samples[int(part[3:]) - 1]
    return float(getattr(found.bins[int(part[1:]) - 1] if part else found, field))


def rendering(name: str, quantity: str) -> float:
    name, _, temperature = name.partition("@")
    found = colour_rendering(source(name), 5, float(temperature) if temperature else None)
    if quantity == "Ra":
        return found.Ra
    index = found.R[int(re.sub(r"\D", "", quantity)) - 1]
    return (100 - index) / 4.6 if quantity.startswith("dE") else index


def result(name: str, quantity: str, grid: str) -> float:
    if quantity in ("dominant", "purity"):
        return dominant(name, quantity)
    if re.match("ELR|DER|EDI", quantity):
        return alpha_opic(name, quantity)
    if re.match("thermal|blue|actinic", quantity):
        return hazard(name, quantity)
    if quantity.startswith("umol"):
        return photons(name, quantity)
    if quantity == "S/P":
        return lighting.scotopic_photopic_ratio(source(name))
    if re.match("R[fgch]", quantity):
        return fidelity(name, quantity, int(grid))
    if quantity in ("x", "y"):
        return float(getattr(lighting.chromaticity(source(name), int(grid)), quantity))
    if quantity in ("cct", "duv"):
        of_locus = grid == "locus1"
        found = cct(chromaticity(name)) if of_locus else cct(source(name), int(grid))
        return float(getattr(found, quantity))
    return rendering(name, quantity)


def test_published_figures_are_met() -> None:
    wrong = []
    for row in ROWS:
        found = result(row["source_spectrum"], row["quantity"], row["grid"])
        # The slack is for tolerances that are as wide as the rounding of the figure.
        if not abs(found - float(row["value"])) <= float(row["tolerance"]) * 1.0000001 + 1e-12:
            wrong.append(f"{','.join(row.values())}: {found}")
    assert len(ROWS) == 483
    assert wrong == []


@pytest.mark.parametrize("step", [5, 1])
def test_a_reference_is_its_own_light(step: int) -> None:
    for i in range(0, 201, 4):
        T = 1000.0 * 1000.0 ** (i / 200)
        found = cct(lighting.planckian(T), step)
        assert found.cct == pytest.approx(T, rel=1e-9)
        assert abs(found.duv) < 1e-12
    for T in range(1000, 5000, 160):
        assert colour_rendering(lighting.planckian(T), step).Ra == pytest.approx(100, abs=1e-6)
    # At 5000 K itself the temperature found at 1 nm is 4999.4 K, whose reference is Planckian.
    for T in (5001, 6504, 6999.9, 7000, 7000.1, 12345, 25000):
        found_rendering = colour_rendering(lighting.daylight(T), step)
        assert pytest.approx([100.0] * 15, abs=1e-6) == found_rendering.R
        assert found_rendering.reference == "phase of daylight"
    full_scale = 10 * math.log(math.exp(10) + 1)
    assert colour_fidelity(lighting.planckian(3000), step).Rf == pytest.approx(full_scale, abs=1e-9)


def test_the_rule_of_5000_kelvin_takes_the_rounded_temperature() -> None:
    lamp = source("FL3.10")
    assert cct(lamp).cct == pytest.approx(4999.96, abs=0.01)
    assert colour_rendering(lamp).reference == "phase of daylight"
    assert colour_rendering(lamp, reference_cct=4999.4).reference == "Planckian radiator"


def test_bands_add_up_and_widths_are_those_of_a_bell() -> None:
    lamp = source("gauss:620:20:E")
    parts = lighting.photon_flux(lamp, 400, 610.5) + lighting.photon_flux(lamp, 610.5, 700)
    assert parts == pytest.approx(lighting.photon_flux(lamp, 400, 700), rel=1e-13)
    assert lighting.band_total(lamp, 500, 740) == pytest.approx(20 * math.sqrt(2 * math.pi))
    assert lighting.centroid_wavelength(lamp) == pytest.approx(620, abs=1e-9)
    width = lighting.bandwidth(lamp)
    assert width.width == pytest.approx(20 * math.sqrt(8 * math.log(2)), rel=1e-4)
    assert (width.peak, width.centre) == pytest.approx((620, 620))


def test_hazards_tell_what_the_data_do_not_cover() -> None:
    lamp = of(lambda _: 1e-3)
    found = lighting.hazard_weighted(lamp)
    assert (found.actinic_uv, found.uv_a, found.retinal_thermal) == (None, None, None)
    assert found.absent["uv_a"] == "the spectrum covers 360 to 830 nm, not 315 to 400 nm"
    whole = of(lambda _: 1.0, [float(wl) for wl in range(200, 1401)])
    assert lighting.hazard_weighted(whole).absent == {}
    assert lighting.hazard_weighted(whole).uv_a == pytest.approx(85)
    # R(lambda) beyond 700 nm by its rules, in closed form: 10^(-x / 500) and so on.
    band = of(lambda wl: float(wl > 700), [float(wl) for wl in range(380, 1401)])
    rules = 500 / math.log(10) * (1 - 10**-0.7) + 20 + 9 / math.log(10) * 0.9 + 4
    assert lighting.hazard_weighted(band).retinal_thermal == pytest.approx(rules, rel=4e-3)


def lines(wl: float) -> float:
    """Two lines of mercury, 1.5 nm wide, on a little continuum."""
    bells = (math.exp(-(((wl - at) / 0.64) ** 2) / 2) for at in (435.8, 546.1))
    return 0.01 + sum(bells)


@pytest.mark.parametrize(
    ("call", "told"),
    [
        (lambda: cct(Scan()), "no points"),
        (lambda: cct(of(lambda _: 0.0)), "no light between 380 and 780 nm"),
        (lambda: cct(of(lambda wl: math.nan if wl == 543 else 1.0)), "at 543 nm is not"),
        (lambda: cct(of(lambda wl: 9.0 if wl == 555 else -0.01)), "below zero over"),
        (lambda: cct(of(lambda wl: -0.9 if wl % 2 else 1.0)), "below zero is more than a third"),
        (
            lambda: cct(of(lambda _: 1.0, [380.0, *range(400, 701, 30), 780.0])),
            "points are 30 nm apart; at most 20 nm",
        ),
        (lambda: cct(of(lambda _: 1e306)), "too large to be summed"),
        (lambda: colour_rendering(of(lambda _: 1e306)), "too large to be summed"),
        (lambda: lighting.centroid_wavelength(of(lambda _: 1e306)), "too large to be summed"),
        (lambda: cct(of(lambda _: 1e-310)), "too small to be summed"),
        (lambda: colour_rendering(of(lambda _: 1e-310)), "too small to be summed"),
        (
            lambda: lighting.alpha_opic(of(lambda _: 1.0, range(405, 700))),
            "covers 405 to 699 nm; at least 400 to 700 nm",
        ),
        (lambda: cct(source("gauss:520:10:E")), r"Duv is 0\.1\d+, beyond 0.05"),
        (lambda: cct(of(lambda wl: math.exp(wl / 28))), "below 1000 K"),
        (lambda: cct(of(lambda wl: wl**-4.3)), "above 1000000 K"),
        (lambda: colour_rendering(lighting.planckian(30000)), "no phase of daylight has 30000 K"),
        (lambda: colour_fidelity(lighting.planckian(30000)), "no phase of daylight has 30000 K"),
        (lambda: cct(of(lines)), "finer than the step of 5 nm: .*; use step 1"),
        (lambda: colour_rendering(source("E"), 2), "step must be 1 or 5"),
        (lambda: lighting.chromaticity(source("E"), 5, 2006), "1931 or 1964"),
        (lambda: lighting.photon_flux(source("E"), 350, 700), "not 350 to 700 nm"),
        (lambda: lighting.photon_flux(source("E"), 700, 400), "wl_from must be below"),
        (lambda: lighting.centroid_wavelength(of(lambda _: -1.0)), "the integral is not above 0"),
        (lambda: lighting.bandwidth(source("FL12")), "more than one peak rises above the level"),
        (lambda: lighting.bandwidth(lighting.planckian(3000)), "does not fall to the level"),
        (lambda: lighting.hazard_weighted(source("E"), "2020"), "edition must be"),
        (lambda: lighting.dominant_wavelength((0.3, 0.3), (0.3, 0.3)), "that of the white"),
        (lambda: lighting.dominant_wavelength((0.3, 0.3), (0.30004, 0.3)), "of the white"),
        (lambda: lighting.dominant_wavelength((0.7, 0.3), (0.8, 0.3)), "the white lies outside"),
        (lambda: lighting.dominant_wavelength((0.9, 0.3), (0.8, 0.3)), "the white lies outside"),
        (lambda: lighting.dominant_wavelength((0.05, 0.05), (1 / 3, 1 / 3)), "colour lies outs"),
        (lambda: lighting.dominant_wavelength((0.9, 0.05), (1 / 3, 1 / 3)), "colour lies outs"),
        (lambda: lighting.chromaticity((0.3, math.nan)), "not that of a light"),
        (lambda: lighting.daylight(3999), "between 4000 and 25000 K"),
        (lambda: lighting.planckian(math.nan), "between 1000 and 1000000 K"),
        (lambda: lighting.reference("FL13"), "no spectrum is named FL13"),
    ],
)
def test_what_cannot_be_had_is_refused(call: Callable[[], object], told: str) -> None:
    with pytest.raises(ValueError, match=told):
        call()


def test_lines_are_taken_in_steps_of_1_nm_and_ends_that_hardly_miss() -> None:
    assert cct(of(lines, [360 + i / 2 for i in range(941)]), 1).cct > 0
    short = of(lambda wl: wl, [400.4 + i for i in range(301)])
    assert lighting.scotopic_photopic_ratio(short) > 1


def test_results_are_plain_records() -> None:
    found = colour_fidelity(source("FL2"), 5)
    again = pickle.loads(pickle.dumps(found))
    assert (again, len(again.bins), len(again.Rf_samples)) == (found, 16, 99)
    assert repr(found.bins[0]).startswith("<HueBin Rf:")
    names = [reference.name for reference in lighting.references()]
    assert len(names) == len(set(names)) == 48
    assert all(max(lighting.reference(name).values()) > 0 for name in names)


@pytest.mark.parametrize("step", [1, 5])
def test_a_line_in_a_finer_part_of_the_data_is_not_lost(step: int) -> None:
    coarse = [float(wl) for wl in range(380, 781, step)]
    wavelengths = sorted({*coarse, *(530 + 0.1 * i for i in range(1, 50))})

    def light(wl: float) -> float:
        return 0.2 + 3 * math.exp(-0.5 * ((wl - 532.5) / 0.13) ** 2)

    with pytest.raises(ValueError, match="finer than the step of 1 nm"):
        cct(of(light, wavelengths), 1)
    keys = ["correlated_colour_temperature.duv"]
    found = Evaluator(wavelengths, keys)([[light(wl) for wl in wavelengths]])
    assert math.isnan(found[0][0])
    # The same points of a light without a line have one.
    smooth = of(lambda wl: 1 + wl / 1000, wavelengths)
    even = of(lambda wl: 1 + wl / 1000)
    expected = cct(even, 1).cct
    assert cct(smooth, 1).cct == pytest.approx(expected, rel=1e-6)


@pytest.mark.parametrize("centre", [253.65, 532.5, 532.0])
def test_amounts_of_a_line_between_the_steps_are_refused(centre: float) -> None:
    """1 W/m2 in a line of which 1 nm steps see next to nothing, or thrice as much."""
    step, sigma = 0.05, 0.13
    wavelengths = [200 + step * i for i in range(12_001)]
    height = 1 / (sigma * math.sqrt(2 * math.pi))
    scan = of(lambda wl: height * math.exp(-0.5 * ((wl - centre) / sigma) ** 2), wavelengths)
    averages = {}
    for wl in range(200, 801):
        inside = [scan(wl + step * i) for i in range(-10, 11)]
        averages[float(wl)] = (sum(inside) - 0.5 * (inside[0] + inside[-1])) * step
    averaged = Scan([*averages], [*averages.values()])
    found, right = lighting.hazard_weighted(scan), lighting.hazard_weighted(averaged)
    if centre < 300:
        assert found.actinic_uv is None
        assert "structure finer than 1 nm" in found.absent["actinic_uv"]
        assert right.actinic_uv == pytest.approx(0.5, rel=0.05)  # S(254 nm)
        return
    assert found.blue_light is None
    assert "average it over 1 nm" in found.absent["blue_light"]
    with pytest.raises(ValueError, match=r"structure finer .* miss its amount of light by"):
        lighting.alpha_opic(scan)
    keys = ["alpha_opic.melanopic.edi", "dominant_wavelength.wavelength", "scotopic_photopic_ratio"]
    edi, dominant, ratio = Evaluator(wavelengths, keys)([scan.to_lists()[1]])[0]
    assert math.isnan(edi)
    # Neither of them is an amount.
    assert dominant == pytest.approx(centre, abs=0.02)
    assert ratio == pytest.approx(lighting.scotopic_photopic_ratio(averaged), rel=0.002)
    # The action spectrum at the line, CIE S 026, and 1.3262 mW/lm of D65.
    melanopic = {532.0: 0.48407, 532.5: 0.47535}[centre]
    edi = lighting.alpha_opic(averaged).melanopic.edi
    assert edi == pytest.approx(melanopic / 1.3262e-3, rel=0.002)
