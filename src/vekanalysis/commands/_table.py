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
from ..reports import Table
from ._arguments import reading_options
from ._errors import CannotStart, CommandError, Lost
from ._files import input_files
from ._groups import check_pattern
from ._objects import Step, rows_of_objects
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
    pattern = arguments.group
    if pattern is not None:
        check_pattern(pattern)
        if arguments.jobs or arguments.cluster:
            raise CommandError("--group reads all files here: leave out --jobs and --cluster")
    files = input_files(arguments.files, output, arguments.pattern)
    tally = Tally(len(files), "spectrum" if pattern is None else "object")
    try:
        with (
            Output(output) as out,
            Progress(len(files), hidden=output == "-" and sys.stdout.isatty()) as progress,
            closing(_steps(arguments, files, table)) as bundles,
        ):
            facts = len(table.facts)
            texts, numbers = table.keys[:facts], table.keys[facts:]
            out.write(csv_line(table.titles, []))
            for bundle in bundles:
                lines = [
                    csv_line([row[key] for key in texts], [row[key] for key in numbers])
                    for step in bundle
                    for row in step.rows
                ]
                # All rows of a file, counted, or none; a pipe may take for ever, so there not.
                with interrupts_held() if output != "-" else nullcontext():
                    if lines:
                        out.write("".join(lines))
                    for name, rows, read in bundle:
                        tally.add(name, rows, read)
                progress.show(tally.done, tally.failed)
    except CannotStart as error:
        raise CommandError(f"a process for the files could not be started: {error}") from None
    except KeyboardInterrupt:
        note(f"interrupted: {tally}")
        raise
    note(str(tally))
    return _SOME_FAILED if tally.failed else 0


def _steps(arguments: Namespace, files: Sequence[str], table: Table) -> Generator[Sequence[Step]]:
    """Steps to the table, those together that are there together."""
    options = reading_options(arguments) | {"data_sets": arguments.data_set}
    if arguments.group is not None:
        for step in rows_of_objects(files, table, options, arguments.group):
            yield [step]
        return
    compute = partial(rows_of_files, table=table, reading=options, words=for_command_line)
    if arguments.cluster is None and (jobs := _jobs(arguments.jobs, len(files))) == 1:
        for bundle in batched(files, _BUNDLE, strict=False):
            yield [*map(Step, bundle, compute(bundle), strict=True)]
        return
    if arguments.cluster is None:
        from ._processes import map_in_order

        mapped = map_in_order(compute, files, jobs)
    else:
        from ._cluster import map_on_cluster

        mapped = map_on_cluster(compute, files, arguments.cluster)
    with closing(mapped) as results:
        for file, result in zip(files, results, strict=True):
            rows = [table.failed(file, result.reason)] if isinstance(result, Lost) else result
            yield [Step(file, rows)]


def _jobs(asked: int | None, files: int) -> int:
    return asked or min(os.process_cpu_count() or 1, -(-files // _FILES_A_PROCESS))
