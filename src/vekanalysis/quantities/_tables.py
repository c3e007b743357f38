"""Tables of a laboratory's own in place of built-in ones."""

import math
import os
from collections.abc import Iterable
from itertools import pairwise
from typing import Final, NamedTuple, Self

from .._core import Scan, colorimetry
from .._core.quantities import REFERENCES, Quantity, is_replaceable
from .._core.quantities import with_tables as compiled_with_tables
from .._nearest import nearest
from ..errors import Refusal

REPLACEABLE: Final = tuple(each.name for each in REFERENCES if is_replaceable(each.name))
"""The built-in tables that one's own may take the place of."""

# Of the step of a table, and of where it begins and ends, in nm.
_TOLERANCE: Final = 1e-6
_SHOWN: Final = 200
_NOTE: Final = "Computed with the laboratory's own table in place of the built-in one"


class OwnTable(NamedTuple):
    """A table that takes the place of a built-in one.

    Attributes
    ----------
    name : str
        Of the built-in table, one of `REPLACEABLE`.
    scan : Scan
        Wavelengths in nm and values; by what factor all are multiplied does not matter, but for
        transmittances of signal lenses, which are fractions.
    file : str or None
        Where it was read.
    sha256 : str or None
        The SHA-256 digest of the file's bytes.
    """

    name: str
    scan: Scan
    file: str | None = None
    sha256: str | None = None

    @classmethod
    def read(cls, name: str, path: str | os.PathLike[str]) -> Self:
        """Read a table from a file with wavelengths and values.

        Parameters
        ----------
        name : str
            The built-in table whose place it takes.
        path : str or os.PathLike
            What `vekanalysis.read` reads, with one spectrum.

        Raises
        ------
        OSError
            If the file cannot be read.
        Refusal
            If it is no table that can take that place: without all wavelengths of the built-in
            one, in coarser steps, with values below zero, or in per cent.
        """
        from ..reading import read  # imported when a file is read

        _check_name(name)
        path = os.fspath(path)
        spectra = read(path)
        if len(spectra) != 1:
            raise Refusal(f"{path}: has {len(spectra)} spectra; a table is one")
        (spectrum,) = spectra
        if spectrum.unit == "%" or any("in %" in note for note in spectrum.notes):
            raise Refusal(f"{path}: is in per cent; a table has fractions")
        _check(path, name, spectrum.scan)
        return cls(name, spectrum.scan, path, spectrum.source.sha256)

    @property
    def note(self) -> str:
        """What readers of a figure are told."""
        file = "" if self.file is None else f", {_shown(self.file)}"
        digest = "" if self.sha256 is None else f" (SHA-256 {self.sha256})"
        return f"{_NOTE}: {self.name}{file}{digest}."


def with_tables(quantities: Iterable[Quantity], tables: Iterable[OwnTable]) -> tuple[Quantity, ...]:
    """Quantities with tables of one's own in place of built-in ones.

    The built-in tables stay as they are: figures of other quantities do not change.

    Parameters
    ----------
    quantities : iterable of Quantity
    tables : iterable of OwnTable
        Of several of one name the last counts.

    Returns
    -------
    tuple of Quantity
        Those that depend on one of the tables are computed with it, and have a note on it in place
        of that on a reconstruction; the others as they are.

    Raises
    ------
    Refusal
        If a table cannot take the place of the built-in one.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> from vekanalysis import quantities
    >>> grid = range(380, 785, 5)
    >>> box = vek.Scan(grid, [1.0 if 600 <= wl <= 650 else 0.0 for wl in grid])
    >>> own = quantities.OwnTable("ISO8980_3_led_red", box)
    >>> red = quantities.quantity("ISO8980_3_tau_signal_led.red")
    >>> (red,) = quantities.with_tables([red], [own])
    >>> lens = vek.Scan(grid, [0.5 if wl < 650 else 0.9 for wl in grid])
    >>> round(quantities.evaluate(lens, red)[red.key].value, 3)
    0.535
    """
    found = {}
    for table in tables:
        _check_name(table.name)
        _check(table.file or f"table '{table.name}'", table.name, table.scan)
        found[table.name] = (table.scan, table.note)
    return compiled_with_tables(list(quantities), found) if found else tuple(quantities)


def _check_name(name: str) -> None:
    if name not in REPLACEABLE:
        raise Refusal(f"there is no table '{name}' to replace{nearest(name, REPLACEABLE)}")


def _check(where: str, name: str, scan: Scan) -> None:
    """Refuse what cannot take the place of a built-in table."""
    built_in: Scan = getattr(colorimetry.data, name)()
    (known, whole), (wavelengths, values) = built_in.to_lists(), scan.to_lists()
    for wl, value in zip(wavelengths, values, strict=True):
        if not (math.isfinite(wl) and math.isfinite(value)):
            raise Refusal(f"{where}: has a value at {wl:g} nm that is no finite number")
        if value < 0.0:
            raise Refusal(f"{where}: is {value:g} at {wl:g} nm; no weight is below zero")
    if not wavelengths or wavelengths[0] > known[0] + _TOLERANCE:
        begin = f"begins at {wavelengths[0]:g} nm" if wavelengths else "has no values"
        raise Refusal(f"{where}: {begin}; {name} begins at {known[0]:g} nm")
    if wavelengths[-1] < known[-1] - _TOLERANCE:
        raise Refusal(f"{where}: ends at {wavelengths[-1]:g} nm; {name} ends at {known[-1]:g} nm")
    coarsest = max(b - a for a, b in pairwise(known))
    for a, b in pairwise(wavelengths):
        inside = a < known[-1] and b > known[0]
        if inside and b - a > coarsest + _TOLERANCE:
            step = f"{coarsest:g} nm are the widest step of {name}"
            raise Refusal(f"{where}: has nothing between {a:g} and {b:g} nm; {step}")
    weight = math.fsum(values)
    if not weight > 0.0:
        raise Refusal(f"{where}: all values are 0")
    if max(whole) <= 1.0 and name.endswith("_transmittance") and max(values) > 1.0:
        raise Refusal(f"{where}: has values up to {max(values):g}; a transmittance is a fraction")


def _shown(file: str) -> str:
    text = "".join(character if character.isprintable() else "?" for character in file)
    return text if len(text) <= _SHOWN else f"{text[: _SHOWN // 2]}…{text[-_SHOWN // 2 :]}"
