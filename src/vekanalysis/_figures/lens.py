"""The quantities of a lens or filter, from its spectral transmittance."""

import math
from collections.abc import Callable

from .. import chromaticity, colorimetry
from .._core import Scan
from .errors import CommandError
from .quantities import CIE_15, LAB, VISIBLE, XY, XYZ, Quantity, Range, each_field, observer
from .spectra import Spectrum

_ISO_8980_3 = "ISO 8980-3:2013"
_ANSI_Z80_3 = "ANSI Z80.3-2015"
_AS_NZS_1067 = "AS/NZS 1067.2:2016"
_ISO_12311 = "ISO 12311:2013"

# No transmittance lies outside, whatever the noise of the measurement.
_LOWEST_FRACTION, _HIGHEST_FRACTION = -0.5, 1.5
_HIGHEST_PERCENT = 100.0 * _HIGHEST_FRACTION

_UVA: Range = (315.0, 380.0)
_UVB: Range = (280.0, 315.0)

_SOLAR_UV = ("solar_spectral_irradiance", "relative_spectral_effectiveness")
_V = "cie_1931_standard_observer_y"
_A = "cie_illuminant_a"
_C = "cie_illuminant_c"
_D65 = "cie_illuminant_d65"
_ANSI_SIGNAL = "ANSI_Z80_3_2015_{}_signal_transmittance"
_RYGB = dict.fromkeys(("red", "yellow", "green", "blue"), "τ_sig")

_RECONSTRUCTED = (
    "The signal table is a reconstruction, not the printed one: not for conformity decisions."
)
_RED_DENOMINATOR = (
    "Divided by the weighting of the red signal, as the red figure is: a clear lens does not give "
    "1 (see below)."
)
_SOLAR_UV_SAMPLING = (
    "Depends on the sampling: with data at other wavelengths than the tables', which go every 5 "
    "nm, a clear lens is up to 1 % off in UV-A and 15 % in UV-B (see below)."
)
_STORED_POINTS = "The smallest of the measured points; nothing between them is interpolated."
_RAW_INTEGRAL = (
    "Integral without a normalising constant, D65 being 100 at 560 nm: only ratios have a meaning."
)


def _tau(
    function: Callable[[Scan], float],
    symbol: str,
    name: str,
    band: Range,
    standard: str,
    section: str = "",
    weights: tuple[str, ...] = (),
    notes: tuple[str, ...] = (),
) -> Quantity:
    return Quantity(
        key=function.__name__,
        symbol=symbol,
        name=name,
        unit="1",
        band=band,
        standard=standard,
        section=section,
        compute=function,
        weights=weights,
        notes=notes,
        is_transmittance=True,
    )


def _solar_uv(
    function: Callable[[Scan], float],
    symbol: str,
    name: str,
    band: Range,
    standard: str,
    section: str = "",
) -> Quantity:
    return _tau(function, symbol, name, band, standard, section, _SOLAR_UV, (_SOLAR_UV_SAMPLING,))


def _tristimulus(lens: Scan) -> colorimetry.CIEXYZ:
    return colorimetry.CIE_tristimulus_values(
        lens * colorimetry.data.cie_illuminant_d65(), observer(1931)
    )


def _lab(lens: Scan) -> colorimetry.CIELAB:
    white = colorimetry.data.cie_illuminant_d65()
    return colorimetry.CIELAB_tristimulus_values(lens * white, white, observer(1931))


