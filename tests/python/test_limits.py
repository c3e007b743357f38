"""Limits and decision rules: their files, and the statements of conformity that they give."""

import hashlib
import math
from pathlib import Path
from statistics import NormalDist
from typing import Any

import numpy as np
import pytest
from cli import mistakes, rows

import vekanalysis as vek
from vekanalysis.certificates import (
    Bound,
    Category,
    Conformity,
    Decision,
    Limits,
    Requirement,
    Statement,
    assess,
)
from vekanalysis.certificates._conformity import Check, _zone_is_empty, probability
from vekanalysis.certificates._limits import Term
from vekanalysis.quantities import Value
from vekanalysis.uncertainty import Results

EXAMPLE = Path(__file__).parents[2] / "examples/limits-categories.toml"
TAU_V, SUVA, SB = "ISO8980_3_tau_v", "ISO8980_3_tau_suva", "ISO12311_tau_sb"
TWO_SIGMA = 0.954499736103642  # k = 2 for the normal distribution
FULL = Value(needed=(380.0, 780.0), covered=(380.0, 780.0))


def at_least(number: float) -> Bound:
    return Bound("at_least", (Term(number),))


def written(path: Path, text: str) -> Limits:
    path.write_text(text)
    return Limits.read(path)


def figures(
    numbers: dict[str, tuple[float, float]], r: float = 0.0, dof: float = math.inf
) -> tuple[dict[str, Value], Results]:
    """Values with standard uncertainties; the second is correlated with the first."""
    values = {key: FULL._replace(value=value) for key, (value, _) in numbers.items()}
    u = np.array([each for _, each in numbers.values()])
    shared = u.copy()
    shared[1:] *= r
    own = u * math.sqrt(1.0 - r * r)
    own[0] = 0.0
    effects = {"shared": shared[:, np.newaxis], "own": own[:, np.newaxis]}
    points = np.array([value for value, _ in numbers.values()])
    return values, Results([*numbers], points, effects, dict.fromkeys(effects, dof), TWO_SIGMA)


def stated(
    path: Path,
    bounds: str,
    numbers: dict[str, tuple[float, float]],
    decision: str = 'rule = "simple"',
    **how: float,
) -> Statement:
    """What is said of the first of some figures, if these are its bounds."""
    key = next(iter(numbers))
    head = f'[decision]\n{decision}\n[[requirement]]\nname = "a"\nquantity = "{key}"\n'
    limits = written(path / "limits.toml", head + bounds)
    (statement,) = assess(limits, *figures(numbers, **how)).statements
    return statement


def decided(
    path: Path, bounds: str, value: float, u: float, decision: str = 'rule = "non-binary"'
) -> Statement:
    return stated(path, bounds, {TAU_V: (value, u)}, decision)


# A lower limit of 0.08 with u = 0.0015 and a guard band of U = 2 u; probabilities are those of the
# normal distribution (JCGM 106:2012, 7.2).
@pytest.mark.parametrize(
    ("value", "probability", "verdicts"),
    [
        (0.0850, 0.99957, ("pass", "pass", "pass", "pass")),
        (0.0815, 0.84134, ("pass", "fail", "conditional pass", "pass")),
        (0.0795, 0.36944, ("fail", "fail", "conditional fail", "pass")),
        (0.0750, 0.00043, ("fail", "fail", "fail", "fail")),
    ],
)
def test_each_rule_decides_in_its_way(
    tmp_path: Path, value: float, probability: float, verdicts: tuple[str, ...]
) -> None:
    for rule, verdict in zip(
        ("simple", "guard-band", "non-binary", "uncritical"), verdicts, strict=True
    ):
        statement = decided(tmp_path, "above = 0.08", value, 0.0015, f'rule = "{rule}"')
        assert statement.verdict == verdict
        assert statement.probability == pytest.approx(probability, abs=5e-6)
        (check,) = statement.checks
        width = {"simple": 0.0, "uncritical": -0.003}.get(rule, 0.003)
        assert check.guard == pytest.approx(width, abs=1e-12)


