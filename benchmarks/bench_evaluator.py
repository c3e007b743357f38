"""Time the quantities of arrays of spectra against NumPy and one by one, in one run.

The peer of the integrals is `T @ P`, the spectra times the weights, which gives the same numbers on
an even grid (and knows nothing of kinks, NaN or coverage); that of memory is a sum over all values.
One by one is a loop that makes a scan of each row and calls the functions; with "ready" the scans
are there already. Times are those of the processor, the best of several rounds, one thread. NumPy's
product depends much on the BLAS that it was built with, so that is printed, too.

usage: OPENBLAS_NUM_THREADS=1 .venv/bin/python benchmarks/bench_evaluator.py
"""

from __future__ import annotations

import time
import timeit
from collections.abc import Callable

import numpy as np
from numpy.typing import NDArray

import vekanalysis as vek
from vekanalysis import lighting, quantities
from vekanalysis.quantities import LENS, Evaluator

Floats = NDArray[np.float64]

COUNT = 10_000
GRID = np.arange(315.0, 801.0)
VISIBLE = np.arange(380.0, 781.0)


def lenses(grid: Floats, count: int) -> Floats:
    """Lenses with an absorption edge and the noise of an instrument."""
    rng = np.random.default_rng(0)
    edge, width = rng.uniform(320, 520, (count, 1)), rng.uniform(2, 40, (count, 1))
    clear = rng.uniform(0.1, 1, (count, 1)) / (1 + np.exp((edge - grid) / width))
    return clear + rng.normal(0, 1e-4, clear.shape)


def lamps(count: int) -> Floats:
    """White LEDs of 401 points."""
    shares = np.random.default_rng(0).uniform(0.5, 1.5, (count, 1))
    blue, phosphor = (
        np.exp(-0.5 * ((VISIBLE - mean) / sigma) ** 2) for mean, sigma in ((450, 10), (580, 55))
    )
    return shares * blue + phosphor


def best(work: Callable[[], object]) -> float:
    """Seconds of one call."""
    timer = timeit.Timer(work, timer=time.process_time)
    number = max(1, int(0.02 / max(timer.timeit(1), 1e-6)))
    return min(timer.repeat(9, number)) / number


def row(name: str, ours: float, peer: float, count: int = 1) -> None:
    ours, peer = ours / count, peer / count
    print(f"{name:<58}{ours * 1e6:9.2f} us {peer * 1e6:9.2f} us {ours / peer:8.3f}")


def integrals() -> list[quantities.Quantity]:
    """The first 14 that are integrals of one product, and covered."""
    evaluator = Evaluator(GRID, LENS)
    pairs = zip(LENS, evaluator.coverage, strict=True)
    found = [q for q, said in pairs if "_tau_" in q.key and q.is_integral and not said.problem]
    return found[:14]


def of_lenses() -> None:
    records, spectra = integrals(), lenses(GRID, COUNT)
    evaluator, whole = Evaluator(GRID, records), Evaluator(GRID, LENS)
    out = np.empty((COUNT, len(records)))
    weights = np.ascontiguousarray(evaluator.sensitivities(spectra[0]).T)
    ours = best(lambda: evaluator(spectra, out))
    row("14 integrals, against T @ P", ours, best(lambda: np.matmul(spectra, weights)), COUNT)
    row("14 integrals, against reading the values", ours, best(spectra.sum), COUNT)
    row("the whole catalogue, against the 14", best(lambda: whole(spectra)), ours, COUNT)
    row("preparing the whole catalogue, against 2 ms", best(lambda: Evaluator(GRID, LENS)), 2e-3)

    uneven = np.cumsum(np.r_[310.0, np.random.default_rng(1).uniform(0.6, 1.4, 485)])
    some = lenses(uneven, 300)
    general = Evaluator(uneven, records)

    def one_by_one() -> None:
        for spectrum in some:
            quantities.evaluate(vek.Scan(uneven, spectrum), records, clear_lens=False)

    row("an uneven grid, against one by one", best(lambda: general(some)), best(one_by_one), 300)


def of_lamps() -> None:
    spectra = lamps(COUNT)
    some = spectra[:500]
    scans = [vek.Scan(VISIBLE, spectrum) for spectrum in some]
    for key, function in (
        ("correlated_colour_temperature.cct", lighting.correlated_colour_temperature),
        ("colour_rendering.Ra", lighting.colour_rendering),
    ):
        evaluator = Evaluator(VISIBLE, [key])
        ours = best(lambda e=evaluator: e(spectra)) / COUNT
        made = best(lambda f=function: [f(vek.Scan(VISIBLE, each), 1) for each in some])
        ready = best(lambda f=function: [f(scan, 1) for scan in scans])
        row(f"{key}, against one by one", ours, made / len(some))
        row(f"{key}, scans ready", ours, ready / len(some))


if __name__ == "__main__":
    blas = np.show_config(mode="dicts")["Build Dependencies"]["blas"]
    print(f"BLAS of NumPy: {blas.get('name')} {blas.get('version')}")
    print(f"{'work':<58}{'ours':>12} {'peer':>12} {'ratio':>8}")
    of_lenses()
    of_lamps()
