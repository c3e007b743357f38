"""What a report says of the repeats that a spectrum is the mean of."""

from collections.abc import Callable, Mapping, Sequence
from typing import TYPE_CHECKING, Any, NamedTuple

from ..quantities import Quantity, Repeats, Scatter
from ..spectrum import Spectrum
from ._layout import Json

if TYPE_CHECKING:
    from ..uncertainty import Budget
else:
    Budget = Any  # that room is imported when it is used

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
    objects: Sequence[Spectrum | Repeats],
    quantities: Sequence[Quantity],
    numbers_of: Callable[[Spectrum], Sequence[float | None]],
) -> list[Repeated | None]:
    """For each object the scans with the scatter of the quantities, None for a single spectrum.

    ``numbers_of`` gives the quantities of a scan.
    """

    def repeated(repeats: Repeats) -> Repeated:
        numbers = [numbers_of(each) for each in repeats.spectra]
        columns = zip(quantities, zip(*numbers, strict=True), strict=True)
        scatter = {record.key: Scatter.of(column) for record, column in columns}
        return Repeated(repeats.spectra, scatter)

    return [repeated(each) if isinstance(each, Repeats) else None for each in objects]


def budgets_of(
    budget: Budget, repeats: Sequence[Repeated | None]
) -> tuple[list[Budget], list[str]]:
    """The budget for each spectrum of a report, with its repeats, and what is to be said of it."""
    budgets = [budget if each is None else budget.with_repeats(each.scans) for each in repeats]
    left_out = any(repeats) and not budget.of_repeats
    return budgets, [SCATTER_LEFT_OUT] * left_out
