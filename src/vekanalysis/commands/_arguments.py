"""Arguments that several commands have, and what their texts may be."""

import argparse
import math
import re
from argparse import SUPPRESS, Namespace
from collections.abc import Callable, Collection
from typing import Any

from .._files import as_text
from ._errors import CommandError

type Arguments = argparse._ArgumentGroup

_DELIMITERS = {"tab": "\t", "blank": " ", "blanks": " ", "comma": ",", "semicolon": ";"}
# Lines that can be named to be skipped; any number at the start can.
_MOST_LINES = 1_000_000
# Options that say how a file is to be read, by the names that reading has for them.
_READING = [
    *("kind", "unit", "wavelength_unit", "columns", "skip"),
    *("delimiter", "decimal", "encoding", "duplicates", "sort"),
]


def between(lowest: int, highest: int) -> Callable[[str], int]:
    def convert(text: str) -> int:
        if not re.fullmatch("-?[0-9]{1,9}", text) or not lowest <= int(text) <= highest:
            raise argparse.ArgumentTypeError(f"must be {lowest} to {highest}, not {text}")
        return int(text)

    return convert


def finite(text: str) -> float:
    try:
        number = float(text)
    except ValueError:
        number = math.nan
    if not math.isfinite(number):
        raise argparse.ArgumentTypeError(f"must be a number, not {text}")
    return number


def utf8_text(argument: str) -> str:
    """What is no path, whatever the locale."""
    try:
        return as_text(argument)
    except UnicodeError:
        raise argparse.ArgumentTypeError(f"must be text in UTF-8, not {argument!a}") from None


def _columns(argument: str) -> list[int | str]:
    parts = utf8_text(argument).split(",")
    return [int(part) if re.fullmatch("[0-9]{1,9}", part) else part for part in parts]


def _lines(text: str) -> int | Collection[int]:
    """``5``: the first five lines; ``5-5``, ``1-3,7``: these."""
    if re.fullmatch("[0-9]{1,9}", text):
        return int(text)
    lines: set[int] = set()
    for part in text.split(","):
        match = re.fullmatch("([0-9]{1,9})(?:-([0-9]{1,9}))?", part)
        if match is None:
            raise argparse.ArgumentTypeError(f"must be lines such as 5 or 1-3,7, not {text}")
        found = range(int(match[1]), int(match[2] or match[1]) + 1)
        if len(lines) + len(found) > _MOST_LINES:
            raise argparse.ArgumentTypeError(f"must be {_MOST_LINES} lines at most, not {text}")
        lines.update(found)
    return lines


def _delimiter(argument: str) -> str:
    return _DELIMITERS.get(argument, utf8_text(argument))


def add_files(add: Arguments, files: str) -> None:
    """Files and built-in spectra to report on, and the forms of the report."""
    add.add_argument("files", metavar="FILE", nargs="*", help=files)
    add.add_argument(
        "--reference",
        metavar="NAME",
        type=utf8_text,
        action="append",
        default=[],
        help="a built-in spectrum (see: references); repeatable",
    )
    add_data_set(add)


def add_forms(add: Arguments) -> None:
    add_json(add)
    add.add_argument("--plot", metavar="OUT.png", help="also draw them; needs Matplotlib")


def add_width(add: Arguments) -> None:
    """How wide the text is."""
    add.add_argument("--width", metavar="N", type=between(50, 10_000), help=SUPPRESS)


def add_figures(add: Arguments) -> None:
    """What transmittances are written in."""
    add.add_argument("--figures", choices=("fractions", "percent"), metavar="FORM", help=SUPPRESS)


def add_data_set(add: Arguments) -> None:
    add.add_argument(
        "--data-set",
        metavar="NAME",
        type=utf8_text,
        action="append",
        default=[],
        help="only this one, by its name in the files; repeatable",
    )


def add_json(add: Arguments) -> None:
    add.add_argument("--json", action="store_true", help="JSON instead of text")


def add_units(add: Arguments, short: str = "", meaning: str = "") -> None:
    """What the files may not state of their values; ``short`` stands for the unit ``meaning``."""
    option = add.add_argument
    option(
        "--unit",
        metavar="UNIT",
        type=utf8_text,
        help="of values that state none: %%, 'mW m-2 nm-1' ...",
    )
    option(
        "--kind",
        metavar="KIND",
        type=utf8_text,
        help="of values that do not say: absorbance, counts ...",
    )
    if short:
        escaped = meaning.replace("%", "%%")
        option(f"--{short}", action="store_true", help=f"the same as --unit '{escaped}'")
        add.set_defaults(short=(short, meaning))


