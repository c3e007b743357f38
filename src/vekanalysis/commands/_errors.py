"""How a command gives up, and what it does of a file for which there is nothing to show."""

from typing import NamedTuple


class CommandError(Exception):
    """Bad usage; the text is what the user reads after ``vekanalysis: ``."""


class CannotStart(Exception):
    """Processes cannot be started."""


class Terminated(KeyboardInterrupt):
    """The process was asked to end, which it does as after Ctrl-C."""


class Lost(NamedTuple):
    """In place of the result of an item: what became of the process that had it."""

    reason: str
