"""Sizes and matrices in CSV files beside a budget."""

import csv
from io import TextIOWrapper
from pathlib import Path

import numpy as np

from .._files import open_regular
from ..errors import Refusal
from ._sizes import Curve, Floats, Matrix

# A matrix of more would fill the memory before it could be used.
_MOST_ROWS = 5000


class _Table:
    """The cells of a CSV file: a line of names, if the first is none of numbers, and numbers."""

    def __init__(self, path: Path) -> None:
        self.path = path
        try:
            with TextIOWrapper(open_regular(path), "utf-8-sig", newline="") as file:
                dialect = ";" if ";" in file.readline() else ","
                file.seek(0)
                rows = [
                    (number, row)
                    for number, row in enumerate(csv.reader(file, delimiter=dialect), start=1)
                    if any(cell.strip() for cell in row)
                ]
        except (OSError, ValueError, csv.Error) as error:
            reason = getattr(error, "strerror", None) or error
            raise Refusal(f"{path}: cannot be read: {reason}") from None
        self.names: list[str] = []
        if rows and not _is_number(rows[0][1][0]):
            self.names = [cell.strip() for cell in rows.pop(0)[1]]
        if not rows:
            raise Refusal(f"{path}: there are no numbers in it")
        if len(rows) > _MOST_ROWS:
            raise Refusal(f"{path}: more than {_MOST_ROWS} lines")
        self.width = len(rows[0][1])
        self.numbers: Floats = np.empty((len(rows), self.width))
        for target, (number, row) in zip(self.numbers, rows, strict=True):
            if len(row) != self.width:
                raise Refusal(f"{path}: line {number}: {len(row)} cells in place of {self.width}")
            try:
                target[:] = [float(cell) for cell in row]
            except ValueError as error:
                raise Refusal(f"{path}: line {number}: {error}") from None
        if not np.isfinite(self.numbers).all():
            raise Refusal(f"{path}: there are numbers that are not finite")

    def column(self, name: str | None) -> Floats:
        if name is None:
            if self.width != 2:
                raise Refusal(f"{self.path}: {self.width} columns; name one of them")
            return self.numbers[:, 1]
        if name not in self.names[1:]:
            raise Refusal(f"{self.path}: no column '{name}'")
        return self.numbers[:, self.names.index(name)]


def read_curve(path: Path, column: str | None) -> Curve:
    """Numbers by wavelength: the first column has the wavelengths in nm."""
    table = _Table(path)
    values = table.column(column)
    wavelengths = table.numbers[:, 0]
    if not (np.diff(wavelengths) > 0.0).all():
        raise Refusal(f"{path}: the wavelengths do not ascend")
    return Curve(wavelengths, values)


def read_matrix(path: Path) -> Matrix:
    """A matrix: wavelengths in the first column, the matrix in the last, one for each line."""
    table = _Table(path)
    count = len(table.numbers)
    if table.width <= count:
        raise Refusal(
            f"{path}: {count} lines of {table.width} columns; a matrix needs a column for the "
            "wavelengths and as many more as there are lines"
        )
    return Matrix(table.numbers[:, 0], table.numbers[:, -count:])


def _is_number(cell: str) -> bool:
    try:
        float(cell)
    except ValueError:
        return False
    return True
