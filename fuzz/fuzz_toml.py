#!/usr/bin/env python3
"""Damage the TOML files that people write: budgets, settings of a laboratory, limits.

A damaged file is either taken, or refused in one line that names it. Any other exception, a warning
or more than ten seconds for one input are faults; the input is written into the folder for them.

usage: fuzz/fuzz_toml.py [--seconds S | --inputs N] [--found FOLDER] [--seed N] [sort...]
       ten seconds for each of: budget settings limits
"""

import argparse
import faulthandler
import random
import sys
import tempfile
import time
import warnings
from collections.abc import Callable
from itertools import count
from pathlib import Path

from campaign import ROOT, SLOWEST, Fault, add_found, parser_for, run, saved
from fuzz_read import LONGEST_REFUSAL, damaged, is_a_line

from vekanalysis import Refusal
from vekanalysis.certificates import Limits, Settings
from vekanalysis.uncertainty import Budget

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

    def keep(content: bytes) -> str:
        return saved(arguments.found, sort, content, ".toml")

    inputs = (an_input(sort, chance) for _ in count())
    return run(sort, inputs, lambda content: check(sort, content, folder), arguments, keep=keep)


def main() -> int:
    parser = parser_for("Damage TOML files and read them.", READERS, "sort")
    add_found(parser)
    arguments = parser.parse_args()
    faulthandler.enable()
    warnings.simplefilter("error")
    with tempfile.TemporaryDirectory() as folder:
        return min(1, sum(fuzz(s, arguments, Path(folder)) for s in arguments.parts or READERS))


if __name__ == "__main__":
    sys.exit(main())
