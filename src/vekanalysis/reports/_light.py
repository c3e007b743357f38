"""The report of light sources."""

from collections.abc import Iterable, Iterator, Mapping, Sequence
from typing import TYPE_CHECKING, Any

from .. import units
from .._core import Scan
from ..errors import Refusal
from ..quantities import LIGHT, PHOTOMETER, Figures, Quantity, Repeats, Value, evaluate, measurand
from ..quantities import light as light_quantities
from ..spectrum import Spectrum
from ._inputs import Objects, as_objects
from ._repeated import SCATTER, budgets_of, make_repeated
from ._report import Report
from ._uncertain import Draws, make_uncertainty

if TYPE_CHECKING:
    from ..uncertainty import Budget
else:
    Budget = Any  # that room is imported when it is used


_STEPS = (
    "Sums from 380 to 780 nm are in steps of 5 nm, or of 1 nm where the data have clearly more "
    "points; fidelity, alpha-opic quantities and S/P are in steps of 1 nm."
)
_COUNTS = (
    "values are counts: colours are right only if these are corrected for the spectral "
    "responsivity of the instrument"
)
_SIGNAL = "colours are right only if these are in proportion to the power per nm"
# CIE 13.3-1995: how far in CIE 1960 uv a source may be from its reference.
_RENDERING_LIMIT = 0.0054


def light(
    spectra: Objects,
    white: Spectrum | Scan | str = "D65",
    *,
    f1_prime: bool = False,
    full: bool = False,
    budget: Budget | None = None,
    draws: Draws = None,
    seed: int | None = None,
) -> Report:
    """What light sources are like.

    Parameters
    ----------
    spectra : Spectrum, Scan, Repeats, mapping of str to one of the first two, or iterable of them
        Spectra of sources. An illuminance needs a spectral irradiance whose unit is stated.
        `quantities.Repeats` count as one spectrum, their mean, to which a scan adds in proportion
        to its values even where these are relative.
    white : Spectrum, Scan or str
        The white of L*a*b*: a spectrum, or "A", "C", "D65" (CIE illuminants) or "E" (equal energy).
    f1_prime : bool
        Whether the spectra are also taken for relative responsivities of photometers.
    full : bool
        Whether the text has every quantity (all rendering indices, hue bins, alpha-opic quantities,
        hazards, L*a*b*) and not only what a certificate leads with. Rows and the document have
        them all in any case; without it only what the text has comes with its uncertainty.
    budget, draws, seed
        As of `lens`. With another white than D65 L*a*b* has no uncertainty.

    Returns
    -------
    Report

    Raises
    ------
    Refusal
        If the white has no light in the visible, or if repeats have no mean.
    ValueError
        If there is no illuminant of that name.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> sun = vek.Spectrum(vek.colorimetry.data.AM15G_ASTM_G17303(), "irradiance", "W m-2 nm-1")
    >>> round(vek.reports.light(sun).rows()[0]["illuminance"])
    109495
    """
    name = white_name(white)
    quantities = light_quantities(name) + (PHOTOMETER if f1_prime else ())
    objects = as_objects(spectra)
    sources = [with_warnings(_source(each)) for each in objects]
    figures = Figures(quantities, white)
    values = [figures.values(spectrum) for spectrum in sources]
    numbers = [{key: value.value for key, value in found.items()} for found in values]
    amounts = shown_amounts(numbers)
    repeats = make_repeated(objects, quantities, lambda spectrum: figures(spectrum)[0])
    notes = [_STEPS, *[SCATTER] * any(repeats), *_limits(sources, values)]
    uncertainty = None
    if budget is not None:
        budgets, said = budgets_of(budget, repeats)
        notes += said
        known = uncertain(quantities, amounts, name, full=full)
        uncertainty = make_uncertainty(sources, known, budgets, draws, seed)

    def draw(spectra: Sequence[Spectrum]) -> Any:
        from ._pictures import light_figure

        return light_figure(spectra, values)

    title = "Light source report"
    hidden = _hidden(quantities, amounts, full=full)
    return Report(
        title, sources, quantities, values, notes, draw, uncertainty, hidden, repeats=repeats
    )


def _source(item: Spectrum | Repeats) -> Spectrum:
    if not isinstance(item, Repeats):
        return item
    try:
        return item.mean
    except Refusal as error:
        # Spectra of sources are not brought to other wavelengths.
        raise Refusal(error.reason) from None


def with_warnings(spectrum: Spectrum) -> Spectrum:
    """The spectrum, with notes on gaps, and where its values are not those of a light yet."""
    try:
        spectrum = measurand(spectrum, "light")
    except Refusal:
        # Each quantity says why there is none.
        return spectrum
    unit = None if spectrum.unit is None else units.parse(spectrum.unit)
    if spectrum.kind == "counts" or (unit is not None and unit.kind == "counts"):
        return spectrum.replace(notes=(*spectrum.notes, _COUNTS))
    if spectrum.kind == "other" and spectrum.unit is not None and (unit is None or not unit.kind):
        return spectrum.replace(
            notes=(*spectrum.notes, f"values are in {spectrum.unit}: {_SIGNAL}")
        )
    return spectrum


def shown_amounts(rows: Sequence[Mapping[str, object]]) -> tuple[str, ...]:
    """Whether the text has irradiances or radiances, or both, by the numbers of its sources."""
    kinds = (("irradiance", "illuminance"), ("radiance", "luminance"))
    found = tuple(kind for kind, key in kinds if any(row[key] is not None for row in rows))
    # Where there is neither, the reason is given of the one that most sources are measured in.
    return found or ("irradiance",)


def uncertain(
    quantities: Iterable[Quantity], amounts: Sequence[str], white: str, *, full: bool = False
) -> list[Quantity]:
    """The quantities in the text; of L*a*b* no other white than D65 is known there."""
    hidden = _hidden(quantities, amounts, full=full)
    shown = [q for q in quantities if q.key not in hidden]
    return [q for q in shown if white == "D65" or not q.key.startswith("CIELAB")]


def _hidden(quantities: Iterable[Quantity], amounts: Sequence[str], *, full: bool) -> set[str]:
    """Keys that the text leaves out: details, and the irradiances or radiances of no spectrum."""
    others = {"irradiance", "radiance"}.difference(amounts)
    return {q.key for q in quantities if (q.is_detail and not full) or q.kind in others}


def _limits(spectra: Sequence[Spectrum], values: Sequence[Mapping[str, Value]]) -> Iterator[str]:
    for spectrum, found in zip(spectra, values, strict=True):
        distance = found["colour_rendering.distance"].value
        if distance is not None and distance > _RENDERING_LIMIT:
            yield (
                f"{spectrum.label}: {distance:.4f} from its reference in CIE 1960 uv, beyond the "
                f"{_RENDERING_LIMIT} for which CIE 13.3 is meant: take its indices with care."
            )


def white_name(white: Spectrum | Scan | str) -> str:
    """The name of a white; Refusal if it cannot be one."""
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
