"""Plants faults in the sources and runs the tests on each: what `tools/mutate` does.

A fault is one small change: an operator, a bound, a number, a condition turned round, a statement
left out, two arguments exchanged. Sources and seed determine which ones. One in Python meets the
Python tests, those of its module first, on the compiled module that is installed; one in C++ meets
the C++ tests without optimisation, and then, with the module built of it, the Python tests. Tables
of numbers are left out: their sums are tested.

Outcomes: caught; survived; not compiled; equivalent (the compiled code is the same); unsure (the
test that failed does so without the fault, too, as one may that goes by the clock).
build/mutate/results.jsonl has a line a fault, with its change as a diff, and where it was caught.
"""

from __future__ import annotations

import argparse
import ast
import collections
import dataclasses
import difflib
import json
import os
import random
import re
import shlex
import shutil
import signal
import subprocess
import sys
import sysconfig
import time
from collections.abc import Iterator, Sequence
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
HOME = ROOT / "build/mutate"
TREE = HOME / "tree"
OBJECTS = HOME / "objects"
RESULTS = HOME / "results.jsonl"
# They look at the sources, not at what these do, or run for minutes.
APART = {"test_structure.py", "test_setup.py", "test_mutants.py", "test_stubs.py"}

EXCHANGED = {
    "<": "<=",
    "<=": "<",
    ">": ">=",
    ">=": ">",
    "==": "!=",
    "!=": "==",
    "+": "-",
    "-": "+",
    "*": "/",
    "/": "*",
    "//": "/",
    "+=": "-=",
    "-=": "+=",
    "*=": "/=",
    "&&": "||",
    "||": "&&",
    "and": "or",
    "or": "and",
    "is": "is not",
    "is not": "is",
    "in": "not in",
    "not in": "in",
    "True": "False",
    "False": "True",
    "true": "false",
    "false": "true",
}


@dataclasses.dataclass(frozen=True)
class Mutant:
    file: str
    kind: str
    start: int
    end: int
    text: str

    def applied_to(self, source: str) -> str:
        return source[: self.start] + self.text + source[self.end :]

    def diff(self, source: str) -> str:
        old, new = source.splitlines(), self.applied_to(source).splitlines()
        return "\n".join(difflib.unified_diff(old, new, self.file, self.file, "", "", 1, ""))


def other_number(text: str) -> str:
    """A number near by: one more for a count, a tenth more for a measure."""
    try:
        return str(int(text) + 1)
    except ValueError:
        value = float(text)
        return repr(value * 1.1 if value else 0.1)


class PythonSites(ast.NodeVisitor):
    """Where a Python source can be changed."""

    def __init__(self, file: str, source: str) -> None:
        self.file, self.source = file, source
        self.lines = [0]
        for line in source.splitlines(keepends=True):
            self.lines.append(self.lines[-1] + len(line))
        self.found: list[Mutant] = []
        self.visit(ast.parse(source))

    def _span(self, node: ast.AST) -> tuple[int, int]:
        def position(line: int, column: int) -> int:
            begin = self.lines[line - 1]
            text = self.source[begin : self.lines[line]].encode()
            return begin + len(text[:column].decode())

        assert isinstance(node, ast.expr | ast.stmt)
        assert node.end_lineno is not None
        assert node.end_col_offset is not None
        start = position(node.lineno, node.col_offset)
        return start, position(node.end_lineno, node.end_col_offset)

    def _add(self, kind: str, start: int, end: int, text: str) -> None:
        self.found.append(Mutant(self.file, kind, start, end, text))

    def _between(self, kind: str, left: ast.AST, right: ast.AST) -> None:
        start, end = self._span(left)[1], self._span(right)[0]
        words = r"(?<!\S)(is not|not in|is|in|and|or|[<>=!]=|//|[-+*/<>])(?!\S)"
        if found := re.search(words, self.source[start:end]):
            a, b = found.span()
            self._add(kind, start + a, start + b, EXCHANGED[found[0]])

    def visit_Compare(self, node: ast.Compare) -> None:
        for left, right in zip([node.left, *node.comparators], node.comparators, strict=False):
            self._between("comparison", left, right)
        self.generic_visit(node)

    def visit_BinOp(self, node: ast.BinOp) -> None:
        self._between("arithmetic", node.left, node.right)
        self.generic_visit(node)

    def visit_BoolOp(self, node: ast.BoolOp) -> None:
        self._between("logic", node.values[0], node.values[1])
        self.generic_visit(node)

    def visit_Constant(self, node: ast.Constant) -> None:
        if isinstance(node.value, bool):
            self._add("constant", *self._span(node), EXCHANGED[str(node.value)])
        elif isinstance(node.value, int | float):
            self._add("constant", *self._span(node), other_number(str(node.value)))

    def _negate(self, node: ast.If | ast.While | ast.IfExp) -> None:
        start, end = self._span(node.test)
        self._add("condition", start, end, f"not ({self.source[start:end]})")
        self.generic_visit(node)

    visit_If = visit_While = visit_IfExp = _negate

    def _leave_out(self, node: ast.stmt) -> None:
        self._add("statement", *self._span(node), "pass")
        self.generic_visit(node)

    visit_Raise = visit_AugAssign = visit_Continue = visit_Break = _leave_out

    def visit_Expr(self, node: ast.Expr) -> None:
        if not isinstance(node.value, ast.Constant):
            self._leave_out(node)

    def visit_Assign(self, node: ast.Assign) -> None:
        # A name that is missing is no fault that a test could overlook.
        if not isinstance(node.targets[0], ast.Name):
            self._leave_out(node)
        else:
            self.generic_visit(node)

    def visit_Call(self, node: ast.Call) -> None:
        if len(node.args) >= 2 and not any(isinstance(a, ast.Starred) for a in node.args[:2]):
            (a, b), (c, d) = self._span(node.args[0]), self._span(node.args[1])
            text = self.source[c:d] + self.source[b:c] + self.source[a:b]
            self._add("arguments", a, d, text)
        self.generic_visit(node)

    def _skip(self, node: ast.AST) -> None:
        """Annotations and f-strings hold no arithmetic of interest."""

    visit_JoinedStr = visit_AnnAssign = visit_TypeAlias = _skip

    def visit_FunctionDef(self, node: ast.FunctionDef) -> None:
        for part in [*node.args.defaults, *node.args.kw_defaults, *node.body]:
            if part is not None:
                self.visit(part)


