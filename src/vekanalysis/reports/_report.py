"""Reports of quantities: a row a quantity, a column a spectrum."""

from collections.abc import Callable, Iterable, Mapping, Sequence
from typing import Any

from .._core import version
from ..quantities import Quantity, Value
from ..spectrum import Spectrum
from ._base import Drawable
from ._cells import NARROWEST, Style
from ._layout import Json, one_line, showable
from ._repeated import Repeated
from ._rows import Row, add_uncertainties, make_row
from ._text import report_lines
from ._uncertain import Uncertainty


class Report(Drawable):
    """The quantities of some spectra, with what the data do not cover and what is assumed.

    Attributes
    ----------
    title : str
    spectra : tuple of Spectrum
    quantities : tuple of Quantity
    values : tuple of mapping of str to Value
        For each spectrum its values, by the keys of the quantities.
    notes : tuple of str
        What concerns all figures.
    uncertainty : Uncertainty or None
        Of the figures, where it was asked for.
    repeats : tuple of Repeated or None
        For each spectrum what it is the mean of; None for one that is no mean.
    hidden : frozenset of str
        Keys of quantities that the text leaves out; rows and the document have them all.
    """

    def __init__(
        self,
        title: str,
        spectra: Sequence[Spectrum],
        quantities: Sequence[Quantity],
        values: Sequence[Mapping[str, Value]],
        notes: Sequence[str],
        draw: Callable[[Sequence[Spectrum]], Any],
        uncertainty: Uncertainty | None = None,
        hidden: Iterable[str] = (),
        repeats: Sequence[Repeated | None] | None = None,
    ) -> None:
        self.title = title
        self.spectra = tuple(spectra)
        self.quantities = tuple(quantities)
        self.values = tuple(values)
        self.notes = tuple(notes)
        self.uncertainty = uncertainty
        self.hidden = frozenset(hidden)
        self.repeats = (None,) * len(self.spectra) if repeats is None else tuple(repeats)
        self._draw = draw

    def figure(self) -> Any:
        """The picture of the spectra that goes with the report, as a Matplotlib figure."""
        return self._draw(self.spectra)

    def rows(self) -> list[Row]:
        """The figures as plain rows, one a spectrum: see `batch.report_rows`."""
        rows = [
            make_row(spectrum, self.quantities, values)
            for spectrum, values in zip(self.spectra, self.values, strict=True)
        ]
        if self.uncertainty is not None:
            for row, results in zip(rows, self.uncertainty.results, strict=True):
                add_uncertainties(row, self.quantities, results)
        return rows

    def lines(
        self, encoding: str = "utf-8", *, width: int | None = None, percent: bool = False
    ) -> list[str]:
        """The lines of the text, without characters that control a terminal.

        With a width or in per cent, figures near zero have as many decimals as the others, and
        transmittances below zero are noted.

        Parameters
        ----------
        encoding : str
            What it cannot show is written in plainer characters.
        width : int, optional
            Characters of a line, of which 50 are taken at least: what does not fit beside each
            other comes below. Without it lines are as long as it takes.
        percent : bool
            Whether transmittances are in per cent.
        """
        style = Style(None if width is None else max(width, NARROWEST), percent)
        lines = report_lines(self, encoding, style)
        return [one_line(line) for line in lines]

    def text(
        self, encoding: str = "utf-8", *, width: int | None = None, percent: bool = False
    ) -> str:
        """The lines as text: by default 80 columns, and 17 for each spectrum but the first."""
        lines = self.lines(encoding, width=width, percent=percent)
        return showable("\n".join(lines) + "\n", encoding)

    def _lines(self, encoding: str) -> list[str]:
        return self.lines(encoding)

    def document(self) -> dict[str, Json]:
        """The report as plain Python objects, as ``json()`` writes it."""
        document: dict[str, Json] = {
            "title": self.title,
            "version": version(),
            "spectra": [
                spectrum_document(spectrum)
                | ({} if each is None else {"repeats": [*map(spectrum_document, each.scans)]})
                for spectrum, each in zip(self.spectra, self.repeats, strict=True)
            ],
            "quantities": [self._quantity(quantity) for quantity in self.quantities],
            "notes": [*self.notes],
        }
        if self.uncertainty is not None:
            document["budget"] = self.uncertainty.head()
        return document

    def _quantity(self, quantity: Quantity) -> dict[str, Json]:
        more: list[dict[str, Json]] = [
            {} if each is None else each.document(quantity.key) for each in self.repeats
        ]
        if self.uncertainty is not None:
            for index, said in enumerate(more):
                said |= self.uncertainty.document(index, quantity.key)
        return _quantity_document(quantity, [values[quantity.key] for values in self.values], more)


def spectrum_document(spectrum: Spectrum) -> dict[str, Json]:
    source, steps = spectrum.source, spectrum.steps_nm
    return {
        "label": spectrum.label,
        "file": source.file,
        "data_set": source.data_set,
        "column": source.column,
        "reference": source.reference,
        "sha256": source.sha256,
        "kind": spectrum.kind,
        "unit": spectrum.unit,
        "points": spectrum.points,
        "range_nm": [*spectrum.range_nm],
        "step_nm": [*steps] if steps else None,
        "metadata": {**spectrum.metadata},
        "notes": [*spectrum.notes],
    }


def _quantity_document(
    quantity: Quantity, values: Sequence[Value], said: Sequence[Mapping[str, Json]]
) -> dict[str, Json]:
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
                **more,
            }
            for value, more in zip(values, said, strict=True)
        ],
    }
