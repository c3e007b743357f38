"""A spectrum, the quantities that are asked of it, and a budget on its grid."""

import math
from collections import OrderedDict
from collections.abc import Iterable, Mapping, Sequence
from threading import Lock
from typing import Any, Final, NamedTuple
from weakref import WeakKeyDictionary

import numpy as np

from .. import quantities, units
from .._core import Scan
from ..errors import Refusal
from ..quantities import Evaluator, Quantity, evaluator_for
from ..spectrum import Spectrum
from ._budget import Budget
from ._effects import Measured, Prepared
from ._results import Interval
from ._sizes import Floats

# Grids that a budget is kept prepared for: the files of a folder have one or two.
_GRIDS: Final = 8
# Units of indices, differences and shifts, which may be below zero; those of amounts cannot.
_SIGNED: Final = ("1", "%", "rad")

type Keys = Iterable[Quantity | str]


class Group(NamedTuple):
    """Quantities that need the spectrum in one unit."""

    # Where they are among all.
    columns: list[int]
    # What the values of the spectrum are multiplied by to be in that unit.
    factor: float
    evaluator: Evaluator


class Case(NamedTuple):
    """A spectrum with what is asked of it; ``keys`` are the quantities that have a value."""

    spectrum: Measured
    prepared: Prepared
    keys: tuple[str, ...]
    records: tuple[Quantity, ...]
    values: tuple[quantities.Value, ...]
    groups: tuple[Group, ...]
    problems: dict[str, str]

    @property
    def numbers(self) -> Floats:
        """The values of the quantities, shape (q)."""
        return np.array([value.value for value in self.values], dtype=np.float64)

    @property
    def possible(self) -> list[Interval]:
        """Between which numbers each quantity lies, whatever the spectrum."""
        return [_possible(*pair) for pair in zip(self.records, self.values, strict=True)]

    def sensitivities(self) -> Floats:
        """Change of each quantity with each value of the spectrum: shape (q, points)."""
        if len(self.groups) == 1 and self.groups[0].factor == 1.0:
            return self.groups[0].evaluator.sensitivities(self.spectrum.values)
        result = np.empty((len(self.keys), len(self.spectrum.values)))
        for columns, factor, evaluator in self.groups:
            values = self.spectrum.values * factor
            result[columns] = evaluator.sensitivities(values) * factor
        return result


def evaluate(
    groups: Iterable[Group], spectra: Floats, count: int, together: int | None = None
) -> Floats:
    """The quantities of spectra (m, points), each from the evaluator that has it: shape (m, count).

    Each ``together`` of them, one after another, are changes of one spectrum; all by default.
    """
    result = np.empty((len(spectra), count))
    for columns, factor, evaluator in groups:
        scaled = spectra if factor == 1.0 else spectra * factor
        part = evaluator(scaled)
        # An amount of light below zero is none, but what is added to one may well be below zero.
        lost = np.isnan(part) & np.array(evaluator.linear)
        if lost.any():
            size = together or len(spectra)
            for start in np.flatnonzero(lost.any(axis=1).reshape(-1, size).any(axis=1)) * size:
                rows = slice(start, start + size)
                sums = scaled[rows] @ evaluator.sensitivities(scaled[start]).T
                part[rows] = np.where(lost[rows], sums, part[rows])
        result[:, columns] = part
    return result


def _possible(record: Quantity, value: quantities.Value) -> Interval:
    if record.is_transmittance:
        clear = value.clear_lens
        return 0.0, 1.0 if clear is None else clear
    if "chromaticity" in record.key:
        return 0.0, 1.0
    if record.is_quotient:
        return 0.0, math.inf
    is_signed = record.unit in _SIGNED and record.symbol != "L*"
    return -math.inf if is_signed else 0.0, math.inf


def case_of(spectrum: Spectrum | Scan, budget: Budget, keys: Keys | None) -> Case:
    """A spectrum with its quantities evaluated, and the budget on its grid.

    Raises
    ------
    Refusal
        If the spectrum is of no kind that one of the quantities needs, or the budget does not fit.
    """
    _check_complete(budget)
    records = _records(spectrum, keys)
    kinds = _in_units(spectrum, [record.kind for record in records])
    values = quantities.evaluate(spectrum, records)
    found = [record for record in records if values[record.key].value is not None]
    principal = next(iter(kinds.values()))
    return Case(
        principal,
        _prepared(budget, principal),
        tuple(record.key for record in found),
        tuple(found),
        tuple(values[record.key] for record in found),
        _groups(kinds, found),
        {key: value.problem or "" for key, value in values.items() if value.value is None},
    )


