"""Text files as instruments and spreadsheets write them: headers, comments, decimal commas.

What is not stated is found out from the whole file, and refused where it can be read in two ways.
"""

import math
import operator
import os
import re
from collections.abc import Collection, Iterator, Mapping, Sequence, Set
from itertools import pairwise
from typing import IO, Literal, NamedTuple, get_args

from ._core import AKIMA, Interpolation, Scan
from ._refusal import refusal
from ._text_layout import (
    DELIMITERS,
    NUMBERS,
    PERCENT,
    WAVELENGTH,
    Block,
    Lines,
    Titles,
    decoded,
    find_block,
    find_layout,
    find_titles,
    is_missing,
    read_source,
    split_cells,
    two_readings,
)
from ._wavelengths import WavelengthUnit, in_nm

type Duplicates = Literal["refuse", "first", "last", "mean"]

_FRACTION = re.compile(
    r"trans?mi(?:ss|tt?)|reflect(?!or)|\btau\b|τ|\bT\b|\bR\b|r[eé]flexi|透[过過射]|反射率",
    re.IGNORECASE,
)


class Skipped(NamedTuple):
    """A line of the file that is not in the scans."""

    line: int
    text: str
    reason: str


class Table(Mapping[str, Scan]):
    """The spectra of a text file by the names of their columns, and how the file was read.

    A mapping of names to scans, as `read_table` returns it. ``print(table)`` says what was
    found, guessed and skipped.

    Attributes
    ----------
    source : str
        The file, as it was named.
    encoding, delimiter, decimal : str
        How it was read; the delimiter " " stands for any run of blanks.
    skipped : tuple of Skipped
        The lines that hold no points (headers, units, comments, what was asked for), each
        with its number from 1, its text and the reason. Empty lines are not listed.
    units : dict of str to str
        The units that the titles state, by name of the column; empty for a column without one.
    notes : tuple of str
        What else differs from the file: cells without a number, merged wavelengths,
        conversions.
    """

    def __init__(
        self,
        scans: Mapping[str, Scan],
        source: str,
        encoding: str,
        delimiter: str,
        decimal: str,
        units: Mapping[str, str],
        skipped: Sequence[Skipped],
        notes: Sequence[str],
    ) -> None:
        self._scans = dict(scans)
        self.source = source
        self.encoding = encoding
        self.delimiter = delimiter
        self.decimal = decimal
        self.units = dict(units)
        self.skipped = tuple(skipped)
        self.notes = tuple(notes)

    def __getitem__(self, name: str) -> Scan:
        return self._scans[name]

    def __iter__(self) -> Iterator[str]:
        return iter(self._scans)

    def __len__(self) -> int:
        return len(self._scans)

    @property
    def scan(self) -> Scan:
        """The only spectrum of the file; ValueError, naming them, if there are several."""
        if len(self._scans) != 1:
            names = ", ".join(f"'{name}'" for name in self._scans)
            raise ValueError(
                f"{self.source}: {len(self._scans)} spectra, one is needed; choose by name: {names}"
            )
        return next(iter(self._scans.values()))

    def report(self) -> str:
        """What was found, guessed and skipped, a line each."""
        lines = [
            f"{self.source}: {len(self._scans)} spectr{'um' if len(self._scans) == 1 else 'a'}, "
            f"encoding {self.encoding}, delimiter {DELIMITERS.get(self.delimiter, self.delimiter)}"
            f", decimal {'comma' if self.decimal == ',' else 'point'}"
        ]
        lines += [f"'{name}': {scan!r}" for name, scan in self._scans.items()]
        lines += self.notes
        lines += [f"skipped line {line}, {reason}: {text}" for line, text, reason in self.skipped]
        return "\n".join(lines)

    def __str__(self) -> str:
        return self.report()

    def __repr__(self) -> str:
        scans = ", ".join(f"{name!r}: {scan!r}" for name, scan in self._scans.items())
        return f"<Table {self.source!r} {{{scans}}}, {len(self.skipped)} lines skipped>"


