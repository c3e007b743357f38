"""A spectrum that knows what it is of, in which unit, and where it comes from."""

import math
from collections.abc import Callable, Mapping
from itertools import pairwise
from types import MappingProxyType
from typing import Any, NamedTuple

from . import units
from ._core import Scan
from ._core.quantities import count_points
from .errors import Refusal, Remedy
from .units import Kind

__all__ = ["Source", "Spectrum"]


class Source(NamedTuple):
    """Where a spectrum comes from; what does not apply is None.

    Attributes
    ----------
    file : str or None
        The file, as it was named.
    data_set : str or None
        The data set of a measurement file, by a label that is its own within the file.
    column : str or None
        The column of a text file with several.
    reference : str or None
        The function of ``colorimetry.data`` that gives a built-in spectrum.
    sha256 : str or None
        The SHA-256 digest of the file's bytes, in hexadecimal digits.
    """

    file: str | None = None
    data_set: str | None = None
    column: str | None = None
    reference: str | None = None
    sha256: str | None = None


_NOWHERE = Source()


class Spectrum:
    """A scan, the kind of thing that it is of, its unit, and what is known about its origin.

    Immutable: `replace` and `to` return others.

    Parameters
    ----------
    scan : Scan
        The points, wavelengths in nm; copied.
    kind : str
        One of ``vekanalysis.units.KINDS``.
    unit : str, optional
        The unit of the values, in any spelling that is understood; None if nobody states it.
    label : str
        A name for tables and plots.
    source : Source
        Where it comes from.
    metadata : mapping of str to str
        What the file says of the measurement: sample, operator, instrument, date, slit, ...
        Copied, but for a ``types.MappingProxyType``, which the spectra of a file share.
    notes : sequence of str
        What was done to the numbers on the way, a line each.

    Raises
    ------
    Refusal
        If the kind is none, or the unit is not understood or not one of the kind's.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> lens = vek.Spectrum(vek.Scan([400, 410], [25, 50]), "transmittance", "%", "lens 7")
    >>> lens
    <Spectrum 'lens 7': transmittance in %, Scan(400→410[2])>
    >>> lens.to("1").scan.values()
    [0.25, 0.5]
    """

    __slots__ = ("_kind", "_label", "_metadata", "_notes", "_scan", "_source", "_unit")

    _scan: Scan
    _kind: Kind
    _unit: str | None
    _label: str
    _source: Source
    _metadata: Mapping[str, str]
    _notes: tuple[str, ...]

    def __init__(
        self,
        scan: Scan,
        kind: Kind = "unknown",
        unit: str | None = None,
        label: str = "",
        source: Source = _NOWHERE,
        metadata: Mapping[str, str] = MappingProxyType({}),
        notes: tuple[str, ...] = (),
    ) -> None:
        if not isinstance(scan, Scan):
            raise TypeError(f"Spectrum needs a Scan; got {type(scan).__name__}")
        self._set(_copied(scan), kind, unit, label, source, metadata, notes)

    def _set(
        self,
        scan: Scan,
        kind: Kind,
        unit: str | None,
        label: str,
        source: Source,
        metadata: Mapping[str, str],
        notes: tuple[str, ...],
    ) -> None:
        """Check and take what it is made of; the scan as it is, which nobody changes."""
        if not units.is_kind(kind):
            known = ", ".join(repr(name) for name in units.KINDS)
            raise Refusal(f"kind is {kind!r}; it must be one of {known}")
        if not isinstance(metadata, MappingProxyType):
            metadata = MappingProxyType(dict(metadata))
        take = object.__setattr__
        take(self, "_unit", None if unit is None else _checked_unit(kind, unit))
        take(self, "_source", source if type(source) is Source else Source(*source))
        take(self, "_scan", scan)
        take(self, "_kind", kind)
        take(self, "_label", str(label))
        take(self, "_metadata", metadata)
        take(self, "_notes", tuple(notes))

    def __setattr__(self, name: str, value: object) -> None:
        raise AttributeError(f"a Spectrum cannot be changed; replace({name.strip('_')}=...) does")

    def __delattr__(self, name: str) -> None:
        raise AttributeError("a Spectrum cannot be changed")

    @property
    def scan(self) -> Scan:
        """The points: a copy, wavelengths in nm."""
        return _copied(self._scan)

    @property
    def kind(self) -> Kind:
        """What it is of: one of ``vekanalysis.units.KINDS``."""
        return self._kind

    @property
    def unit(self) -> str | None:
        """The unit of the values, in its canonical spelling; None if it is not stated.

        A unit that is not understood stands as the file has it, and the kind is "unknown" then.
        """
        return self._unit

    @property
    def label(self) -> str:
        """A name for tables and plots."""
        return self._label

    @property
    def source(self) -> Source:
        """Where it comes from."""
        return self._source

    @property
    def metadata(self) -> Mapping[str, str]:
        """What the file says of the measurement; not to be changed."""
        return self._metadata

    @property
    def notes(self) -> tuple[str, ...]:
        """What was found and done on the way, a line each."""
        return self._notes

    @property
    def points(self) -> int:
        """How many points there are."""
        return count_points(self._scan)

    @property
    def range_nm(self) -> tuple[float, float]:
        """First and last wavelength in nm; RuntimeError if there are no points."""
        return self._scan.min_wavelength(), self._scan.max_wavelength()

    @property
    def steps_nm(self) -> tuple[float, float] | None:
        """Smallest and largest distance between neighbours in nm; None below two points."""
        wavelengths = self._scan.wavelengths()
        if len(wavelengths) < 2:
            return None
        # Rounded, since differences of decimal fractions are not exact: 0.1 nm steps are all equal.
        differences = [round(b - a, 9) for a, b in pairwise(wavelengths)]
        return min(differences), max(differences)

    @property
    def where(self) -> str:
        """Where it comes from, for messages: ``a.vek: Lens 7``; the label if nowhere."""
        source = self._source
        if source.reference is not None:
            return f"built-in {source.reference}"
        parts = (source.file, source.data_set if source.data_set is not None else source.column)
        return ": ".join(part for part in parts if part is not None) or self._label or "spectrum"

    def to(self, unit: str) -> Spectrum:
        """The same spectrum in another unit.

        Parameters
        ----------
        unit : str
            A unit of the same kind: per cent for fractions, ``mW cm-2 nm-1`` for
            ``W m-2 nm-1``. An absorbance becomes a transmittance with "1" or "%", a
            transmittance an absorbance (decadic, the optical density) with "OD".

        Returns
        -------
        Spectrum
            With a note that says what was done; this one if it is in that unit.

        Raises
        ------
        Refusal
            If the unit is not understood, if this spectrum states none, if one cannot become
            the other, or if a transmittance has points at or below 0, which have no absorbance.
        """
        wanted = units.parse(unit)
        if wanted is None:
            raise Refusal(f"the unit {unit!r} is not understood")
        if self._unit is None:
            raise Refusal(
                f"{self.where}: its unit is not stated, so it cannot be converted to {wanted.name}",
                Remedy("pass {} of it to replace() first", (("unit", ...),)),
            )
        have = units.parse(self._unit)
        if have is None:
            raise Refusal(f"{self.where}: its unit '{self._unit}' is not understood")
        if have.name == wanted.name:
            return self
        if have.base == wanted.base:
            return self._changed(lambda scan: _scaled(scan, have, wanted), wanted.name)
        if self._kind == "absorbance" and wanted.base == "1":
            return self._as_transmittance(have, wanted)
        if self._kind == "transmittance" and wanted.base == "OD":
            return self._as_absorbance(have, wanted)
        raise Refusal(
            f"{self.where}: {_described(self._kind, self._unit)} cannot be converted to "
            f"{wanted.name}"
        )

    def replace(self, **changes: Any) -> Spectrum:
        """The same spectrum with other attributes, by the names of the parameters."""
        attributes = self._attributes()
        if not changes.keys() <= attributes.keys():
            unknown, known = sorted(changes.keys() - attributes.keys()), ", ".join(attributes)
            raise TypeError(f"a Spectrum has no {unknown[0]!r}; it has {known}")
        if "scan" in changes:
            return Spectrum(**attributes | changes)
        made = object.__new__(Spectrum)
        made._set(**attributes | changes)
        return made

    def _attributes(self) -> dict[str, Any]:
        return {
            "kind": self._kind,
            "label": self._label,
            "metadata": self._metadata,
            "notes": self._notes,
            "scan": self._scan,
            "source": self._source,
            "unit": self._unit,
        }

    def _changed(
        self, convert: Callable[[Scan], Scan], unit: str, kind: Kind | None = None
    ) -> Spectrum:
        kind = kind or self._kind
        note = f"converted from {_described(self._kind, self._unit)} to {_described(kind, unit)}"
        return self.replace(
            scan=convert(self._scan), unit=unit, kind=kind, notes=(*self._notes, note)
        )

    def _as_transmittance(self, have: units.Unit, wanted: units.Unit) -> Spectrum:
        def convert(scan: Scan) -> Scan:
            densities = _scaled(scan, have, units.known("OD"))
            return _scaled(_mapped(densities, lambda a: 10.0**-a), units.known("1"), wanted)

        return self._changed(convert, wanted.name, "transmittance")

    def _as_absorbance(self, have: units.Unit, wanted: units.Unit) -> Spectrum:
        none = [(wl, value) for wl, value in self._scan.items() if not value > 0.0]
        if none:
            raise Refusal(
                f"{self.where}: {none[0][1]:g} at {none[0][0]:g} nm has no absorbance"
                + (f", nor have {len(none) - 1} more points" if len(none) > 1 else "")
            )

        def convert(scan: Scan) -> Scan:
            fractions = _scaled(scan, have, units.known("1"))
            densities = _mapped(fractions, lambda t: -math.log10(t))
            return _scaled(densities, units.known("OD"), wanted)

        return self._changed(convert, wanted.name, "absorbance")

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Spectrum):
            return NotImplemented
        return self._attributes() == other._attributes()

    __hash__ = None  # type: ignore[assignment]

    def __reduce__(self) -> tuple[type[Spectrum], tuple[Any, ...]]:
        values = self._attributes() | {"metadata": dict(self._metadata)}
        order = ("scan", "kind", "unit", "label", "source", "metadata", "notes")
        return Spectrum, tuple(values[name] for name in order)

    def __repr__(self) -> str:
        return f"<Spectrum {self._label!r}: {_described(self._kind, self._unit)}, {self._scan!r}>"


def _checked_unit(kind: Kind, text: str) -> str:
    """The canonical spelling; what is not understood stays, if nothing is claimed about it."""
    unit = units.parse(text)
    if unit is None:
        if kind in ("unknown", "other"):
            return text
        raise Refusal(f"the unit {text!r} is not understood")
    if not units.fits(kind, unit):
        raise Refusal(f"{unit.name} is no unit of {kind}")
    return "OD" if kind == "absorbance" and unit.name == "1" else unit.name


def _copied(scan: Scan) -> Scan:
    """A copy, without the array of numbers that copy.copy() makes: times 1 every bit stays."""
    return scan * 1.0


def _described(kind: Kind, unit: str | None) -> str:
    what = "unknown kind" if kind == "unknown" else kind
    return f"{what}, unit not stated" if unit is None else f"{what} in {unit}"


def _scaled(scan: Scan, have: units.Unit, wanted: units.Unit) -> Scan:
    multiplier, divisor = units.ratio(have, wanted)
    return scan * multiplier if divisor == 1.0 else scan / divisor


def _mapped(scan: Scan, function: Callable[[float], float]) -> Scan:
    wavelengths, values = scan.to_lists()
    return Scan(wavelengths, [function(v) for v in values], scan.epsilon, scan.interpolation)
