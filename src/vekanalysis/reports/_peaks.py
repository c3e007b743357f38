"""The report of peaks: where they are, how high, how wide, and how large."""

from collections.abc import Sequence
from typing import Any

from .._core import utils, version
from .._peaks import Baseline
from .._peaks import peaks as find_peaks
from ..spectrum import Spectrum
from ._base import Drawable
from ._inputs import Spectra, as_spectra
from ._layout import Heading, Json, aligned, note_lines, number, spectra_lines
from ._report import spectrum_document

_NOTES = {
    "valleys": "FWHM is the full width at half maximum over the straight line between the lowest "
    "points on either side, up to the neighbouring peaks; the area is that between the spectrum "
    "and this line. Lines that overlap are wider and larger than that.",
    "prominence": "FWHM is the full width at half of the prominence; the area is that above the "
    "height less the prominence, at most to the lowest points on either side.",
    "zero": "FWHM is the full width at half of the height over 0, '-' where the spectrum does not "
    "fall to half on both sides before it ends or rises above the peak; the area is that over 0 "
    "between the lowest points on either side.",
}
_OF_ALL = (
    "Prominence is the height over the higher one of the lowest values on either side, up to the "
    "next higher peak or the end. Noise has peaks, too: a least prominence keeps them out.",
    "Positions, heights and edges are those of the interpolated spectrum.",
)


class PeakReport(Drawable):
    """The peaks of some spectra.

    Attributes
    ----------
    spectra : tuple of Spectrum
    peaks : tuple of tuple of PeakShape
        For each spectrum its peaks, by wavelength.
    notes : tuple of str
    """

    def __init__(
        self,
        spectra: Sequence[Spectrum],
        peaks: Sequence[Sequence[utils.PeakShape]],
        baseline: Baseline = "valleys",
    ) -> None:
        self.spectra = tuple(spectra)
        self.peaks = tuple(map(tuple, peaks))
        self.baseline: Baseline = baseline
        self.notes = (_NOTES[baseline], *_OF_ALL)

    def figure(self) -> Any:
        """The spectra with their peaks marked, as a Matplotlib figure."""
        from ._pictures import peak_figure

        return peak_figure(self.spectra, self.peaks)

    def _lines(self, encoding: str) -> list[str]:
        lines: list[str] = [Heading(f"Peaks, vekanalysis {version()}"), ""]
        lines += spectra_lines(self.spectra)
        for count, (spectrum, found) in enumerate(
            zip(self.spectra, self.peaks, strict=True), start=1
        ):
            heading = (
                f"{'':>5}{'peak nm':>10}{'height':>13}{'prominence':>14}{'FWHM nm':>12}{'area':>12}"
                f"    {count}"
            )
            lines += ["", Heading(f"{heading} {spectrum.label}")]
            lines += [_row(place, peak) for place, peak in enumerate(found, start=1)]
            lines += [] if found else ["  no peaks"]
        return [*lines, "", Heading("Notes"), *note_lines(self.notes)]

    def document(self) -> dict[str, Json]:
        """The report as plain Python objects, as ``json()`` writes it."""
        return {
            "title": "Peaks",
            "version": version(),
            "baseline": self.baseline,
            "spectra": [
                spectrum_document(spectrum) | {"peaks": [_peak_document(peak) for peak in found]}
                for spectrum, found in zip(self.spectra, self.peaks, strict=True)
            ],
            "notes": [*self.notes],
        }


def _row(place: int, peak: utils.PeakShape) -> str:
    width = "-" if peak.width is None else f"{peak.width:.2f}"
    heights = [aligned(number(value), 6, 7) for value in (peak.height, peak.prominence)]
    row = f"{place:>5}{peak.wavelength:>10.2f}  {''.join(heights)}{aligned(width, 6, 3)}"
    return f"{row}{aligned(number(peak.area), 6, 7)}".rstrip()


def _peak_document(peak: utils.PeakShape) -> Json:
    return {
        "wavelength_nm": peak.wavelength,
        "height": peak.height,
        "prominence": peak.prominence,
        "left_nm": peak.left,
        "right_nm": peak.right,
        "fwhm_nm": peak.width,
        "area": peak.area,
        "baseline": peak.baseline,
    }


def peaks(
    spectra: Spectra,
    *,
    height: float | None = None,
    prominence: float | None = None,
    distance: float | None = None,
    width: float | None = None,
    baseline: Baseline = "valleys",
) -> PeakReport:
    """The peaks of spectra, with their heights, widths and areas.

    Parameters
    ----------
    spectra : Spectrum, Scan, mapping of str to one of them, or iterable of them
        In any unit.
    height, prominence, distance, width, baseline
        Which peaks, and what their widths are counted from, as in `vekanalysis.peaks`.

    Returns
    -------
    PeakReport

    Raises
    ------
    Refusal
        If a spectrum has too few points for its interpolation or values that are not finite.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> report = vek.reports.peaks(vek.read("examples/line-lamp.csv"), height=0.5)
    >>> [round(peak.wavelength, 2) for peak in report.peaks[0]]
    [365.03, 435.85, 546.1]
    """
    measured = as_spectra(spectra)
    found = [
        tuple(
            find_peaks(
                spectrum,
                height=height,
                prominence=prominence,
                distance=distance,
                width=width,
                baseline=baseline,
            )
        )
        for spectrum in measured
    ]
    return PeakReport(measured, found, baseline)
