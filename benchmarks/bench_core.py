"""Time the package against NumPy, SciPy and pandas, in one run.

Prints, for each piece of work, both times, their ratio and the ratio aimed at. The
peers are optional: `tools/setup bench` adds them to .venv. Times are the best of
several rounds; quote the ratios, not the times.

usage: .venv/bin/python benchmarks/bench_core.py [NAME...]
"""

from __future__ import annotations

import subprocess
import sys
import tempfile
import timeit
from collections.abc import Callable
from pathlib import Path

import numpy as np
from numpy.typing import NDArray

import vekanalysis as vek
from vekanalysis import colorimetry

try:
    import pandas
    from scipy.interpolate import Akima1DInterpolator
    from scipy.optimize import brentq, least_squares, minimize_scalar
    from scipy.signal import find_peaks, peak_widths
except ImportError:
    sys.exit("SciPy and pandas are needed as peers: run tools/setup bench")

Floats = NDArray[np.float64]
Work = Callable[[], object]

DATA = colorimetry.data
GRID = np.arange(380.0, 781.0)
SHIFTED = GRID + 0.5


def signal(wavelengths: Floats) -> Floats:
    return 0.5 + 0.3 * np.sin(wavelengths / 17.0)


def scan(wavelengths: Floats) -> vek.Scan:
    return vek.Scan(wavelengths, signal(wavelengths))


def best(work: Work) -> float:
    """Seconds of one call: the best of rounds of at least 20 ms each."""
    timer = timeit.Timer(work)
    number = max(1, int(0.02 / max(timer.timeit(1), 1e-7)))
    return min(timer.repeat(7, number)) / number


def akima_build() -> tuple[Work, Work]:
    ours = scan(GRID)

    def build() -> float:
        ours[580.0] = 0.25
        return ours(555.5)

    values = signal(GRID)
    return build, lambda: Akima1DInterpolator(GRID, values)(555.5)


def one_value() -> tuple[Work, Work]:
    ours, peer = scan(GRID), Akima1DInterpolator(GRID, signal(GRID))
    return lambda: ours(555.5), lambda: peer(555.5)


def many_values() -> tuple[Work, Work]:
    ours, peer = scan(GRID), Akima1DInterpolator(GRID, signal(GRID))
    wavelengths = np.linspace(380, 780, 10_000)
    return lambda: ours(wavelengths), lambda: peer(wavelengths)


def scipy_product(
    a: tuple[Floats, Floats, Akima1DInterpolator], b: tuple[Floats, Floats, Akima1DInterpolator]
) -> tuple[Floats, Floats]:
    low, high = max(a[0][0], b[0][0]), min(a[0][-1], b[0][-1])
    grid = np.union1d(a[0], b[0])
    grid = grid[(grid >= low) & (grid <= high)]
    return grid, a[2](grid) * b[2](grid)


def peer_of(points: vek.Scan) -> tuple[Floats, Floats, Akima1DInterpolator]:
    wavelengths, values = points.to_numpy()
    return wavelengths, values, Akima1DInterpolator(wavelengths, values)


def product_apart() -> tuple[Work, Work]:
    a, b = scan(GRID), scan(SHIFTED)
    a(555.5), b(555.2)
    peer_a, peer_b = peer_of(a), peer_of(b)
    return lambda: a * b, lambda: scipy_product(peer_a, peer_b)


def product_one_grid() -> tuple[Work, Work]:
    a, b = scan(GRID), scan(GRID)
    peer_a, peer_b = peer_of(a), peer_of(b)
    return lambda: a * b, lambda: peer_a[2](GRID) * peer_b[2](GRID)


def integral() -> tuple[Work, Work]:
    ours, peer = scan(GRID), Akima1DInterpolator(GRID, signal(GRID))
    return lambda: ours(380, 780), lambda: peer.integrate(380, 780)


def scipy_weighted(lens: Floats, *weights: tuple[Floats, Floats, Akima1DInterpolator]) -> float:
    """Integral of the product of a lens and weights, products formed pair by pair."""
    current = (GRID, lens, Akima1DInterpolator(GRID, lens))
    for weight in weights:
        grid, values = scipy_product(current, weight)
        current = (grid, values, Akima1DInterpolator(grid, values))
    low, high = max(380.0, current[0][0]), min(780.0, current[0][-1])
    return float(current[2].integrate(low, high))


