"""Spectra drawn with Matplotlib, which is imported by the call."""

import math
from collections.abc import Iterable, Mapping, Sequence
from typing import TYPE_CHECKING, Any, cast

from ._core import Scan, colorimetry, io, lighting, utils
from ._optional import require
from .errors import Refusal
from .spectrum import Spectrum

if TYPE_CHECKING:
    import matplotlib.axes
    import matplotlib.lines

# Aliases, whose right side nobody evaluates before it is asked for: signatures can be shown
# without Matplotlib.
type Axes = matplotlib.axes.Axes
type Line2D = matplotlib.lines.Line2D
type Plottable = Scan | Spectrum | io.DataSet | io.VekFile

_UV_BANDS = {"UV-B": (280.0, 315.0, "#d9c7ee"), "UV-A": (315.0, 380.0, "#ebe2f7")}
# Scans with no more points have a marker at each of them.
_SPARSE = 100
# So many values show the curve between the points of a sparse scan.
_DENSE = 1000


def plot(
    scans: Plottable | Mapping[str, Scan | Spectrum] | Iterable[Scan | Spectrum],
    *,
    ax: Axes | None = None,
    label: str | Sequence[str] | None = None,
    quantity: str | None = None,
    unit: str | None = None,
    uv_bands: bool = False,
    luminosity: float | None = None,
    peaks: int = 0,
    **line: Any,
) -> Axes:
    """Draw scans over wavelength with Matplotlib.

    What is drawn is what the scan says: a scan that interpolates as the curve that
    ``scan(wl)`` follows, with a marker at each stored point where these are at most 100; a scan
    that does not, or has too few points for its interpolation, as its points alone.

    Parameters
    ----------
    scans : Scan, Spectrum, DataSet, VekFile, or a mapping of str to, or iterable of, the first two
        What to draw. The names of a mapping, of spectra and of data sets are the labels; spectra
        and a `VekFile` state quantity and unit, a `VekFile` the kind of its x axis as well.
    ax : matplotlib.axes.Axes, optional
        Where to draw; a new figure of pyplot if not given.
    label : str or sequence of str, optional
        Labels for the legend, one a scan, instead of the names.
    quantity, unit : str, optional
        Title of the y axis, as "quantity in unit"; no unit if that is empty or "1".
    uv_bands : bool
        Whether UV-B (280 to 315 nm) and UV-A (315 to 380 nm) are shaded behind the scans.
    luminosity : float, optional
        Height, on the y axis, at which V(λ) is shaded behind the scans: 1 for transmittances.
    peaks : int
        How many of the highest peaks (`utils.find_peaks`) of each scan that is drawn as a curve
        are marked with their wavelengths.
    **line
        Handed to ``Axes.plot``: ``color``, ``linestyle``, ``alpha``, ...

    Returns
    -------
    matplotlib.axes.Axes
        The axes drawn on. They have a legend as soon as something on them has a label.

    Raises
    ------
    ValueError
        If there is nothing to draw, a scan is empty, or the labels are not one a scan; a
        `Refusal` if spectra of different kinds or units would share the axis.
    ImportError
        If Matplotlib is not installed.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> lens = vek.curves.longpass_filter(450, 20, 380, 780, 5)
    >>> axes = vek.plot(lens, label="lens", quantity="spectral transmittance")
    >>> axes.get_xlabel(), axes.get_ylabel()
    ('wavelength in nm', 'spectral transmittance')
    """
    named, stated = _named(scans)
    if label is not None:
        named = _relabelled([scan for _, scan in named], label)
    for name, scan in named:
        if not isinstance(scan, Scan):
            raise TypeError(f"plot needs scans; got {type(scan).__name__}")
        if not scan.wavelengths():
            raise ValueError(f"plot: scan{f" '{name}'" if name else ''} has no points to draw")
    if not named:
        raise ValueError("plot needs at least one scan; got none")

    if ax is None:
        pyplot = require("matplotlib.pyplot", "plot", "plot")
        _, new = pyplot.subplots(layout="constrained")
        new.grid(color="#d0d0d0", linewidth=0.6)
        ax = cast("Axes", new)
    if uv_bands:
        for name, (lowest, highest, colour) in _UV_BANDS.items():
            ax.axvspan(lowest, highest, color=colour, linewidth=0, label=name)
    if luminosity is not None:
        _shade_luminosity(ax, luminosity)
    for name, scan in named:
        drawn = _draw(ax, scan, name, line)
        if peaks > 0:
            _mark_peaks(ax, scan, peaks, drawn.get_color())
    _set_titles(ax, quantity, unit, stated)
    if ax.get_legend_handles_labels()[0]:
        ax.legend(loc="best", framealpha=0.9)
    return ax


