"""Quantities of the arrays of other libraries, with their labels."""

from collections.abc import Iterable
from typing import TYPE_CHECKING, Any

from .._core import Interpolation
from .._optional import require
from ..quantities import Evaluator, Quantity
from ..reading import WavelengthUnit, in_nm, stated_unit
from ._incoming import WAVELENGTH, numbers

if TYPE_CHECKING:
    import xarray

# An alias, whose right side nobody evaluates before it is asked for.
type DataArray = xarray.DataArray


def quantities_of(
    array: DataArray,
    keys: Iterable[Quantity | str] | Quantity | str | None = None,
    dim: str = WAVELENGTH,
    *,
    wavelength_unit: WavelengthUnit | None = None,
    interpolation: Interpolation = Interpolation.AKIMA,
    epsilon: float = 1e-20,
) -> DataArray:
    """Return quantities of the spectra in an xarray DataArray.

    Parameters
    ----------
    array : xarray.DataArray
        Float64 or float32, in the unit that the quantities want: fractions for transmittances.
        Where Dask holds it nothing is computed yet: the quantities of a block are, when it is
        needed, where it is; the blocks are joined along the wavelength first.
    keys
        As of `vekanalysis.quantities.Evaluator`.
    dim : str
        The dimension along the spectra, whose coordinate holds the ascending wavelengths.
    wavelength_unit : {"nm", "um", "angstrom", "m"}, optional
        As of `from_dataarray`.
    interpolation, epsilon
        As of a `Scan`.

    Returns
    -------
    xarray.DataArray
        The dimension is replaced by ``quantity``, the last, whose coordinate holds the keys; all
        other dimensions and coordinates stay.

    Raises
    ------
    TypeError
        If it is no DataArray, or not of float64 or float32.
    ValueError
        If it has no such dimension or no wavelengths along it, if these do not ascend or are
        doubtful, or if a key is not known.
    ImportError
        If xarray is not installed.

    Examples
    --------
    >>> import numpy as np
    >>> import vekanalysis as vek
    >>> import xarray as xr
    >>> grid = np.arange(380.0, 781.0, 5.0)
    >>> lenses = xr.DataArray(
    ...     np.outer([0.25, 0.5], np.ones(81)), {"lens": ["a", "b"], "wavelength": grid}
    ... )
    >>> found = vek.interop.quantities_of(lenses, ["ISO8980_3_tau_v", "ISO12311_tau_sb"])
    >>> float(found.sel(lens="b", quantity="ISO8980_3_tau_v").round(9))
    0.5
    """
    xarray = require("xarray", "quantities_of", "interop")
    if not isinstance(array, xarray.DataArray):
        raise TypeError(f"quantities_of needs an xarray DataArray; got {type(array).__name__}")
    where = "array" if array.name is None else f"array '{array.name}'"
    if dim not in array.dims or dim not in array.coords:
        raise ValueError(f"{where}: it needs a dimension '{dim}' with a coordinate of wavelengths")
    if array.dtype.name not in ("float64", "float32"):
        raise TypeError(f"{where}: values of {array.dtype}; float64 or float32 is needed")
    coordinate = array.coords[dim]
    units = coordinate.attrs.get("units")
    if units and not stated_unit(str(units)) and wavelength_unit is None:
        raise ValueError(
            f"{where}: '{dim}' is in {units}, not a wavelength in nm; pass wavelength_unit= if it "
            "is one"
        )
    given = numbers(coordinate, f"the coordinate '{dim}'", where).tolist()
    wavelengths = in_nm(given, str(units or dim), wavelength_unit, where)
    evaluator = Evaluator(wavelengths, keys, interpolation=interpolation, epsilon=epsilon)
    if array.chunks is not None:
        array = array.chunk({dim: -1})
    options: dict[str, Any] = {"output_sizes": {"quantity": len(evaluator.keys)}}
    found: DataArray = xarray.apply_ufunc(
        evaluator,
        array,
        input_core_dims=[[dim]],
        output_core_dims=[["quantity"]],
        dask="parallelized",
        output_dtypes=[float],
        dask_gufunc_kwargs=options,
    )
    return found.assign_coords(quantity=list(evaluator.keys))
