"""The lens report of the command line."""

from __future__ import annotations

import os
import subprocess
import sys
from pathlib import Path

import pytest
from cli import BRONZE, GREY, Runner, flat, write_csv, write_vek

import vekanalysis as vek

MODULE = [sys.executable, "-m", "vekanalysis"]


@pytest.fixture
def run(capsys: pytest.CaptureFixture[str]) -> Runner:
    return Runner(capsys)


def test_a_neutral_filter_has_its_transmittance_everywhere(run: Runner, tmp_path: Path) -> None:
    # At the wavelengths of the tables all ratios are exact.
    result = run("report", "--json", write_csv(tmp_path / "neutral.csv", flat(0.5)))
    lens = vek.io.load_csv(tmp_path / "neutral.csv")
    unlike_red = ("ANSI_Z80_3_tau_signal.yellow", "ANSI_Z80_3_tau_signal.green")
    figures = {q["key"]: q["values"][0]["value"] for q in result.document["quantities"]}
    ratios = {key: value for key, value in figures.items() if "tau" in key}
    assert len(ratios) == 21
    for key in unlike_red:
        assert ratios.pop(key) == pytest.approx(0.5 * result.value(key)["clear_lens"], rel=1e-12)
    assert ratios == pytest.approx(dict.fromkeys(ratios, 0.5), rel=1e-12)

    assert figures["CIELAB_tristimulus_values.L_star"] == pytest.approx(116 * 0.5 ** (1 / 3) - 16)
    assert figures["CIELAB_tristimulus_values.a_star"] == pytest.approx(0.0, abs=1e-9)
    assert figures["CIELAB_tristimulus_values.b_star"] == pytest.approx(0.0, abs=1e-9)
    daylight = vek.chromaticity.ANSI_Z80_3_daylight_chromaticity(lens)
    x, y = (figures[f"ANSI_Z80_3_daylight_chromaticity.{axis}"] for axis in "xy")
    assert (x, y) == (daylight.x, daylight.y) == pytest.approx((0.3127, 0.3290), abs=1e-4)


def test_each_figure_is_the_librarys(run: Runner) -> None:
    lens = vek.io.load_csv(GREY)
    d65 = vek.colorimetry.data.cie_illuminant_d65()
    data = vek.colorimetry.data
    observer = vek.Observer(
        data.cie_1931_standard_observer_x(),
        data.cie_1931_standard_observer_y(),
        data.cie_1931_standard_observer_z(),
    )
    special = {
        "CIE_tristimulus_values": vek.colorimetry.CIE_tristimulus_values(lens * d65, observer),
        "CIELAB_tristimulus_values": vek.colorimetry.CIELAB_tristimulus_values(
            lens * d65, d65, observer
        ),
    }
    quantities = run("report", "--json", GREY).document["quantities"]
    assert len({quantity["key"] for quantity in quantities}) == len(quantities) == 35
    for quantity in quantities:
        function, _, field = quantity["key"].partition(".")
        module = vek.chromaticity if "chromaticity" in function else vek.colorimetry
        expected = special.get(function) or getattr(module, function)(lens)
        value = quantity["values"][0]["value"]
        if value is None:
            assert quantity["band_nm"] == [280.0, 315.0]
        else:
            assert value == (getattr(expected, field) if field else expected), quantity["key"]


def test_the_document_has_the_keys_that_are_promised(run: Runner) -> None:
    document = run("report", "--json", GREY).document
    assert set(document) == {"title", "version", "spectra", "quantities", "notes"}
    assert document["spectra"] == [
        {
            "label": "grey-glass-4mm",
            "file": GREY,
            "data_set": None,
            "reference": None,
            "unit": None,
            "points": 49,
            "range_nm": [320.0, 800.0],
            "step_nm": [10.0, 10.0],
            "notes": [],
        }
    ]
    keys = {"key", "symbol", "name", "unit", "band_nm", "standard", "section", "weights", "notes"}
    assert set(document["quantities"][0]) == keys | {"values"}
    (uva,) = document["quantities"][0]["values"]
    assert uva == {
        "value": vek.colorimetry.ISO8980_3_tau_uva(vek.io.load_csv(GREY)),
        "needed_nm": [315.0, 380.0],
        "covered_nm": [320.0, 380.0],
        "complete": False,
        "clear_lens": pytest.approx(60 / 65),
        "problem": None,
    }


