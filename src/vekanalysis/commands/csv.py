"""``vekanalysis csv``: data sets of a measurement file as CSV."""

from argparse import Namespace

from .. import reports
from ._arguments import Arguments, add_data_set

HELP = "data sets of a measurement file as CSV"
ARGUMENTS = "[options] FILE"
DESCRIPTION = """\
Data sets of a measurement file as CSV on standard output, the numbers as in
the file. One data set comes as two columns without a header, as other commands
read it; several in the long form. Of a repeated x the last value is given."""
EXAMPLES = """\
  %(prog)s --data-set 'Grey glass 4 mm' examples/two-lenses.vek
  %(prog)s examples/two-lenses.vek --wide"""


def add_arguments(arguments: Arguments) -> None:
    arguments.add_argument("file", metavar="FILE", help="measurement file (.vek)")
    add_data_set(arguments)
    form = arguments.add_mutually_exclusive_group()
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


def run(arguments: Namespace) -> None:
    from ..errors import Refusal
    from ..reading import parse_measurement, select_data_sets
    from ._spectra import read_file
    from ._terminal import emit, note

    file = parse_measurement(read_file(arguments.file), arguments.file)
    selected = select_data_sets(file, arguments.data_set)
    is_long = arguments.long or len(selected) > 1
    try:
        table = reports.PointTable(
            {label: data_set.data for label, data_set in selected.items()},
            "wide" if arguments.wide else "long" if is_long else "pairs",
            x_title=file.record.meta.x_type or "x",
            value_title=reports.quantity_title(file.record.data_info.type_and_units) or "value",
        )
    except Refusal as error:
        raise Refusal(f"{file.path}: {error}") from None
    emit(table.csv())
    for text in table.notes:
        note(text)
