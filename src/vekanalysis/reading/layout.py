"""The layout of text files: which lines are numbers, and how their cells are written.

Lines are judged by their shape, in which a 0 stands for each run of digits: a file of a hundred
thousand lines has a handful of shapes, so that all rules cost next to nothing. No rule takes more
time than in proportion to the length of a line.
"""

import operator
import re
from collections.abc import Collection, Iterable, Sequence, Set
from functools import lru_cache
from typing import NamedTuple

from .. import units
from .._core import io
from ..errors import Refusal, Remedy
from .encoding import shortened, showable


def words(text: str) -> frozenset[str]:
    """The texts between bars."""
    return frozenset(text.split("|"))


DELIMITERS = {"\t": "tab", ";": "semicolon", ",": "comma", " ": "blanks"}
DECIMALS = (".", ",")
# Between thousands. Those that may be decimal signs, too, need more to be taken for it.
_GROUPS = ("'", "\N{RIGHT SINGLE QUOTATION MARK}", " ", ",", ".")
_COMMENTS = ("#", "%", "!", "//")
# In place of a number: there is none. Anything else that is no number is refused.
_MISSING = words(
    "|na|n/a|n.a.|#n/a|#na|#nv|#n/v|nan|-nan|null|none|nil|k.a.|n.d.|nd|invalid|over|overflow|"
    "overrange|over range|overload|ovr|ovf|ovfl|ovrflw|ovld|ol|o.l.|ofl|under|underflow|ufl|sat|"
    "sat.|saturated|inf|+inf|-inf|infinity|#div/0!|#value!|#wert!|#zahl!|#num!"
)
_FILLERS = frozenset("-*#?")
# Of shapes, in which no two digits stand side by side.
_EXPONENT = r"(?:[eE][+-]?0)?"
_PLAIN = {
    decimal: re.compile(rf"[+-]?(?:0(?:[{decimal}]0?)?|[{decimal}]0){_EXPONENT}")
    for decimal in DECIMALS
}
_GROUPED = {
    (decimal, group): re.compile(rf"[+-]?0(?:[{group}]0)*(?:[{decimal}]0?)?{_EXPONENT}")
    for decimal in DECIMALS
    for group in _GROUPS
}
# Also a number with a sign between thousands, or with the other decimal sign.
_ANY_NUMBER = re.compile(
    r"[+-]?(?:[0-9]+(?:[.,][0-9]*)?|[.,][0-9]+|[0-9]{1,3}(?:[.,'\u2019\s][0-9]{3})+(?:[.,][0-9]*)?)"
    r"(?:[eE][+-]?[0-9]+)?"
)
# Shapes are remembered up to that length; longer ones do not repeat from file to file.
_REMEMBERED = 200
# Lines of text that are kept, a third of a kilobyte each.
_MOST_TEXTS = 100_000


class Shape(NamedTuple):
    """A shape of lines, and how many have it."""

    text: str
    lines: int
    first: int
    last: int


class Layout(NamedTuple):
    """How rows of numbers are written; ``group`` stands between thousands, if anything does."""

    delimiter: str
    decimal: str
    group: str = ""
    # Whether a comma may be the delimiter or the decimal sign.
    is_doubtful: bool = False


# Decimal commas within quotes, and commas between.
_QUOTED = Layout(",", ",")


class Block(NamedTuple):
    """The rows of numbers: their shapes, the lines from first to last, and the columns."""

    shapes: list[int]
    first: int
    last: int
    width: int
    # What stands behind the numbers of a column, such as "nm".
    suffixes: list[str]
    # The other lines, by index, but for empty ones.
    texts: dict[int, str]


class Lines:
    """The lines of a text; what is to be skipped has no shape."""

    def __init__(self, source: str, content: bytes, skip: int | Collection[int]) -> None:
        self.source = source
        left_out = _skipped_lines(skip, len(content))
        self.left_out = frozenset(left_out)
        self.core = io._TextLines(content, left_out)
        if left_out and left_out[-1] >= self.core.size:
            last = max(skip) if isinstance(skip, Collection) else skip
            raise Refusal(f"{source}: skip names line {last}; the file has {self.core.size}")
        self.shapes = [
            Shape(text.decode(errors="replace"), *counts) for text, *counts in self.core.shapes
        ]
        # Those that may be rows of numbers, and all that are not empty.
        self.filled = [i for i, shape in enumerate(self.shapes) if shape.text.strip()]
        self.candidates = [i for i in self.filled if not is_comment(self.shapes[i].text)]

    def texts(self, shapes: Iterable[int], *, with_skipped: bool = False) -> dict[int, str]:
        """The lines of these shapes by index, and those to be skipped if asked for."""
        found = self.core.lines_of([*shapes], with_skipped)
        return {index: showable(line.decode(errors="replace")) for index, line in found}

    def shown(self, index: int) -> str:
        """A line, short enough for a message."""
        return shortened(self.core.line(index).decode(errors="replace"))

    def error(self, index: int, reason: str, remedy: Remedy | None = None) -> Refusal:
        return Refusal(f"{self.source}: line {index + 1}: {reason}", remedy)


