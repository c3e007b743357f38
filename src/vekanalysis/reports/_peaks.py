"""The report of peaks: where they are, how high and how wide."""

from collections.abc import Sequence
from typing import Any

from .._core import utils, version
from ..errors import Refusal
from ..spectrum import Spectrum
from ._base import Drawable
from ._inputs import Spectra, as_spectra
from ._layout import Heading, Json, aligned, note_lines, number, spectra_lines
from ._report import spectrum_document

_NOTES = (
    "FWHM is the full width at half of the height over 0, not over a background; '-' where the "
    "spectrum does not fall to half on both sides before it ends or rises above the peak.",
    "Positions and heights are those of the interpolated spectrum; a position is good to about "
    "0.0001 of itself at best.",
)


class PeakReport(Drawable):
    """The peaks of some spectra.

    Attributes
    ----------
    spectra : tuple of Spectrum
    peaks : tuple of tuple of Peak
        For each spectrum its peaks, by wavelength: see `utils.measure_peaks`.
    notes : tuple of str
    """

    def __init__(self, spectra: Sequence[Spectrum], peaks: Sequence[Sequence[utils.Peak]]) -> None:
        self.spectra = tuple(spectra)
        self.peaks = tuple(map(tuple, peaks))
        self.notes = _NOTES

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
            heading = f"{'':>5}{'peak nm':>10}{'height':>13}{'':5}{'FWHM nm':>9}    {count}"
            lines += ["", Heading(f"{heading} {spectrum.label}")]
            lines += [_row(place, peak) for place, peak in enumerate(found, start=1)]
            lines += [] if found else ["  no peaks"]
        return [*lines, "", Heading("Notes"), *note_lines(self.notes)]

    def document(self) -> dict[str, Json]:
        """The report as plain Python objects, as ``json()`` writes it."""
        return {
            "title": "Peaks",
            "version": version(),
            "spectra": [
                spectrum_document(spectrum) | {"peaks": [_peak_document(peak) for peak in found]}
                for spectrum, found in zip(self.spectra, self.peaks, strict=True)
            ],
            "notes": [*self.notes],
        }


def _row(place: int, peak: utils.Peak) -> str:
    width = "-" if peak.width is None else f"{peak.width:.2f}"
    height = aligned(number(peak.height), 6, 9)
    return f"{place:>5}{peak.wavelength:>10.2f}  {height}{aligned(width, 6, 3)}".rstrip()


def _peak_document(peak: utils.Peak) -> Json:
    return {"wavelength_nm": peak.wavelength, "height": peak.height, "fwhm_nm": peak.width}


def peaks(spectra: Spectra, min_height: float | None = None) -> PeakReport:
    """The peaks of spectra, with their heights and widths.

    Parameters
    ----------
    spectra : Spectrum, Scan, mapping of str to one of them, or iterable of them
        In any unit.
    min_height : float, optional
        Only peaks as high or higher.

    Returns
    -------
    PeakReport

    Raises
    ------
    Refusal
        If a spectrum has too few points for its interpolation.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> report = vek.reports.peaks(vek.read("examples/line-lamp.csv"), min_height=0.5)
    >>> [round(peak.wavelength, 2) for peak in report.peaks[0]]
    [365.03, 435.85, 546.1]
    """
    measured = as_spectra(spectra)
    found = [
        [peak for peak in _peaks(spectrum) if min_height is None or peak.height >= min_height]
        for spectrum in measured
    ]
    return PeakReport(measured, found)


def _peaks(spectrum: Spectrum) -> list[utils.Peak]:
    try:
        return utils.measure_peaks(spectrum.scan)
    except RuntimeError as error:
        raise Refusal(f"{spectrum.where}: no values between the points ({error})") from None
