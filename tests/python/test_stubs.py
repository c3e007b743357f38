"""The checked-in stubs against the built module, and types in the examples."""

import re
import subprocess
import sys
from pathlib import Path

import pytest

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
