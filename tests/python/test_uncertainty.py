"""Figures with their uncertainty: first order, draws, comparisons, against published numbers."""

import csv
import dataclasses
import math
import re
from concurrent.futures import ProcessPoolExecutor, ThreadPoolExecutor
from decimal import Decimal
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import vekanalysis as vek
from vekanalysis import quantities
from vekanalysis._core.uncertainty import ErrorModel
from vekanalysis.quantities import LENS_FULL
from vekanalysis.uncertainty import (
    Budget,
    Component,
    Matrix,
    Propagator,
    Results,
    _case,
    _propagator,
    _simulation,
    compare,
    of_points,
    propagate,
    simulate,
)
from vekanalysis.uncertainty._case import case_of
from vekanalysis.uncertainty._simulation import _shortest, _symmetric, _tolerances

ROOT = Path(__file__).parents[2]
CUBIC = vek.Interpolation.CUBIC
LENS = {record.key: record for record in quantities.LENS}
LIGHT = {record.key: record for record in quantities.LIGHT}
TAU_V = "ISO8980_3_tau_v"
LAB = "CIELAB_tristimulus_values"
RED = "ISO8980_3_tau_signal_led.red"
SUVA = "ISO8980_3_tau_suva"
MIN = "ANSI_Z80_3_tau_spectral_min"


def glass() -> vek.Scan:
    return vek.io.load_csv(str(ROOT / "examples/grey-glass-4mm.csv"))


GRID = np.arange(280.0, 831.0, 5.0)
SLOPE = vek.Scan(GRID, (GRID - 280.0) / 1000.0)


def flat(value: float, grid: np.ndarray = GRID) -> vek.Scan:
    return vek.Scan(grid, np.full(len(grid), value))


def budget(*components: Component) -> Budget:
    return Budget(components=components)


GAIN = Component(name="gain", kind="gain", standard=0.002)
ZERO = Component(name="zero", kind="offset", standard=0.0005)
OFFSET = Component(name="offset", kind="wavelength", standard=0.2)
SCALE = Component(name="scale", kind="wavelength-scale", standard=0.0005, pivot=550)
BENT = Component(name="bent", kind="non-linearity", standard=0.0005)
NOISE = Component(name="noise", kind="noise", standard=0.0005, correlation="independent")


# Value, then contributions of gain, zero, wavelength, scale, non-linearity and noise: differences
# over one standard uncertainty of the library's own functions, worked out apart from this module.
@pytest.mark.parametrize(
    ("key", "value", "parts"),
    [
        ("ISO8980_3_tau_uva", 0.299910, "5.998e-4 4.615e-4 1.778e-3 -9.064e-4 2.996e-4 1.846e-4"),
        (SUVA, 0.237014, "4.740e-4 4.286e-4 1.797e-3 -9.191e-4 2.500e-4 1.754e-4"),
        (TAU_V, 0.549559, "1.099e-3 5.000e-4 -1.40e-5 -3.4e-6 4.940e-4 1.312e-4"),
        (MIN, 0.520439, "1.041e-3 5.000e-4 3.45e-5 7.7e-6 4.992e-4 5.000e-4"),
        ("ISO12311_tau_sb", 0.574369, "1.149e-3 5.000e-4 -2.280e-4 6.65e-5 4.876e-4 1.726e-4"),
        (RED, 0.524753, "1.050e-3 5.000e-4 -2.57e-5 -3.6e-6 4.987e-4 2.429e-4"),
        ("CIE_1931_chromaticity.x", 0.328669, "0 4.2e-6 1.085e-5 -5.5e-6 5.1e-6 4.118e-5"),
        ("CIE_1931_chromaticity.y", 0.329816, "0 3.2e-6 4.450e-5 -1.40e-5 4.0e-6 5.222e-5"),
        (f"{LAB}.L_star", 79.01586, "6.334e-2 2.882e-2 -8.1e-4 -1.9e-4 2.847e-2 7.56e-3"),
        (f"{LAB}.a_star", -0.330512, "-2.2e-4 2.0e-4 -1.579e-2 3.3e-3 2.0e-4 2.284e-2"),
        (f"{LAB}.b_star", -1.720694, "-1.15e-3 1.03e-3 1.531e-2 -4.9e-3 1.4e-3 2.067e-2"),
    ],
)
def test_the_contributions_to_the_grey_glass(key: str, value: float, parts: str) -> None:
    result = propagate(glass(), budget(GAIN, ZERO, OFFSET, SCALE, BENT, NOISE), [key])[key]
    assert result.value == pytest.approx(value, rel=2e-6)
    for (name, found), printed in zip(result.contributions.items(), parts.split(), strict=True):
        # Half of the last digit printed; that of noise depends on the step of differences, too.
        digit = 10.0 ** Decimal(printed).as_tuple().exponent
        slack = 5e-3 * float(printed) if name == "noise" else 0.0
        assert found == pytest.approx(float(printed), rel=0, abs=0.51 * digit + slack), name
    assert result.u == pytest.approx(math.hypot(*result.contributions.values()))


def test_what_is_common_to_two_quantities_cancels_in_their_ratio() -> None:
    results = propagate(glass(), budget(GAIN, OFFSET, NOISE), [TAU_V, RED])
    assert results.correlation(RED, TAU_V) == pytest.approx(0.973, abs=6e-4)
    ratio = results.ratio(RED, TAU_V)
    assert ratio.value == pytest.approx(0.954863, abs=6e-7)
    assert ratio.contributions["gain"] == pytest.approx(0.0, abs=1e-15)
    assert ratio.u == pytest.approx(4.54e-4, rel=0.01)
    derived = results.derive(lambda a, b: a / b, RED, TAU_V)
    assert (derived.value, derived.u) == pytest.approx((ratio.value, ratio.u), rel=1e-5)
    with pytest.raises(KeyError, match=r"no 'tau_v'"):
        results["tau_v"]


# Closed forms for a straight line and a flat lens.
@pytest.mark.parametrize("key", [TAU_V, RED, "ISO12311_tau_sb", "ISO8980_3_tau_uva"])
def test_closed_forms(key: str) -> None:
    assert propagate(SLOPE, budget(OFFSET), [key])[key].u == pytest.approx(2e-4, rel=1e-6)
    results = propagate(flat(0.5), budget(GAIN, ZERO, BENT, OFFSET), [key])[key].contributions
    # 4 u tau (1 - tau) is u at 0.5.
    clear = propagate(flat(1.0), budget(), [key])[key].value
    assert results["gain"] == pytest.approx(0.001 * clear, rel=1e-6)
    assert results["zero"] == pytest.approx(0.0005 * clear, rel=1e-6)
    assert results["bent"] == pytest.approx(0.0005 * clear, rel=1e-6)
    assert results["offset"] == pytest.approx(0.0, abs=1e-15)