def draw_spectral_colours(
    ax: Axes, scan: Scan, lowest: float = 380.0, highest: float = 780.0
) -> None:
    """Fill the area below a spectrum with the colours of its wavelengths, as a screen has them.

    Parameters
    ----------
    ax : matplotlib.axes.Axes
    scan : Scan
        Drawn between ``lowest`` and ``highest`` nm, where it has data; not if it has too few points
        for its interpolation.
    """
    low = max(lowest, scan.min_wavelength())
    high = min(highest, scan.max_wavelength())
    if not low < high:
        return
    steps = max(1, round(high - low))
    edges = [low + (high - low) * i / steps for i in range(steps + 1)]
    try:
        values = [scan(wl) for wl in edges]
    except RuntimeError:  # No curve, so no area below it.
        return
    for i in range(steps):
        colour = _colour_of(0.5 * (edges[i] + edges[i + 1]))
        # The edge covers the seam to the neighbour.
        ax.fill_between(edges[i : i + 2], values[i : i + 2], color=colour, linewidth=0.5)


def draw_chromaticities(ax: Axes, points: Mapping[str, tuple[float, float]]) -> None:
    """Draw chromaticities into the CIE 1976 diagram with spectrum locus and Planckian locus.

    Parameters
    ----------
    ax : matplotlib.axes.Axes
    points : mapping of str to (float, float)
        u' and v' by label.
    """
    locus = [_uv_of_wavelength(wl) for wl in range(400, 701, 5)]
    ax.plot(*zip(*locus, locus[0], strict=True), color="#808080", linewidth=1.0)
    for wl in (460, 480, 500, 520, 560, 580, 600, 620):
        ax.annotate(f"{wl}", _uv_of_wavelength(wl), fontsize="x-small", color="#606060")
    radiators = [lighting.chromaticity(lighting.planckian(1e6 / m)) for m in range(10, 901, 10)]
    ax.plot(
        [p.u_prime for p in radiators],
        [p.v_prime for p in radiators],
        color="#202020",
        linewidth=1.0,
        label="Planckian locus",
    )
    for label, (u, v) in points.items():
        ax.plot(u, v, marker="o", linestyle="", label=_as_text(label))
    ax.set_aspect("equal")
    ax.set_xlabel("u'")
    ax.set_ylabel("v'")
    ax.legend(loc="lower right", fontsize="small")


# Most shifts are short: an arrow goes from end to end, and has a small head.
_ARROW = {"arrowstyle": "->", "linewidth": 1.1, "mutation_scale": 7.0, "shrinkA": 0, "shrinkB": 0}


