"""The lens report of the command line, and what all commands do alike."""

from __future__ import annotations

import csv
import hashlib
import os
import re
import shlex
import subprocess
import sys
from pathlib import Path

import pytest
from cli import GREY, Runner, flat, rows, write_csv, write_vek

import vekanalysis as vek

TAKEN = "kind and unit are not stated; the values are taken for fractions"
MODULE = [sys.executable, "-m", "vekanalysis"]


def test_data_are_needed_only_where_the_weights_are(run: Runner, tmp_path: Path) -> None:
    result = run("report", "--json", write_csv(tmp_path / "a.csv", flat(0.5, 550, 685)))
    led_red = result.value("ISO8980_3_tau_signal_led.red")
    assert (led_red["value"], led_red["complete"]) == (pytest.approx(0.5), True)
    assert result.value("ISO8980_3_tau_v")["complete"] is False
    touching = run("report", "--json", write_csv(tmp_path / "b.csv", flat(0.5, 315)))
    assert touching.value("ANSI_Z80_3_tau_uvb")["value"] is None
    assert touching.value("ISO8980_3_tau_uva")["complete"] is True


@pytest.mark.parametrize(
    ("content", "reason"),
    [
        ("", "the file is empty"),
        ("400,1\n\n410;x\n420,1\n", "line 3: '410;x' is not a row of 2 numbers as line 1"),
        ("400 1\n390 1\n410 1\n", "line 3: wavelength 410 after 390, where they descend"),
        ("0.4 1\n0.7 1\n", "wavelengths from 0.4 to 0.7 look like um, not nm"),
        ("400 0.5\n410 -9999\n420 2\n", "-9999 at 410 nm is no transmittance between 0 and 1"),
        ("nm;E [W m-2 nm-1]\n400;0,5\n780;1\n", "irradiance, not a transmittance"),
        ("nm;R [%]\n400;50\n780;51\n", "reflectance, not a transmittance"),
    ],
)
def test_bad_text_is_refused_by_its_line(
    run: Runner, tmp_path: Path, content: str, reason: str
) -> None:
    path = tmp_path / "lens.csv"
    path.write_text(content)
    assert run.refuse("report", path).startswith(f"{path}: {reason}")


@pytest.mark.parametrize(
    "text", ["400, 0.5\r\n410\t0.6\r\n", "\n400;;.5\n\n410 ,6e-1", " +400 0.5 \r410,.60"]
)
def test_all_forms_of_pairs_are_read(run: Runner, tmp_path: Path, text: str) -> None:
    path = tmp_path / "lens.csv"
    path.write_bytes(text.encode())
    assert [*vek.io.load_csv(path).items()] == [(400.0, 0.5), (410.0, 0.6)]
    (spectrum,) = run("report", "--json", path).document["spectra"]
    sha256 = hashlib.sha256(text.encode()).hexdigest()
    assert (spectrum["points"], spectrum["sha256"]) == (2, sha256)


def test_what_files_state_is_followed_and_told(run: Runner, tmp_path: Path) -> None:
    cells = [(wl, 50 + i, "-" if i == 3 else 25) for i, (wl, _) in enumerate(flat(0))]
    lines = "".join(f"{wl:g};{grey};{bronze}\n" for wl, grey, bronze in cells)
    text = f"Run 7\nWavelength;grey;bronze\nnm;%;%\n{lines}".replace(".", ",")
    (tmp_path / "a.csv").write_bytes(text.encode("utf-16"))
    write_csv(tmp_path / "b.csv", flat(0.25))
    (tmp_path / "c.csv").write_text("nm;OD\n" + "".join(f"{wl};1\n" for wl, _ in flat(0)))
    unit = ("Transmittance / %", "3 1")
    write_vek(tmp_path / "d.vek", [("A", flat(25.0))], type_and_units=unit)
    names = ("data_set", "points", "notes", "ISO8980_3_tau_v")
    table = csv.DictReader(run("report", "--csv", "-", tmp_path).out.splitlines())
    found = [tuple(row[name] for name in names) for row in table]
    assert [(name, points) for name, points, *_ in found] == [
        *[("grey", "101"), ("bronze", "100"), ("", "101"), ("", "101"), ("A", "101")]
    ]
    values = [float(value) for *_, value in found[1:]]
    assert values == pytest.approx([0.25, 0.25, 0.1, 0.25])
    per_cent, density = "in %, kind not stated, divided by 100", "absorbance in OD"
    notes = [per_cent, TAKEN, density, "transmittance in %, divided by 100"]
    for note, (_, _, told, _) in zip(notes, found[1:], strict=True):
        assert note in told
    assert "'bronze': cells without a number left out: 1, the first in line 7" in found[1][2]


