"""Quantities that follow from others: quotients, of which both parts must be there."""

import math
from pathlib import Path

import numpy as np
import pytest
from cli import GREY, ROOT

import vekanalysis as vek
from vekanalysis import colorimetry, quantities
from vekanalysis.certificates import Certificate, Limits, assess
from vekanalysis.quantities import DERIVED, LENS_FULL, Evaluator
from vekanalysis.uncertainty import Budget, Component, propagate, simulate

LED_RED = "ISO8980_3_Q_led.red"
SMALLEST = "ANSI_Z80_3_tau_min_over_tau_v"
GRID = [*range(380, 781, 5)]
COLOURS = ("red", "yellow", "green", "blue")


def glass() -> vek.Scan:
    return vek.io.load_csv(str(ROOT / "examples/bronze-glass-4mm.csv"))


def test_each_is_the_quotient_of_the_functions() -> None:
    lens = glass()
    clear = vek.Scan(lens.wavelengths(), [1.0] * len(lens.wavelengths()))
    luminous, under_c = colorimetry.ISO8980_3_tau_v(lens), colorimetry.ANSI_Z80_3_tau_v(lens)
    lamp, led = (
        function(lens)
        for function in (
            colorimetry.ISO8980_3_tau_signal_incandescent,
            colorimetry.ISO8980_3_tau_signal_led,
        )
    )
    traffic, of_clear = map(colorimetry.ANSI_Z80_3_tau_signal, (lens, clear))
    expected = {}
    for colour in COLOURS:
        expected[f"ISO8980_3_Q_incandescent.{colour}"] = getattr(lamp, colour) / luminous
        expected[f"ISO8980_3_Q_led.{colour}"] = getattr(led, colour) / luminous
    for colour in COLOURS[:3]:
        relative = getattr(traffic, colour) / getattr(of_clear, colour)
        expected[f"ANSI_Z80_3_tau_signal_relative.{colour}"] = relative
        expected[f"ANSI_Z80_3_Q.{colour}"] = relative / under_c
    expected[SMALLEST] = colorimetry.ANSI_Z80_3_tau_spectral_min(lens) / under_c
    found = {key: each.value for key, each in quantities.evaluate(lens, DERIVED).items()}
    assert found == pytest.approx(expected, rel=1e-12)
    # The gain of an instrument cancels, in quotients and in nothing else.
    brighter = quantities.evaluate(lens * 1.25, DERIVED)
    for record in DERIVED:
        factor = 1.0 if record.is_quotient else 1.25
        assert brighter[record.key].value == pytest.approx(factor * expected[record.key], rel=1e-12)


@pytest.mark.parametrize(
    ("lens", "key", "problem"),
    [
        (vek.Scan(GRID, [0.0] * 81), LED_RED, "Not computable: τ_V is 0, not above 0"),
        (vek.Scan(GRID, [-0.001] * 81), SMALLEST, "Not computable: τ_V is -0.001, not above 0"),
        (vek.Scan(GRID, [math.nan] * 81), SMALLEST, "Not computable: τ_V is nan, not above 0"),
        # There is light for τ_V, and none of the signal.
        (vek.Scan(GRID[:25], [0.5] * 25), LED_RED, "No data within 550-685 nm"),
        (vek.Scan(GRID[60:], [0.5] * 21), SMALLEST, "No data within 475-650 nm"),
        (vek.Scan(range(280, 381), [0.5] * 101), LED_RED, "No data within 550-685 nm"),
    ],
)
def test_there_is_none_without_both_parts(lens: vek.Scan, key: str, problem: str) -> None:
    value = quantities.evaluate(lens, key)[key]
    assert (value.value, value.problem) == (None, problem)
    figures = quantities.Figures([key]).values(vek.Spectrum(lens, "transmittance", "1"))
    if not math.isnan(lens.values()[0]):
        assert figures[key].problem == problem
    assert np.isnan(Evaluator(lens.wavelengths(), key)(np.array(lens.values())))


def test_data_for_the_signal_alone_are_not_enough() -> None:
    lens = vek.Scan(range(550, 686), [0.5] * 136)
    value = quantities.evaluate(lens, LED_RED)[LED_RED]
    assert (value.needed, value.covered) == ((380.0, 780.0), (550.0, 685.0))
    assert not value.complete


