"""Tables of a laboratory's own in place of built-in ones: the right figures change, no others."""

import json
import math
import pickle
import random
import re
import shutil
from pathlib import Path

import numpy as np
import pytest
from cli import GREY, ROOT, Runner

import vekanalysis as vek
from vekanalysis import Refusal, Scan, colorimetry, quantities, reports
from vekanalysis.certificates import Settings, verify
from vekanalysis.quantities import LENS_FULL, REPLACEABLE, Evaluator, OwnTable, with_tables
from vekanalysis.uncertainty import Budget, Component, propagate

RED = "ISO8980_3_led_red"
RED_KEY = "ISO8980_3_tau_signal_led.red"
GRID = [float(wl) for wl in range(380, 785, 5)]
NOTE = "Computed with the laboratory's own table in place of the built-in one: "
BOX = Scan(GRID, [1.0 if 600 <= wl <= 650 else 0.0 for wl in GRID])


def built_in(name: str) -> Scan:
    return getattr(colorimetry.data, name)()


def written(path: Path, scan: Scan, heading: str = "wavelength (nm),weight") -> Path:
    rows = zip(*scan.to_lists(), strict=True)
    path.write_text(heading + "\n" + "".join(f"{wl!r},{value!r}\n" for wl, value in rows))
    return path


def lenses(seed: int) -> list[Scan]:
    """On even, uneven, fine, coarse and partial grids."""
    generator = random.Random(seed)
    made = []
    for number in range(60):
        low, high = generator.uniform(250, 420), generator.uniform(500, 830)
        n = generator.randint(6, 300)
        even = [low + (high - low) * i / (n - 1) for i in range(n)]
        wavelengths = even if number % 2 else sorted(generator.uniform(low, high) for _ in even)
        made.append(Scan(wavelengths, [generator.random() for _ in wavelengths]))
    return made


@pytest.mark.parametrize("interpolation", [vek.Interpolation.AKIMA, vek.Interpolation.POLYNOMIAL])
def test_copies_of_the_built_in_tables_give_their_figures(interpolation: vek.Interpolation) -> None:
    own = with_tables(LENS_FULL, [OwnTable(name, built_in(name)) for name in REPLACEABLE])
    assert sum(bool(quantity.own_tables) for quantity in own) > 25
    for lens in lenses(1):
        if interpolation == vek.Interpolation.POLYNOMIAL:
            wavelengths, values = lens.to_lists()
            lens = Scan(wavelengths[:9], values[:9], interpolation=interpolation)
        expected = quantities.evaluate(lens, LENS_FULL)
        found = quantities.evaluate(lens, own)
        evaluator = Evaluator(lens.wavelengths(), own, interpolation=interpolation)
        with np.errstate(invalid="ignore"):
            row = evaluator(lens.to_numpy()[1])
        for (key, value), number in zip(expected.items(), row, strict=True):
            assert found[key][1:4] == value[1:4], key
            if value.value is None:
                assert found[key].value is None, key
                assert np.isnan(number), key
            else:
                size = max(1.0, abs(value.value))
                assert found[key].value == pytest.approx(value.value, rel=0, abs=1e-15 * size)
                assert number == pytest.approx(value.value, rel=0, abs=1e-12 * size)


def test_figures_change_by_the_table_and_no_others_do() -> None:
    lens = vek.read(GREY)[0].scan
    (expected,) = [(lens * BOX)(380, 780) / BOX(380, 780)]
    before = quantities.evaluate(lens, LENS_FULL)
    function = colorimetry.ISO8980_3_tau_signal_led(lens)
    own = with_tables(LENS_FULL, [OwnTable(RED, BOX)])
    found = quantities.Figures(own).values(lens)
    assert found[RED_KEY].value == pytest.approx(expected, rel=1e-14)
    changed = {key for key, value in found.items() if value.value != before[key].value}
    # The figures of evaluators are the functions' but for the last digits.
    far = {key for key in changed if abs(found[key].value - before[key].value) > 1e-9}
    assert far == {RED_KEY, "ISO8980_3_Q_led.red"}
    quotient = found["ISO8980_3_Q_led.red"].value
    assert quotient == pytest.approx(expected / before["ISO8980_3_tau_v"].value, rel=1e-12)
    # Neither the process nor what is kept for the next spectrum has been changed.
    assert colorimetry.ISO8980_3_tau_signal_led(lens) == function
    assert quantities.Figures(LENS_FULL).values(lens)[RED_KEY].value == pytest.approx(function.red)
    other = with_tables(LENS_FULL, [OwnTable(RED, built_in(RED))])
    assert quantities.Figures(other).values(lens)[RED_KEY].value == pytest.approx(function.red)


