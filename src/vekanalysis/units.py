"""The units that spectra are in: what instruments write, read by one grammar.

A unit is known by its canonical spelling (``mW m-2 nm-1``), by the coherent unit it is a multiple
of (``W m-2 nm-1``), and by the kind of measurement that has it, where only one has.

A small grammar takes the spellings apart (brackets, slashes, dots, superscripts, words) into names
and exponents. Names that most instruments write stand in a table; pint knows the rest, and is
imported for these only.
"""

import math
import unicodedata
from functools import cache, lru_cache
from typing import Any, Final, Literal, NamedTuple, TypeGuard, get_args

from .errors import Refusal

__all__ = ["KINDS", "Kind", "Unit", "coherent", "fits", "is_kind", "known", "parse", "ratio"]

type Kind = Literal[
    "transmittance",
    "reflectance",
    "absorbance",
    "irradiance",
    "radiance",
    "intensity",
    "flux",
    "counts",
    "responsivity",
    "other",
    "unknown",
]

KINDS: Final[tuple[Kind, ...]] = get_args(Kind.__value__)
"""What a spectrum can be of.

Absorbance is decadic, as optical density is. "other" is what is stated to be something else, or
stated in words that are not understood; "unknown" is what nobody states.
"""


class Unit(NamedTuple):
    """A unit that is understood.

    Attributes
    ----------
    name : str
        Its canonical spelling, such as ``mW m-2 nm-1``, ``%``, ``1`` or ``OD``.
    scale : float
        What a value in it is multiplied by to be in ``base``.
    base : str
        The coherent unit of the same dimension, such as ``W m-2 nm-1``.
    kind : str or None
        The kind of measurement, where the unit alone says it.
    """

    name: str
    scale: float
    base: str
    kind: Kind | None


# Coherent units by kind; values of other units of that kind are multiples of one of them.
_COHERENT: dict[str, str] = {
    "transmittance": "1",
    "reflectance": "1",
    "absorbance": "OD",
    "irradiance": "W m-2 nm-1",
    "radiance": "W m-2 sr-1 nm-1",
    "intensity": "W sr-1 nm-1",
    "flux": "W nm-1",
    "counts": "counts",
    "responsivity": "A W-1",
}

# Units that are words rather than expressions, in lower case and without blanks.
_WORDS: dict[str, Unit] = {
    word: unit
    for unit, words in (
        (
            Unit("1", 1.0, "1", None),
            "1 - fraction fractions ratio unitless dimensionless einheitenlos dimensionslos "
            "sansunité sansdimension adimensional adimensionale 0..1 0-1 0to1",
        ),
        (
            Unit("%", 0.01, "1", None),
            "% \N{FULLWIDTH PERCENT SIGN} percent percents percentage pct pct. prozent procent "
            "pourcent pourcents porciento porcento percento 0..100 0-100 0to100",
        ),
        (Unit("‰", 0.001, "1", None), "‰ permille promille pourmille"),
        (
            Unit("a.u.", 1.0, "a.u.", None),
            "a.u. a.u arb arb. arb.u. arb.u arb.unit arb.units arbitrary arbitraryunit "
            "arbitraryunits rel rel. rel.u. rel.unit rel.units relative relativeunits relativ "
            "relativeeinheiten rel.einh. rel.einheiten w.e. willk.einh. willk.einheiten "
            "willkürlicheeinheiten unitéarbitraire unitésarbitraires unit.arb. "
            "unidadesarbitrarias unitàarbitrarie normalized normalised normiert",
        ),
        (
            Unit("OD", 1.0, "OD", "absorbance"),
            "od o.d. abs abs. absunits absorbance absorbanceunit absorbanceunits absorbanz "
            "opticaldensity optischedichte densitéoptique",
        ),
        (Unit("mOD", 0.001, "OD", "absorbance"), "mod mabs mabs. mau milliabsorbance"),
    )
    for word in words.split()
}

