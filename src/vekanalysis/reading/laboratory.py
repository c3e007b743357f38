"""The laboratories' formats: which one a file is in, and the spectra that it holds.

A file is known by what it starts with, never by its name. The parsers are imported when a file of
their format comes.
"""

import re
from collections.abc import Mapping, Sequence
from typing import Any, Literal

from .._core import AKIMA
from ..errors import Refusal
from ..spectrum import Source, Spectrum
from .choice import chosen
from .text import distinct
from .values import Options

TYPE_CHECKING = False
if TYPE_CHECKING:
    from .curve import Curve

type Format = Literal["JCAMP-DX", "SPC", "XML"]

_JCAMP = re.compile(rb"(?:\xef\xbb\xbf)?\s*+(?>\$\$[^\r\n]*+\s*+)*+##\s*TITLE\s*=", re.IGNORECASE)
# Labels that only JCAMP-DX has, for files whose first lines are missing: as tables their factors
# would be left out.
_OF_JCAMP = re.compile(
    rb"##[ \t]*(?:JCAMP[ _-]?DX|XYDATA|XYPOINTS|[XY]FACTOR|FIRSTX|NPOINTS)[ \t]*=", re.IGNORECASE
)
_XML = re.compile(
    r"\s*+(?:<\?xml|<(?:[\w.-]+:)?(?:Ophthalmology|IESTM2714|[RLS]|Measure)[\s>/])", re.IGNORECASE
)
_SPC_VERSIONS = (0x4B, 0x4C, 0x4D)
_SMALLEST_SPC = 224
# Options of `read` that only text tables have, and what they are when nobody gives them.
_OF_TABLES: dict[str, Any] = {"columns": None, "skip": 0, "delimiter": None, "decimal": None}


def laboratory_format(content: bytes) -> Format | None:
    """The format that the bytes of a file are in; None if they are of another kind."""
    start = content[:4096]
    if _JCAMP.match(start) or _OF_JCAMP.search(content[:65536]):
        return "JCAMP-DX"
    # UTF-16 has a zero byte beside each of the characters that are looked for.
    text = start.removeprefix(b"\xef\xbb\xbf").removeprefix(b"\xff\xfe").removeprefix(b"\xfe\xff")
    if _XML.match(text.replace(b"\0", b"").decode("latin-1")):
        return "XML"
    return "SPC" if _is_spc(content) else None


def read_laboratory(
    content: bytes,
    form: Format,
    source: Source,
    data_sets: Sequence[str],
    asked: Options,
    options: Mapping[str, Any],
    stem: str,
) -> list[Spectrum]:
    """The spectra of a file in one of the formats, all or those named.

    ``stem`` is the label of one that has no title of its own.
    """
    from .curve import Wanted, spectrum

    name = source.file or "file"
    for option, value in _OF_TABLES.items():
        if options.get(option, value) != value:
            raise Refusal(f"{name}: {option} is for tables of text, and this is {form}")
    named = _named_curves(content, form, name, options.get("encoding"))
    alone = len(named) == 1
    wanted = Wanted(
        asked,
        options.get("wavelength_unit"),
        options.get("duplicates", "refuse"),
        options.get("sort", False),
        options.get("epsilon", 1e-20),
        options.get("interpolation", AKIMA),
    )
    return [
        spectrum(
            curve,
            source._replace(data_set=None if alone and not curve.part else part),
            curve.label or (stem if alone else part),
            wanted,
        )
        for part in chosen(name, _names(named), data_sets)
        for curve in [named[part]]
    ]


def offered_names(
    content: bytes, form: Format, name: str, encoding: str | None = None
) -> dict[str, str]:
    """The names of the spectra in a file in one of the formats, by what tells them apart."""
    return _names(_named_curves(content, form, name, encoding))


def _names(named: Mapping[str, Curve]) -> dict[str, str]:
    return {part: curve.label or part for part, curve in named.items()}


def _named_curves(
    content: bytes, form: Format, name: str, encoding: str | None
) -> dict[str, Curve]:
    try:
        curves = _curves(content, form, encoding)
    except Refusal as error:
        raise Refusal(f"{name}: {error.reason}", error.remedy) from None
    parts = distinct([curve.part or curve.label or "curve" for curve in curves])
    return dict(zip(parts, curves, strict=True))


def _curves(content: bytes, form: Format, encoding: str | None) -> Sequence[Curve]:
    if form == "JCAMP-DX":
        from . import jcamp

        return jcamp.parse(content, encoding)
    if form == "SPC":
        from . import spc

        return spc.parse(content)
    from . import lensmeter, tm27, xml_tree

    root = xml_tree.parse(content, encoding)
    if root.name == tm27.ROOT:
        return tm27.parse(root)
    if root.name in lensmeter.ROOTS:
        return lensmeter.parse(root)
    raise Refusal(
        f"XML of another kind: its root is '{root.name[:40]}', not {lensmeter.ROOTS[0]} "
        f"(lensmeters) or {tm27.ROOT} (TM-27)"
    )


def _is_spc(content: bytes) -> bool:
    """Whether bytes are an SPC file, and not a text with such a letter in the second place."""
    if len(content) < _SMALLEST_SPC or content[1] not in _SPC_VERSIONS:
        return False
    start = content[:512]
    even, odd = start[::2].count(0), start[1::2].count(0)
    # Text has no zero bytes, UTF-16 in every other place only.
    return min(even, odd) > 0.1 * max(even, odd)
