"""``vekanalysis report --csv``: a table of the figures of many files."""

import csv
import os
import re
import sys
from argparse import Namespace
from collections.abc import Sequence
from contextlib import closing, nullcontext
from functools import partial
from typing import Self

from .._figures.errors import CommandError
from .._figures.text import shortened
from ..batch import COLUMNS, Row, failure, report_rows
from .output import Progress, emit, note
from .workers import CannotStart, Lost, interrupts_held, map_in_order

SOME_FAILED = 1

_SUFFIXES = (".csv", ".vek")
# How the first line of a table starts.
_MARK = ",".join(COLUMNS[:4]).encode()
# The kinds of failure that the closing line names.
_KINDS = 5


def run_batch(arguments: Namespace) -> int:
    """Write the table, row by row, and tell what failed; return the exit status."""
    if arguments.json or arguments.plot or arguments.reference:
        raise CommandError("--csv and --jobs are for files, without --json, --plot or --reference")
    output = arguments.csv or "-"
    files = _input_files(arguments.files, output)
    compute = partial(report_rows, percent=arguments.percent, data_sets=arguments.data_set)
    jobs = arguments.jobs or os.process_cpu_count() or 1
    tally = _Tally(len(files))
    try:
        with (
            _Output(output) as table,
            Progress(len(files), hidden=output == "-" and sys.stdout.isatty()) as progress,
            closing(map_in_order(compute, files, jobs)) as results,
        ):
            writer = csv.DictWriter(table, COLUMNS, lineterminator="\n")
            writer.writeheader()
            for file, result in zip(files, results, strict=True):
                rows = [failure(file, result.reason)] if isinstance(result, Lost) else result
                # All rows of a file, counted, or none; a pipe may take for ever, so there not.
                with interrupts_held() if output != "-" else nullcontext():
                    writer.writerows(rows)
                    tally.add(file, rows)
                progress.show(tally.done, tally.failed)
    except CannotStart as error:
        raise CommandError(f"a process for the files could not be started: {error}") from None
    except KeyboardInterrupt:
        note(f"interrupted: {tally}")
        raise
    note(str(tally))
    return SOME_FAILED if tally.failed else 0


class _Output:
    """The table's file, or standard output for ``-``; each row is written at once."""

    def __init__(self, path: str) -> None:
        self._path = path
        self._file = None
        if path != "-":
            try:
                _check_that_nothing_is_lost(path)
                self._file = open(  # noqa: SIM115
                    path, "w", buffering=1, encoding="utf-8", errors="surrogateescape", newline=""
                )
            except OSError as error:
                raise self._failed(error) from None

    def __enter__(self) -> Self:
        return self

    def __exit__(self, *_: object) -> None:
        try:
            if self._file:
                self._file.close()
        except OSError as error:
            raise self._failed(error) from None

    def write(self, text: str) -> None:
        if self._file is None:
            emit(text)
            return
        try:
            self._file.write(text)
        except OSError as error:
            raise self._failed(error) from None

    def _failed(self, error: OSError) -> CommandError:
        return CommandError(f"{self._path}: cannot be written: {error.strerror or error}")


def _check_that_nothing_is_lost(path: str) -> None:
    """Refuse a file that is no table: ``--csv *.csv`` would overwrite a measurement."""
    if not os.path.isfile(path):
        return
    with open(path, "rb") as file:
        start = file.read(len(_MARK))
    if start not in (b"", _MARK):
        raise CommandError(
            f"{path}: is no table of an earlier report, and is not overwritten; name another file"
        )


def _input_files(names: Sequence[str], output: str) -> list[str]:
    """The files named, and for a directory the spectra in it and below, in the order of names."""
    if not names:
        raise CommandError("no files: name a FILE or a directory")
    files: list[str] = []
    for name in names:
        if os.path.isdir(name):
            found = [file for file in _walk(name) if not _same(file, output)]
            if not found:
                raise CommandError(f"{name}: no .csv or .vek files in this directory or below")
            files += found
        elif _same(name, output):
            raise CommandError(f"{output}: is to be read, so it cannot be written")
        else:
            files.append(name)
    return files


def _walk(top: str) -> list[str]:
    """The spectra in a directory and below; what is hidden and links to directories are not."""

    def fail(error: OSError) -> None:
        raise CommandError(f"{error.filename}: cannot be read: {error.strerror}")

    files = []
    for folder, below, names in os.walk(top, onerror=fail):
        below[:] = sorted(name for name in below if not name.startswith("."))
        files += [
            os.path.join(folder, name)
            for name in sorted(names)
            if name.lower().endswith(_SUFFIXES) and not name.startswith(".")
        ]
    return files


def _same(path: str, output: str) -> bool:
    return output != "-" and os.path.realpath(path) == os.path.realpath(output)


class _Tally:
    """How many files are done and failed, and for which reasons."""

    def __init__(self, total: int) -> None:
        self.done = 0
        self.failed = 0
        self._total = total
        self._spectra = 0
        # By kind of reason: how many files, the first of them and its reason.
        self._kinds: dict[str, tuple[int, str, str]] = {}

    def add(self, file: str, rows: Sequence[Row]) -> None:
        self.done += 1
        reason = rows[0]["error"]
        if reason is None:
            self._spectra += len(rows)
            return
        self.failed += 1
        reason = str(reason).partition("; ")[0]
        # Line numbers, figures and quoted text differ from file to file.
        kind = re.sub(r"'.*'|[0-9][0-9.e+-]*", "", reason)
        count, first, example = self._kinds.get(kind, (0, file, reason))
        self._kinds[kind] = count + 1, first, example

    def __str__(self) -> str:
        """``3 files, 2 spectra; 1 failed: the file is empty (a.csv)``."""
        done = f"{self.done:,} of " if self.done < self._total else ""
        text = f"{done}{_counted(self._total, 'file')}, {_counted(self._spectra, 'spectrum')}; "
        if not self.failed:
            return text + "none failed"
        kinds = sorted(self._kinds.values(), key=lambda kind: -kind[0])
        reasons = []
        for count, first, reason in kinds[:_KINDS]:
            where = first if count == 1 else f"{count:,} files, first {first}"
            reasons.append(f"{shortened(reason, 80)} ({where})")
        if kinds[_KINDS:]:
            reasons.append(f"other reasons ({_counted(sum(k[0] for k in kinds[_KINDS:]), 'file')})")
        return f"{text}{self.failed:,} failed: {'; '.join(reasons)}"


def _counted(count: int, noun: str) -> str:
    plural = "spectra" if noun == "spectrum" else f"{noun}s"
    return f"{count:,} {noun if count == 1 else plural}"
