"""Scans and records as plain Python objects."""

import math
from typing import Any

from .._core import Scan
from .._records import fields
from ..spectrum import Spectrum

type Plain = bool | int | float | str | list[Plain] | dict[str, Plain] | None


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
    if thing is None or isinstance(thing, bool | int | str):
        return thing
    if isinstance(thing, list):
        return [_plain(item, keep_nan) for item in thing]
    if isinstance(thing, Scan):
        wavelengths, values = thing.to_lists()
        return {
            "wavelength": _plain(wavelengths, keep_nan),
            "value": _plain(values, keep_nan),
            **settings(thing),
        }
    return {name: _plain(getattr(thing, name), keep_nan) for name in fields(type(thing))}


def settings(scan: Scan) -> dict[str, Plain]:
    return {"epsilon": scan.epsilon, "interpolation": scan.interpolation.name}


def described(given: Scan | Spectrum) -> tuple[Scan, str | None, dict[str, Plain]]:
    """Scan, label and attributes: the settings of the scan, kind and unit of a spectrum."""
    if not isinstance(given, Spectrum):
        return given, None, settings(given)
    scan = given.scan
    stated: dict[str, Plain] = {"kind": given.kind}
    if given.unit is not None:
        stated["units"] = given.unit
    return scan, given.label or None, settings(scan) | stated
