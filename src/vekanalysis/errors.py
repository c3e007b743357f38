"""How data that come from outside are refused: with the reason, and with what can be done, as data.

The library and the command line have doors of their own for the same answer: an argument here, an
option there. So a remedy holds the arguments, and each door words it.
"""

from typing import Any, NamedTuple

__all__ = ["Refusal", "Remedy", "for_command_line"]


class Remedy(NamedTuple):
    """What a caller can do.

    Attributes
    ----------
    words : str
        The advice; ``{}`` stands for each of the arguments. It begins with "pass" where it
        is about arguments.
    arguments : tuple of (str, object)
        Names of arguments with the values to give them; ``...`` where any value may be meant.
    """

    words: str
    arguments: tuple[tuple[str, Any], ...] = ()

    def in_python(self) -> str:
        """``pass wavelength_unit='um' to convert them``."""
        return self.words.format(
            *(f"{name}={'' if value is ... else repr(value)}" for name, value in self.arguments)
        )

    def on_command_line(self) -> str:
        """``add --wavelength-unit um to convert them``."""
        words = self.words
        if words.startswith("pass "):
            words = "add " + words.removeprefix("pass ")
        return words.format(*(_option(name, value) for name, value in self.arguments))


class Refusal(ValueError):
    """Input that cannot be taken: wrong, of another kind, or readable in two ways.

    The text is the reason, and after a semicolon the remedy in terms of Python.

    Attributes
    ----------
    reason : str
        What is wrong and where, without the remedy.
    remedy : Remedy or None
        What the caller can do.
    """

    def __init__(self, reason: str, remedy: Remedy | None = None) -> None:
        super().__init__(reason, remedy)
        self.reason = reason
        self.remedy = remedy

    def __str__(self) -> str:
        return f"{self.reason}; {self.remedy.in_python()}" if self.remedy else self.reason


def for_command_line(error: BaseException) -> str:
    """The text of an error; a remedy in it names the options of commands."""
    if isinstance(error, Refusal) and error.remedy:
        return f"{error.reason}; {error.remedy.on_command_line()}"
    return str(error)


def _option(name: str, value: Any) -> str:
    option = f"--{name.removesuffix('s') if name == 'data_sets' else name}".replace("_", "-")
    if value is ... or value is True:
        return option
    if isinstance(value, set | frozenset):
        # One line is a range, too: a lone number says how many lines at the start.
        lines = sorted(value)
        value = f"{lines[0]}-{lines[0]}" if len(lines) == 1 else ",".join(map(str, lines))
    elif isinstance(value, list | tuple):
        value = ",".join(map(str, value))
    text = str(value)
    is_plain = text.replace("-", "").isalnum()
    return f"{option} {text}" if is_plain else f"{option} '{text}'"


def lacks_memory(error: BaseException) -> bool:
    """Whether memory was not enough; results of compiled functions lack it with a TypeError."""
    return isinstance(error, MemoryError) or isinstance(error.__cause__, MemoryError)
