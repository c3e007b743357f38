"""``vekanalysis peaks``: where the peaks of a spectrum are, how high and how wide."""

from argparse import Namespace
from collections.abc import Sequence
from typing import NamedTuple

from .. import utils
from .._core import Scan, version
from .._figures.errors import CommandError
from .._figures.spectra import Spectrum, read_spectra
from .output import Json, aligned, bold, emit, emit_json, number, one_line
from .report import spectra_lines, spectrum_document, wrap

_NOTES = (
    "FWHM is the full width at half of the height over 0, not over a background; '-' where the "
    "spectrum does not fall to half on both sides before it ends or rises above the peak.",
    "Positions and heights are those of the interpolated spectrum; a position is good to about "
    "0.0001 of itself at best.",
)
# Halvings after which an interval is as narrow as the numbers are.
_HALVINGS = 60


class Peak(NamedTuple):
    """A peak and, where it is defined, its full width at half maximum; nm."""

    wavelength: float
    height: float
    width: float | None


def run(arguments: Namespace) -> None:
    spectra = read_spectra(arguments.files, arguments.reference, arguments.data_set)
    lowest: float | None = arguments.min_height
    peaks = [
        [peak for peak in _peaks(spectrum) if lowest is None or peak.height >= lowest]
        for spectrum in spectra
    ]
    if arguments.plot:
        from .plot import plot_peaks

        plot_peaks(arguments.plot, spectra, [[peak[:2] for peak in found] for found in peaks])
    if arguments.json:
        emit_json(_document(spectra, peaks))
    else:
        emit(_text(spectra, peaks))


def _peaks(spectrum: Spectrum) -> list[Peak]:
    scan = spectrum.scan
    try:
        found = [*utils.find_peaks(scan).items()]
    except RuntimeError as error:
        raise CommandError(f"{spectrum.source}: no values between the points ({error})") from None
    points = [*scan.items()]
    return [Peak(wl, height, _width(scan, points, wl, height)) for wl, height in found]


def _width(
    scan: Scan, points: Sequence[tuple[float, float]], wavelength: float, height: float
) -> float | None:
    below = [point for point in reversed(points) if point[0] < wavelength]
    above = [point for point in points if point[0] > wavelength]
    left = _half_point(scan, wavelength, height, below)
    right = _half_point(scan, wavelength, height, above)
    return right - left if left is not None and right is not None else None


def _half_point(
    scan: Scan, peak: float, height: float, outwards: Sequence[tuple[float, float]]
) -> float | None:
    """Where the spectrum falls to half of ``height`` first, from the peak outwards."""
    inner = peak
    for outer, value in outwards:
        if value > height:
            return None
        if value <= 0.5 * height:
            return _crossing(scan, inner, outer, 0.5 * height)
        inner = outer
    return None


def _crossing(scan: Scan, inner: float, outer: float, level: float) -> float:
    """Between ``inner``, above ``level``, and ``outer``, by halving.

    ``utils.find_key`` may stop within 0.0001 of the wavelength, which is much of a narrow line.
    """
    for _ in range(_HALVINGS):
        middle = 0.5 * (inner + outer)
        if scan(middle) > level:
            inner = middle
        else:
            outer = middle
    return outer


def _text(spectra: Sequence[Spectrum], peaks: Sequence[Sequence[Peak]]) -> str:
    lines = [bold(f"Peaks, vekanalysis {version()}"), "", *spectra_lines(spectra)]
    for count, (spectrum, found) in enumerate(zip(spectra, peaks, strict=True), start=1):
        heading = f"{'':>5}{'peak nm':>10}{'height':>13}{'':5}{'FWHM nm':>9}    {count}"
        lines += ["", bold(one_line(f"{heading} {spectrum.label}"))]
        lines += [_row(place, peak) for place, peak in enumerate(found, start=1)] or ["  no peaks"]
    lines += ["", bold("Notes")]
    for note in _NOTES:
        lines += wrap(note, f"{'-':>6} ")
    return "\n".join(lines) + "\n"


def _row(place: int, peak: Peak) -> str:
    width = "-" if peak.width is None else f"{peak.width:.2f}"
    height = aligned(number(peak.height), 6, 9)
    return f"{place:>5}{peak.wavelength:>10.2f}  {height}{aligned(width, 6, 3)}".rstrip()


def _document(spectra: Sequence[Spectrum], peaks: Sequence[Sequence[Peak]]) -> Json:
    return {
        "title": "Peaks",
        "version": version(),
        "spectra": [
            spectrum_document(spectrum)
            | {
                "peaks": [
                    {"wavelength_nm": peak.wavelength, "height": peak.height, "fwhm_nm": peak.width}
                    for peak in found
                ]
            }
            for spectrum, found in zip(spectra, peaks, strict=True)
        ],
        "notes": [*_NOTES],
    }
