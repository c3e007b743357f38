"""Numbers that are rows by their shape, and by their values something else: counts and headings."""

import math
from itertools import pairwise

from .._core import io
from ..errors import Refusal, Remedy
from .layout import Block, Layout, Lines, split_cells

# nm: counts of points and the like are below; so are few wavelengths.
_HIGHEST_COUNT = 100.0
# By how much the first step is wider than any other where the first number is no wavelength.
_RATIO = 10.0
# Fewer numbers in even steps may be values.
_FEWEST_IN_A_ROW = 4


def refuse_count(lines: Lines, line: int, core: io._TextColumns, column: int) -> None:
    """Refuse a first row whose number in the column of wavelengths is far from all others."""
    first, widest_behind = core.steps(column)
    if core.rows < 4 or not first > _RATIO * widest_behind:
        return
    wavelengths = core.column(column)
    if wavelengths[0] < _HIGHEST_COUNT:
        raise lines.error(
            line,
            f"{wavelengths[0]:g} is far from the wavelengths below it, {wavelengths[1]:g} and on",
            Remedy(
                "pass {} to leave the line out, or {} if it is a wavelength",
                (("skip", {line + 1}), ("wavelength_unit", "nm")),
            ),
        )


def refuse_row_of_wavelengths(lines: Lines, layout: Layout, block: Block) -> None:
    """Refuse a table whose wavelengths stand in its first row, beside each other."""
    rows = sum(lines.shapes[shape].lines for shape in block.shapes)
    if not max(rows, _FEWEST_IN_A_ROW) <= block.width:
        return
    cells = split_cells(lines.core.line(block.first).decode(errors="replace"), layout.delimiter)
    try:
        numbers = [float(cell.replace(layout.decimal, ".")) for cell in cells[: block.width]]
    except ValueError:
        return
    steps = [b - a for a, b in pairwise(numbers)]
    is_even = all(math.isclose(step, steps[0], rel_tol=1e-6) for step in steps)
    if is_even and steps[0] != 0.0 and min(numbers) >= _HIGHEST_COUNT:
        raise Refusal(
            f"{lines.source}: line {block.first + 1}: its numbers go from {numbers[0]:g} to "
            f"{numbers[-1]:g} in even steps, as wavelengths do, which must be in a column",
            Remedy("exchange the rows and columns of the table"),
        )
