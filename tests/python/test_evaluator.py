"""Quantities of arrays of spectra, against those of the spectra one by one."""

import math
import pickle
import random
import signal
import subprocess
import sys
import threading
from collections.abc import Callable
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from typing import Any

import numpy as np
import pytest
from numpy.typing import NDArray

import vekanalysis as vek
from vekanalysis import colorimetry, quantities
from vekanalysis.quantities import LENS, LENS_FULL, LIGHT, PHOTOMETER, Evaluator

V = "ISO8980_3_tau_v"
GRID = np.arange(315.0, 801.0)
OFFSET = np.arange(300.3, 800.0, 3.7)
UNEVEN = np.sqrt(np.linspace(300.0**2, 800.0**2, 500))
CUBIC = GRID[::5], vek.CUBIC

type Floats = NDArray[np.float64]


def lenses(grid: Floats, count: int, seed: int = 0) -> Floats:
    """Lenses with an absorption edge, every third with noise and every fifth rounded."""
    rng = np.random.default_rng(seed)
    edge, width = rng.uniform(320, 520, (count, 1)), rng.uniform(2, 40, (count, 1))
    values = rng.uniform(0, 1, (count, 1)) / (1 + np.exp((edge - grid) / width))
    values[::3] += rng.normal(0, 0.002, values[::3].shape)
    values[::5] = values[::5].round(3)
    return values


def one_by_one(
    grid: Floats, values: Floats, records: list[quantities.Quantity], form: vek.Interpolation
) -> list[float]:
    found = quantities.evaluate(vek.Scan(grid, values, 1e-20, form), records, clear_lens=False)
    return [math.nan if each.value is None else each.value for each in found.values()]


@pytest.mark.parametrize(
    ("grid", "form"),
    [(GRID, vek.AKIMA), (OFFSET, vek.AKIMA), (UNEVEN, vek.AKIMA), (GRID, vek.LINEAR), CUBIC],
    ids=["even", "offset", "uneven", "linear", "cubic"],
)
def test_an_array_gives_what_its_spectra_give(grid: Floats, form: vek.Interpolation) -> None:
    records = [*LENS_FULL, *PHOTOMETER, *(q for q in LIGHT if not q.key.startswith("CIE"))]
    values = lenses(grid, 32, seed=len(grid))
    result = Evaluator(grid, records, interpolation=form)(values)
    expected = [one_by_one(grid, lens, records, form) for lens in values]
    np.testing.assert_allclose(result, expected, rtol=1e-12, atol=1e-12)


@pytest.mark.parametrize("catalogue", [LENS_FULL, LIGHT])
def test_scans_together_give_what_each_gives(catalogue: tuple[quantities.Quantity, ...]) -> None:
    coarse = np.arange(300.0, 801.0, 5.0)
    scans = [vek.Scan(GRID, values) for values in lenses(GRID, 6)]
    scans[2:2] = [vek.Scan(coarse, values) for values in lenses(coarse, 3)]
    scans[4] = vek.Scan(coarse, np.where(coarse == 500.0, math.nan, 0.5))
    scans[6] = vek.Scan(GRID, np.zeros(len(GRID)))
    scans.append(vek.Scan([400.0, 700.0], [0.1, 0.2]))
    together = quantities.Figures(catalogue).of_many(scans)
    assert repr(together) == repr([quantities.Figures(catalogue)(scan) for scan in scans])
    assert quantities.Figures(catalogue).of_many([]) == []


def test_figures_say_what_evaluate_says_of_each_kind() -> None:
    scan = vek.Scan(GRID, lenses(GRID, 1)[0])
    # Quantities of three kinds, so that none stands where it stands among its own.
    figures = quantities.Figures([V, "illuminance", "f1_prime", *LIGHT[:4], LENS[1]], "A")
    for kind, unit in (("unknown", None), ("irradiance", "mW m-2 nm-1"), ("transmittance", "%")):
        spectrum = vek.Spectrum(scan, kind, unit, "it")
        expected = quantities.evaluate(spectrum, figures._records, white="A")
        found = figures.values(spectrum)
        assert [*found] == [*expected]
        for value, wanted in zip(found.values(), expected.values(), strict=True):
            assert value._replace(value=None) == wanted._replace(value=None)
            assert value.value == pytest.approx(wanted.value, rel=1e-12)
        _, said = figures(spectrum)
        assert figures(spectrum.replace(scan=scan * 0.5))[1] is said


