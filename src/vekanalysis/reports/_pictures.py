"""Pictures of reports, drawn with Matplotlib, which nothing else needs."""

from collections.abc import Sequence
from typing import Any

from .._core import fitting, utils
from .._optional import require
from ..plotting import plot
from ..spectrum import Spectrum


def lens_figure(spectra: Sequence[Spectrum]) -> Any:
    """Transmittances over V(λ) and the UV bands."""
    figure, axes = _start(spectra, lowest=280.0, highest=780.0)
    _draw(axes, spectra, "spectral transmittance")
    axes.set_ylim(0.0, max(1.02, *(1.02 * max(spectrum.scan.values()) for spectrum in spectra)))
    return _with_grid(figure)


def light_figure(spectra: Sequence[Spectrum]) -> Any:
    """Spectra of light sources over V(λ), which is drawn as high as the highest of them."""
    figure, axes = _start(spectra, lowest=380.0, highest=780.0)
    height = max(max(spectrum.scan.values()) for spectrum in spectra)
    _draw(axes, spectra, "spectral distribution", _common_unit(spectra), height)
    axes.set_ylim(bottom=min(0.0, *(min(spectrum.scan.values()) for spectrum in spectra)))
    return _with_grid(figure)


def peak_figure(spectra: Sequence[Spectrum], peaks: Sequence[Sequence[utils.Peak]]) -> Any:
    """Spectra of any unit, with their peaks marked."""
    ranges = [spectrum.range_nm for spectrum in spectra]
    lowest, highest = min(r[0] for r in ranges), max(r[1] for r in ranges)
    figure, axes = _start(spectra, lowest, highest)
    scans, labels = zip(*((spectrum.scan, spectrum.label) for spectrum in spectra), strict=True)
    plot(scans, ax=axes, label=labels, quantity="value", unit=_common_unit(spectra))
    for line, found in zip([*axes.lines], peaks, strict=True):
        for peak in found:
            axes.plot(peak.wavelength, peak.height, marker="v", color=line.get_color())
    return _with_grid(figure)


def residual_figure(
    wavelengths: Sequence[float],
    before: fitting.WavelengthResiduals,
    after: fitting.WavelengthResiduals,
) -> Any:
    """Residuals of a wavelength fit over the wavelength; those before it on an axis above."""
    figure = _figure()
    upper, lower = figure.subplots(2, 1, sharex=True)
    for axes, residuals, name in ((upper, before, "before"), (lower, after, "after")):
        axes.plot(wavelengths, residuals.values, marker="o", linestyle="", label=name)
        axes.axhline(0.0, color="#808080", linewidth=0.8)
        axes.set_ylabel("fitted minus given")
        axes.legend()
    lower.set_xlabel("wavelength, in the unit of the data")
    return _with_grid(figure)


def _figure() -> Any:
    figures = require("matplotlib.figure", "a picture", "plot")
    require("matplotlib.backends.backend_agg", "a picture", "plot")
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


def _common_unit(spectra: Sequence[Spectrum]) -> str:
    units = {spectrum.unit for spectrum in spectra}
    return (units.pop() or "") if len(units) == 1 else ""


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


def _with_grid(figure: Any) -> Any:
    for axes in figure.axes:
        axes.grid(color="#d0d0d0", linewidth=0.6)
    return figure
