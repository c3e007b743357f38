"""The file that a table goes to."""

import os
import signal
from collections.abc import Iterator
from contextlib import contextmanager, suppress
from typing import Self

from .._files import beside
from ._errors import CommandError
from ._terminal import emit

# How the first line of a table starts, of files or of objects.
_MARKS = (b"file,data_set,error,notes,", b"object,n,error,notes,")


class Output:
    """A table's file, or standard output for ``-``; each row is written at once.

    The rows go to a hidden file beside it, which takes its place at the end, and after Ctrl-C
    or SIGTERM: a table that was there stays as it is until then.
    """

    def __init__(self, path: str) -> None:
        self._path = path
        self._target = self._beside = os.path.realpath(path)
        self._file = None
        if path == "-":
            return
        try:
            if os.path.isfile(path) or not os.path.exists(path):
                _check_that_nothing_is_lost(path)
                self._beside = beside(self._target)
            self._file = open(  # noqa: SIM115
                self._beside,
                "w",
                buffering=1,
                encoding="utf-8",
                errors="surrogateescape",
                newline="",
            )
        except OSError as error:
            raise self._failed(error) from None

    def __enter__(self) -> Self:
        return self

    def __exit__(self, kind: type[BaseException] | None, *_: object) -> None:
        if self._file is None:
            return
        try:
            self._file.close()
            if self._beside != self._target and (
                kind is None or issubclass(kind, KeyboardInterrupt)
            ):
                os.replace(self._beside, self._target)
        except OSError as error:
            raise self._failed(error) from None
        finally:
            if self._beside != self._target:
                with suppress(FileNotFoundError):
                    os.remove(self._beside)

    def write(self, text: str) -> None:
        if self._file is None:
            emit(text)
            return
        try:
            self._file.write(text)
        except OSError as error:
            raise self._failed(error) from None

    def _failed(self, error: OSError) -> CommandError:
        return CommandError(f"{self._path}: cannot be written: {error.strerror or error}")


def _check_that_nothing_is_lost(path: str) -> None:
    """Refuse a file that is no table: ``--csv *.csv`` would overwrite a measurement."""
    if not os.path.isfile(path):
        return
    with open(path, "rb") as file:
        start = file.read(max(map(len, _MARKS)))
    if start and not start.startswith(_MARKS):
        raise CommandError(
            f"{path}: is no table of an earlier report, and is not overwritten; name another file"
        )


@contextmanager
def interrupts_held() -> Iterator[None]:
    """Let Ctrl-C and SIGTERM wait, where the system can; so do processes started meanwhile."""
    if not hasattr(signal, "pthread_sigmask"):
        yield
        return
    mask = signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGINT, signal.SIGTERM})
    try:
        yield
    finally:
        signal.pthread_sigmask(signal.SIG_SETMASK, mask)