def test_two_spectra_stand_side_by_side(run: Runner) -> None:
    result = run("report", GREY, BRONZE)
    lines = result.out.splitlines()
    assert max(map(len, lines)) <= 100
    (row,) = [line for line in lines if "luminous, D65" in line]
    expected = [vek.colorimetry.ISO8980_3_tau_v(vek.io.load_csv(path)) for path in (GREY, BRONZE)]
    assert row.split()[-2:] == [f"{value:.4f}" for value in expected]
    assert row.split()[:6] == ["τ_V", "luminous,", "D65", "3.4", "380-780", "1"]


def test_what_the_data_do_not_cover_is_stated(run: Runner) -> None:
    text = run("report", GREY).out
    (mean,) = [line for line in text.splitlines() if "UV-A, mean" in line and " 3.1 " in line]
    mark = mean.split()[-1]
    assert f"{mark} Data cover 320-380 of 315-380 nm; the rest counts as 0.\n" in text
    (uvb,) = [line for line in text.splitlines() if "UV-B, mean" in line]
    assert uvb.split()[-2] == "-"
    assert f"{uvb.split()[-1]} No data within 280-315 nm.\n" in text


def test_data_are_needed_only_where_the_weights_are(run: Runner, tmp_path: Path) -> None:
    result = run("report", "--json", write_csv(tmp_path / "a.csv", flat(0.5, 550, 685)))
    led_red = result.value("ISO8980_3_tau_signal_led.red")
    assert (led_red["value"], led_red["complete"]) == (pytest.approx(0.5), True)
    assert result.value("ISO8980_3_tau_v")["complete"] is False
    touching = run("report", "--json", write_csv(tmp_path / "b.csv", flat(0.5, 315)))
    assert touching.value("ANSI_Z80_3_tau_uvb")["value"] is None
    assert touching.value("ISO8980_3_tau_uva")["complete"] is True


def test_the_figures_of_a_clear_lens_tell_of_the_sampling(run: Runner, tmp_path: Path) -> None:
    path = write_csv(tmp_path / "fine.csv", flat(0.5, step=1))
    clear = vek.Scan([wl for wl, _ in flat(1.0, step=1)], [1.0] * 501)
    expected = vek.colorimetry.ISO8980_3_tau_suvb(clear)
    assert abs(expected - 1) > 0.01
    assert run("report", "--json", path).value("ISO8980_3_tau_suvb")["clear_lens"] == expected
    words = " ".join(run("report", path).out.split())
    assert f"ISO 8980-3 solar UV-B {expected:.4f}" in words
    yellow = vek.colorimetry.ANSI_Z80_3_tau_signal(clear).yellow
    assert f"traffic signal, yellow {yellow:.4f}" in words
    assert "luminous" not in words.partition("A clear lens")[2].partition("illuminant C")[0]


@pytest.mark.parametrize(
    ("points", "nulls"),
    [
        pytest.param(flat(0.0, step=10), {"CIE_1931_chromaticity.x"}, id="opaque"),
        pytest.param(flat(0.5, 300, 700, 200), {"ISO8980_3_tau_v"}, id="too few points"),
        pytest.param([(500.0, 0.5)], {"CIELAB_tristimulus_values.L_star"}, id="one point"),
    ],
)
def test_what_cannot_be_computed_has_a_reason(
    run: Runner, tmp_path: Path, points: list[tuple[float, float]], nulls: set[str]
) -> None:
    path = write_csv(tmp_path / "a.csv", points)
    result = run("report", "--json", path)
    for key in nulls:
        assert result.value(key)["value"] is None
        assert result.value(key)["problem"]
        assert result.value(key)["problem"] in " ".join(run("report", path).out.split())


