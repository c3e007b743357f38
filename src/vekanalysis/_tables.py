"""Text files as instruments and spreadsheets write them: headers, comments, decimal commas.

What is not stated is found out from the whole file, and refused where it can be read in two
ways. Lines are judged by their shape, in which a 0 stands for each run of digits: a file of a
hundred thousand lines has a handful of shapes, so that all rules cost next to nothing.
"""

import codecs
import csv
import math
import os
import re
from collections import Counter
from collections.abc import Collection, Iterator, Mapping, Sequence
from itertools import pairwise
from typing import IO, Literal, NamedTuple, get_args

from ._core import AKIMA, Interpolation, Scan
from ._refusal import refusal
from ._wavelengths import WavelengthUnit, in_nm, stated_unit

type Duplicates = Literal["refuse", "first", "last", "mean"]

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
_DELIMITERS = {"\t": "tab", ";": "semicolon", ",": "comma", " ": "blanks"}
_NUMBERS = {
    ".": re.compile(r"[+-]?(?:[0-9]+\.?[0-9]*|\.[0-9]+)(?:[eE][+-]?[0-9]+)?"),
    ",": re.compile(r"[+-]?(?:[0-9]+,?[0-9]*|,[0-9]+)(?:[eE][+-]?[0-9]+)?"),
}
_DIGITS = str.maketrans("123456789", "000000000")
_WAVELENGTH = re.compile(
    r"wave\s*length|\bwl\b|lambda|λ|wellenl|longueur d.onde|^\W*(?:nm|[µμu]m|Å)\W*$",
    re.IGNORECASE,
)
_OTHER_SPECTRAL = re.compile(r"wave\s*number|wellenzahl|frequen|photon energy", re.IGNORECASE)
_TITLE_AND_UNIT = re.compile(r"[^\s\[(]\S*(?:\s*[\[(][^\])]*[\])]|\s+/\s+\S+)?")
_PERCENT = re.compile(r"%|per\s?cent|prozent|pourcent", re.IGNORECASE)
_FRACTION = re.compile(
    r"transmi(?:ss|tt)|reflect(?!or)|\btau\b|τ|\bT\b|\bR\b|reflexion|réflexion", re.IGNORECASE
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
            f"encoding {self.encoding}, delimiter {_DELIMITERS.get(self.delimiter, self.delimiter)}"
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
    _check_options(delimiter, decimal, duplicates)
    source, content = _read(path)
    text, encoding = _decoded(source, content, encoding)
    lines = _Lines(source, text, skip)
    delimiter, decimal, is_doubtful = _find_layout(lines, delimiter, decimal)
    block = _find_block(lines, delimiter, decimal, is_doubtful)
    titles = _find_titles(lines, delimiter, block)
    if is_doubtful and not all(titles.found):
        raise _two_readings(lines, block.rows[0])
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


class _Lines:
    """The lines of a file and their shapes; what is to be skipped has the shape of no line."""

    def __init__(self, source: str, text: str, skip: int | Collection[int]) -> None:
        self.source = source
        text = text.replace("\r\n", "\n").replace("\r", "\n").replace("\N{MINUS SIGN}", "-")
        self.texts = text.split("\n")
        shapes = text.translate(_DIGITS).replace("0000", "0")
        while "00" in shapes:
            shapes = shapes.replace("00", "0")
        self.shapes = shapes.split("\n")
        if isinstance(skip, int) and skip < 0:
            raise ValueError(f"skip is {skip}; it must be a number of lines, or a set of lines")
        self.asked = range(skip) if isinstance(skip, int) else [number - 1 for number in skip]
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


class _Block(NamedTuple):
    """The lines of numbers, by index, and how many columns they have."""

    rows: list[int]
    width: int


class _Titles(NamedTuple):
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
            return "%" if _PERCENT.search(self.free_text) else ""
        if self.units and self.units[column]:
            return self.units[column].strip("[]()")
        name = self.names[column]
        stated = re.search(r"[\[(]([^\])]*)[\])]$|\s/\s(.+)$", name)
        if stated:
            return (stated[1] or stated[2] or "").strip()
        return "%" if _PERCENT.search(name) else ""

    def wavelength_title(self, column: int) -> str:
        if self.names:
            return self.title(column)
        is_title = _WAVELENGTH.search(self.free_text) or _OTHER_SPECTRAL.search(self.free_text)
        return self.free_text if is_title else ""

    def value_title(self, column: int) -> str:
        return self.title(column) if self.names else self.free_text


def _check_options(delimiter: str | None, decimal: str | None, duplicates: str) -> None:
    if delimiter is not None and len(delimiter) != 1:
        raise ValueError(f"delimiter is {delimiter!r}; it must be one character, ' ' for blanks")
    if decimal is not None and decimal not in _NUMBERS:
        raise ValueError(f"decimal is {decimal!r}; it must be '.' or ','")
    if delimiter is not None and delimiter == decimal:
        raise ValueError(f"delimiter and decimal are both {delimiter!r}; they must differ")
    if duplicates not in get_args(Duplicates.__value__):
        known = ", ".join(repr(name) for name in get_args(Duplicates.__value__))
        raise ValueError(f"duplicates is {duplicates!r}; it must be one of {known}")


def _read(path: str | os.PathLike[str] | IO[str] | IO[bytes]) -> tuple[str, bytes | str]:
    if not isinstance(path, str | os.PathLike):
        return str(getattr(path, "name", "file")), path.read()
    with open(path, "rb") as file:
        return os.fspath(path), file.read()


def _decoded(source: str, content: bytes | str, encoding: str | None) -> tuple[str, str]:
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


def _cells(line: str, delimiter: str) -> list[str]:
    if delimiter == " ":
        return line.split()
    if '"' in line:
        (cells,) = csv.reader([line], delimiter=delimiter, skipinitialspace=True)
    else:
        cells = line.split(delimiter)
    return [cell.strip() for cell in cells]


def _without_empty_end(cells: list[str]) -> list[str]:
    while cells and not cells[-1]:
        cells = cells[:-1]
    return cells


def _is_missing(cell: str) -> bool:
    return cell.casefold() in _MISSING


def _is_row(cells: list[str], decimal: str) -> bool:
    """Whether there are two cells at least, and in them numbers or what stands for none."""
    numbers = [cell for cell in cells if not _is_missing(cell)]
    return len(cells) >= 2 and bool(numbers) and all(map(_NUMBERS[decimal].fullmatch, numbers))


def _find_layout(
    lines: _Lines, delimiter: str | None, decimal: str | None
) -> tuple[str, str, bool]:
    """Delimiter and decimal sign that make most lines rows of numbers; whether that is doubtful.

    Layouts that come out equal read the same numbers. What is doubtful is the comma as delimiter
    of digits alone, since it may be a decimal sign.
    """
    best, found = 0, ("", "")
    for layout in [
        (a, b)
        for a in ([delimiter] if delimiter else _DELIMITERS)
        for b in ([decimal] if decimal else _NUMBERS)
        if a != b
    ]:
        fitting = sum(
            count
            for shape, count in lines.counts.items()
            if _is_row(_cells(shape, layout[0]), layout[1])
        )
        if fitting > best:
            best, found = fitting, layout
    if not best:
        raise _no_rows(lines, delimiter, decimal)
    is_guess = delimiter is None and decimal is None and found[0] == ","
    rows = [shape for shape in lines.counts if _is_row(_cells(shape, found[0]), found[1])]
    return *found, is_guess and not _are_delimiters(rows)


def _are_delimiters(rows: Sequence[str]) -> bool:
    """Whether the commas cannot be decimal signs: points are, or no digit follows a comma."""
    return any("." in row for row in rows) or not any(re.search(r",[0-9]", row) for row in rows)


def _two_readings(lines: _Lines, index: int) -> ValueError:
    return lines.error(
        index,
        f"'{lines.text(index)}' can be read in two ways, the comma as delimiter or as decimal sign",
        "pass delimiter=',' or decimal=','",
    )


def _no_rows(lines: _Lines, delimiter: str | None, decimal: str | None) -> ValueError:
    needed = "lines with two numbers or more"
    if delimiter or decimal:
        given = {"delimiter": delimiter, "decimal": decimal}
        needed += " for " + " and ".join(f"{k}={v!r}" for k, v in given.items() if v)
    for index, shape in enumerate(lines.shapes):
        if shape in lines.counts:
            return lines.error(index, f"got '{lines.text(index)}', need {needed}")
    return refusal(f"{lines.source}: there are no numbers in it; need {needed}")


def _find_block(lines: _Lines, delimiter: str, decimal: str, is_doubtful: bool) -> _Block:
    """The rows of numbers; ValueError where something else stands between them."""
    cells = {shape: _cells(shape, delimiter) for shape in lines.counts}
    rows_of = {shape: row for shape, row in cells.items() if _is_row(row, decimal)}
    rows = [index for index, shape in enumerate(lines.shapes) if shape in rows_of]
    width = max(len(_without_empty_end(row)) for row in rows_of.values())
    if width < 2:
        raise lines.error(rows[0], f"got one column, '{lines.text(rows[0])}'; two are needed")

    first, last = rows[0], rows[-1]
    narrow = {shape for shape, row in rows_of.items() if len(row) < width}
    damaged = {
        shape
        for shape, row in cells.items()
        if shape not in rows_of
        and len(_without_empty_end(row)) == width
        and _NUMBERS[decimal].fullmatch(row[0])
    }
    others = lines.counts.keys() - rows_of.keys() | narrow
    for index in [index for index, shape in enumerate(lines.shapes) if shape in others]:
        shape = lines.shapes[index]
        if shape in narrow and is_doubtful:
            raise _two_readings(lines, index)
        if shape in narrow:
            widest = next(row for row in rows if lines.shapes[row] not in narrow)
            raise lines.error(
                index, f"{len(cells[shape])} columns where line {widest + 1} has {width}"
            )
        if first < index < last or shape in damaged:
            raise lines.error(
                index,
                f"'{lines.text(index)}' is not a row of {width} numbers as line {first + 1} is",
                f"pass skip={{{index + 1}}} to leave it out",
            )
    return _Block(rows, width)


def _find_titles(lines: _Lines, delimiter: str, block: _Block) -> _Titles:
    above = [i for i in range(block.rows[0] - 1, -1, -1) if lines.shapes[i].strip()]
    texts = [i for i in above if not lines.is_comment(lines.texts[i])]
    titled = [
        (index, cells)
        for index in (texts or above)[:2]
        if (cells := _title_cells(lines.texts[index], delimiter, block.width))
    ]
    if not titled:
        return _Titles([], [], [""], lines.texts[above[0]] if above else "", {})
    index, names = titled[0]
    units: list[str] = []
    found = {index: "column names"}
    if len(titled) == 2 and any(stated_unit(cell) and _is_bare_unit(cell) for cell in names):
        units = names
        found[index] = "units"
        index, names = titled[1]
        found[index] = "column names"
    named = [name or f"column {column}" for column, name in enumerate(names)]
    return _Titles(named, units, names, "", found)


def _is_bare_unit(cell: str) -> bool:
    return len(cell.strip("[]() ")) <= 8 and not re.search(r"\s", cell.strip())


def _title_cells(line: str, delimiter: str, width: int) -> list[str]:
    """The cells of a line of titles, or none if they are not one for each column."""
    if _Lines.is_comment(line):
        line = line.lstrip().lstrip("".join(_COMMENTS))
    line = line.strip(" ")
    ways = [_cells(line, delimiter)]
    if delimiter == " ":
        # Titles with blanks in them: in columns of text, or before their units.
        ways.append([cell.strip() for cell in re.split(r"\t|\s{2,}", line)])
        ways.append(_TITLE_AND_UNIT.findall(line))
    for cells in ways:
        cells = [*_without_empty_end(cells), *[""] * width][: max(width, len(cells))]
        if len(_without_empty_end(cells)) > 1 and len(_without_empty_end(cells)) <= width:
            return cells[:width]
    return []


def _choose(
    source: str, names: list[str], titles: _Titles, columns: Sequence[int | str] | None
) -> tuple[int, list[int]]:
    """The columns of wavelengths and of values."""
    if columns is not None:
        if isinstance(columns, str) or len(columns) < 2:
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
        if titles.names and _WAVELENGTH.search(titles.title(column))
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
    if isinstance(column, int):
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


def _split_rows(lines: _Lines, block: _Block, delimiter: str, decimal: str) -> list[list[str]]:
    """The texts of the columns."""
    rows = [lines.texts[row] for row in block.rows]
    text = delimiter.join(rows)
    if decimal == ",":
        text = text.replace(",", ".")
    cells = text.split(None if delimiter == " " else delimiter)
    widths = {len(_cells(shape, delimiter)) for shape in {lines.shapes[row] for row in block.rows}}
    if len(widths) == 1 and len(cells) == len(rows) * (width := widths.pop()) and '"' not in text:
        return [cells[column::width] for column in range(block.width)]
    if decimal == ",":
        rows = [row.replace(",", ".") for row in rows]
    split = [_cells(row, delimiter) for row in rows]
    return [[row[column] for row in split] for column in range(block.width)]


def _column(lines: _Lines, block: _Block, texts: list[str]) -> list[float | None]:
    """The numbers of a column; None where a cell says that there is none."""
    try:
        numbers = [*map(float, texts)]
    except ValueError:
        numbers = [math.nan if _is_missing(text.strip()) else float(text) for text in texts]
    if math.isfinite(sum(numbers)):
        return [*numbers]
    for index, number in enumerate(numbers):
        if math.isinf(number):
            raise lines.error(block.rows[index], f"'{texts[index].strip()}' is too large a number")
    return [None if math.isnan(number) else number for number in numbers]


def _wavelengths(lines: _Lines, block: _Block, texts: list[str]) -> list[float]:
    wavelengths = []
    for row, wavelength in zip(block.rows, _column(lines, block, texts), strict=True):
        if wavelength is None:
            raise lines.error(row, "there is no wavelength")
        if wavelength <= 0.0:
            raise lines.error(row, f"the wavelength is {wavelength:g}; it must be above zero")
        wavelengths.append(wavelength)
    return wavelengths


def _check_order(
    lines: _Lines, block: _Block, wavelengths: list[float], *, may_repeat: bool
) -> None:
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


def _check_distinct(lines: _Lines, block: _Block, wavelengths: list[float]) -> None:
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
    if _PERCENT.search(title):
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


def _skipped(lines: _Lines, block: _Block, titles: _Titles) -> list[Skipped]:
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
