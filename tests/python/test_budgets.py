"""Budgets of uncertainty: their files, their components, how figures are rounded."""

import math
from pathlib import Path

import numpy as np
import pytest

import vekanalysis as vek
from vekanalysis.uncertainty import Budget, Component, Matrix, coverage_factor, rounded

EXAMPLES = Path(__file__).parents[2] / "examples"

NOISE = """
[[component]]
name = "noise"
kind = "noise"
{}
"""


def test_the_example_says_what_its_sizes_are() -> None:
    budget = Budget.read(EXAMPLES / "budget.toml")
    sizes = {c.name: c.size.values.item() for c in budget.components if c.size is not None}
    assert (budget.label, budget.coverage) == ("Bench 1, March 2026", 0.95)
    assert sizes == pytest.approx(
        {"100 % line": 0.002, "zero": 0.0009 / math.sqrt(3), "noise": 0.0005, "wavelength": 0.2}
    )
    assert [c.law for c in budget.components] == ["normal", "rectangular", "t", "normal"]
    assert [c.is_shared for c in budget.components] == [True, True, False, True]


# Each with the line it is on, after the first one that is blank, and words of the message.
@pytest.mark.parametrize(
    ("lines", "line", "words"),
    [
        (
            'standart = 1\ncorrelation = "full"',
            5,
            "unknown key 'standart'; did you mean 'standard'",
        ),
        ("standard = 1", 2, 'correlation is missing; it must be stated: "independent"'),
        ('standard = 1\ncorrelation = "fall"', 6, "correlation is 'fall'"),
        ("standard = 1\ncorrelation = { length = 0 }", 6, "must be a number above 0"),
        ('correlation = "full"', 2, "its size is missing"),
        (
            'standard = 1\ncorrelation = "full"\nexpanded = 2\nk = 2',
            7,
            "both standard and expanded",
        ),
        ('expanded = 2\ncorrelation = "full"', 5, "expanded needs k"),
        ('standard = 1\nk = 2\ncorrelation = "full"', 6, "k needs expanded"),
        ('correlation = "full"\nstandard = -1', 6, "standard must not be below 0"),
        ('correlation = "full"\nstandard = [\n [400, 1],\n [390, 1]]', 6, "ascending wavelengths"),
        ('correlation = "full"\nstandard = nan', 6, "not finite"),
        ('correlation = "full"\nstandard = true', 6, "must be a number"),
        ('half_width = 1\ncorrelation = "full"', 5, "half_width needs a distribution"),
        ('standard = 1\ncorrelation = "full"\nquantities = 1', 7, "has no quantities"),
        ('standard = 1\ncorrelation = "full"\ndistribution = "box"', 7, "distribution is 'box'"),
        ('standard = 1\ncorrelation = "full"\ndistribution = "t"', 7, "'t' needs dof"),
        ('standard = 1\ncorrelation = "full"\ndof = 0', 7, "dof is 0"),
        ('standard = 1\ncorrelation = "full"\npivot = 500', 7, "kind 'noise' has no pivot"),
        ('standard = 1\ncorrelation = "full"\nunit = "furlong"', 7, "is not understood"),
        ('standard = "none.csv"\ncorrelation = "full"', 5, "none.csv: cannot be read"),
        ('standard = "uneven.csv"\ncorrelation = "full"', 5, "uneven.csv: line 3: 3 cells"),
        ('standard = 1\ncorrelation = { matrix = "square.csv" }', 6, "diagonal is not 1"),
        ('standard = 1\ncorrelation = { matrix = "beyond.csv" }', 6, "row 1, column 2"),
        ('standard = 1\ncorrelation = { matrix = "negative.csv" }', 6, "an eigenvalue of -0.8"),
        ('standard = 1\ncorrelation = { matrix = "uneven.csv" }', 6, "uneven.csv: line 3"),
        ('standard = 1\ncorrelation = "full"\n[[component]]\nname = "b"', 7, "kind is missing"),
        (
            'standard = 1\ncorrelation = "full"\n[[component]]\nname = "noise"\nkind = "gain"\n'
            "standard = 1",
            8,
            "two components are named 'noise'",
        ),
        ('repeats = "pair.csv"\ncorrelation = "full"', 2, "averaged is missing"),
        ('repeats = "pair.csv"\naveraged = 1\ncorrelation = "full"', 5, "at least two spectra"),
        ('repeats = "pair.csv"\naveraged = 1\ncorrelation = "full"\ndof = 3', 8, "dof is too much"),
    ],
)
def test_a_mistake_is_told_with_its_line(tmp_path: Path, lines: str, line: int, words: str) -> None:
    (tmp_path / "uneven.csv").write_text("wavelength,size\n400,1\n410,1,1\n")
    (tmp_path / "square.csv").write_text("400,1.01,0\n410,0,1.01\n")
    (tmp_path / "beyond.csv").write_text("400,1,1.1\n410,1.1,1\n")
    (tmp_path / "negative.csv").write_text("400,1,.9,-.9\n410,.9,1,.9\n420,-.9,.9,1\n")
    (tmp_path / "pair.csv").write_text("400,0.5\n410,0.6\n")
    file = tmp_path / "budget.toml"
    file.write_text(NOISE.format(lines))
    with pytest.raises(vek.Refusal) as refusal:
        Budget.read(file)
    text = str(refusal.value)
    assert text.startswith(f"{file}: line {line}: ")
    assert words in text
    assert "\n" not in text


