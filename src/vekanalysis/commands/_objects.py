"""``--group`` with ``--csv``: a table of the means of the scans of each object."""

from collections.abc import Generator, Mapping, Sequence
from typing import Any, Final, NamedTuple

from ..batch import spectra_of, tried
from ..errors import for_command_line
from ..quantities import Repeats
from ..reports import Row, Table
from ..spectrum import Spectrum
from ._errors import CommandError
from ._groups import misfit, name_of, object_in, place_of

# Before the name of a data set or column in what a pattern is of.
_PART: Final = ":"
_FOLDERS: Final = "have folders in --group, such as '{object}/*' or '*/{object}_*'"


class Step(NamedTuple):
    """Rows of a table, by what name they are told of, and how many more files are read."""

    name: str
    rows: list[Row]
    files: int = 1


def rows_of_objects(
    files: Sequence[str], table: Table, reading: Mapping[str, Any], pattern: str
) -> Generator[Step]:
    """The row of each object, in the order of their first scans, behind those of stray files.

    An object of which a scan cannot be read has no mean: that of the others would not be the same.
    Nor has one with scans of one name in two folders, which may well be two objects.

    Raises
    ------
    CommandError
        If a file cannot be read whose objects are told by its data sets or columns.
    """
    objects: dict[str, list[Spectrum]] = {}
    reasons: dict[str, str] = {}
    # By the names of scans.
    places: dict[str, str] = {}
    for file in files:
        spectra, reason = spectra_of(file, reading, for_command_line)
        strays = []
        if spectra is None:
            failure = reason if reason.startswith(file) else f"{file}: {reason}"
            if _PART in pattern:
                raise CommandError(f"{failure}; nobody knows which objects lack a scan")
            found = object_in(name_of(file, None, pattern), pattern)
            if found is None:
                strays.append(failure)
            else:
                objects.setdefault(found, [])
                reasons.setdefault(found, f"{failure}; its object has no mean without it")
        for each in spectra or ():
            name = name_of(file, place_of(each)[1], pattern)
            found = object_in(name, pattern)
            if found is None:
                strays.append(f"{each.where}: {misfit(name)}")
                continue
            objects.setdefault(found, []).append(each)
            if (other := places.setdefault(name, file)) != file:
                reasons.setdefault(found, f"{file}: has the name of {other}; {_FOLDERS}")
        yield Step(file, [table.failed_object(None, reason) for reason in strays])
    while objects:
        label = next(iter(objects))
        scans = objects.pop(label)
        if label in reasons:
            row = table.failed_object(label or None, reasons[label])
        else:
            row = _row(table, scans, label or None)
        yield Step(label or "all", [row], 0)


def _row(table: Table, scans: Sequence[Spectrum], label: str | None) -> Row:
    def work() -> Row:
        return table.row_of_object(Repeats(scans, label))

    row, reason = tried(work, for_command_line)
    return table.failed_object(label, reason) if row is None else row
