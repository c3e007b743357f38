"""Files of others as they are read, and files of ours as they are written."""

import csv
import errno
import os
import stat
from collections.abc import Callable, Iterable
from contextlib import suppress
from threading import get_ident
from typing import Any, BinaryIO, Final

from ._core.io import _number_cells

# A pipe that nobody writes to would wait to be opened, else.
_FLAGS: Final = os.O_RDONLY | getattr(os, "O_NONBLOCK", 0) | getattr(os, "O_BINARY", 0)
# What is read at a time of a file that is longer than it was.
_PART: Final = 1_000_000


def open_regular(path: str | os.PathLike[str]) -> BinaryIO:
    """Open a file to read its bytes.

    OSError of what is none, such as a pipe or a device: there may be nothing in it for ever, or no
    end to it.
    """
    return open(path, "rb", opener=lambda name, _: _opened(name)[0])


def read_regular(path: str | os.PathLike[str]) -> bytes:
    """What is in a file; raises as `open_regular`."""
    descriptor, size = _opened(path)
    try:
        # One byte more, so that one look tells that a file as long as it was has ended.
        parts = [os.read(descriptor, size + 1)]
        while parts[-1]:
            parts.append(os.read(descriptor, _PART))
        return parts[0] if len(parts) == 2 else b"".join(parts)
    finally:
        os.close(descriptor)


def _opened(path: str | os.PathLike[str]) -> tuple[int, int]:
    """The descriptor of a regular file, and its size."""
    _check(os.stat(path), path)
    descriptor = os.open(path, _FLAGS)
    try:
        found = os.fstat(descriptor)
        _check(found, path)
    except OSError:
        os.close(descriptor)
        raise
    return descriptor, found.st_size


def _check(found: os.stat_result, path: str | os.PathLike[str]) -> None:
    if stat.S_ISDIR(found.st_mode):
        raise IsADirectoryError(errno.EISDIR, os.strerror(errno.EISDIR), os.fspath(path))
    if not stat.S_ISREG(found.st_mode):
        raise OSError(errno.EINVAL, "Not a regular file", os.fspath(path))


def as_text(name: str) -> str:
    """A path or an argument, with the bytes that the locale has no characters for read as UTF-8.

    UnicodeError if they are none.
    """
    return name.encode("utf-8", "surrogateescape").decode()


def path_as_text(path: str) -> str:
    """The same of a path, which stays as it is where it is no UTF-8."""
    try:
        return as_text(path)
    except UnicodeError:
        return path


def save(path: str | os.PathLike[str], content: bytes) -> None:
    """Write a file whole or not at all: beside its place first, and then renamed.

    What is there and is no file, such as a device, is written to as it stands.
    """
    target = os.path.realpath(path)
    if os.path.exists(target) and not os.path.isfile(target):
        with open(target, "wb") as device:
            device.write(content)
        return
    if os.path.exists(target) and not os.access(target, os.W_OK):
        raise PermissionError(errno.EACCES, os.strerror(errno.EACCES), os.fspath(path))
    replace(target, content)


def replace(target: str, content: bytes) -> None:
    """Put a new file in the place of what has the name, whole or not at all.

    OSError names that place, not the one beside it.
    """
    _put(target, content, os.replace)


def create(target: str, content: bytes) -> None:
    """Write a file whole or not at all where there is none; FileExistsError if there is one."""
    _put(target, content, _take_name)


def _put(target: str, content: bytes, name: Callable[[str, str], None]) -> None:
    part = beside(target)
    try:
        with open(part, "wb") as file:
            file.write(content)
        name(part, target)
    except OSError as error:
        raise type(error)(error.errno, error.strerror, target) from None
    finally:
        with suppress(FileNotFoundError):
            os.remove(part)


def _take_name(part: str, target: str) -> None:
    """Give a file a name that nobody else has, nor takes meanwhile."""
    try:
        os.link(part, target)
    except FileExistsError:
        raise
    except OSError:  # A file system without links.
        os.close(os.open(target, os.O_CREAT | os.O_EXCL | os.O_WRONLY))
        try:
            os.replace(part, target)
        except OSError:
            os.remove(target)
            raise


def beside(target: str) -> str:
    """A hidden name in the folder of a file that is being written, of this thread alone."""
    folder, name = os.path.split(target)
    return os.path.join(folder, f".{name}.{os.getpid()}-{get_ident()}.part")


def csv_cell[T](value: T) -> T | str:
    """A cell of a table as spreadsheets show it, where they would compute what it says.

    Text that begins as formulae do, and is no number, gets the apostrophe that marks text.
    """
    if not isinstance(value, str) or not value.startswith(("=", "+", "-", "@", "\t", "\r")):
        return value
    try:
        float(value)
    except ValueError:
        return f"'{value}"
    return value


class _Text:
    """What csv writes to, to have it back."""

    def write(self, text: str) -> str:
        return text


_write_cells: Final = csv.writer(_Text(), lineterminator="").writerow


def csv_line(texts: Iterable[object], numbers: list[Any]) -> str:
    """A line of a table: cells as `csv_cell` has them, and numbers (or None) with all digits."""
    cells = _write_cells([csv_cell(text) for text in texts])
    return f"{cells}{_number_cells(numbers)}\n"
