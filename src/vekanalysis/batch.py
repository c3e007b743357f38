"""The figures of one file as plain rows, to be mapped over many files.

``report_rows`` is what ``vekanalysis report --csv`` runs in its processes. It can be pickled, takes
plain arguments and returns plain values, so anything that maps a function over a list can run it:
``map``, ``concurrent.futures``, a Dask cluster::

    from dask.distributed import Client
    from vekanalysis.batch import report_rows

    if __name__ == "__main__":
        with Client() as client:
            futures = client.map(report_rows, ["a.csv", "b.vek"])
            rows = [row for rows in client.gather(futures) for row in rows]

The workers read the files themselves: the paths must mean the same to them.
"""

import os
from collections.abc import Sequence

from ._figures.errors import CommandError
from ._figures.lens import LENS, as_fractions
from ._figures.quantities import evaluate
from ._figures.spectra import Spectrum, read_spectra_file
from ._figures.text import interval

__all__ = ["COLUMNS", "report_rows"]

type Row = dict[str, str | int | float | None]

COLUMNS: tuple[str, ...] = (
    "file",
    "data_set",
    "error",
    "notes",
    "points",
    "from_nm",
    "to_nm",
    *(quantity.key for quantity in LENS),
)
"""The keys of each row, in their order."""


def report_rows(
    path: str | os.PathLike[str], *, percent: bool = False, data_sets: Sequence[str] = ()
) -> list[Row]:
    """The quantities of the lens report of one file, one row a spectrum.

    Parameters
    ----------
    path
        A CSV file, which gives one row for each column of values, or a measurement file, which
        gives one for each data set.
    percent
        Whether the values in the file are per cent; by default they are fractions.
    data_sets
        The names of the data sets wanted, each of which must be there; by default all are.

    Returns
    -------
    list of dict
        Each with the keys ``COLUMNS``: the file, the data set or column (None for the only one of a
        CSV file), the reason for which there are no figures, notes on the figures (which of them
        rest on data for a part of their band, which are missing and why), the number of points, the
        range in nm, and the quantities under the names of the library's functions, with the field
        of the result after a point (``ISO8980_3_tau_signal_led.red``). Transmittances are
        fractions, tristimulus values are in nm, all others have the unit 1. What there is not is
        None.

        A file that cannot be read, or is no transmittance, raises nothing: it gives one row that
        has no more than ``file`` and ``error``.
    """
    file = os.fspath(path)
    try:
        return [
            _row(file, as_fractions(spectrum, percent))
            for spectrum in read_spectra_file(file, data_sets)
        ]
    except CommandError as error:
        return [failure(file, str(error))]
    except MemoryError:
        return [failure(file, "not enough memory")]


def failure(file: str, reason: str) -> Row:
    """The row of a file without figures."""
    return dict.fromkeys(COLUMNS) | {"file": file, "error": reason.removeprefix(f"{file}: ")}


def _row(file: str, spectrum: Spectrum) -> Row:
    lowest, highest = spectrum.range_nm
    notes = [*spectrum.notes]
    figures: Row = {}
    for quantity in LENS:
        result = evaluate(quantity, spectrum.scan)
        figures[quantity.key] = result.value
        if result.problem:
            notes.append(f"{quantity.key}: {result.problem}")
        elif result.needed and result.covered and not result.complete:
            covered, needed = interval(result.covered), interval(result.needed)
            notes.append(f"{quantity.key}: data cover {covered} of {needed} nm")
    facts: Row = {
        "file": file,
        "data_set": spectrum.data_set,
        "error": None,
        "notes": "; ".join(notes) or None,
        "points": spectrum.points,
        "from_nm": lowest,
        "to_nm": highest,
    }
    return facts | figures