CPP_TEXT = re.compile(
    r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])\'|^ *#[^\n]*',
    re.DOTALL | re.MULTILINE,
)
# clang-format sets blanks around operators and none around the brackets of templates.
CPP_OPERATORS = {
    "comparison": r"(?<= )(?:[<>]|[<>=!]=)(?= )",
    "arithmetic": r"(?<= )(?:[-+*/]|[-+*]=)(?= )",
    "logic": r"(?<= )(?:&&|\|\|)(?= )",
}
CPP_NUMBER = re.compile(r"(?<![\w.'])(?:\d+\.\d+(?:[eE][-+]?\d+)?|\d+|true|false)(?![\w.'])")
CPP_STATEMENT = re.compile(
    r"(?<=[;{})]\n)(?P<indent> +)(?:if \([^\n]*\) )?"
    r"(?P<statement>(?:throw [^;]*|[\w.\->\[\]*]+ [-+*/]?= [^;]*"
    r"|(?!static_assert)[\w.:>\-]+\([^;{}]*\)|continue|break);)\n"
)
CPP_ARGUMENTS = re.compile(r"(?<=\w\()([\w.]+)(, )([\w.]+)(?=[,)])")


def cpp_sites(file: str, source: str) -> Iterator[Mutant]:
    """Where a C++ source can be changed: by its text, formed by clang-format."""
    code = CPP_TEXT.sub(lambda found: re.sub(r"[^\n]", "\x00", found[0]), source)
    for kind, pattern in CPP_OPERATORS.items():
        for found in re.finditer(pattern, code):
            yield Mutant(file, kind, *found.span(), EXCHANGED[found[0]])
    for found in CPP_NUMBER.finditer(code):
        text = EXCHANGED.get(found[0]) or other_number(found[0])
        yield Mutant(file, "constant", *found.span(), text)
    for found in re.finditer(r"\b(?:if|while) \(", code):
        depth, end = 1, found.end()
        while depth:
            depth += {"(": 1, ")": -1}.get(code[end], 0)
            end += 1
        text = f"!({source[found.end() : end - 1]})"
        if ";" not in text and not re.match(r"!\((?:const )?auto", text):
            yield Mutant(file, "condition", found.end(), end - 1, text)
    for found in CPP_STATEMENT.finditer(code):
        yield Mutant(file, "statement", *found.span("statement"), ";")
    for found in CPP_ARGUMENTS.finditer(code):
        if found[1] != found[3]:
            yield Mutant(file, "arguments", *found.span(), found[3] + found[2] + found[1])


def sites(file: str, source: str) -> list[Mutant]:
    return PythonSites(file, source).found if file.endswith(".py") else [*cpp_sites(file, source)]


