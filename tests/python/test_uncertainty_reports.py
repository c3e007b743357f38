"""Reports with ``--uncertainty``."""

import csv
import io
import math
from pathlib import Path

import pytest
from cli import GREY, ROOT, Runner

import vekanalysis as vek
from vekanalysis import Scan, Spectrum, reports
from vekanalysis.reports import Row
from vekanalysis.uncertainty import Budget
from vekanalysis.units import Kind

BUDGET = str(ROOT / "examples/budget.toml")
TAU_V = "ISO8980_3_tau_v"


def test_a_table_has_each_file_as_it_is_by_itself(run: Runner, tmp_path: Path) -> None:
    folder = tmp_path / "lenses"
    folder.mkdir()
    for number in range(6):
        rows = (f"{wl},{0.1 * number + 0.0002 * (wl - 380)}\n" for wl in range(380, 781))
        (folder / f"{number}.csv").write_text("".join(rows))
    (folder / "2.csv").write_text("400,0.5\n500,0.6\n")
    (folder / "3.csv").write_text("no lens\n")
    (folder / "4.csv").write_text(
        "wl [nm];a;b\n" + "".join(f"{w};.5;.{w}\n" for w in range(500, 700))
    )
    arguments = ("report", "--uncertainty", BUDGET, "--jobs", "1", "--csv", "-")
    table = run(*arguments, folder)
    assert run(*arguments, "--jobs", "2", folder) == table
    assert table.status == 1
    lines = table.out.splitlines()[1:]
    apart = [run(*arguments, file).out.splitlines()[1:] for file in sorted(folder.iterdir())[:2]]
    assert lines[:2] == [line for each in apart for line in each]
    rows = [*csv.DictReader(io.StringIO(table.out))]
    assert [row["file"][-5:] for row in rows] == [f"{n}.csv" for n in (0, 1, 2, 3, 4, 4, 5)]
    assert "its uncertainty cannot be computed" in rows[2]["error"]
    open_budget = tmp_path / "open.toml"
    component = 'name="n"\nkind="noise"\nrepeats=true\ncorrelation="observed"\n'
    open_budget.write_text(f"[[component]]\n{component}")
    open_table = run("report", "--uncertainty", open_budget, "--csv", "-", folder / "0.csv")
    assert "of the repeats of the object, and there are none" in open_table.out
    assert [bool(row[f"{TAU_V}_u"]) for row in rows] == [bool(row[TAU_V]) for row in rows]


def lamps() -> list[list[Spectrum]]:
    """Files of light sources on several grids, and of what has few quantities or none."""
    solar = vek.colorimetry.data.AM15G_ASTM_G17303()

    def lamp(grid: range, kind: Kind, unit: str | None, tilt: float = 0.0) -> Spectrum:
        points = {float(wl): solar(float(wl)) * (1.0 + tilt * (wl - 555)) for wl in grid}
        return Spectrum(Scan(points.items()), kind, unit, f"{kind} {tilt}")

    visible, coarse = range(380, 781), range(300, 831, 5)
    broken = Scan([(wl, math.nan if wl == 480 else 1.0) for wl in coarse])
    grey, dark = (Scan([(wl, value) for wl in visible]) for value in (0.5, 0.0))
    return [
        [lamp(visible, "irradiance", "W m-2 nm-1", 1e-3)],
        [lamp(visible, "irradiance", "W m-2 nm-1", -1e-3)],
        [lamp(visible, "irradiance", "mW m-2 nm-1")],
        [lamp(coarse, "radiance", "W sr-1 m-2 nm-1"), lamp(visible, "irradiance", "W m-2 nm-1")],
        [lamp(coarse, "counts", "counts")],
        [lamp(coarse, "unknown", None)],
        [Spectrum(broken, "irradiance", "W m-2 nm-1")],
        [lamp(range(900, 1000), "irradiance", "W m-2 nm-1")],
        [Spectrum(dark, "irradiance", "W m-2 nm-1")],
        [Spectrum(grey, "transmittance", "1")],
        [Spectrum(Scan([400.0, 700.0], [1.0, 2.0]), "irradiance", "W m-2 nm-1")],
    ]


@pytest.mark.parametrize(("white", "f1_prime"), [("D65", True), ("E", False)])
@pytest.mark.parametrize("with_budget", [False, True])
def test_a_table_of_lamps_has_each_file_as_its_report(
    white: str, f1_prime: bool, with_budget: bool
) -> None:
    budget = Budget.read(BUDGET) if with_budget else None
    table = reports.Table("light", white=white, f1_prime=f1_prime, budget=budget)

    def by_itself(file: list[Spectrum]) -> list[Row] | None:
        try:
            return reports.light(file, white, f1_prime=f1_prime, budget=budget).rows()
        except vek.Refusal:
            return None

    files = lamps()
    expected = [by_itself(file) for file in files]
    refused = [file for file, rows in zip(files, expected, strict=True) if rows is None]
    assert len(refused) == (2 if with_budget else 0)
    taken = [file for file in files if file not in refused]
    # NaN is equal to nothing.
    assert repr(table.rows_of_files(taken)) == repr([rows for rows in expected if rows is not None])
    for file in refused:
        assert table.rows_of_files([*taken, file]) == [None] * (len(taken) + 1)
        with pytest.raises(vek.Refusal):
            table.rows(file)


def test_a_source_without_figures_has_no_uncertainties(run: Runner, tmp_path: Path) -> None:
    (tmp_path / "ir.csv").write_text("".join(f"{wl},1.0\n" for wl in range(900, 950)))
    result = run("light", tmp_path / "ir.csv", "--uncertainty", BUDGET, "--json")
    assert not any("u" in each["values"][0] for each in result.document["quantities"])


def test_draws_are_reported_with_their_seed(run: Runner) -> None:
    arguments = ("report", GREY, "--uncertainty", BUDGET, "--draws", "2000", "--seed", "7")
    first, again = run(*arguments), run(*arguments)
    assert first.out == again.out
    assert "grey-glass-4mm: 2000 draws, seed 7; the first order is" in " ".join(first.out.split())
    result = run(*arguments, "--json")
    low, high = result.value(TAU_V)["draws"]["interval"]
    assert low < result.value(TAU_V)["value"] < high
    assert result.document["budget"]["draws"] == [{"count": 2000, "seed": 7, "converged": None}]


def test_a_spectrum_without_slopes_is_refused(run: Runner, tmp_path: Path) -> None:
    (tmp_path / "two.csv").write_text("400,0.5\n500,0.6\n")
    for draws in ((), ("--draws", "2000", "--seed", "1")):
        told = run.refuse("report", tmp_path / "two.csv", "--uncertainty", BUDGET, *draws)
        assert "its uncertainty cannot be computed" in told