def _skipped_lines(skip: int | Collection[int], size: int) -> list[int]:
    """The indices of the lines to be skipped, ascending."""
    if not isinstance(skip, Collection):
        skip = operator.index(skip)
        if skip < 0:
            raise Refusal(f"skip is {skip}; it must be a number of lines, or a set of lines")
        # No text has more lines than bytes.
        skip = range(1, min(skip, size + 1) + 1)
    indices = sorted({operator.index(number) - 1 for number in skip})
    if indices and indices[0] < 0:
        raise Refusal(f"skip names line {indices[0] + 1}; lines count from 1")
    return indices


def is_comment(line: str) -> bool:
    return line.lstrip().startswith(_COMMENTS)


def split_cells(line: str, delimiter: str) -> list[str]:
    """The cells of a line without quotes and blanks around them."""
    if delimiter == " ":
        return line.split()
    if '"' not in line:
        return [cell.strip(" \t") for cell in line.split(delimiter)]
    cells, position = [], 0
    while position <= len(line):
        start = position
        while line[start : start + 1] in (" ", "\t") and line[start] != delimiter:
            start += 1
        end = line.find('"', start + 1) if line.startswith('"', start) else -1
        # Two quotes within quotes stand for one.
        while end >= 0 and line.startswith('"', end + 1):
            end = line.find('"', end + 2)
        if end >= 0:
            cell = line[start + 1 : end].replace('""', '"')
            position = line.find(delimiter, end)
        else:
            position = line.find(delimiter, position)
            cell = line[start:] if position < 0 else line[start:position]
        cells.append(cell.strip(" \t"))
        if position < 0:
            break
        position += len(delimiter)
    return cells


def filled_width(cells: Sequence[str]) -> int:
    """How many cells there are before the empty ones at the end."""
    width = len(cells)
    while width and not cells[width - 1]:
        width -= 1
    return width


def is_missing(cell: str) -> bool:
    """Whether a cell says that there is no number."""
    return cell.casefold() in _MISSING or _FILLERS.issuperset(cell)


class Row(NamedTuple):
    """A row of numbers: what stands behind that of each cell, None for a cell without one."""

    suffixes: list[str | None]
    # Without empty cells at the end.
    width: int


def row_of(shape: str, layout: Layout) -> Row | None:
    """How a shape is a row in a layout; None if it is none.

    A row has two cells at least, and in them numbers, units behind, or what stands for none.
    """
    if "0" not in shape:
        return None
    return _remembered_row(shape, layout) if len(shape) <= _REMEMBERED else _row(shape, layout)


def _row(shape: str, layout: Layout) -> Row | None:
    delimiter, decimal, group, _ = layout
    number = _GROUPED[decimal, group] if group else _PLAIN[decimal]
    cells = split_cells(shape, delimiter)
    row: list[str | None] = []
    for cell in cells:
        match = number.match(cell)
        if match is None:
            if not is_missing(cell):
                return None
            row.append(None)
            continue
        suffix = cell[match.end() :].strip()
        if suffix and not _is_suffix(suffix):
            return None
        row.append(suffix)
    if len(row) < 2 or all(cell is None for cell in row):
        return None
    return Row(row, filled_width(cells))


_remembered_row = lru_cache(maxsize=8192)(_row)


def _is_suffix(text: str) -> bool:
    """Whether a text behind a number is a unit."""
    return not any(char in "0.,+-()" for char in text) and units.parse(text) is not None


