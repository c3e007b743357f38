"""The door: what a file is, and the spectra in it."""

import hashlib
import os
from collections.abc import Collection, Mapping, Sequence
from types import MappingProxyType
from typing import IO, Any

from .._core import AKIMA, Interpolation, Scan, io
from .._files import path_as_text
from ..errors import Refusal
from ..spectrum import Source, Spectrum
from ..units import Kind
from . import laboratory, measurement
from .encoding import read_source, shortened
from .laboratory import laboratory_format, read_laboratory
from .measurement import is_measurement_file, parse_measurement, read_measurement
from .statements import Statement
from .text import Column, Duplicates, TextFile, TextOptions, check_options, read_text
from .values import Options, check_values, settled
from .wavelengths import WavelengthUnit, may_be_wavenumbers

EXTENSIONS = (
    *(".asc", ".csv", ".dat", ".dx", ".jcm", ".jdx", ".spc", ".spdx", ".tsv", ".txt", ".vek"),
    ".xml",
)
"""The endings, in lower case, of files that may hold spectra."""

_NOTHING = Statement()
# Of the lines without numbers that nothing was found in, how many are named.
_NAMED_LINES = 5


def read(
    path: str | os.PathLike[str] | IO[str] | IO[bytes],
    *,
    data_sets: Sequence[str] = (),
    columns: Sequence[int | str] | None = None,
    skip: int | Collection[int] = 0,
    delimiter: str | None = None,
    decimal: str | None = None,
    encoding: str | None = None,
    wavelength_unit: WavelengthUnit | None = None,
    kind: Kind | None = None,
    unit: str | None = None,
    duplicates: Duplicates = "refuse",
    sort: bool = False,
    epsilon: float = 1e-20,
    interpolation: Interpolation = AKIMA,
) -> list[Spectrum]:
    """Read the spectra of a file: a measurement file or a text file, whatever its name.

    Of text files all that `read_table` takes. What a file states of kinds and units is followed:
    values come out in the coherent unit of their kind (fractions, W m-2 nm-1, OD), wavelengths in
    nm, and ``notes`` tells what was found and done. What cannot be read in exactly one way is
    refused, never guessed.

    Parameters
    ----------
    path : path or open file
        The file.
    data_sets : sequence of str
        Of a measurement file only the data sets of these names, of files of other instruments
        the spectra; each must be there.
    columns, skip, delimiter, decimal, encoding
        How a text file is laid out, as in `read_table`.
    wavelength_unit : {"nm", "um", "angstrom", "m"}, optional
        What the wavelengths are in where the file does not state it.
    kind : str, optional
        The kind of measurement (one of ``vekanalysis.units.KINDS``) where the file does not
        state it.
    unit : str, optional
        The unit of the values where the file does not state it, in any spelling that
        ``vekanalysis.units.parse`` understands.
    duplicates : {"refuse", "first", "last", "mean"}
        What a wavelength that occurs twice means in a text file: an error, or which value
        counts. In a measurement file the last one does.
    sort : bool
        Whether wavelengths of a text file may come in any order.
    epsilon, interpolation
        Settings of the scans, as in ``Scan()``.

    Returns
    -------
    list of Spectrum
        One for each column of values or data set, in the order of the file.

    Raises
    ------
    Refusal
        (a ValueError) If the file cannot be read in exactly one way or states what cannot be
        followed, or if ``wavelength_unit``, ``kind`` or ``unit`` contradict what it states. The
        text names the file and the line.
    OSError
        If the file cannot be opened.

    Examples
    --------
    >>> import io
    >>> import vekanalysis as vek
    >>> lens, = vek.read(io.StringIO("Wavelength [nm];T (%)\\n400;25\\n410;50\\n"))
    >>> lens
    <Spectrum 'file': transmittance in 1, Scan(400→410[2])>
    >>> lens.notes
    ("column 1 'T (%)': transmittance in %, divided by 100",)
    """
    name, content = read_source(path)
    return read_content(
        content,
        name,
        data_sets=data_sets,
        kind=kind,
        unit=unit,
        columns=columns,
        skip=skip,
        delimiter=delimiter,
        decimal=decimal,
        encoding=encoding,
        wavelength_unit=wavelength_unit,
        duplicates=duplicates,
        sort=sort,
        epsilon=epsilon,
        interpolation=interpolation,
    )


