"""The fitting submodule: the wavelength fit and its records."""

import math

import pytest

from vekanalysis import Scan, fitting

NAMES = ["d", "omega_t", "omega_m", "cos_K", "theta_z", "alpha", "a", "phi"]
EXACT = [833.333, 1e-6, 3.14e-4, 0.97, 0.02, 1.01, 12.0, 0.4]


def make[Record: (fitting.FitWavelengthParams, fitting.FitWavelengthParamsFree)](
    cls: type[Record], **fields: float
) -> Record:
    record = cls()
    for name, value in fields.items():
        setattr(record, name, value)
    return record


def wavelength(x: float, p: fitting.FitWavelengthParams) -> float:
    theta = (p.omega_t * (x + p.a * math.sin(p.omega_m * x + p.phi)) - p.theta_z) / p.alpha
    return 2 * p.d * p.cos_K * math.sin(theta)


@pytest.fixture
def exact() -> fitting.FitWavelengthParams:
    return make(fitting.FitWavelengthParams, **dict(zip(NAMES, EXACT, strict=True)))


def test_records_show_their_fields_in_order(exact: fitting.FitWavelengthParams) -> None:
    assert repr(exact) == (
        "<FitWavelengthParams d=833.333000, omega_t=0.000001, omega_m=0.000314, cos_K=0.970000,"
        " theta_z=0.020000, alpha=1.010000, a=12.000000, phi=0.400000>"
    )
    assert repr(make(fitting.FitWavelengthParamsFree, omega_m=True, phi=True)) == (
        "<FitWavelengthParamsFree d=False, omega_t=False, omega_m=True, cos_K=False,"
        " theta_z=False, alpha=False, a=False, phi=True>"
    )


@pytest.mark.parametrize("moved", ["cos_K", "theta_z", "alpha", "a"])
def test_each_parameter_that_moves_is_found_under_its_name(
    exact: fitting.FitWavelengthParams, moved: str
) -> None:
    steps = range(100_000, 700_000, 5_000)
    data = Scan(steps, [wavelength(x, exact) for x in steps])
    value = getattr(exact, moved)
    setattr(exact, moved, value * 1.001)
    assert fitting.fit_wavelength(
        data, exact, make(fitting.FitWavelengthParamsFree, **{moved: True})
    )
    assert getattr(exact, moved) == pytest.approx(value, rel=1e-9)
    assert [getattr(exact, name) for name in NAMES if name != moved] == [
        value for name, value in zip(NAMES, EXACT, strict=True) if name != moved
    ]


def test_a_fit_that_cannot_run_is_false(exact: fitting.FitWavelengthParams) -> None:
    data = Scan([1e5, 2e5], [200, 300])
    assert (
        fitting.fit_wavelength(data, params=exact, free=fitting.FitWavelengthParamsFree()) is False
    )
    free = make(fitting.FitWavelengthParamsFree, cos_K=True, theta_z=True, alpha=True)
    assert fitting.fit_wavelength(data, exact, free) is False
    assert [getattr(exact, name) for name in NAMES] == EXACT
