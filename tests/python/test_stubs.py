"""The checked-in stubs against the built module, and types in the examples."""

import re
import subprocess
import sys
from pathlib import Path

import pytest

import vekanalysis  # noqa: F401

pytest.importorskip("mypy")

ROOT = Path(__file__).resolve().parents[2]


# What the binding layer adds to every class, and its refusal of construction where a class has no
# constructor: stubs cannot say either.
BINDING_LAYER = re.compile(
    r"metaclass differs$|\.__init__ is inconsistent, stub does not have \*args parameter"
)


def run_mypy(*arguments: str) -> list[str]:
    """Run a mypy tool outside the sources, where it sees the installed package; its complaints."""
    done = subprocess.run(
        [sys.executable, "-m", *arguments], capture_output=True, text=True, cwd=ROOT / "tests"
    )
    return [] if done.returncode == 0 else (done.stdout + done.stderr).splitlines()


def test_the_stubs_match_the_module() -> None:
    complaints = run_mypy("mypy.stubtest", "vekanalysis._core", "--concise")
    assert [line for line in complaints if not BINDING_LAYER.search(line)] == []


def test_the_package_and_the_examples_are_typed() -> None:
    examples = [str(path) for path in sorted((ROOT / "examples").glob("*.py"))]
    assert examples
    assert run_mypy("mypy", "--strict", "-p", "vekanalysis") == []
    assert run_mypy("mypy", "--strict", *examples) == []


USER = """
import vekanalysis as vek
from vekanalysis.io import load_csv
from vekanalysis.colorimetry.data import cie_illuminant_a as light

lens: vek.Scan = load_csv("lens.csv") * light()
tau: float = vek.colorimetry.ISO8980_3_tau_v(lens)
frame = vek.interop.to_frame({"lens": lens})
spectra: list[vek.Spectrum] = vek.read("lens.csv", unit="%")
vek.Scan(lens.wavelengths(), lens.values(), vek.LINEAR)  # WRONG
vek.no_such_name  # WRONG
"""


def test_programs_of_users_are_typed(tmp_path: Path) -> None:
    submodules = sorted(
        name.replace("._core", "")
        for name in sys.modules
        if re.fullmatch(r"vekanalysis\._core\.[\w.]+", name)
    )
    assert "vekanalysis.colorimetry.data" in submodules
    program = tmp_path / "user.py"
    program.write_text("".join(f"import {name}\n" for name in submodules) + USER)
    wrong = [
        str(number)
        for number, line in enumerate(program.read_text().splitlines(), 1)
        if line.endswith("# WRONG")
    ]
    complaints = run_mypy("mypy", "--strict", str(program))
    assert [line.split(":")[1] for line in complaints if ": error:" in line] == wrong, complaints