def choose(files: dict[str, str], count: int, seed: int) -> list[Mutant]:
    """Faults at random: files by their lines, every kind that a file offers alike."""
    generator = random.Random(seed)
    offered: dict[str, dict[str, list[Mutant]]] = {}
    for file, source in sorted(files.items()):
        kinds = offered[file] = collections.defaultdict(list)
        for mutant in sites(file, source):
            kinds[mutant.kind].append(mutant)
    offered = {file: kinds for file, kinds in offered.items() if kinds}
    lines = [files[file].count("\n") for file in offered]
    count = min(count, sum(len(found) for kinds in offered.values() for found in kinds.values()))
    chosen: dict[Mutant, None] = {}
    while len(chosen) < count:
        (file,) = generator.choices([*offered], lines)
        kind = generator.choice(sorted(offered[file]))
        chosen[generator.choice(offered[file][kind])] = None
    return [*chosen]


def copy_checkout() -> None:
    """Make TREE the checkout's files.

    What is there and the same stays, with its date: the build goes by dates, and a file that was
    wrong in an earlier run, put right since, has to be newer than what was made of it.
    """
    listed = ["git", "-C", str(ROOT), "ls-files", "-z", "-co", "--exclude-standard"]
    found = subprocess.run(listed, capture_output=True, check=True).stdout.split(b"\0")
    sources = {TREE / os.fsdecode(name): ROOT / os.fsdecode(name) for name in found if name}
    for path in [*TREE.rglob("*")]:
        if path.is_symlink() or (path.is_file() and path not in sources):
            path.unlink()
    for target, source in sources.items():
        if not source.is_file() or source.is_symlink():
            target.unlink(missing_ok=True)
        elif not target.is_file() or target.read_bytes() != source.read_bytes():
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, target)


class Trial:
    """A copy of the checkout, in which one file at a time is wrong."""

    def __init__(self, limit: float, most_files: int | None, log: Path) -> None:
        self.limit, self.most_files, self.log = limit, most_files, log
        copy_checkout()
        self.environment = dict(os.environ, PYTHONPATH=str(TREE / "src"))
        (self.installed,) = Path(sysconfig.get_path("platlib")).glob("vekanalysis/_core*.so")
        self.module = TREE / "src/vekanalysis" / self.installed.name

    def run(self, *command: str | Path) -> int | None:
        """Exit status; None after the time limit. The output goes to the log."""
        with self.log.open("ab") as log:
            process = subprocess.Popen(
                command,
                cwd=TREE,
                env=self.environment,
                stdin=subprocess.DEVNULL,
                stdout=log,
                stderr=log,
                start_new_session=True,
            )
            try:
                return process.wait(self.limit)
            except subprocess.TimeoutExpired:
                return None
            finally:
                if process.poll() is None:
                    os.killpg(process.pid, signal.SIGKILL)
                    process.wait()

    def use_module(self, module: Path) -> None:
        self.module.unlink(missing_ok=True)
        self.module.symlink_to(module)

    def run_python_tests(self, near: str) -> int | None:
        return self.run(sys.executable, "-m", "pytest", "-x", "-q", "-p", "no:cacheprovider",
                        *python_tests(near)[: self.most_files])  # fmt: skip

    def configure(self) -> bool:
        cache = shutil.which("ccache")
        settings = {
            "CMAKE_BUILD_TYPE": "Debug",
            "CMAKE_CXX_FLAGS_DEBUG": "-O0",
            "CMAKE_CXX_COMPILER_LAUNCHER": cache or "",
            "Python_EXECUTABLE": sys.executable,
            "VEKANALYSIS_PYTHON": "ON",
            "VEKANALYSIS_TESTS": "ON",
        }
        options = [f"-D{name}={value}" for name, value in settings.items()]
        return not self.run("cmake", "-S", TREE, "-B", OBJECTS, *options)

    def build(self, target: str) -> int | None:
        return self.run("cmake", "--build", OBJECTS, "--target", target)

    def run_cpp_tests(self, near: str = "") -> int | None:
        """Those of the source's own test file first, where it has one: most faults end there."""
        program = OBJECTS / "tests/cpp/vekanalysis_tests"
        options = "--gtest_brief=1", "--gtest_fail_fast"
        if suites := cpp_suites(near):
            names = ":".join(f"{suite}.*:*/{suite}.*:{suite}/*" for suite in suites)
            status = self.run(program, *options, f"--gtest_filter={names}")
            if status != 0:
                return status
        return self.run(program, *options)

    def object_code(self, file: str) -> bytes | None:
        """What an optimising compiler makes of a source; None for a header."""
        for entry in json.loads((OBJECTS / "compile_commands.json").read_text()):
            if entry["file"] == str(TREE / file):
                words = shlex.split(entry["command"])
                output = OBJECTS / "optimised.o"
                words[words.index("-o") + 1] = str(output)
                words[words.index("-O0")] = "-O2"
                if not self.run("env", "-C", entry["directory"], *words):
                    return output.read_bytes()
        return None