class Cases:
    """Cases of spectrum after spectrum, as `case_of` has them, of known quantities.

    What spectra on one grid have in common is looked up once. The values are in the cases only
    where components of the budget need them.
    """

    def __init__(self, budget: Budget, records: Iterable[Quantity]) -> None:
        self._budget = budget
        self._records = tuple(records)
        self._kinds = tuple(dict.fromkeys(record.kind for record in self._records))
        self._all = tuple(range(len(self._records)))
        # Relative uncertainties of figures are of what the functions themselves give.
        self._needs_values = any(
            component.kind == "figure" and component.relative for component in budget.components
        )
        self._common: dict[tuple[Any, ...], Case] = {}

    def __call__(self, spectrum: Spectrum, numbers: Sequence[float | None]) -> Case:
        _check_complete(self._budget)
        if self._needs_values:
            return case_of(spectrum, self._budget, self._records)
        kinds = _in_units(spectrum, self._kinds)
        principal = next(iter(kinds.values()))
        scan = principal.scan
        found = self._all
        if None in numbers:
            found = tuple(i for i, number in enumerate(numbers) if number is not None)
        units_of_kinds = tuple((kind, measured.unit) for kind, measured in kinds.items())
        grid = principal.wavelengths.tobytes(), scan.epsilon, scan.interpolation
        common = self._common.get((grid, units_of_kinds, found))
        if common is None:
            records = tuple(self._records[i] for i in found)
            keys = tuple(record.key for record in records)
            prepared, groups = _prepared(self._budget, principal), _groups(kinds, records)
            common = Case(principal, prepared, keys, records, (), groups, {})
            self._common[grid, units_of_kinds, found] = common
        return common._replace(spectrum=principal)


def _groups(kinds: Mapping[str, Measured], found: Sequence[Quantity]) -> tuple[Group, ...]:
    """The quantities by the kind that they need of a spectrum, the first of which is the unit's."""
    scale = _scale_of(next(iter(kinds.values())))
    groups = []
    for kind, measured in kinds.items():
        columns = [i for i, record in enumerate(found) if record.kind == kind]
        if columns:
            evaluator = evaluator_for(measured.scan, [found[i] for i in columns])
            groups.append(Group(columns, scale / _scale_of(measured), evaluator))
    return tuple(groups)


def _check_complete(budget: Budget) -> None:
    """Refuse a budget whose noise is still to be had of repeats."""
    if budget.of_repeats:
        name = budget.of_repeats[0]["name"]
        raise Refusal(f"component '{name}': it is of the repeats of the object, and there are none")


def _records(spectrum: Spectrum | Scan, keys: Keys | None) -> list[Quantity]:
    if keys is not None:
        return [quantities.quantity(key) if isinstance(key, str) else key for key in keys]
    if isinstance(spectrum, Scan) or spectrum.kind in ("transmittance", "absorbance", "unknown"):
        return list(quantities.LENS)
    return list(quantities.PHOTOMETER if spectrum.kind == "responsivity" else quantities.LIGHT)


def _in_units(spectrum: Spectrum | Scan, needed: Iterable[str]) -> dict[str, Measured]:
    """The spectrum as each of the kinds that quantities need, of those that it can be."""
    kinds = dict.fromkeys(needed)
    if isinstance(spectrum, Scan):
        return dict.fromkeys(kinds, _measured(spectrum, None))
    measured: dict[str, Measured] = {}
    refusal = Refusal("no quantity is asked for")
    for kind in kinds:
        try:
            stated = quantities.measurand(spectrum, kind)
        except Refusal as error:
            refusal = error
        else:
            measured[kind] = _measured(stated.scan, stated.unit)
    if not measured:
        raise refusal
    return measured


def _measured(scan: Scan, unit: str | None) -> Measured:
    wavelengths, values = scan.to_numpy()
    return Measured(scan, wavelengths, values, None if unit is None else units.parse(unit))


def _scale_of(spectrum: Measured) -> float:
    return 1.0 if spectrum.unit is None else spectrum.unit.scale


_prepared_budgets: WeakKeyDictionary[Budget, OrderedDict[bytes, Prepared]] = WeakKeyDictionary()
_lock = Lock()


def _prepared(budget: Budget, spectrum: Measured) -> Prepared:
    """The budget on the grid of a spectrum, kept for the next one."""
    grid = spectrum.wavelengths.tobytes()
    with _lock:
        grids = _prepared_budgets.setdefault(budget, OrderedDict())
        prepared = grids.get(grid)
    if prepared is None:
        prepared = Prepared(budget, spectrum.wavelengths)
    with _lock:
        grids[grid] = prepared
        grids.move_to_end(grid)
        while len(grids) > _GRIDS:
            grids.popitem(last=False)
    return prepared
