"""Text files as instruments and spreadsheets write them, as scans by the names of columns.

What is not stated is found out from the whole file, and refused where it can be read in two ways.
"""

import os
import re
from collections.abc import Collection, Iterator, Mapping, Sequence
from typing import IO

from .._core import AKIMA, Interpolation, Scan
from ..errors import Refusal, Remedy
from .encoding import read_source, shortened
from .layout import DELIMITERS
from .text import Column, Duplicates, Skipped, TextOptions, read_text
from .titles import unit_text
from .values import HIGHEST_FRACTION
from .wavelengths import WavelengthUnit

_PERCENT = re.compile(r"%|per\s?cent|pro[zc]ent|pourcent|por\s?cien|por\s?cento", re.IGNORECASE)
_FRACTION = re.compile(
    r"trans?mi(?:ss|tt?)|reflect(?!or)|\btau\b|τ|\bT\b|\bR\b|r[eé]flexi|透[過过射]|反射率",
    re.IGNORECASE,
)


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
        all from 2500 up, or from some 400 to 4000 as the wavenumbers of infrared spectra).
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
    if percent not in (None, True, False):
        raise Refusal(f"percent is {percent!r}; it must be True, False or None")
    options = TextOptions(
        columns,
        skip,
        delimiter,
        decimal,
        encoding,
        wavelength_unit,
        duplicates,
        sort,
        epsilon,
        interpolation,
    )
    source, content = read_source(path)
    file = read_text(source, content, options, follows=False)
    notes = [*file.notes[: file.conversions], *(["values divided by 100"] if percent else [])]
    notes += file.notes[file.conversions :]
    notes += [note for column in file.columns for note in column.notes]
    scans: dict[str, Scan] = {}
    units: dict[str, str] = {}
    for column in file.columns:
        if percent is None:
            _check_percent(source, column)
        scans[column.name] = column.scan / 100.0 if percent else column.scan
        units[column.name] = "1" if percent else unit_text(file.titles, column.number)
    layout = file.layout
    return Table(
        scans,
        source,
        file.encoding,
        layout.delimiter,
        layout.decimal,
        units,
        file.skipped,
        notes,
    )


def _check_percent(source: str, column: Column) -> None:
    title = column.title
    if _PERCENT.search(title):
        reason = f"is in per cent ('{shortened(title)}')"
    elif _FRACTION.search(title) and column.highest > HIGHEST_FRACTION:
        reason = f"reaches {column.highest:g}, which looks like per cent"
    else:
        return
    raise Refusal(
        f"{source}: '{shortened(column.name)}' {reason}",
        Remedy(
            "pass {} to divide by 100 or {} to take the values as they are",
            (("percent", True), ("percent", False)),
        ),
    )
