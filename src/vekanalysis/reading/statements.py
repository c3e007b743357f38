"""What titles and headers state of a column: the kind of measurement and its unit.

Words of the trade in several languages, the letters that stand for quantities, and units behind,
in brackets, after a slash or a comma. Every step is linear in the length of the title: no regular
expression here repeats anything.
"""

import re
import unicodedata
from functools import lru_cache
from typing import NamedTuple

from .. import units
from ..units import Kind, Unit
from .encoding import shortened
from .wavelengths import POWER_OF_TEN

# Words by their beginnings, in lower case and without accents. Of words within others the longer
# one counts: "irradiance" is no radiance, "luminance energetique" no luminance.
_WORDS: tuple[tuple[Kind, str], ...] = (
    (
        "transmittance",
        "transmittan transmitan transmissi trasmittan trasmission transmisi transmissao "
        "透过率 透過率 透射率 durchlassgrad",
    ),
    (
        "reflectance",
        "reflectan reflecti reflektan reflekti reflexi riflettan riflession remission albedo "
        "反射率",
    ),
    (
        "absorbance",
        "absorbanc absorbanz absorbancia assorbanza extinktion extinction 吸光度 "
        "optical_density optische_dichte optischen_dichte densite_optique densidad_optica "
        "densita_ottica transmission_density transmissionsdichte",
    ),
    (
        "irradiance",
        "irradian irradiac irraggiamento bestrahlungsstarke eclairement_energetique "
        "放射照度 辐照度",
    ),
    (
        "radiance",
        "radianc radianz strahldichte luminance_energetique 放射輝度 辐亮度 辐射亮度",
    ),
    ("intensity", "intensit intensidad strahlstarke 放射強度"),
    (
        "flux",
        "radiant_flux spectral_flux flux_energetique radiant_power spectral_power "
        "power_distribution strahlungsleistung strahlungsfluss puissance_spectrale 放射束",
    ),
    ("counts", "counts zahlrate raw_signal rohsignal dark_signal"),
    (
        "responsivity",
        "responsivity sensitivity empfindlichkeit sensibilit sensibilidad responsivit "
        "spectral_respons reponse_spectrale",
    ),
    # What must not be taken for one of those.
    (
        "other",
        "absorpt absorci transflect emissiv illuminance illuminanc beleuchtungsstarke "
        "eclairement luminance leuchtdichte lichtstrom luminous_flux flux_lumineux "
        "lichtstarke luminous_intensity temperatur voltage spannung tension coefficient "
        "koeffizient refractive brechungsindex brechzahl thickness uncertaint unsicherheit "
        "incertitude deviation abweichung ecart stdev std_dev std. error fehler sigma "
        "variance deriv ableitung efficien wirkungsgrad density dichte densite haze "
        "log( log10 log_e loge ln( 1-t 1-r 1/t 1/r natural_log base_e naper napier neper decibel "
        "attenuat attenuaz atenua dampfung stddev ± +/- δ photons photonen photon_flux photon_irr "
        "photon_rad quantum_flux kubelka k/s f(r) 100-t 100_-t 100-_t "
        # Without the losses at the surfaces.
        "internal_transm transmission_interne reintransmission",
    ),
)
# An underscore stands for a blank.
_STEMS: dict[str, Kind] = {
    stem.replace("_", " "): kind for kind, stems in _WORDS for stem in stems.split()
}
_LONGEST_FIRST = sorted(_STEMS, key=len, reverse=True)
# Whole words; where one stands alone but for qualifiers, so do the letters.
_ABBREVIATIONS: dict[str, Kind] = {
    "trans": "transmittance",
    "transm": "transmittance",
    "tau": "transmittance",
    "refl": "reflectance",
    "rho": "reflectance",
    "abs": "absorbance",
    "od": "absorbance",
    "ext": "absorbance",
    "spd": "flux",
    "power": "flux",
    **dict.fromkeys(("qe", "eqe", "iqe", "ppfd", "cri", "yi", "τi"), "other"),
    "signal": "counts",
    "cts": "counts",
    "adc": "counts",
}
_LETTERS: dict[str, Kind] = {
    "T": "transmittance",
    "τ": "transmittance",
    "R": "reflectance",
    "ρ": "reflectance",  # noqa: RUF001
    "E": "irradiance",
    "Ee": "irradiance",
    "Eλ": "irradiance",
    "Eeλ": "irradiance",
    "L": "radiance",
    "Le": "radiance",
    "Lλ": "radiance",
    "Leλ": "radiance",
    "I": "intensity",
    "Ie": "intensity",
    "Iλ": "intensity",
    "Φ": "flux",
    "Φe": "flux",
    "Φλ": "flux",
}
_QUALIFIERS = frozenset(
    {"spectral", "spektral", "spektrale", "spektraler", "spectrale", "espectral", "spettrale"}
    | {"λ", "total", "mean", "measured", "value", "values", "mittel", "gemessen", "wert", "werte"}
)
_LOGARITHMS = frozenset(["log", "Log", "LOG", "lg", "ln", "Ln", "LN"])
# Of these also in the brackets behind: absorbances to the base e, and levels.
_OTHER_SCALES = frozenset(["ln", "dB", "DB", "db", "dBm", "Np"])
# What with the name of a kind, or alone, is another quantity.
_DERIVED = frozenset(
    {"sd", "rsd", "sem", "loss", "losses", "verlust", "difference", "delta", "ratio", "internal"}
    | {"inverse", "reciprocal", "sqrt", "squared"}
)
_NORMALIZED = frozenset(["normalized", "normalised", "normiert", "normalisiert", "normalisé"])
_PREFIX = r"(?:[mM]i[ck]ro|[mM]illi|[nN]ano|[kK]ilo|[mM]ega)"
# What values were multiplied or divided by: "x 1000", "10^-6 W/m2/nm", "Abs/10", "OD/mm".
_FACTOR = re.compile(
    rf"(?:[*×·⋅]|(?<![^\W_])(?<![0-9] )[xX]) ?{POWER_OF_TEN}(?!\w)|"  # noqa: RUF001
    rf"(?<![\w.]){POWER_OF_TEN}(?: ?[*×·⋅]| [xX] )|"  # noqa: RUF001
    rf"(?<![0-9])(?<![0-9] )/ ?{POWER_OF_TEN}(?!\w)|"
    r"(?<![\w.])(?:10 ?(?:\^|\*\*)[-−+({]*+[0-9]*|10[⁻⁺][¹²³⁴⁵⁶⁷⁸⁹]|1[eE][-−+][0-9]+)|"  # noqa: RUF001
    r"(?:/|(?<![^\W_])per) ?[cm]m(?![\w²^⁻-])|"
    rf"[(\[]{_PREFIX}[)\]]"
)
# The same before a unit: "10-6 W/m2/nm", where a superscript was lost, "0.1 %", "micro W/m2/nm".
_FACTOR_BEFORE = re.compile(rf"(?<![\w.])(?:{POWER_OF_TEN}|10[-−][1-9]|{_PREFIX}) ?$")  # noqa: RUF001
# A prefix apart from its unit: "µ W/m2/nm", or what a wrong character set made of it.
_PREFIX_BEFORE = re.compile(r"(?<![^\W_])[µμumnpkM?\ufffd][ \])]{1,2}[\[(]?$")
# Abbreviations that say the kind beside the name of a sample, too. ABS is a plastic.
_CLEAR = frozenset(["Abs", "abs", "Refl", "refl"])
# Letters that may be the name of a sample, or stand for what is no spectrum of a sample.
_UNCERTAINTIES = ("U", "u", "s", "σ")  # noqa: RUF001
_DOUBTFUL = {
    "A": "absorbance",
    "AU": "absorbance in absorbance units, a signal in arbitrary units",
    **dict.fromkeys(_UNCERTAINTIES, "an uncertainty"),
}
_PERCENT_WORDS = ("percent", "per cent", "prozent", "procent", "pourcent", "pct")
# Kinds that are said loosely: their unit says it better.
LOOSE = frozenset(["intensity", "flux", "counts"])
# "5% T" has 5 % of something else.
_LETTER_AT_PERCENT = re.compile(
    r"(?<!-)(?:%|(?<![0-9])%[ \t])([TRA])(?![^\W\d_])|(?<![^\W_])([TRA])[ \t]?%"
)
_IN_EXPRESSIONS = tuple("/*·⋅^.")
_UNIT_LIKE = frozenset("/^%‰°·⋅*²⁻")
# Titles beyond that are texts; their kind is looked for, their unit at the end only.
_LONGEST = 300