@pytest.mark.parametrize(
    ("bounds", "value", "verdict"),
    [
        ("above = 0.25", 0.25, "fail"),
        ("at_least = 0.25", 0.25, "pass"),
        ("below = 0.25", 0.25, "fail"),
        ("at_most = 0.25", 0.25, "pass"),
        ("above = 0.25\nat_most = 0.5", 0.5, "pass"),
        ("above = 0.25\nbelow = 0.5", 0.5, "fail"),
    ],
)
def test_a_bound_belongs_to_what_its_word_says(
    tmp_path: Path, bounds: str, value: float, verdict: str
) -> None:
    assert decided(tmp_path, bounds, value, 0.001, 'rule = "simple"').verdict == verdict


def test_two_bounds_share_the_probability_and_need_room_for_the_guard_bands(tmp_path: Path) -> None:
    # The viscosity of JCGM 106:2012, 7.4, in units of 100.
    bounds = "at_least = 0.125\nat_most = 0.163"
    statement = decided(tmp_path, bounds, 0.136, 0.018, 'rule = "simple"')
    assert statement.probability == pytest.approx(0.6626, abs=5e-5)
    statement = decided(tmp_path, bounds, 0.144, 0.0095)
    assert statement.verdict == "not decided"
    assert "no result can pass" in str(statement.reason)
    assert decided(tmp_path, bounds, 0.144, 0.0094).verdict == "pass"


@pytest.mark.parametrize(
    ("words", "guard", "empty"),
    [
        (("above", "at_most"), 0.125, True),
        (("at_least", "below"), 0.125, True),
        (("above", "at_most"), 0.1249, False),
        (("above", "above"), 0.2, False),
        (("below", "at_most"), 0.2, False),
        (("above", "below"), -0.2, False),
    ],
)
def test_guard_bands_may_leave_nothing(words: tuple[str, str], guard: float, empty: bool) -> None:
    lower, upper = (
        Check(word, limit, None, 0.0, 0.1, 0.2, guard, 0.5, "fail")
        for word, limit in zip(words, (0.25, 0.5), strict=True)
    )
    assert _zone_is_empty([lower, upper]) == empty
    # Without guard bands limits that exclude each other are just not met.
    assert not _zone_is_empty([each._replace(guard=0.0) for each in (lower, upper)])
    crossed = [lower._replace(guard=0.0, limit=0.6), upper._replace(guard=0.0)]
    assert not _zone_is_empty(crossed)


@pytest.mark.parametrize(
    ("r", "u", "probability"), [(0.26, 0.001932, 0.99517), (0.0, 0.002195, 0.98862)]
)
def test_a_relative_bound_keeps_the_correlation(
    tmp_path: Path, r: float, u: float, probability: float
) -> None:
    bound = f'at_most = {{ times = 1, quantity = "{TAU_V}" }}'
    numbers = {SUVA: (0.09, 0.0019), TAU_V: (0.095, 0.0011)}
    statement = stated(tmp_path, bound, numbers, r=r)
    (check,) = statement.checks
    assert (check.limit, check.relative) == (0.095, f"1 {TAU_V}")
    assert check.u == pytest.approx(u, abs=1e-6)
    assert statement.probability == pytest.approx(probability, abs=1e-5)


@pytest.mark.parametrize(
    ("word", "value", "verdict", "limits"),
    [
        ("at_most", 0.03, "pass", [0.05]),  # below one of the two is below the larger
        ("at_most", 0.06, "fail", [0.05]),
        ("at_least", 0.03, "fail", [0.01, 0.05]),
        ("at_least", 0.06, "pass", [0.01, 0.05]),
    ],
)
def test_the_larger_of_two_bounds_counts(
    tmp_path: Path, word: str, value: float, verdict: str, limits: list[float]
) -> None:
    bound = f'{word} = {{ largest = [0.01, {{ times = 0.5, quantity = "{TAU_V}" }}] }}'
    statement = stated(tmp_path, bound, {SUVA: (value, 0.001), TAU_V: (0.1, 0.001)})
    assert statement.verdict == verdict
    assert [check.limit for check in statement.checks] == limits


