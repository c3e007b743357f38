"""Scans and records as notebooks show them."""

import math
from pathlib import Path
from typing import Any

import cli
import numpy as np
import pytest
from IPython.core.interactiveshell import InteractiveShell
from vekwriter import Contents, DataSet

import vekanalysis as vek
from vekanalysis import Scan


@pytest.fixture
def shell() -> Any:
    shell = InteractiveShell()
    shell.extension_manager.load_extension("vekanalysis")
    yield shell
    shell.extension_manager.unload_extension("vekanalysis")
    shown = shell.display_formatter.formatters["text/html"].type_printers.keys()
    assert not {Scan, vek.Observer, vek.Table, vek.io.VekFile} & shown


def html(shell: Any, thing: object) -> str:
    data, _ = shell.display_formatter.format(thing)
    text: str = data.get("text/html", "")
    return text


# The curve in a box of 240 by 48 pixels, of points in one column of pixels the extremes.
@pytest.mark.parametrize(("path", "scan", "facts"), cli.rows("pictures.jsonl", "spectra"))
def test_notebooks_show_a_small_picture_where_there_is_a_curve(
    shell: Any, path: str, scan: list[Any], facts: str
) -> None:
    *points, interpolation = scan
    picture = (
        '<svg role="img" width="244" height="52" viewBox="-2 -2 244 52" fill="none" '
        'stroke="currentColor" stroke-width="1.5" stroke-linejoin="round" stroke-linecap="round">'
        f'<title>Spectrum, {facts}</title><path d="{path}"/></svg>'
    )
    shown = html(shell, Scan(*points, getattr(vek, interpolation)))
    assert shown == f"<div>{picture if path else ''}<div>Scan: {facts}</div></div>"
    assert html(shell, Scan()) == "<div>Scan without points</div>"
    assert html(shell, vek.AKIMA) == ""


def test_the_picture_of_many_points_is_short(shell: Any) -> None:
    big = Scan(np.linspace(200, 1200, 100_000), np.random.default_rng(1).normal(size=100_000))
    assert len(html(shell, big)) < 10_000


def rows(text: str) -> list[tuple[str, str]]:
    """The names of a table's rows with what stands behind them."""
    left = ' style="text-align:left">'
    body = text.replace(left, ">").removesuffix("</table>").split('<tr><th scope="row">')
    pairs = [part.removesuffix("</td></tr>").split("</th><td>", 1) for part in body]
    return [(name, "".join(cell)) for name, *cell in pairs]


def test_records_and_tables_are_shown_by_their_names(shell: Any, tmp_path: Path) -> None:
    found = rows(html(shell, vek.colorimetry.CIEXYZ(1, 2 / 3, math.inf)))
    title = "<table><caption>CIEXYZ</caption>"
    assert found == [(title, ""), ("X", "1"), ("Y", "0.6666666667"), ("Z", "inf")]
    scan = Scan([400, 410], [1, 2])
    _, *found = rows(html(shell, vek.Observer(scan, Scan(), scan)))
    assert found[1] == ("y", html(shell, Scan()))
    assert [name for name, _ in found] == ["x", "y", "z"]

    evil, safe = "<script>alert(1)</script>", "&lt;script&gt;alert(1)&lt;/script&gt;"
    path = tmp_path / "lens.csv"
    path.write_text(f"wl;{evil}\n400;1\n410;2\n")
    picture = html(shell, scan).replace(' style="text-align:left">', ">")
    assert rows(html(shell, vek.read_table(path))) == [
        (f"<table><caption>{path}</caption>", ""),
        (safe, picture),
        ("note", f"&#x27;{safe}&#x27;: Scan(400→410[2])"),
        ("note", f"skipped line 1, column names: wl;{safe}"),
    ]

    for count in (12, 13):
        sets = [DataSet(f"{evil}{i}", [(400, 1)]) for i in range(count)]
        summary = f"a\n{'µ' * (486 + count)}"
        contents = Contents(data_sets=sets, scan_summary=summary)
        text = html(shell, vek.io.load_vekfile_binary_data(contents.file()))
        assert text.count(safe) == 12
        assert ("<br>and 1 more</td>" in text) == (" more<" in text) == (count == 13)
        shown = "a<br>" + "µ" * 498 + "…" * (count == 13)
        assert dict(rows(text))["scan_summary"] == shown
        assert "<script" not in text
