"""Settings of all tests."""

import pytest
from cli import Runner


@pytest.fixture
def run(capsys: pytest.CaptureFixture[str]) -> Runner:
    return Runner(capsys)
