"""Pictures of reports, drawn with Matplotlib, which nothing else needs."""

from collections.abc import Mapping, Sequence
from typing import Any

from .._core import fitting, lighting, utils
from .._optional import require
from ..plotting import draw_chromaticities, draw_colour_vectors, draw_spectral_colours, plot
from ..quantities import Value
from ..spectrum import Spectrum


def lens_figure(spectra: Sequence[Spectrum]) -> Any:
    """Transmittances over V(λ) and the UV bands."""
    figure, axes = _start(spectra, lowest=280.0, highest=780.0)
    _draw(axes, spectra, "spectral transmittance")
    axes.set_ylim(0.0, max(1.02, *(1.02 * max(spectrum.scan.values()) for spectrum in spectra)))
    return _with_grid(figure)


def light_figure(spectra: Sequence[Spectrum], values: Sequence[Mapping[str, Value]]) -> Any:
    """Spectra of light sources; chromaticity diagram and colour vectors below, where there are any.

    One spectrum is filled with the colours of its wavelengths; several are drawn over V(λ), as high
    as the highest of them.
    """
    points = {}
    for number, (spectrum, found) in enumerate(zip(spectra, values, strict=True), start=1):
        u, v = (found[f"chromaticity.{axis}"].value for axis in ("u_prime", "v_prime"))
        if u is not None and v is not None:
            points[_numbered(spectrum, number, len(spectra))] = u, v
    fidelities = {
        _numbered(spectrum, number, len(spectra)): lighting.colour_fidelity(spectrum.scan)
        for number, (spectrum, found) in enumerate(zip(spectra, values, strict=True), start=1)
        if found["colour_fidelity.Rf"].value is not None
    }
    figure = _figure(height=9.0 if points else 5.0)
    grid = figure.add_gridspec(2 if points else 1, 2)
    axes = figure.add_subplot(grid[0, :])
    _limit(axes, spectra, lowest=380.0, highest=780.0)
    highest = max(max(spectrum.scan.values()) for spectrum in spectra)
    alone = len(spectra) == 1 and spectra[0].scan.is_interpolated()
    if alone:
        draw_spectral_colours(axes, spectra[0].scan)
    height = None if alone else highest
    _draw(axes, spectra, "spectral distribution", _common_unit(spectra), height)
    axes.set_ylim(bottom=min(0.0, *(min(spectrum.scan.values()) for spectrum in spectra)))
    _with_grid(figure)
    if points:
        draw_chromaticities(figure.add_subplot(grid[1, 0]), points)
    if fidelities:
        draw_colour_vectors(figure.add_subplot(grid[1, 1]), fidelities)
    return figure


def _numbered(spectrum: Spectrum, number: int, count: int) -> str:
    return spectrum.label if count == 1 else f"{number} {spectrum.label}"


def peak_figure(spectra: Sequence[Spectrum], peaks: Sequence[Sequence[utils.PeakShape]]) -> Any:
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


def _figure(height: float = 5.0) -> Any:
    figures = require("matplotlib.figure", "a picture", "plot")
    require("matplotlib.backends.backend_agg", "a picture", "plot")
    return figures.Figure(figsize=(9.0, height), layout="constrained")


def _start(spectra: Sequence[Spectrum], lowest: float, highest: float) -> tuple[Any, Any]:
    figure = _figure()
    axes = figure.add_subplot()
    _limit(axes, spectra, lowest, highest)
    return figure, axes


def _limit(axes: Any, spectra: Sequence[Spectrum], lowest: float, highest: float) -> None:
    # Reference spectra reach far into the infrared, where nothing of interest is left to see.
    axes.set_xlim(
        max(200.0, min(lowest, *(spectrum.range_nm[0] for spectrum in spectra))),
        min(1200.0, max(highest, *(spectrum.range_nm[1] for spectrum in spectra))),
    )


def _common_unit(spectra: Sequence[Spectrum]) -> str:
    units = {spectrum.unit for spectrum in spectra}
    return (units.pop() or "") if len(units) == 1 else ""


def _draw(
    axes: Any,
    spectra: Sequence[Spectrum],
    quantity: str,
    unit: str = "",
    height: float | None = 1.0,
) -> None:
    """The spectra over the UV bands and V(λ), which is drawn ``height`` high, if at all."""
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
