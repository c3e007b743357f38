"""``vekanalysis light``: what a light source is like."""

import math
import re
from argparse import Namespace
from collections.abc import Callable, Iterator

from .. import chromaticity, colorimetry, physics, radiometry
from .._core import Scan
from .._figures.errors import CommandError
from .._figures.quantities import AB, CIE_15, LAB, VISIBLE, XY, XYZ, Quantity, each_field, observer
from .._figures.spectra import Spectrum, peak, read_spectra
from .._figures.text import interval
from .report import emit_report, make_report

_ILLUMINANTS = {"a": "A", "c": "C", "d65": "D65"}

_WIEN = "Of the black body whose spectrum has its peak there; of no other lamp."
_LAB = "Depends on the scales of light and white, which must be in the same unit to mean anything."
_SCALED_LAB = (
    "The white scaled to the Y of the light, so that L* is 100 and only the colour counts."
)
_RAW_INTEGRAL = (
    "Integral in the spectrum's own unit u times nm, without a normalising constant: only ratios "
    "have a meaning."
)
_F1_PRIME = "The spectrum taken for the relative spectral responsivity of a photometer."
_STORED_POINT = "The highest of the measured points; nothing between them is interpolated."

# W m-2 nm-1 and its kin, once blanks, points, brackets and carets are gone.
_PLAIN_UNIT = str.maketrans("⁻¹²μ", "-12µ", " .·*^()")
_IRRADIANCE = re.compile(
    r"(?P<prefix>[kmµun]?)W"
    r"(?:/c?m2/?nm|/nm/?c?m2|c?m-2nm-1|nm-1c?m-2|c?m-2/nm|nm-1/c?m2|/c?m2nm-1|/nmc?m-2)"
)
_PREFIXES = {"k": 1e3, "": 1.0, "m": 1e-3, "µ": 1e-6, "u": 1e-6, "n": 1e-9}


def run(arguments: Namespace) -> None:
    spectra = [
        _with_unit(spectrum, arguments.mw)
        for spectrum in read_spectra(arguments.files, arguments.reference, arguments.data_set)
    ]
    white_name, white = _read_white(arguments.white)
    quantities = [
        [*_quantities(spectrum.unit, white_name, white, arguments.f1_prime)] for spectrum in spectra
    ]
    report = make_report("Light source report", spectra, quantities)
    if arguments.plot:
        from .plot import plot_lights

        plot_lights(arguments.plot, spectra)
    emit_report(report, arguments.json)


def irradiance_scale(unit: str) -> float | None:
    """What turns a spectral irradiance in ``unit`` to W m-2 nm-1; None for other units."""
    match = _IRRADIANCE.fullmatch(unit.translate(_PLAIN_UNIT))
    if match is None:
        return None
    return _PREFIXES[match["prefix"]] * (1e4 if "cm" in match[0] else 1.0)


def _with_unit(spectrum: Spectrum, milliwatts: bool) -> Spectrum:
    if spectrum.reference is not None:
        return spectrum
    if milliwatts:
        note = "values taken as mW m-2 nm-1 (--mw)"
        return spectrum._replace(unit="mW m-2 nm-1", notes=(*spectrum.notes, note))
    if spectrum.unit:
        return spectrum
    note = "no unit is stated; taken as W m-2 nm-1 (--mw: mW m-2 nm-1)"
    return spectrum._replace(notes=(*spectrum.notes, note))


def _read_white(name: str) -> tuple[str, Scan]:
    if name in _ILLUMINANTS:
        return _ILLUMINANTS[name], getattr(colorimetry.data, f"cie_illuminant_{name}")()
    if name == "e":
        wavelengths = range(int(VISIBLE[0]), int(VISIBLE[1]) + 1, 5)
        return "E", Scan([*wavelengths], [1.0] * len(wavelengths))
    spectra = read_spectra([name], [], [])
    if len(spectra) != 1:
        raise CommandError(f"{name}: a white is one spectrum; this file has {len(spectra)}")
    (white,) = spectra
    try:
        has_light = _tristimulus(white.scan).Y > 0.0
    except (RuntimeError, ValueError) as error:
        raise CommandError(f"{name}: not usable as a white: {error}") from None
    if not has_light:
        raise CommandError(f"{name}: not usable as a white: no light within {interval(VISIBLE)} nm")
    return white.label, white.scan