def read_content(
    content: bytes | str,
    name: str,
    *,
    data_sets: Sequence[str] = (),
    kind: Kind | None = None,
    unit: str | None = None,
    **options: Any,
) -> list[Spectrum]:
    """The spectra in what a file of that name holds; the arguments of `read`."""
    values, text = Options(kind, unit), TextOptions(**options)
    check_values(values)
    check_options(text)
    if not content:
        raise Refusal(f"{name}: the file is empty")
    if isinstance(content, str):
        source = Source(name)
        pairs = _from_pairs(content.encode(errors="replace"), source, values, text)
        if pairs is not None:
            return [pairs]
        return _from_text(read_text(name, content, text, follows=True), source, values)
    source = Source(name, sha256=hashlib.sha256(content).hexdigest())
    if is_measurement_file(content):
        return read_measurement(content, source, data_sets, values, text)
    spectrum = _from_pairs(content, source, values, text)
    if spectrum is not None:
        return [spectrum]
    form = laboratory_format(content)
    if form is not None:
        return read_laboratory(content, form, source, data_sets, values, options, stem(name))
    return _from_text(read_text(name, content, text, follows=True), source, values)


def offered_names(content: bytes, name: str, encoding: str | None = None) -> dict[str, str] | None:
    """The names that ``data_sets`` of `read` chooses by, by label; None of a table of text."""
    if is_measurement_file(content):
        return measurement.offered_names(parse_measurement(content, name))
    form = laboratory_format(content)
    return form and laboratory.offered_names(content, form, name, encoding)


def _from_pairs(
    content: bytes, source: Source, values: Options, text: TextOptions
) -> Spectrum | None:
    """The spectrum of a text of pairs of numbers that leaves no question open, else None.

    Most files are such pairs, and are read here several times faster than as tables. A comma
    between two numbers is no decimal sign, since one number a line is no spectrum.
    """
    takes_last = text.duplicates == "last"
    if not text.says_nothing_of_the_layout() or text.duplicates not in ("refuse", "last"):
        return None
    pairs = io._read_pairs(content)
    if pairs is None:
        return None
    _, _, lowest, highest, _, _ = pairs.facts(0)
    _, repeat, turn = pairs.order(0)
    in_order = turn is None and (repeat is None or takes_last)
    is_plain = 100.0 <= lowest < 2500.0 and not may_be_wavenumbers(lowest, highest)
    if not (in_order and is_plain):
        return None
    scan, merged = pairs.scan(0, 1, text.epsilon, text.interpolation)
    notes = _repeated(merged)
    label = stem(source.file or "")
    return _spectrum(scan, _NOTHING, values, (label, source, {}, notes), "column 1")


def _repeated(count: int) -> tuple[str, ...]:
    if not count:
        return ()
    plural = "s" * (count > 1)
    return (f"{count} repeated wavelength{plural}: the last value of each counts",)


def _from_text(file: TextFile, source: Source, values: Options) -> list[Spectrum]:
    """The spectra of a table."""
    notes = list(file.notes)
    unused = {index + 1 for index in file.header.others}
    lines = [str(skipped.line) for skipped in file.skipped if skipped.line in unused]
    if lines:
        more = len(lines) - _NAMED_LINES
        named = ", ".join(lines[:_NAMED_LINES]) + (f" and {more} more" if more > 0 else "")
        notes.append(f"skipped, since there are no numbers: line {named}")
    alone = len(file.columns) == 1
    metadata = MappingProxyType(file.header.facts)
    spectra = []
    for column in file.columns:
        label = stem(source.file or "") if alone else column.name
        place = source._replace(column=None if alone else column.name)
        facts = (label, place, metadata, (*notes, *column.notes))
        what = _what(column)
        spectra.append(
            _spectrum(column.scan, column.statement, values, facts, what, column.highest)
        )
    return spectra


def _what(column: Column) -> str:
    """``column 1 'T (%)'``."""
    what = f"column {column.number}"
    if not column.words or column.words == what:
        return what
    return f"{what} '{shortened(column.words)}'"


def _spectrum(
    scan: Scan,
    statement: Statement,
    values: Options,
    facts: tuple[str, Source, Mapping[str, str], tuple[str, ...]],
    what: str,
    highest: float | None = None,
) -> Spectrum:
    label, source, metadata, notes = facts
    found = settled(scan, statement, values, what, f"{source.file}: {what}", highest)
    return Spectrum(
        found.scan, found.kind, found.unit, label, source, metadata, (*notes, *found.notes)
    )


def stem(path: str) -> str:
    """The name of a file without folder and ending, if the ending is one of measurements."""
    name = path_as_text(path.replace("\\", "/").rpartition("/")[2])
    start, dot, extension = name.rpartition(".")
    return start if start and f"{dot}{extension.lower()}" in EXTENSIONS else name
