"""Which of the spectra of a file are meant, by their names."""

from collections.abc import Iterable, Mapping, Sequence

from ..errors import Refusal
from .encoding import showable


def chosen(where: str, offered: Mapping[str, str], names: Sequence[str]) -> list[str]:
    """The labels of those meant, in the order of the file; all of them without names.

    ``offered`` has the names of all by their labels, which are names made distinct; either counts.
    Refusal of a name that chooses nothing.
    """
    for name in names:
        if name not in offered and name not in offered.values():
            raise not_there(where, name, offered)
    return [label for label in offered if not names or label in names or offered[label] in names]


def not_there(where: str, name: str, labels: Iterable[str]) -> Refusal:
    """The refusal of a name that chooses nothing."""
    there = ", ".join(f"'{showable(label)}'" for label in labels)
    return Refusal(f"{where}: no data set '{name}'; the data sets are: {there}")
