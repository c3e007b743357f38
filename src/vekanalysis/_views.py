"""Views of mappings that nobody may change, in objects that are copied and sent to processes."""

from collections.abc import Mapping
from types import MappingProxyType
from typing import Any


class _Plain(dict[Any, Any]):
    """What a view shows, on its way."""


def plain(value: Any) -> Any:
    """What can be pickled for a value: of a view, which cannot, what it shows."""
    return _Plain(value) if isinstance(value, MappingProxyType) else value


def restored(value: Any) -> Any:
    """The value that `plain` was given."""
    return MappingProxyType(value) if isinstance(value, _Plain) else value


class HasViews:
    """An object with views among its attributes."""

    def __getstate__(self) -> dict[str, Any]:
        return {name: plain(value) for name, value in self.__dict__.items()}

    def __setstate__(self, state: Mapping[str, Any]) -> None:
        self.__dict__.update({name: restored(value) for name, value in state.items()})
