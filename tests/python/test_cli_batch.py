"""Reports of many files: the table, the processes, and the same function on a Dask cluster."""

from __future__ import annotations

import contextlib
import csv
import os
import signal
import subprocess
import sys
import threading
import time
from collections.abc import Callable, Iterator, Sequence
from functools import partial
from pathlib import Path
from types import SimpleNamespace
from typing import Any

import pytest
from cli import GREY, ROOT, Runner, flat, write_csv, write_vek

from vekanalysis._core import version
from vekanalysis.batch import COLUMNS, report_rows
from vekanalysis.commands import _processes, _table
from vekanalysis.commands._errors import CommandError, Terminated
from vekanalysis.commands._output import Output
from vekanalysis.commands._processes import CannotStart, Lost, map_in_order
from vekanalysis.commands._tally import Tally

VEK = str(ROOT / "examples/two-lenses.vek")
posix = pytest.mark.skipif(os.name != "posix", reason="signals of POSIX systems")


def test_a_table_has_the_figures_of_the_report(run: Runner, tmp_path: Path) -> None:
    half = write_csv(tmp_path / "half.csv", flat(0.5, 320))
    header, *rows = csv.reader(run("report", "--jobs", 2, GREY, VEK, half).out.splitlines())
    assert tuple(title.removesuffix(" [reconstructed table]") for title in header) == COLUMNS
    assert [row[1] for row in rows] == ["", "Grey glass 4 mm", "Bronze glass 4 mm", ""]
    document = run("report", "--json", GREY, VEK, half).document
    for quantity in document["quantities"]:
        place = COLUMNS.index(quantity["key"])
        figures = [float(row[place]) if row[place] else None for row in rows]
        assert figures == [value["value"] for value in quantity["values"]]


def test_a_pattern_chooses_files_of_a_directory(run: Runner, tmp_path: Path) -> None:
    (tmp_path / "a.dat").mkdir()
    for name in ("b.dat", "c.csv", "d.dat.old"):
        write_csv(tmp_path / name, flat(0.5))
    lines = run("report", "--csv", "-", "--pattern", "*.dat", tmp_path).out.splitlines()
    assert [line.partition(",")[0] for line in lines] == ["file", str(tmp_path / "b.dat")]


def test_bad_files_have_their_reason_in_their_row(run: Runner, tmp_path: Path) -> None:
    lenses = tmp_path / "lenses"
    for folder in ("b/c", ".hidden"):
        (lenses / folder).mkdir(parents=True)
    for name in ("z.csv", "b/x.CSV", "b/.hidden.csv", ".hidden/a.csv"):
        write_csv(lenses / name, flat(0.5))
    for name in ("a.csv", "b/notes", "b/c/d.vek"):
        (lenses / name).write_text("400 1\n410 x\n")
    write_vek(lenses / "b/y.vek", [("A", flat(51.0)), ("B", flat(51.0))])
    if os.name == "posix":  # Without end, if links to directories counted.
        (lenses / "b/again").symlink_to(lenses, target_is_directory=True)
    table = lenses / "table.csv"
    for _ in range(2):  # The second time the table is there, and is no input.
        result = run("report", "--csv", table, lenses, lenses / "none")
        reason = "line 2: '410 x' is not a row of 2 numbers as line 1 is; "
        reason += "add --skip 2-2 to leave it out"
        assert (result.status, result.out) == (1, "")
        assert "6 files, 2 spectra; 4 failed: line 2: '410 x'" in result.err
        assert f"{reason} (2 files, first {lenses}/a.csv); " in result.err
        with table.open(newline="") as file:
            rows = [*csv.DictReader(file)]
        names = ["a.csv", "z.csv", "b/x.CSV", "b/y.vek", "b/c/d.vek", "none"]
        assert [row["file"] for row in rows] == [str(lenses / name) for name in names]
        errors = [row["error"] for row in rows]
        assert [error[: len(reason)] for error in errors[::4]] == [reason, reason]
        assert errors[1:3] == ["", ""]
        assert errors[5] == "cannot be read: No such file or directory"
    (percent,) = report_rows(lenses / "b/y.vek", percent=True, data_sets=["B"])
    assert (percent["data_set"], percent["ISO8980_3_tau_v"]) == ("B", pytest.approx(0.51))


