"""Scans of one object: which they are, their mean, their scatter, and what is made of it."""

import csv
import io
import json
import math
import random
import re
from pathlib import Path

import pytest
from cli import Points, Runner, flat, rows, write_csv, write_vek

import vekanalysis as vek
from vekanalysis.commands._groups import object_in
from vekanalysis.quantities import Repeats, Scatter
from vekanalysis.uncertainty import Budget

TAU_V = "ISO8980_3_tau_v"
BUDGET = """
[[component]]
name = "repeats"
kind = "noise"
repeats = true
"""
GAIN = '[[component]]\nname = "gain"\nkind = "gain"\nstandard = 0.01\n'
OBSERVED = BUDGET + 'correlation = "observed"\n'


GRID = [400.0, 410.0, 420.0]
LENS = vek.Spectrum(vek.Scan(GRID, [0.1, 0.2, 0.3]), "transmittance", "1", "Lens 7 (1)")


def three(folder: Path, name: str = "lens-07", values: tuple[float, ...] = (0.4, 0.5, 0.6)) -> None:
    for number, value in enumerate(values, start=1):
        write_csv(folder / f"{name}_{number}.csv", flat(value))


@pytest.mark.parametrize(("pattern", "name", "expected"), rows("patterns.jsonl", "reports"))
def test_a_pattern_finds_the_object(pattern: str, name: str, expected: str | None) -> None:
    assert object_in(name, pattern) == expected


def test_no_pair_of_name_and_pattern_takes_long() -> None:
    assert object_in("a" * 20_000, "*a" * 20 + "b") is None
    assert object_in("a" * 20_000, "*a" * 10 + "{object}" + "a*" * 10 + "b") is None


def test_the_mean_does_not_depend_on_the_order() -> None:
    chance = random.Random(7)
    grid = range(380, 785, 5)
    scans = [vek.Scan(grid, [chance.random() for _ in grid]) for _ in range(9)]
    spectra = [vek.Spectrum(scan, "transmittance", "1") for scan in scans]
    first = Repeats(spectra, "x")
    values = first.mean.scan.values()
    numbers = [chance.random() for _ in range(9)]
    for _ in range(5):
        chance.shuffle(spectra)
        assert Repeats(spectra, "x").mean.scan.values() == values
        shuffled = chance.sample(numbers, 9)
        assert Scatter.of(shuffled) == Scatter.of(numbers)
    assert Scatter.of([0.5, 1.0, 1.5, 1.0]) == (4, 1.0, math.sqrt(0.5 / 3))
    for few, n, mean in (([0.5], 1, 0.5), ([], 0, None), ([0.5, None], 2, None)):
        assert Scatter.of(few) == (n, mean, None)
    assert Scatter.of([0.5, float("nan")]) == (2, None, None)


def test_a_mean_states_what_all_scans_state() -> None:
    first = LENS.replace(
        scan=vek.Scan(GRID, [0.125, 0.25, 0.5], 1e-9, vek.LINEAR),
        metadata={"slit": "1", "operator": "A", "date": "1", "lamp": "D"},
        notes=("column 3 'a': x", "column 12: y", "z"),
    )
    second = first.replace(
        scan=first.scan * 3,
        metadata={"lamp": "D", "date": "2", "operator": "A"},
        notes=("column 4 'b': x", "q"),
    )
    mean = Repeats([first, second], "lens").mean
    assert [*mean.metadata.items()] == [("operator", "A"), ("lamp", "D")]
    assert mean.notes == ("mean of 2 scans: Lens 7 (1), Lens 7 (1)", "x", "y", "z", "q")
    expected = vek.Scan(GRID, [0.25, 0.5, 1.0], 1e-9, vek.LINEAR)
    assert (mean.scan.to_lists(), repr(mean.scan)) == (expected.to_lists(), repr(expected))
    assert (mean.kind, mean.unit, mean.label) == ("transmittance", "1", "lens")


@pytest.mark.parametrize(
    ("sources", "told"),
    [
        (
            [("a.vek", "1"), ("b.csv", None, "T"), ("a.vek", "2", "T"), ("c.csv",)],
            "mean of 4 scans: a.vek: 1, 2; b.csv: T; c.csv",
        ),
        ([(None, "x"), ("f", "")], "mean of 2 scans: x; f"),
        ([()], "one scan only: Lens 7 (1)"),
        ([(None, None, None, "D65")], "one scan only: built-in D65"),
    ],
)
def test_a_mean_tells_where_its_scans_are(sources: list[tuple[str]], told: str) -> None:
    spectra = [LENS.replace(source=vek.Source(*source)) for source in sources]
    assert Repeats(spectra).mean.notes == (told,)


