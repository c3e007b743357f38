"""``vekanalysis report``: what standards say of lenses and filters."""

import os
from argparse import Namespace

from .._figures.errors import CommandError
from .._figures.lens import LENS, as_fractions
from .._figures.spectra import read_spectra
from .report import emit_report, make_report

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
