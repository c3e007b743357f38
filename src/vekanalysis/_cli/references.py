"""``vekanalysis references``: the spectra that are built in."""

import textwrap
from argparse import Namespace
from itertools import groupby

from .._figures.catalogue import RECONSTRUCTION, REFERENCES
from .._figures.spectra import Spectrum, built_in, peak
from .._figures.text import interval
from .output import Json, bold, emit, emit_json

_WIDTH = 80
_WARNING = "not the printed table; not for conformity decisions"


def run(arguments: Namespace) -> None:
    name: str | None = arguments.name
    if name is None:
        if arguments.json:
            emit_json({"references": [_facts(built_in(name)) for name in REFERENCES]})
        else:
            emit(_listing())
        return
    spectrum = built_in(name)
    if arguments.json:
        wavelengths, values = spectrum.scan.to_lists()
        emit_json(_facts(spectrum) | {"wavelengths_nm": [*wavelengths], "values": [*values]})
    else:
        emit("".join(f"{wl!r},{value!r}\n" for wl, value in spectrum.scan.items()))


def _step(spectrum: Spectrum) -> float | None:
    """The step of an even grid."""
    steps = spectrum.steps_nm
    return steps[0] if steps and steps[0] == steps[1] else None


def _facts(spectrum: Spectrum) -> dict[str, Json]:
    unit, source, status = REFERENCES[spectrum.label]
    wavelength, value = peak(spectrum.scan)
    return {
        "name": spectrum.label,
        "range_nm": list(spectrum.range_nm),
        "step_nm": _step(spectrum),
        "points": spectrum.points,
        "unit": unit,
        "peak": {"wavelength_nm": wavelength, "value": value},
        "source": source,
        "status": status,
    }


def _listing() -> str:
    lines = [bold(_columns("name", "range nm", "step", "points", "peak at nm"))]
    for (unit, source, status), group in groupby(REFERENCES.items(), key=lambda item: item[1]):
        if status == RECONSTRUCTION:
            status = f"{status}, {_WARNING}"
        lines += ["", *textwrap.wrap(f"{source}, unit {unit}: {status}", _WIDTH)]
        lines += [_row(built_in(name)) for name, _ in group]
    return "\n".join(lines) + "\n"


def _row(spectrum: Spectrum) -> str:
    step = _step(spectrum)
    wavelength, value = peak(spectrum.scan)
    return _columns(
        f"  {spectrum.label}",
        interval(spectrum.range_nm),
        "uneven" if step is None else f"{step:g}",
        str(spectrum.points),
        f"{value:g} at {wavelength:g}",
    )


def _columns(*texts: str) -> str:
    widths = (46, 14, 7, 7, 0)
    return "".join(f"{text:<{width}}" for text, width in zip(texts, widths, strict=True))
