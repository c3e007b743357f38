"""What stands above and below the numbers: titles, units, and facts about the measurement."""

import re
from typing import NamedTuple

from .layout import (
    DELIMITERS,
    Block,
    Layout,
    filled_width,
    is_comment,
    split_cells,
    words,
)
from .statements import Statement, state, state_unit
from .wavelengths import stated_unit

_WAVELENGTH = re.compile(
    r"wave ?len|wellenl|longueurs? d.onde|longitud de onda|lunghezz[ae] d.onda|comprimento de onda|"
    r"golflengte|våglängd|bølgelængde|bølgelengde|aallonpituus|długość fali|vlnová délka|"
    r"длина волны|波長|波长|파장",
    re.IGNORECASE,
)
_WAVELENGTH_SYMBOL = re.compile(
    r"(?<![^\W_])w\.?l(?![^\W_])|lambda|λ|^\W*(?:nm|[µμu]m|Å)\W*$", re.IGNORECASE
)
_OTHER_SPECTRAL = re.compile(r"wave ?number|wellenzahl|frequen|photon energy", re.IGNORECASE)
# What stands on the x axis of measurements that are no spectra.
_OTHER_AXIS = re.compile(
    r"frequen|fr[ée]quen|frecuen|energ|[ée]nerg|raman|pixel|channel|kanal|canal|angle|winkel|"
    r"angolo|[áa]ngulo|\b(?:time|zeit|temps|tiempo|tempo)\b|temp[ée]rat|position|volt|spannung|"
    r"tension|\bstrom\b|current|con[cz]entra",
    re.IGNORECASE,
)
# A header is no longer, and what is longer is no header.
_LONGEST_TITLE = 2000
_LONGEST_FACT = 500

# Keys of headers by the names that facts get, in lower case and without colons.
_FACTS = {
    key: name
    for name, keys in {
        "sample": "sample|sample name|sample id|sampleid|probe|probenname|probenbezeichnung|"
        "échantillon|muestra|campione|specimen|lens|lens id|title|titel|name|description",
        "operator": "operator|operator name|user|username|user name|bediener|benutzer|analyst|"
        "opérateur|operador|operatore|measured by|gemessen von|owner",
        "instrument": "instrument|instrument name|instrument model|device|gerät|spectrometer|"
        "spectrophotometer|spektrometer|appareil|instrumento|strumento|model|spectrometer type",
        "serial number": "serial number|serial no|serial no.|serial|s/n|seriennummer|"
        "serial numbers|numéro de série",
        "date": "date|datum|fecha|data|date and time|date/time|datetime|measurement date|"
        "date of measurement|messdatum|created|collected|collection time|timestamp|longdate",
        "time": "time|zeit|uhrzeit|heure|hora|ora|messzeit",
        "slit": "slit|slit width|spalt|spaltbreite|fente|sbw|bandwidth|spectral bandwidth|"
        "bandbreite|bande passante|resolution",
        "integration time": "integration time|integrationszeit|exposure|exposure time|"
        "temps d'intégration",
        "scan speed": "scan speed|scan rate|speed|geschwindigkeit",
        "comment": "comment|comments|kommentar|bemerkung|commentaire|comentario|remark|remarks|"
        "note|notes",
    }.items()
    for key in keys.split("|")
}
_UNIT_KEYS = words(
    "unit|units|y unit|y units|yunits|yunit|y-unit|y-units|einheit|y-einheit|unité|unités|"
    "ordinate unit|ordinate units|value unit"
)
_KIND_KEYS = words(
    "mode|measurement mode|photometric mode|measuring mode|y mode|ordinate|ordinate mode|y axis|"
    "y-axis|yaxis|y title|y label|quantity|modus|messmodus|messgröße|messgrösse|data mode|"
    "measurement type|messart|spectrum type|grandeur|data type"
)
_SAMPLES = ({"A", "B"}, {"R", "L"}, {"OD", "OS"}, {"OD", "OG"})
# No instrument writes as many; each spectrum of the file has all of them.
_MOST_FACTS = 1000
_X_UNIT_KEYS = words(
    "x unit|x units|xunits|xunit|x-unit|x-units|abscissa|abscissa unit|wavelength unit|"
    "wavelength units|x axis|x-axis|xaxis|x-einheit|xaxis mode|x axis mode|x-axis mode"
)

