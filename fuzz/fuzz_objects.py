#!/usr/bin/env python3
"""Fuzz what comes from no file: the states of pickles, and the arithmetic of scans.

``states``: a state that is damaged at random either makes an object that can be shown, compared,
copied and used, or ends in one of Python's ordinary errors. ``arithmetic``: random operations on
random scans, among them NaN, infinities and wide tolerances, keep the laws of scans. The
interpreter must not end in either.

usage: fuzz/fuzz_objects.py [--seconds S | --inputs N] [--seed N] [states] [arithmetic]
"""

import argparse
import copy
import faulthandler
import math
import operator
import pickle
import random
import sys
import warnings
from collections.abc import Callable, Iterator
from itertools import count, pairwise
from typing import Any

import numpy as np
from campaign import Fault, parser_for, run

import vekanalysis as vek
from vekanalysis import Interpolation, Scan, colorimetry, fitting, interop, utils

KINDS = (
    *(Interpolation.AKIMA, Interpolation.CUBIC, Interpolation.LINEAR),
    *(Interpolation.NONE, Interpolation.POLYNOMIAL),
)
VALUES = (0.0, -0.0, 1.0, -1.0, 0.5, 1e-300, 5e-324, 1e300, 1.7e308, math.inf, -math.inf, math.nan)
WAVELENGTHS = (0.0, -5.0, 400.0, 400.0 + 1e-13, 550.0, 1e-9, 1e300, -1e300, math.inf, -math.inf)
TOLERANCES = (1e-20, 1e-20, 0.0, 0.1, 5.0, 1e300, math.inf)
STRANGERS: tuple[Any, ...] = (
    *(None, True, -1, 2**70, math.nan, math.inf, "", "400", b"", b"\0" * 16, (), [], {}, {1: 2}),
    *([400.0], (1.0, 2.0), [[1.0], [2.0]], {"a": 1}, object, np.zeros((2, 0)), np.zeros(3)),
    *(np.full((2, 3), math.nan), Scan(), Interpolation.LINEAR, 99, 4.5),
)
# What calls that are refused may raise.
ORDINARY = (
    *(ValueError, TypeError, AttributeError, RuntimeError, IndexError, KeyError, OverflowError),
)


def a_scan(chance: random.Random) -> Scan:
    """A scan of a few points, some of them awkward."""
    count = chance.choice((0, 1, 2, 3, 5, 9, 40))
    wild = chance.random() < 0.3
    keys = [400.0 + chance.randrange(200) / 4 for _ in range(count)]
    values = [chance.uniform(-2.0, 5.0) for _ in range(count)]
    if wild:
        keys = [chance.choice((key, chance.choice(WAVELENGTHS))) for key in keys]
        values = [chance.choice((value, chance.choice(VALUES))) for value in values]
    return Scan(keys, values, chance.choice(TOLERANCES), chance.choice(KINDS))


def records() -> list[Any]:
    """One object of every sort that can be pickled."""
    scan = Scan([400.0, 410.0, 420.0, 430.0, 440.0], [0.0, 3.0, 1.0, 2.0, 0.0])
    return [
        scan,
        vek.Observer(scan, scan, scan),
        colorimetry.CIEXYZ(1.0, 2.0, 3.0),
        vek.chromaticity.CIExy(0.3, 0.3),
        utils.get_statistics(scan),
        vek.peaks(scan),
        *vek.peaks(scan)[:1],
        utils.mean([scan, scan]),
        utils.StitchResults(),
        fitting.FitWavelengthParams(),
        fitting.FitWavelengthParamsFree(),
        fitting.WavelengthResiduals([0.5, -1.0], 0.75, 1.0),
        vek.Spectrum(scan, "transmittance", "1", "lens"),
        *vek.io.load_vekfile(str(vek.samples.path("two-lenses"))).data_sets[:1],
    ]


def damaged(state: Any, chance: random.Random) -> Any:
    """A state with an item replaced, left out, doubled or damaged in turn."""
    if not isinstance(state, tuple | list) or not state or chance.random() < 0.1:
        return copy.copy(chance.choice(STRANGERS))
    items = list(state)
    place = chance.randrange(len(items))
    match chance.randrange(5):
        case 0:
            items[place] = copy.copy(chance.choice(STRANGERS))
        case 1:
            del items[place]
        case 2:
            items.insert(place, items[chance.randrange(len(items))])
        case 3:
            chance.shuffle(items)
        case _:
            items[place] = damaged(items[place], chance)
    return type(state)(items)