def test_memory_of_any_layout_is_read_and_written() -> None:
    keys = [record for record in LENS if "suvb" not in record.key and "uvb" not in record.key]
    e = Evaluator(GRID, keys)
    assert e.keys == tuple(record.key for record in keys)
    cube = lenses(GRID, 24).reshape(2, 3, 4, -1)
    expected = e(cube)
    assert expected.shape == (2, 3, 4, len(keys))
    assert np.isfinite(expected).all()
    assert np.array_equal(e(cube[1, 2, 3]), expected[1, 2, 3])
    assert np.array_equal(e(cube[::-1, :, ::2]), expected[::-1, :, ::2])
    bands_first = np.asfortranarray(np.moveaxis(cube, 3, 0))
    assert np.array_equal(e(np.moveaxis(bands_first, 0, 3)), expected)
    assert np.array_equal(e(np.broadcast_to(cube[0, 0, 0], (5, len(GRID))))[4], expected[0, 0, 0])
    assert np.array_equal(e(memoryview(cube[0, 0].copy())), expected[0, 0])
    assert np.array_equal(e(cube[0, 0, 0].tolist()), expected[0, 0, 0])
    single = cube.astype(np.float32)
    assert np.array_equal(e(single), e(single.astype(float)))
    wide = np.zeros((len(keys), 2, 3, 4, 2))
    out = np.moveaxis(wide[..., 1], 0, 3)
    assert e(cube, out) is out
    assert np.array_equal(out, expected)
    assert not wide[..., 0].any()
    for shape in ((0,), (3, 0), (0, 3), (3, 0, 2)):
        assert e(np.empty((*shape, len(GRID)))).shape == (*shape, len(keys))
    assert Evaluator(GRID, [])(single).shape == (2, 3, 4, 0)


def test_a_long_call_can_be_interrupted() -> None:
    e = Evaluator(UNEVEN, V)
    spectra = np.broadcast_to(lenses(UNEVEN, 1)[0], (1_000_000, 500))
    out = np.full((len(spectra), 1), np.inf)
    threading.Timer(0.2, signal.raise_signal, [signal.SIGINT]).start()
    with pytest.raises(KeyboardInterrupt):
        e(spectra, out)
    assert np.isinf(out[-1, 0])


def test_what_a_grid_refuses_has_its_reason() -> None:
    e = Evaluator(np.arange(380.0, 781.0), ["ISO8980_3_tau_suvb", V, "ANSI_Z80_3_tau_uva"])
    assert np.isnan(e(np.ones(401))).tolist() == [True, False, True]
    uvb, luminous, uva = e.coverage
    assert uvb.problem == "No data within 290-315 nm"
    assert luminous == quantities.Value(None, None, (380, 780), (380, 780), luminous.clear_lens)
    assert luminous.clear_lens == pytest.approx(1, rel=1e-4)
    assert uva.problem is not None
    few = Evaluator([400, 500, 600], V)
    expected = quantities.evaluate(vek.Scan([400, 500, 600], [1, 1, 1]), V)[V]
    assert few.coverage[0] == expected._replace(value=None)


def test_light_below_zero_over_most_of_the_visible_has_no_quantities() -> None:
    # Most of the points lie in the first half of the visible, and do not count for more there.
    grid = np.r_[np.arange(380.0, 580.0, 0.5), np.arange(580.0, 781.0, 4.0)]
    wanted = ("illuminance", "CIE", "chromaticity")
    records = [q for q in LIGHT if q.key.startswith(wanted)]
    below = np.where(grid < np.array([[570.0], [600.0]]), -0.01, 9.0)
    found, lost = Evaluator(grid, records, interpolation=vek.LINEAR)(below)
    assert np.isfinite(found).all()
    assert np.isnan(lost).all()
    mostly_below = vek.Scan(grid, below[1], 1e-20, vek.LINEAR)
    reason = "Not computable: below zero over most of 380 to 780 nm"
    assert {v.problem for v in quantities.evaluate(mostly_below, records).values()} == {reason}
    np.testing.assert_allclose(found, one_by_one(grid, below[0], records, vek.LINEAR), rtol=1e-12)
    # Of a transmittance it says nothing.
    assert np.isfinite(Evaluator(grid, V)(below)).all()


