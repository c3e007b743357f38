"""Peaks, stitching and the wavelength fit on the command line."""

from __future__ import annotations

import json
import math
from pathlib import Path
from typing import Any

import pytest
from cli import GREY, ROOT, Points, Runner, flat, write_csv, write_vek

import vekanalysis as vek
from vekanalysis.reports._calibration import _shown

EXAMPLES = ROOT / "examples"
STEPS, START = EXAMPLES / "calibration/steps.csv", EXAMPLES / "calibration/start.json"


def gaussians(*lines: tuple[float, float, float]) -> Points:
    """A sum of lines of (centre, height, sigma), from 400 to 500 nm."""

    def value(wl: float) -> float:
        return sum(h * math.exp(-(((wl - at) / sigma) ** 2) / 2) for at, h, sigma in lines)

    return [(wl, value(wl)) for wl in (400 + 0.1 * i for i in range(1001))]


@pytest.mark.parametrize(
    ("options", "expected"),
    [
        ("", [420, 448, 480]),
        ("--min-height 1.5", [420, 448]),
        ("--min-prominence 3", [448]),
        ("--min-distance 29", [448, 480]),
        ("--min-width 3", [420, 448]),
    ],
)
def test_each_limit_leaves_out_peaks(
    run: Runner, tmp_path: Path, options: str, expected: list[float]
) -> None:
    points = gaussians((420, 2.0, 3.0), (448, 5.0, 1.5), (480, 1.0, 1.0))
    path = write_csv(tmp_path / "lamp.csv", points)
    (found,) = run("peaks", path, "--json", *options.split()).document["spectra"]
    assert [peak["wavelength_nm"] for peak in found["peaks"]] == pytest.approx(expected, rel=1e-6)


def test_peaks_are_measured_over_their_baseline(run: Runner, tmp_path: Path) -> None:
    # The lowest points beside the peaks are 1, 1.25 and 1.
    corners = [(400.0, 1.0), (410.0, 3.0), (420.0, 1.25), (430.0, 2.0), (440.0, 1.0)]
    scan = vek.Scan(*map(list, zip(*corners, strict=True)))
    path = write_csv(tmp_path / "a.csv", [(400.0 + i, scan(400.0 + i)) for i in range(41)])
    for baseline, expected in (("prominence", [1.0, 1.25]), ("zero", [0.0, 0.0]), ("valleys", [])):
        document = run("peaks", path, "--json", "--baseline", baseline).document
        peaks = document["spectra"][0]["peaks"]
        line = [1.0 + 0.0125 * (peaks[0]["wavelength_nm"] - 400.0)]
        line += [1.25 - 0.0125 * (peaks[1]["wavelength_nm"] - 420.0)]
        assert document["baseline"] == baseline
        assert [peak["baseline"] for peak in peaks] == pytest.approx(expected or line, abs=1e-9)


def test_a_joined_spectrum_is_the_librarys(run: Runner, tmp_path: Path) -> None:
    names = [EXAMPLES / f"lamp-{name}.csv" for name in ("visible", "infrared")]
    scans = [vek.io.load_csv(name) for name in names]
    expected = vek.utils.stitch_scans(*scans, 920, 980, 0.01)
    result = run("stitch", *names, "--from", 920, "--to", 980)
    joined = tmp_path / "joined.csv"
    joined.write_text(result.out)
    assert [*vek.io.load_csv(joined).items()] == [*expected.stitch_scan.items()]
    assert f"{expected.k:.6g}" in result.err
    assert f"joined at       {expected.stitch_point:.2f} nm" in result.err
    in_one = write_vek(
        tmp_path / "both.vek",
        [(n.stem, [*vek.io.load_csv(n).items()]) for n in names],
        type_and_units=("Counts / counts", "7 1"),
    )
    whole = run("stitch", in_one)  # The common points: 900 to 1000.
    assert "compared        11 points of 1, 900-1000 nm" in whole.err


def start(**changes: float) -> dict[str, Any]:
    return json.loads(START.read_text()) | changes  # type: ignore[no-any-return]


def test_a_calibration_finds_the_drive(run: Runner, tmp_path: Path) -> None:
    fit = ("calibrate", STEPS, "--start", START, "--json", "--free")
    document = run(*fit, "cos_K,theta_z,alpha,a,phi", "--try-phases", 36).document
    assert document["before"] == start()
    # What the positions were computed with; they are rounded to 0.25 micro-steps, 0.003 nm.
    real = {"cos_K": (0.9832, 1e-4), "theta_z": (0.0041, 1e-5), "alpha": (1.0007, 1e-4)}
    for name, (value, tolerance) in (real | {"a": (6.0, 0.1), "phi": (0.9, 0.02)}).items():
        assert document["after"][name] == pytest.approx(value, abs=tolerance)
    assert document["largest_after"] < 0.002 < 5 < document["largest_before"]
    residuals = [point["after"] for point in document["points"]]
    assert document["rms_after"] == pytest.approx(math.hypot(*residuals) / math.sqrt(14))
    assert document["notes"] == []
    # As many points as parameters are enough.
    few = write_csv(tmp_path / "few.csv", [*vek.io.load_csv(STEPS).items()][:2])
    assert run("calibrate", few, "--start", START, "--free", "cos_K,theta_z").status == 0
    two = run(*fit, "cos_K,theta_z").document
    parameters, free = vek.fitting.FitWavelengthParams(), vek.fitting.FitWavelengthParamsFree()
    for name, value in start().items():
        setattr(parameters, name, value)
    free.cos_K = free.theta_z = True
    vek.fitting.fit_wavelength(vek.io.load_csv(STEPS), parameters, free)
    assert two["after"] == {name: getattr(parameters, name) for name in start()}


