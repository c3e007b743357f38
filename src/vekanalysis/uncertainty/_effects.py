"""What the components of a budget do to a spectrum on its grid."""

import math
from collections.abc import Iterator
from typing import Final, NamedTuple

import numpy as np

from .. import units
from .._core import Scan
from .._core import uncertainty as kernels
from ..errors import Refusal
from ._budget import Budget
from ._component import Component
from ._sizes import Factor, Floats

# Variance of a slit in units of its full width at half maximum squared.
_SLIT_VARIANCES: Final = {"triangular": 1.0 / 6.0, "gaussian": 1.0 / (8.0 * math.log(2.0))}
# Kinds that need to know what a value of 0 and 1 is.
_OF_FRACTIONS: Final = ("non-linearity", "stray-light")
# Kinds whose size is in the unit of the spectrum, unless it is relative.
_OF_VALUES: Final = ("noise", "offset", "covariance")


class Measured(NamedTuple):
    """A measured spectrum."""

    scan: Scan
    wavelengths: Floats
    values: Floats
    # None where nobody states it.
    unit: units.Unit | None


class Effect(NamedTuple):
    """What one component does to a spectrum, for its standard uncertainty.

    - "value": one number for the whole spectrum, times ``rows[0]``; ``both`` has the spectra that
      it makes of the measured one, up and down
    - "shift": the same, by a shift of the wavelengths; ``rows[0]`` has the shifts in nm
    - "independent": a number of its own at each point, times ``rows[0]``
    - "jitter": the same by shifts of ``sizes`` in nm
    - "rows": independent numbers, each times its row
    - "chain": the same; ``sizes`` and the ``correlations`` of neighbours say it, too
    - "figure": none; the component adds ``rows[0]`` to quantities
    """

    component: Component
    form: str
    rows: Floats
    both: Floats | None = None
    sizes: Floats | None = None
    correlations: Floats | None = None


class Prepared:
    """A budget on the grid of a spectrum: all that does not depend on the values."""

    def __init__(self, budget: Budget, wavelengths: Floats) -> None:
        self.budget = budget
        self.wavelengths = wavelengths
        self._sizes: list[Floats] = []
        self._rows: dict[str, Floats] = {}
        self._correlations: dict[str, Floats] = {}
        for component in budget.components:
            what = f"component '{component.name}': its size"
            size = component.size
            # A covariance matrix has its sizes in itself.
            ones = np.ones(len(wavelengths))
            self._sizes.append(ones if size is None else size.on(wavelengths, what))
            partial = component.partial
            if partial is None:
                continue
            if partial.form == "matrix" and partial.factor is not None:
                self._rows[component.name] = _rows(component, partial.factor, wavelengths)
            elif partial.form == "length":
                decay = np.exp(-np.diff(wavelengths) / partial.length)
                self._correlations[component.name] = decay
                self._rows[component.name] = _chain(decay)

    def effects(self, spectrum: Measured) -> Iterator[Effect]:
        """What each component does to a spectrum on this grid."""
        for component, size in zip(self.budget.components, self._sizes, strict=True):
            scale = _scale(component, spectrum)
            yield self._effect(component, size * scale if scale != 1.0 else size, spectrum)

    def _effect(self, component: Component, size: Floats, spectrum: Measured) -> Effect:
        values = spectrum.values
        match component.kind:
            case "figure":
                return Effect(component, "figure", size[:1])
            case "gain":
                return _value(component, size * values, values)
            case "offset":
                return _value(component, size, values)
            case "non-linearity":
                return _value(component, 4.0 * size * values * (1.0 - values), values)
            case "stray-light":
                mean = _mean(spectrum, component.band)
                return _value(component, size * (mean - values), values)
            case "bandwidth":
                return _value(component, size * _per_nm_of_bandwidth(component, spectrum), values)
            case "wavelength":
                return _shift(component, size, spectrum)
            case "wavelength-scale":
                assert component.pivot is not None
                return _shift(component, size * (spectrum.wavelengths - component.pivot), spectrum)
            case "wavelength-jitter":
                up, down = kernels.shifted(spectrum.scan, np.stack((size, -size)))
                return Effect(component, "jitter", (0.5 * (up - down))[np.newaxis], sizes=size)
            case "noise" | "covariance":
                return self._correlated(component, size, values)

    def _correlated(self, component: Component, size: Floats, values: Floats) -> Effect:
        if component.relative:
            size = size * np.abs(values)
        partial = component.partial
        assert partial is not None
        match partial.form:
            case "independent":
                return Effect(component, "independent", size[np.newaxis])
            case "full":
                return _value(component, size, values)
            case "matrix":
                rows = self._rows[component.name]
                return Effect(component, "rows", rows * size)
            case "length":
                name = component.name
                rows, decay = self._rows[name] * size, self._correlations[name]
                return Effect(component, "chain", rows, sizes=size, correlations=decay)