# Of one degree of freedom t is Cauchy's distribution, whose distribution function is elementary.
@pytest.mark.parametrize(("value", "probability"), [(0.11, 0.75), (0.09, 0.25), (0.10, 0.5)])
def test_few_repeats_make_a_statement_less_sure(
    tmp_path: Path, value: float, probability: float
) -> None:
    statement = stated(tmp_path, "above = 0.1", {TAU_V: (value, 0.01)}, dof=1.0)
    assert statement.probability == pytest.approx(probability, abs=1e-9)


@pytest.mark.parametrize(
    ("word", "times", "verdict", "probability"),
    [
        ("above", 1.0, "fail", 0.0),
        ("at_least", 1.0, "pass", 1.0),
        ("below", 1.0, "fail", 0.0),
        ("at_most", 1.0, "pass", 1.0),
        ("above", 0.5, "pass", 1.0),
        ("at_most", 0.5, "fail", 0.0),
    ],
)
@pytest.mark.parametrize("other", [TAU_V, SUVA])
def test_what_changes_alike_is_certain(
    tmp_path: Path, other: str, word: str, times: float, verdict: str, probability: float
) -> None:
    bound = f'{word} = {{ times = {times}, quantity = "{other}" }}'
    numbers = {SUVA: (0.1, 0.001), TAU_V: (0.1, 0.001)}
    statement = stated(tmp_path, bound, numbers, 'rule = "non-binary"', r=1.0)
    (check,) = statement.checks
    assert (statement.verdict, statement.probability) == (verdict, pytest.approx(probability))
    assert check.u == pytest.approx(0.001 * (1.0 - times), abs=1e-15)
    sign = 1.0 if word in ("above", "at_least") else -1.0
    assert check.margin == pytest.approx(sign * 0.1 * (1.0 - times), abs=1e-15)


def test_a_statement_has_all_that_it_rests_on(tmp_path: Path) -> None:
    text = f"""
[decision]
rule = "non-binary"
factor = 0.5
[[requirement]]
name = "both"
quantity = "{SUVA}"
above = 0.02
at_most = {{ largest = [0.025, {{ times = 0.3, quantity = "{TAU_V}" }}] }}
when = "x"
"""
    given = figures({SUVA: (0.0305, 0.001), TAU_V: (0.1, 0.002)}, r=0.25)
    limits = written(tmp_path / "limits.toml", text)
    assert assess(limits, *given).statements == ()
    (statement,) = assess(limits, *given, purposes=("x",)).statements
    # Of the difference: 0.001, and 0.3 times 0.002, a quarter correlated.
    u = math.sqrt(0.001**2 + 0.0006**2 - 2 * 0.25 * 0.001 * 0.0006)
    normal = NormalDist().cdf
    lower, upper = (dict(zip(Check._fields, each, strict=True)) for each in statement.checks)
    assert lower == approximately(
        {"word": "above", "limit": 0.02, "relative": None, "verdict": "pass"}
        | {"margin": 0.0105, "u": 0.001, "expanded": 0.002, "guard": 0.001, "probability": 1.0}
    )
    assert upper == approximately(
        {"word": "at_most", "limit": 0.03, "relative": f"0.3 {TAU_V}", "margin": -0.0005}
        | {"u": u, "expanded": 2 * u, "guard": u, "probability": normal(-0.0005 / u)}
        | {"verdict": "conditional fail"}
    )
    facts = {"u": 0.001, "expanded": 0.002, "k": 2.0, "probability": normal(-0.0005 / u)}
    assert statement._replace(checks=())._asdict() == approximately(
        {"name": "both", "quantity": SUVA, "verdict": "conditional fail", "reason": None}
        | {"value": 0.0305, "checks": (), "categories": (), "when": "x"}
        | facts
    )


def approximately(facts: dict[str, Any]) -> dict[str, Any]:
    return {
        name: pytest.approx(value, abs=1e-12) if isinstance(value, float) else value
        for name, value in facts.items()
    }