def luminous_transmittance() -> tuple[Work, Work]:
    ours = scan(GRID)
    lens = signal(GRID)
    v_lambda = peer_of(DATA.cie_1931_standard_observer_y())
    d65 = peer_of(DATA.cie_illuminant_d65())

    def peer() -> float:
        weights = scipy_product(v_lambda, d65)
        below = Akima1DInterpolator(*weights)
        low, high = max(380.0, weights[0][0]), min(780.0, weights[0][-1])
        return scipy_weighted(lens, v_lambda, d65) / float(below.integrate(low, high))

    return lambda: colorimetry.ISO8980_3_tau_v(ours), peer


def xyz_and_lab() -> tuple[Work, Work]:
    names = [f"cie_1931_standard_observer_{axis}" for axis in "xyz"]
    observer = vek.Observer(*(getattr(DATA, name)() for name in names))
    peers = [peer_of(getattr(DATA, name)()) for name in names]
    white = DATA.cie_illuminant_d65()
    peer_white = peer_of(white)
    ours = scan(GRID)
    lens = signal(GRID)

    def work() -> object:
        colour = colorimetry.CIE_tristimulus_values(ours, observer)
        return colour, colorimetry.CIELAB_tristimulus_values(ours, white, observer)

    def integrals(x: Floats, y: Floats) -> list[float]:
        spectrum = (x, y, Akima1DInterpolator(x, y))
        out = []
        for matching in peers:
            grid, values = scipy_product(matching, spectrum)
            curve = Akima1DInterpolator(grid, values)
            out.append(float(curve.integrate(max(380.0, grid[0]), min(780.0, grid[-1]))))
        return out

    def peer() -> object:
        colour = integrals(GRID, lens)
        whites = integrals(*peer_white[:2])
        ratios = [a / b for a, b in zip(integrals(GRID, lens), whites, strict=True)]
        f = [t ** (1 / 3) if t > 216 / 24389 else t * 841 / 108 + 4 / 29 for t in ratios]
        return colour, (116 * f[1] - 16, 500 * (f[0] - f[1]), 200 * (f[1] - f[2]))

    return work, peer


def numpy_points(wavelengths: Floats, values: Floats) -> Floats:
    order = np.argsort(wavelengths, kind="stable")
    keys, first = np.unique(wavelengths[order], return_index=True)
    return np.stack((keys, values[order][first]))


def ascending_points() -> tuple[Work, Work]:
    wavelengths = 200.0 + 0.01 * np.arange(100_000)
    values = signal(wavelengths)
    return (
        lambda: vek.Scan(wavelengths, values).to_numpy(),
        lambda: numpy_points(wavelengths, values),
    )


def random_points() -> tuple[Work, Work]:
    wavelengths = np.random.default_rng(1).permutation(200.0 + 0.01 * np.arange(100_000))
    values = signal(wavelengths)
    return (
        lambda: vek.Scan(wavelengths, values).to_numpy(),
        lambda: numpy_points(wavelengths, values),
    )


def csv_lines() -> tuple[Work, Work]:
    file = Path(tempfile.mkdtemp()) / "spectrum.csv"
    wavelengths = 200.0 + 0.01 * np.arange(100_000)
    np.savetxt(file, np.column_stack((wavelengths, signal(wavelengths))), "%.6g", ",")
    return (
        lambda: vek.io.load_csv(str(file)),
        lambda: pandas.read_csv(file, header=None, names=["wavelength", "value"]),
    )


def table_lines() -> tuple[Work, Work]:
    """Decimal commas under a header; ours finds the layout out, the peer is told it."""
    file = Path(tempfile.mkdtemp()) / "table.csv"
    points = zip(200.0 + 0.01 * np.arange(100_000), signal(GRID.repeat(250)), strict=False)
    rows = "".join(f"{wl:.2f};{value:.6f}\n" for wl, value in points)
    file.write_text("Wavelength [nm];Signal\n" + rows.replace(".", ","))
    return (
        lambda: vek.read_table(file),
        lambda: pandas.read_csv(file, sep=";", decimal=","),
    )