FACTOR_KEYS = words(
    "factor|scale|scale factor|scaling factor|y factor|y-factor|y scale|multiplier|y multiplier|"
    "multiplication factor"
)
"""Facts of headers that may be a power of ten by which the values are to be multiplied."""
_KEYS = (
    frozenset(_FACTS)
    | _UNIT_KEYS
    | _KIND_KEYS
    | _X_UNIT_KEYS
    | FACTOR_KEYS
    | {"xfactor", "yfactor"}
)


class Titles(NamedTuple):
    """What stands above the columns, and the lines that say so."""

    names: list[str]
    units: list[str]
    # The names as they stand in the file, empty where it has none.
    found: list[str]
    # What stands above wavelengths and values of a sample, by column.
    samples: list[str]
    # The line above the numbers where it has no names.
    free_text: str
    lines: dict[int, str]
    # Letters that name samples here, since others beside them do.
    letters: frozenset[str] = frozenset()

    def title(self, column: int) -> str:
        parts = [self.names[column], self.units[column] if self.units else ""]
        return " ".join(part for part in parts if part)

    def statement(self, column: int) -> Statement:
        """What kind and unit are stated of a column of values."""
        if not self.names:
            # "Instrument: ..." says nothing of a column.
            return Statement() if _fact(self.free_text, "")[1] else state(self.free_text)
        name = self.names[column] if self.found[column] else ""
        if self.units and self.units[column]:
            return state_unit(self.units[column], name)
        return state(name)

    def wavelength_title(self, column: int) -> str:
        if self.names:
            return self.title(column)
        is_title = names_wavelengths(self.free_text) or _OTHER_SPECTRAL.search(self.free_text)
        return self.free_text if is_title else ""

    def names_no_wavelengths(self, column: int) -> bool:
        """Whether the title of a column says that something else than wavelengths is in it."""
        if not self.names or not self.found[column]:
            return False
        title = " ".join(self.title(column).split())
        if len(title) > _LONGEST_TITLE or stated_unit(title) is not None:
            return False
        kind, _, unit, _ = self.statement(column)
        if unit is not None and unit.base != "1":
            return True
        return not names_wavelengths(title) and (
            kind is not None or bool(_OTHER_AXIS.search(title))
        )

    def value_title(self, column: int) -> str:
        return self.title(column) if self.names else self.free_text

    def wavelength_columns(self) -> list[int]:
        """The columns whose titles say that wavelengths are in them.

        Without such words those titled as the first one is, or in the same unit of length.
        """
        titles = [self.title(column) for column in range(len(self.names))]
        named = [column for column, title in enumerate(titles) if names_wavelengths(title)]
        if named or not titles or not self.found[0]:
            return named
        unit = stated_unit(titles[0])
        lengths = unit in ("nm", "um", "angstrom")
        again = [
            column
            for column, title in enumerate(titles[1:], start=1)
            if title == titles[0] or (lengths and stated_unit(title) == unit and _is_length(title))
        ]
        return [0, *again] if again else []


class Header(NamedTuple):
    """What the lines of text around the numbers say."""

    facts: dict[str, str]
    # Of all columns that state nothing themselves.
    statement: Statement
    # The line that it is from.
    source: str
    wavelength_unit: str
    # The lines that hold no fact, by index.
    others: list[int]


def _is_length(title: str) -> bool:
    unit = state(title).unit
    return unit is not None and unit.base == "m"


def names_wavelengths(title: str) -> bool:
    """Whether a title says that wavelengths are in its column."""
    if len(title) > _LONGEST_TITLE:
        return False
    title = " ".join(title.split())
    if _WAVELENGTH.search(title):
        return True
    # T(λ) is a transmittance.
    return bool(_WAVELENGTH_SYMBOL.search(title)) and state(title).kind is None


