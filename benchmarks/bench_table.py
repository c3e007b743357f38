"""Time a table of the figures of 2,000 files against reading them and writing its rows.

Prints the processor time of `vekanalysis report --csv` in one process, its start included, that of
`io.load_csv` on all files and `csv.writer` on the finished rows, and their ratio; and the same for
the time that passes. Then that of the table with `--uncertainty`, against the table without. Each
is the best of some rounds, in which they take turns.

usage: .venv/bin/python benchmarks/bench_table.py [FILES]
"""

from __future__ import annotations

import csv
import os
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable
from pathlib import Path

import numpy as np

from vekanalysis import io

try:
    from resource import RUSAGE_CHILDREN, RUSAGE_SELF, getrusage
except ImportError:
    sys.exit("processor times of other processes are had on POSIX systems only")

ROUNDS = 7
BUDGET = Path(__file__).parents[1] / "examples/budget.toml"


def make_files(folder: Path, count: int) -> list[str]:
    rng = np.random.default_rng(0)
    wavelengths = np.arange(300, 801)
    for number in range(count):
        edge, width, top = rng.uniform((320, 2, 0.1), (500, 20, 0.95))
        values = top / (1 + np.exp((edge - wavelengths) / width)) + rng.normal(0, 0.001, 501)
        lines = (f"{wl},{value:.6f}\n" for wl, value in zip(wavelengths, values, strict=True))
        (folder / f"{number:05}.csv").write_text("".join(lines))
    return sorted(map(str, folder.glob("*.csv")))


def timed(work: Callable[[], object], who: int) -> tuple[float, float]:
    """Processor time and passed time."""
    before, start = getrusage(who), time.perf_counter()
    work()
    after, end = getrusage(who), time.perf_counter()
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime, end - start


def best(times: list[tuple[float, float]]) -> tuple[float, float]:
    return min(used for used, _ in times), min(passed for _, passed in times)


def number(cell: str) -> str | float:
    try:
        return float(cell)
    except ValueError:
        return cell


def main() -> None:
    count = int(sys.argv[1]) if len(sys.argv) > 1 else 2_000
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        (folder / "lenses").mkdir()
        files = make_files(folder / "lenses", count)
        table = str(folder / "table.csv")
        report = [sys.executable, "-m", "vekanalysis", "report", "--jobs", "1", "--csv", table]
        # As installed: with the modules compiled.
        environment = os.environ | {"PYTHONPYCACHEPREFIX": str(folder / "compiled")}
        environment.pop("PYTHONDONTWRITEBYTECODE", None)

        def run(*options: str) -> None:
            command = [*report, *options, str(folder / "lenses")]
            subprocess.run(command, check=True, capture_output=True, env=environment)

        def run_with_uncertainty() -> None:
            run("--uncertainty", str(BUDGET))

        run_with_uncertainty()
        run()
        with open(table, newline="") as file:
            rows = [[number(cell) for cell in row] for row in csv.reader(file)]

        def floor() -> None:
            for path in files:
                io.load_csv(path)
            with open(folder / "floor.csv", "w", newline="") as out:
                csv.writer(out).writerows(rows)

        rounds: list[list[tuple[float, float]]] = [[], [], []]
        for _ in range(ROUNDS):
            rounds[0].append(timed(run_with_uncertainty, RUSAGE_CHILDREN))
            rounds[1].append(timed(run, RUSAGE_CHILDREN))
            rounds[2].append(timed(floor, RUSAGE_SELF))
        uncertain, ours, least = map(best, rounds)
    for kind, times, peers, aim in (
        ("the table", ours, least, 2.5),
        ("--uncertainty", uncertain, ours, 3.0),
    ):
        for what, a, b in zip(("processor time", "time"), times, peers, strict=True):
            print(
                f"{count:,} files, {kind:14} {what:15} {a:6.3f} s {b:6.3f} s {a / b:6.2f} {aim:4}"
            )


if __name__ == "__main__":
    main()
