"""Scans and records in the terms of other libraries: pandas, xarray, and plain Python objects.

The libraries are imported by the functions that need them. What comes back from a round trip
is the scan that went out, to the last bit: wavelengths, values, epsilon and interpolation.

Wavelengths are in nm. Where the data that come in state another unit, or look like another
one, they are refused unless ``wavelength_unit`` says what is meant.
"""

import math
from collections.abc import Iterable, Mapping
from typing import TYPE_CHECKING, Any, Literal, get_args

from ._core import Interpolation, Scan
from ._optional import require
from ._records import fields
from ._wavelengths import WavelengthUnit, check_finite, in_nm, stated_unit

if TYPE_CHECKING:
    import pandas as pd
    import xarray as xr
    from numpy.typing import ArrayLike, NDArray

__all__ = [
    "as_dict",
    "from_dataarray",
    "from_frame",
    "from_series",
    "to_dataarray",
    "to_frame",
    "to_series",
]

type Missing = Literal["refuse", "drop", "keep"]
type Plain = bool | int | float | str | list[Plain] | dict[str, Plain] | None

_NAME = "wavelength"
_UNITS = "wavelength_units"


def to_series(scan: Scan, name: str | None = None) -> pd.Series[float]:
    """Return a scan as a pandas Series over wavelength.

    Parameters
    ----------
    scan : Scan
        The spectrum.
    name : str, optional
        Name of the series.

    Returns
    -------
    pandas.Series
        float64 values; the index ``wavelength`` has the stored wavelengths in nm. ``attrs``
        holds ``wavelength_units`` ("nm"), ``epsilon`` and ``interpolation``, from which
        `from_series` makes the same scan again.

    Raises
    ------
    ImportError
        If pandas is not installed.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> vek.interop.to_series(vek.Scan([400, 410], [0.25, 0.5]), "lens")
    wavelength
    400.0    0.25
    410.0    0.50
    Name: lens, dtype: float64
    """
    pandas = require("pandas", "to_series", "interop")
    wavelengths, values = scan.to_numpy()
    series = pandas.Series(values, pandas.Index(wavelengths, name=_NAME), name=name)
    series.attrs = {_UNITS: "nm", **_settings(scan)}
    return series


def from_series(
    series: pd.Series[Any],
    *,
    wavelength_unit: WavelengthUnit | None = None,
    missing: Missing = "refuse",
    epsilon: float | None = None,
    interpolation: Interpolation | None = None,
) -> Scan:
    """Return the scan that a pandas Series over wavelength holds.

    Parameters
    ----------
    series : pandas.Series
        Numbers, with wavelengths as its index, in any order.
    wavelength_unit : {"nm", "um", "angstrom", "m"}, optional
        What the index is in; the scan is in nm. The values stay as they are: those per um
        stay per um. Without it the index must be in nm: what ``attrs["wavelength_units"]``
        or the index's name states as something else is refused, and so are wavelengths that
        look like something else where nothing is stated (all below 20, or all from 2500 up).
    missing : {"refuse", "drop", "keep"}
        What NaN among the values means: an error, no point, or a point with the value NaN.
    epsilon, interpolation
        Settings of the scan; those in ``attrs`` if not given, else those of ``Scan()``.

    Returns
    -------
    Scan
        A new scan.

    Raises
    ------
    ValueError
        If the wavelengths are not numbers, repeat, coincide within epsilon or are doubtful,
        if a value is not a number, or if ``missing`` is "refuse" and a value is missing.
    ImportError
        If pandas is not installed.

    Examples
    --------
    >>> import pandas as pd
    >>> import vekanalysis as vek
    >>> vek.interop.from_series(pd.Series([0.25, 0.5], index=[400, 410]))
    Scan(400→410[2])
    """
    pandas = require("pandas", "from_series", "interop")
    if not isinstance(series, pandas.Series):
        raise TypeError(f"from_series needs a pandas Series; got {type(series).__name__}")
    where = "series" if series.name is None else f"series '{series.name}'"
    if series.index.nlevels != 1:
        raise ValueError(
            f"{where}: its index has {series.index.nlevels} levels; one, the wavelength, is needed"
        )
    attrs = dict(series.attrs)
    # A column of a frame from to_frame carries the settings of all columns.
    attrs |= attrs.get("scans", {}).get(series.name, {})
    name = str(series.index.name or "")
    return _scan(
        _numbers(series.index, "the index", where),
        _numbers(series, "the values", where),
        # A name given to the index after the attrs were set is the newer word.
        name if stated_unit(name) else str(attrs.get(_UNITS) or name),
        attrs,
        where,
        wavelength_unit,
        missing,
        epsilon,
        interpolation,
    )