def test_what_a_figure_is_divided_by_counts() -> None:
    red, yellow = (f"ANSI_Z80_3_2015_{name}_signal_transmittance" for name in ("red", "yellow"))
    key = "ANSI_Z80_3_tau_signal.yellow"
    record = quantities.quantity(key)
    assert {red, yellow} < {*record.tables}
    (only_yellow,) = with_tables([record], [OwnTable(yellow, built_in(yellow))])
    (both,) = with_tables([record], [OwnTable(name, built_in(name)) for name in (red, yellow)])
    said = [any("reconstruction" in note for note in each.notes) for each in (only_yellow, both)]
    assert said == [True, False]
    (halved,) = with_tables([record], [OwnTable(red, built_in(red) * 0.5)])
    lens = Scan(GRID, [0.4] * len(GRID))
    assert quantities.evaluate(lens, halved)[key].value == pytest.approx(
        2 * quantities.evaluate(lens, record)[key].value, rel=1e-14
    )


def test_wider_tables_need_more_of_the_data() -> None:
    (own,) = with_tables([quantities.quantity(RED_KEY)], [OwnTable(RED, BOX)])
    assert own.needed == (380.0, 780.0)


def test_the_uncertainty_is_that_of_the_own_table() -> None:
    lens = vek.read(GREY)[0]
    (own,) = with_tables([quantities.quantity(RED_KEY)], [OwnTable(RED, BOX)])
    noise = Component(name="noise", kind="noise", standard=0.01, correlation="independent")
    budget = Budget(components=[noise])
    results = propagate(lens, budget, [own])
    changes = []
    for wl in lens.scan.wavelengths():
        scan = Scan(*lens.scan.to_lists())
        scan[wl] += 1e-4
        changes.append(quantities.evaluate(scan, own)[RED_KEY].value - results[RED_KEY].value)
    expected = 0.01 * np.linalg.norm(np.array(changes) / 1e-4)
    assert results[RED_KEY].u == pytest.approx(expected, rel=1e-3)
    plain = propagate(lens, budget, [RED_KEY])
    assert plain[RED_KEY].u != pytest.approx(expected, rel=0.01)


def test_evaluators_and_tables_arrive_whole_in_other_processes() -> None:
    own = with_tables(LENS_FULL, [OwnTable(RED, BOX), OwnTable(REPLACEABLE[0], BOX)])
    evaluator = Evaluator(GRID, [own[0], *LENS_FULL, *own])
    values = np.linspace(0.1, 0.9, len(GRID))
    again = pickle.loads(pickle.dumps(evaluator))
    np.testing.assert_array_equal(again(values), evaluator(values))
    assert not np.array_equal(
        evaluator(values), Evaluator(GRID, again.keys)(values), equal_nan=True
    )
    table = reports.Table("lens", tables=[OwnTable(RED, BOX, "my/red.csv", "ab")])
    (row,) = pickle.loads(pickle.dumps(table)).rows(vek.read(GREY))
    report = reports.lens(vek.read(GREY), tables=[OwnTable(RED, BOX)])
    assert row[RED_KEY] == report.values[0][RED_KEY].value
    assert table.titles[table.keys.index(RED_KEY)] == f"{RED_KEY} [table red.csv]"
    assert sum("reconstructed" in title for title in table.titles) == 14


