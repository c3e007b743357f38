"""Spectra at the wavelengths of the tables."""

import math
from typing import TYPE_CHECKING, Final

from .._core import Scan
from ..errors import Refusal
from ..spectrum import Spectrum
from ._measurand import measurand

if TYPE_CHECKING:  # NumPy is imported when a spectrum is brought to a grid
    import numpy as np
    from numpy.typing import NDArray

type _Floats = NDArray[np.float64]

TABLES: Final = 5.0
"""The step of the tables in nm."""

_MOST_POINTS: Final = 1_000_000


def on_grid(spectrum: Spectrum, step: float = TABLES, *, thinned: bool = False) -> Spectrum:
    """A transmittance at multiples of a step, as far as there are data.

    What was measured at such a wavelength stays as it is; between the points the scan interpolates.
    The quantities of a smooth spectrum that was measured in finer steps are then those that the
    standards define: at other wavelengths than the tables' a clear lens does not give 1.

    Parameters
    ----------
    spectrum : Spectrum
        What `measurand` takes for a transmittance.
    step : float
        In nm; that of the tables by default.
    thinned : bool
        Whether all points must have been measured: errors of points between would not be
        independent of each other, and no budget says how they depend.

    Returns
    -------
    Spectrum
        In fractions, with a note that says what was done.

    Raises
    ------
    Refusal
        If there are no data at a multiple of the step, if the spectrum cannot be interpolated, or
        if it would have to be and is to be ``thinned``.
    ValueError
        If the step is not above 0.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> lens = vek.Spectrum(vek.Scan(range(380, 781), [0.25] * 401))
    >>> vek.quantities.on_grid(lens).notes[-1]
    'brought to 380-780 nm, step 5 nm: 81 points, all of them measured'
    """
    import numpy as np

    if not (math.isfinite(step) and step > 0.0):
        raise ValueError(f"on_grid: step must be above 0, not {step!r}")
    spectrum = measurand(spectrum, "transmittance")
    scan = spectrum.scan
    if not spectrum.points:
        raise Refusal(f"{spectrum.where}: it has no points")
    low, high = spectrum.range_nm
    if (high - low) / step >= _MOST_POINTS or math.isinf(high / step):
        raise Refusal(f"{spectrum.where}: a step of {step:g} nm is too fine for its range")
    first, last = math.ceil(low / step - 1e-9), math.floor(high / step + 1e-9)
    if last < first:
        raise Refusal(f"{spectrum.where}: no multiple of {step:g} nm lies within its data")
    grid: _Floats = np.arange(first, last + 1) * np.float64(step)
    measured, values = _measured(scan, grid)
    between = int((~measured).sum())
    if between and thinned:
        raise Refusal(
            f"{spectrum.where}: {between} of the wavelengths in steps of {step:g} nm were not "
            "measured, and points between others have no errors of their own to be uncertain by"
        )
    if between:
        try:
            values[~measured] = scan(grid[~measured])
        except RuntimeError as error:
            raise Refusal(f"{spectrum.where}: it cannot be interpolated: {error}") from None
    how = "all of them measured" if not between else f"{between} of them interpolated"
    note = f"brought to {grid[0]:g}-{grid[-1]:g} nm, step {step:g} nm: {len(grid)} points, {how}"
    brought = Scan(grid, values, scan.epsilon, scan.interpolation)
    return spectrum.replace(scan=brought, notes=(*spectrum.notes, note))


def _measured(scan: Scan, grid: _Floats) -> tuple[NDArray[np.bool_], _Floats]:
    """Which wavelengths have a point, by a billionth of a nm, and its values."""
    import numpy as np

    wavelengths, points = scan.to_numpy()
    right = np.clip(np.searchsorted(wavelengths, grid), 0, len(wavelengths) - 1)
    left = np.maximum(right - 1, 0)
    nearer = np.abs(wavelengths[left] - grid) < np.abs(wavelengths[right] - grid)
    nearest = np.where(nearer, left, right)
    return np.abs(wavelengths[nearest] - grid) < 1e-9, points[nearest].copy()
