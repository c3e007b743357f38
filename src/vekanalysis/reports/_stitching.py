"""How well two spectra match, and the one that they make."""

from .._core import Scan, utils
from ..errors import Refusal
from ..spectrum import Spectrum
from ._base import Printable
from ._layout import Json, describe, interval
from ._report import spectrum_document

type _Range = tuple[float, float]


class Stitching(Printable):
    """Two spectra that overlap, and what they make.

    Attributes
    ----------
    spectra : (Spectrum, Spectrum)
    stretch : (float, float)
        Where they are compared, nm.
    target : float
        Below which the match has to be.
    result : utils.StitchResults
    joined : Scan or None
        The joined spectrum; None if they do not match.
    """

    def __init__(
        self,
        spectra: tuple[Spectrum, Spectrum],
        stretch: _Range,
        target: float,
        result: utils.StitchResults,
    ) -> None:
        self.spectra = spectra
        self.stretch = stretch
        self.target = target
        self.result = result
        self.joined: Scan | None = result.stitch_scan if result.success else None

    @property
    def relative_rms(self) -> float:
        """The root mean square of the differences, by the mean."""
        result = self.result
        return (result.error / result.n) ** 0.5 / result.average if result.average else float("nan")

    def _lines(self, encoding: str) -> list[str]:
        result, (first, second) = self.result, self.spectra
        joined = "-, no good match" if self.joined is None else f"{result.stitch_point:.2f} nm"
        facts = [
            ("1", describe(first)),
            ("2", describe(second)),
            ("compared", f"{result.n} points of 1, {interval(self.stretch)} nm"),
            ("factor of 2", f"{result.k:.6g}"),
            ("match", f"{result.percent_error_rms:.3g} (target: below {self.target:g})"),
            ("RMS difference", f"{100 * self.relative_rms:.2g} % of the mean"),
            ("joined at", joined),
        ]
        return [f"{name:<16}{fact}" for name, fact in facts]

    def document(self) -> dict[str, Json]:
        """The report as plain Python objects, as ``json()`` writes it."""
        result = self.result
        return {
            "title": "Stitching",
            "spectra": [spectrum_document(spectrum) for spectrum in self.spectra],
            "stretch_nm": [*self.stretch],
            "points": result.n,
            "factor": result.k,
            "match": result.percent_error_rms,
            "target": self.target,
            "relative_rms": self.relative_rms,
            "joined_at_nm": None if self.joined is None else result.stitch_point,
        }


def stitching(
    first: Spectrum,
    second: Spectrum,
    start: float | None = None,
    end: float | None = None,
    target: float = 0.01,
) -> Stitching:
    """Compare and join two spectra that overlap.

    Parameters
    ----------
    first, second : Spectrum
        The second is scaled to the first.
    start, end : float, optional
        Points of the first, in nm, between which they are compared; by default the first and the
        last that the second covers.
    target : float
        Below which the match has to be: see `utils.stitch_scans`.

    Returns
    -------
    Stitching

    Raises
    ------
    Refusal
        If they do not overlap, do not cross, or the stretch is not one.
    """
    stretch = _stretch(first, second, start, end)
    try:
        result = utils.stitch_scans(first.scan, second.scan, *stretch, target)
    except (IndexError, RuntimeError, ValueError) as error:
        raise Refusal(_reason(str(error), second, stretch)) from None
    return Stitching((first, second), stretch, target, result)


def _stretch(first: Spectrum, second: Spectrum, start: float | None, end: float | None) -> _Range:
    lowest, highest = second.range_nm
    shared = [wl for wl in first.scan.wavelengths() if lowest <= wl <= highest]
    if not shared:
        raise Refusal(
            f"{first.where} ({interval(first.range_nm)} nm) has no point within the range of "
            f"{second.where} ({interval(second.range_nm)} nm)"
        )
    ends = []
    for name, wanted, default in (("from", start, shared[0]), ("to", end, shared[-1])):
        if wanted is not None and wanted not in shared:
            nearest = min(shared, key=lambda wl: abs(wl - wanted))
            raise Refusal(
                f"{name} {wanted:.10g} nm: {first.where} has no point there that is within the "
                f"range of {second.where}; the nearest is {nearest:.10g}"
            )
        ends.append(default if wanted is None else wanted)
    if ends[1] < ends[0]:
        raise Refusal(f"from {ends[0]:.10g} nm is above to {ends[1]:.10g} nm")
    return ends[0], ends[1]


def _reason(text: str, second: Spectrum, stretch: _Range) -> str:
    where = f"{interval(stretch)} nm"
    if text == "failed to bracket the root":
        return (
            f"the spectra match but do not cross within {where}, so there is no place to join "
            "them without a step; try another stretch"
        )
    if text.startswith("Division by zero"):
        return f"{second.where}: it is 0 throughout {where}"
    return f"{text} (within {where})"
