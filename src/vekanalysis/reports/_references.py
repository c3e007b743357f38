"""The built-in spectra: as spectra, and the list of them."""

import re
import textwrap
from itertools import groupby
from typing import NamedTuple

from .. import units
from .._core import Scan, colorimetry, lighting
from ..errors import Refusal
from ..quantities import REFERENCES
from ..spectrum import Source, Spectrum
from ._base import Printable
from ._layout import Heading, Json, interval

_WIDTH = 80
_RECONSTRUCTION = "reconstruction"
_WARNING = "not the printed table; not for conformity decisions"


class _Entry(NamedTuple):
    """What is known of a built-in spectrum."""

    name: str
    unit: str
    source: str
    status: str


_OF_LIGHTING = tuple(
    _Entry(item.name, item.unit, item.source, "printed figures") for item in lighting.references()
)
_ENTRIES = (
    *(_Entry(item.name, item.unit, item.source, item.status) for item in REFERENCES),
    *_OF_LIGHTING,
)
# What has a temperature in its name: the lowest and the highest, and what it is.
_OF_TEMPERATURE = {
    "daylight": (4_000, 25_000, "phase of daylight", "CIE 15:2018, by formula"),
    "planckian": (1_000, 1_000_000, "Planckian radiator", "CIE 15:2018, by formula"),
}


def built_in(name: str) -> Spectrum:
    """The built-in spectrum of a name, in its unit.

    Parameters
    ----------
    name : str
        Of its function in ``colorimetry.data``, as `lighting.reference` takes it, or
        "daylight(6504)" and "planckian(2856)" with any temperature in K that these have.

    Returns
    -------
    Spectrum

    Raises
    ------
    Refusal
        If there is none.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> vek.reports.built_in("AM15G_ASTM_G17303")
    <Spectrum 'AM15G_ASTM_G17303': irradiance in W m-2 nm-1, Scan(280→4000[2002])>
    """
    entry = _entry(name)
    unit = units.parse(entry.unit)
    kind = (unit.kind if unit else None) or "unknown"
    return Spectrum(_scan(name), kind, entry.unit, name, Source(reference=name))


def built_in_names() -> tuple[str, ...]:
    """The names that the list has, but for those with a temperature."""
    return tuple(entry.name for entry in _ENTRIES)


def _scan(name: str) -> Scan:
    if temperature := _temperature(name):
        scan: Scan = getattr(lighting, temperature[0])(temperature[1])
        return scan
    if any(entry.name == name for entry in _OF_LIGHTING):
        return lighting.reference(name)
    scan = getattr(colorimetry.data, name)()
    return scan


def _temperature(name: str) -> tuple[str, float] | None:
    """``daylight(6504)`` as its function and its temperature."""
    match = re.fullmatch(r"(daylight|planckian)\(([0-9]{1,7}(?:\.[0-9]{1,9})?)\)", name)
    return (match[1], float(match[2])) if match else None


def _entry(name: str) -> _Entry:
    for entry in _ENTRIES:
        if entry.name == name:
            return entry
    if temperature := _temperature(name):
        function, kelvin = temperature
        lowest, highest, what, source = _OF_TEMPERATURE[function]
        if lowest <= kelvin <= highest:
            return _Entry(name, "relative", source, "formula")
        raise Refusal(f"no {what} of {kelvin:.16g} K: from {lowest} to {highest} K")
    raise Refusal(f"no built-in spectrum '{name}'; 'vekanalysis references' lists them")


class ReferenceList(Printable):
    """The built-in spectra: range and step, points, peak, unit, source and standing."""

    def _lines(self, encoding: str) -> list[str]:
        lines: list[str] = [Heading(_columns("name", "range nm", "step", "points", "peak at nm"))]
        for (unit, source, status), group in groupby(_ENTRIES, key=_standing):
            if status == _RECONSTRUCTION:
                status = f"{status}, {_WARNING}"
            lines += ["", *textwrap.wrap(f"{source}, unit {unit}: {status}", _WIDTH)]
            lines += [_row(built_in(entry.name)) for entry in group]
        for function, (lowest, highest, what, source) in _OF_TEMPERATURE.items():
            lines += ["", f"{source}, unit relative"]
            lines.append(f"  {function}(T): {what} of T = {lowest} to {highest} K")
        return lines

    def document(self) -> dict[str, Json]:
        """The list as plain Python objects, as ``json()`` writes it."""
        return {
            "references": [reference_document(entry.name) for entry in _ENTRIES],
            "formulas": [
                {
                    "name": f"{function}(T)",
                    "what": what,
                    "range_K": [lowest, highest],
                    "unit": "relative",
                    "source": source,
                }
                for function, (lowest, highest, what, source) in _OF_TEMPERATURE.items()
            ],
        }


def reference_document(name: str, *, with_points: bool = False) -> dict[str, Json]:
    """What is known of a built-in spectrum, on request with its points."""
    spectrum, entry = built_in(name), _entry(name)
    wavelength, value = _peak(spectrum)
    document: dict[str, Json] = {
        "name": name,
        "range_nm": [*spectrum.range_nm],
        "step_nm": _step(spectrum),
        "points": spectrum.points,
        "unit": entry.unit,
        "peak": {"wavelength_nm": wavelength, "value": value},
        "source": entry.source,
        "status": entry.status,
    }
    if with_points:
        wavelengths, values = spectrum.scan.to_lists()
        document |= {"wavelengths_nm": [*wavelengths], "values": [*values]}
    return document


def _standing(entry: _Entry) -> tuple[str, str, str]:
    return entry.unit, entry.source, entry.status


def _peak(spectrum: Spectrum) -> tuple[float, float]:
    """Wavelength and value of the highest stored point, the first of equals."""
    return max(spectrum.scan.items(), key=lambda point: point[1])


def _step(spectrum: Spectrum) -> float | None:
    """The step of an even grid."""
    steps = spectrum.steps_nm
    return steps[0] if steps and steps[0] == steps[1] else None


def _row(spectrum: Spectrum) -> str:
    step = _step(spectrum)
    wavelength, value = _peak(spectrum)
    return _columns(
        f"  {spectrum.label}",
        interval(spectrum.range_nm),
        "uneven" if step is None else f"{step:g}",
        str(spectrum.points),
        f"{value:g} at {wavelength:g}",
    )


def _columns(*texts: str) -> str:
    widths = (46, 14, 7, 7, 0)
    return "".join(f"{text:<{width}}" for text, width in zip(texts, widths, strict=True))