@pytest.mark.parametrize(
    ("change", "reason"),
    [
        ({}, None),
        ({"decision": False}, "the limits state no decision rule"),
        ({"results": False}, "no uncertainty is stated"),
        ({"value": Value(problem="No data within 1-2 nm")}, f"{TAU_V}: No data within 1-2 nm"),
        (
            {"value": FULL._replace(value=0.1, covered=(380.0, 700.0))},
            f"{TAU_V}: the data do not cover the band",
        ),
        ({"u": 0.0}, f"{TAU_V}: the budget gives it no uncertainty"),
        ({"u": None}, f"{TAU_V}: no uncertainty: for a reason"),
    ],
)
def test_what_a_bound_is_relative_to_is_looked_at_as_well(
    tmp_path: Path, change: dict[str, Any], reason: str | None
) -> None:
    rule = '[decision]\nrule = "simple"\n' * change.get("decision", True)
    text = f'[[requirement]]\nname = "a"\nquantity = "{SUVA}"\nwhen = "x"\n'
    bound = f'below = {{ times = 0.5, quantity = "{TAU_V}" }}'
    limits = written(tmp_path / "limits.toml", rule + text + bound)
    u = change.get("u", 0.002)
    values, results = figures({SUVA: (0.03, 0.001)} | ({TAU_V: (0.1, u)} if u is not None else {}))
    values |= {TAU_V: change.get("value", FULL._replace(value=0.1))}
    if u is None:
        results = Results(
            [SUVA],
            np.array([0.03]),
            {"a": np.array([[0.001]])},
            {"a": math.inf},
            TWO_SIGMA,
            {TAU_V: "for a reason"},
        )
    given = results if change.get("results", True) else None
    (statement,) = assess(limits, values, given, purposes=["x"]).statements
    if reason is None:
        assert (statement.verdict, statement.reason) == ("pass", None)
        return
    known = (0.001, pytest.approx(0.002), pytest.approx(2.0)) if given else (None,) * 3
    assert statement == Statement("a", SUVA, "not decided", reason, 0.03, *known, when="x")


@pytest.mark.parametrize(
    ("dof", "expected"),
    [
        (1.0, 0.5 + math.atan(1.5) / math.pi),
        (2.0, 0.5 + 1.5 / (2.0 * math.sqrt(2.0 + 1.5**2))),
        (9_999.0, 0.933177),
        (10_000.0, NormalDist().cdf(1.5)),
        (math.inf, NormalDist().cdf(1.5)),
    ],
)
def test_the_probability_is_that_of_students_t(dof: float, expected: float) -> None:
    assert probability(0.03, 0.02, dof) == pytest.approx(expected, abs=2e-6)
    assert probability(-0.03, 0.02, dof) == pytest.approx(1.0 - expected, abs=2e-6)
    assert (probability(0.03, 0.02, dof) == NormalDist().cdf(1.5)) == (dof >= 10_000.0)


def classified(value: float, u: float, rule: str = "non-binary") -> Conformity:
    limits = Limits.read(EXAMPLE)
    assert limits.decision == Decision("non-binary", 1.0, 0.95)
    ruled = Limits(decision=Decision(rule), categories=limits.categories)
    return assess(ruled, *figures({TAU_V: (value, u)}))


@pytest.mark.parametrize(
    ("value", "u", "rule", "name", "could_be", "shares"), rows("categories.jsonl", "certificates")
)
def test_categories_near_a_bound_say_what_they_could_be(
    value: float,
    u: float,
    rule: str,
    name: str | None,
    could_be: list[str],
    shares: dict[str, float],
) -> None:
    category = classified(value, u, rule).category
    assert category is not None
    assert (category.name, [*category.could_be]) == (name, could_be)
    found = {each.name: each.probability for each in category.statements}
    assert {key: found[key] for key in shares} == pytest.approx(shares, abs=5e-5)


