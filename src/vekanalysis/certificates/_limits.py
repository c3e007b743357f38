"""Limits and the decision rule of a laboratory, from TOML files: none is built in."""

import math
import os
from collections.abc import Mapping
from dataclasses import dataclass
from typing import Any, Final, Literal, NamedTuple, Self

from .._nearest import nearest
from .._toml import Place, TomlFile
from ..quantities import LENS_FULL, Quantity

type Rule = Literal["simple", "guard-band", "non-binary", "uncritical"]

RULES: Final = ("simple", "guard-band", "non-binary", "uncritical")
_KEYS: Final = {quantity.key: quantity for quantity in LENS_FULL}
_TOP: Final = ("label", "edition", "source", "decision", "category", "requirement")
_LOWER: Final = ("above", "at_least")
_UPPER: Final = ("below", "at_most")
_BOUNDS: Final = (*_LOWER, *_UPPER)
# No limit of a quotient is near it, and none in per cent below.
_MOST_QUOTIENT: Final = 10.0


class Term(NamedTuple):
    """A number, or a quantity times a number."""

    number: float
    quantity: str | None = None


class Bound(NamedTuple):
    """One end of what is allowed.

    Attributes
    ----------
    word : {"above", "at_least", "below", "at_most"}
        "above" and "below" leave the bound itself out.
    terms : tuple of Term
        The bound is the largest of them.
    """

    word: str
    terms: tuple[Term, ...]

    @property
    def is_lower(self) -> bool:
        return self.word in _LOWER

    @property
    def is_strict(self) -> bool:
        return self.word in ("above", "below")

    @property
    def quantities(self) -> tuple[str, ...]:
        """The keys of the quantities that it is relative to."""
        return tuple(term.quantity for term in self.terms if term.quantity is not None)


@dataclass(frozen=True, kw_only=True)
class Requirement:
    """What a quantity has to be: between bounds, for some purpose, in some categories.

    Attributes
    ----------
    name : str
    quantity : str
        Key of a quantity of lenses.
    bounds : tuple of Bound
        A lower one, an upper one, or both.
    when : str or None
        The purpose that it is for; None for all.
    categories : tuple of str or None
        The categories that it is for; None for all.
    """

    name: str
    quantity: str
    bounds: tuple[Bound, ...]
    when: str | None = None
    categories: tuple[str, ...] | None = None


@dataclass(frozen=True, kw_only=True)
class Category:
    """A class of lenses, by one quantity; attributes as of `Requirement`."""

    name: str
    quantity: str
    bounds: tuple[Bound, ...]


class Decision(NamedTuple):
    """How uncertainty enters a statement of conformity.

    Attributes
    ----------
    rule : {"simple", "guard-band", "non-binary", "uncritical"}
    factor : float
        The guard band is so many times the expanded uncertainty; "simple" has none, and
        "uncritical" has it outside of the limits.
    coverage : float or None
        Of the expanded uncertainty; None for that of the budget.
    """

    rule: str
    factor: float = 1.0
    coverage: float | None = None

    @property
    def guard(self) -> float:
        """Guard band in units of the expanded uncertainty; below 0 outside of the limits."""
        if self.rule == "simple":
            return 0.0
        return -self.factor if self.rule == "uncritical" else self.factor


@dataclass(frozen=True, kw_only=True)
class Limits:
    """The limits of a file.

    Attributes
    ----------
    label, edition, source : str
        What they are, in the words of the laboratory.
    decision : Decision or None
        Without one nothing is decided.
    categories : tuple of Category
    requirements : tuple of Requirement
    file, sha256 : str or None
        Where they were read, and the SHA-256 digest of that file's bytes.
    """

    label: str = ""
    edition: str = ""
    source: str = ""
    decision: Decision | None = None
    categories: tuple[Category, ...] = ()
    requirements: tuple[Requirement, ...] = ()
    file: str | None = None
    sha256: str | None = None

    @property
    def purposes(self) -> tuple[str, ...]:
        """The purposes that requirements are for, each once."""
        return tuple(dict.fromkeys(each.when for each in self.requirements if each.when))

    @property
    def quantities(self) -> tuple[str, ...]:
        """The keys of all quantities that are named, each once."""
        parts: list[Category | Requirement] = [*self.categories, *self.requirements]
        named = [
            key
            for each in parts
            for key in (each.quantity, *(key for bound in each.bounds for key in bound.quantities))
        ]
        return tuple(dict.fromkeys(named))

    @classmethod
    def read(cls, path: str | os.PathLike[str]) -> Self:
        """Read limits from a TOML file.

        Parameters
        ----------
        path : str or os.PathLike

        Returns
        -------
        Limits

        Raises
        ------
        OSError
            If the file cannot be read.
        Refusal
            With file, line and key, if it is not TOML or has no limits.
        """
        file = TomlFile.read(path)
        return cls(**_Reader(file).limits(), file=os.fspath(path), sha256=file.sha256)


