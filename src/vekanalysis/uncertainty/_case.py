"""A spectrum, the quantities that are asked of it, and a budget on its grid."""

import math
from collections import OrderedDict
from collections.abc import Iterable
from threading import Lock
from typing import Final, NamedTuple
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

    def evaluate(self, spectra: Floats) -> Floats:
        """The quantities of spectra (m, points) in the unit of the spectrum: shape (m, q)."""
        return evaluate(self.groups, spectra, len(self.keys))

    def sensitivities(self) -> Floats:
        """Change of each quantity with each value of the spectrum: shape (q, points)."""
        result = np.empty((len(self.keys), len(self.spectrum.values)))
        for columns, factor, evaluator in self.groups:
            values = self.spectrum.values * factor
            result[columns] = evaluator.sensitivities(values) * factor
        return result


def evaluate(groups: Iterable[Group], spectra: Floats, count: int) -> Floats:
    """The quantities of spectra, each from the evaluator that has it."""
    result = np.empty((len(spectra), count))
    for columns, factor, evaluator in groups:
        scaled = spectra if factor == 1.0 else spectra * factor
        part = evaluator(scaled)
        # An amount of light below zero is none, but what is added to one may well be below zero.
        lost = np.isnan(part) & np.array(evaluator.linear)
        if lost.any():
            part = np.where(lost, scaled @ evaluator.sensitivities(scaled[0]).T, part)
        result[:, columns] = part
    return result


def _possible(record: Quantity, value: quantities.Value) -> Interval:
    if record.is_transmittance:
        clear = value.clear_lens
        return 0.0, 1.0 if clear is None else clear
    if "chromaticity" in record.key:
        return 0.0, 1.0
    is_amount = record.unit != "1" or record.symbol == "L*"
    return 0.0 if is_amount else -math.inf, math.inf


def case_of(spectrum: Spectrum | Scan, budget: Budget, keys: Keys | None) -> Case:
    """A spectrum with its quantities evaluated, and the budget on its grid.

    Raises
    ------
    Refusal
        If the spectrum is of no kind that one of the quantities needs, or the budget does not fit.
    """
    if budget.of_repeats:
        name = budget.of_repeats[0]["name"]
        raise Refusal(f"component '{name}': it is of the repeats of the object, and there are none")
    records = _records(spectrum, keys)
    kinds = _in_units(spectrum, records)
    values = quantities.evaluate(spectrum, records)
    found = [record for record in records if values[record.key].value is not None]
    problems = {key: value.problem or "" for key, value in values.items() if value.value is None}
    principal = next(iter(kinds.values()))
    scale = _scale_of(principal)
    groups = []
    for kind, measured in kinds.items():
        columns = [i for i, record in enumerate(found) if record.kind == kind]
        if columns:
            evaluator = evaluator_for(measured.scan, [found[i] for i in columns])
            groups.append(Group(columns, scale / _scale_of(measured), evaluator))
    return Case(
        principal,
        _prepared(budget, principal),
        tuple(record.key for record in found),
        tuple(found),
        tuple(values[record.key] for record in found),
        tuple(groups),
        problems,
    )


def _records(spectrum: Spectrum | Scan, keys: Keys | None) -> list[Quantity]:
    if keys is not None:
        return [quantities.quantity(key) if isinstance(key, str) else key for key in keys]
    if isinstance(spectrum, Scan) or spectrum.kind in ("transmittance", "absorbance", "unknown"):
        return list(quantities.LENS)
    return list(quantities.PHOTOMETER if spectrum.kind == "responsivity" else quantities.LIGHT)


def _in_units(spectrum: Spectrum | Scan, records: Iterable[Quantity]) -> dict[str, Measured]:
    """The spectrum as each kind that the quantities need, of those that it can be."""
    kinds = dict.fromkeys(record.kind for record in records)
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
