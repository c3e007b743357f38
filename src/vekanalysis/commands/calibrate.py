"""``vekanalysis calibrate``: the wavelength scale of a grating monochromator."""

import math
from argparse import Namespace
from collections.abc import Mapping
from functools import partial

from .. import reports
from .._parsing import parsed
from ..errors import Refusal
from ._arguments import Arguments, add_json, between
from ._errors import CommandError

HELP = "the wavelength scale of a monochromator"
ARGUMENTS = "[options] STEPS.csv --start FILE --free NAMES"
DESCRIPTION = """\
Fits the grating equation of a monochromator to micro-steps and wavelengths,
from parameters to start with: a JSON object of d, omega_t, omega_m, cos_K,
theta_z, alpha, a and phi; d and wavelengths best in nm, angles in rad."""
EXAMPLES = """\
  %(prog)s examples/calibration/steps.csv \\
      --start examples/calibration/start.json --free cos_K,theta_z"""


def add_arguments(arguments: Arguments) -> None:
    add = arguments.add_argument
    add("file", metavar="STEPS.csv", help="micro-step, wavelength a line")
    add("--start", metavar="FILE", required=True, help="the parameters")
    add("--free", metavar="NAMES", required=True, help="the parameters to fit, separated by commas")
    add(
        "--try-phases",
        metavar="N",
        type=between(1, 1000),
        help="start from N phases phi, keep the best",
    )
    add_json(arguments)
    add("--plot", metavar="OUT.png", help="draw residuals; needs Matplotlib")


def run(arguments: Namespace) -> None:
    from ..reading import read_pairs
    from ._spectra import read_file
    from ._terminal import draw, emit_report

    data, notes = read_pairs(read_file(arguments.file), arguments.file)
    start = _read_parameters(arguments.start)
    free = _free_names(arguments.free)
    points = len(data.wavelengths())
    if points < len(free):
        raise Refusal(
            f"{arguments.file}: {points} points are too few for {len(free)} free parameters"
        )
    report = reports.calibration(
        arguments.file,
        data,
        start,
        free,
        try_phases=arguments.try_phases,
        notes=notes,
    )
    if arguments.plot:
        draw(report, arguments.plot)
    emit_report(report, arguments.json)


def _free_names(text: str) -> list[str]:
    names = text.split(",")
    for name in names:
        if name not in reports.PARAMETERS:
            raise CommandError(f"--free: '{name}' is none of {', '.join(reports.PARAMETERS)}")
    return [name for name in reports.PARAMETERS if name in names]


def _read_parameters(path: str) -> Mapping[str, float]:
    import json

    from ._spectra import read_file

    document = parsed(path, read_file(path), "JSON", partial(json.loads, parse_int=float))
    names = ", ".join(reports.PARAMETERS)
    if not isinstance(document, dict) or set(document) != set(reports.PARAMETERS):
        raise Refusal(f"{path}: expected an object with exactly the numbers {names}")
    for name, value in document.items():
        if not isinstance(value, float) or not math.isfinite(value):
            raise Refusal(f"{path}: {name}: expected a number, not {json.dumps(value)}")
    for name in ("d", "alpha"):
        if document[name] == 0:
            raise Refusal(f"{path}: {name}: must not be 0")
    return {name: document[name] for name in reports.PARAMETERS}
