"""The spellings of units that instruments write, and conversions between units."""

import subprocess
import sys

import pytest
from cli import ROOT, rows

import vekanalysis as vek
from vekanalysis import units

SPELLINGS = ROOT / "tests/data/units.txt"
CASES = {
    spelling.strip(): units.Unit(name, float(scale), base, None if kind == "None" else kind)
    for row in SPELLINGS.read_text("utf-8").splitlines()[1:]
    for name, scale, base, kind, spellings in [row.split("; ")]
    for spelling in spellings.split(" | ")
}


@pytest.mark.parametrize(("text", "expected"), CASES.items(), ids=CASES)
def test_what_instruments_write_is_understood(text: str, expected: units.Unit) -> None:
    assert units.parse(text) == units.parse(expected.name) == expected


@pytest.mark.parametrize("text", rows("none.jsonl", "units"))
def test_what_is_not_understood_is_no_unit(text: str) -> None:
    assert units.parse(text) is None
    assert units.parse("W" + " " * 119) is not None


def test_the_table_of_common_names_says_what_pint_does() -> None:
    for name, atom in units._ATOMS.items():
        if not name.startswith("micron"):
            assert units._from_pint(name) == atom


def test_common_spellings_do_not_import_pint() -> None:
    texts = [text for text in [*CASES][:30] if text[0] == "W" and "att" not in text]
    code = f"""
import sys
from vekanalysis import units
from vekanalysis.reading import state
for text in {texts}:
    assert units.parse(text), text
for title in ("T (lens 7)", "Sample A (left)", "%T", "Irradiance [mW/(m²·nm)]", "Probe (links)"):
    state(title)
print("pint" in sys.modules)
"""
    done = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, check=True)
    assert done.stdout == "False\n"


@pytest.mark.parametrize(("have", "wanted", "expected"), rows("ratios.jsonl", "units"))
def test_a_ratio_is_a_factor_or_a_divisor(have: str, wanted: str, expected: list[float]) -> None:
    assert [*units.ratio(units.known(have), units.known(wanted))] == expected


FITTING = dict(rows("kinds.jsonl", "units"))


@pytest.mark.parametrize(("kind", "fitting"), FITTING.items())
def test_units_fit_their_kinds(kind: units.Kind, fitting: str) -> None:
    every = FITTING["other"].split()
    found = {text for text in every if units.fits(kind, units.known(text))}
    assert found == {*fitting.split()}
    assert [units.is_kind(text) for text in (kind, "lens")] == [True, False]
    with pytest.raises(vek.Refusal, match=r"^the unit 'furlong' is not understood$"):
        units.known("furlong")
