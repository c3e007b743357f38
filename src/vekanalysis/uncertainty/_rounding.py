"""Figures with the digits that their uncertainty leaves them."""

import math
from decimal import ROUND_CEILING, ROUND_HALF_UP, Context, Decimal
from typing import Final, Literal, NamedTuple

type Direction = Literal["nearest", "up"]

# No float has more digits than this before and after its point together.
_EXACT: Final = Context(prec=1200)
# What the arithmetic of a quantity leaves where errors cancel, relative to its value.
_NOISE: Final = 1e-14


class Rounded(NamedTuple):
    """A value and its expanded uncertainty as they are to be printed.

    Attributes
    ----------
    value : str
    expanded : str or None
        None where there is no uncertainty to round to: the value has all its digits then.
    """

    value: str
    expanded: str | None

    def __str__(self) -> str:
        return self.value if self.expanded is None else f"{self.value} ± {self.expanded}"


def rounded(
    value: float, expanded: float, *, digits: int = 2, direction: Direction = "nearest"
) -> Rounded:
    """A value and its expanded uncertainty, both to the same place.

    Decimal arithmetic on the shortest text of both numbers (JCGM 100:2008, 7.2.6). Halves go
    away from zero.

    Parameters
    ----------
    value, expanded : float
        In the same unit.
    digits : int
        How many digits of the uncertainty are kept.
    direction : str
        "nearest", or "up" for an uncertainty that is never understated.

    Returns
    -------
    Rounded
        Its text is ``0.5496 ± 0.0022``; the value alone, with all its digits, for an
        uncertainty that is infinite, NaN, or 0 but for the rounding of the arithmetic.

    Examples
    --------
    >>> str(rounded(0.549559, 0.002239))
    '0.5496 ± 0.0022'
    """
    if digits < 1:
        raise ValueError("rounded: at least one digit is needed")
    if direction not in ("nearest", "up"):
        raise ValueError(f"rounded: direction must be 'nearest' or 'up', not {direction!r}")
    if not (math.isfinite(value) and math.isfinite(expanded) and expanded > _NOISE * abs(value)):
        return Rounded(repr(float(value)), None)
    mode = ROUND_CEILING if direction == "up" else ROUND_HALF_UP
    size = Decimal(repr(float(expanded)))
    place = size.adjusted() - digits + 1
    kept = size.quantize(Decimal((0, (1,), place)), mode, _EXACT)
    if kept.adjusted() > size.adjusted():  # 0.0996 became 0.100, which has a digit too many
        place += 1
        kept = kept.quantize(Decimal((0, (1,), place)), context=_EXACT)
    number = Decimal(repr(float(value))).quantize(Decimal((0, (1,), place)), ROUND_HALF_UP, _EXACT)
    return Rounded(_plain(number), _plain(kept))


def _plain(number: Decimal) -> str:
    """Without an exponent, and without the sign of a zero."""
    return f"{abs(number) if number.is_zero() else number:f}"