def draw_colour_vectors(ax: Axes, fidelities: Mapping[str, lighting.ColourFidelity]) -> None:
    """Draw the colour vector graphic of ANSI/IES TM-30: chroma and hue shifts around the circle.

    The circle is the reference; each hue bin stands at its middle, as the local shifts of the
    method do.

    Parameters
    ----------
    ax : matplotlib.axes.Axes
    fidelities : mapping of str to ColourFidelity
        By label; with one of them arrows show the shift of each bin.
    """
    angles = [math.pi * (2 * i + 1) / 16 for i in range(16)]
    around = [math.pi * i / 180 for i in range(361)]
    ax.plot(*zip(*map(_on_circle, around), strict=True), color="#808080", linewidth=0.8)
    for label, fidelity in fidelities.items():
        ends = []
        for angle, hue_bin in zip(angles, fidelity.bins, strict=True):
            x, y = _on_circle(angle)
            chroma, hue = hue_bin.Rcs / 100.0, hue_bin.Rhs
            ends.append((x * (1.0 + chroma) - y * hue, y * (1.0 + chroma) + x * hue))
        ax.plot(*zip(*ends, ends[0], strict=True), label=_as_text(label))
        if len(fidelities) == 1:
            for angle, end in zip(angles, ends, strict=True):
                ax.annotate("", end, _on_circle(angle), arrowprops=dict(_ARROW))
        ax.set_title(f"Rf {fidelity.Rf:.0f}, Rg {fidelity.Rg:.0f}" * (len(fidelities) == 1))
    for i, angle in enumerate(angles, start=1):
        x, y = _on_circle(angle)
        ax.annotate(f"{i}", (1.32 * x, 1.32 * y), ha="center", va="center", fontsize="x-small")
    ax.set_aspect("equal")
    ax.set_axis_off()
    ax.set_xlim(-1.5, 1.5)
    ax.set_ylim(-1.5, 1.5)
    if len(fidelities) > 1:
        ax.legend(loc="center", fontsize="small")


def _on_circle(angle: float) -> tuple[float, float]:
    return math.cos(angle), math.sin(angle)


def _colour_of(wavelength: float) -> tuple[float, float, float]:
    """The colour of a wavelength on a screen, darker where the eye hardly sees."""
    xyz = _matching(wavelength)
    total = sum(xyz)
    brightness = (0.3 + 0.7 * min(1.0, total)) / total
    white = colorimetry.CIEXYZ(1.0, 1.0, 1.0)
    colour = colorimetry.CIEXYZ_to_sRGB(
        colorimetry.CIEXYZ(*(brightness * value for value in xyz)), white
    )
    return colour.red, colour.green, colour.blue


def _matching(wavelength: float) -> tuple[float, float, float]:
    data = colorimetry.data
    x = data.cie_1931_standard_observer_x()(wavelength)
    y = data.cie_1931_standard_observer_y()(wavelength)
    return x, y, data.cie_1931_standard_observer_z()(wavelength)


def _uv_of_wavelength(wavelength: float) -> tuple[float, float]:
    x, y, z = _matching(wavelength)
    divisor = x + 15.0 * y + 3.0 * z
    return 4.0 * x / divisor, 9.0 * y / divisor


# What a measurement file states: title of the x axis, quantity, unit.
type _Stated = tuple[str, str, str]
type _Named = list[tuple[str | None, Scan]]

_NOTHING = ("wavelength in nm", "", "")


def _named(scans: Any) -> tuple[_Named, _Stated]:
    if isinstance(scans, Scan):
        return [(None, scans)], _NOTHING
    if isinstance(scans, Spectrum):
        scans = [scans]
    if isinstance(scans, Mapping):
        names, members = [str(name) for name in scans], list(scans.values())
        return _with_labels(names, members)
    if isinstance(scans, io.DataSet):
        return [(scans.name, scans.data)], _NOTHING
    if isinstance(scans, io.VekFile):
        x_type, y = scans.meta.x_type, scans.data_info.type_and_units
        x_title = " in ".join(x_type.split(" / ")) if x_type else scans.graph.x_axis_title
        x_title = x_title.replace("Wavelength", "wavelength")
        named: _Named = [(data_set.name, data_set.data) for data_set in scans.data_sets]
        return named, (x_title, y.measurement_type, y.units)
    if isinstance(scans, str | bytes) or not isinstance(scans, Iterable):
        raise TypeError(f"plot needs scans; got {type(scans).__name__}")
    members = list(scans)
    labels = [scan.label or None if isinstance(scan, Spectrum) else None for scan in members]
    return _with_labels(labels, members)


