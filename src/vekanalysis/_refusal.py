"""How data that come from outside are refused: with a ValueError that knows its parts."""


def refusal(reason: str, remedy: str = "") -> ValueError:
    """An error that says the reason, and after a semicolon the remedy in terms of Python."""
    error = ValueError(f"{reason}; {remedy}" if remedy else reason)
    error.__dict__["reason"] = reason
    return error


def reason_of(error: ValueError) -> str:
    """The text without the remedy, for those who do not speak Python."""
    return str(error.__dict__.get("reason", error))
