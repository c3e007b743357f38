"""Budgets of uncertainty: their files, their components, how figures are rounded."""

import hashlib
import math
from dataclasses import FrozenInstanceError
from datetime import date
from pathlib import Path
from typing import Any

import numpy as np
import pytest
from cli import rows

import vekanalysis as vek
from vekanalysis._toml import Place, line_of
from vekanalysis.uncertainty import Budget, Component, Matrix, coverage_factor, rounded

ROOT = Path(__file__).parents[2]

NOISE = """
[[component]]
name = "noise"
{}
"""


def test_the_example_says_what_its_sizes_are() -> None:
    budget = Budget.read(ROOT / "examples/budget.toml")
    sizes = {c.name: c.size.values.item() for c in budget.components if c.size is not None}
    assert (budget.label, budget.coverage) == ("Bench 1, March 2026", 0.95)
    assert sizes == pytest.approx(
        {"100 % line": 0.002, "zero": 0.0009 / math.sqrt(3), "noise": 0.0005, "wavelength": 0.2}
    )
    assert [c.law for c in budget.components] == ["normal", "rectangular", "t", "normal"]
    assert [c.is_shared for c in budget.components] == [True, True, False, True]


# Lines of a component, and what is told of the file, line by line from the first, which is blank.
# FULL is the correlation, NOISE the component, HOW what a correlation may be.
MISTAKES = (ROOT / "tests/data/mistakes/budgets.txt").read_text().splitlines()
FILES = dict(rows("budget-files.jsonl", "mistakes"))
FILES["long"] = "".join(f"{n},1\n" for n in range(5001))
SHORT = {
    "FULL": 'correlation = "full"',
    "OF_ALL": "NOISE the matrix of covariance",
    "BAND": "band must be two ascending wavelengths in nm",
    "MATRIX": "NOISE the matrix of correlation",
    "NOISE": "component 'noise':",
    "HOW": 'it must be stated: "independent", "full", { length = ... } in nm or { matrix = ... }',
}


@pytest.mark.parametrize("mistake", MISTAKES)
def test_a_mistake_is_told_with_its_line(tmp_path: Path, mistake: str) -> None:
    for short, long in SHORT.items():
        mistake = mistake.replace(short, long)
    lines, told = mistake.replace("~", str(tmp_path)).split(" -> ")
    for name, text in FILES.items():
        (tmp_path / f"{name}.csv").write_text(text)
    file = tmp_path / "budget.toml"
    kind = "" if lines.startswith("kind") else 'kind = "noise" | '
    file.write_text(NOISE.format((kind + lines).replace(" | ", "\n")))
    with pytest.raises(vek.Refusal) as refusal:
        Budget.read(file)
    assert str(refusal.value) == f"{file}: line {told}"


TOPS = [
    *rows("budget-tops.jsonl", "mistakes"),
    (f"coverage = {'9' * 5000}", "no TOML: a number has too many digits"),
    (f"label = {'[' * 5000}", "too deeply nested"),
    (b"label = '\xff'", "no TOML: it is not in UTF-8"),
]


@pytest.mark.parametrize(("text", "told"), TOPS)
def test_a_mistake_at_the_top_is_told(tmp_path: Path, text: str | bytes, told: str) -> None:
    file = tmp_path / "budget.toml"
    file.write_bytes(text.encode() if isinstance(text, str) else text)
    with pytest.raises(vek.Refusal) as refusal:
        Budget.read(file)
    assert str(refusal.value) == f"{file}: {told}"


ODD = (ROOT / "tests/data/mistakes/places.toml").read_text()


@pytest.mark.parametrize(("table", "key", "line"), rows("places.jsonl", "mistakes"))
def test_the_line_of_a_key_is_found(table: Any, key: str | None, line: int) -> None:
    assert line_of(ODD, Place(*table, key)) == line


def test_reasons_and_the_search_for_lines_have_an_end(tmp_path: Path) -> None:
    file = tmp_path / "budget.toml"
    for length in (216, 217):
        file.write_text(f"{'k' * length} = 1")
        with pytest.raises(vek.Refusal) as refusal:
            Budget.read(file)
        reason = f"the budget has an unknown key '{'k' * length}'; there are 'label', 'date', "
        reason += "'coverage', 'component'"
        told = str(refusal.value).removeprefix(f"{file}: line 1: ")
        assert told == (reason if len(reason) == 300 else f"{reason[:299]}…")
    # Each line in the text may be that of the key, and costs the time of all before it.
    for count, line in ((100, 103), (1000, None)):
        text = f'text = """\n{"key = 1\n" * count}"""\nkey = 1\n'
        assert line_of(text, Place(key="key")) == line


