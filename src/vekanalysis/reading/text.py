"""Text files as columns of wavelengths and values: all that `read` and `read_table` share."""

import math
import operator
import re
from collections.abc import Collection, Iterable, Sequence, Set
from typing import Literal, NamedTuple, get_args

from .._core import AKIMA, Interpolation, Scan, io
from ..errors import Refusal, Remedy
from ..units import fits
from .encoding import shortened, to_utf8
from .layout import (
    DECIMALS,
    Block,
    Layout,
    Lines,
    find_block,
    find_layout,
    is_comment,
    split_cells,
    two_readings,
)
from .misplaced import refuse_count, refuse_row_of_wavelengths
from .named_rows import without_names
from .statements import Statement, state_unit
from .titles import FACTOR_KEYS, Header, Titles, find_header, find_titles
from .wavelengths import (
    POWER_OF_TEN,
    TO_NM,
    Range,
    WavelengthUnit,
    check_likely,
    check_nm,
    check_wavelength_unit,
    in_nm,
    stated_unit,
)

type Duplicates = Literal["refuse", "first", "last", "mean"]
# By which values are multiplied for a table.
_POWER_OF_TEN = re.compile(POWER_OF_TEN)
_DUPLICATES: tuple[str, ...] = get_args(Duplicates.__value__)
# Columns whose names an error lists.
_NAMED = 8
# Columns of values that are read at a time: some seconds' work.
_MOST_COLUMNS = 100_000


class TextOptions(NamedTuple):
    """What a caller says of a text file; see `read`."""

    columns: Sequence[int | str] | None = None
    skip: int | Collection[int] = 0
    delimiter: str | None = None
    decimal: str | None = None
    encoding: str | None = None
    wavelength_unit: WavelengthUnit | None = None
    duplicates: Duplicates = "refuse"
    sort: bool = False
    epsilon: float = 1e-20
    interpolation: Interpolation = AKIMA

    def says_nothing_of_the_layout(self) -> bool:
        return self[:6] == (None, 0, None, None, None, None)


class Skipped(NamedTuple):
    """A line of the file that is not in the scans."""

    line: int
    text: str
    reason: str


class Column(NamedTuple):
    """A column of values: its place, its name, what is stated of it, and its points."""

    number: int
    name: str
    # What stands above it, and what the statement is from.
    title: str
    words: str
    statement: Statement
    scan: Scan
    highest: float
    # What was done to it alone.
    notes: tuple[str, ...]


class TextFile(NamedTuple):
    """What was found in a text file."""

    source: str
    encoding: str
    layout: Layout
    columns: list[Column]
    # Of all columns.
    notes: list[str]
    # How many of the notes, from the first, are about wavelengths.
    conversions: int
    skipped: list[Skipped]
    titles: Titles
    header: Header


class _Chosen(NamedTuple):
    """A column of values with the column of its wavelengths, by number in the file."""

    wavelengths: int
    values: int


class _Numbers(NamedTuple):
    """The columns of numbers that were asked for, and where they are."""

    source: str
    lines: Lines
    block: Block
    core: io._TextColumns
    # Numbers in the file to numbers in the core.
    places: dict[int, int]

    def line_of(self, row: int) -> int:
        return self.lines.core.line_of_row(self.block.shapes, row)

    def error(self, row: int, reason: str, remedy: Remedy | None = None) -> Refusal:
        return self.lines.error(self.line_of(row), reason, remedy)


def check_options(options: TextOptions) -> None:
    """Refuse what no file can be read with."""
    delimiter, decimal = options.delimiter, options.decimal
    if delimiter is not None and len(delimiter) != 1:
        raise Refusal(f"delimiter is {delimiter!r}; it must be one character, ' ' for blanks")
    if decimal is not None and decimal not in DECIMALS:
        raise Refusal(f"decimal is {decimal!r}; it must be '.' or ','")
    if delimiter is not None and delimiter == decimal:
        raise Refusal(f"delimiter and decimal are both {delimiter!r}; they must differ")
    if options.duplicates not in _DUPLICATES:
        names = ", ".join(repr(name) for name in _DUPLICATES)
        raise Refusal(f"duplicates is {options.duplicates!r}; it must be one of {names}")
    if options.wavelength_unit is not None:
        check_wavelength_unit(options.wavelength_unit)


