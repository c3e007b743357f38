"""Colorimetry as Python sees it: records, shared tables, observers, error types."""

import gc
import math
import re
from collections.abc import Callable
from typing import Any

import numpy as np
import pytest

from vekanalysis import Observer, Scan, chromaticity, colorimetry, curves
from vekanalysis.colorimetry import data
from vekanalysis.monochromator.slit_function import uniform_fibres

# Deliberate: these read like slips and stay.
ODD_LINES = {
    colorimetry.ISO8980_3_tau_v: "Returns the luminous transmittancev (tau_V).",
    data.AM15D_ASTM_G17303: "It includes the the direct beam from the sun",
    data.solar_spectral_irradiance: "250nm to 500nm steps 5nm",
}


def test_odd_docstrings_are_kept() -> None:
    assert [line for thing, line in ODD_LINES.items() if line not in str(thing.__doc__)] == []


RECORDS = [
    (chromaticity.CIExy, "Chromaticity", {"x": "x", "y": "y"}),
    (colorimetry.CIEXYZ, "CIEXYZ", {"X": "X", "Y": "Y", "Z": "Z"}),
    (colorimetry.CIELAB, "CIELAB", {"L_star": "L*", "a_star": "a*", "b_star": "b*"}),
    (colorimetry.RYG, "RYG", {name: name for name in ("red", "yellow", "green")}),
    (colorimetry.sRGB, "sRGB", {name: name for name in ("red", "green", "blue")}),
    (colorimetry.RYGB, "RYGB", {name: name for name in ("red", "yellow", "green", "blue")}),
]


@pytest.mark.parametrize(("record_type", "label", "fields"), RECORDS, ids=[r[1] for r in RECORDS])
def test_records_start_at_zero_take_fields_and_show_them(
    record_type: Any, label: str, fields: dict[str, str]
) -> None:
    values = dict(zip(fields, (0.3127, 1234567.0, 2.0, 1e-9), strict=False))
    texts = ("0.3127", "1.23457e+06", "2", "1e-09")
    expected = " ".join(f"{f}:{t}" for f, t in zip(fields.values(), texts, strict=False))
    changed = record_type()
    for name, value in values.items():
        assert getattr(changed, name) == 0.0
        setattr(changed, name, value)
    for record in (record_type(*values.values()), record_type(**values), changed):
        assert [getattr(record, name) for name in fields] == list(values.values())
        assert str(record) == expected
        assert repr(record) == f"<{label} {expected}>"


def test_an_observer_keeps_its_scans_and_hands_out_copies() -> None:
    grid = range(380, 785, 5)
    observer = Observer(*(Scan(grid, [value] * 81) for value in (1.0, 2.0, 3.0)))
    gc.collect()
    xyz = colorimetry.CIE_tristimulus_values(Scan(grid, [1.0] * 81), observer)
    values = [xyz.X, xyz.Y, xyz.Z]
    assert values == pytest.approx([400.0, 800.0, 1200.0], rel=1e-15)
    observer.x[380] = 9.0
    assert observer.x[380] == 1.0
    with pytest.raises(AttributeError):
        observer.x = Scan()  # type: ignore[misc]


def test_an_observer_sees_later_changes_and_shows_its_points() -> None:
    x, y, z = (Scan([wl], [0.5]) for wl in (400, 500, 600))
    observer = Observer(x=x, y=y, z=z)
    x[401] = 2.0
    assert repr(observer) == f"<Observer x: {x}, y: {y}, z: {z}>"
    for wrong in (None, 1.0, [1.0]):
        with pytest.raises(TypeError):
            Observer(wrong, y, z)  # type: ignore[arg-type]