# The root sum of squares of the weights of D65 times V, every 5 nm and every 10 nm; the library's
# own rule of integration has a little more or less.
@pytest.mark.parametrize(("step", "factor"), [(5, 0.18550), (10, 0.26237)])
def test_noise_averages_out(step: int, factor: float) -> None:
    half = flat(0.5, np.arange(280.0, 781.0, step))
    u = propagate(half, budget(NOISE), [TAU_V])[TAU_V].u
    assert u / 0.0005 == pytest.approx(factor, rel=0.01)
    for length, limit in ((1e-3, u), (1e9, 0.0005)):
        noise = dataclasses.replace(NOISE, correlation={"length": length})
        found = propagate(half, budget(noise), [TAU_V])[TAU_V].u
        assert found == pytest.approx(limit, rel=1e-5)


STEPS = np.arange(-3000, 3001) / 1000.0
TRIANGLE = np.maximum(1.0 - np.abs(STEPS), 0.0)


@pytest.mark.parametrize(
    ("slit", "shape"),
    [(None, TRIANGLE), ("triangular", TRIANGLE), ("gaussian", 0.5 ** (4.0 * STEPS**2))],
)
def test_a_slit_broadens_a_line(slit: Any, shape: np.ndarray) -> None:
    # A Gaussian of 20 nm, and as it is seen through a slit of 5 nm. The change is proportional to
    # the bandwidth squared, so half the bandwidth is worth all of it.
    fine = np.arange(-60_000, 60_001) * 0.005
    peak = np.exp(-(fine**2) / 800.0)
    seen = np.convolve(peak, shape / shape.sum(), "same")
    narrow, change = (vek.Scan(GRID, np.interp(GRID - 550.0, fine, y)) for y in (peak, seen - peak))
    effect = Component(name="slit", kind="bandwidth", fwhm=5, standard=2.5, slit=slit)
    expected = quantities.evaluate(change, [LENS[TAU_V]])[TAU_V].value
    found = propagate(narrow, budget(effect), [TAU_V])[TAU_V].contributions["slit"]
    assert found == pytest.approx(expected, rel=0.02)
    # Of a parabola the second derivative is 2 everywhere; at the ends nobody knows it.
    parabola = vek.Scan(GRID, (GRID - 300.0) ** 2, interpolation=CUBIC)
    for fwhm in (5.0, 20.0):
        effect = Component(name="s", kind="bandwidth", fwhm=fwhm, standard=0.5 * fwhm, slit=slit)
        # What is added to figures does nothing to points.
        both = budget(effect, _every_kind().components[-1])
        u = of_points(vek.Spectrum(parabola * 1e-6, "transmittance", "1"), both)
        assert u[[0, -1]].tolist() == [0.0, 0.0]
        variance = np.average((fwhm * STEPS) ** 2, weights=shape)
        assert u[8:-8] == pytest.approx(1e-6 * variance, rel=1e-3)
        assert u[1:-1] == pytest.approx(1e-6 * variance, rel=0.3)


def test_other_components_of_a_spectrum() -> None:
    stray = Component(name="stray", kind="stray-light", standard=1.0, unit="%")
    jitter = Component(name="jitter", kind="wavelength-jitter", standard=0.5)
    figure = Component(name="lens", kind="figure", standard=0.01, relative=True, quantities=[TAU_V])
    assert propagate(flat(0.25), budget(stray), [TAU_V])[TAU_V].u == pytest.approx(0.0, abs=1e-16)
    tau = propagate(SLOPE, budget(stray), [TAU_V])[TAU_V]
    assert tau.contributions["stray"] == pytest.approx(0.01 * (0.275 - tau.value), rel=1e-9)
    for band, mean in (((402, 507), 0.1745), ((100, 400), 0.06), ((780, 900), 0.525)):
        part = Component(name="stray", kind="stray-light", standard=0.01, band=band)
        found = propagate(SLOPE, budget(part), [TAU_V])[TAU_V].contributions["stray"]
        assert found == pytest.approx(0.01 * (mean - tau.value), rel=1e-9)
    as_noise = propagate(SLOPE, budget(NOISE), [TAU_V])[TAU_V].u
    assert propagate(SLOPE, budget(jitter), [TAU_V])[TAU_V].u == pytest.approx(as_noise, rel=1e-6)
    both = propagate(flat(0.25), budget(figure), [TAU_V, RED])
    assert (both[TAU_V].u, both[RED].u) == (0.01 * both[TAU_V].value, 0.0)


C2 = 1.4388e-2


def _black_body(kelvin: float, low: float, high: float) -> tuple[vek.Scan, np.ndarray]:
    """A Planckian and its change for 1 K."""
    wavelengths = np.arange(low, high + 1.0, 5.0)
    x = C2 / (wavelengths * 1e-9 * kelvin)
    values = (wavelengths / 500.0) ** -5 / np.expm1(x)
    change = values * x / kelvin / -np.expm1(-x)
    return vek.Scan(wavelengths, values), np.column_stack((wavelengths, change))


def _measured(name: str, correlation: object = None) -> tuple[vek.Scan, Component]:
    with (ROOT / f"tests/data/uncertainty/{name}.csv").open() as file:
        rows = np.array([[float(cell) for cell in row] for row in list(csv.reader(file))[1:]])
    matrix = {"matrix": Matrix(rows[:, 0], rows[:, 3:])}
    component = Component(
        name="reference",
        kind="noise",
        standard=rows[:, [0, 2]],
        correlation=matrix if correlation is None else correlation,
    )
    return vek.Scan(rows[:, 0].copy(), rows[:, 1].copy()), component


def _colours(spectrum: vek.Scan, *components: Component) -> tuple[list[float], Results]:
    """u(x), u(y), and the relative u of X, Y and Z."""
    keys = ["CIE_1931_chromaticity.x", "CIE_1931_chromaticity.y"]
    keys += [f"CIE_tristimulus_values.{field}" for field in "XYZ"]
    results = propagate(spectrum, budget(*components), [LIGHT[key] for key in keys])
    xyz = [results[key] for key in keys[2:]]
    return [results[key].u for key in keys[:2]] + [each.u / each.value for each in xyz], results


