"""``vekanalysis certificate``: a page on a lens that a laboratory hands out."""

import os
from argparse import SUPPRESS, Namespace
from collections.abc import Iterable, Sequence
from typing import Any, NamedTuple

from ..quantities import Repeats
from ..spectrum import Spectrum
from ._arguments import (
    Arguments,
    add_data_set,
    add_grid,
    add_layout,
    add_tables,
    add_units,
    own_tables,
    reading_options,
    utf8_text,
)
from ._errors import CommandError
from ._groups import add_group, grouped_if_asked

HELP = "a page on a lens, with a verdict by your own limits"
ARGUMENTS = "--out OUT [options] FILE..."
DESCRIPTION = """\
Figures with their uncertainty, and what your own limits and decision rule say.
Of several spectra OUT is a directory; --group '{object}_*': of means of scans."""
EXAMPLES = """\
  %(prog)s --settings examples/lab.toml --set object='Lens 7' \\
      --grid 5 --overwrite --out cert.html examples/grey-glass-4mm.csv"""


def add_arguments(arguments: Arguments) -> None:
    option = arguments.add_argument
    option("files", metavar="FILE", nargs="+", help="read as info --help says; or a directory")
    add_data_set(arguments)
    add_units(arguments, "percent", "%")
    option("--settings", metavar="LAB", help="of the laboratory (TOML)")
    option("--uncertainty", metavar="BUDGET", help="by a budget (TOML)")
    option("--limits", metavar="LIMITS", help="with a decision rule (TOML)")
    repeated: dict[str, Any] = {"action": "append", "default": [], "type": utf8_text}
    option("--purpose", metavar="NAME", **repeated, help="of requirements")
    option("--set", metavar="NAME=TEXT", **repeated, help="a field: object=...")
    option("--out", metavar="OUT", required=True, help="the page, or a directory for pages")
    option("--pdf", metavar="OUT", help="the same as PDF; needs WeasyPrint")
    option("--record", metavar="OUT", help="what it was computed from (JSON), for verify")
    option("--overwrite", action="store_true", help="replace what is there")
    option("--pattern", help=SUPPRESS)
    add_grid(arguments)
    add_tables(arguments)
    add_group(arguments, SUPPRESS)
    add_layout(arguments)


def run(arguments: Namespace) -> int:
    out: str = arguments.out
    common = _common(arguments)
    if out.endswith("/") or os.path.isdir(out):
        return _many(arguments, common)
    from ._pages import check_targets, limits_of

    targets = _Targets(out, arguments.pdf, arguments.record)
    inputs = [*arguments.files, *limits_of(arguments)]
    check_targets(targets.given(), inputs, arguments.overwrite)
    spectra = _read(arguments, arguments.files)
    if len(spectra) != 1:
        what = "spectra" if arguments.group is None else "objects"
        raise CommandError(
            f"{len(spectra)} {what}: for a page each, --out names a directory: {out}/"
        )
    _write(arguments, spectra[0], targets, common)
    return 0


def _many(arguments: Namespace, common: dict[str, Any]) -> int:
    """A page a spectrum; what cannot be had is told, and the rest is made."""
    from ..errors import Refusal, for_command_line
    from ._files import input_files
    from ._pages import check_targets, file_name, limits_of
    from ._terminal import note

    folders = _Targets(arguments.out, arguments.pdf, arguments.record)
    for folder in folders.given():
        try:
            os.makedirs(folder, exist_ok=True)
        except OSError as error:
            raise CommandError(f"{folder}: cannot be made: {error.strerror or error}") from None
    failed, seen = 0, set()

    def make(item: Spectrum | Repeats) -> None:
        name = file_name(item.label)
        if name in seen:
            raise CommandError(f"another spectrum is named '{name}', too: {item.label}")
        seen.add(name)
        targets = folders.within(name)
        inputs = [*_files_of(item), *limits_of(arguments)]
        check_targets(targets.given(), inputs, arguments.overwrite)
        _write(arguments, item, targets, common)

    paths = input_files(arguments.files, arguments.out, arguments.pattern)
    # Scans of one object may be in several files: without one of them its mean would be another.
    for batch in [[path] for path in paths] if arguments.group is None else [paths]:
        items: Iterable[Spectrum | Repeats] = ()
        try:
            items = _read(arguments, batch)
        except (CommandError, Refusal) as error:
            note(for_command_line(error))
            failed += 1
        for item in items:
            try:
                make(item)
            except (CommandError, Refusal) as error:
                note(for_command_line(error))
                failed += 1
    return int(failed > 0)


def _files_of(item: Spectrum | Repeats) -> list[str]:
    spectra = item.spectra if isinstance(item, Repeats) else [item]
    return [each.source.file for each in spectra if each.source.file is not None]


class _Targets(NamedTuple):
    """The files of a certificate, or the directories that they go to."""

    page: str
    pdf: str | None
    record: str | None

    def given(self) -> list[str]:
        return [path for path in self if path is not None]

    def within(self, name: str) -> _Targets:
        """The files of that name in these directories."""
        endings = (".html", ".pdf", ".json")
        pairs = zip(self, endings, strict=True)
        page, pdf, record = (path and os.path.join(path, name + ending) for path, ending in pairs)
        return _Targets(str(page), pdf, record)


def _write(
    arguments: Namespace,
    spectrum: Spectrum | Repeats,
    targets: _Targets,
    common: dict[str, Any],
) -> None:
    """Make all files of a certificate, then write them."""
    from ..certificates import Certificate, pdf, record
    from ._pages import write_page

    certificate = Certificate(spectrum, **common)
    html = certificate.html()
    pages = {targets.page: html.encode()}
    if targets.pdf is not None:
        try:
            pages[targets.pdf] = pdf(html)
        except ImportError as error:
            raise CommandError(f"--pdf: {error}") from None
    if targets.record is not None:
        options = reading_options(arguments)
        if arguments.data_set:
            options["data_sets"] = arguments.data_set
        said = record(certificate, targets.record, pages, options)
        pages[targets.record] = said.encode()
    for path, content in pages.items():
        write_page(path, content)


def _common(arguments: Namespace) -> dict[str, Any]:
    """What all certificates of a call share."""
    from ..certificates import Limits, Settings
    from ..uncertainty import Budget
    from ._pages import fields
    from ._spectra import told

    common: dict[str, Any] = {
        "purposes": arguments.purpose,
        "fields": fields(arguments.set),
        "grid": arguments.grid,
        "tables": own_tables(arguments),
    }
    for name, kind, path in (
        ("settings", Settings, arguments.settings),
        ("budget", Budget, arguments.uncertainty),
        ("limits", Limits, arguments.limits),
    ):
        if path is not None:
            with told(path):
                common[name] = kind.read(path)
    if arguments.purpose and arguments.limits is None:
        raise CommandError("--purpose is for --limits: name a file of limits")
    return common


def _read(arguments: Namespace, files: list[str]) -> Sequence[Spectrum | Repeats]:
    from ._spectra import read_spectra

    spectra = read_spectra(Namespace(**vars(arguments) | {"files": files}))
    return grouped_if_asked(spectra, arguments)
