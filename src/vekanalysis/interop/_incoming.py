"""Scans of arrays that come from elsewhere, checked."""

import math
from collections.abc import Mapping
from typing import TYPE_CHECKING, Any, Literal, NamedTuple, get_args

from .._core import Interpolation, Scan
from .._optional import require
from ..reading import WavelengthUnit, check_finite, in_nm, stated_unit

if TYPE_CHECKING:
    import numpy.typing

type Missing = Literal["refuse", "drop", "keep"]
# An alias, whose right side nobody evaluates before it is asked for.
type NDArray = numpy.typing.NDArray[Any]

# What an index or a coordinate of wavelengths is called, and the attribute for its unit.
WAVELENGTH = "wavelength"
UNITS = "wavelength_units"


def numbers(data: Any, what: str, where: str) -> NDArray:
    numpy = require("numpy", "interop", "interop")
    try:
        # Object columns and pandas' own dtypes have missing values of other kinds.
        if hasattr(data, "to_numpy") and getattr(data.dtype, "kind", "O") not in "biufcMm":
            return data.to_numpy(dtype=float, na_value=math.nan)  # type: ignore[no-any-return]
        array = numpy.asarray(data)
        if array.dtype.kind not in "iuf":
            raise TypeError(array.dtype)
        return array.astype(float)  # type: ignore[no-any-return]
    except TypeError, ValueError:
        raise ValueError(f"{where}: {what} must be numbers; got {data.dtype}") from None


def unit_of_index(index: Any, attrs: Mapping[Any, Any]) -> str:
    """What is stated about the unit of a pandas index, or a name that may state it."""
    name = str(index.name or "")
    # A name given to the index after the attrs were set is the newer word.
    return name if stated_unit(name) else str(attrs.get(UNITS) or name)


def unit_of_coordinate(
    coordinate: Any, name: object, wavelength_unit: WavelengthUnit | None, where: str
) -> str:
    """The same of an xarray coordinate; ValueError if it is in something that is no length."""
    units = coordinate.attrs.get("units")
    if units and not stated_unit(str(units)) and wavelength_unit is None:
        raise ValueError(
            f"{where}: '{name}' is in {units}, not a wavelength in nm; pass wavelength_unit= if it "
            "is one"
        )
    return str(units or name)


class Incoming(NamedTuple):
    """A spectrum as another library holds it."""

    where: str
    wavelengths: NDArray
    values: NDArray
    unit: str
    """What is stated about the wavelengths' unit, or a name that may state it."""
    attrs: Mapping[Any, Any]

    def scan(
        self,
        wavelength_unit: WavelengthUnit | None,
        missing: Missing,
        epsilon: float | None,
        interpolation: Interpolation | None,
    ) -> Scan:
        """The scan of it; what the functions of `interop` say of these arguments holds."""
        check_finite(self.wavelengths.tolist(), self.where)
        wavelengths, values = self._points(missing)
        seen = set[float]()
        for wavelength in wavelengths:
            if wavelength in seen:
                raise ValueError(
                    f"{self.where}: wavelength {wavelength:g} is there twice; it must be once"
                )
            seen.add(wavelength)
        scan = Scan(
            in_nm(wavelengths, self.unit, wavelength_unit, self.where),
            values,
            self.attrs.get("epsilon", 1e-20) if epsilon is None else epsilon,
            self._interpolation() if interpolation is None else interpolation,
        )
        points = scan.to_numpy().shape[1]
        if points != len(wavelengths):
            raise ValueError(
                f"{self.where}: {len(wavelengths)} wavelengths make {points} points, since some "
                f"coincide within epsilon {scan.epsilon:g}; pass a smaller epsilon"
            )
        return scan

    def _points(self, missing: Missing) -> tuple[list[float], NDArray]:
        if missing not in get_args(Missing.__value__):
            raise ValueError(f"missing is {missing!r}; it must be 'refuse', 'drop' or 'keep'")
        absent = self.values != self.values
        if missing == "keep" or not absent.any():
            return self.wavelengths.tolist(), self.values
        if missing == "drop":
            return self.wavelengths[~absent].tolist(), self.values[~absent]
        raise ValueError(
            f"{self.where}: {absent.sum()} of {len(self.values)} values are missing (NaN), the "
            f"first at {self.wavelengths[absent.argmax()]:g}; pass missing='drop' to leave the "
            "points out or 'keep'"
        )

    def _interpolation(self) -> Interpolation:
        name = self.attrs.get("interpolation", "AKIMA")
        try:
            return Interpolation.__members__[name]
        except KeyError:
            known = ", ".join(Interpolation.__members__)
            raise ValueError(
                f"{self.where}: its attrs give interpolation '{name}'; it must be one of {known}"
            ) from None
