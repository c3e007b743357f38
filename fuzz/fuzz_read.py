#!/usr/bin/env python3
"""Damage files of the laboratories' formats at random, and hold `vekanalysis.read` to its promises.

A damaged file is either read, as points that are finite and ascending with one-line texts of
bounded length, or refused in one line. Any other exception, a warning, more than ten seconds or
more than two gigabytes for one input are faults; the input is written into the folder for them.

usage: fuzz/fuzz_read.py [--seconds S | --inputs N] [--found FOLDER] [--seed N] [--branches]
                         [format...]
       ten seconds for each of: jcamp spc lensmeter tm27 text measurement
"""

import argparse
import faulthandler
import math
import pkgutil
import random
import re
import struct
import sys
import time
import unicodedata
import warnings
from collections.abc import Iterable, Iterator, Sequence
from itertools import pairwise
from typing import Any

from branches import Branches
from campaign import ROOT, SLOWEST, Fault, add_found, parser_for, run, saved

import vekanalysis.reading
from vekanalysis import Refusal, Spectrum
from vekanalysis.reading import read_content

SAMPLES = ROOT / "tests" / "data" / "labfiles"
PATTERNS = {
    "jcamp": ["*.jdx"],
    "spc": ["*.spc"],
    "lensmeter": ["joia-*.xml"],
    "tm27": ["*.spdx"],
    "text": ["*.jdx", "*.xml", "../../../examples/*.csv", *["../../../fuzz/corpus/text/*"] * 3],
    "measurement": ["../../../fuzz/corpus/container/*", *["../../../examples/*.vek"] * 20],
}
COMPOUND_FILE = bytes.fromhex("d0cf11e0a1b11ae1")
LONGEST_SEED = 20_000
LONGEST_REFUSAL = 600
LONGEST_FACT = 600
# A title of a table, with a number behind where others have it, too.
LONGEST_LABEL = 2020
MOST_MEMORY = 2 << 30

NUMBERS = (
    *(b"0", b"-0", b"1", b"-1", b"2", b"1e308", b"-1e308", b"1.7976931348623157e308", b"1e309"),
    *(b"5e-324", b"1e-300", b"-1e-320", b"2147483648", b"9223372036854775807", b"1e18", b"1E+400"),
    *(b"nan", b"inf", b"-inf", b"0x10", b"1,5", b"1e999999", b"9" * 24, b"9" * 400, b"", b"?"),
)
WORDS = (
    *(b"##", b"$$", b"##END=", b"##TITLE=", b"##XFACTOR=", b"##DELTAX=", b"##LASTX=", b"##XUNITS="),
    *(b"1/CM", b"MICROMETERS", b"##YUNITS=", b"##XYPOINTS= (XY..XY)", b"##XYDATA= (X++(Y..Y))"),
    *(b"%", b"@", b"S9", b"Z99999", b"J", b"?", b";", b",", b"\r", b"\n", b"\0", b"\x1a", b"\xff"),
    *(b"<", b">", b"/>", b"&#0;", b"&amp;", b"&x;", b"<!DOCTYPE a>", b"<![CDATA[", b"<?x ?>"),
    *(b'"', b"=", b"nm", b"\xef\xbb\xbf", b"\xff\xfe", b"\xc2\x85", b"\xe2\x80\xa8", b"<!--"),
    *(b"\t", b"Wavelength", b"[", b"]", b"(", b")", b"%T", b"E", b"T", b"W/m2/nm", b"R%", b"# "),
    *(b": ", b"um", b"OD", b"log ", b"400", b"n/a", b"-", b"u(T)", b"  ", b"^2", b"1-"),
    *(b'unit="um"', b'unit=" % "', b"irradiance", b"cm-1", b"A" * 1000, b"\xc3\xa9" * 700),
)
# Little-endian patterns that headers of binary files trip over: bounds of integers, NaN of both
# sorts, infinities, the largest and the smallest doubles and floats.
BINARY = (
    *(struct.pack("<I", n) for n in (0, 1, 2, 2**31 - 1, 2**31, 2**32 - 1, 512, 2**24)),
    *(struct.pack("<I", n) for n in (0x7F800001, 0x7FC00000, 0x7F800000, 0xFF800000, 0x7F7FFFFF)),
    *(struct.pack("<Q", n) for n in (0x7FF0000000000001, 0x7FF8000000000000, 0x7FF0000000000000)),
    *(struct.pack("<d", x) for x in (1.7e308, -1.7e308, 5e-324, 0.0, -1.0, 1e300)),
    *(b"\0", b"\x7f", b"\x80", b"\xff", b"\x44", b"\xe4"),
)
_NUMBER = re.compile(rb"[0-9]+(?:\.[0-9]+)?(?:[eE][+-]?[0-9]+)?")


