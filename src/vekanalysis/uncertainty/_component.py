"""One line of an uncertainty budget."""

import math
from collections.abc import Iterable, Mapping, Sequence, Sized
from dataclasses import dataclass, fields
from functools import cached_property
from typing import Any, Final, Literal, NamedTuple, Self, get_args

import numpy as np

from .. import units
from .._core import Scan
from .._nearest import nearest
from ..errors import Refusal
from ..spectrum import Spectrum
from ._sizes import Curve, Factor, as_curve, correlation_factor, covariance_factor

type Kind = Literal[
    "noise",
    "gain",
    "offset",
    "wavelength",
    "wavelength-scale",
    "wavelength-jitter",
    "bandwidth",
    "non-linearity",
    "stray-light",
    "figure",
    "covariance",
]
type Distribution = Literal["normal", "t", "rectangular", "triangular", "arcsine"]
type Slit = Literal["triangular", "gaussian"]

KINDS: Final[tuple[Kind, ...]] = get_args(Kind.__value__)
DISTRIBUTIONS: Final[tuple[Distribution, ...]] = get_args(Distribution.__value__)

# Standard uncertainty of a half width of 1 (JCGM 100:2008, 4.3).
_HALF_WIDTHS: Final = {"rectangular": 3.0**-0.5, "triangular": 6.0**-0.5, "arcsine": 2.0**-0.5}

_SIZES: Final = ("standard", "expanded", "half_width", "covariance")
_ALWAYS: Final = frozenset(
    ("name", "kind", "standard", "expanded", "k", "half_width", "distribution", "dof", "shared")
)
# What a component can have beside that; what begins with "!" it must have.
_OTHERS: Final[Mapping[Kind, tuple[str, ...]]] = {
    "noise": ("!correlation", "relative", "unit"),
    "gain": ("unit",),
    "offset": ("unit",),
    "wavelength": (),
    "wavelength-scale": ("!pivot",),
    "wavelength-jitter": (),
    "bandwidth": ("!fwhm", "slit"),
    "non-linearity": ("unit",),
    "stray-light": ("unit", "band"),
    "figure": ("!quantities", "relative"),
    "covariance": ("covariance", "correlation", "relative"),
}
_WHY_REQUIRED: Final = {
    "correlation": (
        'it must be stated: "independent", "full", { length = ... } in nm or { matrix = ... }'
    ),
    "pivot": "the wavelength in nm at which the scale is right must be stated",
    "fwhm": "the bandwidth itself, in nm, must be stated",
    "quantities": "the keys of the quantities it adds to must be stated",
}
# Kinds whose size is a fraction, whatever the unit of the spectrum.
_FRACTIONS: Final = ("gain", "non-linearity", "stray-light")
# Errors that two spectra of one day do not have in common.
_OWN: Final = ("noise", "wavelength-jitter", "figure")


class InvalidComponent(Refusal):
    """A component that cannot be; ``key`` is what is wrong with it, None for the whole."""

    def __init__(self, reason: str, key: str | None = None) -> None:
        super().__init__(reason)
        self.key = key


class Correlation(NamedTuple):
    """How the errors of a component at two wavelengths hang together."""

    form: Literal["independent", "full", "length", "matrix"]
    length: float = math.nan
    factor: Factor | None = None


