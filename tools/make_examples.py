#!/usr/bin/env python3
"""Write the files in examples/ that are made up: the measurement file (from the CSV spectra beside
it), the lamps, the calibration and the repeats.

Always writes the same bytes. usage: tools/make_examples.py
"""

from __future__ import annotations

import csv
import json
import math
import random
from collections.abc import Iterable
from pathlib import Path

import vekwriter

ROOT = Path(__file__).resolve().parent.parent
EXAMPLES = ROOT / "examples"


def points(name: str) -> list[tuple[float, float]]:
    with (EXAMPLES / name).open(newline="") as file:
        return [(float(wavelength), float(value)) for wavelength, value in csv.reader(file)]


def two_lenses() -> bytes:
    """Both lenses, the second scanned downwards, as a monochromator may do it."""
    grey, bronze = points("grey-glass-4mm.csv"), points("bronze-glass-4mm.csv")
    return vekwriter.Contents(
        data_sets=[
            vekwriter.DataSet("Grey glass 4 mm", grey),
            vekwriter.DataSet("Bronze glass 4 mm", bronze[::-1]),
        ],
        annotations=[(1, "luminous range", [["380 nm", "780 nm"]])],
        scan_summary="320 nm to 800 nm in steps of 10 nm. Computed from optical constants.",
        apply_data_calibration=True,
        data_calibration_file="transmittance-2024-02.cal",
        certificate_file="certificate-2024-02.pdf",
        system_file="bench-1.ini",
        pre_scan_addon_description="shutter: dark current",
        post_scan_addon_description="shutter: close",
        pre_scan_addon_filename="shutter-dark.cfg",
        post_scan_addon_filename="shutter-close.cfg",
        apply_reference=True,
        reference_type="100 % line",
        reference_file="air-2024-03-01.vek",
        reference_parameter="1.0",
    ).file()


def write_pairs(name: str, pairs: Iterable[tuple[float, float]]) -> None:
    text = "".join(f"{first:.10g},{second:.6g}\n" for first, second in pairs)
    (EXAMPLES / name).write_text(text)


def lamp(start: int, stop: int, gain: float, noise: random.Random) -> Iterable[tuple[float, float]]:
    """A black body of 2856 K, 1 at 560 nm, with 0.4 % of noise."""
    for wl in range(start, stop + 1, 10):
        planck = [(560 / x) ** 5 / math.expm1(1.438777e7 / (x * 2856.0)) for x in (wl, 560)]
        yield wl, gain * planck[0] / planck[1] * (1 + 0.004 * noise.gauss(0.0, 1.0))


# Lines of mercury and argon in air, nm.
LINES = [253.652, 296.728, 313.155, 334.148, 365.015, 404.656, 435.833, 546.074, 576.960, 579.066]
LINES += [696.543, 763.511, 811.531, 912.297]


def line_lamp() -> Iterable[tuple[float, float]]:
    """Some of the lines through a slit of 1.2 nm (Gaussian), over a faint background."""
    heights = {
        365.015: 0.55,
        404.656: 0.42,
        435.833: 0.88,
        546.074: 1.0,
        576.960: 0.31,
        579.066: 0.33,
    }
    width = 1.2 / (2 * math.sqrt(2 * math.log(2)))
    for i in range(1001):
        wl = 350 + 0.25 * i
        yield (
            wl,
            0.004 + sum(h * math.exp(-(((wl - at) / width) ** 2) / 2) for at, h in heights.items()),
        )


def grating(p: dict[str, float], step: float) -> float:
    turned = p["omega_t"] * (step + p["a"] * math.sin(p["omega_m"] * step + p["phi"]))
    return 2 * p["d"] * p["cos_K"] * math.sin((turned - p["theta_z"]) / p["alpha"])


def write_calibration() -> None:
    """Where a drive that differs from its drawings finds the lines, to a quarter of a step."""
    start = {
        "d": 1e6 / 1200,
        "omega_t": 2 * math.pi / 720_000,
        "omega_m": 2 * math.pi / 2_000,
        "cos_K": 0.98,
        "theta_z": 0.0,
        "alpha": 1.0,
        "a": 0.0,
        "phi": 0.0,
    }
    real = start | {"cos_K": 0.9832, "theta_z": 0.0041, "alpha": 1.0007, "a": 6.0, "phi": 0.9}
    steps = []
    for line in LINES:
        low, high = 0.0, 150_000.0
        while high - low > 1e-6:
            middle = (low + high) / 2
            low, high = (middle, high) if grating(real, middle) < line else (low, middle)
        steps.append(round(4 * low) / 4)
    write_pairs("calibration/steps.csv", zip(steps, LINES, strict=True))
    text = json.dumps(start, indent=2) + "\n"
    (EXAMPLES / "calibration/start.json").write_text(text)


def write_repeats(noise: random.Random) -> None:
    """Ten scans of the grey glass in per cent, each placed anew, with noise at each point."""
    grey = points("grey-glass-4mm.csv")
    scans = [
        [100.0 * (tau * placed + noise.gauss(0.0, 0.0005)) for _, tau in grey]
        for placed in (noise.gauss(1.0, 0.0008) for _ in range(10))
    ]
    titles = [f"Scan {count} (%T)" for count in range(1, 11)]
    with (EXAMPLES / "uncertainty/repeats.csv").open("w", newline="") as file:
        writer = csv.writer(file, lineterminator="\n")
        writer.writerow(["Wavelength (nm)", *titles])
        for (wavelength, _), *values in zip(grey, *scans, strict=True):
            writer.writerow([f"{wavelength:g}", *(f"{value:.3f}" for value in values)])


def main() -> None:
    (EXAMPLES / "two-lenses.vek").write_bytes(two_lenses())
    noise = random.Random(7)
    write_pairs("lamp-visible.csv", lamp(400, 1000, 1.0, noise))
    write_pairs("lamp-infrared.csv", lamp(900, 1600, 0.31, noise))
    write_pairs("line-lamp.csv", line_lamp())
    write_calibration()
    write_repeats(random.Random(11))


if __name__ == "__main__":
    main()
