"""Quantities of spectra, each a record that says what it is and where it comes from.

``LENS``, ``LIGHT`` and ``PHOTOMETER`` are the catalogues, `evaluate` computes what they list, and
`measurand` makes of a spectrum what they need, or refuses.
"""

from .._core.quantities import LENS, PHOTOMETER, REFERENCES, Quantity, Reference, light, quantity
from ._measurand import measurand
from ._values import Value, evaluate, illuminant

__all__ = [
    "LENS",
    "LIGHT",
    "PHOTOMETER",
    "REFERENCES",
    "Quantity",
    "Reference",
    "Value",
    "evaluate",
    "illuminant",
    "light",
    "measurand",
    "quantity",
]

LIGHT: tuple[Quantity, ...] = light()
