"""The Scan class as Python sees it: names, overloads, conversions, texts and error types."""

import math
import re
from collections.abc import Callable
from typing import Any

import numpy as np
import pandas as pd
import pytest
from cli import each_call

import vekanalysis as vek
from vekanalysis import LINEAR, NONE, Interpolation, Scan, colorimetry, utils


@pytest.fixture
def scan() -> Scan:
    return Scan([400, 500, 600, 700], [1, 2, 4, 3], interpolation=LINEAR)


@pytest.mark.parametrize(
    ("scan", "text"),
    [
        (Scan(epsilon=1e-20, interpolation=vek.AKIMA), "empty"),
        (Scan(range(380, 781), range(401)), "380→780[401]"),
        (Scan([400, 700], [1, 4], 0.01, LINEAR), "400→700[2], epsilon=0.01, interpolation=LINEAR"),
        (Scan([1234567.5], [1]), "1.23457e+06→1.23457e+06[1]"),
        (Scan(interpolation=vek.NONE), "empty, interpolation=NONE"),
    ],
)
def test_repr_names_range_count_and_what_is_not_default(scan: Scan, text: str) -> None:
    assert repr(scan) == f"Scan({text})"


def test_str_is_a_line_for_each_point() -> None:
    assert str(Scan([400.5, 401], [0.125, 2e-9])) == "\n400.5, 0.125\n401, 2e-09\n"


REFUSED: dict[tuple[type[Exception], str], list[Callable[[Scan], object]]] = {
    (RuntimeError, "^Scan::Scan: wavelength and signal must be the same size$"): [
        lambda scan: Scan([1, 2], [3])
    ],
    (KeyError, "^key '512.000000' does not exist$"): [lambda scan: scan[512]],
    (RuntimeError, "^Scan::min_wavelength: empty scan$"): [lambda scan: Scan().min_wavelength()],
    (RuntimeError, "^Scan::max_wavelength: empty scan$"): [lambda scan: Scan().max_wavelength()],
    (RuntimeError, "^Cannot initialize a spline, too few points$"): [
        lambda scan: Scan([1, 2, 3, 4], [1, 2, 3, 4])(1.5),
        lambda scan: Scan().deriv(1.0),
    ],
    (RuntimeError, "^Cannot initialize a spline with type None$"): [
        lambda scan: Scan([1], [1], interpolation=NONE).deriv(1.5)
    ],
    (ValueError, "^Scan: wavelength must not be NaN$"): [lambda scan: scan.add(math.nan, 1.0)],
    (ValueError, "^Scan: epsilon must not be negative or NaN$"): [
        lambda scan: Scan(epsilon=-1.0),
        lambda scan: setattr(scan, "epsilon", math.nan),
    ],
    (TypeError, ""): [
        lambda scan: scan("550"),
        lambda scan: scan([550, "560"]),
        lambda scan: Scan(scan, scan),
        lambda scan: Scan("12", "34"),
        lambda scan: Scan(b"12", b"34"),
        lambda scan: Scan(np.zeros((2, 2)), np.zeros((2, 2))),
        lambda scan: Scan(np.zeros(2, complex), np.zeros(2)),
        lambda scan: scan(np.array(["a"])),
        lambda scan: hash(scan),
        lambda scan: len(scan),
    ],
    (TypeError, r"not Interpolation\.LINEAR; interpolation= is"): [
        lambda scan: Scan([1], [2], LINEAR),
        lambda scan: Scan([1], [LINEAR]),
        lambda scan: Scan(LINEAR),
        lambda scan: setattr(scan, "epsilon", LINEAR),
        lambda scan: scan(LINEAR),
        lambda scan: scan + LINEAR,
        lambda scan: utils.transform(scan, lambda wavelength, value: LINEAR),
        lambda scan: setattr(colorimetry.CIEXYZ(), "X", LINEAR),
    ],
    (ValueError, "-1 is no Interpolation"): [lambda scan: Interpolation(-1)],
    (ValueError, "5 is no Interpolation"): [lambda scan: Interpolation(5)],
    (ValueError, "99 is no Interpolation"): [lambda scan: Interpolation(99)],
    (ValueError, "is no Interpolation"): [
        lambda scan: Interpolation.__new__(Interpolation).__setstate__(-1),
        lambda scan: Interpolation.__new__(Interpolation).__setstate__(5),
        lambda scan: Interpolation.__new__(Interpolation).__setstate__(99),
    ],
    (TypeError, r"Scan\(scan.wavelengths\(\), numbers\)"): [
        lambda scan: scan * np.ones(4),
        lambda scan: np.ones(4) * scan,
        lambda scan: scan - pd.Series([1.0]),
        lambda scan: scan ** np.ones(1),
        lambda scan: scan / [1, 2],
        lambda scan: scan.__imul__(np.ones(4)),
    ],
    (TypeError, r"scan.to_numpy\(\)"): [
        lambda scan: np.asarray(scan),
        lambda scan: np.mean(scan),
        lambda scan: np.array([scan, scan]),
    ],
    (TypeError, "__array_ufunc__"): [lambda scan: np.sin(scan)],
    (TypeError, "masked"): [
        lambda scan: Scan([1, 2], np.ma.masked_less([1.0, 2.0], 2)),
        lambda scan: Scan(np.ma.masked_less([1.0, 2.0], 2), [1, 2]),
        lambda scan: scan(np.ma.masked_less([450.0, 550.0], 500)),
    ],
    (TypeError, r": a Scan is made of wavelengths and values, Scan\(\["): [
        lambda scan: Scan([400, 410]),
        lambda scan: Scan([[400, 410], [1, 2]]),
        lambda scan: Scan(([400, 410, 420], [1, 2, 3])),
        lambda scan: Scan([(400, "1")]),
        lambda scan: Scan(np.ones((5, 2))),
        lambda scan: Scan("lens.csv"),
        lambda scan: Scan(iter([])),
        lambda scan: Scan(Scan()),
    ],
}


