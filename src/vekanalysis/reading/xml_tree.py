"""XML as data from outside: a tree without entities, within bounds.

expat is called directly. None of the formats that are read needs a document type, and without one
there are no entities to expand, nested or external; so every ``<!DOCTYPE`` is refused. Nothing that
a document refers to (schemas, style sheets) is ever fetched.
"""

import codecs
import re
from xml.parsers import expat

from ..errors import Refusal, Remedy
from .curve import number

LONGEST_FILE = 32_000_000
"""Bytes of the longest file that is taken."""

_DEPTH = 20
_ELEMENTS = 500_000
_ATTRIBUTES = 64
_TEXT = 100_000
# Codecs by the names of them that declarations use. Shift_JIS means Windows' code page in files.
_ENCODINGS = {
    "utf-8": "utf-8",
    "us-ascii": "utf-8",
    "utf-16": "utf-16",
    "iso-8859-1": "latin-1",
    "windows-1252": "cp1252",
    "shift_jis": "cp932",
    "shift-jis": "cp932",
    "x-sjis": "cp932",
    "windows-31j": "cp932",
    "euc-jp": "euc-jp",
}
_MARKS = {codecs.BOM_UTF8: "utf-8", codecs.BOM_UTF16_LE: "utf-16", codecs.BOM_UTF16_BE: "utf-16"}
_DECLARED = re.compile(rb"""\s*+<\?xml[^>]{1,100}?encoding\s*=\s*["']([\w.:-]{1,40})["']""")


class Element:
    """An element: its namespace, its local name, what it holds, and its line in the file."""

    __slots__ = ("attributes", "children", "line", "name", "namespace", "text")

    def __init__(self, name: str, attributes: dict[str, str], line: int) -> None:
        self.namespace, _, self.name = name.rpartition(" ")
        self.attributes = attributes
        self.children: list[Element] = []
        self.text = ""
        self.line = line

    def find(self, name: str) -> list[Element]:
        """The children of that local name, of any namespace."""
        return [child for child in self.children if child.name == name]

    def child(self, name: str) -> Element | None:
        """The child of that local name; Refusal if there are several."""
        found = self.find(name)
        if len(found) > 1:
            raise Refusal(f"line {found[1].line}: {name} is there twice")
        return found[0] if found else None

    def number(self, where: str) -> float:
        """The number that fills it; Refusal if there is anything else."""
        if self.children:
            raise Refusal(f"{where}: '{self.children[0].name}' stands within a number")
        return number(self.text, where)

    def child_text(self, name: str) -> str:
        """The text of that child in one line, empty without one."""
        child = self.child(name)
        return "" if child is None else " ".join(child.text.split())


def parse(content: bytes, encoding: str | None = None) -> Element:
    """The root of a document.

    Raises
    ------
    Refusal
        If it is damaged, has a document type, or is beyond bounds; the text names the line.
    """
    if len(content) > LONGEST_FILE:
        raise Refusal(f"{len(content)} bytes of XML; at most {LONGEST_FILE} are taken")
    text = _decoded(content, encoding)
    builder = _Builder()
    try:
        builder.parser.Parse(text.encode("utf-8", "strict"), True)
    except expat.ExpatError as error:
        reason = expat.errors.messages.get(error.code, "damaged")
        raise Refusal(f"line {error.lineno}: damaged XML: {reason}") from None
    except UnicodeEncodeError:
        raise Refusal("damaged XML: half a character") from None
    assert builder.root is not None
    return builder.root


def _decoded(content: bytes, encoding: str | None) -> str:
    if encoding is None:
        marked = next((name for mark, name in _MARKS.items() if content.startswith(mark)), None)
        declared = _DECLARED.match(content)
        stated = declared[1].decode("ascii").lower() if declared else "utf-8"
        encoding = marked or _ENCODINGS.get(stated)
        if encoding is None:
            raise Refusal(
                f"XML in the encoding '{stated}', which is not known here",
                Remedy("pass {}", (("encoding", ...),)),
            )
    try:
        return content.decode(encoding).removeprefix("\ufeff")
    except UnicodeDecodeError as error:
        line = content.count(b"\n", 0, error.start) + 1
        raise Refusal(
            f"line {line}: the bytes are not {encoding}", Remedy("pass {}", (("encoding", ...),))
        ) from None
    except LookupError, ValueError:
        raise Refusal(f"encoding is {encoding!r}, which Python does not know") from None


class _Builder:
    """Makes the tree of what expat finds; refuses what goes beyond bounds where it begins."""

    def __init__(self) -> None:
        # The encoding overrides the declared one: the text has been decoded. Names come as
        # "namespace local".
        self.parser = expat.ParserCreate("utf-8", " ")
        self.parser.buffer_text = True
        self.parser.StartElementHandler = self._start
        self.parser.EndElementHandler = self._end
        self.parser.CharacterDataHandler = self._text
        self.parser.StartDoctypeDeclHandler = self._doctype
        self.root: Element | None = None
        self._open: list[Element] = []
        self._count = 0

    def _refuse(self, reason: str) -> Refusal:
        return Refusal(f"line {self.parser.CurrentLineNumber}: {reason}")

    def _doctype(self, *_declaration: object) -> None:
        raise self._refuse("a document type (<!DOCTYPE>), which these formats do not have")

    def _start(self, name: str, attributes: dict[str, str]) -> None:
        self._count += 1
        if len(self._open) == _DEPTH:
            raise self._refuse(f"elements more than {_DEPTH} deep")
        if self._count > _ELEMENTS:
            raise self._refuse(f"more than {_ELEMENTS} elements")
        if len(attributes) > _ATTRIBUTES:
            raise self._refuse(f"more than {_ATTRIBUTES} attributes")
        element = Element(name, attributes, self.parser.CurrentLineNumber)
        if self._open:
            self._open[-1].children.append(element)
        else:
            self.root = element
        self._open.append(element)

    def _end(self, _name: str) -> None:
        self._open.pop()

    def _text(self, text: str) -> None:
        element = self._open[-1]
        if len(element.text) + len(text) > _TEXT:
            raise self._refuse(f"more than {_TEXT} characters in '{element.name}'")
        element.text += text
