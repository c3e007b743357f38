"""What became of the files of a batch, in a sentence."""

import re
from collections.abc import Sequence

from ..reports import Row, shortened

# The kinds of failure that the sentence names.
_KINDS = 5


class Tally:
    """How many files are done and failed, and for which reasons."""

    def __init__(self, total: int, made: str = "spectrum") -> None:
        """``made`` is what there is a row of."""
        self.done = 0
        self.failed = 0
        self._total = total
        self._made = made
        self._rows = 0
        # By kind of reason: how many files, the first of them and its reason.
        self._kinds: dict[str, tuple[int, str, str]] = {}

    def add(self, name: str, rows: Sequence[Row], files: int = 1) -> None:
        """Count the rows of that name, which there are after so many more files."""
        self.done += files
        if not rows:
            return
        reason = rows[0]["error"]
        if reason is None:
            self._rows += len(rows)
            return
        self.failed += 1
        reason = str(reason).removeprefix(f"{name}: ")
        # Line numbers, figures and quoted text differ from file to file.
        kind = re.sub(r"'.*'|[0-9][0-9.e+-]*", "", reason)
        count, first, example = self._kinds.get(kind, (0, name, reason))
        self._kinds[kind] = count + 1, first, example

    def __str__(self) -> str:
        """``3 files, 2 spectra; 1 failed: the file is empty (a.csv)``."""
        done = f"{self.done:,} of " if self.done < self._total else ""
        text = f"{done}{_counted(self._total, 'file')}, {_counted(self._rows, self._made)}; "
        if not self.failed:
            return text + "none failed"
        kinds = sorted(self._kinds.values(), key=lambda kind: -kind[0])
        reasons = []
        for count, first, reason in kinds[:_KINDS]:
            where = first if count == 1 else f"{count:,} files, first {first}"
            reasons.append(f"{_with_remedy(reason)} ({where})")
        if kinds[_KINDS:]:
            reasons.append(f"other reasons ({_counted(sum(k[0] for k in kinds[_KINDS:]), 'file')})")
        return f"{text}{self.failed:,} failed: {'; '.join(reasons)}"


def _with_remedy(reason: str) -> str:
    """The reason, cut where it is long, and what can be done, whole."""
    what, semicolon, remedy = reason.partition("; ")
    return f"{shortened(what, 80)}{semicolon}{remedy}"


def _counted(count: int, noun: str) -> str:
    plural = "spectra" if noun == "spectrum" else f"{noun}s"
    return f"{count:,} {noun if count == 1 else plural}"
