"""Reports of quantities: as text, a column a spectrum, and as JSON."""

import textwrap
from collections.abc import Sequence
from itertools import groupby
from typing import NamedTuple

from .._core import version
from .._figures.quantities import Quantity, Value, clear_lens, evaluate
from .._figures.spectra import Spectrum, describe
from .._figures.text import interval, shortened
from .output import Json, aligned, bold, emit, emit_json, number, one_line, showable

# A report of one spectrum is as wide as a screen.
_WIDTH = 80
# Symbol, name and the marks of its notes; the last column of these is blank.
_NAME = 39
# The column of a spectrum: a number with its point in the same place throughout, and a mark.
_BEFORE, _AFTER, _MARK = 6, 5, 5
_COLUMN = _BEFORE + 1 + _AFTER + _MARK
# From here on a clear lens's figure is off in the fourth decimal.
_CLEAR = 0.00005


class Report(NamedTuple):
    """The quantities of some spectra."""

    title: str
    spectra: Sequence[Spectrum]
    quantities: Sequence[Quantity]
    # A row a quantity, a column a spectrum.
    values: Sequence[Sequence[Value]]
    notes: Sequence[str]


def make_report(
    title: str,
    spectra: Sequence[Spectrum],
    quantities: Sequence[Sequence[Quantity]],
    notes: Sequence[str] = (),
) -> Report:
    """Evaluate the quantities of each spectrum, the same ones in the same order for all."""
    columns = []
    for spectrum, column in zip(spectra, quantities, strict=True):
        clear = clear_lens(spectrum.scan)
        columns.append([evaluate(quantity, spectrum.scan, clear) for quantity in column])
    return Report(title, spectra, quantities[0], list(zip(*columns, strict=True)), notes)


def emit_report(report: Report, as_json: bool) -> None:
    if as_json:
        emit_json(_document(report))
    else:
        emit(_text(report))


class _Footnotes:
    """Texts by number, each once."""

    def __init__(self) -> None:
        self.texts: list[str] = []

    def mark(self, texts: Sequence[str]) -> str:
        """``[1,3]`` for texts that become notes 1 and 3; nothing for none."""
        self.texts += [text for text in dict.fromkeys(texts) if text not in self.texts]
        numbers = ",".join(str(self.texts.index(text) + 1) for text in dict.fromkeys(texts))
        return f"[{numbers}]" if numbers else ""


def _text(report: Report) -> str:
    footnotes = _Footnotes()
    lines = [f"{report.title}, vekanalysis {version()}", "", *spectra_lines(report.spectra)]
    headings = {0}
    rows = zip(report.quantities, report.values, strict=True)
    for standard, group in groupby(rows, key=lambda row: row[0].standard):
        headings.add(len(lines) + 1)
        lines += ["", _heading(standard, report.spectra)]
        lines += [_row(quantity, values, footnotes) for quantity, values in group]
    headings.add(len(lines) + 1)
    lines += ["", "Notes"]
    for count, note in enumerate(footnotes.texts, start=1):
        lines += wrap(note, f"{f'[{count}]':>6} ")
    for note in [*report.notes, *_clear_lens_notes(report)]:
        lines += wrap(note, f"{'-':>6} ")
    # Labels come from files and may hold anything.
    lines = [one_line(line) for line in lines]
    for place in headings:
        lines[place] = bold(lines[place])
    return "\n".join(lines) + "\n"


def wrap(text: str, prefix: str) -> list[str]:
    """Lines of a report: the text after ``prefix``, or as far to the right."""
    return textwrap.wrap(text, _WIDTH, initial_indent=prefix, subsequent_indent=" " * len(prefix))


def spectra_lines(spectra: Sequence[Spectrum]) -> list[str]:
    """The numbered list of spectra at the head of a report, printable."""
    lines = []
    for count, spectrum in enumerate(spectra, start=1):
        lines += wrap(describe(spectrum), f"{count:>3}  ")
        for note in spectrum.notes:
            lines += wrap(note, " " * 5)
    # Labels come from files and may hold anything.
    return [one_line(line) for line in lines]