def _with_labels(labels: Sequence[str | None], members: list[Any]) -> tuple[_Named, _Stated]:
    spectra = [member for member in members if isinstance(member, Spectrum)]
    stated = {(spectrum.kind, spectrum.unit) for spectrum in spectra}
    if len(stated) > 1:
        named = sorted(f"{kind} in {unit}" if unit else str(kind) for kind, unit in stated)
        first, other = named[:2]
        raise Refusal(f"plot: {first} and {other} do not share an axis; draw them on two")
    scans = [member.scan if isinstance(member, Spectrum) else member for member in members]
    if not stated:
        return list(zip(labels, scans, strict=True)), _NOTHING
    kind, unit = stated.pop()
    quantity = "" if kind in ("unknown", "other") else kind
    return list(zip(labels, scans, strict=True)), (_NOTHING[0], quantity, unit or "")


def _relabelled(scans: list[Scan], label: str | Sequence[str]) -> _Named:
    labels = [label] if isinstance(label, str) else list(label)
    if len(labels) != len(scans):
        raise ValueError(f"plot: {len(labels)} labels for {len(scans)} scans; each needs one")
    return list(zip(labels, scans, strict=True))


def _shade_luminosity(ax: Axes, height: float) -> None:
    wavelengths, luminosity = colorimetry.data.cie_1931_standard_observer_y().to_numpy()
    label = "V(λ)" if height == 1.0 else "V(λ), scaled"
    ax.fill_between(wavelengths, height * luminosity, color="#dfe8d5", linewidth=0, label=label)


def _draw(ax: Axes, scan: Scan, label: str | None, line: Mapping[str, Any]) -> Line2D:
    wavelengths, values = scan.to_lists()
    style: dict[str, Any] = {"label": None if label is None else _as_text(label)}
    sparse = len(wavelengths) <= _SPARSE
    if sparse:
        style["marker"] = "."
    if not scan.is_interpolated():
        style |= {"marker": ".", "linestyle": "none"}
    elif sparse and len(wavelengths) > 1:
        try:
            wavelengths, values, style["markevery"] = _curve(scan, wavelengths)
        except RuntimeError:
            style["linestyle"] = "none"
    (drawn,) = ax.plot(wavelengths, values, **style | dict(line))
    return drawn


def _mark_peaks(ax: Axes, scan: Scan, count: int, colour: Any) -> None:
    try:
        peaks = utils.find_peaks(scan)
    except RuntimeError:  # No curve, so no peaks between the points.
        return
    found = sorted(peaks.items(), key=lambda point: point[1])[-count:]
    for wavelength, value in found:
        ax.plot(wavelength, value, marker="|", markersize=10, color=colour, label="_peak")
        ax.annotate(
            f"{wavelength:.1f}",
            (wavelength, value),
            xytext=(0, 6),
            textcoords="offset points",
            horizontalalignment="center",
            fontsize="small",
        )


def _curve(scan: Scan, stored: list[float]) -> tuple[list[float], list[float], list[int]]:
    """The interpolant, and where in it the stored points are."""
    first, last = stored[0], stored[-1]
    step = (last - first) / _DENSE
    between = (first + i * step for i in range(1, _DENSE))
    wavelengths = sorted({*stored, *between})
    points = set(stored)
    marked = [index for index, wl in enumerate(wavelengths) if wl in points]
    return wavelengths, [scan(wl) for wl in wavelengths], marked


def _as_text(label: str) -> str:
    """The label as it is: Matplotlib sets formulae between dollars and hides a leading _."""
    return (" " * label.startswith("_") + label).replace("$", r"\$")


def _set_titles(ax: Axes, quantity: str | None, unit: str | None, stated: _Stated) -> None:
    x_title, stated_quantity, stated_unit = stated
    if not ax.get_xlabel():
        ax.set_xlabel(x_title)
    if quantity is None and unit is None and ax.get_ylabel():
        return
    quantity = quantity if quantity is not None else stated_quantity or "value"
    unit = unit if unit is not None else stated_unit
    ax.set_ylabel(_as_text(f"{quantity} in {unit}" if unit not in ("", "1") else quantity))
