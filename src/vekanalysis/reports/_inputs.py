"""What reports are made of: spectra, or scans of which nobody says what they are of."""

from collections.abc import Iterable, Mapping

from .._core import Scan
from ..quantities import Repeats
from ..spectrum import Spectrum

type Spectra = (
    Spectrum | Scan | Mapping[str, Spectrum] | Mapping[str, Scan] | Iterable[Spectrum | Scan]
)
type Objects = Spectra | Repeats | Iterable[Spectrum | Scan | Repeats]


def as_objects(objects: Objects) -> list[Spectrum | Repeats]:
    """The same of what may be repeats, too; these stay."""
    if isinstance(objects, Repeats):
        return [objects]
    if isinstance(objects, Spectrum | Scan | Mapping):
        return [*as_spectra(objects)]
    named = enumerate(objects, start=1)
    found = [
        item if isinstance(item, Repeats) else _as_spectrum(f"scan {place}", item)
        for place, item in named
    ]
    return found or [*as_spectra([])]


def as_spectra(spectra: Objects) -> list[Spectrum]:
    """The spectra; scans get the names of the mapping, or are numbered, as labels.

    Raises
    ------
    TypeError
        If something else is among them.
    ValueError
        If there are none.
    """
    if isinstance(spectra, Spectrum | Scan | Repeats):
        spectra = [spectra]
    if isinstance(spectra, Mapping):
        named = [*spectra.items()]
    else:
        named = [(f"scan {place}", item) for place, item in enumerate(spectra, start=1)]
    if not named:
        raise ValueError("a report needs at least one spectrum; got none")
    return [_as_spectrum(name, item) for name, item in named]


def _as_spectrum(name: str, item: object) -> Spectrum:
    if isinstance(item, Scan):
        item = Spectrum(item, label=name)
    elif not isinstance(item, Spectrum):
        raise TypeError(f"a report needs spectra or scans; got {type(item).__name__}")
    if not item.points:
        raise ValueError(f"{item.where}: it has no points")
    return item
