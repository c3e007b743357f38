"""Propagation of distributions by a Monte Carlo method, after JCGM 101:2008."""

import math
import os
import secrets
from collections import deque
from collections.abc import Callable, Generator, Iterable, Iterator, Mapping
from concurrent.futures import Executor, Future
from contextlib import closing
from itertools import repeat
from types import MappingProxyType
from typing import Final, Literal, NamedTuple

import numpy as np

from .._core import Scan
from .._core import uncertainty as kernels
from .._views import HasViews
from ..errors import Refusal
from ..spectrum import Spectrum
from ._budget import Budget
from ._case import Case, Group, Keys, case_of, evaluate
from ._component import Distribution
from ._effects import Effect
from ._propagation import figure_sizes, first_order
from ._results import Interval, Results, within
from ._sizes import Floats

# Spectra of a portion stay in the caches of the processor: drawn, then evaluated.
_PORTION: Final = 128
# Blocks of the adaptive procedure are of this size or more (7.9), and all others too.
_BLOCK: Final = 10_000
# Where the adaptive procedure gives up: three times the draws that two digits take as a rule.
_MOST_DRAWS: Final = 3_000_000
# Blocks that an executor has in hand, for each processor.
_AHEAD: Final = 2
_MOST_SEED: Final = 2**64


class Simulated(NamedTuple):
    """A figure as the draws have it.

    Attributes
    ----------
    value : float
        The quantity of the measured spectrum itself.
    mean : float
        Mean of the draws; it differs from the value where the quantity is not linear.
    u : float
        Standard deviation of the draws.
    interval : (float, float)
        Probabilistically symmetric coverage interval, as far as values are possible.
    shortest : (float, float)
        Shortest coverage interval, alike.
    validated : bool or None
        Whether the interval of the first order, value ± U, agrees with the symmetric one to
        the digits asked for (JCGM 101:2008, clause 8); None if there is none.
    """

    value: float
    mean: float
    u: float
    interval: Interval
    shortest: Interval
    validated: bool | None


class Simulation(HasViews, Mapping[str, Simulated]):
    """Figures by key, from one set of draws.

    Attributes
    ----------
    draws : int
        How many there were.
    seed : int
        What they came from: the same seed gives the same digits.
    coverage : float
        Probability of the intervals.
    digits : int
        Digits of the standard uncertainty that the draws were to settle.
    converged : bool or None
        Whether they did, by the adaptive procedure; None for a number of draws that was asked for.
    first_order : Results
        What `propagate` gives.
    problems : mapping of str to str
        The quantities that have no figure, and why.
    """

    def __init__(
        self,
        figures: Mapping[str, Simulated],
        *,
        draws: int,
        seed: int,
        coverage: float,
        digits: int,
        converged: bool | None,
        first_order: Results,
        problems: Mapping[str, str],
    ) -> None:
        self._figures = dict(figures)
        self.draws = draws
        self.seed = seed
        self.coverage = coverage
        self.digits = digits
        self.converged = converged
        self.first_order = first_order
        self.problems = MappingProxyType(dict(problems))

    def __getitem__(self, key: str) -> Simulated:
        return self._figures[key]

    def __iter__(self) -> Iterator[str]:
        return iter(self._figures)

    def __len__(self) -> int:
        return len(self._figures)

    def __repr__(self) -> str:
        return f"<Simulation: {len(self)} quantities, {self.draws} draws, seed {self.seed}>"


