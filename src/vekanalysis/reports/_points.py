"""The points of spectra as CSV."""

import csv
import math
from collections.abc import Iterable, Iterator, Mapping, Sequence
from io import StringIO
from typing import Literal

from .._core import Scan
from .._files import csv_cell
from ..errors import Refusal
from ._layout import interval

# Values of the largest wide table, which data sets with points at other places each can make
# greater by far than what they are made of.
_MOST_CELLS = 5_000_000

type Form = Literal["pairs", "long", "wide"]
type _Rows = Iterable[Iterable[object]]


class PointTable:
    """The points of scans, with all their digits, in one of three forms.

    - "pairs": of one scan, wavelength and value a line, without a header
    - "long": a header, then a row a point: the name of its scan, wavelength, value
    - "wide": a header, then a row for each wavelength that one of the scans has within the range
      common to all: the wavelength, the value of each scan there, interpolated where it has none

    Attributes
    ----------
    notes : tuple of str
        What the table lacks.
    """

    def __init__(
        self,
        scans: Mapping[str, Scan],
        form: Form,
        *,
        x_title: str = "wavelength_nm",
        value_title: str = "value",
    ) -> None:
        self.notes: tuple[str, ...] = ()
        match form:
            case "pairs":
                (scan,) = scans.values()
                self._rows: _Rows = scan.items()
            case "long":
                self._rows = _long_rows(scans, x_title, value_title)
            case "wide":
                self._rows, self.notes = _wide_table(scans, x_title)

    def csv(self) -> str:
        text = StringIO()
        csv.writer(text, lineterminator="\n").writerows(map(csv_cell, row) for row in self._rows)
        return text.getvalue()


def _long_rows(scans: Mapping[str, Scan], x_title: str, value_title: str) -> Iterator[list[object]]:
    yield ["data set", x_title, value_title]
    for name, scan in scans.items():
        for x, value in scan.items():
            yield [name, x, value]


def _wide_table(scans: Mapping[str, Scan], x_title: str) -> tuple[_Rows, tuple[str, ...]]:
    grids = [scan.wavelengths() for scan in scans.values()]
    lowest = max((grid[0] if grid else math.inf) for grid in grids)
    highest = min((grid[-1] if grid else -math.inf) for grid in grids)
    if not lowest <= highest:
        raise Refusal("the data sets have no common range; the long form has all")
    inside = [[x for x in grid if lowest <= x <= highest] for grid in grids]
    left_out = sum(map(len, grids)) - sum(map(len, inside))
    common = interval((lowest, highest))
    note = f"{left_out} points outside of {common}, common to all, are left out (not by --long)"
    wavelengths = sorted({x for grid in inside for x in grid})
    if len(wavelengths) * len(grids) > _MOST_CELLS:
        raise Refusal(
            f"{len(wavelengths)} rows of {len(grids)} values; at most {_MOST_CELLS} values are "
            "taken side by side; the long form has all"
        )
    try:
        columns = [_evaluated(scan, wavelengths) for scan in scans.values()]
    except RuntimeError as error:
        raise Refusal(f"no values between the points ({error})") from None
    rows = [[x_title, *scans], *map(list, zip(wavelengths, *columns, strict=True))]
    return rows, (note,) if left_out else ()


def _evaluated(scan: Scan, wavelengths: Sequence[float]) -> list[float]:
    return [scan(x) for x in wavelengths]