def read_text(
    source: str, content: bytes | str, options: TextOptions, *, follows: bool
) -> TextFile:
    """The columns of a text file.

    ``follows`` says that a stated unit of wavelengths is followed, and what contradicts it
    refused; otherwise one that is not nm is refused, and the caller's word wins.
    """
    check_options(options)
    text, encoding = to_utf8(source, content, options.encoding)
    lines, layout, names_note = _lines(source, text, options)
    block = find_block(lines, layout)
    titles = find_titles(layout, block)
    if layout.is_doubtful and not all(titles.found):
        raise two_readings(lines, block.first)
    refuse_row_of_wavelengths(lines, layout, block)
    header = find_header(block.texts, titles, layout.delimiter)
    _refuse_factors(source, header)
    names = titles.names or [f"column {index}" for index in range(block.width)]
    chosen = _choose(source, names, titles, options.columns)
    if len(chosen) > _MOST_COLUMNS:
        raise Refusal(
            f"{source}: {len(chosen)} columns of values; "
            f"at most {_MOST_COLUMNS} are read at a time",
            Remedy("choose with {}", (("columns", ...),)),
        )
    numbers = _numbers(lines, layout, block, chosen)
    notes = _wavelengths_in_nm(numbers, chosen, titles, header, options, follows=follows)
    conversions = len(notes)
    notes += names_note
    columns: list[Column] = []
    for pair in chosen:
        if options.columns is None and _counts_rows(numbers, pair):
            notes.append(f"'{shortened(names[pair.values])}' left out: it numbers the rows")
            continue
        name = _name(titles, names, pair)
        columns.append(_column(numbers, pair, name, titles, header, options))
    if not columns:
        raise Refusal(f"{source}: there is no column of values beside the wavelengths")
    columns = _with_distinct_names(columns)
    skipped = _skipped(lines, block.texts, titles)
    return TextFile(source, encoding, layout, columns, notes, conversions, skipped, titles, header)


def _lines(source: str, text: bytes, options: TextOptions) -> tuple[Lines, Layout, list[str]]:
    """The lines and how they are laid out, and a note where names of rows were left out."""
    lines = Lines(source, text, options.skip)
    try:
        return lines, find_layout(lines, options.delimiter, options.decimal), []
    except Refusal:
        unnamed = without_names(text)
        if unnamed is None:
            raise
    lines = Lines(source, unnamed.text, options.skip)
    note = f"the wavelengths stand in the names of the rows, as '{shortened(unnamed.example)}'"
    return lines, find_layout(lines, options.delimiter, options.decimal), [note]


def _refuse_factors(source: str, header: Header) -> None:
    """Refuse numbers that are to be multiplied, as those of JCAMP-DX may be."""
    for name, neutral in ("XFACTOR", 1.0), ("YFACTOR", 1.0), ("YOFFSET", 0.0):
        text = header.facts.get(name)
        if text is not None and not _is_number(text, neutral):
            raise Refusal(f"{source}: its numbers are to be converted ({name} is {text})")
    for name, factor in header.facts.items():
        if name.lower() in FACTOR_KEYS and _POWER_OF_TEN.fullmatch(factor):
            raise Refusal(
                f"{source}: its numbers may be to be multiplied ({name} is {factor})",
                Remedy("pass {} with the number of that line if they are not", (("skip", ...),)),
            )


def _is_number(text: str, number: float) -> bool:
    try:
        return float(text.replace(",", ".")) == number
    except ValueError:
        return False


def _choose(
    source: str, names: list[str], titles: Titles, columns: Sequence[int | str] | None
) -> list[_Chosen]:
    """The columns of values, each with that of its wavelengths."""
    if columns is not None:
        # A set has no order, so it cannot tell the wavelengths from the values.
        if isinstance(columns, str | Set) or len(columns) < 2:
            raise Refusal(
                f"columns is {columns!r}; it must be the column of the wavelengths and at least "
                "one of values"
            )
        asked = [_find_column(source, names, column) for column in columns]
        if len({*asked}) < len(asked):
            raise Refusal(f"columns is {columns!r}; it must not name a column twice")
        return [_Chosen(asked[0], column) for column in asked[1:]]
    likely = titles.wavelength_columns()
    if len(likely) < 2:
        wavelength = likely[0] if likely else 0
        return [_Chosen(wavelength, c) for c in range(len(names)) if c != wavelength]
    # Pairs of columns, or a column of wavelengths before several of values, over and over.
    ends = [*likely[1:], len(names)]
    if likely[0] != 0 or any(end - start < 2 for start, end in zip(likely, ends, strict=True)):
        got = " and ".join(f"{column} '{shortened(names[column])}'" for column in likely[:4])
        raise Refusal(
            f"{source}: columns {got} look like wavelengths",
            Remedy("choose with {}, the wavelengths first", (("columns", ...),)),
        )
    return [
        _Chosen(start, column)
        for start, end in zip(likely, ends, strict=True)
        for column in range(start + 1, end)
    ]