# 19NRM02 photometry uncertainty toolbox, notebooks MCSim_XYZYxyTest and DR2-93_vector: draws, so
# that the figures of 10,000 of them have 0.7 % of noise.
@pytest.mark.parametrize(
    ("kelvin", "band", "u_kelvin", "u_nm", "published"),
    [
        (3072, (380, 780), 1, 0, [6.8629e-5, 2.5293e-5, 2.5870e-3, 2.6830e-3, 3.3123e-3]),
        (3072, (380, 780), 0, 1, [5.6166e-4, 2.5562e-4, 5.1440e-3, 5.8090e-3, 1.1373e-2]),
        (3072, (380, 780), 1, 1, [5.6543e-4, 2.5672e-4]),
        (2856, (360, 830), 5, 0, [3.7815e-4, 1.0935e-4]),
    ],
)
def test_published_black_bodies(
    kelvin: int, band: tuple[int, int], u_kelvin: int, u_nm: int, published: list[float]
) -> None:
    spectrum, change = _black_body(kelvin, *band)
    temperature = Component(
        name="T", kind="noise", correlation="full", standard=change * [1.0, u_kelvin]
    )
    shift = Component(name="wavelength", kind="wavelength", standard=u_nm)
    found, _ = _colours(spectrum, temperature, shift)
    assert found[: len(published)] == pytest.approx(published, rel=0.01)


# The same toolbox; the rows without a matrix, and the first of each pair, from independent work.
# The toolbox's own draws of 10,000 are certain to 1.4 %, and y of the lamp is a small difference.
@pytest.mark.parametrize(
    ("name", "correlation", "u_x", "u_y", "u_Y", "within"),
    [
        ("fel_lamp_1000W", None, 1.6065e-4, 9.737e-5, 0.0045748, 0.001),
        ("fel_lamp_1000W", None, 1.6075e-4, 9.612e-5, 0.00457553, 0.014),
        ("fel_lamp_1000W", "independent", 2.286e-4, 2.260e-4, 0.001238, 0.01),
        ("fel_lamp_1000W", "full", 1.217e-4, 3.72e-5, 0.004933, 0.02),
        ("led_380_780", None, math.sqrt(7.9535e-6), math.sqrt(9.7023e-6), 0.018496, 0.002),
        ("led_380_780", None, math.sqrt(7.9555e-6), math.sqrt(9.7228e-6), 0.018496, 0.01),
        ("led_380_780", "independent", 2.351e-3, 3.693e-3, 0.00469, 0.01),
        ("led_380_780", "full", 5.635e-3, 8.495e-3, 0.02689, 0.01),
    ],
)
def test_published_lamps_with_their_correlation(
    name: str, correlation: object, u_x: float, u_y: float, u_Y: float, within: float
) -> None:
    spectrum, component = _measured(name, correlation)
    found, results = _colours(spectrum, component)
    assert [found[0], found[1], found[3]] == pytest.approx([u_x, u_y, u_Y], rel=within)
    if name == "led_380_780" and correlation is None:
        covariance = results.covariance("CIE_1931_chromaticity.x", "CIE_1931_chromaticity.y")
        assert covariance[0, 1] == pytest.approx(5.1969e-6, rel=0.01)


def _of_numbers(values: dict[str, float], parts: dict[str, tuple[list[float], float]]) -> Results:
    """Results of quantities without a spectrum: of each component its effects and freedom."""
    effects = {name: np.array([effect]).T for name, (effect, _) in parts.items()}
    dof = {name: freedom for name, (_, freedom) in parts.items()}
    return Results(list(values), np.array(list(values.values())), effects, dof, 0.95)


def test_degrees_of_freedom_of_the_guide() -> None:
    # JCGM 100:2008, G.4, and H.1, the end gauge (nm).
    g4 = _of_numbers({"y": 1.0}, {"a": ([0.57], 9), "b": ([0.25], math.inf)})["y"]
    assert g4.dof == pytest.approx(12.796, abs=1e-3)
    parts = {"l_s": ([25.0], 18.0), "d": ([9.7], 25.6), "da": ([2.9], 50.0), "dt": ([16.6], 2.0)}
    gauge = _of_numbers({"l": 50_000_838.0}, parts)
    h1, at_99 = gauge["l"], gauge.covering(0.99)["l"]
    assert (h1.u, int(h1.dof)) == (pytest.approx(31.7, abs=0.05), 16)
    assert at_99.k == pytest.approx(2.92, abs=5e-3)
    assert at_99.expanded == pytest.approx(92.5, abs=0.2)


def test_correlated_inputs_of_the_guide() -> None:
    # JCGM 100:2008, H.2: resistance, reactance and impedance of repeated voltage, current, phase.
    volt = [5.007, 4.994, 5.005, 4.990, 4.999]
    ampere = [0.019663, 0.019639, 0.019640, 0.019685, 0.019678]
    phase = [1.0456, 1.0438, 1.0468, 1.0428, 1.0433]
    data = np.array([volt, ampere, phase])
    effects = {"repeats": (data - data.mean(axis=1, keepdims=True)) / math.sqrt(20.0)}
    inputs = Results(["V", "I", "phi"], data.mean(axis=1), effects, {"repeats": 4.0}, 0.95)
    published = [
        (lambda v, i, p: v / i * math.cos(p), 127.732, 0.071),
        (lambda v, i, p: v / i * math.sin(p), 219.847, 0.296),
        (lambda v, i, p: v / i, 254.260, 0.236),
    ]
    for function, value, u in published:
        result = inputs.derive(function, "V", "I", "phi")
        assert result.value == pytest.approx(value, abs=6e-4)
        assert result.u == pytest.approx(u, abs=6e-4)


def test_a_calibration_line_of_the_guide() -> None:
    # JCGM 100:2008, H.3: a straight line through thermometer corrections, and one of its values.
    t = "21.521 22.012 22.512 23.003 23.507 23.999 24.513 25.002 25.503 26.010 26.511"
    b = np.array([-171, -169, -166, -159, -164, -165, -156, -157, -159, -161, -160]) / 1000
    design = np.column_stack((np.ones(11), np.array(t.split(), dtype=float) - 20.0))
    solve = np.linalg.pinv(design)
    y = solve @ b
    s = math.sqrt(((b - design @ y) ** 2).sum() / 9)
    line = Results(["y1", "y2"], y, {"scatter": solve * s}, {"scatter": 9.0}, 0.95)
    assert (line["y1"].value, line["y1"].u) == pytest.approx((-0.1712, 0.0029), abs=6e-5)
    assert (line["y2"].value, line["y2"].u) == pytest.approx((0.00218, 0.00067), abs=6e-6)
    assert line.correlation("y1", "y2") == pytest.approx(-0.930, abs=6e-4)
    at_30 = line.derive(lambda y1, y2: y1 + 10.0 * y2, "y1", "y2")
    assert (at_30.value, at_30.u) == pytest.approx((-0.1494, 0.0041), abs=6e-5)


