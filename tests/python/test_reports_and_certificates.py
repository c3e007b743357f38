"""Whole outputs, as tests/data/printed has them: commands, and all that they print or write.

``PYTHONPATH=tools python tests/python/test_reports_and_certificates.py`` writes these files anew.
What it changes is to be read.
"""

import contextlib
import io
import json
import math
import re
import shlex
import shutil
from pathlib import Path
from typing import Any

import pytest
from cli import ROOT, flat, write_csv, write_vek

import vekanalysis as vek
from vekanalysis.__main__ import main

PRINTED = ROOT / "tests/data/printed"
# What is the machine's or the version's: the last bits, digests of what has them, our version.
OUT_OF = {
    r"-?\b[0-9]+(?:\.[0-9]{7,}|(?:\.[0-9]+)?(?=e-))(?:e[+-][0-9]+)?\b": lambda found: repr(
        float(f"{round(float(found[0]), 10):.6g}")
    ),
    r"\b[0-9a-f]{64}\b": lambda found: "(digest)",
    re.escape(vek.__version__): lambda found: "(version)",
    r"(?s)<style>.*?</style>|style-src &#39;.*?&#39;": lambda found: "(style)",
}

OVERLAPPING = {"up": range(400, 460, 10), "down": range(425, 475, 5), "all": range(390, 480, 10)}


def make_inputs(folder: Path) -> None:
    """What the commands name, besides the examples."""
    shutil.copytree(ROOT / "examples", folder, dirs_exist_ok=True)
    for path in PRINTED.glob("*.toml"):
        shutil.copy(path, folder)
    for number, value in enumerate((0.4, 0.5, 0.62), start=1):
        write_csv(folder / f"lens_{number}.csv", [(wl, value - wl / 1e4) for wl, _ in flat(0)])
    write_csv(folder / "dark.csv", [(wl, 2e-5 if wl > 400 else -3e-5) for wl, _ in flat(0)])
    write_csv(folder / "short.csv", flat(0.25, 500, 600))
    write_csv(folder / "one.csv", [(550.0, 0.004)])
    write_csv(folder / "opaque.csv", flat(0, step=10))
    write_csv(folder / "wide.csv", [(wl, 0.9 - wl / 1e4) for wl, _ in flat(0, 250, 1450, 50)])
    lamp = ((wl, 1.01 + math.sin(wl / 40)) for wl, _ in flat(0, 300, 830))
    rows = "".join(f"{wl:g};{value!r};{value!r}\n" for wl, value in lamp)
    (folder / "lamp.txt").write_text(f"Lamp 3\nnm;E [mW/(m^2*nm)];S [counts]\n{rows}")
    sets = [("A", [(400, 1), (410, 2), (410, 3)]), ("=B", []), ("A", [(400, 4), (405, 5)])]
    write_vek(folder / "sets.vek", sets)
    over = [(name, [(wl, wl / 100) for wl in grid]) for name, grid in OVERLAPPING.items()]
    write_vek(folder / "over.vek", over, type_and_units=("Counts / counts", "7 1"))
    flags = {"has_timestamps": True, "apply_data_calibration": True, "apply_reference": True}
    write_vek(folder / "full.vek", sets[:1], scan_summary="two\nlines", **flags)
    write_csv(folder / "zigzag.csv", [(400, 1), (410, -1), (420, 1), (430, -1), (440, 0)])
    write_csv(folder / "slope.csv", [(wl, wl / 1000) for wl, _ in flat(0, 400, 430)])
    write_csv(folder / "uv.csv", [(wl, 0.5 + wl / 1e4) for wl, _ in flat(0, 285, 380)])


def printed_by(command: str) -> str:
    """What a command prints, or ``cat`` shows of a file."""
    name, *arguments = shlex.split(command)
    status = 0
    if name == "cat":
        text = "".join(f"{Path(each).read_text().rstrip()}\n" for each in arguments)
    else:
        out = io.TextIOWrapper(io.BytesIO(), "utf-8", write_through=True)
        with contextlib.redirect_stdout(out), contextlib.redirect_stderr(out):
            status = main([name, *arguments])
        text = out.buffer.getvalue().decode()
    if text.startswith("{"):
        text = in_lines(json.loads(text))
    text += f"(status {status})\n" * bool(status)
    for pattern, replacement in OUT_OF.items():
        text = re.sub(pattern, replacement, text)
    return text


def in_lines(document: dict[str, Any]) -> str:
    """JSON, an item a line."""
    parts = [
        (name, each)
        for name, value in document.items()
        for each in (value if isinstance(value, list) else [value])
    ]
    return "".join(f"{name}: {json.dumps(each, ensure_ascii=False)}\n" for name, each in parts)


def commands_in(path: Path) -> list[tuple[str, str]]:
    """The commands of a file, each with what it is to print."""
    parts = re.split(r"^\$ (.*)\n", path.read_text(), flags=re.MULTILINE)[1:]
    return [*zip(parts[::2], parts[1::2], strict=True)]


@pytest.mark.parametrize("name", sorted(path.stem for path in PRINTED.glob("*.txt")))
def test_all_is_printed_as_before(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch, name: str
) -> None:
    make_inputs(tmp_path)
    monkeypatch.chdir(tmp_path)
    for command, expected in commands_in(PRINTED / f"{name}.txt"):
        assert (command, printed_by(command)) == (command, expected)


def write_anew() -> None:
    import os
    import tempfile

    for path in sorted(PRINTED.glob("*.txt")):
        with tempfile.TemporaryDirectory() as folder:
            make_inputs(Path(folder))
            os.chdir(folder)
            path.write_text("".join(f"$ {c}\n{printed_by(c)}" for c, _ in commands_in(path)))


if __name__ == "__main__":
    write_anew()