def test_reports_tell_the_file_and_its_digest(run: Runner, tmp_path: Path) -> None:
    path = written(tmp_path / "printed.csv", BOX)
    asked = ("report", GREY, "--table", f"{RED}={path}")
    document = run(*asked, "--json").document
    (quantity,) = [each for each in document["quantities"] if each["key"] == RED_KEY]
    digest = vek.read(path)[0].source.sha256
    assert quantity["notes"] == [f"{NOTE}{RED}, {path} (SHA-256 {digest})."]
    assert digest in run(*asked).out.replace("\n       ", "")
    tables = []
    for jobs in (1, 2):
        out = tmp_path / f"{jobs}.csv"
        assert run(*asked[:2], *asked[1:], "--csv", out, "--jobs", jobs).status == 0
        tables.append(out.read_text())
    assert tables[0] == tables[1]
    assert f"{RED_KEY} [table printed.csv]" in tables[0].splitlines()[0]


def box_with(value: float) -> Scan:
    """A table in steps of 5 nm with another value at 600 nm."""
    scan = Scan(*BOX.to_lists())
    scan[600.0] = value
    return scan


CLEAR = "ANSI_Z80_3_2015_red_signal_transmittance"
RED_GRID = [float(wl) for wl in range(550, 690, 5)]


def on(grid: list[float], value: float = 1.0) -> Scan:
    return Scan(grid, [value] * len(grid))


def without(left_out: float) -> Scan:
    return on([wl for wl in GRID if wl != left_out])


WIDEST = f"5 nm are the widest step of {RED}"
GAPS = (550, 630, 685)


@pytest.mark.parametrize(
    ("name", "table", "told"),
    [
        (RED, Scan(), f"has no values; {RED} begins at 550 nm"),
        (RED, on(GRID[60:]), f"begins at 680 nm; {RED} begins at 550 nm"),
        (RED, on([550 + 2e-6, *RED_GRID[1:]]), f"begins at 550 nm; {RED} begins at 550 nm"),
        (RED, on(GRID[:40]), f"ends at 575 nm; {RED} ends at 685 nm"),
        (RED, on([*RED_GRID[:-1], 685 - 2e-6]), f"ends at 685 nm; {RED} ends at 685 nm"),
        *(
            (RED, without(wl), f"has nothing between {wl - 5} and {wl + 5} nm; {WIDEST}")
            for wl in GAPS
        ),
        (RED, box_with(-0.1), "is -0.1 at 600 nm; no weight is below zero"),
        (RED, box_with(math.nan), "has a value at 600 nm that is no finite number"),
        (RED, on(GRID, 0.0), "all values are 0"),
        (CLEAR, on(GRID, 1.05), "has values up to 1.05; a transmittance is a fraction"),
    ],
)
def test_what_cannot_take_the_place_is_refused(name: str, table: Scan, told: str) -> None:
    for file, where in ((None, f"table '{name}'"), ("red.csv", "red.csv")):
        with pytest.raises(Refusal) as refused:
            with_tables(LENS_FULL, [OwnTable(name, table, file)])
        assert str(refused.value) == f"{where}: {told}"


@pytest.mark.parametrize(
    ("name", "table"),
    [
        (RED, on([550 + 5e-7, *RED_GRID[1:-1], 685 - 5e-7])),
        (RED, on([*RED_GRID[:4], 570 + 5e-7 - 5e-8, *RED_GRID[5:]])),
        (RED, on([300, 550, *RED_GRID[1:], 900], 90)),
        (CLEAR, on([380, *range(590, 790, 10)])),
    ],
)
def test_tables_reach_as_far_in_steps_as_wide(name: str, table: Scan) -> None:
    own = with_tables([quantities.quantity(RED_KEY), *LENS_FULL], [OwnTable(name, table)])
    assert {name} == {each for record in own for each in record.own_tables}


@pytest.mark.parametrize(
    ("name", "more"),
    [("ISO8980_3_led_rot", f"; did you mean '{RED}'?"), ("x", f"; there are '{REPLACEABLE[0]}', ")],
)
def test_a_table_must_be_one_of_those(name: str, more: str) -> None:
    told = f"there is no table '{name}' to replace{more}"
    for make in (lambda: OwnTable.read(name, GREY), lambda: with_tables([], [OwnTable(name, BOX)])):
        with pytest.raises(Refusal, match=f"^{re.escape(told)}"):
            make()


