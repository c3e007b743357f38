"""Reports as text on screens: width, blocks of columns, labels."""

import re
from pathlib import Path

import pytest
from cli import BRONZE, GREY, ROOT, Runner, flat, write_vek

import vekanalysis as vek

BUDGET = ("--uncertainty", str(ROOT / "examples/budget.toml"))


@pytest.mark.parametrize("width", [50, 80, 81, 100, 132, 200])
@pytest.mark.parametrize("more", [(), BUDGET, ("--figures", "percent", *BUDGET)])
def test_no_line_is_wider_than_the_screen_and_none_is_lost(
    run: Runner, tmp_path: Path, width: int, more: tuple[str, ...]
) -> None:
    names = [f"a lens of a batch with a long name, number {i}" for i in range(1, 6)]
    write_vek(tmp_path / "a.vek", [(name, flat(0.1 * i)) for i, name in enumerate(names, 1)])
    out = run("report", "--width", width, *more, tmp_path / "a.vek").out
    table = "ISO 8980-3:2013" + out.partition("ISO 8980-3:2013")[2]
    # On fewer columns figures with their uncertainty stand beside short names.
    assert max(map(len, table.splitlines())) <= max(width, 70 if more else 0)
    lines = re.findall(r"^  τ_V    luminous, D65 .* [1%]   (.*)", table, re.MULTILINE)
    numbers = [float(n) for line in lines for n in re.findall(r"(?<!± )\b[0-9]+\.[0-9]+", line)]
    scale = 100 if "percent" in more else 1
    assert {round(0.1 * scale * i, 4) for i in range(1, 6)} <= {*numbers}
    # A label is cut in its middle: what tells it from the others is at its end.
    labels = re.findall(
        r"\b([1-5]) a[^…\n]{0,20}…[^…\n]{0,20}? ([0-9])(?=  |$)", table, re.MULTILINE
    )
    assert {*labels} == {(str(i), str(i)) for i in range(1, 6)}


def test_the_width_of_a_terminal_is_found(run: Runner, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setattr("sys.stdout.isatty", lambda: True)
    monkeypatch.setenv("NO_COLOR", "1")
    monkeypatch.setenv("TERM", "xterm")
    monkeypatch.setenv("COLUMNS", "90")
    out = run("report", GREY, BRONZE).out
    assert "Spectrum 2 of 2" in out
    monkeypatch.setenv("COLUMNS", "100")
    assert "Spectrum 2 of 2" not in run("report", GREY, BRONZE).out


def test_the_text_in_python_takes_the_same() -> None:
    report = vek.reports.lens(vek.read(GREY))
    assert "54.96" in report.text(width=10, percent=True)
    assert max(map(len, report.lines(width=10))) <= 60
    assert report.text() == str(report)