@each_call(REFUSED)
def test_calls_that_are_refused_change_nothing(
    scan: Scan, call: Callable[[Scan], object], error: type[Exception], told: str
) -> None:
    before = repr(scan), scan.to_lists()
    with pytest.raises(error) as caught:
        call(scan)
    assert caught.type is error
    assert re.search(told, caught.value.args[0])
    assert (repr(scan), scan.to_lists()) == before


def test_numpy_s_numbers_and_arrays_of_scans_are_welcome(scan: Scan) -> None:
    for two in (np.float64(2), np.float32(2), np.int64(2), np.array(2.0)):
        assert (two * scan).values() == (scan * two).values() == [2, 4, 8, 6]
    assert np.array([scan, scan], dtype=object)[1] is scan
    assert pd.Series([scan])[0] is scan
    assert scan(np.ma.masked_array([450.0])).tolist() == [1.5]


@pytest.mark.parametrize(
    "points",
    [
        [(400, 1), (410, 2)],
        {400: 1, 410: 2},
        zip([400, 410], [1, 2], strict=True),
        Scan([400, 410], [1, 2]).items(),
        ([400, 1], (410, 2), [410, 2]),
    ],
    ids=lambda points: type(points).__name__,
)
def test_points_are_taken_where_they_are_unambiguous(points: Any) -> None:
    scan = Scan(points, interpolation=LINEAR)
    assert scan.to_lists() == ([400, 410], [1, 2])
    assert scan.interpolation == LINEAR
    assert list(Scan([])) == []


def test_access_to_points(scan: Scan) -> None:
    scan[450] = 9
    scan.add(450.0, 1.5)
    assert (scan[450], scan(425), scan(399.9)) == (1.5, 1.25, 0.0)
    assert scan(wavelength_from=400, wavelength_to=450) == 62.5
    assert scan.is_interpolated()
    assert list(scan) == scan.wavelengths() == [400, 450, 500, 600, 700]
    assert list(scan.items())[1] == (450.0, 1.5)
    assert scan.to_lists() == (scan.wavelengths(), scan.values())
    assert scan.x().values() == scan.wavelengths()
    points = scan.to_numpy()
    assert points.shape == (2, 5)
    assert points.dtype == np.float64
    assert points.tolist() == [scan.wavelengths(), scan.values()]
    assert Scan().to_numpy().shape == (2, 0)


