"""CSV spectra from Python; the forms of numbers are tested in C++."""

from __future__ import annotations

from pathlib import Path

import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

from vekanalysis import Interpolation, io

NUMBERS = st.floats(allow_nan=False, allow_infinity=False)
SEPARATORS = st.sampled_from([" ", ",", "\t", ";", " , ", ";;", "\t ;"])
LINE_ENDS = st.sampled_from(["\n", "\r\n", " \n\n", " "])


@settings(suppress_health_check=[HealthCheck.too_slow])
@given(st.lists(st.tuples(NUMBERS, SEPARATORS, NUMBERS, LINE_ENDS), max_size=20), st.booleans())
def test_written_pairs_are_read_back(
    tmp_path_factory: pytest.TempPathFactory,
    records: list[tuple[float, str, float, str]],
    last_end: bool,
) -> None:
    path = tmp_path_factory.getbasetemp() / "pairs.csv"
    written = "".join(f"{x!r}{separator}{y!r}{end}" for x, separator, y, end in records)
    path.write_text(written if last_end else written.rstrip(), newline="")
    scan = io.load_csv(path)
    points: dict[float, float] = {}
    for x, _, y, _ in records:
        # Keys closer than the scan's tolerance of 1e-20 are one.
        key = next((k for k in points if not (k + 1e-20 < x or x + 1e-20 < k)), x)
        points[key] = y
    assert list(scan.items()) == sorted(points.items())


def test_a_loaded_scan_has_the_default_settings(tmp_path: Path) -> None:
    path = tmp_path / "spectrum.csv"
    path.write_text("400,1.5\n401;2.5\n402\t3.5\n403 4.5\nend\n404,5.5\n")
    scan = io.load_csv(file_path=path)
    assert scan.to_numpy().tolist() == [[400.0, 401.0, 402.0, 403.0], [1.5, 2.5, 3.5, 4.5]]
    assert scan.epsilon == 1e-20
    assert scan.interpolation == Interpolation.AKIMA
