"""The parser, which collects the commands; its help fits a screen of 24 lines of 80."""

import argparse
from collections.abc import Callable, Sequence
from importlib import import_module
from typing import Any, NoReturn, Protocol, cast

from .._core import version
from ._arguments import Arguments
from ._errors import CommandError
from ._terminal import in_colour

COMMANDS = (
    "report",
    "certificate",
    "verify",
    "light",
    "peaks",
    "stitch",
    "calibrate",
    "references",
    "info",
    "json",
    "csv",
    "completion",
)

_DESCRIPTION = """\
Reports on lenses, filters and light sources from measured spectra: text files,
measurement files (.vek), or built-in ones."""
_EPILOG = """\
examples (python -m vekanalysis.samples examples writes the files):
  %(prog)s report examples/two-lenses.vek
  %(prog)s report --help

Exit status: 0 good, 1 not all succeeded, 2 bad usage or input."""


class _Command(Protocol):
    """The module of a command."""

    HELP: str
    ARGUMENTS: str
    DESCRIPTION: str
    EXAMPLES: str

    def add_arguments(self, add: Arguments) -> None: ...

    def run(self, arguments: argparse.Namespace) -> int | None: ...


class _Layout(argparse.RawDescriptionHelpFormatter):
    def __init__(self, *arguments: Any, **options: Any) -> None:
        super().__init__(*arguments, **options | {"max_help_position": 24})

    def _format_action(self, action: argparse.Action) -> str:
        text = super()._format_action(action)
        # The line over the list of commands says nothing that the heading does not.
        return text.partition("\n")[2] if isinstance(action, argparse._SubParsersAction) else text


class _Check(argparse.HelpFormatter):
    """What each new argument is tried with: without the modules of colours and of the terminal.

    They would take a third of the time of a short command.
    """

    def __init__(self, prog: str) -> None:
        super().__init__(prog, width=80)

    def _set_color(self, color: bool) -> None:
        pass


class _Parser(argparse.ArgumentParser):
    """Tells errors in one line, as all others are told."""

    def error(self, message: str) -> NoReturn:
        raise CommandError(f"{message}; '{self.prog} --help' explains")

    def _print_message(self, message: str, file: Any = None) -> None:
        # The one of the base class says nothing of what it could not write.
        file.write(message)

    def _get_validation_formatter(self) -> argparse.HelpFormatter:
        return _Check(self.prog)


def parse_arguments(arguments: Sequence[str], program: str) -> Callable[[], int | None]:
    """The command asked for, ready to run; ``program`` is how it was called."""
    is_command = bool(arguments) and arguments[0] in COMMANDS
    parser = make_parser(program, arguments[:1] if is_command else COMMANDS)
    parsed = parser.parse_args(arguments)
    return lambda: cast("_Command", parsed.command).run(parsed)


def make_parser(program: str, names: Sequence[str] = COMMANDS) -> argparse.ArgumentParser:
    """A parser that knows the commands ``names``."""
    parser = _Parser(
        prog=program,
        usage="%(prog)s [--help] [--version] COMMAND ...",
        description=_DESCRIPTION,
        epilog=_EPILOG,
        formatter_class=_Layout,
        color=in_colour(),
        add_help=False,
    )
    hidden = argparse.SUPPRESS  # The line of usage has them.
    parser.add_argument("-h", "--help", action="help", help=hidden)
    parser.add_argument(
        "--version", action="version", version=f"vekanalysis {version()}", help=hidden
    )
    commands = parser.add_subparsers(
        title="commands", metavar="COMMAND", required=True, prog=program
    )
    for name in names:
        command = cast("_Command", import_module(f".{name}", __package__))
        subparser = commands.add_parser(
            name,
            help=command.HELP,
            usage=f"%(prog)s {command.ARGUMENTS}",
            description=command.DESCRIPTION,
            epilog=f"examples:\n{command.EXAMPLES}",
            formatter_class=_Layout,
            color=in_colour(),
            add_help=False,
        )
        subparser.set_defaults(command=command, program=program)
        subparser.add_argument("-h", "--help", action="help", help=argparse.SUPPRESS)
        command.add_arguments(subparser.add_argument_group("arguments"))
    return parser
