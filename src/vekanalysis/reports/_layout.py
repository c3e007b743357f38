"""How reports set numbers, names and notes in lines of text, and documents as JSON."""

import math
import textwrap
from collections.abc import Iterable, Sequence

from ..spectrum import Spectrum

type Json = bool | int | float | str | list[Json] | dict[str, Json] | None

# A report of one spectrum is as wide as a screen; longer lines of words are hard to read.
_WIDTH = 80
# What stands for a character that an encoding does not have; a question mark for all others.
_PLAIN = {"τ": "tau", "λ": "lambda", "·": "*", "°": " deg", "µ": "u", "μ": "u", "…": ".", "Δ": "d"}


class Heading(str):
    """A line that a terminal may set bold."""

    __slots__ = ()


def _has(text: str, encoding: str) -> bool:
    try:
        text.encode(encoding)
    except UnicodeEncodeError:
        return False
    return True


def showable(text: str, encoding: str) -> str:
    """Return ``text`` in plainer characters where ``encoding`` does not have it."""
    if _has(text, encoding):
        return text
    return "".join(c if _has(c, encoding) else _PLAIN.get(c, "?") for c in text)


def one_line(text: str) -> str:
    """Return ``text`` as one line that controls no terminal; a heading stays one."""
    if text.isprintable():
        return text
    return type(text)("".join(c if c.isprintable() else "?" for c in text))


def shortened(text: str, room: int) -> str:
    """Return ``text``, cut to ``room`` characters where it is longer."""
    return text if len(text) <= room else text[: room - 1] + "…"


def shortened_within(text: str, room: int) -> str:
    """Return ``text``, cut to ``room`` characters in its middle: names often differ at the end."""
    if len(text) <= room:
        return text
    end = (room - 1) // 2
    return f"{text[: room - 1 - end]}…{text[len(text) - end :]}"


def text_width(width: int | None) -> int:
    """How wide words are set on a screen of a width."""
    return _WIDTH if width is None else min(width, _WIDTH)


def interval(range_nm: tuple[float, float]) -> str:
    """``315-380``."""
    return f"{range_nm[0]:.10g}-{range_nm[1]:.10g}"


def wrap(text: str, prefix: str, width: int = _WIDTH) -> list[str]:
    """Lines of a report: the text after ``prefix``, or as far to the right."""
    return textwrap.wrap(text, width, initial_indent=prefix, subsequent_indent=" " * len(prefix))


def note_lines(notes: Iterable[str], width: int = _WIDTH) -> list[str]:
    return [line for note in notes for line in wrap(note, f"{'-':>6} ", width)]


def describe(spectrum: Spectrum) -> str:
    """``lens.csv: 320-800 nm, 49 points, step 10 nm``."""
    count, steps = spectrum.points, spectrum.steps_nm
    facts = [f"{interval(spectrum.range_nm)} nm", f"{count} point{'s' * (count != 1)}"]
    if steps is not None:
        smallest, largest = steps
        even = smallest == largest
        facts.append(f"step {smallest:.10g} nm" if even else f"steps {smallest:g}-{largest:g} nm")
    if spectrum.unit not in (None, "1"):
        facts.append(f"unit {spectrum.unit}")
    return f"{spectrum.where}: {', '.join(facts)}"


def spectra_lines(spectra: Sequence[Spectrum], width: int = _WIDTH) -> list[str]:
    """The numbered list of spectra at the head of a report."""
    lines = []
    for count, spectrum in enumerate(spectra, start=1):
        lines += wrap(describe(spectrum), f"{count:>3}  ", width)
        for note in spectrum.notes:
            lines += wrap(note, " " * 5, width)
    return lines


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


def json_text(document: Json, *, indent: int = 2, ascii_only: bool = False) -> str:
    """A document as JSON; numbers that are not finite become null."""
    import json

    return json.dumps(
        _without_nan(document), indent=indent, ensure_ascii=ascii_only, allow_nan=False
    )


def _without_nan(value: Json) -> Json:
    if isinstance(value, float):
        return value if math.isfinite(value) else None
    if isinstance(value, list):
        return [_without_nan(item) for item in value]
    if isinstance(value, dict):
        return {key: _without_nan(item) for key, item in value.items()}
    return value