@pytest.mark.parametrize(
    ("table", "note"),
    [
        (OwnTable(RED, BOX), "."),
        (OwnTable(RED, BOX, "a\n.csv"), ", a?.csv."),
        (OwnTable(RED, BOX, "a" * 200, "12"), f", {'a' * 200} (SHA-256 12)."),
        (OwnTable(RED, BOX, "a" * 101 + "b" * 100), f", {'a' * 100}…{'b' * 100}."),
    ],
)
def test_a_note_has_file_and_digest(table: OwnTable, note: str) -> None:
    assert table.note == f"{NOTE}{RED}{note}"


def test_files_that_are_no_table_are_refused_in_a_line(run: Runner, tmp_path: Path) -> None:
    percent = written(tmp_path / "percent.csv", BOX, "wavelength (nm),T (%)")
    for text, told in [
        (f"{RED}={percent}", "is in per cent; a table has fractions"),
        (f"{RED}={ROOT}/examples/two-lenses.vek", "has 2 spectra; a table is one"),
        (f"{RED}={tmp_path}/none.csv", "none.csv: cannot be read: No such file"),
        (RED, "must be a built-in table and a file: NAME=FILE"),
    ]:
        assert told in run.refuse("report", GREY, "--table", text)
    lab = tmp_path / "lab.toml"
    for line, told in [
        (f'{RED} = "none.csv"', f"line 4: {RED}: {tmp_path}/none.csv: cannot be read"),
        (f"{RED} = 3", f"line 4: {RED} must be the name of a file"),
        ('ISO8980_3_led_rot = "a.csv"', "unknown key 'ISO8980_3_led_rot'; did you mean"),
    ]:
        lab.write_text(f'[laboratory]\nname = "A"\n[tables]\n{line}\n')
        with pytest.raises(Refusal) as refused:
            Settings.read(lab)
        assert told in str(refused.value)


def test_certificates_are_decided_and_verified_with_it(run: Runner, tmp_path: Path) -> None:
    shutil.copy(GREY, tmp_path / "lens.csv")
    shutil.copy(ROOT / "examples/budget.toml", tmp_path)
    table = written(tmp_path / "printed.csv", BOX)
    yellow = written(tmp_path / "yellow.csv", BOX)
    settings = f'[tables]\n{RED} = "printed.csv"\n[page]\nlanguage = "de"\n'
    settings += f'quantities = ["{RED_KEY}", "ISO8980_3_tau_v"]\n'
    (tmp_path / "lab.toml").write_text(f'[laboratory]\nname = "A"\n{settings}')
    (tmp_path / "limits.toml").write_text(
        f'label = "L"\n[decision]\nrule = "simple"\n[[requirement]]\nname = "red"\n'
        f'quantity = "{RED_KEY}"\nabove = 0.1\n'
    )
    arguments: list[object] = ["certificate", tmp_path / "lens.csv", "--overwrite"]
    arguments += ["--settings", tmp_path / "lab.toml", "--limits", tmp_path / "limits.toml"]
    arguments += ["--uncertainty", tmp_path / "budget.toml", "--out", tmp_path / "c.html"]
    arguments += ["--record", tmp_path / "c.json"]
    arguments += ["--table", f"ISO8980_3_led_yellow={yellow}"]
    assert run(*arguments).err == ""
    record = json.loads((tmp_path / "c.json").read_text())
    assert [each["verdict"] for each in record["conformity"]["statements"]] == ["pass"]
    assert record["files"]["tables"][RED]["path"] == "printed.csv"
    page = (tmp_path / "c.html").read_text()
    assert "Mit der eigenen Tabelle des Labors" in page
    assert vek.read(table)[0].source.sha256 in page
    assert verify(tmp_path / "c.json").differences == ()
    text = table.read_text()
    table.write_text(text.replace("650.0,1.0", "650.0,1.1"))
    differences = verify(tmp_path / "c.json").differences
    assert any("conformity.statements" in each for each in differences)
    assert any("digests" in each for each in differences)
    table.write_text(text)
    (tmp_path / "lab.toml").write_text(f'[laboratory]\nname = "A"\n{settings}'.replace(RED, "x"))
    assert "unknown key" in verify(tmp_path / "c.json").differences[-1]
