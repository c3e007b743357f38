"""Figures with their uncertainty, and what can be said of several together."""

import math
from collections.abc import Callable, Iterator, Mapping, Sequence
from functools import lru_cache
from types import MappingProxyType
from typing import Any, Final, NamedTuple

import numpy as np
from numpy.typing import ArrayLike

from .._core import uncertainty as kernels
from .._nearest import nearest
from .._views import HasViews, plain, restored
from ._rounding import rounded
from ._sizes import Floats

type Interval = tuple[float, float]

_ANY: Final[Interval] = (-math.inf, math.inf)
_FEW: Final = 10_000
"""Degrees of freedom below which a coverage factor takes its time."""


class Uncertain(NamedTuple):
    """A figure and its uncertainty.

    Attributes
    ----------
    value : float
    u : float
        Standard uncertainty, in the unit of the value.
    expanded : float
        Expanded uncertainty U = k u.
    k : float
        Coverage factor: of the t distribution with ``dof``, rounded down, degrees of freedom.
    dof : float
        Effective degrees of freedom (Welch and Satterthwaite); infinite if all are.
    contributions : mapping of str to float
        What each component does for one standard uncertainty of it: the budget table. With the
        sign of the effect where a component is one number; else, of many independent errors,
        their root sum of squares.
    interval : (float, float)
        value - U to value + U, as far as values are possible: no transmittance is below 0.
    """

    value: float
    u: float
    expanded: float
    k: float
    dof: float
    contributions: Mapping[str, float]
    interval: Interval

    def __str__(self) -> str:
        return str(rounded(self.value, self.expanded))

    def __reduce__(self) -> tuple[Any, ...]:
        return _restored, tuple(map(plain, self))


def _restored(*fields: Any) -> Uncertain:
    return Uncertain(*map(restored, fields))


class Results(HasViews, Mapping[str, Uncertain]):
    """Figures by key, with the covariance between them.

    Attributes
    ----------
    keys : as of any mapping
        The quantities that have a value.
    problems : mapping of str to str
        The quantities that have none, and why.
    coverage : float
        Probability of the intervals.

    A mapping of its own and not a dict, since its figures are worked out when they are asked for.
    """

    def __init__(
        self,
        keys: Sequence[str],
        values: Floats,
        effects: Mapping[str, Floats],
        dof: Mapping[str, float],
        coverage: float,
        problems: Mapping[str, str] = MappingProxyType({}),
        possible: Sequence[Interval] | None = None,
    ) -> None:
        """``effects`` has of each component an array (quantities, independent errors)."""
        self.coverage = coverage
        self._possible = possible
        self.problems = MappingProxyType(dict(problems))
        self._keys = tuple(keys)
        self._index = {key: i for i, key in enumerate(self._keys)}
        self._values = values
        self._effects = effects
        self._dof = dof
        names = list(effects)
        parts = [part_of(effects[name]) for name in names]
        self._parts = np.array(parts).reshape(len(names), len(keys))
        self._names = names
        self._u, self._effective = combined(self._parts, [dof[name] for name in names])

    def __getitem__(self, key: str) -> Uncertain:
        i = self._index.get(key)
        if i is None:
            raise KeyError(self._missing(key))
        dof = float(self._effective[i])
        k = coverage_factor(self.coverage, dof)
        u = float(self._u[i])
        parts = dict(zip(self._names, self._parts[:, i].tolist(), strict=True))
        value = float(self._values[i])
        possible = _ANY if self._possible is None else self._possible[i]
        interval = within((value - k * u, value + k * u), possible)
        return Uncertain(value, u, k * u, k, dof, MappingProxyType(parts), interval)

    def __iter__(self) -> Iterator[str]:
        return iter(self._keys)

    def __len__(self) -> int:
        return len(self._keys)

    def __repr__(self) -> str:
        return f"<Results: {len(self)} quantities, {len(self._names)} components>"

    def covering(self, coverage: float) -> Results:
        """The same with intervals of another probability."""
        return Results(
            self._keys,
            self._values,
            self._effects,
            self._dof,
            coverage,
            self.problems,
            self._possible,
        )

    def covariance(self, *keys: str) -> Floats:
        """Covariance between quantities.

        Parameters
        ----------
        *keys : str
            The quantities; by default all, in the order of the mapping.

        Returns
        -------
        numpy.ndarray
            Shape (q, q).
        """
        rows = [self._at(key) for key in keys or self._keys]
        total = np.zeros((len(rows), len(rows)))
        for effect in self._effects.values():
            total += effect[rows] @ effect[rows].T
        return total

    def correlation(self, a: str, b: str) -> float:
        """Correlation coefficient of two quantities; NaN if one of them is certain."""
        (aa, ab), (_, bb) = self.covariance(a, b)
        return float(ab / math.sqrt(aa * bb)) if aa > 0.0 and bb > 0.0 else math.nan

    def ratio(self, a: str, b: str) -> Uncertain:
        """Quantity ``a`` over quantity ``b``: what they have in common cancels.

        Raises
        ------
        ZeroDivisionError
            If ``b`` is 0.
        """
        over, under = self._value(a), self._value(b)
        return self._combined(over / under, (a, b), (1.0 / under, -over / under**2))

    def margin(self, a: str, b: str, factor: float = 1.0) -> Uncertain:
        """``a`` less ``factor`` times ``b``: how far ``a`` is below or above that limit."""
        value = self._value(a) - factor * self._value(b)
        return self._combined(value, (a, b), (1.0, -factor))

    def derive(self, function: Callable[..., float], *keys: str) -> Uncertain:
        """A figure that is computed of others, to first order.

        Its sensitivities are differences over one standard uncertainty of each quantity up and
        down.

        Parameters
        ----------
        function : callable
            Of as many numbers as there are keys.
        *keys : str

        Examples
        --------
        >>> results.derive(lambda x, y: 4 * x / (-2 * x + 12 * y + 3), "xy.x", "xy.y")  # u'
        """
        values = self._values[[self._at(key) for key in keys]]
        weights = np.zeros(len(keys))
        for i, key in enumerate(keys):
            step = np.zeros(len(keys))
            step[i] = u = self._u[self._at(key)]
            if u > 0.0:
                up, down = function(*(values + step)), function(*(values - step))
                weights[i] = (up - down) / (2.0 * u)
        return self._combined(float(function(*values)), keys, weights)

    def effect(self, component: str, keys: Sequence[str]) -> Floats:
        """What a component does to quantities: shape (quantities, independent errors)."""
        part: Floats = self._effects[component][[self._at(key) for key in keys]]
        return part

    def _combined(self, value: float, keys: Sequence[str], weights: ArrayLike) -> Uncertain:
        """The figure with that value whose error is the weighted sum of those of others."""
        rows, factors = [self._at(key) for key in keys], np.asarray(weights)
        effects = {name: (factors @ part[rows])[np.newaxis] for name, part in self._effects.items()}
        return Results(("",), np.array([value]), effects, self._dof, self.coverage)[""]

    def _at(self, key: str) -> int:
        if key not in self._index:
            raise KeyError(self._missing(key))
        return self._index[key]

    def _value(self, key: str) -> float:
        return float(self._values[self._at(key)])

    def _missing(self, key: str) -> str:
        reason = self.problems.get(key)
        return f"{key}: {reason}" if reason else f"no '{key}'{nearest(key, self._keys)}"


