"""``vekanalysis peaks``: where the peaks of a spectrum are, how high and how wide."""

from argparse import Namespace

from .. import reports
from ._arguments import Arguments, add_files, add_forms, add_layout, add_units, finite

HELP = "peaks with height, width and area"
ARGUMENTS = "[options] FILE..."
DESCRIPTION = """\
Peaks of spectra in any unit: position in nm, height, prominence, and full width
in nm at half maximum and area over the straight line between the lowest points
on either side. Noise has peaks, too: --min-prominence keeps them out."""
EXAMPLES = """\
  %(prog)s --min-height 80 --reference cie_illuminant_d65
  %(prog)s --min-prominence 0.1 examples/line-lamp.csv"""

_LEAST = {
    "height": ("H", "only peaks as high as H or higher"),
    "prominence": ("P", "only peaks that rise P above what is around them"),
    "distance": ("NM", "of peaks that are closer the lower one goes"),
    "width": ("NM", "only peaks as wide at half maximum"),
}


def add_arguments(arguments: Arguments) -> None:
    add_files(arguments, "text or measurement file, read as info --help says")
    add_units(arguments)
    for name, (metavar, meaning) in _LEAST.items():
        arguments.add_argument(f"--min-{name}", metavar=metavar, type=finite, help=meaning)
    arguments.add_argument(
        "--baseline",
        choices=["valleys", "prominence", "zero"],
        default="valleys",
        metavar="B",
        help="of widths and areas: valleys (as above), prominence, zero",
    )
    add_forms(arguments)
    add_layout(arguments)


def run(arguments: Namespace) -> None:
    from ._spectra import read_spectra
    from ._terminal import draw, emit_report

    spectra = read_spectra(arguments, arguments.reference)
    least = {name: getattr(arguments, f"min_{name}") for name in _LEAST}
    report = reports.peaks(spectra, **least, baseline=arguments.baseline)
    if arguments.plot:
        draw(report, arguments.plot)
    emit_report(report, arguments.json)
