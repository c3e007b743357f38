"""Sizes that are numbers or depend on the wavelength, and correlations between wavelengths."""

from collections.abc import Mapping
from typing import Any, Final, NamedTuple

import numpy as np
from numpy.typing import ArrayLike, NDArray

from .._core import Scan
from ..errors import Refusal

type Floats = NDArray[np.float64]

# How far a matrix of a certificate may be from one without negative eigenvalues, relative to the
# largest: digits are rounded, three in print.
_ROUNDED: Final = 1e-3
# How far numbers may be from those that they have to equal.
_EXACT: Final = 1e-6


class Curve(NamedTuple):
    """Numbers at wavelengths, linear in between; without wavelengths one at each point or for all.

    Attributes
    ----------
    wavelengths : numpy.ndarray or None
        Shape (n), nm, ascending.
    values : numpy.ndarray
        Shape (n), or () for a number that holds everywhere.
    """

    wavelengths: Floats | None
    values: Floats

    def on(self, grid: Floats, what: str) -> Floats:
        """Shape of ``grid``: the numbers there; refused where there are none."""
        if self.wavelengths is None:
            if self.values.ndim == 0:
                return np.full(grid.shape, self.values)
            if self.values.shape != grid.shape:
                raise Refusal(
                    f"{what} has {len(self.values)} numbers, the spectrum {len(grid)} points"
                )
            return self.values
        _check_range(self.wavelengths, grid, what)
        return np.interp(grid, self.wavelengths, self.values)

    def scaled(self, factor: float) -> Curve:
        return Curve(self.wavelengths, self.values * factor)


def as_curve(source: Any) -> Curve:
    """A number, pairs of wavelength and number, a Scan, or a number for each point.

    Raises
    ------
    ValueError
        If it is none of these; the text goes after the name of what it is.
    """
    if isinstance(source, Curve):
        return source
    if isinstance(source, Scan):
        source = source.items()
    elif isinstance(source, Mapping):
        source = sorted(source.items())
    if isinstance(source, bool | str):
        raise ValueError(f"must be a number, not {source!r}")
    try:
        values = np.array(source, dtype=np.float64)
    except TypeError, ValueError:
        raise ValueError("must be a number, or pairs of wavelength and number") from None
    if not np.isfinite(values).all():
        raise ValueError("has numbers that are not finite")
    if values.ndim < 2:
        if values.ndim == 1 and not len(values):
            raise ValueError("is empty")
        return Curve(None, values)
    if values.ndim != 2 or values.shape[1] != 2:
        raise ValueError("must be a number, or pairs of wavelength and number")
    wavelengths = np.ascontiguousarray(values[:, 0])
    if not (np.diff(wavelengths) > 0.0).all():
        raise ValueError("must have ascending wavelengths")
    return Curve(wavelengths, np.ascontiguousarray(values[:, 1]))


class Factor(NamedTuple):
    """Errors that are partly correlated, as sums of effects that are not.

    The covariance of the errors at wavelengths i and j is the sum over the rows k of
    ``rows[k, i] * rows[k, j]``; between the wavelengths the errors are linear.

    Attributes
    ----------
    wavelengths : numpy.ndarray or None
        Shape (n), nm, ascending; None for the points of the spectrum, whatever they are.
    rows : numpy.ndarray
        Shape (m, n).
    """

    wavelengths: Floats | None
    rows: Floats

    def on(self, grid: Floats, what: str) -> Floats:
        """Shape (m, points of ``grid``): the rows there."""
        count = self.rows.shape[1]
        if self.wavelengths is None:
            if count != len(grid):
                raise Refusal(f"{what} is for {count} points, the spectrum has {len(grid)}")
            return self.rows
        if np.array_equal(self.wavelengths, grid):
            return self.rows
        _check_range(self.wavelengths, grid, what)
        right = np.maximum(np.searchsorted(self.wavelengths, grid), 1)
        left = right - 1
        span = self.wavelengths[right] - self.wavelengths[left]
        share = (grid - self.wavelengths[left]) / span
        rows: Floats = self.rows[:, left] * (1.0 - share) + self.rows[:, right] * share
        return rows


