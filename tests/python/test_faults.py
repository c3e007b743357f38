"""Each command under each fault of the world around it: told in a line, and nothing half done."""

from __future__ import annotations

import csv
import json
import os
import signal
import subprocess
import sys
from collections.abc import Callable, Iterator
from contextlib import suppress
from pathlib import Path

import pytest
from cli import GREY, ROOT, Runner, flat, rows, write_vek

import vekanalysis as vek
from vekanalysis._files import csv_cell, read_regular

pytestmark = pytest.mark.skipif(os.name != "posix", reason="faults of POSIX systems")

EXAMPLES = ROOT / "examples"
VEK = str(EXAMPLES / "two-lenses.vek")
LAMPS = (str(EXAMPLES / "lamp-visible.csv"), str(EXAMPLES / "lamp-infrared.csv"))
CALIBRATION = ("calibrate", str(EXAMPLES / "calibration/steps.csv"))
START = str(EXAMPLES / "calibration/start.json")


def commands(name: str) -> dict[str, tuple[str, ...]]:
    """The words of the commands in a file, by their names."""
    lines = dict(rows(name, "commands"))
    return {
        name: tuple(word.format(examples=EXAMPLES) for word in line.split())
        for name, line in lines.items()
    }


# What writes to standard output, and what reads a file, which is @.
WRITING = commands("writing.jsonl")
READING = commands("reading.jsonl")
FULL = Path("/dev/full")


def shell(
    script: str, *arguments: str, environment: dict[str, str] | None = None
) -> subprocess.CompletedProcess[bytes]:
    """Run a command as ``"$@"`` of a script of the shell."""
    command = ["sh", "-c", script, "sh", sys.executable, "-m", "vekanalysis", *arguments]
    variables = {k: v for k, v in os.environ.items() if k != "PYTHONUNBUFFERED"}
    return subprocess.run(
        command, capture_output=True, timeout=60, env=variables | (environment or {})
    )


@pytest.mark.skipif(not FULL.exists(), reason="needs /dev/full")
@pytest.mark.parametrize("command", WRITING.values(), ids=WRITING)
def test_a_full_disk_under_the_output_is_told(command: tuple[str, ...]) -> None:
    # Without a buffer it is the write that fails, else the end of the program.
    environment = {"PYTHONUNBUFFERED": "1" if command[-1].startswith("--") else ""}
    done = shell('exec "$@" >/dev/full', *command, environment=environment)
    told = done.stderr.decode().splitlines()[-1]
    assert (done.returncode, told) == (2, "vekanalysis: standard output: No space left on device")
    assert b"Traceback" not in done.stderr


@pytest.mark.parametrize("command", WRITING.values(), ids=WRITING)
def test_a_pipe_that_nobody_reads_ends_the_command(command: tuple[str, ...]) -> None:
    read_end, write_end = os.pipe()
    os.close(read_end)
    program = [sys.executable, "-m", "vekanalysis", *command]
    done = subprocess.run(program, stdout=write_end, stderr=subprocess.PIPE, timeout=60)
    os.close(write_end)
    assert done.returncode == 141
    assert b"Traceback" not in done.stderr
    assert b"Error" not in done.stderr


@pytest.mark.skipif(not FULL.exists(), reason="needs /dev/full")
@pytest.mark.parametrize("end", ["2>/dev/full", "2>&-"])
@pytest.mark.parametrize(
    ("command", "status"),
    [
        (WRITING["report csv"], 0),
        (WRITING["stitch"], 0),
        (("report", "--csv", "-", GREY, "none.csv"), 1),
        (("stitch", "--target", "1e-30", *LAMPS), 1),
        (("report", "none.csv"), 2),
        (("report", "--none"), 2),
    ],
)
def test_the_status_says_what_happened_when_notes_cannot(
    command: tuple[str, ...], status: int, end: str
) -> None:
    usual = shell('exec "$@"', *command)
    assert (usual.returncode, usual.stderr != b"") == (status, True)
    done = shell(f'exec "$@" {end}', *command)
    assert (done.returncode, done.stdout, done.stderr) == (status, usual.stdout, b"")


