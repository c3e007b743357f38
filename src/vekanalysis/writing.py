"""Spectra as files for others: CSV, JCAMP-DX and TM-27.

Numbers are written with as many digits as it takes to read back the same doubles.
"""

import csv
import datetime
import io
import math
import os
from collections.abc import Sequence
from typing import Literal, get_args
from xml.sax.saxutils import escape

from . import units
from ._core import version
from ._files import create, csv_cell, save
from .errors import Refusal, Remedy
from .reading import HIGHEST_FRACTION, SHORTEST_IN_NM, names_wavelengths, state, taken
from .spectrum import Spectrum

__all__ = ["Format", "write"]

type Format = Literal["csv", "jcamp", "tm27"]

_BY_EXTENSION: dict[str, Format] = {
    ".csv": "csv",
    ".dx": "jcamp",
    ".jcm": "jcamp",
    ".jdx": "jcamp",
    ".spdx": "tm27",
}
_FRACTIONS = ("transmittance", "reflectance")
_JCAMP_LINE = 76
# Of titles in CSV; readers take long lines for texts.
_LONGEST_LABEL = 100
# What SpectralQuantity can be, and its unit by custom.
_TM27_UNITS = {
    "flux": "W nm-1",
    "irradiance": "W m-2 nm-1",
    "radiance": "W m-2 sr-1 nm-1",
    "intensity": "W sr-1 nm-1",
    "transmittance": "1",
    "reflectance": "1",
}
_TM27_GEOMETRY = {"transmittance": "TransmissionGeometry", "reflectance": "ReflectionGeometry"}


def write(
    spectra: Spectrum | Sequence[Spectrum],
    path: str | os.PathLike[str],
    *,
    format: Format | None = None,
    overwrite: bool = False,
) -> None:
    """Write spectra to a file that `read` and the programs of others read.

    The file appears whole or not at all: it is written beside its place first.

    Parameters
    ----------
    spectra : Spectrum or sequence of Spectrum
        One or several; TM-27 holds one.
    path : path
    format : {"csv", "jcamp", "tm27"}, optional
        Without it the ending of the name says it: ``.csv``, ``.jdx``, ``.dx``, ``.jcm``,
        ``.spdx``.
    overwrite : bool
        Whether a file that is there may be replaced.

    Raises
    ------
    Refusal
        If the format cannot hold the spectra without loss, or is not known.
    FileExistsError
        If the file is there, and ``overwrite`` is not given.

    Notes
    -----
    CSV and JCAMP-DX state the unit of the values. TM-27 states none, so its values are written
    in the one that is customary: W m-2 nm-1 for irradiances, fractions for transmittances.

    Examples
    --------
    >>> import tempfile, os
    >>> import vekanalysis as vek
    >>> lens = vek.Spectrum(vek.Scan([400, 410], [0.25, 0.1]), "transmittance", "1", "lens 7")
    >>> with tempfile.TemporaryDirectory() as folder:
    ...     path = os.path.join(folder, "lens.jdx")
    ...     vek.write(lens, path)
    ...     vek.read(path)
    [<Spectrum 'lens 7': transmittance in 1, Scan(400→410[2])>]
    """
    several = [spectra] if isinstance(spectra, Spectrum) else list(spectra)
    if not several:
        raise Refusal("there is no spectrum to write")
    for spectrum in several:
        if not isinstance(spectrum, Spectrum):
            raise TypeError(f"write needs spectra; got {type(spectrum).__name__}")
        _check(spectrum)
    path = os.fspath(path)
    form = _format(path, format)
    if form == "tm27" and len(several) > 1:
        raise Refusal(f"{path}: TM-27 holds one spectrum a file, not {len(several)}")
    text = {"csv": _csv, "jcamp": _jcamp, "tm27": _tm27}[form](several)
    put = save if overwrite else create
    put(path, text.encode("utf-8"))


def _format(path: str, format: Format | None) -> Format:
    known: tuple[Format, ...] = get_args(Format.__value__)
    if format is not None:
        if format not in known:
            raise Refusal(f"format is {format!r}; it must be one of {', '.join(map(repr, known))}")
        return format
    found = _BY_EXTENSION.get(os.path.splitext(path)[1].lower())
    if found is None:
        raise Refusal(
            f"{path}: the ending does not say the format",
            Remedy("pass {}, {} or {}", tuple(("format", name) for name in known)),
        )
    return found


def _check(spectrum: Spectrum) -> None:
    """Refuse what no file could give back."""
    wavelengths, values = spectrum.scan.to_lists()
    if len(wavelengths) < 2:
        raise Refusal(f"{spectrum.where}: {len(wavelengths)} points, at least 2 are needed")
    if not (wavelengths[0] > 0.0 and math.isfinite(wavelengths[-1])):
        raise Refusal(f"{spectrum.where}: wavelengths must be finite and above zero")
    for wavelength, value in zip(wavelengths, values, strict=True):
        if not math.isfinite(value):
            raise Refusal(f"{spectrum.where}: the value at {wavelength:g} nm is {value}")
    if spectrum.unit is None and spectrum.kind in _FRACTIONS:
        raise Refusal(
            f"{spectrum.where}: its unit is not stated",
            Remedy("pass {} or {} to replace() first", (("unit", "1"), ("unit", "%"))),
        )


