"""How a laboratory wants its certificates: from a TOML file."""

import os
from collections.abc import Mapping
from dataclasses import dataclass, field
from pathlib import Path
from types import MappingProxyType
from typing import Any, Final, NamedTuple, Self

from .._files import open_regular
from .._nearest import nearest
from .._toml import Place, TomlFile
from .._views import HasViews
from ..errors import Refusal
from ..quantities import LENS, LENS_FULL, REPLACEABLE, OwnTable

LANGUAGES: Final = ("en", "de")
FIELDS: Final = (
    *("number", "object", "customer", "operator", "instrument"),
    *("received", "measured", "issued", "method", "conditions", "remarks"),
)
"""What a certificate says of its object, in this order."""

_PLAIN: Final = tuple(quantity.key for quantity in LENS)
_KEYS: Final = tuple(quantity.key for quantity in LENS_FULL)
_TABLES: Final = {
    "laboratory": ("name", "address", "logo"),
    "page": ("title", "language", "decimal", "figures", "decimals", "quantities", "templates"),
    "fields": FIELDS,
    "tables": REPLACEABLE,
}
_MOST_LOGO: Final = 1 << 20
# How pictures begin, and what they are called.
_PICTURES: Final = {
    b"\x89PNG\r\n\x1a\n": "image/png",
    b"\xff\xd8\xff": "image/jpeg",
    b"GIF87a": "image/gif",
    b"GIF89a": "image/gif",
}


class Logo(NamedTuple):
    """A picture, as it goes into the page."""

    type: str
    content: bytes


class Field(NamedTuple):
    """Where the text of a field comes from; what is asked for goes before all."""

    value: str | None = None
    # A name of what the file of the spectrum states.
    header: str | None = None
    # Whether there must be one.
    ask: bool = False


@dataclass(frozen=True, kw_only=True)
class Settings(HasViews):
    """The settings of a file; the defaults are those of a page without a laboratory.

    Attributes
    ----------
    name : str or None
        Of the laboratory.
    address : tuple of str
        A line each.
    logo : Logo or None
    title : str or None
        In place of that of the language.
    language : {"en", "de"}
    decimal : {".", ","}
    percent : bool
        Whether transmittances are in per cent.
    decimals : int
        Of transmittances as fractions, where no uncertainty says how many there are.
    quantities : tuple of str
        Keys of quantities of lenses, in the order of the page.
    logo_name, templates_name : str or None
        How the settings name the logo and the folder of templates.
    templates : Path or None
        A folder whose templates take the place of those of the package.
    fields : mapping of str to Field
    tables : tuple of OwnTable
        In place of built-in ones.
    file, sha256 : str or None
        Where they were read, and the SHA-256 digest of that file's bytes.
    """

    name: str | None = None
    address: tuple[str, ...] = ()
    logo: Logo | None = None
    logo_name: str | None = None
    title: str | None = None
    language: str = "en"
    decimal: str = "."
    percent: bool = False
    decimals: int = 4
    quantities: tuple[str, ...] = _PLAIN
    templates: Path | None = None
    templates_name: str | None = None
    fields: Mapping[str, Field] = field(default_factory=lambda: MappingProxyType({}))
    tables: tuple[OwnTable, ...] = ()
    file: str | None = None
    sha256: str | None = None

    @classmethod
    def read(cls, path: str | os.PathLike[str]) -> Self:
        """Read settings from a TOML file; files that it names are beside it.

        Raises
        ------
        OSError
            If the file cannot be read.
        Refusal
            With file, line and key, if it is not TOML or states what cannot be, or if the logo
            is no picture or above 1 MB.
        """
        file = TomlFile.read(path)
        return cls(**_Reader(file).settings(), file=os.fspath(path), sha256=file.sha256)


