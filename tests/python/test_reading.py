"""The one door for files: what is stated of columns, what is done with it, and what is refused."""

import contextlib
import io
import math
import time
from pathlib import Path
from typing import Any

import pytest
from cli import Points, write_vek
from vekwriter import Contents, DataSet

import vekanalysis as vek
from vekanalysis.errors import for_command_line


def read(text: str | bytes, **options: Any) -> list[vek.Spectrum]:
    file = io.BytesIO(text.encode() if isinstance(text, str) else text)
    file.name = "lens.csv"
    return vek.read(file, **options)


# A title, what it is taken for, and by what the value 8 of the file comes out.
TITLES = """
T (%) -> transmittance 1 0.08
%T -> transmittance 1 0.08
T / % -> transmittance 1 0.08
T(λ) [%] -> transmittance 1 0.08
Transmissionsgrad in % -> transmittance 1 0.08
Facteur de transmission (%) -> transmittance 1 0.08
Percent Transmission -> transmittance 1 0.08
透過率(%) -> transmittance 1 0.08
T (lens 7), % -> transmittance 1 0.08
Reflectance [1] -> reflectance 1 8
R% -> reflectance 1 0.08
Absorbance -> absorbance OD 8
Abs. -> absorbance OD 8
Transmission density -> absorbance OD 8
Optische Dichte [mOD] -> absorbance OD 0.008
A (OD) -> absorbance OD 8
E [mW/(m^2*nm)] -> irradiance W m-2 nm-1 0.008
Ee,λ [µW·cm⁻²·nm⁻¹] -> irradiance W m-2 nm-1 0.08
E / (W m-2 um-1) -> irradiance W m-2 nm-1 0.008
Spektrale Bestrahlungsstärke in mW/(m²·nm) -> irradiance W m-2 nm-1 0.008
Éclairement énergétique (W/m2/nm) -> irradiance W m-2 nm-1 8
Irradiance mW/(m2 nm) -> irradiance W m-2 nm-1 0.008
mW/m2/nm -> irradiance W m-2 nm-1 0.008
Intensity [W/m2/nm] -> irradiance W m-2 nm-1 8
Irradiance -> irradiance None 8
L [W m-2 sr-1 nm-1] -> radiance W m-2 sr-1 nm-1 8
Intensity (a.u.) -> intensity a.u. 8
Intensity [counts] -> counts counts 8
Sensitivity [mA/W] -> responsivity A W-1 0.008
Lens 7 [%] -> unknown 1 0.08
Lens 7 -> unknown None 8
A/B -> unknown None 8
A -> other None 8
A [%] -> other % 8
Absorptance (%) -> other % 8
Absorbance (a.u.) -> other a.u. 8
Irradiance [furlong] -> other furlong 8
T (°C) -> other °C 8
I / A -> other A 8
Illuminance (lx) -> other lx 8
Transmittance [W/m2/nm] -> other W m-2 nm-1 8
1-T -> other None 8
log T -> other None 8
uncertainty of T -> other None 8
Transmission (of a reflectance standard) -> other None 8
Absorbance (mAU) -> absorbance OD 0.008
Absorbance (ln) -> other None 8
Napierian absorbance -> other None 8
Transmission (dB) -> other None 8
AU -> other None 8
Reflektanz [1] -> reflectance 1 8
u(T) -> other None 8
U [%] -> other % 8
StdDev -> other None 8
Lens 7 (%R) -> reflectance 1 0.08
%T Lens 7 -> transmittance 1 0.08
A (%T) -> transmittance 1 0.08
u(%T) -> other % 8
100-%T -> other % 8
Abs1 -> absorbance OD 8
ABS 3 -> unknown None 8
Power (dBm) -> other None 8
Reintransmissionsgrad -> other None 8
T ratio -> other None 8
V/nm -> other V nm-1 8
Irradiance x 1e6 W/m2/nm -> other x 1e6 W/m2/nm 8
10^-6 W/m2/nm -> other 10^-6 W/m2/nm 8
Irradiance 10-6 W/m2/nm -> other 10-6 W/m2/nm 8
Irradiance (mW/m2/nm) x10 -> other x10 mW/m2/nm 8
T (0.1%) -> other 0.1% 8
T (0.1 ‰) -> other 0.1 ‰ 8
Grey 85% tint -> unknown None 8
Lens 50 % -> unknown None 8
Dye 5% T -> unknown None 8
100%T -> transmittance 1 0.08
Irradiance µ W/m2/nm -> other µ W/m2/nm 8
Irradiance ? W/m2/nm -> other ? W/m2/nm 8
Irradiance in micro W/m2/nm -> other micro W/m2/nm 8
Abs (milli) -> other (milli) 8
1000 x Transmittance -> other 1000 x 8
Abs/10 -> other /10 8
Absorbance per cm -> other cm-1 8
Optical density/mm -> other mm-1 8
Absorbance, 10x dilution -> absorbance OD 8
Lens 10 %T -> transmittance 1 0.08
Lens 10 %T2 -> transmittance 1 0.08
R (%T) -> transmittance 1 0.08
Lens 5/10 T% -> transmittance 1 0.08
Transmittance (0-100) -> transmittance 1 0.08
milliabsorbance -> absorbance OD 0.008
Log Absorbance -> other None 8
2nd Deriv. Abs -> other None 8
Delta Absorbance -> other None 8
Normalised transmittance -> other a.u. 8
Normalised irradiance -> irradiance a.u. 8
Irradiance intensity -> irradiance None 8
Radiant flux, radiant intensity -> other None 8
E [W/cm²/nm] -> irradiance W m-2 nm-1 80000
Reflectance (counts) -> other counts 8
"""


