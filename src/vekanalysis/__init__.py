"""Spectral analysis for spectroradiometers and monochromators.

Everything but the command line comes from the compiled module ``_core``:

- ``Scan``, a spectrum, and ``Interpolation``
- ``Observer`` and the submodules ``colorimetry`` (with ``colorimetry.data``),
  ``chromaticity``, ``curves``, ``physics``, ``radiometry`` and
  ``monochromator.slit_function``
- ``io``, the readers of measurement files and CSV spectra
- ``utils``: peaks, widths, stitching, element-wise functions and statistics of scans
- ``fitting``, the wavelength calibration of a grating monochromator

What speaks to other libraries is imported when it is first used, and so are those libraries:

- ``interop``, scans and records as pandas, xarray and plain Python objects, and back
- ``plot``, scans drawn with Matplotlib
- ``read_table``, a tolerant reader of text files, and the ``Table`` that it returns
- ``load_ipython_extension``, the display of scans and records in notebooks:
  ``%load_ext vekanalysis``
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

TYPE_CHECKING = False  # typing itself would double the time that importing the package takes
if TYPE_CHECKING:
    from typing import Any

    from . import interop
    from ._notebook import load_ipython_extension, unload_ipython_extension
    from ._plot import plot
    from ._tables import Table, read_table

__all__ = [
    "AKIMA",
    "CUBIC",
    "LINEAR",
    "NONE",
    "POLYNOMIAL",
    "Interpolation",
    "Observer",
    "Scan",
    "Table",
    "chromaticity",
    "colorimetry",
    "curves",
    "fitting",
    "interop",
    "io",
    "load_ipython_extension",
    "monochromator",
    "physics",
    "plot",
    "radiometry",
    "read_table",
    "unload_ipython_extension",
    "utils",
    "version",
]

__version__ = version()

# Names that are imported when they are first used, and the modules that have them.
_LAZY = {
    "Table": "_tables",
    "interop": "interop",
    "load_ipython_extension": "_notebook",
    "plot": "_plot",
    "read_table": "_tables",
    "unload_ipython_extension": "_notebook",
}


def __getattr__(name: str) -> Any:
    if name not in _LAZY:
        raise AttributeError(f"module {__name__!r} has no attribute {name!r}", name=name)
    from importlib import import_module

    module = import_module(f".{_LAZY[name]}", __name__)
    value = module if _LAZY[name] == name else getattr(module, name)
    globals()[name] = value
    return value


def __dir__() -> list[str]:
    return sorted(globals().keys() | _LAZY.keys())


def _make_importable(module: object) -> None:
    """Let ``import vekanalysis.io`` and pickle find the submodules of the compiled module."""
    for member in vars(module).values():
        if isinstance(member, type(_sys)):
            _sys.modules[member.__name__] = member
            _sys.modules[member.__name__.replace("._core.", ".", 1)] = member
            _make_importable(member)


_make_importable(_core)
_pickling.register()
