"""What the fuzzers that are Python programs share: their options, and a run of many inputs."""

import argparse
import faulthandler
import hashlib
import time
import traceback
from collections.abc import Callable, Iterable
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
# Seconds for an input.
SLOWEST = 10.0


class Fault(Exception):
    """A promise or a law that was broken."""


def parser_for(description: str, parts: Iterable[str], metavar: str) -> argparse.ArgumentParser:
    """What all of them are asked; the parts to run are in ``parts``."""
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("parts", nargs="*", metavar=metavar, help=f"of {', '.join(parts)}")
    parser.add_argument("--seconds", type=float, default=10.0, help=f"for each {metavar}")
    parser.add_argument("--inputs", type=int, help="how many for each, instead of seconds")
    parser.add_argument("--seed", type=int, default=time.time_ns())
    return parser


def add_found(parser: argparse.ArgumentParser) -> None:
    """Where the inputs go that are files."""
    parser.add_argument("--found", type=Path, default=ROOT / "build" / "fuzz" / "found")


def run[Input](
    name: str,
    inputs: Iterable[Input],
    check: Callable[[Input], bool],
    arguments: argparse.Namespace,
    *,
    keep: Callable[[Input], str],
    taken: str = "taken",
) -> int:
    """Check inputs for as long, or as many, as asked; how many kinds of fault there were.

    Parameters
    ----------
    inputs : iterable
        Without end.
    check : callable
        Whether an input was taken; raises what is a fault.
    keep : callable
        Keeps an input that broke something, and says how it is had again.
    """
    end = time.monotonic() + arguments.seconds
    count = went = 0
    kinds: set[str] = set()
    for each in inputs:
        if count == arguments.inputs or (not arguments.inputs and time.monotonic() >= end):
            break
        count += 1
        # A hang ends the run, with where it was.
        faulthandler.dump_traceback_later(6 * SLOWEST, exit=True)
        try:
            went += check(each)
        except Exception as error:
            kind = kind_of(error)
            if kind not in kinds:
                kinds.add(kind)
                print(f"{name}: {kind}: {error} ({keep(each)})")
    faulthandler.cancel_dump_traceback_later()
    outcome = f"{len(kinds)} kinds of fault" if kinds else "no fault"
    print(f"{name}: {count} inputs, {went} of them {taken}, {outcome} (seed {arguments.seed})")
    return len(kinds)


def kind_of(error: Exception) -> str:
    """What faults have in common that are reported once."""
    if isinstance(error, Fault):
        return str(error)[:30]
    place = traceback.extract_tb(error.__traceback__)[-1]
    return f"{type(error).__name__} at {Path(place.filename).name}:{place.lineno}"


def saved(folder: Path, name: str, content: bytes, ending: str = "") -> str:
    """The name of the file in the folder that the content is written to."""
    folder.mkdir(parents=True, exist_ok=True)
    path = folder / f"{name}-{hashlib.sha256(content).hexdigest()[:12]}{ending}"
    path.write_bytes(content)
    return path.name