@pytest.mark.parametrize("dtype", ["f8", ">f8", "f4", "f2", "i4", "u1", "i8", "bool", "longdouble"])
def test_arrays_of_every_real_type_are_taken_as_a_whole(scan: Scan, dtype: str) -> None:
    numbers = np.array([1, 0, 3, 0, 1], dtype)[::2]
    expected = [float(value) for value in numbers]
    assert Scan(np.arange(len(numbers)), numbers).values() == expected
    ramp = Scan([-1, 5], [-1, 5], interpolation=LINEAR)
    assert ramp(numbers).tolist() == pytest.approx(expected)


def test_arrays_keep_their_shape(scan: Scan) -> None:
    wavelengths = np.linspace(350, 750, 24).reshape(2, 3, 4)
    for asked in (wavelengths, wavelengths.T, wavelengths[:, ::2], np.asfortranarray(wavelengths)):
        values = scan(asked)
        assert values.shape == asked.shape
        assert values.dtype == np.float64
        assert values.tolist() == np.vectorize(lambda wl: scan(float(wl)))(asked).tolist()
        slopes = scan.deriv(asked)
        assert slopes.tolist() == np.vectorize(lambda wl: scan.deriv(float(wl)))(asked).tolist()
    assert scan(np.empty((0, 3))).shape == (0, 3)
    assert type(scan(np.float64(450))) is float
    assert type(scan(np.float32(450))) is float
    assert scan(np.array(450)) == 1.5
    for listed in ([450, 550], (450, 550), range(450, 551, 100)):
        assert scan(listed).tolist() == [1.5, 3.0]


def test_objects_that_only_know_how_to_become_arrays_are_converted(scan: Scan) -> None:
    class Column:
        """Like a pandas series: indexed by label, so walking it item by item would go wrong."""

        def __array__(self, dtype: object = None, copy: object = None) -> np.ndarray:
            return np.array([450.0, 500.0])

        def __len__(self) -> int:
            return 2

        def __getitem__(self, label: int) -> float:
            raise KeyError(label)

    assert Scan(Column(), Column()).values() == [450.0, 500.0]
    assert scan(Column()).tolist() == [1.5, 2.0]


def test_arithmetic_with_scans_and_numbers(scan: Scan) -> None:
    other = Scan([450, 650], [10, 20], interpolation=LINEAR)
    assert (scan + other).wavelengths() == [450, 500, 600, 650]
    assert (2 - scan).values() == [1, 0, -2, -1]
    assert (scan - 2).values() == [-1, 0, 2, 1]
    assert (12 / scan).values() == [12, 6, 3, 4]
    assert (scan**2).values() == [1, 4, 16, 9]
    assert (2**scan).values() == [2, 4, 16, 8]
    assert (scan**scan)[600] == 256
    assert math.copysign(1, (-Scan([1], [0]))[1]) == -1
    assert scan == scan * 1.0
    assert scan != scan + 1
    assert scan.__eq__(1) is NotImplemented
    same = scan
    same += 1
    same *= other
    assert same is scan
    assert scan.values() == [0, 3 * 12.5, 5 * 17.5, 0]
    total = Scan(epsilon=0.5)
    total += other
    assert total == other
    assert total.epsilon == other.epsilon


def test_iterators_survive_changes_of_the_scan(scan: Scan) -> None:
    seen = []
    for wavelength, value in scan.items():
        seen.append((wavelength, value))
        scan[wavelength + 1] = 0.0
        scan *= Scan()
    assert [wavelength for wavelength, _ in seen] == [400, 500, 600, 700]
    iterator = iter(Scan([1, 2], [3, 4]))
    assert next(iterator) == 1.0
    assert list(iterator) == [2.0]