@pytest.mark.parametrize("case", TITLES.strip().splitlines())
def test_titles_state_kind_and_unit(case: str) -> None:
    title, expected = case.split(" -> ")
    kind, *unit, value = expected.split()
    (spectrum,) = read(f"Wavelength [nm];{title}\n400;8\n410;8\n")
    assert (spectrum.kind, str(spectrum.unit)) == (kind, " ".join(unit))
    assert spectrum.scan.values() == [float(value)] * 2
    # Whatever is stated is told.
    assert bool(spectrum.notes) == (expected != "unknown None 8")


FILES: dict[str, tuple[str, dict[str, Any], list[tuple[str, str, str | None, list[float]]]]] = {
    "pairs": ("400 1\n410 2\n", {}, [("lens", "unknown", None, [1, 2])]),
    "commas": ("400,1\n410,2\n", {}, [("lens", "unknown", None, [1, 2])]),
    "a title overruled": (
        "Channel;T\n400;1\n410;2\n",
        {"wavelength_unit": "nm"},
        [("lens", "transmittance", None, [1, 2])],
    ),
    "a time": ("Time\t12:30\n400\t1\n410\t2\n", {}, [("lens", "unknown", None, [1, 2])]),
    "wavelengths in names": (
        "Title;x\nE 400[nm];0,5\nE 410,5 [nm];0,6\nUnit;W/m2/nm\n",
        {},
        [("lens", "irradiance", "W m-2 nm-1", [0.5, 0.6])],
    ),
    "unit in a header": (
        "Unit: mW/m2/nm\n400;1000\n410;2000\n",
        {},
        [("lens", "irradiance", "W m-2 nm-1", [1, 2])],
    ),
    "eyes": (
        "nm;OD;OS\n400;1;2\n410;2;3\n",
        {},
        [("OD", "unknown", None, [1, 2]), ("OS", "unknown", None, [2, 3])],
    ),
    "quoted decimal commas": (
        '"nm","E"\n"400,5","1,25"\n"410,0","2,0"\n"420,5","3,5"\n',
        {},
        [("lens", "irradiance", None, [1.25, 2, 3.5])],
    ),
    "a first point far off": (
        "2 9\n400 1\n410 2\n420 3\n",
        {"skip": 1},
        [("lens", "unknown", None, [1, 2, 3])],
    ),
    "unit row": (
        "Wavelength;a;b\nnm;%;W m-2 nm-1\n400;5;1\n410;6;2\n",
        {},
        [("a", "unknown", "1", [0.05, 0.06]), ("b", "irradiance", "W m-2 nm-1", [1, 2])],
    ),
    "two kinds": (
        "nm;T (%);Abs\n400;10;1\n410;1;2\n",
        {},
        [("T (%)", "transmittance", "1", [0.1, 0.01]), ("Abs", "absorbance", "OD", [1, 2])],
    ),
    "samples A and B": (
        "nm;A;B\n400;1;2\n",
        {},
        [("A", "unknown", None, [1]), ("B", "unknown", None, [2])],
    ),
    "units behind": ("380 nm;5 %\n390 nm;6%\n", {}, [("lens", "unknown", "1", [0.05, 0.06])]),
    "µm behind": ("0.38 µm;5\n0.39 µm;6\n", {}, [("lens", "unknown", None, [5, 6])]),
    "no numbers": (
        "nm;T [%]\n380;5\n390;OVER\n400;---\n410;*****\n420;7\n",
        {},
        [("lens", "transmittance", "1", [0.05, 0.07])],
    ),
    "apostrophes": ("999;1\n1'000;2\n", {}, [("lens", "unknown", None, [1, 2])]),
    "blanks in numbers": ("999;1\n1 000;2\n", {}, [("lens", "unknown", None, [1, 2])]),
    "points in numbers": ("999,5;1\n1.000,5;2\n", {}, [("lens", "unknown", None, [1, 2])]),
    "pairs of columns": (
        "Lens A,,Lens B,\nWavelength (nm),%T,Wavelength (nm),%T\n400,50,400,60\n,,410,70\n",
        {},
        [("Lens A", "transmittance", "1", [0.5]), ("Lens B", "transmittance", "1", [0.6, 0.7])],
    ),
    **{
        f"pairs below '{title}'": (
            f"{title}; Lens 1 %T;{again};Lens 2 %T\n400;50;500;20\n410;60;510;30\n",
            {},
            [
                ("Lens 1 %T", "transmittance", "1", [0.5, 0.6]),
                ("Lens 2 %T", "transmittance", "1", [0.2, 0.3]),
            ],
        )
        for title, again in (
            ("X", "X"),
            ("X1 (nm)", "X2 (nm)"),
            ("Lunghezza d'onda [nm]", "Lunghezza d'onda [nm]"),
            ("波长(nm)", "波长(nm)"),
        )
    },
    "pairs without names": (
        "nm;T;nm;R\n400;0.5;400;0.6\n",
        {},
        [("T", "transmittance", None, [0.5]), ("R", "reflectance", None, [0.6])],
    ),
    "header": ("YUNITS=%T\n400;50\n410;60\n", {}, [("lens", "transmittance", "1", [0.5, 0.6])]),
    "unit of a header, kind of a title": (
        "Unit: mW/m2/nm\nnm;Irradiance;T\n400;1;0.5\n410;2;0.6\n",
        {},
        [
            ("Irradiance", "irradiance", "W m-2 nm-1", [0.001, 0.002]),
            ("T", "transmittance", None, [0.5, 0.6]),
        ],
    ),
    "header of places": (
        "#HDR\n1\n#GR\nnm\n%T\n1.000000\n0.000000\n400\n10\n#DATA\n400\t50\n410\t60\n",
        {},
        [("lens", "transmittance", "1", [0.5, 0.6])],
    ),
    "header of modes": (
        "Mode;Absorbance\nSlit [nm];2\nWavelength;Lens 7\n400;1\n410;2\n",
        {},
        [("lens", "absorbance", "OD", [1, 2])],
    ),
    "a line above": (
        "# T in %\n400 50\n410 60\n",
        {},
        [("lens", "transmittance", "1", [0.5, 0.6])],
    ),
    "no line above": ("T: 25 %\n400 1\n410 2\n", {}, [("lens", "unknown", None, [1, 2])]),
    "asked": ("400;50\n410;60\n", {"unit": "%"}, [("lens", "unknown", "1", [0.5, 0.6])]),
    "dark": (
        "nm;T\n400;1.51\n",
        {"unit": "%"},
        [("lens", "transmittance", "1", [0.0151])],
    ),
    "kind asked": (
        "nm;A\n400;1\n410;2\n",
        {"kind": "absorbance"},
        [("lens", "absorbance", "OD", [1, 2])],
    ),
    "arbitrary": (
        "nm;Intensity (a.u.)\n400;1\n410;2\n",
        {"unit": "mW/m2/nm"},
        [("lens", "irradiance", "W m-2 nm-1", [0.001, 0.002])],
    ),
    "in volts": ("nm;T [V]\n400;1\n410;2\n", {}, [("lens", "other", "V", [1, 2])]),
    "photons": ("nm;V/nm\n400;1\n410;2\n", {}, [("lens", "other", "V nm-1", [1, 2])]),
    "as stated": (
        "nm;T [%]\n400;50\n410;60\n",
        {"unit": "percent", "kind": "transmittance"},
        [("lens", "transmittance", "1", [0.5, 0.6])],
    ),
}


