"""Statements of conformity: a figure, its uncertainty, a limit and the rule of the laboratory.

After JCGM 106:2012: a rule accepts within limits that are moved by a guard band. All comparisons
are of unrounded numbers. The probability of conformity is that of the t distribution with the
effective degrees of freedom, the normal one if these are infinite, whatever the rule.
"""

import math
from collections.abc import Collection, Mapping, Sequence
from statistics import NormalDist
from typing import Final, Literal, NamedTuple

from .._nearest import nearest
from ..errors import Refusal
from ..quantities import LENS_FULL, REFERENCES, Quantity, Value
from ..uncertainty import Results, Uncertain, coverage_factor
from ._limits import Bound, Category, Decision, Limits, Requirement, Term

type Verdict = Literal["pass", "conditional pass", "conditional fail", "fail", "not decided"]

# From the best to the worst.
_ORDER: Final[tuple[Verdict, ...]] = ("pass", "conditional pass", "conditional fail", "fail")
# What the arithmetic of a quantity leaves where errors cancel, relative to its value.
_NOISE: Final = 1e-14
# From here on a t distribution is taken for the normal one.
_MANY: Final = 10_000.0


class Check(NamedTuple):
    """A figure against one bound.

    Attributes
    ----------
    word : str
        "above", "at_least", "below" or "at_most".
    limit : float
        The bound as a number.
    relative : str or None
        "0.5 ISO8980_3_tau_v", if the bound is relative to a quantity.
    margin : float
        How far the figure is on the right side of it.
    u, expanded : float
        Uncertainty of the margin: for a relative bound with the correlation of both quantities.
    guard : float
        The guard band that the margin must reach; below 0 where it lies outside.
    probability : float
        That the margin is above 0.
    verdict : str
    """

    word: str
    limit: float
    relative: str | None
    margin: float
    u: float
    expanded: float
    guard: float
    probability: float
    verdict: Verdict


class Statement(NamedTuple):
    """What is stated of a requirement.

    Attributes
    ----------
    name, quantity : str
    verdict : str
        "pass", "conditional pass", "conditional fail", "fail" or "not decided".
    reason : str or None
        Why it is not decided.
    value, u, expanded, k : float or None
        Of the quantity.
    checks : tuple of Check
        One for each bound; of an upper bound that is the largest of several, one for the best.
    probability : float or None
        Of conformity with all bounds; where bounds are relative, not below that.
    categories : tuple of str
        The categories for which it holds, if the category is in doubt.
    when : str or None
    """

    name: str
    quantity: str
    verdict: Verdict
    reason: str | None = None
    value: float | None = None
    u: float | None = None
    expanded: float | None = None
    k: float | None = None
    checks: tuple[Check, ...] = ()
    probability: float | None = None
    categories: tuple[str, ...] = ()
    when: str | None = None


class Membership(NamedTuple):
    """The category of a lens.

    Attributes
    ----------
    name : str or None
        The category that the figure lies in; None if it lies in none, or nothing is decided.
    could_be : tuple of str
        Others, whose bounds are within the guard band.
    reason : str or None
        Why there is none.
    statements : tuple of Statement
        Of belonging to each category, with its probability.
    """

    name: str | None
    could_be: tuple[str, ...]
    reason: str | None
    statements: tuple[Statement, ...]

    @property
    def candidates(self) -> tuple[str, ...]:
        """All that it could be."""
        return self.could_be if self.name is None else (self.name, *self.could_be)


class Conformity(NamedTuple):
    """All that limits say of a lens.

    Attributes
    ----------
    category : Membership or None
        None if the limits have no categories.
    statements : tuple of Statement
        Of each requirement that is for the purposes and for a category that it could be.
    """

    category: Membership | None
    statements: tuple[Statement, ...]


