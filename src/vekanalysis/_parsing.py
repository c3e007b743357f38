"""JSON and TOML of files through their parsers."""

import os
from collections.abc import Callable

from .errors import Refusal


def parsed[T](
    path: str | os.PathLike[str], content: bytes, form: str, parse: Callable[[str], T]
) -> T:
    """What a parser of JSON or TOML makes of the content of a file; Refusal if it is none."""
    try:
        return parse(content.decode("utf-8-sig"))
    except UnicodeDecodeError:
        raise Refusal(f"{path}: no {form}: it is not in UTF-8") from None
    except RecursionError:
        raise Refusal(f"{path}: too deeply nested") from None
    except ValueError as error:
        # The errors of both parsers have a line, but for what they leave to int().
        line, reason = getattr(error, "lineno", None), getattr(error, "msg", "")
        if line is None:
            raise Refusal(f"{path}: no {form}: a number has too many digits") from None
        raise Refusal(f"{path}: line {line}: no {form}: {reason}") from None