def test_sensitivities_are_those_of_the_quantities() -> None:
    e = Evaluator(GRID, [V, "CIE_1931_chromaticity.x", "ANSI_Z80_3_tau_spectral_min"])
    assert e.linear == (True, False, False)
    (lens,) = lenses(GRID, 1, seed=3)
    change = e.sensitivities(lens)
    step = 1e-6
    for i in range(100, 400, 37):
        pulse = step * (np.arange(len(GRID)) == i)
        expected = (e(lens + pulse) - e(lens - pulse)) / (2 * step)
        np.testing.assert_allclose(change[:, i], expected, rtol=1e-5, atol=1e-8)
    assert np.array_equal(Evaluator(GRID, V).sensitivities()[0], change[0])


@pytest.mark.parametrize(("grid", "form"), [(GRID, vek.AKIMA), (OFFSET, vek.AKIMA), CUBIC])
def test_no_point_that_matters_lacks_its_sensitivity(grid: Floats, form: vek.Interpolation) -> None:
    keys = [quantity for quantity in LENS if "tau_uv" in quantity.key or "tau_suv" in quantity.key]
    e = Evaluator(grid, keys, interpolation=form)
    lens = 0.4 + 0.3 * np.sin(grid / 60.0)
    # The change that differences are taken over: an Akima interpolant is far from linear.
    step = 1e-6 * lens.max()
    pulses = step * np.eye(len(grid))
    expected = (e(lens + pulses) - e(lens - pulses)).T / (2 * step)
    np.testing.assert_allclose(e.sensitivities(lens), expected, rtol=1e-6, atol=1e-8)


def test_threads_and_processes_may_share_one() -> None:
    e = Evaluator(GRID, [*LENS_FULL, *LIGHT], interpolation=vek.LINEAR, white="A")
    values = lenses(GRID, 40)
    expected = e(values)
    with ThreadPoolExecutor(4) as pool:
        for result in pool.map(e, [values] * 8):
            assert np.array_equal(result, expected, equal_nan=True)
    again = pickle.loads(pickle.dumps(e))
    assert (again.keys, again.linear, again.coverage) == (e.keys, e.linear, e.coverage)
    assert np.array_equal(again(values), expected, equal_nan=True)


def test_a_changed_table_is_noticed() -> None:
    e = Evaluator(GRID, V)
    table = colorimetry.data.cie_illuminant_d65()
    before = table[560]
    try:
        table[560] = 2 * before
        assert not e.is_current
        with pytest.raises(RuntimeError, match="cie_illuminant_d65 has been changed"):
            e(np.ones(len(GRID)))
    finally:
        table[560] = before
    assert e.is_current
    assert e(np.ones(len(GRID))) == pytest.approx([1.0], rel=1e-4)


def test_a_named_white_is_the_built_in_one_and_a_given_one_a_copy() -> None:
    table = colorimetry.data.cie_illuminant_a()
    before = table[560]
    named, given = (Evaluator(GRID, V, white=white) for white in ("a", table))
    assert (named.is_current, given.is_current) == (True, True)
    try:
        table[560] = 2 * before
        assert (named.is_current, given.is_current) == (False, True)
        scan = vek.Scan(GRID, GRID / 1000)
        assert not any(each.is_for(scan, "A") for each in (named, given))
        named(np.ones(len(GRID)))
    finally:
        table[560] = before
    assert (named.is_current, named.is_for(scan, "A"), given.is_for(scan, "A")) == (True,) * 3


