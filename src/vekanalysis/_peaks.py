"""The peaks of a scan or a spectrum."""

from typing import Literal

from ._core import Scan, utils
from .errors import Refusal
from .spectrum import Spectrum

__all__ = ["Baseline", "peaks"]

type Baseline = Literal["valleys", "prominence", "zero"]


def peaks(
    scan: Scan | Spectrum,
    *,
    height: float | None = None,
    prominence: float | None = None,
    distance: float | None = None,
    width: float | None = None,
    baseline: Baseline = "valleys",
) -> utils.PeakShapes:
    """The peaks of a scan or a spectrum: position, height, prominence, width and area.

    A stored point above both its neighbours is a peak, as is the middle of a plateau; the first
    and the last point are none. Position and height are those of the highest place of the
    interpolant beside it. Noise has peaks, too: ``prominence`` keeps it out.

    Parameters
    ----------
    scan : Scan or Spectrum
        Without NaN and infinities.
    height : float, optional
        Least height, in the unit of the values.
    prominence : float, optional
        Least prominence, in the unit of the values: how far a peak rises above the higher one of
        the lowest values on either side, up to the next higher peak or the end.
    distance : float, optional
        Least distance in nm: of two peaks that are closer the lower one goes.
    width : float, optional
        Least full width at half maximum in nm.
    baseline : {"valleys", "prominence", "zero"}
        What widths and areas are counted from: the straight line between the lowest points on
        either side, up to the neighbours among the peaks that ``height``, ``distance`` and
        ``prominence`` leave; the level of the height less the prominence; or 0.

    Returns
    -------
    PeakShapes
        A sequence in order of wavelength of PeakShape, with ``wavelength``, ``height``,
        ``prominence``, ``left``, ``right``, ``width``, ``area`` and ``baseline``. With "zero"
        ``left``, ``right`` and ``width`` are None where the scan rises above the peak before it
        has fallen to half of it, or ends. ``columns()`` gives the same as arrays, for a table.

    Raises
    ------
    Refusal
        (a ValueError) If a value is not finite, if the scan has no interpolation, too few points
        for it, or a polynomial through all points, or if an option is NaN, negative (but for
        ``height``) or another word.

    Notes
    -----
    The options are applied in this order: height, distance, prominence, width. On a scan of linear
    interpolation the peaks are those of ``scipy.signal.find_peaks``, and with the baseline
    "prominence" the widths those of ``scipy.signal.peak_widths``.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> lamp = vek.io.load_csv("examples/line-lamp.csv")
    >>> [(round(p.wavelength, 2), round(p.width, 2)) for p in vek.peaks(lamp, prominence=0.4)]
    [(365.03, 1.21), (404.65, 1.19), (435.84, 1.2), (546.09, 1.2)]
    """
    where = ""
    if isinstance(scan, Spectrum):
        where, scan = f"{scan.where}: ", scan.scan
    elif not isinstance(scan, Scan):
        raise TypeError(f"peaks needs a Scan or a Spectrum; got {type(scan).__name__}")
    try:
        return utils.peaks(
            scan,
            height=height,
            prominence=prominence,
            distance=distance,
            width=width,
            baseline=baseline,
        )
    except ValueError as error:
        raise Refusal(f"{where}{str(error).removeprefix('utils::peaks: ')}") from None
    except RuntimeError as error:
        raise Refusal(f"{where}no values between the points ({error})") from None