def find_layout(lines: Lines, delimiter: str | None, decimal: str | None) -> Layout:
    """The layout that makes most lines rows of numbers; signs between thousands if need be.

    Layouts that come out equal read the same numbers. What is doubtful is the comma as delimiter
    of digits alone, since it may be a decimal sign.
    """
    plain, grouped = _layouts(delimiter, decimal)
    quoted = (_QUOTED,) if delimiter in (None, ",") and decimal in (None, ",") else ()
    best = _most_rows(lines, plain)
    if best is None:
        best = _most_rows(lines, grouped) or _most_rows(lines, quoted)
        if best is None:
            raise _no_rows(lines, delimiter, decimal)
    else:
        best = _with_group(lines, best)
    if best.group:
        _check_group(lines, best, decimal)
    is_guess = delimiter is None and decimal is None and best.delimiter == "," != best.decimal
    shapes = [lines.shapes[shape].text for shape in _rows(lines, best)]
    return best._replace(is_doubtful=is_guess and not _are_delimiters(shapes))


@lru_cache(maxsize=16)
def _layouts(
    delimiter: str | None, decimal: str | None
) -> tuple[tuple[Layout, ...], tuple[Layout, ...]]:
    """The layouts that there can be, without and with a sign between thousands."""
    plain = tuple(
        Layout(a, b)
        for a in ([delimiter] if delimiter else DELIMITERS)
        for b in ([decimal] if decimal else DECIMALS)
        if a != b
    )
    return plain, tuple(grouped for layout in plain for grouped in _grouped(layout))


def _grouped(layout: Layout) -> list[Layout]:
    taken = (layout.delimiter, layout.decimal)
    return [layout._replace(group=group) for group in _GROUPS if group not in taken]


def _rows(lines: Lines, layout: Layout) -> list[int]:
    return [i for i in lines.candidates if row_of(lines.shapes[i].text, layout) is not None]


def _fits(shape: str, layouts: tuple[Layout, ...]) -> tuple[int, ...]:
    """The layouts, by index, in which a shape is a row."""
    return tuple(i for i, layout in enumerate(layouts) if row_of(shape, layout) is not None)


_remembered_fits = lru_cache(maxsize=8192)(_fits)


def _most_rows(lines: Lines, layouts: tuple[Layout, ...]) -> Layout | None:
    """The layout that makes most lines rows, the first of equals."""
    if not layouts:
        return None
    fitting = [0] * len(layouts)
    for index in lines.candidates:
        text, count, _, _ = lines.shapes[index]
        fits = _remembered_fits if len(text) <= _REMEMBERED else _fits
        for layout in fits(text, layouts):
            fitting[layout] += count
    best = max(fitting)
    return layouts[fitting.index(best)] if best else None


def _with_group(lines: Lines, layout: Layout) -> Layout:
    """With a sign between thousands, if more lines are rows then."""
    others = [
        text
        for index in lines.candidates
        if "0" in (text := lines.shapes[index].text) and row_of(text, layout) is None
    ]
    for grouped in _grouped(layout) if others else ():
        if any(row_of(text, grouped) is not None for text in others):
            return grouped
    return layout


def _check_group(lines: Lines, layout: Layout, decimal: str | None) -> None:
    """Refuse a sign between thousands that may be the decimal sign."""
    if layout.group not in DECIMALS or decimal is not None:
        return
    plain = layout._replace(group="")
    for shape in _rows(lines, layout):
        text, _, first, _ = lines.shapes[shape]
        if row_of(text, plain) is not None:
            continue
        for cell in split_cells(text, layout.delimiter):
            if cell.count(layout.group) == 1 and layout.decimal not in cell:
                raise lines.error(
                    first,
                    f"'{lines.shown(first)}' can be read in two ways, the "
                    f"{'comma' if layout.group == ',' else 'point'} between thousands or as "
                    "decimal sign",
                    Remedy("pass {} or {}", (("decimal", "."), ("decimal", ","))),
                )


def _are_delimiters(rows: Sequence[str]) -> bool:
    """Whether the commas cannot be decimal signs: points are, or no digit follows a comma."""
    return any("." in row for row in rows) or not any(",0" in row for row in rows)


def two_readings(lines: Lines, index: int) -> Refusal:
    return lines.error(
        index,
        f"'{lines.shown(index)}' can be read in two ways, the comma as delimiter or as decimal "
        "sign",
        Remedy("pass {} or {}", (("delimiter", ","), ("decimal", ","))),
    )


def _no_rows(lines: Lines, delimiter: str | None, decimal: str | None) -> Refusal:
    needed = "lines with two numbers or more"
    if delimiter or decimal:
        given = {"delimiter": delimiter, "decimal": decimal}
        needed += " for " + " and ".join(f"{k}={v!r}" for k, v in given.items() if v)
    if lines.candidates:
        first = min(lines.shapes[shape].first for shape in lines.candidates)
        return lines.error(first, f"got '{lines.shown(first)}', need {needed}")
    return Refusal(f"{lines.source}: there are no numbers in it; need {needed}")


