"""What the tests of the command line share: input files, and running a command."""

from __future__ import annotations

import json
import re
from collections.abc import Iterable, Mapping, Sequence
from pathlib import Path
from typing import Any, NamedTuple

import pytest
from vekwriter import Contents, DataSet

from vekanalysis.__main__ import main

ROOT = Path(__file__).resolve().parents[2]
GREY = str(ROOT / "examples/grey-glass-4mm.csv")
BRONZE = str(ROOT / "examples/bronze-glass-4mm.csv")


def rows(name: str, folder: str = "reading") -> list[Any]:
    """The cases of a file in a folder of tests/data, a JSON list a line."""
    text = (ROOT / "tests/data" / folder / name).read_text("utf-8")
    return [json.loads(line) for line in text.splitlines()]


def each_call(refused: Mapping[tuple[type[Exception], str], Iterable[Any]]) -> pytest.MarkDecorator:
    """A test of each call in a table by the error that refuses it and what that says."""
    cases = [(call, *how) for how, calls in refused.items() for call in calls]
    return pytest.mark.parametrize(("call", "error", "told"), cases)


def repeated(text: str, size: int = 0) -> str:
    """A text with parts repeated: ``«ab»`` as often as the size, ``«3*a{i}»`` as ``a0a1a2``."""

    def part(match: re.Match[str]) -> str:
        times = int(match[1] or size)
        if "{i}" not in match[2]:
            return match[2] * times
        return "".join(match[2].replace("{i}", str(i)) for i in range(times))

    return re.sub("(?s)«(?:([0-9]+)[*])?(.*?)»", part, text)


type Points = Sequence[tuple[float, float]]


class Result(NamedTuple):
    status: int
    out: str
    err: str

    @property
    def document(self) -> Any:
        """The standard output as JSON, which must be strict."""
        assert self.status == 0, self.err
        return json.loads(self.out, parse_constant=pytest.fail)

    def value(self, key: str, column: int = 0) -> Any:
        """A figure of a JSON report."""
        (quantity,) = [item for item in self.document["quantities"] if item["key"] == key]
        return quantity["values"][column]


class Runner:
    """Runs commands in this process."""

    def __init__(self, capsys: pytest.CaptureFixture[str]) -> None:
        self._capsys = capsys

    def __call__(self, *arguments: object) -> Result:
        self._capsys.readouterr()
        status = main([str(argument) for argument in arguments])
        return Result(status, *self._capsys.readouterr())

    def output(self) -> str:
        """What a command that did not return has written."""
        return self._capsys.readouterr().out

    def refuse(self, *arguments: object) -> str:
        """The reason for which a command is refused, which is told in one line."""
        status, out, err = self(*arguments)
        assert (status, out, err.count("\n"), err[-1:]) == (2, "", 1, "\n")
        assert err.startswith("vekanalysis: ")
        return err.strip().removeprefix("vekanalysis: ")


def flat(value: float, first: int = 280, last: int = 780, step: int = 5) -> Points:
    return [(float(wl), value) for wl in range(first, last + 1, step)]


def write_csv(path: Path, points: Points) -> Path:
    path.write_text("".join(f"{wl!r},{value!r}\n" for wl, value in points))
    return path


def write_vek(path: Path, data_sets: Iterable[tuple[str, Points]], **contents: Any) -> Path:
    sets = [DataSet(name, points) for name, points in data_sets]
    path.write_bytes(Contents(data_sets=sets, **contents).file())
    return path


def mistakes(name: str) -> list[tuple[str, str]]:
    """Texts of files that are wrong, each with what is told of it, ``{}`` being the folder."""
    text = (ROOT / "tests/data/mistakes" / name).read_text("utf-8")
    return re.findall(r"((?:(?!=> ).*\n)*)=> (.*)\n", text)