class Statement(NamedTuple):
    """What a title states: a kind, a unit as it stands there, and the unit if it is understood."""

    kind: Kind | None = None
    unit_text: str = ""
    unit: Unit | None = None
    # The title without the unit.
    words: str = ""


class Reading(NamedTuple):
    """What a column is taken for: never more than what is stated."""

    kind: Kind
    unit: str | None
    # Why nothing better can be said, though something is stated.
    problem: str = ""


@lru_cache(maxsize=4096)
def state(title: str) -> Statement:
    """What a title such as ``T (%)`` or ``E [mW/(m^2*nm)]`` states."""
    title = title.strip()
    words, unit_text, unit = _with_unit(title)
    factor = "" if unit_text and unit is None else _factor(title, unit_text)
    if factor:
        return Statement(_kind(words), factor, None, words)
    if not unit_text and not _NORMALIZED.isdisjoint(_split(words.lower())):
        return Statement(_kind(words), "a.u.", units.known("a.u."), words)
    return Statement(_kind(words), unit_text, unit, words)


def _factor(title: str, unit_text: str) -> str:
    """The unit with a factor that the values still have in them; empty if there is none."""
    if len(title) > _LONGEST:
        return ""
    found = _FACTOR.search(title)
    if found is not None and found[0] not in unit_text:
        return f"{found[0].strip()} {unit_text}".strip()
    before, unit, behind = title.rpartition(unit_text) if unit_text else (title, "", "")
    # In "Lens 10 %T" the number is one of the name.
    found = _FACTOR_BEFORE.search(before) if unit and not behind.strip()[:1].isalpha() else None
    if found is None and unit.startswith(("W", "J")):
        found = _PREFIX_BEFORE.search(before)
    return f"{found[0].strip()} {unit_text}" if found is not None else ""