# The facts of some of these files, and the notes of their spectra.
NOTES: dict[str, tuple[dict[str, str], list[str]]] = {
    "a time": ({"time": "12:30"}, []),
    "wavelengths in names": ({"sample": "x", "Unit": "W/m2/nm"}, [
        "the wavelengths stand in the names of the rows, as 'E 400[nm]'",
        "column 1 'Unit;W/m2/nm': irradiance in W m-2 nm-1",
    ]),
    "unit in a header": ({"Unit": "mW/m2/nm"}, [
        "column 1 'Unit: mW/m2/nm': irradiance in mW m-2 nm-1, divided by 1000"
    ]),
    "unit row": ({}, [
        "column 1 'a %': in %, kind not stated, divided by 100",
        "column 2 'b W m-2 nm-1': irradiance in W m-2 nm-1",
    ]),
    "units behind": ({}, ["column 1: in %, kind not stated, divided by 100"]),
    "µm behind": ({}, ["wavelengths converted from um to nm"]),
    "no numbers": ({}, [
        "'T [%]': cells without a number left out: 3, the first in line 3",
        "column 1 'T [%]': transmittance in %, divided by 100",
    ]),
    "header of places": (
        {"XUNITS": "nm", "YUNITS": "%T", "YFACTOR": "1.000000", "YOFFSET": "0.000000"}, [
            "skipped, since there are no numbers: line 1, 2, 3, 8, 9",
            "column 1 'YUNITS: %T': transmittance in %, divided by 100",
        ],
    ),
    "header of modes": ({"Mode": "Absorbance", "slit": "2 nm"}, [
        "column 1 'Mode;Absorbance': absorbance in OD"
    ]),
    "a line above": ({}, ["column 1 '# T in %': transmittance in %, divided by 100"]),
    "no line above": ({"T": "25 %"}, []),
    "pairs without names": ({}, [
        "column 1 'T': transmittance, unit not stated", "column 3 'R': reflectance, unit not stated"
    ]),
    "asked": ({}, ["column 1: in %, kind not stated, as asked, divided by 100"]),
    "kind asked": ({}, ["column 1 'A': absorbance in OD, as asked"]),
    "arbitrary": ({}, [
        "column 1 'Intensity (a.u.)': irradiance in mW m-2 nm-1, as asked, divided by 1000"
    ]),
    "in volts": ({}, ["column 1 'T [V]': transmittance is not measured in V"]),
    "photons": ({}, ["column 1 'V/nm': in V nm-1, another quantity"]),
}  # fmt: skip