def _impossible(quantity: Quantity, limit: float) -> str | None:
    """Why a number is no limit of a quantity: it is meant in per cent, as a rule."""
    if quantity.is_transmittance and not 0.0 <= limit <= 1.0:
        return "transmittances are fractions"
    if quantity.is_quotient and not 0.0 <= limit < _MOST_QUOTIENT:
        return "quotients are plain numbers"
    return None


class _Reader:
    """A parsed file of limits."""

    def __init__(self, file: TomlFile) -> None:
        self.file = file

    def limits(self) -> dict[str, Any]:
        """The arguments of Limits."""
        document = self.file.document
        self.file.check_known(document, _TOP, "the file of limits", Place())
        values: dict[str, Any] = {
            key: self._text(document, key, Place()) for key in ("label", "edition", "source")
        }
        if "decision" in document:
            values["decision"] = self._decision(document["decision"])
        categories = tuple(
            Category(**self._limited("category", i, table, ()))
            for i, table in enumerate(self._tables("category"))
        )
        self._categories = [category.name for category in categories]
        more = ("when", "categories")
        requirements = tuple(
            Requirement(**self._limited("requirement", i, table, more))
            for i, table in enumerate(self._tables("requirement"))
        )
        if not categories and not requirements:
            reason = "there is neither a [[category]] nor a [[requirement]]"
            raise self.file.refusal(reason, Place())
        return values | {"categories": categories, "requirements": requirements}

    def _decision(self, table: Any) -> Decision:
        place = Place("decision")
        if not isinstance(table, dict):
            reason = "the decision rule is written under [decision]"
            raise self.file.refusal(reason, Place(key="decision"))
        self.file.check_known(table, Decision._fields, "the decision", place)
        if "rule" not in table:
            raise self.file.refusal("the decision: rule is missing" + nearest("", RULES), place)
        rule = table["rule"]
        if rule not in RULES:
            reason = f"rule is {rule!r}{nearest(str(rule), RULES)}"
            raise self.file.refusal(reason, place._replace(key="rule"))
        if "factor" in table:
            at = place._replace(key="factor")
            if not self._number(table["factor"], at, "factor") > 0.0:
                raise self.file.refusal("factor must be above 0", at)
            if rule == "simple":
                raise self.file.refusal("rule 'simple' has no guard band, so no factor", at)
        if "coverage" in table:
            at = place._replace(key="coverage")
            if not 0.0 < self._number(table["coverage"], at, "coverage") < 1.0:
                raise self.file.refusal("coverage must lie between 0 and 1", at)
        return Decision(**table)

    def _tables(self, name: str) -> list[dict[str, Any]]:
        tables = self.file.document.get(name, [])
        if not isinstance(tables, list) or not all(isinstance(each, dict) for each in tables):
            reason = f"each {name} is written under [[{name}]]"
            raise self.file.refusal(reason, Place(key=name))
        names = [table.get("name") for table in tables]
        for i, each in enumerate(names):
            if isinstance(each, str) and each in names[:i] and name == "category":
                reason = f"two categories are named '{each}'"
                raise self.file.refusal(reason, Place(name, i, "name"))
        return tables

    def _limited(
        self, kind: str, index: int, table: Mapping[str, Any], more: tuple[str, ...]
    ) -> dict[str, Any]:
        place = Place(kind, index)
        name = table.get("name")
        what = f"{kind} '{name}'" if isinstance(name, str) else f"{kind} {index + 1}"
        self.file.check_known(table, ("name", "quantity", *_BOUNDS, *more), what, place)
        for key in ("name", "quantity"):
            if key not in table:
                raise self.file.refusal(f"{what}: {key} is missing", place)
        values: dict[str, Any] = {
            "name": self._text(table, "name", place),
            "quantity": self._key(table["quantity"], place._replace(key="quantity")),
        }
        values["bounds"] = self._bounds(what, table, place)
        if "when" in table:
            values["when"] = self._text(table, "when", place)
        if "categories" in table:
            values["categories"] = self._names(table["categories"], place)
        return values

    def _bounds(self, what: str, table: Mapping[str, Any], place: Place) -> tuple[Bound, ...]:
        bounds = []
        for words in (_LOWER, _UPPER):
            given = [word for word in table if word in words]
            if len(given) > 1:
                reason = f"{what}: both {given[0]} and {given[1]}; give one of them"
                raise self.file.refusal(reason, place._replace(key=given[1]))
            for word in given:
                at = place._replace(key=word)
                bounds.append(Bound(word, self._terms(table[word], at, word, largest=True)))
        if not bounds:
            raise self.file.refusal(f"{what}: no bound{nearest('', _BOUNDS)}", place)
        quantity = _KEYS[table["quantity"]]
        for bound in bounds:
            for number, other in bound.terms:
                doubt = None if other is not None else _impossible(quantity, number)
                if doubt is not None:
                    reason = f"{what}: {bound.word} is {number:g}; {doubt}"
                    raise self.file.refusal(reason, place._replace(key=bound.word))
        numbers = [bound.terms[0].number for bound in bounds if not bound.quantities]
        if len(numbers) == 2 and not numbers[0] < numbers[1]:
            reason = f"{what}: the lower bound is not below the upper one"
            raise self.file.refusal(reason, place._replace(key=bounds[1].word))
        return tuple(bounds)

    def _terms(self, value: Any, place: Place, word: str, *, largest: bool) -> tuple[Term, ...]:
        if not isinstance(value, dict):
            return (Term(self._number(value, place, word)),)
        if largest and value.keys() == {"largest"} and isinstance(value["largest"], list):
            terms = [self._terms(each, place, word, largest=False)[0] for each in value["largest"]]
            if len(terms) > 1:
                return tuple(terms)
        elif value.keys() == {"times", "quantity"}:
            factor = self._number(value["times"], place, "times")
            if not factor > 0.0:
                raise self.file.refusal("times must be above 0", place)
            return (Term(factor, self._key(value["quantity"], place)),)
        raise self.file.refusal(
            f"{word} must be a number, {{ times = ..., quantity = ... }} or "
            "{ largest = [...] } of two or more of these",
            place,
        )

    def _names(self, value: Any, place: Place) -> tuple[str, ...]:
        at = place._replace(key="categories")
        if not isinstance(value, list) or not value:
            raise self.file.refusal("categories must be a list of names", at)
        for each in map(str, value):
            if each not in self._categories:
                reason = f"there is no category '{each}'{nearest(each, self._categories)}"
                raise self.file.refusal(reason, at)
        return tuple(map(str, value))

    def _key(self, value: Any, place: Place) -> str:
        if not isinstance(value, str) or value not in _KEYS:
            reason = f"there is no quantity {value!r} of lenses{nearest(str(value), _KEYS)}"
            raise self.file.refusal(reason, place)
        return value

    def _number(self, value: Any, place: Place, what: str) -> float:
        if isinstance(value, bool) or not isinstance(value, int | float):
            raise self.file.refusal(f"{what} must be a number, not {value!r}", place)
        if not math.isfinite(value):
            raise self.file.refusal(f"{what} is not finite", place)
        return float(value)

    def _text(self, table: Mapping[str, Any], key: str, place: Place) -> str:
        value = table.get(key, "")
        if not isinstance(value, str) or (key in table and not value.strip()):
            raise self.file.refusal(f"{key} must be a text", place._replace(key=key))
        return value