def test_the_scatter_of_a_figure_is_the_noise_of_the_mean(run: Runner, tmp_path: Path) -> None:
    three(tmp_path)
    (tmp_path / "b.toml").write_text(OBSERVED)
    asked = ["report", "--json", "--group", "*", *sorted(tmp_path.glob("*.csv"))]
    value = run(*asked, "--uncertainty", tmp_path / "b.toml").value(TAU_V)
    # The scans go up and down as a whole, so the figure scatters as they do: u = s / √n.
    assert value["u"] == pytest.approx(0.1 / 3**0.5, rel=1e-9)
    assert value["contributions"].keys() == {"repeats"}
    # Student's t of 2 degrees of freedom for 95 %.
    assert (value["dof"], value["k"]) == (pytest.approx(2.0), pytest.approx(4.302653, rel=1e-6))
    (tmp_path / "b.toml").write_text(BUDGET + 'correlation = "independent"\n')
    independent = run(*asked, "--uncertainty", tmp_path / "b.toml").value(TAU_V)["u"]
    assert independent < 0.3 * value["u"]
    (tmp_path / "b.toml").write_text('[[component]]\nname = "x"\nkind = "gain"\nstandard = 0.01\n')
    text = run(*[a for a in asked if a != "--json"], "--uncertainty", tmp_path / "b.toml").out
    assert "The scatter of the repeats is not in the uncertainty" in " ".join(text.split())


@pytest.mark.parametrize("command", ["report", "light", "certificate", "report --csv -"])
def test_a_budget_of_repeats_needs_some(run: Runner, tmp_path: Path, command: str) -> None:
    three(tmp_path)
    (tmp_path / "b.toml").write_text(OBSERVED)
    arguments = [*command.split(), tmp_path / "lens-07_1.csv"]
    arguments += ["--out", tmp_path / "x.html"] if command == "certificate" else []
    result = run(*arguments, "--uncertainty", tmp_path / "b.toml")
    assert "of the repeats of the object, and there are none" in result.out + result.err
    assert "luminous" not in result.out
    if command in ("report", "certificate"):
        few = run.refuse(*arguments, "--uncertainty", tmp_path / "b.toml", "--group", "*")
        assert "at least two" in few


def shifted(points: Points, by: float) -> Points:
    return [(wl + by, value) for wl, value in points]


@pytest.mark.parametrize(
    ("other", "told"),
    [
        ("".join(f"{wl},{v}\n" for wl, v in shifted(flat(0.5), 1.0)), "grid to bring"),
        ("".join(f"{wl},{v}\n" for wl, v in flat(0.5)[1:]), "100 points from 285 to 780 nm, and"),
        ("nm,T (%)\n" + "".join(f"{wl},50\n" for wl, _ in flat(0.5)), "transmittance in %, and|in"),
        ("nm,A (OD)\n" + "".join(f"{wl},0.3\n" for wl, _ in flat(0.5)), "absorbance in OD, and"),
        ("".join(f"{wl},{v}\n" for wl, v in flat(0.4)), "twice"),
    ],
)
def test_what_are_no_repeats_is_refused(run: Runner, tmp_path: Path, other: str, told: str) -> None:
    write_csv(tmp_path / "a1.csv", flat(0.4))
    (tmp_path / "a2.csv").write_text(other)
    files = [tmp_path / "a1.csv", tmp_path / "a2.csv"]
    refusal = run.refuse("report", "--group", "a?.csv", *files)
    assert any(each in refusal for each in told.split("|"))
    refusal = run.refuse("certificate", "--out", tmp_path / "c", "--group", "a?.csv", *files)
    assert any(each in refusal for each in told.split("|"))
    assert not (tmp_path / "c").exists()


def test_grid_brings_repeats_together_as_far_as_they_reach(run: Runner, tmp_path: Path) -> None:
    write_csv(tmp_path / "a1.csv", flat(0.4, step=1))
    write_csv(tmp_path / "a2.csv", flat(0.6, step=5))
    write_csv(tmp_path / "a3.csv", flat(0.6, first=380))
    asked = ("report", "--json", "--group", "*", "--grid", "5", tmp_path / "a1.csv")
    assert run(*asked, tmp_path / "a2.csv").value(TAU_V)["mean"] == pytest.approx(0.5)
    refusal = run.refuse(*asked, tmp_path / "a3.csv")
    assert "81 points from 380 to 780 nm" in refusal
    assert "--grid" not in refusal
    (tmp_path / "b.toml").write_text(OBSERVED)
    write_csv(tmp_path / "a4.csv", flat(0.6, step=10))
    refusal = run.refuse(*asked, tmp_path / "a4.csv", "--uncertainty", tmp_path / "b.toml")
    assert "not measured" in " ".join(refusal.split())


