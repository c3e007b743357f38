"""Quantities of arrays of spectra."""

from collections.abc import Iterable, Mapping, Sequence
from typing import TYPE_CHECKING, Any, Final

from .._core import Interpolation, Scan
from .._core.quantities import DERIVED, LENS, PHOTOMETER, Quantity, light, with_tables
from .._core.quantities import Evaluator as CompiledEvaluator
from ..spectrum import Spectrum
from ._values import Value, illuminant, records_of, white_of

if TYPE_CHECKING:
    import numpy as np
    from numpy.typing import ArrayLike, NDArray

    type Floats = NDArray[np.float64]
    type Grid = Sequence[float] | NDArray[Any]
else:
    Floats = ArrayLike = Grid = Any  # NumPy is imported when arrays are made

_EPSILON: Final = 1e-20


class Evaluator:
    """Quantities of many spectra that have the same wavelengths, prepared once.

    Gives what `evaluate` gives for each spectrum, to 1e-12 of the largest value: where a quantity
    is a weighted sum of the values on this grid it takes the sum, elsewhere it interpolates; it
    decides that itself. A NaN among the values makes NaN of all quantities that depend on it. A
    quantity without data in its band, or whose function refuses the grid, is NaN; `coverage` says
    why.

    Nothing changes by use, and a call releases the interpreter lock and runs in one thread (but for
    quantities that are had from their function alone, such as a hazard), so that
    threads may share one. It can be pickled, and is prepared anew where it arrives.

    Parameters
    ----------
    wavelengths : array of shape (N)
        In nm, ascending by more than ``epsilon``.
    keys : iterable of Quantity or str
        A catalogue, or records and keys of any of them, as `evaluate` takes them; by default that
        of lenses.
    interpolation, epsilon
        As of a `Scan`.
    white : Spectrum, Scan or str
        As of `evaluate`, as it is now.

    Raises
    ------
    ValueError
        If the wavelengths are not finite or do not ascend, or a key is not known; the text has the
        nearest key.

    Examples
    --------
    >>> import numpy as np
    >>> from vekanalysis import quantities
    >>> grid = np.arange(380.0, 781.0)
    >>> e = quantities.Evaluator(grid, ["ISO8980_3_tau_v", "ANSI_Z80_3_tau_spectral_min"])
    >>> lenses = np.linspace(0.25, 0.75, 3)[:, np.newaxis] * np.ones(len(grid))
    >>> e(lenses).round(12)
    array([[0.25, 0.25],
           [0.5 , 0.5 ],
           [0.75, 0.75]])
    >>> e.linear
    (True, False)
    >>> float(e.sensitivities(lenses[1])[0].sum().round(12))
    1.0
    """

    def __init__(
        self,
        wavelengths: Grid,
        keys: Iterable[Quantity | str] | Quantity | str | None = None,
        *,
        interpolation: Interpolation = Interpolation.AKIMA,
        epsilon: float = _EPSILON,
        white: Spectrum | Scan | str = "D65",
    ) -> None:
        records = records_of(LENS if keys is None else keys)
        self._illuminant = white if isinstance(white, str) else None
        # A copy, without the array of numbers that copy.copy() makes: its owner may change it.
        self._white = white_of(white) * 1.0
        self._form = interpolation, epsilon
        self._core = CompiledEvaluator(wavelengths, records, self._white, epsilon, interpolation)
        self._names = tuple((record.kind, record.key) for record in records)
        self._sets = tuple(record.table_set for record in records)
        self._own = {record.table_set: record.own_tables for record in records if record.table_set}
        self._coverage = tuple(map(Value._make, self._core.coverage))

    def __call__(self, values: ArrayLike, out: Floats | None = None) -> Floats:
        """The quantities of spectra.

        Parameters
        ----------
        values : array of shape (..., N)
            Float64 or float32 of any strides, from NumPy or anything that lends its memory, which
            is read where it is; lists of numbers are converted. In the unit that the quantities
            want: fractions for transmittances.
        out : array of shape (..., q), optional
            Takes the result: float64 of any strides, apart from the values.

        Returns
        -------
        array of shape (..., q)
            Float64, in the order of the keys; ``out`` if that is given.

        Raises
        ------
        TypeError
            If the values or ``out`` are of another type, or some values are masked.
        ValueError
            If a shape does not fit, or ``out`` overlaps the values or itself.
        RuntimeError
            If a built-in spectrum has been changed since this was made.
        """
        return self._core(values, out)

    def sensitivities(self, values: ArrayLike | None = None) -> Floats:
        """Change of each quantity with each value.

        Parameters
        ----------
        values : array of shape (N), optional
            The spectrum for which it is wanted; not needed when all quantities are `linear`.

        Returns
        -------
        array of shape (q, N)
            Unit of the quantity per unit of the values; NaN for refused quantities. By differences
            where an interpolant or the function is not linear, exact elsewhere.

        Raises
        ------
        TypeError, ValueError, RuntimeError
            As a call does, and if a spectrum is needed.
        """
        return self._core.sensitivities(values)

    @property
    def keys(self) -> tuple[str, ...]:
        """The keys of the quantities, in the order of the results."""
        return tuple(key for _, key in self._names)

    @property
    def kinds(self) -> tuple[str, ...]:
        """What each quantity is made of, as `measurand` takes it: "transmittance", "light" ..."""
        return tuple(kind for kind, _ in self._names)

    @property
    def wavelengths(self) -> Floats:
        """The grid in nm, shape (N), a copy."""
        return self._core.wavelengths

    @property
    def linear(self) -> tuple[bool, ...]:
        """Which quantities are linear in the values on this grid."""
        return self._core.linear

    @property
    def coverage(self) -> tuple[Value, ...]:
        """What the grid covers of each quantity's band, and what a clear lens gives.

        Without values; with the problem of quantities that are NaN for every spectrum.
        """
        return self._coverage

    @property
    def is_current(self) -> bool:
        """Whether the built-in spectra are still as they were when this was made."""
        if self._illuminant is not None and illuminant(self._illuminant) != self._white:
            return False
        return self._core.changed_table is None

    def is_for(self, scan: Scan, white: Spectrum | Scan | str) -> bool:
        """Whether a scan has this grid and these settings, white and built-in spectra included."""
        return self.fits(scan) and self._white == white_of(white) and self.is_current

    def fits(self, scan: Scan) -> bool:
        """Whether a scan has this grid, epsilon and interpolation."""
        return self._core.fits(scan)

    def row(self, scan: Scan) -> list[float | None]:
        """The quantities of a scan, as a call gives them for its values, without NumPy.

        Parameters
        ----------
        scan : Scan
            On the same grid, with the same settings.

        Returns
        -------
        list of float or None
            None for quantities that are refused on this grid.

        Raises
        ------
        ValueError
            If the scan has another grid or other settings.
        RuntimeError
            If a built-in spectrum has been changed since this was made.
        """
        (row,) = self._core.rows([scan])
        return row

    def rows(self, scans: Sequence[Scan]) -> list[list[float | None]]:
        """The `row` of each of some scans, four in the time of one."""
        return self._core.rows(scans)

    def __repr__(self) -> str:
        grid = self._core.wavelengths
        ends = f"{grid[0]:g} to {grid[-1]:g} nm" if len(grid) else "no wavelengths"
        return f"<Evaluator of {len(self._names)} quantities, {len(grid)} points, {ends}>"

    def __reduce__(self) -> tuple[Any, ...]:
        white = self._illuminant or self._white
        own = self._sets, self._own
        return _made_anew, (self.wavelengths, self._names, *self._form, white, own)


def _made_anew(
    wavelengths: Floats,
    names: Sequence[tuple[str, str]],
    interpolation: Interpolation,
    epsilon: float,
    white: Scan | str,
    own: tuple[Sequence[int], Mapping[int, Mapping[str, Scan]]],
) -> Evaluator:
    every = (*LENS, *DERIVED, *light(), *PHOTOMETER)
    by_name = {(record.kind, record.key): record for record in every}
    records = [by_name[name] for name in names]
    sets, tables = own
    for table_set, scans in tables.items():
        # Notes are no concern of an evaluator.
        replaced = with_tables(records, {name: (scan, "") for name, scan in scans.items()})
        records = [
            new if each == table_set else old
            for each, new, old in zip(sets, replaced, records, strict=True)
        ]
    return Evaluator(
        wavelengths, records, interpolation=interpolation, epsilon=epsilon, white=white
    )