def seeds(form: str) -> list[bytes]:
    """The files that are damaged, shortened to what is quick to read."""
    paths = sorted(path for pattern in PATTERNS[form] for path in SAMPLES.glob(pattern))
    return [path.read_bytes()[:LONGEST_SEED] for path in paths]


def damaged(content: bytes, others: list[bytes], chance: random.Random) -> bytes:
    """The content after one to eight random changes."""
    changed = bytearray(content)
    for _ in range(chance.choice((1, 1, 1, 2, 3, 8))):
        _damage(changed, others, chance)
    return bytes(changed)


def _damage(content: bytearray, others: list[bytes], chance: random.Random) -> None:
    place = chance.randrange(len(content) + 1)
    length = min(chance.choice((1, 2, 4, 8, 30, 300)), len(content) - place)
    match chance.randrange(9):
        case 0 if length:
            content[place] ^= 1 << chance.randrange(8)
        case 1 if length:
            content[place] = chance.randrange(256)
        case 2:
            pattern = chance.choice(BINARY)
            # Longer fields of headers start at even places, mostly.
            place = 2 * chance.randrange(min(len(content), 544) // 2 + 1) + (len(pattern) == 1)
            content[place : place + len(pattern)] = pattern
        case 3:
            del content[place : place + length]
        case 4:
            content[place:place] = content[place : place + length] * chance.choice((1, 2, 50))
        case 5:
            other = chance.choice(others)
            start = chance.randrange(len(other))
            content[place : place + length] = other[start : start + length]
        case 6 | 7:
            # A number is what most damage of texts that still parse is about.
            found = list(_NUMBER.finditer(content[:4000] if chance.random() < 0.5 else content))
            if found:
                start, end = chance.choice(found).span()
                content[start:end] = chance.choice(NUMBERS)
        case _:
            content[place : place + length * chance.randrange(2)] = chance.choice(WORDS)


# What callers say of a file.
OPTIONS: dict[str, Sequence[Any]] = {
    "columns": [(0, 1), (1, 0), ("wl", "T"), [0, 1, 2], ["Wavelength", "T"]],
    "skip": [1, {1, 2}, 3],
    "delimiter": ["\t", ";", ",", " "],
    "decimal": [".", ","],
    "encoding": ["utf-8", "cp1252", "utf-16", "shift_jis"],
    "wavelength_unit": ["nm", "um", "angstrom"],
    "duplicates": ["first", "last", "mean"],
    "sort": [True],
    "kind": ["transmittance", "irradiance", "unknown"],
    "unit": ["1", "%", "mW m-2 nm-1", "OD"],
}


def options(content: bytes) -> dict[str, Any]:
    """What is said of a content: for half of them nothing, else one or more of the options."""
    chance = random.Random(content)
    wanted = chance.sample([*OPTIONS], chance.choice([0, 0, 0, 1, 1, 2]))
    return {name: chance.choice(OPTIONS[name]) for name in wanted}


def check(content: bytes) -> bool:
    """Whether the content is read rather than refused; Fault if neither is done rightly."""
    start = time.process_time()
    said = options(content)
    try:
        spectra = read_content(content, "f", **said)
    except Refusal as refused:
        text = str(refused)
        if len(text) > LONGEST_REFUSAL or not is_a_line(text):
            raise Fault(f"the refusal is no single short line: {text[:200]!r}") from None
        spectra = []
    if time.process_time() - start > SLOWEST:
        raise Fault(f"it took {time.process_time() - start:.1f} s")
    for spectrum in spectra:
        # Numbers and texts of measurement files are handed on as they are.
        if content.startswith(COMPOUND_FILE):
            _check_texts(spectrum.notes, LONGEST_FACT)
        else:
            _check_spectrum(spectrum, "wavelength_unit" in said)
    return bool(spectra)


def _check_spectrum(spectrum: Spectrum, said_unit: bool) -> None:
    wavelengths, values = spectrum.scan.to_lists()
    if not all(map(math.isfinite, wavelengths)) or not all(map(math.isfinite, values)):
        raise Fault("points that are not finite")
    # Who says the unit of a table may mean any number.
    if not (wavelengths[0] >= 0.0 or said_unit) or any(a >= b for a, b in pairwise(wavelengths)):
        raise Fault("wavelengths that do not ascend from zero")
    metadata = spectrum.metadata
    _check_texts([spectrum.label], LONGEST_LABEL)
    _check_texts([*spectrum.notes, *metadata, *metadata.values()], LONGEST_FACT)


def _check_texts(texts: Iterable[str], longest: int) -> None:
    for text in texts:
        if len(text) > longest or not is_a_line(text):
            raise Fault(f"a text that is no short line: {text[:200]!r}")


def is_a_line(text: str) -> bool:
    """Whether nothing in a text ends a line or controls a terminal."""
    return not any(unicodedata.category(char) in ("Cc", "Zl", "Zp") for char in text.expandtabs(1))


def inputs(form: str, chance: random.Random) -> Iterator[bytes]:
    """Damaged files without end."""
    files = seeds(form)
    while True:
        yield damaged(chance.choice(files), files, chance)


def _limit_memory() -> None:
    try:
        import resource
    except ImportError:  # Where there are no such limits the inputs still count.
        return
    resource.setrlimit(resource.RLIMIT_AS, (MOST_MEMORY, MOST_MEMORY))


def fuzz(form: str, arguments: argparse.Namespace) -> int:
    """Read damaged files of a format; how many kinds of fault there were."""
    chance = random.Random(f"{form} {arguments.seed}")

    def keep(content: bytes) -> str:
        return saved(arguments.found, form, content)

    return run(form, inputs(form, chance), check, arguments, keep=keep, taken="read")


def main() -> int:
    parser = parser_for("Damage files and read them.", PATTERNS, "format")
    add_found(parser)
    parser.add_argument("--branches", action="store_true", help="tell which the readers took")
    arguments = parser.parse_args()
    _limit_memory()
    faulthandler.enable()
    warnings.simplefilter("error")
    branches = Branches() if arguments.branches else None
    faults = sum(fuzz(form, arguments) for form in arguments.parts or PATTERNS)
    if branches is not None:
        _print_branches(branches)
    return min(1, faults)


def _print_branches(branches: Branches) -> None:
    all_taken = all_count = 0
    for module in sorted(pkgutil.iter_modules(vekanalysis.reading.__path__), key=lambda m: m.name):
        taken, count, lines = branches.report(f"vekanalysis.reading.{module.name}")
        all_taken, all_count = all_taken + taken, all_count + count
        missed = f"; not all at {','.join(map(str, lines))}" if lines else ""
        print(f"{module.name}: {taken} of {count} branches{missed}")
    print(f"reading: {all_taken} of {all_count} branches, {all_taken / all_count:.1%}")


if __name__ == "__main__":
    sys.exit(main())
