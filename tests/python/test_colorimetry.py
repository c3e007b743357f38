"""Colorimetry as Python sees it: records, docstrings, shared tables, observers, error types."""

import gc
import math
from collections.abc import Callable
from typing import Any

import numpy as np
import pytest
import vekanalysis as vek
from vekanalysis import Observer, Scan, chromaticity, colorimetry, curves, radiometry
from vekanalysis.colorimetry import data
from vekanalysis.monochromator import slit_function

LIGHTS = (
    "  Relative spectral distribution of radiation emitted by {kind} signal lights,\n"
    "  ESignal(λ), weighted by the spectral luminous efficiency function of the average \n"
    "  human eye for daylight vision, V(λ), as specified in ISO 11664-1.\n"
    "  {colour} Signal\n"
)
OBSERVER = (
    "  CIE {year} standard colorimetric observer (CIE {year} {field} Standard Observer)\n"
    "  Color Matching Function {function}\n"
)
DATA_DOCS = {
    "AM0_ASTM_E490": (
        "  The standard AM0 solar spectrum (W m-2 nm-1)\n"
        "  It has an integrated power of 1366.1 W m-2\n"
    ),
    "AM15D_ASTM_G17303": (
        "  The AM1.5 Direct (+circumsolar) (W m-2 nm-1) spectrum is defined for solar\n"
        "  concentrator work. It includes the the direct beam from the sun plus the\n"
        "  circumsolar component in a disk 2.5 degrees around the sun. The direct plus\n"
        "  circumsolar spectrum has an integrated power density of 900 W m-2\n"
    ),
    "AM15G_ASTM_G17303": (
        "  The AM1.5 Global solar spectrum (W m-2 nm-1) is designed for flat\n"
        "  plate modules and has an integrated power of 1000 W m-2\n"
    ),
    **{
        f"ANSI_Z80_3_2015_{colour}_signal_transmittance": f"  Transmittance of the {colour} "
        "traffic signal lens specified in ANSI Z80.3-2015\n"
        for colour in ("green", "red", "yellow")
    },
    **{
        f"ISO8980_3_{kind.lower()}_{colour.lower()}": LIGHTS.format(kind=kind, colour=colour)
        for kind in ("incandescent", "LED")
        for colour in ("Blue", "Green", "Red", "Yellow")
    },
    "aphake_hazard": "  Aphake hazard function A(λ)\n",
    "blue_light_hazard": "  Blue-light hazard function B(λ)\n  380nm to 500nm steps 5nm\n",
    **{
        f"cie_{year}_standard_observer_{function}": OBSERVER.format(
            year=year, field=field, function=function
        )
        for year, field in (("1931", "2°"), ("1964", "10°"))
        for function in "xyz"
    },
    **{
        f"cie_illuminant_{name.lower()}": "  Relative spectral power distribution of CIE Standard "
        f"Illuminant {name}\n"
        for name in ("A", "C", "D65")
    },
    "relative_spectral_effectiveness": (
        "  Relative spectral effectiveness function S(λ)\n  280nm to 400nm steps 5nm\n"
        "  ICNIRP, Guidelines on limits of exposure to ultraviolet radiation of wavelengths\n"
        "  between 180 nm and 400 nm (incoherent optical radiation),\n"
        "  Health Phys. 2004, 87 (2) pp. 171-186\n"
    ),
    "solar_spectral_irradiance": (
        "  Solar Spectral Irradiance (mW m-2 nm-1)\n  250nm to 500nm steps 5nm\n"
    ),
}


def text_after_signature(function: Callable[..., object]) -> str:
    signature, _, text = (function.__doc__ or "").partition("\n")
    assert signature.startswith(function.__name__ + "(")
    return text


def test_data_functions_come_in_their_order_with_their_docstrings() -> None:
    names = [name for name in vars(data) if not name.startswith("_")]
    assert names == list(DATA_DOCS)
    for name, doc in DATA_DOCS.items():
        assert text_after_signature(getattr(data, name)) == f"\n\n{doc}\n"