@pytest.mark.parametrize(
    ("content", "reason"),
    [
        pytest.param(b"", "the file is empty", id="empty"),
        pytest.param(b"\n \r\n\n", "there are no numbers", id="blank"),
        pytest.param(b"wavelength,value\n400,1\n", "line 1: 'wavelength,value'", id="header"),
        pytest.param(b"\xef\xbb\xbf400,1\n", "line 1: starts with a byte-order mark", id="mark"),
        pytest.param(b"400\n410\n420\n430\n", "line 1: '400' is a single number", id="one-sided"),
        pytest.param(b"400,1\n410,\n420,1\n", "line 2: '410,' is a single number", id="odd"),
        pytest.param(b"400,1\n\n410;x\n420,1\n", "line 3: '410;x' is not a pair", id="middle"),
        pytest.param(b"400;0,5\n", "line 1: '400;0,5' has more than two", id="decimal comma"),
        pytest.param(b"400 0.5 0.6\n", "line 1: '400 0.5 0.6' has more than two", id="columns"),
        pytest.param(b"400,0.5,\n", "line 1: '400,0.5,' has something beside", id="trailing"),
        pytest.param(b"400-1\n", "line 1: '400-1' is not a pair", id="run together"),
        pytest.param(b"400,0.5\r410,nan\r", "line 2: '410,nan' is not a pair", id="nan"),
        pytest.param(b"400,1e400\n", "line 1: a number is too large", id="overflow"),
        pytest.param(b"\x00\x01\x02", "binary data", id="binary"),
        pytest.param(bytes.fromhex("d0cf11e0a1b11ae1"), "Wrong file format", id="cut container"),
    ],
)
def test_bad_files_are_refused_in_one_line(
    run: Runner, tmp_path: Path, content: bytes, reason: str
) -> None:
    path = tmp_path / "lens.csv"
    path.write_bytes(content)
    told = run.refuse("report", path)
    assert told.startswith(f"{path}: ")
    assert reason in told


def test_what_is_no_file_is_refused(run: Runner, tmp_path: Path) -> None:
    told = run.refuse("report", tmp_path / "a\nb.csv")
    assert told.endswith("a?b.csv: cannot be read: No such file or directory")
    assert "Is a directory" in run.refuse("report", tmp_path)


@pytest.mark.parametrize(
    "text",
    [
        "400, 0.5\r\n410\t0.6\r\n",
        "\n400;;.5\n\n410 ,6e-1",
        " +400 0.5 \n410,0.60\n",
        "400,0.5\r410,.6",
    ],
)
def test_all_forms_of_pairs_are_read(run: Runner, tmp_path: Path, text: str) -> None:
    path = tmp_path / "lens.csv"
    path.write_bytes(text.encode())
    assert [*vek.io.load_csv(path).items()] == [(400.0, 0.5), (410.0, 0.6)]
    assert run("report", "--json", path).document["spectra"][0]["points"] == 2


@pytest.mark.parametrize(
    ("arguments", "reason"),
    [
        ([], "COMMAND"),
        (["nonsense"], "invalid choice"),
        (["report"], "name a FILE or a --reference"),
        (["report", GREY, "--nonsense"], "--nonsense"),
        (["report", GREY, "--data-set", "A"], "no data set 'A'"),
        (["report", "--reference", "nonsense"], "no built-in spectrum 'nonsense'"),
        (["report", "--reference", "cie_illuminant_a"], "no transmittance between 0 and 1"),
        (["json", GREY], f"{GREY}: not a measurement file"),
    ],
)
def test_bad_usage_is_refused_in_one_line(run: Runner, arguments: list[str], reason: str) -> None:
    assert reason in run.refuse(*arguments)


def test_values_in_per_cent_are_refused_unless_said_so(run: Runner, tmp_path: Path) -> None:
    grey = [*vek.io.load_csv(GREY).items()]
    path = write_csv(tmp_path / "lens.csv", [(wl, 100 * value) for wl, value in grey])
    told = run.refuse("report", path)
    assert "per cent" in told
    assert "--percent" in told
    luminous = run("report", "--json", "--percent", path).value("ISO8980_3_tau_v")["value"]
    expected = run("report", "--json", GREY).value("ISO8980_3_tau_v")["value"]
    assert luminous == pytest.approx(expected, rel=1e-12)


def test_the_unit_per_cent_counts_however_dark_the_lens(run: Runner, tmp_path: Path) -> None:
    path = write_vek(
        tmp_path / "dark.vek", [("A", flat(1.0))], type_and_units=("Transmittance / %", "3 1")
    )
    assert "--percent" in run.refuse("report", path)
    luminous = run("report", "--json", "--percent", path).value("ISO8980_3_tau_v")
    assert luminous["value"] == pytest.approx(0.01)


