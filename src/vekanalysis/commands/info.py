"""``vekanalysis info``: what is in files, and how they are read."""

from argparse import Namespace

from .. import reports
from ._arguments import Arguments, add_json, add_layout, add_units, reading_options

HELP = "what is in a file, and how it is read"
ARGUMENTS = "[options] FILE..."
DESCRIPTION = """\
What is in measurement files: axes, date, data sets, calibration, reference. Of
other files the spectra, and what was found, guessed and skipped. The options
on how to read text files go with all commands that read spectra."""
EXAMPLES = """\
  %(prog)s examples/two-lenses.vek
  %(prog)s --unit %% examples/grey-glass-4mm.csv"""


def add_arguments(arguments: Arguments) -> None:
    arguments.add_argument("files", metavar="FILE", nargs="+", help="text or measurement file")
    add_json(arguments)
    add_units(arguments)
    add_layout(arguments, hidden=False)


def run(arguments: Namespace) -> None:
    from ..reading import is_measurement_file, parse_measurement, read_content
    from ._spectra import read_file
    from ._terminal import emit_report

    options = reading_options(arguments)
    files: list[reports.File] = []
    for path in arguments.files:
        content = read_file(path)
        if is_measurement_file(content):
            files.append(parse_measurement(content, path))
        else:
            files.append(reports.TextFile(path, read_content(content, path, **options)))
    emit_report(reports.Contents(files), arguments.json)
