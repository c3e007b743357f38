"""What the commands do for a person at a terminal: help, completion, colour."""

from __future__ import annotations

import os
import re
import shlex
import shutil
import subprocess
import sys
from pathlib import Path

import pytest
from cli import GREY, ROOT, Runner

pty = pytest.importorskip("pty", reason="terminals of POSIX systems")

COMMANDS = ("report", "light", "peaks", "stitch", "calibrate", "references", "info", "json", "csv")
COMMANDS += ("certificate", "verify", "completion")
BASH = shutil.which("bash")


@pytest.mark.parametrize("command", ["", *COMMANDS])
def test_help_fits_a_screen_and_its_examples_work(
    run: Runner, tmp_path: Path, monkeypatch: pytest.MonkeyPatch, command: str
) -> None:
    monkeypatch.setenv("COLUMNS", "80")
    with pytest.raises(SystemExit, match="0"):
        run(*command.split(), "--help")
    text = run.output()
    assert len(text.splitlines()) <= 24
    assert max(map(len, text.splitlines())) <= 80
    whole_lines = text.replace("\\\n", "").splitlines()
    examples = [line for line in whole_lines if line.startswith("  vekanalysis ")]
    assert examples or command == "completion"
    (tmp_path / "examples").symlink_to(ROOT / "examples")
    monkeypatch.chdir(tmp_path)
    for example in examples:
        _, *words = shlex.split(example.partition(" >")[0])
        if "--help" not in words:
            assert run(*words).status == 0, example


@pytest.mark.skipif(BASH is None, reason="needs bash")
@pytest.mark.parametrize(
    ("typed", "offered"),
    [
        (["re"], ["references", "report"]),
        (["report", "--pl"], ["--plot"]),
        (["report", "--reference", "cie_i"], ["a", "c", "d65"]),
        (["references", "cie_i"], ["a", "c", "d65"]),
        (["report", "--jobs", ""], []),
        (["light", "--kind", "r"], ["radiance", "reflectance", "responsivity"]),
        (["info", "--decimal", ""], [",", "."]),
        (["completion", "z"], ["zsh"]),
    ],
)
def test_bash_completes_what_is_typed(run: Runner, typed: list[str], offered: list[str]) -> None:
    script = run("completion", "bash").out + 'COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))\n'
    script += "compopt() { :; }; _vekanalysis; printf '%s\\n' \"${COMPREPLY[@]}\""
    command = [str(BASH), "-euc", script, "bash", "vekanalysis", *typed]
    done = subprocess.run(command, capture_output=True, text=True, check=True)
    assert sorted(done.stdout.replace("cie_illuminant_", "").split()) == offered


def test_zsh_gets_each_option_with_its_meaning(run: Runner) -> None:
    script = run("completion", "zsh").out
    assert "'--white[of L*a*b*\\: a, c, d65, e or a file (default\\: d65)]:WHITE:_files'" in script
    zsh = shutil.which("zsh")
    if zsh is not None:
        subprocess.run([zsh, "-n"], input=script, text=True, check=True)


@pytest.mark.parametrize(("variable", "coloured"), [("NO_COLOR=", True), ("NO_COLOR=1", False)])
@pytest.mark.parametrize("arguments", [["report", GREY], ["report", "--help"]])
def test_colour_is_for_terminals_without_objection(
    variable: str, coloured: bool, arguments: list[str]
) -> None:
    environment = {k: v for k, v in os.environ.items() if k not in ("FORCE_COLOR", "PYTHON_COLORS")}
    environment |= {"TERM": "xterm", **dict([variable.split("=")])}
    command = [sys.executable, "-m", "vekanalysis", *arguments]
    try:
        ours, theirs = pty.openpty()
    except OSError as error:
        pytest.skip(f"no pseudo-terminal: {error}")
    with subprocess.Popen(command, stdout=theirs, env=environment):
        os.close(theirs)
        shown = b""
        try:
            while part := os.read(ours, 4096):
                shown += part
        except OSError:  # Linux says so that the other side is closed.
            pass
    os.close(ours)
    assert (b"\x1b[1m" in shown or b"\x1b[1;" in shown) == coloured
    assert re.search(rb"usage: |Lens report", re.sub(rb"\x1b\[[0-9;]*m", b"", shown))
