"""Scans and records in pandas, xarray and plain Python."""

import doctest
import importlib
import json
import math
import subprocess
import sys
from collections.abc import Callable
from pathlib import Path
from typing import Any

import numpy as np
import pandas as pd
import pytest
import xarray as xr
from cli import each_call
from IPython.core.completer import provisionalcompleter
from IPython.core.interactiveshell import InteractiveShell
from vekwriter import Contents, DataSet

import vekanalysis as vek
from vekanalysis import Interpolation, Scan, interop
from vekanalysis.interop import quantities_of

ODD = Scan([0.1 + 0.2, 555.0, 1e5], [1 / 3, -0.0, 5e-324], 1e-9, Interpolation.LINEAR)
SHORT = Scan([400, 500], [1, 2], interpolation=Interpolation.LINEAR)
SCANS = [ODD, Scan(), Scan([-1, 2], [3, 4], interpolation=Interpolation.NONE)]


DOCUMENTED = "_core interop._pandas interop._plain interop._xarray reading.files reading.tables"
DOCUMENTED += " samples._samples spectrum plotting notebook"


@pytest.mark.parametrize("module", DOCUMENTED.split())
def test_the_examples_in_the_docstrings_run(module: str) -> None:
    results = doctest.testmod(importlib.import_module(f"vekanalysis.{module}"))
    assert (results.failed, results.attempted > 1) == (0, True)


def test_nothing_is_imported_before_it_is_used() -> None:
    code = """
import sys, vekanalysis as vek
assert not {"vekanalysis.plotting", "vekanalysis.reading"} & sys.modules.keys()
from vekanalysis import plot, read_table, interop, load_ipython_extension
assert {*vek.__all__} <= {*dir(vek)}
assert all(hasattr(vek, name) for name in vek.__all__ if name != 'uncertainty')
assert vek.plot is plot and callable(plot) and vek.interop.__name__ == "vekanalysis.interop"
print({"numpy", "pandas", "xarray", "matplotlib", "IPython"} & sys.modules.keys())
"""
    done = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, check=True)
    assert done.stdout == "set()\n"


def test_names_are_completed_and_private_ones_are_private() -> None:
    shell = InteractiveShell()
    shell.user_ns["vek"] = vek
    for use_jedi in (False, True):
        shell.Completer.use_jedi = use_jedi
        with provisionalcompleter():
            names = [found.text.lstrip(".") for found in shell.Completer.completions("vek.", 4)]
        assert {"Scan", "plot"} <= {*names}
    assert not {"TYPE_CHECKING", "Any"} & {*dir(vek)}
    with pytest.raises(AttributeError, match=r"^module 'vekanalysis' has no attribute 'nothing'$"):
        _ = vek.nothing
    data = importlib.import_module("vekanalysis.colorimetry.data")
    assert data is vek.colorimetry.data is importlib.import_module(data.__name__)
    assert importlib.import_module("vekanalysis.quantities") is not vek._core.quantities


LIBRARIES = {"pandas": interop.to_series, "xarray": interop.to_dataarray, "matplotlib": vek.plot}


@pytest.mark.parametrize("library", LIBRARIES)
def test_a_missing_library_is_named(library: str, monkeypatch: pytest.MonkeyPatch) -> None:
    extra = "plot" if library == "matplotlib" else library
    monkeypatch.setitem(sys.modules, library, None)
    monkeypatch.setitem(sys.modules, "matplotlib.pyplot", None)
    with pytest.raises(ImportError, match=rf"needs {library}, .*pip install 'vekanalysis\[{extra}"):
        LIBRARIES[library](ODD)


def same(a: Scan, b: Scan) -> bool:
    return repr(a) == repr(b) and a.to_numpy().tobytes() == b.to_numpy().tobytes()


@pytest.mark.parametrize("scan", SCANS, ids=["odd", "empty", "not interpolated"])
def test_round_trips_keep_every_bit(scan: Scan, tmp_path: Path) -> None:
    series = interop.to_series(scan, "lens")
    assert (series.index.name, series.attrs["wavelength_units"]) == ("wavelength", "nm")
    assert same(interop.from_series(series), scan)
    array = interop.to_dataarray(scan, "lens")
    assert array.wavelength.attrs["units"] == "nm"
    assert same(interop.from_dataarray(array.chunk()), scan)
    plain = json.loads(json.dumps(interop.as_dict(scan), allow_nan=False))
    assert plain["wavelength"] == scan.wavelengths()
    assert plain["interpolation"] == scan.interpolation.name


