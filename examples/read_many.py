"""Luminous transmittance of every lens in many files, with a pool of processes.

usage: read_many.py FILE...
"""

import sys
from concurrent.futures import ProcessPoolExecutor

import vekanalysis as vek


def luminous_transmittances(path: str) -> list[str]:
    """A line a spectrum: small results travel fast between processes."""
    try:
        lenses = [vek.quantities.measurand(lens, "transmittance") for lens in vek.read(path)]
    except (OSError, vek.Refusal) as error:
        return [str(error)]
    tau_v = vek.colorimetry.ISO8980_3_tau_v
    return [f"{lens.where}: tau_v {tau_v(lens.scan):.4f}" for lens in lenses]


if __name__ == "__main__":
    with ProcessPoolExecutor() as pool:
        for lines in pool.map(luminous_transmittances, sys.argv[1:], chunksize=100):
            print(*lines, sep="\n")
