"""Which area of the library and which room of the package may use which: no arrow points up."""

import ast
import re
import subprocess
import sys
import tomllib
from collections.abc import Iterator
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
SOURCES = ROOT / "src"
PACKAGE = SOURCES / "vekanalysis"

# Lowest first. What no sign parts is apart, but for the arrows below.
AREAS = """
    numerical < core < utils
    < colorimetry chromaticity curves physics radiometry monochromator io
    < lighting < quantities fitting < uncertainty < python
"""
ARROWS = {("chromaticity", "colorimetry"), ("radiometry", "colorimetry")}
# Headers that users of the library do not include, and that are not installed.
PRIVATE_HEADERS = """
    colorimetry/data/make_table core/text io/file lighting/cam02 lighting/chebyshev
    lighting/data/tables lighting/lanes lighting/visible_sums numerical/cubic numerical/fused
    numerical/lanes numerical/stable_order quantities/by_form quantities/even_sum quantities/finish
    quantities/form quantities/forms quantities/integrator quantities/kernels
    quantities/light_functions quantities/products quantities/record_parts utils/extremes
"""

# As the areas, for the package: the modules and folders of a room stand together. A room takes from
# another what that one's __init__ has, and from the package's own __init__ nothing but modules.
ROOMS = """
    _core < _files _nearest _optional _records _views < errors < _parsing < _toml < units
    < spectrum < reading < writing < samples < _peaks < quantities < uncertainty < plotting
    < reports batch < certificates < interop < notebook < commands __main__ < __init__
"""
COMPILED = {path.stem for path in (PACKAGE / "_core").iterdir()} - {"__init__"}


def place(name: str, order: str) -> int:
    for index, names in enumerate(order.split("<")):
        if name in names.split():
            return index
    pytest.fail(f"{name} has no place in the lists of this test: give it one")


def included_areas(file: Path, target: str) -> tuple[str, str] | None:
    """The areas of a source and of what it includes; None for a header of others."""
    relative = (file.parent / target).resolve()
    if not relative.is_file():
        relative = SOURCES / target
    if not relative.is_file():
        return None
    return tuple(path.relative_to(SOURCES).parts[0] for path in (file, relative))  # type: ignore[return-value]


def test_areas_include_what_lies_below_them_the_standard_library_and_few_others() -> None:
    wrong = []
    for file in SOURCES.rglob("*.[ch]pp"):
        area = file.relative_to(SOURCES).parts[0]
        for target in re.findall(r'^ *# *include *["<]([^">]+)', file.read_text(), re.MULTILINE):
            areas = included_areas(file, target)
            library = target.split("/")[0]
            if areas is not None:
                below = place(areas[1], AREAS) < place(area, AREAS)
                allowed = below or areas[1] == area or areas in ARROWS
            elif library in ("boost", "nlohmann"):
                allowed = file.suffix == ".cpp"
            elif library in ("pybind11", "Python.h"):
                allowed = area == "python"
            else:
                allowed = re.fullmatch(r"[a-z_]+", target) is not None
            if not allowed:
                wrong.append(f"{file.relative_to(SOURCES)} includes {target}")
    assert not wrong


def test_every_header_is_public_or_private() -> None:
    build = (SOURCES / "CMakeLists.txt").read_text()
    public = re.findall(r"^  (\S+)\.hpp\)?$", build, re.MULTILINE)
    headers = [path.relative_to(SOURCES) for path in SOURCES.rglob("*.hpp")]
    ours = [str(path.with_suffix("")) for path in headers if path.parts[0] != "python"]
    assert sorted(public + PRIVATE_HEADERS.split()) == sorted(ours)


def imported_modules(file: Path) -> Iterator[tuple[list[str], list[str]]]:
    """Path within the package of everything that a module imports from it, and the names taken."""
    here = ["vekanalysis", *file.relative_to(PACKAGE).parts[:-1]]
    for node in ast.walk(ast.parse(file.read_text())):
        if isinstance(node, ast.Import):
            for alias in node.names:
                path = alias.name.split(".")
                if path[0] == "vekanalysis":
                    yield path[1:], []
        elif isinstance(node, ast.ImportFrom):
            base = here[: len(here) - node.level + 1] if node.level else []
            path = [*base, *(node.module.split(".") if node.module else [])]
            if path[0] == "vekanalysis":
                yield path[1:], [alias.name for alias in node.names]


def test_rooms_import_only_what_lies_below_them() -> None:
    known = ROOMS.split()
    wrong = []
    for file in PACKAGE.rglob("*.py"):
        room = file.relative_to(PACKAGE).parts[0].removesuffix(".py")
        for path, names in imported_modules(file):
            # From the package itself come its modules, or areas that are compiled.
            targets = [path] if path else [[n] if n in known else ["_core", n] for n in names]
            for target in targets:
                compiled = target[0] == "_core"
                above = place(target[0], ROOMS) > place(room, ROOMS)
                elsewhere = target[0][0] != "_" and place(target[0], ROOMS) < place(room, ROOMS)
                hidden = elsewhere and len(target) > 1
                if above or hidden or (compiled and len(target) > 1 and target[1] not in COMPILED):
                    wrong.append(f"{file.relative_to(PACKAGE)} imports {'.'.join(target)}")
    assert not wrong


@pytest.mark.skipif(sys.platform != "linux", reason="runs a script for Debian")
def test_setup_knows_the_groups_of_the_package_and_both_ways_to_fetch_them() -> None:
    project = tomllib.loads((ROOT / "pyproject.toml").read_text())
    extras = project["project"]["optional-dependencies"]
    fetched = extras.keys() | project["dependency-groups"].keys() - {"test"}
    pattern = r"^ +([a-z |]+)\) ;;$"
    (accepted,) = re.findall(pattern, (ROOT / "tools/setup").read_text(), re.MULTILINE)
    assert sorted(accepted.split(" | ")) == sorted(fetched)
    command = [ROOT / "tools/debian_python", "--list"]
    plain = subprocess.run(command, capture_output=True, text=True, check=True).stdout
    for group in sorted(fetched):
        listed = subprocess.run([*command, group], capture_output=True, text=True, check=True)
        assert listed.stdout.startswith(plain), group
        assert len(listed.stdout) > len(plain), group
    parts = {name for part in ("dask", "pandas", "plot", "xarray") for name in extras[part]}
    assert parts <= {*extras["interop"]}
