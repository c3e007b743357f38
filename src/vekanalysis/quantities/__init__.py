"""Quantities of spectra, each a record that says what it is and where it comes from.

``LENS``, ``LIGHT`` and ``PHOTOMETER`` are the catalogues, ``DERIVED`` has what follows from others
of a lens, such as attenuation quotients. `evaluate` computes what they list, an `Evaluator` does so
for arrays of spectra on one grid, `Figures` for one spectrum after another, and `measurand` makes
of a spectrum what they need, or refuses; `on_grid` brings it to the wavelengths of the tables.
`Repeats` are scans of one object, `Scatter` how much their figures scatter.
"""

from .._core.quantities import (
    DERIVED,
    LENS,
    PHOTOMETER,
    REFERENCES,
    Quantity,
    Reference,
    light,
    quantity,
)
from ._evaluator import Evaluator
from ._figures import Figures, evaluator_for
from ._grid import TABLES, on_grid
from ._measurand import measurand
from ._repeats import Repeats, Scatter
from ._tables import REPLACEABLE, OwnTable, with_tables
from ._values import LENS_FULL, Value, evaluate, illuminant

__all__ = [
    "DERIVED",
    "LENS",
    "LENS_FULL",
    "LIGHT",
    "PHOTOMETER",
    "REFERENCES",
    "REPLACEABLE",
    "TABLES",
    "Evaluator",
    "Figures",
    "OwnTable",
    "Quantity",
    "Reference",
    "Repeats",
    "Scatter",
    "Value",
    "evaluate",
    "evaluator_for",
    "illuminant",
    "light",
    "measurand",
    "on_grid",
    "quantity",
    "with_tables",
]

LIGHT: tuple[Quantity, ...] = light()