def test_a_margin_knows_what_both_sides_have_in_common() -> None:
    # u 0.0019 and 0.0011, r = 0.26.
    effects = {"a": np.array([[0.0019, 0.0], [0.26 * 0.0011, 0.0011 * math.sqrt(1 - 0.26**2)]])}
    results = Results(["A", "B"], np.array([0.0900, 0.0950]), effects, {"a": math.inf}, 0.95)
    margin = results.margin("A", "B")
    assert (margin.value, margin.u) == pytest.approx((-0.0050, 0.001932), abs=6e-7)
    assert results.correlation("A", "B") == pytest.approx(0.26)


def test_what_is_certain_or_missing_is_no_trouble() -> None:
    effects = {"a": np.array([[0.1], [0.0], [-0.2]])}
    problems = {"D": "It is dark"}
    results = Results(
        "ABC", np.array([1.0, 2.0, 4.0]), effects, {"a": math.inf}, 0.9, problems,
        [(0.0, math.inf), (0.0, 1.0), (-math.inf, 4.1)],
    )  # fmt: skip
    assert repr(results) == "<Results: 3 quantities, 1 components>"
    assert (len(results), list(results), dict(results.problems)) == (3, [*"ABC"], problems)
    assert results.covariance() == pytest.approx(np.outer([0.1, 0, -0.2], [0.1, 0, -0.2]))
    assert results.covariance("C", "A") == pytest.approx(np.array([[0.04, -0.02], [-0.02, 0.01]]))
    assert results.correlation("A", "C") == pytest.approx(-1.0)
    assert all(map(math.isnan, (results.correlation("A", "B"), results.correlation("B", "C"))))
    product = results.derive(lambda a, b, c: a * b * c, *"ABC")
    assert (product.value, product.contributions["a"]) == pytest.approx((8.0, 0.4))
    assert (results["B"].u, results["B"].dof) == (0.0, math.inf)
    margin = results.margin("C", "A", 2.0)
    assert (margin.value, margin.u) == pytest.approx((2.0, 0.4))
    # A quantity has all in common with itself.
    for figure, value, u in (
        (results.ratio("C", "C"), 1.0, 0.0),
        (results.margin("C", "C"), 0.0, 0.0),
        (results.derive(lambda a, b: a + b, "C", "C"), 8.0, 0.4),
    ):
        assert (figure.value, figure.u) == pytest.approx((value, u), abs=1e-12)
    # What is possible cuts the intervals, unless nothing would be left of them.
    k = 1.6448536
    ends = [(1 - 0.1 * k, 1 + 0.1 * k), (2.0, 2.0), (4 - 0.2 * k, 4.1)]
    for figure, interval in zip(results.values(), ends, strict=True):
        assert figure.interval == pytest.approx(interval)
    wider = results.covering(0.99)
    assert (wider.coverage, wider["C"].k) == (0.99, pytest.approx(2.5758293))
    assert (wider["C"].interval[1], dict(wider.problems)) == (4.1, problems)
    zero = Results("AB", np.array([1.0, 0.0]), {}, {}, 0.95)
    assert (zero["A"].u, zero["A"].dof, zero["A"].contributions) == (0.0, math.inf, {})
    with pytest.raises(ZeroDivisionError):
        zero.ratio("A", "B")
    for method in (results.__getitem__, results.covariance):
        for key, told in (("D", "D: It is dark"), ("E", "no 'E'; there are 'A', 'B', 'C'")):
            with pytest.raises(KeyError) as missing:
                method(key)
            assert missing.value.args == (told,)


def _drawn(trials: int, dimension: int, add: Any, seed: int = 1) -> np.ndarray:
    """Draws of an error model on a spectrum of zeros."""
    model = ErrorModel(vek.Scan(np.arange(float(dimension)), np.zeros(dimension)))
    add(model)
    spectra = np.empty((trials, dimension))
    model.draws(seed, 0).fill(spectra, np.empty((trials, 0)))
    return spectra


# JCGM 101:2008, 9.2.2 and 9.2.3 (exact: 2 sqrt(3) (2 - (3/5)^(1/4))), and the arcsine and
# triangular distributions in their place: closed forms of one of them alone.
@pytest.mark.parametrize(
    ("points", "law", "u", "half_width"),
    [
        (4, "normal", 2.0, 3.92),
        (4, "rectangular", 2.0, 3.8794),
        (1, "rectangular", 1.0, 0.95 * math.sqrt(3)),
        (1, "triangular", 1.0, math.sqrt(6) * (1 - math.sqrt(0.05))),
        (1, "arcsine", 1.0, math.sqrt(2) * math.sin(0.475 * math.pi)),
    ],
)
def test_intervals_of_published_distributions(
    points: int, law: str, u: float, half_width: float
) -> None:
    drawn = _drawn(10**6, points, lambda m: m.add_independent(np.ones(points), law)).sum(axis=1)
    assert drawn.std() == pytest.approx(u, rel=0.005)
    ends = np.array(_symmetric(np.sort(drawn)[np.newaxis], 0.95)).ravel()
    assert ends == pytest.approx([-half_width, half_width], rel=0.01)


def test_the_rules_of_coverage_intervals() -> None:
    # JCGM 101:2008, 7.7: q = 10 of M = 20 draws, r = 5; 19 and 1.
    squares = np.arange(1.0, 21.0)[np.newaxis] ** 2
    found = [np.ravel(_symmetric(squares, p)).tolist() for p in (0.5, 0.95)]
    assert found == [[25, 225], [1, 400]]
    found = [np.ravel(_shortest(-squares[:, ::-1], p)).tolist() for p in (0.5, 0.95)]
    assert found == [[-121, -1], [-400, -1]]
    assert np.ravel(_shortest(squares, 0.5)).tolist() == [1, 121]
    # 7.9.2: half a unit of the last digit of u; 0.0996 is 0.10.
    u = np.array([0.0996, 0.0994, 0.1, 1.0, 9.96, 0.0])
    assert _tolerances(u, 2) == pytest.approx([0.005, 0.0005, 0.005, 0.05, 0.5, 0.0])
    assert _tolerances(u, 1) == pytest.approx([0.05, 0.05, 0.05, 0.5, 5.0, 0.0])


