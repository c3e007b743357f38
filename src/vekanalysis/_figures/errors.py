"""How a command gives up."""


class CommandError(Exception):
    """Bad usage or bad input; the text is what the user reads after ``vekanalysis: ``."""
