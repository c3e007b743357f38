"""Time the readers of measurement files against olefile with NumPy, in one run.

Prints, for each piece of work, both times, their ratio and the ratio aimed at. Times are
the best of several rounds; quote the ratios, not the times. CSV is in bench_core.py.

usage: .venv/bin/python benchmarks/bench_io.py
"""

from __future__ import annotations

import sys
import tempfile
import timeit
from collections.abc import Callable
from pathlib import Path

import numpy as np
from numpy.typing import NDArray

from vekanalysis import io

try:
    import olefile
except ImportError:
    sys.exit("olefile is needed as a peer: run tools/setup")

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "tools"))

from vekwriter import Contents, DataSet

Work = Callable[[], object]

POINTS = 4000


def best(work: Work) -> float:
    """Seconds of one call: the best of rounds of at least 20 ms each."""
    timer = timeit.Timer(work)
    number = max(1, int(0.02 / max(timer.timeit(1), 1e-7)))
    return min(timer.repeat(15, number)) / number


class Measurement:
    """A measurement file of so many data sets, in memory and on disk."""

    def __init__(self, folder: Path, sets: int, step: int = 1) -> None:
        wavelengths = 200.0 + 0.25 * np.arange(POINTS)[::step]
        self.sets = sets
        self.path = folder / f"{sets}{step}.vek"
        curves = [
            DataSet(f"Lens {i}", np.column_stack((wavelengths, np.sin(wavelengths + i))).tolist())
            for i in range(sets)
        ]
        contents = Contents(data_sets=curves)
        self.file = contents.file()
        self.path.write_bytes(self.file)
        self.points_at = contents.stream().index(np.array(curves[0].points[0]).tobytes())

    def load_elsewhere(self) -> dict[str, tuple[NDArray[np.float64], NDArray[np.float64]]]:
        """The data sets by name; where their points are need not be found out."""
        with olefile.OleFileIO(self.path) as container:
            stream = container.openstream("Contents").read()
        numbers = np.frombuffer(stream, "<f8", 2 * POINTS * self.sets, self.points_at)
        points = numbers.reshape(self.sets, POINTS, 2)
        return {
            f"Lens {i}": (points[i, :, 0].copy(), points[i, :, 1].copy()) for i in range(self.sets)
        }


def main() -> None:
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        small, descending = Measurement(folder, 16), Measurement(folder, 16, -1)
        large = Measurement(folder, 327)
        work: dict[str, tuple[Work, Work, float]] = {
            "1 MB from bytes": (
                lambda: io.load_vekfile_binary_data(small.file),
                small.load_elsewhere,
                0.3,
            ),
            "1 MB from bytes, descending": (
                lambda: io.load_vekfile_binary_data(descending.file),
                descending.load_elsewhere,
                0.3,
            ),
            "20 MB from a path": (
                lambda: io.load_vek_scan_data(large.path),
                large.load_elsewhere,
                0.4,
            ),
        }
        print(f"{'work':30}{'ours':>12}{'olefile':>12}{'ratio':>8}{'aim':>7}")
        for title, (ours, peer, aim) in work.items():
            times = best(ours), best(peer)
            ratio = times[0] / times[1]
            print(
                f"{title:30}{times[0] * 1e3:9.3f} ms{times[1] * 1e3:9.3f} ms{ratio:8.3f}{aim:7}"
                f"{'' if ratio <= aim else '  MISSED'}"
            )


if __name__ == "__main__":
    main()