@pytest.mark.parametrize("case", FILES)
def test_files_are_read_as_they_state(case: str) -> None:
    text, options, expected = FILES[case]
    spectra = read(text, **options)
    found = [(s.label, s.kind, s.unit, s.scan.values()) for s in spectra]
    assert found == expected
    assert all(380.0 <= s.scan.min_wavelength() <= 999.5 for s in spectra)
    if case in NOTES:
        notes = dict.fromkeys(note for spectrum in spectra for note in spectrum.notes)
        assert (spectra[0].metadata, [*notes]) == NOTES[case]


ROWS = "400;1;9\n410;2;3\n"
# Labels, wavelengths and values as they come out, and all that is told.
TOLD: list[tuple[str, dict[str, Any], dict[str, tuple[list[float], list[float]]], list[str]]] = [
    ("nm;a;um;b\n400;1;.5;2\n500;1;.6;2\n", {},
     {"a": ([400, 500], [1, 1]), "b": ([500, 600], [2, 2])},
     ["wavelengths converted from um to nm"]),
    ('"nm" ;"a ""b"" ; c";\t"d\n400;1;"2"\n', {},
     {'a "b" ; c': ([400], [1]), '"d': ([400], [2])}, []),
    ("410 1\n400 2\n405 3\n", {"sort": True}, {"lens": ([400, 405, 410], [2, 3, 1])}, []),
    *(
        (f"n,wl,T\n{first},400,0.25\n{second},410,0.5\n", {},
         {"lens": ([400, 410], [0.25, 0.5])} if counts else
         {"n": ([400, 410], [first, second]), "T": ([400, 410], [0.25, 0.5])},
         ["'n' left out: it numbers the rows"] * counts)
        for first, second, counts in ((0, 1, 1), (1, 2, 1), (2, 3, 0), (0, 2, 0))
    ),
    ("wl,n\n400,1\n410,2\n", {}, {"lens": ([400, 410], [1, 2])}, []),
    ("n,wl,T\n1,400,5\n2,410,6\n", {"columns": ["wl", "n"]}, {"lens": ([400, 410], [1, 2])}, []),
    ("nm;a;b\n400;1;\n410;2;3\n420;;4\n", {},
     {"a": ([400, 410], [1, 2]), "b": ([410, 420], [3, 4])},
     ["'a': cells without a number left out: 1, the first in line 4"]),
    ("nm;a;nm;b\n400;1;400;2\n410;;410;3\n;;420;4\n", {},
     {"a": ([400], [1]), "b": ([400, 410, 420], [2, 3, 4])},
     ["'a': cells without a number left out: 1, the first in line 3"]),
    *(
        (f"nm{sign}a\n400{sign}1\n400{sign}4\n400{sign}7\n410{sign}3\n", {"duplicates": rule},
         {"lens": ([400, 410], [value, 3])},
         ["'a': points merged with others of the same wavelength: 2"])
        for sign in "; " for rule, value in (("first", 1), ("last", 7), ("mean", 4))
    ),
    ("400 1\n400 2\n400 4\n410 3\n", {"duplicates": "last"}, {"lens": ([400, 410], [4, 3])},
     ["2 repeated wavelengths: the last value of each counts"]),
    ("400 1\n400 2\n410 3\n", {"duplicates": "last"}, {"lens": ([400, 410], [2, 3])},
     ["1 repeated wavelength: the last value of each counts"]),
    ("nm;a;a;a (2);a\n400;1;2;3;4\n", {}, {
        "a": ([400], [1]), "a (2)": ([400], [2]), "a (2) (2)": ([400], [3]), "a (3)": ([400], [4]),
    }, []),
    ("x;nm;T\n5;400;1\n6;410;2\n", {}, {"x": ([400, 410], [5, 6]), "T": ([400, 410], [1, 2])}, []),
    (f"nm;a [x];b / y\n{ROWS}", {"columns": ("nm", "b")}, {"lens": ([400, 410], [9, 3])}, []),
    (f"nm;a [x];b / y\n{ROWS}", {"columns": (0, "a")}, {"lens": ([400, 410], [1, 2])}, []),
    ("0.4;1\n0.5;2\n", {"wavelength_unit": "um"}, {"lens": ([400, 500], [1, 2])},
     ["wavelengths converted from um to nm"]),
    *(
        ("".join(map("t{}\n".format, range(count))) + "400 1\n", {}, {"lens": ([400], [1])},
         [f"skipped, since there are no numbers: line 1, 2, 3, 4, 5{more}"])
        for count, more in ((6, ""), (7, " and 1 more"), (9, " and 3 more"))
    ),
]  # fmt: skip