@pytest.mark.parametrize("command", WRITING.values(), ids=WRITING)
def test_no_home_and_no_language_are_no_fault(command: tuple[str, ...]) -> None:
    environment = {"LANG": "C", "LC_ALL": "C", "PYTHONUTF8": "0", "PYTHONCOERCECLOCALE": "0"}
    done = shell('unset HOME; exec "$@"', *command, environment=environment)
    assert (done.returncode, done.stdout != b"") == (0, True), done.stderr
    assert b"Traceback" not in done.stderr


@pytest.mark.parametrize("chosen", [[], ["--set", "object=@"], ["--group", "{object}.csv"]])
@pytest.mark.parametrize(("name", "status"), [("Größe", 0), ("Gr\udcf6\udcdfe", 2)])
def test_names_on_a_certificate_are_those_given_whatever_the_locale(
    name: str, status: int, chosen: list[str], tmp_path: Path
) -> None:
    (tmp_path / f"{name}.csv").symlink_to(GREY)
    command = ["certificate", str(tmp_path / f"{name}.csv"), "--out"]
    for locale in ("C", "C.UTF-8"):
        environment = {"LC_ALL": locale, "PYTHONUTF8": "0", "PYTHONCOERCECLOCALE": "0"}
        more = [str(tmp_path / locale), *(word.replace("@", name) for word in chosen)]
        done = shell('exec "$@"', *command, *more, environment=environment)
        assert (done.returncode, b"in UTF-8" in done.stderr) == (status, status == 2)
    pages = {page.read_bytes() for page in tmp_path.iterdir() if page.suffix != ".csv"}
    assert [page.count(name.encode()) > 2 for page in pages] == [True] * (status == 0)


# Commands that write a file, which comes last.
FILES: dict[str, tuple[str, ...]] = {
    "table": ("report", *[GREY] * 40, "--csv"),
    "table of processes": ("report", "--jobs", "2", *[GREY] * 40, "--csv"),
    "table of light": ("light", *[GREY] * 40, "--csv"),
    "page": ("report", GREY, "--overwrite", "--html"),
    "certificate": ("certificate", GREY, "--overwrite", "--out"),
    "plot": ("report", GREY, "--plot"),
    "plot of light": ("light", GREY, "--plot"),
    "plot of peaks": ("peaks", GREY, "--plot"),
    "plot of residuals": (*CALIBRATION, "--start", START, "--free", "theta_z", "--plot"),
}
_ENDINGS = {"plot": ".png", "table": ".csv"}


@pytest.mark.parametrize("there", [False, True])
@pytest.mark.parametrize("name", FILES)
def test_what_cannot_be_written_whole_is_not_there(name: str, there: bool, tmp_path: Path) -> None:
    if name.startswith("plot"):
        pytest.importorskip("matplotlib.figure")
    folder = tmp_path / "out"
    folder.mkdir()
    target = folder / f"a{_ENDINGS.get(name.split()[0], '.html')}"
    before = b"file,data_set,error,notes,\n" if there else b""
    if there:
        target.write_bytes(before)
    # A limit of some kilobytes for each file, as a full disk is one.
    done = shell('ulimit -f 8; exec "$@"', *FILES[name], str(target))
    *_, told = done.stderr.decode().splitlines()
    assert told == f"vekanalysis: {target}: cannot be written: File too large"
    assert done.returncode == 2
    assert b"Traceback" not in done.stderr
    assert [*folder.iterdir()] == ([target] if there else [])
    assert not there or target.read_bytes() == before
    usual = shell('exec "$@"', *FILES[name], str(target))
    assert (usual.returncode, [*folder.iterdir()]) == (0, [target])
    assert target.stat().st_size > 8 * 1024


@pytest.mark.parametrize("name", FILES)
def test_a_place_that_is_none_is_told(name: str, run: Runner, tmp_path: Path) -> None:
    if name.startswith("plot"):
        pytest.importorskip("matplotlib.figure")
    target = tmp_path / "none" / f"a{_ENDINGS.get(name.split()[0], '.html')}"
    reason = run.refuse(*FILES[name], target)
    assert reason == f"{target}: cannot be written: No such file or directory"


@pytest.fixture
def patience() -> Iterator[None]:
    """End what waits."""

    def give_up(*_: object) -> None:
        raise TimeoutError("it waits")

    before = signal.signal(signal.SIGALRM, give_up)
    signal.alarm(20)
    yield
    signal.alarm(0)
    signal.signal(signal.SIGALRM, before)


