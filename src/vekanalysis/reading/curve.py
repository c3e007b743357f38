"""What the laboratories' formats hold: curves as they stand in a file, and the spectra they are."""

import math
import re
from collections.abc import Mapping
from typing import NamedTuple

import numpy as np
from numpy.typing import NDArray

from .. import units
from .._core import AKIMA, Interpolation, Scan
from ..errors import Refusal, Remedy
from ..spectrum import Source, Spectrum
from .encoding import shortened
from .statements import Statement, state, taken
from .values import HIGHEST_FRACTION, Options, settled
from .wavelengths import SHORTEST_IN_NM, stated_unit

MOST_POINTS = 5_000_000
"""Points of the longest curve that is taken."""

_NUMBER = re.compile(r"[+-]?(?:[0-9]++\.?[0-9]*+|\.[0-9]++)(?:[eE][+-]?[0-9]{1,6})?")
# hc / e in nm eV: exact values of the SI (BIPM, SI Brochure, 9th ed., 2019, section 2.2).
_HC_OVER_E = 1239.8419843320026
_FACTORS = {"um": 1e3, "angstrom": 0.1, "m": 1e9, "mm": 1e6}
_RECIPROCAL = {"cm-1": 1e7, "eV": _HC_OVER_E}
# Kinds whose values are per unit of x.
_DENSITIES = frozenset(["irradiance", "radiance", "intensity", "flux"])
_PER_LENGTH = frozenset(["nm-1", "µm-1"])
_LONGEST_FACT = 300


class Curve(NamedTuple):
    """x and y as a file has them, with what it states of them.

    Attributes
    ----------
    x, y : array of float64, shape (N)
        In the file's order and units.
    x_unit : str
        What the file states of x: ``nm``, ``1/CM``, ``Wavelength (nm)``; empty if nothing.
    stated : Statement
        What it states of y.
    usual_unit : str
        The unit that its format has by custom where files state none; empty without one.
    part : str
        Which part of the file it is: a lens, a subfile; empty if the format has one.
    label : str
        Its title, empty if it has none.
    metadata : mapping of str to str
    notes : tuple of str
        What is doubtful, and what was done to the numbers.
    """

    x: NDArray[np.float64]
    y: NDArray[np.float64]
    x_unit: str
    stated: Statement
    usual_unit: str = ""
    part: str = ""
    label: str = ""
    metadata: Mapping[str, str] = {}
    notes: tuple[str, ...] = ()


class Wanted(NamedTuple):
    """The arguments of `read` that apply to curves."""

    asked: Options
    wavelength_unit: str | None = None
    duplicates: str = "refuse"
    sort: bool = False
    epsilon: float = 1e-20
    interpolation: Interpolation = AKIMA


def stated(text: str) -> Statement:
    """What a format's text for y states: ``TRANSMITTANCE``, ``A``, ``W/m2/nm``."""
    text = fact(text)
    if text == "A":
        text = "Absorbance"
    elif text.upper() in ("A.U.", "ARBITRARY UNITS", "RELATIVE"):
        return Statement(None, "a.u.", units.known("a.u."), "")
    found = state(text)
    # Words that mean nothing here are handed on as a unit that is not understood.
    return found if found.kind or found.unit_text else Statement(None, text, None, "")


def number(text: str, what: str) -> float:
    """A number that fills a text but for blanks, with a decimal point; Refusal otherwise."""
    text = text.strip(" \t\r\n")
    if len(text) > 60 or not _NUMBER.fullmatch(text):
        raise Refusal(f"{what}: '{shortened(text)}' is not a number")
    value = float(text)
    if not math.isfinite(value):
        raise Refusal(f"{what}: '{text}' is too large a number")
    return value


def unstated_unit(x: NDArray[np.float64]) -> str:
    """The unit of wavelengths where the format has nm and the file states none.

    Empty, as of what nobody states, where they can only be in another unit.
    """
    return "nm" if x.max() >= SHORTEST_IN_NM else ""


