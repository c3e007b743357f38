"""Scans as pandas series and frames, and back."""

import math
from collections.abc import Iterable, Mapping
from typing import TYPE_CHECKING, Any, Literal

from .._core import Interpolation, Scan
from .._optional import require
from ..reading import WavelengthUnit, check_finite
from ..spectrum import Spectrum
from ._incoming import UNITS, WAVELENGTH, Incoming, Missing, numbers, unit_of_index
from ._plain import Plain, described

if TYPE_CHECKING:
    import numpy.typing
    import pandas

# Aliases, whose right side nobody evaluates before it is asked for: signatures can be shown
# without the libraries.
type ArrayLike = numpy.typing.ArrayLike
type DataFrame = pandas.DataFrame
type Series[T] = pandas.Series[T]


def to_series(scan: Scan | Spectrum, name: str | None = None) -> Series[float]:
    """Return a scan as a pandas Series over wavelength.

    Parameters
    ----------
    scan : Scan or Spectrum
        The spectrum.
    name : str, optional
        Name of the series; the label of a `Spectrum` if not given.

    Returns
    -------
    pandas.Series
        float64 values; the index ``wavelength`` has the stored wavelengths in nm. ``attrs``
        holds ``wavelength_units`` ("nm"), ``epsilon`` and ``interpolation``, from which
        `from_series` makes the same scan again; of a `Spectrum` also ``kind`` and ``units``,
        those of the values.

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
    pandas = require("pandas", "to_series", "pandas")
    scan, label, attrs = described(scan)
    wavelengths, values = scan.to_numpy()
    index = pandas.Index(wavelengths, name=WAVELENGTH)
    series = pandas.Series(values, index, name=label if name is None else name)
    series.attrs = {UNITS: "nm", **attrs}
    return series


def from_series(
    series: Series[Any],
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
    pandas = require("pandas", "from_series", "pandas")
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
    incoming = Incoming(
        where,
        numbers(series.index, "the index", where),
        numbers(series, "the values", where),
        unit_of_index(series.index, attrs),
        attrs,
    )
    return incoming.scan(wavelength_unit, missing, epsilon, interpolation)


def to_frame(
    scans: Scan | Spectrum | Mapping[str, Scan | Spectrum] | Iterable[Scan | Spectrum],
    *,
    grid: Literal["union", "common"] | ArrayLike = "union",
    outside: float = math.nan,
) -> DataFrame:
    """Return scans as a pandas DataFrame, one column a scan.

    Parameters
    ----------
    scans : Scan or Spectrum, or mapping of str to, or iterable of them
        The spectra. The columns of an iterable are numbered from 0, a scan's own is 0; a
        `Spectrum` has its label instead if it has one.
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
        ``wavelength_units`` and, as ``scans``, epsilon and interpolation of each column, kind
        and units of spectra.

    Raises
    ------
    ValueError
        If there is no scan, no common wavelength, or no value between the points where one is
        needed, or if two spectra have one label.
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
    pandas = require("pandas", "to_frame", "pandas")
    named, attrs = _named(scans)
    if isinstance(grid, str) and grid == "union":
        wavelengths = _union(named.values())
        columns = {name: _stored(scan, wavelengths, outside) for name, scan in named.items()}
    else:
        wavelengths = _grid(grid, list(named.values()))
        columns = {
            name: _evaluated(name, scan, wavelengths, outside) for name, scan in named.items()
        }
    frame = pandas.DataFrame(columns, index=pandas.Index(wavelengths, name=WAVELENGTH))
    frame.attrs = {UNITS: "nm", "scans": attrs}
    return frame


def from_frame(
    frame: DataFrame, *, wavelength_unit: WavelengthUnit | None = None
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
    pandas = require("pandas", "from_frame", "pandas")
    if not isinstance(frame, pandas.DataFrame):
        raise TypeError(f"from_frame needs a pandas DataFrame; got {type(frame).__name__}")
    if not frame.columns.is_unique:
        twice = frame.columns[frame.columns.duplicated()][0]
        raise ValueError(f"frame: two columns are named '{twice}'; the names must differ")
    return {
        name: from_series(column, wavelength_unit=wavelength_unit, missing="drop")
        for name, column in frame.items()
    }


def _named(scans: Any) -> tuple[dict[Any, Scan], dict[Any, dict[str, Plain]]]:
    """Scans and attributes by the names of their columns."""
    if isinstance(scans, Scan | Spectrum):
        scans = [scans]
    is_named = isinstance(scans, Mapping)
    named: dict[Any, Scan] = {}
    attrs: dict[Any, dict[str, Plain]] = {}
    for name, given in scans.items() if is_named else enumerate(scans):
        if not isinstance(given, Scan | Spectrum):
            raise TypeError(f"to_frame needs scans; '{name}' is a {type(given).__name__}")
        scan, label, stated = described(given)
        column = name if is_named or label is None else label
        if column in named:
            raise ValueError(f"to_frame: two spectra have the label '{column}'; give a mapping")
        named[column], attrs[column] = scan, stated
    if not named:
        raise ValueError("to_frame needs at least one scan; got none")
    return named, attrs


def _union(scans: Iterable[Scan]) -> list[float]:
    return sorted({wavelength for scan in scans for wavelength in scan})


def _grid(grid: ArrayLike, scans: list[Scan]) -> list[float]:
    if not isinstance(grid, str):
        numpy = require("numpy", "to_frame", "pandas")
        if numpy.ma.is_masked(grid):
            raise ValueError("grid: some of its wavelengths are masked; pass grid.compressed()")
        wavelengths = numbers(numpy.asarray(grid), "the wavelengths", "grid")
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
