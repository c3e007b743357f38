"""The module as a whole: names, docstrings, version, import, threads, layering."""

import doctest
import math
import re
import subprocess
import sys
import threading
import tomllib
from collections.abc import Iterator
from pathlib import Path
from types import ModuleType

import pytest

import vekanalysis as vek
from vekanalysis import _core

ROOT = Path(__file__).resolve().parents[2]

TRANSMITTANCES = {
    "ISO8980_3_tau_uva", "ANSI_Z80_3_tau_uva", "ANSI_Z80_3_tau_uvb", "ISO8980_3_tau_suva",
    "ASNZS1067_2016_tau_suva", "ISO8980_3_tau_suvb", "ISO8980_3_tau_v", "ANSI_Z80_3_tau_v",
    "ISO8980_3_tau_signal_incandescent", "ANSI_Z80_3_tau_signal", "ANSI_Z80_3_tau_spectral_min",
    "ISO8980_3_tau_signal_led", "ISO12311_tau_sb",
}  # fmt: skip
NAMES = {
    "": {
        "AKIMA", "CUBIC", "LINEAR", "NONE", "POLYNOMIAL", "Interpolation", "Observer", "Scan",
        "chromaticity", "colorimetry", "curves", "fitting", "io", "monochromator", "physics",
        "radiometry", "utils", "version",
    },
    "chromaticity": {
        "CIExy", "CIE_1931_chromaticity", "ANSI_Z80_3_daylight_chromaticity",
        "ANSI_Z80_3_yellow_chromaticity", "ANSI_Z80_3_green_chromaticity",
    },
    "colorimetry": TRANSMITTANCES | {
        "CIEXYZ", "CIELAB", "RYG", "RYGB", "CIE_tristimulus_values", "CIELAB_f",
        "CIELAB_tristimulus_values", "f1_prime", "f2", "data",
    },
    "colorimetry.data": {path.stem for path in (ROOT / "src/colorimetry/data").glob("*.cpp")}
    - {"reference_spectra"},
    "curves": {"longpass_filter", "shortpass_filter", "lognormal"},
    "fitting": {"FitWavelengthParams", "FitWavelengthParamsFree", "fit_wavelength"},
    "io": {
        "Meta", "DataSet", "MeasurementTypeUnits", "DataInfo", "Graph", "VekFile",
        "vekfile_to_json_binary_data", "vekfile_to_json", "load_vekfile_binary_data",
        "load_vekfile", "load_vek_scan_binary_data", "load_vek_scan_data", "load_csv",
    },
    "monochromator": {"slit_function"},
    "monochromator.slit_function": {"uniform_fibres_value", "uniform_fibres"},
    "physics": {
        "planks_law_sr", "planks_law_sr_um", "planks_law_sr_nm", "planks_law_sr_deriv_T",
        "planks_law_sr_deriv_wl", "wiens_displacement_law_T", "wiens_displacement_law_wl",
        "stefan_boltzmann_law", "stefan_boltzmann_law_surface",
    },
    "radiometry": {"illuminance"},
    "utils": {
        "ScanStatistics", "StitchResults", "find_key", "find_peak", "find_peaks", "get_statistics",
        "log", "log10", "peak_width", "stitch_scans", "transform",
    },
}  # fmt: skip
SCAN_NAMES = {
    "interpolation", "epsilon", "is_interpolated", "min_wavelength", "max_wavelength", "integral",
    "deriv", "x", "add", "items", "wavelengths", "values", "to_lists", "to_numpy",
}  # fmt: skip


def module_at(path: str) -> ModuleType:
    module: ModuleType = _core
    for name in filter(None, path.split(".")):
        module = getattr(module, name)
    return module


def public_names(thing: object) -> set[str]:
    return {name for name in dir(thing) if not name.startswith("_")}


def run_python(code: str) -> str:
    done = subprocess.run([sys.executable, "-c", code], check=True, capture_output=True, text=True)
    return done.stdout


