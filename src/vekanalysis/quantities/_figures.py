"""Quantities of spectrum after spectrum, by evaluators that are kept for their grids."""

import math
from collections.abc import Iterable, Sequence
from threading import Lock
from typing import Final, NamedTuple

from .._core import Scan
from .._core.quantities import Quantity
from ..errors import Refusal
from ..spectrum import Spectrum
from ._evaluator import Evaluator
from ._measurand import measurand
from ._values import Value, evaluate, records_of, white_of

# The files of a folder have one grid or two; a light source needs an evaluator for each kind.
_KEPT: Final = 16


# Of quantities: kinds, keys, and what their own tables are.
type _Names = tuple[tuple[str, str, int], ...]


class _Kept(NamedTuple):
    # Their own tables live as long as the evaluator, so that no others can look like them.
    names: _Names
    evaluator: Evaluator


_kept: list[_Kept] = []
_lock = Lock()


def evaluator_for(
    scan: Scan,
    keys: Iterable[Quantity | str] | Quantity | str,
    white: Spectrum | Scan | str = "D65",
) -> Evaluator:
    """The `Evaluator` for the grid of a scan; those used last are kept for the next scan.

    Parameters
    ----------
    scan : Scan
        Its wavelengths, epsilon and interpolation are those of the evaluator.
    keys, white
        As of `Evaluator`.

    Returns
    -------
    Evaluator
        To be shared: it does not change.

    Raises
    ------
    ValueError
        If a key or the illuminant is not known.
    """
    records, white = records_of(keys), white_of(white)
    return _evaluator_for(scan, records, _names_of(records), white)


def _names_of(records: Sequence[Quantity]) -> _Names:
    return tuple((record.kind, record.key, record.table_set) for record in records)


def _evaluator_for(
    scan: Scan, records: Sequence[Quantity], names: _Names, white: Scan
) -> Evaluator:
    with _lock:
        candidates = tuple(_kept)
    for kept in candidates:
        if kept.names == names and kept.evaluator.is_for(scan, white):
            break
    else:
        grid, _ = scan.to_lists()
        evaluator = Evaluator(
            grid, records, interpolation=scan.interpolation, epsilon=scan.epsilon, white=white
        )
        kept = _Kept(names, evaluator)
    with _lock:
        if not _kept or _kept[0] is not kept:
            _kept[:] = [kept, *(other for other in _kept if other is not kept)][:_KEPT]
    return kept.evaluator


class _Group(NamedTuple):
    """Quantities that need the spectrum to be of one kind."""

    kind: str
    # Where they are among all.
    columns: tuple[int, ...]
    records: tuple[Quantity, ...]
    names: _Names


class Figures:
    """Quantities of one spectrum after another, each by the `Evaluator` for its grid.

    Gives what `evaluate` gives, to 1e-12 of the largest value, in a fraction of the time from the
    second spectrum of a grid on.

    Parameters
    ----------
    keys, white
        As of `Evaluator`.
    """

    def __init__(
        self,
        keys: Iterable[Quantity | str] | Quantity | str,
        white: Spectrum | Scan | str = "D65",
    ) -> None:
        self._records = tuple(records_of(keys))
        self._white = white_of(white)
        self._groups = []
        for kind in dict.fromkeys(record.kind for record in self._records):
            columns = tuple(i for i, each in enumerate(self._records) if each.kind == kind)
            records = tuple(self._records[i] for i in columns)
            self._groups.append(_Group(kind, columns, records, _names_of(records)))
        # What was said of the last spectrum, with the parts that it was put together of.
        self._last: tuple[list[tuple[Value, ...]], tuple[Value, ...]] = [], ()

    def __call__(self, spectrum: Spectrum | Scan) -> tuple[list[float | None], tuple[Value, ...]]:
        """The numbers of a spectrum, and what is to be said of each.

        Parameters
        ----------
        spectrum : Spectrum or Scan
            As of `evaluate`.

        Returns
        -------
        numbers : list of float or None
            In the order of the quantities.
        values : tuple of Value
            What `evaluate` says of each, without its number; the same object for spectra of which
            the same is to be said, one after another.
        """
        parts = [self._part(spectrum, group) for group in self._groups]
        if len(parts) == 1:
            return parts[0]
        said = [values for _, values in parts]
        numbers: list[float | None] = [None] * len(self._records)
        for group, (found, _) in zip(self._groups, parts, strict=True):
            for column, number in zip(group.columns, found, strict=True):
                numbers[column] = number
        last, merged = self._last
        if said != last:
            by_column = {
                column: value
                for group, values in zip(self._groups, said, strict=True)
                for column, value in zip(group.columns, values, strict=True)
            }
            merged = tuple(by_column[column] for column in range(len(self._records)))
            self._last = said, merged
        return numbers, merged

    def of_many(self, scans: Sequence[Scan]) -> list[tuple[list[float | None], tuple[Value, ...]]]:
        """What a call gives for each of some scans; in less time for those on one grid."""
        if len(self._groups) != 1:
            return [self(scan) for scan in scans]
        (group,) = self._groups
        found = []
        evaluator, together = None, list[Scan]()
        for scan in scans:
            if evaluator is None or not evaluator.fits(scan):
                if evaluator is not None:
                    found += self._rows(evaluator, together, group)
                evaluator = _evaluator_for(scan, group.records, group.names, self._white)
                together = []
            together.append(scan)
        if evaluator is not None:
            found += self._rows(evaluator, together, group)
        return found

    def values(self, spectrum: Spectrum | Scan) -> dict[str, Value]:
        """The values of a spectrum, by the keys of the quantities, as `evaluate` gives them."""
        numbers, said = self(spectrum)
        return {
            record.key: value._replace(value=number)
            for record, number, value in zip(self._records, numbers, said, strict=True)
        }

    def _part(
        self, spectrum: Spectrum | Scan, group: _Group
    ) -> tuple[list[float | None], tuple[Value, ...]]:
        if isinstance(spectrum, Scan):
            scan = spectrum
        else:
            try:
                scan = measurand(spectrum, group.kind).scan
            except Refusal as error:
                problem = f"Not computable: {error.reason.removeprefix(f'{spectrum.where}: ')}"
                return [None] * len(group.records), tuple(
                    Value(problem=problem, needed=record.needed) for record in group.records
                )
        evaluator = _evaluator_for(scan, group.records, group.names, self._white)
        (found,) = self._rows(evaluator, [scan], group)
        return found

    def _rows(
        self, evaluator: Evaluator, scans: Sequence[Scan], group: _Group
    ) -> list[tuple[list[float | None], tuple[Value, ...]]]:
        """The numbers of scans on the grid of an evaluator, and what is to be said of each."""
        found = []
        for scan, numbers in zip(scans, evaluator.rows(scans), strict=True):
            said = evaluator.coverage
            # All but None and 0 are looked at.
            if not all(map(math.isfinite, filter(None, numbers))):
                said = self._missing(scan, group, numbers, said)
            found.append((numbers, said))
        return found

    def _missing(
        self, scan: Scan, group: _Group, numbers: list[float | None], said: Sequence[Value]
    ) -> tuple[Value, ...]:
        """What is said of all, when the functions have said what the matter is with some."""
        missing = [i for i, n in enumerate(numbers) if n is not None and not math.isfinite(n)]
        found = evaluate(scan, [group.records[i] for i in missing], white=self._white)
        all_said = [*said]
        for i, value in zip(missing, found.values(), strict=True):
            numbers[i], all_said[i] = value.value, value._replace(value=None)
        return tuple(all_said)