@pytest.mark.parametrize("budget", [None, OBSERVED, GAIN])
def test_a_table_of_means_has_what_the_report_of_each_object_has(
    run: Runner, tmp_path: Path, budget: str | None
) -> None:
    folder = tmp_path / "scans"
    folder.mkdir()
    three(folder, "b")
    three(folder, "a", (0.3, 0.2))
    options = ["--group", "{object}_*", "--full", "--grid", "10"]
    if budget is not None:
        (tmp_path / "b.toml").write_text(budget)
        options += ["--uncertainty", tmp_path / "b.toml"]
    for _ in range(2):  # The second time the table is there.
        table = run("report", *options, "--csv", tmp_path / "means.csv", folder)
        assert (table.status, table.err) == (0, "vekanalysis: 5 files, 2 objects; none failed\n")
    rows = [*csv.DictReader((tmp_path / "means.csv").read_text().splitlines())]
    assert [(row["object"], row["n"], row["error"]) for row in rows] == [
        ("a", "2", ""),
        ("b", "3", ""),
    ]
    for row in rows:
        assert f"mean of {row['n']} scans: {folder / row['object']}_1.csv; " in row["notes"]
        assert ("not in the uncertainty" in row["notes"]) == (budget == GAIN)
        found = {
            key.partition(" [")[0]: float(text) if text else None
            for key, text in [*row.items()][4:]
        }
        files = sorted(folder.glob(f"{row['object']}_*"))
        quantities = run("report", *options, "--json", *files).document["quantities"]
        names = {"": "value", "_s": "s"} | ({"_u": "u", "_U": "U", "_k": "k"} if budget else {})
        expected = {
            f"{each['key']}{end}": each["values"][0].get(name)
            for each in quantities
            for end, name in names.items()
        }
        assert expected == {key: found[key] for key in expected}
        assert len(found) == 3 + len(expected)


def lamp(path: Path, share: float, *, first: int = 380, unit: str = "W m-2 nm-1") -> None:
    points = [(wl, share * (wl / 1000) ** 2) for wl in range(first, 781, 5)]
    text = "".join(f"{wl},{value!r}\n" for wl, value in points)
    path.write_text(f"nm,irradiance ({unit})\n{text}")


@pytest.mark.parametrize("budget", [None, OBSERVED, GAIN])
def test_a_table_of_means_of_lamps(run: Runner, tmp_path: Path, budget: str | None) -> None:
    for number, share in enumerate((0.98, 1, 1.02), start=1):
        lamp(tmp_path / f"lamp_{number}.csv", share)
    lamp(tmp_path / "short_1.csv", 1)
    lamp(tmp_path / "short_2.csv", 1, first=390)
    lamp(tmp_path / "units_1.csv", 1)
    lamp(tmp_path / "units_2.csv", 1, unit="W m-2 sr-1 nm-1")
    options: list[object] = ["--group", "{object}_*"]
    if budget is not None:
        (tmp_path / "b.toml").write_text(budget)
        options += ["--uncertainty", tmp_path / "b.toml"]
    table = run("light", *options, "--csv", "-", tmp_path)
    assert table.status == 1
    row, short, units = csv.DictReader(io.StringIO(table.out))
    assert (row["object"], row["n"], row["error"]) == ("lamp", "3", "")
    # Shares change what is in proportion to the values, by their own deviation, and no colour.
    E_v = float(row["illuminance"])
    assert float(row["illuminance_s"]) == pytest.approx(0.02 * E_v)
    assert float(row["correlated_colour_temperature.cct_s"]) < 1e-6
    assert ("not in the uncertainty" in row["notes"]) == (budget == GAIN)
    if budget is not None:
        u = 0.01 if budget == GAIN else 0.02 / math.sqrt(3)
        assert float(row["illuminance_u"]) == pytest.approx(u * E_v)
    assert short["error"].endswith("repeats of other wavelengths have no mean")
    assert "no repeats of one object" in units["error"]
    files = [tmp_path / f"lamp_{number}.csv" for number in (1, 2, 3)]
    quantities = run("light", *options, "--json", *files).document["quantities"]
    (value,) = next(each for each in quantities if each["key"] == "illuminance")["values"]
    assert (value["value"], value["s"]) == (E_v, float(row["illuminance_s"]))
    text = run("light", *options, *files).out
    assert re.search(r"illuminance .* s 0?\.?[0-9]", text)


