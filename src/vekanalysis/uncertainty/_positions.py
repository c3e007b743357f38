"""Where in a TOML text a key stands, for messages: the parser does not tell."""

import tomllib
from typing import Any


def line_of(text: str, component: int | None, key: str | None) -> int | None:
    """Number of the line of a key, from 1; None if it cannot be told.

    ``component`` counts the tables of the array of that name from 0, None is the top of the file;
    without a key it is the line at which that table begins.
    """
    lines = text.splitlines(keepends=True)
    start = 0
    for number, line in enumerate(lines, start=1):
        before = text[:start]
        start += len(line)
        if _may_begin(line, component, key) and _is_before(before, component, key):
            return number
    return None


def _may_begin(line: str, component: int | None, key: str | None) -> bool:
    """Whether the line can be that of the key, for all that it says by itself."""
    start = line.strip().replace(" ", "")
    if key is None:
        return start.startswith(("[[component]]", "component="))
    if start.startswith("["):
        return component is not None and f"component.{key}]" in start
    name, quote = (start[1:], start[0]) if start[:1] in ("'", '"') else (start, "")
    return name.startswith((f"{key}{quote}=", f"{key}{quote}."))


def _is_before(text: str, component: int | None, key: str | None) -> bool:
    """Whether what stands before a line ends where the key may follow, and lacks it."""
    try:
        document: dict[str, Any] = tomllib.loads(text)
    except tomllib.TOMLDecodeError:
        return False  # within a string or a list of several lines
    components = document.get("component", [])
    if component is None:
        return not components and key not in document
    if key is None:
        return len(components) == component
    return len(components) == component + 1 and key not in components[component]
