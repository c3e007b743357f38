"""Luminous transmittance and colour under D65 of one or more lenses.

usage: lens_report.py FILE...
"""

import sys

from vekanalysis import Observer, Refusal, colorimetry, quantities, read

data = colorimetry.data
observer = Observer(
    data.cie_1931_standard_observer_x(),
    data.cie_1931_standard_observer_y(),
    data.cie_1931_standard_observer_z(),
)
daylight = data.cie_illuminant_d65()

for path in sys.argv[1:]:
    try:
        spectra = [quantities.measurand(spectrum, "transmittance") for spectrum in read(path)]
    except (OSError, Refusal) as error:
        sys.exit(f"lens_report.py: {error}")
    for spectrum in spectra:
        lens = spectrum.scan
        tau_v = 100 * colorimetry.ISO8980_3_tau_v(lens)
        colour = colorimetry.CIELAB_tristimulus_values(lens * daylight, daylight, observer)
        print(f"{spectrum.where}: tau_v {tau_v:.2f} %, {colour}")
