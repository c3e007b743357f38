"""Wavelengths that come from outside: what unit is stated, what is meant, what is doubtful."""

import math
import re
from collections.abc import Sequence
from typing import Literal, get_args

from ._refusal import refusal

type WavelengthUnit = Literal["nm", "um", "angstrom", "m"]

# The first that is found counts.
_STATED = {
    "um": r"(?<![a-z])[µμu]m\b|micron|mi[ck]romet",
    "nm": r"\bnm\b|nanomet",
    "angstrom": r"[Åå]ngstr|\bangstr|\bÅ|[\[(/]\s*A\s*(?:[\])]|$)",
    "cm-1": r"cm\s*\^?\s*[-−]\s*1|1\s*/\s*cm|cm⁻¹|wave\s*number|wellenzahl",  # noqa: RUF001
    "eV": r"\beV\b",
    "THz": r"\b[TGM]?Hz\b",
    "mm": r"(?<![a-z])mm\b|millimet",
    "m": r"[\[(/]\s*m\s*(?:[\])]|$)|^m$|^met(?:er|re)s?$",
}
_KINDS = {unit: re.compile(pattern, re.IGNORECASE) for unit, pattern in _STATED.items()}


def stated_unit(text: str) -> str | None:
    """The unit that a title, such as ``Wavelength (nm)``, or a unit attribute states."""
    return next((unit for unit, pattern in _KINDS.items() if pattern.search(text)), None)


def in_nm(
    wavelengths: Sequence[float], stated: str, unit: WavelengthUnit | None, where: str
) -> Sequence[float]:
    """The wavelengths in nm, or a ValueError where it is not certain what they are in.

    ``unit`` is the caller's word and wins over ``stated``, the text that came with the
    numbers. Without either, wavelengths that look like another unit are refused.
    """
    if unit is None:
        _check(wavelengths, stated, where)
        return wavelengths
    match unit:
        case "nm":
            return wavelengths
        # Rounded to 1e-9 nm: 0.5876 um is 587.6 nm, not 587.5999999999999.
        case "um":
            return [round(wl * 1e3, 9) for wl in wavelengths]
        case "angstrom":
            return [round(wl / 10.0, 9) for wl in wavelengths]
        case "m":
            return [round(wl * 1e9, 9) for wl in wavelengths]
    units = ", ".join(repr(name) for name in get_args(WavelengthUnit.__value__))
    raise ValueError(f"wavelength_unit is {unit!r}; it must be one of {units}")


def _check(wavelengths: Sequence[float], stated: str, where: str) -> None:
    unit = stated_unit(stated)
    if unit == "nm":
        return
    if unit in ("um", "angstrom", "m"):
        raise refusal(
            f"{where}: the wavelengths are in {unit} ('{stated}'), not in nm",
            f"pass wavelength_unit='{unit}' to convert them (the values stay as they are)",
        )
    if unit is not None:
        raise refusal(
            f"{where}: '{stated}' is in {unit}, not a wavelength in nm",
            "convert it, and values that are per unit of it, before",
        )
    if not wavelengths:
        return
    lowest, highest = min(wavelengths), max(wavelengths)
    if not lowest > 0.0:
        raise refusal(
            f"{where}: the wavelengths start at {lowest:g}; they must be above zero (these may be "
            "row numbers)",
            "pass wavelength_unit='nm' if they are meant",
        )
    if lowest == 1.0 and [*wavelengths] == [*range(1, len(wavelengths) + 1)]:
        raise refusal(
            f"{where}: the wavelengths are 1, 2, 3 to {highest:g}, which look like row numbers",
            "pass wavelength_unit='nm' if they are meant",
        )
    if highest < 2e-5:
        guess = "m"
    elif highest < 20.0:
        guess = "um"
    elif lowest >= 2500.0:
        guess = "angstrom"
    else:
        return
    raise refusal(
        f"{where}: wavelengths from {lowest:g} to {highest:g} look like {guess}, not nm, "
        "and no title says what they are in",
        f"pass wavelength_unit='{guess}' to convert them, or 'nm' if that is what they are in",
    )


def check_finite(wavelengths: Sequence[float], where: str) -> None:
    for index, wavelength in enumerate(wavelengths):
        if not math.isfinite(wavelength):
            raise ValueError(f"{where}: wavelength {index + 1} is {wavelength}, not a number")
