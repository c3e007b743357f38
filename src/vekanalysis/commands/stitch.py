"""``vekanalysis stitch``: one spectrum from two that overlap."""

import sys
from argparse import Namespace

from .. import reports
from ._arguments import Arguments, add_data_set, add_layout, add_units, finite
from ._errors import CommandError

HELP = "one spectrum from two that overlap"
ARGUMENTS = "[options] FILE FILE"
DESCRIPTION = """\
Joins two spectra that overlap. The second is scaled to the first over a
stretch; if they match, they are joined where they cross. The joined spectrum
goes to standard output as CSV, the report of the match to standard error."""
EXAMPLES = """\
  %(prog)s --from 920 --to 980 --target 0.01 \\
      examples/lamp-visible.csv examples/lamp-infrared.csv"""

_NO_MATCH = 1


def add_arguments(arguments: Arguments) -> None:
    add = arguments.add_argument
    add("files", metavar="FILE", nargs="+", help="two spectra in all, read as info --help says")
    add_data_set(arguments)
    add_units(arguments)
    for name, which in (("--from", "first"), ("--to", "last")):
        add(
            name,
            dest="start" if name == "--from" else "end",
            metavar="NM",
            type=finite,
            help=f"{which} point of the stretch (default: {which} common one)",
        )
    add(
        "--target",
        metavar="T",
        type=finite,
        default=0.01,
        help="how well they must match, see the report (default: %(default)s)",
    )
    add_layout(arguments)


def run(arguments: Namespace) -> int:
    """Tell how well the spectra match and write the joined one, if they do."""
    from ._spectra import read_spectra
    from ._terminal import emit, tell

    spectra = read_spectra(arguments)
    if len(spectra) != 2:
        raise CommandError(
            f"two spectra can be stitched, not {len(spectra)}; --data-set chooses from a "
            "measurement file"
        )
    first, second = spectra
    report = reports.stitching(first, second, arguments.start, arguments.end, arguments.target)
    tell(report.text(getattr(sys.stderr, "encoding", None) or "ascii"))
    if report.joined is None:
        return _NO_MATCH
    emit(reports.PointTable({"": report.joined}, "pairs").csv())
    return 0
