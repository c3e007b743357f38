"""Which spectra are scans of one object, by a pattern of their names."""

from argparse import Namespace
from collections.abc import Iterator, Sequence
from typing import Final

from .._files import path_as_text
from ..quantities import Repeats
from ..spectrum import Spectrum
from ._arguments import Arguments, utf8_text
from ._errors import CommandError

_OBJECT: Final = "{object}"


def add_group(add: Arguments, help: str) -> None:
    """The option that makes spectra repeats of one object."""
    add.add_argument("--group", metavar="PATTERN", type=utf8_text, help=help)


def grouped(spectra: Sequence[Spectrum], pattern: str) -> list[Repeats]:
    """The objects in the order of their first scans.

    Parameters
    ----------
    spectra : sequence of Spectrum
    pattern : str
        Of their names, which are those of the file and, if that has several, of the data set or
        column after ``: ``. ``*`` stands for any characters, ``?`` for one, and what ``{object}``
        stands for is the name of the object: as much as there can be, after as little as there can
        be before it. All else stands for itself. Without ``{object}`` all are of one object.
        Folders are part of the name if there is a ``/`` in the pattern.

    Raises
    ------
    CommandError
        If the pattern is none, or a name does not fit to it.
    """
    check_pattern(pattern)
    objects: dict[str | None, list[Spectrum]] = {}
    for spectrum in spectra:
        file, part = place_of(spectrum)
        if file is None:
            raise CommandError(f"{spectrum.where}: --group is for files")
        name = name_of(file, part, pattern)
        found = object_in(name, pattern)
        if found is None:
            raise CommandError(f"{spectrum.where}: {misfit(name)}")
        objects.setdefault(found or None, []).append(spectrum)
    return [Repeats(scans, label) for label, scans in objects.items()]


def grouped_if_asked(
    spectra: Sequence[Spectrum], arguments: Namespace
) -> Sequence[Spectrum] | Sequence[Repeats]:
    return spectra if arguments.group is None else grouped(spectra, arguments.group)


def check_pattern(pattern: str) -> None:
    if not pattern:
        raise CommandError("--group: must be a pattern of names, such as '{object}-*'")
    if pattern.count(_OBJECT) > 1:
        raise CommandError(f"--group {pattern}: {_OBJECT} stands in it once at most")


def misfit(name: str) -> str:
    return f"its name '{name}' does not fit to --group"


def place_of(spectrum: Spectrum) -> tuple[str | None, str | None]:
    """Its file, and the data set or column."""
    source = spectrum.source
    return source.file, source.data_set if source.data_set is not None else source.column


def name_of(file: str, part: str | None, pattern: str) -> str:
    """The name that a pattern is of."""
    file = path_as_text(file).replace("\\", "/")
    name = file if "/" in pattern else file.rpartition("/")[2]
    return name if part is None else f"{name}: {part}"


def object_in(name: str, pattern: str) -> str | None:
    """What ``{object}`` is in a name; empty if the pattern has none, None if it does not fit.

    Takes time in proportion to the lengths of name and pattern, whatever they are.
    """
    before, is_there, after = pattern.partition(_OBJECT)
    if not is_there:
        return "" if len(name) in _starts(name, pattern) else None
    start = next(_starts(name, before), len(name))
    # Backwards, as few characters as there can be are behind the object.
    behind = next(_starts(name[::-1], after[::-1]), len(name))
    return name[start : len(name) - behind] if start + behind < len(name) else None


def _starts(text: str, pattern: str) -> Iterator[int]:
    """The lengths of the starts of a text that a pattern of ``*`` and ``?`` fits to."""
    states = _with_stars({0}, pattern)
    for length in range(len(text) + 1):
        if len(pattern) in states:
            yield length
        if length == len(text) or not states:
            return
        here = {s for s in states if s < len(pattern) and pattern[s] in ("*", "?", text[length])}
        states = _with_stars({s + (pattern[s] != "*") for s in here}, pattern)


def _with_stars(states: set[int], pattern: str) -> set[int]:
    """The same, with what follows after stars that stand for nothing."""
    for state in [*states]:
        while state < len(pattern) and pattern[state] == "*":
            state += 1
            states.add(state)
    return states
