"""A function over many files on the workers of a Dask scheduler, of which any may die."""

import logging
import os
from collections import deque
from collections.abc import Callable, Generator, Sequence
from itertools import batched
from typing import Any

from .._core import version
from ..reports import Row
from ._errors import CommandError, Lost

# Files that travel together, and how many of these bundles a thread of the cluster are under way.
_BUNDLE = 32
_AHEAD = 3
# Seconds in which the scheduler has to answer.
_PATIENCE = 5

type _Rows = list[Row]
type _Function = Callable[[Sequence[str]], list[_Rows]]


def map_on_cluster(
    function: _Function, files: Sequence[str], address: str
) -> Generator[_Rows | Lost]:
    """The rows of ``files``, in their order, computed by the workers of a scheduler.

    Files go by path: their names must mean the same to the workers. What a worker had that is lost
    goes to another; a file that ends several gives ``Lost``.
    """
    distributed = _distributed()
    try:
        client = distributed.Client(address, timeout=_PATIENCE, set_as_default=False)
    except (OSError, ValueError) as error:
        raise CommandError(f"--cluster {address}: no scheduler answers: {error}") from None
    lost = (distributed.CancelledError, OSError)
    with client:
        try:
            yield from _rows(client, function, files, distributed.KilledWorker)
        except lost as error:
            raise CommandError(f"--cluster {address}: the scheduler is gone: {error}") from None
        except _Unfit as error:
            raise CommandError(f"--cluster {address}: {error}") from None


class _Unfit(Exception):
    """The workers cannot do it."""


def _distributed() -> Any:
    # What its parts say of each other's deaths is none of the user's business.
    logging.getLogger("distributed").setLevel(logging.CRITICAL)
    try:
        import distributed
    except ImportError:
        raise CommandError(
            "--cluster needs Dask's distributed: pip install 'vekanalysis[dask]'; "
            "in a checkout, tools/setup dask"
        ) from None
    return distributed


def _rows(
    client: Any, function: _Function, files: Sequence[str], killed: type[Exception]
) -> Generator[_Rows | Lost]:
    ours = version()
    threads = max(1, sum(client.nthreads().values()))
    bundles = deque(batched(files, min(_BUNDLE, -(-len(files) // threads)), strict=False))
    waiting: deque[tuple[tuple[str, ...], Any]] = deque()
    while bundles or waiting:
        while bundles and len(waiting) < _AHEAD * threads:
            bundle = bundles.popleft()
            waiting.append((bundle, _submitted(client, function, bundle, ours)))
        bundle, future = waiting.popleft()
        try:
            yield from _result(future)
        except killed:
            for file in bundle:
                try:
                    yield from _result(_submitted(client, function, (file,), ours))
                except killed:
                    yield Lost("the workers that read it were ended")


def _submitted(client: Any, function: _Function, files: Sequence[str], ours: str) -> Any:
    paths = [(file, os.path.abspath(file)) for file in files]
    return client.submit(_map, function, paths, ours, pure=False)


def _result(future: Any) -> list[_Rows]:
    try:
        result: list[_Rows] | str = future.result()
    except ImportError as error:
        raise _Unfit(f"a worker cannot import vekanalysis: {error}") from None
    if isinstance(result, str):
        raise _Unfit(f"a worker has vekanalysis {result}, this is {version()}")
    return result


def _map(function: _Function, paths: Sequence[tuple[str, str]], ours: str) -> list[_Rows] | str:
    """The rows of each file under the first of its names; the version of the worker if another."""
    if version() != ours:
        return version()
    found = function([path for _, path in paths])
    return [
        [row | {"file": name} for row in rows] for (name, _), rows in zip(paths, found, strict=True)
    ]