def test_a_requirement_of_a_category_says_if_that_is_in_doubt(tmp_path: Path) -> None:
    text = EXAMPLE.read_text() + "".join(
        f'[[requirement]]\nname = "{name}"\nquantity = "{TAU_V}"\nabove = 0.2\ncategories = [{c}]\n'
        for name, c in (("one", "1"), ("both", "1, 2"), ("none", "3"))
    )
    limits = written(tmp_path / "limits.toml", text)
    statements = assess(limits, *figures({TAU_V: (0.435, 0.004)})).statements
    assert [(each.name, each.categories) for each in statements] == [("one", ("1",)), ("both", ())]
    for value, name, reason in (
        (0.01, None, "the figure is in none of the categories"),
        (None, None, "No data"),
    ):
        values, results = figures({TAU_V: (value or 0.0, 0.001)})
        values |= {TAU_V: Value(problem="No data") if value is None else values[TAU_V]}
        category, statements = assess(limits, values, results)
        assert category is not None
        assert category[:3] == (name, (), reason)
        told = f"it is for some categories only, and {reason}"
        assert {(each.verdict, each.reason, each.when) for each in statements} == {
            ("not decided", told, None)
        }


def test_purposes_choose_requirements() -> None:
    limits = Limits.read(EXAMPLE)
    given = figures({TAU_V: (0.5, 0.001)})
    assert not assess(limits, *given).statements
    (statement,) = assess(limits, *given, purposes=["night driving"]).statements
    assert (statement.verdict, statement.when) == ("fail", "night driving")
    with pytest.raises(vek.Refusal, match=r"purpose 'drivin'; did you mean 'driving'"):
        assess(limits, *given, purposes=["drivin"])


@pytest.mark.parametrize(("text", "told"), mistakes("limits.txt"))
def test_a_mistake_is_told_with_its_line(tmp_path: Path, text: str, told: str) -> None:
    file = tmp_path / "limits.toml"
    with pytest.raises(vek.Refusal) as refusal:
        written(file, text)
    assert str(refusal.value) == f"{file}: {told}"


ALL = f"""
label = "L"
edition = "E"
source = "S"
[decision]
rule = "uncritical"
factor = 0.5
coverage = 0.9
[[category]]
name = "c"
quantity = "{TAU_V}"
at_least = 0
at_most = 1
[[requirement]]
name = "r"
quantity = "{SB}"
below = {{ largest = [0, {{ times = 2, quantity = "{SUVA}" }}] }}
when = "w"
categories = ["c"]
[[requirement]]
name = "c"
quantity = "ISO8980_3_Q_led.red"
at_least = 0
below = 9.9
[[requirement]]
name = "c"
quantity = "CIELAB_tristimulus_values.a_star"
above = -50
when = "w"
"""


def test_a_file_gives_all_that_is_in_it(tmp_path: Path) -> None:
    found = written(tmp_path / "all.toml", ALL)
    assert found == Limits(
        label="L",
        edition="E",
        source="S",
        decision=Decision("uncritical", 0.5, 0.9),
        categories=(
            Category(
                name="c", quantity=TAU_V, bounds=(at_least(0.0), Bound("at_most", (Term(1.0),)))
            ),
        ),
        requirements=(
            Requirement(
                name="r",
                quantity=SB,
                bounds=(Bound("below", (Term(0.0), Term(2.0, SUVA))),),
                when="w",
                categories=("c",),
            ),
            Requirement(
                name="c",
                quantity="ISO8980_3_Q_led.red",
                bounds=(at_least(0.0), Bound("below", (Term(9.9),))),
            ),
            Requirement(
                name="c",
                quantity="CIELAB_tristimulus_values.a_star",
                bounds=(Bound("above", (Term(-50.0),)),),
                when="w",
            ),
        ),
        file=str(tmp_path / "all.toml"),
        sha256=hashlib.sha256(ALL.encode()).hexdigest(),
    )
    assert found.purposes == ("w",)
    red, a_star = "ISO8980_3_Q_led.red", "CIELAB_tristimulus_values.a_star"
    assert found.quantities == (TAU_V, SB, SUVA, red, a_star)
    for rule, guard in (("simple", 0.0), ("guard-band", 0.5), ("uncritical", -0.5)):
        assert Decision(rule, 0.5).guard == guard
    text = f'[[requirement]]\nname = "a"\nquantity = "{TAU_V}"\nabove = 0.1\n'
    bare = written(tmp_path / "bare.toml", text)
    assert (bare.label, bare.decision, bare.categories, bare.purposes) == ("", None, (), ())
    with pytest.raises(vek.Refusal, match=r"bare.toml: no requirement is for the purpose 'x'$"):
        assess(bare, {}, None, purposes=["x"])
