"""``vekanalysis certificate``: a page on a lens that a laboratory hands out."""

import os
from argparse import SUPPRESS, Namespace
from typing import Any

from ._arguments import Arguments, add_data_set, add_layout, add_units
from ._errors import CommandError

HELP = "a page on a lens, with a verdict by your own limits"
ARGUMENTS = "--out OUT [options] FILE..."
DESCRIPTION = """\
A page on each lens: figures with their uncertainty, what the limits and the
decision rule of your own file say. Of several spectra OUT is a directory."""
EXAMPLES = """\
  %(prog)s --settings examples/lab.toml --set object='Lens 7' \\
      --overwrite --out cert.html examples/grey-glass-4mm.csv"""


def add_arguments(arguments: Arguments) -> None:
    option = arguments.add_argument
    option("files", metavar="FILE", nargs="+", help="read as info --help says; or a directory")
    add_data_set(arguments)
    add_units(arguments, "percent", "%")
    option("--settings", metavar="LAB", help="of the laboratory (TOML)")
    option("--uncertainty", metavar="BUDGET", help="by a budget (TOML)")
    option("--limits", metavar="LIMITS", help="with a decision rule (TOML)")
    option("--purpose", metavar="NAME", action="append", default=[], help="of requirements")
    option("--set", metavar="NAME=TEXT", action="append", default=[], help="a field: object=...")
    option("--out", metavar="OUT", required=True, help="the page, or a directory for pages")
    option("--overwrite", action="store_true", help="replace what is there")
    option("--pattern", help=SUPPRESS)
    add_layout(arguments)


def run(arguments: Namespace) -> int:
    from ..errors import Refusal, for_command_line
    from ._pages import check_targets, file_name, limits_of, write_page
    from ._terminal import note

    common = _common(arguments)
    out: str = arguments.out
    if not (out.endswith("/") or os.path.isdir(out)):
        check_targets([out], [*arguments.files, *limits_of(arguments)], arguments.overwrite)
        spectra = _read(arguments, arguments.files)
        if len(spectra) != 1:
            raise CommandError(
                f"{len(spectra)} spectra: for a page each, --out names a directory: {out}/"
            )
        write_page(out, _page(spectra[0], common))
        return 0
    from ._files import input_files

    failed, seen = 0, set()
    os.makedirs(out, exist_ok=True)
    for path in input_files(arguments.files, out, arguments.pattern):
        try:
            for spectrum in _read(arguments, [path]):
                name = file_name(spectrum.label)
                target = os.path.join(out, f"{name}.html")
                if target in seen:
                    raise CommandError(f"{path}: another spectrum is named '{name}', too")
                check_targets([target], [], arguments.overwrite)
                seen.add(target)
                write_page(target, _page(spectrum, common))
        except (CommandError, Refusal) as error:
            note(for_command_line(error))
            failed += 1
    return int(failed > 0)


def _common(arguments: Namespace) -> dict[str, Any]:
    """What all certificates of a call share."""
    from ..certificates import Limits, Settings
    from ..uncertainty import Budget
    from ._pages import fields
    from ._spectra import told

    common: dict[str, Any] = {"purposes": arguments.purpose, "fields": fields(arguments.set)}
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


def _read(arguments: Namespace, files: list[str]) -> list[Any]:
    from ._spectra import read_spectra

    return read_spectra(Namespace(**vars(arguments) | {"files": files}))


def _page(spectrum: Any, common: dict[str, Any]) -> str:
    from ..certificates import Certificate

    return Certificate(spectrum, **common).html()
