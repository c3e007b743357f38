#!/usr/bin/env python3
"""Try the installed package: that it is whole, computes, and that its command runs.

For wheels, on any system. Run it with the interpreter that has the wheel, outside the checkout.

usage: python tools/smoke_test.py
"""

from __future__ import annotations

import shutil
import subprocess
import sys
import sysconfig
from importlib import metadata, resources
from pathlib import Path

import vekanalysis as vek

ROOT = Path(__file__).resolve().parent.parent


def check(holds: bool, what: str) -> None:
    if not holds:
        sys.exit(f"smoke test: {what}")


def output_of(*command: str) -> str:
    """The standard output of a command, which must succeed."""
    done = subprocess.run(command, capture_output=True, text=True, encoding="utf-8")
    check(done.returncode == 0, f"{command} ended with {done.returncode}: {done.stderr}")
    return done.stdout


def check_package() -> None:
    place = Path(vek.__file__).resolve()
    check(not place.is_relative_to(ROOT), f"imported from the checkout: {place}")
    version = metadata.version("vekanalysis")
    check(vek.version() == version, f"module {vek.version()}, metadata {version}")
    files = resources.files("vekanalysis")
    for name in ("py.typed", "_core/__init__.pyi"):
        check(files.joinpath(name).is_file(), f"{name} is not installed")


def check_numbers() -> None:
    flat = vek.Scan([400.0, 450.0, 500.0], [2.0] * 3, interpolation=vek.LINEAR)
    check(flat(400.0, 500.0) == 200.0, f"integral of 2 over 100 nm is {flat(400.0, 500.0)}")
    check(flat.to_numpy().shape == (2, 3), f"array of 3 points has shape {flat.to_numpy().shape}")


def check_samples() -> None:
    for name in vek.samples.names():
        sample = vek.samples.get(name)
        read = len(vek.samples.read(name))
        check(read == sample.spectra, f"sample {name} holds {read} spectra, not {sample.spectra}")


def check_commands() -> None:
    program = shutil.which("vekanalysis", path=sysconfig.get_path("scripts"))
    check(program is not None, "no program vekanalysis beside the interpreter")
    arguments = ("report", str(vek.samples.path("two-lenses")))
    report = output_of(str(program), *arguments)
    check("ISO 8980-3" in report, f"no ISO 8980-3 in the report: {report}")
    same = output_of(sys.executable, "-m", "vekanalysis", *arguments)
    check(same == report, "python -m vekanalysis prints another report")


def main() -> None:
    check_package()
    check_numbers()
    check_samples()
    check_commands()
    print(f"smoke test: vekanalysis {vek.version()} works in {sys.prefix}")


if __name__ == "__main__":
    main()
