"""``vekanalysis report``: what standards say of lenses and filters."""

import math
import os
from argparse import Namespace

from .errors import CommandError
from .lens import LENS
from .report import emit_report, make_report
from .spectra import Spectrum, peak, read_spectra

# No fraction is as high, whatever the noise of the measurement.
_HIGHEST_FRACTION = 1.5

_SAMPLING = (
    "All figures but the means and τ_min weight the data with tables, at the wavelengths of both: "
    "at wavelengths that the tables do not have a clear lens may give a little more or less than 1."
)


def run(arguments: Namespace) -> int | None:
    if arguments.csv is not None or arguments.jobs is not None:
        from .batch import run_batch

        return run_batch(arguments)
    for name in arguments.files:
        if os.path.isdir(name):
            raise CommandError(f"{name}: is a directory; --csv OUT makes a table of its files")
    spectra = [
        as_fractions(spectrum, arguments.percent)
        for spectrum in read_spectra(arguments.files, arguments.reference, arguments.data_set)
    ]
    report = make_report("Lens report", spectra, [LENS] * len(spectra), (_SAMPLING,))
    if arguments.plot:
        from .plot import plot_lenses

        plot_lenses(arguments.plot, spectra)
    emit_report(report, arguments.json)
    return None


def as_fractions(spectrum: Spectrum, percent: bool) -> Spectrum:
    """The spectrum as a transmittance between 0 and 1; refused if it can be none."""
    wavelength, highest = peak(spectrum.scan)
    if percent and spectrum.reference is None:
        return spectrum._replace(
            scan=spectrum.scan / 100.0,
            unit="1",
            notes=(*spectrum.notes, "values in per cent, divided by 100"),
        )
    if spectrum.unit == "%":
        raise CommandError(f"{spectrum.source}: its unit is '%'; add --percent to divide by 100")
    if highest <= _HIGHEST_FRACTION:
        if spectrum.unit in ("", "1"):
            return spectrum
        note = f"its unit is '{spectrum.unit}'; the values are taken for fractions"
        return spectrum._replace(notes=(*spectrum.notes, note))
    found = (
        f"{spectrum.source}: {highest:g} at {wavelength:g} nm is no transmittance between 0 and 1"
    )
    if spectrum.reference is not None or not math.isfinite(highest):
        raise CommandError(found)
    raise CommandError(f"{found}; the values look like per cent: if they are, add --percent")
