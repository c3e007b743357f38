"""A report of quantities as text."""

from collections.abc import Mapping, Sequence
from itertools import groupby
from typing import NamedTuple, Protocol

from .._core import version
from ..quantities import Quantity, Value
from ..spectrum import Spectrum
from ._layout import (
    Heading,
    aligned,
    interval,
    note_lines,
    number,
    shortened,
    showable,
    spectra_lines,
    wrap,
)
from ._repeated import SCATTER_WIDTH, Repeated
from ._uncertain import WIDTH, Uncertainty

# Symbol, name and the marks of its notes; the last column of these is blank.
_NAME = 39
# The column of a spectrum: a number with its point in the same place throughout, and a mark.
_BEFORE, _AFTER, _MARK = 6, 5, 5
_COLUMN = _BEFORE + 1 + _AFTER + _MARK
# The same with an uncertainty.
_UNCERTAIN = WIDTH + _MARK
# From here on a clear lens's figure is off in the fourth decimal.
_CLEAR = 0.00005


class Figures(Protocol):
    """What is written: the attributes of a ``Report``."""

    title: str
    spectra: tuple[Spectrum, ...]
    quantities: tuple[Quantity, ...]
    values: tuple[Mapping[str, Value], ...]
    notes: tuple[str, ...]
    uncertainty: Uncertainty | None
    repeats: tuple[Repeated | None, ...]
    hidden: frozenset[str]


class _Widths(NamedTuple):
    """Of the columns between the names and the figures; a section of no width is left out."""

    section: int = 9
    band: int = 8
    unit: int = 5


# Long units take the place of the sections.
_LONG_UNITS = _Widths(0, 9, 13)


class _Footnotes:
    """Texts by number, each once."""

    def __init__(self) -> None:
        self.texts: dict[str, int] = {}

    def mark(self, texts: Sequence[str]) -> str:
        """``[1,3]`` for texts that become notes 1 and 3; nothing for none."""
        numbers = dict.fromkeys(self.texts.setdefault(t, len(self.texts) + 1) for t in texts)
        return f"[{','.join(map(str, numbers))}]" if numbers else ""


def report_lines(report: Figures, encoding: str) -> list[str]:
    footnotes = _Footnotes()
    lines: list[str] = [Heading(f"{report.title}, vekanalysis {version()}"), ""]
    lines += spectra_lines(report.spectra)
    shown = [quantity for quantity in report.quantities if quantity.key not in report.hidden]
    widths = _Widths()
    if any(len(quantity.unit) >= widths.unit for quantity in shown):
        widths = _LONG_UNITS
    for standard, group in groupby(shown, key=lambda quantity: quantity.standard):
        lines += ["", _heading(standard, report, widths)]
        for quantity in group:
            lines.append(_row(quantity, report, widths, footnotes, encoding))
    lines += ["", Heading("Notes")]
    for note, count in footnotes.texts.items():
        lines += wrap(note, f"{f'[{count}]':>6} ")
    said = report.uncertainty
    more = said.notes(report.spectra, report.values) if said else ()
    return lines + note_lines([*report.notes, *_clear_lens_notes(report), *more])


def _heading(standard: str, report: Figures, widths: _Widths) -> Heading:
    columns, spectra = "", report.spectra
    wide = 0 if report.uncertainty is None else _UNCERTAIN - _COLUMN
    wide += SCATTER_WIDTH * any(report.repeats)
    for count, spectrum in enumerate(spectra, start=1):
        label, room = spectrum.label, 2 * _COLUMN - 4
        if len(spectra) > 1:
            label, room = f"{count} {label}", _COLUMN - 2
        columns += f"  {shortened(label, room):<{_COLUMN - 2 + wide}}"
    title = standard or "Spectrum"
    cells = zip(("section", "band nm", "unit"), widths, strict=True)
    facts = "".join(f"{cell:<{width}}" for cell, width in cells if width)
    return Heading(f"{title:<{_NAME + 2}}{facts}{columns}".rstrip())


def _row(
    quantity: Quantity, report: Figures, widths: _Widths, footnotes: _Footnotes, encoding: str
) -> str:
    # Plainer characters may be more: they are counted.
    symbol = f"{showable(quantity.symbol, encoding):<6} "
    unit = showable(quantity.unit, encoding)
    mark = footnotes.mark(quantity.notes)
    name = shortened(showable(quantity.name, encoding), _NAME - len(symbol) - len(mark) - 2)
    name = f"{symbol}{name} {mark}"
    band = interval(quantity.band) if quantity.band else ""
    cells = ""
    for index, values in enumerate(report.values):
        value = values[quantity.key]
        said = report.uncertainty and report.uncertainty.cell(index, quantity.key)
        if said:
            mark = footnotes.mark(_value_notes(quantity, value))
            cells += f"{f'{showable(said, encoding)} {mark}':<{_UNCERTAIN}}"
        else:
            width = 0 if report.uncertainty is None else _UNCERTAIN
            cells += f"{_cell(quantity, value, footnotes):<{width}}"
        if any(report.repeats):
            repeats = report.repeats[index]
            cells += f"{repeats.text(quantity.key) if repeats else '':<{SCATTER_WIDTH}}"
    facts = zip((quantity.section, band, unit), widths, strict=True)
    between = "".join(f"{fact:<{width}}" for fact, width in facts if width)
    return f"  {name:<{_NAME}}{between}{cells}".rstrip()


def _cell(quantity: Quantity, value: Value, footnotes: _Footnotes) -> str:
    shown = "-" if value.value is None else number(value.value)
    if quantity.is_stored and value.value is not None:
        shown = f"{value.value:.10g}"
    mark = footnotes.mark(_value_notes(quantity, value))
    cell = aligned(shown, _BEFORE, _AFTER)
    gap = " " if mark and not cell.endswith(" ") else ""
    return f"{cell}{gap}{mark:<{_MARK}}"


def _value_notes(quantity: Quantity, value: Value) -> list[str]:
    notes = []
    if value.value is not None and value.needed and value.covered and not value.complete:
        rest = "counts as 0" if quantity.is_integral else "does not count"
        notes.append(
            f"Data cover {interval(value.covered)} of {interval(value.needed)} nm; the rest {rest}."
        )
    if value.problem:
        notes.append(f"{value.problem.removesuffix('.')}.")
    return notes


def _clear_lens_notes(report: Figures) -> list[str]:
    """What a clear lens would give where that is not 1, once for spectra that share it."""
    labels: dict[str, list[str]] = {}
    for spectrum, values in zip(report.spectra, report.values, strict=True):
        figures = []
        for quantity in report.quantities:
            clear = values[quantity.key].clear_lens
            if clear is not None and abs(clear - 1.0) >= _CLEAR:
                figures.append(f"{quantity.standard.split(':')[0]} {quantity.name} {number(clear)}")
        labels.setdefault("; ".join(figures), []).append(spectrum.label)
    return [
        f"A clear lens (1 at each wavelength of {' and of '.join(names)}) would give {figures}; "
        "1.0000 for the other transmittances."
        for figures, names in labels.items()
        if figures
    ]