# The kinds by the dimensions of their units, an area being a length squared and "spectral" a length
# to the power of -1.
_KIND_OF: dict[frozenset[tuple[str, int]], Kind] = {
    frozenset({("W", 1), ("area", -1), ("spectral", -1)}): "irradiance",
    frozenset({("W", 1), ("area", -1)}): "irradiance",
    frozenset({("W", 1), ("area", -1), ("sr", -1), ("spectral", -1)}): "radiance",
    frozenset({("W", 1), ("area", -1), ("sr", -1)}): "radiance",
    frozenset({("W", 1), ("sr", -1), ("spectral", -1)}): "intensity",
    frozenset({("W", 1), ("sr", -1)}): "intensity",
    frozenset({("W", 1), ("spectral", -1)}): "flux",
    frozenset({("W", 1)}): "flux",
    frozenset({("counts", 1)}): "counts",
    frozenset({("counts", 1), ("s", -1)}): "counts",
    frozenset({("counts", 1), ("spectral", -1)}): "counts",
    frozenset({("A", 1), ("W", -1)}): "responsivity",
    frozenset({("V", 1), ("W", -1)}): "responsivity",
    frozenset({("A", 1), ("W", -1), ("area", 1)}): "responsivity",
    frozenset({("V", 1), ("W", -1), ("area", 1)}): "responsivity",
}
# The order of factors in a canonical spelling, behind those with positive exponents.
_ORDER = ("area", "W", "s", "sr", "spectral")


class _Atom(NamedTuple):
    """A unit with a name of its own, and what one of it is in the coherent one of its dimension."""

    symbol: str
    scale: float
    dimension: str


# Watt, joule and the units of light are dimensions of their own: they are not to become another.
_DEFINITIONS = """
femto- = 1e-15 = f-
pico- = 1e-12 = p-
nano- = 1e-9 = n-
micro- = 1e-6 = µ- = u- = mu- = mikro-
milli- = 1e-3 = m-
centi- = 1e-2 = c- = zenti-
deci- = 1e-1 = d-
kilo- = 1e3 = k-
mega- = 1e6 = M-
giga- = 1e9 = G-
meter = [m] = m = metre = metro
second = [s] = s = sec = sekunde = seconde
watt = [W] = W = vatio
joule = [J] = J
erg = 1e-7 joule
ampere = [A] = A = amp
volt = [V] = V
ohm = [ohm] = Ω
steradian = [sr] = sr = ster = steradiant
count = [counts] = counts = cts = cnts = cnt = ct = coup = impuls
lumen = [lm] = lm
candela = [cd] = cd
lux = [lx] = lx
mole = [mol] = mol
photon = [photons] = photons
kelvin = [K] = K
electronvolt = [eV] = eV
hertz = [Hz] = Hz
angstrom = 1e-10 meter = Å
minute = 60 second
hour = 3600 second = heure = stunde
"""
# The names that instruments write most, as pint has them by these definitions.
_ATOMS: dict[str, _Atom] = {
    "W": _Atom("W", 1.0, "W"),
    "kW": _Atom("kW", 1e3, "W"),
    "mW": _Atom("mW", 1e-3, "W"),
    "µW": _Atom("µW", 1e-6, "W"),
    "uW": _Atom("µW", 1e-6, "W"),
    "nW": _Atom("nW", 1e-9, "W"),
    "m": _Atom("m", 1.0, "m"),
    "cm": _Atom("cm", 1e-2, "m"),
    "mm": _Atom("mm", 1e-3, "m"),
    "µm": _Atom("µm", 1e-6, "m"),
    "um": _Atom("µm", 1e-6, "m"),
    "micron": _Atom("µm", 1e-6, "m"),
    "microns": _Atom("µm", 1e-6, "m"),
    "nm": _Atom("nm", 1e-9, "m"),
    "Å": _Atom("Å", 1e-10, "m"),
    "sr": _Atom("sr", 1.0, "sr"),
    "s": _Atom("s", 1.0, "s"),
    "A": _Atom("A", 1.0, "A"),
    "mA": _Atom("mA", 1e-3, "A"),
    "V": _Atom("V", 1.0, "V"),
    "counts": _Atom("counts", 1.0, "counts"),
    "Counts": _Atom("counts", 1.0, "counts"),
    "count": _Atom("counts", 1.0, "counts"),
    "cts": _Atom("counts", 1.0, "counts"),
    "lx": _Atom("lx", 1.0, "lx"),
}