def state_unit(text: str, words: str = "") -> Statement:
    """What a cell of a row of units states; ``words`` is the title above it."""
    text = text.strip()
    above = state(words)
    unit = units.parse(text)
    if unit is None and text:
        cell = state(text)
        if cell.kind is not None or cell.unit is not None:
            return Statement(above.kind or cell.kind, text, cell.unit, above.words)
    return Statement(above.kind, text or above.unit_text, unit or above.unit, above.words)


def taken(statement: Statement) -> Reading:
    """What follows from a statement."""
    kind, text, unit, words = statement
    if text and unit is None:
        return Reading("other", text, f"the unit '{shortened(text)}' is not understood")
    letter = _head(words)
    if letter in _DOUBTFUL and kind is None and (unit is None or unit.kind is None):
        name = unit.name if unit else None
        problem = f"'{letter}' may be {_DOUBTFUL[letter]} or the name of a sample"
        return Reading("other", name, problem)
    if unit is None:
        return Reading(kind or "unknown", "OD" if kind == "absorbance" else None)
    if kind is None:
        return Reading(_kind_of_unit(unit), unit.name)
    if units.fits(kind, unit):
        return Reading(kind, "OD" if kind == "absorbance" and unit.name == "1" else unit.name)
    if kind in LOOSE:
        return Reading(unit.kind or "other", unit.name)
    return Reading("other", unit.name, f"{kind} is not measured in {unit.name}")


def _kind_of_unit(unit: Unit) -> Kind:
    if unit.kind is not None:
        return unit.kind
    return "unknown" if unit.base in ("1", "a.u.") else "other"


def _with_unit(title: str) -> tuple[str, str, Unit | None]:
    """A title without its unit, the unit as it stands, and the unit."""
    if len(title) > _LONGEST:
        title = title[-_LONGEST:]
    whole = units.parse(title)
    if (
        whole is not None
        and title not in ("1", "-")
        and (whole.kind is not None or whole.base == "1" or _is_quotient(title))
    ):
        return title if whole.kind == "absorbance" else "", title, whole
    groups = _brackets(title)
    for start, end in reversed(groups):
        before = title[:start].rstrip()
        inner = title[start + 1 : end]
        is_part = before.endswith(_IN_EXPRESSIONS)
        if not is_part and (unit := units.parse(inner)) is not None:
            return f"{before} {title[end + 1 :]}".strip(), inner.strip(), unit
    for look in (_after_separator, _at_the_end, _after_slash, _percent):
        if (found := look(title)) is not None:
            return found
    for start, end in reversed(groups):
        inner = title[start + 1 : end].strip()
        if inner and _is_like_a_unit(inner, title[start]):
            return f"{title[:start]} {title[end + 1 :]}".strip(), inner, None
    left, slash, right = title.rpartition(" / ")
    if slash and right.strip():
        return left, right.strip(), units.parse(right)
    return title, "", None


def _is_quotient(title: str) -> bool:
    """``µmol/m2/s/nm``, which no sample is named."""
    return "/" in title and not any(char in " [(" for char in title)


def _is_like_a_unit(text: str, bracket: str) -> bool:
    return len(text) <= 40 and (
        any(char in _UNIT_LIKE for char in text) or (bracket == "[" and " " not in text)
    )


def _brackets(title: str) -> list[tuple[int, int]]:
    """First and last index of the outermost brackets."""
    groups, depth, start = [], 0, 0
    for index, char in enumerate(title):
        if char in "([{":
            start = index if depth == 0 else start
            depth += 1
        elif char in ")]}" and depth:
            depth -= 1
            if depth == 0:
                groups.append((start, index))
    return groups


def _after_separator(title: str) -> tuple[str, str, Unit | None] | None:
    """``T / %``, ``E in W/m2/nm``, ``Irradiance, W/m2/nm``."""
    for separator in (" / ", " in ", " en ", ", ", ": ", ",", "_"):
        left, found, right = title.rpartition(separator)
        unit = units.parse(right) if found and right.strip() not in ("1", "-") else None
        if unit is not None and (_is_telling(unit) or separator == " / "):
            return left, right.strip(), unit
    return None


