"""The arguments of the commands."""

import argparse
import re
from collections.abc import Callable, Sequence
from importlib import import_module
from typing import NoReturn

from .._core import version
from .errors import CommandError

_DESCRIPTION = """\
Reports on lenses, filters and light sources from measured spectra.

Spectra are read from CSV files (two numbers a line, wavelength in nm and value, separated by
blanks, commas, tabs or semicolons; decimal points; no header) and from measurement files (.vek),
which are told apart by their content, or are built in (--reference).
"""
_EPILOG = "Exit status: 0 good, 2 bad usage or bad input, told in one line on standard error."

_REPORT = """\
The lens report: transmittances after ISO 8980-3, ANSI Z80.3, AS/NZS 1067 and ISO 12311, signal
lights, chromaticities, XYZ and L*a*b* under D65, one column a spectrum. Spectra are spectral
transmittances as fractions (0 to 1) over nm, or in per cent with --percent.
"""
_LIGHT = """\
The report of a light source: illuminance, chromaticities, XYZ, L*a*b*, peak wavelength and its
Wien temperature. Spectra are spectral irradiances in W m-2 nm-1 (or the unit that a measurement
file states, or mW m-2 nm-1 with --mw) over nm; in any other unit all but the illuminance.
"""
_REFERENCES = """\
Without NAME: the built-in spectra, their range and step in nm, points, peak, unit, source, and
whether they are printed figures or a reconstruction. With NAME: that spectrum as CSV, wavelength in
nm and value, in a form that the other commands read.
"""
_CSV = """\
Data sets of a measurement file as CSV on standard output, the numbers as in the file. One data set
comes as two columns without a header, as the other commands read it; several in the long form.
Where an x value is repeated, the last value is given.
"""
_WIDE = """\
one column a data set, with a header, on the common grid: every x at which one of the data sets has
a point, within the range that all of them cover; what a data set lacks there is interpolated
"""


class _Parser(argparse.ArgumentParser):
    """Tells errors in one line, as all others are told."""

    def error(self, message: str) -> NoReturn:
        raise CommandError(f"{message}; '{self.prog} --help' explains")


def parse_arguments(arguments: Sequence[str] | None) -> Callable[[], int | None]:
    """The command asked for, ready to run."""
    parsed = _parser().parse_args(arguments)
    module_name, function_name = parsed.command

    def run() -> int | None:
        # Imported here: most commands need only a part of the modules.
        module = import_module(f".{module_name}", __package__)
        command: Callable[[argparse.Namespace], int | None] = getattr(module, function_name)
        return command(parsed)

    return run


def _parser() -> argparse.ArgumentParser:
    layout = argparse.RawDescriptionHelpFormatter
    parser = _Parser(
        prog="vekanalysis",
        description=_DESCRIPTION,
        epilog=_EPILOG,
        formatter_class=layout,
        color=False,
    )
    parser.add_argument("--version", action="version", version=f"vekanalysis {version()}")
    commands = parser.add_subparsers(title="commands", metavar="COMMAND", required=True)

    def add(name: str, command: tuple[str, str], help: str, text: str) -> argparse.ArgumentParser:
        subparser = commands.add_parser(
            name,
            help=help,
            description=text,
            epilog=_EPILOG,
            formatter_class=layout,
            color=False,
        )
        subparser.set_defaults(command=command)
        return subparser

    report = add("report", ("lens_report", "run"), "what standards say of a lens", _REPORT)
    _add_spectra(report)
    report.add_argument(
        "--percent", action="store_true", help="the values in the files are per cent"
    )
    report.add_argument("--csv", metavar="OUT", help="a table instead; - is standard output")
    report.add_argument(
        "--jobs", metavar="N", type=_between(1, 1024), help="processes for the table"
    )

    light = add("light", ("light", "run"), "what a light source is like", _LIGHT)
    _add_spectra(light)
    light.add_argument(
        "--mw",
        action="store_true",
        help="the values in the files are mW m-2 nm-1, whatever they state",
    )
    light.add_argument(
        "--white",
        metavar="WHITE",
        default="d65",
        help="white point of L*a*b*: a, c or d65 (CIE illuminants), e (equal energy) or a file "
        "(default: %(default)s)",
    )
    light.add_argument(
        "--f1-prime",
        action="store_true",
        help="also f1' (1), taking the spectrum for the responsivity of a photometer",
    )

    references = add("references", ("references", "run"), "the built-in spectra", _REFERENCES)
    references.add_argument("name", metavar="NAME", nargs="?", help="print this one as CSV")
    _add_json(references)

    info = add(
        "info",
        ("vek_files", "run_info"),
        "what is in a measurement file",
        "What is in measurement files: versions, axes, date, data sets, calibration, reference.",
    )
    info.add_argument("files", metavar="FILE", nargs="+", help="measurement file (.vek)")
    _add_json(info)

    export = add(
        "json",
        ("vek_files", "run_json"),
        "a measurement file as JSON",
        "All of a measurement file as JSON on standard output.",
    )
    _add_vek_file(export)
    export.add_argument(
        "--indent",
        type=_between(-1, 1024),
        metavar="N",
        default=2,
        help="blanks per level; 0 for line ends only, -1 for one line (default: %(default)s)",
    )
    export.add_argument(
        "--ascii", action="store_true", help="write characters beyond ASCII as \\u sequences"
    )

    to_csv = add("csv", ("vek_files", "run_csv"), "data sets of a measurement file as CSV", _CSV)
    _add_vek_file(to_csv)
    _add_data_set(to_csv)
    form = to_csv.add_mutually_exclusive_group()
    form.add_argument("--wide", action="store_true", help=_WIDE)
    form.add_argument(
        "--long",
        action="store_true",
        help="one line a point, with a header: data set, x, value; nothing is interpolated",
    )
    return parser


def _between(lowest: int, highest: int) -> Callable[[str], int]:
    def convert(text: str) -> int:
        if not re.fullmatch("-?[0-9]+", text) or not lowest <= int(text) <= highest:
            raise argparse.ArgumentTypeError(f"must be {lowest} to {highest}, not {text}")
        return int(text)

    return convert


def _add_spectra(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("files", metavar="FILE", nargs="*", help="CSV file or measurement file")
    parser.add_argument(
        "--reference",
        metavar="NAME",
        action="append",
        default=[],
        help="a built-in spectrum, see 'vekanalysis references'; may be repeated",
    )
    _add_data_set(parser)
    _add_json(parser)
    parser.add_argument(
        "--plot", metavar="OUT.png", help="also draw the spectra over V(λ); needs Matplotlib"
    )


def _add_vek_file(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("file", metavar="FILE", help="measurement file (.vek)")


def _add_data_set(parser: argparse.ArgumentParser) -> None:
    parser.add_argument(
        "--data-set",
        metavar="NAME",
        action="append",
        default=[],
        help="only this data set of the measurement files; may be repeated (default: all)",
    )


def _add_json(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("--json", action="store_true", help="JSON for machines instead of text")
