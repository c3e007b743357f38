"""Time what light sources are certified by, against NumPy and one by one, in one run.

Each row has both times and their ratio. The peer of one spectrum is NumPy with all tables ready:
the spectrum times a matrix, then vector arithmetic. It has colour temperatures of two sorts: read
from a locus at every mired by a parabola, and bettered by a step of Newton's method with Planckian
sums of the temperature found. Only the second has the accuracy that we promise; by how much each
differs from ours is printed, too, over radiators and colours off the locus. The peer of 10,000
spectra is a loop that makes a scan of each and calls the function. Times are the best of several
rounds; quote the ratios, not the times.

usage: .venv/bin/python benchmarks/bench_light.py
"""

from __future__ import annotations

import timeit
from collections.abc import Callable

import numpy as np
from numpy.typing import NDArray

import vekanalysis as vek
from vekanalysis import colorimetry, lighting, quantities

Floats = NDArray[np.float64]

GRID = np.arange(380.0, 781.0)
COUNT = 10_000


def bell(mean: float, sigma: float) -> Floats:
    return np.exp(-0.5 * ((GRID - mean) / sigma) ** 2)


LED = 0.8 * bell(450, 10) + bell(580, 55)
FUNCTIONS = [getattr(colorimetry.data, f"cie_1931_standard_observer_{f}")() for f in "xyz"]
OBSERVER = np.array([function(GRID) for function in FUNCTIONS])
MIREDS = np.arange(20.0, 1001.0)
RADIATORS = GRID**-5 / np.expm1(1.4388e7 / GRID * MIREDS[:, np.newaxis] * 1e-6)


def uv(xyz: Floats) -> Floats:
    """CIE 1960 u, v of X, Y, Z in the first axis."""
    return np.stack([4 * xyz[0], 6 * xyz[1]]) / (xyz[0] + 15 * xyz[1] + 3 * xyz[2])


LOCUS = uv(OBSERVER @ RADIATORS.T)
# The time does not depend on the factors of the samples, so smooth ones stand for the printed.
SAMPLES = 0.4 + 0.3 * np.sin(GRID / 60.0 + np.arange(8)[:, np.newaxis])
UNDER = np.concatenate([OBSERVER, *(OBSERVER * sample for sample in SAMPLES)])


def temperature(colour: Floats) -> float:
    distances = ((LOCUS - colour[:, np.newaxis]) ** 2).sum(axis=0)
    i = int(distances.argmin())
    a, b, c = distances[i - 1 : i + 2]
    return float(1e6 / (MIREDS[i] + 0.5 * (a - c) / (a - 2 * b + c)))


def numpy_temperature(values: Floats) -> float:
    return temperature(uv(OBSERVER @ values))


# Of the exponent, by mireds; of u and v by mireds, twice.
PER_MIRED = 1.4388e7 / GRID * 1e-6
FIFTH = GRID**-5
CURVATURE = np.gradient(np.gradient(LOCUS, axis=1), axis=1)


def numpy_refined_temperature(values: Floats) -> float:
    colour = uv(OBSERVER @ values)
    mired = 1e6 / temperature(colour)
    exponential = np.exp(PER_MIRED * mired)
    radiator = FIFTH / (exponential - 1)
    slope = -PER_MIRED * exponential * radiator / (exponential - 1)
    at, by_mired = (OBSERVER @ np.stack([radiator, slope], axis=1)).T
    total = at[0] + 15 * at[1] + 3 * at[2]
    place = np.array([4 * at[0], 6 * at[1]]) / total
    change = by_mired[0] + 15 * by_mired[1] + 3 * by_mired[2]
    move = (np.array([4 * by_mired[0], 6 * by_mired[1]]) - place * change) / total
    away = colour - place
    bend = away @ CURVATURE[:, round(mired) - int(MIREDS[0])]
    return float(1e6 / (mired + away @ move / (move @ move - bend)))


def deviations(peer: Callable[[Floats], float]) -> str:
    """The largest from ours, in shares of 0.01 K times (T / 5000 K) squared."""
    shares = []
    for mired in np.linspace(40, 500, 47):
        for tint in (0.0, 0.05, -0.05):
            radiator = FIFTH / np.expm1(PER_MIRED * mired)
            light = radiator / radiator[180] + tint * bell(530, 40)
            ours = lighting.correlated_colour_temperature(vek.Scan(GRID, light), 1).cct
            shares.append(abs(peer(light) - ours) / (0.01 * (ours / 5000) ** 2))
    return f"off by up to {max(shares):.3g} of 0.01 K (T / 5000 K)^2"


