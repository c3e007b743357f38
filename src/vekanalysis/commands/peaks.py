"""``vekanalysis peaks``: where the peaks of a spectrum are, how high and how wide."""

from argparse import Namespace

from .. import reports
from ._arguments import Arguments, add_files, add_forms, add_layout, add_units, finite

HELP = "peaks with height and width"
ARGUMENTS = "[options] FILE..."
DESCRIPTION = """\
Peaks of spectra in any unit: position in nm, height, and full width in nm at
half of that height (over 0), where the spectrum falls to half on both sides of
the peak before it ends or rises above the peak."""
EXAMPLES = """\
  %(prog)s --min-height 80 --reference cie_illuminant_d65
  %(prog)s --min-height 0.1 examples/line-lamp.csv"""


def add_arguments(arguments: Arguments) -> None:
    add_files(arguments, "text or measurement file, read as info --help says")
    add_units(arguments)
    arguments.add_argument(
        "--min-height", metavar="H", type=finite, help="only peaks as high as H or higher"
    )
    add_forms(arguments)
    add_layout(arguments)


def run(arguments: Namespace) -> None:
    from ._spectra import read_spectra
    from ._terminal import draw, emit_report

    spectra = read_spectra(arguments, arguments.reference)
    report = reports.peaks(spectra, arguments.min_height)
    if arguments.plot:
        draw(report, arguments.plot)
    emit_report(report, arguments.json)