def _double(numbers: Sequence[int], deadly: frozenset[int], once: Path) -> list[int]:
    if deadly.intersection(numbers) or (50 in numbers and not once.exists()):
        once.touch()
        os.kill(os.getpid(), signal.SIGKILL)
    return [2 * number for number in numbers]


@posix
def test_a_process_that_dies_costs_what_kills_it_again(tmp_path: Path) -> None:
    deadly = frozenset((0, 7, 8, 99))
    double = partial(_double, deadly=deadly, once=tmp_path / "once")
    results = [*map_in_order(double, range(100), 3)]
    assert {i for i, result in enumerate(results) if isinstance(result, Lost)} == deadly
    assert [result for result in results if not isinstance(result, Lost)] == [
        2 * number for number in range(100) if number not in deadly
    ]


def _told(numbers: Sequence[int], folder: Path) -> list[int]:
    for number in numbers:
        (folder / str(number)).touch()
    return [*numbers]


def test_processes_are_not_far_ahead_of_what_is_taken(tmp_path: Path) -> None:
    results = map_in_order(partial(_told, folder=tmp_path), range(1000), 1)
    assert next(results) == 0
    done = -1
    while done != (done := len([*tmp_path.iterdir()])):
        time.sleep(0.3)
    results.close()
    assert 0 < done <= 4 * 32


def test_processes_that_cannot_start_end_the_batch(monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setattr(_processes, "_begin", partial(os._exit, 3))
    with pytest.raises(CannotStart, match=r"^it ended at once$"):
        next(map_in_order(list, [1, 2, 3], 2))


def _break_off(_: Sequence[int], begun: Path) -> list[int]:
    """Half of a result, and then nothing."""
    frame = sys._getframe()
    while "result_queue" not in frame.f_locals:
        assert frame.f_back is not None
        frame = frame.f_back
    os.write(frame.f_locals["result_queue"]._writer.fileno(), b"\0\0\1\0half")
    begun.touch()
    time.sleep(600)
    return []


def leave_amidst_a_result(begun: Path) -> None:
    def interrupt() -> None:
        while not begun.exists():
            time.sleep(0.01)
        os.kill(os.getpid(), signal.SIGINT)

    threading.Thread(target=interrupt, daemon=True).start()
    with contextlib.suppress(KeyboardInterrupt):
        next(map_in_order(partial(_break_off, begun=begun), [1], 1))


@posix
def test_half_a_result_of_a_process_that_was_ended_is_not_waited_for(tmp_path: Path) -> None:
    begun = tmp_path / "begun"
    program = "import pathlib, sys; from test_cli_batch import leave_amidst_a_result as leave; "
    subprocess.run(
        [sys.executable, "-c", program + "leave(pathlib.Path(sys.argv[1]))", begun],
        env=dict(os.environ, PYTHONPATH=os.pathsep.join(sys.path)),
        preexec_fn=partial(signal.signal, signal.SIGINT, signal.SIG_DFL),
        timeout=60,
        check=True,
    )
    assert begun.exists()


@posix
def test_a_table_whose_place_was_taken_meanwhile_cannot_be_written(tmp_path: Path) -> None:
    table = tmp_path / "table.csv"
    with (
        pytest.raises(CommandError, match=r"table\.csv: cannot be written: Is a directory"),
        Output(str(table)),
    ):
        table.mkdir()
    assert [*tmp_path.iterdir()] == [table]


@posix
@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGKILL])
def test_an_interrupted_batch_leaves_whole_rows_and_no_processes(
    tmp_path: Path, number: signal.Signals
) -> None:
    table = tmp_path / "table.csv"
    command = [sys.executable, "-m", "vekanalysis", "report", "--jobs", "2", "--csv", table]
    with subprocess.Popen(
        [*command, *[GREY] * 5000],
        start_new_session=True,
        stderr=subprocess.PIPE,
        # Jobs in the background of a script have interrupts ignored, tests in them as well.
        preexec_fn=partial(signal.signal, signal.SIGINT, signal.SIG_DFL),
    ) as batch:
        while sum(part.stat().st_size for part in tmp_path.glob(".table.csv.*.part")) < 10_000:
            time.sleep(0.01)
        if number == signal.SIGINT:  # As terminals send it.
            os.killpg(batch.pid, number)
        else:
            batch.send_signal(number)
        assert batch.stderr is not None
        # Its end comes when the last process that has it is gone.
        told = batch.stderr.read().decode()
    if number == signal.SIGKILL:
        assert (batch.returncode, table.exists()) == (-number, False)
        return
    assert batch.returncode == 128 + number
    assert [*tmp_path.iterdir()] == [table]
    text = table.read_text()
    rows = [*csv.DictReader(text.splitlines())]
    assert text.endswith("\n")
    assert told.startswith(f"vekanalysis: interrupted: {len(rows):,} of 5,000 files, ")
    assert {(row["file"], row["CIELAB_tristimulus_values.b_star"] != "") for row in rows} == {
        (GREY, True)
    }