@dataclass(frozen=True, kw_only=True, eq=False)
class Component:
    """One cause of error, with its size and how it acts on a spectrum.

    Its size is one of ``standard``, ``expanded`` (with ``k``) and ``half_width`` (with a
    distribution): a number, or by wavelength as a mapping, pairs or a Scan, linear in between.
    A kind of "covariance" may have a covariance matrix in place of a size.

    Parameters
    ----------
    name : str
        A name for the budget table, its own within a budget.
    kind : str
        "noise", "gain", "offset", "wavelength", "wavelength-scale", "wavelength-jitter",
        "bandwidth", "non-linearity", "stray-light", "figure" or "covariance".
    standard, expanded, half_width : float or mapping or array_like or Scan, optional
        The size; see the kinds for its unit.
    k : float, optional
        Coverage factor of ``expanded``.
    distribution : str, optional
        "normal", "t", "rectangular", "triangular" or "arcsine": what draws come from. By
        default "t" where ``dof`` is finite, else "normal".
    dof : float
        Degrees of freedom of the size.
    unit : str, optional
        Unit of the size, such as "%". By default that of the spectrum's values (1, W m-2 nm-1
        and so on), and 1 of what is relative.
    relative : bool
        Whether the size is a fraction of the values, for "noise", "figure" and "covariance".
    correlation : str or mapping, optional
        Of "noise": "independent", "full", ``{"length": nm}`` for exp(-distance / length), or
        ``{"matrix": Matrix(wavelengths, values)}``.
    covariance : Matrix or array_like, optional
        Of "covariance"; an array belongs to the points of the spectrum.
    pivot : float, optional
        Of "wavelength-scale": the wavelength in nm at which the scale is right.
    fwhm : float, optional
        Of "bandwidth": the bandwidth in nm; the size is that of its error.
    slit : str, optional
        Of "bandwidth": "triangular" (the default) or "gaussian".
    band : (float, float), optional
        Of "stray-light": the wavelengths over which it is spread, by default all measured.
    quantities : sequence of str
        Of "figure": keys of the quantities that it adds to, all with the same error.
    shared : bool, optional
        Whether two spectra that `compare` compares have the error in common. By default all
        have but noise, wavelength-jitter and figure.

    Raises
    ------
    Refusal
        If something is missing, too much, out of range or contradictory.
    """

    name: str
    kind: Kind
    standard: Any = None
    expanded: Any = None
    half_width: Any = None
    k: float | None = None
    distribution: Distribution | None = None
    dof: float = math.inf
    unit: str | None = None
    relative: bool = False
    correlation: Any = None
    covariance: Any = None
    pivot: float | None = None
    fwhm: float | None = None
    slit: Slit | None = None
    band: tuple[float, float] | None = None
    quantities: Sequence[str] = ()
    shared: bool | None = None

    def __post_init__(self) -> None:
        self._check_names()
        self._check_keys()
        self._check_numbers()
        self._check_size()
        # Found out now, and not when the component is first used.
        _ = self.size, self.partial
        self._check_distribution()

    @classmethod
    def from_repeats(
        cls,
        name: str,
        repeats: Sequence[Spectrum | Scan],
        *,
        averaged: int,
        correlation: Any,
        relative: bool = False,
        **others: Any,
    ) -> Self:
        """The noise that repeated measurements of one object show (type A).

        Parameters
        ----------
        name : str
        repeats : sequence of Spectrum or Scan
            At least two with the same wavelengths.
        averaged : int
            How many scans the spectra are a mean of that the budget is for: 1 for a single
            scan. Standard uncertainties are the standard deviations over its square root.
        correlation : str or mapping
            As of a component, or "observed": that of the repeats themselves, so that a
            quantity has the scatter that it has among the repeats.
        relative : bool
            Whether sizes are taken as fractions of the mean.
        **others
            More arguments of a component: ``shared``, ``distribution``.

        Returns
        -------
        Component
            With one degree of freedom less than there are repeats.

        Raises
        ------
        Refusal
            If there are fewer than two, or their wavelengths differ.
        """
        from ._repeats import noise_of

        noise = noise_of(name, repeats, averaged, relative)
        values: dict[str, Any] = {"name": name, "relative": relative, "dof": noise.dof, **others}
        if correlation == "observed":
            return cls(kind="covariance", covariance=noise.factor, shared=False, **values)
        return cls(kind="noise", standard=noise.standard, correlation=correlation, **values)

    @cached_property
    def size(self) -> Curve | None:
        """Standard uncertainties, in the unit of the size; None with a covariance matrix."""
        for key in ("standard", "expanded", "half_width"):
            source = getattr(self, key)
            if source is None:
                continue
            try:
                curve = as_curve(source)
            except ValueError as error:
                raise self._wrong(f"{key} {error}", key) from None
            if (curve.values < 0.0).any():
                raise self._wrong(f"{key} must not be below 0", key)
            if key == "expanded" and self.k is not None:
                return curve.scaled(1.0 / self.k)
            if key == "half_width" and self.distribution is not None:
                return curve.scaled(_HALF_WIDTHS[self.distribution])
            return curve
        return None

    @cached_property
    def partial(self) -> Correlation | None:
        """The correlation over the wavelengths, of a component that may have any."""
        if self.covariance is not None:
            return Correlation("matrix", factor=self._factor("covariance"))
        source = self.correlation
        if source is None:
            return None
        if source == "independent" or source == "full":
            return Correlation(source)
        if isinstance(source, Mapping) and len(source) == 1:
            [(form, value)] = source.items()
            if form == "matrix":
                return Correlation("matrix", factor=self._factor("correlation"))
            if form == "length":
                return Correlation("length", self._number(value, "correlation", above=0.0))
        reason = f"correlation is {source!r}; {_WHY_REQUIRED['correlation']}"
        raise self._wrong(reason, "correlation")

    @property
    def is_shared(self) -> bool:
        """Whether two spectra of one day have the error in common."""
        return self.kind not in _OWN if self.shared is None else self.shared

    @property
    def law(self) -> Distribution:
        """What draws come from."""
        return self.distribution or ("t" if math.isfinite(self.dof) else "normal")

    def _check_names(self) -> None:
        if not isinstance(self.name, str) or not self.name.strip():
            raise InvalidComponent("a component needs a name", "name")
        for key, known in (("kind", KINDS), ("distribution", DISTRIBUTIONS), ("slit", _SLITS)):
            value = getattr(self, key)
            if value is None and key != "kind":
                continue
            if value not in known:
                raise self._wrong(f"{key} is {value!r}{nearest(str(value), known)}", key)

    def _check_keys(self) -> None:
        others = _OTHERS[self.kind]
        for key in others:
            if key.startswith("!") and not self._has(key[1:]):
                raise self._wrong(f"{key[1:]} is missing; {_WHY_REQUIRED[key[1:]]}", None)
        known = _ALWAYS.union(key.lstrip("!") for key in others)
        for field in fields(self):
            if field.name not in known and self._has(field.name):
                raise self._wrong(f"kind '{self.kind}' has no {field.name}", field.name)

    def _check_numbers(self) -> None:
        if self.unit is not None:
            unit = units.parse(self.unit)
            if unit is None:
                raise self._wrong(f"the unit '{self.unit}' is not understood", "unit")
            if unit.base != "1" and (self.relative or self.kind in _FRACTIONS):
                raise self._wrong(f"the unit '{self.unit}' is none of a fraction", "unit")
        if self.k is not None:
            self._number(self.k, "k", above=0.0)
        for key in ("pivot", "fwhm"):
            if getattr(self, key) is not None:
                self._number(getattr(self, key), key, above=0.0)
        if not _is_number(self.dof) or not self.dof > 0.0:
            raise self._wrong(f"dof is {self.dof!r}; it must be a number above 0", "dof")
        for key in ("relative", "shared"):
            if not isinstance(getattr(self, key), bool | None):
                raise self._wrong(f"{key} must be true or false", key)
        if self.band is not None:
            ends = tuple(self.band)
            if len(ends) != 2 or not all(map(_is_number, ends)) or not ends[0] < ends[1]:
                raise self._wrong("band must be two ascending wavelengths in nm", "band")
        if (
            isinstance(self.quantities, str)
            or not isinstance(self.quantities, Iterable)
            or not all(isinstance(key, str) for key in self.quantities)
        ):
            raise self._wrong("quantities must be a list of keys", "quantities")

    def _check_size(self) -> None:
        given = [key for key in _SIZES if self._has(key)]
        if not given:
            raise self._wrong("its size is missing: standard, expanded with k, or half_width", None)
        if len(given) > 1:
            raise self._wrong(f"has both {given[0]} and {given[1]}; one states the size", given[1])
        if (self.expanded is None) != (self.k is None):
            present, missing = ("expanded", "k") if self.k is None else ("k", "expanded")
            raise self._wrong(f"{present} needs {missing}", present)
        if self.half_width is not None and self.distribution not in _HALF_WIDTHS:
            raise self._wrong(
                "half_width needs a distribution: rectangular, triangular or arcsine", "half_width"
            )
        if self.kind == "figure" and self.size is not None and self.size.values.ndim:
            raise self._wrong("a figure has one size, not one by wavelength", given[0])
        if self.kind == "covariance" and (self.covariance is None) == (self.correlation is None):
            raise self._wrong(
                "kind 'covariance' needs a covariance matrix, or a size with the correlation", None
            )

    def _check_distribution(self) -> None:
        if self.distribution == "t" and not math.isfinite(self.dof):
            raise self._wrong("distribution 't' needs dof", "distribution")
        partial = self.partial
        if (
            partial is not None
            and partial.form in ("length", "matrix")
            and self.law not in ("normal", "t")
        ):
            raise self._wrong("a partial correlation needs a normal or t distribution", None)

    def _factor(self, key: str) -> Factor:
        source = getattr(self, key)
        if isinstance(source, Factor):
            return source
        try:
            if key == "covariance":
                return covariance_factor(source)
            return correlation_factor(source["matrix"])
        except ValueError as error:
            raise self._wrong(f"the matrix of {key} {error}", key) from None

    def _number(self, value: object, key: str, *, above: float) -> float:
        if not _is_number(value) or not above < float(value) < math.inf:  # type: ignore[arg-type]
            raise self._wrong(f"{key} is {value!r}; it must be a number above {above:g}", key)
        return float(value)  # type: ignore[arg-type]

    def _has(self, key: str) -> bool:
        value = getattr(self, key)
        is_empty = key == "quantities" and isinstance(value, Sized) and not len(value)
        return not (value is None or value is False or is_empty)

    def _wrong(self, reason: str, key: str | None) -> InvalidComponent:
        return InvalidComponent(f"component '{self.name}': {reason}", key)


_SLITS: Final[tuple[Slit, ...]] = get_args(Slit.__value__)
KEYS: Final = tuple(field.name for field in fields(Component))


def _is_number(value: object) -> bool:
    return isinstance(value, int | float | np.floating | np.integer) and not isinstance(value, bool)
