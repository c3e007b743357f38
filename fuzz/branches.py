"""Which branches of Python code are taken, as the interpreter tells it."""

from __future__ import annotations

import importlib.util
import inspect
import sys
from collections.abc import Iterator
from types import CodeType


class Branches:
    """Notes the branches that are taken from now on. Each costs time when it is taken first."""

    def __init__(self) -> None:
        self._taken: set[tuple[CodeType, int, int]] = set()
        monitoring = sys.monitoring
        monitoring.use_tool_id(monitoring.COVERAGE_ID, "fuzz")
        events = (monitoring.events.BRANCH_LEFT, monitoring.events.BRANCH_RIGHT)
        for event in events:
            monitoring.register_callback(monitoring.COVERAGE_ID, event, self._take)
        monitoring.set_events(monitoring.COVERAGE_ID, events[0] | events[1])

    def _take(self, code: CodeType, source: int, target: int) -> object:
        self._taken.add((code, source, target))
        return sys.monitoring.DISABLE

    def report(self, module: str) -> tuple[int, int, list[int]]:
        """Branches in the functions of a module: taken, in all, and the lines of the others."""
        taken = count = 0
        lines: set[int] = set()
        for code in functions(module):
            for source, *targets in code.co_branches():
                for target in targets:
                    count += 1
                    if (code, source, target) in self._taken:
                        taken += 1
                    else:
                        position = [*code.co_positions()][source // 2]
                        lines.add(position[0] or code.co_firstlineno)
        return taken, count, sorted(lines)


def functions(module: str) -> Iterator[CodeType]:
    """The code of a module's functions, and of those within them."""
    spec = importlib.util.find_spec(module)
    assert spec is not None
    open_ones: list[CodeType] = [spec.loader.get_code(module)]  # type: ignore[union-attr]
    while open_ones:
        code = open_ones.pop()
        is_function = code.co_flags & inspect.CO_NEWLOCALS
        if is_function and code.co_name != "__annotate__":
            yield code
        open_ones += [each for each in code.co_consts if isinstance(each, CodeType)]