FIXED = "d: free, but no fit moves d, omega_t or omega_m."
UNCHANGED = "The fit changed nothing: the parameters are those of the start."
AFAR = (
    "phi is not found from afar, and hardly moves where the amplitude a is small; to try 36 "
    "phases, say, starts from phases over half a turn and keeps the best."
)
IN_METRES = (
    "The fit ended because the root of the summed squared residuals was 1e-9 or less. In metres "
    "that is 1 nm, and too early: give d and the wavelengths in nm."
)
NO_EFFECT = "phi has no effect while the amplitude a is 0."
NOTES = [
    ({}, "d", 1.0, [FIXED, UNCHANGED]),
    ({"a": 0.01}, "cos_K,phi", 1.0, [AFAR]),
    ({"a": 1.0}, "cos_K,phi --try-phases 36", 1.0, []),
    ({}, "cos_K,phi", 1.0, [NO_EFFECT]),
    ({}, "cos_K,theta_z", 1e-9, []),
    ({}, "cos_K,theta_z,alpha", 1e-9, [IN_METRES]),
    ({}, "cos_K,theta_z,alpha", 1.0, []),
]


@pytest.mark.parametrize(("changes", "free", "unit", "notes"), NOTES)
def test_what_a_fit_cannot_do_is_said(
    run: Runner, tmp_path: Path, changes: dict[str, float], free: str, unit: float, notes: list[str]
) -> None:
    points = [(step, unit * wl) for step, wl in vek.io.load_csv(STEPS).items()]
    parameters = start(**changes)
    (tmp_path / "p.json").write_text(json.dumps(parameters | {"d": unit * parameters["d"]}))
    path = write_csv(tmp_path / "steps.csv", points)
    arguments = ("calibrate", path, "--start", tmp_path / "p.json", "--free", *free.split())
    assert run(*arguments, "--json").document["notes"] == notes
    out = run(*arguments).out
    assert ("\nNotes\n" in out) == bool(notes)
    assert all(" ".join(note.split()) in " ".join(out.split()) for note in notes)


def test_a_fit_of_as_many_points_as_parameters_says_so() -> None:
    steps = vek.Scan([18286.0, 21355.0], [253.652, 296.728])
    fit = vek.reports.calibration("x", steps, start(), ["cos_K", "alpha"], notes=["first"])
    few = "As many free parameters as points: the residuals say nothing."
    assert fit.notes == ("first", few)
    assert fit.free == ("cos_K", "alpha")
    with pytest.raises(vek.Refusal, match="with these parameters the grating equation has no"):
        vek.reports.calibration("x", steps, start(cos_K=1e300, alpha=0), ["a"])
    still = vek.reports.calibration("x", steps, start(), ["theta_z", "a"])
    told = "a: free, but did not move."
    assert (told in still.notes) == (still.after["a"] == still.before["a"])


@pytest.mark.parametrize(
    ("residual", "rms", "shown"),
    [
        (1.23456, 1e6, "1.23e+00"),
        (1.23456, 999_999.0, "1"),
        (123.456, 123.0, "123"),
        (1.23456, 0.5, "1.235"),
        (0.0123456, 0.01, "0.0123"),
        (1.23456e-6, 1e-6, "0.00000123"),
        (1.2345e-7, 9e-7, "1.23e-07"),
        (0.0, 0.0, "0.00e+00"),
    ],
)
def test_residuals_have_the_digits_of_their_rms(residual: float, rms: float, shown: str) -> None:
    assert _shown(residual, rms) == shown


REFUSALS = (ROOT / "tests/data/mistakes/instruments.txt").read_text().splitlines()


@pytest.mark.parametrize("refusal", REFUSALS)
def test_bad_usage_and_bad_input_are_told_in_one_line(
    run: Runner, tmp_path: Path, monkeypatch: pytest.MonkeyPatch, refusal: str
) -> None:
    monkeypatch.chdir(tmp_path)
    write_csv(Path("g.csv"), flat(0.5))
    write_csv(Path("far.csv"), flat(0.5, 790, 800))
    write_csv(Path("few.csv"), flat(1.0, 400, 700, 300))
    write_csv(Path("zero.csv"), flat(0.0))
    write_csv(Path("wave.csv"), [(400, 1.0), (405, -0.5)])
    Path("head.csv").write_text("step;wavelength\n18286;253.652\n")
    write_vek(Path("two.vek"), [("A", flat(0.5)), ("B", flat(0.5))])
    files = {"p": start(), "less": {"d": 1}, "text": start() | {"a": "6"}, "zero": start(alpha=0)}
    files["big"] = start() | {"a": 10**400}
    Path("deep.json").write_text("[" * 100_000)
    for name, document in files.items():
        Path(f"{name}.json").write_text(json.dumps(document))
    command, reason = refusal.split(" -> ")
    explained = f"'vekanalysis {command.split()[0]} --help' explains"
    assert run.refuse(*command.split()) == reason.replace("{HELP}", explained)


@pytest.mark.parametrize("command", ["report", "light", "peaks", "calibrate"])
@pytest.mark.filterwarnings("default")
def test_a_plot_is_drawn(run: Runner, tmp_path: Path, command: str) -> None:
    pytest.importorskip("matplotlib")
    picture = tmp_path / "lens.png"
    odd = write_vek(tmp_path / "odd.vek", [("$\\frac$", flat(0.5))])
    fit = (STEPS, "--start", START, "--free", "cos_K,theta_z")
    arguments = fit if command == "calibrate" else (GREY, odd)
    assert run(command, *arguments, "--plot", picture).status == 0
    assert picture.read_bytes().startswith(b"\x89PNG")