def test_frames_join_on_exact_wavelengths_or_evaluate_on_a_grid() -> None:
    near = 500 + 1e-9
    a = Scan([400, 500], [1, 2], 1e-6, Interpolation.LINEAR)
    b = Scan([450, near, 600], [5, 6, 8], interpolation=Interpolation.NONE)
    joined = interop.to_frame({"a": a, "b": b})
    assert joined.index.to_list() == [400, 450, 500, near, 600]
    assert joined["a"].dropna().to_dict() == {400: 1, 500: 2}
    back = interop.from_frame(joined)
    assert same(back["a"], a)
    assert same(back["b"], b)
    common = interop.to_frame([a, a.x() * 1.0], grid="common")
    assert common.to_numpy().tolist() == [[1, 400], [2, 500]]
    evaluated = interop.to_frame({"a": a}, grid=np.array([399, 450, 501]))["a"]
    assert evaluated.isna().tolist() == [True, False, True]
    assert evaluated[450] == 1.5
    assert interop.to_frame([a, Scan()], grid=[399], outside=0).to_numpy().tolist() == [[0, 0]]
    assert interop.to_frame([SHORT], grid=[400, 500])[0].tolist() == [1, 2]
    assert interop.to_frame([b, b], grid="common").index.to_list() == b.wavelengths()
    assert interop.to_frame(a).columns.to_list() == [0]


def array(units: str | None = None, **coordinates: Any) -> xr.DataArray:
    attrs = {} if units is None else {"units": units}
    named = {name: ("band", values, attrs) for name, values in coordinates.items()}
    return xr.DataArray([1.0, 2.0], named, ("band",))


LENS = vek.Spectrum(Scan(range(380, 781, 5), [0.5] * 81), "transmittance", "1")
TAU_V = "ISO8980_3_tau_v"
ARRAY = interop.to_dataarray(LENS)
LIGHT = interop.to_dataarray(vek.Spectrum(LENS.scan, "irradiance", "W m-2 nm-1"))
PARTS = pd.Series([2, pd.NA, 1], [0.5876, 0.5, 0.4], dtype="Int64")


@pytest.mark.parametrize(
    ("index", "told"),
    [
        ([0.4, 0.5], "look like um.*wavelength_unit='um'"),
        ([4000, 5000], "look like angstrom"),
        ([1, 2], "are 1, 2, 3 to 2, which look like row numbers"),
        ([2, 1], "from 1 to 2 look like um"),
        (pd.Index([400, 500], name="wl / um"), "in um"),
        (pd.Index([400, 500], name="wavenumber"), "not a wavelength"),
        ([400, math.nan], "wavelength 2 is nan"),
        (pd.date_range("2026-01-01", periods=2), "the index must be numbers"),
    ],
)
def test_a_doubtful_index_is_refused(index: Any, told: str) -> None:
    with pytest.raises(ValueError, match=told):
        interop.from_series(pd.Series([1.0, 2.0], index))


@pytest.mark.parametrize(
    ("unclear", "told"),
    [
        (array("micrometers", band=[0.4, 0.5]), r"in um \('micrometers'\).*wavelength_unit='um'"),
        (array("m", band=[4e-7, 5e-7]), "in m"),
        (array("K", band=[400, 500]), "in K, not a wavelength"),
        (array("cm-1", band=[4000, 5000]), "not a wavelength"),
        (array(), "needs one coordinate along 'band', the wavelengths; got none"),
        (array(a=[1, 2], b=[1, 2]), "got 'a', 'b'"),
        (array(band=[400, 500]).expand_dims("time"), r"2 dimensions \(time, band\)"),
        (array(band=[400, 500]).sum(), r"^array: it has 0 dimensions \(none\); a spectrum has one"),
        (array().rename("lens"), "^array 'lens': it needs one coordinate along 'band', the wave"),
    ],
)
def test_an_array_whose_wavelengths_are_unclear_is_refused(
    unclear: xr.DataArray, told: str
) -> None:
    with pytest.raises(ValueError, match=told):
        interop.from_dataarray(unclear)