def simulate(
    spectrum: Spectrum | Scan,
    budget: Budget,
    keys: Keys | None = None,
    *,
    draws: int | Literal["auto"] = "auto",
    seed: int | None = None,
    coverage: float | None = None,
    digits: int = 2,
    executor: Executor | None = None,
) -> Simulation:
    """Quantities of a spectrum with their uncertainty, by draws (JCGM 101:2008).

    Every draw is a whole spectrum, with an error of each component, and gives all quantities: what
    they have in common is kept, and what is not linear is right. Errors of the wavelength shift the
    spectrum; those of the values are added to it.

    Parameters
    ----------
    spectrum : Spectrum or Scan
    budget : Budget
    keys : iterable of Quantity or str, optional
        As for `propagate`.
    draws : int or "auto"
        How many; "auto" draws blocks until mean, standard deviation and both ends of the
        interval of every quantity are settled to ``digits`` digits (7.9).
    seed : int, optional
        From 0 to 2**64 - 1; by default another one each time. The digits depend on nothing
        else, not on the executor either.
    coverage : float, optional
        In place of that of the budget.
    digits : int
        Digits of the standard uncertainty, 1 or 2.
    executor : concurrent.futures.Executor, optional
        Where blocks are drawn, in threads or processes; here by default.

    Returns
    -------
    Simulation

    Raises
    ------
    Refusal
        As `propagate`; and for components with 2 degrees of freedom or fewer, since their t
        distribution has no standard deviation.
    """
    case = case_of(spectrum, budget, keys)
    if coverage is None:
        coverage = budget.coverage
    results = first_order(case, coverage)
    if seed is None:
        seed = secrets.randbits(32)
    if not 0 <= seed < _MOST_SEED:
        raise ValueError(f"simulate: seed must be from 0 to 2**64 - 1, not {seed}")
    if digits not in (1, 2):
        raise ValueError(f"simulate: digits must be 1 or 2, not {digits}")
    block = max(math.ceil(100.0 / (1.0 - coverage)), _BLOCK)
    if draws != "auto" and draws < 100.0 / (1.0 - coverage):
        least = math.ceil(100.0 / (1.0 - coverage))
        raise ValueError(f"simulate: at least {least} draws are needed for that coverage")
    task = _task(case, seed, block)
    if draws == "auto":
        blocks, converged = _until_settled(task, coverage, digits, executor)
    else:
        counts = [block] * (draws // block) + ([draws % block] if draws % block else [])
        blocks, converged = list(_blocks(task, counts, executor)), None
    sample = np.concatenate(blocks, axis=1)
    return _summary(case, results, sample, seed, coverage, digits, converged)


class _Task(NamedTuple):
    """What a block is drawn from; it can be sent to another process."""

    # By which a process knows a task that it has prepared already.
    name: str
    seed: int
    scan: Scan
    components: tuple[tuple[str, tuple[Floats, ...], Distribution, float], ...]
    # Sizes that the figures of a draw are multiplied by and added with, shape (figures, q).
    figures: Floats
    groups: tuple[Group, ...]
    block: int


def _task(case: Case, seed: int, block: int) -> _Task:
    components = []
    figures = [np.empty((0, len(case.keys)))]
    for effect in case.prepared.effects(case.spectrum):
        component = effect.component
        if component.law == "t" and component.dof <= 2.0:
            raise Refusal(
                f"component '{component.name}': draws of a t distribution have no standard "
                f"deviation with {component.dof:g} degrees of freedom; state more, or distribution "
                "'normal'"
            )
        if effect.form == "figure":
            figures.append(figure_sizes(effect, case)[np.newaxis])
        components.append((effect.form, _arrays(effect), component.law, component.dof))
    name = secrets.token_hex(8)
    return _Task(
        name,
        seed,
        case.spectrum.scan,
        tuple(components),
        np.concatenate(figures),
        case.groups,
        block,
    )


def _arrays(effect: Effect) -> tuple[Floats, ...]:
    """The arguments with which a component is added to an error model."""
    match effect.form:
        case "figure":
            return ()
        case "jitter" if effect.sizes is not None:
            return (effect.sizes,)
        case "chain" if effect.sizes is not None and effect.correlations is not None:
            return (effect.sizes, effect.correlations)
        case "independent" | "shift":
            return (effect.rows[0],)
    return (effect.rows,)


_ADDED_BY: Final[Mapping[str, Callable[..., None]]] = {
    "value": kernels.ErrorModel.add_effects,
    "rows": kernels.ErrorModel.add_effects,
    "independent": kernels.ErrorModel.add_independent,
    "chain": kernels.ErrorModel.add_chain,
    "shift": kernels.ErrorModel.add_shift,
    "jitter": kernels.ErrorModel.add_jitter,
    "figure": kernels.ErrorModel.add_figure,
}


_models: dict[str, kernels.ErrorModel] = {}


def _model(task: _Task) -> kernels.ErrorModel:
    """The error model of a task, kept for the next block of it."""
    model = _models.get(task.name)
    if model is None:
        model = kernels.ErrorModel(task.scan)
        for form, arrays, law, dof in task.components:
            _ADDED_BY[form](model, *arrays, distribution=law, dof=dof)
        _models.clear()
        _models[task.name] = model
    return model


def _block(task: _Task, index: int, count: int) -> Floats:
    """The quantities of the draws of a block, shape (quantities, count)."""
    model = _model(task)
    draws = model.draws(task.seed, index)
    sample = np.empty((count, task.figures.shape[1]))
    spectra = np.empty((_PORTION, len(task.scan.wavelengths())))
    figures = np.empty((_PORTION, len(task.figures)))
    for start in range(0, count, _PORTION):
        rows = min(_PORTION, count - start)
        draws.fill(spectra[:rows], figures[:rows])
        part = evaluate(task.groups, spectra[:rows], sample.shape[1])
        if len(task.figures):
            part += figures[:rows] @ task.figures
        sample[start : start + rows] = part
    return np.ascontiguousarray(sample.T)


def _blocks(task: _Task, counts: Iterable[int], executor: Executor | None) -> Generator[Floats]:
    """Blocks of that many draws in their order; an executor works some ahead."""
    if executor is None:
        for index, count in enumerate(counts):
            yield _block(task, index, count)
        return
    waiting: deque[Future[Floats]] = deque()
    try:
        for index, count in enumerate(counts):
            waiting.append(executor.submit(_block, task, index, count))
            if len(waiting) > _AHEAD * (os.process_cpu_count() or 1):
                yield waiting.popleft().result()
        while waiting:
            yield waiting.popleft().result()
    finally:
        for future in waiting:
            future.cancel()


def _until_settled(
    task: _Task, coverage: float, digits: int, executor: Executor | None
) -> tuple[list[Floats], bool]:
    """Blocks until all results are settled, and whether they are (JCGM 101:2008, 7.9)."""
    blocks: list[Floats] = []
    found = []
    counts = repeat(task.block, _MOST_DRAWS // task.block)
    with closing(_blocks(task, counts, executor)) as source:
        for block in source:
            blocks.append(block)
            low, high = _symmetric(np.sort(block, axis=1), coverage)
            mean, u = block.mean(axis=1), block.std(axis=1, ddof=1)
            found.append((mean, u, low, high))
            if len(blocks) < 2:
                continue
            results = np.array(found)
            # Of all draws: within the blocks and between their means.
            spread = (results[:, 1] ** 2).mean(axis=0) + results[:, 0].var(axis=0)
            tolerance = _tolerances(np.sqrt(spread), digits)
            error = results.std(axis=0, ddof=1) / math.sqrt(len(blocks))
            # NaN, of quantities that have draws without a value, never settles and stops nothing.
            if not (2.0 * error > tolerance).any():
                return blocks, True
    return blocks, False


def _summary(
    case: Case,
    results: Results,
    sample: Floats,
    seed: int,
    coverage: float,
    digits: int,
    converged: bool | None,
) -> Simulation:
    """The figures of a sample, shape (quantities, draws), which is sorted in place."""
    problems = dict(case.problems)
    draws = sample.shape[1]
    lost = draws - np.isfinite(sample).sum(axis=1)
    means, deviations = sample.mean(axis=1), sample.std(axis=1, ddof=1)
    sample.sort(axis=1)
    symmetric = np.stack(_symmetric(sample, coverage), axis=1)
    shortest = np.stack(_shortest(sample, coverage), axis=1)
    tolerances = _tolerances(deviations, digits)
    figures = {}
    for i, (key, possible) in enumerate(zip(case.keys, case.possible, strict=True)):
        if lost[i]:
            problems[key] = f"{lost[i]} of {draws} draws have no value"
            continue
        validated = None
        if key in results:
            first = results[key]
            ends = np.array([first.value - first.expanded, first.value + first.expanded])
            validated = bool((np.abs(ends - symmetric[i]) <= tolerances[i]).all())
        figures[key] = Simulated(
            float(case.numbers[i]),
            float(means[i]),
            float(deviations[i]),
            within(symmetric[i], possible),
            within(shortest[i], possible),
            validated,
        )
    return Simulation(
        figures,
        draws=draws,
        seed=seed,
        coverage=coverage,
        digits=digits,
        converged=converged,
        first_order=results,
        problems=problems,
    )


def _symmetric(ordered: Floats, coverage: float) -> tuple[Floats, Floats]:
    """Ends of the probabilistically symmetric interval of each sorted row (7.7)."""
    draws = ordered.shape[1]
    inside = int(coverage * draws + 0.5)
    first = int((draws - inside) / 2.0 + 0.5)
    return ordered[:, first - 1], ordered[:, min(first + inside, draws) - 1]


def _shortest(ordered: Floats, coverage: float) -> tuple[Floats, Floats]:
    """Ends of the shortest interval of each sorted row (7.7)."""
    draws = ordered.shape[1]
    inside = int(coverage * draws + 0.5)
    first = np.argmin(ordered[:, inside:] - ordered[:, : draws - inside], axis=1)
    rows = np.arange(len(ordered))
    return ordered[rows, first], ordered[rows, first + inside]


def _tolerances(u: Floats, digits: int) -> Floats:
    """Half a unit of the last of so many digits of each standard uncertainty (7.9)."""
    with np.errstate(divide="ignore", invalid="ignore"):
        place = np.floor(np.log10(u)) - (digits - 1)
        # 0.0996 has the two digits 0.10, the last of them a place further left.
        place += np.round(u / 10.0**place) >= 10**digits
        tolerances: Floats = np.where(u > 0.0, 0.5 * 10.0**place, 0.0)
    return tolerances