def check_state(chance: random.Random) -> bool:
    """Whether an object was made of a damaged state; Fault if it breaks a law."""
    thing = chance.choice(records())
    make, arguments, *rest = thing.__reduce_ex__(4)
    try:
        if rest and rest[0] is not None:
            made = make(*arguments)
            made.__setstate__(damaged(rest[0], chance))
        else:
            made = make(*damaged(tuple(arguments), chance))
    except ORDINARY:
        return False
    text = repr(made)
    if len(text) > 100_000:
        raise Fault(f"a record is shown in {len(text)} characters")
    try:
        back = pickle.loads(pickle.dumps(made))
        if repr(back) != text and " at 0x" not in text:
            raise Fault(f"it comes back as {back!r:.200}")
        bool(back == made)
        interop.as_dict(made)
        if isinstance(made, Scan):
            check_scan(made)
    except ORDINARY:
        # Own attributes can be what nothing pickles or compares.
        return True
    return True


def check_scan(scan: Scan) -> None:
    """The laws of every scan."""
    keys, values = scan.to_lists()
    if any(math.isnan(key) for key in keys):
        raise Fault("a wavelength is NaN")
    if any(not a + scan.epsilon < b for a, b in pairwise(keys)):
        raise Fault(f"wavelengths {keys[:9]} do not ascend by more than {scan.epsilon}")
    for key, value in zip(keys[:5], values, strict=False):
        found = scan(key)
        if not _same(found, value):
            raise Fault(f"the value at {key} is {found}, not {value}")
    below = keys[0] - 2.0 * scan.epsilon - 1.0 if keys else -math.inf
    if below + scan.epsilon < min(keys, default=0.0) and scan(below) != 0.0:
        raise Fault(f"it is {scan(below)} at {below}, below its points")
    negated = -scan
    if -negated != scan and not any(map(math.isnan, values)):
        raise Fault("twice negated it is another")


def _same(a: float, b: float) -> bool:
    return a == b or (math.isnan(a) and math.isnan(b))


_BINARY: tuple[Callable[[Any, Any], Any], ...] = (
    *(operator.add, operator.sub, operator.mul, operator.truediv, operator.pow),
    *(operator.iadd, operator.isub, operator.imul, operator.itruediv),
)


def _uses(scan: Scan, chance: random.Random) -> Iterator[Callable[[], object]]:
    """Calls that read a scan."""
    places = [chance.choice((410.1, 400.0, *VALUES, *WAVELENGTHS)) for _ in range(4)]
    yield lambda: scan(np.array(places))
    yield lambda: scan.deriv(np.array(places))
    yield lambda: scan(places[0], places[1])
    yield lambda: scan.integral()
    yield lambda: utils.get_statistics(scan)
    yield lambda: utils.find_peaks(scan)
    yield lambda: vek.peaks(scan, baseline="zero", distance=abs(places[2]), prominence=0.5)
    yield lambda: utils.peak_width(scan, places[3])
    yield lambda: utils.find_key(scan, *places[:3])
    yield lambda: colorimetry.ISO8980_3_tau_v(scan)
    yield lambda: repr(scan)


def check_arithmetic(chance: random.Random) -> bool:
    """Whether some operations went through; Fault if a result breaks a law."""
    scan, other = a_scan(chance), a_scan(chance)
    went = False
    for _ in range(chance.randrange(1, 7)):
        operand = chance.choice((other, scan, chance.choice(VALUES), chance.uniform(-3.0, 3.0)))
        before = scan.to_lists()
        try:
            match chance.randrange(6):
                case 0 | 1 | 2:
                    scan = chance.choice(_BINARY)(scan, operand)
                case 3:
                    scan[chance.choice((405.0, *WAVELENGTHS, math.nan))] = chance.choice(VALUES)
                case 4:
                    scan.epsilon = chance.choice(TOLERANCES)
                case _:
                    scan.interpolation = chance.choice(KINDS)
            went = True
        except ORDINARY:
            if repr(before) != repr(scan.to_lists()):
                raise Fault("a call that was refused changed the scan") from None
        check_scan(scan)
    for use in _uses(scan, chance):
        try:
            use()
        except ORDINARY:
            continue
    return went


CHECKS = {"states": check_state, "arithmetic": check_arithmetic}


def fuzz(name: str, arguments: argparse.Namespace) -> int:
    """Run one of the checks; how many kinds of fault there were."""
    seeds = (f"{name} {arguments.seed} {number}" for number in count(1))

    def keep(seed: str) -> str:
        return f"random.Random({seed!r})"

    return run(name, seeds, lambda seed: CHECKS[name](random.Random(seed)), arguments, keep=keep)


def main() -> int:
    parser = parser_for("Damage states of pickles, calculate with scans.", CHECKS, "check")
    arguments = parser.parse_args()
    faulthandler.enable()
    warnings.simplefilter("error")
    return min(1, sum(fuzz(name, arguments) for name in arguments.parts or CHECKS))


if __name__ == "__main__":
    sys.exit(main())
