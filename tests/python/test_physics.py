"""Black-body physics: accuracy against arbitrary precision, arrays, units in the docstrings."""

import math
import random
import subprocess
import sys
from collections.abc import Callable
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


def sample() -> list[tuple[float, float]]:
    """Temperatures from 1 to 1e5 K and wavelengths from 1 nm to 1 mm, with the corners."""
    rng = random.Random(20260101)
    corners = [(T, wl) for T in (1.0, 300.0, 1e5) for wl in (1e-9, 1e-6, 1e-3)]
    return corners + [
        (10 ** rng.uniform(0, 5), 10 ** rng.uniform(-9, -3)) for _ in range(2000)
    ]


def tolerance(x: float) -> float:
    """Relative error of e^x - 1 from the rounding of x (above 1) and of e^x (below 1)."""
    return 4e-16 * (4 + x + 0.5 / x)


def test_planks_law_agrees_with_arbitrary_precision() -> None:
    mp = pytest.importorskip("mpmath")
    units: list[tuple[Callable[[float, float], float], float]] = [
        (physics.planks_law_sr, 1.0),
        (physics.planks_law_sr_um, 1e-6),
        (physics.planks_law_sr_nm, 1e-9),
    ]
    with mp.workdps(60):
        for T, metres in sample():
            for function, unit in units:
                value = function(T, metres / unit)
                wl = mp.mpf(metres / unit) * mp.mpf(unit)
                x = mp.mpf(HC) / (wl * mp.mpf(K) * mp.mpf(T))
                exact = mp.mpf(TWO_HC2) / (wl**5 * mp.expm1(x)) * mp.mpf(unit)
                if x > 709.78:
                    assert value == 0.0
                elif x < 709.7:
                    error = abs(value / exact - 1)
                    assert error < tolerance(float(x)), (T, metres, unit)


def test_the_derivatives_agree_with_arbitrary_precision() -> None:
    mp = pytest.importorskip("mpmath")
    with mp.workdps(60):
        for T, wl in sample():
            by_T = physics.planks_law_sr_deriv_T(T, wl)
            by_wl = physics.planks_law_sr_deriv_wl(T, wl)
            t, w, k = mp.mpf(T), mp.mpf(wl), mp.mpf(K)
            x = mp.mpf(HC) / (w * k * t)
            if x > 709.79:  # e^x overflows
                assert math.isnan(by_T)
                assert math.isnan(by_wl)
                continue
            if x > 354.9:  # its square overflows
                assert by_T == by_wl == 0.0 or x > 709.7
                continue
            if x > 354.8:
                continue
            ex, em1 = mp.exp(x), mp.expm1(x)
            exact_T = ex * mp.mpf(TWO_H2C3) / (t**2 * w**6 * k * em1**2)
            assert abs(by_T / exact_T - 1) < 2 * tolerance(float(x)), (T, wl)
            scale = mp.mpf(TWO_HC2) / (w**7 * k * t * em1**2)
            terms = [ex * mp.mpf(HC) * scale, w * mp.mpf(MINUS_5K) * t * em1 * scale]
            error = abs(by_wl - sum(terms)) / max(abs(term) for term in terms)
            assert error < 2 * tolerance(float(x)), (T, wl)


ARRAY_CALLS: list[tuple[Callable[..., Any], Callable[[Any], tuple[Any, ...]]]] = [
    (physics.planks_law_sr, lambda a: (2856.0, a)),
    (physics.planks_law_sr_um, lambda a: (2856.0, a)),
    (physics.planks_law_sr_nm, lambda a: (2856.0, a)),
    (physics.planks_law_sr_deriv_T, lambda a: (2856.0, a)),
    (physics.planks_law_sr_deriv_wl, lambda a: (2856.0, a)),
    (physics.wiens_displacement_law_T, lambda a: (a,)),
    (physics.wiens_displacement_law_wl, lambda a: (a,)),
    (physics.stefan_boltzmann_law, lambda a: (a,)),
    (physics.stefan_boltzmann_law_surface, lambda a: (a, 2.0, 0.5)),
]


@pytest.mark.parametrize(
    ("function", "arguments"), ARRAY_CALLS, ids=[c[0].__name__ for c in ARRAY_CALLS]
)
def test_arrays_give_arrays_of_the_same_shape(
    function: Callable[..., Any], arguments: Callable[[Any], tuple[Any, ...]]
) -> None:
    wl = np.array([[1e-6, 2.5e-6, 1e-5], [3e-5, 1e-4, 1.0]])
    values = function(*arguments(wl))
    assert values.shape == (2, 3)
    assert values.dtype == np.float64
    scalars = [function(*arguments(float(one))) for one in wl.flat]
    assert values.ravel().tolist() == pytest.approx(scalars, rel=1e-15, abs=0.0)
    assert function(*arguments(np.empty(0))).shape == (0,)
    assert function(*arguments(wl[:, ::2])).tolist() == values[:, ::2].tolist()
    assert type(function(*arguments(np.float64(1e-6)))) is float
    for wrong in ("1e-6", None, [1e-6], np.array(["a"])):
        with pytest.raises(TypeError):
            function(*arguments(wrong))


def test_the_surface_law_scales_with_area_and_emissivity() -> None:
    full = physics.stefan_boltzmann_law(300.0)
    assert full == pytest.approx(459.3, abs=0.05)  # sigma 300^4
    assert physics.stefan_boltzmann_law_surface(T=300.0, A=2.0, epsilon=0.25) == full / 2
    assert physics.wiens_displacement_law_wl(T=5778.0) == pytest.approx(5.015e-7, rel=1e-4)
    assert physics.wiens_displacement_law_T(wl=1e-6) == pytest.approx(2897.8, abs=0.1)


@pytest.mark.parametrize(
    ("name", "texts"),
    [
        ("planks_law_sr", ["W/(sr m^2)/m", "kelvin", "metres"]),
        ("planks_law_sr_um", ["W/(sr m^2)/um", "kelvin"]),
        ("planks_law_sr_nm", ["W/(sr m^2)/nm", "kelvin"]),
        ("wiens_displacement_law_T", ["metres", "kelvin"]),
        ("stefan_boltzmann_law", ["W/m^2", "kelvin"]),
        ("stefan_boltzmann_law_surface", ["in W", "(0 <= epsilon <= 1)"]),
    ],
)
def test_docstrings_state_the_units(name: str, texts: list[str]) -> None:
    doc = getattr(physics, name).__doc__
    assert all(text in doc for text in texts)


def test_numbers_need_no_numpy() -> None:
    code = (
        "import sys, vekanalysis as vek; vek.physics.planks_law_sr(300, 1e-6); "
        "vek.physics.stefan_boltzmann_law(T=300.0); print('numpy' in sys.modules)"
    )
    done = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, check=True)
    assert done.stdout.strip() == "False"