def test_what_has_no_mean_costs_no_other_object(run: Runner, tmp_path: Path) -> None:
    three(tmp_path, "good")
    three(tmp_path, "short")
    write_csv(tmp_path / "short_2.csv", flat(0.5, last=770))
    three(tmp_path, "empty")
    (tmp_path / "empty_3.csv").write_text("")
    (tmp_path / "gone_1.csv").write_text("no numbers")
    write_csv(tmp_path / "stray.csv", flat(0.5))
    (tmp_path / "x.csv").write_text("")
    names = "".join(f"{wl},0.5,0.6,0.7\n" for wl in range(380, 781, 5))
    (tmp_path / "set_1.csv").write_text(f"nm,p_1,p_2,q\n{names}")
    table = run("report", "--group", "{object}_*", "--csv", "-", tmp_path)
    assert table.status == 1
    rows = [*csv.DictReader(io.StringIO(table.out))]
    told = [(row["object"], row["n"], row["error"].removeprefix(f"{tmp_path}/")) for row in rows]
    assert "(empty)" in table.err
    empty = "empty_3.csv: the file is empty"
    assert told[0] == ("", "", "stray.csv: its name 'stray.csv' does not fit to --group")
    assert told[1] == ("", "", "x.csv: the file is empty")
    assert told[2] == ("empty", "", f"{empty}; its object has no mean without it")
    assert told[3][0] == "gone"
    assert told[4] == ("good", "3", "")
    assert [each[:2] for each in told[5:]] == [("set_1.csv: p", "2"), ("set", "1"), ("short", "")]
    assert "short_2.csv: 99 points from 280 to 770 nm, and " in told[-1][2]
    assert not any(row[TAU_V] for row in rows if row["error"])
    assert "13 files, 3 objects; 5 failed: " in table.err
    (tmp_path / "tuesday").mkdir()
    write_csv(tmp_path / "tuesday/good_3.csv", flat(0.7))
    again = run("report", "--group", "{object}_*", "--csv", "-", tmp_path)
    reason = f"{tmp_path}/tuesday/good_3.csv: has the name of {tmp_path}/good_3.csv; "
    assert [*csv.DictReader(io.StringIO(again.out))][4]["error"].startswith(reason)
    of_all = run("report", "--group", "*/{object}_*", "--csv", "-", tmp_path)
    rows = [*csv.DictReader(io.StringIO(of_all.out))]
    assert ("tuesday/good", "1") in [(row["object"][-12:], row["n"]) for row in rows]
    out = tmp_path / "table"
    several = run.refuse("report", "--group", "*: {object}_?", "--csv", out, tmp_path)
    assert not out.exists()
    assert several.endswith(f"{empty}; nobody knows which objects lack a scan")


def certified(run: Runner, folder: Path, *arguments: object) -> str:
    out = ("--out", folder / "c.html", "--record", folder / "c.json", "--overwrite")
    status, _, err = run("certificate", *out, *arguments)
    assert (status, err) == (0, "")
    return (folder / "c.html").read_text()


def test_a_certificate_verifies_its_repeats(run: Runner, tmp_path: Path) -> None:
    three(tmp_path)
    (tmp_path / "b.toml").write_text(OBSERVED)
    files = sorted(tmp_path.glob("*.csv"))
    certified(run, tmp_path, "--group", "*", *files, "--uncertainty", tmp_path / "b.toml")
    record = json.loads((tmp_path / "c.json").read_text())
    digests = [each["name"] for each in record["digests"] if each["role"] == "input"]
    assert digests == [each["name"] for each in record["files"]["input"]] == list(map(str, files))
    assert run("verify", tmp_path / "c.json").status == 0
    content = files[1].read_text()
    files[1].write_text(content.replace("0.5", "0.51", 1))
    status, out, _ = run("verify", tmp_path / "c.json")
    assert status == 1
    assert "repeats[1].sha256" in out
    files[1].write_text(content)
    assert run("verify", tmp_path / "c.json").status == 0
    files[2].unlink()
    assert f"{files[2]}: cannot be read" in run("verify", tmp_path / "c.json").out