# JCGM 102:2011, 9.3: modulus and phase of a complex number near 0, u 0.010 of both parts.
@pytest.mark.parametrize(
    ("real", "r", "modulus", "phase"),
    [
        (0.001, 0.0, (0.013, 0.007), (0.0, 1.744)),
        (0.001, 0.9, (0.012, 0.008), (-0.556, 1.599)),
        (0.010, 0.9, (0.015, 0.008), (-0.343, 0.903)),
    ],
)
def test_published_modulus_and_phase(
    real: float, r: float, modulus: tuple[float, float], phase: tuple[float, float]
) -> None:
    effects = 0.01 * np.array([[1.0, r], [0.0, math.sqrt(1.0 - r * r)]])
    drawn = _drawn(10**6, 2, lambda m: m.add_effects(effects))
    re, im = drawn.T
    for found, (mean, u) in (
        (np.hypot(re + real, im), modulus),
        (np.arctan2(im, re + real), phase),
    ):
        # A phase scatters widely, so that 10^6 draws leave some of its third digit open.
        tolerance = 6e-4 if found.min() >= 0.0 else 5e-3
        assert (found.mean(), found.std()) == pytest.approx((mean, u), abs=tolerance)


def test_draws_agree_with_the_first_order() -> None:
    full = budget(GAIN, ZERO, OFFSET, SCALE, BENT, NOISE)
    drawn = simulate(glass(), full, draws=10_000, seed=1)
    first = drawn.first_order
    assert not drawn.problems.keys() - first.problems.keys()
    for key, figure in drawn.items():
        if key == MIN:
            # It switches between neighbours: lower than the value, and with less spread.
            assert figure.mean < figure.value - 1e-5
            continue
        # 10,000 draws tell a standard deviation to 0.7 %.
        assert figure.u == pytest.approx(first[key].u, rel=0.025, abs=1e-15), key
        assert figure.interval[0] <= figure.value <= figure.interval[1]


def test_the_seed_decides_the_digits_and_nothing_else() -> None:
    example = Budget.read(ROOT / "examples/budget.toml")
    keys = [TAU_V, SUVA]
    alone = simulate(glass(), example, keys, draws=50_000, seed=2**63 + 5)
    with ProcessPoolExecutor(4) as processes:
        shared = simulate(glass(), example, keys, draws=50_000, seed=2**63 + 5, executor=processes)
    assert dict(alone) == dict(shared)
    settled = simulate(glass(), example, keys, digits=1, seed=3)
    with ThreadPoolExecutor(2) as threads:
        again = simulate(glass(), example, keys, digits=1, seed=3, executor=threads)
    assert (settled.draws, settled.converged) == (20_000, True)
    assert dict(settled) == dict(again)
    assert dict(simulate(glass(), example, keys, digits=1, seed=4)) != dict(settled)


def test_two_digits_are_settled_by_as_many_draws_as_they_take() -> None:
    drawn = simulate(glass(), budget(GAIN), [TAU_V], seed=1)
    u = 0.002 * drawn[TAU_V].value
    # 114 c^2 draws, c = 11 being the digits of u.
    assert drawn.converged
    assert 10_000 < drawn.draws < 60_000
    assert drawn[TAU_V].u == pytest.approx(u, abs=5e-5)
    assert drawn[TAU_V].validated is True
    # And of 0.00050, c = 50, in the blocks in which this seed settles them.
    assert simulate(glass(), budget(ZERO), [TAU_V], seed=1).draws == 270_000