def read_table(
    path: str | os.PathLike[str] | IO[str] | IO[bytes],
    *,
    columns: Sequence[int | str] | None = None,
    skip: int | Collection[int] = 0,
    delimiter: str | None = None,
    decimal: str | None = None,
    encoding: str | None = None,
    wavelength_unit: WavelengthUnit | None = None,
    percent: bool | None = None,
    duplicates: Duplicates = "refuse",
    sort: bool = False,
    epsilon: float = 1e-20,
    interpolation: Interpolation = AKIMA,
) -> Table:
    """Read spectra from a text file with a column of wavelengths and columns of values.

    Takes what instruments and spreadsheets write: lines of text and units above the numbers
    and of text below them, comments (``#``, ``%``, ``!``, ``//``), empty lines, decimal commas,
    quoted cells, UTF-8, UTF-16 and Windows' Western European code page. What is not given is
    found out from the file; what can be read in two ways is refused, never guessed.

    Parameters
    ----------
    path : path or open file
        The file.
    columns : sequence of int or str, optional
        The column of the wavelengths and those of the values, by number from 0 or by name.
        Without it the wavelengths are in the column whose name says so, else in the first,
        and all others are values.
    skip : int or collection of int
        How many lines at the start, or which lines (numbers from 1), are passed over unread.
    delimiter : str, optional
        What separates the columns: one character, or " " for any run of blanks and tabs.
    decimal : {".", ","}, optional
        The decimal sign.
    encoding : str, optional
        A name of Python's codecs. Without it a byte-order mark decides, else UTF-8 and, where
        the bytes are none, Windows-1252.
    wavelength_unit : {"nm", "um", "angstrom", "m"}, optional
        What the wavelengths are in; the scans are in nm. Values stay as they are: those per um
        stay per um. Without it the file must be in nm: another unit in the title is refused,
        and so are wavelengths that look like another one where nothing is stated (all below 20,
        or all from 2500 up).
    percent : bool, optional
        Whether the values are in per cent and to be divided by 100. Without it a column is
        refused if its title says per cent, or if it is titled as a transmittance or
        reflectance and reaches above 2; with False it is read as it stands.
    duplicates : {"refuse", "first", "last", "mean"}
        What a wavelength that occurs twice means: an error, or which value counts.
    sort : bool
        Whether wavelengths may come in any order; else they must ascend or descend throughout.
    epsilon, interpolation
        Settings of the scans, as in ``Scan()``.

    Returns
    -------
    Table
        A mapping of column names to scans; ``table.scan`` is the only one of a file with two
        columns. ``table.skipped`` has the lines that were passed over with the reason, and
        ``print(table)`` tells all of it. Nothing is printed or warned of by itself: what could
        change a figure is an error.

    Raises
    ------
    ValueError
        If the file cannot be read in exactly one way or its columns, wavelengths or units are
        not plausible; the text names the file and the line.
    OSError
        If the file cannot be opened.

    Examples
    --------
    >>> import io
    >>> import vekanalysis as vek
    >>> file = io.StringIO("Lens 7\\nWavelength [nm];T\\n400;0,25\\n410;0,5\\n")
    >>> table = vek.read_table(file)
    >>> table.scan
    Scan(400→410[2])
    >>> print(table)
    file: 1 spectrum, encoding text, delimiter semicolon, decimal comma
    'T': Scan(400→410[2])
    skipped line 1, text: Lens 7
    skipped line 2, column names: Wavelength [nm];T
    """
    _check_options(delimiter, decimal, duplicates, percent)
    source, content = read_source(path)
    text, encoding = decoded(source, content, encoding)
    lines = Lines(source, text, skip)
    delimiter, decimal, is_doubtful = find_layout(lines, delimiter, decimal)
    block = find_block(lines, delimiter, decimal, is_doubtful)
    titles = find_titles(lines, delimiter, block)
    if is_doubtful and not all(titles.found):
        raise two_readings(lines, block.rows[0])
    names = titles.names or [f"column {index}" for index in range(block.width)]
    wavelength_column, value_columns = _choose(source, names, titles, columns)

    cells = _split_rows(lines, block, delimiter, decimal)
    wavelengths = _wavelengths(lines, block, cells[wavelength_column])
    if not sort:
        _check_order(lines, block, wavelengths, may_repeat=duplicates != "refuse")
    elif duplicates == "refuse":
        _check_distinct(lines, block, wavelengths)
    converted = in_nm(
        wavelengths, titles.wavelength_title(wavelength_column), wavelength_unit, source
    )
    notes = []
    if wavelength_unit not in (None, "nm"):
        notes.append(f"wavelengths converted from {wavelength_unit} to nm")
    if percent:
        notes.append("values divided by 100")
    scans: dict[str, Scan] = {}
    units: dict[str, str] = {}
    for column in value_columns:
        name = names[column]
        if columns is None and column < wavelength_column and _counts_rows(cells[column]):
            notes.append(f"'{name}' left out: it numbers the rows")
            continue
        values = _column(lines, block, cells[column])
        xs, ys = _present(converted, values)
        if not ys:
            raise refusal(f"{source}: '{name}' has no numbers", "choose others with columns=")
        if len(ys) < len(values):
            notes.append(
                f"'{name}': cells without a number left out: {len(values) - len(ys)}, "
                f"the first in line {block.rows[values.index(None)] + 1}"
            )
        if percent is None:
            _check_percent(source, name, titles.value_title(column), max(ys))
        elif percent:
            ys = [value / 100.0 for value in ys]
        points = len(ys)
        if duplicates != "refuse":
            xs, ys = _merged(xs, ys, duplicates)
        scan = Scan(xs, ys, epsilon, interpolation)
        lost = points - len(scan.wavelengths())
        if lost:
            notes.append(f"'{name}': points merged with others of the same wavelength: {lost}")
        name = _free_name(name, scans)
        scans[name] = scan
        units[name] = "1" if percent else titles.unit(column)
    if not scans:
        raise refusal(f"{source}: there is no column of values beside the wavelengths")
    skipped = _skipped(lines, block, titles)
    return Table(scans, source, encoding, delimiter, decimal, units, skipped, notes)


