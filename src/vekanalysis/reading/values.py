"""What the values of a column are taken for, and how they come into the library's units."""

import math
from typing import NamedTuple

from .. import units
from .._core import Scan, utils
from ..errors import Refusal, Remedy
from ..units import Kind
from .statements import LOOSE, Reading, Statement, taken

HIGHEST_FRACTION = 2.0
"""Above it a transmittance or reflectance without a unit is taken for per cent."""

# Up to it a column that nobody but the caller says to be in per cent is likely in fractions; one
# that says so itself may have a wrong title.
_LOWEST_PER_CENT = 1.5


class Options(NamedTuple):
    """What a caller says of the values; it fills gaps, and contradicts nothing."""

    kind: Kind | None = None
    unit: str | None = None


class Values(NamedTuple):
    """A column in the library's units, and what was done to get there."""

    scan: Scan
    kind: Kind
    unit: str | None
    notes: tuple[str, ...]


def check_values(options: Options) -> None:
    """Refuse a kind or a unit that there is not, or that do not go together."""
    kind, unit = options
    if kind is not None and (not units.is_kind(kind) or kind in ("other", "unknown")):
        known = ", ".join(repr(name) for name in units.KINDS[:-2])
        raise Refusal(f"kind is {kind!r}; it must be one of {known}")
    if unit is not None:
        _check_fit(kind, units.known(unit))


def settled(
    scan: Scan,
    statement: Statement,
    options: Options,
    what: str,
    where: str,
    highest: float | None = None,
) -> Values:
    """The values as their statement has them, in coherent units.

    ``what`` is the column or data set in notes, ``where`` the same with its file in refusals;
    ``highest`` is the highest value, if that is known.
    """
    reading = taken(statement)
    kind, unit = _filled(reading, options, where)
    fills = (kind, unit) != (reading.kind, reading.unit)
    if kind in ("transmittance", "reflectance"):
        # Of the values that are numbers, without a list of them.
        highest = max(utils.get_statistics(scan).max, 0.0) if highest is None else highest
        if unit is None:
            _check_fraction(highest, kind, where)
        elif unit == "%" and unit != reading.unit and options.kind is None:
            _check_per_cent(highest, kind, where)
    if kind == "unknown" and unit is None:
        return Values(scan, kind, unit, ())
    if reading.problem and not fills:
        return Values(scan, kind, unit, (f"{what}: {reading.problem}",))
    note = f"{what}: {_described(kind, unit)}{', as asked' if fills else ''}"
    known = units.parse(unit) if unit and kind != "other" else None
    if known is not None and known.name != known.base:
        multiplier, divisor = units.ratio(known, units.known(known.base))
        unit = known.base
        if multiplier != 1.0:
            scan = _multiplied(scan, multiplier, where)
            note += f", multiplied by {multiplier:.10g}"
        elif divisor != 1.0:
            scan = scan / divisor
            note += f", divided by {divisor:.10g}"
        if known.name == "%" and highest is not None and highest <= _LOWEST_PER_CENT:
            note += f", at most {highest:.10g} %"
    return Values(scan, kind, unit, (note,))


def _multiplied(scan: Scan, multiplier: float, where: str) -> Scan:
    product = scan * multiplier
    for (wavelength, before), after in zip(scan.items(), product.values(), strict=True):
        if math.isinf(after) and not math.isinf(before):
            raise Refusal(f"{where}: {before:g} at {wavelength:g} nm is too large a number")
    return product


def _described(kind: Kind, unit: str | None) -> str:
    if kind in ("unknown", "other"):
        named = "kind not stated" if kind == "unknown" else "another quantity"
        return f"in {unit}, {named}" if unit else named
    return f"{kind} in {unit}" if unit else f"{kind}, unit not stated"


def _filled(reading: Reading, options: Options, where: str) -> tuple[Kind, str | None]:
    """Kind and unit, what is not stated from the options."""
    if options == (None, None):
        return reading.kind, reading.unit
    unit = None if reading.unit is None else units.parse(reading.unit)
    # An arbitrary unit states no scale, and a doubtful statement nothing.
    is_scaled = unit is not None and unit.base != "a.u."
    kind: Kind | None = reading.kind
    if reading.problem or kind == "unknown" or (kind in LOOSE and not is_scaled):
        kind = None
    if options.kind is not None:
        if kind not in (None, options.kind):
            stated = "another quantity" if kind == "other" else kind
            raise Refusal(
                f"{where}: stated is {stated}, asked for is {options.kind}",
                Remedy("leave {} out, or choose other columns", (("kind", ...),)),
            )
        kind = options.kind
    if options.unit is not None:
        given = units.known(options.unit)
        if unit is not None and is_scaled and unit.name != given.name:
            raise Refusal(
                f"{where}: stated is {unit.name}, asked for is {given.name}",
                Remedy("leave {} out, or choose other columns", (("unit", ...),)),
            )
        unit = given
        if kind is not None and not units.fits(kind, unit):
            raise Refusal(f"{where}: stated is {kind}, which is not measured in {unit.name}")
    if kind is None:
        kind = (unit.kind if unit else None) or "unknown"
    if unit is None:
        return kind, "OD" if kind == "absorbance" else None
    _check_fit(kind, unit)
    return kind, "OD" if kind == "absorbance" and unit.name == "1" else unit.name


def _check_fit(kind: Kind | None, unit: units.Unit) -> None:
    if kind is not None and not units.fits(kind, unit):
        raise Refusal(f"{kind} is not measured in {unit.name}")


def _check_fraction(highest: float, kind: Kind, where: str) -> None:
    if highest > HIGHEST_FRACTION:
        raise Refusal(
            f"{where}: {kind} reaches {highest:g}, which looks like per cent",
            Remedy(
                "pass {} to divide by 100 or {} to take the values as they are",
                (("unit", "%"), ("unit", "1")),
            ),
        )


def _check_per_cent(highest: float, kind: Kind, where: str) -> None:
    if highest <= _LOWEST_PER_CENT:
        raise Refusal(
            f"{where}: {kind} reaches no more than {highest:g}, which looks like fractions, and "
            "only the caller says per cent",
            Remedy(
                "leave {} out if they are fractions, or give {} too if they are so dark",
                (("unit", ...), ("kind", kind)),
            ),
        )
