"""A function over many items, in processes of which any may die."""

import multiprocessing
import os
import signal
from collections import deque
from collections.abc import Callable, Generator, Iterable, Iterator, Sequence
from contextlib import contextmanager, suppress
from multiprocessing import resource_tracker
from multiprocessing.connection import Connection, wait
from typing import Any, NamedTuple

# Items that a process has at a time, so that it need not wait for its next one.
_AHEAD = 2
# Results a process that may wait for that of an earlier item.
_WAITING = 64
# Seconds that a process may take to end after it has closed its line.
_PATIENCE = 5.0


class Lost(NamedTuple):
    """In place of the result of an item: what became of the process that had it."""

    reason: str


class CannotStart(Exception):
    """A process could not be started, or the first ended before it did anything."""


class _Worker[Item, Result]:
    """A process and the items that it has, the one that it is at first."""

    def __init__(self, function: Callable[[Item], Result]) -> None:
        self._items: deque[int] = deque()
        self._started = False
        try:
            # Nobody else has the other end, so the death of either side closes the line for the
            # other.
            self.line, other_end = multiprocessing.Pipe()
            self._process = multiprocessing.Process(
                target=_serve, args=(other_end, function), daemon=True
            )
            if os.name == "posix":
                # First, since its start lets the signals through again.
                resource_tracker.ensure_running()
            # Ctrl-C is for the process that hands out the items.
            with other_end, interrupts_held():
                self._process.start()
        except OSError as error:
            raise CannotStart(error.strerror or str(error)) from None

    def has_room(self) -> bool:
        return len(self._items) < _AHEAD

    def give(self, index: int, item: Item) -> None:
        self._items.append(index)
        # When it has died, the next look at the line tells.
        with suppress(OSError):
            self.line.send(item)

    def receive(self, results: dict[int, Result | Lost]) -> bool:
        """Take one result, or the mark of the start; return whether the process lives."""
        try:
            answer = self.line.recv()
        except EOFError, OSError:
            return False
        if self._started:
            results[self._items.popleft()] = answer
        self._started = True
        return True

    def lose(self, results: dict[int, Result | Lost]) -> Iterable[int]:
        """Settle the item with which the process died; return those that it has not begun."""
        self._process.join(_PATIENCE)
        status = self._process.exitcode
        if status is not None and status < 0:
            reason = f"the process that read it was ended by {signal.Signals(-status).name}"
        else:
            reason = f"the process that read it ended with status {status}"
        self.end()
        if self._items:
            results[self._items.popleft()] = Lost(reason)
        return self._items

    def end(self) -> None:
        self.line.close()
        self._process.kill()
        self._process.join()


def map_in_order[Item, Result](
    function: Callable[[Item], Result], items: Sequence[Item], jobs: int
) -> Generator[Result | Lost]:
    """The results of ``items``, in their order, computed in ``jobs`` processes.

    Each comes as soon as those before it are there; so many may wait, and no more. An item with
    which its process dies gives ``Lost``, and another process takes over.
    """
    results: dict[int, Result | Lost] = {}
    any_started = False
    left = deque(range(len(items)))
    workers: list[_Worker[Item, Result]] = []
    try:
        workers += (_Worker(function) for _ in range(min(jobs, len(items))))
        for current in range(len(items)):
            while current not in results:
                horizon = current + _WAITING * jobs
                for worker in workers:
                    while left and left[0] < horizon and worker.has_room():
                        index = left.popleft()
                        worker.give(index, items[index])
                ready = wait([worker.line for worker in workers])
                for place, worker in enumerate(workers):
                    if worker.line not in ready:
                        continue
                    if worker.receive(results):
                        any_started = True
                        continue
                    left.extendleft(reversed([*worker.lose(results)]))
                    if not any_started:
                        raise CannotStart("it ended at once")
                    workers[place] = _Worker(function)
            yield results.pop(current)
    finally:
        for worker in workers:
            worker.end()


def _serve(connection: Connection, function: Callable[[Any], object]) -> None:
    """What a process does: say that it is there, then answer until nobody asks any more."""
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    try:
        connection.send(None)
        while True:
            connection.send(function(connection.recv()))
    except EOFError, OSError:
        pass


@contextmanager
def interrupts_held() -> Iterator[None]:
    """Let Ctrl-C wait, where the system can; processes started meanwhile never get it."""
    if not hasattr(signal, "pthread_sigmask"):
        yield
        return
    mask = signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGINT})
    try:
        yield
    finally:
        signal.pthread_sigmask(signal.SIG_SETMASK, mask)
