"""Quantities of the arrays and frames of other libraries, with their labels."""

from collections.abc import Iterable, Mapping
from typing import TYPE_CHECKING, Any, overload

from .. import units
from .._core import Interpolation, Scan
from .._optional import require
from ..errors import Refusal
from ..quantities import Evaluator, Quantity, measurand
from ..reading import WavelengthUnit, in_nm
from ..spectrum import Source, Spectrum
from ._incoming import WAVELENGTH, numbers, unit_of_coordinate, unit_of_index

if TYPE_CHECKING:
    import pandas
    import xarray

# Aliases, whose right side nobody evaluates before it is asked for.
type DataArray = xarray.DataArray
type DataFrame = pandas.DataFrame
type Keys = Iterable[Quantity | str] | Quantity | str | None


@overload
def quantities_of(
    array: DataArray,
    keys: Keys = None,
    dim: str = WAVELENGTH,
    *,
    wavelength_unit: WavelengthUnit | None = None,
    interpolation: Interpolation = Interpolation.AKIMA,
    epsilon: float = 1e-20,
) -> DataArray: ...


@overload
def quantities_of(
    array: DataFrame,
    keys: Keys = None,
    *,
    wavelength_unit: WavelengthUnit | None = None,
    interpolation: Interpolation = Interpolation.AKIMA,
    epsilon: float = 1e-20,
) -> DataFrame: ...


def quantities_of(
    array: DataArray | DataFrame,
    keys: Keys = None,
    dim: str = WAVELENGTH,
    *,
    wavelength_unit: WavelengthUnit | None = None,
    interpolation: Interpolation = Interpolation.AKIMA,
    epsilon: float = 1e-20,
) -> DataArray | DataFrame:
    """Return quantities of the spectra in an xarray DataArray or a pandas DataFrame.

    Parameters
    ----------
    array : xarray.DataArray or pandas.DataFrame
        Float64 or float32, in the unit that the quantities want: fractions for transmittances.
        Where Dask holds it nothing is computed yet: the quantities of a block are, when it is
        needed, where it is; the blocks are joined along the wavelength first. A frame has a
        column a spectrum and wavelengths as its index, as `to_frame` makes it; what a spectrum
        lacks on the common grid is NaN, and so are the quantities that need it.
    keys
        As of `vekanalysis.quantities.Evaluator`.
    dim : str
        Of an array the dimension along the spectra, whose coordinate holds the ascending
        wavelengths.
    wavelength_unit : {"nm", "um", "angstrom", "m"}, optional
        As of `from_dataarray`.
    interpolation, epsilon
        As of a `Scan`.

    Returns
    -------
    xarray.DataArray or pandas.DataFrame
        Of an array: the dimension is replaced by ``quantity``, the last, whose coordinate holds
        the keys; all other dimensions and coordinates stay. Of a frame: a row a spectrum, a
        column a key.

    Raises
    ------
    TypeError
        If it is neither, or an array not of float64 or float32.
    ValueError
        If it has no such dimension or no wavelengths along it, if these do not ascend or are
        doubtful, or if a key is not known; a `Refusal` if its ``attrs`` state, as ``units`` or
        ``kind``, values that the quantities cannot be had from as they are.
    ImportError
        If the library is not installed.

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
    if hasattr(array, "columns"):
        return _of_frame(array, keys, wavelength_unit, interpolation, epsilon)
    xarray = require("xarray", "quantities_of", "xarray")
    if not isinstance(array, xarray.DataArray):
        raise TypeError(
            "quantities_of needs an xarray DataArray or a pandas DataFrame; got "
            f"{type(array).__name__}"
        )
    where = "array" if array.name is None else f"array '{array.name}'"
    if dim not in array.dims or dim not in array.coords:
        raise ValueError(f"{where}: it needs a dimension '{dim}' with a coordinate of wavelengths")
    if array.dtype.name not in ("float64", "float32"):
        raise TypeError(f"{where}: values of {array.dtype}; float64 or float32 is needed")
    coordinate = array.coords[dim]
    unit = unit_of_coordinate(coordinate, dim, wavelength_unit, where)
    given = numbers(coordinate, f"the coordinate '{dim}'", where).tolist()
    wavelengths = in_nm(given, unit, wavelength_unit, where)
    evaluator = Evaluator(wavelengths, keys, interpolation=interpolation, epsilon=epsilon)
    _check_stated(array.attrs, evaluator, where)
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


def _of_frame(
    frame: Any,
    keys: Keys,
    wavelength_unit: WavelengthUnit | None,
    interpolation: Interpolation,
    epsilon: float,
) -> DataFrame:
    pandas = require("pandas", "quantities_of", "pandas")
    if not isinstance(frame, pandas.DataFrame):
        raise TypeError(f"quantities_of needs a pandas DataFrame; got {type(frame).__name__}")
    if frame.index.nlevels != 1:
        raise ValueError("frame: its index has several levels; one, the wavelength, is needed")
    given = numbers(frame.index, "the index", "frame").tolist()
    unit = unit_of_index(frame.index, frame.attrs)
    wavelengths = in_nm(given, unit, wavelength_unit, "frame")
    evaluator = Evaluator(wavelengths, keys, interpolation=interpolation, epsilon=epsilon)
    attrs = frame.attrs.get("scans", {})
    columns = []
    for number, column in enumerate(frame.columns):
        where = f"frame: '{column}'"
        _check_stated(attrs.get(column, {}), evaluator, where)
        columns.append(numbers(frame.iloc[:, number], "the values", where))
    found: Any = evaluator(columns) if columns else []
    return pandas.DataFrame(found, index=frame.columns, columns=list(evaluator.keys))


def _check_stated(attrs: Mapping[Any, Any], evaluator: Evaluator, where: str) -> None:
    """Refuse values of another unit or kind than the quantities need, where that is stated."""
    kind, unit = str(attrs.get("kind")), units.parse(str(attrs.get("units") or ""))
    if unit is None and not units.is_kind(kind):
        return
    stated = Spectrum(
        Scan([550.0], [0.5]),
        kind if units.is_kind(kind) else "unknown",
        unit.name if unit else None,
        source=Source(where),
    )
    for needed in dict.fromkeys(evaluator.kinds):
        wanted = measurand(stated, needed)
        if wanted.scan != stated.scan:
            given = f"{stated.kind} in {stated.unit}"
            raise Refusal(f"{where}: its values are {given}; convert them to {wanted.unit} first")