def test_what_no_file_can_say_is_refused_as_well() -> None:
    for kind, size, told in (
        ("gain", {"standard": {500: 1, 400: -1}}, "standard must not be below 0"),
        ("covariance", {"covariance": Matrix([4, 5, 6], np.eye(2))}, HAS_ROWS),
    ):
        with pytest.raises(vek.Refusal) as refusal:
            Component(name="c", kind=kind, **size)  # type: ignore[arg-type]
        assert str(refusal.value) == f"component 'c': {told}"


HAS_ROWS = "the matrix of covariance has 2 rows for 3 wavelengths"
A = Component(name="a", kind="gain", standard=1)


def test_what_is_kept_prepared_never_changes() -> None:
    for each, name in ((A, "standard"), (Budget(components=[A]), "coverage")):
        with pytest.raises(FrozenInstanceError):
            setattr(each, name, 0.5)
    for kind in (Budget, Component):
        with pytest.raises(TypeError, match="positional"):
            kind("a", "gain")  # type: ignore[call-arg]
    # Anything above 0 will do.
    Component(name="c", kind="gain", expanded=1, k=0.05, dof=0.05)
    Component(name="c", kind="bandwidth", standard=1, fwhm=0.05)


OPEN = {"name": "a", "correlation": "full"}


@pytest.mark.parametrize(
    ("arguments", "told"),
    [
        ({"coverage": True}, "coverage must be a number between 0 and 1"),
        ({"coverage": 0.0}, "coverage is 0.0; it must lie between 0 and 1"),
        ({"coverage": 1}, "coverage is 1; it must lie between 0 and 1"),
        ({"components": [A, A]}, "two components are named 'a'"),
        ({"components": [A], "of_repeats": [OPEN]}, "two components are named 'a'"),
        ({"of_repeats": [OPEN, OPEN]}, "two components are named 'a'"),
        ({"of_repeats": [OPEN | {"k": 3}]}, "'a': k needs expanded"),
        ({"components": [3]}, "a Budget has Components, not int"),
    ],
)
def test_a_budget_that_cannot_be_is_refused(arguments: dict[str, Any], told: str) -> None:
    with pytest.raises((vek.Refusal, TypeError)) as refusal:
        Budget(**arguments)
    assert str(refusal.value).removeprefix("component ") == told


def test_a_matrix_of_a_certificate_may_lack_rank_and_digits() -> None:
    rng = np.random.default_rng(1)
    effects = rng.standard_normal((4, 30)) * np.geomspace(1e-6, 1.0, 30)
    exact = effects.T @ effects
    scale = np.sqrt(np.diagonal(exact))
    rounded_to_3 = np.round(exact / np.outer(scale, scale), 3) * np.outer(scale, scale)
    for matrix, tolerance in ((exact, 1e-9), (rounded_to_3, 0.02)):
        component = Component(name="c", kind="covariance", covariance=Matrix(None, matrix))
        assert component.partial is not None
        factor = component.partial.factor
        assert factor is not None
        made = factor.rows.T @ factor.rows
        assert np.abs(made - exact).max() <= tolerance * np.outer(scale, scale).max()
        assert np.abs((made - exact) / np.outer(scale, scale)).max() <= tolerance


@pytest.mark.parametrize(("line", "text", "values"), rows("sizes.jsonl", "uncertainty"))
def test_sizes_and_matrices_come_from_files(
    tmp_path: Path, line: str, text: str, values: list[Any]
) -> None:
    is_matrix = isinstance(values[0], list)
    file, curve = tmp_path / "budget.toml", tmp_path / "a.csv"
    curve.write_text(text, newline="")
    kind = "covariance" if "covariance" in line else "noise"
    head = f'label = "B"\ndate = 2026-03-01\n[[component]]\nname = "a"\nkind = "{kind}"\n'
    file.write_text(head + line + ("" if is_matrix else '\ncorrelation = "full"'))
    budget = Budget.read(file)
    (component,) = budget.components
    if is_matrix:
        assert component.partial is not None
        assert component.partial.factor is not None
        rows = component.partial.factor.rows
        assert rows.T @ rows == pytest.approx(np.array(values))
    else:
        assert component.size is not None
        grid = np.array([400.0, 405.0, 410.0])
        assert component.size.on(grid, "it").tolist() == pytest.approx(values)
    digests = {each: hashlib.sha256(each.read_bytes()).hexdigest() for each in (file, curve)}
    assert (budget.file, budget.sha256) == (str(file), digests[file])
    assert dict(budget.files) == ({"a.csv": digests[curve]} if text else {})
    assert (budget.label, budget.date) == ("B", date(2026, 3, 1))


