"""The utils submodule: logarithms, transform and statistics."""

import copy
import math
import pickle
import re
from collections.abc import Callable
from typing import Any

import pytest
from cli import each_call

import vekanalysis as vek
from vekanalysis import Interpolation, Scan, utils


@pytest.fixture
def scan() -> Scan:
    return Scan([1, 2, 3], [1, 10, 100], 0.25, Interpolation.LINEAR)


def test_a_logarithm_to_a_number_is_an_empty_scan_with_the_smaller_epsilon(scan: Scan) -> None:
    for result in (utils.log(scan, 10.0), utils.log(10.0, scan)):
        assert list(result) == []
        assert result.epsilon == 0.25
    assert utils.log(scan, 0.125).epsilon == 0.125
    assert utils.log(scan, scan * scan)[2] == 0.5
    assert utils.log(scan, -2.0).epsilon == 0.25


def test_transform_calls_with_wavelength_and_value(scan: Scan) -> None:
    result = utils.transform(scan, lambda wavelength, value: wavelength * 1000 + value)
    assert result.values() == [1001, 2010, 3100]
    assert repr(result) == repr(scan)


def test_a_callable_may_change_the_scan(scan: Scan) -> None:
    def change(wavelength: float, value: float) -> float:
        scan.add(wavelength + 0.5, 0.0)
        scan.epsilon = 5.0
        return value

    assert utils.transform(scan, change).values() == [1, 10, 100]


def test_statistics(scan: Scan) -> None:
    whole = utils.get_statistics(scan)
    assert (whole.mean, whole.min, whole.max) == (37.0, 1.0, 100.0)
    assert utils.get_statistics(scan, lo=2, hi=3).mean == 55.0
    assert repr(utils.get_statistics(Scan([1, 2], [1, 3]))) == (
        "<ScanStatistics mean=2.000000 min=1.000000 max=3.000000 variance=1.000000"
        " skewness=0.000000 kurtosis=-2.000000 median=0.000000>"
    )


def band(centre: float, low: int, high: int) -> Scan:
    wavelengths = range(low, high + 1)
    return Scan(wavelengths, [math.exp(-(((wl - centre) / 20) ** 2)) for wl in wavelengths])


PEAK = band(555.3, 450, 650)


REFUSED: dict[tuple[type[Exception], str], list[Callable[[Scan], object]]] = {
    (ValueError, r"^Key not found\.$"): [lambda scan: utils.find_key(PEAK, 450, 500, 0.5)],
    (ValueError, r"^No peak found\.$"): [lambda scan: utils.find_peak(scan)],
    (ValueError, r"^Unable to calculate peak width\.$"): [
        lambda scan: utils.peak_width(band(555.3, 550, 650), 0.5)
    ],
    (RuntimeError, "^Cannot initialize a spline, too few points$"): [
        lambda scan: utils.find_peak(Scan([1, 2, 3], [0, 1, 0]))
    ],
    (IndexError, "^domain error, max_wl < min_wl$"): [
        lambda scan: utils.stitch_scans(PEAK, PEAK, 560, 540, 0.01)
    ],
    (ValueError, "^Division by zero"): [
        lambda scan: utils.stitch_scans(PEAK, PEAK * 0, 540, 560, 0.01)
    ],
    (ZeroDivisionError, ""): [lambda scan: utils.transform(scan, lambda wavelength, value: 1 / 0)],
    (TypeError, "must be real number, not str"): [
        lambda scan: utils.transform(scan, lambda wavelength, value: "text")
    ],
    (ValueError, "no scans"): [lambda scan: vek.mean([])],
    (ValueError, "a scan without points"): [lambda scan: vek.mean([Scan(), Scan([1], [2])])],
    (ValueError, "no wavelength in common"): [
        lambda scan: vek.mean([Scan([1], [2]), Scan([3], [4])])
    ],
    (TypeError, r"mean takes several scans: mean\(\[a, b\]\)"): [
        lambda scan: vek.mean(Scan([1], [2]))
    ],
    (TypeError, "mean takes scans; item 0 is a float"): [lambda scan: vek.mean([1.0])],
    (vek.Refusal, "lamp: baseline must be 'valleys', 'prominence' or 'zero'"): [
        lambda scan: vek.peaks(vek.Spectrum(PEAK, label="lamp"), baseline="none")
    ],
    (vek.Refusal, "lamp: distance, prominence and width must not be negative"): [
        lambda scan: vek.peaks(vek.Spectrum(PEAK, label="lamp"), distance=-1)
    ],
    (vek.Refusal, r"^no values between the points \(Cannot initialize"): [
        lambda scan: vek.peaks(Scan([1, 2], [3, 4]))
    ],
    (TypeError, "peaks needs a Scan or a Spectrum; got list"): [lambda scan: vek.peaks([1, 2])],
    (IndexError, "peak index out of range"): [
        lambda scan: utils.peaks(PEAK)[1],
        lambda scan: utils.peaks(PEAK)[-2],
    ],
}