_LONGEST = 120
_SIGNS = str.maketrans(
    {
        **dict.fromkeys("\N{MINUS SIGN}\N{EN DASH}\N{HYPHEN}\N{NON-BREAKING HYPHEN}", "-"),
        **dict.fromkeys("·⋅•∙\N{MULTIPLICATION SIGN}\N{KATAKANA MIDDLE DOT}", "*"),
        **dict.fromkeys("÷\N{DIVISION SLASH}\N{FRACTION SLASH}", "/"),
        **dict.fromkeys("[{", "("),
        **dict.fromkeys("]}", ")"),
        "\N{GREEK SMALL LETTER MU}": "µ",
    }
)
_SUPERSCRIPTS = str.maketrans("⁰¹²³⁴⁵⁶⁷⁸⁹⁻⁺", "0123456789-+")
_DIVISIONS = frozenset(["per", "pro", "par", "por"])
_SQUARES = frozenset(["square", "sq"])
_SQUARED = frozenset(["squared", "carré", "carrés", "cuadrado", "cuadrados", "quadro", "quadrato"])

# A name with its exponent, or one of the signs of the grammar with 0.
type _Token = tuple[str, int]
type _Factor = tuple[_Atom, int]


def is_kind(text: str) -> TypeGuard[Kind]:
    """Whether a text is one of `KINDS`."""
    return text in KINDS


def coherent(kind: Kind) -> str | None:
    """The unit in which the library computes with spectra of a kind; None for the last two."""
    return _COHERENT.get(kind)


def known(text: str) -> Unit:
    """The unit that a text means, which must be understood."""
    unit = parse(text)
    if unit is None:
        raise Refusal(f"the unit {text!r} is not understood")
    return unit


def fits(kind: Kind, unit: Unit) -> bool:
    """Whether values of a kind can be in a unit; relative ones of any kind but a fraction can."""
    if kind in ("unknown", "other"):
        return True
    if kind in ("transmittance", "reflectance"):
        return unit.base == "1"
    if kind == "absorbance":
        return unit.base == "OD" or unit.name == "1"
    return unit.kind == kind or unit.base in ("1", "a.u.")


def ratio(have: Unit, wanted: Unit) -> tuple[float, float]:
    """What values in one unit are multiplied and then divided by to be in the other.

    One of the two is 1: 54.2 / 100 is 0.542, and 54.2 * 0.01 is not.
    """
    if have.scale >= wanted.scale:
        return _rounded(have.scale / wanted.scale), 1.0
    return 1.0, _rounded(wanted.scale / have.scale)


@lru_cache(maxsize=256)
def parse(text: str) -> Unit | None:
    """The unit that a text means, or None if it is not understood.

    Parameters
    ----------
    text : str
        Such as ``mW/(m^2*nm)``, ``µW·cm⁻²·nm⁻¹``, ``[W/m²/µm]``, ``watts per square metre``,
        ``%``, ``counts`` or ``OD``. What follows a slash without brackets (``W/m2 nm``) is
        read from left to right, or, if that is no unit of a known kind, as all divided by.

    Returns
    -------
    Unit or None

    Examples
    --------
    >>> from vekanalysis import units
    >>> units.parse("mW/(m^2*nm)")
    Unit(name='mW m-2 nm-1', scale=0.001, base='W m-2 nm-1', kind='irradiance')
    >>> units.parse("furlong") is None
    True
    """
    if len(text) > _LONGEST:
        return None
    text = unicodedata.normalize("NFC", text).translate(_SIGNS)
    while text[:1] == "(" and text[-1:] == ")" and text.count("(") == 1:
        text = text[1:-1].strip()
    words = "".join(text.split())
    known = _WORDS.get(words) or _WORDS.get(words.lower())
    if known is not None:
        return known
    tokens = _tokens(text.strip())
    if tokens is None:
        return None
    strict = _unit(_factors(tokens, is_loose=False))
    if strict is not None and strict.kind is None and ("/", 0) in tokens:
        loose = _unit(_factors(tokens, is_loose=True))
        if loose is not None and loose.kind is not None:
            return loose
    return strict