def test_sensitivities_are_those_of_quotients() -> None:
    grid = np.arange(315.0, 801.0)
    evaluator = Evaluator(grid, DERIVED)
    assert evaluator.linear == tuple(not record.is_quotient for record in DERIVED)
    lens = np.asarray(glass()(np.clip(grid, 320, 800)))
    change = evaluator.sensitivities(lens)
    step = 1e-6
    lowest = 475 - 315 + int(lens[475 - 315 : 651 - 315].argmin())
    for i in (100, 201, 240, 333, 400, lowest):
        pulse = step * (np.arange(len(grid)) == i)
        expected = (evaluator(lens + pulse) - evaluator(lens - pulse)) / (2 * step)
        # One side of the smallest value is another point's.
        kept = [record.key != SMALLEST or i != lowest for record in DERIVED]
        np.testing.assert_allclose(change[kept, i], expected[kept], rtol=1e-5, atol=1e-8)
    luminous = evaluator.sensitivities(lens)[-1] @ lens
    assert luminous == pytest.approx(0.0, abs=1e-12)  # a quotient does not change with all values
    assert change[-1, lowest] > 0.9
    with pytest.raises(ValueError, match="is not linear"):
        evaluator.sensitivities()


# Gain, zero, wavelength, scale, non-linearity and noise of the quotient of the red LED signal:
# differences of the two functions over one standard uncertainty, worked out apart from this.
def test_the_correlation_of_both_parts_is_in_the_uncertainty() -> None:
    components = [
        Component(name="gain", kind="gain", standard=0.002),
        Component(name="zero", kind="offset", standard=0.0005),
        Component(name="offset", kind="wavelength", standard=0.2),
        Component(name="scale", kind="wavelength-scale", standard=0.0005, pivot=550),
        Component(name="bent", kind="non-linearity", standard=0.0005),
        Component(name="noise", kind="noise", standard=0.0005, correlation="independent"),
    ]
    (lens,) = vek.read(GREY)
    result = propagate(lens, Budget(components=components), [LED_RED])[LED_RED]
    assert result.value == pytest.approx(0.954863, abs=5e-7)
    expected = {
        "gain": 0.0,
        "zero": 4.11e-5,
        "offset": -2.25e-5,
        "scale": -8e-7,
        "bent": 4.91e-5,
        "noise": 4.537e-4,
    }
    for name, size in expected.items():
        assert abs(result.contributions[name]) == pytest.approx(abs(size), abs=1e-7), name
    gain_zero_noise = Budget(components=[components[i] for i in (0, 1, 5)])
    drawn = simulate(lens, gain_zero_noise, [LED_RED], draws=10_000, seed=1)[LED_RED]
    assert drawn.u == pytest.approx(0.00045, abs=1e-5)
    # Above 1 as well: no quotient ends there, as a transmittance does.
    above = propagate(lens, Budget(components=components), ["ISO8980_3_Q_incandescent.green"])
    assert above["ISO8980_3_Q_incandescent.green"].interval[1] > 1.0095


def test_repeats_have_the_scatter_of_their_quotients() -> None:
    lens = glass()
    # A gain of its own for each scan: figures scatter, and no quotient does.
    scans = [vek.Spectrum(lens * gain, "transmittance", "1") for gain in (0.98, 1.0, 1.02)]
    report = vek.reports.lens(quantities.Repeats(scans, "mean"), full=True)
    scatter = {each["key"]: each["values"][0]["s"] for each in report.document()["quantities"]}
    assert scatter["ISO8980_3_tau_v"] > 0.01
    assert scatter[LED_RED] < 1e-12


LIMITS = """
[decision]
rule = "simple"
[[requirement]]
name = "lowest"
quantity = "ANSI_Z80_3_tau_min_over_tau_v"
at_least = {bound}
[[requirement]]
name = "red"
quantity = "ISO8980_3_Q_led.red"
at_least = 0.8
"""


def test_limits_may_name_them(tmp_path: Path) -> None:
    file = tmp_path / "limits.toml"
    file.write_text(LIMITS.format(bound="0.2"))
    limits = Limits.read(file)
    (lens,) = vek.read(GREY)
    budget = Budget(components=[Component(name="zero", kind="offset", standard=0.0005)])
    found = Certificate(lens, budget=budget, limits=limits).conformity
    assert found is not None
    lowest, red = found.statements
    assert lowest.verdict == "pass"
    assert lowest.value == pytest.approx(0.520439 / 0.55003, abs=1e-5)
    # By the zero line: (1 - 1 / tau_V * tau_min) / tau_V times 0.0005.
    assert lowest.u == pytest.approx(0.0005 * (1.0 - 0.520439 / 0.55003) / 0.55003, rel=1e-3)
    assert (red.verdict, red.reason) == ("not decided", "it rests on a reconstructed table")
    values = quantities.evaluate(lens, LENS_FULL)
    trusted = assess(
        limits, values, propagate(lens, budget, LENS_FULL), trusted=["ISO8980_3_led_red"]
    )
    assert [each.verdict for each in trusted.statements] == ["pass", "pass"]
    for bound in ("20", "-0.1"):
        file.write_text(LIMITS.format(bound=bound))
        with pytest.raises(vek.Refusal, match=f"at_least is {bound}; quotients are plain numbers"):
            Limits.read(file)
