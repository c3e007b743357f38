"""Scans and records in the terms of other libraries: pandas, xarray, and plain Python objects.

The libraries are imported by the functions that need them. What comes back from a round trip
is the scan that went out, to the last bit: wavelengths, values, epsilon and interpolation.

Wavelengths are in nm. Where the data that come in state another unit, or look like another
one, they are refused unless ``wavelength_unit`` says what is meant.
"""

from ._pandas import from_frame, from_series, to_frame, to_series
from ._plain import as_dict
from ._quantities import quantities_of
from ._xarray import from_dataarray, to_dataarray

__all__ = [
    "as_dict",
    "from_dataarray",
    "from_frame",
    "from_series",
    "quantities_of",
    "to_dataarray",
    "to_frame",
    "to_series",
]
