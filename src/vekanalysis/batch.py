"""The figures of one file as plain rows, to be mapped over many files.

``report_rows`` is what ``vekanalysis report --csv`` runs in its processes, ``light_rows`` what
``vekanalysis light --csv`` does. They can be pickled, take plain arguments and return plain values,
so anything that maps a function over a list can run them: ``map``, ``concurrent.futures``, a Dask
cluster::

    from dask.distributed import Client
    from vekanalysis.batch import report_rows

    if __name__ == "__main__":
        with Client() as client:
            futures = client.map(report_rows, ["a.csv", "b.vek"])
            rows = [row for rows in client.gather(futures) for row in rows]

The workers read the files themselves: the paths must mean the same to them.
"""

import os
from collections.abc import Callable, Mapping, Sequence
from functools import cache
from typing import Any

from .errors import Refusal, lacks_memory
from .reading import read
from .reports import COLUMNS, LIGHT_COLUMNS, Row, Table

__all__ = ["COLUMNS", "LIGHT_COLUMNS", "light_rows", "report_rows"]


def report_rows(
    path: str | os.PathLike[str],
    *,
    percent: bool = False,
    data_sets: Sequence[str] = (),
    **reading: Any,
) -> list[Row]:
    """The quantities of the lens report of one file, one row a spectrum.

    Parameters
    ----------
    path
        A text file, which gives one row for each column of values, or a measurement file, which
        gives one for each data set.
    percent
        Whether values of which the unit is not stated are per cent, the same as ``unit="%"``.
    data_sets
        The names of the data sets wanted, each of which must be there; by default all are.
    **reading
        Other arguments of `vekanalysis.read`; of ``duplicates``, "last" is the default here.

    Returns
    -------
    list of dict
        Each with the keys ``COLUMNS``: the file, the data set or column (None for the only one of a
        text file), the reason for which there are no figures, notes on the spectrum and its figures
        (what its unit was, which figures rest on data for a part of their band, which are missing
        and why), the number of points, the range in nm, and the quantities under the names of the
        library's functions, with the field of the result after a point
        (``ISO8980_3_tau_signal_led.red``). Transmittances are fractions, tristimulus values are in
        nm, all others have the unit 1. What there is not is None.

        A file that cannot be read, or is no transmittance, raises nothing: it gives one row that
        has no more than ``file`` and ``error``.
    """
    options = reading | {"data_sets": data_sets} | ({"unit": "%"} if percent else {})
    return file_rows(path, _LENSES, options)


def light_rows(
    path: str | os.PathLike[str],
    *,
    data_sets: Sequence[str] = (),
    white: str = "D65",
    f1_prime: bool = False,
    **reading: Any,
) -> list[Row]:
    """The quantities of the light source report of one file, one row a spectrum.

    Parameters
    ----------
    path, data_sets, **reading
        As of `report_rows`.
    white
        The white of L*a*b*: "A", "C", "D65" or "E".
    f1_prime
        Whether the spectra are also taken for relative responsivities of photometers.

    Returns
    -------
    list of dict
        Each with the keys ``LIGHT_COLUMNS`` and, on request, ``f1_prime``, else as of
        `report_rows`.
    """
    return file_rows(path, _light_table(white, f1_prime), reading | {"data_sets": data_sets})


_LENSES = Table("lens")


@cache
def _light_table(white: str, f1_prime: bool) -> Table:
    return Table("light", white=white, f1_prime=f1_prime)


def file_rows(
    path: str | os.PathLike[str],
    table: Table,
    reading: Mapping[str, Any],
    words: Callable[[Refusal], str] = str,
) -> list[Row]:
    """The rows of a file in a table; ``words`` says how a refusal reads."""
    file = os.fspath(path)
    try:
        return table.rows(read(file, **{"duplicates": "last"} | dict(reading)))
    except Refusal as error:
        reason = words(error)
    except OSError as error:
        reason = f"cannot be read: {error.strerror or error}"
    except (MemoryError, TypeError) as error:
        if not lacks_memory(error):
            raise
        reason = "not enough memory"
    return [table.failed(file, reason)]
