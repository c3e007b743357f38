"""Pairs of numbers that are no spectra: x is not a wavelength, and may be anything."""

import math

from .._core import Scan
from ..errors import Refusal
from .measurement import is_measurement_file

_NEEDED = "expected two numbers a line, with decimal points, without a header"
_DELIMITERS = str.maketrans(",;\v\f", "    ")


def read_pairs(content: bytes, name: str) -> tuple[Scan, tuple[str, ...]]:
    """The pairs in the bytes of a file of that name, and notes on them.

    Stricter than ``io.load_csv``, which stops without a word at the first text that is not a
    number, and takes the numbers two by two whatever lines they stand on.
    """
    if not content:
        raise Refusal(f"{name}: the file is empty")
    if is_measurement_file(content):
        raise Refusal(f"{name}: a measurement file; {_NEEDED}")
    pairs = []
    for number, line in enumerate(content.decode("utf-8", "replace").splitlines(), start=1):
        if line.strip():
            pair = _pair(line)
            if pair is None:
                shown = line.strip()[:40]
                raise Refusal(
                    f"{name}: line {number}: '{shown}' is not a pair of numbers; {_NEEDED}"
                )
            pairs.append(pair)
    if not pairs:
        raise Refusal(f"{name}: there are no numbers in it; {_NEEDED}")
    scan = Scan([x for x, _ in pairs], [y for _, y in pairs])
    repeated = len(pairs) - len(scan.wavelengths())
    note = f"{repeated} repeated value{'s' * (repeated > 1)} of x: the last of each counts"
    return scan, (note,) if repeated else ()


def _pair(line: str) -> tuple[float, float] | None:
    try:
        x, y = map(float, line.translate(_DELIMITERS).split())
    except ValueError:
        return None
    is_plain = line.isascii() and "_" not in line and math.isfinite(x) and math.isfinite(y)
    return (x, y) if is_plain else None
