"""The arguments of the commands, and their help, which fits a screen of 24 lines of 80."""

import argparse
import math
import re
from collections.abc import Callable, Sequence
from importlib import import_module
from typing import Any, NoReturn

from .._core import version
from .._figures.errors import CommandError
from .output import in_colour

_DESCRIPTION = """\
Reports on lenses, filters and light sources from measured spectra: CSV files
(wavelengths in nm and values, a column each), measurement files (.vek) or
built-in ones."""
_EPILOG = """\
examples:
  %(prog)s report examples/two-lenses.vek
  %(prog)s light --reference AM15G_ASTM_G17303
  %(prog)s report --help

Exit status: 0 good, 1 not all succeeded, 2 bad usage or input."""

_REPORT = """\
Transmittances after ISO 8980-3, ANSI Z80.3, AS/NZS 1067 and ISO 12311, signal
lights, chromaticities, XYZ and L*a*b*, a column a spectrum."""
_REPORT_EXAMPLES = """\
  %(prog)s examples/grey-glass-4mm.csv examples/bronze-glass-4mm.csv
  %(prog)s --jobs 4 --csv table.csv examples/two-lenses.vek
  %(prog)s --reference ANSI_Z80_3_2015_red_signal_transmittance"""
_LIGHT = """\
Illuminance, chromaticities, XYZ, L*a*b*, peak and its Wien temperature of
light sources, from spectral irradiances in W m-2 nm-1 or the unit of the file."""
_LIGHT_EXAMPLES = """\
  %(prog)s --reference AM15G_ASTM_G17303 --reference cie_illuminant_a
  %(prog)s --white e --json --reference cie_illuminant_d65"""
_PEAKS = """\
Peaks of spectra in any unit: position in nm, height, and full width in nm at
half of that height (over 0), where the spectrum falls to half on both sides of
the peak before it ends or rises above the peak."""
_PEAKS_EXAMPLES = """\
  %(prog)s --min-height 80 --reference cie_illuminant_d65
  %(prog)s --min-height 0.1 examples/line-lamp.csv"""
_STITCH = """\
Joins two spectra that overlap. The second is scaled to the first over a
stretch; if they match, they are joined where they cross. The joined spectrum
goes to standard output as CSV, the report of the match to standard error."""
_STITCH_EXAMPLES = """\
  %(prog)s --from 920 --to 980 --target 0.01 \\
      examples/lamp-visible.csv examples/lamp-infrared.csv"""
_CALIBRATE = """\
Fits the grating equation of a monochromator to micro-steps and wavelengths,
from parameters to start with: a JSON object of d, omega_t, omega_m, cos_K,
theta_z, alpha, a and phi; d and wavelengths best in nm, angles in rad."""
_CALIBRATE_EXAMPLES = """\
  %(prog)s examples/calibration/steps.csv \\
      --start examples/calibration/start.json --free cos_K,theta_z"""
_REFERENCES = """\
The built-in spectra: range and step in nm, points, peak, unit, source, and
whether they are printed figures or a reconstruction. With NAME: that spectrum
as CSV."""
_REFERENCES_EXAMPLES = """\
  %(prog)s
  %(prog)s cie_illuminant_d65 >d65.csv"""
_INFO = "What is in measurement files: axes, date, data sets, calibration, reference."
_JSON = "All of a measurement file as JSON on standard output."
_CSV = """\
Data sets of a measurement file as CSV on standard output, the numbers as in
the file. One data set comes as two columns without a header, as other commands
read it; several in the long form. Of a repeated x the last value is given."""
_CSV_EXAMPLES = """\
  %(prog)s --data-set 'Grey glass 4 mm' examples/two-lenses.vek
  %(prog)s examples/two-lenses.vek --wide"""
_COMPLETION = "A script that lets the Tab key complete commands, options and names."
_COMPLETION_EXAMPLES = """\
  eval "$(%(prog)s bash)"    in bash, or in ~/.bashrc
  eval "$(%(prog)s zsh)"     in zsh, or in ~/.zshrc after compinit"""


