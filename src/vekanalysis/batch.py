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
from collections.abc import Callable, Iterable, Mapping, Sequence
from functools import cache, partial
from typing import Any

from .errors import Refusal, lacks_memory
from .reading import read
from .reports import COLUMNS, LIGHT_COLUMNS, Row, Table
from .spectrum import Spectrum

__all__ = ["COLUMNS", "LIGHT_COLUMNS", "light_rows", "report_rows"]


def report_rows(
    path: str | os.PathLike[str],
    *,
    percent: bool = False,
    data_sets: Sequence[str] = (),
    full: bool = False,
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
    full
        Whether there are also the derived quantities, as of `reports.lens`.
    **reading
        Other arguments of `vekanalysis.read`; of ``duplicates``, "last" is the default here.

    Returns
    -------
    list of dict
        Each with the keys ``COLUMNS``, with ``full`` also those of ``quantities.DERIVED``: the
        file, the data set or column (None for the only one of a text file), the reason for which
        there are no figures, notes on the spectrum and its figures (what its unit was, which
        figures rest on data for a part of their band, which are missing and why), the number of
        points, the range in nm, and the quantities under the names of the library's functions, with
        the field of the result after a point (``ISO8980_3_tau_signal_led.red``). Transmittances are
        fractions, tristimulus values are in nm, all others have the unit 1. What there is not is
        None.

        A file that cannot be read, or is no transmittance, raises nothing: it gives one row that
        has no more than ``file`` and ``error``.
    """
    options = reading | {"data_sets": data_sets} | ({"unit": "%"} if percent else {})
    return file_rows(path, _lens_table(full), options)


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


# Spectra with so many points are worked on together.
_POINTS = 100_000


@cache
def _lens_table(full: bool) -> Table:
    return Table("lens", full=full)


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
    (rows,) = rows_of_files([path], table, reading, words)
    return rows


def rows_of_files(
    paths: Iterable[str | os.PathLike[str]],
    table: Table,
    reading: Mapping[str, Any],
    words: Callable[[Refusal], str] = str,
) -> list[list[Row]]:
    """The rows of each of some files in a table, as `file_rows` has them, in less time."""
    rows: list[list[Row]] = []
    # Those that were read, with their places, and how many points they have.
    waiting: list[tuple[int, str, list[Spectrum]]] = []
    points = 0

    def make_rows() -> None:
        try:
            made = table.rows_of_files([spectra for _, _, spectra in waiting])
        except MemoryError:
            made = [None] * len(waiting)
        for (place, file, spectra), found in zip(waiting, made, strict=True):
            if found is None:
                found, reason = tried(partial(table.rows, spectra), words)
                found = [table.failed(file, reason)] if found is None else found
            rows[place] = found
        waiting.clear()

    for place, path in enumerate(paths):
        file = os.fspath(path)
        spectra, reason = spectra_of(file, reading, words)
        rows.append([] if spectra is not None else [table.failed(file, reason)])
        if spectra is None:
            continue
        waiting.append((place, file, spectra))
        points += sum(spectrum.points for spectrum in spectra)
        if points > _POINTS:
            make_rows()
            points = 0
    make_rows()
    return rows


def spectra_of(
    file: str, reading: Mapping[str, Any], words: Callable[[Refusal], str] = str
) -> tuple[list[Spectrum] | None, str]:
    """The spectra of a file of a table, or None and the reason why there are none."""
    return tried(partial(read, file, **{"duplicates": "last"} | dict(reading)), words)


def tried[Result](
    work: Callable[[], Result], words: Callable[[Refusal], str]
) -> tuple[Result | None, str]:
    """What work on a file gives, or None and the reason why it failed."""
    try:
        return work(), ""
    except Refusal as error:
        return None, words(error)
    except OSError as error:
        return None, f"cannot be read: {error.strerror or error}"
    except (MemoryError, TypeError) as error:
        if not lacks_memory(error):
            raise
        return None, "not enough memory"
