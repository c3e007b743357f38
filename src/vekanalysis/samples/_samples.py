"""The files, and what is known of them."""

from collections.abc import Iterator
from pathlib import Path
from typing import NamedTuple

from .._files import replace
from ..reading import read as read_file
from ..spectrum import Spectrum
from ..units import Kind

_FOLDER = Path(__file__).parent / "data"
_GLASS = (
    "Computed, not measured: a plane plate of tinted soda-lime glass, 4 mm thick, in air, from the "
    "optical constants n and k of M. Rubin, Sol. Energy Mater. 12, 275-288 (1985), as tabulated in "
    "the public domain (CC0), with the reflections of both surfaces."
)


class Sample(NamedTuple):
    """A file of the package with spectra.

    Attributes
    ----------
    name : str
        The name that `get`, `path` and `read` take.
    file : str
        The file, below the folder of the samples.
    spectra : int
        How many spectra it holds.
    title : str
        What it is of.
    provenance : str
        Where the numbers come from.
    kind : str
        What the spectra are of, one of ``vekanalysis.units.KINDS``; "unknown" where values are
        relative.
    unit : str or None
        The unit of the values where the file does not state it; None where it does, and where
        values are relative.
    """

    name: str
    file: str
    spectra: int
    title: str
    provenance: str
    kind: Kind = "unknown"
    unit: str | None = None


_BLACK_BODY = (
    "Made up: a black body of 2856 K, 1 at 560 nm, with 0.4 % of noise, as one of two detectors "
    "would see it."
)
_SAMPLES = {
    sample.name: sample
    for sample in (
        Sample(
            *("grey-glass", "grey-glass-4mm.csv", 1, "Grey glass, 4 mm", _GLASS),
            *("transmittance", "1"),
        ),
        Sample(
            *("bronze-glass", "bronze-glass-4mm.csv", 1, "Bronze glass, 4 mm", _GLASS),
            *("transmittance", "1"),
        ),
        Sample(
            *("two-lenses", "two-lenses.vek", 2, "Both glasses in one measurement file"),
            f"{_GLASS} Dates, titles and file names are made up.",
            *("transmittance", "1"),
        ),
        Sample(
            *("repeats", "uncertainty/repeats.csv", 10, "Ten scans of the grey glass"),
            f"{_GLASS} Made up on top of that: noise of 0.05 % at each point, and 0.08 % of the "
            "value from placing it anew.",
            "transmittance",
        ),
        Sample(
            *("line-lamp", "line-lamp.csv", 1, "Lamp with lines of mercury"),
            "Made up: lines at their wavelengths in air, 1.2 nm wide, with invented heights over a "
            "background of 0.004.",
        ),
        Sample("lamp-visible", "lamp-visible.csv", 1, "Lamp, 400 nm to 1000 nm", _BLACK_BODY),
        Sample(
            *("lamp-infrared", "lamp-infrared.csv", 1, "Lamp, 900 nm to 1600 nm"),
            f"{_BLACK_BODY} This one gives 0.31 of the signal.",
        ),
    )
}


# What certificates, budgets and calibrations start from, by file below the folder.
_STARTERS = {
    "lab.toml": "Settings of a laboratory, for certificates",
    "budget.toml": "Uncertainty budget",
    "limits-categories.toml": "Limits of filter categories, to be checked against the standard",
    "uncertainty/repeats.toml": "Uncertainty budget of the mean of repeats",
    "calibration/steps.csv": "Micro-steps and wavelengths of a monochromator",
    "calibration/start.json": "Parameters of its drawings",
}


def write(folder: Path) -> Iterator[tuple[Path, str]]:
    """Write all samples, and files to start from, into a folder, which is made where it is missing.

    Each file is written when its turn comes, whole or not at all; one that is there already is left
    alone.

    Yields
    ------
    tuple of (Path, str)
        The file and what it is of; an empty text for one that was there already.

    Raises
    ------
    OSError
        If a file or a folder cannot be written.
    """
    titles = {sample.file: sample.title for sample in _SAMPLES.values()} | _STARTERS
    for file, title in titles.items():
        target = folder / file
        target.parent.mkdir(parents=True, exist_ok=True)
        if target.exists():
            yield target, ""
            continue
        replace(str(target), (_FOLDER / file).read_bytes())
        yield target, title


def names() -> tuple[str, ...]:
    """The names of the samples.

    Examples
    --------
    >>> from vekanalysis import samples
    >>> samples.names()[:3]
    ('grey-glass', 'bronze-glass', 'two-lenses')
    """
    return tuple(_SAMPLES)


def get(name: str) -> Sample:
    """What is known of a sample.

    Parameters
    ----------
    name : str
        One of `names`.

    Returns
    -------
    Sample

    Raises
    ------
    ValueError
        If no sample has that name.

    Examples
    --------
    >>> from vekanalysis import samples
    >>> samples.get("line-lamp").title
    'Lamp with lines of mercury'
    """
    if name not in _SAMPLES:
        raise ValueError(f"no sample is named {name!r}; there are {', '.join(_SAMPLES)}")
    return _SAMPLES[name]


def path(name: str) -> Path:
    """The file of a sample, for what takes a path.

    Parameters
    ----------
    name : str
        One of `names`.

    Returns
    -------
    pathlib.Path

    Raises
    ------
    ValueError
        If no sample has that name.

    Examples
    --------
    >>> from vekanalysis import samples
    >>> samples.path("two-lenses").name
    'two-lenses.vek'
    """
    return _FOLDER / get(name).file


def read(name: str) -> list[Spectrum]:
    """The spectra of a sample, wavelengths in nm.

    What the file does not state of kind and unit is filled in from `get`; where the values come
    from stands in ``metadata["provenance"]`` of each spectrum.

    Parameters
    ----------
    name : str
        One of `names`.

    Returns
    -------
    list of Spectrum

    Raises
    ------
    ValueError
        If no sample has that name.

    Examples
    --------
    >>> from vekanalysis import samples
    >>> (lens,) = samples.read("grey-glass")
    >>> lens
    <Spectrum 'grey-glass-4mm': transmittance in 1, Scan(320→800[49])>
    """
    sample = get(name)
    kind = None if sample.kind == "unknown" else sample.kind
    return [
        spectrum.replace(metadata={**spectrum.metadata, "provenance": sample.provenance})
        for spectrum in read_file(_FOLDER / sample.file, kind=kind, unit=sample.unit)
    ]
