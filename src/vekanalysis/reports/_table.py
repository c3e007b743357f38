"""Tables of figures: plain rows, a row a spectrum."""

from collections.abc import Sequence
from typing import TYPE_CHECKING, Any, Literal

from ..quantities import LENS, LIGHT, PHOTOMETER, REFERENCES
from ..spectrum import Spectrum
from ._lens import lens
from ._light import light
from ._rows import FACTS, UNCERTAIN, Row

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
    ) -> None:
        self._budget = budget
        self._kind = kind
        self._white = white
        self._f1_prime = f1_prime
        quantities = LENS if kind == "lens" else LIGHT + (PHOTOMETER if f1_prime else ())
        doubtful = {item.name for item in REFERENCES if item.status == "reconstruction"}
        self.keys = (*FACTS, *(quantity.key for quantity in quantities))
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

    def rows(self, spectra: Sequence[Spectrum]) -> list[Row]:
        """The rows of spectra; Refusal if one is not what the table is of."""
        if self._kind == "lens":
            return lens(spectra, clear_lens=False, budget=self._budget).rows()
        return light(spectra, self._white, f1_prime=self._f1_prime, budget=self._budget).rows()

    def failed(self, file: str, reason: str) -> Row:
        """The row of a file without figures."""
        return dict.fromkeys(self.keys) | {"file": file, "error": reason.removeprefix(f"{file}: ")}
