"""``vekanalysis json``: a measurement file as JSON."""

from argparse import Namespace

from ..errors import Refusal
from ._arguments import Arguments, between

HELP = "a measurement file as JSON"
ARGUMENTS = "[options] FILE"
DESCRIPTION = "All of a measurement file as JSON on standard output."
EXAMPLES = "  %(prog)s examples/two-lenses.vek --indent -1"


def add_arguments(arguments: Arguments) -> None:
    add = arguments.add_argument
    add("file", metavar="FILE", help="measurement file (.vek)")
    add(
        "--indent",
        type=between(-1, 1024),
        metavar="N",
        default=2,
        help="blanks a level; 0 line ends only, -1 one line (default: %(default)s)",
    )
    add("--ascii", action="store_true", help="write characters beyond ASCII as \\u sequences")


def run(arguments: Namespace) -> None:
    from .._core import io
    from ..reading import is_measurement_file, unreadable
    from ._spectra import read_file
    from ._terminal import emit_json

    content = read_file(arguments.file)
    if not is_measurement_file(content):
        raise Refusal(f"{arguments.file}: not a measurement file (.vek)")

    def export(ascii_only: bool) -> str:
        try:
            return io.vekfile_to_json_binary_data(content, arguments.indent, ascii_only)
        except (RuntimeError, ValueError) as error:
            raise unreadable(arguments.file, error) from None

    emit_json(export, arguments.ascii)