def _quantities(unit: str, white_name: str, white: Scan, with_f1_prime: bool) -> Iterator[Quantity]:
    yield _illuminance(unit)
    yield from each_field(
        chromaticity.CIE_1931_chromaticity,
        XY,
        "chromaticity, CIE 1931 (2°)",
        CIE_15,
        "7",
    )
    yield from each_field(
        _chromaticity_1964,
        XY,
        "chromaticity, CIE 1964 (10°)",
        CIE_15,
        "7",
        key="CIE_1964_chromaticity",
    )
    yield from each_field(
        _tristimulus,
        XYZ,
        "tristimulus, 1931 observer",
        CIE_15,
        "7",
        key="CIE_tristimulus_values",
        unit="u·nm",
        notes=(_RAW_INTEGRAL,),
    )
    yield from each_field(
        _lab(white, scaled=False),
        LAB,
        f"white {white_name}, 1931 observer",
        CIE_15,
        "8.2.1",
        key="CIELAB_tristimulus_values",
        notes=(_LAB,),
    )
    yield from each_field(
        _lab(white, scaled=True),
        AB,
        f"scaled white {white_name}",
        CIE_15,
        "8.2.1",
        key="CIELAB_tristimulus_values_scaled_white",
        notes=(_SCALED_LAB,),
    )
    yield Quantity(
        key="peak_wavelength",
        symbol="λ_peak",
        name="peak wavelength",
        unit="nm",
        compute=lambda scan: peak(scan)[0],
        notes=(_STORED_POINT,),
        is_stored=True,
    )
    yield Quantity(
        key="wiens_displacement_law_T",
        symbol="T",
        name="Wien temperature of peak",
        unit="K",
        compute=_wien_temperature,
        notes=(_WIEN,),
    )
    if with_f1_prime:
        yield Quantity(
            key="f1_prime",
            symbol="f1'",
            name="mismatch with V(λ)",
            unit="1",
            compute=colorimetry.f1_prime,
            band=VISIBLE,
            standard="ISO/CIE 19476:2014",
            notes=(_F1_PRIME,),
        )


def _illuminance(unit: str) -> Quantity:
    scale = irradiance_scale(unit) if unit else 1.0

    def compute(scan: Scan) -> float:
        if scale is None:
            raise ValueError(f"illuminance needs W m-2 nm-1; the unit is '{unit}'")
        return radiometry.illuminance(scan) * scale

    return Quantity(
        key="illuminance",
        symbol="E_v",
        name="illuminance",
        unit="lx",
        compute=compute,
        band=VISIBLE,
        standard="CIE 18.2-1983",
    )


def _wien_temperature(scan: Scan) -> float:
    wavelength = peak(scan)[0]
    if wavelength in (scan.min_wavelength(), scan.max_wavelength()):
        raise ValueError("the highest point is at the end of the data, so it need not be a peak")
    return physics.wiens_displacement_law_T(wavelength * 1e-9)


def _chromaticity_1964(scan: Scan) -> chromaticity.CIExy:
    xyz = colorimetry.CIE_tristimulus_values(scan, observer(1964))
    total = xyz.Z + (xyz.X + xyz.Y)
    if not total:
        return chromaticity.CIExy(math.nan, math.nan)
    return chromaticity.CIExy(xyz.X / total, xyz.Y / total)


def _tristimulus(scan: Scan) -> colorimetry.CIEXYZ:
    return colorimetry.CIE_tristimulus_values(scan, observer(1931))


def _lab(white: Scan, scaled: bool) -> Callable[[Scan], colorimetry.CIELAB]:
    def compute(scan: Scan) -> colorimetry.CIELAB:
        reference = white
        if scaled:
            reference = white * (_tristimulus(scan).Y / _tristimulus(white).Y)
        return colorimetry.CIELAB_tristimulus_values(scan, reference, observer(1931))

    return compute
