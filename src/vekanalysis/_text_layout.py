"""The layout of text files: what the bytes say, which lines are numbers, what stands above them.

Lines are judged by their shape, in which a 0 stands for each run of digits: a file of a hundred
thousand lines has a handful of shapes, so that all rules cost next to nothing.
"""

import codecs
import csv
import operator
import os
import re
from collections import Counter
from collections.abc import Collection, Sequence
from typing import IO, NamedTuple

from ._refusal import refusal
from ._wavelengths import stated_unit

_MARKS = [
    (codecs.BOM_UTF8, "utf-8-sig"),
    (codecs.BOM_UTF32_LE, "utf-32"),
    (codecs.BOM_UTF32_BE, "utf-32"),
    (codecs.BOM_UTF16_LE, "utf-16"),
    (codecs.BOM_UTF16_BE, "utf-16"),
]
_OTHER_FILES = {
    bytes.fromhex("d0cf11e0a1b11ae1"): "a measurement file or an old spreadsheet, not text; "
    "measurement files (.vek) are read by vekanalysis.io.load_vek_scan_data",
    b"PK\x03\x04": "a spreadsheet or an archive, not text; save the sheet as CSV",
}
_COMMENTS = ("#", "%", "!", "//")
# In place of a number: there is none. Anything else that is no number is refused.
_MISSING = frozenset(["", "nan", "na", "n/a", "#n/a", "-", "--", "---"])
DELIMITERS = {"\t": "tab", ";": "semicolon", ",": "comma", " ": "blanks"}
NUMBERS = {
    ".": re.compile(r"[+-]?(?:[0-9]+\.?[0-9]*|\.[0-9]+)(?:[eE][+-]?[0-9]+)?"),
    ",": re.compile(r"[+-]?(?:[0-9]+,?[0-9]*|,[0-9]+)(?:[eE][+-]?[0-9]+)?"),
}
_DIGITS = str.maketrans("123456789", "000000000")
# Also a number with a sign between thousands, or with the other decimal sign.
_ANY_NUMBER = re.compile(
    r"[+-]?(?:[0-9]+[.,]?[0-9]*|[.,][0-9]+|[0-9]{1,3}(?:[.,'\u2019\s][0-9]{3})+(?:[.,][0-9]*)?)"
    r"(?:[eE][+-]?[0-9]+)?"
)
WAVELENGTH = re.compile(
    r"wave\s*length|\bwl\b|lambda|λ|wellenl|longueur d.onde|^\W*(?:nm|[µμu]m|Å)\W*$",
    re.IGNORECASE,
)
_OTHER_SPECTRAL = re.compile(r"wave\s*number|wellenzahl|frequen|photon energy", re.IGNORECASE)
_TITLE_AND_UNIT = re.compile(r"[^\s\[(]\S*(?:\s*[\[(][^\])]*[\])]|\s+/\s+\S+)?")
PERCENT = re.compile(r"%|per\s?cent|pro[zc]ent|pourcent|por\s?cien|por\s?cento", re.IGNORECASE)


class Lines:
    """The lines of a file and their shapes; what is to be skipped has the shape of no line."""

    def __init__(self, source: str, text: str, skip: int | Collection[int]) -> None:
        self.source = source
        text = text.replace("\r\n", "\n").replace("\r", "\n").replace("\N{MINUS SIGN}", "-")
        self.texts = text.split("\n")
        shapes = text.translate(_DIGITS).replace("0000", "0")
        while "00" in shapes:
            shapes = shapes.replace("00", "0")
        self.shapes = shapes.split("\n")
        if not isinstance(skip, Collection):
            skip = operator.index(skip)
            if skip < 0:
                raise ValueError(f"skip is {skip}; it must be a number of lines, or a set of lines")
            skip = range(1, skip + 1)
        self.asked = [number - 1 for number in skip]
        for index in self.asked:
            if not 0 <= index < len(self.texts):
                raise ValueError(
                    f"{source}: skip names line {index + 1}; the file has {len(self.texts)}"
                )
            self.shapes[index] = ""
        # Of the lines that may hold numbers.
        self.counts = {
            shape: count
            for shape, count in Counter(self.shapes).items()
            if shape.strip() and not self.is_comment(shape)
        }

    @staticmethod
    def is_comment(line: str) -> bool:
        return line.lstrip().startswith(_COMMENTS)

    def text(self, index: int) -> str:
        """The line, short enough for a message."""
        text = self.texts[index].strip()
        return text if len(text) <= 60 else text[:59] + "…"

    def error(self, index: int, reason: str, remedy: str = "") -> ValueError:
        return refusal(f"{self.source}: line {index + 1}: {reason}", remedy)


class Block(NamedTuple):
    """The lines of numbers, by index, and how many columns they have."""

    rows: list[int]
    width: int