def find_titles(layout: Layout, block: Block) -> Titles:
    """The titles of the columns in the lines of text above the rows."""
    texts = block.texts
    above = sorted((index for index in texts if index < block.first), reverse=True)
    plain = [index for index in above if not is_comment(texts[index])]
    titled = [
        (index, cells)
        for index in (plain or above)[:3]
        if (cells := _title_cells(texts[index], layout.delimiter, block.width))
    ]
    if not titled or titled[0][0] not in (plain or above)[:2]:
        return Titles([], [], [""], [], texts[above[0]] if above else "", {})
    index, names = titled.pop(0)
    units_row: list[str] = []
    found = {index: "column names"}
    is_near = titled and titled[0][0] in (plain or above)[:2]
    if is_near and any(stated_unit(cell) and _is_bare_unit(cell) for cell in names):
        units_row = names
        found[index] = "units"
        index, names = titled.pop(0)
        found[index] = "column names"
    named = [name or f"column {column}" for column, name in enumerate(names)]
    titles = Titles(named, units_row, names, [], "", found, letters=_letters(named))
    if titled and layout.delimiter != " ":
        titles = _with_samples(titles, *titled[0])
    return titles


def _letters(names: list[str]) -> frozenset[str]:
    """Which letters among titles name samples: A and B, right and left, OD and OS of eyes."""
    there = {name.split("[")[0].split("(")[0].strip() for name in names}
    return frozenset(letter for letters in _SAMPLES if letters <= there for letter in letters)


def _with_samples(titles: Titles, index: int, cells: list[str]) -> Titles:
    """With the names of samples in a line above those of wavelengths and values."""
    wavelengths = titles.wavelength_columns()
    if len(wavelengths) < 2:
        return titles
    ends = [*wavelengths[1:], len(cells)]
    for first, end in zip(wavelengths, ends, strict=True):
        if len({cell for cell in cells[first:end] if cell}) != 1:
            return titles
    return titles._replace(samples=cells, lines=titles.lines | {index: "samples"})


def _is_bare_unit(cell: str) -> bool:
    bare = cell.strip()
    return len(bare.strip("[]()")) <= 8 and not any(char.isspace() for char in bare)


def _title_cells(line: str, delimiter: str, width: int) -> list[str]:
    """The cells of a line of titles, or none if they are not one for each column.

    A fact about the measurement, such as ``Slit (nm);2``, is no title.
    """
    if is_comment(line):
        line = line.lstrip().lstrip("#%!/")
    line = line.strip(" ")
    ways = [split_cells(line, delimiter)]
    if delimiter == " ":
        # Titles with blanks in them: in columns of text, or before their units.
        ways.append([cell.strip() for cell in _split_wide(line)])
        ways.append(_with_their_units(line))
    for cells in ways:
        filled = filled_width(cells)
        if filled == 2 and _is_key(cells[0]) and not _is_time_axis(*cells[:2]):
            return []
        if 1 < filled <= width:
            titles = [cell[:_LONGEST_TITLE] for cell in cells[:filled]]
            return [*titles, *[""] * (width - filled)]
    return []


def _split_wide(line: str) -> list[str]:
    """The texts between tabs and runs of two blanks or more."""
    marked = line.replace("\t", "  ")
    return [cell for cell in marked.split("  ") if cell.strip()]


def _with_their_units(line: str) -> list[str]:
    """The words of a line, each with a unit in brackets or after a slash behind it."""
    words = line.split()
    cells: list[str] = []
    depth = 0
    for index, word in enumerate(words):
        joins = depth > 0 or word == "/" or (index > 0 and words[index - 1] == "/")
        joins = joins or word[0] in "[("
        if joins and cells:
            cells[-1] = f"{cells[-1]} {word}"
        else:
            cells.append(word)
        depth = max(0, depth + sum(word.count(c) for c in "[(") - sum(word.count(c) for c in "])"))
    return cells