class _Reader:
    """A parsed file of settings."""

    def __init__(self, file: TomlFile) -> None:
        self.file = file

    def settings(self) -> dict[str, Any]:
        """The arguments of Settings."""
        document = self.file.document
        for name in document:
            if name not in _TABLES:
                reason = f"the settings have an unknown table '{name}'{nearest(name, _TABLES)}"
                raise self._wrong(reason, name, None)
        for name, known in _TABLES.items():
            table = document.get(name, {})
            if not isinstance(table, dict):
                raise self.file.refusal(f"{name} is a table: [{name}]", Place(key=name))
            self.file.check_known(table, known, f"[{name}]", Place(name))
        if "name" not in document.get("laboratory", {}):
            place = Place("laboratory") if "laboratory" in document else Place()
            raise self.file.refusal("[laboratory]: name is missing", place)
        values = self._laboratory(document["laboratory"]) | self._page(document.get("page", {}))
        fields = {
            name: self._field(name, each) for name, each in document.get("fields", {}).items()
        }
        tables = tuple(self._table(name, each) for name, each in document.get("tables", {}).items())
        return values | {"fields": MappingProxyType(fields), "tables": tables}

    def _table(self, name: str, value: Any) -> OwnTable:
        if not isinstance(value, str) or not value:
            raise self._wrong(f"{name} must be the name of a file", "tables", name)
        path = self.file.path.parent / value
        try:
            return OwnTable.read(name, path)
        except OSError as error:
            reason = f"{name}: {path}: cannot be read: {error.strerror or error}"
        except Refusal as error:
            reason = f"{name}: {error.reason}"
        raise self._wrong(reason, "tables", name)

    def _laboratory(self, table: dict[str, Any]) -> dict[str, Any]:
        values: dict[str, Any] = {"name": self._text(table, "laboratory", "name")}
        if "address" in table:
            lines = table["address"]
            if isinstance(lines, str):
                lines = lines.splitlines()
            if not isinstance(lines, list) or not all(isinstance(line, str) for line in lines):
                reason = "address must be a text or a list of texts"
                raise self._wrong(reason, "laboratory", "address")
            values["address"] = tuple(lines)
        if "logo" in table:
            path = self.file.path.parent / self._text(table, "laboratory", "logo")
            values["logo"] = self._logo(path)
            values["logo_name"] = table["logo"]
        return values

    def _logo(self, path: Path) -> Logo:
        try:
            with open_regular(path) as file:
                content = file.read(_MOST_LOGO + 1)
        except OSError as error:
            reason = f"logo: {path}: cannot be read: {error.strerror or error}"
            raise self._wrong(reason, "laboratory", "logo") from None
        if len(content) > _MOST_LOGO:
            raise self._wrong(f"logo: {path}: is above 1 MB", "laboratory", "logo")
        for start, kind in _PICTURES.items():
            if content.startswith(start):
                return Logo(kind, content)
        raise self._wrong(f"logo: {path}: is no PNG, JPEG or GIF picture", "laboratory", "logo")

    def _page(self, table: dict[str, Any]) -> dict[str, Any]:
        values: dict[str, Any] = {}
        if "title" in table:
            values["title"] = self._text(table, "page", "title")
        for key, known in (
            ("language", LANGUAGES),
            ("decimal", (".", ",")),
            ("figures", ("fractions", "per cent")),
        ):
            if key in table:
                if table[key] not in known:
                    reason = f"{key} is {table[key]!r}{nearest(str(table[key]), known)}"
                    raise self._wrong(reason, "page", key)
                values[key] = table[key]
        if "language" in values:
            values.setdefault("decimal", "," if values["language"] == "de" else ".")
        if "figures" in values:
            values["percent"] = values.pop("figures") == "per cent"
        if "decimals" in table:
            number = table["decimals"]
            if isinstance(number, bool) or not isinstance(number, int) or not 0 <= number <= 12:
                raise self._wrong("decimals must be a number from 0 to 12", "page", "decimals")
            values["decimals"] = number
        if "quantities" in table:
            values["quantities"] = self._quantities(table["quantities"])
        if "templates" in table:
            folder = self.file.path.parent / self._text(table, "page", "templates")
            if not folder.is_dir():
                raise self._wrong(f"templates: {folder}: is no folder", "page", "templates")
            values["templates"] = folder
            values["templates_name"] = table["templates"]
        return values

    def _quantities(self, keys: Any) -> tuple[str, ...]:
        if not isinstance(keys, list) or not keys:
            raise self._wrong("quantities must be a list of keys", "page", "quantities")
        for place, key in enumerate(keys):
            if key not in _KEYS:
                reason = f"there is no quantity {key!r} of lenses{nearest(str(key), _KEYS)}"
                raise self._wrong(reason, "page", "quantities")
            if key in keys[:place]:
                raise self._wrong(f"quantities has '{key}' twice", "page", "quantities")
        return tuple(keys)

    def _field(self, name: str, value: Any) -> Field:
        if isinstance(value, str):
            return Field(value)
        if not isinstance(value, dict):
            reason = f"{name} must be a text or a table of {', '.join(Field._fields)}"
            raise self._wrong(reason, "fields", name)
        for key, each in value.items():
            if key not in Field._fields:
                reason = f"{name} has an unknown key '{key}'{nearest(key, Field._fields)}"
                raise self._wrong(reason, "fields", name)
            wanted = bool if key == "ask" else str
            if not isinstance(each, wanted):
                what = "true or false" if key == "ask" else "a text"
                raise self._wrong(f"{name}: {key} must be {what}", "fields", name)
        return Field(**value)

    def _text(self, table: Mapping[str, Any], name: str, key: str) -> str:
        value = table[key]
        if not isinstance(value, str) or not value.strip():
            raise self._wrong(f"{key} must be a text", name, key)
        return value

    def _wrong(self, reason: str, table: str, key: str | None) -> Refusal:
        return self.file.refusal(reason, Place(table, None, key))
