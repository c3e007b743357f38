"""Tables of figures: plain rows, a row a spectrum."""

import math
import os
from collections.abc import Mapping, Sequence
from typing import TYPE_CHECKING, Any, Literal, NamedTuple

from ..errors import Refusal
from ..quantities import (
    LENS,
    LENS_FULL,
    LIGHT,
    PHOTOMETER,
    REFERENCES,
    Figures,
    OwnTable,
    Quantity,
    Value,
    measurand,
    on_grid,
    with_tables,
)
from ..spectrum import Spectrum
from ._inputs import as_spectra
from ._lens import lens
from ._light import light
from ._rows import FACTS, UNCERTAIN, Row, facts_of, notes_of

if TYPE_CHECKING:
    from ..uncertainty import Budget, Propagator
else:
    Budget = Propagator = Any  # that room is imported when it is used

COLUMNS: tuple[str, ...] = (*FACTS, *(quantity.key for quantity in LENS))
"""The keys of each row of lenses, in their order."""

LIGHT_COLUMNS: tuple[str, ...] = (*FACTS, *(quantity.key for quantity in LIGHT))
"""The keys of each row of light sources, in their order."""


class _Made(NamedTuple):
    """A row, and what it was made of."""

    row: Row
    lens: Spectrum
    numbers: Sequence[float | None]


class Table:
    """A table of lenses or of light sources.

    Parameters
    ----------
    kind : {"lens", "light"}
    white, f1_prime
        Of a table of light sources, as `light` takes them.
    budget
        Adds columns for the uncertainty of each quantity, behind all others.
    grid, full, tables
        Of a table of lenses, as `lens` takes them.

    Attributes
    ----------
    keys : tuple of str
        The keys of each row, in their order.
    titles : tuple of str
        How the head of the table names them: with what rests on a reconstructed table, or on one of
        the laboratory's own.
    """

    def __init__(
        self,
        kind: Literal["lens", "light"],
        *,
        white: Spectrum | str = "D65",
        f1_prime: bool = False,
        budget: Budget | None = None,
        grid: float | None = None,
        full: bool = False,
        tables: Sequence[OwnTable] = (),
    ) -> None:
        self._tables = tuple(tables)
        self._full = full
        self._grid = grid
        self._budget = budget
        self._kind = kind
        self._white = white
        self._f1_prime = f1_prime
        quantities = self._quantities()
        self._columns = tuple(quantity.key for quantity in quantities)
        self.keys = (*FACTS, *self._columns)
        files = {table.name: table.file or "" for table in self._tables}
        self.titles = (*FACTS, *(_title_of(quantity, files) for quantity in quantities))
        if budget is not None:
            more = tuple(f"{q.key}_{name}" for q in quantities for name in UNCERTAIN)
            self.keys, self.titles = self.keys + more, self.titles + more
        self._figures: Figures | None = None
        self._propagator: Propagator | None = None
        # What is said of figures, for the last spectrum.
        self._notes: tuple[tuple[Value, ...], list[str]] = (), []

    def _quantities(self) -> tuple[Quantity, ...]:
        if self._kind == "lens":
            return with_tables(LENS_FULL if self._full else LENS, self._tables)
        return LIGHT + (PHOTOMETER if self._f1_prime else ())

    def __getstate__(self) -> dict[str, Any]:
        # Made again where it arrives.
        return self.__dict__ | {"_figures": None, "_propagator": None}

    def rows(self, spectra: Sequence[Spectrum]) -> list[Row]:
        """The rows of spectra; Refusal if one is not what the table is of."""
        if self._kind == "light":
            return light(spectra, self._white, f1_prime=self._f1_prime, budget=self._budget).rows()
        (rows,) = self.rows_of_files([spectra])
        if rows is None:
            # It says what the matter is, and of which of them.
            report = lens(
                spectra,
                clear_lens=False,
                full=self._full,
                budget=self._budget,
                grid=self._grid,
                tables=self._tables,
            )
            return report.rows()
        return rows

    def rows_of_files(self, files: Sequence[Sequence[Spectrum]]) -> list[list[Row] | None]:
        """The rows of the spectra of each of some files, in a fraction of the time.

        None for files that are to be taken by themselves, by `rows`: what there is to be said of
        one concerns no other.
        """
        if self._kind == "light":
            return [None] * len(files)
        made = [self._rows(spectra) for spectra in files]
        rows: list[list[Row] | None] = [
            None if each is None else [row for row, _, _ in each] for each in made
        ]
        if self._budget is None:
            return rows
        flat = [item for each in made if each is not None for item in each]
        try:
            self._add_uncertainties(flat, self._budget)
        except Refusal, RuntimeError:
            return [None] * len(files)
        return rows

    def failed(self, file: str, reason: str) -> Row:
        """The row of a file without figures."""
        return dict.fromkeys(self.keys) | {"file": file, "error": reason.removeprefix(f"{file}: ")}

    def _rows(self, spectra: Sequence[Spectrum]) -> list[_Made] | None:
        try:
            return [self._row(spectrum) for spectrum in as_spectra(spectra)]
        except Refusal:
            return None

    def _row(self, spectrum: Spectrum) -> _Made:
        """The row that `reports.lens` has of a spectrum, without the report."""
        if self._figures is None:
            self._figures = Figures(self._quantities())
        lens = measurand(spectrum, "transmittance")
        if self._grid is not None:
            lens = on_grid(lens, self._grid, thinned=self._budget is not None)
        numbers, said = self._figures(lens.scan)
        last, notes = self._notes
        if said is not last:
            notes = notes_of(dict(zip(self._columns, said, strict=True)))
            self._notes = said, notes
        row = facts_of(lens, notes) | dict(zip(self._columns, numbers, strict=True))
        return _Made(row, lens, numbers)

    def _add_uncertainties(self, made: Sequence[_Made], budget: Budget) -> None:
        import numpy as np

        from ..uncertainty import Propagator

        if self._propagator is None:
            self._propagator = Propagator(budget, self._quantities())
        lenses, numbers = [item.lens for item in made], [item.numbers for item in made]
        u, expanded, k, _ = self._propagator(lenses, numbers)
        keys = self.keys[-len(UNCERTAIN) * len(self._columns) :]
        # u, U and k of each quantity, one quantity after another.
        rows = np.stack((u, expanded, k), axis=-1).reshape(len(made), -1)
        lacks_some = bool(np.isnan(rows).any())
        for item, row in zip(made, rows.tolist(), strict=True):
            numbers_or_none = map(_or_none, row) if lacks_some else row
            item.row.update(zip(keys, numbers_or_none, strict=True))


_DOUBTFUL = {item.name for item in REFERENCES if item.status == "reconstruction"}


def _title_of(quantity: Quantity, files: Mapping[str, str]) -> str:
    """The title of a column, with what its reader must know of the tables that it rests on."""
    own = quantity.own_tables
    said = [f"table {os.path.basename(files[name])}" for name in quantity.tables if name in own]
    if _DOUBTFUL.intersection(quantity.tables).difference(own):
        said.append("reconstructed table")
    return f"{quantity.key} [{', '.join(said)}]" if said else quantity.key


def _or_none(number: float) -> float | None:
    return None if math.isnan(number) else number
