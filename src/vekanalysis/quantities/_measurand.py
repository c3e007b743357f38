"""What a spectrum must be before a quantity is made of it."""

import math

from .. import units
from .._core.quantities import lie_within, widest_step
from ..errors import Refusal, Remedy
from ..spectrum import Spectrum

# No transmittance lies outside, whatever the noise of the measurement.
_LOWEST_FRACTION, _HIGHEST_FRACTION = -0.5, 1.5
_HIGHEST_PERCENT = 100.0 * _HIGHEST_FRACTION
# nm: what lies between points further apart is told, within the bands of the lens quantities,
# in which light is looked at, too.
_WIDEST_STEP = 20.0
_BANDS = (280.0, 780.0)

# Signals of detectors, as far as their unit is stated.
_SIGNALS = ("A", "V")
# What no light source has.
_OF_MATTER = ("transmittance", "reflectance", "absorbance", "responsivity")


def measurand(spectrum: Spectrum, kind: str) -> Spectrum:
    """The spectrum as one of a kind, in the unit that the quantities of that kind want.

    Parameters
    ----------
    spectrum : Spectrum
        What is there.
    kind : str
        "transmittance" gives fractions: per cent are divided, a stated absorbance is converted,
        and values of which nothing is stated are taken for fractions if they can be. "light" is
        any spectrum of a source or a detector's signal, and stays in its unit; what is stated to be
        another quantity, such as photons, is none. "responsivity" may be relative. Other
        kinds of ``vekanalysis.units.KINDS`` come in their coherent unit.

    Returns
    -------
    Spectrum
        With a note on all that was done or assumed.

    Raises
    ------
    Refusal
        If the spectrum is of another kind, or says too little.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> filter = vek.Spectrum(vek.Scan([400, 410], [1.0, 2.0]), "absorbance", "OD")
    >>> vek.quantities.measurand(filter, "transmittance").scan.values()
    [0.1, 0.01]
    """
    match kind:
        case "transmittance":
            return _with_gap_told(_checked_fractions(_as_transmittance(spectrum)))
        case "light":
            if _kind_of(spectrum) in _OF_MATTER or _is_no_light(spectrum):
                raise _other_kind(spectrum, "light source")
            return _with_gap_told(spectrum)
        case "responsivity":
            if _kind_of(spectrum) not in ("responsivity", "other", "unknown"):
                raise _other_kind(spectrum, "responsivity")
            return spectrum
    coherent = units.coherent(kind) if units.is_kind(kind) else None
    if not units.is_kind(kind) or coherent is None:
        raise ValueError(f"kind is {kind!r}; it must be 'light' or one of {units.KINDS[:-2]}")
    return _in_unit(spectrum, kind, coherent)


def _is_no_light(spectrum: Spectrum) -> bool:
    """Whether a spectrum is stated to be of what is not in proportion to the power per nm."""
    if spectrum.kind != "other" or spectrum.unit is None:
        return spectrum.kind == "other"
    unit = units.parse(spectrum.unit)
    return unit is not None and unit.kind is None and unit.base not in _SIGNALS


def _kind_of(spectrum: Spectrum) -> units.Kind:
    """Its kind, as far as that or the unit says it."""
    unit = None if spectrum.unit is None else units.parse(spectrum.unit)
    if spectrum.kind == "unknown" and unit is not None and unit.kind is not None:
        return unit.kind
    return spectrum.kind


def _other_kind(spectrum: Spectrum, wanted: str) -> Refusal:
    article = "an" if wanted[0] in "aeiou" else "a"
    unit = "its unit is not stated" if spectrum.unit is None else f"its unit is {spectrum.unit}"
    if spectrum.kind == "other" and spectrum.notes and wanted == "transmittance":
        # What was made of its title; of light every quantity has its reason, so it is shorter.
        unit = spectrum.notes[-1]
    remedy = None
    if spectrum.source.data_set is not None:
        remedy = Remedy("choose another with {}", (("data_sets", ...),))
    elif spectrum.source.column is not None:
        remedy = Remedy("choose other columns with {}", (("columns", ...),))
    if (kind := _kind_of(spectrum)) in ("other", "unknown"):
        return Refusal(f"{spectrum.where}: not known to be {article} {wanted}; {unit}", remedy)
    return Refusal(f"{spectrum.where}: {kind}, not {article} {wanted}; {unit}", remedy)


def _in_unit(spectrum: Spectrum, kind: units.Kind, coherent: str) -> Spectrum:
    if _kind_of(spectrum) != kind:
        raise _other_kind(spectrum, kind)
    if spectrum.unit is None:
        raise Refusal(
            f"{spectrum.where}: {kind} of which the unit is not stated",
            Remedy("pass {}", (("unit", coherent),)),
        )
    return spectrum.replace(kind=kind).to(coherent)


def _as_transmittance(spectrum: Spectrum) -> Spectrum:
    """In fractions, if what is stated lets them be had."""
    if spectrum.kind == "transmittance" and spectrum.unit == "1":
        return spectrum
    kind = _kind_of(spectrum)
    if kind == "absorbance" and spectrum.unit is not None:
        return spectrum.replace(kind=kind).to("1")
    unit = units.parse("1" if spectrum.unit is None else spectrum.unit)
    if kind not in ("transmittance", "unknown") or unit is None or unit.base != "1":
        raise _other_kind(spectrum, "transmittance")
    notes = spectrum.notes
    if spectrum.unit is None:
        what = "its unit is" if kind == "transmittance" else "kind and unit are"
        notes += (f"{what} not stated; the values are taken for fractions",)
    elif kind == "unknown":
        notes += (f"values in {unit.name}, taken for a transmittance",)
    taken = spectrum.replace(kind="transmittance", unit=unit.name, notes=notes)
    return taken if unit.name == "1" else taken.to("1")


def _with_gap_told(spectrum: Spectrum) -> Spectrum:
    """With a note on the widest gap between points in the bands."""
    start, end = widest_step(spectrum.scan, *_BANDS) or (0.0, 0.0)
    if end - start <= _WIDEST_STEP:
        return spectrum
    note = (
        f"points are up to {end - start:.10g} nm apart ({start:.10g}-{end:.10g} nm); what lies "
        "between was not measured"
    )
    if note in spectrum.notes:
        return spectrum
    return spectrum.replace(notes=(*spectrum.notes, note))


def _checked_fractions(spectrum: Spectrum) -> Spectrum:
    """Refuse what can be no transmittance."""
    scan = spectrum.scan
    if lie_within(scan, _LOWEST_FRACTION, _HIGHEST_FRACTION):
        return spectrum
    # Written so that NaN is among them.
    wrong = [
        point for point in scan.items() if not _LOWEST_FRACTION <= point[1] <= _HIGHEST_FRACTION
    ]
    wavelength, value = max(
        wrong, key=lambda point: abs(point[1]) if math.isfinite(point[1]) else math.inf
    )
    remedy = None
    if 0.0 < value <= _HIGHEST_PERCENT:
        remedy = Remedy("pass {} if the values are per cent", (("unit", "%"),))
    raise Refusal(
        f"{spectrum.where}: {value:g} at {wavelength:g} nm is no transmittance between 0 and 1",
        remedy,
    )