def cpp_suites(near: str) -> list[str]:
    """The test suites in the file that has a source's name."""
    path = TREE / "tests/cpp" / Path(near).relative_to("src").with_suffix("") if near else TREE
    test = path.with_name(path.name + "_test.cpp")
    text = test.read_text() if test.is_file() else ""
    return sorted(set(re.findall(r"^(?:TYPED_)?TEST(?:_[FP])?\((\w+)", text, re.MULTILINE)))


def python_tests(near: str) -> list[str]:
    """All test files, those first that by name, then by words, have to do with a source.

    Its own name counts before those of its folders.
    """

    def words_of(name: str) -> re.Pattern[str]:
        parts = {part for part in re.split(r"[/_]", name) if len(part) > 3}
        parts -= {"vekanalysis", "python", "init", "module"}
        return re.compile("|".join(sorted(parts)) or r"\Z")

    path_words, own_words = words_of(near.partition(".")[0]), words_of(Path(near).stem)

    def distance(path: Path) -> tuple[int, int, int, str]:
        counts = (
            len(own_words.findall(path.stem)),
            len(path_words.findall(path.stem)),
            len(path_words.findall(path.read_text())),
        )
        return *(-count for count in counts), path.name

    files = (TREE / "tests/python").glob("test_*.py")
    return [str(path) for path in sorted(files, key=distance) if path.name not in APART]


def failed_test(log: str) -> str:
    found = re.findall(
        r"^(?:FAILED|ERROR) (.+?)(?: - .*)?$|^\[  FAILED  \] (\S+)", log, re.MULTILINE
    )
    return next(filter(None, found[0])) if found else ""


def try_python(trial: Trial, mutant: Mutant, source: str) -> str:
    def code(text: str) -> str:
        return ast.dump(ast.parse(text, optimize=1))

    try:
        if code(mutant.applied_to(source)) == code(source):
            return "equivalent"
    except SyntaxError:
        return "not compiled"
    trial.use_module(trial.installed)
    return outcome(trial.run_python_tests(mutant.file))


def is_of_library(file: str) -> bool:
    """Whether a source belongs to the library, which has C++ tests, and not to the module."""
    return not file.endswith(".py") and not file.startswith("src/python/")


def try_cpp(trial: Trial, mutant: Mutant, source: str) -> str:
    if is_of_library(mutant.file):
        if trial.build("vekanalysis_tests") != 0:
            return "not compiled"
        found = outcome(trial.run_cpp_tests(mutant.file))
        if found != "survived":
            return found
        changed = trial.object_code(mutant.file)
        (TREE / mutant.file).write_text(source)
        unchanged = trial.object_code(mutant.file)
        if changed is not None and changed == unchanged:
            return "equivalent"
        (TREE / mutant.file).write_text(mutant.applied_to(source))
    if trial.most_files == 0:
        return "survived"
    if trial.build("_core") != 0:
        return "not compiled"
    (module,) = OBJECTS.rglob("_core*.so")
    trial.use_module(module)
    return outcome(trial.run_python_tests(mutant.file))


def outcome(status: int | None) -> str:
    return "survived" if status == 0 else "caught"


def try_mutant(trial: Trial, mutant: Mutant) -> dict[str, object]:
    path = TREE / mutant.file
    source = path.read_text()
    started = time.monotonic()
    trial.log.write_bytes(b"")
    path.write_text(mutant.applied_to(source))
    try:
        found = (try_python if path.suffix == ".py" else try_cpp)(trial, mutant, source)
    finally:
        path.write_text(source)
    by = failed_test(trial.log.read_text(errors="replace")) if found == "caught" else ""
    if "::" in by:
        trial.use_module(trial.installed)
        if trial.run(sys.executable, "-m", "pytest", "-q", "-p", "no:cacheprovider", by) == 1:
            found = "unsure"
    return {
        "file": mutant.file,
        "line": source.count("\n", 0, mutant.start) + 1,
        "kind": mutant.kind,
        "outcome": found,
        "by": by.removeprefix(str(TREE) + "/"),
        "seconds": round(time.monotonic() - started, 1),
        "diff": mutant.diff(source),
    }


