"""What a report says of the repeats that a spectrum is the mean of."""

from collections.abc import Callable, Mapping, Sequence
from typing import NamedTuple

from ..quantities import Quantity, Repeats, Scatter
from ..spectrum import Spectrum
from ._layout import Json

SCATTER_WIDTH = 13
"""Columns of the text of a standard deviation."""

SCATTER = (
    "s is the standard deviation of the figures of the single scans; the figure beside it is that "
    "of their mean."
)
SCATTER_LEFT_OUT = (
    "The scatter of the repeats is not in the uncertainty: the budget has no noise of them "
    "(repeats = true)."
)


class Repeated(NamedTuple):
    """The scans that a spectrum of a report is the mean of.

    Attributes
    ----------
    scans : tuple of Spectrum
        As they count: transmittances at the wavelengths of the mean.
    scatter : mapping of str to Scatter
        Of their figures, by the keys of the quantities.
    """

    scans: tuple[Spectrum, ...]
    scatter: Mapping[str, Scatter]

    def document(self, key: str) -> dict[str, Json]:
        """``n``, ``mean`` and ``s`` of a quantity."""
        return {**self.scatter[key]._asdict()}

    def text(self, key: str, scale: int = 0) -> str:
        """``s 0.00046``, times ten to the power of ``scale``; nothing where there is none."""
        from decimal import Decimal

        s = self.scatter[key].s
        return "" if s is None else f"s {Decimal(f'{s:.1e}').scaleb(scale):f}"


def make_repeated(
    repeats: Repeats,
    quantities: Sequence[Quantity],
    numbers_of: Callable[[Spectrum], Sequence[float | None]],
) -> Repeated:
    """The scans with the scatter of the quantities, of which ``numbers_of`` gives those of one."""
    numbers = [numbers_of(each) for each in repeats.spectra]
    columns = zip(quantities, zip(*numbers, strict=True), strict=True)
    scatter = {record.key: Scatter.of(column) for record, column in columns}
    return Repeated(repeats.spectra, scatter)
