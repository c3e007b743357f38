"""The checked-in stubs against the built module, and types in the examples."""

import subprocess
import sys
from pathlib import Path

import pytest

pytest.importorskip("mypy")

ROOT = Path(__file__).resolve().parents[2]


def run_mypy(*arguments: str) -> str:
    done = subprocess.run(
        [sys.executable, "-m", *arguments], capture_output=True, text=True, cwd=ROOT / "tests"
    )
    return "" if done.returncode == 0 else done.stdout + done.stderr


@pytest.mark.slow
def test_the_stubs_match_the_module() -> None:
    allowed = ROOT / "tests/python/stubtest_allowlist.txt"
    assert not run_mypy("mypy.stubtest", "vekanalysis", "--allowlist", str(allowed))


@pytest.mark.slow
def test_the_package_and_the_examples_are_typed() -> None:
    examples = [str(path) for path in sorted((ROOT / "examples").glob("*.py"))]
    assert examples
    assert not run_mypy("mypy", "--strict", "-p", "vekanalysis")
    assert not run_mypy("mypy", "--strict", *examples)