REFUSED: dict[tuple[type[Exception], str], list[Callable[[], object]]] = {
    (ValueError, "start at 0; they must be above zero"): [
        lambda: interop.from_series(pd.Series([1.0, 2.0]))
    ],
    (ValueError, "series 'x': wavelength 400 is there twice"): [
        lambda: interop.from_series(pd.Series([1.0, 2.0], [400, 400], name="x"))
    ],
    (ValueError, "1 of 2 values are missing.*at 401"): [
        lambda: interop.from_series(pd.Series([1.0, math.nan], [400, 401]))
    ],
    (ValueError, "the values must be numbers; got"): [
        lambda: interop.from_series(pd.Series(["a", "b"], [400, 401]))
    ],
    (ValueError, "2 levels"): [
        lambda: interop.from_series(pd.Series([1, 2], pd.MultiIndex.from_tuples([(1, 2), (3, 4)])))
    ],
    (ValueError, "3 wavelengths make 1 points.*smaller epsilon"): [
        lambda: interop.from_series(PARTS, wavelength_unit="nm", missing="keep", epsilon=1)
    ],
    (ValueError, "missing is 'x'; it must be 'refuse', 'drop' or 'keep'"): [
        lambda: interop.from_series(PARTS, missing="x")
    ],
    (ValueError, "must be one of NONE, AKIMA"): [
        lambda: interop.from_series(
            interop.to_series(ODD).pipe(lambda s: s.attrs.update(interpolation="akima") or s)
        )
    ],
    (TypeError, "needs a.*; got Scan"): [
        lambda: interop.from_dataarray(ODD),
        lambda: interop.from_series(ODD),
        lambda: interop.from_frame(ODD),
    ],
    (ValueError, "frame: two columns are named 'a'; the names must differ"): [
        lambda: interop.from_frame(
            interop.to_frame({"a": SHORT, "b": SHORT}).rename(columns={"b": "a"})
        )
    ],
    (TypeError, "to_frame needs scans; '0' is a int"): [lambda: interop.to_frame([1])],
    (vek.Refusal, "^array: wavelengths from 0.4 to 0.5 look like um, not nm"): [
        lambda: quantities_of(array(band=[0.4, 0.5]), "f1_prime", dim="band")
    ],
    (TypeError, "array 'cube': values of int64; float64 or float32"): [
        lambda: quantities_of(
            array(band=[400, 500]).astype(int).rename("cube"), "f1_prime", dim="band"
        )
    ],
    (ValueError, "it needs a dimension 'wl' with a coordinate"): [
        lambda: quantities_of(array(band=[400, 500]), "f1_prime", dim="wl")
    ],
    (vek.Refusal, "transmittance in %; convert them to 1 first"): [
        lambda: quantities_of(interop.to_frame([LENS.to("%")]), TAU_V),
        lambda: quantities_of(interop.to_dataarray(LENS.to("%")), TAU_V),
    ],
    (vek.Refusal, "^array: "): [
        lambda: quantities_of(ARRAY.assign_attrs(kind="", units="%"), TAU_V),
        lambda: quantities_of(ARRAY.assign_attrs(kind="reflectance", units=""), TAU_V),
    ],
    (TypeError, "got list"): [lambda: quantities_of([1.0], TAU_V)],
    (TypeError, "got Simp"): [lambda: quantities_of(type("Simple", (), {"columns": ()})(), TAU_V)],
    (ValueError, "l levels"): [
        lambda: quantities_of(
            interop.to_frame(LENS).pipe(lambda f: f.set_index([[0] * len(f), f.index])), TAU_V
        )
    ],
    (ValueError, "^array: it ne"): [lambda: quantities_of(ARRAY.drop_vars("wavelength"), TAU_V)],
    (vek.Refusal, "irradiance, not a transmittance"): [lambda: quantities_of(LIGHT, TAU_V)],
    (vek.Refusal, "irradiance, not a radiance"): [lambda: quantities_of(LIGHT, "luminance")],
}


@each_call(REFUSED)
def test_what_is_doubtful_is_refused(
    call: Callable[[], object], error: type[Exception], told: str
) -> None:
    with pytest.raises(error, match=told):
        call()


