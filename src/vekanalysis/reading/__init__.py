"""Files of every format that the library knows, as spectra: `read` is the one door."""

from .choice import not_there, offers
from .files import EXTENSIONS, offered_names, read, read_content, stem
from .measurement import (
    MeasurementFile,
    is_measurement_file,
    parse_measurement,
    select_data_sets,
    unreadable,
)
from .pairs import read_pairs
from .statements import state, taken
from .tables import Table, read_table
from .text import Duplicates, Skipped, TextOptions
from .titles import names_wavelengths
from .values import HIGHEST_FRACTION, Options
from .wavelengths import SHORTEST_IN_NM, WavelengthUnit, check_finite, in_nm, stated_unit

__all__ = [
    "EXTENSIONS",
    "HIGHEST_FRACTION",
    "SHORTEST_IN_NM",
    "Duplicates",
    "MeasurementFile",
    "Options",
    "Skipped",
    "Table",
    "TextOptions",
    "WavelengthUnit",
    "check_finite",
    "in_nm",
    "is_measurement_file",
    "names_wavelengths",
    "not_there",
    "offered_names",
    "offers",
    "parse_measurement",
    "read",
    "read_content",
    "read_pairs",
    "read_table",
    "select_data_sets",
    "state",
    "stated_unit",
    "stem",
    "taken",
    "unreadable",
]