class _Layout(argparse.RawDescriptionHelpFormatter):
    def __init__(self, *arguments: Any, **options: Any) -> None:
        super().__init__(*arguments, **options | {"max_help_position": 22})

    def _format_action(self, action: argparse.Action) -> str:
        text = super()._format_action(action)
        # The line over the list of commands says nothing that the heading does not.
        return text.partition("\n")[2] if isinstance(action, argparse._SubParsersAction) else text


class _Parser(argparse.ArgumentParser):
    """Tells errors in one line, as all others are told."""

    def error(self, message: str) -> NoReturn:
        raise CommandError(f"{message}; '{self.prog} --help' explains")


def parse_arguments(arguments: Sequence[str] | None, program: str) -> Callable[[], int | None]:
    """The command asked for, ready to run; ``program`` is how it was called."""
    parser = make_parser(program)
    parsed = parser.parse_args(arguments)
    module_name, function_name = parsed.command

    def run() -> int | None:
        # Imported here: most commands need only a part of the modules.
        module = import_module(f".{module_name}", __package__)
        command: Callable[[argparse.Namespace], int | None] = getattr(module, function_name)
        return command(parsed)

    return run


def make_parser(program: str) -> argparse.ArgumentParser:
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
    commands = parser.add_subparsers(title="commands", metavar="COMMAND", required=True)

    def add(
        name: str,
        command: tuple[str, str],
        help: str,
        arguments: str,
        text: str,
        examples: str,
    ) -> argparse.ArgumentParser:
        subparser = commands.add_parser(
            name,
            help=help,
            prog=f"{program} {name}",
            usage=f"%(prog)s {arguments}",
            description=text,
            epilog=f"examples:\n{examples}",
            formatter_class=_Layout,
            color=in_colour(),
        )
        subparser.set_defaults(command=command, program=program)
        return subparser

    report = add(
        "report",
        ("lens_report", "run"),
        "what standards say of a lens",
        "[options] FILE...",
        _REPORT,
        _REPORT_EXAMPLES,
    )
    _add_spectra(report, "CSV or measurement file; with --csv also a directory")
    report.add_argument(
        "--percent", action="store_true", help="values in files are per cent, not fractions"
    )
    report.add_argument("--csv", metavar="OUT", help="write a table instead; - is standard output")
    report.add_argument(
        "--jobs",
        metavar="N",
        type=_between(1, 1024),
        help="processes for the table (default: all processors)",
    )

    light = add(
        "light",
        ("light", "run"),
        "what a light source is like",
        "[options] FILE...",
        _LIGHT,
        _LIGHT_EXAMPLES,
    )
    _add_spectra(light, "CSV or measurement file")
    light.add_argument(
        "--mw", action="store_true", help="values in files are mW m-2 nm-1, whatever they state"
    )
    light.add_argument(
        "--white",
        metavar="WHITE",
        default="d65",
        help="of L*a*b*: a, c, d65, e or a file (default: %(default)s)",
    )
    light.add_argument(
        "--f1-prime", action="store_true", help="also f1', of a photometer's responsivity"
    )

    peaks = add(
        "peaks",
        ("peaks", "run"),
        "peaks with height and width",
        "[options] FILE...",
        _PEAKS,
        _PEAKS_EXAMPLES,
    )
    _add_spectra(peaks, "CSV or measurement file")
    peaks.add_argument(
        "--min-height", metavar="H", type=_finite, help="only peaks as high as H or higher"
    )

    stitch = add(
        "stitch",
        ("stitch", "run"),
        "one spectrum from two that overlap",
        "[options] FILE FILE",
        _STITCH,
        _STITCH_EXAMPLES,
    )
    stitch.add_argument("files", metavar="FILE", nargs="+", help="two spectra in all")
    _add_data_set(stitch)
    for name, which in (("--from", "first"), ("--to", "last")):
        stitch.add_argument(
            name,
            dest="start" if name == "--from" else "end",
            metavar="NM",
            type=_finite,
            help=f"{which} point of the stretch (default: {which} common one)",
        )
    stitch.add_argument(
        "--target",
        metavar="T",
        type=_finite,
        default=0.01,
        help="how well they must match, see the report (default: %(default)s)",
    )

    calibrate = add(
        "calibrate",
        ("calibrate", "run"),
        "the wavelength scale of a monochromator",
        "[options] STEPS.csv --start FILE --free NAMES",
        _CALIBRATE,
        _CALIBRATE_EXAMPLES,
    )
    calibrate.add_argument("file", metavar="STEPS.csv", help="micro-step, wavelength a line")
    calibrate.add_argument("--start", metavar="FILE", required=True, help="the parameters")
    calibrate.add_argument(
        "--free",
        metavar="NAMES",
        required=True,
        help="the parameters to fit, separated by commas",
    )
    calibrate.add_argument(
        "--try-phases",
        metavar="N",
        type=_between(1, 1000),
        help="start from N phases phi, keep the best",
    )
    _add_json(calibrate)
    calibrate.add_argument("--plot", metavar="OUT.png", help="draw residuals; needs Matplotlib")

    references = add(
        "references",
        ("references", "run"),
        "the built-in spectra",
        "[--json] [NAME]",
        _REFERENCES,
        _REFERENCES_EXAMPLES,
    )
    references.add_argument("name", metavar="NAME", nargs="?", help="print this one as CSV")
    _add_json(references)

    info = add(
        "info",
        ("vek_files", "run_info"),
        "what is in a measurement file",
        "[--json] FILE...",
        _INFO,
        "  %(prog)s examples/two-lenses.vek",
    )
    info.add_argument("files", metavar="FILE", nargs="+", help="measurement file (.vek)")
    _add_json(info)

    export = add(
        "json",
        ("vek_files", "run_json"),
        "a measurement file as JSON",
        "[options] FILE",
        _JSON,
        "  %(prog)s examples/two-lenses.vek --indent -1",
    )
    _add_vek_file(export)
    export.add_argument(
        "--indent",
        type=_between(-1, 1024),
        metavar="N",
        default=2,
        help="blanks a level; 0 line ends only, -1 one line (default: %(default)s)",
    )
    export.add_argument(
        "--ascii", action="store_true", help="write characters beyond ASCII as \\u sequences"
    )

    to_csv = add(
        "csv",
        ("vek_files", "run_csv"),
        "data sets of a measurement file as CSV",
        "[options] FILE",
        _CSV,
        _CSV_EXAMPLES,
    )
    _add_vek_file(to_csv)
    _add_data_set(to_csv)
    form = to_csv.add_mutually_exclusive_group()
    form.add_argument(
        "--wide",
        action="store_true",
        help="a column a data set, with a header, at each x of one of them within the range "
        "common to all; what one lacks there is interpolated",
    )
    form.add_argument(
        "--long",
        action="store_true",
        help="a line a point, with a header: data set, x, value",
    )

    completion = add(
        "completion",
        ("completion", "run"),
        "completion with the Tab key",
        "{bash,zsh}",
        _COMPLETION,
        _COMPLETION_EXAMPLES,
    )
    completion.add_argument("shell", choices=("bash", "zsh"), help="the shell that is to read it")
    return parser


