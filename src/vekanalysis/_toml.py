"""TOML files that people write: what is wrong with one is told by file, line and key."""

import hashlib
import os
import tomllib
from collections.abc import Collection, Iterator, Mapping
from pathlib import Path
from typing import Any, NamedTuple, Self

from ._files import read_regular
from ._nearest import nearest
from ._parsing import parsed
from .errors import Refusal

# Characters that are parsed, at least, to find the line of a key.
_PATIENCE = 1_000_000
# Characters of a reason.
_LONGEST = 300


class Place(NamedTuple):
    """A key of a file: in a table, which may be one of several of that name, or at the top."""

    table: str | None = None
    # Of the tables under [[table]] which, from 0; None under [table].
    number: int | None = None
    # None is the table itself.
    key: str | None = None


class TomlFile:
    """A parsed file.

    Attributes
    ----------
    path : Path
    document : dict
        What is in it.
    sha256 : str
        Digest of its bytes.
    """

    def __init__(self, path: Path, text: str, document: dict[str, Any], sha256: str) -> None:
        self.path = path
        self.document = document
        self.sha256 = sha256
        self._text = text

    @classmethod
    def read(cls, path: str | os.PathLike[str]) -> Self:
        """Parse a file; OSError if it cannot be read, Refusal if it is no TOML.

        Whole numbers have 64 bits at most, as the form has them.
        """
        path = Path(path)
        content = read_regular(path)
        document = parsed(path, content, "TOML", tomllib.loads)
        if any(not -(2**63) <= each < 2**63 for each in _whole_numbers(document)):
            raise Refusal(f"{path}: no TOML: a whole number has more than 64 bits")
        text = content.decode("utf-8-sig")
        return cls(path, text, document, hashlib.sha256(content).hexdigest())

    def refusal(self, reason: str, place: Place) -> Refusal:
        """The reason with the file, and with the line where that can be told."""
        line = line_of(self._text, place)
        where = self.path if line is None else f"{self.path}: line {line}"
        # Keys are quoted in reasons.
        reason = "".join(c if c.isprintable() else "\N{REPLACEMENT CHARACTER}" for c in reason)
        if len(reason) > _LONGEST:
            reason = reason[: _LONGEST - 1] + "…"
        return Refusal(f"{where}: {reason}")

    def check_known(
        self, table: Mapping[str, Any], known: Collection[str], what: str, place: Place
    ) -> None:
        """Refuse a table that has a key which is not among those known."""
        for key in table:
            if key not in known:
                reason = f"{what} has an unknown key '{key}'{nearest(key, known)}"
                raise self.refusal(reason, place._replace(key=key))


def _whole_numbers(document: dict[str, Any]) -> Iterator[int]:
    left: list[Any] = [document]
    while left:
        value = left.pop()
        if isinstance(value, dict):
            left += value.values()
        elif isinstance(value, list):
            left += value
        elif isinstance(value, int):
            yield value


def line_of(text: str, place: Place) -> int | None:
    """Number of the line of a key, from 1; None if it cannot be told.

    The parser does not tell: the line is the first that may hold the key, and before which the text
    is a document that ends where the key may follow, and lacks it. In a text of very many such
    lines the search is given up, since each costs the time of all before it.
    """
    patience = max(_PATIENCE, 16 * len(text))
    # Headers still to come, each of which may also be within a string.
    tables = 0 if place.number is None else place.number + (place.key is not None)
    start = 0
    for number, line in enumerate(text.splitlines(keepends=True), start=1):
        before = start
        start += len(line)
        if tables > 0:
            tables -= line.lstrip().startswith("[[") and str(place.table) in line
        elif _may_begin(line, place):
            patience -= before
            if patience < 0:
                return None
            if _is_before(text[:before], place):
                return number
    return None


def _may_begin(line: str, place: Place) -> bool:
    """Whether the line can be that of the key, for all that it says by itself."""
    start = line.strip().replace(" ", "")
    table, key = place.table, place.key
    if key is None:
        return start.startswith((f"[[{table}]]", f"[{table}]", f"{table}="))
    if start.startswith("["):
        named = f"{key}]" if table is None else f"{table}.{key}]"
        return named in start and (table is not None or start.lstrip("[").startswith(named))
    name, quote = (start[1:], start[0]) if start[:1] in ("'", '"') else (start, "")
    return name.startswith((f"{key}{quote}=", f"{key}{quote}."))


def _is_before(text: str, place: Place) -> bool:
    """Whether what stands before a line ends where the key may follow, and lacks it."""
    try:
        document: dict[str, Any] = tomllib.loads(text)
    except tomllib.TOMLDecodeError:
        return False  # within a string or a list of several lines
    table, number, key = place
    if table is None:
        return key not in document
    if key is None:
        return table not in document if number is None else len(document.get(table, [])) == number
    if number is None:
        return key not in document.get(table, {key: None})
    tables = document.get(table, [])
    return len(tables) == number + 1 and key not in tables[number]
