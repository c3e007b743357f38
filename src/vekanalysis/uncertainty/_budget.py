"""Uncertainty budgets, from TOML files or built in Python."""

import dataclasses
import hashlib
import os
from collections.abc import Mapping, Sequence
from dataclasses import dataclass
from datetime import date
from pathlib import Path
from types import MappingProxyType
from typing import Any, Final, Self

from .._core import Scan
from .._files import read_regular
from .._toml import Place, TomlFile
from .._views import HasViews
from ..errors import Refusal
from ..spectrum import Spectrum
from ._component import KEYS, Component, InvalidComponent
from ._tables import read_curve, read_matrix

_TOP: Final = ("label", "date", "coverage", "component")
_OF_REPEATS: Final = ("repeats", "averaged")
_COMPONENT: Final = (*KEYS, *_OF_REPEATS)


@dataclass(frozen=True, kw_only=True, eq=False)
class Budget(HasViews):
    """What is uncertain about a measurement: the components, independent of each other.

    Parameters
    ----------
    label : str
        A name, told in reports.
    components : sequence of Component
        Names must differ. None at all means that nothing is uncertain: there are no
        assumptions about an instrument.
    coverage : float
        Probability of the intervals that are reported.
    date : datetime.date or str, optional
        When it was drawn up.
    file, sha256 : str, optional
        Where it was read, and the SHA-256 digest of that file's bytes.
    files : mapping of str to str, optional
        SHA-256 digests of the files that it names, by these names.
    of_repeats : sequence of mapping of str to object
        The noise that the repeats of each object show, which `with_repeats` makes components of:
        the arguments of `Component.from_repeats` but for the repeats and ``averaged``.

    Raises
    ------
    Refusal
        If two components have one name, or the coverage is not between 0 and 1.

    Examples
    --------
    >>> from vekanalysis.uncertainty import Budget, Component
    >>> gain = Component(name="100 % line", kind="gain", standard=0.002)
    >>> Budget(label="Bench 1", components=[gain]).coverage
    0.95
    """

    label: str = ""
    components: Sequence[Component] = ()
    coverage: float = 0.95
    date: date | str | None = None
    file: str | None = None
    sha256: str | None = None
    files: Mapping[str, str] = MappingProxyType({})
    of_repeats: Sequence[Mapping[str, Any]] = ()

    def __post_init__(self) -> None:
        if not isinstance(self.label, str):
            raise InvalidComponent("label must be a text", "label")
        if isinstance(self.coverage, bool) or not isinstance(self.coverage, int | float):
            raise InvalidComponent("coverage must be a number between 0 and 1", "coverage")
        if not 0.0 < self.coverage < 1.0:
            raise InvalidComponent(
                f"coverage is {self.coverage!r}; it must lie between 0 and 1", "coverage"
            )
        seen = set()
        for component in self.components:
            if not isinstance(component, Component):
                raise TypeError(f"a Budget has Components, not {type(component).__name__}")
            if component.name in seen:
                raise Refusal(f"two components are named '{component.name}'")
            seen.add(component.name)
        for arguments in self.of_repeats:
            _check_of_repeats(arguments)
            if arguments["name"] in seen:
                raise Refusal(f"two components are named '{arguments['name']}'")
            seen.add(arguments["name"])
        object.__setattr__(self, "components", tuple(self.components))
        object.__setattr__(self, "of_repeats", tuple(map(dict, self.of_repeats)))

    def with_repeats(self, repeats: Sequence[Spectrum | Scan]) -> Self:
        """The budget for the mean of these repeats, with the noise that they show.

        Parameters
        ----------
        repeats : sequence of Spectrum or Scan
            All that the mean is of, in the unit of the spectrum that the budget is for.

        Returns
        -------
        Budget
            This one if nothing in it is `of_repeats`.

        Raises
        ------
        Refusal
            If there are fewer than two, or their wavelengths differ.
        """
        if not self.of_repeats:
            return self
        noise = [
            Component.from_repeats(repeats=repeats, averaged=len(repeats), **arguments)
            for arguments in self.of_repeats
        ]
        return dataclasses.replace(self, components=(*self.components, *noise), of_repeats=())

    @classmethod
    def read(cls, path: str | os.PathLike[str]) -> Self:
        """Read a budget from a TOML file.

        Parameters
        ----------
        path : str or os.PathLike
            Files that it names are beside it.

        Returns
        -------
        Budget

        Raises
        ------
        OSError
            If the file cannot be read.
        Refusal
            With file, line and key, if it is not TOML or no budget, or if one of the files that it
            names cannot be taken.
        """
        file = TomlFile.read(path)
        document = _Document(file)
        values = document.budget()
        try:
            files = {name: _digest(document.beside(name)) for name in [*document.named]}
        except OSError as error:
            raise Refusal(f"{error.filename}: cannot be read: {error.strerror}") from None
        where = os.fspath(path)
        return cls(**values, file=where, sha256=file.sha256, files=MappingProxyType(files))