def assess(
    limits: Limits,
    values: Mapping[str, Value],
    results: Results | None,
    *,
    purposes: Collection[str] = (),
    trusted: Collection[str] = (),
) -> Conformity:
    """Decide on the limits of a laboratory by its rule.

    Parameters
    ----------
    limits : Limits
    values : mapping of str to Value
        As `quantities.evaluate` gives them, of all quantities that the limits name.
    results : Results or None
        Of `uncertainty.propagate`, with the coverage of the decision.
    purposes : collection of str
        Requirements for others are left out.
    trusted : collection of str
        Reconstructed reference tables in whose place the laboratory has put its own.

    Returns
    -------
    Conformity

    Raises
    ------
    Refusal
        If no requirement is for one of the purposes.
    """
    for purpose in purposes:
        if purpose not in limits.purposes:
            reason = f"no requirement is for the purpose '{purpose}'"
            raise Refusal(f"{limits.file}: {reason}{nearest(purpose, limits.purposes)}")
    judge = _Judge(limits.decision, values, results, trusted)
    category = judge.membership(limits.categories) if limits.categories else None
    statements = []
    for requirement in limits.requirements:
        if requirement.when is None or requirement.when in purposes:
            statements += judge.requirement(requirement, category)
    return Conformity(category, tuple(statements))


def probability(margin: float, u: float, dof: float) -> float:
    """Probability that a quantity with that estimate is above 0."""
    z = margin / u
    if not dof < _MANY:
        return NormalDist().cdf(z)
    # The distribution function by bisection of its inverse, from 0.5 to 1.
    low, high = 0.0, 1.0
    for _ in range(60):
        middle = 0.5 * (low + high)
        if middle in (low, high):
            break
        low, high = (middle, high) if coverage_factor(middle, dof) < abs(z) else (low, middle)
    return 0.5 * (1.0 + math.copysign(low, z))


