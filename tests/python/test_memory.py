"""Memory that runs out, at many limits: told as that, in a line, and never as something else."""

from __future__ import annotations

import json
import os
import subprocess
import sys

import pytest
from cli import write_vek

# How many limits, from that of the imports to what is enough.
SWEEP = int(os.environ.get("VEKANALYSIS_MEMORY_LIMITS", "12"))

pytestmark = pytest.mark.skipif(sys.platform != "linux", reason="reads /proc")

# A process with everything imported that forks for each limit: one for each line that it is given,
# with the kilobytes that it may take more. It tells the status and the two outputs.
_FORKING = """
import json, os, resource, sys, tempfile
import numpy
import vekanalysis.__main__, vekanalysis.reports, vekanalysis.reading, vekanalysis.batch
import vekanalysis.commands as commands, importlib, pkgutil
for module in pkgutil.iter_modules(commands.__path__):
    importlib.import_module(f"vekanalysis.commands.{module.name}")
from vekanalysis import Scan, fitting, io, utils

def limited(kilobytes, work):
    with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
        child = os.fork()
        if not child:
            os.dup2(out.fileno(), 1)
            os.dup2(err.fileno(), 2)
            pages = int(open("/proc/self/statm").read().split()[0])
            limit = pages * resource.getpagesize() + (kilobytes << 10)
            resource.setrlimit(resource.RLIMIT_AS, (limit, limit))
            status = 99
            try:
                status = work()
            except BaseException as error:
                os.write(2, f"Traceback {type(error).__name__} {error.__cause__!r}".encode())
            os._exit(status)
        status = os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])
        out.seek(0)
        err.seek(0)
        return status, len(out.read()), err.read().decode()

{work}
for line in sys.stdin:
    print(json.dumps(limited(int(line), work)), flush=True)
"""


class Limited:
    """Work under limits of memory, each of them once."""

    def __init__(self, work: str, *arguments: str) -> None:
        script = _FORKING.replace("{work}", work)
        self._process = subprocess.Popen(
            [sys.executable, "-c", script, *arguments],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            text=True,
        )

    def __enter__(self) -> Limited:
        return self

    def __exit__(self, *_: object) -> None:
        self._process.communicate()

    def __call__(self, kilobytes: int) -> tuple[int, int, str]:
        assert self._process.stdin
        assert self._process.stdout
        print(kilobytes, file=self._process.stdin, flush=True)
        status, size, told = json.loads(self._process.stdout.readline())
        return status, size, told

    def sweep(self, count: int) -> list[tuple[int, int, str]]:
        """What happens at so many limits from none to what is enough."""
        enough = 1024
        while self(enough)[0] != 0:
            enough *= 2
            assert enough < 1 << 22, self(enough)
        return [self(enough * i // count) for i in range(count)]


@pytest.fixture(scope="module")
def files(tmp_path_factory: pytest.TempPathFactory) -> dict[str, str]:
    """Files of some size: a spectrum, one that follows it, a calibration, a measurement file."""
    folder = tmp_path_factory.mktemp("large")

    def table(name: str, first: float, rise: float) -> str:
        rows = (f"{first + i / 200:.3f};{rise * i + i % 7 / 10:g}\n" for i in range(80_000))
        (folder / name).write_text("".join(rows))
        return str(folder / name)

    write_vek(folder / "a.vek", [("a", [(300 + i / 64, i % 11 / 9) for i in range(60_000)])])
    (folder / "steps.csv").write_text("".join(f"{50 * i},{200 + i / 50}\n" for i in range(20_000)))
    (folder / "start.json").write_text(
        '{"d": 833.333, "omega_t": 1e-6, "omega_m": 0.000314, "cos_K": 0.97, "theta_z": 0.02, '
        '"alpha": 1.01, "a": 0.0, "phi": 0.4}'
    )
    return {
        "table": table("a.csv", 300, 0.0),
        "next": table("b.csv", 600, 0.0),
        "steps": str(folder / "steps.csv"),
        "start": str(folder / "start.json"),
        "vek": str(folder / "a.vek"),
    }


COMMANDS = {
    "report": ("report", "table"),
    "light": ("light", "table"),
    "peaks": ("peaks", "table"),
    "stitch": ("stitch", "--from", "610", "--to", "690", "--target", "9", "table", "next"),
    "calibrate": ("calibrate", "steps", "--start", "start", "--free", "theta_z"),
    "json": ("json", "vek"),
    "csv": ("csv", "vek"),
    "info": ("info", "--json", "table"),
}


@pytest.mark.parametrize("command", COMMANDS.values(), ids=COMMANDS)
def test_commands_tell_it_in_one_line(command: tuple[str, ...], files: dict[str, str]) -> None:
    arguments = [files.get(word, word) for word in command]
    work = "work = lambda: vekanalysis.__main__.main(sys.argv[1:])"
    with Limited(work, *arguments) as limited:
        found = limited.sweep(SWEEP)
    failed = [(status, told.splitlines()) for status, _, told in found if status != 0]
    assert failed, "it was always enough"
    for status, told in failed:
        assert (status, told[-1]) == (2, "vekanalysis: not enough memory"), told
        # How well two spectra match is told before they are written.
        assert len(told) == 1 or (command[0] == "stitch" and "joined at" in told[-2])


# Calls of compiled functions, and what they are called with.
CALLS = {
    "Scan(numbers, numbers)": "numbers = [i / 2 for i in range(300_000)]",
    "Scan(pairs)": "pairs = [(0.5 * i, 1.0) for i in range(100_000)]",
    "scan.to_lists()": "scan = Scan(range(300_000), range(300_000))",
    "scan(wanted)": "scan, wanted = Scan(range(99), range(99)), [0.5] * 300_000",
    "str(scan)": "scan = Scan(range(90_000), range(90_000))",
    "vekanalysis.peaks(scan)": "scan = Scan(range(90_000), [i % 3 for i in range(90_000)])",
    "io.load_vek_scan_binary_data(image)": "image = list(open(sys.argv[1], 'rb').read())",
    "io.vekfile_to_json_binary_data(image, 2, True)": "image = open(sys.argv[1], 'rb').read()",
}


@pytest.mark.parametrize(("call", "given"), CALLS.items(), ids=CALLS)
def test_functions_raise_a_memory_error(call: str, given: str, files: dict[str, str]) -> None:
    work = f"""
{given}
def work():
    try:
        {call}
    except MemoryError:
        return 2
    return 0
"""
    with Limited(work, files["vek"]) as limited:
        found = limited.sweep(SWEEP)
    assert [told for *_, told in found if told] == []
    assert 2 in {status for status, *_ in found} <= {0, 2}
