"""Text and JSON on standard output, notes and progress on standard error."""

import os
import sys
from collections.abc import Callable
from time import monotonic
from typing import Protocol, Self, TextIO

from ._errors import CommandError

# Seconds between two looks at the progress, and the width of its bar.
_BETWEEN_LOOKS = 0.1
_BAR = 24


class _Report(Protocol):
    def lines(self, encoding: str) -> list[str]: ...

    def json(self, *, ascii_only: bool) -> str: ...


class _Drawing(Protocol):
    def draw(self, path: str) -> None: ...


def is_terminal(stream: TextIO | None) -> bool:
    """Whether ``stream`` is a terminal that knows more than lines of text."""
    return stream is not None and stream.isatty() and os.environ.get("TERM") != "dumb"


def in_colour() -> bool:
    """Whether standard output is a terminal whose user has nothing against colour."""
    return is_terminal(sys.stdout) and not os.environ.get("NO_COLOR")


def _encoding() -> str:
    return sys.stdout.encoding or "ascii"


def emit(text: str) -> None:
    """Write ``text`` to standard output, as far as that can show it."""
    from ..reports import showable

    sys.stdout.write(showable(text, _encoding()))


def draw(report: _Drawing, path: str) -> None:
    try:
        report.draw(path)
    except ImportError as error:
        raise CommandError(f"--plot: {error}") from None
    except (OSError, ValueError) as error:
        reason = getattr(error, "strerror", None) or error
        raise CommandError(f"{path}: cannot be written: {reason}") from None


def emit_report(report: _Report, as_json: bool = False) -> None:
    """Write a report, its headings in bold where that can be shown."""
    if as_json:
        emit_json(lambda ascii_only: report.json(ascii_only=ascii_only))
        return
    from ..reports import Heading

    lines = report.lines(_encoding())
    if in_colour():
        lines = [f"\x1b[1m{line}\x1b[0m" if isinstance(line, Heading) else line for line in lines]
    emit("\n".join(lines) + "\n")


def emit_json(make: Callable[[bool], str], ascii_only: bool = False) -> None:
    """Write JSON made by ``make(ascii_only)``, in ASCII where nothing else can be shown."""
    text = make(ascii_only)
    try:
        text.encode(_encoding())
    except UnicodeEncodeError:
        text = make(True)
    sys.stdout.write(text + "\n")


def note(text: str) -> None:
    """Write a note to standard error."""
    from ..reports import one_line

    if sys.stderr is not None:
        print(f"vekanalysis: {one_line(text)}", file=sys.stderr)


class Progress:
    """How far a batch of files is: a line on standard error, if that is a terminal."""

    def __init__(self, total: int, hidden: bool) -> None:
        self._total = total
        self._start = self._shown = monotonic()
        self._hidden = hidden or not is_terminal(sys.stderr)

    def __enter__(self) -> Self:
        return self

    def __exit__(self, *_: object) -> None:
        self._write("")

    def show(self, done: int, failed: int) -> None:
        now = monotonic()
        if now - self._shown < _BETWEEN_LOOKS:
            return
        self._shown = now
        left = (now - self._start) * (self._total - done) / done
        bar = "#" * (_BAR * done // self._total)
        self._write(
            f"[{bar:-<{_BAR}}] {done:,} of {self._total:,} files, {failed:,} failed, "
            f"{left // 60:.0f}:{left % 60:02.0f} left"
        )

    def _write(self, text: str) -> None:
        if not self._hidden:
            # To the start of the line, and after the text clear what is left of an earlier one.
            sys.stderr.write(f"\r{text}\x1b[K")
            sys.stderr.flush()
