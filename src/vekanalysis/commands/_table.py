"""``--csv`` of ``vekanalysis report`` and ``light``: a table of the figures of many files."""

import os
import sys
from argparse import Namespace
from collections.abc import Generator, Sequence
from contextlib import closing, nullcontext
from functools import partial
from itertools import batched

from .._files import csv_line
from ..batch import rows_of_files
from ..errors import for_command_line
from ..reports import FACTS, Row, Table
from ._arguments import reading_options
from ._errors import CannotStart, CommandError, Lost
from ._files import input_files
from ._output import Output, interrupts_held
from ._tally import Tally
from ._terminal import Progress, note

_SOME_FAILED = 1
# So many files are worth the start of a process.
_FILES_A_PROCESS = 100
# So many files are worked on together in this process.
_BUNDLE = 32


def write_table(arguments: Namespace, table: Table) -> int:
    """Write the table, row by row, and tell what failed; return the exit status."""
    if arguments.json or arguments.plot or arguments.reference:
        raise CommandError(
            "--csv, --jobs, --cluster and --pattern are for files, without --json, --plot or "
            "--reference"
        )
    if arguments.jobs and arguments.cluster:
        raise CommandError("--jobs is for processes here, --cluster for those elsewhere: not both")
    output = arguments.csv or "-"
    files = input_files(arguments.files, output, arguments.pattern)
    tally = Tally(len(files))
    try:
        with (
            Output(output) as out,
            Progress(len(files), hidden=output == "-" and sys.stdout.isatty()) as progress,
            closing(_results(arguments, files, table)) as results,
        ):
            texts, numbers = table.keys[: len(FACTS)], table.keys[len(FACTS) :]
            out.write(csv_line(table.titles, []))
            for file, rows in zip(files, results, strict=True):
                # All rows of a file, counted, or none; a pipe may take for ever, so there not.
                with interrupts_held() if output != "-" else nullcontext():
                    for row in rows:
                        text = csv_line([row[key] for key in texts], [row[key] for key in numbers])
                        out.write(text)
                    tally.add(file, rows)
                progress.show(tally.done, tally.failed)
    except CannotStart as error:
        raise CommandError(f"a process for the files could not be started: {error}") from None
    except KeyboardInterrupt:
        note(f"interrupted: {tally}")
        raise
    note(str(tally))
    return _SOME_FAILED if tally.failed else 0


def _results(arguments: Namespace, files: Sequence[str], table: Table) -> Generator[list[Row]]:
    """The rows of each file, in their order."""
    options = reading_options(arguments) | {"data_sets": arguments.data_set}
    compute = partial(rows_of_files, table=table, reading=options, words=for_command_line)
    if arguments.cluster is None and (jobs := _jobs(arguments.jobs, len(files))) == 1:
        for bundle in batched(files, _BUNDLE, strict=False):
            yield from compute(bundle)
        return
    if arguments.cluster is None:
        from ._processes import map_in_order

        mapped = map_in_order(compute, files, jobs)
    else:
        from ._cluster import map_on_cluster

        mapped = map_on_cluster(compute, files, arguments.cluster)
    with closing(mapped) as results:
        for file, result in zip(files, results, strict=True):
            yield [table.failed(file, result.reason)] if isinstance(result, Lost) else result


def _jobs(asked: int | None, files: int) -> int:
    return asked or min(os.process_cpu_count() or 1, -(-files // _FILES_A_PROCESS))
