"""A report of quantities as text."""

from collections.abc import Iterator
from itertools import groupby
from typing import NamedTuple

from .._core import version
from ..quantities import Quantity
from ._cells import COLUMN, Figures, Footnotes, Style, cells_of, column_width, negative_notes
from ._layout import (
    Heading,
    interval,
    note_lines,
    shortened,
    shortened_within,
    showable,
    spectra_lines,
    text_width,
    wrap,
)

# Symbol, name and the marks of its notes; the last column of these is blank.
_NAME = 39
# As short as it becomes on a narrow screen.
_SHORT_NAME = 24
# From here on a clear lens's figure is off in the fourth decimal.
_CLEAR = 0.00005
# Characters of a label that are worth a column.
_LABEL = 12


class _Widths(NamedTuple):
    """Of the columns before the figures; a section or band of no width is left out."""

    section: int = 9
    band: int = 8
    unit: int = 5
    name: int = _NAME

    @property
    def before(self) -> int:
        """Of all of them, and of the blanks at the start."""
        return 2 + sum(self)


# Long units take the place of the sections.
_LONG_UNITS = _Widths(0, 9, 13)


class _Row(NamedTuple):
    """A quantity: the marks of its notes, and its figures."""

    quantity: Quantity
    unit: str
    mark: str
    cells: list[str]


def report_lines(report: Figures, encoding: str, style: Style) -> list[str]:
    footnotes = Footnotes()
    width = text_width(style.width)
    lines: list[str] = [Heading(f"{report.title}, vekanalysis {version()}"), ""]
    lines += spectra_lines(report.spectra, width)
    rows = []
    for quantity in report.quantities:
        if quantity.key not in report.hidden:
            mark = footnotes.mark(quantity.notes)
            cells = cells_of(quantity, report, style, footnotes, encoding)
            rows.append(_Row(quantity, showable(style.unit(quantity), encoding), mark, cells))
    widths = _Widths()
    if any(len(row.quantity.unit) >= widths.unit for row in rows):
        widths = _LONG_UNITS
    columns = [column_width(report)] * len(report.spectra)
    if len(columns) == 1:
        columns = [max(columns[0], 2 * COLUMN - 2)]  # for a longer label
    if style.width is None:
        lines += _block(rows, report, widths, columns, range(len(columns)), encoding)
    else:
        lines += _blocks(rows, report, widths, style.width, encoding)
    lines += ["", Heading("Notes")]
    for note, count in footnotes.texts.items():
        lines += wrap(note, f"{f'[{count}]':>6} ", width)
    said = report.uncertainty
    more = list(said.notes(report.spectra, report.values)) if said else []
    if style.is_for_people:
        more += negative_notes(report.spectra, style)
    return lines + note_lines([*report.notes, *_clear_lens_notes(report, style), *more], width)


def _blocks(
    rows: list[_Row], report: Figures, widths: _Widths, width: int, encoding: str
) -> Iterator[str]:
    """All rows for the spectra that fit beside each other, then for the next ones."""
    count = len(report.spectra)
    columns = _natural_columns(rows, count)
    if widths.before + max(columns) > width:
        # Blanks before the figures, sections, bands and long names go first.
        rows = [row._replace(cells=_moved(rows, row)) for row in rows]
        columns = _natural_columns(rows, count)
    for name in ("section", "band"):
        if widths.before + max(columns) > width:
            widths = widths._replace(**{name: 0})
    too_much = max(0, widths.before + max(columns) - width)
    widths = widths._replace(name=max(_SHORT_NAME, widths.name - too_much))
    start = 0
    while start < count:
        end, used = start, widths.before
        while end < count and (end == start or used + columns[end] <= width):
            used += columns[end]
            end += 1
        if (start, end) != (0, count):
            which = f"Spectra {start + 1} to" if end > start + 1 else "Spectrum"
            yield from ("", Heading(f"{which} {end} of {count}"))
        if count == 1:
            columns = [max(columns[0], width - widths.before)]
        yield from _block(rows, report, widths, columns, range(start, end), encoding)
        start = end


def _natural_columns(rows: list[_Row], count: int) -> list[int]:
    """How wide the columns of the spectra are for all that is in them."""
    return [
        max(_LABEL, *(len(row.cells[index].rstrip()) for row in rows)) + 2 for index in range(count)
    ]


def _moved(rows: list[_Row], row: _Row) -> list[str]:
    """The figures of a row as far to the left as the column lets them be."""
    blanks = [
        min(len(each.cells[index]) - len(each.cells[index].lstrip()) for each in rows)
        for index in range(len(row.cells))
    ]
    return ["  " + cell[blank:] for cell, blank in zip(row.cells, blanks, strict=True)]


def _block(
    rows: list[_Row],
    report: Figures,
    widths: _Widths,
    columns: list[int],
    shown: range,
    encoding: str,
) -> Iterator[str]:
    for standard, group in groupby(rows, key=lambda row: row.quantity.standard):
        yield from ("", _heading(standard, report, widths, columns, shown))
        for row in group:
            cells = "".join(f"{row.cells[index].rstrip():<{columns[index]}}" for index in shown)
            yield f"{_before(row, widths, encoding)}{cells}".rstrip()


def _heading(
    standard: str, report: Figures, widths: _Widths, columns: list[int], shown: range
) -> Heading:
    labels = ""
    for index in shown:
        label, room = report.spectra[index].label, columns[index] - 2
        if len(report.spectra) > 1:
            label = f"{index + 1} {label}"
        labels += f"  {shortened_within(label, room):<{room}}"
    cells = zip(("section", "band nm", "unit"), widths, strict=False)
    facts = "".join(f"{cell:<{width}}" for cell, width in cells if width)
    title = shortened(standard or "Spectrum", widths.name + 1)
    return Heading(f"{title:<{widths.name + 2}}{facts}{labels}".rstrip())


def _before(row: _Row, widths: _Widths, encoding: str) -> str:
    """What stands before the figures of a quantity."""
    quantity = row.quantity
    # Plainer characters may be more: they are counted.
    symbol = f"{showable(quantity.symbol, encoding):<6} "
    room = widths.name - len(symbol) - len(row.mark) - 2
    name = f"{symbol}{shortened_within(showable(quantity.name, encoding), room)} {row.mark}"
    band = interval(quantity.band) if quantity.band else ""
    facts = zip((quantity.section, band, row.unit), widths, strict=False)
    between = "".join(f"{fact:<{width}}" for fact, width in facts if width)
    return f"  {name:<{widths.name}}{between}"


def _clear_lens_notes(report: Figures, style: Style) -> list[str]:
    """What a clear lens would give where that is not 1, once for spectra that share it."""
    labels: dict[str, list[str]] = {}
    one = "100.00 %" if style.percent else "1.0000"
    for spectrum, values in zip(report.spectra, report.values, strict=True):
        figures = []
        for quantity in report.quantities:
            clear = values[quantity.key].clear_lens
            if clear is not None and abs(clear - 1.0) >= _CLEAR:
                shown = f"{style.number(quantity, clear)}{' %' * bool(style.scale(quantity))}"
                figures.append(f"{quantity.standard.split(':')[0]} {quantity.name} {shown}")
        labels.setdefault("; ".join(figures), []).append(spectrum.label)
    return [
        f"A clear lens (1 at each wavelength of {' and of '.join(names)}) would give {figures}; "
        f"{one} for the other transmittances."
        for figures, names in labels.items()
        if figures
    ]
