"""Setting up a checkout, with stand-ins for Python and the compilers."""

import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
from collections.abc import Iterator
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
pytestmark = pytest.mark.skipif(sys.platform != "linux", reason="runs shell scripts")

# Stands for the machine's Python and for that of .venv. It notes what it is asked for; with KILL
# the whole set-up dies in that step, half done. Programs run on the Python of these tests.
PYTHON = ROOT / "tests/data/setup/python.sh"
INSTALLS = r"-m pip install --no-build-isolation"


class Checkout:
    def __init__(self, root: Path) -> None:
        self.root = root
        self.calls = root / "calls"
        for name in ("run", "pyproject.toml", "tools/setup", "tools/common.sh"):
            (root / name).parent.mkdir(exist_ok=True, parents=True)
            shutil.copy(ROOT / name, root / name)
        for name in ("src/a.cpp", "CMakeLists.txt", "README.md", "LICENSE", "tools/debian_python"):
            (root / name).parent.mkdir(exist_ok=True)
            (root / name).write_text("first")
        (root / "cmake").mkdir()
        tools = root / "machine"
        tools.mkdir()
        shutil.copy(PYTHON, tools / "stand-in")
        for name in ("cmake", "c++", "ninja"):
            (tools / name).write_text("#!/bin/true\n")
        for tool in tools.iterdir():
            tool.chmod(0o755)
        path = f"{tools}:/usr/bin:/bin"
        self.environment = {"PATH": path, "PYTHON": str(tools / "stand-in"), "REAL": sys.executable}
        self.environment["CALLS"] = str(self.calls)

    def call(
        self, *command: str, variables: dict[str, str] | None = None, user: int | None = None
    ) -> tuple[str, str]:
        """Status with what was said, and the steps of Python that were run."""
        self.calls.write_text("")
        done = subprocess.run(
            command or ("tools/setup",),
            cwd=self.root,
            env=self.environment | (variables or {}),
            capture_output=True,
            text=True,
            timeout=60,
            user=user,
        )
        return f"{done.returncode} {done.stdout}{done.stderr}", self.calls.read_text()

    def fill(self) -> None:
        said, steps = self.call()
        assert said.startswith("0 "), said
        assert len(re.findall(INSTALLS, steps)) == 1


@pytest.fixture
def checkout() -> Iterator[Checkout]:
    # Other users must see it, which the folders of tmp_path do not allow.
    with tempfile.TemporaryDirectory() as folder:
        Path(folder).chmod(0o755)
        yield Checkout(Path(folder))


@pytest.mark.parametrize("variable", ["PYTHONHOME", "PYTHONPATH", "PYTHONPLATLIBDIR"])
def test_settings_for_another_python_do_not_matter(checkout: Checkout, variable: str) -> None:
    other = checkout.root / "other"
    other.mkdir()
    (other / "re.py").write_text("raise SystemExit('that of another Python')")
    for _ in range(2):
        said, _ = checkout.call("./run", "report", "a b", variables={variable: str(other)})
        assert re.match(r"0 \./run report a b\n", said), said


@pytest.mark.parametrize("year", [2000, 2100])
def test_a_change_counts_once_whatever_its_date(checkout: Checkout, year: int) -> None:
    checkout.fill()
    source = checkout.root / "src/a.cpp"
    before = (checkout.root / "build/sources").stat().st_mtime
    source.write_text("second")
    seconds = (year - 1970) * 365.25 * 86400
    os.utime(source, (seconds, seconds))
    checkout.fill()
    assert checkout.call() == ("0 ", "")
    # A build goes by time: the source must be newer than what was made of it, and not of tomorrow.
    assert before < source.stat().st_mtime <= (checkout.root / "build/sources").stat().st_mtime
    source.unlink()
    checkout.fill()


def test_a_checkout_that_cannot_be_written_runs_or_says_so(checkout: Checkout) -> None:
    user = 65534 if os.geteuid() == 0 else None
    checkout.fill()
    folders = [checkout.root, *(path for path in checkout.root.iterdir() if path.is_dir())]
    checkout.calls.chmod(0o666)
    for folder in folders:
        folder.chmod(0o555)
    assert checkout.call(user=user) == ("0 ", "")
    (checkout.root / "src/a.cpp").write_text("second")
    said, steps = checkout.call("./run", user=user)
    assert re.fullmatch(rf"1 setup: cannot write to {checkout.root}, and [^\n]+\n", said)
    assert steps == ""
    for folder in folders:
        folder.chmod(0o755)


@pytest.mark.parametrize("step", ["environment", "packages", "package"])
def test_what_a_killed_call_left_is_made_again(checkout: Checkout, step: str) -> None:
    said, _ = checkout.call(variables={"KILL": step})
    assert said.startswith(f"{-signal.SIGKILL} ")
    checkout.fill()
    assert (checkout.root / ".venv/lib/python3.14/site-packages/numpy").read_text() == "whole\n"
    assert checkout.call() == ("0 ", "")


def test_an_environment_killed_while_it_grew_is_made_again(checkout: Checkout) -> None:
    checkout.fill()
    said, _ = checkout.call("tools/setup", "plot", variables={"KILL": "packages"})
    assert said.startswith(f"{-signal.SIGKILL} ")
    _, steps = checkout.call()
    assert "-m venv" in steps
    assert (checkout.root / ".venv/lib/python3.14/site-packages/numpy").read_text() == "whole\n"
    assert checkout.call("tools/setup", "plot") == ("0 ", "")


def test_packages_that_cannot_be_had_leave_the_environment_as_it_was(checkout: Checkout) -> None:
    checkout.fill()
    said, _ = checkout.call("tools/setup", "plot", variables={"FAIL": "packages"})
    assert said.startswith("1 ")
    assert "could not add the packages" in said
    assert checkout.call() == ("0 ", "")


def test_a_build_that_failed_is_tried_again(checkout: Checkout) -> None:
    said, _ = checkout.call(variables={"FAIL": "package"})
    assert said.startswith("1 ")
    shutil.rmtree(checkout.root / ".venv/lib/python3.14/site-packages/vekanalysis-1")
    checkout.fill()


def test_the_environment_of_another_is_left_alone(checkout: Checkout) -> None:
    (checkout.root / ".venv").mkdir()
    said, steps = checkout.call()
    assert re.fullmatch(r"1 setup: there is a \.venv that this script did not make;[^\n]+\n", said)
    assert "-m" not in steps
