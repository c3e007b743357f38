"""Spectra at the wavelengths of the tables."""

import csv
import io
import math
import re
from pathlib import Path
from typing import Any

import pytest
from cli import GREY, ROOT, Runner, flat, rows, write_csv

import vekanalysis as vek
from vekanalysis.quantities import on_grid

SUVB = "ISO8980_3_tau_suvb"
BUDGET = ROOT / "examples/budget.toml"


def spectrum(wavelengths: list[float], values: list[float]) -> vek.Spectrum:
    return vek.Spectrum(vek.Scan(wavelengths, values), "transmittance", "1", "s")


def test_points_that_were_measured_stay_to_the_bit() -> None:
    wavelengths = [300.3 + 0.1 * i for i in range(200)]
    values = [0.5 + 0.1 * math.sin(i) for i in range(200)]
    brought = on_grid(spectrum(wavelengths, values), 2.5)
    assert brought.scan.wavelengths() == [302.5, 305.0, 307.5, 310.0, 312.5, 315.0, 317.5, 320.0]
    assert brought.scan.values() == [values[i] for i in range(22, 200, 25)]
    assert brought.notes[-1].endswith("8 points, all of them measured")


def test_points_between_are_those_of_the_scan() -> None:
    # Any of the interpolations has a straight line as it is.
    line = spectrum([301.0 + 3 * i for i in range(40)], [0.1 + 0.006 * i for i in range(40)])
    brought = on_grid(line)
    assert brought.scan.wavelengths() == [305.0 + 5 * i for i in range(23)]
    expected = [0.1 + 0.002 * (wl - 301.0) for wl in brought.scan.wavelengths()]
    assert brought.scan.values() == pytest.approx(expected, abs=1e-12)
    assert brought.notes[-1].endswith("23 points, 15 of them interpolated")
    per_cent = vek.Spectrum(line.scan * 100.0, "transmittance", "%")
    assert on_grid(per_cent).scan.values() == pytest.approx(expected, abs=1e-12)


def test_a_billionth_of_a_nanometre_is_measured_there() -> None:
    near = on_grid(spectrum([300 + 2e-10, 305 - 9e-10, 310 - 2e-10], [0.5, 0.3, 0.25]))
    assert near.scan.to_lists() == ([300, 305, 310], [0.5, 0.3, 0.25])
    assert near.notes == ("brought to 300-310 nm, step 5 nm: 3 points, all of them measured",)
    # Of two points beside a wavelength the nearer one is taken.
    two = on_grid(spectrum([300, 305 - 5e-10, 305 + 2e-10, 310 + 9e-10], [0.1, 0.2, 0.3, 0.4]))
    assert two.scan.values() == [0.1, 0.3, 0.4]
    line = vek.Scan([300 + 2e-8, 306, 311], [0.1, 0.2, 0.3], 1e-9, vek.LINEAR)
    beside = on_grid(vek.Spectrum(line, "transmittance", "1", notes=("a",)))
    assert beside.notes == (
        "a",
        "brought to 305-310 nm, step 5 nm: 2 points, 2 of them interpolated",
    )
    assert (beside.scan.epsilon, beside.scan.interpolation) == (1e-9, vek.LINEAR)


@pytest.mark.parametrize(
    ("wavelengths", "options", "reason"), rows("grid-refused.jsonl", "spectra")
)
def test_what_cannot_be_brought_there_is_refused(
    wavelengths: list[float], options: dict[str, Any], reason: str
) -> None:
    with pytest.raises(ValueError, match=f"^{re.escape(reason)}$") as refused:
        on_grid(spectrum(wavelengths, [0.5] * len(wavelengths)), **options)
    assert (refused.type is vek.Refusal) == reason.startswith("s: ")


def test_a_clear_lens_gives_1_on_reports_and_tables(run: Runner, tmp_path: Path) -> None:
    fine = write_csv(tmp_path / "clear.csv", flat(1.0, step=1))
    assert run("report", fine, "--json").value(SUVB)["value"] == pytest.approx(0.945, abs=5e-4)
    result = run("report", fine, "--json", "--grid", "tables")
    assert result.value(SUVB)["value"] == pytest.approx(1.0, abs=1e-12)
    assert "step 5 nm: 101 points" in result.document["spectra"][0]["notes"][-1]
    exact = result.value(SUVB)["value"]
    (row,) = csv.DictReader(io.StringIO(run("report", fine, "--csv", "-", "--grid", "5").out))
    assert float(row[SUVB]) == exact
    assert "all of them measured" in row["notes"]
    uncertain = run("report", fine, "--json", "--grid", "5", "--uncertainty", BUDGET).value(SUVB)
    assert uncertain["value"] == pytest.approx(exact, abs=1e-12)


def test_uncertain_points_must_have_been_measured(run: Runner) -> None:
    arguments = ["report", GREY, "--grid", "5"]
    assert run(*arguments).status == 0
    assert "were not measured" in run.refuse(*arguments, "--uncertainty", BUDGET)
    assert "must be a step in nm or 'tables'" in run.refuse("report", GREY, "--grid", "0")