def find_header(texts: dict[int, str], titles: Titles, delimiter: str) -> Header:
    """The facts that lines of text hold: ``Operator: K``, ``Slit;2,0``, ``##YUNITS=%T``."""
    facts: dict[str, str] = {}
    statements = {"unit": "", "kind": ""}
    source = wavelength_unit = ""
    others: list[int] = []
    for index, text in (texts | _positional(texts)).items():
        if index in titles.lines:
            continue
        key, value = _fact(text, delimiter)
        if not value:
            if text != titles.free_text or titles.statement(0) == Statement():
                others.append(index)
            continue
        name = key.lower()
        if len(facts) < _MOST_FACTS:
            _add_fact(facts, key, value)
        else:
            others.append(index)
        if name in _UNIT_KEYS and not statements["unit"] and not _is_of_wavelengths(value):
            statements["unit"] = value
            source = " ".join(text.split())
        elif name in _KIND_KEYS and not statements["kind"]:
            statements["kind"] = value
            source = source or " ".join(text.split())
        elif name in _X_UNIT_KEYS and not wavelength_unit and _is_axis(value):
            wavelength_unit = value
    statement = _stated(**statements)
    return Header(
        facts, statement, "" if statement == Statement() else source, wavelength_unit, others
    )


def _positional(texts: dict[int, str]) -> dict[int, str]:
    """The lines below ``#GR``, whose places say what they are, with the names of that."""
    first = next((index for index, text in texts.items() if text.strip() == "#GR"), None)
    if first is None:
        return {}
    return {
        index: f"{name}: {texts[index].strip()}"
        for index, name in enumerate(("XUNITS", "YUNITS", "YFACTOR", "YOFFSET"), start=first + 1)
        if index in texts
    }


def _is_axis(value: str) -> bool:
    """Whether a value says what is on the x axis: a unit of wavelengths, or something else."""
    return stated_unit(value) is not None or _OTHER_AXIS.search(value) is not None


def _is_of_wavelengths(unit: str) -> bool:
    """Whether a unit is one of wavelengths, such as nm, and not W/m2/nm."""
    return stated_unit(unit) is not None and state(unit).unit is None


def _is_key(cell: str) -> bool:
    """Whether a cell names a fact that headers have."""
    return _key_and_unit(cell.rstrip(" :="))[0].lower() in _KEYS


def _is_time_axis(key: str, value: str) -> bool:
    """Whether ``Time (s)`` stands above a column: a fact about the time has digits in it."""
    name = _FACTS.get(_key_and_unit(key)[0].lower(), "")
    return name == "time" and not any(char.isdigit() for char in value)


def _key_and_unit(key: str) -> tuple[str, str]:
    """``Slit (nm)`` as slit and nm."""
    if key.endswith((")", "]")):
        name, _, unit = key[:-1].replace("[", "(").rpartition("(")
        if name.strip():
            return name.strip(), unit
    return key, ""


def _add_fact(facts: dict[str, str], key: str, value: str) -> None:
    """``Slit (nm)``, ``2`` as slit, 2 nm. What is told first counts."""
    name, unit = _key_and_unit(key)
    facts.setdefault(_FACTS.get(name.lower(), name), f"{value} {unit}".strip())


def _stated(unit: str, kind: str) -> Statement:
    """What keys for the unit and the kind say, as far as it is understood."""
    of_unit = state(unit)
    of_kind = state(kind)
    known = of_unit if of_unit.unit is not None else of_kind
    if known.unit is None:
        return Statement(of_kind.kind or of_unit.kind)
    if known.unit.base == "m":
        return Statement(of_kind.kind)
    return Statement(of_kind.kind or of_unit.kind, known.unit_text, known.unit)


def _fact(text: str, delimiter: str) -> tuple[str, str]:
    """Key and value of a line of a header; empty if it is none."""
    text = text.strip()
    if is_comment(text):
        text = text.lstrip("#%!/ \t")
    if len(text) > _LONGEST_FACT:
        return "", ""
    if delimiter in DELIMITERS and delimiter != " ":
        cells = [cell for cell in split_cells(text, delimiter) if cell]
        if len(cells) == 2 and not cells[0][0].isdigit():
            return cells[0].rstrip(" :="), cells[1]
        text = cells[0] if len(cells) == 1 else text
    for sign in ("=", ": ", ":\t", "\t"):
        key, found, value = text.partition(sign)
        if found and 0 < len(key.strip()) <= 60 and value.strip():
            return key.strip(' "'), value.strip(' "')
    return "", ""


def unit_text(titles: Titles, column: int) -> str:
    """The unit of a column of values as it stands, without brackets; empty if none is stated."""
    if titles.units and titles.units[column]:
        return titles.units[column].strip("[]()")
    return titles.statement(column).unit_text
