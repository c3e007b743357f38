"""How the text of a report writes figures, for other programs and for people at a screen."""

from collections.abc import Mapping, Sequence
from decimal import ROUND_HALF_EVEN, Decimal
from typing import Final, NamedTuple, Protocol

from ..quantities import Quantity, Value
from ..spectrum import Spectrum
from ._layout import aligned, interval, number, showable
from ._repeated import SCATTER_WIDTH, Repeated
from ._uncertain import WIDTH, Uncertainty

# The column of a spectrum: a number with its point in the same place throughout, and a mark.
_BEFORE, _AFTER, _MARK = 6, 5, 5
COLUMN: Final = _BEFORE + 1 + _AFTER + _MARK
# The same with an uncertainty.
_UNCERTAIN = WIDTH + _MARK
NARROWEST: Final = 50
"""Characters of a line that take a name, a unit and a figure."""
# Decimals of transmittances as fractions, and of what is near zero.
_DECIMALS: Final = 4


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


class Style(NamedTuple):
    """How the text is set; by default for whatever reads lines of any length."""

    # Characters of a line; None for as many as it takes.
    width: int | None = None
    # Whether transmittances are in per cent.
    percent: bool = False

    @property
    def is_for_people(self) -> bool:
        """Whether figures near zero have the decimals of the others."""
        return self.width is not None or self.percent

    def scale(self, quantity: Quantity) -> int:
        """The power of ten by which its figures are multiplied."""
        return 2 if self.percent and quantity.is_transmittance else 0

    def unit(self, quantity: Quantity) -> str:
        return "%" if self.scale(quantity) else quantity.unit

    def number(self, quantity: Quantity, value: float) -> str:
        if not self.is_for_people:
            return f"{value:.10g}" if quantity.is_stored else number(value)
        if quantity.is_transmittance:
            return _fixed(value, self.scale(quantity))
        if quantity.unit == "1" and abs(value) < 10.0**-_DECIMALS:
            return _fixed(value, 0)
        return f"{value:.10g}" if quantity.is_stored else number(value)


class Footnotes:
    """Texts by number, each once."""

    def __init__(self) -> None:
        self.texts: dict[str, int] = {}

    def mark(self, texts: Sequence[str]) -> str:
        """``[1,3]`` for texts that become notes 1 and 3; nothing for none."""
        numbers = dict.fromkeys(self.texts.setdefault(t, len(self.texts) + 1) for t in texts)
        return f"[{','.join(map(str, numbers))}]" if numbers else ""


def column_width(report: Figures) -> int:
    """Characters of the column of a spectrum, as far as nothing is longer."""
    width = COLUMN if report.uncertainty is None else _UNCERTAIN
    return width + SCATTER_WIDTH * any(report.repeats)


def cells_of(
    quantity: Quantity, report: Figures, style: Style, footnotes: Footnotes, encoding: str
) -> list[str]:
    """The figure of each spectrum, with its uncertainty, its marks and its scatter."""
    cells = []
    scale = style.scale(quantity)
    has_repeats = any(report.repeats)
    for index, values in enumerate(report.values):
        value = values[quantity.key]
        said = report.uncertainty and report.uncertainty.cell(index, quantity.key, scale)
        if said:
            mark = footnotes.mark(_value_notes(quantity, value))
            cell = f"{f'{showable(said, encoding)} {mark}':<{_UNCERTAIN}}"
        else:
            width = 0 if report.uncertainty is None else _UNCERTAIN
            cell = f"{_cell(quantity, value, style, footnotes):<{width}}"
        if has_repeats:
            repeats = report.repeats[index]
            cell += f"{repeats.text(quantity.key, scale) if repeats else '':<{SCATTER_WIDTH}}"
        cells.append(cell)
    return cells


def negative_notes(spectra: Sequence[Spectrum], style: Style) -> list[str]:
    """Which transmittances were measured below zero."""
    notes = []
    for spectrum in spectra:
        negative = [point for point in spectrum.scan.items() if point[1] < 0.0]
        if spectrum.kind == "transmittance" and negative:
            wavelength, lowest = min(negative, key=lambda point: point[1])
            shown = f"{100.0 * lowest:.2g} %" if style.percent else f"{lowest:.2g}"
            notes.append(
                f"{spectrum.label}: {len(negative)} of {spectrum.points} values are below 0, the "
                f"lowest {shown} at {wavelength:.10g} nm; they count as they are."
            )
    return notes


def _cell(quantity: Quantity, value: Value, style: Style, footnotes: Footnotes) -> str:
    shown = "-" if value.value is None else style.number(quantity, value.value)
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


def _fixed(value: float, scale: int) -> str:
    """The value times a power of ten, with as many decimals as all others; no minus before 0."""
    places = Decimal(1).scaleb(scale - _DECIMALS)
    shown = Decimal(repr(value)).scaleb(scale).quantize(places, ROUND_HALF_EVEN)
    return f"{abs(shown) if shown.is_zero() else shown:f}"