LENS: tuple[Quantity, ...] = (
    _tau(colorimetry.ISO8980_3_tau_uva, "τ_UVA", "UV-A, mean", _UVA, _ISO_8980_3, "3.1"),
    _solar_uv(colorimetry.ISO8980_3_tau_suva, "τ_SUVA", "solar UV-A", _UVA, _ISO_8980_3, "3.2"),
    _solar_uv(colorimetry.ISO8980_3_tau_suvb, "τ_SUVB", "solar UV-B", _UVB, _ISO_8980_3, "3.3"),
    _tau(
        colorimetry.ISO8980_3_tau_v, "τ_V", "luminous, D65", VISIBLE, _ISO_8980_3, "3.4", (_V, _D65)
    ),
    *each_field(
        colorimetry.ISO8980_3_tau_signal_incandescent,
        _RYGB,
        "incandescent signal, {}",
        _ISO_8980_3,
        "3.5",
        weights=("ISO8980_3_incandescent_{}",),
        notes=(_RECONSTRUCTED,),
        is_transmittance=True,
    ),
    *each_field(
        colorimetry.ISO8980_3_tau_signal_led,
        _RYGB,
        "LED signal, {}",
        _ISO_8980_3,
        "3.5",
        weights=("ISO8980_3_led_{}",),
        notes=(_RECONSTRUCTED,),
        is_transmittance=True,
    ),
    _tau(colorimetry.ANSI_Z80_3_tau_uva, "τ_UVA", "UV-A, mean", _UVA, _ANSI_Z80_3, "3.8.3"),
    _tau(colorimetry.ANSI_Z80_3_tau_uvb, "τ_UVB", "UV-B, mean", _UVB, _ANSI_Z80_3, "3.8.3"),
    _tau(
        colorimetry.ANSI_Z80_3_tau_v,
        "τ_V",
        "luminous, illuminant C",
        VISIBLE,
        _ANSI_Z80_3,
        "3.8.1",
        (_V, _C),
    ),
    *each_field(
        colorimetry.ANSI_Z80_3_tau_signal,
        {"red": "τ_sig"},
        "traffic signal, {}",
        _ANSI_Z80_3,
        "3.8.2.2",
        weights=(_V, _A, _ANSI_SIGNAL),
        notes=(_RECONSTRUCTED,),
        is_transmittance=True,
    ),
    *each_field(
        colorimetry.ANSI_Z80_3_tau_signal,
        {"yellow": "τ_sig", "green": "τ_sig"},
        "traffic signal, {}",
        _ANSI_Z80_3,
        "3.8.2.2",
        weights=(_V, _A, _ANSI_SIGNAL),
        notes=(_RECONSTRUCTED, _RED_DENOMINATOR),
        is_transmittance=True,
    ),
    _tau(
        colorimetry.ANSI_Z80_3_tau_spectral_min,
        "τ_min",
        "smallest spectral value",
        (475.0, 650.0),
        _ANSI_Z80_3,
        "4.10.2.3",
        notes=(_STORED_POINTS,),
    )._replace(is_integral=False),
    *each_field(
        chromaticity.ANSI_Z80_3_daylight_chromaticity,
        XY,
        "chromaticity, daylight D65",
        _ANSI_Z80_3,
        weights=(_D65,),
    ),
    *each_field(
        chromaticity.ANSI_Z80_3_yellow_chromaticity,
        XY,
        "chromaticity, yellow lens A",
        _ANSI_Z80_3,
        weights=(_A, _ANSI_SIGNAL.format("yellow")),
        notes=(_RECONSTRUCTED,),
    ),
    *each_field(
        chromaticity.ANSI_Z80_3_green_chromaticity,
        XY,
        "chromaticity, green lens A",
        _ANSI_Z80_3,
        weights=(_A, _ANSI_SIGNAL.format("green")),
        notes=(_RECONSTRUCTED,),
    ),
    _solar_uv(
        colorimetry.ASNZS1067_2016_tau_suva, "τ_SUVA", "solar UV-A", (315.0, 400.0), _AS_NZS_1067
    ),
    _tau(
        colorimetry.ISO12311_tau_sb,
        "τ_sb",
        "solar blue light",
        (380.0, 500.0),
        _ISO_12311,
        "7.4",
        ("solar_spectral_irradiance", "blue_light_hazard"),
    ),
    *each_field(chromaticity.CIE_1931_chromaticity, XY, "chromaticity, equal energy", CIE_15, "7"),
    *each_field(
        _tristimulus,
        XYZ,
        "under D65, 1931 observer",
        CIE_15,
        "7",
        key="CIE_tristimulus_values",
        unit="nm",
        weights=(_D65,),
        notes=(_RAW_INTEGRAL,),
    ),
    *each_field(
        _lab,
        LAB,
        "under D65, white D65",
        CIE_15,
        "8.2.1",
        key="CIELAB_tristimulus_values",
        weights=(_D65,),
    ),
)


def as_fractions(spectrum: Spectrum, percent: bool) -> Spectrum:
    """The spectrum as a transmittance between 0 and 1; refused if it can be none."""
    if percent and spectrum.reference is None:
        spectrum = spectrum._replace(
            scan=spectrum.scan / 100.0,
            unit="1",
            notes=(*spectrum.notes, "values in per cent, divided by 100"),
        )
    if spectrum.unit == "%":
        raise CommandError(f"{spectrum.source}: its unit is '%'; add --percent to divide by 100")
    points = spectrum.scan.items()
    # Written so that NaN is among them.
    wrong = [point for point in points if not _LOWEST_FRACTION <= point[1] <= _HIGHEST_FRACTION]
    if wrong:
        wavelength, value = max(
            wrong, key=lambda point: abs(point[1]) if math.isfinite(point[1]) else math.inf
        )
        found = (
            f"{spectrum.source}: {value:g} at {wavelength:g} nm is no transmittance between 0 and 1"
        )
        if not percent and spectrum.reference is None and 0.0 < value <= _HIGHEST_PERCENT:
            found += "; the values look like per cent: if they are, add --percent"
        raise CommandError(found)
    if spectrum.unit in ("", "1"):
        return spectrum
    note = f"its unit is '{spectrum.unit}'; the values are taken for fractions"
    return spectrum._replace(notes=(*spectrum.notes, note))
