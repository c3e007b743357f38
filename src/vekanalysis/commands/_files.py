"""The files that a table is made of."""

import errno
import os
from collections.abc import Iterator, Sequence
from fnmatch import fnmatch

from ..reading import EXTENSIONS
from ._errors import CommandError


def input_files(names: Sequence[str], output: str, pattern: str | None = None) -> list[str]:
    """The files named, and for a directory the spectra in it and below, in the order of names.

    At least one of them can be opened.
    """
    if not names:
        raise CommandError("no files: name a FILE or a directory")
    files: list[str] = []
    target = None if output == "-" else os.path.realpath(output)
    own = None if target is None else os.path.basename(target)
    for name in names:
        if os.path.isdir(name):
            found = [entry.path for entry in _walk(name, pattern) if not _is(entry, target, own)]
            if not found:
                wanted = pattern or ", ".join(EXTENSIONS)
                raise CommandError(f"{name}: no {wanted} files in this directory or below")
            files += found
        elif os.path.realpath(name) == target:
            raise CommandError(f"{output}: is to be read, so it cannot be written")
        else:
            files.append(name)
    reasons = (_unreadable(file) for file in files)
    first = next(reasons)
    if first and all(reasons):
        raise CommandError(f"{files[0]}: cannot be read: {first}; no table is written")
    return files


def _unreadable(path: str) -> str | None:
    """Why a file cannot be opened."""
    try:
        os.stat(path)
    except (OSError, ValueError) as error:
        return getattr(error, "strerror", None) or str(error)
    return None if os.access(path, os.R_OK) else os.strerror(errno.EACCES)


def _walk(top: str, pattern: str | None) -> Iterator[os.DirEntry[str]]:
    """The files in a directory and below; what is hidden and links to directories are not."""
    try:
        with os.scandir(top) as found:
            entries = sorted(found, key=lambda entry: entry.name)
    except OSError as error:
        raise CommandError(f"{error.filename}: cannot be read: {error.strerror}") from None
    shown = [entry for entry in entries if not entry.name.startswith(".")]
    yield from (entry for entry in shown if _is_wanted(entry, pattern))
    for entry in shown:
        if entry.is_dir(follow_symlinks=False):
            yield from _walk(entry.path, pattern)


def _is_wanted(entry: os.DirEntry[str], pattern: str | None) -> bool:
    """Whether it is a regular file of such a name."""
    if pattern is None:
        return entry.name.lower().endswith(EXTENSIONS) and entry.is_file()
    return fnmatch(entry.name, pattern) and entry.is_file()


def _is(entry: os.DirEntry[str], target: str | None, name: str | None) -> bool:
    """Whether it is the file, without a look at the folders above it where that can be told."""
    if target is None or not (entry.is_symlink() or entry.name == name):
        return False
    return os.path.realpath(entry.path) == target