class Titles(NamedTuple):
    """What stands above the columns, and the lines that say so."""

    names: list[str]
    units: list[str]
    # The names as they stand in the file, empty where it has none.
    found: list[str]
    # The line above the numbers where it has no names.
    free_text: str
    lines: dict[int, str]

    def title(self, column: int) -> str:
        parts = [self.names[column], self.units[column] if self.units else ""]
        return " ".join(part for part in parts if part)

    def unit(self, column: int) -> str:
        """The unit of a column of values, without brackets; empty if none is stated."""
        if not self.names:
            return "%" if PERCENT.search(self.free_text) else ""
        if self.units and self.units[column]:
            return self.units[column].strip("[]()")
        name = self.names[column]
        stated = re.search(r"[\[(]([^\])]*)[\])]$|\s/\s(.+)$", name)
        if stated:
            return (stated[1] or stated[2] or "").strip()
        return "%" if PERCENT.search(name) else ""

    def wavelength_title(self, column: int) -> str:
        if self.names:
            return self.title(column)
        is_title = WAVELENGTH.search(self.free_text) or _OTHER_SPECTRAL.search(self.free_text)
        return self.free_text if is_title else ""

    def value_title(self, column: int) -> str:
        return self.title(column) if self.names else self.free_text


def read_source(path: str | os.PathLike[str] | IO[str] | IO[bytes]) -> tuple[str, bytes | str]:
    if not isinstance(path, str | os.PathLike):
        if not hasattr(path, "read"):
            raise TypeError(f"read_table needs a path or an open file; got {type(path).__name__}")
        return str(getattr(path, "name", "file")), path.read()
    with open(path, "rb") as file:
        return os.fspath(path), file.read()


def decoded(source: str, content: bytes | str, encoding: str | None) -> tuple[str, str]:
    if isinstance(content, str):
        return content.removeprefix("\ufeff"), "text"
    for start, kind in _OTHER_FILES.items():
        if content.startswith(start):
            raise refusal(f"{source}: {kind}")
    for name in [encoding] if encoding else _likely_encodings(content):
        try:
            text = content.decode(name).removeprefix("\ufeff")
        except UnicodeDecodeError as error:
            line = content.count(b"\n", 0, error.start) + 1
            reason = f"line {line}: the bytes are not {name}"
            continue
        except LookupError:
            raise ValueError(f"encoding is {name!r}, which Python does not know") from None
        if "\0" in text:
            reason = "it has zero bytes: not text, or text of an encoding that must be given"
            continue
        return text, name
    raise refusal(f"{source}: {reason}")


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


def split_cells(line: str, delimiter: str) -> list[str]:
    if delimiter == " ":
        return line.split()
    if '"' in line:
        (cells,) = csv.reader([line], delimiter=delimiter, skipinitialspace=True)
    else:
        cells = line.split(delimiter)
    # Not all that str.strip() removes: a separator of records is damage, not a blank.
    return [cell.strip(" \t\xa0") for cell in cells]


def _without_empty_end(cells: list[str]) -> list[str]:
    while cells and not cells[-1]:
        cells = cells[:-1]
    return cells


def is_missing(cell: str) -> bool:
    return cell.casefold() in _MISSING


def _is_row(cells: list[str], decimal: str) -> bool:
    """Whether there are two cells at least, and in them numbers or what stands for none."""
    numbers = [cell for cell in cells if not is_missing(cell)]
    return len(cells) >= 2 and bool(numbers) and all(map(NUMBERS[decimal].fullmatch, numbers))


def find_layout(lines: Lines, delimiter: str | None, decimal: str | None) -> tuple[str, str, bool]:
    """Delimiter and decimal sign that make most lines rows of numbers; whether that is doubtful.

    Layouts that come out equal read the same numbers. What is doubtful is the comma as delimiter
    of digits alone, since it may be a decimal sign.
    """
    best, found = 0, ("", "")
    for layout in [
        (a, b)
        for a in ([delimiter] if delimiter else DELIMITERS)
        for b in ([decimal] if decimal else NUMBERS)
        if a != b
    ]:
        fitting = sum(
            count
            for shape, count in lines.counts.items()
            if _is_row(split_cells(shape, layout[0]), layout[1])
        )
        if fitting > best:
            best, found = fitting, layout
    if not best:
        raise _no_rows(lines, delimiter, decimal)
    is_guess = delimiter is None and decimal is None and found[0] == ","
    rows = [shape for shape in lines.counts if _is_row(split_cells(shape, found[0]), found[1])]
    return *found, is_guess and not _are_delimiters(rows)


def _are_delimiters(rows: Sequence[str]) -> bool:
    """Whether the commas cannot be decimal signs: points are, or no digit follows a comma."""
    return any("." in row for row in rows) or not any(re.search(r",[0-9]", row) for row in rows)


