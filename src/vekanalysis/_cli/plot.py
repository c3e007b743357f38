"""Pictures of spectra, drawn with Matplotlib, which nothing else needs."""

import importlib
from collections.abc import Sequence
from typing import Any

from .._figures.errors import CommandError
from .._figures.spectra import Spectrum, peak
from .._plot import plot

_MISSING = (
    "--plot needs Matplotlib: pip install 'vekanalysis[plot]', or Debian's python3-matplotlib; "
    "in a checkout, tools/setup plot"
)


def plot_lenses(path: str, spectra: Sequence[Spectrum]) -> None:
    """Transmittances over V(λ) and the UV bands."""
    figure, axes = _start(spectra, lowest=280.0, highest=780.0)
    _draw(axes, spectra, "spectral transmittance")
    axes.set_ylim(0.0, max(1.02, *(1.02 * peak(spectrum.scan)[1] for spectrum in spectra)))
    _finish(path, figure, axes)


def plot_lights(path: str, spectra: Sequence[Spectrum]) -> None:
    """Spectra of light sources over V(λ), which is drawn as high as the highest of them."""
    figure, axes = _start(spectra, lowest=380.0, highest=780.0)
    units = {spectrum.unit for spectrum in spectra}
    height = max(peak(spectrum.scan)[1] for spectrum in spectra)
    unit = units.pop() if len(units) == 1 else ""
    _draw(axes, spectra, "spectral distribution", unit, height)
    axes.set_ylim(bottom=min(0.0, *(min(spectrum.scan.values()) for spectrum in spectra)))
    _finish(path, figure, axes)


def plot_peaks(
    path: str, spectra: Sequence[Spectrum], peaks: Sequence[Sequence[tuple[float, float]]]
) -> None:
    """Spectra of any unit, with their peaks marked."""
    ranges = [spectrum.range_nm for spectrum in spectra]
    lowest, highest = min(r[0] for r in ranges), max(r[1] for r in ranges)
    figure, axes = _start(spectra, lowest, highest)
    units = {spectrum.unit for spectrum in spectra}
    scans, labels = zip(*((spectrum.scan, spectrum.label) for spectrum in spectra), strict=True)
    unit = units.pop() if len(units) == 1 else ""
    plot(scans, ax=axes, label=labels, quantity="value", unit=unit)
    for line, found in zip([*axes.lines], peaks, strict=True):
        for wavelength, height in found:
            axes.plot(wavelength, height, marker="v", color=line.get_color())
    _finish(path, figure, axes)


def plot_residuals(
    path: str,
    points: Sequence[tuple[float, float]],
    before: Sequence[float],
    after: Sequence[float],
) -> None:
    """Residuals of a wavelength fit over the wavelength; those before it on an axis above."""
    figure = _figure()
    wavelengths = [wavelength for _, wavelength in points]
    upper, lower = figure.subplots(2, 1, sharex=True)
    for axes, residuals, name in ((upper, before, "before"), (lower, after, "after")):
        axes.plot(wavelengths, residuals, marker="o", linestyle="", label=name)
        axes.axhline(0.0, color="#808080", linewidth=0.8)
        axes.set_ylabel("fitted minus given")
        axes.legend()
    lower.set_xlabel("wavelength, in the unit of the data")
    _finish(path, figure, upper, lower)


def _figure() -> Any:
    try:
        figures = importlib.import_module("matplotlib.figure")
        importlib.import_module("matplotlib.backends.backend_agg")
    except ImportError:
        raise CommandError(_MISSING) from None
    return figures.Figure(figsize=(9.0, 5.0), layout="constrained")


def _start(spectra: Sequence[Spectrum], lowest: float, highest: float) -> tuple[Any, Any]:
    figure = _figure()
    axes = figure.add_subplot()
    # Reference spectra reach far into the infrared, where nothing of interest is left to see.
    axes.set_xlim(
        max(200.0, min(lowest, *(spectrum.range_nm[0] for spectrum in spectra))),
        min(1200.0, max(highest, *(spectrum.range_nm[1] for spectrum in spectra))),
    )
    return figure, axes


def _draw(
    axes: Any, spectra: Sequence[Spectrum], quantity: str, unit: str = "", height: float = 1.0
) -> None:
    """The spectra over the UV bands and V(λ), which is drawn ``height`` high."""
    plot(
        [spectrum.scan for spectrum in spectra],
        ax=axes,
        label=[spectrum.label for spectrum in spectra],
        quantity=quantity,
        unit=unit,
        uv_bands=True,
        luminosity=height,
    )


def _finish(path: str, figure: Any, *all_axes: Any) -> None:
    for axes in all_axes:
        axes.grid(color="#d0d0d0", linewidth=0.6)
    try:
        figure.savefig(path, dpi=150)
    except (OSError, ValueError) as error:
        reason = getattr(error, "strerror", None) or error
        raise CommandError(f"{path}: cannot be written: {reason}") from None
