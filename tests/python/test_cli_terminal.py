"""What the commands do for a person at a terminal: help, completion, colour."""

from __future__ import annotations

import io
import os
import re
import shlex
import shutil
import signal
import subprocess
import sys
import threading
from pathlib import Path

import pytest
from cli import GREY, ROOT, Runner

import vekanalysis.__main__ as entry
from vekanalysis.__main__ import main
from vekanalysis.commands import _terminal, completion
from vekanalysis.commands._errors import CommandError, Terminated
from vekanalysis.commands._parser import make_parser
from vekanalysis.errors import Refusal, Remedy

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
    # One command explains how text files are laid out.
    for option in ("--wavelength-unit", "--skip", "--sort"):
        assert (option in text) == (command == "info")
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


class Screen(io.StringIO):
    """A stream that is a terminal, or none."""

    def __init__(self, is_terminal: bool = True, encoding: str = "utf-8") -> None:
        super().__init__()
        self._is_terminal, self._encoding = is_terminal, encoding

    @property
    def encoding(self) -> str:
        return self._encoding

    def isatty(self) -> bool:
        return self._is_terminal


def test_a_terminal_shows_how_far_a_batch_is(monkeypatch: pytest.MonkeyPatch) -> None:
    clock = [100.0]
    monkeypatch.setattr(_terminal, "monotonic", lambda: clock[0])
    monkeypatch.setenv("TERM", "xterm")
    screen = Screen()
    monkeypatch.setattr(sys, "stderr", screen)
    with _terminal.Progress(4000, hidden=False) as progress:
        for seconds, done in ((0.0625, 1), (0.125, 10), (0.1875, 20), (60.0, 2000), (100.0, 4000)):
            clock[0] = 100.0 + seconds
            progress.show(done, 1)
    shown = screen.getvalue().split("\r")
    assert shown == [
        "",
        f"[{'-' * 24}] 10 of 4,000 files, 1 failed, 0:50 left\x1b[K",
        f"[{'#' * 12}{'-' * 12}] 2,000 of 4,000 files, 1 failed, 1:00 left\x1b[K",
        f"[{'#' * 24}] 4,000 of 4,000 files, 1 failed, 0:00 left\x1b[K",
        "\x1b[K",
    ]
    for hidden, stream in ((True, Screen()), (False, Screen(False))):
        monkeypatch.setattr(sys, "stderr", stream)
        with _terminal.Progress(10, hidden=hidden) as progress:
            clock[0] += 1.0
            progress.show(1, 0)
        assert stream.getvalue() == ""


@pytest.mark.parametrize(
    ("stream", "term", "no_color", "expected"),
    [
        (Screen(), "xterm", "", (True, True)),
        (Screen(), None, None, (True, True)),
        (Screen(), "xterm", "1", (True, False)),
        (Screen(), "dumb", None, (False, False)),
        (Screen(False), "xterm", None, (False, False)),
    ],
)
def test_what_is_a_terminal(
    monkeypatch: pytest.MonkeyPatch,
    stream: Screen,
    term: str | None,
    no_color: str | None,
    expected: tuple[bool, bool],
) -> None:
    for name, value in (("TERM", term), ("NO_COLOR", no_color)):
        monkeypatch.delenv(name, raising=False)
        if value is not None:
            monkeypatch.setenv(name, value)
    monkeypatch.setattr(sys, "stdout", stream)
    monkeypatch.setenv("COLUMNS", "123")
    assert (_terminal.is_terminal(stream), _terminal.in_colour()) == expected
    assert not _terminal.is_terminal(None)
    assert _terminal.width_for(70) == 70
    assert _terminal.width_for(None) == (123 if expected[0] else None)
    assert main(["report", GREY]) == 0
    (heading, *_, row) = [line for line in stream.getvalue().splitlines() if line]
    assert heading.startswith("\x1b[1m") == heading.endswith("\x1b[0m") == expected[1]
    assert "\x1b" not in row


