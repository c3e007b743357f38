"""Notes of the library in another language, as far as its catalogue has them."""

import re
from collections.abc import Callable, Mapping
from typing import Final

# What may stand in a note, by the names of places in the patterns of a catalogue (and a digit).
# None of them runs into the next one, so that no note takes long.
_PLACES: Final = {
    "n": r"[0-9.]++(?:e[+-][0-9]++)?+",
    "range": r"[0-9.]++-[0-9.]++",
    "kind": r"[a-z]++",
    "unit": r"[^,;:]{1,40}?",
    "rest": r".*+",
}
_PLACE: Final = re.compile(r"\{([a-z]+)[0-9]?\}")
# What a note on a column or a data set begins with.
_PART: Final = re.compile(r"(column|data set) ([0-9]++(?: '[^']*+')?+|'[^']*+'): (.*+)", re.DOTALL)
_LONGEST: Final = 20_000


class Notes:
    """The notes of a catalogue.

    Parameters
    ----------
    catalogue : mapping of str to mapping of str to str
        ``notes`` has patterns with places in braces, ``parts`` those of notes that are put together
        with commas, ``kinds`` what spectra are of; all by the English.
    number : callable
        Sets a number in the language.
    """

    def __init__(
        self, catalogue: Mapping[str, Mapping[str, str]], number: Callable[[str], str]
    ) -> None:
        self._number = number
        self._kinds = catalogue.get("kinds", {})
        self._notes = _compiled(catalogue.get("notes", {}))
        self._parts = _compiled(catalogue.get("parts", {}))
        self._heads = catalogue.get("heads", {})

    def __call__(self, english: str) -> str | None:
        """The note in the language; None if the catalogue lacks it."""
        if len(english) > _LONGEST:
            return None
        part = _PART.fullmatch(english)
        if part is None:
            return self._translated(english)
        rest = self._translated(part[3])
        head = self._heads.get(part[1], part[1])
        return None if rest is None else f"{head} {part[2]}: {rest}"

    def _translated(self, english: str) -> str | None:
        whole = self._matched(english, self._notes)
        if whole is not None:
            return whole
        parts = [self._matched(each, self._parts) for each in english.split(", ")]
        found = [each for each in parts if each is not None]
        return ", ".join(found) if len(found) == len(parts) else None

    def _matched(self, english: str, patterns: list[tuple[re.Pattern[str], str]]) -> str | None:
        for pattern, text in patterns:
            found = pattern.fullmatch(english)
            if found:
                return text.format(
                    **{name: self._set(name, value) for name, value in found.groupdict().items()}
                )
        return None

    def _set(self, name: str, value: str) -> str:
        match name.rstrip("0123456789"):
            case "n":
                return self._number(value)
            case "kind":
                return self._kinds.get(value, value)
            case "range":
                return "\N{EN DASH}".join(map(self._number, value.split("-")))
        return value


def _compiled(patterns: Mapping[str, str]) -> list[tuple[re.Pattern[str], str]]:
    return [
        (re.compile(_expression(english), re.DOTALL), text) for english, text in patterns.items()
    ]


def _expression(pattern: str) -> str:
    parts, end = [], 0
    for place in _PLACE.finditer(pattern):
        parts.append(re.escape(pattern[end : place.start()]))
        parts.append(f"(?P<{place[0][1:-1]}>{_PLACES[place[1]]})")
        end = place.end()
    return "".join([*parts, re.escape(pattern[end:])])
