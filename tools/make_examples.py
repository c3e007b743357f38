#!/usr/bin/env python3
"""Write the measurement files in examples/ from the CSV spectra beside them.

Always writes the same bytes. usage: tools/make_examples.py
"""

from __future__ import annotations

import csv
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
EXAMPLES = ROOT / "examples"
sys.path.insert(0, str(ROOT / "tests" / "python"))

import vekwriter  # noqa: E402


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


def main() -> None:
    (EXAMPLES / "two-lenses.vek").write_bytes(two_lenses())


if __name__ == "__main__":
    main()
