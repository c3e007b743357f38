"""The spellings of units that instruments write, and conversions between units."""

import subprocess
import sys

import pytest

import vekanalysis as vek
from vekanalysis import units

# Canonical spelling, factor to the coherent unit, kind; and what means the same.
SPELLINGS = {
    ("W m-2 nm-1", 1.0, "W m-2 nm-1", "irradiance"): """
        W m-2 nm-1 | W/m2/nm | W/m^2/nm | W/m²/nm | W/(m²·nm) | W/(m2 nm) | W/(m^2 nm) | W/[m²·nm]
        W m⁻² nm⁻¹ | W·m⁻²·nm⁻¹ | W.m-2.nm-1 | W*m-2*nm-1 | W m^-2 nm^-1 | W m^{-2} nm^{-1}
        W m**-2 nm**-1 | W/m**2/nm | Wm-2nm-1 | Wm⁻²nm⁻¹ | W/m2nm | W/m2-nm | W/m2 nm | W/m²·nm
        W m -2 nm -1 | W m\N{MINUS SIGN}2 nm\N{MINUS SIGN}1 | [W/m²/nm] | (W/(m²·nm))
        Watts/m2/nm | W (m^2 nm)^-1
        watts per square meter per nanometer | Watt/(Quadratmeter·Nanometer)
        watt par mètre carré par nanomètre | W/(m²∙nm) | W nm-1 m-2 | W/nm/m²""",
    ("mW m-2 nm-1", 1e-3, "W m-2 nm-1", "irradiance"): """
        mW/(m^2*nm) | mW/m²/nm | mW m-2 nm-1 | mW/m2 nm""",
    ("mW cm-2 nm-1", 10.0, "W m-2 nm-1", "irradiance"): "mW/cm²/nm | mW cm-2 nm-1 | mW/(cm²·nm)",
    ("µW cm-2 nm-1", 0.01, "W m-2 nm-1", "irradiance"): """
        uW/cm2/nm | µW/cm²/nm | μW/cm^2/nm | µW·cm⁻²·nm⁻¹ | muW/cm2/nm | uW/(cm^2 nm)
        microwatt/cm2/nm | [µW/(cm²·nm)] | µWcm-2nm-1""",
    ("nW cm-2 nm-1", 1e-5, "W m-2 nm-1", "irradiance"): "nW/cm^2/nm",
    ("fW cm-2 nm-1", 1e-11, "W m-2 nm-1", "irradiance"): "fW/cm2/nm | femtowatts per cm² nm",
    ("W m-2 µm-1", 1e-3, "W m-2 nm-1", "irradiance"): """
        W/m2/um | W/m²/µm | W m-2 um-1 | W/m^2/micron""",
    ("W m-2 m-1", 1e-9, "W m-2 nm-1", "irradiance"): "W m-2 m-1 | W/m2/m",
    ("W m-2 Å-1", 10.0, "W m-2 nm-1", "irradiance"): "W/m2/Å | W/m2/Angstrom",
    ("erg cm-2 s-1 Å-1", 0.01, "W m-2 nm-1", "irradiance"): "erg/s/cm2/Å | erg s-1 cm-2 angstrom-1",
    ("W m-2", 1.0, "W m-2", "irradiance"): "W/m2 | W m^-2 | W_m-2 | (W)/(m2) | W/(m)2",
    ("nm s", 1e-9, "m s", None): "nms",
    ("W m-2 sr-1 nm-1", 1.0, "W m-2 sr-1 nm-1", "radiance"): """
        W/(m2 sr nm) | W m-2 sr-1 nm-1 | W/m²/sr/nm | W/sr/m²/nm | W/sr m2 nm | W/m^2-sr-nm""",
    ("mW m-2 sr-1 nm-1", 1e-3, "W m-2 sr-1 nm-1", "radiance"): "mW/(m²·sr·nm)",
    ("W sr-1 nm-1", 1.0, "W sr-1 nm-1", "intensity"): "W/sr/nm | W/(sr nm)",
    ("W nm-1", 1.0, "W nm-1", "flux"): "W/nm | (W) nm-1",
    ("mW", 1e-3, "W", "flux"): "mW | milliwatts",
    ("%", 0.01, "1", None): "% | percent | Per Cent | Prozent | pour cent | por ciento | [%] | (%)",
    ("1", 1.0, "1", None): "1 | [1] | [-] | dimensionless | Fraction",
    ("OD", 1.0, "OD", "absorbance"): "OD | O.D. | Abs | Abs. | optical density | Optische Dichte",
    ("a.u.", 1.0, "a.u.", None): "a.u. | arb. units | rel. units | willkürliche Einheiten | w.E.",
    ("counts", 1.0, "counts", "counts"): "counts | Counts | cts",
    ("counts s-1", 1.0, "counts s-1", "counts"): "counts/s | counts per second | Cts/sec",
    ("A W-1", 1.0, "A W-1", "responsivity"): "A/W | A W-1 | A·W⁻¹ | ampere/watt",
    ("mA W-1", 1e-3, "A W-1", "responsivity"): "mA/W",
    ("A m2 W-1", 1.0, "A m2 W-1", "responsivity"): "A m2 W-1 | A/W m2 | A/W·m²",
    ("lx", 1.0, "lx", None): "lx | lux",
    ("µmol m-2 s-1 nm-1", 1e-6, "mol m-2 s-1 nm-1", None): "µmol m-2 s-1 nm-1 | µmol/(m² s nm)",
    ("W m-3", 1.0, "W m-3", None): "W/m3",
    ("nm-1", 1.0, "nm-1", None): "1/nm",
    ("W m-2 mm-1", 1e-6, "W m-2 nm-1", "irradiance"): "W/m2/mm | W m-2 millimetre-1",
    ("mJ m-2 s-1 nm-1", 1e-3, "W m-2 nm-1", "irradiance"): "mJ s-1 m-2 nm-1 | mJ/s/m²/nm",
    ("J m-2 nm-1", 1.0, "J m-2 nm-1", None): "J/m2/nm",
    ("erg s-1", 1e-7, "W", "flux"): "erg/s",
    ("W m-2 sr-1", 1.0, "W m-2 sr-1", "radiance"): "W/m2/sr",
    ("W sr-1", 1.0, "W sr-1", "intensity"): "W/sr",
    ("counts nm-1", 1.0, "counts nm-1", "counts"): "cts/nm",
    ("V W-1", 1.0, "V W-1", "responsivity"): "V/W",
    ("V m2 W-1", 1.0, "V m2 W-1", "responsivity"): "V/W m2",
    ("lx nm s-1", 1e-9, "lx m s-1", None): "lx/s nm",
    ("m2", 1.0, "m2", None): "m² | m+2 | m^(2 | Quadratmeter | sq metre | meters squared",
    ("nm-2", 1e18, "m-2", None): "(nm)-2 | 1 / nm²",
    ("‰", 1e-3, "1", None): "‰ | per mille",
    ("mOD", 1e-3, "OD", "absorbance"): "mOD | mAU | milliabsorbance",
}
CASES = [
    (text.strip(), expected)
    for expected, texts in SPELLINGS.items()
    for text in texts.replace("\n", "|").split("|")
    if text.strip()
]


