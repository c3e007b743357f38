"""Tables of figures: plain rows, a row a spectrum."""

from collections.abc import Sequence
from typing import TYPE_CHECKING, Any, Literal

from ..quantities import LENS, LIGHT, PHOTOMETER, REFERENCES, Figures, Value, measurand, on_grid
from ..spectrum import Spectrum
from ._inputs import as_spectra
from ._lens import lens
from ._light import light
from ._rows import FACTS, UNCERTAIN, Row, facts_of, notes_of

if TYPE_CHECKING:
    from ..uncertainty import Budget
else:
    Budget = Any  # that room is imported when it is used

COLUMNS: tuple[str, ...] = (*FACTS, *(quantity.key for quantity in LENS))
"""The keys of each row of lenses, in their order."""

LIGHT_COLUMNS: tuple[str, ...] = (*FACTS, *(quantity.key for quantity in LIGHT))
"""The keys of each row of light sources, in their order."""


class Table:
    """A table of lenses or of light sources.

    Parameters
    ----------
    kind : {"lens", "light"}
    white, f1_prime
        Of a table of light sources, as `light` takes them.
    budget
        Adds columns for the uncertainty of each quantity, behind all others.
    grid
        Of a table of lenses, as `lens` takes it.

    Attributes
    ----------
    keys : tuple of str
        The keys of each row, in their order.
    titles : tuple of str
        How the head of the table names them: with what rests on a reconstructed table.
    """

    def __init__(
        self,
        kind: Literal["lens", "light"],
        *,
        white: Spectrum | str = "D65",
        f1_prime: bool = False,
        budget: Budget | None = None,
        grid: float | None = None,
    ) -> None:
        self._grid = grid
        self._budget = budget
        self._kind = kind
        self._white = white
        self._f1_prime = f1_prime
        quantities = LENS if kind == "lens" else LIGHT + (PHOTOMETER if f1_prime else ())
        doubtful = {item.name for item in REFERENCES if item.status == "reconstruction"}
        self._columns = tuple(quantity.key for quantity in quantities)
        self.keys = (*FACTS, *self._columns)
        self.titles = (
            *FACTS,
            *(
                f"{quantity.key} [reconstructed table]"
                if doubtful.intersection(quantity.weights)
                else quantity.key
                for quantity in quantities
            ),
        )
        if budget is not None:
            more = tuple(f"{q.key}_{name}" for q in quantities for name in UNCERTAIN)
            self.keys, self.titles = self.keys + more, self.titles + more
        self._figures: Figures | None = None
        # What is said of figures, for the last spectrum.
        self._notes: tuple[tuple[Value, ...], list[str]] = (), []

    def __getstate__(self) -> dict[str, Any]:
        # Made again where it arrives.
        return self.__dict__ | {"_figures": None}

    def rows(self, spectra: Sequence[Spectrum]) -> list[Row]:
        """The rows of spectra; Refusal if one is not what the table is of."""
        if self._kind == "light":
            return light(spectra, self._white, f1_prime=self._f1_prime, budget=self._budget).rows()
        if self._budget is not None:
            report = lens(spectra, clear_lens=False, budget=self._budget, grid=self._grid)
            return report.rows()
        return [self._row(spectrum) for spectrum in as_spectra(spectra)]

    def failed(self, file: str, reason: str) -> Row:
        """The row of a file without figures."""
        return dict.fromkeys(self.keys) | {"file": file, "error": reason.removeprefix(f"{file}: ")}

    def _row(self, spectrum: Spectrum) -> Row:
        """The row that `reports.lens` has of a spectrum, without the report."""
        if self._figures is None:
            self._figures = Figures(LENS)
        lens = measurand(spectrum, "transmittance")
        if self._grid is not None:
            lens = on_grid(lens, self._grid)
        numbers, said = self._figures(lens.scan)
        last, notes = self._notes
        if said is not last:
            notes = notes_of(dict(zip(self._columns, said, strict=True)))
            self._notes = said, notes
        return facts_of(lens, notes) | dict(zip(self._columns, numbers, strict=True))
