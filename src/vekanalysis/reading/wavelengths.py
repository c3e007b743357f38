"""Wavelengths that come from outside: what unit is stated, what is meant, what is doubtful."""

import math
import re
from collections.abc import Sequence
from itertools import pairwise
from typing import Literal, NamedTuple, get_args

from ..errors import Refusal, Remedy
from .encoding import shortened

type WavelengthUnit = Literal["nm", "um", "angstrom", "m"]

SHORTEST_IN_NM = 20.0
"""Wavelengths that all are below can only be in a larger unit where none is stated."""

# Infrared spectra go from about 400 to 4000 cm-1. Those in nm that go so far begin in the UV or
# above the visible.
_STARTS_OF_WAVENUMBERS = (350.0, 680.0)
_ENDS_OF_WAVENUMBERS = 3500.0

# By which numbers are multiplied and divided to be in nm.
TO_NM: dict[WavelengthUnit, tuple[float, float]] = {
    "nm": (1.0, 1.0),
    "um": (1e3, 1.0),
    "angstrom": (1.0, 10.0),
    "m": (1e9, 1.0),
}

# The first that is found counts. Blanks are single ones when these are used, so that no two
# repetitions stand side by side.
_STATED = {
    "um": r"(?<![a-z])[µμu]m\b|micron|mi[ck]romet",
    "nm": r"\bnm\b|nanomet",
    "angstrom": r"[Åå]ngstr|\bangstr|\bÅ|[\[(/] ?A ?(?:[\])]|$)",
    "cm-1": r"(?<![a-z])cm ?\^? ?[-−] ?1|1 ?/ ?cm|cm⁻¹|wave ?number|wellenzahl",  # noqa: RUF001
    "eV": r"\beV\b",
    "THz": r"\b[TGM]?Hz\b",
    "mm": r"(?<![a-z])mm\b|millimet",
    "m": r"[\[(/] ?m ?(?:[\])]|$)|^m$|^met(?:er|re)s?$",
}
_KINDS = {unit: re.compile(pattern, re.IGNORECASE) for unit, pattern in _STATED.items()}

POWER_OF_TEN = (
    r"(?:0?[.,]0{0,9}1|10{1,9}|10 ?(?:\^|\*\*) ?[({]?[-−+]?[1-9][0-9]?[)}]?|"  # noqa: RUF001
    r"10[⁻⁺]?[¹²³⁴⁵⁶⁷⁸⁹]|1(?:[.,]0*)?[eE][-−+]?0*[1-9][0-9]?)(?![0-9])"  # noqa: RUF001
)
"""What numbers are multiplied by for a table: ``10``, ``0.1``, ``10^-6``, ``1e-6``."""

_UNIT = r"(?:nm|[uµμ]m|mm|m|cm ?\^? ?[-−] ?1|1 ?/ ?cm|eV|Å|angstroms?|nanomet\w*|microm\w*)"  # noqa: RUF001
# nm-1, 1/um, 1e7/nm: what wavelengths are divided by, or densities.
_RECIPROCAL = re.compile(
    r"[0-9] ?/ ?(?:[nuµμm]?m|nanomet\w*|microm\w*)\b|"
    r"\b[nuµμ]m ?(?:\^ ?[({]? ?[-−] ?1|⁻¹|(?<=m)[-−]1(?![0-9.]))",  # noqa: RUF001
    re.IGNORECASE,
)
# Multiples, logarithms and differences: "nm x 10", "(10^3 cm-1)", "log nm".
_SCALED = re.compile(
    rf"(?:^|[\[(/*×·]|(?<![^\W_])x) ?{POWER_OF_TEN} ?[x×*·]? ?{_UNIT} ?(?=[)\]]|$)|"  # noqa: RUF001
    rf"(?<![^\W_]){_UNIT} ?\)? ?[x×*·/] ?{POWER_OF_TEN}(?![\w%])|"  # noqa: RUF001
    r"(?:(?<![^\W_])(?:log(?:10)?|lg|ln|delta)|[Δ∆]) ?\(? ?(?:λ|lambda|wave|nm\b|[uµμ]m\b|x\b)",
    re.IGNORECASE,
)


class Range(NamedTuple):
    """What wavelengths look like: the ends, and whether they are n, n + 1, n + 2, ..."""

    lowest: float
    highest: float
    counts: bool


