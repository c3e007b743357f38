"""The command line: ``vekanalysis ARGS`` or ``python -m vekanalysis ARGS``."""

import os
import sys
from collections.abc import Sequence

from .commands._errors import CommandError
from .commands._parser import parse_arguments
from .errors import Refusal, for_command_line
from .reports import one_line

# What shells report for a program ended by SIGINT or SIGPIPE.
_INTERRUPTED = 130
_CLOSED_PIPE = 141


def main(arguments: Sequence[str] | None = None, program: str = "vekanalysis") -> int:
    """Run one command; return the exit status. ``program`` is what its help calls it.

    0 is good; 1 is a batch of which some files failed, or two spectra that do not match; 2 is bad
    usage or bad input, told in one line on standard error.
    """
    if sys.stdout is None:
        return _fail("standard output is closed")
    try:
        try:
            run = parse_arguments(sys.argv[1:] if arguments is None else arguments, program)
            return run() or 0
        finally:
            # Here, not at the interpreter's end, where a failure could not be told any more.
            sys.stdout.flush()
    except (CommandError, Refusal) as error:
        return _fail(for_command_line(error))
    except MemoryError:
        return _fail("not enough memory")
    except BrokenPipeError:
        _abandon_stdout()
        return _CLOSED_PIPE
    except OSError as error:
        _abandon_stdout()
        return _fail(f"standard output: {error.strerror or error}")
    except KeyboardInterrupt:
        return _INTERRUPTED


def _fail(reason: str) -> int:
    if sys.stderr is not None:
        print(f"vekanalysis: {one_line(reason)}", file=sys.stderr)
    return 2


def _abandon_stdout() -> None:
    """Keep the interpreter from writing once more what could not be written."""
    null = os.open(os.devnull, os.O_WRONLY)
    os.dup2(null, sys.stdout.fileno())
    os.close(null)


if __name__ == "__main__":
    sys.exit(main())
