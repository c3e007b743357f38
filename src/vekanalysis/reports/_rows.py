"""Figures as plain rows, a row a spectrum, for tables over many files."""

from collections.abc import Iterable, Mapping
from typing import TYPE_CHECKING, Any

from ..quantities import Quantity, Value
from ..spectrum import Spectrum
from ._layout import interval

if TYPE_CHECKING:
    from ..uncertainty import Results
else:
    Results = Any  # that room is imported when it is used

type Row = dict[str, str | int | float | None]

FACTS = ("file", "data_set", "error", "notes", "points", "from_nm", "to_nm")
FACTS_OF_OBJECTS = ("object", "n", *FACTS[2:])


def make_row(
    spectrum: Spectrum, quantities: Iterable[Quantity], values: Mapping[str, Value]
) -> Row:
    """The row of a spectrum with its figures."""
    figures = {quantity.key: values[quantity.key] for quantity in quantities}
    numbers = {key: value.value for key, value in figures.items()}
    return facts_of(spectrum, notes_of(figures)) | numbers


def notes_of(values: Mapping[str, Value]) -> list[str]:
    """What is to be said of figures: why there is none, which part of a band has data."""
    notes = []
    for key, value in values.items():
        if value.problem:
            notes.append(f"{key}: {value.problem}")
        elif value.needed and value.covered and not value.complete:
            covered, needed = interval(value.covered), interval(value.needed)
            notes.append(f"{key}: data cover {covered} of {needed} nm")
    return notes


def facts_of(spectrum: Spectrum, notes: Iterable[str]) -> Row:
    """What the row of a spectrum says before its figures."""
    source, (lowest, highest) = spectrum.source, spectrum.range_nm
    return {
        "file": source.file,
        "data_set": source.data_set if source.data_set is not None else source.column,
        "error": None,
        "notes": "; ".join((*spectrum.notes, *notes)) or None,
        "points": spectrum.points,
        "from_nm": lowest,
        "to_nm": highest,
    }


UNCERTAIN = ("u", "U", "k")
"""What follows the key of a quantity in the keys of its uncertainty, after ``_``."""


def add_uncertainties(row: Row, quantities: Iterable[Quantity], results: Results) -> None:
    """Add the standard and the expanded uncertainty and the coverage factor of each figure."""
    for quantity in quantities:
        result = results.get(quantity.key)
        numbers = (None,) * 3 if result is None else (result.u, result.expanded, result.k)
        row |= {f"{quantity.key}_{name}": n for name, n in zip(UNCERTAIN, numbers, strict=True)}