def adaptation(colours: Floats) -> tuple[Floats, Floats]:
    u, v = colours
    return (4 - u - 10 * v) / v, (1.708 * v + 0.404 - 1.481 * u) / v


def numpy_rendering(values: Floats) -> float:
    source = (UNDER @ values).reshape(9, 3).T
    kelvin = temperature(uv(source[:, 0]))
    radiator = GRID**-5 / np.expm1(1.4388e7 / (GRID * kelvin))
    reference = (UNDER @ radiator).reshape(9, 3).T
    source, reference = (each * (100 / each[1, 0]) for each in (source, reference))
    under, wanted = uv(source), uv(reference)
    c, d = adaptation(under)
    c_white, d_white = adaptation(wanted[:, 0])
    c, d = c * (c_white / c[0]), d * (d_white / d[0])
    divisor = 16.518 + 1.481 * c - d
    adapted = np.stack([(10.872 + 0.404 * c - 4 * d) / divisor, 5.520 / divisor])
    light, light_wanted = (25 * np.cbrt(each[1]) - 17 for each in (source, reference))
    shift = 13 * light * (adapted - adapted[:, :1]) - 13 * light_wanted * (wanted - wanted[:, :1])
    differences = np.sqrt((shift**2).sum(axis=0) + (light - light_wanted) ** 2)
    return float((100 - 4.6 * differences[1:]).mean())


def best(work: Callable[[], object]) -> float:
    """Seconds of one call: the best of rounds of at least 20 ms each."""
    timer = timeit.Timer(work)
    number = max(1, int(0.02 / max(timer.timeit(1), 1e-7)))
    return min(timer.repeat(7, number)) / number


def row(name: str, ours: float, peer: float) -> None:
    print(f"{name:<52}{ours * 1e6:9.2f} us {peer * 1e6:9.2f} us {ours / peer:8.3f}")


def one_spectrum() -> None:
    lamp = vek.Scan(GRID, LED)
    observer = vek.Observer(*FUNCTIONS)
    tristimulus = best(lambda: colorimetry.CIE_tristimulus_values(lamp, observer))
    found = lighting.correlated_colour_temperature(lamp, 1).cct
    assert abs(found - numpy_temperature(LED)) < 1
    functions = (
        ("colour temperature", lighting.correlated_colour_temperature),
        ("colour rendering", lighting.colour_rendering),
        ("colour fidelity", lighting.colour_fidelity),
    )
    for name, function in functions:
        row(f"{name}, against X, Y, Z", best(lambda f=function: f(lamp, 1)), tristimulus)
    for name, peer, kind in (
        ("temperature", numpy_temperature, "NumPy, table"),
        ("temperature", numpy_refined_temperature, "NumPy, refined"),
        ("rendering", numpy_rendering, "NumPy, table"),
    ):
        function = dict(functions)[f"colour {name}"]
        ours = best(lambda f=function: f(lamp, 1))
        row(f"colour {name}, against {kind}", ours, best(lambda p=peer: p(LED)))
    print(f"temperature by NumPy, table: {deviations(numpy_temperature)}")
    print(f"temperature by NumPy, refined: {deviations(numpy_refined_temperature)}")


def many_spectra() -> None:
    shares = np.random.default_rng(0).uniform(0.5, 1.5, (COUNT, 1))
    spectra = shares * bell(450, 10) + bell(580, 55)
    for key, function in (
        ("correlated_colour_temperature.cct", lighting.correlated_colour_temperature),
        ("colour_rendering.Ra", lighting.colour_rendering),
        ("colour_fidelity.Rf", lighting.colour_fidelity),
    ):
        evaluator = quantities.Evaluator(GRID, [key])
        ours = best(lambda e=evaluator: e(spectra)) / COUNT
        peer = best(lambda f=function: [f(vek.Scan(GRID, each), 1) for each in spectra[:500]]) / 500
        row(f"{key}, {COUNT} by Evaluator", ours, peer)


if __name__ == "__main__":
    print(f"{'work':<52}{'ours':>12} {'peer':>12} {'ratio':>8}")
    one_spectrum()
    many_spectra()