def to_frame(
    scans: Mapping[str, Scan] | Iterable[Scan],
    *,
    grid: Literal["union", "common"] | ArrayLike = "union",
    outside: float = math.nan,
) -> pd.DataFrame:
    """Return scans as a pandas DataFrame, one column a scan.

    Parameters
    ----------
    scans : mapping of str to Scan, or iterable of Scan
        The spectra; the columns of an iterable are numbered from 0.
    grid : "union", "common" or array of float
        The wavelengths (nm) of the rows.

        - "union": all stored wavelengths of all scans, and only stored values, nothing
          interpolated: what a scan has not stored is ``outside``. Wavelengths are the same
          only if they are equal; epsilon plays no part.
        - "common": all stored wavelengths within the range that all scans cover, where each
          scan is evaluated as ``scan(wl)`` does; if none interpolates, the wavelengths that
          all have.
        - an array: each scan is evaluated there, in that order.
    outside : float
        What a scan has outside its range, and for "union" wherever it has no point. Note that
        ``scan(wl)`` itself says 0.0 there, which in a table would pass for a measured value.

    Returns
    -------
    pandas.DataFrame
        float64 columns over the index ``wavelength`` (nm). ``attrs`` holds
        ``wavelength_units`` and, as ``scans``, epsilon and interpolation of each column.

    Raises
    ------
    ValueError
        If there is no scan, no common wavelength, or no value between the points where one is
        needed.
    ImportError
        If pandas is not installed.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> scans = {
    ...     "a": vek.Scan([400, 410], [0.25, 0.5], interpolation=vek.LINEAR),
    ...     "b": vek.Scan([410, 420], [0.5, 0.75]),
    ... }
    >>> vek.interop.to_frame(scans)["b"].to_list()
    [nan, 0.5, 0.75]
    >>> vek.interop.to_frame(scans, grid=[405, 410])["a"].to_list()
    [0.375, 0.5]
    """
    pandas = require("pandas", "to_frame", "interop")
    named = dict(scans) if isinstance(scans, Mapping) else dict(enumerate(scans))
    for name, scan in named.items():
        if not isinstance(scan, Scan):
            raise TypeError(f"to_frame needs scans; '{name}' is a {type(scan).__name__}")
    if not named:
        raise ValueError("to_frame needs at least one scan; got none")
    if isinstance(grid, str) and grid == "union":
        wavelengths = _union(named.values())
        columns = {name: _stored(scan, wavelengths, outside) for name, scan in named.items()}
    else:
        wavelengths = _grid(grid, list(named.values()))
        columns = {
            name: _evaluated(name, scan, wavelengths, outside) for name, scan in named.items()
        }
    frame = pandas.DataFrame(columns, index=pandas.Index(wavelengths, name=_NAME))
    frame.attrs = {
        _UNITS: "nm",
        "scans": {name: _settings(scan) for name, scan in named.items()},
    }
    return frame


def from_frame(
    frame: pd.DataFrame, *, wavelength_unit: WavelengthUnit | None = None
) -> dict[str, Scan]:
    """Return the scans that the columns of a pandas DataFrame over wavelength hold.

    Each column goes through `from_series`; rows without a value are no points of its scan.

    Parameters
    ----------
    frame : pandas.DataFrame
        Columns of numbers, with wavelengths as the index.
    wavelength_unit : {"nm", "um", "angstrom", "m"}, optional
        What the index is in, see `from_series`.

    Returns
    -------
    dict of str to Scan
        New scans by the names of their columns.

    Raises
    ------
    ValueError
        As `from_series`, or if two columns have one name.
    ImportError
        If pandas is not installed.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> scans = {"a": vek.Scan([400, 410], [0.25, 0.5]), "b": vek.Scan([410, 420], [0.5, 0.75])}
    >>> vek.interop.from_frame(vek.interop.to_frame(scans)) == scans
    True
    """
    pandas = require("pandas", "from_frame", "interop")
    if not isinstance(frame, pandas.DataFrame):
        raise TypeError(f"from_frame needs a pandas DataFrame; got {type(frame).__name__}")
    if not frame.columns.is_unique:
        twice = frame.columns[frame.columns.duplicated()][0]
        raise ValueError(f"frame: two columns are named '{twice}'; the names must differ")
    return {
        name: from_series(column, wavelength_unit=wavelength_unit, missing="drop")
        for name, column in frame.items()
    }