def _check_options(
    delimiter: str | None, decimal: str | None, duplicates: str, percent: bool | None
) -> None:
    if delimiter is not None and len(delimiter) != 1:
        raise ValueError(f"delimiter is {delimiter!r}; it must be one character, ' ' for blanks")
    if decimal is not None and decimal not in NUMBERS:
        raise ValueError(f"decimal is {decimal!r}; it must be '.' or ','")
    if delimiter is not None and delimiter == decimal:
        raise ValueError(f"delimiter and decimal are both {delimiter!r}; they must differ")
    if percent not in (None, True, False):
        raise ValueError(f"percent is {percent!r}; it must be True, False or None")
    if duplicates not in get_args(Duplicates.__value__):
        known = ", ".join(repr(name) for name in get_args(Duplicates.__value__))
        raise ValueError(f"duplicates is {duplicates!r}; it must be one of {known}")


def _choose(
    source: str, names: list[str], titles: Titles, columns: Sequence[int | str] | None
) -> tuple[int, list[int]]:
    """The columns of wavelengths and of values."""
    if columns is not None:
        # A set has no order, so it cannot tell the wavelengths from the values.
        if isinstance(columns, str | Set) or len(columns) < 2:
            raise ValueError(
                f"columns is {columns!r}; it must be the column of the wavelengths and at least "
                "one of values"
            )
        chosen = [_find_column(source, names, column) for column in columns]
        if len({*chosen}) < len(chosen):
            raise ValueError(f"columns is {columns!r}; it must not name a column twice")
        return chosen[0], chosen[1:]
    likely = [
        column
        for column in range(len(names))
        if titles.names and WAVELENGTH.search(titles.title(column))
    ]
    if len(likely) > 1:
        got = " and ".join(f"{column} '{names[column]}'" for column in likely)
        raise refusal(
            f"{source}: columns {got} look like wavelengths",
            "choose with columns=, the wavelengths first",
        )
    wavelength = likely[0] if likely else 0
    return wavelength, [column for column in range(len(names)) if column != wavelength]


def _counts_rows(texts: Sequence[str]) -> bool:
    """Whether a column numbers its rows, as the index that pandas writes does."""
    return texts[0].strip() in ("0", "1") and [*texts] == [
        str(number) for number in range(int(texts[0]), int(texts[0]) + len(texts))
    ]


def _find_column(source: str, names: list[str], column: int | str) -> int:
    if not isinstance(column, str):
        column = operator.index(column)
        if not 0 <= column < len(names):
            raise ValueError(
                f"{source}: there is no column {column}; there are {len(names)}, from 0"
            )
        return column
    found = [index for index, name in enumerate(names) if name == column] or [
        index
        for index, name in enumerate(names)
        if re.split(r"\s*[\[(]|\s+/\s+", name)[0] == column
    ]
    if len(found) != 1:
        there = ", ".join(f"'{name}'" for name in names)
        what = "several columns" if found else "no column"
        raise ValueError(f"{source}: there is {what} named '{column}'; the columns are: {there}")
    return found[0]


def _split_rows(lines: Lines, block: Block, delimiter: str, decimal: str) -> list[list[str]]:
    """The texts of the columns."""
    rows = [lines.texts[row] for row in block.rows]
    text = delimiter.join(rows)
    if decimal == ",":
        text = text.replace(",", ".")
    cells = text.split(None if delimiter == " " else delimiter)
    widths = {
        len(split_cells(shape, delimiter)) for shape in {lines.shapes[row] for row in block.rows}
    }
    if len(widths) == 1 and len(cells) == len(rows) * (width := widths.pop()) and '"' not in text:
        return [cells[column::width] for column in range(block.width)]
    if decimal == ",":
        rows = [row.replace(",", ".") for row in rows]
    split = [split_cells(row, delimiter) for row in rows]
    return [[row[column] for row in split] for column in range(block.width)]


