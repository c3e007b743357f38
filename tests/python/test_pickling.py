"""Scans and records travel: copies, pickles, new processes."""

import copy
import pickle
import subprocess
import sys
from collections.abc import Callable

import pytest
from vekwriter import Contents, DataSet

from vekanalysis import (
    Interpolation,
    Observer,
    Scan,
    chromaticity,
    colorimetry,
    fitting,
    interop,
    io,
    utils,
)


def pickled(thing: object) -> object:
    return pickle.loads(pickle.dumps(thing))


def fit_record(cls: type, *values: float) -> object:
    record = cls()
    names = [name for name in dir(record) if not name.startswith("_")]
    for name, value in zip(names, values, strict=True):
        setattr(record, name, value)
    return record


WAYS = [copy.copy, pickled]


@pytest.mark.parametrize("travel", WAYS)
@pytest.mark.parametrize(
    "scan",
    [Scan(), Scan([2, 1.25, 1], [3, -0.0, 1e300], 0.1, Interpolation.LINEAR)],
    ids=["empty", "points"],
)
def test_a_scan_arrives_whole_and_of_its_own(travel: Callable[[object], Scan], scan: Scan) -> None:
    arrived = travel(scan)
    assert arrived.to_lists() == scan.to_lists()
    assert repr(arrived) == repr(scan)
    arrived[5.0] = 1.0
    assert 5.0 not in list(scan)


@pytest.mark.parametrize("travel", WAYS)
@pytest.mark.parametrize(
    "record",
    [
        colorimetry.CIEXYZ(1.1, 2.2, 3.3),
        colorimetry.CIELAB(1.1, 2.2, 3.3),
        colorimetry.RYG(1.1, 2.2, 3.3),
        colorimetry.RYGB(1.1, 2.2, 3.3, 4.4),
        chromaticity.CIExy(0.3127, 0.329),
        Observer(*(Scan([1, 2], [3, index]) for index in range(3))),
        utils.get_statistics(Scan([1, 2, 3], [1, 2, 5])),
        utils.stitch_scans(Scan([1, 2], [1, 2]), Scan([1, 2, 3], [2, 4, 9]), 1, 2, 0.5),
        fit_record(fitting.FitWavelengthParams, *range(1, 9)),
        fit_record(fitting.FitWavelengthParamsFree, True, False, True, True, *[False] * 4),
    ],
    ids=lambda record: type(record).__name__,
)
def test_a_record_arrives_whole(travel: Callable[[object], object], record: object) -> None:
    fields = [name for name in dir(record) if not name.startswith("_")]
    arrived = travel(record)
    assert type(arrived) is type(record)
    assert [getattr(arrived, name) for name in fields] == [getattr(record, name) for name in fields]
    assert fields


@pytest.mark.parametrize("travel", WAYS)
def test_a_measurement_file_arrives_whole(travel: Callable[[object], io.VekFile]) -> None:
    sets = [DataSet("a", [(400, 1), (400, 2)]), DataSet("", [(1, 2)])]
    file = io.load_vekfile_binary_data(Contents(data_sets=sets).file())
    arrived = travel(file)
    assert interop.as_dict(arrived) == interop.as_dict(file)
    for record in (file.meta, file.graph, file.data_info, file.data_sets[0]):
        assert interop.as_dict(travel(record)) == interop.as_dict(record)


def test_a_new_process_needs_nothing_but_the_pickle() -> None:
    data = pickle.dumps((Scan([1, 2], [3, 4]), colorimetry.CIEXYZ(1, 2, 3), Interpolation.LINEAR))
    code = "import pickle, sys; print(*pickle.loads(sys.stdin.buffer.read()))"
    done = subprocess.run([sys.executable, "-c", code], input=data, capture_output=True, check=True)
    assert done.stdout.decode() == "\n1, 3\n2, 4\n X:1 Y:2 Z:3 Interpolation.LINEAR\n"
