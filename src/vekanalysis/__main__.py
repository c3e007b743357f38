"""The command line: ``vekanalysis ARGS`` or ``python -m vekanalysis ARGS``."""

import os
import signal
import sys
import threading
from collections.abc import Iterator, Sequence
from contextlib import contextmanager

from .commands._errors import CommandError, Terminated
from .commands._parser import parse_arguments
from .commands._terminal import note
from .errors import Refusal, for_command_line, lacks_memory

# What shells report for a program ended by SIGINT, SIGTERM or SIGPIPE.
_INTERRUPTED = 130
_TERMINATED = 143
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
            with _termination_taken():
                return run() or 0
        finally:
            # Here, not at the interpreter's end, where a failure could not be told any more.
            sys.stdout.flush()
    except (CommandError, Refusal) as error:
        return _fail(for_command_line(error))
    except (MemoryError, TypeError) as error:
        if not lacks_memory(error):
            raise
        return _fail("not enough memory")
    except BrokenPipeError:
        _abandon_stdout()
        return _CLOSED_PIPE
    except OSError as error:
        _abandon_stdout()
        return _fail(f"standard output: {error.strerror or error}")
    except Terminated:
        return _TERMINATED
    except KeyboardInterrupt:
        return _INTERRUPTED


@contextmanager
def _termination_taken() -> Iterator[None]:
    """End in order when asked to: leave what is written whole, and no processes."""

    def end(*_: object) -> None:
        raise Terminated

    if threading.current_thread() is not threading.main_thread():
        yield
        return
    before = signal.signal(signal.SIGTERM, end)
    try:
        yield
    finally:
        signal.signal(signal.SIGTERM, before)


def _fail(reason: str) -> int:
    note(reason)
    return 2


def _abandon_stdout() -> None:
    """Keep the interpreter from writing once more what could not be written."""
    null = os.open(os.devnull, os.O_WRONLY)
    os.dup2(null, sys.stdout.fileno())
    os.close(null)


if __name__ == "__main__":
    sys.exit(main())