def test_a_cluster_that_loses_a_worker_gives_the_same_table(run: Runner, tmp_path: Path) -> None:
    distributed = pytest.importorskip("distributed")
    files = [GREY, VEK, "none.csv"]
    with distributed.LocalCluster(
        n_workers=2, threads_per_worker=1, host="127.0.0.1", dashboard_address=None
    ) as cluster:
        with distributed.Client(cluster) as client:
            futures = client.map(partial(report_rows, percent=True), files)
            assert client.gather(futures) == [report_rows(file, percent=True) for file in files]
        doomed = cluster.workers[0]

        def kill() -> None:
            while sum(part.stat().st_size for part in tmp_path.glob(".b.csv.*.part")) < 50_000:
                time.sleep(0.001)
            os.kill(doomed.pid, signal.SIGKILL)

        killer = threading.Thread(target=kill, daemon=True)
        killer.start()
        tables = [tmp_path / "a.csv", tmp_path / "b.csv"]
        address = cluster.scheduler_address
        for table, how in zip(tables, (["--jobs", 1], ["--cluster", address]), strict=True):
            assert run("report", "--csv", table, *how, *files * 200).status == 1
        assert not killer.is_alive()
    one, other = (table.read_bytes() for table in tables)
    assert one == other
    assert one.count(b"\n") == 801
    refusal = run.refuse("report", "--csv", tables[0], GREY, "--cluster", "127.0.0.1:1")
    assert refusal.startswith("--cluster 127.0.0.1:1: no scheduler answers: ")


class _Future:
    """What a worker computes when it is asked for."""

    def __init__(self, work: Callable[[], Any], waiting: list[int]) -> None:
        self.work, self.waiting = work, waiting
        waiting[0] += 1
        waiting[1] = max(waiting)

    def result(self) -> Any:
        self.waiting[0] -= 1
        return self.work()


class _Scheduler(SimpleNamespace):
    """In the place of Dask's module and its client, with two threads."""

    class KilledWorker(Exception):
        pass

    class CancelledError(Exception):
        pass

    def __init__(self, fault: Exception | None = None) -> None:
        super().__init__(fault=fault, said=[], waiting=[0, 0], bundles=[])

    def Client(self, address: str, **options: Any) -> Any:
        self.said.append((address, options))
        if isinstance(self.fault, ConnectionError | ValueError):
            raise self.fault
        return self

    def __enter__(self) -> None:
        self.said.append("entered")

    def __exit__(self, *_: object) -> None:
        self.said.append("left")

    def nthreads(self) -> dict[str, int]:
        return {"a": 1, "b": 1}

    def submit(self, function: Any, *arguments: Any, pure: bool) -> _Future:
        assert not pure
        rows_of_files, paths, version = arguments
        self.bundles.append(len(paths))

        def work() -> Any:
            if self.fault is not None:
                raise self.fault
            if any("deadly" in path for _, path in paths):
                raise self.KilledWorker
            assert all(os.path.isabs(path) for _, path in paths)
            ours = "0.1" if any("old" in path for _, path in paths) else version
            return function(rows_of_files, paths, ours)

        return _Future(work, self.waiting)


