"""The report of light sources."""

from collections.abc import Sequence
from typing import TYPE_CHECKING, Any

from .._core import Scan
from ..errors import Refusal
from ..quantities import LIGHT, PHOTOMETER, Figures, evaluate
from ..quantities import light as light_quantities
from ..spectrum import Spectrum
from ._inputs import Spectra, as_spectra
from ._report import Report
from ._uncertain import Draws, make_uncertainty

if TYPE_CHECKING:
    from ..uncertainty import Budget
else:
    Budget = Any  # that room is imported when it is used


def light(
    spectra: Spectra,
    white: Spectrum | Scan | str = "D65",
    *,
    f1_prime: bool = False,
    budget: Budget | None = None,
    draws: Draws = None,
    seed: int | None = None,
) -> Report:
    """What light sources are like.

    Parameters
    ----------
    spectra : Spectrum, Scan, mapping of str to one of them, or iterable of them
        Spectra of sources. An illuminance needs a spectral irradiance whose unit is stated.
    white : Spectrum, Scan or str
        The white of L*a*b*: a spectrum, or "A", "C", "D65" (CIE illuminants) or "E" (equal energy).
    f1_prime : bool
        Whether the spectra are also taken for relative responsivities of photometers.
    budget, draws, seed
        As of `lens`. With another white than D65 L*a*b* has no uncertainty.

    Returns
    -------
    Report

    Raises
    ------
    Refusal
        If the white has no light in the visible.
    ValueError
        If there is no illuminant of that name.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> sun = vek.Spectrum(vek.colorimetry.data.AM15G_ASTM_G17303(), "irradiance", "W m-2 nm-1")
    >>> round(vek.reports.light(sun).rows()[0]["illuminance"])
    109495
    """
    name = _white_name(white)
    quantities = light_quantities(name) + (PHOTOMETER if f1_prime else ())
    sources = as_spectra(spectra)
    figures = Figures(quantities, white)
    values = [figures.values(spectrum) for spectrum in sources]
    uncertainty = None
    if budget is not None:
        known = [q for q in quantities if name == "D65" or not q.key.startswith("CIELAB")]
        uncertainty = make_uncertainty(sources, known, budget, draws, seed)
    return Report("Light source report", sources, quantities, values, (), _figure, uncertainty)


def _white_name(white: Spectrum | Scan | str) -> str:
    if isinstance(white, str):
        return white.upper()
    spectrum = white if isinstance(white, Spectrum) else Spectrum(white, label="white")
    (luminance,) = evaluate(
        spectrum.scan, [record for record in LIGHT if record.key == "CIE_tristimulus_values.Y"]
    ).values()
    problem = luminance.problem or (None if luminance.value else "there is no light in the visible")
    if problem:
        raise Refusal(f"{spectrum.where}: not usable as a white: {problem}")
    return spectrum.label


def _figure(spectra: Sequence[Spectrum]) -> Any:
    from ._pictures import light_figure

    return light_figure(spectra)