def _one_line(text: str) -> str:
    return "".join(char for char in " ".join(text.split()) if char.isprintable())


def _title(spectrum: Spectrum, others: Sequence[str]) -> str:
    """States kind and unit, and the label where that does not say something else."""
    kind = "" if spectrum.kind in ("unknown", "other") else spectrum.kind
    unit = f" [{spectrum.unit}]" if spectrum.unit else ""
    label = _one_line(spectrum.label)[:_LONGEST_LABEL]
    titles = [
        title
        for title in (
            f"{f'{label} {kind}'.strip()}{unit}".strip(),
            f"{label}{unit}".strip(),
            f"{kind or 'value'}{unit}",
        )
        if title and not names_wavelengths(title)
    ]
    exact = [title for title in titles if taken(state(title))[:2] == (spectrum.kind, spectrum.unit)]
    harmless = [title for title in titles if _says_nothing_else(title, spectrum)]
    title = [*exact, *harmless, f"value{unit}"][0]
    count = sum(other.endswith(title) for other in others)
    return f"{count + 1} {title}" if count else title


def _says_nothing_else(title: str, spectrum: Spectrum) -> bool:
    """Whether what is read from a title is less than what is known, but not another thing."""
    kind, unit, _ = taken(state(title))
    unstated = None if spectrum.unit else units.coherent(spectrum.kind)
    return kind in (spectrum.kind, "unknown", "other") and unit in (None, spectrum.unit, unstated)


def _csv(spectra: Sequence[Spectrum]) -> str:
    """A column each; where one has no point at a wavelength of another the cell is empty."""
    scans = [dict(spectrum.scan.items()) for spectrum in spectra]
    titles: list[str] = []
    for spectrum in spectra:
        titles.append(_title(spectrum, titles))
    stream = io.StringIO()
    rows = csv.writer(stream, lineterminator="\n")
    rows.writerow(["Wavelength [nm]", *map(csv_cell, titles)])
    for wavelength in sorted(set().union(*scans)):
        values = (scan.get(wavelength) for scan in scans)
        rows.writerow([repr(wavelength), *("" if v is None else repr(v) for v in values)])
    return stream.getvalue()


def _jcamp(spectra: Sequence[Spectrum]) -> str:
    blocks = [_jcamp_block(spectrum) for spectrum in spectra]
    if len(blocks) == 1:
        return blocks[0]
    head = _jcamp_head(f"{len(blocks)} spectra", "LINK")
    return "\n".join([*head, f"##BLOCKS= {len(blocks)}", *blocks]) + "##END=\n"


def _jcamp_head(title: str, data_type: str) -> list[str]:
    return [
        f"##TITLE= {_jcamp_text(title)}",
        "##JCAMP-DX= 4.24",
        f"##DATA TYPE= {data_type}",
        f"##ORIGIN= vekanalysis {version()}",
        "##OWNER= not stated",
    ]


def _jcamp_text(text: str) -> str:
    """One line without the signs of comments and labels."""
    return _one_line(text).replace("$$", "$ $").replace("##", "# #")


def _jcamp_block(spectrum: Spectrum) -> str:
    wavelengths, values = spectrum.scan.to_lists()
    first, last, count = wavelengths[0], wavelengths[-1], len(wavelengths)
    even = [first + i * (last - first) / (count - 1) for i in range(count)]
    lines = [
        *_jcamp_head(spectrum.label, _jcamp_type(spectrum, first)),
        "##XUNITS= NANOMETERS",
        f"##YUNITS= {_jcamp_unit(spectrum, max(values))}",
        "##XFACTOR= 1",
        "##YFACTOR= 1",
        f"##FIRSTX= {_affn(first)}",
        f"##LASTX= {_affn(last)}",
        f"##NPOINTS= {count}",
        f"##FIRSTY= {_affn(values[0])}",
        f"##MAXX= {_affn(last)}",
        f"##MINX= {_affn(first)}",
        f"##MAXY= {_affn(max(values))}",
        f"##MINY= {_affn(min(values))}",
    ]
    if even == wavelengths:
        lines += ["##XYDATA= (X++(Y..Y))", *_jcamp_lines(wavelengths, values)]
    else:
        points = zip(wavelengths, values, strict=True)
        lines += ["##XYPOINTS= (XY..XY)", *(f"{_affn(x)}, {_affn(y)}" for x, y in points)]
    return "\n".join([*lines, "##END=\n"])