@pytest.mark.parametrize("command", READING.values(), ids=READING)
@pytest.mark.parametrize("kind", ["pipe", "device", "folder", "none"])
def test_only_regular_files_are_read(
    command: tuple[str, ...],
    kind: str,
    run: Runner,
    tmp_path: Path,
    monkeypatch: pytest.MonkeyPatch,
    patience: None,
) -> None:
    monkeypatch.chdir(tmp_path)
    path = tmp_path / "a.csv"
    match kind:
        case "pipe":
            os.mkfifo(path)
        case "device":
            path.symlink_to("/dev/zero")
        case "folder":
            path.mkdir()
    reason = run.refuse(*(str(path) if word == "@" else word for word in command))
    whys = {"folder": "directory", "none": "No such file or directory"}
    assert str(path) in reason
    assert whys.get(kind, "Not a regular file") in reason or (
        kind == "folder" and "no .asc" in reason
    )
    assert not Path("a.html").exists()


def test_reading_opens_the_file_and_does_nothing_else() -> None:
    program = """
import sys, vekanalysis as vek
def read():
    for path in sys.argv[1:]:
        try:
            vek.read(path)
        except vek.Refusal:
            pass
read()  # What is imported is opened then.
found = []
watched = "open", "compile", "exec", "os.", "shutil.", "socket.", "subprocess.", "ctypes."
sys.addaudithook(lambda event, _: event.startswith(watched) and found.append((event, *_[:1])))
read()
assert found == [("open", path) for path in sys.argv[1:]], found
"""
    files = [*(ROOT / "tests/data/labfiles").glob("[!.]*.*"), GREY, VEK]
    assert len(files) > 20
    subprocess.run([sys.executable, "-c", program, *files], check=True)


@pytest.mark.skipif(sys.platform != "linux", reason="reads /proc")
def test_a_file_that_is_longer_than_the_system_says_is_read_whole() -> None:
    assert read_regular("/proc/version") == Path("/proc/version").read_bytes()


def test_a_batch_passes_what_is_no_regular_file(
    run: Runner, tmp_path: Path, patience: None
) -> None:
    os.mkfifo(tmp_path / "a.csv")
    (tmp_path / "b.csv").symlink_to("/dev/zero")
    (tmp_path / "c.csv").symlink_to(GREY)
    found = [*csv.DictReader(run("report", "--csv", "-", tmp_path).out.splitlines())]
    assert [(row["file"][-5:], row["error"]) for row in found] == [("c.csv", "")]
    named = run("report", "--csv", "-", tmp_path / "a.csv", GREY)
    first, second = csv.DictReader(named.out.splitlines())
    assert (named.status, second["error"]) == (1, "")
    assert first["error"] == "cannot be read: Not a regular file"


NASTY = "A\x1b]0;x\x07\x9b1m\x7f"