@pytest.mark.parametrize(("text", "options", "points", "notes"), TOLD)
def test_what_is_done_to_a_table_is_told(
    text: str,
    options: dict[str, Any],
    points: dict[str, tuple[list[float], list[float]]],
    notes: list[str],
) -> None:
    spectra = read(text, **options)
    assert {spectrum.label: spectrum.scan.to_lists() for spectrum in spectra} == points
    assert [note for note in spectra[0].notes if not note.startswith("column")] == notes


@pytest.mark.parametrize(("highest", "told"), [(1.5, True), (2, False)])
def test_per_cent_that_look_like_fractions_are_told(highest: float, told: bool) -> None:
    (lens,) = read(f"nm;T [%]\n400;0.5\n410;{highest}\n")
    assert lens.scan.values() == [0.005, highest / 100]
    assert lens.notes[0].endswith("divided by 100, at most 1.5 %" if told else "divided by 100")


REFUSED: dict[str, tuple[str, dict[str, Any], str, str]] = {
    "unit against %": ("nm;T [1]\n400;1", {"unit": "%"}, "stated is 1, asked for is %", "--unit"),
    "kind": ("nm;R\n400;1", {"kind": "transmittance"}, "stated is reflectance, asked", "--kind"),
    "other": ("nm;Absorptance\n400;1", {"kind": "transmittance"}, "another quantity", "--kind"),
    "no fit": (
        "nm;T\n400;1",
        {"unit": "W/m2/nm"},
        "lens.csv: column 1 'T': stated is transmittance, which is not measured in W m-2 nm-1",
        "",
    ),
    "no fit of two": (
        "400;1",
        {"unit": "W/m2/nm", "kind": "transmittance"},
        "transmittance is not measured in W m-2 nm-1",
        "",
    ),
    "furlong": ("400;1", {"unit": "furlong"}, "the unit 'furlong' is not understood", ""),
    "kind unknown": ("400;1", {"kind": "unknown"}, "kind is 'unknown'; it must be one of", ""),
    "like per cent": ("nm;T\n400;85", {}, "looks like per cent; pass unit='%'", "--unit '%'"),
    "like fractions": (
        "nm;T\n400;0.85",
        {"unit": "%"},
        "reaches no more than 0.85, which looks like fractions",
        "leave --unit out if they are fractions, or give --kind transmittance too",
    ),
    "like fractions still": ("nm;T\n400;1.5", {"unit": "%"}, "reaches no more than 1.5, which", ""),
    **{
        f"header with {fact}": (f"{fact}\nnm\tT\n400\t1\n410\t2\n", {}, reason, "")
        for fact, reason in {
            "YFACTOR\t100": "its numbers are to be converted (YFACTOR is 100)",
            "#GR\nnm\n%T\n1.0\n5.0": "its numbers are to be converted (YOFFSET is 5.0)",
        }.items()
    },
    **{
        f"axis of {name}": (f"{fact}\n400\t1\n410\t2\n", {}, reason, "")
        for name, fact, reason in (
            ("#GR", "#GR\nCM-1\n%T\n1.0\n0.0", "'CM-1' is in cm-1"),
            ("Raman", "XAxis mode: Raman Shifts", "'Raman Shifts' is no title of wavelengths"),
        )
    },
    "factor": (
        "Y multiplier: 1E-03\nnm;E [W/m2/nm]\n400;1",
        {},
        "may be to be multiplied (Y multiplier is 1E-03); pass skip=",
        "",
    ),
    "wavelengths": (
        "Wavelength (µm);T\n.4;1",
        {"wavelength_unit": "nm"},
        "in um ('Wavelength (µm)'), asked for is nm",
        "--wavelength-unit",
    ),
    **{
        f"'{title}'": (f"{title};T\n400;1", {}, reason, "")
        for title, reason in {
            "1/nm": "is in the reciprocal of a length",
            "nm-1": "is in the reciprocal of a length",
            "Wavelength [0.1 nm]": "is in multiples, logarithms or differences",
            "Wavelength (nm x 10)": "is in multiples, logarithms or differences",
            "Wavenumber (10^3 cm-1)": "is in multiples, logarithms or differences",
            "log λ (nm)": "is in multiples, logarithms or differences",
        }.items()
    },
    "wavenumbers": ("Wavenumber [cm-1];T\n400;1", {}, "is in cm-1, not a wavelength", ""),
    "axis": ("Frequency;T\n400;1", {}, "'Frequency' is no title of wavelengths", "--columns"),
    "axis by its unit": ("x [K];T\n400;1", {}, "'x [K]' is no title", "--wavelength-unit nm"),
    "axis by its kind": ("Absorbance;T\n4;1", {}, "'Absorbance' is no title", ""),
    "axis of times": ("Time (s);T\n400;1", {}, "'Time (s)' is no title of wavelengths", ""),
    "two units": ("nm;T\n400;5 %\n410;6 mW\n", {}, "line 3: column 1 has 'mW' behind", ""),
    "title and cells": ("nm;T [1]\n400;5 %\n", {}, "in 1 by its title and in % by its cells", ""),
    "thousands": ("nm;E\n999.5;1.5\n1000.5;2,000\n", {}, "read in two ways", "--decimal '.'"),
    "mixed signs": ("nm;T\n400;0.5\n410;0,600\n", {}, "read in two ways", "--decimal '.'"),
    "no thousands": ("nm;T\n400;0.5\n410;1'00\n", {}, "no groups of three digits", "--skip 3-3"),
    "two tables": (
        "Peak;nm;T\n1;400;5\n\nPoints\n400;1\n410;2\n",
        {},
        "line 5: 2 columns where line 2 has 3; pass skip=2",
        "--skip 2",
    ),
    "names in two units": (
        "E 0.39[um];5\nE 400[nm];6\nE 410[nm];6\n",
        {},
        "need lines with two",
        "",
    ),
    "names of two": ("E 400[nm];5\nL 410[nm];6\n", {}, "got 'E 400[nm];5', need lines", ""),
    "a count": (
        "3 1\n400 1\n410 2\n420 3\n",
        {},
        "line 1: 3 is far from the wavelengths below it, 400 and on; pass skip={1} to",
        "--skip 1-1",
    ),
    "a count above titles": ("3;1\nnm;T\n400;1\n410;1\n", {}, "line 2: 'nm;T' is not a row", ""),
    "rows for columns": (
        "400;410;420;430\n0,5;0,6;0,7;0,8\n",
        {},
        "line 1: its numbers go from 400 to 430 in even steps",
        "exchange the rows and columns",
    ),
    "no order": ("400 1\n410 2\n405 3\n", {}, "line 3: wavelength 405 after 410", "--sort"),
    **{
        f"order of {text}": (text.replace(" ", "\n"), {"sort": True} if asked else {}, reason, "")
        for text, asked, reason in (
            ("410;1 400;2 ;7 405;3", 0, "line 3: there is no wavelength"),
            ("410;1 400;2 405;3", 0, "line 3: wavelength 405 after 400, where they descend"),
            ("410;1 400;2 400;3 405;3", 0, "line 3: wavelength 400 again; pass duplicates"),
            ("400;1 410;2 405;3 405;3", 0, "line 3: wavelength 405 after 410, where they ascend"),
            ("t;u 400;1 410;2 400;3", 1, "line 4: wavelength 400 again, after line 2; pass dupli"),
        )
    },
    **{
        f"column {column!r}": (text, {"columns": ("nm", column)}, reason, "")
        for text, column, reason in (
            (
                "nm;a;a\n400;1;1",
                "a",
                "there are several columns named 'a'; the columns are: 'nm', ",
            ),
            ("nm;a;b\n400;1;1", 3, "there is no column 3; there are 3, from 0"),
            ("nm;a;b\n400;1;1", -1, "there is no column -1; there are 3, from 0"),
            (f"nm{';c' * 7}\n1{';1' * 7}", "x", "named 'x'; the columns are: 'nm'" + ", 'c'" * 7),
            (f"nm{';c' * 9}\n1{';1' * 9}", "x", "'nm'" + ", 'c'" * 7 + " and 2 more"),
        )
    },
    "one column": ("400;;\n410;;", {}, "line 1: got one column, '400;;'; two are needed", ""),
    "no values": ("nm;a;b\n400;1;-\n410;1;", {}, "'b' has no numbers; choose others", "--columns"),
    "pairs apart": (
        "a;nm;b;nm;c\n5;400;2;400;1",
        {},
        "columns 1 'nm' and 3 'nm' look like wavelengths; choose with columns=",
        "the wavelengths first",
    ),
    "half a pair": ("nm;T;nm;T\n400;1;;1\n", {}, "line 2: there is no wavelength", ""),
    "beyond nm": ("um;T\n0.4;1\n1e306;1\n", {}, "a wavelength in um is too large", ""),
    "below nm": ("um;T\n1e-20;1\n0.4;1\n", {}, "a wavelength in um is too small", ""),
    "empty": ("", {}, "the file is empty", ""),
    "no codec": ("400;1", {"encoding": "undefined"}, "line 1: the bytes are not undefined", ""),
    "too long": (f'400;"{"1" * 200_000}"', {}, "line 1: '1{59}…' is too large a number", ""),
}


