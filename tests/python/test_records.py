"""Scans and records: copies, pickles, equality, unpacking, what they show."""

import copy
import pickle
import subprocess
import sys
from collections.abc import Callable
from typing import Any

import pytest
from cli import GREY, ROOT
from vekwriter import Contents, DataSet

from vekanalysis import (
    Interpolation,
    Observer,
    Scan,
    certificates,
    chromaticity,
    colorimetry,
    fitting,
    interop,
    io,
    read,
    uncertainty,
    utils,
)


class Lens(Scan):
    def __init__(self, *arguments: Any) -> None:
        super().__init__(*arguments)
        self.name = "lens"
        self.coats: list[str] = []


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
    with pytest.raises(TypeError, match="cannot become"):
        arrived.__class__ = io.Meta  # type: ignore[assignment]


@pytest.mark.parametrize("travel", [*WAYS, copy.deepcopy])
def test_what_a_class_of_the_caller_adds_arrives_too(travel: Callable[[Any], Any]) -> None:
    lens = Lens([400, 410], [0.25, 0.5], 0.1, Interpolation.LINEAR)
    lens.coats = ["hard"]
    arrived = travel(lens)
    assert (type(arrived), repr(arrived), arrived.values()) == (Lens, repr(lens), lens.values())
    arrived.coats = []
    assert (lens.coats, lens.name) == (["hard"], arrived.name)


STITCHED = utils.stitch_scans(Scan([1, 2], [1, 2]), Scan([1, 2, 3], [2, 4, 9]), 1, 2, 0.5)
NUMBERS = [
    colorimetry.CIEXYZ(1.1, 2.2, 3.3),
    colorimetry.CIELAB(1.1, 2.2, 3.3),
    colorimetry.sRGB(0.1, 0.2, 0.3),
    colorimetry.RYG(1.1, 2.2, 3.3),
    colorimetry.RYGB(1.1, 2.2, 3.3, 4.4),
    chromaticity.CIExy(0.3127, 0.329),
    utils.get_statistics(Scan([1, 2, 3], [1, 2, 5])),
    fit_record(fitting.FitWavelengthParams, *range(1, 9)),
    fit_record(fitting.FitWavelengthParamsFree, True, False, True, True, *[False] * 4),
]
OTHERS = [
    fitting.WavelengthResiduals([0.5, -1.0], 0.75, 1.0),
    utils.PeakShape(550.0, 2.0, 1.5, 540.0, None, None, 3.0, 0.5),
    utils.ScanMean(Scan([1], [2]), Scan([1], [0]), 3),
    STITCHED,
]


def name_of(record: object) -> str:
    return type(record).__name__


@pytest.mark.parametrize("travel", WAYS)
@pytest.mark.parametrize("record", [*NUMBERS, *OTHERS], ids=name_of)
def test_a_record_arrives_whole(travel: Callable[[Any], Any], record: Any) -> None:
    arrived = travel(record)
    assert (type(arrived), arrived is record) == (type(record), False)
    assert arrived == record
    assert (arrived != record, record == 1) == (False, False)
    assert interop.as_dict(arrived) == interop.as_dict(record)
    with pytest.raises(TypeError, match="unhashable"):
        hash(record)


@pytest.mark.parametrize("record", NUMBERS, ids=name_of)
def test_records_of_numbers_unpack_in_their_order(record: Any) -> None:
    assert list(record) == list(interop.as_dict(record).values())
    first, *_ = record
    assert first == next(iter(interop.as_dict(record).values()))


@pytest.mark.parametrize("record", NUMBERS[:6], ids=name_of)
def test_every_attribute_counts_and_is_named_in_errors(record: Any) -> None:
    for name in interop.as_dict(record):
        other = copy.copy(record)
        if name_of(record) != "ScanStatistics":
            setattr(other, name, 7.0)
            assert other != record
        with pytest.raises(TypeError, match=rf"^{name}\(\): "):
            setattr(other, name, "7")


def test_an_observer_arrives_with_scans_of_its_own() -> None:
    observer = Observer(*(Scan([1, 2], [3, index]) for index in range(3)))
    for travel in WAYS:
        observer = travel(observer)
        values = [scan.values() for scan in (observer.x, observer.y, observer.z)]
        assert values == [[3, 0], [3, 1], [3, 2]]


@pytest.mark.parametrize("travel", WAYS)
def test_a_measurement_file_arrives_whole(travel: Callable[[object], io.VekFile]) -> None:
    sets = [DataSet("a", [(400, 1), (400, 2)]), DataSet("", [(1, 2)])]
    file = io.load_vekfile_binary_data(Contents(data_sets=sets).file())
    arrived = travel(file)
    assert arrived == file
    for record in (file.meta, file.graph, file.data_info, file.data_sets[0]):
        assert travel(record) == record


def test_a_new_process_needs_nothing_but_the_pickle() -> None:
    data = pickle.dumps((Scan([1, 2], [3, 4]), colorimetry.CIEXYZ(1, 2, 3), Interpolation.LINEAR))
    code = "import pickle, sys; print(*pickle.loads(sys.stdin.buffer.read()))"
    done = subprocess.run([sys.executable, "-c", code], input=data, capture_output=True, check=True)
    assert done.stdout.decode() == "\n1, 3\n2, 4\n X:1 Y:2 Z:3 Interpolation.LINEAR\n"


@pytest.mark.parametrize("travel", WAYS)
def test_settings_budgets_and_results_arrive(travel: Callable[[Any], Any]) -> None:
    settings = certificates.Settings.read(ROOT / "examples/lab.toml")
    budget = uncertainty.Budget.read(ROOT / "examples/budget.toml")
    (grey,) = read(GREY)
    assert travel(settings) == settings
    assert repr(travel(budget)) == repr(budget)
    results = uncertainty.propagate(grey, budget)
    compared = uncertainty.compare(grey, grey, budget)
    for found in (results, compared, uncertainty.simulate(grey, budget, draws=2000, seed=1)):
        arrived = travel(found)
        assert dict(arrived) == dict(found)
        with pytest.raises(TypeError, match="does not support item assignment"):
            arrived["ISO8980_3_tau_v"] = 1.0
    with pytest.raises(TypeError, match="mappingproxy"):
        travel(results["ISO8980_3_tau_v"]).contributions["gain"] = 1.0
