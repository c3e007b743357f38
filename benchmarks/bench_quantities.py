"""Time the quantities of one spectrum against its functions, called once for each field.

Prints the time of `quantities.evaluate(scan)` of the whole catalogue of lenses, that of a call of
the function of each quantity, their ratio and the ratio aimed at; each is the best of some rounds.

usage: .venv/bin/python benchmarks/bench_quantities.py
"""

from __future__ import annotations

import time
from collections.abc import Callable
from operator import attrgetter

import numpy as np

import vekanalysis as vek
from vekanalysis import chromaticity, colorimetry, quantities

ROUNDS = 15
data = colorimetry.data
OBSERVER = vek.Observer(
    data.cie_1931_standard_observer_x(),
    data.cie_1931_standard_observer_y(),
    data.cie_1931_standard_observer_z(),
)


def best(work: Callable[[], object]) -> float:
    times = []
    for _ in range(ROUNDS):
        start = time.perf_counter()
        for _ in range(20):
            work()
        times.append((time.perf_counter() - start) / 20)
    return min(times)


def one_by_one(scan: vek.Scan) -> dict[str, float | None]:
    """Each quantity by a call of its function, of which one field is taken."""
    white = data.cie_illuminant_d65()
    found = {}
    for record in quantities.LENS:
        name, _, field = record.key.partition(".")
        home = colorimetry if hasattr(colorimetry, name) else chromaticity
        if name == "CIE_tristimulus_values":
            result = colorimetry.CIE_tristimulus_values(scan * white, OBSERVER)
        elif name == "CIELAB_tristimulus_values":
            result = colorimetry.CIELAB_tristimulus_values(scan * white, white, OBSERVER)
        else:
            result = getattr(home, name)(scan)
        found[record.key] = attrgetter(field)(result) if field else result
    return found


def main() -> None:
    wavelengths = np.arange(280.0, 781.0)
    scan = vek.Scan(wavelengths, 0.4 + 0.3 * np.sin(wavelengths / 60.0))
    expected = {key: value.value for key, value in quantities.evaluate(scan).items()}
    assert one_by_one(scan) == expected
    print(f"{'the lens catalogue, 501 points':40} {'ours':>9} {'peer':>9} {'ratio':>6} {'aim':>5}")
    peer = best(lambda: one_by_one(scan))
    for what, clear_lens, aim in (
        ("quantities.evaluate", True, 0.4),
        ("without clear lens", False, 0.4),
    ):
        ours = best(lambda c=clear_lens: quantities.evaluate(scan, clear_lens=c))
        print(f"{what:40} {1e6 * ours:6.0f} us {1e6 * peer:6.0f} us {ours / peer:6.2f} {aim:5}")


if __name__ == "__main__":
    main()
