"""Luminous transmittance of every lens in many measurement files, with a pool of processes.

usage: read_many.py FILE.vek...
"""

import sys
from concurrent.futures import ProcessPoolExecutor

import vekanalysis as vek


def luminous_transmittances(path: str) -> list[tuple[str, str, float]]:
    """File, data set and tau_v of every data set: small results travel fast between processes."""
    scans = vek.io.load_vek_scan_data(path)
    return [(path, name, vek.colorimetry.ISO8980_3_tau_v(scan)) for name, scan in scans.items()]


if __name__ == "__main__":
    with ProcessPoolExecutor() as pool:
        for results in pool.map(luminous_transmittances, sys.argv[1:], chunksize=100):
            for path, name, tau_v in results:
                print(f"{path}: {name}: tau_v {tau_v:.4f}")