def test_draws_that_do_not_settle_say_so(monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setattr(_simulation, "_MOST_DRAWS", 29_999)
    drawn = simulate(glass(), budget(GAIN, NOISE), seed=1)
    assert (drawn.draws, drawn.converged) == (20_000, False)
    monkeypatch.undo()
    drawn = simulate(glass(), budget(GAIN), [TAU_V], seed=1, coverage=0.999, digits=1)
    # 7.9.2: blocks of 100 / (1 - p) draws.
    assert (drawn.draws, drawn.converged, drawn.coverage, drawn.digits) == (200_000, True, 0.999, 1)


def test_what_draws_cannot_tell_is_left_out() -> None:
    lamp = vek.Spectrum(vek.lighting.reference("LED-B3"), "irradiance", "W m-2 nm-1")
    unsure = Component(name="unsure", kind="gain", standard=1.0)
    keys = ["illuminance", "chromaticity.x", "CIE_tristimulus_values.X"]
    drawn = simulate(lamp, budget(unsure), [LIGHT[key] for key in keys], draws=12_345, seed=7)
    assert repr(drawn) == "<Simulation: 2 quantities, 12345 draws, seed 7>"
    assert (len(drawn), [*drawn], drawn.converged) == (2, [keys[0], keys[2]], None)
    # Of a normal distribution so many are below -1: there is no light, and so no colour.
    count, _, rest = drawn.problems[keys[1]].partition(" ")
    assert rest == "of 12345 draws have no value"
    assert int(count) == pytest.approx(12_345 * 0.15866, rel=0.06)
    assert drawn.problems.keys() == {keys[1]}
    # One standard uncertainty below there is no light at all.
    not_finite = {keys[1]: "The uncertainty is not a finite number"}
    assert dict(drawn.first_order.problems) == not_finite
    first = drawn.first_order[keys[0]]
    assert (drawn[keys[0]].value, drawn[keys[0]].validated) == (first.value, True)
    # An asymmetric distribution: the first order has the wrong interval, or none at all.
    shift = Component(name="shift", kind="wavelength", standard=3.0)
    keys = ["peak_wavelength", "dominant_wavelength.purity", "luminance"]
    drawn = simulate(lamp, budget(shift), keys, draws=10_000, seed=1)
    assert [figure.validated for figure in drawn.values()] == [None, False]
    first = "It goes from point to point: only draws have its uncertainty"
    no_radiance = "Not computable: irradiance, not a radiance; its unit is W m-2 nm-1"
    assert drawn.first_order.problems == {keys[0]: first, keys[2]: no_radiance}
    assert drawn.problems == {keys[2]: no_radiance}


@pytest.mark.parametrize(
    ("arguments", "told"),
    [
        ({"seed": -1}, "seed must be from 0 to 2**64 - 1, not -1"),
        ({"seed": 2**64}, f"seed must be from 0 to 2**64 - 1, not {2**64}"),
        ({"digits": 0}, "digits must be 1 or 2, not 0"),
        ({"digits": 3}, "digits must be 1 or 2, not 3"),
        ({"draws": 1999}, "at least 2000 draws are needed for that coverage"),
        ({"draws": 9999, "coverage": 0.99}, "at least 10000 draws are needed for that coverage"),
    ],
)
def test_draws_that_cannot_be_are_refused(arguments: dict[str, Any], told: str) -> None:
    with pytest.raises(ValueError, match=r"simulate: ") as refusal:
        simulate(glass(), budget(GAIN), [TAU_V], **arguments)
    assert str(refusal.value) == f"simulate: {told}"
    least = simulate(glass(), budget(GAIN), [TAU_V], draws=2000, seed=2**64 - 1)
    assert least.seed == 2**64 - 1
    assert simulate(glass(), budget(GAIN), [TAU_V], draws=2000, seed=0).seed == 0


SIGNED = re.compile(r"duv|purity|[ab]_star|colour_(rendering|fidelity)|\.der$|scotopic|f1_prime")


@pytest.mark.parametrize("kind", ["transmittance", "irradiance", "responsivity", "unknown", None])
def test_intervals_end_where_quantities_do(kind: Any) -> None:
    records = {"irradiance": quantities.LIGHT, "responsivity": quantities.PHOTOMETER}.get(
        kind, quantities.LENS
    )
    spectrum: Any = glass()
    if kind is not None:
        unit = {"irradiance": "W m-2 nm-1", "responsivity": "A W-1"}.get(kind)
        spectrum = vek.Spectrum(spectrum, kind, unit)
    more = LENS_FULL if kind == "transmittance" else records
    certain = propagate(spectrum, budget(), None if more is records else more)
    assert {*certain, *certain.problems} == {record.key for record in more}
    wide = Component(name="wide", kind="figure", standard=1e9, quantities=[*certain])
    for key, figure in propagate(spectrum, budget(wide), [*certain]).items():
        low, high = figure.interval
        clear = quantities.evaluate(spectrum, [quantities.quantity(key)])[key].clear_lens
        is_bounded = ("tau" in key and "over" not in key) or "chromaticity" in key
        assert (low < -1e9) == bool(SIGNED.search(key)), key
        assert low < -1e9 or low == 0.0, key
        assert high == (clear or 1.0) if is_bounded else high > 1e9, key


def test_no_interval_reaches_into_the_impossible() -> None:
    for value, ends in ((1e-5, (0.0, 0.00099)), (0.9999, (0.99892, 1.0))):
        first = propagate(flat(value), budget(ZERO), [TAU_V])[TAU_V]
        drawn = simulate(flat(value), budget(ZERO), [TAU_V], draws=20_000, seed=1)[TAU_V]
        for interval in (first.interval, drawn.interval, drawn.shortest):
            assert interval == pytest.approx(ends, abs=4e-5)
        assert first.expanded == pytest.approx(0.00098, abs=2e-6)


def test_t_draws_agree_with_the_degrees_of_freedom() -> None:
    gain = Component(name="gain", kind="gain", standard=0.002, dof=5)
    lens = glass()
    drawn = simulate(lens, budget(gain), [TAU_V], draws=200_000, seed=1)
    first = drawn.first_order[TAU_V]
    assert (first.dof, first.k) == (pytest.approx(5.0), pytest.approx(2.571, abs=5e-4))
    low, high = drawn[TAU_V].interval
    assert (high - low) / 2.0 == pytest.approx(first.expanded, rel=0.01)
    assert drawn[TAU_V].u == pytest.approx(first.u * math.sqrt(5 / 3), rel=0.02)


def test_two_spectra_of_one_day_share_their_errors() -> None:
    lens = glass()
    twice = lens * 0.5
    own = Component(name="placing", kind="gain", standard=0.001, shared=False)
    result = compare(lens, twice, budget(GAIN, ZERO, OFFSET, NOISE, own), [TAU_V])[TAU_V]
    a, b = result.a.contributions, result.b.contributions
    assert result.ratio is not None
    assert result.difference.value == result.a.value - result.b.value
    assert result.difference.contributions["gain"] == pytest.approx(a["gain"] - b["gain"])
    assert result.difference.contributions["zero"] == pytest.approx(0.0, abs=1e-9)
    for name in ("noise", "placing"):
        expected = math.hypot(a[name], b[name])
        assert result.difference.contributions[name] == pytest.approx(expected)
    assert result.ratio.value == pytest.approx(2.0)
    assert result.ratio.contributions["gain"] == pytest.approx(0.0, abs=1e-9)
    keys = ["CIE_1931_chromaticity.x", TAU_V]
    # Without light there are no chromaticity and no ratio.
    dark, dim = lens * 0.0, lens * (0.05 / result.a.value)
    both = compare(lens, dark, budget(GAIN, own), keys, coverage=0.99)
    assert (repr(both), list(both), len(both)) == ("<Comparison: 1 quantities>", [TAU_V], 1)
    assert (both[TAU_V].ratio, both[TAU_V].difference.value) == (None, result.a.value)
    assert both[TAU_V].difference.k == pytest.approx(2.5758293)
    with pytest.raises(KeyError, match=r"chromaticity\.x: The result is not a finite number"):
        both[keys[0]]
    ratio = compare(lens, dim, budget(own), [TAU_V])[TAU_V].ratio
    assert ratio is not None
    assert (ratio.value, ratio.u / ratio.value) == pytest.approx(
        (result.a.value / 0.05, 0.001 * math.sqrt(2.0))
    )


def test_what_each_point_has_for_itself_is_not_shared_by_other_points() -> None:
    fine, coarse = (flat(0.5, np.arange(380.0, 781.0, step)) for step in (5.0, 10.0))
    assert compare(fine, coarse, budget(NOISE, GAIN), [TAU_V])[TAU_V].difference.u > 0.0
    shared = dataclasses.replace(NOISE, name="n", shared=True)
    with pytest.raises(vek.Refusal) as refusal:
        compare(fine, coarse, budget(GAIN, shared), [TAU_V])
    assert str(refusal.value) == (
        "component 'n' is shared, and has a number for each point: the spectra have 81 and 41"
    )
    same = compare(fine, fine * 0.5, budget(GAIN, shared), [TAU_V])[TAU_V]
    assert same.difference.contributions["n"] == pytest.approx(0.0, abs=1e-12)


# Sizes and their correlation at 400, 410 and 430 nm.
SIZES = np.array([1e-3, 2e-3, 3e-3])
VALUES = np.array([0.5, 0.25, 0.2])
APART = np.abs(np.subtract.outer([0.0, 10.0, 30.0], [0.0, 10.0, 30.0]))
NEAR = np.exp(-APART / 20.0)
# Between 400 and 430 nm the errors are linear, but not smaller for it.
LEFT, RIGHT = np.array([2.5, 2.0]) / math.sqrt(7.0)
LINE = np.array([[1.0, LEFT, 0.5], [LEFT, 1.0, RIGHT], [0.5, RIGHT, 1.0]])
ENDS = Matrix([400.0, 430.0], [[1.0, 0.5], [0.5, 1.0]])
WHOLE = Matrix([400.0, 430.0], [[1e-6, 5e-7], [5e-7, 1e-6]])
LATE = Matrix([400.0, 800.0], np.eye(2))
FULL_PERCENT = {"unit": "%", "correlation": "full"}
THIRDS = np.array([[1.0, 0.0], [2 / 3, 1 / 3], [0.0, 1.0]])


def outer(values: Any) -> np.ndarray:
    return np.outer(values, values)


@pytest.mark.parametrize(
    ("arguments", "expected"),
    [
        ({"standard": SIZES, "correlation": "independent"}, np.diag(SIZES**2)),
        ({"standard": SIZES, "correlation": "full"}, outer(SIZES)),
        ({"standard": SIZES, "correlation": {"length": 20}}, NEAR * outer(SIZES)),
        ({"standard": SIZES, "correlation": {"matrix": ENDS}}, LINE * outer(SIZES)),
        ({"standard": SIZES, "correlation": {"matrix": NEAR}}, NEAR * outer(SIZES)),
        ({"standard": [(400, 1), (430, 4)], **FULL_PERCENT}, 1e-4 * outer([1, 2, 4])),
        ({"standard": 1, "relative": True, **FULL_PERCENT}, 1e-4 * outer(VALUES)),
        ({"covariance": WHOLE}, THIRDS @ WHOLE.values @ THIRDS.T),
        ({"covariance": 1e-6 * NEAR}, 1e-6 * NEAR),
        ({"covariance": np.diag([0.0, 1e-6, 4e-6])}, np.diag([0.0, 1e-6, 4e-6])),
        ({"covariance": NEAR, "relative": True}, NEAR * outer(VALUES)),
    ],
)
@pytest.mark.parametrize("unit", ["1", "%"])
def test_the_covariance_of_the_points(
    arguments: dict[str, Any], expected: np.ndarray, unit: str
) -> None:
    kind: Any = "covariance" if "covariance" in arguments else "noise"
    noise = Component(name="noise", kind=kind, **arguments)
    scale = 1.0 if unit == "1" else 100.0
    scan = vek.Scan([400.0, 410.0, 430.0], scale * VALUES * [1.0, -1.0, 1.0])
    case = case_of(vek.Spectrum(scan, "transmittance", unit), budget(noise), [MIN])
    (effect,) = case.prepared.effects(case.spectrum)
    rows = np.diag(effect.rows[0]) if effect.form == "independent" else effect.rows
    assert rows.T @ rows == pytest.approx(expected, rel=1e-9, abs=1e-18)


FULL = {"kind": "noise", "correlation": "full"}
IN_MILLIWATTS = {"kind": "offset", "standard": 1, "unit": "mW m-2 nm-1"}
OF_THREE = {"kind": "covariance", "covariance": np.eye(3)}
FROM_400_NM = {"kind": "noise", "standard": 1, "correlation": {"matrix": LATE}}
STRAY = {"kind": "stray-light", "standard": 1, "band": (100, 320)}


@pytest.mark.parametrize(
    ("component", "told"),
    [
        (
            FULL | {"standard": [(400, 1), (500, 1)]},
            "ITS size is stated from 400 nm to 500 nm, SPAN",
        ),
        (FULL | {"standard": [1, 2]}, "ITS size has 2 numbers, the spectrum 49 points"),
        (IN_MILLIWATTS, "ITS unit is mW m-2 nm-1, the spectrum is in 1"),
        (OF_THREE, "ITS matrix is for 3 points, the spectrum has 49"),
        (FROM_400_NM, "ITS matrix is stated from 400 nm to 800 nm, SPAN"),
        (STRAY, "the spectrum has no data in the band of stray light, 100-320 nm"),
    ],
)
def test_a_budget_that_does_not_fit_is_refused(component: dict[str, Any], told: str) -> None:
    told = told.replace("SPAN", "the spectrum goes from 320 nm to 800 nm")
    lens = vek.Spectrum(glass(), "transmittance", "1")
    with pytest.raises(vek.Refusal) as refusal:
        propagate(lens, budget(Component(name="c", **component)), [TAU_V])
    assert str(refusal.value) == told.replace("ITS", "component 'c': its")


def test_sizes_follow_the_unit_of_the_spectrum() -> None:
    spectrum, _ = _black_body(2856, 380, 780)
    lamp = vek.Spectrum(spectrum, "irradiance", "mW m-2 nm-1")
    zero = Component(name="zero", kind="offset", standard=1e-3)
    told = Component(name="zero", kind="offset", standard=1.0, unit="mW m-2 nm-1")
    keys = [LIGHT["illuminance"], LIGHT["CIE_tristimulus_values.Y"]]
    lux = 683.002 * 1e-3 * 106.86
    own = Component(name="own", kind="noise", standard=1e-3, correlation="independent")
    in_milliwatts, in_watts = (
        propagate(each, budget(own), keys) for each in (lamp, lamp.to("W m-2 nm-1"))
    )
    for key, scale in (("illuminance", 1.0), ("CIE_tristimulus_values.Y", 1000.0)):
        expected = scale * in_watts[key].u
        assert in_milliwatts[key].u == pytest.approx(expected, rel=1e-9) != 0.0
    # The first of these has no value, and is what says the unit.
    alone = propagate(lamp, budget(own), [LIGHT["dominant_wavelength.complementary"], keys[0]])
    assert alone["illuminance"].u == pytest.approx(in_watts["illuminance"].u, rel=1e-9)
    relative = Component(name="r", kind="noise", standard=0.002, relative=True, correlation="full")
    for component in (GAIN, relative):
        (found,) = propagate(lamp, budget(component), keys[1:]).values()
        assert found.u / found.value == pytest.approx(0.002, rel=1e-9)
    for component in (zero, told):
        results = propagate(lamp, budget(component), keys)
        assert results["illuminance"].u == pytest.approx(lux, rel=0.001)
        # X, Y, Z stay in the unit of the file.
        assert results["CIE_tristimulus_values.Y"].u == pytest.approx(106.86, rel=0.001)
    with pytest.raises(vek.Refusal, match="is for fractions"):
        propagate(lamp, budget(BENT), keys)
    with pytest.raises(vek.Refusal, match="not a transmittance"):
        propagate(lamp, budget(zero), [TAU_V])
    partly = Component(name="partly", kind="gain", standard=[[300.0, 0.01], [800.0, 0.02]])
    for ends in ((290.0, 800.0), (300.0, 810.0)):
        with pytest.raises(vek.Refusal, match="is stated from 300 nm to 800 nm, the spectrum goes"):
            propagate(vek.Scan(ends, [0.5, 0.5]), budget(partly), [TAU_V])
    few = Component(name="few", kind="gain", standard=0.1, dof=2)
    with pytest.raises(vek.Refusal, match="2 degrees of freedom"):
        simulate(lamp, budget(few), keys)
    simulate(lamp, budget(dataclasses.replace(few, dof=2.1)), keys, draws=2000)


def _every_kind() -> Budget:
    ends = [[300.0, 0.0004], [800.0, 0.0008]]
    matrix = Matrix([300.0, 550.0, 800.0], [[1.0, 0.5, 0.2], [0.5, 1.0, 0.5], [0.2, 0.5, 1.0]])
    correlated: dict[str, Any] = {"kind": "noise", "standard": ends}
    return budget(
        *(GAIN, ZERO, OFFSET, SCALE, BENT, NOISE),
        Component(name="jitter", kind="wavelength-jitter", standard=0.02, dof=5),
        Component(name="slit", kind="bandwidth", fwhm=5, standard=0.2),
        Component(name="stray", kind="stray-light", standard=0.0002),
        Component(name="near", correlation={"length": 20.0}, dof=3, **correlated),
        Component(name="far", correlation={"matrix": matrix}, relative=True, **correlated),
        Component(name="rounded", kind="figure", standard=0.0001, quantities=[TAU_V]),
    )


def test_what_spectra_of_one_day_share() -> None:
    own = [each.name for each in _every_kind().components if not each.is_shared]
    assert own == ["noise", "jitter", "near", "far", "rounded"]
    matrix = Component(name="m", kind="covariance", covariance=np.eye(2))
    asked = dataclasses.replace(NOISE, shared=True), dataclasses.replace(GAIN, shared=False)
    assert (matrix.is_shared, *(each.is_shared for each in asked)) == (True, True, False)


def test_budgets_are_kept_prepared_for_few_grids() -> None:
    kept = budget(GAIN)
    for start in range(10):
        propagate(vek.Scan([300.0 + start, 800.0, 900.0], [0.5] * 3), kept, [MIN])
    assert len(_case._prepared_budgets[kept]) == 8
    assert kept.with_repeats([]) is kept
    with pytest.raises(vek.Refusal, match=r"^no quantity is asked for$"):
        propagate(vek.Spectrum(glass(), "transmittance", "1"), kept, [])


@pytest.mark.parametrize("component", _every_kind().components, ids=lambda each: each.name)
def test_draws_of_each_kind_agree_with_the_first_order(component: Component) -> None:
    # The draws of a t distribution of so few degrees of freedom scatter too much to be compared.
    alone = budget(dataclasses.replace(component, dof=math.inf))
    drawn = simulate(glass(), alone, [TAU_V, "CIE_1931_chromaticity.y"], draws=10_000, seed=1)
    for key, figure in drawn.items():
        first = drawn.first_order[key]
        assert figure.u == pytest.approx(first.u, rel=0.04, abs=1e-15)
        assert figure.value == first.value
        assert figure.mean == pytest.approx(first.value, abs=0.05 * first.u + 1e-15)
        half = 0.5 * (figure.interval[1] - figure.interval[0])
        assert half == pytest.approx(first.expanded, rel=0.05, abs=1e-15)
        assert np.diff(figure.shortest) <= np.diff(figure.interval)
    assert drawn[TAU_V].u > 0.0


@pytest.mark.parametrize("relative", [False, True])
def test_many_spectra_have_the_digits_of_each(
    relative: bool, monkeypatch: pytest.MonkeyPatch
) -> None:
    if relative:  # Each spectrum by itself.
        monkeypatch.setattr(_propagator, "_VALUES", 1)
    figure = Component(
        name="figure", kind="figure", standard=0.01, quantities=[SUVA], relative=relative
    )
    every = Budget(components=[*_every_kind().components, figure], coverage=0.9)
    spectra = []
    for number, start in enumerate((300.0, 300.5, 450.0, 300.0, 300.0, 300.5, 300.0)):
        wavelengths = np.arange(start, 800.0)
        values = 0.4 + 0.1 * number * np.sin(wavelengths / (50.0 + number))
        # Without light there is no chromaticity.
        scan = vek.Scan(wavelengths, values if number != 3 else 0.0 * values)
        spectra.append(vek.Spectrum(scan, "transmittance", "%" if number == 4 else "1"))
    figures = quantities.Figures(quantities.LENS)
    numbers = [figures(each.to("1"))[0] for each in spectra]
    columns = Propagator(every, quantities.LENS)(spectra, numbers)
    for row, spectrum in enumerate(spectra):
        results = propagate(spectrum, every, quantities.LENS)
        for column, record in enumerate(quantities.LENS):
            got = tuple(field[row, column] for field in columns)
            if record.key in results:
                expected = results[record.key]
                assert got == (expected.u, expected.expanded, expected.k, expected.dof), record.key
            else:
                assert np.isnan(got).all(), record.key
    assert 0 < sum(np.isnan(columns.u[3])) < len(quantities.LENS)
    # One standard uncertainty below there is no light, and no colour; all else has its own.
    dark = budget(Component(name="all", kind="gain", standard=1.0))
    columns = Propagator(dark, quantities.LENS)(spectra[:1], numbers[:1])
    known = [record.key for record, u in zip(LENS.values(), columns.u[0], strict=True) if u == u]
    assert known == [*propagate(spectra[0], dark)]
    assert 0 < len(known) < len(propagate(spectra[0], budget(GAIN)))
