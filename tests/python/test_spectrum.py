"""A spectrum as a value that knows its kind, unit and source, and its conversions."""

import copy
import pickle
from typing import Any

import pytest
from cli import rows

import vekanalysis as vek
from vekanalysis import Refusal, Scan, Source, Spectrum, units

SCAN = Scan([400, 410, 420.05], [25, 50, 60], 1e-9, vek.LINEAR)
LENS = Spectrum(
    SCAN, "transmittance", "Per Cent", "l7", Source("a.vek", "2"), {"slit": "2 nm"}, ("n",)
)


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


SHOWN = "Scan(400→420.05[3], epsilon=1e-09, interpolation=LINEAR)"


@pytest.mark.parametrize(
    ("spectrum", "shown"),
    [
        (LENS, f"transmittance in %, {SHOWN}"),
        (LENS.replace(scan=Scan(), kind="absorbance", unit="1"), "absorbance in OD, Scan(empty)"),
        (
            LENS.replace(kind="unknown", unit=None),
            f"unknown kind, unit not stated, {SHOWN}",
        ),
        (
            LENS.replace(kind="other", unit="furlong"),
            f"other in furlong, {SHOWN}",
        ),
        (
            LENS.replace(kind="unknown", unit="furlong"),
            f"unknown kind in furlong, {SHOWN}",
        ),
    ],
)
def test_a_spectrum_shows_what_it_is_of(spectrum: Spectrum, shown: str) -> None:
    assert repr(spectrum) == f"<Spectrum 'l7': {shown}>"


@pytest.mark.parametrize(("changes", "error", "reason"), rows("refused.jsonl", "spectra"))
def test_what_no_spectrum_is_is_refused(changes: Any, error: str, reason: str) -> None:
    with pytest.raises((TypeError, Refusal)) as refused:
        LENS.replace(**changes)
    assert (refused.type.__name__, str(refused.value)) == (error, reason)


@pytest.mark.parametrize(("source", "where", "without_label"), rows("where.jsonl", "spectra"))
def test_messages_say_where_a_spectrum_is_from(
    source: list[Any], where: str, without_label: str
) -> None:
    labelled = LENS.replace(source=source)
    assert (labelled.where, labelled.replace(label="").where) == (where, without_label)


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
    ("kind", "have", "value", "wanted", "expected"), rows("conversions.jsonl", "spectra")
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
    ("kind", "have", "values", "wanted", "reason"), rows("not-converted.jsonl", "spectra")
)
def test_what_has_no_conversion_is_refused(
    kind: units.Kind, have: str | None, values: list[float], wanted: str, reason: str
) -> None:
    scan = Scan([400 + 10 * i for i in range(len(values))], values)
    with pytest.raises(Refusal) as refused:
        Spectrum(scan, kind, have, "lens").to(wanted)
    assert str(refused.value) == reason