def _find_column(source: str, names: list[str], column: int | str) -> int:
    if not isinstance(column, str):
        column = operator.index(column)
        if not 0 <= column < len(names):
            raise Refusal(f"{source}: there is no column {column}; there are {len(names)}, from 0")
        return column
    found = [index for index, name in enumerate(names) if name == column] or [
        index for index, name in enumerate(names) if _without_unit(name) == column
    ]
    if len(found) != 1:
        there = ", ".join(f"'{shortened(name)}'" for name in names[:_NAMED])
        if len(names) > _NAMED:
            there += f" and {len(names) - _NAMED} more"
        what = "are several columns" if found else "is no column"
        raise Refusal(f"{source}: there {what} named '{column}'; the columns are: {there}")
    return found[0]


def _without_unit(name: str) -> str:
    """``Wavelength`` of ``Wavelength (nm)`` or ``Wavelength / nm``."""
    for sign in ("[", "(", " / "):
        name = name.split(sign, 1)[0]
    return name.rstrip()


def _numbers(lines: Lines, layout: Layout, block: Block, chosen: Iterable[_Chosen]) -> _Numbers:
    columns = sorted({column for pair in chosen for column in pair})
    core = lines.core.columns(block.shapes, layout.delimiter, layout.decimal, layout.group, columns)
    index, place, is_too_large = core.problem
    if index is not None and place is not None:
        text = lines.core.line(index).decode(errors="replace")
        cell = shortened(split_cells(text, layout.delimiter)[place])
        if is_too_large:
            raise lines.error(index, f"'{cell}' is too large a number")
        raise lines.error(
            index,
            f"'{shortened(text)}' is not a row of {block.width} numbers as line "
            f"{block.first + 1} is: '{cell}' has no groups of three digits",
            Remedy("pass {} to leave it out", (("skip", {index + 1}),)),
        )
    places = {column: place for place, column in enumerate(columns)}
    return _Numbers(lines.source, lines, block, core, places)


def _counts_rows(numbers: _Numbers, pair: _Chosen) -> bool:
    """Whether a column numbers its rows, as the index that pandas writes does."""
    if pair.values > pair.wavelengths:
        return False
    missing, _, lowest, _, _, counts = numbers.core.facts(numbers.places[pair.values])
    return missing == 0 and lowest in (0.0, 1.0) and counts


def _wavelengths_in_nm(
    numbers: _Numbers,
    chosen: Sequence[_Chosen],
    titles: Titles,
    header: Header,
    options: TextOptions,
    *,
    follows: bool,
) -> list[str]:
    """Check the columns of wavelengths and convert them; notes of what was done."""
    converted: dict[str, None] = {}
    columns: dict[int, list[int]] = {}
    for pair in chosen:
        columns.setdefault(pair.wavelengths, []).append(pair.values)
    for column, values in columns.items():
        ends = _check_wavelengths(numbers, column, values, options, alone=len(columns) == 1)
        stated = titles.wavelength_title(column) or numbers.block.suffixes[column]
        is_other = titles.names_no_wavelengths(column)
        if stated_unit(stated) is None and header.wavelength_unit:
            stated = header.wavelength_unit
            is_other = stated_unit(stated) is None
        if is_other and options.wavelength_unit is None:
            raise Refusal(
                f"{numbers.source}: '{shortened(stated)}' is no title of wavelengths",
                Remedy(
                    "choose them with {}, or give {} if it holds wavelengths",
                    (("columns", ...), ("wavelength_unit", "nm")),
                ),
            )
        unit = _wavelength_unit(ends, stated, options.wavelength_unit, numbers.source, follows)
        if unit != "nm":
            for end in in_nm(ends[:2], "", unit, numbers.source):
                if not 0.0 < end < math.inf:
                    size = "large" if end else "small"
                    raise Refusal(f"{numbers.source}: a wavelength in {unit} is too {size}")
            numbers.core.convert(numbers.places[column], *TO_NM[unit])
            converted[unit] = None
    return [f"wavelengths converted from {unit} to nm" for unit in converted]