def _is_telling(unit: Unit) -> bool:
    """Whether a unit can be told from a name: ``m`` may be one."""
    return unit.kind is not None or unit.base == "1"


def _after_slash(title: str) -> tuple[str, str, Unit | None] | None:
    """``T/%``, ``E/W m-2 nm-1``."""
    left, slash, right = title.partition("/")
    unit = units.parse(right) if slash and _kind(left.strip()) is not None else None
    if unit is not None and _is_telling(unit):
        return left, right.strip(), unit
    return None


def _at_the_end(title: str) -> tuple[str, str, Unit | None] | None:
    """``Irradiance mW/(m2 nm)``: the longest end that is a unit of a known kind, or per cent."""
    words = title.split()
    for first in range(max(1, len(words) - 8), len(words)):
        text = " ".join(words[first:])
        unit = units.parse(text)
        is_fraction = unit is not None and unit.name in "%‰"
        if is_fraction and _is_number_before(words[first - 1]):
            return None
        if unit is not None and (unit.kind not in (None, "absorbance") or is_fraction):
            return " ".join(words[:first]), text, unit
    return None


def _is_number_before(text: str) -> bool:
    """Whether a per cent sign behind a text is one of a number: ``Grey 85%``."""
    return text.rstrip(" ")[-1:].isdigit()


def _percent(title: str) -> tuple[str, str, Unit | None] | None:
    """``%T``, ``Percent Transmittance``, ``Lens 7 (%T)``."""
    lowered = title.lower()
    if (letter := _LETTER_AT_PERCENT.search(title)) is not None:
        rest = f"{title[: letter.start()]} {title[letter.end() :]}"
        # In "R (%T)" the letter before is that of an eye.
        is_name = rest.strip(" ()[]") in _LETTERS and letter[0].startswith("%")
        if (_kind(rest) is None or is_name) and _head(rest) not in _UNCERTAINTIES:
            return letter[1] or letter[2], "%", units.known("%")
    for word in ("%", "\N{FULLWIDTH PERCENT SIGN}", *_PERCENT_WORDS):
        if word in lowered:
            place = lowered.index(word)
            if _is_number_before(title[:place]):
                continue
            rest = f"{title[:place]} {title[place + len(word) :]}".strip()
            return rest, "%", units.known("%")
    return None


@lru_cache(maxsize=4096)
def _kind(words: str) -> Kind | None:
    """The kind that the words of a title name; "other" where they name two."""
    plain = _plain(words)
    found: set[Kind] = set()
    for stem in _LONGEST_FIRST:
        if stem in plain:
            found.add(_STEMS[stem])
            plain = plain.replace(stem, " ")
    spelled = [word for word in _split(_head(words)) if word.lower() not in _QUALIFIERS]
    if not (_LOGARITHMS.isdisjoint(spelled) and _OTHER_SCALES.isdisjoint(_split(words))):
        return "other"
    rest = [word for word in spelled if word.lower() not in _DERIVED]
    if not found and all(word.lower() in _ABBREVIATIONS for word in rest):
        found = {_ABBREVIATIONS[word.lower()] for word in rest}
    if not found and len(rest) == 1:
        found = {kind for letter, kind in _LETTERS.items() if letter == rest[0]}
    found = found or {
        _ABBREVIATIONS[bare.lower()]
        for word in spelled
        if (bare := word.rstrip("0123456789")) in _CLEAR
    }
    if len(rest) < len(spelled) and (found or not rest):
        return "other"
    if len(found) > 1 and "other" not in found:
        found -= LOOSE if found - LOOSE else set()
    if not found:
        return None
    return found.pop() if len(found) == 1 else "other"


def _plain(text: str) -> str:
    """In lower case, without accents, with single blanks."""
    if not text.isascii():
        decomposed = unicodedata.normalize("NFKD", text)
        text = "".join(char for char in decomposed if not unicodedata.combining(char))
    return " ".join(text.lower().replace("_", " ").split())


def _head(words: str) -> str:
    """A title without the remark in brackets behind it."""
    return words.split("(", 1)[0].split("[", 1)[0].strip() if len(words) <= _LONGEST else words


def _split(text: str) -> list[str]:
    """The words, of letters and digits; ``T(λ)`` is T and λ, ``E_e,λ`` is Eeλ."""
    for joined in ("_e,λ", "_eλ", "e,λ", "_λ", "_e"):
        if joined in text and len(text) <= 12:
            text = text.replace(joined, joined.replace("_", "").replace(",", ""))
    return "".join(char if char.isalnum() else " " for char in text).split()