def mutable_files(only: str) -> dict[str, str]:
    paths = [*ROOT.glob("src/**/*.[ch]pp"), *ROOT.glob("src/vekanalysis/**/*.py")]
    names = [path.relative_to(ROOT).as_posix() for path in paths if "data" not in path.parts]
    return {name: (ROOT / name).read_text() for name in names if re.search(only, name)}


def print_summary(results: Sequence[dict[str, object]]) -> None:
    outcomes = ["caught", "survived", "equivalent", "not compiled", "unsure"]
    for result in results:
        if result["outcome"] == "survived":
            print(f"\n{result['kind']}, line {result['line']}\n{result['diff']}")
    print(f"\n{'':14}" + "".join(f"{name:>14}" for name in outcomes))
    groups = [("C++", "pp"), ("Python", ".py")]
    rows = {name: [r for r in results if str(r["file"]).endswith(end)] for name, end in groups}
    rows |= {kind: [r for r in results if r["kind"] == kind]
             for kind in sorted({str(r["kind"]) for r in results})}  # fmt: skip
    rows["all"] = list(results)
    for name, row in rows.items():
        counts = collections.Counter(str(result["outcome"]) for result in row)
        print(f"{name:14}" + "".join(f"{counts[outcome]:14}" for outcome in outcomes))
    caught, survived = (sum(r["outcome"] == name for r in results) for name in outcomes[:2])
    if caught + survived:
        print(f"caught: {caught / (caught + survived):.1%} of those that make a difference")


def build_unchanged(trial: Trial) -> None:
    """Without a fault the C++ tests must pass; a Python test is asked once it has failed."""
    trial.log.write_bytes(b"")
    built = trial.configure() and trial.build("vekanalysis_tests") == 0
    if not built or trial.run_cpp_tests() != 0:
        sys.exit(f"mutate: the C++ tests fail without a fault: see {trial.log}")


def main() -> None:
    parser = argparse.ArgumentParser(
        prog="tools/mutate",
        description=__doc__,
        formatter_class=argparse.RawDescriptionHelpFormatter,
    )
    parser.add_argument("--count", type=int, default=150, help="faults to plant (%(default)s)")
    parser.add_argument("--seed", type=int, default=1, help="which ones (%(default)s)")
    parser.add_argument("--only", default="", metavar="REGEX", help="in files of such names")
    parser.add_argument(
        "--limit",
        type=float,
        default=1200.0,
        metavar="SECONDS",
        help="for each build and each run of tests; a hang counts as caught (%(default)g)",
    )
    parser.add_argument(
        "--files",
        type=int,
        metavar="NUMBER",
        help="of Python tests those first in line only; what survives may be caught by others. "
        "With 0 the faults are those of the C++ library, and meet its own tests alone",
    )
    parser.add_argument("--resume", action="store_true", help="keep the results that are there")
    parser.add_argument("--list", action="store_true", help="show the faults, and try none")
    arguments = parser.parse_args()
    files = mutable_files(arguments.only)
    if arguments.files == 0:
        files = {name: text for name, text in files.items() if is_of_library(name)}
    mutants = choose(files, arguments.count, arguments.seed)
    if arguments.list:
        print("\n\n".join(mutant.diff(files[mutant.file]) for mutant in mutants))
        return
    # Started in the background we would hand on that interrupts are ignored, and tests send some.
    signal.signal(signal.SIGINT, signal.default_int_handler)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    HOME.mkdir(parents=True, exist_ok=True)
    if not arguments.resume:
        RESULTS.unlink(missing_ok=True)
    lines = RESULTS.read_text().splitlines() if RESULTS.exists() else []
    known = {result["diff"]: result for result in map(json.loads, lines)}
    trial = Trial(arguments.limit, arguments.files, HOME / "trial.log")
    if any(not mutant.file.endswith(".py") for mutant in mutants):
        build_unchanged(trial)
    results = []
    for number, mutant in enumerate(mutants, 1):
        result = known.get(mutant.diff(files[mutant.file]))
        if result is None:
            result = try_mutant(trial, mutant)
            with RESULTS.open("a") as file:
                file.write(json.dumps(result) + "\n")
        results.append(result)
        place = f"{result['file']}:{result['line']}"
        print(f"{number:4} {result['outcome']:12} {result['kind']:10} {place} {result['by']}")
        sys.stdout.flush()
    print_summary(results)


if __name__ == "__main__":
    main()
