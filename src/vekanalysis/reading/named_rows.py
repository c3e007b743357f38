"""Rows that have their wavelengths in their names, as lamp meters write them."""

import re
from typing import NamedTuple

# The name without digits, the wavelength, and the bracket before its unit.
_IN_ANY_UNIT = re.compile(
    rb"^([^\r\n0-9,;\t\"]++)([0-9]++(?:[.,][0-9]++)?+)[ \t]*+[\[(]", re.MULTILINE
)
# The same with nm, and the delimiter.
_NAMED = re.compile(
    _IN_ANY_UNIT.pattern + rb"[ \t]*+nm[ \t]*+[\])][ \t]*+(?=[,;\t])",
    re.MULTILINE,
)


class Unnamed(NamedTuple):
    """A text in which wavelengths stand alone, line by line that of the file."""

    text: bytes
    # The first of the names, as it stands in the file.
    example: str


def without_names(text: bytes) -> Unnamed | None:
    """``380 nm,0.1`` for ``Spectral Data 380[nm],0.1``; None where not all rows have one name.

    Only a text without other rows of numbers is to be read like that.
    """
    found = [*_NAMED.finditer(text)]
    names = {match[1].strip() for match in found}
    if len(found) < 2 or len(names) > 1:
        return None
    if sum(match[1].strip() in names for match in _IN_ANY_UNIT.finditer(text)) > len(found):
        return None
    return Unnamed(_NAMED.sub(rb"\2 nm", text), found[0][0].decode(errors="replace"))