@pytest.fixture
def lenses(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> list[str]:
    monkeypatch.chdir(tmp_path)
    for name in "ab":
        write_csv(Path(f"{name}.csv"), flat(0.5, step=50))
    return ["a.csv", "b.csv"] * 100


def test_a_cluster_gives_the_table_of_this_process(
    run: Runner, lenses: list[str], monkeypatch: pytest.MonkeyPatch
) -> None:
    cluster = _Scheduler()
    monkeypatch.setitem(sys.modules, "distributed", cluster)
    here = run("report", "--csv", "-", "--jobs", 1, *lenses, "none.csv")
    there = run("report", "--csv", "-", "--cluster", "h:1", *lenses, "none.csv")
    assert there == here
    assert cluster.said == [("h:1", {"timeout": 5, "set_as_default": False}), "entered", "left"]
    assert (cluster.bundles, cluster.waiting) == ([32] * 6 + [9], [0, 6])
    Path("deadly.csv").write_text(Path("a.csv").read_text())
    lost = run("report", "--csv", "-", "--cluster", "h:1", *lenses[:20], "deadly.csv", "b.csv")
    rows = [*csv.DictReader(lost.out.splitlines())]
    assert [row["file"] for row in rows] == [*lenses[:20], "deadly.csv", "b.csv"]
    assert [row["error"] for row in rows if row["error"]] == ["the workers that read it were ended"]
    assert lost.err == (
        "vekanalysis: 22 files, 21 spectra; 1 failed: the workers that read it were ended "
        "(deadly.csv)\n"
    )
    assert cluster.bundles[7:] == [11, 11] + [1] * 11


@pytest.mark.parametrize(
    ("fault", "told"),
    [
        (ConnectionError("refused"), "no scheduler answers: refused"),
        (ValueError("no address"), "no scheduler answers: no address"),
        (_Scheduler.CancelledError("lost"), "the scheduler is gone: lost"),
        (OSError("broken"), "the scheduler is gone: broken"),
        (ImportError("none there"), "a worker cannot import vekanalysis: none there"),
        (None, f"a worker has vekanalysis {version()}, this is {version()}"),
    ],
)
def test_a_cluster_that_cannot_do_it_ends_the_batch(
    run: Runner, lenses: list[str], monkeypatch: pytest.MonkeyPatch, fault: Any, told: str
) -> None:
    monkeypatch.setitem(sys.modules, "distributed", _Scheduler(fault))
    write_csv(Path("old.csv"), flat(0.5))
    refusal = run.refuse("report", "--csv", "t.csv", "--cluster", "h:1", "old.csv")
    assert refusal == f"--cluster h:1: {told}"
    assert not Path("t.csv").exists()
    monkeypatch.setitem(sys.modules, "distributed", None)
    refusal = run.refuse("report", "--csv", "t.csv", "--cluster", "h:1", "old.csv")
    assert refusal == (
        "--cluster needs Dask's distributed: pip install 'vekanalysis[dask]'; in a checkout, "
        "tools/setup dask"
    )


def test_as_many_processes_as_are_asked_for_or_worth_it(
    run: Runner, lenses: list[str], monkeypatch: pytest.MonkeyPatch
) -> None:
    started: list[int] = []

    def started_by(_: object, files: Sequence[str], jobs: int) -> Iterator[list[Any]]:
        started.append(jobs)
        yield from ([] for _ in files)

    monkeypatch.setattr(_processes, "map_in_order", started_by)
    monkeypatch.setattr(os, "process_cpu_count", lambda: 4)
    for jobs, files in (("3", 2), ("1", 150), (None, 100), (None, 101), (None, 1000)):
        asked = [] if jobs is None else ["--jobs", jobs]
        assert run("report", "--csv", "-", *asked, *(lenses * 5)[:files]).status == 0
    assert started == [3, 2, 4]


@pytest.mark.parametrize(
    ("output", "is_terminal", "hidden"),
    [("-", True, True), ("-", False, False), ("t.csv", True, False)],
)
def test_progress_and_rows_do_not_share_a_terminal(
    run: Runner, lenses: list[str], monkeypatch: pytest.MonkeyPatch, output: str,
    is_terminal: bool, hidden: bool,
) -> None:  # fmt: skip
    asked: list[tuple[int, bool]] = []
    held: list[object] = []

    def holding() -> contextlib.nullcontext[None]:
        held.append(None)
        return contextlib.nullcontext()

    class Watched(_table.Progress):
        def __init__(self, total: int, hidden: bool) -> None:
            asked.append((total, hidden))
            super().__init__(total, hidden)

    monkeypatch.setattr(_table, "Progress", Watched)
    monkeypatch.setattr(_table, "interrupts_held", holding)
    monkeypatch.setattr(sys.stdout, "isatty", lambda: is_terminal)
    assert run("report", "--csv", output, *lenses[:3]).status == 0
    # A pipe may take for ever, and an interrupt ends that.
    assert (asked, held != []) == ([(3, hidden)], output != "-")


def test_the_sentence_on_a_batch_names_the_kinds_of_failure() -> None:
    tally = Tally(12_000)
    assert str(tally) == "0 of 12,000 files, 0 spectra; none failed"
    tally.add("good.csv", [{"error": None}])
    assert str(tally) == "1 of 12,000 files, 1 spectrum; none failed"
    tally.add("two.vek", [{"error": None}, {"error": None}])
    tally.add("stray.csv", [], 10)
    assert (str(tally), tally.failed) == ("12 of 12,000 files, 3 spectra; none failed", 0)
    for number in range(1500):
        tally.add(
            f"{number}.csv", [{"error": f"line {number}: '{number}' is none; add --skip 2-2"}]
        )
    for name in "abcdef":
        tally.add(name, [{"error": f"{name}: {name} is {name * 90}; use another"}])
    tally.add("b", [{"error": f"b is {'b' * 90}; use another"}], 10_482)
    assert (tally.done, tally.failed) == (12_000, 1507)
    shown = {each: f"{each} is {each * 74}…; use another" for each in "abcd"}
    assert str(tally) == (
        "12,000 files, 3 spectra; 1,507 failed: "
        "line 0: '0' is none; add --skip 2-2 (1,500 files, first 0.csv); "
        f"{shown['b']} (2 files, first b); {shown['a']} (a); {shown['c']} (c); {shown['d']} (d); "
        "other reasons (2 files)"
    )
    objects = Tally(1, "object")
    objects.add("all", [{"error": None}])
    assert str(objects) == "1 file, 1 object; none failed"


@pytest.mark.parametrize(
    ("end", "written"),
    [(None, True), (KeyboardInterrupt, True), (Terminated, True), (ValueError, False)],
)
@pytest.mark.parametrize("there", [None, b"", b"object,n,error,notes,x\n"])
def test_a_table_takes_its_place_when_it_is_whole(
    tmp_path: Path, end: type[BaseException] | None, written: bool, there: bytes | None
) -> None:
    table = tmp_path / "table.csv"
    if there is not None:
        table.write_bytes(there)
    with contextlib.suppress(KeyboardInterrupt, ValueError), Output(str(table)) as out:
        out.write("\N{MICRO SIGN}\n")
        assert (table.read_bytes() if table.exists() else None) == there
        # Each line is there at once, for whoever looks.
        (hidden,) = (path for path in tmp_path.iterdir() if path.name.startswith("."))
        assert hidden.read_bytes() == b"\xc2\xb5\n"
        if end is not None:
            raise end
    found = table.read_bytes() if table.exists() else None
    assert found == (b"\xc2\xb5\n" if written else there)
    assert [*tmp_path.iterdir()] == ([table] if found is not None else [])
