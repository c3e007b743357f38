"""Mean and spread of repeated measurements, on a common 1 nm grid, through NumPy.

usage: average_scans.py FILE FILE...
"""

import sys

import numpy as np

import vekanalysis as vek

try:
    spectra = [spectrum for path in sys.argv[1:] for spectrum in vek.read(path)]
except (OSError, vek.Refusal) as error:
    sys.exit(f"average_scans.py: {error}")
units = {(spectrum.kind, spectrum.unit) for spectrum in spectra}
if len(units) != 1:
    sys.exit(f"average_scans.py: one kind and unit is needed, not {len(units)}: {units or 'none'}")

scans = [spectrum.scan for spectrum in spectra]
start = max(scan.min_wavelength() for scan in scans)
stop = min(scan.max_wavelength() for scan in scans)
wavelengths = np.arange(np.ceil(start), np.floor(stop) + 1)
values = np.stack([scan(wavelengths) for scan in scans])

mean = vek.Scan(wavelengths, values.mean(axis=0))
spread = vek.Scan(wavelengths, values.std(axis=0))
widest = max(spread.items(), key=lambda point: point[1])
print(f"{len(scans)} scans, {start:g} to {stop:g} nm")
print(f"mean at 550 nm: {mean(550):.6f}, integral 380 to 780 nm: {mean(380, 780):.4f}")
print(f"largest spread: {widest[1]:.6f} at {widest[0]:g} nm")