def _heading(standard: str, spectra: Sequence[Spectrum]) -> str:
    columns = ""
    for count, spectrum in enumerate(spectra, start=1):
        label, room = spectrum.label, 2 * _COLUMN - 4
        if len(spectra) > 1:
            label, room = f"{count} {label}", _COLUMN - 2
        columns += f"  {shortened(label, room):<{_COLUMN - 2}}"
    title = standard or "Spectrum"
    return f"{title:<{_NAME + 2}}{'section':<9}{'band nm':<8}{'unit':<5}{columns}".rstrip()


def _row(quantity: Quantity, values: Sequence[Value], footnotes: _Footnotes) -> str:
    # Plainer characters may be more: they are counted.
    symbol = f"{showable(quantity.symbol):<6} "
    unit = showable(quantity.unit)
    mark = footnotes.mark(quantity.notes)
    name = shortened(showable(quantity.name), _NAME - len(symbol) - len(mark) - 2)
    name = f"{symbol}{name} {mark}"
    band = interval(quantity.band) if quantity.band else ""
    cells = ""
    for value in values:
        shown = "-" if value.value is None else number(value.value)
        if quantity.is_stored and value.value is not None:
            shown = f"{value.value:.10g}"
        mark = footnotes.mark(_value_notes(quantity, value))
        cell = aligned(shown, _BEFORE, _AFTER)
        gap = " " if mark and not cell.endswith(" ") else ""
        cells += f"{cell}{gap}{mark:<{_MARK}}"
    return f"  {name:<{_NAME}}{quantity.section:<9}{band:<8}{unit:<5}{cells}".rstrip()


def _value_notes(quantity: Quantity, value: Value) -> list[str]:
    notes = []
    if value.value is not None and value.needed and value.covered and not value.complete:
        rest = "counts as 0" if quantity.is_integral else "does not count"
        notes.append(
            f"Data cover {interval(value.covered)} of {interval(value.needed)} nm; the rest {rest}."
        )
    if value.problem:
        notes.append(f"{value.problem}.")
    return notes


def _clear_lens_notes(report: Report) -> list[str]:
    """What a clear lens would give where that is not 1, once for spectra that share it."""
    labels: dict[str, list[str]] = {}
    for column, spectrum in enumerate(report.spectra):
        figures = []
        for quantity, values in zip(report.quantities, report.values, strict=True):
            clear = values[column].clear_lens
            if clear is not None and abs(clear - 1.0) >= _CLEAR:
                figures.append(f"{quantity.standard.split(':')[0]} {quantity.name} {number(clear)}")
        labels.setdefault("; ".join(figures), []).append(spectrum.label)
    return [
        f"A clear lens (1 at each wavelength of {' and of '.join(names)}) would give {figures}; "
        "1.0000 for the other transmittances."
        for figures, names in labels.items()
        if figures
    ]


def _document(report: Report) -> Json:
    rows = zip(report.quantities, report.values, strict=True)
    return {
        "title": report.title,
        "version": version(),
        "spectra": [spectrum_document(spectrum) for spectrum in report.spectra],
        "quantities": [_quantity_document(quantity, values) for quantity, values in rows],
        "notes": [*report.notes],
    }


def spectrum_document(spectrum: Spectrum) -> dict[str, Json]:
    steps = spectrum.steps_nm
    return {
        "label": spectrum.label,
        "file": spectrum.file,
        "data_set": spectrum.data_set,
        "reference": spectrum.reference,
        "unit": spectrum.unit or None,
        "points": spectrum.points,
        "range_nm": [*spectrum.range_nm],
        "step_nm": [*steps] if steps else None,
        "notes": [*spectrum.notes],
    }


def _quantity_document(quantity: Quantity, values: Sequence[Value]) -> dict[str, Json]:
    return {
        "key": quantity.key,
        "symbol": quantity.symbol,
        "name": quantity.name,
        "unit": quantity.unit,
        "band_nm": [*quantity.band] if quantity.band else None,
        "standard": quantity.standard,
        "section": quantity.section or None,
        "weights": [*quantity.weights],
        "notes": [*quantity.notes],
        "values": [
            {
                "value": value.value,
                "needed_nm": [*value.needed] if value.needed else None,
                "covered_nm": [*value.covered] if value.covered else None,
                "complete": value.complete,
                "clear_lens": value.clear_lens,
                "problem": value.problem,
            }
            for value in values
        ],
    }
