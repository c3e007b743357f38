"""Short forms of texts and ranges."""


def shortened(text: str, room: int) -> str:
    """Return ``text``, cut to ``room`` characters where it is longer."""
    return text if len(text) <= room else text[: room - 1] + "…"


def interval(range_nm: tuple[float, float]) -> str:
    """``315-380``."""
    return f"{range_nm[0]:.10g}-{range_nm[1]:.10g}"
