"""``vekanalysis calibrate``: the wavelength scale of a grating monochromator."""

import json
import math
from argparse import Namespace
from collections.abc import Iterable, Sequence
from typing import NamedTuple

from .. import fitting
from .._core import Scan, version
from .._figures.errors import CommandError
from .._figures.spectra import read_file, read_spectra_file
from .._figures.text import interval
from .output import Json, bold, emit, emit_json, one_line
from .report import wrap

# The parameters in their order, what they are and their unit.
PARAMETERS = {
    "d": ("distance of the grating's lines", "as wavelengths"),
    "omega_t": ("turn of the grating", "rad/micro-step"),
    "omega_m": ("phase of the periodic error", "rad/micro-step"),
    "cos_K": ("cosine of half the angle of the arms", "1"),
    "theta_z": ("angle at the zero order", "rad"),
    "alpha": ("correction of the drive's ratio", "1"),
    "a": ("amplitude of the periodic error", "micro-steps"),
    "phi": ("phase of the periodic error at 0", "rad"),
}
_FIXED = ("d", "omega_t", "omega_m")
# Where a fit of more than two parameters ends, whatever its tolerance.
_ENDING_NORM = 1e-9

type Values = dict[str, float]
type Points = list[tuple[float, float]]


class Fit(NamedTuple):
    """Parameters and residuals (fitted minus given wavelength) before and after a fit."""

    before: Values
    after: Values
    free: Sequence[str]
    points: Points
    residuals_before: Sequence[float]
    residuals_after: Sequence[float]
    notes: Sequence[str]


def run(arguments: Namespace) -> None:
    spectra = read_spectra_file(arguments.file, [], only_pairs=True)
    if len(spectra) != 1:
        raise CommandError(
            f"{arguments.file}: expected one wavelength a micro-step, not {len(spectra)}"
        )
    (spectrum,) = spectra
    data = spectrum.scan
    start = _read_parameters(arguments.start)
    free = _free_names(arguments.free)
    points = [*data.items()]
    if len(points) < len(free):
        raise CommandError(
            f"{arguments.file}: {len(points)} points are too few for {len(free)} free parameters"
        )
    after = _fitted(data, points, start, free, arguments.try_phases)
    before_residuals, after_residuals = _residuals(start, points), _residuals(after, points)
    notes = [note.replace("wavelength", "micro-step") for note in spectrum.notes]
    notes += _notes(start, after, free, after_residuals, arguments.try_phases)
    fit = Fit(start, after, free, points, before_residuals, after_residuals, notes)
    if arguments.plot:
        from .plot import plot_residuals

        plot_residuals(arguments.plot, points, before_residuals, after_residuals)
    if arguments.json:
        emit_json(_document(fit))
    else:
        emit(_text(arguments.file, fit))


def wavelength(p: Values, step: float) -> float:
    """The grating equation, in the unit of ``d``."""
    turned = p["omega_t"] * (step + p["a"] * math.sin(p["omega_m"] * step + p["phi"]))
    return 2.0 * p["d"] * p["cos_K"] * math.sin((turned - p["theta_z"]) / p["alpha"])


def _residuals(p: Values, points: Points) -> list[float]:
    try:
        return [wavelength(p, step) - given for step, given in points]
    except ArithmeticError, ValueError:
        raise CommandError("with these parameters the grating equation has no value") from None


def _rms(residuals: Sequence[float]) -> float:
    return math.hypot(*residuals) / math.sqrt(len(residuals))


def _shown(residual: float, rms: float) -> str:
    """With three significant digits of ``rms``, so that a column lines up."""
    if not 1e-6 <= rms < 1e6:
        return f"{residual:.2e}"
    return f"{residual:.{max(0, 2 - math.floor(math.log10(rms)))}f}"


def _largest(residuals: Sequence[float]) -> float:
    return max(map(abs, residuals))


def _free_names(text: str) -> list[str]:
    names = text.split(",")
    for name in names:
        if name not in PARAMETERS:
            raise CommandError(f"--free: '{name}' is none of {', '.join(PARAMETERS)}")
    return [name for name in PARAMETERS if name in names]


def _read_parameters(path: str) -> Values:
    try:
        document = json.loads(read_file(path), parse_int=float)
    except json.JSONDecodeError as error:
        raise CommandError(f"{path}: line {error.lineno}: no JSON: {error.msg}") from None
    except UnicodeDecodeError:
        raise CommandError(f"{path}: no JSON: not in UTF-8") from None
    except RecursionError:
        raise CommandError(f"{path}: too deeply nested") from None
    names = ", ".join(PARAMETERS)
    if not isinstance(document, dict) or set(document) != set(PARAMETERS):
        raise CommandError(f"{path}: expected an object with exactly the numbers {names}")
    for name, value in document.items():
        if not isinstance(value, float) or not math.isfinite(value):
            raise CommandError(f"{path}: {name}: expected a number, not {json.dumps(value)}")
    for name in ("d", "alpha"):
        if document[name] == 0:
            raise CommandError(f"{path}: {name}: must not be 0")
    return {name: document[name] for name in PARAMETERS}


