"""The built-in spectra: as spectra, and the list of them."""

import textwrap
from collections.abc import Iterable
from itertools import groupby

from .. import units
from .._core import Scan, colorimetry
from ..errors import Refusal
from ..quantities import REFERENCES, Reference
from ..spectrum import Source, Spectrum
from ._base import Printable
from ._layout import Heading, Json, interval

_WIDTH = 80
_RECONSTRUCTION = "reconstruction"
_WARNING = "not the printed table; not for conformity decisions"


def built_in(name: str) -> Spectrum:
    """The built-in spectrum of a name, in its unit.

    Parameters
    ----------
    name : str
        Of its function in ``colorimetry.data``.

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
    reference = _reference(name)
    unit = units.parse(reference.unit)
    kind = (unit.kind if unit else None) or "unknown"
    scan: Scan = getattr(colorimetry.data, name)()
    return Spectrum(scan, kind, reference.unit, name, Source(reference=name))


def _reference(name: str) -> Reference:
    for reference in REFERENCES:
        if reference.name == name:
            return reference
    raise Refusal(f"no built-in spectrum '{name}'; 'vekanalysis references' lists them")


class ReferenceList(Printable):
    """The built-in spectra: range and step, points, peak, unit, source and standing."""

    def __init__(self, references: Iterable[Reference] = REFERENCES) -> None:
        self.references = tuple(references)

    def _lines(self, encoding: str) -> list[str]:
        lines: list[str] = [Heading(_columns("name", "range nm", "step", "points", "peak at nm"))]
        for (unit, source, status), group in groupby(self.references, key=_standing):
            if status == _RECONSTRUCTION:
                status = f"{status}, {_WARNING}"
            lines += ["", *textwrap.wrap(f"{source}, unit {unit}: {status}", _WIDTH)]
            lines += [_row(built_in(reference.name)) for reference in group]
        return lines

    def document(self) -> dict[str, Json]:
        """The list as plain Python objects, as ``json()`` writes it."""
        return {"references": [reference_document(item.name) for item in self.references]}


def reference_document(name: str, *, with_points: bool = False) -> dict[str, Json]:
    """What is known of a built-in spectrum, on request with its points."""
    spectrum, reference = built_in(name), _reference(name)
    wavelength, value = _peak(spectrum)
    document: dict[str, Json] = {
        "name": name,
        "range_nm": [*spectrum.range_nm],
        "step_nm": _step(spectrum),
        "points": spectrum.points,
        "unit": reference.unit,
        "peak": {"wavelength_nm": wavelength, "value": value},
        "source": reference.source,
        "status": reference.status,
    }
    if with_points:
        wavelengths, values = spectrum.scan.to_lists()
        document |= {"wavelengths_nm": [*wavelengths], "values": [*values]}
    return document


def _standing(reference: Reference) -> tuple[str, str, str]:
    return reference.unit, reference.source, reference.status


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
