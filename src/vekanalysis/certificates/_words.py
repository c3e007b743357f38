"""The languages of pages: words, names of quantities, numbers."""

import re
import tomllib
from collections.abc import Mapping
from decimal import ROUND_HALF_UP, Decimal
from functools import cache
from pathlib import Path
from typing import Any, Final

from .._files import as_text
from ..errors import Refusal
from ..quantities import Quantity, Value
from ..reports import one_line
from ..uncertainty import Uncertain, rounded
from ._notes import Notes
from ._settings import Settings

_FOLDER: Final = Path(__file__).parent / "languages"
_MINUS: Final = "\N{MINUS SIGN}"
_BLANK: Final = "\N{NO-BREAK SPACE}"
_DASH: Final = "\N{EN DASH}"
# A reason may begin with the key of the quantity that it is about.
_NO_DATA: Final = re.compile(r"No data within ([0-9.-]+) nm")
_ABOUT: Final = re.compile(r"([A-Za-z0-9_.]++): (.*)", re.DOTALL)


@cache
def catalogue(language: str) -> Mapping[str, Mapping[str, str]]:
    """The words of a language: ``words`` by name, ``sentences`` and ``names`` by the English."""
    text = (_FOLDER / f"{language}.toml").read_text("utf-8")
    found: dict[str, dict[str, str]] = tomllib.loads(text)
    return found


class Words:
    """How a page speaks."""

    def __init__(self, settings: Settings) -> None:
        self._catalogue = catalogue(settings.language)
        self._settings = settings
        self._notes = Notes(self._catalogue, self.number)
        # What the catalogue lacks, and so stands in English.
        self.kept: set[str] = set()

    def __call__(self, name: str, /, **values: Any) -> str:
        """A word or a sentence, with values in it."""
        return self._catalogue["words"][name].format(**values)

    def translated(self, english: str) -> str:
        """A text that the library has; what the catalogue lacks stays."""
        sentences = self._catalogue.get("sentences", {})
        about = _ABOUT.fullmatch(english)
        if about and english not in sentences:
            return f"{about[1]}: {self.translated(about[2])}"
        nothing = _NO_DATA.fullmatch(english)
        if nothing:
            return self("no_data", range=_DASH.join(map(self.number, nothing[1].split("-"))))
        found = sentences.get(english)
        return self._or_kept(english, self._notes(english) if found is None else found)

    def note(self, english: str) -> str:
        """A note on a spectrum, as far as the catalogue has it."""
        return self._or_kept(english, self._notes(english))

    def _or_kept(self, english: str, found: str | None) -> str:
        if found is None and self._settings.language != "en":
            self.kept.add(english)
        return english if found is None else found

    def name(self, quantity: Quantity) -> str:
        return self._catalogue.get("names", {}).get(quantity.name, quantity.name)

    def number(self, text: str) -> str:
        """A decimal number with the signs of the language."""
        return text.replace("-", _MINUS).replace(".", self._settings.decimal)

    def general(self, value: float) -> str:
        return self.number(f"{value:.10g}")

    def interval(self, ends: tuple[float, float]) -> str:
        return _DASH.join(self.general(end) for end in ends)

    def unit(self, quantity: Quantity) -> str:
        if quantity.is_transmittance and self._settings.percent:
            return "%"
        return "" if quantity.unit == "1" else quantity.unit

    def figure(self, quantity: Quantity, value: Value, result: Uncertain | None) -> tuple[str, str]:
        """The texts of a value and of what says how sure it is, the latter maybe empty."""
        if value.value is None:
            return _DASH, ""
        if result is not None:
            shown = rounded(result.value, result.expanded)
            if shown.expanded is not None:
                plain = result.value - result.expanded, result.value + result.expanded
                if result.interval == plain:
                    return self._shown(
                        quantity, shown.value
                    ), f"± {self._shown(quantity, shown.expanded)}"
                ends = (rounded(end, result.expanded).value for end in result.interval)
                low, high = (self._shown(quantity, end) for end in ends)
                said = self("between", low=low, high=high)
                return self._shown(quantity, shown.value), said
        return self._shown(quantity, self._plain(quantity, value.value)), ""

    def value(self, quantity: Quantity, value: float) -> str:
        """A value that has no uncertainty, with its unit."""
        unit = self.unit(quantity)
        return self._shown(quantity, self._plain(quantity, value)) + (_BLANK + unit if unit else "")

    def limit(self, quantity: Quantity, value: float) -> str:
        """A limit, with its unit."""
        return self._with_unit(quantity, Decimal(f"{value:.6g}"))

    def guard(self, quantity: Quantity, value: float) -> str:
        """A guard band or a standard uncertainty: two digits."""
        return self._with_unit(quantity, Decimal(f"{value:.1e}"))

    def _with_unit(self, quantity: Quantity, number: Decimal) -> str:
        unit = self.unit(quantity)
        return self._shown(quantity, f"{number:f}") + (_BLANK + unit if unit else "")

    def probability(self, value: float) -> str:
        """Of conformity: never said to be certain."""
        if value > 0.999:
            text = "> 99.9 %"
        else:
            text = "< 0.1 %" if value < 0.001 else f"{100.0 * value:.1f} %"
        return self.number(text.replace(" ", _BLANK))

    def _plain(self, quantity: Quantity, value: float) -> str:
        number = Decimal(repr(value))
        if quantity.is_transmittance or quantity.is_quotient or abs(value) < 1.0:
            places = self._settings.decimals
        else:
            places = max(0, 5 - number.adjusted())
        shown = number.quantize(Decimal(1).scaleb(-places), ROUND_HALF_UP)
        return f"{abs(shown) if shown.is_zero() else shown:f}"

    def _shown(self, quantity: Quantity, text: str) -> str:
        if quantity.is_transmittance and self._settings.percent:
            text = f"{Decimal(text).scaleb(2):f}"
        return self.number(text)


def symbol(text: str) -> tuple[str, str, str]:
    """A symbol, its index, and its star."""
    base, _, index = text.removesuffix("*").partition("_")
    return base, index, "*" if text.endswith("*") else ""


def safe(text: str) -> str:
    """Text of others on one line, without characters that control anything.

    Refusal of what is no text: the page would show another name.
    """
    try:
        text = as_text(text)
    except UnicodeError:
        raise Refusal(f"{text!a}: a page has text in UTF-8 alone, and this is none") from None
    return _BLANK.join(map(one_line, text.split(_BLANK)))