def _fitted(
    data: Scan, points: Points, start: Values, free: Sequence[str], phases: int | None
) -> Values:
    """The parameters after the fit.

    With ``phases`` so many phases over half a turn are tried with the phase fixed, since a fit does
    not find a phase that starts far off; a negative amplitude covers the other half.
    """
    if phases is not None:
        others = [name for name in free if name != "phi"]
        tries = [
            _fit(data, start | {"phi": start["phi"] + math.pi * i / phases}, others)
            for i in range(phases)
        ]
        start = min(tries, key=lambda p: _rms(_residuals(p, points)))
    return _fit(data, start, free)


def _fit(data: Scan, start: Values, free: Sequence[str]) -> Values:
    parameters, flags = fitting.FitWavelengthParams(), fitting.FitWavelengthParamsFree()
    for name, value in start.items():
        setattr(parameters, name, value)
        setattr(flags, name, name in free)
    if free:
        fitting.fit_wavelength(data, parameters, flags)
    return {name: getattr(parameters, name) for name in PARAMETERS}


def _notes(
    before: Values,
    after: Values,
    free: Sequence[str],
    residuals: Sequence[float],
    phases: int | None,
) -> list[str]:
    notes = []
    fixed = [name for name in free if name in _FIXED]
    if fixed:
        notes.append(f"{' and '.join(fixed)}: free, but no fit moves d, omega_t or omega_m.")
    still = [name for name in free if name not in _FIXED and after[name] == before[name]]
    if before == after:
        notes.append("The fit changed nothing: the parameters are those of the start.")
    elif still:
        notes.append(f"{' and '.join(still)}: free, but did not move.")
    if "phi" in free and after["a"] == 0.0:
        notes.append("phi has no effect while the amplitude a is 0.")
    elif "phi" in free and phases is None:
        notes.append(
            "phi is not found from afar, and hardly moves where the amplitude a is small; "
            "--try-phases 36 starts from phases over half a turn and keeps the best."
        )
    if len(free) > 2 and math.hypot(*residuals) <= _ENDING_NORM:
        notes.append(
            "The fit ended because the root of the summed squared residuals was 1e-9 or less. In "
            "metres that is 1 nm, and too early: give d and the wavelengths in nm."
        )
    if len(residuals) == len(free):
        notes.append("As many free parameters as points: the residuals say nothing.")
    return notes


def _text(path: str, fit: Fit) -> str:
    steps = [step for step, _ in fit.points]
    given = [value for _, value in fit.points]
    ranges = (min(steps), max(steps)), (min(given), max(given))
    lines = [bold(f"Wavelength fit, vekanalysis {version()}"), ""]
    facts = f"{len(steps)} points, micro-steps {interval(ranges[0])}, wavelengths"
    lines += wrap(one_line(f"{path}: {facts} {interval(ranges[1])}"), "  ")
    lines += ["", bold(f"{'Parameter':<32}{'before':>16}{'after':>16}  unit")]
    for name, (_, unit) in PARAMETERS.items():
        label = f"  {name:<9}{'free' if name in fit.free else 'kept'}"
        lines.append(f"{label:<32}{fit.before[name]:>16.9g}{fit.after[name]:>16.9g}  {unit}")
    lines += ["", bold(f"{'Residuals, fitted minus given':<32}{'before':>16}{'after':>16}")]
    columns = fit.residuals_before, fit.residuals_after
    rms = [_rms(column) for column in columns]

    def row(label: str, figures: Iterable[float]) -> str:
        return f"  {label:<30}" + "".join(
            f"{_shown(*f):>16}" for f in zip(figures, rms, strict=True)
        )

    lines.append(f"{row('RMS', rms)}  as wavelengths")
    lines.append(row("largest", map(_largest, columns)))
    for (step, value), *residuals in zip(fit.points, *columns, strict=True):
        lines.append(row(f"{value:.10g} at {step:.10g}", residuals))
    if fit.notes:
        lines += ["", bold("Notes")]
        for note in fit.notes:
            lines += wrap(note, f"{'-':>6} ")
    return "\n".join(lines) + "\n"


def _document(fit: Fit) -> Json:
    rows = zip(fit.points, fit.residuals_before, fit.residuals_after, strict=True)
    return {
        "title": "Wavelength fit",
        "version": version(),
        "before": {**fit.before},
        "after": {**fit.after},
        "free": [*fit.free],
        "rms_before": _rms(fit.residuals_before),
        "rms_after": _rms(fit.residuals_after),
        "largest_before": _largest(fit.residuals_before),
        "largest_after": _largest(fit.residuals_after),
        "points": [
            {"micro_step": step, "wavelength": value, "before": before, "after": after}
            for (step, value), before, after in rows
        ],
        "notes": [*fit.notes],
    }
