"""What the classes of the compiled module have in common."""

from ._core import Interpolation


def fields(record_type: type) -> list[str]:
    """The names of the attributes of a class of records, in their order; none for others."""
    if not record_type.__module__.startswith(f"{__package__}._core"):
        return []
    if record_type is Interpolation:
        return []
    return [name for name, member in vars(record_type).items() if isinstance(member, property)]