def _value(component: Component, error: Floats, values: Floats) -> Effect:
    both = np.empty((2, len(values)))
    np.add(values, error, out=both[0])
    np.subtract(values, error, out=both[1])
    return Effect(component, "value", error[np.newaxis], both)


def _shift(component: Component, shifts: Floats, spectrum: Measured) -> Effect:
    both = kernels.shifted(spectrum.scan, np.array((shifts, -shifts)))
    return Effect(component, "shift", shifts[np.newaxis], both)


def _scale(component: Component, spectrum: Measured) -> float:
    """What sizes are multiplied by to be in the unit of the spectrum; refused if they cannot."""
    kind, have = component.kind, spectrum.unit
    if kind in _OF_FRACTIONS and have is not None and have.base != "1":
        raise Refusal(
            f"component '{component.name}': kind '{kind}' is for fractions, the spectrum is in "
            f"{have.name}"
        )
    stated = None if component.unit is None else units.parse(component.unit)
    if kind not in _OF_VALUES or component.relative:
        return 1.0 if stated is None else stated.scale
    if stated is not None and have is not None and stated.base != have.base:
        raise Refusal(
            f"component '{component.name}': its unit is {stated.name}, the spectrum is in "
            f"{have.name}"
        )
    # Without a unit sizes are in the coherent one.
    return (1.0 if stated is None else stated.scale) / (1.0 if have is None else have.scale)


def _per_nm_of_bandwidth(component: Component, spectrum: Measured) -> Floats:
    """Change of the values with the bandwidth.

    A slit of variance s^2 adds (s^2 / 2) times the second derivative, and s^2 is proportional to
    the bandwidth squared. The derivative is the difference over a distance of s, the scale on which
    the slit itself looks at the spectrum.
    """
    assert component.fwhm is not None
    variance = _SLIT_VARIANCES[component.slit or "triangular"] * component.fwhm**2
    step = np.full(len(spectrum.values), math.sqrt(variance))
    # As far as both sides have data.
    wavelengths = spectrum.wavelengths
    step = np.minimum(step, np.minimum(wavelengths - wavelengths[0], wavelengths[-1] - wavelengths))
    above, below = kernels.shifted(spectrum.scan, np.stack((step, -step)))
    difference = above - 2.0 * spectrum.values + below
    second = np.divide(difference, step * step, out=np.zeros_like(step), where=step > 0.0)
    result: Floats = second * (variance / component.fwhm)
    return result


def _mean(spectrum: Measured, band: tuple[float, float] | None) -> float:
    """Mean of the values over a band, trapezoidal; over all that is measured without one."""
    wavelengths, values = spectrum.wavelengths, spectrum.values
    first, last = (wavelengths[0], wavelengths[-1]) if band is None else band
    low, high = max(first, wavelengths[0]), min(last, wavelengths[-1])
    if not low < high:
        raise Refusal(f"the spectrum has no data in the band of stray light, {first:g}-{last:g} nm")
    inside = (wavelengths > low) & (wavelengths < high)
    x = np.concatenate(([low], wavelengths[inside], [high]))
    return float(np.trapezoid(np.interp(x, wavelengths, values), x) / (high - low))


def _rows(component: Component, factor: Factor, wavelengths: Floats) -> Floats:
    rows = factor.on(wavelengths, f"component '{component.name}': its matrix")
    if component.covariance is not None:
        return rows
    # Between the wavelengths of a correlation matrix the errors are linear, which would make them
    # smaller than the size says.
    even: Floats = rows / np.sqrt((rows * rows).sum(axis=0))
    return even


def _chain(decay: Floats) -> Floats:
    """Rows whose products are the correlations exp(-distance / length), ``decay`` of neighbours."""
    count = len(decay) + 1
    rows = np.zeros((count, count))
    for k in range(count):
        fresh = 1.0 if k == 0 else math.sqrt(1.0 - decay[k - 1] ** 2)
        rows[k, k:] = fresh * np.cumprod(np.concatenate(([1.0], decay[k:])))
    return rows
