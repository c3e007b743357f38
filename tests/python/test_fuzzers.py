"""A short run of the fuzzers that are Python programs, always with the same inputs."""

import random
import sys
from collections.abc import Iterator
from pathlib import Path

import pytest

FUZZ = Path(__file__).resolve().parents[2] / "fuzz"
sys.path.insert(0, str(FUZZ))
import fuzz_objects  # noqa: E402
import fuzz_read  # noqa: E402
import fuzz_toml  # noqa: E402

sys.path.remove(str(FUZZ))


@pytest.mark.parametrize("form", fuzz_read.PATTERNS)
def test_damage_at_random_is_read_or_refused(form: str) -> None:
    inputs: Iterator[bytes] = fuzz_read.inputs(form, random.Random(form))
    outcomes = [fuzz_read.check(next(inputs)) for _ in range(300)]
    # Most damage is refused, and some cannot be seen.
    assert 5 < sum(outcomes) < 250


@pytest.mark.parametrize("sort", fuzz_toml.READERS)
def test_damaged_settings_are_taken_or_refused(sort: str, tmp_path: Path) -> None:
    chance = random.Random(sort)
    inputs = [fuzz_toml.an_input(sort, chance) for _ in range(150)]
    outcomes = [fuzz_toml.check(sort, content, tmp_path) for content in inputs]
    assert 5 < sum(outcomes) < 140


@pytest.mark.parametrize(("name", "fewest"), [("states", 20), ("arithmetic", 250)])
def test_objects_keep_their_laws(name: str, fewest: int) -> None:
    outcomes = [fuzz_objects.CHECKS[name](random.Random(f"{name} {i}")) for i in range(300)]
    assert sum(outcomes) >= fewest