def _tokens(text: str) -> list[_Token] | None:
    """The names with their exponents, and between them ``( ) / *``; None if there is more."""
    tokens: list[_Token] = []
    position, square = 0, 1
    while position < len(text):
        char = text[position]
        if char.isalpha() or char in "Ω°":
            end = position + 1
            while end < len(text) and text[end].isalpha():
                end += 1
            name = text[position:end]
            if name.lower() in _DIVISIONS:
                tokens.append(("/", 0))
            elif name.lower() in _SQUARES:
                square = 2
            elif name.lower() in _SQUARED and tokens and tokens[-1][1] == 1:
                tokens[-1] = (tokens[-1][0], 2)
            else:
                if name.lower().startswith("quadrat"):
                    name, square = name[7:], 2
                power, end = _power(text, end)
                tokens.append((name, square * power))
                square = 1
            position = end
        elif char in "(/)":
            tokens.append((char, 0))
            position += 1
            if char == ")":
                power, position = _power(text, position)
                tokens[-1] = (")", power)
        elif (
            char.isspace()
            or char == "*"
            or (char in ".-_" and 0 < position < len(text) - 1)
            or (char == "1" and not tokens and text[position + 1 :].lstrip().startswith("/"))
        ):
            position += 1
        else:
            return None
    return tokens if square == 1 else None


def _power(text: str, position: int) -> tuple[int, int]:
    """The exponent at a place, 1 if there is none, and where it ends."""
    start = position
    rest = text[start : start + 12]
    marked = rest.lstrip()
    for mark in ("^", "**", "*^"):
        if marked.startswith(mark):
            marked = marked[len(mark) :].lstrip(" (")
            break
    else:
        # "m -2" where superscripts were lost; "m 2" is not one.
        marked = marked if marked.startswith("-") else rest
    marked = marked.translate(_SUPERSCRIPTS)
    sign = -1 if marked.startswith("-") else 1
    digits = marked[1:2] if marked[:1] in ("-", "+") else marked[:1]
    if not "0" < digits <= "9":
        return 1, start
    end = start + rest.translate(_SUPERSCRIPTS).index(digits) + 1
    if rest.count("(", 0, end - start) > rest.count(")", 0, end - start):
        end += text[end : end + 1] == ")"
    return sign * int(digits), end


def _factors(tokens: list[_Token], *, is_loose: bool) -> list[_Factor] | None:
    """The units with their exponents; if ``is_loose``, a slash holds to the end of its bracket."""
    factors: list[_Factor] = []
    # Of each open bracket: the signs outside and after it, and its first factor.
    brackets: list[tuple[int, int, int]] = []
    outer, sign = 1, 1
    for name, power in tokens:
        if name == "/":
            sign = -1
        elif name == "(":
            brackets.append((outer, sign, len(factors)))
            outer, sign = outer * sign, 1
        elif name == ")":
            if not brackets:
                return None
            outer, sign, first = brackets.pop()
            factors[first:] = [(atom, exponent * power) for atom, exponent in factors[first:]]
            sign = sign if is_loose else 1
        else:
            atoms = _atoms(name)
            if atoms is None:
                return None
            powers = [1] * (len(atoms) - 1) + [power]
            factors += [(a, outer * sign * p) for a, p in zip(atoms, powers, strict=True)]
            sign = sign if is_loose else 1
    return None if brackets else factors


def _atoms(name: str) -> list[_Atom] | None:
    """The unit of that name, or two that are written as one word: ``Wm`` in ``Wm-2``."""
    atom = _ATOMS.get(name) or _from_pint(name)
    if atom is not None:
        return [atom]
    pairs = [(name[:cut], name[cut:]) for cut in range(1, len(name)) if len(name) <= 6]
    found = [[_ATOMS[a], _ATOMS[b]] for a, b in pairs if a in _ATOMS and b in _ATOMS]
    return found[0] if len(found) == 1 else None


