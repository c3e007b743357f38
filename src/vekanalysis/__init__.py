"""Spectral analysis for spectroradiometers and monochromators.

Everything but the command line comes from the compiled module ``_core``:

- ``Scan``, a spectrum, and ``Interpolation``
- ``Observer`` and the submodules ``colorimetry`` (with ``colorimetry.data``),
  ``chromaticity``, ``curves``, ``physics``, ``radiometry`` and
  ``monochromator.slit_function``
- ``io``, the readers of measurement files and CSV spectra
- ``utils``: peaks, widths, stitching, element-wise functions and statistics of scans;
  ``mean`` and ``sum`` of several scans are names of the package, too
- ``fitting``, the wavelength calibration of a grating monochromator

What speaks to other libraries is imported when it is first used, and so are those libraries:

- ``quantities``, what reports say of a lens or a light source, and how it is computed
- ``interop``, scans and records as pandas, xarray and plain Python objects, and back
- ``plot``, scans drawn with Matplotlib
- ``read``, the spectra of a file of any format, and ``Spectrum``, what it returns
- ``samples``, spectra to try things with
- ``write``, spectra as CSV, JCAMP-DX or TM-27
- ``peaks``, the peaks of a spectrum with their shapes
- ``errors`` and ``units``, how input is refused, and which units are understood
- ``uncertainty``, budgets, and figures with their uncertainty
- ``read_table``, a tolerant reader of text files, and the ``Table`` that it returns
- ``load_ipython_extension``, the display of scans and records in notebooks:
  ``%load_ext vekanalysis``
"""

import sys as _sys

from . import _core
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
    lighting,
    monochromator,
    physics,
    radiometry,
    utils,
    version,
)

# typing itself would double the time that importing the package takes.
TYPE_CHECKING = False
if TYPE_CHECKING:
    from . import errors, interop, quantities, reports, samples, uncertainty, units
    from ._peaks import peaks
    from .errors import Refusal
    from .notebook import load_ipython_extension, unload_ipython_extension
    from .plotting import plot
    from .reading import Table, read, read_table
    from .spectrum import Source, Spectrum
    from .writing import write

__all__ = [
    "AKIMA",
    "CUBIC",
    "LINEAR",
    "NONE",
    "POLYNOMIAL",
    "Interpolation",
    "Observer",
    "Refusal",
    "Scan",
    "Source",
    "Spectrum",
    "Table",
    "chromaticity",
    "colorimetry",
    "curves",
    "errors",
    "fitting",
    "interop",
    "io",
    "lighting",
    "load_ipython_extension",
    "mean",
    "monochromator",
    "peaks",
    "physics",
    "plot",
    "quantities",
    "radiometry",
    "read",
    "read_table",
    "reports",
    "samples",
    "uncertainty",
    "units",
    "unload_ipython_extension",
    "utils",
    "version",
    "write",
]

mean = utils.mean
sum = utils.sum  # Not in __all__, since ``import *`` would hide Python's own.
__version__ = version()

# Names that are imported when they are first used, and the modules that have them.
_LAZY = {
    "Refusal": "errors",
    "Source": "spectrum",
    "Spectrum": "spectrum",
    "Table": "reading",
    "errors": "errors",
    "interop": "interop",
    "load_ipython_extension": "notebook",
    "peaks": "_peaks",
    "plot": "plotting",
    "quantities": "quantities",
    "read": "reading",
    "read_table": "reading",
    "reports": "reports",
    "samples": "samples",
    "uncertainty": "uncertainty",
    "units": "units",
    "unload_ipython_extension": "notebook",
    "write": "writing",
}


if not TYPE_CHECKING:  # A type checker would believe in every name.

    def __getattr__(name: str) -> object:
        if name not in _LAZY:
            raise AttributeError(f"module {__name__!r} has no attribute {name!r}", name=name)
        from importlib import import_module

        module = import_module(f".{_LAZY[name]}", __name__)
        value = module if _LAZY[name] == name else getattr(module, name)
        globals()[name] = value
        return value


del TYPE_CHECKING


def __dir__() -> list[str]:
    return sorted(globals().keys() | _LAZY.keys())


def _make_importable(module: object) -> None:
    """Let ``import vekanalysis.io`` and pickle find the submodules of the compiled module."""
    for member in vars(module).values():
        if isinstance(member, type(_sys)):
            _sys.modules[member.__name__] = member
            public = member.__name__.replace("._core.", ".", 1)
            # What the package has a room for is not hidden by the kernels of that room.
            if public.removeprefix(f"{__name__}.") not in _LAZY:
                _sys.modules[public] = member
            _make_importable(member)


_make_importable(_core)