def test_built_in_spectra_are_never_per_cent(run: Runner) -> None:
    lens = ("--reference", "ANSI_Z80_3_2015_red_signal_transmittance")
    both = [run("report", "--json", *lens, *more).out for more in ((), ("--percent",))]
    assert both[0] == both[1]
    illuminant = ("--reference", "cie_illuminant_a")
    assert "no transmittance" in run.refuse("report", "--percent", *illuminant)


def test_noise_above_one_is_no_per_cent(run: Runner, tmp_path: Path) -> None:
    path = write_csv(tmp_path / "clear.csv", [*flat(1.0), (785.0, 1.5)])
    assert run("report", path).status == 0


def test_repeated_wavelengths_are_stated(run: Runner, tmp_path: Path) -> None:
    path = write_csv(tmp_path / "a.csv", [*flat(0.25), (780.0, 0.5)])
    assert "1 repeated wavelength: the last value of each counts" in run("report", path).out


@pytest.mark.parametrize("command", ["", "report", "light", "references", "info", "json", "csv"])
def test_help_explains(capsys: pytest.CaptureFixture[str], command: str) -> None:
    with pytest.raises(SystemExit, match="0"):
        Runner(capsys)(*command.split(), "--help")
    assert "Exit status" in capsys.readouterr().out


def test_without_a_terminal_for_it_the_text_gets_plainer() -> None:
    environment = os.environ | {"PYTHONIOENCODING": "ascii", "PYTHONUTF8": "0"}
    done = subprocess.run([*MODULE, "report", GREY], capture_output=True, env=environment)
    assert (done.returncode, done.stderr) == (0, b"")
    assert b"tau_UVA" in done.stdout
    table = [line for line in done.stdout.decode("ascii").splitlines() if " 380-780 " in line]
    assert len({line.index(" 380-780 ") for line in table}) == 1


@pytest.mark.skipif(os.name != "posix", reason="pipes of POSIX systems")
def test_a_closed_pipe_is_no_error_to_report() -> None:
    read_end, write_end = os.pipe()
    os.close(read_end)
    done = subprocess.run(
        [*MODULE, "references", "AM0_ASTM_E490"], stdout=write_end, stderr=subprocess.PIPE
    )
    os.close(write_end)
    assert (done.returncode, done.stderr) == (141, b"")


@pytest.mark.skipif(not Path("/dev/full").exists(), reason="needs /dev/full")
@pytest.mark.parametrize("output", [">/dev/full", ">&-"])
def test_an_output_that_takes_nothing_is_reported_in_one_line(output: str) -> None:
    command = f'"$0" -m vekanalysis references {output}'
    done = subprocess.run(["sh", "-c", command, sys.executable], stderr=subprocess.PIPE)
    assert done.returncode == 2
    assert done.stderr.startswith(b"vekanalysis: standard output")
    assert done.stderr.count(b"\n") == 1


def test_an_interruption_is_quiet(run: Runner, monkeypatch: pytest.MonkeyPatch) -> None:
    def interrupt(path: str) -> None:
        raise KeyboardInterrupt

    monkeypatch.setattr("vekanalysis.io.load_csv", interrupt)
    assert run("report", GREY) == (130, "", "")


@pytest.mark.parametrize("command", [["report", GREY, BRONZE], ["light", GREY]])
@pytest.mark.filterwarnings("default")
def test_a_plot_is_drawn(run: Runner, tmp_path: Path, command: list[str]) -> None:
    pytest.importorskip("matplotlib")
    picture = tmp_path / "lens.png"
    assert run(*command, "--plot", picture).status == 0
    assert picture.read_bytes().startswith(b"\x89PNG")
    assert "cannot be written" in run.refuse(*command, "--plot", tmp_path / "no" / "lens.png")
    assert "cannot be written" in run.refuse(*command, "--plot", tmp_path / "lens.nonsense")


def test_a_plot_without_matplotlib_says_what_to_install(
    run: Runner, tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    monkeypatch.setitem(sys.modules, "matplotlib.figure", None)
    told = run.refuse("report", GREY, "--plot", tmp_path / "lens.png")
    assert "pip install 'vekanalysis[plot]'" in told
