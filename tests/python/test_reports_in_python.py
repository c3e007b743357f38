"""Reports as functions: their defaults, documents and pictures, and what they refuse."""

import json
import math
import pickle
import struct
from collections.abc import Callable
from pathlib import Path
from typing import Any

import pytest
from cli import GREY, ROOT, Runner, flat, rows, write_csv

import vekanalysis as vek
from vekanalysis import Scan, Spectrum, batch, reports
from vekanalysis.quantities import LENS, LENS_FULL, LIGHT, Repeats
from vekanalysis.reports import COLUMNS, LIGHT_COLUMNS, _layout, _uncertain
from vekanalysis.uncertainty import Budget, Component

TWO = str(ROOT / "examples/two-lenses.vek")
LAMPS = [str(ROOT / f"examples/lamp-{name}.csv") for name in ("visible", "infrared")]
BUDGET = str(ROOT / "examples/budget.toml")
STEPS, START = ROOT / "examples/calibration/steps.csv", ROOT / "examples/calibration/start.json"


@pytest.mark.parametrize(
    ("command", "make"),
    [("report", reports.lens), ("light", reports.light), ("peaks", reports.peaks)],
)
def test_the_defaults_are_those_of_the_command(
    run: Runner, command: str, make: Callable[[Any], Any]
) -> None:
    report = make(vek.read(TWO))
    assert run(command, TWO).out == report.text() == str(report)
    assert run(command, TWO, "--json").out == report.json() + "\n"
    plain = report.json(indent=1, ascii_only=True)
    assert json.loads(plain) == report.document()
    assert (plain.isascii(), report.json().isascii()) == (True, command == "peaks")
    assert plain.startswith('{\n "title"')


def test_the_fit_and_the_joining_are_those_of_the_commands(run: Runner) -> None:
    start = json.loads(START.read_text())
    fit = reports.calibration("x", vek.io.load_csv(STEPS), start, ["cos_K", "theta_z"])
    asked = ("calibrate", STEPS, "--start", START, "--free", "cos_K,theta_z", "--json")
    assert run(*asked).out == fit.json() + "\n"
    first, second = (spectrum for name in LAMPS for spectrum in vek.read(name))
    joined = reports.stitching(first, second)
    assert run("stitch", *LAMPS).err == joined.text()
    assert joined.target == 0.01


def test_rows_of_a_file_are_those_of_its_report(tmp_path: Path) -> None:
    assert (*batch.report_rows(GREY)[0],) == COLUMNS == batch.COLUMNS
    assert COLUMNS[7:] == tuple(quantity.key for quantity in LENS)
    assert (*batch.light_rows(GREY)[0],) == LIGHT_COLUMNS == batch.LIGHT_COLUMNS
    assert LIGHT_COLUMNS[7:] == tuple(quantity.key for quantity in LIGHT)
    assert (reports.Table("lens").keys, reports.Table("light").keys) == (COLUMNS, LIGHT_COLUMNS)
    lenses = vek.read(TWO)
    assert batch.report_rows(TWO) == reports.lens(lenses, clear_lens=False).rows()
    full = batch.report_rows(TWO, full=True, data_sets=["Bronze glass 4 mm"])
    assert full == reports.lens(lenses[1], full=True).rows()
    assert len(full[0]) == len(COLUMNS) + len(LENS_FULL) - len(LENS)
    assert batch.light_rows(TWO) == reports.light(lenses).rows()
    (row,) = batch.light_rows(TWO, white="E", f1_prime=True, data_sets=["Bronze glass 4 mm"])
    assert row == reports.light(lenses[1], "E", f1_prime=True).rows()[0]
    path = tmp_path / "a.txt"
    path.write_text("".join(f"{wl};40\n" for wl, _ in flat(0)) + "780;60\n")
    for options, is_neutral in (({}, False), ({"duplicates": "first"}, True)):
        (row,) = batch.report_rows(path, percent=True, **options)
        assert row == batch.report_rows(path, unit="%", **options)[0]
        neutral = row["ISO8980_3_tau_v"] == pytest.approx(0.4, abs=1e-12)
        assert neutral == is_neutral
    (failed,) = batch.report_rows(path)
    assert failed == dict.fromkeys(COLUMNS) | {"file": str(path), "error": failed["error"]}
    assert "60 at 780 nm is no transmittance" in failed["error"]