def test_the_evaluators_used_last_are_kept_for_their_grids() -> None:
    scan = vek.Scan(GRID, lenses(GRID, 1)[0])
    kept = quantities.evaluator_for(scan, V)
    assert quantities.evaluator_for(scan * 0.5, [quantities.quantity(V)]) is kept
    own = quantities.OwnTable("blue_light_hazard", colorimetry.data.blue_light_hazard() * 2.0)
    replaced = quantities.with_tables([quantities.quantity("ISO12311_tau_sb")], [own])
    linear, coarse = (vek.Scan(*scan.to_lists(), *form) for form in ((1e-20, vek.LINEAR), (1e-9,)))
    for args in [
        (linear, V),
        (coarse, V),
        (scan, [V, V]),
        (scan, "ISO12311_tau_sb"),
        (scan, replaced),
        (scan, V, "A"),
        *((vek.Scan(GRID + i, GRID / 1000), V) for i in range(1, 9)),
        (linear, V),
    ]:
        assert quantities.evaluator_for(*args) is not kept
    # With 15 others there is room for it, and as the one used last it outlives 15 more.
    for shift in (0.5, 1.5):
        assert quantities.evaluator_for(scan, V) is kept
        for i in range(1, 16):
            quantities.evaluator_for(vek.Scan(GRID + i + shift, GRID / 1000), V)
    quantities.evaluator_for(linear, V)
    assert quantities.evaluator_for(scan, V) is not kept

    fits = [kept.is_for(scan, "D65"), kept.is_for(scan, colorimetry.data.cie_illuminant_d65())]
    assert fits == [True, True]
    assert not any((kept.is_for(scan, "A"), kept.is_for(coarse, "D65"), kept.fits(linear)))
    row = [*kept(scan.values())]
    assert kept.rows([scan, scan]) == [kept.row(scan), row] == [row, row]
    assert (kept.kinds, kept.wavelengths.tolist()) == (("transmittance",), GRID.tolist())
    assert repr(kept) == "<Evaluator of 1 quantities, 486 points, 315 to 800 nm>"
    assert repr(Evaluator([], [])) == "<Evaluator of 0 quantities, 0 points, no wavelengths>"


@pytest.mark.parametrize("method", [Evaluator.__call__, Evaluator.sensitivities])
@pytest.mark.parametrize(
    ("values", "error", "told"),
    [
        (np.ones(7), ValueError, r"shape \(7,\); the last dimension must be .* 486"),
        (np.ones((486, 2)), ValueError, r"shape \(486, 2\)"),
        (np.float64(1), ValueError, r"shape \(\)"),
        (np.ones(486, int), TypeError, "values of int64; an array of float64 or float32"),
        (np.ones(486, object), TypeError, "values of object"),
        (np.ones(486, ">f8"), TypeError, "values of >f8"),
        (np.ones(486, complex), TypeError, "values of complex128"),
        (np.ma.masked_less(np.arange(486.0), 3), TypeError, "some values are masked"),
        ("lens.csv", TypeError, "values of str"),
    ],
)
def test_other_values_are_refused(
    method: Callable[..., object], values: Any, error: type[Exception], told: str
) -> None:
    with pytest.raises(error, match=told):
        method(Evaluator(GRID, V), values)


@pytest.mark.parametrize(
    ("out", "error", "told"),
    [
        (np.empty((4, 3)), ValueError, r"out has shape \(4, 3\); \(4, 2\) is needed"),
        (np.empty((4, 2), np.float32), TypeError, "writable array of float64"),
        (np.broadcast_to(np.empty(2), (4, 2)), TypeError, "writable array of float64"),
        (np.lib.stride_tricks.as_strided(np.empty(8), (4, 2), (8, 8)), ValueError, "itself"),
        ([0.0, 0.0], TypeError, "writable array of float64"),
        (None, ValueError, "out overlaps values"),
    ],
)
def test_what_takes_no_results_is_refused(out: Any, error: type[Exception], told: str) -> None:
    values = np.ones((4, len(GRID)))
    with pytest.raises(error, match=told):
        Evaluator(GRID, [V, V])(values, values[:, :2] if out is None else out)
    assert (values == 1).all()


def test_what_cannot_be_evaluated_is_refused() -> None:
    for grid in ([400, 400, 410], [400, math.nan]):
        with pytest.raises(ValueError, match="wavelengths must be finite and ascend"):
            Evaluator(grid, V)
    with pytest.raises(ValueError, match="the nearest is 'ISO8980_3_tau_v'"):
        Evaluator([400, 410], "ISO8980_3_tau_w")
    with pytest.raises(ValueError, match="epsilon must not be negative"):
        Evaluator([400, 410], epsilon=-1.0)
    with pytest.raises(ValueError, match=r"'CIE_1931_chromaticity\.x' is not linear"):
        Evaluator(GRID, "CIE_1931_chromaticity.x").sensitivities()
    with pytest.raises(TypeError, match="values of NoneType"):
        Evaluator(GRID, V)(None)