class Matrix(NamedTuple):
    """A symmetric matrix over wavelengths.

    Attributes
    ----------
    wavelengths : array_like or None
        Shape (n), nm, ascending; None for the points of the spectrum, whatever they are.
    values : array_like
        Shape (n, n).
    """

    wavelengths: ArrayLike | None
    values: ArrayLike


def correlation_factor(source: Any) -> Factor:
    """The factor of a correlation matrix; ValueError, with a text as `as_curve`, if it is none."""
    wavelengths, values = _checked(source, "correlation")
    if not np.allclose(np.diagonal(values), 1.0, rtol=0.0, atol=_EXACT):
        raise ValueError("is no correlation matrix: its diagonal is not 1")
    return Factor(wavelengths, _rows(values, "correlation"))


def covariance_factor(source: Any) -> Factor:
    """The factor of a covariance matrix; ValueError, with a text as `as_curve`, if it is none."""
    wavelengths, values = _checked(source, "covariance")
    # Decomposed as a correlation, since variances may differ by orders of magnitude.
    scale = np.sqrt(np.diagonal(values))
    inverse = np.divide(1.0, scale, out=np.zeros_like(scale), where=scale > 0.0)
    return Factor(wavelengths, _rows(values * np.outer(inverse, inverse), "covariance") * scale)


def _checked(source: Any, name: str) -> tuple[Floats | None, Floats]:
    if not isinstance(source, Matrix):
        source = Matrix(None, source)
    try:
        values = np.array(source.values, dtype=np.float64)
        wavelengths = None
        if source.wavelengths is not None:
            wavelengths = np.array(source.wavelengths, dtype=np.float64)
    except TypeError, ValueError:
        raise ValueError("must be a matrix of numbers") from None
    if values.ndim != 2 or values.shape[0] != values.shape[1] or not len(values):
        raise ValueError("must be a square matrix")
    if not np.isfinite(values).all():
        raise ValueError("has numbers that are not finite")
    if np.diagonal(values).min() < 0.0:
        raise ValueError(f"is no {name} matrix: it has numbers below 0 in its diagonal")
    largest = np.sqrt(np.diagonal(values))
    limit = np.outer(largest, largest)
    _refuse_where(np.abs(values - values.T) > _EXACT * limit, "is not symmetric")
    _refuse_where(
        np.abs(values) > (1.0 + _EXACT) * limit, f"is no {name} matrix: beyond a correlation of 1"
    )
    if wavelengths is not None:
        if wavelengths.shape != values.shape[:1]:
            raise ValueError(f"has {len(values)} rows for {wavelengths.size} wavelengths")
        if not (np.diff(wavelengths) > 0.0).all():
            raise ValueError("must have ascending wavelengths")
    return wavelengths, 0.5 * (values + values.T)


def _refuse_where(wrong: NDArray[np.bool], reason: str) -> None:
    if wrong.any():
        row, column = np.argwhere(wrong)[0] + 1
        raise ValueError(f"{reason} in row {row}, column {column}")


def _rows(values: Floats, name: str) -> Floats:
    """Eigenvectors times the square roots of their eigenvalues, the largest first.

    Certificates state fewer independent errors than wavelengths, so that many eigenvalues are 0
    but for rounding: these are left out. (A Cholesky decomposition would fail.)
    """
    eigenvalues, vectors = np.linalg.eigh(values)
    largest = max(eigenvalues[-1], 0.0)
    if eigenvalues[0] < -_ROUNDED * largest:
        raise ValueError(
            f"is no {name} matrix: it has an eigenvalue of {eigenvalues[0]:.3g}, and none may be "
            "below 0"
        )
    kept = np.flatnonzero(eigenvalues > 1e-15 * largest)[::-1]
    return np.ascontiguousarray((vectors[:, kept] * np.sqrt(eigenvalues[kept])).T)


def _check_range(wavelengths: Floats, grid: Floats, what: str) -> None:
    low, high = wavelengths[0], wavelengths[-1]
    if len(grid) and (grid[0] < low or grid[-1] > high):
        raise Refusal(
            f"{what} is stated from {low:g} nm to {high:g} nm, the spectrum goes from "
            f"{grid[0]:g} nm to {grid[-1]:g} nm"
        )
