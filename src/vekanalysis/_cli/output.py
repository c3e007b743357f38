"""Text and JSON on standard output."""

import math
import os
import sys
from collections.abc import Callable
from time import monotonic
from typing import Self, TextIO

type Json = bool | int | float | str | list[Json] | dict[str, Json] | None

# What stands for a character that the output cannot show; a question mark for all others.
_PLAIN = {"τ": "tau", "λ": "lambda", "·": "*", "°": " deg", "µ": "u", "μ": "u", "…": "."}

# Seconds between two looks at the progress, and the width of its bar.
_BETWEEN_LOOKS = 0.1
_BAR = 24


def _can_show(text: str) -> bool:
    try:
        text.encode(sys.stdout.encoding or "ascii")
    except UnicodeEncodeError:
        return False
    return True


def showable(text: str) -> str:
    """Return ``text`` in plainer characters where standard output cannot show it."""
    if _can_show(text):
        return text
    return "".join(c if _can_show(c) else _PLAIN.get(c, "?") for c in text)


def in_colour() -> bool:
    """Whether standard output is a terminal whose user has nothing against colour."""
    return is_terminal(sys.stdout) and not os.environ.get("NO_COLOR")


def bold(text: str) -> str:
    return f"\x1b[1m{text}\x1b[0m" if text and in_colour() else text


def emit(text: str) -> None:
    """Write ``text`` to standard output, as far as that can show it."""
    sys.stdout.write(showable(text))


def emit_json(document: Json) -> None:
    """Write a JSON document; numbers that are not finite become null."""
    import json

    document = _without_nan(document)

    def export(ascii_only: bool) -> str:
        return json.dumps(document, indent=2, ensure_ascii=ascii_only, allow_nan=False)

    emit_json_text(export, False)


def emit_json_text(make: Callable[[bool], str], ascii_only: bool) -> None:
    """Write JSON text made by ``make(ascii_only)``, in ASCII where nothing else can be shown."""
    text = make(ascii_only)
    if not _can_show(text):
        text = make(True)
    sys.stdout.write(text + "\n")


def _without_nan(value: Json) -> Json:
    if isinstance(value, float):
        return value if math.isfinite(value) else None
    if isinstance(value, list):
        return [_without_nan(item) for item in value]
    if isinstance(value, dict):
        return {key: _without_nan(item) for key, item in value.items()}
    return value


def note(text: str) -> None:
    """Write a note to standard error."""
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


def is_terminal(stream: TextIO | None) -> bool:
    """Whether ``stream`` is a terminal that knows more than lines of text."""
    return stream is not None and stream.isatty() and os.environ.get("TERM") != "dumb"


def printable(text: str) -> str:
    """Return ``text`` without characters that control a terminal; line ends stay."""
    return "".join(c if c.isprintable() or c == "\n" else "?" for c in text)


def one_line(text: str) -> str:
    """Return ``text`` as one printable line."""
    return printable(text.replace("\n", "?"))


def number(value: float) -> str:
    """Four decimals; fewer for six significant digits, more for at least four of them."""
    magnitude = math.floor(math.log10(abs(value))) if value else 0
    if magnitude < -1:
        return f"{value:.4g}"
    return f"{value:.{max(0, min(4, 5 - magnitude))}f}"


def aligned(text: str, before: int, after: int) -> str:
    """Pad a number, or ``-`` for none, so that the decimal points of a column line up."""
    whole, point, rest = text.partition(".")
    return f"{whole:>{before}}{point + rest:<{after + 1}}"
