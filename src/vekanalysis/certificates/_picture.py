"""A spectrum as a vector picture, in SVG without any style of its own."""

import math
import re
from collections.abc import Callable, Sequence
from html import escape
from typing import Final, NamedTuple

from .._core.colorimetry.data import cie_1931_standard_observer_y
from ..spectrum import Spectrum
from ._words import Words

_WIDTH, _HEIGHT = 720.0, 330.0
_LEFT, _RIGHT, _TOP, _BOTTOM = 78.0, 22.0, 14.0, 56.0
# The height of a picture of differences.
_STRIP: Final = 226.0
_UV: Final = (("UV-B", 280.0, 315.0), ("UV-A", 315.0, 380.0))


# What browsers take from the style of the page, other programs take from here.
_LOOKS: Final = {
    "grid": 'stroke="#c9c9c9" stroke-width="0.7" fill="none"',
    "luminosity": 'stroke="#4b9b4b" stroke-width="1.2" stroke-dasharray="5 4" fill="none"',
    "repeat": 'stroke="#0b5cad" stroke-width="0.6" stroke-opacity="0.6" fill="none"',
    "curve": 'stroke="#0b5cad" stroke-width="1.8" fill="none"',
    "uncertainty": 'fill="#0b5cad" fill-opacity="0.3"',
    "uv-b": 'fill="#8757c9" fill-opacity="0.16"',
    "uv-a": 'fill="#8757c9" fill-opacity="0.09"',
    "band": 'text-anchor="middle" fill="#5d5d5d"',
    "left": 'text-anchor="end" fill="#5d5d5d"',
    "below": 'text-anchor="middle" fill="#5d5d5d"',
    "side": 'text-anchor="middle" fill="#5d5d5d"',
    "between": 'text-anchor="middle" fill="#5d5d5d"',
}
_CLASS: Final = re.compile(r'class="([a-z-]+)"')


class _Axes(NamedTuple):
    """From wavelengths and values to places in the picture."""

    low: float
    high: float
    bottom: float
    top: float
    height: float = _HEIGHT

    def x(self, wavelength: float) -> str:
        share = (wavelength - self.low) / (self.high - self.low)
        return f"{_LEFT + share * (_WIDTH - _LEFT - _RIGHT):.2f}"

    def y(self, value: float) -> str:
        share = (value - self.bottom) / (self.top - self.bottom)
        return f"{self.height - _BOTTOM - share * (self.height - _TOP - _BOTTOM):.2f}"


def picture(
    spectrum: Spectrum,
    words: Words,
    *,
    percent: bool,
    half_widths: Sequence[float] | None = None,
    repeats: Sequence[Spectrum] = (),
) -> str:
    """The transmittance over wavelength, with the UV bands and V(λ).

    Parameters
    ----------
    spectrum : Spectrum
        In fractions.
    words : Words
        Of the axes.
    percent : bool
        Whether the axis is in per cent.
    half_widths : sequence of float, optional
        The band around each point.
    repeats : sequence of Spectrum
        Thin lines behind the spectrum.
    """
    axes = _axes([spectrum, *repeats], half_widths)
    parts = [
        *_bands(axes),
        *_levels(axes, words, percent),
        *_wavelengths(axes, words),
        _side(axes, words("spectral_transmittance"), percent),
        _line(_luminosity(axes), axes, "luminosity"),
        f'<text class="band" x="{float(axes.x(555.0)) + 56:.2f}" y="{_TOP + 12:g}">'
        f"{words('luminosity')}</text>",
    ]
    points = [*spectrum.scan.items()]
    if half_widths is not None:
        parts.append(_area([*zip(points, half_widths, strict=True)], axes))
    parts += [_line([*each.scan.items()], axes, "repeat") for each in repeats]
    parts.append(_line(points, axes, "curve"))
    return _drawing(parts, axes, words("spectral_transmittance"))


def deviations(mean: Spectrum, repeats: Sequence[Spectrum], words: Words, *, percent: bool) -> str:
    """What repeats have above or below their mean, which a whole spectrum is too large to show."""
    average = mean.scan.to_lists()[1]
    lines = []
    for each in repeats:
        wavelengths, values = each.scan.to_lists()
        differences = [value - of for value, of in zip(values, average, strict=True)]
        lines.append([*zip(wavelengths, differences, strict=True)])
    largest = max(abs(value) for line in lines for _, value in line) or 1e-6
    low, high, *_ = _axes([mean], None)
    axes = _Axes(low, high, -1.05 * largest, 1.05 * largest, _STRIP)
    parts = [
        *_levels(axes, words, percent),
        *_wavelengths(axes, words),
        _side(axes, words("deviation"), percent),
        *(_line(line, axes, "repeat") for line in lines),
    ]
    return _drawing(parts, axes, words("deviation"))


def _drawing(parts: Sequence[str], axes: _Axes, title: str) -> str:
    head = (
        f'<svg viewBox="0 0 {_WIDTH:g} {axes.height:g}" role="img" font-size="12" '
        f'font-family="sans-serif" aria-label="{escape(title)}">'
    )
    return _CLASS.sub(_with_look, "\n".join([head, *parts, "</svg>"]))


def _with_look(found: re.Match[str]) -> str:
    return f"{found[0]} {_LOOKS[found[1]]}"


