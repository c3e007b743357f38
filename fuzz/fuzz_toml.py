#!/usr/bin/env python3
"""Damage the TOML files that people write: budgets, settings of a laboratory, limits.

A damaged file is either taken, or refused in one line that names it. Any other exception, a warning
or more than ten seconds for one input are faults; the input is written into the folder for them.

usage: fuzz/fuzz_toml.py [--seconds S | --inputs N] [--found FOLDER] [--seed N] [sort...]
       ten seconds for each of: budget settings limits
"""

import argparse
import faulthandler
import hashlib
import random
import sys
import tempfile
import time
import warnings
from collections.abc import Callable
from pathlib import Path

from fuzz_read import LONGEST_REFUSAL, SLOWEST, Fault, damaged, is_a_line, kind_of

from vekanalysis import Refusal
from vekanalysis.certificates import Limits, Settings
from vekanalysis.uncertainty import Budget

ROOT = Path(__file__).resolve().parent.parent
EXAMPLES = ROOT / "examples"
READERS: dict[str, tuple[str, Callable[[Path], object]]] = {
    "budget": ("budget.toml", Budget.read),
    "settings": ("lab.toml", Settings.read),
    "limits": ("limits-categories.toml", Limits.read),
}
# What the examples leave out, and what parsers and checks may stumble over.
LINES = (
    *(
        'correlation = "full"',
        "correlation = { length = 20 }",
        'correlation = { matrix = "m.csv" }',
    ),
    *(
        "standard = [[400, 0.1], [500, 0.2]]",
        'standard = "s.csv"',
        'repeats = "r.csv"',
        "averaged = 3",
    ),
    *(
        'distribution = "t"',
        "dof = 2.5",
        "expanded = 0.4",
        "k = 2",
        "half_width = 1",
        "pivot = 500",
    ),
    *(
        'unit = "%"',
        'label = "a\\u0085b"',
        'label = "\\u202e"',
        "label = '''\n'''",
        "label = 1979-05-27",
    ),
    *("decimals = -1", "decimals = 1e3", "decimals = 99999999999999999999", 'decimal = ";"'),
    *(
        'language = "xx"',
        'logo = "/"',
        'logo = ""',
        'templates = ".."',
        "quantities = []",
        "quantities = 1",
    ),
    *(
        'rule = "guard-band"',
        "factor = -1",
        "coverage = 1",
        "coverage = nan",
        "when = []",
        "categories = ['9']",
    ),
    *(
        "above = inf",
        "at_most = -0.0",
        "below = 0x7fffffffffffffffffff",
        "at_least = true",
        "[decision]",
    ),
    *(
        "[[component]]",
        "[[category]]",
        "[[requirement]]",
        "[fields]",
        "[page.x]",
        "[[page]]",
        "[a.b.c]",
    ),
    *(
        "x = " + "[" * 3000,
        "x = " + "9" * 5000,
        '"" = 1',
        "a.b.c = 1",
        "name = []",
        "component = {}",
    ),
    *(
        "x = { header = 1 }",
        "object = { ask = true, header = 'x', y = 1 }",
        "\x00",
        "= 1",
        "kind = {}",
    ),
)


def an_input(sort: str, chance: random.Random) -> bytes:
    """The example with lines put in, left out and exchanged, and bytes damaged."""
    lines = (EXAMPLES / READERS[sort][0]).read_text("utf-8").splitlines()
    for _ in range(chance.randrange(4)):
        place = chance.randrange(len(lines))
        match chance.randrange(4):
            case 0:
                del lines[place]
            case 1:
                lines[place] = chance.choice(LINES)
            case 2:
                lines.insert(place, chance.choice(lines))
            case _:
                lines.insert(place, chance.choice(LINES))
        lines = lines or [""]
    content = "\n".join(lines).encode()
    return damaged(content, [content], chance) if chance.random() < 0.5 else content


def check(sort: str, content: bytes, folder: Path) -> bool:
    """Whether the content is taken rather than refused; Fault if neither is done rightly."""
    path = folder / "f.toml"
    path.write_bytes(content)
    start = time.perf_counter()
    try:
        repr(READERS[sort][1](path))
    except Refusal as refused:
        text = str(refused)
        if len(text) > LONGEST_REFUSAL or not is_a_line(text):
            raise Fault(f"the refusal is no single short line: {text[:200]!r}") from None
        if str(folder) not in text:
            raise Fault(f"the refusal does not name the file: {text[:200]!r}") from None
        return False
    if time.perf_counter() - start > SLOWEST:
        raise Fault(f"it took {time.perf_counter() - start:.1f} s")
    return True


def fuzz(sort: str, arguments: argparse.Namespace, folder: Path) -> int:
    """Read damaged files of a sort; how many kinds of fault there were."""
    chance = random.Random(f"{sort} {arguments.seed}")
    end = time.monotonic() + arguments.seconds
    count = taken = 0
    kinds: set[str] = set()
    while count != arguments.inputs and (arguments.inputs or time.monotonic() < end):
        count += 1
        content = an_input(sort, chance)
        # A hang ends the run, with where it was.
        faulthandler.dump_traceback_later(6 * SLOWEST, exit=True)
        try:
            taken += check(sort, content, folder)
        except Exception as error:
            kind = kind_of(error)
            if kind not in kinds:
                kinds.add(kind)
                arguments.found.mkdir(parents=True, exist_ok=True)
                found = arguments.found / f"{sort}-{hashlib.sha256(content).hexdigest()[:12]}.toml"
                found.write_bytes(content)
                print(f"{sort}: {kind}: {error} ({found.name})")
    faulthandler.cancel_dump_traceback_later()
    outcome = f"{len(kinds)} kinds of fault" if kinds else "no fault"
    print(f"{sort}: {count} inputs, {taken} of them taken, {outcome} (seed {arguments.seed})")
    return len(kinds)


def main() -> int:
    parser = argparse.ArgumentParser(description="Damage TOML files and read them.")
    parser.add_argument("sorts", nargs="*", metavar="sort", help=f"of {', '.join(READERS)}")
    parser.add_argument("--seconds", type=float, default=10.0, help="for each sort")
    parser.add_argument("--inputs", type=int, help="how many for each sort, instead of seconds")
    parser.add_argument("--seed", type=int, default=time.time_ns())
    parser.add_argument("--found", type=Path, default=ROOT / "build" / "fuzz" / "found")
    arguments = parser.parse_args()
    faulthandler.enable()
    warnings.simplefilter("error")
    with tempfile.TemporaryDirectory() as folder:
        return min(1, sum(fuzz(s, arguments, Path(folder)) for s in arguments.sorts or READERS))


if __name__ == "__main__":
    sys.exit(main())