@pytest.mark.parametrize(
    "curve", [curves.longpass_filter, curves.shortpass_filter, curves.lognormal]
)
@pytest.mark.parametrize(
    ("grid", "told"),
    [
        ((600, 400, 0), "min_wl >= max_wl"),
        ((400, 400, -1), "min_wl >= max_wl"),
        ((400, 400.5, 1), "step_wl > (max_wl - min_wl)"),
        ((400, 600, math.inf), "step_wl > (max_wl - min_wl)"),
        ((400, 600, 0), "step_wl <= 0"),
        ((400, 600, -1), "step_wl <= 0"),
        ((400, math.inf, 1), "curves: min_wl, max_wl and step_wl must be finite"),
        ((math.nan, 600, 1), "curves: min_wl, max_wl and step_wl must be finite"),
        ((400, 600, math.nan), "curves: min_wl, max_wl and step_wl must be finite"),
        ((400, 600, 5e-324), "curves: more than 100000000 points"),
        ((-1e308, 1e308, 1e-10), "curves: more than 100000000 points"),
        ((1e16, 1e16 + 100, 0.5), "curves: step_wl too small to advance"),
    ],
)
def test_grids_of_curves_are_looked_at(
    curve: Callable[..., Scan], grid: tuple[float, float, float], told: str
) -> None:
    with pytest.raises(ValueError, match=f"^{re.escape(told)}$"):
        curve(500, 20, *grid)


@pytest.mark.parametrize(
    ("call", "told"),
    [
        (lambda: curves.lognormal(0, 20, 600, 400, 0), "peak_wl <= 0 || fwhm <= 0"),
        (lambda: curves.lognormal(500, 0, 600, 400, 0), "peak_wl <= 0 || fwhm <= 0"),
        (lambda: uniform_fibres(500, 10, 1), "slit_function::uniform_fibres: fewer than 2 points"),
        (
            lambda: uniform_fibres(500, 10, 2**32 - 1),
            "slit_function::uniform_fibres: more than 100000000 points",
        ),
        (
            lambda: uniform_fibres(math.inf, 10, 5),
            "slit_function::uniform_fibres: wavelengths must be finite",
        ),
        (lambda: colorimetry.f1_prime(Scan()), "Input has no data in the range 380 to 780"),
        (
            lambda: colorimetry.ANSI_Z80_3_tau_spectral_min(Scan([400], [1])),
            "colorimetry::ANSI_Z80_3_tau_spectral_min: no data in the range 475 to 650",
        ),
    ],
)
def test_bad_arguments_are_value_errors(call: Callable[[], object], told: str) -> None:
    with pytest.raises(ValueError, match=f"^{re.escape(told)}$"):
        call()


def test_colour_differences_take_records_and_arrays() -> None:
    # The first is a published pair of CIEDE2000.
    pairs = np.array([[[50, 2.5, 0], [50, 3.2972, 0]], [[49, 0, 0], [51, 0, 0]]])
    functions: list[tuple[Callable[..., Any], dict[str, float], list[float]]] = [
        (colorimetry.delta_E_CIE1976, {}, [0.7972, 2.0]),
        (colorimetry.delta_E_CIE94, {}, [0.7972 / 1.1125, 2.0]),
        (colorimetry.delta_E_CIE94, {"k_L": 2, "K_1": 0.048, "K_2": 0.014}, [0.7972 / 1.12, 1.0]),
        (colorimetry.delta_E_CIEDE2000, {"k_L": 4}, [1.0, 0.5]),
    ]
    for difference, options, expected in functions:
        records = [
            difference(colorimetry.CIELAB(*one), colorimetry.CIELAB(*two), **options)
            for one, two in pairs
        ]
        assert records == pytest.approx(expected, abs=1e-4)
        assert difference(pairs[:, 0], pairs[:, 1], **options).tolist() == records
        assert difference(pairs[:1], pairs[1:], **options).shape == (1, 2)
        with pytest.raises(ValueError, match="must have the same shape"):
            difference(pairs[:, 0], pairs, **options)
        with pytest.raises(ValueError, match="must have the same shape"):
            difference(pairs[..., :2], pairs[..., :2], **options)


def test_colours_for_pictures_follow_the_white() -> None:
    observer = Observer(
        data.cie_1931_standard_observer_x(),
        data.cie_1931_standard_observer_y(),
        data.cie_1931_standard_observer_z(),
    )
    lamp = data.cie_illuminant_a()
    assert colorimetry.sRGB_values(lamp, lamp, observer).to_hex() == "#ffffff"
    orange = colorimetry.sRGB_values(lamp * 0.01, data.cie_illuminant_d65(), observer)
    assert orange.red > orange.green > orange.blue
    half = colorimetry.CIE_relative_tristimulus_values(lamp * 0.5, lamp, observer)
    assert pytest.approx(50, rel=1e-15) == half.Y
    with pytest.raises(ValueError, match="values must be 0 to 1"):
        colorimetry.sRGB(1.5, 0, 0).to_hex()