@pytest.mark.parametrize(
    ("text", "words"),
    [
        ("coverage = 1.5", "line 1: coverage is 1.5"),
        ("\nlabel = 3\n", "line 2: label must be a text"),
        ('labell = ""', "unknown key 'labell'; did you mean 'label'"),
        ("component = 3", "line 1: components are written under"),
        ("\nlabel =\n", "line 2: no TOML: Invalid value"),
        (f"coverage = {'9' * 5000}", "no TOML: a number has too many digits"),
        ("coverage = [{x = [-9223372036854775809]}]", "a whole number has more than 64 bits"),
        ('"a\\nb" = 1', "the budget has an unknown key 'a\N{REPLACEMENT CHARACTER}b'"),
    ],
)
def test_a_mistake_at_the_top_is_told(tmp_path: Path, text: str, words: str) -> None:
    file = tmp_path / "budget.toml"
    file.write_text(text)
    with pytest.raises(vek.Refusal, match=r"budget\.toml") as refusal:
        Budget.read(file)
    assert words in str(refusal.value)


@pytest.mark.parametrize(
    ("kind", "arguments", "words"),
    [
        ("gain", {}, "size is missing"),
        ("gain", {"standard": 1, "relative": True}, "has no relative"),
        ("gain", {"standard": 1, "unit": "nm"}, "none of a fraction"),
        ("gian", {"standard": 1}, "did you mean 'gain'"),
        ("wavelength-scale", {"standard": 1}, "pivot is missing"),
        ("bandwidth", {"standard": 1}, "fwhm is missing"),
        ("bandwidth", {"standard": 1, "fwhm": 5, "slit": "round"}, "slit is 'round'"),
        ("figure", {"standard": 1}, "quantities is missing"),
        ("stray-light", {"standard": 1, "band": (500, 400)}, "band must be"),
        ("covariance", {"standard": 1}, "needs a covariance matrix"),
        ("covariance", {"covariance": [[1, 2]]}, "must be a square matrix"),
        ("covariance", {"covariance": [[1, 0.5], [0.6, 1]]}, "not symmetric in row 1, column 2"),
        ("covariance", {"covariance": [[-1, 0], [0, 1]]}, "below 0 in its diagonal"),
        (
            "noise",
            {"half_width": 1, "distribution": "arcsine", "correlation": {"length": 20}},
            "needs a normal or t distribution",
        ),
    ],
)
def test_a_component_that_cannot_be_is_refused(
    kind: str, arguments: dict[str, object], words: str
) -> None:
    with pytest.raises(vek.Refusal, match=r"component 'c'") as refusal:
        Component(name="c", kind=kind, **arguments)  # type: ignore[arg-type]
    assert words in str(refusal.value)


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


def test_repeats_of_a_file_are_taken_in_their_unit(tmp_path: Path) -> None:
    (tmp_path / "r.csv").write_text("Wavelength (nm),a (%T),b (%T)\n400,50,52\n410,60,60\n")
    file = tmp_path / "budget.toml"
    file.write_text(NOISE.format('repeats = "r.csv"\naveraged = 1\ncorrelation = "independent"'))
    (component,) = Budget.read(file).components
    assert component.size is not None
    assert component.size.values == pytest.approx([0.01 * math.sqrt(2.0), 0.0])
    (tmp_path / "r.csv").write_text("Wavelength (nm),a,b\n400,50,52\n410,60,60\n")
    with pytest.raises(vek.Refusal, match=r"line 5: .*unit of .* is not stated"):
        Budget.read(file)


@pytest.mark.parametrize(
    ("value", "expanded", "nearest", "up"),
    [
        (0.549559, 0.002239, "0.5496 ± 0.0022", "0.5496 ± 0.0023"),
        (0.237014, 0.003735, "0.2370 ± 0.0037", "0.2370 ± 0.0038"),
        (10.05762, 0.027, "10.058 ± 0.027", "10.058 ± 0.027"),  # JCGM 100:2008, 7.2.6
        (0.54951, 0.00996, "0.550 ± 0.010", "0.550 ± 0.010"),
        (0.5, 0.0995, "0.50 ± 0.10", "0.50 ± 0.10"),
        (12345.6, 123.4, "12350 ± 120", "12350 ± 130"),
        (-1.7207, 0.0515, "-1.721 ± 0.052", "-1.721 ± 0.052"),
        (9.3e-6, 0.0011, "0.0000 ± 0.0011", "0.0000 ± 0.0011"),
        (-9.3e-6, 0.0011, "0.0000 ± 0.0011", "0.0000 ± 0.0011"),
        (0.25, 0.0, "0.25", "0.25"),
        (1.0 / 3.0, 1e-18, "0.3333333333333333", "0.3333333333333333"),
        (0.25, math.nan, "0.25", "0.25"),
        (0.25, math.inf, "0.25", "0.25"),
    ],
)
def test_figures_keep_the_digits_that_their_uncertainty_leaves(
    value: float, expanded: float, nearest: str, up: str
) -> None:
    assert str(rounded(value, expanded)) == nearest
    assert str(rounded(value, expanded, direction="up")) == up


def test_the_coverage_factor_takes_whole_degrees_of_freedom() -> None:
    assert (
        coverage_factor(0.95, 16.75) == coverage_factor(0.95, 16) == pytest.approx(2.12, abs=5e-3)
    )
    assert coverage_factor(0.95, 0.4) == pytest.approx(12.706, abs=5e-4)
    assert coverage_factor(0.95, math.inf) == pytest.approx(1.96, abs=5e-4)