def test_there_are_enough_spellings() -> None:
    assert len({text for text, _ in CASES}) == len(CASES) >= 60


@pytest.mark.parametrize(("text", "expected"), CASES, ids=[text for text, _ in CASES])
def test_what_instruments_write_is_understood(
    text: str, expected: tuple[str, float, str, str | None]
) -> None:
    unit = units.parse(text)
    assert unit is not None
    assert unit == expected
    assert units.parse(unit.name) == unit


@pytest.mark.parametrize(
    "text",
    [
        *(
            "",
            "furlong",
            "lens 7",
            "Lens",
            "T",
            "AU",
            "dB",
            "°C",
            "MW/M2/NM",
            "W/(m2",
            "W/m2)",
            "()",
        ),
        *("W/m2/nm.", "W/m2-", ".W", "-W", "W?m2", "1W", "W 1/nm", "W square", "W/m^0", "WWm", "h"),
        "W" + " " * 120,
    ],
)
def test_what_is_not_understood_is_no_unit(text: str) -> None:
    assert units.parse(text) is None


@pytest.mark.parametrize(
    "text", ["W//m", "m^", "2", "nm9" * 30, "(" * 60 + "%" + ")" * 60, "W " * 1000]
)
def test_nonsense_of_any_length_ends(text: str) -> None:
    units.parse(text)
    assert units.parse("W" + " " * 119) is not None


def test_the_table_of_common_names_says_what_pint_does() -> None:
    for name, atom in units._ATOMS.items():
        if not name.startswith("micron"):
            assert units._from_pint(name) == atom


def test_common_spellings_do_not_import_pint() -> None:
    texts = [text for text, _ in CASES[:30] if text[0] == "W" and "att" not in text]
    code = f"""
import sys
from vekanalysis import units
from vekanalysis.reading import state
for text in {texts}:
    assert units.parse(text), text
for title in ("T (lens 7)", "Sample A (left)", "%T", "Irradiance [mW/(m²·nm)]", "Probe (links)"):
    state(title)
print("pint" in sys.modules)
"""
    done = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, check=True)
    assert done.stdout == "False\n"


@pytest.mark.parametrize(
    ("have", "wanted", "expected"),
    [
        ("%", "1", (1.0, 100.0)),
        ("1", "%", (100.0, 1.0)),
        ("W/m2", "W m-2", (1.0, 1.0)),
        ("mW/cm²/nm", "nW/cm²/nm", (1e6, 1.0)),
        ("erg/s/cm2/Å", "W/m2/nm", (1.0, 100.0)),
    ],
)
def test_a_ratio_is_a_factor_or_a_divisor(
    have: str, wanted: str, expected: tuple[float, float]
) -> None:
    assert units.ratio(units.known(have), units.known(wanted)) == expected


RELATIVE = "% ‰ 1 a.u."
FITTING = {
    "transmittance": "% ‰ 1",
    "reflectance": "% ‰ 1",
    "absorbance": "1 OD mOD",
    "irradiance": f"W/m2/nm mW/cm2 {RELATIVE}",
    "flux": f"W/nm {RELATIVE}",
    "counts": f"cts cts/s {RELATIVE}",
    "responsivity": f"A/W V/W {RELATIVE}",
    "other": f"W/m2/nm mW/cm2 W/nm cts cts/s A/W V/W OD mOD lx {RELATIVE}",
}


@pytest.mark.parametrize(("kind", "fitting"), FITTING.items())
def test_units_fit_their_kinds(kind: units.Kind, fitting: str) -> None:
    every = FITTING["other"].split()
    found = {text for text in every if units.fits(kind, units.known(text))}
    assert found == {*fitting.split()}
    with pytest.raises(vek.Refusal, match=r"^the unit 'furlong' is not understood$"):
        units.known("furlong")
