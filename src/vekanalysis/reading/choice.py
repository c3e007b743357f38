"""Which of the spectra of a file are meant, by their names."""

from collections.abc import Iterable, Mapping, Sequence

from ..errors import Refusal
from .encoding import showable


def offers(offered: Mapping[str, str], name: str) -> bool:
    """Whether a name chooses anything: ``offered`` has the names of all by their labels.

    The labels are the names made distinct; either counts.
    """
    return name in offered or name in offered.values()


def chosen(where: str, offered: Mapping[str, str], names: Sequence[str]) -> list[str]:
    """The labels of those meant, in the order of the file; all of them without names.

    Refusal of a name that chooses nothing.
    """
    for name in names:
        if not offers(offered, name):
            raise not_there(where, name, offered)
    return [label for label in offered if not names or label in names or offered[label] in names]


def not_there(where: str, name: str, labels: Iterable[str]) -> Refusal:
    """The refusal of a name that chooses nothing."""
    there = ", ".join(f"'{showable(label)}'" for label in labels)
    return Refusal(f"{where}: no data set '{name}'; the data sets are: {there}")