def fact(text: str) -> str:
    """A text for metadata: one line, printable, of bounded length."""
    line = " ".join(text[: 4 * _LONGEST_FACT].split())
    line = "".join(char for char in line if char.isprintable())
    return line if len(line) <= _LONGEST_FACT else line[: _LONGEST_FACT - 1] + "…"


def spectrum(curve: Curve, source: Source, label: str, wanted: Wanted) -> Spectrum:
    """The spectrum that a curve is, wavelengths in nm; Refusal if it is none."""
    where = source.file or "file"
    if source.data_set is not None:
        where += f": '{source.data_set}'"
    notes = list(curve.notes)
    unit = _x_unit(curve, wanted.wavelength_unit, where)
    x, y = _ordered(curve.x, curve.y, wanted, where)
    wavelengths = _in_nm(x, unit, where, notes)
    statement = _with_unit(curve, wanted.asked, notes)
    if unit in _RECIPROCAL:
        _check_density(statement, wanted.asked, unit, where)
        wavelengths, y = wavelengths[::-1], y[::-1]
    _check_distances(wavelengths, wanted.epsilon, where)
    scan = Scan(wavelengths, y, wanted.epsilon, wanted.interpolation)
    values = settled(scan, statement, wanted.asked, f"'{label}'", where)
    return Spectrum(
        values.scan,
        values.kind,
        values.unit,
        label,
        source,
        dict(curve.metadata),
        (*notes, *values.notes),
    )


def _x_unit(curve: Curve, given: str | None, where: str) -> str:
    """What x is in: nm, um, angstrom, mm, m, cm-1 or eV."""
    if not curve.x_unit.strip():
        if given is None:
            raise Refusal(
                f"{where}: it does not say what x is in",
                Remedy("pass {} if that is right", (("wavelength_unit", "nm"),)),
            )
        return given
    text = fact(curve.x_unit)
    if "raman" in text.lower() or "shift" in text.lower():
        raise Refusal(f"{where}: x is '{text}', a distance from a laser line, not a wavelength")
    unit = stated_unit(text)
    if unit not in ("nm", *_FACTORS, *_RECIPROCAL):
        raise Refusal(f"{where}: x is '{text}', not a wavelength")
    if given not in (None, unit):
        raise Refusal(
            f"{where}: x is stated as '{text}', asked for is {given}",
            Remedy("leave {} out", (("wavelength_unit", ...),)),
        )
    return unit


def _ordered(
    x: NDArray[np.float64], y: NDArray[np.float64], wanted: Wanted, where: str
) -> tuple[NDArray[np.float64], NDArray[np.float64]]:
    """The points with x ascending, each once; Refusal naming the point that prevents it."""
    if len(x) < 2:
        raise Refusal(f"{where}: {len(x)} points, at least 2 are needed")
    for values, name in ((x, "x"), (y, "y")):
        bad = ~np.isfinite(values)
        if bad.any():
            first = int(bad.argmax())
            raise Refusal(f"{where}: point {first + 1}: {name} is {values[first]}, not a number")
    steps = np.diff(x)
    moving = steps[steps != 0.0]
    descends = bool(len(moving) and moving[0] < 0.0)
    turns = (steps > 0.0) if descends else (steps < 0.0)
    if not wanted.sort and turns.any():
        first = int(turns.argmax())
        raise Refusal(
            f"{where}: point {first + 2}: x is {x[first + 1]:.10g} after {x[first]:.10g}, where it "
            f"{'de' if descends else 'a'}scends",
            Remedy("pass {} if any order is meant", (("sort", True),)),
        )
    order = np.argsort(x, kind="stable")
    x, y = x[order], y[order]
    again = np.flatnonzero(np.diff(x) == 0.0)
    if not len(again):
        return x, y
    if wanted.duplicates == "refuse":
        second = int(max(order[again[0]], order[again[0] + 1]))
        raise Refusal(
            f"{where}: point {second + 1}: x is {x[again[0]]:.10g} again",
            Remedy("pass {}, 'last' or 'mean'", (("duplicates", "first"),)),
        )
    return _merged(x, y, wanted.duplicates)