@pytest.mark.parametrize("path", NAMES)
def test_every_module_has_exactly_the_listed_names(path: str) -> None:
    assert public_names(module_at(path)) == NAMES[path]


def test_the_scan_has_exactly_the_listed_names() -> None:
    assert public_names(_core.Scan) == SCAN_NAMES
    assert not hasattr(_core.Scan, "__len__")
    assert not hasattr(_core.Scan, "__contains__")


def test_the_version_is_the_project_s() -> None:
    version = tomllib.loads((ROOT / "pyproject.toml").read_text())["project"]["version"]
    assert _core.version() == _core.__vekanalysis_version__ == vek.__version__ == version
    assert not hasattr(_core, "__version__")
    assert _core.__doc__ == "Ostrel Instruments spectral analysis package."


def test_interpolation_values() -> None:
    names = ["NONE", "AKIMA", "CUBIC", "LINEAR", "POLYNOMIAL"]
    assert [int(getattr(vek.Interpolation, name)) for name in names] == [0, 1, 2, 3, 4]
    assert _core.AKIMA == vek.Interpolation.AKIMA


def documented_things() -> Iterator[tuple[str, object]]:
    for path in NAMES:
        module = module_at(path)
        for name in sorted(public_names(module)):
            thing = getattr(module, name)
            yield f"{path}.{name}", thing
            if isinstance(thing, type):
                for member in vars(thing):
                    yield f"{path}.{name}.{member}", getattr(thing, member)


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


def test_the_class_docstring_s_example_runs() -> None:
    parser = doctest.DocTestParser()
    example = parser.get_doctest(vek.Scan.__doc__ or "", {}, "Scan", None, None)
    assert example.examples
    assert doctest.DocTestRunner().run(example).failed == 0


def test_numpy_is_imported_only_when_an_array_is_handed_out() -> None:
    code = """
import sys, vekanalysis as vek
scan = vek.Scan([1, 2], [1, 2], interpolation=vek.LINEAR)
scan(1), scan(1.5), scan(1, 2), vek.colorimetry.data.cie_illuminant_a()(555)
print('numpy' in sys.modules)
scan.to_numpy()
print('numpy' in sys.modules)
"""
    assert run_python(code).split() == ["False", "True"]


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
        vek.Scan().__reduce__()


def test_submodules_can_be_imported_by_name() -> None:
    code = """
import vekanalysis._core.colorimetry.data as inner
from vekanalysis.colorimetry.data import cie_illuminant_a
from vekanalysis.io import load_csv
print(inner.cie_illuminant_a is cie_illuminant_a)
"""
    assert run_python(code).split() == ["True"]


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


AREAS = ["numerical", "core", "utils", "colorimetry", "io", "fitting", "python"]
MAY_INCLUDE = {
    "numerical": {"numerical"},
    "core": {"numerical", "core"},
    "utils": {"numerical", "core", "utils"},
    "colorimetry": {"numerical", "core", "utils", "colorimetry"},
    "io": {"numerical", "core", "utils", "io"},
    "fitting": {"numerical", "core", "utils", "colorimetry", "fitting"},
    "python": set(AREAS),
}


def test_areas_include_only_what_lies_below_them() -> None:
    wrong = []
    for file in (ROOT / "src").rglob("*.[ch]pp"):
        area = file.relative_to(ROOT / "src").parts[0]
        for target in re.findall(r'^#include ["<]([^">]+)[">]', file.read_text(), re.MULTILINE):
            top = target.split("/")[0]
            if top in AREAS and top not in MAY_INCLUDE[area]:
                wrong.append(f"{file.name} includes {target}")
            if top == "pybind11" and area != "python":
                wrong.append(f"{file.name} includes {target}")
            if top in ("boost", "nlohmann") and file.suffix == ".hpp":
                wrong.append(f"{file.name} includes {target}")
    assert not wrong