def _unit(factors: list[_Factor] | None) -> Unit | None:
    """The unit of a product; None of nothing."""
    if not factors:
        return None
    dimensions: dict[str, int] = {}
    bases: list[_Factor] = []
    named = []
    scale = 1.0
    for atom, exponent in factors:
        dimension, power, base = atom.dimension, exponent, atom.dimension
        if dimension == "m" and exponent in (2, -2):
            dimension, power = "area", exponent // 2
        elif dimension == "m" and exponent == -1:
            dimension, base = "spectral", "nm"
        unit_scale = _rounded(atom.scale / 1e-9) if base == "nm" else atom.scale
        scale *= unit_scale**exponent
        dimensions[dimension] = dimensions.get(dimension, 0) + power
        place = _place(dimension, exponent)
        named.append((place, _spelled(atom.symbol, exponent)))
        bases.append((_Atom(base, place, dimension), exponent))
    names = [name for _, name in sorted(named, key=lambda item: item[0])]
    bases.sort(key=lambda item: item[0].scale)
    base_name = " ".join(_spelled(atom.symbol, exponent) for atom, exponent in bases)
    if dimensions.get("J") == 1 and dimensions.get("s") == -1:
        dimensions = {"W": 1} | {d: p for d, p in dimensions.items() if d not in ("J", "s")}
        base_name = base_name.replace("J ", "W ", 1).replace(" s-1", "", 1)
    if not 0.0 < scale < math.inf:
        return None
    kind = _KIND_OF.get(frozenset((d, p) for d, p in dimensions.items() if p))
    return Unit(" ".join(names), float(f"{scale:.15g}"), base_name, kind)


def _place(dimension: str, exponent: int) -> int:
    return -1 if exponent > 0 else _ORDER.index(dimension) if dimension in _ORDER else 2


def _spelled(symbol: str, exponent: int) -> str:
    return symbol if exponent == 1 else f"{symbol}{exponent}"


def _rounded(factor: float) -> float:
    """The factor without its rounding error: 0.01 / 1e-6 is 10000."""
    nearest = round(factor)
    return float(nearest) if abs(factor - nearest) <= 1e-12 * factor else factor


@cache
def _registry() -> Any:
    import pint

    registry = pint.UnitRegistry(None)
    for line in _DEFINITIONS.strip().splitlines():
        registry.define(line)
    return registry


@cache
def _names() -> tuple[frozenset[str], frozenset[str]]:
    """The prefixes and the units of the definitions."""
    lines = [line.split(" = ") for line in _DEFINITIONS.strip().splitlines()]
    names = {name for first, _, *others in lines for name in (first, *others)}
    prefixes = {name.rstrip("-") for name in names if name.endswith("-")}
    return frozenset({"", *prefixes}), frozenset(names)


@lru_cache(maxsize=256)
def _from_pint(name: str) -> _Atom | None:
    """What pint makes of one name; words are tried in lower case and without accents, too."""
    spellings = [name]
    if len(name) > 2:
        plain = unicodedata.normalize("NFKD", name.lower())
        spellings.append("".join(char for char in plain if not unicodedata.combining(char)))
    for spelling in spellings:
        if not _may_be_unit(spelling):
            continue
        try:
            quantity = _registry().Quantity(1.0, spelling)
        except AttributeError:
            continue  # what pint raises for the plural of a symbol, such as nms
        base = quantity.to_base_units()
        ((dimension, _),) = base.dimensionality.items()
        symbol = f"{quantity.units:~}"
        return _Atom(symbol, float(f"{base.magnitude:.15g}"), dimension.strip("[]"))
    return None


def _may_be_unit(name: str) -> bool:
    """Whether pint may know it: a prefix and a unit of the definitions, perhaps in the plural."""
    prefixes, names = _names()
    singulars = [name, name[:-1]] if name.endswith("s") and len(name) > 2 else [name]
    return any(
        word[:cut] in prefixes and word[cut:] in names
        for word in singulars
        for cut in range(len(word))
    )