def _wavelength_unit(
    ends: Range, stated: str, asked: WavelengthUnit | None, source: str, follows: bool
) -> WavelengthUnit:
    """What wavelengths are in, or a Refusal where that is not certain."""
    unit = stated_unit(stated)
    if not follows or unit not in ("nm", "um", "angstrom", "m", None):
        if asked is None or follows:
            check_nm(ends, stated, source)
        return asked or "nm"
    if unit is None:
        if asked is None:
            check_likely(ends, source)
        return asked or "nm"
    if asked not in (None, unit):
        raise Refusal(
            f"{source}: the wavelengths are in {unit} ('{shortened(stated)}'), asked for is "
            f"{asked}",
            Remedy("leave {} out", (("wavelength_unit", ...),)),
        )
    return unit  # type: ignore[return-value]


def _check_wavelengths(
    numbers: _Numbers, column: int, values: Sequence[int], options: TextOptions, *, alone: bool
) -> Range:
    """Refuse wavelengths that are missing, not above zero, or in no order."""
    place = numbers.places[column]
    missing, first_missing, lowest, highest, first_not_positive, counts = numbers.core.facts(place)
    if missing and not alone:
        # Of pairs of columns the shorter ones end with empty cells.
        without = (numbers.core.first_without(place, numbers.places[value]) for value in values)
        first_missing = min((row for row in without if row is not None), default=None)
    if first_missing is not None:
        raise numbers.error(first_missing, "there is no wavelength")
    if first_not_positive is not None:
        number = numbers.core.column(place)[first_not_positive]
        raise numbers.error(
            first_not_positive, f"the wavelength is {number:g}; it must be above zero"
        )
    if lowest < 100.0 and options.wavelength_unit is None:
        refuse_count(numbers.lines, numbers.line_of(0), numbers.core, place)
    if not options.sort:
        _check_order(numbers, place, may_repeat=options.duplicates != "refuse")
    elif options.duplicates == "refuse":
        _check_distinct(numbers, place)
    return Range(lowest, highest, counts)


def _check_order(numbers: _Numbers, place: int, *, may_repeat: bool) -> None:
    """Refuse wavelengths that neither ascend nor descend throughout."""
    descending, repeat, turn = numbers.core.order(place)
    repeat = None if may_repeat else repeat
    if repeat is None and turn is None:
        return
    column = numbers.core.column(place)
    if turn is None or (repeat is not None and repeat < turn):
        assert repeat is not None
        raise _repeated(numbers, repeat, column[repeat])
    before = next(wl for wl in reversed(column[:turn]) if not math.isnan(wl))
    raise numbers.error(
        turn,
        f"wavelength {column[turn]:g} after {before:g}, where they "
        f"{'de' if descending else 'a'}scend",
        Remedy("pass {} if any order is meant", (("sort", True),)),
    )


def _repeated(numbers: _Numbers, row: int, wavelength: float, after: str = "") -> Refusal:
    return numbers.error(
        row,
        f"wavelength {wavelength:g} again{after}",
        Remedy("pass {}, 'last' or 'mean'", (("duplicates", "first"),)),
    )


def _check_distinct(numbers: _Numbers, place: int) -> None:
    first: dict[float, int] = {}
    for row, wavelength in enumerate(numbers.core.column(place)):
        if not math.isnan(wavelength) and first.setdefault(wavelength, row) != row:
            line = numbers.line_of(first[wavelength]) + 1
            raise _repeated(numbers, row, wavelength, f", after line {line}")