def to_dataarray(scan: Scan, name: str | None = None) -> xr.DataArray:
    """Return a scan as an xarray DataArray over wavelength.

    Parameters
    ----------
    scan : Scan
        The spectrum.
    name : str, optional
        Name of the array.

    Returns
    -------
    xarray.DataArray
        float64 values over the dimension and coordinate ``wavelength``, whose ``attrs`` state
        ``units`` ("nm"). The array's ``attrs`` hold ``epsilon`` and ``interpolation``, from
        which `from_dataarray` makes the same scan again, also after a way through netCDF.

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
    xarray = require("xarray", "to_dataarray", "interop")
    wavelengths, values = scan.to_numpy()
    coordinate = xarray.Variable((_NAME,), wavelengths, {"units": "nm", "long_name": "wavelength"})
    array: xr.DataArray = xarray.DataArray(
        values, {_NAME: coordinate}, (_NAME,), name=name, attrs=_settings(scan)
    )
    return array


def from_dataarray(
    array: xr.DataArray,
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
    xarray = require("xarray", "from_dataarray", "interop")
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
    units = coordinate.attrs.get("units")
    if units and not stated_unit(str(units)) and wavelength_unit is None:
        raise ValueError(
            f"{where}: '{along[0]}' is in {units}, not a wavelength in nm; pass wavelength_unit= "
            "if it is one"
        )
    return _scan(
        _numbers(coordinate, f"the coordinate '{along[0]}'", where),
        _numbers(array, "the values", where),
        str(units or along[0]),
        array.attrs,
        where,
        wavelength_unit,
        missing,
        epsilon,
        interpolation,
    )


def as_dict(record: object, *, keep_nan: bool = False) -> dict[str, Plain]:
    """Return a record of the library as plain Python objects, for JSON, YAML or a database.

    Parameters
    ----------
    record : Scan, Observer or any record
        Such as `CIEXYZ`, `ScanStatistics` or what `io.load_vekfile` returns.
    keep_nan : bool
        Numbers that are not finite become None, since JSON has no word for them. With
        ``keep_nan=True`` they stay NaN and infinities.

    Returns
    -------
    dict
        The record's attributes by name, in their order: numbers, texts, lists and, for
        records inside, dicts. A scan is
        ``{"wavelength": [...], "value": [...], "epsilon": 1e-20, "interpolation": "AKIMA"}``,
        wavelengths in nm.

    Raises
    ------
    TypeError
        If ``record`` is not an object of this library.

    Examples
    --------
    >>> import json
    >>> import vekanalysis as vek
    >>> json.dumps(vek.interop.as_dict(vek.chromaticity.CIExy(0.3127, 0.329)))
    '{"x": 0.3127, "y": 0.329}'
    """
    if not isinstance(record, Scan) and not fields(type(record)):
        raise TypeError(f"as_dict needs a scan or a record; got {type(record).__name__}")
    plain = _plain(record, keep_nan)
    assert isinstance(plain, dict)
    return plain


def _plain(thing: Any, keep_nan: bool) -> Plain:
    if isinstance(thing, float):
        return thing if keep_nan or math.isfinite(thing) else None
    if isinstance(thing, bool | int | str):
        return thing
    if isinstance(thing, list):
        return [_plain(item, keep_nan) for item in thing]
    if isinstance(thing, Scan):
        wavelengths, values = thing.to_lists()
        return {
            "wavelength": _plain(wavelengths, keep_nan),
            "value": _plain(values, keep_nan),
            **_settings(thing),
        }
    return {name: _plain(getattr(thing, name), keep_nan) for name in fields(type(thing))}


def _settings(scan: Scan) -> dict[str, Plain]:
    return {"epsilon": scan.epsilon, "interpolation": scan.interpolation.name}


def _numbers(data: Any, what: str, where: str) -> NDArray[Any]:
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


def _scan(
    wavelengths: NDArray[Any],
    values: NDArray[Any],
    stated: str,
    attrs: Mapping[Any, Any],
    where: str,
    unit: WavelengthUnit | None,
    missing: Missing,
    epsilon: float | None,
    interpolation: Interpolation | None,
) -> Scan:
    wls = wavelengths.tolist()
    check_finite(wls, where)
    if missing not in get_args(Missing.__value__):
        raise ValueError(f"missing is {missing!r}; it must be 'refuse', 'drop' or 'keep'")
    absent = values != values
    if absent.any():
        if missing == "refuse":
            raise ValueError(
                f"{where}: {absent.sum()} of {len(wls)} values are missing (NaN), the first at "
                f"{wls[absent.argmax()]:g}; pass missing='drop' to leave the points out or 'keep'"
            )
        if missing == "drop":
            wls, values = wavelengths[~absent].tolist(), values[~absent]
    seen = set[float]()
    for wavelength in wls:
        if wavelength in seen:
            raise ValueError(f"{where}: wavelength {wavelength:g} is there twice; it must be once")
        seen.add(wavelength)
    scan = Scan(
        in_nm(wls, stated, unit, where),
        values,
        attrs.get("epsilon", 1e-20) if epsilon is None else epsilon,
        _interpolation(attrs, where) if interpolation is None else interpolation,
    )
    points = scan.to_numpy().shape[1]
    if points != len(wls):
        raise ValueError(
            f"{where}: {len(wls)} wavelengths make {points} points, since some coincide within "
            f"epsilon {scan.epsilon:g}; pass a smaller epsilon"
        )
    return scan


def _interpolation(attrs: Mapping[Any, Any], where: str) -> Interpolation:
    name = attrs.get("interpolation", "AKIMA")
    try:
        return Interpolation.__members__[name]
    except KeyError:
        known = ", ".join(Interpolation.__members__)
        raise ValueError(
            f"{where}: its attrs give interpolation '{name}'; it must be one of {known}"
        ) from None


def _union(scans: Iterable[Scan]) -> list[float]:
    return sorted({wavelength for scan in scans for wavelength in scan})


def _grid(grid: ArrayLike, scans: list[Scan]) -> list[float]:
    if not isinstance(grid, str):
        numpy = require("numpy", "to_frame", "interop")
        wavelengths = _numbers(numpy.asarray(grid), "the wavelengths", "grid")
        if wavelengths.ndim != 1:
            raise ValueError(f"grid: it has {wavelengths.ndim} dimensions; one is needed")
        check_finite(wavelengths.tolist(), "grid")
        return wavelengths.tolist()  # type: ignore[no-any-return]
    if grid != "common":
        raise ValueError(f"grid is {grid!r}; it must be 'union', 'common' or an array")
    if any(scan.is_interpolated() for scan in scans):
        grids = [scan.wavelengths() or [math.inf, -math.inf] for scan in scans]
        lowest = max(wavelengths[0] for wavelengths in grids)
        highest = min(wavelengths[-1] for wavelengths in grids)
        common = [wl for wl in _union(scans) if lowest <= wl <= highest]
    else:
        common = sorted(set.intersection(*(set(scan) for scan in scans)))
    if not common:
        raise ValueError("to_frame: the scans have no common wavelengths; grid='union' has all")
    return common


def _stored(scan: Scan, wavelengths: list[float], outside: float) -> list[float]:
    points = dict(scan.items())
    return [points.get(wavelength, outside) for wavelength in wavelengths]


def _evaluated(name: object, scan: Scan, wavelengths: list[float], outside: float) -> list[float]:
    points = scan.wavelengths()
    if not points:
        return [outside] * len(wavelengths)
    lowest, highest = points[0] - scan.epsilon, points[-1] + scan.epsilon
    try:
        return [scan(wl) if lowest <= wl <= highest else outside for wl in wavelengths]
    except RuntimeError as error:
        raise ValueError(
            f"to_frame: '{name}' has no values between its points ({error}); "
            "grid='union' needs none"
        ) from None