def test_a_file_that_takes_too_much_memory_costs_no_other(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    paths = [write_csv(tmp_path / f"{i}.csv", flat(0.1 * i)) for i in range(1, 6)]
    paths.insert(2, tmp_path / "none.csv")
    table = reports.Table("lens")
    expected = [batch.file_rows(path, table, {}) for path in paths]
    assert batch.rows_of_files(paths, table, {}) == expected
    # A few files at a time.
    monkeypatch.setattr(batch, "_POINTS", 150)
    calls = []
    together = reports.Table.rows_of_files

    def rows_of_files(self: reports.Table, files: Any) -> Any:
        calls.append(len(files))
        if len(files) > 1:
            raise MemoryError
        return together(self, files)

    monkeypatch.setattr(reports.Table, "rows_of_files", rows_of_files)
    assert batch.rows_of_files(paths, table, {}) == expected
    assert calls == [2, 1, 1, 2, 1, 1, 1]

    def rows(self: reports.Table, spectra: Any) -> Any:
        raise MemoryError if spectra[0].label == "2" else TypeError("a fault")

    monkeypatch.setattr(reports.Table, "rows", rows)
    (failed,) = batch.file_rows(paths[1], table, {})  # alone, so nothing goes wrong
    assert failed["error"] is None
    with pytest.raises(TypeError, match="a fault"):
        batch.rows_of_files(paths[:2], table, {})
    monkeypatch.setattr(reports.Table, "rows_of_files", lambda self, files: [None] * len(files))
    (failed,) = batch.file_rows(paths[1], table, {})
    assert (failed["error"], failed["file"]) == ("not enough memory", str(paths[1]))


def test_a_table_travels() -> None:
    table = reports.Table("lens", budget=Budget.read(BUDGET), full=True)
    rows = table.rows(vek.read(TWO))
    assert pickle.loads(pickle.dumps(table)).rows(vek.read(TWO)) == rows
    assert (*rows[0],) == table.keys


def test_a_joining_is_a_document() -> None:
    first, second = (spectrum for name in LAMPS for spectrum in vek.read(name))
    result = vek.utils.stitch_scans(first.scan, second.scan, 920, 980, 0.01)
    joined = reports.stitching(first, second, 920, 980)
    document = joined.document()
    assert [each["file"] for each in document.pop("spectra")] == LAMPS  # type: ignore[index,union-attr]
    assert document == {
        "title": "Stitching",
        "stretch_nm": [920.0, 980.0],
        "points": result.n,
        "factor": result.k,
        "match": result.percent_error_rms,
        "target": 0.01,
        "relative_rms": math.sqrt(result.error / result.n) / result.average,
        "joined_at_nm": result.stitch_point,
    }
    assert joined.joined is not None
    assert joined.joined.to_lists() == result.stitch_scan.to_lists()
    apart = reports.stitching(first, second, 920, 980, 1e-4)
    assert (apart.document()["joined_at_nm"], apart.joined) == (None, None)


GREY_LENS = Spectrum(Scan(flat(0.5)), "transmittance", "1", "grey")


@pytest.mark.parametrize(
    ("make", "error", "words"),
    [
        (lambda: reports.lens([]), ValueError, "a report needs at least one spectrum; got none"),
        (lambda: reports.peaks({}), ValueError, "a report needs at least one spectrum; got none"),
        (lambda: reports.lens(Scan()), ValueError, "scan 1: it has no points"),
        (lambda: reports.light([GREY_LENS, 3]), TypeError, "needs spectra or scans; got int"),
        (lambda: reports.peaks([Repeats([GREY_LENS])]), TypeError, "scans; got Repeats"),
        (lambda: reports.built_in("daylight(3999.9)"), vek.Refusal, "of 3999.9 K: from 4000 to"),
        (lambda: reports.built_in("daylight(25000.1)"), vek.Refusal, "of 25000.1 K: from 4000 to"),
        (
            lambda: reports.built_in("planckian(1000000.5)"),
            vek.Refusal,
            "of 1000000.5 K: from 1000",
        ),
        (lambda: reports.built_in("planckian(12345678)"), vek.Refusal, "no built-in spectrum 'pl"),
    ],
)
def test_what_makes_no_report_is_refused(
    make: Callable[[], object], error: type[Exception], words: str
) -> None:
    with pytest.raises(error) as told:
        make()
    assert words in str(told.value)


def test_spectra_have_names() -> None:
    scan = Scan(flat(0.5))

    def labels(objects: Any) -> list[str]:
        return [spectrum.label for spectrum in reports.lens(objects).spectra]

    assert labels(scan) == ["scan 1"]
    assert labels([scan, GREY_LENS, Repeats([GREY_LENS], "R"), scan]) == [
        *("scan 1", "grey", "R", "scan 4")
    ]
    assert labels({"a": scan, "b": GREY_LENS}) == ["a", "grey"]
    assert labels(Repeats([GREY_LENS], "R")) == ["R"]
    found = [spectrum.label for spectrum in reports.peaks(iter([scan, scan])).spectra]
    assert found == ["scan 1", "scan 2"]


@pytest.mark.parametrize(
    ("name", "points"),
    [("daylight(4000)", 107), ("daylight(25000)", 107), ("planckian(1000)", 531)],
)
def test_formulas_have_their_ends(name: str, points: int) -> None:
    spectrum = reports.built_in(name)
    assert (spectrum.label, spectrum.source.reference, spectrum.points) == (name, name, points)
    assert spectrum.kind == "unknown"


def drawn(report: Any) -> list[tuple[Any, ...]]:
    """Of each axes of a picture: its limits, its titles, how many lines."""
    figure = report.figure()
    return [
        (
            *(round(float(x), 3) for x in (*axes.get_xlim(), *axes.get_ylim())),
            *(axes.get_xlabel(), axes.get_ylabel(), axes.get_title()),
            [line.get_label() for line in axes.lines if line.get_label()[0] != "_"],
            (len(axes.lines), len(axes.patches), len(axes.collections)),
            axes.xaxis.get_gridlines()[0].get_visible(),
        )
        for axes in figure.axes
    ]


def test_pictures_show_what_there_is() -> None:
    pytest.importorskip("matplotlib")
    nm, tau = "wavelength in nm", "spectral transmittance"
    grey = vek.read(GREY)
    assert drawn(reports.lens(grey)) == [
        (280.0, 800.0, 0.0, 1.02, nm, tau, "", ["grey-glass-4mm"], (1, 2, 1), True)
    ]
    bright = Spectrum(Scan([150, 500, 1300], [0.1, 1.2, 0.3]), "transmittance", "1", "b")
    assert drawn(reports.lens([*grey, bright])) == [
        (200.0, 1200.0, 0.0, 1.224, nm, tau, "", ["grey-glass-4mm", "b"], (2, 2, 1), True)
    ]
    uv, spectral = "u'", "spectral distribution"
    names = ["FL2", "AM15G_ASTM_G17303"]
    numbered = ["1 FL2", "2 AM15G_ASTM_G17303"]
    both = drawn(reports.light([reports.built_in(name) for name in names]))
    assert [axes[4:] for axes in both] == [
        (nm, spectral, "", names, (2, 2, 1), True),
        (uv, "v'", "", ["Planckian locus", *numbered], (4, 0, 0), False),
        ("", "", "", numbered, (3, 0, 0), False),
    ]
    assert both[0][:4] == (280.0, 1200.0, 0.0, 36.729)
    one, locus, vectors = drawn(reports.light(reports.built_in("FL2")))
    assert one[:6] == (380.0, 780.0, 0.0, 36.729, nm, f"{spectral} in a.u.")
    assert (one[7], locus[7], vectors[6:8]) == (
        *(["FL2"], ["Planckian locus", "FL2"]),
        ("Rf 70, Rg 86", ["FL2"]),
    )
    # Too few points for a curve, and none in the visible: nothing is filled.
    few = Spectrum(Scan([400.0, 500, 600], [1.0, -0.5, 1]), "other", "V", "few")
    (axes,) = drawn(reports.light(few))
    assert (axes[2], axes[8]) == (-0.5, (1, 2, 0))
    far = Scan([1000.0 + i for i in range(9)], [1.0] * 9)
    (axes,) = drawn(reports.light(far))
    assert (axes[:2], axes[8]) == ((380.0, 1008.0), (1, 2, 0))


def test_pictures_mark_peaks_and_residuals() -> None:
    pytest.importorskip("matplotlib")
    report = reports.peaks(vek.read(str(ROOT / "examples/line-lamp.csv")), height=0.5)
    (axes,) = report.figure().axes
    curve, *marks = axes.lines
    assert [(*mark.get_xdata(), *mark.get_ydata()) for mark in marks] == [
        (peak.wavelength, peak.height) for peak in report.peaks[0]
    ]
    assert {(mark.get_marker(), mark.get_color()) for mark in marks} == {("v", curve.get_color())}
    assert (*axes.get_xlim(),) == (350.0, 600.0)
    fit = reports.calibration(
        "x", vek.io.load_csv(STEPS), json.loads(START.read_text()), ["cos_K", "theta_z"]
    )
    upper, lower = fit.figure().axes
    given = [wavelength for _, wavelength in fit.points]
    for axes, residuals, name in (
        (upper, fit.residuals_before, "before"),
        (lower, fit.residuals_after, "after"),
    ):
        points, zero = axes.lines
        assert ([*points.get_xdata()], [*points.get_ydata()]) == (given, [*residuals.values])
        assert {*zero.get_ydata()} == {0.0}
        assert (points.get_linestyle(), points.get_marker()) == ("None", "o")
        assert [text.get_text() for text in axes.get_legend().get_texts()] == [name]
        assert axes.get_ylabel() == "fitted minus given"
    assert lower.get_xlabel() == "wavelength, in the unit of the data"
    assert lower.get_xlim() == upper.get_xlim()


def test_a_picture_is_written_in_the_format_of_its_name(tmp_path: Path) -> None:
    pytest.importorskip("matplotlib")
    report = reports.lens(GREY_LENS)
    report.draw(tmp_path / "a.png")
    assert struct.unpack(">II", (tmp_path / "a.png").read_bytes()[16:24]) == (1350, 750)
    report.draw(tmp_path / "a.svg")
    assert b"<svg" in (tmp_path / "a.svg").read_bytes()
    report.draw(tmp_path / "without")
    assert (tmp_path / "without").read_bytes()[:4] == b"\x89PNG"


def test_a_budget_without_components_is_said_whole() -> None:
    (grey,) = vek.read(GREY)
    dated = Budget(label="x", date="2026-01-01")
    none = dict.fromkeys(("file", "sha256"))
    assert reports.lens(grey, budget=dated).document()["budget"] == none | {
        **{"label": "x", "date": "2026-01-01", "coverage": 0.95, "components": []}
    }
    # Nothing is uncertain, whichever way it is looked at.
    for how in ({}, {"draws": 2000, "seed": 1}):
        lines = reports.lens(grey, budget=dated, **how).lines()
        assert [line.split()[-3:] for line in lines if " luminous, D65 " in line] == [
            ["0.549559", "±", "0"]
        ]
        assert "     - The uncertainty budget is 'x'." in lines


def test_what_came_of_draws_is_said() -> None:
    lens = Spectrum(Scan(flat(0.5)), "transmittance", "1", "L")
    gain = Budget(components=[Component(name="g", kind="gain", standard=0.01)], coverage=0.9)
    report = reports.lens(lens, budget=gain, draws=10_000, seed=1)
    assert report.uncertainty is not None
    (drawn,) = report.uncertainty.drawn or ()
    wrong = [key for key, figure in drawn.items() if not figure.validated]
    assert len(wrong) > 3
    words = " ".join(report.text().split())
    assert "- Intervals are those of 90 % of the draws, symmetric in probability." in words
    told = "L: 10000 draws, seed 1; the first order is not validated, to 2 digits, for "
    assert f"{told}{', '.join(wrong[:3])} and {len(wrong) - 3} more. - The" in words
    names = ("draws", "seed", "converged", "digits")
    for failed, settled, expected in (
        ([], None, "the first order is validated for all quantities."),
        ([], True, "the first order is validated for all quantities."),
        (wrong[:3], False, f"not validated, to 2 digits, for {', '.join(wrong[:3])}."),
    ):
        figures = {key: drawn[key]._replace(validated=key not in failed) for key in drawn}
        facts = dict(zip(names, (2000, 7, settled, 2), strict=True))
        told = _uncertain._said_of("L", type("Drawn", (dict,), facts)(figures))
        assert told.startswith(f"L: 2000 draws, seed 7{', not settled' * (settled is False)}; the")
        assert told.endswith(expected)


@pytest.mark.parametrize(("value", "shown"), rows("numbers.jsonl", "reports"))
def test_numbers_have_four_decimals_or_six_digits(value: float, shown: str) -> None:
    assert _layout.number(value) == shown


def test_texts_are_cut_and_aligned() -> None:
    assert [_layout.aligned(each, 4, 3) for each in ("-", "12.5", "1.2345")] == [
        *("   -    ", "  12.5  ", "   1.2345")
    ]
    assert [_layout.shortened("abcdef", room) for room in (6, 5, 1)] == ["abcdef", "abcd…", "…"]
    cut = [_layout.shortened_within("abcdefgh", room) for room in (8, 7, 6)]
    assert cut == ["abcdefgh", "abc…fgh", "abc…gh"]
    assert _layout.interval((315.0, 380.25)) == "315-380.25"
    assert [_layout.text_width(width) for width in (None, 50, 81)] == [80, 50, 80]
    document = {"a": [math.nan, {"b": -math.inf}, 1.5, True, None], "b": "ä"}
    assert json.loads(_layout.json_text(document)) == {
        "a": [None, {"b": None}, 1.5, True, None]
    } | {"b": "ä"}
    assert _layout.showable("τ λ·°…Δ語ä", "latin-1") == "tau lambda·°.d?ä"
    assert _layout.one_line("a\nb\tc") == "a?b?c"
    heading = _layout.one_line(_layout.Heading("a\x1b"))
    assert (heading, type(heading)) == ("a?", _layout.Heading)


COUNTS = (
    "values are counts: colours are right only if these are corrected for the spectral "
    "responsivity of the instrument"
)
SIGNAL = "values are in V: colours are right only if these are in proportion to the power per nm"


@pytest.mark.parametrize(
    ("kind", "unit", "notes"),
    [
        ("other", "V", (SIGNAL,)),
        *(("other", unit, ()) for unit in (None, "W", "1", "W m-2 nm-1")),
        *((kind, "counts", (COUNTS,)) for kind in ("other", "counts", "unknown")),
        ("counts", None, (COUNTS,)),
        *(("unknown", unit, ()) for unit in (None, "V")),
        ("irradiance", "W m-2 nm-1", ()),
    ],
)
def test_values_that_are_no_light_yet_are_told(kind: Any, unit: Any, notes: Any) -> None:
    lamp = Spectrum(Scan(flat(1.0)), kind, unit, "x")
    assert reports.light(lamp).spectra[0].notes == notes


def test_only_what_is_shown_of_a_light_has_an_uncertainty() -> None:
    lamp = Spectrum(Scan(flat(1.0)), "irradiance", "W m-2 nm-1", "x")
    budget = Budget(components=[Component(name="g", kind="gain", standard=0.01)])
    lab = {record.key for record in LIGHT if record.key.startswith("CIELAB")}
    details = {record.key for record in LIGHT if record.is_detail}
    radiances = {record.key for record in LIGHT if record.kind == "radiance"}
    for white, full, left_out in (
        ("D65", True, radiances),
        ("D65", False, radiances | details),
        ("E", True, radiances | lab),
        ("e", False, radiances | details),
    ):
        report = reports.light(lamp, white, full=full, budget=budget)
        assert report.uncertainty is not None
        (results,) = report.uncertainty.results
        assert not {*results, *results.problems} & left_out
        assert {*results, *results.problems} == {record.key for record in LIGHT} - left_out
        assert report.hidden == radiances | (set() if full else details)


def test_a_white_has_a_name() -> None:
    whites = ("e", Scan(flat(1.0)), Spectrum(Scan(flat(2.0)), label="mine"))
    found = [reports.light(GREY_LENS, white).quantities for white in whites]
    names = [" ".join(record.name for record in each) for each in found]
    for name, text in zip(("white E", "white white", "white mine"), names, strict=True):
        assert name in text
    with pytest.raises(vek.Refusal, match=r"^white: not usable as a white: there is no light in"):
        reports.light(GREY_LENS, Scan(flat(0.0)))
    with pytest.raises(ValueError, match="no illuminant 'd50'; there are 'A', 'C', 'D65' and 'E'"):
        reports.light(GREY_LENS, "d50")