@pytest.mark.parametrize(
    ("arguments", "told"),
    [
        ({"scans": [SHORT, Scan()], "grid": "common"}, "no common wavelengths"),
        ({"scans": [SCANS[2]], "grid": [0]}, "'0' has no values between its points"),
        ({"scans": [SHORT], "grid": "all"}, "must be 'union', 'common' or an array"),
        ({"scans": [SHORT], "grid": [[1]]}, "2 dimensions; one is needed"),
        ({"scans": [SHORT], "grid": ["x"]}, "must be numbers"),
        (
            {"scans": [SHORT], "grid": np.ma.masked_less([400, 450], 420)},
            "some of its wavelengths are masked; pass grid.com",
        ),
        ({"scans": [SHORT], "grid": [400, math.nan]}, "grid: wavelength 2 is nan, not a number"),
        ({"scans": []}, "at least one scan"),
        (
            {"scans": [vek.Spectrum(SHORT, label="lens 7")] * 2},
            "two spectra have the label 'lens 7'",
        ),
    ],
)
def test_what_makes_no_frame_is_refused(arguments: dict[str, Any], told: str) -> None:
    with pytest.raises(ValueError, match=told):
        interop.to_frame(**arguments)


@pytest.mark.parametrize("thing", [{}, 1.0, vek.AKIMA, None])
def test_what_is_no_record_has_no_dict(thing: Any) -> None:
    with pytest.raises(TypeError, match="needs a scan or a record; got"):
        interop.as_dict(thing)


def test_series_are_taken_as_told() -> None:
    scan = interop.from_series(PARTS, wavelength_unit="um", missing="drop")
    assert scan.to_lists() == ([400, 587.6], [1, 2])
    kept = interop.from_series(PARTS, wavelength_unit="m", missing="keep", epsilon=0.5)
    assert math.isnan(kept[5e8])


def test_the_name_of_the_index_is_newer_than_the_attrs() -> None:
    series = interop.to_series(Scan([400, 410], [1, 2]))
    series.index = (series.index / 1000).rename("wavelength (um)")
    with pytest.raises(ValueError, match="the wavelengths are in um"):
        interop.from_series(series)


def test_arrays_with_other_names_and_units() -> None:
    expected = ([400, 500], [1, 2])
    assert interop.from_dataarray(array(centre=[400, 500])).to_lists() == expected
    assert interop.from_dataarray(array("nanometer", band=[400, 500])).to_lists() == expected
    micrometres = array("micrometers", band=[0.4, 0.5])
    assert interop.from_dataarray(micrometres, wavelength_unit="um").to_lists() == expected


def test_every_record_becomes_plain_objects() -> None:
    sets = [DataSet("_lens $x$", [(400, 1), (410, 2)])]
    file = vek.io.load_vekfile_binary_data(Contents(data_sets=sets).file())
    plain = interop.as_dict(file)
    assert json.loads(json.dumps(plain)) == plain
    assert [*plain] == ["meta", "graph", "data_sets", "data_info"]
    assert plain["data_sets"][0]["data"]["value"] == [1, 2]
    assert isinstance(plain["data_info"]["type_and_units"]["units_code"], int)
    observer = vek.Observer(ODD, ODD, Scan())
    assert interop.as_dict(observer)["x"]["wavelength"] == ODD.wavelengths()
    xyz = vek.colorimetry.CIEXYZ(1, math.nan, math.inf)
    assert interop.as_dict(xyz) == {"X": 1, "Y": None, "Z": None}
    assert interop.as_dict(xyz, keep_nan=True)["Z"] == math.inf


def test_spectra_keep_label_kind_and_unit() -> None:
    lens = vek.Spectrum(Scan([400, 410, 420], [25, 50, 60]), "transmittance", "%", "lens 7")
    series, array = interop.to_series(lens), interop.to_dataarray(lens)
    assert series.name == array.name == "lens 7"
    for attrs in (series.attrs, array.attrs):
        assert (attrs["kind"], attrs["units"]) == ("transmittance", "%")
    frame = interop.to_frame([lens, lens.replace(label="")])
    assert list(frame.columns) == ["lens 7", 1]
    assert frame.attrs["scans"]["lens 7"]["units"] == "%"
    assert same(interop.from_frame(frame)["lens 7"], lens.scan)