REFERENCES = {
    "ISO8980_3_tau_uva": "@see ISO8980-3 Third Edition 2013-10-01 3.1",
    "ANSI_Z80_3_tau_uva": "@see ANSI Z80.3 2015 3.8.3",
    "ANSI_Z80_3_tau_uvb": "@see ANSI Z80.3 2015 3.8.3",
    "ISO8980_3_tau_suva": "@see ISO8980-3 Third Edition 2013-10-01 3.2",
    "ASNZS1067_2016_tau_suva": "@see ASNZS 1067.2 - 2016",
    "ISO8980_3_tau_suvb": "@see ISO8980-3 Third Edition 2013-10-01 3.3",
    "ISO8980_3_tau_v": "@see ISO8980-3 Third Edition 2013-10-01 3.4",
    "ANSI_Z80_3_tau_v": "@see ANSI Z80.3-2015 3.8.1",
    "ISO8980_3_tau_signal_incandescent": "@see ISO8980-3 Third Edition 2013-10-01 3.5",
    "ANSI_Z80_3_tau_signal": "@see ANSI Z80.3 3.8.2.2",
    "ANSI_Z80_3_tau_spectral_min": "@see ANSI Z80.3 4.10.2.3",
    "ISO8980_3_tau_signal_led": "@see ISO8980-3 Third Edition 2013-10-01 3.5",
    "ISO12311_tau_sb": "@see ISO12311 Corrected version 2013-11-15 7.4",
    "f2": ":see: ISO/CIE 19476:2014(E) 5.5.3",
}
SENTENCES = {
    "ISO8980_3_tau_uva": [
        "Returns the mean UV-A transmittance (tau_UVA). The mean transmittance",
        "between 315 nm and 380 nm.",
    ],
    "ISO8980_3_tau_v": [
        "Returns the luminous transmittancev (tau_V). The ratio of the luminous flux",
        "transmitted by the lens or filter to the incident luminous flux",
    ],
    "CIELAB_f": [
        "Non linear function used in the forward transformation from the CIEXYZ",
        "color space to the CIELAB.",
    ],
    "f1_prime": [
        "The integral parameter f1' describes the quality of the spectral match",
        "between a specified spectrum and the CIE 1931 standard colorimetric",
        "observer (CIE 1931 2° Standard Observer) Color Matching Function y.",
    ],
}


def test_colorimetry_docstrings_have_their_sentences_and_references() -> None:
    for name, reference in REFERENCES.items():
        lines = text_after_signature(getattr(colorimetry, name)).splitlines()
        assert lines[-2:] == [f"    {reference}", ""], name
    for name, sentences in SENTENCES.items():
        lines = text_after_signature(getattr(colorimetry, name)).splitlines()
        start = lines.index(f"    {sentences[0]}")
        assert lines[start : start + len(sentences)] == [f"    {line}" for line in sentences]
    for name in ("CIELAB_f", "f1_prime"):
        text = "".join(f"    {line}\n" for line in SENTENCES[name])
        assert text_after_signature(getattr(colorimetry, name)) == f"\n\n{text}\n"


FULL_SIGNATURES = {
    "colorimetry": {
        "CIE_tristimulus_values": "scan, observer",
        "CIELAB_f": "t",
        "CIELAB_tristimulus_values": "scan, white_point_reference, observer",
        **dict.fromkeys((name for name in REFERENCES if name != "f2"), "trans"),
        "f1_prime": "scan",
        "f2": "Y_0, Y_pi_2",
    },
    "chromaticity": dict.fromkeys(
        (
            "CIE_1931_chromaticity",
            "ANSI_Z80_3_daylight_chromaticity",
            "ANSI_Z80_3_yellow_chromaticity",
            "ANSI_Z80_3_green_chromaticity",
        ),
        "scan",
    ),
    "curves": {
        "longpass_filter": "center_wl, bandwidth, min_wl, max_wl, step_wl",
        "shortpass_filter": "center_wl, bandwidth, min_wl, max_wl, step_wl",
        "lognormal": "peak_wl, fwhm, min_wl, max_wl, step_wl",
    },
    "radiometry": {"illuminance": "spectral_irradiance"},
    "monochromator.slit_function": {
        "uniform_fibres_value": "central_wavelength, bandwidth, wavelength",
        "uniform_fibres": "central_wavelength, bandwidth, points",
    },
}


def test_every_argument_has_its_name_and_no_default() -> None:
    for path, functions in FULL_SIGNATURES.items():
        module: Any = vek
        for part in path.split("."):
            module = getattr(module, part)
        for name, arguments in functions.items():
            text = getattr(module, name).__doc__.partition("\n")[0]
            inner = text[text.index("(") + 1 : text.index(") ->")]
            assert ", ".join(part.split(":")[0] for part in inner.split(", ")) == arguments, name
            assert "=" not in inner


RECORDS = [
    (chromaticity.CIExy, "Chromaticity", {"x": "x", "y": "y"}),
    (colorimetry.CIEXYZ, "CIEXYZ", {"X": "X", "Y": "Y", "Z": "Z"}),
    (colorimetry.CIELAB, "CIELAB", {"L_star": "L*", "a_star": "a*", "b_star": "b*"}),
    (colorimetry.RYG, "RYG", {name: name for name in ("red", "yellow", "green")}),
    (colorimetry.RYGB, "RYGB", {name: name for name in ("red", "yellow", "green", "blue")}),
]


