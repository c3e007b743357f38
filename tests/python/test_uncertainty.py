"""Figures with their uncertainty: first order, draws, comparisons, against published numbers."""

import csv
import math
from concurrent.futures import ProcessPoolExecutor, ThreadPoolExecutor
from decimal import Decimal
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import vekanalysis as vek
from vekanalysis import quantities
from vekanalysis._core.uncertainty import ErrorModel
from vekanalysis.uncertainty import (
    Budget,
    Component,
    Matrix,
    Propagator,
    Results,
    compare,
    propagate,
    simulate,
)
from vekanalysis.uncertainty._simulation import _shortest, _symmetric

ROOT = Path(__file__).parents[2]
LENS = {record.key: record for record in quantities.LENS}
LIGHT = {record.key: record for record in quantities.LIGHT}
TAU_V = "ISO8980_3_tau_v"
RED = "ISO8980_3_tau_signal_led.red"
LAB = "CIELAB_tristimulus_values"
SUVA = "ISO8980_3_tau_suva"
MIN = "ANSI_Z80_3_tau_spectral_min"


def glass() -> vek.Scan:
    return vek.io.load_csv(str(ROOT / "examples/grey-glass-4mm.csv"))


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
    wavelengths = np.arange(280.0, 831.0, 5.0)
    line = vek.Scan(wavelengths, (wavelengths - 280.0) / 1000.0)
    flat = vek.Scan(wavelengths, np.full(len(wavelengths), 0.5))
    assert propagate(line, budget(OFFSET), [key])[key].u == pytest.approx(2e-4, rel=1e-6)
    results = propagate(flat, budget(GAIN, ZERO, BENT, OFFSET), [key])[key].contributions
    # 4 u tau (1 - tau) is u at 0.5.
    clear = propagate(vek.Scan(wavelengths, np.ones(len(wavelengths))), budget(), [key])[key].value
    assert results["gain"] == pytest.approx(0.001 * clear, rel=1e-6)
    assert results["zero"] == pytest.approx(0.0005 * clear, rel=1e-6)
    assert results["bent"] == pytest.approx(0.0005 * clear, rel=1e-6)
    assert results["offset"] == pytest.approx(0.0, abs=1e-15)


# The root sum of squares of the weights of D65 times V, every 5 nm and every 10 nm; the library's
# own rule of integration has a little more or less.
@pytest.mark.parametrize(("step", "factor"), [(5, 0.18550), (10, 0.26237)])
def test_noise_averages_out(step: int, factor: float) -> None:
    wavelengths = np.arange(280.0, 781.0, step)
    flat = vek.Scan(wavelengths, np.full(len(wavelengths), 0.5))
    u = propagate(flat, budget(NOISE), [TAU_V])[TAU_V].u
    assert u / 0.0005 == pytest.approx(factor, rel=0.01)
    length = {"length": 1e-3}, {"length": 1e9}
    limits = [
        propagate(flat, budget(_noise(correlation)), [TAU_V])[TAU_V].u for correlation in length
    ]
    assert limits == pytest.approx([u, 0.0005], rel=1e-5)


def _noise(correlation: object) -> Component:
    return Component(name="noise", kind="noise", standard=0.0005, correlation=correlation)


