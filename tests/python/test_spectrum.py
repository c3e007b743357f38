"""A spectrum as a value that knows its kind, unit and source, and its conversions."""

import copy
import math
import pickle
from collections.abc import Mapping
from typing import Any

import pytest

import vekanalysis as vek
from vekanalysis import Refusal, Scan, Source, Spectrum, units

SCAN = Scan([400, 410, 420.05], [25, 50, 60], 1e-9, vek.LINEAR)
LENS = Spectrum(
    SCAN, "transmittance", "Per Cent", "l7", Source("a.vek", "2"), {"slit": "2 nm"}, ("n",)
)
NOT_TO = "cannot be converted to"


def test_spectra_are_values() -> None:
    scan, facts = LENS.scan, {"slit": "1"}
    other = LENS.replace(scan=scan, metadata=facts)
    scan *= 2.0
    facts["slit"] = "3"
    assert (LENS.scan, other.scan, other.metadata["slit"]) == (SCAN, SCAN, "1")
    assert (LENS.kind, LENS.unit, LENS.label, LENS.notes) == ("transmittance", "%", "l7", ("n",))
    with pytest.raises(AttributeError, match=r"^a Spectrum cannot be changed; replace\(unit="):
        LENS.unit = "1"  # type: ignore[misc]
    with pytest.raises(AttributeError, match="a Spectrum cannot be changed"):
        del LENS.unit
    with pytest.raises(TypeError):
        LENS.metadata["sample"] = "other"  # type: ignore[index]
    for again in (copy.copy(LENS), pickle.loads(pickle.dumps(LENS)), LENS.replace()):
        assert again == LENS
        assert (repr(again), again.notes, again.source) == (repr(LENS), ("n",), LENS.source)
    same = {"source": tuple(LENS.source), "metadata": {"slit": "2 nm"}, "notes": ["n"]}
    assert LENS.replace(**same) == LENS != LENS.scan
    assert type(LENS.replace(**same).source) is Source
    changes = {"scan": SCAN * 2, "unit": "‰", "label": "x", "source": (), "metadata": {}}
    changes |= {"notes": (), "kind": "reflectance"}
    for name, value in changes.items():
        assert LENS.replace(**{name: value}) != LENS
    assert LENS.replace(**changes).label == "x"
    with pytest.raises(TypeError, match="unhashable"):
        hash(LENS)


@pytest.mark.parametrize(
    ("changes", "shown"),
    [
        ({}, "transmittance in %, Scan(400→420.05[3], epsilon=1e-09, interpolation=LINEAR)"),
        ({"scan": Scan(), "kind": "absorbance", "unit": "1"}, "absorbance in OD, Scan(empty)"),
        ({"kind": "unknown", "unit": None}, f"unknown kind, unit not stated, {SCAN!r}"),
        ({"kind": "other", "unit": "furlong"}, f"other in furlong, {SCAN!r}"),
        ({"kind": "unknown", "unit": "furlong"}, f"unknown kind in furlong, {SCAN!r}"),
    ],
)
def test_a_spectrum_shows_what_it_is_of(changes: dict[str, Any], shown: str) -> None:
    assert repr(LENS.replace(**changes)) == f"<Spectrum 'l7': {shown}>"


@pytest.mark.parametrize(
    ("changes", "error", "reason"),
    [
        ({"scan": [1]}, TypeError, "Spectrum needs a Scan; got list"),
        ({"x": 1, "a": 2}, TypeError, "a Spectrum has no 'a'; it has kind, label, metadata, notes, "
         "scan, source, unit"),
        ({"kind": "colour"}, Refusal, "kind is 'colour'; it must be one of "
         f"{str(units.KINDS)[1:-1]}"),
        ({"unit": "furlong"}, Refusal, "the unit 'furlong' is not understood"),
        ({"unit": "W/m2/nm"}, Refusal, "W m-2 nm-1 is no unit of transmittance"),
        ({"kind": "absorbance"}, Refusal, "% is no unit of absorbance"),
        ({"kind": "irradiance", "unit": "cts"}, Refusal, "counts is no unit of irradiance"),
    ],
)  # fmt: skip
def test_what_no_spectrum_is_is_refused(
    changes: Mapping[str, Any], error: type[Exception], reason: str
) -> None:
    with pytest.raises(error) as refused:
        LENS.replace(**changes)
    assert (type(refused.value), str(refused.value)) == (error, reason)


@pytest.mark.parametrize(
    ("source", "where", "without_label"),
    [
        (Source(), "l7", "spectrum"),
        (Source("f"), "f", "f"),
        (Source("f", "d", "c"), "f: d", "f: d"),
        (Source("f", column="c"), "f: c", "f: c"),
        (Source("f", "d", "c", "r"), "built-in r", "built-in r"),
        (Source("f", ""), "f: ", "f: "),
    ],
)
def test_messages_say_where_a_spectrum_is_from(
    source: Source, where: str, without_label: str
) -> None:
    found = [LENS.replace(source=source, label=label).where for label in ("l7", "")]
    assert found == [where, without_label]


