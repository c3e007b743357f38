"""Tables of figures: plain rows, a row a spectrum."""

import math
import os
from collections.abc import Iterable, Mapping, Sequence
from itertools import islice
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
    Repeats,
    Value,
    measurand,
    on_grid,
    with_tables,
)
from ..spectrum import Spectrum
from ._inputs import as_spectra
from ._lens import lens
from ._light import light, shown_amounts, uncertain, white_name, with_warnings
from ._repeated import SCATTER_LEFT_OUT
from ._report import Report
from ._rows import FACTS, FACTS_OF_OBJECTS, UNCERTAIN, Row, facts_of, notes_of

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
    spectrum: Spectrum
    numbers: Sequence[float | None]


class _Known(NamedTuple):
    """Quantities that have an uncertainty: where they are among all, and the keys of these."""

    columns: tuple[int, ...]
    keys: tuple[str, ...]
    propagator: Propagator


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
    of_objects
        Whether a row is that of the mean of some scans, and has the standard deviation of each
        figure, that of a single scan, behind the figures.

    Attributes
    ----------
    facts : tuple of str
        The keys of each row before its figures.
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
        of_objects: bool = False,
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
        self.facts = FACTS_OF_OBJECTS if of_objects else FACTS
        files = {table.name: table.file or "" for table in self._tables}
        titles = tuple(_title_of(quantity, files) for quantity in quantities)
        more = tuple(f"{key}_s" for key in self._columns) if of_objects else ()
        more += () if budget is None else _uncertain_keys(self._columns)
        self.keys = (*self.facts, *self._columns, *more)
        self.titles = (*self.facts, *titles, *more)
        self._figures: Figures | None = None
        self._white_name = ""
        # By the kinds of amounts of light.
        self._known: dict[tuple[str, ...], _Known] = {}
        # What is said of figures, for the last spectrum.
        self._notes: tuple[tuple[Value, ...], list[str]] = (), []

    def _quantities(self) -> tuple[Quantity, ...]:
        if self._kind == "lens":
            return with_tables(LENS_FULL if self._full else LENS, self._tables)
        return LIGHT + (PHOTOMETER if self._f1_prime else ())

    def __getstate__(self) -> dict[str, Any]:
        # Made again where it arrives.
        return self.__dict__ | {"_figures": None, "_known": {}}

    def rows(self, spectra: Sequence[Spectrum]) -> list[Row]:
        """The rows of spectra; Refusal if one is not what the table is of."""
        (rows,) = self.rows_of_files([spectra])
        # The report says what the matter is, and of which of them.
        return self._report(spectra).rows() if rows is None else rows

    def rows_of_files(self, files: Sequence[Sequence[Spectrum]]) -> list[list[Row] | None]:
        """The rows of the spectra of each of some files, in a fraction of the time.

        None for files that are to be taken by themselves, by `rows`: what there is to be said of
        one concerns no other.
        """
        prepared = [self._prepared(spectra) for spectra in files]
        try:
            flat = iter(self._made([each for spectra in prepared for each in spectra or ()]))
        except Refusal:
            return [None] * len(files)
        made = [None if each is None else [*islice(flat, len(each))] for each in prepared]
        rows: list[list[Row] | None] = [
            None if each is None else [row for row, _, _ in each] for each in made
        ]
        if self._budget is None:
            return rows
        try:
            self._add_uncertainties([each for each in made if each], self._budget)
        except Refusal, RuntimeError:
            return [None] * len(files)
        return rows

    def row_of_object(self, scans: Repeats) -> Row:
        """The row of the mean of some scans; Refusal if there is none."""
        report = self._report(scans)
        (row,), (repeated,) = report.rows(), report.repeats
        assert repeated is not None
        row |= {f"{key}_s": scatter.s for key, scatter in repeated.scatter.items()}
        row |= {"object": scans.label, "n": len(scans)}
        if self._budget is not None and not self._budget.of_repeats:
            row["notes"] = f"{row['notes']}; {SCATTER_LEFT_OUT}"
        return {key: row[key] for key in self.keys}

    def failed(self, file: str, reason: str) -> Row:
        """The row of a file without figures."""
        return dict.fromkeys(self.keys) | {"file": file, "error": reason.removeprefix(f"{file}: ")}

    def failed_object(self, label: str | None, reason: str) -> Row:
        """The row of an object without figures, or of a file that is of none that is known."""
        return dict.fromkeys(self.keys) | {"object": label, "error": reason}

    def _report(self, spectra: Sequence[Spectrum] | Repeats) -> Report:
        if self._kind == "light":
            return light(spectra, self._white, f1_prime=self._f1_prime, budget=self._budget)
        return lens(
            spectra,
            clear_lens=False,
            full=self._full,
            budget=self._budget,
            grid=self._grid,
            tables=self._tables,
        )

    def _prepared(self, spectra: Sequence[Spectrum]) -> list[Spectrum] | None:
        """The spectra as the report has them; None if it refuses one."""
        spectra = as_spectra(spectra)
        if self._kind == "light":
            return [*map(with_warnings, spectra)]
        try:
            lenses = [measurand(spectrum, "transmittance") for spectrum in spectra]
            if self._grid is not None:
                thinned = self._budget is not None
                lenses = [on_grid(each, self._grid, thinned=thinned) for each in lenses]
        except Refusal:
            return None
        return lenses

    def _made(self, spectra: Sequence[Spectrum]) -> list[_Made]:
        """The rows that the report has of prepared spectra, without the report."""
        figures = self._figures_of()
        if self._kind == "light":
            found = [figures(spectrum) for spectrum in spectra]
        else:
            found = figures.of_many([spectrum.scan for spectrum in spectra])
        made = []
        for spectrum, (numbers, said) in zip(spectra, found, strict=True):
            last, notes = self._notes
            if said is not last:
                notes = notes_of(dict(zip(self._columns, said, strict=True)))
                self._notes = said, notes
            row = facts_of(spectrum, notes) | dict(zip(self._columns, numbers, strict=True))
            made.append(_Made(row, spectrum, numbers))
        return made

    def _figures_of(self) -> Figures:
        if self._figures is None:
            if self._kind == "light":
                self._white_name = white_name(self._white)
                self._figures = Figures(self._quantities(), self._white)
            else:
                self._figures = Figures(self._quantities())
        return self._figures

    def _add_uncertainties(self, files: Sequence[Sequence[_Made]], budget: Budget) -> None:
        """Add them to the rows of each of some files, the spectra of which are in one report."""
        together: dict[tuple[str, ...], list[_Made]] = {}
        for made in files:
            amounts = shown_amounts([item.row for item in made]) if self._kind == "light" else ()
            together.setdefault(amounts, []).extend(made)
        for amounts, made in together.items():
            if amounts not in self._known:
                self._known[amounts] = self._make_known(amounts, budget)
            self._add_known(self._known[amounts], made)

    def _make_known(self, amounts: tuple[str, ...], budget: Budget) -> _Known:
        from ..uncertainty import Propagator

        known = quantities = self._quantities()
        if self._kind == "light":
            known = tuple(uncertain(quantities, amounts, self._white_name))
        columns = tuple(self._columns.index(quantity.key) for quantity in known)
        keys = _uncertain_keys([quantity.key for quantity in known])
        return _Known(columns, keys, Propagator(budget, known))

    def _add_known(self, known: _Known, made: Sequence[_Made]) -> None:
        import numpy as np

        spectra, numbers = [item.spectrum for item in made], [item.numbers for item in made]
        if len(known.columns) < len(self._columns):
            numbers = [[row[i] for i in known.columns] for row in numbers]
            none = dict.fromkeys(_uncertain_keys(self._columns))
            for item in made:
                item.row.update(none)
        u, expanded, k, _ = known.propagator(spectra, numbers)
        # u, U and k of each quantity, one quantity after another.
        rows = np.stack((u, expanded, k), axis=-1).reshape(len(made), -1)
        lacks_some = bool(np.isnan(rows).any())
        for item, row in zip(made, rows.tolist(), strict=True):
            numbers_or_none = map(_or_none, row) if lacks_some else row
            item.row.update(zip(known.keys, numbers_or_none, strict=True))


def _uncertain_keys(keys: Iterable[str]) -> tuple[str, ...]:
    """The keys of the uncertainties of quantities, one quantity after another."""
    return tuple(f"{key}_{name}" for key in keys for name in UNCERTAIN)


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