@each_call(REFUSED)
def test_what_is_not_there_is_not_found(
    scan: Scan, call: Callable[[Scan], object], error: type[Exception], told: str
) -> None:
    with pytest.raises(error) as found:
        call(scan)
    assert found.type is error
    assert re.search(told, str(found.value))


def test_searches_find() -> None:
    assert utils.find_peak(PEAK) == pytest.approx(555.3, abs=0.01)
    assert utils.find_key(PEAK, lo=450, hi=555, value=0.5) == pytest.approx(538.65, abs=0.01)
    assert utils.peak_width(PEAK, height=0.5) == pytest.approx(40 * math.log(2) ** 0.5, abs=0.01)


def test_stitching_returns_a_record_of_copies() -> None:
    lower = Scan(PEAK.wavelengths()[:120], PEAK.values()[:120])
    upper = Scan(PEAK.wavelengths()[80:], [value / 4 for value in PEAK.values()[80:]])
    joined = utils.stitch_scans(lower, upper, min_wl=540, max_wl=560, target_error=0.01)
    assert (joined.success, joined.n, joined.k) == (True, 21, pytest.approx(4.0))
    joined.stitch_scan[450] = 9.0
    assert joined.stitch_scan[450] != 9.0


def test_means_and_sums_stand_on_the_common_range(scan: Scan) -> None:
    coarse = Scan([1, 3], [3, 98], interpolation=Interpolation.LINEAR)
    mean, deviation, count = vek.mean([scan, coarse])
    assert (mean.to_lists(), count) == (([1, 2, 3], [2, 30.25, 99]), 2)
    assert deviation.values() == pytest.approx([2**0.5, 40.5 / 2**0.5, 2**0.5], rel=1e-15)
    assert vek.sum({"a": scan, "b": coarse}) == scan + coarse
    assert vek.sum(part for part in (scan, coarse)) == scan + coarse


@pytest.mark.parametrize("travel", [copy.copy, lambda peaks: pickle.loads(pickle.dumps(peaks))])
def test_peaks_are_a_sequence_and_a_table(travel: Callable[[Any], Any]) -> None:
    scan = Scan([1, 2, 3, 4, 5, 6, 7], [0, 1, 0, 3, 0, 2, 1.5], interpolation=Interpolation.LINEAR)
    peaks = utils.peaks(scan, baseline="zero")
    first, second, third = peaks
    assert (len(peaks), repr(peaks)) == (3, "<PeakShapes [3]>")
    assert not utils.peaks(scan, height=9)
    assert (peaks[0], peaks[-1], list(peaks[::-2])) == (first, third, [third, first])
    assert (peaks[1:] == peaks, peaks[:] == peaks, peaks == [first, second, third]) == (0, 1, 0)
    assert (second in peaks, list(reversed(peaks))) == (True, [third, second, first])
    columns = peaks.columns()
    for name, values in columns.items():
        expected = [getattr(peak, name) for peak in peaks]
        assert values.tolist() == pytest.approx(
            [math.nan if value is None else value for value in expected], rel=0, nan_ok=True
        )
    assert sorted(columns) == [name for name in dir(first) if not name.startswith("_")]
    assert math.isnan(columns["width"][2])
    assert travel(peaks) == peaks


def test_peaks_take_scans_and_spectra() -> None:
    scan = Scan([1, 2, 3, 4, 5], [0, 3, 1, 2, 0], interpolation=Interpolation.LINEAR)
    first, second = vek.peaks(scan)
    assert (first.wavelength, first.height, first.prominence, first.baseline) == (2, 3, 3, 0.5)
    assert (second.left, second.right, second.width) == (3.5, 4.5, 1.0)
    spectrum = vek.Spectrum(scan, "counts", "counts", "lamp")
    assert vek.peaks(spectrum, baseline="zero", height=2.5) == utils.peaks(
        scan, height=2.5, baseline="zero"
    )
