"""Text and JSON on standard output, notes and progress on standard error."""

import os
import sys
from collections.abc import Callable
from time import monotonic
from typing import Any, Protocol, Self, TextIO

from ._errors import CommandError

# Seconds between two looks at the progress, and the width of its bar.
_BETWEEN_LOOKS = 0.1
_BAR = 24


class _Report(Protocol):
    @property
    def lines(self) -> Callable[..., list[str]]: ...

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

    text = showable(text, _encoding())
    if sys.stdout.isatty():
        text = "".join(c if c.isprintable() or c in "\n\t" else "?" for c in text)
    sys.stdout.write(text)


def draw(report: _Drawing, path: str) -> None:
    try:
        report.draw(path)
    except ImportError as error:
        raise CommandError(f"--plot: {error}") from None
    except (OSError, ValueError) as error:
        reason = getattr(error, "strerror", None) or error
        raise CommandError(f"{path}: cannot be written: {reason}") from None


def width_for(asked: int | None) -> int | None:
    """Characters of a line: as asked, else those of the terminal; None where nothing says them."""
    if asked is not None or not is_terminal(sys.stdout):
        return asked
    from shutil import get_terminal_size  # it takes longer to import than all else here

    return get_terminal_size().columns


def emit_report(report: _Report, as_json: bool = False, **layout: Any) -> None:
    """Write a report, its headings in bold where that can be shown; ``layout`` is for the text."""
    if as_json:
        emit_json(lambda ascii_only: report.json(ascii_only=ascii_only))
        return
    from ..reports import Heading, showable

    lines = report.lines(_encoding(), **layout)
    if in_colour():
        lines = [f"\x1b[1m{line}\x1b[0m" if isinstance(line, Heading) else line for line in lines]
    sys.stdout.write(showable("\n".join(lines) + "\n", _encoding()))


def emit_json(make: Callable[[bool], str], ascii_only: bool = False) -> None:
    """Write JSON made by ``make(ascii_only)``, in ASCII where nothing else can be shown."""
    text = make(ascii_only)
    try:
        text.encode(_encoding())
    except UnicodeEncodeError:
        text = make(True)
    if sys.stdout.isatty():
        text = "".join(c if c == "\n" or c.isprintable() else _escaped(c) for c in text)
    sys.stdout.write(text + "\n")


def _escaped(character: str) -> str:
    """What JSON has for a character that may control the terminal."""
    units = character.encode("utf-16-be", "surrogatepass").hex()
    return "".join(f"\\u{units[i : i + 4]}" for i in range(0, len(units), 4))


def note(text: str) -> None:
    """Write a note to standard error."""
    from ..reports import one_line

    tell(f"vekanalysis: {one_line(text)}\n")


def tell(text: str) -> None:
    """Write to standard error, if that takes it: whether it does is no part of what happened."""
    if sys.stderr is None:
        return
    try:
        sys.stderr.write(text)
        sys.stderr.flush()
    except OSError:
        # The interpreter would try once more at its end, and fail for it.
        sys.stderr = None


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
            tell(f"\r{text}\x1b[K")