def add_layout(add: Arguments, *, hidden: bool = True) -> None:
    """How text files are laid out, where that is not found out; only info explains it."""

    def option(name: str, help: str, **options: Any) -> None:
        add.add_argument(f"--{name}", help=SUPPRESS if hidden else help, **options)

    option("wavelength-unit", "of the wavelengths: nm, um, angstrom or m", metavar="U")
    option(
        "columns",
        "the wavelengths' first, by number from 0 or name: 0,2",
        metavar="LIST",
        type=_columns,
    )
    option("skip", "so many lines at the start, or these: 1-3,7", metavar="LINES", type=_lines)
    option("delimiter", "of the columns: tab, blanks, or a character", metavar="D", type=_delimiter)
    option("decimal", "the decimal sign, . or ,", metavar="SIGN", choices=(".", ","))
    option("encoding", "of the characters: utf-8, cp1252 ...", metavar="NAME")
    option(
        "duplicates",
        "of one wavelength: first, last (default), mean, refuse",
        choices=("refuse", "first", "last", "mean"),
        metavar="WHICH",
        default="last",
    )
    option("sort", "wavelengths may come in any order", action="store_true")


def reading_options(arguments: Namespace) -> dict[str, Any]:
    """The arguments of ``vekanalysis.read`` that were given as options."""
    given = {name: getattr(arguments, name, None) for name in _READING}
    short, meaning = getattr(arguments, "short", ("", ""))
    if short and getattr(arguments, short):
        if given["unit"] is not None:
            raise CommandError(f"--{short} and --unit both say the unit: give one of them")
        given["unit"] = meaning
    return {name: value for name, value in given.items() if value not in (None, False)}


def add_table(add: Arguments) -> None:
    """A table instead of a report, of many files."""
    option = add.add_argument
    option("--csv", metavar="OUT", help="write a table instead; - is standard output")
    option(
        "--pattern", metavar="GLOB", help="those of a directory: '*.txt' (default: usual endings)"
    )
    option(
        "--jobs",
        metavar="N",
        type=between(1, 1024),
        help="processes for the table; or --cluster ADDRESS, of Dask",
    )
    option("--cluster", metavar="ADDRESS", help=SUPPRESS)


def table_is_asked(arguments: Namespace) -> bool:
    options = (arguments.csv, arguments.jobs, arguments.cluster, arguments.pattern)
    return any(option is not None for option in options)


def add_grid(add: Arguments) -> None:
    """The wavelengths that spectra are brought to."""
    add.add_argument("--grid", metavar="NM", type=_grid, help=SUPPRESS)


def _grid(text: str) -> float:
    if text == "tables":
        from ..quantities import TABLES

        return TABLES
    number = finite(text)
    if not number > 0.0:
        raise argparse.ArgumentTypeError(f"must be a step in nm or 'tables', not {text}")
    return number


def add_tables(add: Arguments) -> None:
    """Tables of the laboratory's own."""
    add.add_argument("--table", metavar="NAME=FILE", action="append", default=[], help=SUPPRESS)


def own_tables(arguments: Namespace) -> list[Any]:
    """The tables that take the place of built-in ones."""
    from ..quantities import OwnTable

    found = []
    for text in arguments.table:
        name, sign, path = text.partition("=")
        if not (name and sign and path):
            raise CommandError(f"--table {text}: must be a built-in table and a file: NAME=FILE")
        try:
            found.append(OwnTable.read(name, path))
        except OSError as error:
            reason = f"{path}: cannot be read: {error.strerror or error}"
            raise CommandError(f"--table: {reason}") from None
    return found


def add_uncertainty(add: Arguments) -> None:
    """The uncertainty of the figures."""
    option = add.add_argument
    option("--uncertainty", metavar="BUDGET", help="by a budget (TOML); also --draws, --seed")
    option("--draws", metavar="N", type=_draws, help=SUPPRESS)
    option("--seed", metavar="N", type=between(0, 999_999_999), help=SUPPRESS)


def _draws(text: str) -> int | str:
    return text if text == "auto" else between(2_000, 100_000_000)(text)


def budget_options(arguments: Namespace) -> dict[str, Any]:
    """The budget, draws and seed of a report, as it takes them."""
    if arguments.uncertainty is None:
        if arguments.draws is not None or arguments.seed is not None:
            raise CommandError("--draws and --seed are for --uncertainty: name a budget")
        return {}
    if arguments.seed is not None and arguments.draws is None:
        raise CommandError("--seed is for --draws")
    from ..uncertainty import Budget

    try:
        budget = Budget.read(arguments.uncertainty)
    except OSError as error:
        raise CommandError(
            f"{arguments.uncertainty}: cannot be read: {error.strerror or error}"
        ) from None
    return {"budget": budget, "draws": arguments.draws, "seed": arguments.seed}


def table_budget(arguments: Namespace) -> Any:
    """The budget of a table, which has no draws."""
    options = budget_options(arguments)
    if options.get("draws") is not None:
        raise CommandError("--draws is for reports; a table has the first order")
    return options.get("budget")
