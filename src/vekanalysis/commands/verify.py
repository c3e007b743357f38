"""``vekanalysis verify``: whether certificates follow from what their records name."""

from argparse import Namespace

from ._arguments import Arguments
from ._errors import CommandError

HELP = "whether a certificate follows from its files"
ARGUMENTS = "RECORD..."
DESCRIPTION = """\
Computes certificates again from the files that their records name, and
compares every digest, every number and the text of the page. What differs is
told, a line each, and makes the exit status 1; what is no record makes it 2."""
EXAMPLES = """\
  %(prog)s --help"""

_DIFFERS, _NO_RECORD = 1, 2


def add_arguments(arguments: Arguments) -> None:
    arguments.add_argument("files", metavar="RECORD", nargs="+", help="from certificate --record")


def run(arguments: Namespace) -> int:
    from ..certificates import verify
    from ..errors import Refusal, for_command_line
    from ..reports import one_line
    from ._spectra import told
    from ._terminal import emit, note

    status = 0
    for path in arguments.files:
        try:
            with told(path):
                found = verify(path)
        except (CommandError, Refusal) as error:
            note(for_command_line(error))
            status = _NO_RECORD
            continue
        for difference in found.differences:
            emit(one_line(difference) + "\n")
        if found.differences:
            status = max(status, _DIFFERS)
            emit(f"{path}: {len(found.differences)} differences\n")
        else:
            emit(f"{path}: all {found.figures} numbers, the files and the page agree\n")
    return status
