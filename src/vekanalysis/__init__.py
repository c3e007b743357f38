"""Spectral analysis for spectroradiometers and monochromators.

Everything but the command line comes from the compiled module ``_core``:

- ``Scan``, a spectrum, and ``Interpolation``
- ``Observer`` and the submodules ``colorimetry`` (with ``colorimetry.data``),
  ``chromaticity``, ``curves``, ``physics``, ``radiometry`` and
  ``monochromator.slit_function``
- ``io``, the readers of measurement files and CSV spectra
- ``utils``: peaks, widths, stitching, element-wise functions and statistics of scans
- ``fitting``, the wavelength calibration of a grating monochromator
"""

import sys as _sys

from . import _core, _pickling
from ._core import (
    AKIMA,
    CUBIC,
    LINEAR,
    NONE,
    POLYNOMIAL,
    Interpolation,
    Observer,
    Scan,
    chromaticity,
    colorimetry,
    curves,
    fitting,
    io,
    monochromator,
    physics,
    radiometry,
    utils,
    version,
)

__all__ = [
    "AKIMA",
    "CUBIC",
    "LINEAR",
    "NONE",
    "POLYNOMIAL",
    "Interpolation",
    "Observer",
    "Scan",
    "chromaticity",
    "colorimetry",
    "curves",
    "fitting",
    "io",
    "monochromator",
    "physics",
    "radiometry",
    "utils",
    "version",
]

__version__ = version()


def _make_importable(module: object) -> None:
    """Let ``import vekanalysis.io`` and pickle find the submodules of the compiled module."""
    for member in vars(module).values():
        if isinstance(member, type(_sys)):
            _sys.modules[member.__name__] = member
            _sys.modules[member.__name__.replace("._core.", ".", 1)] = member
            _make_importable(member)


_make_importable(_core)
_pickling.register()