# JCGM 100:2008, H.2: resistance and reactance scatter as the repeats do, correlation and all.
def test_repeats_keep_the_correlation_between_their_points() -> None:
    volt = [5.007, 4.994, 5.005, 4.990, 4.999]
    milliampere = [19.663, 19.639, 19.640, 19.685, 19.678]
    repeats = [vek.Scan([1.0, 2.0], list(pair)) for pair in zip(volt, milliampere, strict=True)]
    observed = Component.from_repeats("r", repeats, averaged=5, correlation="observed")
    assert observed.partial is not None
    assert observed.partial.factor is not None
    rows = observed.partial.factor.rows
    covariance = rows.T @ rows
    u = np.sqrt(np.diagonal(covariance))
    assert u == pytest.approx([0.0032, 0.0095], abs=5e-5)
    assert covariance[0, 1] / u.prod() == pytest.approx(-0.36, abs=0.005)
    assert observed.dof == 4
    single = Component.from_repeats("r", repeats, averaged=1, correlation="independent")
    assert single.size is not None
    assert single.size.values == pytest.approx(u * math.sqrt(5))


def test_the_noise_of_repeats_may_be_relative() -> None:
    pairs = [[1.0, -2.0], [3.0, -2.0], [2.0, -5.0]]
    repeats = [vek.Scan([400.0, 410.0], pair) for pair in pairs]
    for relative, expected in ((False, [1.0, 3.0**0.5]), (True, [0.5, 3.0**-0.5])):
        noise: Any = Component.from_repeats(
            "r", repeats, averaged=1, correlation="full", relative=relative, shared=True
        )
        assert noise.size.values == pytest.approx(expected)
        assert (noise.relative, noise.dof, noise.is_shared, noise.law) == (relative, 2.0, True, "t")
        mean = Component.from_repeats(
            "r", repeats, averaged=4, correlation="observed", relative=relative
        )
        assert (mean.kind, mean.relative) == ("covariance", relative)
        assert (mean.dof, mean.is_shared) == (2.0, False)
        rows: Any = mean.partial.factor.rows  # type: ignore[union-attr]
        assert np.sqrt((rows**2).sum(axis=0)) == pytest.approx(0.5 * np.array(expected))
    # Values without a unit are fractions, or what is relative to them is wanted.
    for value, is_taken in ((1.5, True), (-0.5, True), (1.51, False), (-0.51, False)):
        scans = [vek.Spectrum(vek.Scan([400.0, 410.0], [each, 1.0])) for each in (0.6, value)]
        for relative in (False, True):
            if is_taken or relative:
                Component.from_repeats(
                    "r", scans, averaged=1, correlation="full", relative=relative
                )
            else:
                with pytest.raises(vek.Refusal, match=r"'r': repeats: the unit of .* no fractions"):
                    Component.from_repeats("r", scans, averaged=1, correlation="full")


def test_repeats_of_a_file_are_taken_in_their_unit(tmp_path: Path) -> None:
    (tmp_path / "r.csv").write_text("Wavelength (nm),a (%T),b (%T)\n400,50,52\n410,60,60\n")
    file = tmp_path / "budget.toml"
    file.write_text(
        NOISE.format('kind = "noise"\nrepeats = "r.csv"\naveraged = 1\ncorrelation = "independent"')
    )
    (component,) = Budget.read(file).components
    assert component.size is not None
    assert component.size.values == pytest.approx([0.01 * math.sqrt(2.0), 0.0])
    (tmp_path / "r.csv").write_text("Wavelength (nm),a,b\n400,50,52\n410,60,60\n")
    with pytest.raises(vek.Refusal, match=r"line 5: .*unit of .* is not stated"):
        Budget.read(file)


# 10.058 ± 0.027 is the example of JCGM 100:2008, 7.2.6.
@pytest.mark.parametrize(
    ("value", "expanded", "nearest", "up"), rows("rounded.jsonl", "uncertainty")
)
def test_figures_keep_the_digits_that_their_uncertainty_leaves(
    value: float, expanded: float, nearest: str, up: str
) -> None:
    assert str(rounded(value, expanded)) == nearest
    assert str(rounded(value, expanded, direction="up")) == up


def test_digits_are_as_many_as_are_asked_for() -> None:
    asked = [str(rounded(12.3456, 0.0951, digits=digits)) for digits in (1, 2, 3, 5)]
    assert asked == ["12.3 ± 0.1", "12.346 ± 0.095", "12.3456 ± 0.0951", "12.345600 ± 0.095100"]
    with pytest.raises(ValueError, match=r"^rounded: at least one digit is needed$"):
        rounded(1.0, 0.1, digits=0)
    told = r"^rounded: direction must be 'nearest' or 'up', not 'down'$"
    with pytest.raises(ValueError, match=told):
        rounded(1.0, 0.1, direction="down")  # type: ignore[arg-type]


def test_the_coverage_factor_takes_whole_degrees_of_freedom() -> None:
    assert (
        coverage_factor(0.95, 16.75) == coverage_factor(0.95, 16) == pytest.approx(2.12, abs=5e-3)
    )
    assert coverage_factor(0.95, 0.4) == pytest.approx(12.706, abs=5e-4)
    assert coverage_factor(0.95, math.inf) == pytest.approx(1.96, abs=5e-4)