def test_data_sets_of_several_files_are_verified(run: Runner, tmp_path: Path) -> None:
    write_vek(tmp_path / "a.vek", [("7 #1", flat(0.5)), ("8 #1", flat(0.2)), ("8 #2", flat(0.3))])
    write_vek(tmp_path / "b.vek", [("7 #2", flat(0.6)), ("dark", flat(0.0))])
    chosen = [word for name in ("7 #1", "7 #2") for word in ("--data-set", name)]
    files = (tmp_path / "a.vek", tmp_path / "b.vek")
    page = certified(run, tmp_path, "--group", "*: {object} #?", *chosen, *files)
    assert '<data value="0.55' in page
    assert run("verify", tmp_path / "c.json").status == 0


def test_one_object_that_cannot_be_had_costs_no_other(run: Runner, tmp_path: Path) -> None:
    (tmp_path / "in").mkdir()
    three(tmp_path / "in", "<i>8")
    three(tmp_path / "in", "lens-07")
    write_csv(tmp_path / "in/lens-07_4.csv", flat(0.5, step=1))
    asked = ("certificate", tmp_path / "in", "--group", "{object}_*", "--out", f"{tmp_path}/out/")
    status, out, err = run(*asked)
    assert (status, out) == (1, "")
    assert "lens-07_4.csv" in err
    (page,) = (tmp_path / "out").iterdir()
    assert page.name == "i_8.html"
    assert "&lt;i&gt;8: " in page.read_text()
    # Which object a file is of that cannot be read nobody knows, so nothing is made.
    (tmp_path / "in/lens-07_4.csv").write_text("no numbers")
    status, _, err = run(*asked, "--overwrite")
    assert (status, err.count("\n")) == (1, 1)


def as_linear(epsilon: float, interpolation: vek.Interpolation) -> dict[str, vek.Scan]:
    return {"scan": vek.Scan(*LENS.scan.to_lists(), epsilon, interpolation)}


OTHERS = "epsilon or interpolation is not that of the others"


@pytest.mark.parametrize(
    ("changes", "reason"),
    [
        ({"kind": "reflectance"}, "reflectance in 1, and @ is transmittance in 1: no repeats of "
         "one object"),
        ({"unit": None}, "transmittance in a unit that is not stated, and @ is transmittance in 1: "
         "no repeats of one object"),
        ({"scan": vek.Scan(GRID[1:], [1, 1])}, "2 points from 410 to 420 nm, and @ has 3 points "
         "from 400 to 420 nm: repeats of other wavelengths have no mean; pass grid= to bring them "
         "to common ones"),
        (as_linear(1e-20, vek.LINEAR), OTHERS),
        (as_linear(1e-9, vek.AKIMA), OTHERS),
        ({"scan": vek.Scan(GRID, [1, math.nan, 1])}, "there are values that are not finite"),
    ],
)  # fmt: skip
def test_what_has_no_mean_is_told(changes: dict[str, object], reason: str) -> None:
    with pytest.raises(vek.Refusal) as refused:
        _ = Repeats([LENS, LENS.replace(label="b", **changes)]).mean
    assert str(refused.value) == f"b: {reason.replace('@', LENS.label)}"


def test_repeats_in_python_are_checked() -> None:
    repeats = Repeats([LENS, LENS.replace(label="Lens 7 (2)")])
    assert (repeats.label, repr(repeats)) == ("Lens 7", "<Repeats 'Lens 7': 2 scans>")
    assert Repeats([LENS.replace(label="a"), LENS.replace(label="b")]).label == "a"
    per_cent = repeats.transmittances().spectra[0].to("%")
    thinned = Repeats([per_cent] * 2, "x").transmittances(20.0, thinned=True)
    assert thinned.mean.scan.to_lists() == ([400.0, 420.0], [0.1, 0.3])
    with pytest.raises(vek.Refusal, match="were not measured"):
        repeats.transmittances(5.0, thinned=True)
    with pytest.raises(ValueError, match=r"^Repeats: there must be at least one spectrum$"):
        Repeats([])
    with pytest.raises(TypeError, match=r"^Repeats are Spectra, not Scan$"):
        Repeats([LENS.scan])  # type: ignore[list-item]
    first, copied, other, column = (
        LENS.replace(source=vek.Source(*place, sha256="f"))
        for place in (("a", "1"), ("b", "1"), ("a", "2"), ("a", "1", "c"))
    )
    assert len(Repeats([first, other, column])) == 3
    with pytest.raises(vek.Refusal, match=r"^b: 1: this scan is there twice: a copy is no"):
        Repeats([first, copied])
    with pytest.raises(vek.Refusal, match="two components are named 'a'"):
        Budget(of_repeats=[{"name": "a", "correlation": "full"}] * 2)
    with pytest.raises(TypeError, match="got Repeats"):
        vek.reports.peaks(Repeats([LENS]))  # type: ignore[arg-type]
