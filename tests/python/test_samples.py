"""The spectra that the package brings."""

import subprocess
import sys
from pathlib import Path
from typing import Any

import pytest

from vekanalysis import samples
from vekanalysis.samples import __main__ as command

EXAMPLES = Path(__file__).resolve().parents[2] / "examples"


@pytest.mark.parametrize("name", samples.names())
def test_samples_are_what_is_said_of_them(name: str) -> None:
    sample = samples.get(name)
    assert samples.path(name).read_bytes() == (EXAMPLES / sample.file).read_bytes()
    spectra = samples.read(name)
    assert len(spectra) == sample.spectra
    for spectrum in spectra:
        assert spectrum.kind == sample.kind
        assert (spectrum.unit == "1") == (sample.kind == "transmittance")
        if spectrum.unit == "1":
            values = spectrum.scan.values()
            assert -0.002 < min(values) < 0.1 < 0.6 < max(values) < 0.7, "fractions, not per cent"
        assert spectrum.metadata["provenance"] == sample.provenance


def test_an_unknown_sample_is_refused() -> None:
    with pytest.raises(ValueError, match="no sample is named 'lens'; there are grey-glass, "):
        samples.read("lens")


def write(place: Path, **streams: Any) -> subprocess.CompletedProcess[str]:
    line = [sys.executable, "-P", "-m", "vekanalysis.samples", str(place)]
    pipes: Any = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE} | streams
    return subprocess.run(line, text=True, **pipes)


TITLES = {samples.get(name).file: samples.get(name).title for name in samples.names()} | {
    "lab.toml": "Settings of a laboratory, for certificates",
    "budget.toml": "Uncertainty budget",
    "limits-categories.toml": "Limits of filter categories, to be checked against the standard",
    "uncertainty/repeats.toml": "Uncertainty budget of the mean of repeats",
    "calibration/steps.csv": "Micro-steps and wavelengths of a monochromator",
    "calibration/start.json": "Parameters of its drawings",
}


def test_the_samples_are_written_into_a_folder_and_overwrite_nothing(tmp_path: Path) -> None:
    folder = tmp_path / "new" / "examples"
    (folder / "uncertainty").mkdir(parents=True)
    mine = ("line-lamp.csv", "uncertainty/repeats.toml")
    for name in mine:
        (folder / name).write_text("mine")
    done = write(folder)
    told = [f"{folder / file}: {title}" for file, title in TITLES.items() if file not in mine]
    assert (done.returncode, done.stdout.splitlines()) == (0, told)
    assert done.stderr == "".join(f"{folder / name} is there already\n" for name in mine)
    written = {str(path.relative_to(folder)): path for path in folder.rglob("*.*")}
    assert written.keys() == TITLES.keys()
    for file, path in written.items():
        expected = b"mine" if file in mine else (EXAMPLES / file).read_bytes()
        assert path.read_bytes() == expected
    refused = write(folder / "line-lamp.csv")
    assert (refused.returncode, refused.stdout) == (1, "")
    assert refused.stderr == (
        f"python -m vekanalysis.samples: [Errno 17] File exists: '{folder / 'line-lamp.csv'}'\n"
    )


@pytest.mark.skipif(not Path("/dev/full").exists(), reason="there is no device that is full")
def test_files_are_written_whether_or_not_anybody_can_be_told(tmp_path: Path) -> None:
    with open("/dev/full", "w") as full:
        done = write(tmp_path / "a", stdout=full)
        assert done.returncode == 1
        assert done.stderr == ("python -m vekanalysis.samples: standard output cannot be written\n")
        silent = write(tmp_path / "a", stderr=full)
        assert (silent.returncode, silent.stdout) == (0, "")
    assert {str(path.relative_to(tmp_path / "a")) for path in tmp_path.rglob("*.*")} == {*TITLES}


def test_an_interrupt_ends_the_writing_quietly(monkeypatch: pytest.MonkeyPatch) -> None:
    def interrupted(folder: Path) -> None:
        raise KeyboardInterrupt

    monkeypatch.setattr(command, "write", interrupted)
    monkeypatch.setattr(sys, "argv", ["samples", "folder"])
    assert command.main() == 130
