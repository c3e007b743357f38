"""The utils submodule: logarithms, transform and statistics."""

import math

import pytest

from vekanalysis import Interpolation, Scan, utils


@pytest.fixture
def scan() -> Scan:
    return Scan([1, 2, 3], [1, 10, 100], 0.25, Interpolation.LINEAR)


def test_logarithms(scan: Scan) -> None:
    assert utils.log10(scan).values() == pytest.approx([0, 1, 2])
    assert utils.log(scan)[3] == pytest.approx(math.log(100))
    assert utils.log(scan, scan)[2] == 1.0
    assert math.isnan(utils.log(-scan)[1])
    assert utils.log(Scan([1], [0]))[1] == -math.inf


def test_a_logarithm_to_a_number_is_an_empty_scan_with_the_smaller_epsilon(scan: Scan) -> None:
    for result in (utils.log(scan, 10.0), utils.log(10.0, scan)):
        assert list(result) == []
        assert result.epsilon == 0.25
    assert utils.log(scan, 0.125).epsilon == 0.125
    assert utils.log(scan, -2.0).epsilon == 0.25


def test_transform_calls_with_wavelength_and_value(scan: Scan) -> None:
    result = utils.transform(scan, lambda wavelength, value: wavelength * 1000 + value)
    assert result.values() == [1001, 2010, 3100]
    assert repr(result) == repr(scan)


def test_a_callable_may_fail_or_change_the_scan(scan: Scan) -> None:
    def change(wavelength: float, value: float) -> float:
        scan.add(wavelength + 0.5, 0.0)
        scan.epsilon = 5.0
        return value

    assert utils.transform(scan, change).values() == [1, 10, 100]
    with pytest.raises(ZeroDivisionError):
        utils.transform(scan, lambda wavelength, value: 1 / 0)
    with pytest.raises(TypeError, match="must be real number, not str"):
        utils.transform(scan, lambda wavelength, value: "text")


def test_statistics(scan: Scan) -> None:
    whole = utils.get_statistics(scan)
    assert (whole.mean, whole.min, whole.max) == (37.0, 1.0, 100.0)
    assert utils.get_statistics(scan, lo=2, hi=3).mean == 55.0
    assert repr(utils.get_statistics(Scan([1, 2], [1, 3]))) == (
        "<ScanStatistics mean=2.000000 min=1.000000 max=3.000000 variance=1.000000"
        " skewness=0.000000 kurtosis=-2.000000 median=0.000000>"
    )
    with pytest.raises(AttributeError):
        whole.mean = 1.0
    with pytest.raises(TypeError):
        utils.ScanStatistics()