def planck_array() -> tuple[Work, Work]:
    temperature, wavelengths = 2856.0, np.linspace(380e-9, 780e-9, 10_000)
    hc, k = 1.9864455003959036e-25, 1.3806504e-23

    def peer() -> Floats:
        exponential = np.exp(hc / (wavelengths * k * temperature))
        return 1.1910427584934558e-16 / (wavelengths**5 * (exponential - 1))

    return lambda: vek.physics.planks_law_sr(temperature, wavelengths), peer


def planck_value() -> tuple[Work, Work]:
    function, empty = vek.physics.planks_law_sr, vek.version
    return lambda: function(2856.0, 555e-9), lambda: empty()


def peak_and_width() -> tuple[Work, Work]:
    band = np.exp(-(((GRID - 555.3) / 20) ** 2))
    ours = vek.Scan(GRID, band)

    def work() -> object:
        return vek.utils.find_peak(ours), vek.utils.peak_width(ours, 0.5)

    def peer() -> object:
        curve = Akima1DInterpolator(GRID, band)
        top = int(band.argmax())
        bounds = GRID[top - 1], GRID[top + 1]
        peak = minimize_scalar(lambda x: -curve(x), bounds=bounds, method="bounded").x
        half = curve(peak) / 2
        edges = [brentq(lambda x: curve(x) - half, a, b) for a, b in ((380, peak), (peak, 780))]
        return peak, edges[1] - edges[0]

    return work, peer


def all_peaks(wavelengths: Floats, values: Floats, prominence: float) -> tuple[Work, Work]:
    """Peaks, prominences, widths and places on the curve, of which the peer tries nine a peak."""
    ours = vek.Scan(wavelengths, values)

    def work() -> object:
        # Another one and back drops the curve, which the peer makes anew, too.
        ours.interpolation = vek.LINEAR
        ours.interpolation = vek.AKIMA
        return vek.peaks(ours, prominence=prominence).columns()

    def peer() -> object:
        tops, facts = find_peaks(values, prominence=prominence)
        widths = peak_widths(values, tops, 0.5)
        curve = Akima1DInterpolator(wavelengths, values)
        near = wavelengths[tops, None] + np.linspace(-1, 1, 9) * (wavelengths[1] - wavelengths[0])
        return facts, widths, curve(near).max(axis=1)

    lines = vek.Scan(wavelengths, values, interpolation=vek.LINEAR)
    tops, facts = find_peaks(values, prominence=prominence)
    widths = peak_widths(values, tops, 0.5)[0] * (wavelengths[1] - wavelengths[0])
    found = vek.peaks(lines, prominence=prominence, baseline="prominence")
    assert [peak.wavelength for peak in found] == wavelengths[tops].tolist()
    assert [peak.prominence for peak in found] == facts["prominences"].tolist()
    assert np.allclose([peak.width or 0.0 for peak in found], widths, rtol=1e-9)
    return work, peer


def line_lamp(noise: float) -> tuple[Work, Work]:
    """400 lines, 15 nm wide, of 100 points each."""
    wavelengths = 25 + 0.5 * np.arange(40001)
    lines = np.exp(-4 * np.log(2) * ((wavelengths - 50 * np.round(wavelengths / 50)) / 15) ** 2)
    random = np.random.default_rng(3)
    return all_peaks(wavelengths, lines + noise * random.standard_normal(40001), 0.5)


def peaks_of_noise() -> tuple[Work, Work]:
    values = np.random.default_rng(3).standard_normal(100_001)
    return all_peaks(200 + 0.01 * np.arange(100_001), values, 0.0)


