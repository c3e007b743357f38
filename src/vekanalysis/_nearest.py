"""What a name that there is not was meant to be."""

from collections.abc import Collection


def nearest(name: str, known: Collection[str]) -> str:
    """``; did you mean 'noise'?``, or all that there are; nothing if that is none or very many."""
    from difflib import get_close_matches  # imported when a name is wrong

    close = get_close_matches(name, known, 1)
    if close:
        return f"; did you mean '{close[0]}'?"
    if not known or len(known) > 20:
        return ""
    return "; there are " + ", ".join(f"'{each}'" for each in known)
