"""The uncertainty of the points of a spectrum, for pictures."""

import numpy as np

from ..spectrum import Spectrum
from ._budget import Budget
from ._case import case_of
from ._sizes import Floats


def of_points(spectrum: Spectrum, budget: Budget) -> Floats:
    """Standard uncertainty of each value of a transmittance, as a fraction, to first order.

    Parameters
    ----------
    spectrum : Spectrum
    budget : Budget

    Returns
    -------
    numpy.ndarray
        Shape (points): the root sum of squares of what the components do.

    Raises
    ------
    Refusal
        If the spectrum is no transmittance, or the budget does not fit to it.
    """
    case = case_of(spectrum, budget, ["ISO8980_3_tau_v"])
    variance = np.zeros(len(case.spectrum.values))
    for effect in case.prepared.effects(case.spectrum):
        if effect.form == "figure":
            continue
        if effect.both is not None:
            variance += (0.5 * (effect.both[0] - effect.both[1])) ** 2
        else:
            variance += (effect.rows**2).sum(axis=0)
    u: Floats = np.sqrt(variance)
    return u
