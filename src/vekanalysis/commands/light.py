"""``vekanalysis light``: what a light source is like."""

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
    add_width,
    budget_options,
    table_budget,
    table_is_asked,
)
from ._groups import add_group, grouped_if_asked

HELP = "what a light source is like"
ARGUMENTS = "[options] FILE..."
DESCRIPTION = """\
What a certificate of a lamp has; with --full, --json or --csv all quantities."""
EXAMPLES = """\
  %(prog)s --white e --full --reference AM15G_ASTM_G17303"""

_ILLUMINANTS = ("a", "c", "d65", "e")


def add_arguments(arguments: Arguments) -> None:
    add_files(arguments, "as info --help says; with --csv also a directory")
    add_units(arguments, "mw", "mW m-2 nm-1")
    add = arguments.add_argument
    add(
        "--white",
        metavar="WHITE",
        default="d65",
        help="of L*a*b*: a, c, d65, e or a file (default: %(default)s)",
    )
    add("--full", action="store_true", help="also R1 to R15, hue bins, hazards, L*a*b* ...")
    add("--f1-prime", action="store_true", help="also f1', of a photometer's responsivity")
    add_forms(arguments)
    add_table(arguments)
    add_uncertainty(arguments)
    add_group(arguments, "the mean of scans of one source: '{object}_*'")
    add_width(arguments)
    add_layout(arguments)


def run(arguments: Namespace) -> int | None:
    from ._spectra import read_one, read_spectra, refuse_directories
    from ._terminal import draw, emit_report, width_for

    white = arguments.white
    if white not in _ILLUMINANTS:
        white = read_one(white, "a white")
    if table_is_asked(arguments):
        from ._table import write_table

        table = reports.Table(
            "light",
            white=white,
            f1_prime=arguments.f1_prime,
            budget=table_budget(arguments),
            of_objects=arguments.group is not None,
        )
        return write_table(arguments, table)
    refuse_directories(arguments.files)
    spectra = grouped_if_asked(read_spectra(arguments, arguments.reference), arguments)
    report = reports.light(
        spectra,
        white,
        f1_prime=arguments.f1_prime,
        full=arguments.full,
        **budget_options(arguments),
    )
    if arguments.plot:
        draw(report, arguments.plot)
    emit_report(report, arguments.json, width=width_for(arguments.width))
    return None