def _merged(
    x: NDArray[np.float64], y: NDArray[np.float64], duplicates: str
) -> tuple[NDArray[np.float64], NDArray[np.float64]]:
    """Each x once; ascending, and points of equal x in the file's order."""
    distinct, first, counts = np.unique(x, return_index=True, return_counts=True)
    if duplicates == "first":
        return distinct, y[first]
    if duplicates == "last":
        return distinct, y[first + counts - 1]
    means = [math.fsum(y[a : a + n]) / n for a, n in zip(first, counts, strict=True)]
    return distinct, np.array(means)


def _in_nm(x: NDArray[np.float64], unit: str, where: str, notes: list[str]) -> NDArray[np.float64]:
    if not x[0] > 0.0:
        raise Refusal(f"{where}: x starts at {x[0]:g} {unit}; it must be above zero")
    if unit == "nm":
        return x
    if unit in _FACTORS:
        notes.append(f"wavelengths converted from {unit} to nm")
        # Rounded to 1e-9 nm: 0.5876 um is 587.6 nm, not 587.5999999999999.
        wavelengths = np.array([round(wl * _FACTORS[unit], 9) for wl in x.tolist()])
    else:
        notes.append(
            f"wavelengths converted from {unit}: those in vacuum, 0.15 nm longer than in air at "
            "550 nm"
        )
        with np.errstate(over="ignore"):
            wavelengths = _RECIPROCAL[unit] / x
    if not (np.isfinite(wavelengths) & (wavelengths > 0.0)).all():
        raise Refusal(f"{where}: x from {x[0]:g} to {x[-1]:g} {unit} is beyond all wavelengths")
    return wavelengths


def _check_distances(wavelengths: NDArray[np.float64], epsilon: float, where: str) -> None:
    """Refuse neighbours that a scan takes for one point; the conversion to nm can make such."""
    apart = wavelengths[:-1] + epsilon < wavelengths[1:]
    if not apart.all():
        first = int(apart.argmin())
        raise Refusal(
            f"{where}: {wavelengths[first]:.10g} and {wavelengths[first + 1]:.10g} nm are one "
            f"wavelength within epsilon, {epsilon:g} nm"
        )


def _with_unit(curve: Curve, asked: Options, notes: list[str]) -> Statement:
    """What is stated of y, with the unit that its values or custom show where none is stated."""
    reading = taken(curve.stated)
    if reading.unit or asked.unit:
        return curve.stated
    if reading.kind in ("transmittance", "reflectance"):
        highest = float(curve.y.max())
        unit, words = ("%", "per cent") if highest > HIGHEST_FRACTION else ("1", "a fraction")
        notes.append(f"taken as {words}: no unit is stated, and the highest value is {highest:.6g}")
    elif curve.usual_unit:
        unit = curve.usual_unit
        notes.append(f"taken in {unit}, as is customary: the format states no unit")
    else:
        return curve.stated
    return curve.stated._replace(unit_text=unit, unit=units.known(unit))


def _check_density(statement: Statement, asked: Options, unit: str, where: str) -> None:
    """Refuse densities along another axis than wavelength, unless they are per nm or um."""
    reading = taken(statement)
    name = asked.unit or reading.unit or ""
    kind = asked.kind or reading.kind
    parsed = units.parse(name) if name else None
    if parsed is not None and parsed.kind is not None:
        kind = parsed.kind
    is_per_length = parsed is not None and not _PER_LENGTH.isdisjoint(parsed.name.split())
    if kind in _DENSITIES and not is_per_length:
        raise Refusal(
            f"{where}: {kind} along {unit} may be per {unit}, not per nm",
            Remedy("convert it to wavelengths before, or pass {} if it is", (("unit", ...),)),
        )


__all__ = [
    "MOST_POINTS",
    "Curve",
    "Wanted",
    "fact",
    "number",
    "spectrum",
    "stated",
    "unstated_unit",
]
