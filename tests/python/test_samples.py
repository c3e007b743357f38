"""The spectra that the package brings."""

import subprocess
import sys
from pathlib import Path

import pytest

from vekanalysis import samples

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


def test_the_samples_are_written_into_a_folder_and_overwrite_nothing(tmp_path: Path) -> None:
    folder = tmp_path / "new" / "examples"
    folder.mkdir(parents=True)
    (folder / "line-lamp.csv").write_text("mine")

    def write(place: Path) -> subprocess.CompletedProcess[str]:
        command = [sys.executable, "-P", "-m", "vekanalysis.samples", str(place)]
        return subprocess.run(command, capture_output=True, text=True)

    done = write(folder)
    assert (done.returncode, done.stderr.count("is there already")) == (0, 1)
    assert (folder / "line-lamp.csv").read_text() == "mine"
    written = [path.relative_to(folder) for path in folder.rglob("*.*")]
    assert {*map(Path, (samples.get(name).file for name in samples.names()))} < {*written}
    for path in written:
        is_mine = path.name == "line-lamp.csv"
        assert is_mine or (folder / path).read_bytes() == (EXAMPLES / path).read_bytes()
    assert {path.suffix for path in written} == {".csv", ".vek", ".toml", ".json"}
    refused = write(folder / "line-lamp.csv")
    assert (refused.returncode, "Traceback" in refused.stderr) == (1, False)
