"""Reports of spectra: what standards say of lenses and lamps, peaks, stitching, calibration.

A report is made of spectra, read from files or in memory. It gives text, a document for programs
(JSON), a picture and, where it has a row a spectrum, rows for a table.
"""

from importlib import import_module

TYPE_CHECKING = False  # typing itself takes longer to import than most of the modules below
if TYPE_CHECKING:
    from ._calibration import PARAMETERS, Calibration, calibration
    from ._contents import Contents as Contents
    from ._contents import File as File
    from ._contents import TextFile as TextFile
    from ._contents import quantity_title as quantity_title
    from ._layout import Heading as Heading
    from ._layout import json_text as json_text
    from ._layout import one_line as one_line
    from ._layout import shortened as shortened
    from ._layout import showable as showable
    from ._lens import lens
    from ._light import light
    from ._peaks import PeakReport, peaks
    from ._points import PointTable as PointTable
    from ._references import ReferenceList as ReferenceList
    from ._references import built_in
    from ._references import built_in_names as built_in_names
    from ._references import reference_document as reference_document
    from ._report import Report
    from ._rows import Row
    from ._stitching import Stitching, stitching
    from ._table import COLUMNS, LIGHT_COLUMNS, Table

__all__ = [
    "COLUMNS",
    "LIGHT_COLUMNS",
    "PARAMETERS",
    "Calibration",
    "PeakReport",
    "Report",
    "Row",
    "Stitching",
    "Table",
    "built_in",
    "calibration",
    "lens",
    "light",
    "peaks",
    "stitching",
]

# The modules that have the names; each is imported when it is first used.
_MODULES = {
    "_calibration": "PARAMETERS Calibration calibration",
    "_contents": "Contents File TextFile quantity_title",
    "_layout": "Heading json_text one_line shortened showable",
    "_lens": "lens",
    "_light": "light",
    "_peaks": "PeakReport peaks",
    "_points": "PointTable",
    "_references": "ReferenceList built_in built_in_names reference_document",
    "_report": "Report",
    "_rows": "Row",
    "_stitching": "Stitching stitching",
    "_table": "COLUMNS LIGHT_COLUMNS Table",
}
_HOMES = {name: module for module, names in _MODULES.items() for name in names.split()}


if not TYPE_CHECKING:  # A type checker would believe in every name.

    def __getattr__(name: str) -> object:
        if name not in _HOMES:
            raise AttributeError(f"module {__name__!r} has no attribute {name!r}", name=name)
        value = getattr(import_module(f".{_HOMES[name]}", __name__), name)
        globals()[name] = value
        return value


del TYPE_CHECKING
