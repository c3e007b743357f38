"""The module as a whole: names, docstrings, version, import, threads."""

import contextlib
import importlib
import inspect
import math
import pkgutil
import re
import subprocess
import sys
import threading
import tomllib
import typing
from collections.abc import Iterator
from pathlib import Path
from types import ModuleType

import pytest

import vekanalysis as vek
from vekanalysis import _core

ROOT = Path(__file__).resolve().parents[2]


def test_the_version_is_the_project_s() -> None:
    version = tomllib.loads((ROOT / "pyproject.toml").read_text())["project"]["version"]
    assert _core.version() == _core.__vekanalysis_version__ == vek.__version__ == version
    assert not hasattr(_core, "__version__")
    assert _core.__doc__ == "Ostrel Instruments spectral analysis package."


def test_interpolation_values() -> None:
    names = ["NONE", "AKIMA", "CUBIC", "LINEAR", "POLYNOMIAL"]
    assert [int(getattr(vek.Interpolation, name)) for name in names] == [0, 1, 2, 3, 4]
    assert _core.AKIMA == vek.Interpolation.AKIMA


def documented_things(thing: object = _core, path: str = "") -> Iterator[tuple[str, object]]:
    """All members of the module, its submodules and its classes."""
    for name in dir(thing) if isinstance(thing, ModuleType) else vars(thing):
        if isinstance(thing, ModuleType) and name.startswith("_"):
            continue
        member = getattr(thing, name)
        yield f"{path}.{name}", member
        if isinstance(member, type | ModuleType):
            yield from documented_things(member, f"{path}.{name}")


def test_docstrings_speak_python() -> None:
    words = re.compile(r"::|\bstd\b|__DataSet|Stat_Result|FloatList|FloatArray|unsigned|basic_")
    offenders = [
        name
        for name, thing in documented_things()
        if "_pybind11_" not in name and words.search(getattr(thing, "__doc__", "") or "")
    ]
    assert not offenders


def test_every_function_and_method_is_documented() -> None:
    undocumented = [
        name
        for name, thing in documented_things()
        if callable(thing)
        and not re.search(r"\.__|_pybind11_", name)
        and len((thing.__doc__ or "").split("\n\n")) < 2
        and not (isinstance(thing, type) and thing.__doc__)
    ]
    assert not undocumented


def test_signatures_and_types_of_everything_can_be_shown() -> None:
    for found in pkgutil.walk_packages(vek.__path__, "vekanalysis."):
        if not found.name.endswith("__main__"):
            importlib.import_module(found.name)
    modules = [module for name, module in sys.modules.items() if name.startswith("vekanalysis")]
    things = [thing for module in modules for thing in vars(module).values()]
    classes = [thing for thing in things if isinstance(thing, type)]
    things += [thing for cls in classes for thing in vars(cls).values()]
    shown = 0
    for thing in things:
        if (
            callable(thing)
            and str(getattr(thing, "__module__", "")).startswith("vekanalysis")
            and not getattr(thing, "__name__", "_").startswith("_")
        ):
            typing.get_type_hints(thing)
            with contextlib.suppress(ValueError):  # Functions of the compiled module have none.
                inspect.signature(thing)
                shown += 1
    assert shown > 100


def test_numpy_is_imported_only_when_an_array_is_handed_out() -> None:
    code = """
import sys, vekanalysis as vek
scan = vek.Scan([1, 2], [1, 2], interpolation=vek.LINEAR)
scan(1), scan(1.5), scan(1, 2), vek.colorimetry.data.cie_illuminant_a()(555)
vek.reports.lens(vek.samples.read('grey-glass')).text()
print('numpy' in sys.modules)
scan.to_numpy()
print('numpy' in sys.modules)
"""
    command = [sys.executable, "-c", code]
    done = subprocess.run(command, check=True, capture_output=True, text=True)
    assert done.stdout.split() == ["False", "True"]


def test_objects_without_their_init_are_refused() -> None:
    for cls, attribute in (
        (vek.Scan, "epsilon"),
        (vek.Observer, "x"),
        (vek.colorimetry.CIEXYZ, "X"),
        (vek.io.VekFile, "meta"),
    ):
        with pytest.raises(TypeError, match=r"__init__\(\) must be called before"):
            getattr(cls.__new__(cls), attribute)
    unborn = vek.Scan.__new__(vek.Scan)
    with pytest.raises(ValueError, match="NaN"):
        unborn.__init__([math.nan], [1.0])
    for use in (unborn.values, lambda: unborn(1), lambda: vek.Scan() + unborn):
        with pytest.raises(TypeError, match="must be called before"):
            use()
    iterator = iter(vek.Scan())
    with pytest.raises(TypeError, match="must be called before"):
        next(type(iterator).__new__(type(iterator)))
    with pytest.raises(TypeError, match="cannot create"):
        iterator.__reduce__()


def test_two_threads_use_the_reference_spectra_at_once() -> None:
    lens = vek.Scan(range(380, 781), [0.25] * 401)
    expected = vek.colorimetry.ISO8980_3_tau_v(lens)
    results: list[float] = []

    def work() -> None:
        own = lens * 1.0
        results.extend(vek.colorimetry.ISO8980_3_tau_v(own) for _ in range(50))

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert results == [expected] * 200