def _column(
    numbers: _Numbers,
    pair: _Chosen,
    name: str,
    titles: Titles,
    header: Header,
    options: TextOptions,
) -> Column:
    notes: list[str] = []
    x, y = numbers.places[pair.wavelengths], numbers.places[pair.values]
    missing, first_missing, _, highest, _, _ = numbers.core.facts(y)
    if math.isnan(highest):
        raise Refusal(
            f"{numbers.source}: '{shortened(name)}' has no numbers",
            Remedy("choose others with {}", (("columns", ...),)),
        )
    absent = numbers.core.facts(x)[0]
    if first_missing is not None and missing > absent:
        notes.append(
            f"'{shortened(name)}': cells without a number left out: {missing - absent}, "
            f"the first in line {numbers.line_of(first_missing) + 1}"
        )
    if options.duplicates in ("first", "mean"):
        xs, ys = numbers.core.points(x, y)
        merged_xs, merged_ys = _merged(xs, ys, options.duplicates)
        scan = Scan(merged_xs, merged_ys, options.epsilon, options.interpolation)
        lost = len(xs) - len(scan.wavelengths())
    else:
        scan, lost = numbers.core.scan(x, y, options.epsilon, options.interpolation)
    if lost:
        notes.append(
            f"'{shortened(name)}': points merged with others of the same wavelength: {lost}"
        )
    statement = titles.statement(pair.values)
    title = titles.value_title(pair.values)
    words = title if titles.found[-1:] != [""] or statement != Statement() else ""
    if statement.words in titles.letters:
        is_telling = statement.unit is not None and statement.unit.kind != "absorbance"
        statement = statement._replace(kind=None, words="") if is_telling else Statement()
    suffix = numbers.block.suffixes[pair.values]
    if suffix:
        statement = _with_suffix(numbers, name, statement, suffix)
    elif statement.kind is None and not statement.unit_text:
        words = header.source or words
        statement = header.statement._replace(words=statement.words)
    elif not statement.unit_text:
        statement = _with_unit_of(header.statement, statement)
    other = _contradicting(header.statement, statement)
    if other:
        notes.append(
            f"'{shortened(name)}': the header states {other} ('{shortened(header.source)}')"
        )
    return Column(pair.values, name, title, words, statement, scan, highest, tuple(notes))


def _with_unit_of(header: Statement, statement: Statement) -> Statement:
    """With the unit that a header states, if it is one of the column's kind."""
    unit, kind = header.unit, statement.kind
    if unit is None or kind is None or header.kind not in (None, kind) or not fits(kind, unit):
        return statement
    return statement._replace(unit_text=header.unit_text, unit=unit)


def _contradicting(header: Statement, statement: Statement) -> str:
    """The kind or the unit that a header states otherwise than the column; empty without one."""
    if header.kind is not None:
        return "" if header.kind == statement.kind else header.kind
    unit, own = header.unit, statement.unit
    differs = unit and own and unit.base == own.base and unit.name != own.name
    return unit.name if unit and differs else ""


def _with_suffix(numbers: _Numbers, name: str, statement: Statement, suffix: str) -> Statement:
    """With the unit behind the numbers, which must not contradict the title."""
    behind = state_unit(suffix, statement.words)
    titled, written = statement.unit, behind.unit
    if titled is not None and written is not None and titled.name != written.name:
        raise Refusal(
            f"{numbers.source}: '{shortened(name)}' is in {titled.name} by its title and in "
            f"{written.name} by its cells"
        )
    return behind._replace(kind=behind.kind or statement.kind)


def _merged(
    wavelengths: Sequence[float], values: Sequence[float], duplicates: Duplicates
) -> tuple[list[float], list[float]]:
    groups: dict[float, list[float]] = {}
    for wavelength, value in zip(wavelengths, values, strict=True):
        groups.setdefault(wavelength, []).append(value)
    if duplicates == "mean":
        return [*groups], [math.fsum(group) / len(group) for group in groups.values()]
    return [*groups], [group[0] for group in groups.values()]


def _name(titles: Titles, names: list[str], pair: _Chosen) -> str:
    """The name of a column of values; that of its sample, where the file has them in pairs."""
    name = names[pair.values]
    if not titles.samples:
        return name
    sample = titles.samples[pair.values] or titles.samples[pair.wavelengths]
    return sample or name


def distinct(names: Iterable[str]) -> list[str]:
    """The names, those that occurred before with a number: ``A, A (2), A (3)``."""
    taken: set[str] = set()
    counts: dict[str, int] = {}
    labels = []
    for name in names:
        label, count = name, counts.get(name, 1)
        while label in taken:
            count += 1
            label = f"{name} ({count})"
        counts[name] = count
        taken.add(label)
        labels.append(label)
    return labels


def _with_distinct_names(columns: list[Column]) -> list[Column]:
    names = distinct(column.name for column in columns)
    return [column._replace(name=name) for column, name in zip(columns, names, strict=True)]


def _skipped(lines: Lines, texts: dict[int, str], titles: Titles) -> list[Skipped]:
    """The lines that hold no points, but for empty ones."""
    if lines.left_out:
        texts = texts | lines.texts([], with_skipped=True)
    skipped = []
    for index in sorted(texts):
        text = texts[index]
        if not text.strip():
            continue
        if index in lines.left_out:
            reason = "as asked"
        elif index in titles.lines:
            reason = titles.lines[index]
        else:
            reason = "comment" if is_comment(text) else "text"
        skipped.append(Skipped(index + 1, shortened(text), reason))
    return skipped
