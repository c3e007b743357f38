"""Reports with ``--uncertainty``."""

import csv
import io
from pathlib import Path

import pytest
from cli import GREY, ROOT, Runner

BUDGET = str(ROOT / "examples/budget.toml")
TAU_V = "ISO8980_3_tau_v"


def test_figures_come_with_their_uncertainty(run: Runner) -> None:
    text = run("report", GREY, "--uncertainty", BUDGET).out
    (line,) = [line for line in text.splitlines() if " luminous, D65 " in line]
    assert line.endswith("0.5496    ± 0.0024   1.96")
    words = " ".join(text.split())
    assert "The uncertainty budget is 'Bench 1, March 2026'" in words
    # Points of the data, whose differences say nothing: no ± 0.
    light = run("light", "--reference", "AM15G_ASTM_G17303", "--uncertainty", BUDGET).out
    (line,) = [line for line in light.splitlines() if "peak wavelength" in line]
    assert "±" not in line
    assert "Without an uncertainty to first order" in " ".join(light.split())


def test_documents_and_tables_have_all_digits(run: Runner) -> None:
    document = run("report", GREY, "--uncertainty", BUDGET, "--json").document
    assert document["budget"]["label"] == "Bench 1, March 2026"
    value = run("report", GREY, "--uncertainty", BUDGET, "--json").value(TAU_V)
    assert value["U"] == pytest.approx(value["k"] * value["u"])
    assert list(value["contributions"]) == ["100 % line", "zero", "noise", "wavelength"]
    assert value["contributions"]["wavelength"] < 0.0
    table = run("report", GREY, "--uncertainty", BUDGET, "--csv", "-").out
    (row,) = csv.DictReader(io.StringIO(table))
    assert [float(row[f"{TAU_V}_{name}"]) for name in "uUk"] == [value[name] for name in "uUk"]
    assert row["ISO8980_3_tau_suvb_u"] == ""


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


def test_draws_are_reported_with_their_seed(run: Runner) -> None:
    arguments = ("report", GREY, "--uncertainty", BUDGET, "--draws", "2000", "--seed", "7")
    first, again = run(*arguments), run(*arguments)
    assert first.out == again.out
    assert "grey-glass-4mm: 2000 draws, seed 7; the first order is" in " ".join(first.out.split())
    result = run(*arguments, "--json")
    low, high = result.value(TAU_V)["draws"]["interval"]
    assert low < result.value(TAU_V)["value"] < high
    assert result.document["budget"]["draws"] == [{"count": 2000, "seed": 7, "converged": None}]


def test_no_figure_reaches_into_the_impossible(run: Runner, tmp_path: Path) -> None:
    dark = tmp_path / "dark.csv"
    dark.write_text("".join(f"{wl},0.00001\n" for wl in range(280, 785, 5)))
    text = run("report", str(dark), "--uncertainty", BUDGET).out
    (line,) = [line for line in text.splitlines() if " luminous, D65 " in line]
    assert line.endswith(" 0.0000    0.0000 to 0.0010")


@pytest.mark.parametrize(
    ("arguments", "words"),
    [
        (["--draws", "auto"], "name a budget"),
        (["--uncertainty", BUDGET, "--seed", "1"], "--seed is for --draws"),
        (["--uncertainty", BUDGET, "--draws", "10"], "must be 2000 to"),
        (["--uncertainty", BUDGET, "--draws", "auto", "--csv", "-"], "a table has the first order"),
        (["--uncertainty", "none.toml"], "none.toml: cannot be read"),
    ],
)
def test_what_does_not_go_together_is_refused(
    run: Runner, arguments: list[str], words: str
) -> None:
    assert words in run.refuse("report", GREY, *arguments)


def test_a_spectrum_without_slopes_is_refused(run: Runner, tmp_path: Path) -> None:
    (tmp_path / "two.csv").write_text("400,0.5\n500,0.6\n")
    for draws in ((), ("--draws", "2000", "--seed", "1")):
        told = run.refuse("report", tmp_path / "two.csv", "--uncertainty", BUDGET, *draws)
        assert "its uncertainty cannot be computed" in told