def coverage_factor(coverage: float, dof: float) -> float:
    """Coverage factor k for the effective degrees of freedom, which are rounded down to whole ones.

    Parameters
    ----------
    coverage : float
        Probability of the interval, between 0 and 1.
    dof : float
        Effective degrees of freedom, above 0; ``math.inf`` gives the normal distribution.

    Returns
    -------
    float
        Quantile (1 + coverage) / 2 of Student's t distribution (JCGM 100:2008, G.4).
    """
    whole = max(1.0, float(math.floor(dof))) if 0.0 < dof < math.inf else dof
    return _factor_of_whole(coverage, whole)


def _factor_of_whole(coverage: float, dof: float) -> float:
    # Of many it is had at once, of few it comes again and again.
    if dof < _FEW:
        return _kept_factor(coverage, dof)
    return kernels.coverage_factor(coverage, dof)


@lru_cache(maxsize=_FEW)
def _kept_factor(coverage: float, dof: float) -> float:
    return kernels.coverage_factor(coverage, dof)


def coverage_factors(coverage: float, dof: Floats) -> Floats:
    """The `coverage_factor` of each of many, which have whole degrees of freedom in common."""
    whole, places = np.unique(np.maximum(1.0, np.floor(dof)), return_inverse=True)
    few = int(np.searchsorted(whole, _FEW))
    kept = [_kept_factor(coverage, each) for each in whole[:few].tolist()]
    factors = np.concatenate([kept, kernels.coverage_factors(coverage, whole[few:])])
    result: Floats = factors[places].reshape(dof.shape)
    return result


def within(interval: Sequence[float] | Floats, possible: Interval) -> Interval:
    """The part of a coverage interval that is possible; all of it if none is.

    The truth is possible, so that the probability of the interval stays.
    """
    low, high = float(interval[0]), float(interval[1])
    inside = max(low, possible[0]), min(high, possible[1])
    return inside if inside[0] <= inside[1] else (low, high)


def part_of(effect: Floats) -> Floats:
    """Contribution of a component: signed if it is one number."""
    if effect.shape[1] == 1:
        return effect[:, 0]
    part: Floats = np.sqrt(np.einsum("ij,ij->i", effect, effect))
    return part


def combined(parts: Floats, dof: Sequence[float]) -> tuple[Floats, Floats]:
    """Standard uncertainties and effective degrees of freedom of independent contributions.

    After Welch and Satterthwaite (JCGM 100:2008, G.4.2), a component counting as one term.

    Parameters
    ----------
    parts : array of shape (..., components, quantities)
    dof : of each component

    Returns
    -------
    arrays of shape (..., quantities)
    """
    u: Floats = np.sqrt((parts**2).sum(axis=-2))
    finite = np.isfinite(dof)
    effective = np.full(u.shape, math.inf)
    if finite.any():
        some, whole = parts[..., finite, :], u[..., np.newaxis, :]
        share = np.divide(some, whole, out=np.zeros_like(some), where=whole > 0.0)
        total = (share**4 / np.array(dof)[finite, np.newaxis]).sum(axis=-2)
        # Below that they are as good as infinite, and 1 / total could be.
        np.divide(1.0, total, out=effective, where=total > 1e-12)
    return u, effective
