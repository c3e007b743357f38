"""Quantities of a spectrum, and what data they need."""

import math
from collections.abc import Callable, Iterator, Mapping
from functools import cache
from operator import attrgetter
from typing import Any, NamedTuple

from .. import colorimetry
from .._core import Observer, Scan
from .text import interval

type Range = tuple[float, float]

VISIBLE: Range = (380.0, 780.0)
CIE_15 = "CIE 15:2004"

# The fields of records and their symbols.
XY = {"x": "x", "y": "y"}
XYZ = {"X": "X", "Y": "Y", "Z": "Z"}
AB = {"a_star": "a*", "b_star": "b*"}
LAB = {"L_star": "L*"} | AB


class Quantity(NamedTuple):
    """One row of a report."""

    # The library's function and, after a point, the field of its result.
    key: str
    symbol: str
    name: str
    unit: str
    compute: Callable[[Scan], float]
    # Where the quantity is defined, nm; none for the whole spectrum.
    band: Range | None = None
    standard: str = ""
    section: str = ""
    # The built-in spectra that the spectrum is multiplied by; no data are needed beyond them.
    weights: tuple[str, ...] = ()
    notes: tuple[str, ...] = ()
    # Whether a clear lens tells something about sampling and coverage.
    is_transmittance: bool = False
    # Whether what the data do not cover counts as 0, and not as nothing.
    is_integral: bool = True
    # Whether the value is a number of the data and has its digits.
    is_stored: bool = False

    @property
    def needed(self) -> Range | None:
        """The part of the band where the weights are."""
        if self.band is None:
            return None
        lowest, highest = self.band
        for name in self.weights:
            weight: Scan = getattr(colorimetry.data, name)()
            lowest = max(lowest, weight.min_wavelength())
            highest = min(highest, weight.max_wavelength())
        return lowest, highest


class Value(NamedTuple):
    """A quantity of a spectrum, or the reason why there is none."""

    value: float | None = None
    problem: str | None = None
    needed: Range | None = None
    # The part of the needed range that has data.
    covered: Range | None = None
    # What a transmittance of 1 at the same wavelengths gives.
    clear_lens: float | None = None

    @property
    def complete(self) -> bool:
        return self.covered == self.needed


def evaluate(quantity: Quantity, scan: Scan, clear: Scan | None = None) -> Value:
    """The quantity of ``scan``; if it is a transmittance, also that of ``clear``, a clear lens."""
    needed = quantity.needed
    covered = None
    if needed is not None:
        covered = max(needed[0], scan.min_wavelength()), min(needed[1], scan.max_wavelength())
        if not covered[0] < covered[1]:
            return Value(problem=f"No data within {interval(needed)} nm", needed=needed)
    result = Value(needed=needed, covered=covered)
    try:
        value = quantity.compute(scan)
        if not math.isfinite(value):
            return result._replace(problem="The result is not a finite number")
        of_clear = None
        if clear is not None and quantity.is_transmittance:
            of_clear = quantity.compute(clear)
    except (RuntimeError, ValueError) as error:
        return result._replace(problem=f"Not computable: {error}")
    return result._replace(value=value, clear_lens=of_clear)


def clear_lens(scan: Scan) -> Scan:
    """1 at each wavelength of ``scan``."""
    wavelengths = scan.wavelengths()
    return Scan(wavelengths, [1.0] * len(wavelengths), scan.epsilon, scan.interpolation)


@cache
def observer(year: int) -> Observer:
    """The CIE standard observer of 1931 (2 degrees) or 1964 (10 degrees)."""
    x, y, z = (getattr(colorimetry.data, f"cie_{year}_standard_observer_{f}")() for f in "xyz")
    return Observer(x, y, z)


def each_field(
    function: Callable[[Scan], Any],
    symbols: Mapping[str, str],
    name: str,
    standard: str,
    section: str = "",
    *,
    key: str = "",
    unit: str = "1",
    weights: tuple[str, ...] = (),
    notes: tuple[str, ...] = (),
    is_transmittance: bool = False,
) -> Iterator[Quantity]:
    """A quantity in the visible for each field of the record that ``function`` returns.

    ``symbols`` has the fields; ``{}`` in ``name`` and ``weights`` stands for the field.
    """

    def pick(field: str) -> Callable[[Scan], float]:
        get: Callable[[Any], float] = attrgetter(field)
        return lambda scan: get(function(scan))

    for field, symbol in symbols.items():
        yield Quantity(
            key=f"{key or function.__name__}.{field}",
            symbol=symbol,
            name=name.format(field),
            unit=unit,
            band=VISIBLE,
            standard=standard,
            section=section,
            compute=pick(field),
            weights=tuple(weight.format(field) for weight in weights),
            notes=notes,
            is_transmittance=is_transmittance,
        )