class _Document:
    """A parsed budget file on its way to components."""

    def __init__(self, file: TomlFile) -> None:
        self.file = file
        self.document = file.document
        # The files that it names, each once.
        self.named: dict[str, None] = {}

    def budget(self) -> dict[str, Any]:
        """The arguments of a Budget."""
        values = dict(self.document)
        self._check_known(values, _TOP, "the budget", None)
        tables = values.pop("component", [])
        if not isinstance(tables, list) or not all(isinstance(each, dict) for each in tables):
            raise self._refusal("components are written under [[component]]", None, "component")
        components: list[Component] = []
        of_repeats: list[dict[str, Any]] = []
        names = set()
        for index, table in enumerate(tables):
            component = self._component(index, table)
            is_made = isinstance(component, Component)
            name = component.name if is_made else component["name"]
            if name in names:
                raise self._refusal(f"two components are named '{name}'", index, "name")
            names.add(name)
            (components if is_made else of_repeats).append(component)
        values |= {"components": components, "of_repeats": of_repeats}
        try:
            Budget(**values)
        except InvalidComponent as error:
            raise self._refusal(error.reason, None, error.key) from None
        return values

    def _component(self, index: int, table: Mapping[str, Any]) -> Any:
        """The component of a table, or its arguments if the repeats of the object make it."""
        name = table.get("name")
        what = f"component '{name}'" if isinstance(name, str) else f"component {index + 1}"
        self._check_known(table, _COMPONENT, what, index)
        for key in ("name", "kind"):
            if key not in table:
                raise self._refusal(f"{what}: {key} is missing", index, None)
        values = {key: self._value(index, key, value) for key, value in table.items()}
        try:
            if "repeats" in values:
                return self._from_repeats(values, what)
            if "averaged" in values:
                raise InvalidComponent(f"{what}: averaged is for repeats", "averaged")
            return Component(**values)
        except InvalidComponent as error:
            raise self._refusal(error.reason, index, error.key) from None
        except Refusal as error:
            raise self._refusal(error.reason, index, "repeats") from None

    def _from_repeats(self, values: dict[str, Any], what: str) -> Any:
        wrong = {"standard", "expanded", "half_width", "k", "covariance", "dof"} & values.keys()
        if values.pop("kind") != "noise":
            raise InvalidComponent(f"{what}: repeats are of kind 'noise'", "kind")
        if wrong:
            key = min(wrong)
            raise InvalidComponent(f"{what}: repeats give its size; {key} is too much", key)
        of_object = values["repeats"] is True
        why = "how many scans a spectrum is the mean of must be stated; 1 for one scan"
        if of_object and "averaged" in values:
            why = "the mean is that of all repeats of the object"
            raise InvalidComponent(f"{what}: averaged is too much: {why}", "averaged")
        if not of_object and "averaged" not in values:
            raise InvalidComponent(f"{what}: averaged is missing; {why}", None)
        if "correlation" not in values:
            why = '"independent", "full", "observed" or a table must be stated'
            raise InvalidComponent(f"{what}: correlation is missing; {why}", None)
        values.pop("unit", None)  # the spectra are in coherent units by now
        if not of_object:
            return Component.from_repeats(**values)
        del values["repeats"]
        _check_of_repeats(values)
        return values

    def _value(self, index: int, key: str, value: Any) -> Any:
        """What TOML has for a key of a component, with the files that it names read."""
        try:
            if key in ("standard", "expanded", "half_width"):
                return self._size(value)
            if key == "covariance" and isinstance(value, str):
                return read_matrix(self.beside(value))
            if key == "correlation" and isinstance(value, dict):
                matrix = value.get("matrix")
                if isinstance(matrix, str):
                    return value | {"matrix": read_matrix(self.beside(matrix))}
            if key == "repeats":
                return self._repeats(index, value)
        except Refusal as error:
            raise self._refusal(f"{key}: {error.reason}", index, key) from None
        return value

    def _size(self, value: Any) -> Any:
        if isinstance(value, str):
            return read_curve(self.beside(value), None)
        if isinstance(value, dict):
            if not {"file"} <= value.keys() <= {"file", "column"}:
                raise Refusal("a table needs file, and may have column")
            return read_curve(self.beside(value["file"]), value.get("column"))
        return value

    def _repeats(self, index: int, value: Any) -> list[Any] | bool:
        from ..reading import read

        if value is True:
            return value
        files = [value] if isinstance(value, str) else value
        if not isinstance(files, list) or not files or not all(isinstance(f, str) for f in files):
            raise Refusal("must be a file, a list of files, or true for those of the object")
        unit = self.document["component"][index].get("unit")
        try:
            return [each for file in files for each in read(self.beside(file), unit=unit)]
        except OSError as error:
            raise Refusal(f"{error.filename}: cannot be read: {error.strerror}") from None

    def beside(self, file: object) -> Path:
        if not isinstance(file, str):
            raise Refusal("a file is named by a text")
        self.named[file] = None
        return self.file.path.parent / file

    def _check_known(
        self, table: Mapping[str, Any], known: Sequence[str], what: str, index: int | None
    ) -> None:
        self.file.check_known(table, known, what, _place(index, None))

    def _refusal(self, reason: str, index: int | None, key: str | None) -> Refusal:
        return self.file.refusal(reason, _place(index, key))


def _check_of_repeats(arguments: Mapping[str, Any]) -> None:
    """Raise what `Component.from_repeats` would, whatever the repeats."""
    Component.from_repeats(repeats=[Scan([500.0], [1.0])] * 2, averaged=2, **arguments)


def _digest(path: Path) -> str:
    return hashlib.sha256(read_regular(path)).hexdigest()


def _place(index: int | None, key: str | None) -> Place:
    """Of a component, from 0, or of the top of the file."""
    return Place(None if index is None else "component", index, key)