def wavelength_fit() -> tuple[Work, Work]:
    """Four free parameters of the grating equation over 200 points."""
    names = ["d", "omega_t", "omega_m", "cos_K", "theta_z", "alpha", "a", "phi"]
    exact = dict(zip(names, [833.333, 1e-6, 3.14e-4, 0.97, 0.02, 1.01, 12.0, 0.4], strict=True))
    start = exact | {"cos_K": 1.455, "theta_z": 0.32, "alpha": 1.414, "a": 100.0}
    d, omega_t, omega_m, phi = (exact[name] for name in ("d", "omega_t", "omega_m", "phi"))
    x = 1e5 + 3000 * np.arange(200.0)
    sine = np.sin(omega_m * x + phi)

    def theta(p: Floats) -> Floats:
        angle: Floats = (omega_t * (x + p[3] * np.sin(omega_m * x + phi)) - p[1]) / p[2]
        return angle

    y = 2 * d * exact["cos_K"] * np.sin(theta(np.array([0.97, 0.02, 1.01, 12.0])))
    data = vek.Scan(x, y)
    free = vek.fitting.FitWavelengthParamsFree()
    free.cos_K = free.theta_z = free.alpha = free.a = True

    def work() -> float:
        params = vek.fitting.FitWavelengthParams()
        for name, value in start.items():
            setattr(params, name, value)
        vek.fitting.fit_wavelength(data, params, free)
        return params.a

    def residuals(p: Floats) -> Floats:
        r: Floats = 2 * d * p[0] * np.sin(theta(p)) - y
        return r

    def jacobian(p: Floats) -> Floats:
        angle = theta(p)
        slope = 2 * d * p[0] * np.cos(angle) / p[2]
        columns = (2 * d * np.sin(angle), -slope, -slope * angle, slope * omega_t * sine)
        return np.column_stack(columns)

    first = np.array([start[name] for name in ("cos_K", "theta_z", "alpha", "a")])

    def peer() -> float:
        return float(least_squares(residuals, first, jacobian, method="lm").x[3])

    assert abs(work() - 12.0) < 1e-6
    assert abs(peer() - 12.0) < 1e-6
    return work, peer


WORK: dict[str, tuple[Callable[[], tuple[Work, Work]], str, float]] = {
    "akima build and one value": (akima_build, "SciPy", 0.10),
    "one value, built": (one_value, "SciPy", 0.06),
    "10,000 ascending values": (many_values, "SciPy", 0.4),
    "product, grids 0.5 nm apart": (product_apart, "SciPy", 0.15),
    "product on one grid": (product_one_grid, "SciPy", 0.15),
    "integral 380 to 780": (integral, "SciPy", 0.2),
    "ISO8980_3_tau_v": (luminous_transmittance, "SciPy", 0.05),
    "XYZ and L*a*b*": (xyz_and_lab, "SciPy", 0.06),
    "peak and full width": (peak_and_width, "SciPy", 0.05),
    "400 lines": (lambda: line_lamp(0.0), "SciPy", 0.2),
    "400 noisy lines": (lambda: line_lamp(0.01), "SciPy", 0.2),
    "33,000 peaks of noise": (peaks_of_noise, "SciPy", 0.2),
    "wavelength fit, 4 free": (wavelength_fit, "SciPy", 0.3),
    "100,000 ascending points": (ascending_points, "NumPy", 0.5),
    "100,000 random points": (random_points, "NumPy", 1.2),
    "CSV of 100,000 lines": (csv_lines, "pandas", 1.0),
    "table of 100,000 lines": (table_lines, "pandas", 10.0),
    "Planck's law, 10,000 values": (planck_array, "NumPy", 1.3),
    "Planck's law, one value": (planck_value, "an empty bound function", 3.0),
}


def import_time() -> float:
    """Seconds that importing the package adds to an empty start, best of 15 pairs."""

    def start(code: str) -> float:
        return timeit.timeit(
            lambda: subprocess.run([sys.executable, "-c", code], check=True), number=1
        )

    pairs = [(start("import vekanalysis"), start("pass")) for _ in range(15)]
    return min(ours for ours, _ in pairs) - min(empty for _, empty in pairs)


def main(names: list[str]) -> None:
    print(f"{'work':30}{'ours':>12}{'peer':>12}{'ratio':>8}{'aim':>7}")
    for name, (setup, peer_name, aim) in WORK.items():
        if names and not any(asked in name for asked in names):
            continue
        ours, peer = (best(work) for work in setup())
        print(
            f"{name:30}{ours * 1e6:9.2f} us{peer * 1e6:9.2f} us{ours / peer:8.3f}{aim:7}"
            f"  {peer_name}{'' if ours / peer <= aim else '  MISSED'}"
        )
    if not names or "import" in names:
        print(f"{'import, above an empty start':30}{import_time() * 1e3:9.2f} ms  (aim 10 ms)")


if __name__ == "__main__":
    main(sys.argv[1:])