@pytest.mark.parametrize(("text", "options", "reason", "option"), REFUSED.values(), ids=REFUSED)
def test_what_contradicts_or_is_doubtful_is_refused(
    text: str, options: dict[str, Any], reason: str, option: str
) -> None:
    with pytest.raises(vek.Refusal) as caught:
        read(text, **options)
    assert reason.replace("1{59}", "1" * 59) in str(caught.value)
    assert option in for_command_line(caught.value)
    assert "=" not in for_command_line(caught.value).partition("; ")[2]


def test_refusals_quote_names_of_any_length_and_sort_in_one_short_line() -> None:
    hostile = [
        Contents(data_sets=[DataSet("A\n\x1b[2J" + "x" * 1000, [])]).file(),
        f"Wavenumber [cm-1] {'x' * 1000};T\n400;1\n410;1\n",
    ]
    for content in hostile:
        with pytest.raises(vek.Refusal) as caught:
            read(content)
        assert str(caught.value).isprintable()
        assert len(str(caught.value)) < 300


@pytest.mark.parametrize(
    ("header", "title", "note"),
    [
        ("Mode: %T", "Abs", "'Abs': the header states transmittance ('Mode: %T')"),
        ("Unit: mW/m2/nm", "E [W/m2/nm]", "states mW m-2 nm-1 ('Unit: mW/m2/nm')"),
        ("Unit: W/m2/nm", "E [W/m2/nm]", ""),
    ],
)
def test_a_header_that_states_something_else_is_told(header: str, title: str, note: str) -> None:
    (spectrum,) = read(f"{header}\nnm;{title}\n400;10\n410;20\n")
    assert spectrum.scan.values() == [10, 20]
    assert [note in told for told in spectrum.notes if "header" in told] == [True] * bool(note)


