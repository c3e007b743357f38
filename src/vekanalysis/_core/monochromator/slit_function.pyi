from typing import SupportsIndex, SupportsInt

from .. import Scan, _Float

def uniform_fibres_value(
    central_wavelength: _Float, bandwidth: _Float, wavelength: _Float
) -> float: ...
def uniform_fibres(
    central_wavelength: _Float, bandwidth: _Float, points: SupportsInt | SupportsIndex
) -> Scan: ...