def test_other_components_of_a_spectrum() -> None:
    wavelengths = np.arange(280.0, 831.0, 5.0)
    # A Gaussian of 20 nm, and as it is seen through a slit of 5 nm. The change is proportional to
    # the bandwidth squared, so half the bandwidth is worth all of it.
    fine = np.arange(-60_000, 60_001) * 0.005
    slit = np.maximum(1.0 - np.abs(np.arange(-1000, 1001)) / 1000.0, 0.0)
    peak = np.exp(-(fine**2) / 800.0)
    seen = np.convolve(peak, slit / slit.sum(), "same")
    narrow, change = (
        vek.Scan(wavelengths, np.interp(wavelengths - 550.0, fine, y)) for y in (peak, seen - peak)
    )
    effect = Component(name="slit", kind="bandwidth", fwhm=5, standard=2.5)
    expected = quantities.evaluate(change, [LENS[TAU_V]])[TAU_V].value
    found = propagate(narrow, budget(effect), [TAU_V])[TAU_V].contributions["slit"]
    assert found == pytest.approx(expected, rel=0.02)

    flat = vek.Scan(wavelengths, np.full(len(wavelengths), 0.25))
    line = vek.Scan(wavelengths, (wavelengths - 280.0) / 1000.0)
    stray = Component(name="stray", kind="stray-light", standard=1.0, unit="%")
    jitter = Component(name="jitter", kind="wavelength-jitter", standard=0.5)
    figure = Component(name="lens", kind="figure", standard=0.01, relative=True, quantities=[TAU_V])
    assert propagate(flat, budget(stray), [TAU_V])[TAU_V].u == pytest.approx(0.0, abs=1e-16)
    tau = propagate(line, budget(stray), [TAU_V])[TAU_V]
    assert tau.contributions["stray"] == pytest.approx(0.01 * (0.275 - tau.value), rel=1e-9)
    as_noise = propagate(line, budget(NOISE), [TAU_V])[TAU_V].u
    assert propagate(line, budget(jitter), [TAU_V])[TAU_V].u == pytest.approx(as_noise, rel=1e-6)
    both = propagate(flat, budget(figure), [TAU_V, RED])
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
    h1 = _of_numbers({"l": 50_000_838.0}, parts)["l"]
    assert (h1.u, int(h1.dof)) == (pytest.approx(31.7, abs=0.05), 16)
    at_99 = Results(
        ["l"], np.array([h1.value]), {n: np.array([e]) for n, (e, _) in parts.items()},
        {n: d for n, (_, d) in parts.items()}, 0.99,
    )["l"]  # fmt: skip
    assert (at_99.k, at_99.expanded) == (
        pytest.approx(2.92, abs=5e-3),
        pytest.approx(92.5, abs=0.2),
    )


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
    assert np.array([(r := results.correlation("A", "B"))]) == pytest.approx(0.26), r
    u = 0.00108, 0.00111, 0.97343
    rows = np.array([[u[0], 0.0], [u[2] * u[1], u[1] * math.sqrt(1.0 - u[2] ** 2)]])
    pair = Results(["A", "B"], np.array([0.524753, 0.549559]), {"a": rows}, {"a": math.inf}, 0.95)
    assert pair.ratio("A", "B").u == pytest.approx(0.000450, rel=0.01)


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


def test_the_shortest_interval_of_a_skew_distribution() -> None:
    # An exponential distribution: from 0 to ln 20, where the symmetric one is ln(1/0.975) to ln 40.
    ordered = np.sort(-np.log(np.random.default_rng(1).uniform(size=10**6)))[np.newaxis]
    shortest, symmetric = _shortest(ordered, 0.95), _symmetric(ordered, 0.95)
    assert np.ravel(shortest) == pytest.approx([0.0, math.log(20.0)], abs=0.02)
    assert np.ravel(symmetric) == pytest.approx([-math.log(0.975), math.log(40.0)], abs=0.02)


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


def test_no_interval_reaches_into_the_impossible() -> None:
    wavelengths = np.arange(280.0, 781.0, 5.0)
    dark = vek.Scan(wavelengths, np.full(len(wavelengths), 1e-5))
    clear = vek.Scan(wavelengths, np.full(len(wavelengths), 0.9999))
    for spectrum, ends in ((dark, (0.0, 0.00099)), (clear, (0.99892, 1.0))):
        first = propagate(spectrum, budget(ZERO), [TAU_V])[TAU_V]
        drawn = simulate(spectrum, budget(ZERO), [TAU_V], draws=20_000, seed=1)[TAU_V]
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


@pytest.mark.parametrize(
    ("component", "words"),
    [
        ({"kind": "noise", "standard": [(400, 1), (500, 1)], "correlation": "full"}, "from 400 nm"),
        (
            {"kind": "noise", "standard": [1, 2], "correlation": "full"},
            "2 numbers, the spectrum 49",
        ),
        ({"kind": "offset", "standard": 1, "unit": "mW m-2 nm-1"}, "the spectrum is in 1"),
        ({"kind": "covariance", "covariance": np.eye(3)}, "for 3 points"),
        ({"kind": "stray-light", "standard": 1, "band": (100, 200)}, "no data in the band"),
    ],
)
def test_a_budget_that_does_not_fit_is_refused(component: dict[str, Any], words: str) -> None:
    lens = vek.Spectrum(glass(), "transmittance", "1")
    with pytest.raises(vek.Refusal) as refusal:
        propagate(lens, budget(Component(name="c", **component)), [TAU_V])
    assert words in str(refusal.value)


def test_sizes_follow_the_unit_of_the_spectrum() -> None:
    spectrum, _ = _black_body(2856, 380, 780)
    lamp = vek.Spectrum(spectrum, "irradiance", "mW m-2 nm-1")
    zero = Component(name="zero", kind="offset", standard=1e-3)
    told = Component(name="zero", kind="offset", standard=1.0, unit="mW m-2 nm-1")
    keys = [LIGHT["illuminance"], LIGHT["CIE_tristimulus_values.Y"]]
    lux = 683.002 * 1e-3 * 106.86
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


@pytest.mark.parametrize("relative", [False, True])
def test_many_spectra_have_the_digits_of_each(relative: bool) -> None:
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