OPTIONS = {
    "400;0,5;9\n780;0,5;9\n": "--columns 0,1",
    "# run 3\n400 5\n780 5\n400 9\n780 9\n": "--skip 4-5 --unit %",
    "0.4 0.5\n0.78 0.5\n": "--wavelength-unit um",
    "400,0,5\n780,0,5\n": "--delimiter comma --decimal . --columns 0,2 --percent",
    "W\xe4rme;T\n400;0.5\n780;0.5\n": "--encoding latin-1 --kind transmittance",
    "400 0.5\n400 9\n780 0.5\n": "--duplicates first",
    "780 0.5\n400 0.5\n500 0.5\n": "--sort",
}


@pytest.mark.parametrize("text", OPTIONS)
def test_options_reach_what_reading_can(run: Runner, tmp_path: Path, text: str) -> None:
    path = tmp_path / "a.txt"
    path.write_bytes(text.encode("latin-1"))
    assert run("report", path).status == 2 or re.search("dupl|enc", OPTIONS[text])
    result = run("report", "--json", path, *OPTIONS[text].split())
    (spectrum,) = result.document["spectra"]
    assert spectrum["range_nm"] == [400.0, 780.0]
    tau = result.value("ANSI_Z80_3_tau_spectral_min")["value"]
    assert tau in (None, 0.5, 0.05)


@pytest.mark.parametrize(("command", "reason"), rows("refusals.jsonl", "reports"))
def test_bad_usage_and_bad_input_are_told_in_one_line(
    run: Runner, tmp_path: Path, monkeypatch: pytest.MonkeyPatch, command: str, reason: str
) -> None:
    if "--plot" in command:
        pytest.importorskip("matplotlib")
    monkeypatch.chdir(tmp_path)
    Path("folder").mkdir()
    lens = flat(0.5)
    write_csv(Path("g.csv"), lens)
    write_csv(Path("pct.csv"), flat(51.0, 780, 800))
    Path("frac.csv").write_text("nm;T [1]\n400;0.5\n780;0.5\n")
    Path("u.csv").write_text("nm;T;u(T)\n400;0.5;0.1\n410;0.5;0.1\n")
    write_csv(Path("uv.csv"), flat(1.0, 300, 370))
    write_csv(Path("few.csv"), flat(1.0, 400, 700, 300))
    write_vek(Path("two.vek"), [("A", lens), ("B", lens)])
    write_vek(Path("void.vek"), [])
    write_vek(Path("blank.vek"), [("A", [])])
    write_vek(Path("time.vek"), [("A", lens)], x_type=1)
    write_csv(Path("inf.csv"), [*lens[:-1], (780.0, 1e300)])
    write_vek(Path("apart.vek"), [("A", lens), ("B", flat(0.5, 790, 800))])
    write_vek(Path("few.vek"), [("A", lens), ("B", flat(1.0, 300, 400, 50))])
    arguments = [text.replace("¶", "\n") for text in shlex.split(command)]
    assert run.refuse(*arguments) == reason
    assert not Path("o.csv").exists()
    assert [*vek.io.load_csv("g.csv").items()] == lens


@pytest.mark.parametrize(
    ("command", "column"), [(["report"], 50), (["light", "--white", GREY], 41)]
)
def test_without_a_terminal_for_it_the_text_gets_plainer(command: list[str], column: int) -> None:
    environment = os.environ | {"PYTHONIOENCODING": "ascii", "PYTHONUTF8": "0"}
    done = subprocess.run([*MODULE, *command, GREY], capture_output=True, env=environment)
    assert (done.returncode, done.stderr) == (0, b"")
    rows = [line for line in done.stdout.decode("ascii").splitlines() if "-780 " in line[:70]]
    assert len(rows) > 10
    assert {line.index("380-780 ") for line in rows} == {column}
    assert b"tau_SUVA solar" in done.stdout or b"lambda_peak peak" in done.stdout


@pytest.mark.skipif(not Path("/dev/full").exists(), reason="needs /dev/full")
@pytest.mark.parametrize("output", [">/dev/full", ">&-"])
def test_an_output_that_takes_nothing_is_reported(output: str) -> None:
    command = ["sh", "-c", f'"$0" -m vekanalysis references {output}', sys.executable]
    done = subprocess.run(command, stderr=subprocess.PIPE)
    assert (done.returncode, done.stderr.count(b"\n")) == (2, 1)
    assert done.stderr.startswith(b"vekanalysis: standard output")


def test_an_interruption_is_quiet(run: Runner, monkeypatch: pytest.MonkeyPatch) -> None:
    def interrupt(content: bytes, path: str, **options: object) -> None:
        raise KeyboardInterrupt

    monkeypatch.setattr("vekanalysis.commands._spectra.read_content", interrupt)
    assert run("report", GREY) == (130, "", "")


def test_a_plot_needs_matplotlib(run: Runner, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setitem(sys.modules, "matplotlib.figure", None)
    assert "pip install 'vekanalysis[plot]'" in run.refuse("report", GREY, "--plot", "lens.png")
