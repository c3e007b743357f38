"""The tables of JCAMP-DX: pairs, and ordinates in their AFFN, PAC, SQZ, DIF and DUP forms.

The forms may be mixed within a line. A repeat count is held against the number of points that is
stated before anything is repeated; sums of differences are exact.
"""

import math
import re
from array import array
from collections.abc import Iterator
from dataclasses import dataclass, replace
from itertools import repeat
from typing import NamedTuple

from ..errors import Refusal
from .curve import MOST_POINTS
from .encoding import shortened

type Line = tuple[int, str]

_COMMENT = re.compile(r"<[^<>]*>|(\$\$)")
_SEPARATORS = str.maketrans("", "", " \t,\v\f")
_AFFN = r"[+-]?(?:[0-9]++\.?[0-9]*+|\.[0-9]++)(?:[eE][+-][0-9]++)?"
_DIGITS = r"[0-9]*+(?:\.[0-9]++)?"
_TOKEN = re.compile(rf"{_AFFN}|[@A-Ia-i]{_DIGITS}|[%J-Rj-r]{_DIGITS}|[S-Zs][0-9]*+|\?")
# An exponent needs no sign where E cannot be an ordinate.
_PAIR_NUMBER = re.compile(r"[+-]?(?:[0-9]++\.?[0-9]*+|\.[0-9]++)(?:[eE][+-]?[0-9]++)?")
# An exponent without a sign, or an ordinate behind another: the number of points tells.
_DOUBTFUL_E = re.compile(r"(?<![^ \t,;])[+-]?[0-9.]+E[0-9]")
_LONGEST_TOKEN = 25
# Sums are kept within what a 64-bit integer holds.
_LARGEST = 2**63
_TWO_COMMAS = re.compile(r"[0-9],[0-9]++,[0-9]")
_COMMA_BETWEEN_DIGITS = re.compile(r"(?<=[0-9]),(?=[0-9])")


def _digits(zero: str, positive: str, negative: str) -> dict[str, str]:
    """The sign and digit that characters stand for."""
    table = {zero: "0"}
    table |= {char: str(digit) for digit, char in enumerate(positive, start=1)}
    return table | {char: f"-{digit}" for digit, char in enumerate(negative, start=1)}


_SQZ = _digits("@", "ABCDEFGHI", "abcdefghi")
_DIF = _digits("%", "JKLMNOPQR", "jklmnopqr")
_DUP = _digits("", "STUVWXYZs", "")


@dataclass(frozen=True, slots=True)
class Lines:
    """Some lines of a text, made one by one: a list of short ones takes many times their size."""

    text: str
    start: int
    end: int
    # The number of the first.
    first: int

    def __iter__(self) -> Iterator[Line]:
        """The lines with their numbers, without comments."""
        return ((number, _uncommented(line)) for number, line in self.as_they_stand())

    def as_they_stand(self) -> Iterator[Line]:
        number, start = self.first, self.start
        while start <= self.end:
            end = self.text.find("\n", start, self.end)
            end = self.end if end < 0 else end
            yield number, self.text[start:end]
            number, start = number + 1, end + 1

    def behind(self, length: int) -> Lines:
        """Those without so much of the first line."""
        return replace(self, start=self.start + length)

    def up_to(self, end: int) -> Lines:
        return replace(self, end=end)


def _uncommented(text: str) -> str:
    """A line without its comment; within ``<...>`` there is none."""
    if "$$" in text:
        for found in _COMMENT.finditer(text):
            if found[1]:
                return text[: found.start()]
    return text


class Table(NamedTuple):
    """The lines of a table with their numbers, how many points are stated, and the decimal sign."""

    lines: Lines
    points: int | None
    is_comma: bool

    @property
    def room(self) -> int:
        return MOST_POINTS if self.points is None else self.points

    @property
    def too_many(self) -> str:
        return f"more than {self.room} points" + (", which NPOINTS states" if self.points else "")

    def text(self, line: Line) -> str:
        """A line with decimal points."""
        if not self.is_comma:
            return line[1]
        if _TWO_COMMAS.search(line[1]):
            raise Refusal(
                f"line {line[0]}: '{shortened(line[1].strip())}' can be read in two ways, the "
                "comma as decimal sign or between numbers"
            )
        return _COMMA_BETWEEN_DIGITS.sub(".", line[1])


class Ordinates(NamedTuple):
    """Ordinates before factors, NaN where one is missing, and what the lines start with."""

    values: array[float]
    line_numbers: array[int]
    line_x: array[float]
    # The index of each line's first point.
    line_points: array[int]
    notes: list[str]

    @property
    def first_x(self) -> float:
        return self.line_x[0]