def _jcamp_type(spectrum: Spectrum, first: float) -> str:
    if spectrum.kind in ("irradiance", "radiance", "intensity", "flux"):
        return "EMISSION SPECTRUM"
    return "UV/VIS SPECTRUM" if first < 800.0 else "INFRARED SPECTRUM"


def _jcamp_unit(spectrum: Spectrum, highest: float) -> str:
    """What YUNITS has for a kind and a unit; empty where nothing is known."""
    kind = "" if spectrum.kind in ("unknown", "other") else spectrum.kind.upper()
    unit = spectrum.unit
    if not kind or unit is None:
        return kind or _jcamp_text(unit or "")
    if unit == units.coherent(spectrum.kind) and (
        kind in ("ABSORBANCE", "COUNTS")
        or (spectrum.kind in _FRACTIONS and highest <= HIGHEST_FRACTION)
    ):
        return kind
    return f"{kind} ({unit})"


def _jcamp_lines(wavelengths: list[float], values: list[float]) -> list[str]:
    """Ordinates, as many in a line as it holds, behind the x of the first."""
    lines: list[str] = []
    line = ""
    for wavelength, value in zip(wavelengths, values, strict=True):
        text = _affn(value)
        if line and len(line) + len(text) < _JCAMP_LINE:
            line += f" {text}"
            continue
        if line:
            lines.append(line)
        line = f"{_affn(wavelength)} {text}"
    return [*lines, line]


def _affn(number: float) -> str:
    """The shortest text that gives the same double; E always with a sign."""
    text = repr(number).upper()
    return text.removesuffix(".0")


def _tm27(spectra: Sequence[Spectrum]) -> str:
    (spectrum,) = spectra
    if spectrum.scan.max_wavelength() < SHORTEST_IN_NM:
        raise Refusal(
            f"{spectrum.where}: wavelengths below {SHORTEST_IN_NM:g} nm would be taken for "
            "micrometres: TM-27 states no unit"
        )
    quantity, comment, spectrum = _tm27_quantity(spectrum)
    facts = dict(spectrum.metadata)
    today = datetime.datetime.now(datetime.UTC).date().isoformat()
    header = {
        "Manufacturer": facts.get("Manufacturer", ""),
        "CatalogNumber": spectrum.label,
        "Description": facts.get("Description") or spectrum.label or "spectrum",
        "DocumentCreator": facts.get("DocumentCreator") or f"vekanalysis {version()}",
        "MeasurementEquipment": facts.get("MeasurementEquipment", ""),
        "Laboratory": facts.get("Laboratory", ""),
        "ReportNumber": facts.get("ReportNumber", ""),
        "ReportDate": facts.get("ReportDate", ""),
        "DocumentCreationDate": facts.get("DocumentCreationDate") or today,
        "Comments": comment or facts.get("Comments", ""),
    }
    geometry = _TM27_GEOMETRY.get(quantity, "")
    distribution = {
        "SpectralQuantity": quantity,
        geometry: facts.get(geometry, "other") if geometry else "",
        "BandwidthFWHM": facts.get("BandwidthFWHM", ""),
        "BandwidthCorrected": facts.get("BandwidthCorrected", ""),
    }
    lines = ['<?xml version="1.0" encoding="UTF-8"?>']
    lines += ['<IESTM2714 xmlns="http://www.ies.org/iestm2714" version="1.0">', "  <Header>"]
    lines += _elements(header)
    lines += ["  </Header>", "  <SpectralDistribution>", *_elements(distribution)]
    lines += [
        f'    <SpectralData wavelength="{wavelength!r}">{value!r}</SpectralData>'
        for wavelength, value in spectrum.scan.items()
    ]
    return "\n".join([*lines, "  </SpectralDistribution>", "</IESTM2714>", ""])


def _elements(texts: dict[str, str]) -> list[str]:
    cleaned = {name: escape(_one_line(text)) for name, text in texts.items()}
    return [f"    <{name}>{text}</{name}>" for name, text in cleaned.items() if text]


def _tm27_quantity(spectrum: Spectrum) -> tuple[str, str, Spectrum]:
    """The word for the quantity, the comment that "other" needs, and the spectrum in its unit."""
    unit = _TM27_UNITS.get(spectrum.kind)
    if spectrum.unit == "a.u.":
        return "relative", "", spectrum
    if unit is None or spectrum.unit is None:
        what = "" if spectrum.kind in ("unknown", "other") else spectrum.kind
        in_unit = f" [{spectrum.unit}]" if spectrum.unit else ""
        return "other", f"Quantity: {what}{in_unit}", spectrum
    spectrum = spectrum.to(unit)
    if spectrum.kind in _FRACTIONS and max(spectrum.scan.values()) > HIGHEST_FRACTION:
        raise Refusal(
            f"{spectrum.where}: a {spectrum.kind} above {HIGHEST_FRACTION:g} would be taken for "
            "per cent: TM-27 states no unit"
        )
    return spectrum.kind, "", spectrum
