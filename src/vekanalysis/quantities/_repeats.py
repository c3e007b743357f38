"""Repeated measurements of one object: their mean, and how much they scatter."""

import math
import os
import re
from collections.abc import Iterable, Sequence
from functools import cached_property
from types import MappingProxyType
from typing import Final, NamedTuple

from .._core import Scan
from ..errors import Refusal, Remedy
from ..spectrum import Spectrum
from ._grid import on_grid
from ._measurand import measurand

# How a note on a column of a file begins.
_COLUMN: Final = re.compile(r"column [0-9]+( '[^']*')?: ")


class Scatter(NamedTuple):
    """A quantity of each of some repeats (JCGM 100:2008, 4.2).

    Attributes
    ----------
    n : int
        Number of repeats.
    mean : float or None
        Of the values of the repeats; None where one of them has none.
    s : float or None
        Their standard deviation, which is that of a single scan; None of one alone.
    """

    n: int
    mean: float | None
    s: float | None

    @classmethod
    def of(cls, numbers: Sequence[float | None]) -> Scatter:
        """Mean and standard deviation of numbers, whatever their order."""
        found = [number for number in numbers if number is not None and math.isfinite(number)]
        n = len(numbers)
        if not found or len(found) < n:
            return cls(n, None, None)
        mean = math.fsum(found) / n
        if n == 1:
            return cls(n, mean, None)
        return cls(n, mean, math.sqrt(math.fsum((each - mean) ** 2 for each in found) / (n - 1)))


class Repeats:
    """Scans of one object, which a report takes as one: their mean.

    Parameters
    ----------
    spectra : sequence of Spectrum
        At least one, all of one kind and in one unit.
    label : str, optional
        Name of the object; by default what the labels of the spectra begin with.

    Attributes
    ----------
    spectra : tuple of Spectrum
    label : str

    Raises
    ------
    Refusal
        If kinds or units differ, or a scan is there twice.
    ValueError
        If there are none.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> scans = vek.read("examples/uncertainty/repeats.csv")
    >>> lens = vek.quantities.Repeats(scans, "Lens 7")
    >>> value = vek.reports.lens(lens).document()["quantities"][0]["values"][0]
    >>> value["n"], round(value["mean"], 6), round(value["s"], 6)
    (10, 0.41421, 0.000397)
    """

    def __init__(self, spectra: Iterable[Spectrum], label: str | None = None) -> None:
        self.spectra = tuple(spectra)
        if not self.spectra:
            raise ValueError("Repeats: there must be at least one spectrum")
        for each in self.spectra:
            if not isinstance(each, Spectrum):
                raise TypeError(f"Repeats are Spectra, not {type(each).__name__}")
        self._check()
        self.label = _common_start(self.spectra) if label is None else label
        self._on_grid = False

    def __len__(self) -> int:
        return len(self.spectra)

    def __repr__(self) -> str:
        return f"<Repeats {self.label!r}: {len(self)} scans>"

    def transmittances(self, step: float | None = None, *, thinned: bool = False) -> Repeats:
        """The scans as transmittances, as fractions.

        Parameters
        ----------
        step, thinned
            As of `on_grid`, to whose wavelengths they are brought; without a step they stay.

        Raises
        ------
        Refusal
            As `measurand` and `on_grid`.
        """
        spectra = [measurand(each, "transmittance") for each in self.spectra]
        if step is not None:
            spectra = [on_grid(each, step, thinned=thinned) for each in spectra]
        repeats = Repeats(spectra, self.label)
        repeats._on_grid = step is not None
        return repeats

    @cached_property
    def mean(self) -> Spectrum:
        """The mean at each wavelength, in the unit of the scans, whatever their order.

        It states what all of them state.

        Raises
        ------
        Refusal
            If their wavelengths differ, or a value is not finite.
        """
        first = self.spectra[0]
        columns = [self._values(each, first) for each in self.spectra]
        count = len(self)
        values = [math.fsum(column) / count for column in zip(*columns, strict=True)]
        wavelengths, _ = first.scan.to_lists()
        scan = Scan(wavelengths, values, first.scan.epsilon, first.scan.interpolation)
        said = f"mean of {count} scans" if count > 1 else "one scan only"
        notes = dict.fromkeys(
            _COLUMN.sub("", note, count=1) for each in self.spectra for note in each.notes
        )
        common = dict(
            set(first.metadata.items()).intersection(
                *(each.metadata.items() for each in self.spectra)
            )
        )
        metadata = {name: common[name] for name in first.metadata if name in common}
        return Spectrum(
            scan,
            first.kind,
            first.unit,
            self.label,
            metadata=MappingProxyType(metadata),
            notes=(f"{said}: {_places(self.spectra)}", *notes),
        )

    def _check(self) -> None:
        first = self.spectra[0]
        seen = set()
        for each in self.spectra:
            if (each.kind, each.unit) != (first.kind, first.unit):
                raise Refusal(
                    f"{each.where}: {_said(each)}, and {first.where} is {_said(first)}: no repeats "
                    "of one object"
                )
            source = each.source
            place = source.sha256, source.data_set, source.column
            if source.sha256 is not None and place in seen:
                raise Refusal(f"{each.where}: this scan is there twice: a copy is no repeat")
            seen.add(place)

    def _values(self, spectrum: Spectrum, first: Spectrum) -> list[float]:
        wavelengths, values = spectrum.scan.to_lists()
        if wavelengths != first.scan.to_lists()[0]:
            remedy = Remedy("pass {} to bring them to common ones", (("grid", ...),))
            raise Refusal(
                f"{spectrum.where}: {_extent(spectrum)}, and {first.where} has {_extent(first)}: "
                "repeats of other wavelengths have no mean",
                None if self._on_grid else remedy,
            )
        settings = [(each.scan.epsilon, each.scan.interpolation) for each in (spectrum, first)]
        if settings[0] != settings[1]:
            raise Refusal(f"{spectrum.where}: epsilon or interpolation is not that of the others")
        if not all(map(math.isfinite, values)):
            raise Refusal(f"{spectrum.where}: there are values that are not finite")
        return values


def _said(spectrum: Spectrum) -> str:
    return f"{spectrum.kind} in {spectrum.unit or 'a unit that is not stated'}"


def _extent(spectrum: Spectrum) -> str:
    low, high = spectrum.range_nm
    return f"{spectrum.points} points from {low:.10g} to {high:.10g} nm"


def _places(spectra: Sequence[Spectrum]) -> str:
    """Where the scans come from, by file: ``a.vek: 1, 2; b.csv``."""
    files: dict[str, list[str]] = {}
    for each in spectra:
        source = each.source
        part = source.data_set if source.data_set is not None else source.column
        place = part if source.file is not None else each.where
        files.setdefault(source.file or "", []).extend([] if place is None else [place])
    named = [(file, ", ".join(parts)) for file, parts in files.items()]
    return "; ".join(": ".join(filter(None, pair)) for pair in named)


def _common_start(spectra: Sequence[Spectrum]) -> str:
    labels = [spectrum.label for spectrum in spectra]
    return os.path.commonprefix(labels).rstrip(" -_.,:;#([") or labels[0]