class _Judge:
    """Figures of a lens with a rule."""

    def __init__(
        self,
        decision: Decision | None,
        values: Mapping[str, Value],
        results: Results | None,
        trusted: Collection[str],
    ) -> None:
        self._decision = decision
        self._values = values
        self._results = results
        self._doubtful = {
            each.name for each in REFERENCES if each.status == "reconstruction"
        }.difference(trusted)
        self._records: dict[str, Quantity] = {record.key: record for record in LENS_FULL}

    def membership(self, categories: Sequence[Category]) -> Membership:
        """The category, and all that it could be."""
        statements = tuple(self._statement(each) for each in categories)
        undecided = next((each.reason for each in statements if not each.checks), None)
        if undecided is not None:
            return Membership(None, (), undecided, statements)
        name, near = None, []
        for statement in statements:
            inside = [
                check.margin > 0.0 or (check.margin == 0.0 and check.word.startswith("at"))
                for check in statement.checks
            ]
            # The guard band lies on both sides of a bound.
            close = [check.margin > -abs(check.guard) for check in statement.checks]
            if all(inside) and name is None:
                name = statement.name
            elif all(inside) or (all(close) and any(check.guard for check in statement.checks)):
                near.append(statement.name)
        reason = None if name is not None else "the figure is in none of the categories"
        return Membership(name, tuple(near), reason, statements)

    def requirement(self, requirement: Requirement, category: Membership | None) -> list[Statement]:
        """The statement of a requirement, if it is for a category that the lens could be of."""
        wanted = requirement.categories
        if wanted is None or category is None:
            return [self._statement(requirement, when=requirement.when)]
        if not category.candidates:
            reason = f"it is for some categories only, and {category.reason}"
            return [_undecided(requirement, reason, requirement.when)]
        fitting = tuple(name for name in category.candidates if name in wanted)
        if not fitting:
            return []
        statement = self._statement(requirement, when=requirement.when)
        certain = len(fitting) == len(category.candidates)
        return [statement if certain else statement._replace(categories=fitting)]

    def _statement(
        self, requirement: Requirement | Category, *, when: str | None = None
    ) -> Statement:
        reason = self._obstacle(requirement)
        key = requirement.quantity
        result = None if self._results is None else self._results.get(key)
        if reason is not None or result is None:
            statement = _undecided(requirement, reason or "no uncertainty", when)
            if result is None:
                return statement._replace(value=self._values[key].value)
            return statement._replace(
                value=result.value, u=result.u, expanded=result.expanded, k=result.k
            )
        checks = []
        for bound in requirement.bounds:
            found = [self._check(key, bound, term) for term in bound.terms]
            # Above the largest is above each; below it is below one of them.
            best = max(found, key=lambda check: (-_ORDER.index(check.verdict), check.probability))
            checks += found if bound.is_lower else [best]
        verdict = max((check.verdict for check in checks), key=_ORDER.index)
        # That all hold, whatever depends on what (Bonferroni); exact for two fixed bounds.
        failing = math.fsum(1.0 - check.probability for check in checks)
        statement = Statement(
            requirement.name,
            key,
            verdict,
            None,
            result.value,
            result.u,
            result.expanded,
            result.k,
            tuple(checks),
            max(0.0, 1.0 - failing),
            when=when,
        )
        if _zone_is_empty(checks):
            reason = "the guard bands leave nothing between the limits: no result can pass"
            return statement._replace(verdict="not decided", reason=reason)
        return statement

    def _obstacle(self, requirement: Requirement | Category) -> str | None:
        """Why nothing can be decided."""
        if self._decision is None:
            return "the limits state no decision rule"
        relative = [key for bound in requirement.bounds for key in bound.quantities]
        for key in dict.fromkeys((requirement.quantity, *relative)):
            value, which = self._values[key], f"{key}: " if relative else ""
            if value.value is None:
                return f"{which}{value.problem}"
            if not value.complete:
                return f"{which}the data do not cover the band"
            if self._doubtful.intersection(self._records[key].tables):
                return f"{which}it rests on a reconstructed table"
            if self._results is None:
                return "no uncertainty is stated"
            if key not in self._results:
                problem = self._results.problems.get(key)
                return f"{which}no uncertainty{f': {problem}' if problem else ''}"
            if not _is_uncertain(self._results[key]):
                return f"{which}the budget gives it no uncertainty"
        return None

    def _check(self, key: str, bound: Bound, term: Term) -> Check:
        assert self._results is not None
        assert self._decision is not None
        figure = self._results[key]
        sign = 1.0 if bound.is_lower else -1.0
        if term.quantity is None:
            limit, relative, difference = term.number, None, figure
            margin = sign * (figure.value - limit)
        else:
            limit = term.number * self._results[term.quantity].value
            relative = f"{term.number:.10g} {term.quantity}"
            difference = self._results.margin(key, term.quantity, term.number)
            margin = sign * difference.value
        guard = self._decision.guard * difference.expanded
        if difference.u > 0.0:
            share = probability(margin, difference.u, difference.dof)
        else:
            # Both change alike: the bound holds for certain or not at all.
            share = float(margin > 0.0 or (margin == 0.0 and not bound.is_strict))
        verdict = self._verdict(margin, guard, bound.is_strict)
        u, expanded = difference.u, difference.expanded
        return Check(bound.word, limit, relative, margin, u, expanded, guard, share, verdict)

    def _verdict(self, margin: float, guard: float, strict: bool) -> Verdict:
        assert self._decision is not None

        def reached(level: float) -> bool:
            return margin > level if strict else margin >= level

        if reached(guard):
            return "pass"
        if self._decision.rule != "non-binary":
            return "fail"
        if reached(0.0):
            return "conditional pass"
        return "conditional fail" if reached(-guard) else "fail"


def _is_uncertain(figure: Uncertain) -> bool:
    return math.isfinite(figure.expanded) and figure.u > _NOISE * abs(figure.value)


def _zone_is_empty(checks: Sequence[Check]) -> bool:
    """Whether guard bands leave no room between the bounds."""
    lower = [check.limit + check.guard for check in checks if check.word in ("above", "at_least")]
    upper = [check.limit - check.guard for check in checks if check.word in ("below", "at_most")]
    guarded = any(check.guard > 0.0 for check in checks)
    return guarded and bool(lower and upper) and max(lower) >= min(upper)


def _undecided(requirement: Requirement | Category, reason: str, when: str | None) -> Statement:
    return Statement(requirement.name, requirement.quantity, "not decided", reason, when=when)