def test_a_spectrum_tells_points_range_and_steps() -> None:
    assert (LENS.points, LENS.range_nm, LENS.steps_nm) == (3, (400.0, 420.05), (10.0, 10.05))
    tenths = Spectrum(Scan([400 + i / 10 for i in range(50)], [1] * 50))
    assert tenths.steps_nm == (0.1, 0.1)
    assert Spectrum(Scan([1, 1 + 1e-9, 2], [1] * 3)).steps_nm == (1e-9, 1 - 1e-9)
    one, two, none = (Spectrum(Scan(range(1, n + 1), [1] * n)) for n in (1, 2, 0))
    assert (one.steps_nm, two.steps_nm, none.steps_nm, none.points) == (None, (1.0, 1.0), None, 0)
    with pytest.raises(RuntimeError):
        _ = none.range_nm


@pytest.mark.parametrize(
    ("kind", "have", "value", "wanted", "expected"),
    [
        ("transmittance", "%", 54.2, "1", 0.542),
        ("transmittance", "1", 0.542, "%", 54.2),
        ("transmittance", "%", 10.0, "OD", 1.0),
        ("transmittance", "1", 0.5, "mOD", 301.02999566398),
        ("absorbance", "1", 2.0, "%", 1.0),
        ("absorbance", "mOD", 1000.0, "1", 0.1),
        ("irradiance", "mW/cm²/nm", 3.0, "W m-2 nm-1", 30.0),
        ("irradiance", "W/m2/um", 451.0, "W/m2/nm", 0.451),
        ("irradiance", "W m-2 nm-1", 0.451, "µW/cm2/nm", 45.1),
        ("responsivity", "A/W", 0.25, "mA/W", 250.0),
        ("reflectance", "%", 4.0, "1", 0.04),
    ],
)
def test_conversions(
    kind: units.Kind, have: str, value: float, wanted: str, expected: float
) -> None:
    scan = Scan([400, 410], [value, value], 1e-9, vek.LINEAR)
    spectrum = Spectrum(scan, kind, have, notes=("a",))
    converted = spectrum.to(wanted)
    assert converted.scan.values() == pytest.approx([expected] * 2, rel=1e-13)
    assert (converted.scan.epsilon, converted.scan.interpolation) == (1e-9, vek.LINEAR)
    unit, base = units.known(wanted).name, units.known(wanted).base
    became = {"OD": "absorbance", "1": kind if kind == "reflectance" else "transmittance"}
    assert (converted.kind, converted.unit) == (became.get(base, kind), unit)
    note = f"converted from {kind} in {spectrum.unit} to {converted.kind} in {unit}"
    assert converted.notes == ("a", note)
    assert converted.to(wanted) is converted


@pytest.mark.parametrize(
    ("kind", "have", "wanted", "reason"),
    [
        ("transmittance", "1", "W/m2/nm", f"lens: transmittance in 1 {NOT_TO} W m-2 nm-1"),
        (
            *("transmittance", None, "Per Cent"),
            f"lens: its unit is not stated, so it {NOT_TO} %; pass unit= of it to replace() first",
        ),
        ("reflectance", "%", "OD", f"lens: reflectance in % {NOT_TO} OD"),
        ("irradiance", "W/m2", "W/m2/nm", f"lens: irradiance in W m-2 {NOT_TO} W m-2 nm-1"),
        ("counts", "counts/s", "counts", f"lens: counts in counts s-1 {NOT_TO} counts"),
        ("absorbance", "OD", "lx", f"lens: absorbance in OD {NOT_TO} lx"),
        ("unknown", "1", "OD", f"lens: unknown kind in 1 {NOT_TO} OD"),
        ("other", "furlong", "1", "lens: its unit 'furlong' is not understood"),
        ("transmittance", "1", "furlong", "the unit 'furlong' is not understood"),
    ],
)
def test_what_has_no_conversion_is_refused(
    kind: units.Kind, have: str | None, wanted: str, reason: str
) -> None:
    spectrum = Spectrum(Scan([400, 410], [1, 1]), kind, have, "lens")
    with pytest.raises(Refusal) as refused:
        spectrum.to(wanted)
    assert str(refused.value) == reason


@pytest.mark.parametrize(
    ("values", "reason"),
    [
        ([0, 0.5, -1], "0 at 400 nm has no absorbance, nor have 1 more points"),
        ([0.5, -0.25, 1], "-0.25 at 410 nm has no absorbance"),
        ([0.5, 1, math.nan], "nan at 420 nm has no absorbance"),
    ],
)
def test_zero_has_no_absorbance(values: list[float], reason: str) -> None:
    dark = Spectrum(Scan([400, 410, 420], values), "transmittance", "1", "dark")
    with pytest.raises(Refusal) as refused:
        dark.to("OD")
    assert str(refused.value) == f"dark: {reason}"
