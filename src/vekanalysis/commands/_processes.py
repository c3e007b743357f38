"""A function over many items, in processes of which any may die."""

import multiprocessing
import os
import signal
import threading
from collections import deque
from collections.abc import Callable, Generator, Sequence
from concurrent.futures import Future, ProcessPoolExecutor
from concurrent.futures.process import BrokenProcessPool
from contextlib import closing
from itertools import batched
from multiprocessing import resource_tracker
from typing import Any

from ._errors import CannotStart, Lost
from ._output import interrupts_held

# Items that travel together, at most, and how many of these bundles a process are under way.
_BUNDLE = 32
_AHEAD = 4


_ENDED = Lost("the process that read it was ended, twice")


def map_in_order[Item, Result](
    function: Callable[[Sequence[Item]], list[Result]], items: Sequence[Item], jobs: int
) -> Generator[Result | Lost]:
    """The results of ``items``, in their order, computed in ``jobs`` processes.

    The function takes some items at a time, and gives a result for each.
    Each comes as soon as those before it are there, and memory does not grow with their number.
    When a process dies, what was under way is tried again, each item in a process by itself; one
    that ends its process once more gives ``Lost``.
    """
    size = max(1, min(_BUNDLE, len(items) // (_AHEAD * jobs)))
    bundles = deque(batched(items, size, strict=False))
    waiting: deque[tuple[tuple[Item, ...], Future[list[Result]]]] = deque()
    with closing(_Pool(jobs)) as pool, closing(_Pool(1)) as one:
        while bundles or waiting:
            while bundles and len(waiting) < _AHEAD * jobs:
                bundle = bundles.popleft()
                waiting.append((bundle, pool.submit(function, bundle)))
            bundle, future = waiting.popleft()
            try:
                yield from future.result()
            except BrokenProcessPool:
                for item in bundle:
                    try:
                        yield from one.submit(function, (item,)).result()
                    except BrokenProcessPool:
                        yield _ENDED


class _Pool:
    """Processes, started when they are needed first, and anew when one has died."""

    def __init__(self, jobs: int) -> None:
        self._jobs = jobs
        self._pool: ProcessPoolExecutor | None = None

    def submit[**P, Result](
        self, function: Callable[P, Result], *arguments: P.args, **options: P.kwargs
    ) -> Future[Result]:
        if self._pool is not None:
            try:
                return self._pool.submit(function, *arguments, **options)
            except BrokenProcessPool:
                pass
        self._pool = _started(self._jobs)
        return self._pool.submit(function, *arguments, **options)

    def close(self) -> None:
        if self._pool is None:
            return
        results: Any = vars(self._pool).get("_result_queue")
        self._pool.kill_workers()
        if results is not None:
            # A process that is ended amidst a result leaves the thread that reads it waiting for
            # the rest, and the end of this process with it, for as long as there is a writer.
            results._writer.close()


def _started(jobs: int) -> ProcessPoolExecutor:
    """Processes of which one has shown that it can start."""
    try:
        if os.name == "posix":
            # First, since its start lets the signals through again.
            resource_tracker.ensure_running()
        # Ctrl-C is for the process that hands out the items.
        with interrupts_held():
            pool = ProcessPoolExecutor(jobs, initializer=_begin)
            pool.submit(os.getpid).result()
    except (OSError, BrokenProcessPool) as error:
        raise CannotStart(getattr(error, "strerror", None) or "it ended at once") from None
    return pool


def _begin() -> None:
    """What a process does first: it ends with the one that asks, and does not hear Ctrl-C."""
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    if hasattr(signal, "pthread_sigmask"):
        signal.pthread_sigmask(signal.SIG_UNBLOCK, {signal.SIGTERM})
    threading.Thread(target=_end_with_parent, daemon=True).start()


def _end_with_parent() -> None:
    parent = multiprocessing.parent_process()
    if parent is not None:
        parent.join()
        os._exit(1)
