"""Scans and records in notebooks: HTML with a small picture of the spectrum.

The classes themselves stay as they are: the formatters are registered with IPython.
"""

import math
from collections.abc import Iterator
from html import escape
from itertools import pairwise
from typing import TYPE_CHECKING, Any

from ._core import Observer, Scan, chromaticity, colorimetry, fitting, io, utils
from ._records import fields
from .reading import Table

if TYPE_CHECKING:
    import IPython.core.interactiveshell

# An alias, whose right side nobody evaluates before it is asked for.
type InteractiveShell = IPython.core.interactiveshell.InteractiveShell

_WIDTH, _HEIGHT = 240, 48
# Of longer lists and texts, the rest is counted.
_LONGEST_LIST, _LONGEST_TEXT = 12, 500


def load_ipython_extension(ipython: InteractiveShell) -> None:
    """Show scans and records in notebooks with a picture of the spectrum and their figures.

    This is what ``%load_ext vekanalysis`` calls; ``%unload_ext vekanalysis`` ends it. ``repr``
    and ``str`` of the classes do not change.

    Parameters
    ----------
    ipython : IPython.core.interactiveshell.InteractiveShell
        The shell whose display is to know scans.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> from IPython.core.interactiveshell import InteractiveShell
    >>> shell = InteractiveShell()
    >>> vek.load_ipython_extension(shell)
    >>> data, _ = shell.display_formatter.format(vek.Scan([400, 410], [0.25, 0.5]))
    >>> sorted(data)
    ['text/html', 'text/plain']
    """
    formatter = _html_formatter(ipython)
    for shown in _shown_types():
        formatter.for_type(shown, _html)


def unload_ipython_extension(ipython: InteractiveShell) -> None:
    """Take back what `load_ipython_extension` has registered.

    Parameters
    ----------
    ipython : IPython.core.interactiveshell.InteractiveShell
        The shell.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> from IPython.core.interactiveshell import InteractiveShell
    >>> shell = InteractiveShell()
    >>> vek.load_ipython_extension(shell)
    >>> vek.unload_ipython_extension(shell)
    >>> sorted(shell.display_formatter.format(vek.Scan())[0])
    ['text/plain']
    """
    formatter = _html_formatter(ipython)
    for shown in _shown_types():
        formatter.pop(shown, None)


def _html_formatter(ipython: Any) -> Any:
    return ipython.display_formatter.formatters["text/html"]


def _shown_types() -> Iterator[type]:
    """Scan, Observer, Table, and every class of the submodules that has attributes to show."""
    yield Scan
    yield Observer
    yield Table
    for module in (chromaticity, colorimetry, fitting, io, utils):
        for member in vars(module).values():
            if isinstance(member, type) and member is not Scan and fields(member):
                yield member


def _html(thing: Any) -> str:
    if isinstance(thing, Scan):
        return _scan_html(thing)
    if isinstance(thing, Table):
        rows = [(name, _scan_html(scan)) for name, scan in thing.items()]
        notes = [("note", escape(note)) for note in thing.report().splitlines()[1:]]
        return _rows_html(str(thing.source), [*rows, *notes])
    rows = [(name, _value_html(getattr(thing, name))) for name in fields(type(thing))]
    return _rows_html(type(thing).__name__, rows)


def _rows_html(title: str, rows: list[tuple[str, str]]) -> str:
    body = "".join(
        f'<tr><th scope="row" style="text-align:left">{escape(name)}</th>'
        f'<td style="text-align:left">{value}</td></tr>'
        for name, value in rows
    )
    return f'<table><caption style="text-align:left">{escape(title)}</caption>{body}</table>'


def _value_html(value: Any) -> str:
    if isinstance(value, list):
        items = [_value_html(item) for item in value[:_LONGEST_LIST]]
        if len(value) > _LONGEST_LIST:
            items.append(f"and {len(value) - _LONGEST_LIST} more")
        return "<br>".join(items)
    if isinstance(value, Scan) or fields(type(value)):
        return _html(value)
    if isinstance(value, float):
        return f"{value:.10g}"
    text = str(value)
    cut = text[:_LONGEST_TEXT] + "…" * (len(text) > _LONGEST_TEXT)
    return escape(cut).replace("\n", "<br>")


def _scan_html(scan: Scan) -> str:
    wavelengths, values = scan.to_lists()
    if not wavelengths:
        return "<div>Scan without points</div>"
    finite = [value for value in values if math.isfinite(value)]
    facts = [
        f"{wavelengths[0]:.10g} to {wavelengths[-1]:.10g} nm",
        f"{len(wavelengths)} point{'s' * (len(wavelengths) != 1)}",
    ]
    steps = {round(b - a, 9) for a, b in pairwise(wavelengths)}
    if len(steps) == 1:
        facts.append(f"step {steps.pop():.10g} nm")
    if finite:
        facts.append(f"values {min(finite):.6g} to {max(finite):.6g}")
    if len(finite) != len(values):
        facts.append(f"{len(values) - len(finite)} not finite")
    facts.append(scan.interpolation.name)
    if scan.epsilon != 1e-20:
        facts.append(f"epsilon {scan.epsilon:g} nm")
    text = escape(", ".join(facts))
    return f"<div>{_svg(wavelengths, values, finite, text)}<div>Scan: {text}</div></div>"


def _svg(wavelengths: list[float], values: list[float], finite: list[float], title: str) -> str:
    """The points, joined by lines; of those in one column of pixels only the extremes."""
    if not finite or not math.isfinite(wavelengths[-1] - wavelengths[0]):
        return ""
    # Halves, since differences of the largest numbers are not finite.
    lowest, highest = min(finite) / 2.0, max(finite) / 2.0
    width = wavelengths[-1] - wavelengths[0] or 1.0
    height = highest - lowest or 1.0

    columns: list[dict[int, tuple[float, float]]] = [{}]
    for wavelength, value in zip(wavelengths, values, strict=True):
        if not math.isfinite(value):
            if columns[-1]:
                columns.append({})
            continue
        x = round((wavelength - wavelengths[0]) / width * _WIDTH)
        low, high = columns[-1].get(x, (value, value))
        columns[-1][x] = min(low, value), max(high, value)

    def y(value: float) -> str:
        return f"{_HEIGHT - (value / 2.0 - lowest) / height * _HEIGHT:.1f}"

    path = ""
    for run in columns:
        pen = "M"
        for x, (low, high) in run.items():
            path += f"{pen}{x} {y(low)}" + (f"L{x} {y(high)}" if high != low else "")
            pen = "L"
        if len(run) == 1:
            path += "h0.1"
    return (
        f'<svg role="img" width="{_WIDTH + 4}" height="{_HEIGHT + 4}" '
        f'viewBox="-2 -2 {_WIDTH + 4} {_HEIGHT + 4}" fill="none" stroke="currentColor" '
        f'stroke-width="1.5" stroke-linejoin="round" stroke-linecap="round">'
        f"<title>Spectrum, {title}</title>"
        f'<path d="{path}"/></svg>'
    )