def test_what_a_file_is_does_not_depend_on_its_name(tmp_path: Path) -> None:
    points = [(400.0, 50.0), (410.0, 60.0)]
    facts = {"type_and_units": ("Transmittance / %", "3 1"), "date_and_time": "2026-05-04 10:00"}
    content = Contents(data_sets=[DataSet("A", points), DataSet("A", points)], **facts).file()
    path = tmp_path / "lens.csv"
    path.write_bytes(content)
    first, second = vek.read(path)
    assert (first.label, second.label) == ("A", "A (2)")
    assert first.scan.to_lists() == ([400, 410], [0.5, 0.6])
    assert first.notes == ("data set 'A': transmittance in %, divided by 100",)
    assert first.metadata["date"] == "2026-05-04 10:00"
    assert first.source.data_set == "A"
    assert len(first.source.sha256 or "") == 64
    assert vek.read(path, data_sets=["A (2)"]) == [second]
    path.write_bytes("Wellenlänge in nm;T\n400;0,5\n410;0,6\n".encode("utf-16"))
    assert vek.read(path)[0].scan.to_lists() == first.scan.to_lists()
    # In UTF-16 the second byte may be that of a version of SPC, and some letters end in zero.
    path.write_bytes(("MĀ\n" + "x\n" * 40 + "nm;T\n400;0,5\n410;0,6\n").encode("utf-16-be"))
    assert vek.read(path)[0].scan.to_lists() == first.scan.to_lists()


LENS = DataSet("A", [(0.4, 50.0), (0.41, 60.0)])


@pytest.mark.parametrize("applied", [False, True])
def test_records_of_measurement_files_are_metadata(applied: bool) -> None:
    contents = Contents(
        data_sets=[LENS],
        x_type=4,
        apply_data_calibration=applied,
        apply_reference=applied,
        pre_scan_addon_filename=" ",
    )
    (lens,) = read(contents.file(), unit="%", interpolation=vek.LINEAR, epsilon=0.5)
    expected = {
        "date": "2024-03-01 10:15:00",
        "summary": "summary",
        "measurement": "Transmittance",
        "x axis": "Wavelength / nm",
        "y axis": "Transmittance",
        "system file": "system.ini",
        "certificate file": "certificate.pdf",
        "add-on before": "before",
        "add-on after": "after",
        "add-on after, file": "after.exe",
    }
    if applied:
        expected |= {"reference": "none", "reference file": "reference.vek"}
        expected |= {"reference parameter": "1.0", "calibration file": "calibration.cal"}
    assert lens.metadata == expected
    assert lens.scan == vek.Scan([400, 410], [0.5, 0.6], 0.5, vek.LINEAR)
    assert lens.notes == (
        "wavelengths converted from um to nm",
        "data set 'A': transmittance in %, as asked, divided by 100",
    )


@pytest.mark.parametrize(
    ("contents", "options", "reason"),
    [
        (Contents(), {}, "lens.csv: there are no data sets in it"),
        (Contents(data_sets=[DataSet("A", [])]), {}, "lens.csv: data set 'A': it has no points"),
        (Contents(data_sets=[LENS, LENS]), {"data_sets": ["A", "B"]},
         "lens.csv: no data set 'B'; the data sets are: 'A', 'A (2)'"),
        (Contents(data_sets=[LENS], x_type=4), {"wavelength_unit": "nm"},
         "lens.csv: data set 'A': its x axis is 'Wavelength / µm', asked for is nm"),
        (Contents(data_sets=[LENS], x_type=1), {},
         "lens.csv: data set 'A': its x axis is 'Time / s', not a wavelength in nm"),
        (Contents(data_sets=[LENS]), {"decimal": "-"}, "decimal is '-'; it must be '.' or ','"),
    ],
)  # fmt: skip
def test_measurement_files_that_are_refused(
    contents: Contents, options: dict[str, Any], reason: str
) -> None:
    with pytest.raises(vek.Refusal) as caught:
        read(contents.file(), **options)
    assert caught.value.reason == reason
    with pytest.raises(
        vek.Refusal, match="^lens.csv: no readable measurement file: File corrupted$"
    ):
        read(contents.file()[:600])


