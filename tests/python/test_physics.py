"""Black-body physics: accuracy against arbitrary precision, and arrays."""

import math
import random
from collections.abc import Callable
from functools import partial
from typing import Any

import numpy as np
import pytest

from vekanalysis import physics

# The stored constants, CODATA 2006.
K = 1.3806504e-23
HC = 1.9864455003959036e-25
TWO_HC2 = 1.1910427584934558e-16
TWO_H2C3 = 2.36594152838845e-41
MINUS_5K = -6.903252e-23

RADIANCES = [
    (physics.planks_law_sr, 1.0),
    (physics.planks_law_sr_um, 1e-6),
    (physics.planks_law_sr_nm, 1e-9),
]


def sample() -> list[tuple[float, float]]:
    """Temperatures from 1 to 1e5 K and wavelengths from 1 nm to 1 mm, with the corners."""
    rng = random.Random(20260101)
    corners = [(T, wl) for T in (1.0, 300.0, 1e5) for wl in (1e-9, 1e-6, 1e-3)]
    return corners + [(10 ** rng.uniform(0, 5), 10 ** rng.uniform(-9, -3)) for _ in range(2000)]


def tolerance(x: float) -> float:
    """Relative error of e^x - 1 from the rounding of x (above 1) and of e^x (below 1)."""
    return 4e-16 * (4 + x + 0.5 / x)


def test_planks_law_and_its_derivatives_agree_with_arbitrary_precision() -> None:
    mp = pytest.importorskip("mpmath")
    k, hc, two_hc2, two_h2c3, minus_5k = map(mp.mpf, (K, HC, TWO_HC2, TWO_H2C3, MINUS_5K))
    with mp.workdps(60):
        for T, metres in sample():
            for function, unit in RADIANCES:
                value = function(T, metres / unit)
                wl = mp.mpf(metres / unit) * mp.mpf(unit)
                x = hc / (wl * k * mp.mpf(T))
                exact = two_hc2 / (wl**5 * mp.expm1(x)) * mp.mpf(unit)
                if x > 709.78:
                    assert value == 0.0
                elif x < 709.7:
                    assert abs(value / exact - 1) < tolerance(float(x)), (T, metres, unit)
            by_T = physics.planks_law_sr_deriv_T(T, metres)
            by_wl = physics.planks_law_sr_deriv_wl(T, metres)
            t, w = mp.mpf(T), mp.mpf(metres)
            x = hc / (w * k * t)
            if x > 709.79:  # e^x overflows
                assert math.isnan(by_T)
                assert math.isnan(by_wl)
            elif x > 354.9:  # its square overflows
                assert by_T == by_wl == 0.0 or x > 709.7
            elif x <= 354.8:
                ex, em1 = mp.exp(x), mp.expm1(x)
                exact_T = ex * two_h2c3 / (t**2 * w**6 * k * em1**2)
                assert abs(by_T / exact_T - 1) < 2 * tolerance(float(x)), (T, metres)
                scale = two_hc2 / (w**7 * k * t * em1**2)
                terms = [ex * hc * scale, w * minus_5k * t * em1 * scale]
                error = abs(by_wl - sum(terms)) / max(abs(term) for term in terms)
                assert error < 2 * tolerance(float(x)), (T, metres)


@pytest.mark.parametrize(
    ("function", "unit"),
    [
        *((partial(f, T), unit) for f, unit in RADIANCES for T in (2.725, 300.0, 2856.0, 1e5)),
        (partial(physics.planks_law_sr_deriv_T, 2856.0), 1.0),
        (partial(physics.planks_law_sr_deriv_wl, 2856.0), 1.0),
        (physics.wiens_displacement_law_T, 1.0),
        (physics.wiens_displacement_law_wl, 1.0),
        (physics.stefan_boltzmann_law, 1.0),
        (partial(physics.stefan_boltzmann_law_surface, A=2.0, epsilon=0.25), 1.0),
    ],
    ids=str,
)
def test_arrays_give_arrays_of_the_same_shape(function: Callable[..., Any], unit: float) -> None:
    wl = np.array([[0.0, 1e-9, 4.1e-7, 5.55e-7], [2.3e-6, 7.9e-5, 1e-3, 1.0]]) / unit
    values = function(wl)
    assert values.shape == wl.shape
    assert values.dtype == np.float64
    scalars = [function(float(one)) for one in wl.flat]
    assert values.ravel().tolist() == pytest.approx(scalars, rel=1e-15, abs=0.0, nan_ok=True)
    assert function(np.empty(0)).shape == (0,)
    np.testing.assert_array_equal(function(wl[:, ::2]), values[:, ::2])
    assert type(function(np.float64(1e-6))) is float
    for wrong in ("1e-6", None, ["1e-6"], np.array(["a"])):
        with pytest.raises(TypeError):
            function(wrong)
