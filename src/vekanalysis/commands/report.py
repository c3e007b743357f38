"""``vekanalysis report``: what standards say of lenses and filters."""

from argparse import SUPPRESS, Namespace

from .. import reports
from ._arguments import (
    Arguments,
    add_figures,
    add_files,
    add_forms,
    add_grid,
    add_layout,
    add_table,
    add_tables,
    add_uncertainty,
    add_units,
    add_width,
    budget_options,
    own_tables,
    table_budget,
    table_is_asked,
)
from ._errors import CommandError
from ._groups import add_group, grouped_if_asked
from ._pages import add_page, check_targets, limits_of, write_page

HELP = "what standards say of a lens"
ARGUMENTS = "[options] FILE..."
DESCRIPTION = """\
Transmittances after ISO 8980-3, ANSI Z80.3, AS/NZS 1067 and ISO 12311, signal
lights, colours; --full: quotients; --grid 5: tables' steps; --figures percent."""
EXAMPLES = """\
  %(prog)s examples/grey-glass-4mm.csv examples/bronze-glass-4mm.csv"""


def add_arguments(arguments: Arguments) -> None:
    add_files(arguments, "as info --help says; with --csv also a directory")
    add_units(arguments, "percent", "%")
    arguments.add_argument("--full", action="store_true", help=SUPPRESS)
    add_forms(arguments)
    add_table(arguments)
    add_uncertainty(arguments)
    add_grid(arguments)
    add_tables(arguments)
    add_group(arguments, "the mean of scans of one object: '{object}_*'")
    add_page(arguments, "also write a page; --overwrite replaces one")
    add_figures(arguments)
    add_width(arguments)
    add_layout(arguments)


def run(arguments: Namespace) -> int | None:
    from ._spectra import read_spectra, refuse_directories
    from ._terminal import draw, emit_report, width_for

    if arguments.figures == "percent" and (arguments.json or table_is_asked(arguments)):
        raise CommandError("--figures percent is for the text; JSON and tables have fractions")
    tables = own_tables(arguments)
    if table_is_asked(arguments):
        if arguments.html:
            raise CommandError("--html is for reports; a table is made with --csv alone")
        from ._table import write_table

        options = {
            "budget": table_budget(arguments),
            "grid": arguments.grid,
            "full": arguments.full,
            "tables": tables,
            "of_objects": arguments.group is not None,
        }
        return write_table(arguments, reports.Table("lens", **options))
    refuse_directories(arguments.files)
    common = {"grid": arguments.grid, "full": arguments.full, "tables": tables}
    options = budget_options(arguments) | common
    if arguments.html:
        inputs = [*arguments.files, *limits_of(arguments)]
        check_targets([arguments.html], inputs, arguments.overwrite)
    spectra = grouped_if_asked(read_spectra(arguments, arguments.reference), arguments)
    report = reports.lens(spectra, **options)
    if arguments.plot:
        draw(report, arguments.plot)
    if arguments.html:
        from ..certificates import Certificate, page

        certificates = [
            Certificate(each, budget=options.get("budget"), **common) for each in spectra
        ]
        write_page(arguments.html, page(certificates))
    percent = arguments.figures == "percent"
    emit_report(report, arguments.json, width=width_for(arguments.width), percent=percent)
    return None