def test_facts_of_headers_are_metadata() -> None:
    text = (
        "Probe: Lens 7\n# Operator = K\nSlit (nm);2,0\nDate\t1.5.2026\n\n400;1\n410;2\n\nSN: 5\nend"
    )
    (spectrum,) = read(text)
    assert spectrum.metadata == {
        "sample": "Lens 7", "operator": "K", "slit": "2,0 nm", "date": "1.5.2026", "SN": "5",
    }  # fmt: skip
    assert spectrum.notes == ("skipped, since there are no numbers: line 10",)


# Each of them took a time that grew with the square of its length, or failed with a traceback.
LONG = {
    "two long numbers": "1" * 40_000 + " " + "1" * 40_000 + "x\n",
    "brackets": "nm;" + "[" * 40_000 + "\n400;1\n410;2\n",
    "open brackets": "nm  " + "( " * 20_000 + "\n400 1\n410 2\n",
    "blanks": "cm" + " " * 40_000 + "x;T\n400;1\n410;2\n",
    "equal titles": f"nm{';T' * 8_000}\n400{';1' * 8_000}\n410{';1' * 8_000}\n",
    "pairs of columns": f"nm;T{';nm;T' * 3_000}\n400;1{';400;1' * 3_000}\n",
    "empty cells": f"nm;T{';' * 40_000}\n400;1{';' * 40_000}\n410;2{';' * 40_000}\n",
    "a quoted cell": f'"{"x" * 200_000}";T\n400;1\n410;2\n',
    "quotes": '"' * 100_000 + ";T\n400;1\n410;2\n",
    "blanks behind quotes": ";".join(['"1"'] * 20_000) + " " * 20_000 + "\n",
    "facts": "a:" * 50_000 + "\n400;1\n410;2\n",
    "shapes": "".join(f"{'x' * (i % 300)} {chr(97 + i % 26)}\n" for i in range(20_000)) + "400;1\n",
    "data sets": Contents(data_sets=[DataSet("A", [(400, 1)])] * 10_000).file(),
}


@pytest.mark.parametrize("text", LONG.values(), ids=LONG)
def test_time_is_in_proportion_to_the_input(text: str | bytes) -> None:
    started = time.process_time()
    for reader in (vek.read, vek.read_table):
        with contextlib.suppress(vek.Refusal):
            reader(io.BytesIO(text.encode() if isinstance(text, str) else text))
    # What took 20 s and more takes 1 s on a slow machine.
    assert time.process_time() - started < 8.0


def test_the_cell_at_fault_is_named_among_chosen_columns() -> None:
    content = io.StringIO(",wl,T\n0,400,0.25\n1,410,04403 2831 1678")
    with pytest.raises(vek.Refusal, match="'04403 2831 1678' has no groups of three digits"):
        vek.read(content, columns=("wl", "T"))


@pytest.mark.parametrize("first", [math.nan, 0.8])
def test_a_value_that_is_no_number_does_not_hide_per_cent(first: float, tmp_path: Path) -> None:
    points = [(400.0, first), (410.0, 85.0), (420.0, math.nan)]
    (tmp_path / "a.vek").write_bytes(Contents(data_sets=[DataSet("A", points)]).file())
    with pytest.raises(vek.Refusal, match="reaches 85, which looks like per cent"):
        vek.read(tmp_path / "a.vek")


@pytest.mark.parametrize(
    ("points", "told"),
    [
        ([(math.nan, 0.1), (400.0, 0.5), (410.0, 0.6)], ["1 point without a wavelength"]),
        ([(400.0, 0.5), (410.0, 0.6), (410.0, 0.7)], ["1 repeated wavelength"]),
        (
            [(math.nan, 0.1), *[(400.0, 0.5), (410.0, 0.6)] * 2, (math.nan, 0.1)],
            ["2 points without a wavelength", "2 repeated wavelengths"],
        ),
    ],
)
@pytest.mark.filterwarnings("ignore:.*without a wavelength")
def test_points_of_a_data_set_that_do_not_count_are_told(
    points: Points, told: list[str], tmp_path: Path
) -> None:
    (lens,) = vek.read(write_vek(tmp_path / "a.vek", [("A", points)]), kind="transmittance")
    notes = [note for note in lens.notes if "wavelength" in note]
    assert [note[: len(start)] for note, start in zip(notes, told, strict=True)] == told
