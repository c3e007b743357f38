"""``vekanalysis report``: what standards say of lenses and filters."""

from argparse import Namespace

from .. import reports
from ._arguments import (
    Arguments,
    add_files,
    add_forms,
    add_layout,
    add_table,
    add_uncertainty,
    add_units,
    budget_options,
    table_budget,
    table_is_asked,
)

HELP = "what standards say of a lens"
ARGUMENTS = "[options] FILE..."
DESCRIPTION = """\
Transmittances after ISO 8980-3, ANSI Z80.3, AS/NZS 1067 and ISO 12311, signal
lights, chromaticities, XYZ and L*a*b*, a column a spectrum."""
EXAMPLES = """\
  %(prog)s examples/grey-glass-4mm.csv examples/bronze-glass-4mm.csv
  %(prog)s --jobs 4 --csv table.csv examples/two-lenses.vek"""


def add_arguments(arguments: Arguments) -> None:
    add_files(arguments, "as info --help says; with --csv also a directory")
    add_units(arguments, "percent", "%")
    add_forms(arguments)
    add_table(arguments)
    add_uncertainty(arguments)
    add_layout(arguments)


def run(arguments: Namespace) -> int | None:
    from ._spectra import read_spectra, refuse_directories
    from ._terminal import draw, emit_report

    if table_is_asked(arguments):
        from ._table import write_table

        return write_table(arguments, reports.Table("lens", budget=table_budget(arguments)))
    refuse_directories(arguments.files)
    report = reports.lens(read_spectra(arguments, arguments.reference), **budget_options(arguments))
    if arguments.plot:
        draw(report, arguments.plot)
    emit_report(report, arguments.json)
    return None
