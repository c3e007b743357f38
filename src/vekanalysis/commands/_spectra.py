"""The spectra that a command line names."""

import os
from argparse import Namespace
from collections.abc import Iterator, Sequence
from contextlib import contextmanager

from .. import reports
from .._files import read_regular
from ..reading import not_there, offered_names, offers, read_content
from ..spectrum import Spectrum
from ._arguments import reading_options
from ._errors import CommandError

# Spectra that a report has at most, so that it ends in seconds.
_MOST = 10_000


@contextmanager
def told(path: str) -> Iterator[None]:
    """Say of a file that cannot be opened which it is."""
    try:
        yield
    except OSError as error:
        raise CommandError(f"{path}: cannot be read: {error.strerror or error}") from None


def read_file(path: str) -> bytes:
    with told(path):
        return read_regular(path)


def refuse_directories(files: Sequence[str]) -> None:
    for name in files:
        if os.path.isdir(name):
            raise CommandError(f"{name}: is a directory; --csv OUT makes a table of its files")


def read_spectra(arguments: Namespace, references: Sequence[str] = ()) -> list[Spectrum]:
    """All spectra asked for, those of the files first.

    Of measurement files all data sets count, or those whose names are asked for, and so do the
    spectra of other instruments' files; each name must be in one of the files at least.
    """
    options = reading_options(arguments)
    names: list[str] = arguments.data_set
    spectra: list[Spectrum] = []
    offered: list[str] = []
    left = dict.fromkeys(names)
    for path in arguments.files:
        content = read_file(path)
        here: list[str] = []
        if names:
            there = offered_names(content, path, options.get("encoding"))
            if there is not None:
                offered += there
                here = [name for name in names if offers(there, name)]
                if not here:
                    continue
        left = {name: None for name in left if name not in here}
        spectra += read_content(content, path, data_sets=here, **options)
        if len(spectra) > _MOST:
            raise CommandError(
                f"{path}: more than {_MOST} spectra in all; choose with --data-set or --columns"
            )
    if left:
        if not offered:
            raise CommandError(
                "--data-set chooses from measurement files and those of other instruments, and "
                "none is named; --columns chooses from tables"
            )
        raise not_there(", ".join(arguments.files), next(iter(left)), offered)
    spectra += [reports.built_in(name) for name in references]
    if not spectra:
        raise CommandError("no spectrum: name a FILE or a --reference")
    return spectra


def read_one(path: str, what: str) -> Spectrum:
    """The only spectrum of a file."""
    spectra = read_content(read_file(path), path)
    if len(spectra) != 1:
        raise CommandError(f"{path}: {what} is one spectrum; this file has {len(spectra)}")
    return spectra[0]
