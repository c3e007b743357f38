"""``vekanalysis references``: the spectra that are built in."""

from argparse import Namespace

from .. import reports
from ._arguments import Arguments, add_json

HELP = "the built-in spectra"
ARGUMENTS = "[--json] [NAME]"
DESCRIPTION = """\
The built-in spectra: range and step in nm, points, peak, unit, source, and
whether they are printed figures or a reconstruction. With NAME: that spectrum
as CSV."""
EXAMPLES = """\
  %(prog)s
  %(prog)s cie_illuminant_d65 >d65.csv"""


def add_arguments(arguments: Arguments) -> None:
    arguments.add_argument("name", metavar="NAME", nargs="?", help="print this one as CSV")
    add_json(arguments)


def run(arguments: Namespace) -> None:
    from ._terminal import emit, emit_json, emit_report

    name: str | None = arguments.name
    if name is None:
        emit_report(reports.ReferenceList(), arguments.json)
        return
    spectrum = reports.built_in(name)
    if arguments.json:
        document = reports.reference_document(name, with_points=True)
        emit_json(lambda ascii_only: reports.json_text(document, ascii_only=ascii_only))
    else:
        emit(reports.PointTable({name: spectrum.scan}, "pairs").csv())
