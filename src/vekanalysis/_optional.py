"""Libraries that only some functions need."""

from importlib import import_module
from typing import Any


def require(library: str, user: str, extra: str) -> Any:
    """The module ``library``, or an ImportError that says what needs it and how to get it."""
    try:
        return import_module(library)
    except ImportError as error:
        package = library.partition(".")[0]
        raise ImportError(
            f"{user} needs {package}, which cannot be imported ({error}): "
            f"pip install 'vekanalysis[{extra}]', or in a checkout tools/setup {extra}",
            name=package,
        ) from None