def _between(lowest: int, highest: int) -> Callable[[str], int]:
    def convert(text: str) -> int:
        if not re.fullmatch("-?[0-9]+", text) or not lowest <= int(text) <= highest:
            raise argparse.ArgumentTypeError(f"must be {lowest} to {highest}, not {text}")
        return int(text)

    return convert


def _finite(text: str) -> float:
    try:
        number = float(text)
    except ValueError:
        number = math.nan
    if not math.isfinite(number):
        raise argparse.ArgumentTypeError(f"must be a number, not {text}")
    return number


def _add_spectra(parser: argparse.ArgumentParser, files: str) -> None:
    parser.add_argument("files", metavar="FILE", nargs="*", help=files)
    parser.add_argument(
        "--reference",
        metavar="NAME",
        action="append",
        default=[],
        help="a built-in spectrum (see: references); repeatable",
    )
    _add_data_set(parser)
    _add_json(parser)
    parser.add_argument("--plot", metavar="OUT.png", help="also draw them; needs Matplotlib")


def _add_vek_file(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("file", metavar="FILE", help="measurement file (.vek)")


def _add_data_set(parser: argparse.ArgumentParser) -> None:
    parser.add_argument(
        "--data-set",
        metavar="NAME",
        action="append",
        default=[],
        help="only this one of the measurement files; repeatable",
    )


def _add_json(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("--json", action="store_true", help="JSON instead of text")
