"""Spectra of light sources and materials in the XML of ANSI/IES TM-27 (``.spdx``)."""

import numpy as np

from ..errors import Refusal
from ..units import Kind
from .curve import Curve, fact, number, stated, unstated_unit
from .statements import Statement
from .xml_tree import Element

ROOT = "IESTM2714"
"""The local name of the root."""

# The words for quantities, and the units that go with them by custom: the file states none.
QUANTITIES: dict[str, tuple[Kind | None, str]] = {
    "flux": ("flux", "W nm-1"),
    "irradiance": ("irradiance", "W m-2 nm-1"),
    "radiance": ("radiance", "W m-2 sr-1 nm-1"),
    "intensity": ("intensity", "W sr-1 nm-1"),
    "transmittance": ("transmittance", ""),
    "reflectance": ("reflectance", ""),
    "exitance": ("other", "W m-2 nm-1"),
    "absorptance": ("other", "1"),
    "t-factor": (None, "1"),
    "r-factor": (None, "1"),
    "relative": (None, "a.u."),
    "other": (None, ""),
}
_HEADER = (
    "Manufacturer",
    "CatalogNumber",
    "Description",
    "DocumentCreator",
    "UniqueIdentifier",
    "MeasurementEquipment",
    "Laboratory",
    "ReportNumber",
    "ReportDate",
    "DocumentCreationDate",
    "Comments",
)
_DISTRIBUTION = (
    "SpectralQuantity",
    "ReflectionGeometry",
    "TransmissionGeometry",
    "BandwidthFWHM",
    "BandwidthCorrected",
)
_GEOMETRY = {"transmittance": "TransmissionGeometry", "reflectance": "ReflectionGeometry"}


def parse(root: Element) -> list[Curve]:
    """The one spectrum of a file; Refusal if it is damaged or has no quantity or points."""
    spectral = root.child("SpectralDistribution")
    if spectral is None:
        raise Refusal("no spectrum in this file: there is no SpectralDistribution")
    points = spectral.find("SpectralData")
    if not points:
        raise Refusal("no spectrum in this file: there is no SpectralData")
    x = np.empty(len(points))
    y = np.empty(len(points))
    for index, point in enumerate(points):
        where = f"line {point.line}: point {index + 1}"
        wavelength = point.attributes.get("wavelength")
        if wavelength is None:
            raise Refusal(f"{where}: there is no wavelength")
        x[index] = number(wavelength, where)
        y[index] = point.number(where)
    header = root.child("Header")
    facts = _facts(spectral, _DISTRIBUTION)
    if header is not None:
        facts = _facts(header, _HEADER) | facts
    quantity = facts.get("SpectralQuantity")
    if quantity is None:
        raise Refusal("it does not say of which quantity it is: there is no SpectralQuantity")
    kind, unit = QUANTITIES.get(quantity.lower(), (None, ""))
    statement = Statement(kind, "", None, quantity)
    comment, colon, words = facts.get("Comments", "").partition("Quantity:")
    if quantity.lower() == "other" and colon and not comment:
        statement, kind = stated(words), stated(words).kind
    notes = [] if kind not in (None, "other") else [f"the file states '{quantity}'"]
    geometry = _GEOMETRY.get(kind or "")
    if geometry and geometry not in facts:
        notes.append(f"the file does not state its {geometry}")
    return [
        Curve(
            x,
            y,
            unstated_unit(x),
            statement,
            unit,
            label=facts.get("CatalogNumber", ""),
            metadata=facts,
            notes=tuple(notes),
        )
    ]


def _facts(element: Element, names: tuple[str, ...]) -> dict[str, str]:
    texts = {name: fact(element.child_text(name)) for name in names}
    return {name: text for name, text in texts.items() if text not in ("", "None", "N/A")}
