"""The faults that tools/mutate plants."""

import ast
import os
import subprocess
from collections.abc import Iterable
from pathlib import Path

import mutants
import pytest

PYTHON = '''"""Text with 1 < 2."""
def total(a: int, b=3):
    if a < b and "é 1 < 2":
        raise ValueError(f"{a + b}")
    self.sum = sum([a, b], True)
    return a * b + 1.5
'''
CPP = """#define SIZE 3
// a < 1
std::vector<int> f(int a, int b) {
    const char* text = "1 < 2";
    if (a < b && f(a, b)) throw std::runtime_error("a + b");
    total_ += 2.0 * a;
    return {a - 1};
}
"""


def changes(found: Iterable[mutants.Mutant], source: str) -> list[str]:
    """Of each fault the line that it makes."""
    lines = []
    for mutant in found:
        old, new = source.splitlines(), mutant.applied_to(source).splitlines()
        (line,) = [line for before, line in zip(old, new, strict=True) if before != line]
        lines.append(line.strip())
    return sorted(lines)


def test_faults_in_python() -> None:
    found = mutants.sites("a.py", PYTHON)
    assert changes(found, PYTHON) == sorted([
        "def total(a: int, b=4):",
        'if a <= b and "é 1 < 2":',
        'if a < b or "é 1 < 2":',
        'if not (a < b and "é 1 < 2"):',
        "pass",
        "pass",
        "self.sum = sum(True, [a, b])",
        "self.sum = sum([a, b], False)",
        "return a / b + 1.5",
        "return a * b - 1.5",
        "return a * b + 1.6500000000000001",
    ])  # fmt: skip
    for mutant in found:
        ast.parse(mutant.applied_to(PYTHON))


def test_faults_in_cpp() -> None:
    throw = 'throw std::runtime_error("a + b");'
    assert changes(mutants.sites("a.cpp", CPP), CPP) == sorted([
        f"if (a <= b && f(a, b)) {throw}",
        f"if (a < b || f(a, b)) {throw}",
        f"if (!(a < b && f(a, b))) {throw}",
        f"if (a < b && f(b, a)) {throw}",
        "if (a < b && f(a, b)) ;",
        ";",
        "total_ -= 2.0 * a;",
        "total_ += 2.2 * a;",
        "total_ += 2.0 / a;",
        "return {a + 1};",
        "return {a - 2};",
    ])  # fmt: skip


def test_the_seed_determines_the_faults() -> None:
    files = {"a.py": PYTHON, "b.cpp": CPP}
    first = mutants.choose(files, 12, 1)
    assert len(set(first)) == 12
    assert mutants.choose(dict(reversed(files.items())), 12, 1) == first
    assert mutants.choose(files, 12, 2) != first
    assert len(mutants.choose(files, 1000, 1)) == 22


@pytest.mark.parametrize(
    ("near", "first"),
    [
        ("src/vekanalysis/certificates/_limits.py", "test_limits.py"),
        ("src/vekanalysis/uncertainty/_budget.py", "test_uncertainty_budgets.py"),
        ("src/python/add_fitting_module.cpp", "test_fitting.py"),
    ],
)
def test_tests_of_a_source_come_first(
    monkeypatch: pytest.MonkeyPatch, near: str, first: str
) -> None:
    monkeypatch.setattr(mutants, "TREE", mutants.ROOT)
    tests = mutants.python_tests(near)
    assert tests[0].endswith(f"/{first}")
    assert len(set(tests)) > 25


def test_suites_of_a_source(monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setattr(mutants, "TREE", mutants.ROOT)
    assert "SRGBValues" in mutants.cpp_suites("src/colorimetry/srgb.hpp")
    assert mutants.cpp_suites("src/core/no_such.cpp") == []


def test_what_was_put_right_is_newer_than_its_objects(
    monkeypatch: pytest.MonkeyPatch, tmp_path: Path
) -> None:
    root, tree = tmp_path / "root", tmp_path / "tree"
    root.mkdir()
    subprocess.run(["git", "init", "-q", root], check=True)
    for name in ("same.cpp", "wrong.cpp"):
        (root / name).write_text("right")
        os.utime(root / name, (1e9, 1e9))
    monkeypatch.setattr(mutants, "ROOT", root)
    monkeypatch.setattr(mutants, "TREE", tree)
    mutants.copy_checkout()
    (tree / "wrong.cpp").write_text("wrong")
    (tree / "gone.cpp").write_text("of an older checkout")
    for path in tree.iterdir():
        os.utime(path, (2e9, 2e9) if path.name == "same.cpp" else (1.5e9, 1.5e9))
    mutants.copy_checkout()
    dates = {path.name: path.stat().st_mtime for path in tree.iterdir()}
    assert dates.keys() == {"same.cpp", "wrong.cpp"}
    assert dates["same.cpp"] == 2e9
    assert dates["wrong.cpp"] > 1.6e9
    assert (tree / "wrong.cpp").read_text() == "right"
