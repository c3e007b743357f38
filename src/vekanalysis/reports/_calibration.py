"""The report of the wavelength fit of a grating monochromator."""

import math
from collections.abc import Iterable, Mapping, Sequence
from typing import Any

from .._core import Scan, fitting, version
from ..errors import Refusal
from ._base import Drawable
from ._layout import Heading, Json, interval, note_lines, wrap

# The parameters in their order, and their units.
PARAMETERS = {
    "d": "as wavelengths",
    "omega_t": "rad/micro-step",
    "omega_m": "rad/micro-step",
    "cos_K": "1",
    "theta_z": "rad",
    "alpha": "1",
    "a": "micro-steps",
    "phi": "rad",
}
_FIXED = ("d", "omega_t", "omega_m")
# Where a fit of more than two parameters ends, whatever its tolerance.
_ENDING_NORM = 1e-9

type Values = Mapping[str, float]


class Calibration(Drawable):
    """The wavelength fit of a monochromator.

    Attributes
    ----------
    points : tuple of (float, float)
        Micro-step and given wavelength.
    before, after : dict of str to float
        The parameters, named and ordered as ``PARAMETERS``.
    free : tuple of str
        Those that were fitted.
    residuals_before, residuals_after : fitting.WavelengthResiduals
        Fitted minus given wavelength.
    notes : tuple of str
        What the fit could not do.
    """

    def __init__(
        self,
        label: str,
        data: Scan,
        before: Values,
        after: Values,
        free: Sequence[str],
        notes: Sequence[str],
    ) -> None:
        self.label = label
        self.points = tuple(data.items())
        self.before, self.after = before, after
        self.free = tuple(free)
        self.residuals_before = fitting.wavelength_residuals(data, _parameters(before))
        self.residuals_after = fitting.wavelength_residuals(data, _parameters(after))
        self.notes = tuple(notes)

    def figure(self) -> Any:
        """The residuals over the wavelength, as a Matplotlib figure."""
        from ._pictures import residual_figure

        wavelengths = [wavelength for _, wavelength in self.points]
        return residual_figure(wavelengths, self.residuals_before, self.residuals_after)

    def _lines(self, encoding: str) -> list[str]:
        steps, given = zip(*self.points, strict=True)
        facts = f"{len(steps)} points, micro-steps {interval((min(steps), max(steps)))}"
        facts += f", wavelengths {interval((min(given), max(given)))}"
        lines: list[str] = [Heading(f"Wavelength fit, vekanalysis {version()}"), ""]
        lines += wrap(f"{self.label}: {facts}", "  ")
        lines += ["", Heading(f"{'Parameter':<32}{'before':>16}{'after':>16}  unit")]
        for name, unit in PARAMETERS.items():
            label = f"  {name:<9}{'free' if name in self.free else 'kept'}"
            lines.append(f"{label:<32}{self.before[name]:>16.9g}{self.after[name]:>16.9g}  {unit}")
        lines += ["", *self._residual_lines()]
        return lines + (["", Heading("Notes"), *note_lines(self.notes)] if self.notes else [])

    def _residual_lines(self) -> list[str]:
        columns = self.residuals_before, self.residuals_after
        rms = [column.rms for column in columns]

        def row(label: str, figures: Iterable[float]) -> str:
            cells = (f"{_shown(*f):>16}" for f in zip(figures, rms, strict=True))
            return f"  {label:<30}{''.join(cells)}"

        lines: list[str] = [
            Heading(f"{'Residuals, fitted minus given':<32}{'before':>16}{'after':>16}"),
            f"{row('RMS', rms)}  as wavelengths",
            row("largest", [column.largest for column in columns]),
        ]
        for (step, value), *residuals in zip(
            self.points, *(column.values for column in columns), strict=True
        ):
            lines.append(row(f"{value:.10g} at {step:.10g}", residuals))
        return lines

    def document(self) -> dict[str, Json]:
        """The report as plain Python objects, as ``json()`` writes it."""
        before, after = self.residuals_before, self.residuals_after
        rows = zip(self.points, before.values, after.values, strict=True)
        return {
            "title": "Wavelength fit",
            "version": version(),
            "before": {**self.before},
            "after": {**self.after},
            "free": [*self.free],
            "rms_before": before.rms,
            "rms_after": after.rms,
            "largest_before": before.largest,
            "largest_after": after.largest,
            "points": [
                {"micro_step": step, "wavelength": value, "before": before, "after": after}
                for (step, value), before, after in rows
            ],
            "notes": [*self.notes],
        }


def calibration(
    label: str,
    data: Scan,
    start: Values,
    free: Sequence[str],
    *,
    try_phases: int | None = None,
    notes: Sequence[str] = (),
) -> Calibration:
    """Fit the grating equation to wavelengths over micro-steps.

    Parameters
    ----------
    label : str
        A name for the data.
    data : Scan
        Wavelengths over micro-steps.
    start : mapping of str to float
        All of ``PARAMETERS`` in their units; d and wavelengths best in nm.
    free : sequence of str
        The parameters to fit.
    try_phases : int, optional
        How many phases over half a turn are tried, of which the best is gone on from.
    notes : sequence of str
        What to say of the data.

    Returns
    -------
    Calibration

    Raises
    ------
    Refusal
        If the equation has no value with some of the parameters.
    """
    try:
        after = _fitted(data, start, free, try_phases or 0)
        fit = Calibration(label, data, start, after, free, notes)
    except ValueError:
        raise Refusal("with these parameters the grating equation has no value") from None
    fit.notes += tuple(_notes(fit, try_phases))
    return fit


def _shown(residual: float, rms: float) -> str:
    """With three significant digits of ``rms``, so that a column lines up."""
    if not 1e-6 <= rms < 1e6:
        return f"{residual:.2e}"
    return f"{residual:.{max(0, 2 - math.floor(math.log10(rms)))}f}"


def _fitted(data: Scan, start: Values, free: Sequence[str], phases: int) -> Values:
    parameters, flags = _parameters(start), fitting.FitWavelengthParamsFree()
    for name in free:
        setattr(flags, name, True)
    if free:
        fitting.fit_wavelength_from_phases(data, parameters, flags, phases)
    return {name: getattr(parameters, name) for name in PARAMETERS}


def _parameters(values: Values) -> fitting.FitWavelengthParams:
    parameters = fitting.FitWavelengthParams()
    for name, value in values.items():
        setattr(parameters, name, value)
    return parameters


def _notes(fit: Calibration, phases: int | None) -> list[str]:
    before, after, free = fit.before, fit.after, fit.free
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
            "phi is not found from afar, and hardly moves where the amplitude a is small; to try "
            "36 phases, say, starts from phases over half a turn and keeps the best."
        )
    if len(free) > 2 and math.hypot(*fit.residuals_after.values) <= _ENDING_NORM:
        notes.append(
            "The fit ended because the root of the summed squared residuals was 1e-9 or less. In "
            "metres that is 1 nm, and too early: give d and the wavelengths in nm."
        )
    if len(fit.points) == len(free):
        notes.append("As many free parameters as points: the residuals say nothing.")
    return notes