def stated_unit(text: str) -> str | None:
    """The unit that a title, such as ``Wavelength (nm)``, or a unit attribute states.

    One in which no wavelength is where it is scaled or a reciprocal: ``nm x 10``, ``1/nm``.
    """
    text = " ".join(text.split())
    if _SCALED.search(text):
        return "multiples, logarithms or differences"
    lengths, reciprocals = _RECIPROCAL.subn(" ", text)
    unit = next((unit for unit, pattern in _KINDS.items() if pattern.search(lengths)), None)
    return "the reciprocal of a length" if unit is None and reciprocals else unit


def in_nm(
    wavelengths: Sequence[float], stated: str, unit: WavelengthUnit | None, where: str
) -> Sequence[float]:
    """The wavelengths in nm, or a Refusal where it is not certain what they are in.

    ``unit`` is the caller's word and wins over ``stated``, the text that came with the
    numbers. Without either, wavelengths that look like another unit are refused.
    """
    if unit is None:
        ends = None
        if wavelengths:
            counts = all(b == a + 1.0 for a, b in pairwise(wavelengths))
            ends = Range(min(wavelengths), max(wavelengths), counts)
        check_nm(ends, stated, where)
        return wavelengths
    check_wavelength_unit(unit)
    if unit == "nm":
        return wavelengths
    multiplier, divisor = TO_NM[unit]
    # Rounded to 1e-9 nm: 0.5876 um is 587.6 nm, not 587.5999999999999.
    return [round(wl * multiplier / divisor, 9) for wl in wavelengths]


def check_wavelength_unit(unit: str) -> None:
    """Refuse a unit that `in_nm` does not know."""
    known = get_args(WavelengthUnit.__value__)
    if unit not in known:
        units = ", ".join(repr(name) for name in known)
        raise Refusal(f"wavelength_unit is {unit!r}; it must be one of {units}")


def check_nm(ends: Range | None, stated: str, where: str) -> None:
    """Refuse wavelengths that are stated to be in another unit than nm, or look like it."""
    unit = stated_unit(stated)
    if unit == "nm":
        return
    if unit in ("um", "angstrom", "m"):
        raise Refusal(
            f"{where}: the wavelengths are in {unit} ('{shortened(stated)}'), not in nm",
            Remedy(
                "pass {} to convert them (the values stay as they are)",
                (("wavelength_unit", unit),),
            ),
        )
    if unit is not None:
        raise Refusal(
            f"{where}: '{shortened(stated)}' is in {unit}, not a wavelength in nm",
            Remedy("convert it, and values that are per unit of it, before"),
        )
    if ends is not None:
        check_likely(ends, where)


def may_be_wavenumbers(lowest: float, highest: float) -> bool:
    """Whether wavelengths of no stated unit go from where to where infrared spectra do in cm-1."""
    low, high = _STARTS_OF_WAVENUMBERS
    return low <= lowest <= high and highest >= _ENDS_OF_WAVENUMBERS


def check_likely(ends: Range, where: str) -> None:
    """Refuse wavelengths of no stated unit that look like row numbers or another unit."""
    lowest, highest, counts = ends
    meant = Remedy("pass {} if they are meant", (("wavelength_unit", "nm"),))
    if not lowest > 0.0:
        raise Refusal(
            f"{where}: the wavelengths start at {lowest:g}; they must be above zero (these may be "
            "row numbers)",
            meant,
        )
    if lowest == 1.0 and counts:
        raise Refusal(
            f"{where}: the wavelengths are 1, 2, 3 to {highest:g}, which look like row numbers",
            meant,
        )
    if may_be_wavenumbers(lowest, highest):
        raise Refusal(
            f"{where}: wavelengths from {lowest:g} to {highest:g} look like wavenumbers in cm-1, "
            "not nm, and no title says what they are in",
            Remedy("pass {} if they are in nm", (("wavelength_unit", "nm"),)),
        )
    if highest < 2e-5:
        guess = "m"
    elif highest < SHORTEST_IN_NM:
        guess = "um"
    elif lowest >= 2500.0:
        guess = "angstrom"
    else:
        return
    raise Refusal(
        f"{where}: wavelengths from {lowest:g} to {highest:g} look like {guess}, not nm, "
        "and no title says what they are in",
        Remedy(
            "pass {} to convert them, or 'nm' if that is what they are in",
            (("wavelength_unit", guess),),
        ),
    )


def check_finite(wavelengths: Sequence[float], where: str) -> None:
    """Refuse wavelengths that are no numbers."""
    for index, wavelength in enumerate(wavelengths):
        if not math.isfinite(wavelength):
            raise Refusal(f"{where}: wavelength {index + 1} is {wavelength}, not a number")