def _axes(spectra: Sequence[Spectrum], half_widths: Sequence[float] | None) -> _Axes:
    low, high = spectra[0].range_nm
    low, high = 50.0 * math.floor(low / 50.0), 50.0 * math.ceil(high / 50.0)
    values = [value for spectrum in spectra for value in spectrum.scan.values()]
    margin = max(half_widths, default=0.0) if half_widths is not None else 0.0
    largest = max(values) + margin
    top = next((t for t in (0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1.0) if largest <= t), largest * 1.02)
    bottom = min(-0.05 * top, 1.02 * min(values)) if min(values) < -0.002 * top else 0.0
    return _Axes(low, max(high, low + 50.0), bottom, top)


def _bands(axes: _Axes) -> list[str]:
    parts = []
    for name, start, end in _UV:
        start, end = max(start, axes.low), min(end, axes.high)
        if start < end:
            left, top = axes.x(start), axes.y(axes.top)
            width = float(axes.x(end)) - float(left)
            height = float(axes.y(axes.bottom)) - float(top)
            parts.append(
                f'<rect class="{name.lower()}" x="{left}" y="{top}" width="{width:.2f}" '
                f'height="{height:.2f}"/>'
            )
            if width > 34.0:
                middle = float(left) + 0.5 * width
                parts.append(f'<text x="{middle:.2f}" y="{_TOP + 12:g}" class="band">{name}</text>')
    return parts


def _levels(axes: _Axes, words: Words, percent: bool) -> list[str]:
    parts = []
    step = 10.0 ** math.floor(math.log10(axes.top)) * 0.2
    # With so many or fewer a side has one besides 0.
    lines = 6.0 if axes.height == _HEIGHT else 2.5
    while axes.top / step > lines:
        step *= 2.5 if f"{step:e}"[0] == "2" else 2.0
    ends = axes.x(axes.low), axes.x(axes.high)
    first = math.ceil(axes.bottom / step - 1e-9)
    for count in range(first, math.floor(axes.top / step + 1e-9) + 1):
        value = count * step
        y = axes.y(value)
        text = words.general(round(100.0 * value if percent else value, 10))
        parts.append(f'<path class="grid" d="M{ends[0]} {y}H{ends[1]}"/>')
        parts.append(f'<text class="left" x="{_LEFT - 6:g}" y="{float(y) + 4:.2f}">{text}</text>')
    return parts


def _wavelengths(axes: _Axes, words: Words) -> list[str]:
    parts = []
    every = 50.0 if axes.high - axes.low <= 700.0 else 200.0
    wavelength = every * math.ceil(axes.low / every)
    while wavelength <= axes.high:
        x = axes.x(wavelength)
        # Every other number may give way where the letters are large.
        name = "between" if (wavelength / every) % 2.0 else "below"
        parts.append(f'<path class="grid" d="M{x} {axes.y(axes.bottom)}v5"/>')
        parts.append(
            f'<text class="{name}" x="{x}" y="{axes.height - _BOTTOM + 24:g}">{wavelength:g}</text>'
        )
        wavelength += every
    middle = 0.5 * (_LEFT + _WIDTH - _RIGHT)
    parts.append(
        f'<text class="below" x="{middle:g}" y="{axes.height - 8:g}">'
        f"{escape(words('wavelength'))}</text>"
    )
    return parts


def _side(axes: _Axes, title: str, percent: bool) -> str:
    """What the values are."""
    y = 0.5 * (axes.height - _BOTTOM + _TOP)
    return (
        f'<text class="side" transform="rotate(-90 17 {y:g})" x="17" y="{y:g}">'
        f"{escape(title + (' / %' if percent else ''))}</text>"
    )


def _luminosity(axes: _Axes) -> list[tuple[float, float]]:
    """V(λ), as high as the axis."""
    points = cie_1931_standard_observer_y().items()
    return [(wl, v * axes.top) for wl, v in points if axes.low <= wl <= axes.high]


def _line(points: Sequence[tuple[float, float]], axes: _Axes, name: str) -> str:
    if len(points) == 1:
        (wavelength, value), radius = points[0], 2.5
        return (
            f'<circle class="{name}" cx="{axes.x(wavelength)}" cy="{axes.y(value)}" r="{radius}"/>'
        )
    return f'<path class="{name}" d="{_path(points, axes, lambda point: point[1])}"/>'


def _area(points: Sequence[tuple[tuple[float, float], float]], axes: _Axes) -> str:
    upper = _path([p for p, _ in points], axes, _shifted(points, 1.0))
    lower = _path([p for p, _ in reversed(points)], axes, _shifted(points, -1.0))
    return f'<path class="uncertainty" d="{upper}L{lower[1:]}Z"/>'


def _shifted(
    points: Sequence[tuple[tuple[float, float], float]], sign: float
) -> Callable[[tuple[float, float]], float]:
    widths = dict(points)
    return lambda point: point[1] + sign * widths[point]


def _path(
    points: Sequence[tuple[float, float]],
    axes: _Axes,
    value: Callable[[tuple[float, float]], float],
) -> str:
    return "M" + "L".join(f"{axes.x(p[0])} {axes.y(value(p))}" for p in points)
