"""From the bytes of a file to its text, as UTF-8."""

import codecs
import os
from typing import IO

from .._files import read_regular
from ..errors import Refusal, Remedy

_MARKS = [
    (codecs.BOM_UTF8, "utf-8-sig"),
    (codecs.BOM_UTF32_LE, "utf-32"),
    (codecs.BOM_UTF32_BE, "utf-32"),
    (codecs.BOM_UTF16_LE, "utf-16"),
    (codecs.BOM_UTF16_BE, "utf-16"),
]
_OTHER_FILES = {
    bytes.fromhex("d0cf11e0a1b11ae1"): "a measurement file or an old spreadsheet, not text; "
    "measurement files (.vek) are read by vekanalysis.read",
    b"PK\x03\x04": "a spreadsheet or an archive, not text; save the sheet as CSV",
    b"%PDF-": "a PDF document, not a table",
    b"<?xml": "an XML document, not a table",
    b"<!DOCTYPE": "a web page, not a table",
    b"<html": "a web page, not a table",
}
# What looks like a blank or a minus sign, and is neither in ASCII.
_PLAIN = {
    "\N{MINUS SIGN}": "-",
    "\N{NO-BREAK SPACE}": " ",
    "\N{NARROW NO-BREAK SPACE}": " ",
    "\N{THIN SPACE}": " ",
    "\N{FIGURE SPACE}": " ",
    "\N{IDEOGRAPHIC SPACE}": " ",
}

# What moves the cursor of a terminal or ends a line, but for the tab.
_CONTROLS = dict.fromkeys(
    (*range(9), *range(10, 32), *range(127, 160), 0x2028, 0x2029), "\N{REPLACEMENT CHARACTER}"
)
_CONTROLS |= {ord("\v"): " ", ord("\f"): " "}


def showable(text: str) -> str:
    """A text from a file, for messages and names: without characters that control terminals."""
    return text if text.isprintable() else text.translate(_CONTROLS)


def shortened(text: str) -> str:
    """A text for a message: without characters that control a terminal, at most 60."""
    text = showable(text.strip()[:61])
    return text if len(text) <= 60 else text[:59] + "…"


def read_source(path: str | os.PathLike[str] | IO[str] | IO[bytes]) -> tuple[str, bytes | str]:
    """The name of a file and what is in it."""
    if not isinstance(path, str | os.PathLike):
        if not hasattr(path, "read"):
            raise TypeError(f"a path or an open file is needed; got {type(path).__name__}")
        return str(getattr(path, "name", "file")), path.read()
    return os.fspath(path), read_regular(path)


def to_utf8(source: str, content: bytes | str, encoding: str | None) -> tuple[bytes, str]:
    """The text as UTF-8 without a mark, and the encoding that it had.

    Minus signs and blanks that are not of ASCII are made so.
    """
    if isinstance(content, str):
        return _plain(content.removeprefix("\ufeff").encode(errors="replace")), "text"
    _refuse_other_files(source, content)
    for name in [encoding] if encoding else _likely_encodings(content):
        if name == "utf-8" and content.isascii() and b"\0" not in content:
            return content, name
        try:
            text = content.decode(name).removeprefix("\ufeff")
        except UnicodeError as error:
            start = error.start if isinstance(error, UnicodeDecodeError) else 0
            line = content.count(b"\n", 0, start) + 1
            reason = f"line {line}: the bytes are not {name}"
            continue
        except LookupError, ValueError:
            raise Refusal(f"encoding is {name!r}, which Python does not know") from None
        if "\0" in text:
            reason = "it has zero bytes: not text, or text of an encoding that must be given"
            continue
        return _plain(text.encode(errors="replace")), name
    raise Refusal(f"{source}: {reason}", Remedy("pass {} if it is text", (("encoding", ...),)))


def _plain(text: bytes) -> bytes:
    if not text.isascii():
        for char, plain in _PLAIN.items():
            text = text.replace(char.encode(), plain.encode())
    return text


def _refuse_other_files(source: str, content: bytes) -> None:
    start = content[:4000].removeprefix(codecs.BOM_UTF8).lstrip()
    for mark, kind in _OTHER_FILES.items():
        if content.startswith(mark) or (mark[:1] == b"<" and start.startswith(mark)):
            raise Refusal(f"{source}: {kind}")
    if start.startswith(b"##") and b"(X++(Y..Y))" in content:
        raise Refusal(
            f"{source}: JCAMP-DX in its form (X++(Y..Y)), whose lines are no pairs of numbers",
            Remedy("export it as (XY..XY) or as CSV"),
        )


def _likely_encodings(content: bytes) -> list[str]:
    for mark, name in _MARKS:
        if content.startswith(mark):
            return [name]
    # UTF-16 without a mark: of digits and delimiters one byte in two is zero.
    start = content[:2000]
    for first, name in (1, "utf-16-le"), (0, "utf-16-be"):
        if start[first::2].count(0) > 0.8 * len(start) / 2:
            return [name]
    return ["utf-8", "cp1252", "latin-1"]