@pytest.mark.parametrize(("record_type", "label", "fields"), RECORDS, ids=[r[1] for r in RECORDS])
def test_records_start_at_zero_take_fields_and_show_them(
    record_type: Any, label: str, fields: dict[str, str]
) -> None:
    empty = record_type()
    assert [getattr(empty, name) for name in fields] == [0.0] * len(fields)
    values = [0.3127, 1234567.0, 2.0, 1e-9][: len(fields)]
    texts = ["0.3127", "1.23457e+06", "2", "1e-09"]
    expected = " ".join(f"{f}:{t}" for f, t in zip(fields.values(), texts, strict=False))
    for record in (
        record_type(*values),
        record_type(**dict(zip(fields, values, strict=True))),
    ):
        assert str(record) == expected
        assert repr(record) == f"<{label} {expected}>"
    for name in fields:
        setattr(empty, name, 7)
        assert getattr(empty, name) == 7.0
    with pytest.raises(TypeError):
        record_type(1.0)


def test_the_tables_are_shared_not_copied() -> None:
    lens = Scan(range(380, 785, 5), [1.0] * 81)
    before = colorimetry.ISO8980_3_tau_v(lens * 0.5)
    y = data.cie_1931_standard_observer_y()
    assert data.cie_1931_standard_observer_y() is y
    original = y[555.0]
    try:
        y[555.0] = 100.0
        assert data.cie_1931_standard_observer_y()[555.0] == 100.0
        half = Scan(range(380, 785, 5), [0.5 if wl == 555 else 1.0 for wl in range(380, 785, 5)])
        assert colorimetry.ISO8980_3_tau_v(half) < 0.7
    finally:
        y[555.0] = original
    assert colorimetry.ISO8980_3_tau_v(lens * 0.5) == before


def test_an_observer_keeps_its_scans_and_hands_out_copies() -> None:
    grid = range(380, 785, 5)
    observer = Observer(*(Scan(grid, [value] * 81) for value in (1.0, 2.0, 3.0)))
    gc.collect()
    xyz = colorimetry.CIE_tristimulus_values(Scan(grid, [1.0] * 81), observer)
    assert (xyz.X, xyz.Y, xyz.Z) == pytest.approx((400.0, 800.0, 1200.0), rel=1e-15)
    copy = observer.x
    copy[380] = 9.0
    assert observer.x[380] == 1.0
    with pytest.raises(AttributeError):
        observer.x = copy  # type: ignore[misc]
    assert Observer.__doc__ == "Observer struct"


def test_an_observer_sees_later_changes_and_shows_its_points() -> None:
    x, y, z = (Scan([wl], [0.5]) for wl in (400, 500, 600))
    observer = Observer(x=x, y=y, z=z)
    x[401] = 2.0
    assert observer.x[401] == 2.0
    assert repr(observer) == f"<Observer x: {x}, y: {y}, z: {z}>"
    for wrong in (None, 1.0, [1.0]):
        with pytest.raises(TypeError):
            Observer(wrong, y, z)  # type: ignore[arg-type]


@pytest.mark.parametrize(
    ("call", "text"),
    [
        (lambda: colorimetry.f1_prime(Scan()), "Input has no data in the range 380 to 780"),
        (
            lambda: colorimetry.ANSI_Z80_3_tau_spectral_min(Scan([400], [1])),
            "colorimetry::ANSI_Z80_3_tau_spectral_min: no data in the range 475 to 650",
        ),
        (lambda: curves.longpass_filter(500, 20, 600, 400, 1), "min_wl >= max_wl"),
        (
            lambda: curves.shortpass_filter(500, 20, 400, 400.5, 1),
            "step_wl > (max_wl - min_wl)",
        ),
        (lambda: curves.longpass_filter(500, 20, 400, 600, -1), "step_wl <= 0"),
        (lambda: curves.lognormal(0, 20, 400, 600, 1), "peak_wl <= 0 || fwhm <= 0"),
        (
            lambda: curves.longpass_filter(500, 20, 400, math.inf, 1),
            "curves: min_wl, max_wl and step_wl must be finite",
        ),
        (
            lambda: slit_function.uniform_fibres(500, 10, 1),
            "slit_function::uniform_fibres: fewer than 2 points",
        ),
    ],
)
def test_bad_arguments_are_value_errors(call: Callable[[], object], text: str) -> None:
    with pytest.raises(ValueError) as info:
        call()
    assert str(info.value) == text


@pytest.mark.parametrize("points", [-1, 2**32, 2.5, "7"])
def test_a_point_count_is_an_unsigned_whole_number(points: Any) -> None:
    with pytest.raises(TypeError):
        slit_function.uniform_fibres(500, 10, points)


def test_results_arrive_as_python_objects() -> None:
    assert len(slit_function.uniform_fibres(0.0, 0.3, 7).wavelengths()) == 7
    assert slit_function.uniform_fibres_value(500, 10, 505) == pytest.approx(0.5, abs=1e-9)
    d65 = data.cie_illuminant_d65()
    white = chromaticity.CIE_1931_chromaticity(d65)
    assert (white.x, white.y) == pytest.approx((0.31272, 0.32903), abs=1e-4)  # CIE 15:2004
    line = Scan(np.arange(553, 558), np.full(5, 0.25))
    assert radiometry.illuminance(line) == pytest.approx(683.002, abs=0.3)
