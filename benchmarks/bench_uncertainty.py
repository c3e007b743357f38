"""Time uncertainties against the aims for them, in one run.

Prints, for each piece of work, its time, that of what it is measured by, their ratio and the ratio
aimed at. Times are the best of several rounds; quote the ratios, not the times.

usage: .venv/bin/python benchmarks/bench_uncertainty.py [DRAWS]
"""

from __future__ import annotations

import sys
import time
from collections.abc import Callable

import numpy as np

import vekanalysis as vek
from vekanalysis import quantities
from vekanalysis.uncertainty import Budget, Component, propagate, simulate

# Integrals of one product, of the lens catalogue.
FOURTEEN = [
    *("ISO8980_3_tau_v", "ANSI_Z80_3_tau_v", "ISO12311_tau_sb"),
    *(f"ISO8980_3_tau_signal_led.{colour}" for colour in ("red", "yellow", "green", "blue")),
    *(
        f"ISO8980_3_tau_signal_incandescent.{colour}"
        for colour in ("red", "yellow", "green", "blue")
    ),
    *(f"ANSI_Z80_3_tau_signal.{colour}" for colour in ("red", "yellow", "green")),
]


def nine() -> Budget:
    return Budget(
        components=[
            Component(name="gain", kind="gain", standard=0.002),
            Component(name="zero", kind="offset", standard=0.0005),
            Component(name="noise", kind="noise", standard=0.0005, correlation="independent"),
            Component(name="wavelength", kind="wavelength", standard=0.2),
            Component(name="scale", kind="wavelength-scale", standard=0.0005, pivot=550),
            Component(name="jitter", kind="wavelength-jitter", standard=0.02),
            Component(name="slit", kind="bandwidth", fwhm=5, standard=0.2),
            Component(name="linearity", kind="non-linearity", standard=0.0005),
            Component(name="stray", kind="stray-light", standard=0.0002),
        ]
    )


def lens(start: float, points: int, phase: float = 0.0) -> vek.Scan:
    wavelengths = start + np.arange(float(points))
    return vek.Scan(wavelengths, 0.4 + 0.3 * np.sin(wavelengths / 60.0 + phase))


def best(work: Callable[[], object], rounds: int = 7) -> float:
    times = []
    for _ in range(rounds):
        start = time.perf_counter()
        work()
        times.append(time.perf_counter() - start)
    return min(times)


def tell(work: str, ours: float, peer: float, aim: float) -> None:
    print(f"{work:62} {1e3 * ours:9.2f} ms {1e3 * peer:9.2f} ms {ours / peer:7.2f} {aim:7.2f}")


def main() -> None:
    draws = int(sys.argv[1]) if len(sys.argv) > 1 else 1_000_000
    quantities.evaluate(lens(300, 481))  # the tables are built
    budgets = [nine() for _ in range(3)]
    grids = [lens(start, 501) for start in (278, 279, 280)]
    pairs = zip(grids, budgets, strict=True)
    first = min(best(lambda s=scan, b=budget: propagate(s, b), 1) for scan, budget in pairs)
    tell("nine components, whole catalogue, 501 points, first", first, 0.1, 1.0)
    spectra = iter([lens(280, 501, 0.1 * i) for i in range(7)])
    again = best(lambda: propagate(next(spectra), budgets[2]))
    tell("the next spectrum on its grid", again, 0.01, 1.0)

    scan = lens(300, 486)
    numbers = np.empty((10_000, 486))
    rng = np.random.default_rng(1)
    portion = best(lambda: rng.standard_normal(out=numbers), 5)
    peer = portion * draws / len(numbers)
    for name, count in (("gain, zero and noise", 3), ("and the wavelength", 4)):
        budget = Budget(components=nine().components[:count])
        ours = best(lambda b=budget: simulate(scan, b, FOURTEEN, draws=draws, seed=1), 1)
        tell(f"{draws:,} draws of 486 points, 14 quantities: {name}", ours, peer, 4.0)


if __name__ == "__main__":
    main()
