"""Luminous transmittance and colour under D65 of one or more lenses.

usage: lens_report.py SPECTRUM.csv...
"""

import sys

from vekanalysis import Observer, colorimetry, read_table

data = colorimetry.data
observer = Observer(
    data.cie_1931_standard_observer_x(),
    data.cie_1931_standard_observer_y(),
    data.cie_1931_standard_observer_z(),
)
daylight = data.cie_illuminant_d65()

for path in sys.argv[1:]:
    lens = read_table(path).scan
    colour = colorimetry.CIELAB_tristimulus_values(lens * daylight, daylight, observer)
    print(f"{path}: tau_v {100 * colorimetry.ISO8980_3_tau_v(lens):.2f} %, {colour}")