def test_labels_stay_and_dask_computes_later() -> None:
    xarray = pytest.importorskip("xarray")
    grid = np.arange(380.0, 781.0, 5.0)
    values = lenses(grid, 12).reshape(3, 4, -1)
    labels = {"wavelength": grid, "row": [1, 2, 3], "depth": ("row", [0.1, 0.2, 0.3])}
    cube = xarray.DataArray(
        np.moveaxis(values, 2, 0), labels, ("wavelength", "row", "column"), name="cube"
    )
    found = vek.interop.quantities_of(cube, [V, "ISO8980_3_tau_suvb"])
    assert found.dims == ("row", "column", "quantity")
    assert found.sel(row=2).depth == 0.2
    expected = Evaluator(grid, V)(values)[..., 0]
    assert np.array_equal(found.sel(quantity=V), expected)
    assert np.isnan(found.sel(quantity="ISO8980_3_tau_suvb")).all()
    micrometres = cube.assign_coords(wavelength=grid / 1000)
    again = vek.interop.quantities_of(micrometres, V, wavelength_unit="um")
    np.testing.assert_allclose(again[..., 0], expected, rtol=1e-9)
    pytest.importorskip("dask")
    lazy = vek.interop.quantities_of(cube.chunk(wavelength=40, row=1), V)
    assert lazy.chunks is not None
    assert np.array_equal(lazy.compute(scheduler="threads")[..., 0], expected)


def test_frames_give_a_row_a_spectrum() -> None:
    grid = np.arange(380.0, 781.0, 5.0)
    scans = [vek.Scan(grid, row) for row in lenses(grid, 2)]
    one, other = (vek.Spectrum(scan, "transmittance", "1") for scan in scans)
    frame = vek.interop.to_frame({"a": one, "b": other, "short": vek.Scan([400, 410], [1, 1])})
    found = vek.interop.quantities_of(frame, [V, "ISO12311_tau_sb"])
    assert list(found.index) == ["a", "b", "short"]
    assert list(found.columns) == [V, "ISO12311_tau_sb"]
    assert found[V]["b"] == pytest.approx(vek.colorimetry.ISO8980_3_tau_v(other.scan), abs=1e-12)
    assert math.isnan(found[V]["short"])  # what it lacks on the common grid is missing
    lamp = vek.Spectrum(one.scan, "irradiance", "W m-2 nm-1")
    lux = vek.interop.quantities_of(vek.interop.to_dataarray(lamp), "illuminance")
    assert float(lux[0]) == pytest.approx(vek.radiometry.illuminance(lamp.scan), rel=1e-12)


def test_the_example_of_a_cube_runs_on_two_processes() -> None:
    for library in ("distributed", "xarray"):
        pytest.importorskip(library)
    example = Path(__file__).resolve().parents[2] / "examples/cube.py"
    done = subprocess.run(
        [sys.executable, example, "60"], capture_output=True, text=True, timeout=120, check=True
    )
    assert done.stdout == "{'row': 60, 'column': 200} tau_v 0.099 to 0.895\n"


def test_what_a_clear_lens_has_not_other_spectra_may_have() -> None:
    # A polynomial through ones may go below zero between and beyond; the grid is not to blame.
    generator = random.Random(3)
    polynomial = vek.Interpolation.POLYNOMIAL
    found = 0
    for _ in range(40):
        grid = sorted(generator.uniform(390, 760) for _ in range(9))
        values = [generator.random() for _ in grid]
        scan = vek.Scan(grid, values, interpolation=polynomial)
        keys = ["illuminance", "ANSI_Z80_3_Q.green"]
        with np.errstate(invalid="ignore"):
            row = quantities.Evaluator(grid, keys, interpolation=polynomial)(values)
        for number, value in zip(row, quantities.evaluate(scan, keys).values(), strict=True):
            assert np.isnan(number) == (value.value is None)
            found += value.value is not None
    assert found > 10
