"""What the built-in spectra do not know about themselves."""

from typing import NamedTuple

PRINTED = "printed figures"
SCALED = "printed figures, scaled"
RECONSTRUCTION = "reconstruction"


class Reference(NamedTuple):
    """Unit, source and standing of a built-in spectrum."""

    unit: str
    source: str
    status: str = PRINTED


_IRRADIANCE = "W m-2 nm-1"
_G173 = Reference(_IRRADIANCE, "ASTM G173-03")
_SIGNAL_LENS = Reference("1", "ANSI Z80.3-2015", RECONSTRUCTION)
_SIGNAL_LIGHT = Reference("sum 100", "ISO 8980-3:2013, 3.5", RECONSTRUCTION)
_OBSERVER_1931 = Reference("1", "CIE 15:2004, Table T.4")
_OBSERVER_1964 = Reference("1", "CIE 15:2004, Table T.5")
_ILLUMINANT = Reference("relative", "CIE 15:2004, Table T.1")

# By the names of their functions in colorimetry.data, in the same order.
REFERENCES = {
    "AM0_ASTM_E490": Reference(_IRRADIANCE, "ASTM E490-00a, Table 3"),
    "AM15D_ASTM_G17303": _G173,
    "AM15G_ASTM_G17303": _G173,
    "ANSI_Z80_3_2015_green_signal_transmittance": _SIGNAL_LENS,
    "ANSI_Z80_3_2015_red_signal_transmittance": _SIGNAL_LENS,
    "ANSI_Z80_3_2015_yellow_signal_transmittance": _SIGNAL_LENS,
    "ISO8980_3_incandescent_blue": _SIGNAL_LIGHT,
    "ISO8980_3_incandescent_green": _SIGNAL_LIGHT,
    "ISO8980_3_incandescent_red": _SIGNAL_LIGHT,
    "ISO8980_3_incandescent_yellow": _SIGNAL_LIGHT,
    "ISO8980_3_led_blue": _SIGNAL_LIGHT,
    "ISO8980_3_led_green": _SIGNAL_LIGHT,
    "ISO8980_3_led_red": _SIGNAL_LIGHT,
    "ISO8980_3_led_yellow": _SIGNAL_LIGHT,
    "aphake_hazard": Reference("1", "ICNIRP 2013, Table 2"),
    "blue_light_hazard": Reference("1", "ISO 8980-3, Table B.1"),
    "cie_1931_standard_observer_x": _OBSERVER_1931,
    "cie_1931_standard_observer_y": _OBSERVER_1931,
    "cie_1931_standard_observer_z": _OBSERVER_1931,
    "cie_1964_standard_observer_x": _OBSERVER_1964,
    "cie_1964_standard_observer_y": _OBSERVER_1964,
    "cie_1964_standard_observer_z": _OBSERVER_1964,
    "cie_illuminant_a": _ILLUMINANT,
    "cie_illuminant_c": Reference(
        "relative", "CIE 15:2004, Table T.1, divided by its value at 560 nm", SCALED
    ),
    "cie_illuminant_d65": _ILLUMINANT,
    "relative_spectral_effectiveness": Reference("1", "ICNIRP, Health Phys. 87 (2004) 171-186"),
    "solar_spectral_irradiance": Reference("mW m-2 nm-1", "ISO 8980-3, Table B.1"),
}