def _column(lines: Lines, block: Block, texts: list[str]) -> list[float | None]:
    """The numbers of a column; None where a cell says that there is none."""
    try:
        numbers = [*map(float, texts)]
    except ValueError:
        numbers = [math.nan if is_missing(text.strip()) else float(text) for text in texts]
    if math.isfinite(sum(numbers)):
        return [*numbers]
    for index, number in enumerate(numbers):
        if math.isinf(number):
            raise lines.error(block.rows[index], f"'{texts[index].strip()}' is too large a number")
    return [None if math.isnan(number) else number for number in numbers]


def _wavelengths(lines: Lines, block: Block, texts: list[str]) -> list[float]:
    wavelengths = []
    for row, wavelength in zip(block.rows, _column(lines, block, texts), strict=True):
        if wavelength is None:
            raise lines.error(row, "there is no wavelength")
        if wavelength <= 0.0:
            raise lines.error(row, f"the wavelength is {wavelength:g}; it must be above zero")
        wavelengths.append(wavelength)
    return wavelengths


def _check_order(lines: Lines, block: Block, wavelengths: list[float], *, may_repeat: bool) -> None:
    """Refuse wavelengths that neither ascend nor descend throughout."""
    other = next((wl for wl in wavelengths if wl != wavelengths[0]), wavelengths[0])
    descending = other < wavelengths[0]
    for index, (a, b) in enumerate(pairwise(wavelengths), start=1):
        if a == b and not may_repeat:
            raise lines.error(
                block.rows[index],
                f"wavelength {b:g} again",
                "pass duplicates='first', 'last' or 'mean'",
            )
        if a != b and (b < a) != descending:
            raise lines.error(
                block.rows[index],
                f"wavelength {b:g} after {a:g}, where they {'de' if descending else 'a'}scend",
                "pass sort=True if any order is meant",
            )


def _check_distinct(lines: Lines, block: Block, wavelengths: list[float]) -> None:
    first: dict[float, int] = {}
    for index, wavelength in enumerate(wavelengths):
        if first.setdefault(wavelength, index) != index:
            raise lines.error(
                block.rows[index],
                f"wavelength {wavelength:g} again, after line {block.rows[first[wavelength]] + 1}",
                "pass duplicates='first', 'last' or 'mean'",
            )


def _present(
    wavelengths: Sequence[float], values: Sequence[float | None]
) -> tuple[Sequence[float], list[float]]:
    present = [value for value in values if value is not None]
    if len(present) == len(values):
        return wavelengths, present
    return [wl for wl, value in zip(wavelengths, values, strict=True) if value is not None], present


def _check_percent(source: str, name: str, title: str, highest: float) -> None:
    if PERCENT.search(title):
        reason = f"is in per cent ('{title}')"
    elif _FRACTION.search(title) and highest > 2.0:
        reason = f"reaches {highest:g}, which looks like per cent"
    else:
        return
    raise refusal(
        f"{source}: '{name}' {reason}",
        "pass percent=True to divide by 100 or percent=False to take the values as they are",
    )


def _merged(
    wavelengths: Sequence[float], values: Sequence[float], duplicates: Duplicates
) -> tuple[list[float], list[float]]:
    groups: dict[float, list[float]] = {}
    for wavelength, value in zip(wavelengths, values, strict=True):
        groups.setdefault(wavelength, []).append(value)
    index = 0 if duplicates == "first" else -1
    merged = [
        math.fsum(group) / len(group) if duplicates == "mean" else group[index]
        for group in groups.values()
    ]
    return [*groups], merged


def _free_name(name: str, taken: Collection[str]) -> str:
    free, count = name, 1
    while free in taken:
        count += 1
        free = f"{name} ({count})"
    return free


def _skipped(lines: Lines, block: Block, titles: Titles) -> list[Skipped]:
    asked, rows = {*lines.asked}, {*block.rows}
    skipped = []
    for index, text in enumerate(lines.texts):
        if index in rows or not text.strip():
            continue
        if index in asked:
            reason = "as asked"
        elif index in titles.lines:
            reason = titles.lines[index]
        else:
            reason = "comment" if lines.is_comment(text) else "text"
        skipped.append(Skipped(index + 1, lines.text(index), reason))
    return skipped