def decode_pairs(table: Table) -> array[float]:
    """x and y by turns; Refusal if a line has half a pair, or if points are missing."""
    numbers = array("d")
    for line in table.lines:
        for part in table.text(line).split(";"):
            tokens = _PAIR_NUMBER.findall(part)
            if sum(map(len, tokens)) != len(part.translate(_SEPARATORS)):
                raise Refusal(
                    f"line {line[0]}: '{shortened(part.strip())}' is not pairs of numbers"
                )
            if len(tokens) % 2:
                raise Refusal(f"line {line[0]}: a number without its partner")
            numbers.extend(map(float, tokens))
        if len(numbers) > 2 * table.room:
            raise Refusal(f"line {line[0]}: {table.too_many}")
    _check_count(table, len(numbers) // 2)
    if not all(map(math.isfinite, numbers)):
        raise Refusal(f"a number in the table from line {table.lines.first} on is too large")
    return numbers


def decode_ordinates(table: Table) -> Ordinates:
    """The ordinates of an (X++(Y..Y)) table.

    Raises
    ------
    Refusal
        If a text is no ordinate, if a line does not repeat the last ordinate of the line before
        where it has to, or if there are more or fewer points than stated.
    """
    decoder = _Decoder(table)
    before: Line | None = None
    for line in table.lines:
        text = table.text(line).strip()
        if not text:
            continue
        if before is not None:
            decoder.take(before, is_last=False)
        before = line[0], text
    if before is not None:
        decoder.take(before, is_last=True)
    _check_count(table, len(decoder.ordinates.values))
    return decoder.ordinates


def _check_count(table: Table, count: int) -> None:
    if table.points not in (None, count):
        raise Refusal(f"{count} points in the table, where NPOINTS is {table.points}")
    if count < 2:
        raise Refusal(f"{count} points in the table, at least 2 are needed")


class _Decoder:
    """The state that goes from one ordinate to the next, over the ends of lines."""

    def __init__(self, table: Table) -> None:
        self.ordinates = Ordinates(array("d"), array("q"), array("d"), array("q"), [])
        self._table = table
        self._line = 0
        # Of the last ordinate: its value, the difference that made it, whether it was repeated.
        self._value: float | None = None
        self._difference: float | None = None
        self._is_repeated = False

    def take(self, line: Line, *, is_last: bool) -> None:
        before, (self._line, text) = self._line, line
        tokens = _TOKEN.findall(text)
        if not tokens or sum(map(len, tokens)) != len(text.translate(_SEPARATORS)):
            raise self._refuse(f"'{shortened(text)}' is not a line of ordinates")
        if len(max(tokens, key=len)) > _LONGEST_TOKEN:
            raise self._refuse(f"'{shortened(max(tokens, key=len))}' is too long a number")
        if self._table.points is None and _DOUBTFUL_E.search(text, len(tokens[0])):
            raise self._refuse("E without a sign can be read in two ways, and NPOINTS is missing")
        x, *tokens = tokens
        if x[0] not in "+-.0123456789":
            raise self._refuse(f"it starts with '{shortened(x)}', not with x")
        values = self.ordinates.values
        if not tokens:
            if is_last and len(values) == self._table.points:
                return
            raise self._refuse("there is no ordinate behind x")
        is_check = self._difference is not None
        self.ordinates.line_numbers.append(self._line)
        self.ordinates.line_x.append(_finite(float(x), self._line))
        self.ordinates.line_points.append(len(values) - is_check)
        if is_check:
            is_closing = is_last and len(tokens) == 1 and len(values) == self._table.points
            self._check(tokens.pop(0), before, is_closing=is_closing)
        elif tokens[0][0] in _DIF or tokens[0][0] in _DUP:
            raise self._refuse(f"'{tokens[0]}' before any ordinate of the line")
        self._difference = None
        for token in tokens:
            self._add(token)

    def _add(self, token: str) -> None:
        head = token[0]
        if head in _DUP:
            self._repeat(int(_DUP[head] + token[1:]))
            return
        self._is_repeated = False
        if head in _DIF:
            if self._value is None:
                raise self._refuse(f"the difference '{token}' behind a missing ordinate")
            self._difference = _parsed(_DIF[head] + token[1:])
            self._value = self._checked(self._value + self._difference)
        elif head == "?":
            self._value, self._difference = None, None
        else:
            self._value, self._difference = self._absolute(token), None
        self._make_room(1)
        self.ordinates.values.append(math.nan if self._value is None else self._value)

    def _repeat(self, count: int) -> None:
        """The count includes the ordinate that is there."""
        if self._is_repeated:
            raise self._refuse("a repeat count behind another")
        self._is_repeated = True
        self._make_room(count - 1)
        if self._difference is None or self._value is None:
            value = math.nan if self._value is None else self._value
            self.ordinates.values.extend(repeat(value, count - 1))
            return
        for _ in range(count - 1):
            self._value = self._checked(self._value + self._difference)
            self.ordinates.values.append(self._value)

    def _check(self, token: str, before: int, *, is_closing: bool) -> None:
        """Hold the first ordinate of a line against the last one before."""
        assert self._value is not None
        if token[0] in _DIF or token[0] in _DUP or token == "?":
            raise self._refuse(f"'{token}' where the last ordinate of line {before} is repeated")
        found = self._absolute(token)
        # Whole numbers are exact; sums of others are not.
        if found == self._value or (
            isinstance(self._value, float) and math.isclose(found, self._value, rel_tol=1e-12)
        ):
            self._value = found
            return
        words = f"the check value {found:.17g} differs from {self._value:.17g} in line {before}"
        if not is_closing:
            raise self._refuse(f"{words}: damaged from line {before} on")
        self.ordinates.notes.append(f"line {self._line}: {words}; it is the closing line")

    def _absolute(self, token: str) -> float:
        head = token[0]
        value = _parsed(_SQZ[head] + token[1:] if head in _SQZ else token)
        # No whole number is below 0 and 0.
        return self._checked(-0.0 if value == 0 and head == "-" else value)

    def _checked(self, value: float) -> float:
        if not -_LARGEST < value < _LARGEST and isinstance(value, int):
            raise self._refuse(f"the ordinate {value} is too large")
        return _finite(value, self._line)

    def _make_room(self, count: int) -> None:
        if len(self.ordinates.values) + count > self._table.room:
            raise self._refuse(self._table.too_many)

    def _refuse(self, reason: str) -> Refusal:
        return Refusal(f"line {self._line}: {reason}")


def _parsed(text: str) -> float:
    """A whole number without loss, or any other."""
    try:
        return int(text)
    except ValueError:
        return float(text)


def _finite(value: float, line: int) -> float:
    if not math.isfinite(value):
        raise Refusal(f"line {line}: too large a number")
    return value