def find_block(lines: Lines, layout: Layout) -> Block:
    """The rows of numbers; Refusal where something else stands between them."""
    rows = {
        shape: row
        for shape in lines.candidates
        if (row := row_of(lines.shapes[shape].text, layout)) is not None
    }
    first = min(lines.shapes[shape].first for shape in rows)
    last = max(lines.shapes[shape].last for shape in rows)
    width = max(row.width for row in rows.values())
    if width < 2:
        raise lines.error(first, f"got one column, '{lines.shown(first)}'; two are needed")
    _check_widths(lines, layout, rows, width)
    others = [shape for shape in lines.filled if shape not in rows]
    texts = sum(lines.shapes[shape].lines for shape in others)
    if texts > _MOST_TEXTS:
        raise Refusal(
            f"{lines.source}: {texts} lines are no rows of numbers; at most {_MOST_TEXTS} are "
            "taken for a header or comments",
            Remedy("pass {} to leave lines out", (("skip", ...),)),
        )
    block = Block([*rows], first, last, width, _suffixes(lines, rows, width), lines.texts(others))
    _check_others(lines, layout, block)
    return block


def _check_widths(lines: Lines, layout: Layout, rows: dict[int, Row], width: int) -> None:
    """Refuse rows that have too few cells."""
    narrow = [shape for shape, row in rows.items() if len(row.suffixes) < width]
    if not narrow:
        return
    shape = min(narrow, key=lambda shape: lines.shapes[shape].first)
    index = lines.shapes[shape].first
    if layout.is_doubtful:
        raise two_readings(lines, index)
    widest = min(lines.shapes[shape].first for shape in rows if shape not in narrow)
    raise lines.error(
        index,
        f"{len(rows[shape].suffixes)} columns where line {widest + 1} has {width}",
        _second_table(lines, rows, {*narrow}),
    )


def _second_table(lines: Lines, rows: Collection[int], narrow: Set[int]) -> Remedy | None:
    """How to read the second of two tables with text between them; None if that is not certain."""
    wide = {*rows} - narrow
    for above, below in (narrow, wide), (wide, narrow):
        last = max(lines.shapes[shape].last for shape in above)
        first = min(lines.shapes[shape].first for shape in below)
        texts = (lines.shapes[shape] for shape in lines.filled if shape not in rows)
        is_parted = any(last < line < first for text in texts for line in (text.first, text.last))
        if is_parted and sum(lines.shapes[shape].lines for shape in below) > 1:
            return Remedy("pass {} to leave the table above out", (("skip", last + 1),))
    return None


def _check_others(lines: Lines, layout: Layout, block: Block) -> None:
    """Refuse other lines between the rows, and damaged rows beside them."""
    for index, text in block.texts.items():
        if is_comment(text):
            continue
        cells = split_cells(text, layout.delimiter)
        is_between = block.first < index < block.last
        if is_between or _is_damaged(cells, block.width, is_last=index > block.last):
            raise lines.error(
                index,
                f"'{shortened(text)}' is not a row of {block.width} numbers as line "
                f"{block.first + 1} is",
                Remedy("pass {} to leave it out", (("skip", {index + 1}),)),
            )


def _is_damaged(cells: Sequence[str], width: int, *, is_last: bool) -> bool:
    """Whether a line outside the numbers starts as a row does, rather than being text."""
    if not _ANY_NUMBER.fullmatch(cells[0]):
        return False
    if len(cells) == 1:
        return is_last
    return _ANY_NUMBER.fullmatch(cells[1]) is not None or filled_width(cells) == width


def _suffixes(lines: Lines, rows: dict[int, Row], width: int) -> list[str]:
    """What stands behind the numbers of each column, which must be the same in all rows."""
    if not any(any(row.suffixes) for row in rows.values()):
        return [""] * width
    suffixes: list[str | None] = [None] * width
    sources = [0] * width
    for shape, row in rows.items():
        for column, suffix in enumerate(row.suffixes[:width]):
            if suffix is None or suffix == suffixes[column]:
                continue
            index = lines.shapes[shape].first
            if suffixes[column] is not None:
                raise lines.error(
                    index,
                    f"column {column} has '{shortened(suffix)}' behind its number, where line "
                    f"{sources[column] + 1} has '{shortened(suffixes[column] or '')}'",
                )
            suffixes[column], sources[column] = suffix, index
    return [suffix or "" for suffix in suffixes]
