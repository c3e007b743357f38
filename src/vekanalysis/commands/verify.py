"""``vekanalysis verify``: whether certificates follow from what their records name."""

from argparse import Namespace

from ._arguments import Arguments

HELP = "whether a certificate follows from its files"
ARGUMENTS = "RECORD..."
DESCRIPTION = """\
Computes certificates again from the files that their records name, and
compares every digest, every number and the text of the page. What differs is
told, a line each, and makes the exit status 1."""
EXAMPLES = """\
  %(prog)s --help"""

_DIFFERS = 1


def add_arguments(arguments: Arguments) -> None:
    arguments.add_argument("files", metavar="RECORD", nargs="+", help="from certificate --record")


def run(arguments: Namespace) -> int:
    from ..certificates import verify
    from ..reports import one_line
    from ._spectra import told
    from ._terminal import emit

    status = 0
    for path in arguments.files:
        with told(path):
            found = verify(path)
        for difference in found.differences:
            emit(one_line(difference) + "\n")
        if found.differences:
            status = _DIFFERS
            emit(f"{path}: {len(found.differences)} differences\n")
        else:
            emit(f"{path}: all {found.figures} numbers, the files and the page agree\n")
    return status