def two_readings(lines: Lines, index: int) -> ValueError:
    return lines.error(
        index,
        f"'{lines.text(index)}' can be read in two ways, the comma as delimiter or as decimal sign",
        "pass delimiter=',' or decimal=','",
    )


def _no_rows(lines: Lines, delimiter: str | None, decimal: str | None) -> ValueError:
    needed = "lines with two numbers or more"
    if delimiter or decimal:
        given = {"delimiter": delimiter, "decimal": decimal}
        needed += " for " + " and ".join(f"{k}={v!r}" for k, v in given.items() if v)
    for index, shape in enumerate(lines.shapes):
        if shape in lines.counts:
            return lines.error(index, f"got '{lines.text(index)}', need {needed}")
    return refusal(f"{lines.source}: there are no numbers in it; need {needed}")


def find_block(lines: Lines, delimiter: str, decimal: str, is_doubtful: bool) -> Block:
    """The rows of numbers; ValueError where something else stands between them."""
    cells = {shape: split_cells(shape, delimiter) for shape in lines.counts}
    rows_of = {shape: row for shape, row in cells.items() if _is_row(row, decimal)}
    rows = [index for index, shape in enumerate(lines.shapes) if shape in rows_of]
    width = max(len(_without_empty_end(row)) for row in rows_of.values())
    if width < 2:
        raise lines.error(rows[0], f"got one column, '{lines.text(rows[0])}'; two are needed")

    first, last = rows[0], rows[-1]
    narrow = {shape for shape, row in rows_of.items() if len(row) < width}
    others = lines.counts.keys() - rows_of.keys() | narrow
    for index in [index for index, shape in enumerate(lines.shapes) if shape in others]:
        shape = lines.shapes[index]
        if shape in narrow and is_doubtful:
            raise two_readings(lines, index)
        if shape in narrow:
            widest = next(row for row in rows if lines.shapes[row] not in narrow)
            raise lines.error(
                index, f"{len(cells[shape])} columns where line {widest + 1} has {width}"
            )
        row = split_cells(lines.texts[index], delimiter)
        if first < index < last or _is_damaged(row, width, is_last=index > last):
            raise lines.error(
                index,
                f"'{lines.text(index)}' is not a row of {width} numbers as line {first + 1} is",
                f"pass skip={{{index + 1}}} to leave it out",
            )
    return Block(rows, width)


def _is_damaged(cells: list[str], width: int, is_last: bool) -> bool:
    """Whether a line outside the numbers starts as a row does, rather than being text."""
    if not _ANY_NUMBER.fullmatch(cells[0]):
        return False
    if len(cells) == 1:
        return is_last
    second = _ANY_NUMBER.fullmatch(cells[1])
    return second is not None or len(_without_empty_end(cells)) == width


def find_titles(lines: Lines, delimiter: str, block: Block) -> Titles:
    above = [i for i in range(block.rows[0] - 1, -1, -1) if lines.shapes[i].strip()]
    texts = [i for i in above if not lines.is_comment(lines.texts[i])]
    titled = [
        (index, cells)
        for index in (texts or above)[:2]
        if (cells := _title_cells(lines.texts[index], delimiter, block.width))
    ]
    if not titled:
        return Titles([], [], [""], lines.texts[above[0]] if above else "", {})
    index, names = titled[0]
    units: list[str] = []
    found = {index: "column names"}
    if len(titled) == 2 and any(stated_unit(cell) and _is_bare_unit(cell) for cell in names):
        units = names
        found[index] = "units"
        index, names = titled[1]
        found[index] = "column names"
    named = [name or f"column {column}" for column, name in enumerate(names)]
    return Titles(named, units, names, "", found)


def _is_bare_unit(cell: str) -> bool:
    return len(cell.strip("[]() ")) <= 8 and not re.search(r"\s", cell.strip())


def _title_cells(line: str, delimiter: str, width: int) -> list[str]:
    """The cells of a line of titles, or none if they are not one for each column."""
    if Lines.is_comment(line):
        line = line.lstrip().lstrip("".join(_COMMENTS))
    line = line.strip(" ")
    ways = [split_cells(line, delimiter)]
    if delimiter == " ":
        # Titles with blanks in them: in columns of text, or before their units.
        ways.append([cell.strip() for cell in re.split(r"\t|\s{2,}", line)])
        ways.append(_TITLE_AND_UNIT.findall(line))
    for cells in ways:
        cells = [*_without_empty_end(cells), *[""] * width][: max(width, len(cells))]
        if len(_without_empty_end(cells)) > 1 and len(_without_empty_end(cells)) <= width:
            return cells[:width]
    return []
