"""Spectra of lensmeters: the XML files of the Japan Ophthalmic Instruments Association.

Elements are known by their local names, since prefixes differ, and some makers use no namespace.
Each point is taken from an element of its own: two lists would shift where a number is missing.
"""

import numpy as np

from .. import units
from ..errors import Refusal
from .curve import Curve, fact, unstated_unit
from .statements import Statement
from .xml_tree import Element

ROOTS = ("Ophthalmology", "R", "L", "S")
"""The local names of roots: a whole file, or one lens of it."""

_SIDES = {"R": "right lens", "L": "left lens", "S": "lens"}
_DEVICE = ("Company", "ModelName", "MachineNo", "ROMVersion", "Version", "Date", "Time")
_PRESCRIPTION = ("Sphere", "Cylinder", "Axis", "UVTransmittance", "ConfidenceIndex")
# Standard uncertainty of whole per cent: half a per cent to either side, all equally likely.
_ROUNDING = "whole per cent: rounded, with a standard uncertainty of 0.29 % (absolute)"


def parse(root: Element) -> list[Curve]:
    """The spectra of the lenses R, L and S; Refusal if there is none or one is damaged.

    Of the patient only the ID is kept.
    """
    device = _device(root)
    curves = []
    has_lens = False
    for lens in _lenses(root):
        has_lens = True
        data = lens.child("TransmittanceData")
        if data is not None and data.find("TransmittanceValue"):
            curves.append(_curve(lens, data, device))
    if not curves:
        held = "a prescription only" if has_lens else "no measurement of a lens"
        raise Refusal(f"no spectrum in this file: it holds {held}")
    return curves


def _lenses(root: Element) -> list[Element]:
    if root.name in _SIDES:
        return [root]
    # PD, beside the lenses, has children named R and L, too.
    return [
        lens
        for measure in root.find("Measure")
        for lenses in measure.find("LM")
        for lens in lenses.children
        if lens.name in _SIDES
    ]


def _device(root: Element) -> dict[str, str]:
    common = root.child("Common")
    if common is None:
        return {}
    facts = {name: common.child_text(name) for name in _DEVICE}
    patient = common.child("Patient")
    if patient is not None:
        facts["Patient ID"] = patient.child_text("ID")
    return {name: fact(text) for name, text in facts.items() if text}


def _curve(lens: Element, data: Element, device: dict[str, str]) -> Curve:
    points = data.find("TransmittanceValue")
    x = np.empty(len(points))
    y = np.empty(len(points))
    stated: tuple[str, str] | None = None
    for index, point in enumerate(points):
        where = f"line {point.line}: {_SIDES[lens.name]}, point {index + 1}"
        wavelength, value = point.child("WaveLength"), point.child("Transmittance")
        if wavelength is None or value is None:
            missing = "wavelength" if wavelength is None else "transmittance"
            raise Refusal(f"{where}: there is no {missing}")
        x[index] = wavelength.number(where)
        y[index] = value.number(where)
        found = (_unit(wavelength), _unit(value))
        if stated not in (None, found):
            raise Refusal(f"{where}: the units {found} differ from {stated} before")
        stated = found
    assert stated is not None
    x_unit, unit = stated
    notes = (_ROUNDING,) if unit == "%" and np.array_equal(y, np.rint(y)) else ()
    return Curve(
        x,
        y,
        x_unit or unstated_unit(x),
        Statement("transmittance", unit, units.parse(unit) if unit else None, "Transmittance"),
        part=lens.name,
        metadata=device | _prescription(lens),
        notes=notes,
    )


def _unit(element: Element) -> str:
    return fact(element.attributes.get("unit", ""))


def _prescription(lens: Element) -> dict[str, str]:
    facts = {}
    for name in _PRESCRIPTION:
        child = lens.child(name)
        if child is not None and child.text.strip():
            facts[name] = fact(f"{child.text} {_unit(child)}")
    return facts
