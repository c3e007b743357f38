#!/usr/bin/env python3
"""Seconds for 100 certificates with their records, and for the verification of one.

Whole commands, with the start of the interpreter, of the grey glass with budget and limits.
"""

from __future__ import annotations

import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path

EXAMPLES = Path(__file__).resolve().parent.parent / "examples"
OPTIONS = ["--settings", EXAMPLES / "lab.toml", "--uncertainty", EXAMPLES / "budget.toml"]
OPTIONS += ["--limits", EXAMPLES / "limits-categories.toml"]


def seconds(*arguments: object) -> float:
    """How long a command takes that must succeed."""
    command = [sys.executable, "-P", "-m", "vekanalysis", *map(str, arguments)]
    start = time.perf_counter()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    return time.perf_counter() - start


def main() -> None:
    with tempfile.TemporaryDirectory() as folder:
        scans, out = Path(folder, "scans"), Path(folder, "out")
        scans.mkdir()
        out.mkdir()
        for count in range(100):
            shutil.copy(EXAMPLES / "grey-glass-4mm.csv", scans / f"{count}.csv")
        many = seconds("certificate", scans, *OPTIONS, "--out", out, "--record", out)
        print(f"100 certificates and records   {many:6.2f} s")
        print(f"verification of one            {seconds('verify', out / '7.json'):6.2f} s")


if __name__ == "__main__":
    main()
