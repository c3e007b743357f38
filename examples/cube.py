"""Luminous transmittance of an image of 200 x 200 pixels, on a Dask cluster of two processes.

usage: cube.py [ROWS]
"""

import sys

import numpy as np
import xarray as xr
from distributed import Client

import vekanalysis as vek


def measured(rows: int) -> xr.DataArray:
    """Stands for a file that Dask reads block by block: 301 wavelengths a pixel."""
    labels = {"row": np.arange(rows), "wavelength": np.arange(450.0, 751.0)}
    clear = xr.DataArray(np.ones((200, 301), np.float32), dims=("column", "wavelength"))
    grey = xr.DataArray(np.linspace(0.1, 0.9, rows, dtype=np.float32), dims="row")
    return (grey.chunk(row=50) * clear).assign_coords(labels)


if __name__ == "__main__":
    rows = int(sys.argv[1]) if len(sys.argv) > 1 else 200
    with Client(n_workers=2, threads_per_worker=1, dashboard_address=None):  # type: ignore[no-untyped-call]
        found = vek.interop.quantities_of(measured(rows), ["ISO12311_tau_sb", "ISO8980_3_tau_v"])
        figures = found.compute()
    tau_v = figures.sel(quantity="ISO8980_3_tau_v")
    print(dict(tau_v.sizes), f"tau_v {float(tau_v.min()):.3f} to {float(tau_v.max()):.3f}")