@pytest.mark.parametrize("is_terminal", [True, False])
def test_no_character_does_what_it_should_not(
    monkeypatch: pytest.MonkeyPatch, is_terminal: bool
) -> None:
    text = "\N{MICRO SIGN}\t\x1b[0m\x9b\n"
    for encoding, shown in (("utf-8", "\N{MICRO SIGN}"), ("ascii", "u"), (None, "u")):
        stream = Screen(is_terminal, encoding)  # type: ignore[arg-type]
        monkeypatch.setattr(sys, "stdout", stream)
        _terminal.emit(text)
        first, *rest = stream.getvalue()
        assert first == shown
        assert "".join(rest) == ("\t?[0m?\n" if is_terminal else f"\t\x1b[0m{rest[5]}\n")
    escape = r"\u001b\u009b\ud83d\ude00" if is_terminal else "\x1b\x9b\N{GRINNING FACE}"
    stream = Screen(is_terminal)
    monkeypatch.setattr(sys, "stdout", stream)
    _terminal.emit_json(lambda ascii_only: "\x1b\x9b\N{GRINNING FACE}\n")
    assert stream.getvalue() == escape.replace(r"\ud83d\ude00", "\N{GRINNING FACE}") + "\n\n"
    for encoding, asked, expected in (
        *(("utf-8", False, "False"), ("utf-8", True, "True")),
        *(("ascii", False, "True"), ("latin-1", False, "True")),
    ):
        stream = Screen(is_terminal, encoding)
        monkeypatch.setattr(sys, "stdout", stream)
        _terminal.emit_json(lambda only: f"{only}{'' if only else '\u20ac'}", asked)
        assert stream.getvalue().strip("\n\u20ac") == expected


def test_an_end_has_its_status_and_its_reason(
    monkeypatch: pytest.MonkeyPatch, capfd: pytest.CaptureFixture[str]
) -> None:
    remedy = Remedy("pass {} there", (("data_sets", "A"),))
    ends: list[tuple[BaseException | None, int, str]] = [
        (None, 0, ""),
        (CommandError("no files"), 2, "no files"),
        (Refusal("it is\nno lens", remedy), 2, "it is?no lens; add --data-set A there"),
        (MemoryError(), 2, "not enough memory"),
        (OSError(5, "Input/output error"), 2, "standard output: Input/output error"),
        (OSError("odd"), 2, "standard output: odd"),
        (BrokenPipeError(), 141, ""),
        (KeyboardInterrupt(), 130, ""),
        (Terminated(), 143, ""),
    ]
    for end, status, told in ends:

        def run(end: BaseException | None = end) -> None:
            if end is not None:
                raise end

        monkeypatch.setattr(entry, "parse_arguments", lambda *_, run=run: run)
        monkeypatch.setattr(entry, "_abandon_stdout", lambda: None)
        found: list[int] = []
        # Signals are for the main thread; in others all else is the same.
        thread = threading.Thread(target=lambda found=found: found.append(main([])))
        thread.start()
        thread.join()
        assert (main([]), found) == (status, [status])
        line = f"vekanalysis: {told}\n" if told else ""
        assert capfd.readouterr() == ("", 2 * line)

    def fail(_: object, __: object) -> None:
        raise TypeError("a fault of the program")

    monkeypatch.setattr(entry, "parse_arguments", fail)
    with pytest.raises(TypeError, match=r"^a fault of the program$"):
        main([])
    monkeypatch.setattr(sys, "stdout", None)
    assert main([]) == 2
    assert capfd.readouterr().err == "vekanalysis: standard output is closed\n"


def test_the_handler_of_signals_is_put_back(monkeypatch: pytest.MonkeyPatch) -> None:
    before = signal.getsignal(signal.SIGTERM)

    def run() -> int:
        os.kill(os.getpid(), signal.SIGTERM)
        return 0

    monkeypatch.setattr(entry, "parse_arguments", lambda *_: run)
    assert (main([]), signal.getsignal(signal.SIGTERM)) == (143, before)


def test_the_scripts_of_completion() -> None:
    some = make_parser("p", ["json", "completion", "calibrate"])
    bash, zsh = ((ROOT / f"tests/data/commands/{name}.txt").read_text() for name in ("bash", "zsh"))
    assert completion._bash("p", "_p", some) == bash
    assert completion._zsh("a/p", "_p", make_parser("a/p", ["json", "completion"])) == zsh
    assert completion._zsh("p", "_p", make_parser("p", ["json"])).endswith("\ncompdef _p p\n")
    repeated = completion._zsh("p", "_p", make_parser("p", ["csv"]))
    assert re.search(r" '\*--data-set\[[^]]+\]:NAME: ' '--wide\[[^]]+\]' ", repeated)
