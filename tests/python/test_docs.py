"""The examples in the pages: Python blocks (doctests where they have prompts) and commands."""

import doctest
import importlib
import importlib.util
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
PAGES = [ROOT / "README.md", *sorted((ROOT / "docs").rglob("*.md"))]
BLOCK = re.compile(r"^(`{3,})(python|console|cpp|cmake)\n(.*?)^\1$", re.MULTILINE | re.DOTALL)
# What a reader of the page has as commands.
FUNCTIONS = """
python() { "$PYTHON" "$@"; }
vekanalysis() { python -P -m vekanalysis "$@"; }
"""
FLAGS = doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE


def blocks(page: Path, language: str) -> list[tuple[int, str]]:
    """Line number and text of every block in a language."""
    text = page.read_text()
    found = [block for block in BLOCK.finditer(text) if block[2] == language]
    return [(text[: block.start(3)].count("\n"), block[3]) for block in found]


def pages_with(language: str) -> list[object]:
    return [
        pytest.param(page, id=str(page.relative_to(ROOT)))
        for page in PAGES
        if blocks(page, language)
    ]


@pytest.fixture(autouse=True)
def folder_with_the_examples(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    shutil.copytree(ROOT / "examples", tmp_path / "examples")
    monkeypatch.chdir(tmp_path)


@pytest.mark.parametrize("page", pages_with("python"))
def test_python_blocks_run(page: Path) -> None:
    if page.parent == ROOT:
        shutil.rmtree("examples")  # What the README shows works with the package alone.
    code = "\n".join(code for _, code in blocks(page, "python"))
    for name in set(re.findall(r"^(?:>>> )?(?:import|from) (\w+)", code, re.MULTILINE)):
        if importlib.util.find_spec(name) is None:
            pytest.skip(f"{name} is not installed")
    namespace: dict[str, object] = {"__name__": "__main__"}
    runner = doctest.DocTestRunner(optionflags=FLAGS)
    for line, code in blocks(page, "python"):
        if code.startswith(">>>"):
            test = doctest.DocTestParser().get_doctest(code, namespace, page.name, str(page), line)
            runner.run(test, clear_globs=False)
            namespace = test.globs
        else:
            exec(compile("\n" * line + code, page, "exec"), namespace)
    assert runner.summarize(verbose=False).failed == 0


@pytest.mark.parametrize("page", pages_with("console"))
def test_commands_print_what_the_page_says(page: Path) -> None:
    environment = os.environ | {"PYTHON": sys.executable, "COLUMNS": "100"}
    for line, text in blocks(page, "console"):
        for example in re.split(r"^\$ ", text, flags=re.MULTILINE)[1:]:
            command, _, expected = example.partition("\n")
            script = "\n".join([FUNCTIONS, command.replace("./run ", "vekanalysis ")])
            done = subprocess.run(
                ["bash", "-c", script], env=environment, capture_output=True, text=True
            )
            output = done.stdout + done.stderr
            agree = doctest.OutputChecker().check_output(expected, output, FLAGS)
            assert agree, f"{page}:{line + 1}: $ {command}\n{output}"


def test_blocks_of_cpp_are_of_the_example_that_the_tests_build() -> None:
    example = [path.read_text() for path in (ROOT / "examples/cpp").iterdir()]
    shown = [code for page in PAGES for name in ("cpp", "cmake") for _, code in blocks(page, name)]
    assert len(shown) > 3
    assert [code for code in shown if not any(code in text for text in example)] == []


def test_the_error_table_has_every_message_and_no_other() -> None:
    ours = (ROOT / "docs/errors.md").read_text().partition("## From Python itself")[0]
    rows = re.findall(r"^\| `.*", ours.partition("## Scans")[2], re.MULTILINE)
    first_cells = "\n".join(re.split(r" \| (?=[^|])", row)[0] for row in rows)
    table = re.findall(r"`([^`]+)`", re.sub(r"\(`\w+`\)", "", first_cells.replace("\\|", "|")))
    sources = "".join(path.read_text() for path in (ROOT / "src").rglob("*.[ch]pp"))
    sources += "must be real number, not NoneType"  # PyFloat_AsDouble
    thrown = re.findall(
        r'(?:throw [\w:]+|std::(?:runtime_error|ios_base::failure))\("([^"]{9,})"', sources
    )
    assert len(thrown) > 30
    unknown = [message for message in thrown if not any(message in known for known in table)]
    gone = [known for known in table if not all(part in sources for part in known.split("…"))]
    assert (unknown, gone) == ([], [])


def test_arrows_of_a_dark_picture_are_light_although_its_fills_are_kept(
    monkeypatch: pytest.MonkeyPatch,
) -> None:
    for name in ("sphinx", "matplotlib"):
        pytest.importorskip(name)
    monkeypatch.syspath_prepend(ROOT / "docs/_extensions")
    picture = importlib.import_module("picture")
    from matplotlib.colors import to_rgb
    from matplotlib.figure import Figure

    figure = Figure()
    axes = figure.add_subplot()
    arrow = axes.annotate("", (1, 1), (0, 0), arrowprops={"arrowstyle": "->"}).arrow_patch
    bar = axes.axvspan(0.2, 0.4, facecolor="#400040")
    picture.darken(figure, keeps_fills=True)
    assert min(to_rgb(arrow.get_edgecolor())) > 0.8
    assert to_rgb(bar.get_facecolor()) == to_rgb("#400040")