@pytest.mark.parametrize(
    "command",
    [
        *(("csv", "--long"), ("csv", "--wide"), ("json",), ("info",), ("info", "--json")),
        *(("report",), ("report", "--json"), ("report", "--csv", "-"), ("peaks", "--json")),
    ],
    ids=" ".join,
)
def test_names_do_not_control_the_terminal(
    command: tuple[str, ...], run: Runner, tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    path = write_vek(tmp_path / "a.vek", [(NASTY, flat(0.5)), ("=1+1", flat(0.25))])
    elsewhere = run(*command, path).out
    monkeypatch.setenv("NO_COLOR", "1")
    monkeypatch.setattr(sys.stdout, "isatty", lambda: True)
    shown = run(*command, path).out
    assert [c for c in shown if not c.isprintable() and c != "\n"] == []
    if "json" in command[-1]:
        assert json.loads(shown) == json.loads(elsewhere)


@pytest.mark.parametrize("name", ["=1+1", "+A1", "-A1", "@A1", "\t=1+1", "-cmd|' /C calc'!A0"])
def test_spreadsheets_get_names_as_text(name: str, run: Runner, tmp_path: Path) -> None:
    path = write_vek(tmp_path / "a.vek", [(name, flat(0.5)), ("B", flat(-0.25))])
    long = [*csv.reader(run("csv", "--long", path).out.splitlines())]
    wide = [*csv.reader(run("csv", "--wide", path).out.splitlines())]
    table = [*csv.DictReader(run("report", "--csv", "-", path, "--unit", "1").out.splitlines())]
    vek.write(vek.read(path, unit="1"), tmp_path / "a.csv")
    written = next(csv.reader((tmp_path / "a.csv").read_text().splitlines()))
    assert {row[0] for row in long[1:]} == {f"'{name}", "B"}
    assert wide[0][1:] == [f"'{name}", "B"]
    assert [row["data_set"] for row in table] == [f"'{name}", "B"]
    assert written[1].startswith(f"'{name.strip()}")
    assert wide[1][2] == long[-1][2] == "-0.25"


def test_cells_that_are_numbers_are_not_marked_as_text() -> None:
    assert [*map(csv_cell, ("-5", "+1e3", "-x", "\tx", "\rx", "a", 5, None))] == [
        *("-5", "+1e3", "'-x", "'\tx", "'\rx", "a", 5, None)
    ]


def test_samples_are_written_whole_whoever_reads_what_is_said_of_them(tmp_path: Path) -> None:
    program = f"exec {sys.executable} -m vekanalysis.samples {tmp_path}"
    full = shell(f"ulimit -f 2; {program}")
    assert full.stderr.decode().endswith(f"File too large: '{tmp_path}/two-lenses.vek'\n")
    assert (full.returncode, (tmp_path / "two-lenses.vek").exists()) == (1, False)
    # The third finds all of them there, and says so where nobody can read it.
    for end, status in ((">/dev/full", 1), ("", 0), ("2>/dev/full", 0)):
        assert shell(f"{program} {end}").returncode == status
        assert len([path for path in tmp_path.rglob("*") if path.is_file()]) == 13


def test_what_is_no_file_is_written_to_and_not_replaced(tmp_path: Path) -> None:
    (spectrum,) = vek.read(GREY)
    link, there = tmp_path / "link.csv", tmp_path / "there.csv"
    there.touch()
    link.symlink_to(there)
    vek.write(spectrum, link, overwrite=True)
    assert (link.is_symlink(), vek.read(there)[0].scan) == (True, spectrum.scan)
    os.mkfifo(tmp_path / "pipe")
    with (tmp_path / "pipe").open("r+b", buffering=0) as pipe:
        vek.write(spectrum, tmp_path / "pipe", format="csv", overwrite=True)
        assert pipe.read(100_000) == there.read_bytes()
    assert (tmp_path / "pipe").is_fifo()
    with pytest.raises(FileNotFoundError, match=r"none/a\.csv'$"):
        vek.write(spectrum, tmp_path / "none/a.csv", overwrite=True)


@pytest.mark.parametrize("has_links", [True, False])
def test_a_new_file_has_its_name_when_it_is_whole(
    has_links: bool, tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    def link(part: str, target: str, link: Callable[[str, str], None] = os.link) -> None:
        found.append((os.path.exists(target), vek.read(part)[0].scan))
        if not has_links:
            raise PermissionError(1, "Operation not permitted")
        link(part, target)

    found: list[tuple[bool, vek.Scan]] = []
    monkeypatch.setattr(os, "link", link)
    (spectrum,) = vek.read(GREY)
    for _ in range(2):
        with suppress(FileExistsError):
            vek.write(spectrum, tmp_path / "a.csv")
        assert [*tmp_path.iterdir()] == [tmp_path / "a.csv"]
        assert vek.read(tmp_path / "a.csv")[0].scan == spectrum.scan
    assert found == [(False, spectrum.scan), (True, spectrum.scan)]


def test_what_cannot_be_put_in_its_place_leaves_nothing_and_names_the_place(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    def fail(*_: object) -> None:
        raise OSError(28, "No space left on device")

    (spectrum,) = vek.read(GREY)
    there, new = tmp_path / "there.csv", tmp_path / "new.csv"
    there.write_text("before")
    monkeypatch.setattr(os, "replace", fail)
    monkeypatch.setattr(os, "link", fail)
    for path, overwrite in (there, True), (new, True), (new, False):
        with pytest.raises(OSError, match=f"No space left on device: '{path}'"):
            vek.write(spectrum, path, overwrite=overwrite)
    monkeypatch.setattr(os, "access", lambda *_: False)
    with pytest.raises(PermissionError, match=f"Permission denied: '{there}'"):
        vek.write(spectrum, there, overwrite=True)
    assert ([*tmp_path.iterdir()], there.read_text()) == ([there], "before")
