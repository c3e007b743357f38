"""Files that commands write besides tables: whole or not at all, and over nothing by accident."""

import os
import re
from argparse import Namespace
from collections.abc import Iterable

from .._files import save
from ._arguments import Arguments
from ._errors import CommandError


def check_targets(targets: Iterable[str], inputs: Iterable[str], overwrite: bool) -> None:
    """Refuse to write over what is there, and ever over what is read."""
    read = {os.path.realpath(path) for path in inputs}
    seen = set()
    for path in targets:
        real = os.path.realpath(path)
        if real in read:
            raise CommandError(f"{path}: is to be read, so it cannot be written")
        if real in seen:
            raise CommandError(f"{path}: is to be written twice")
        seen.add(real)
        if os.path.isdir(path):
            raise CommandError(f"{path}: is a directory")
        if os.path.exists(path) and not overwrite:
            raise CommandError(f"{path}: is there already; --overwrite replaces it")


def write_page(path: str, content: bytes | str) -> None:
    """Write a file beside its place first."""
    if isinstance(content, str):
        content = content.encode()
    try:
        save(path, content)
    except OSError as error:
        raise CommandError(f"{path}: cannot be written: {error.strerror or error}") from None


def add_page(add: Arguments, help: str | None) -> None:
    """The option for a page that a report goes to."""
    import argparse

    add.add_argument("--html", metavar="OUT", help=help)
    add.add_argument("--overwrite", action="store_true", help=argparse.SUPPRESS)


def file_name(label: str) -> str:
    """A name for files, of a label that may hold anything."""
    return re.sub(r"[^\w.+-]+", "_", label).strip("._")[:100] or "spectrum"


def fields(texts: Iterable[str]) -> dict[str, str]:
    """``object=Lens 7`` as name and text."""
    found = {}
    for text in texts:
        name, sign, value = text.partition("=")
        if not sign or not name:
            raise CommandError(f"--set {text}: must be a field and its text: object='Lens 7'")
        found[name] = value
    return found


def limits_of(arguments: Namespace) -> list[str]:
    """The files that options of a command name, as far as they are given."""
    names = ("settings", "uncertainty", "limits")
    found = [getattr(arguments, name, None) for name in names]
    tables = [text.partition("=")[2] for text in arguments.table]
    return [*(name for name in found if name is not None), *tables]
