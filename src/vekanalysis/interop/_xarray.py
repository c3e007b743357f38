"""Scans as xarray arrays, and back."""

from typing import TYPE_CHECKING

from .._core import Interpolation, Scan
from .._optional import require
from ..reading import WavelengthUnit
from ..spectrum import Spectrum
from ._incoming import WAVELENGTH, Incoming, Missing, numbers, unit_of_coordinate
from ._plain import described

if TYPE_CHECKING:
    import xarray

# An alias, whose right side nobody evaluates before it is asked for.
type DataArray = xarray.DataArray


def to_dataarray(scan: Scan | Spectrum, name: str | None = None) -> DataArray:
    """Return a scan as an xarray DataArray over wavelength.

    Parameters
    ----------
    scan : Scan or Spectrum
        The spectrum.
    name : str, optional
        Name of the array; the label of a `Spectrum` if not given.

    Returns
    -------
    xarray.DataArray
        float64 values over the dimension and coordinate ``wavelength``, whose ``attrs`` state
        ``units`` ("nm"). The array's ``attrs`` hold ``epsilon`` and ``interpolation``, from
        which `from_dataarray` makes the same scan again, also after a way through netCDF; of
        a `Spectrum` also ``kind`` and ``units``.

    Raises
    ------
    ImportError
        If xarray is not installed.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> lens = vek.interop.to_dataarray(vek.Scan([400, 410], [0.25, 0.5]), "lens")
    >>> lens.sel(wavelength=410).item()
    0.5
    """
    xarray = require("xarray", "to_dataarray", "xarray")
    scan, label, attrs = described(scan)
    wavelengths, values = scan.to_numpy()
    coordinate = xarray.Variable(
        (WAVELENGTH,), wavelengths, {"units": "nm", "long_name": "wavelength"}
    )
    array: DataArray = xarray.DataArray(
        values,
        {WAVELENGTH: coordinate},
        (WAVELENGTH,),
        name=label if name is None else name,
        attrs=attrs,
    )
    return array


def from_dataarray(
    array: DataArray,
    *,
    wavelength_unit: WavelengthUnit | None = None,
    missing: Missing = "refuse",
    epsilon: float | None = None,
    interpolation: Interpolation | None = None,
) -> Scan:
    """Return the scan that a one-dimensional xarray DataArray holds.

    Parameters
    ----------
    array : xarray.DataArray
        Numbers over one dimension of any name. Its coordinate holds the wavelengths, in any
        order; a dimension without a coordinate of its own may have one other coordinate.
    wavelength_unit : {"nm", "um", "angstrom", "m"}, optional
        What the coordinate is in; the scan is in nm. The values stay as they are: those per
        um stay per um. Without it the coordinate must be in nm: another unit in its
        ``attrs["units"]`` is refused, and so are wavelengths that look like another unit
        where nothing is stated (all below 20, or all from 2500 up).
    missing : {"refuse", "drop", "keep"}
        What NaN among the values means: an error, no point, or a point with the value NaN.
    epsilon, interpolation
        Settings of the scan; those in ``attrs`` if not given, else those of ``Scan()``.

    Returns
    -------
    Scan
        A new scan. An array held by Dask is computed.

    Raises
    ------
    ValueError
        If the array has not one dimension or no wavelengths, if the wavelengths are not
        numbers, repeat, coincide within epsilon or are doubtful, if a value is not a number,
        or if ``missing`` is "refuse" and a value is missing.
    ImportError
        If xarray is not installed.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> import xarray as xr
    >>> lens = xr.DataArray([0.25, 0.5], {"wl": ("wl", [0.4, 0.41], {"units": "um"})})
    >>> vek.interop.from_dataarray(lens, wavelength_unit="um")
    Scan(400→410[2])
    """
    xarray = require("xarray", "from_dataarray", "xarray")
    if not isinstance(array, xarray.DataArray):
        raise TypeError(f"from_dataarray needs an xarray DataArray; got {type(array).__name__}")
    where = "array" if array.name is None else f"array '{array.name}'"
    if array.ndim != 1:
        dimensions = ", ".join(map(str, array.dims)) or "none"
        raise ValueError(
            f"{where}: it has {array.ndim} dimensions ({dimensions}); a spectrum has one: "
            "select one first"
        )
    dimension = array.dims[0]
    along = [name for name, coordinate in array.coords.items() if coordinate.ndim == 1]
    if dimension in along:
        along = [dimension]
    if len(along) != 1:
        got = ", ".join(f"'{name}'" for name in along) or "none"
        raise ValueError(
            f"{where}: it needs one coordinate along '{dimension}', the wavelengths; got {got}"
        )
    coordinate = array.coords[along[0]]
    unit = unit_of_coordinate(coordinate, along[0], wavelength_unit, where)
    incoming = Incoming(
        where,
        numbers(coordinate, f"the coordinate '{along[0]}'", where),
        numbers(array, "the values", where),
        unit,
        array.attrs,
    )
    return incoming.scan(wavelength_unit, missing, epsilon, interpolation)
