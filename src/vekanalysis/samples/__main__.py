"""Write the samples into a folder: ``python -m vekanalysis.samples FOLDER``."""

import argparse
import sys
from pathlib import Path
from typing import Literal

from ._samples import write


def main() -> int:
    parser = argparse.ArgumentParser(
        prog="python -m vekanalysis.samples",
        description="Write the sample spectra, and settings, budgets and limits to start from, "
        "into a folder, which is made where it is missing. Files that are there already are left "
        "alone.",
        allow_abbrev=False,
    )
    parser.add_argument("folder", type=Path, metavar="FOLDER")
    folder: Path = parser.parse_args().folder
    try:
        # All of them, whether or not anybody reads what is said of them.
        written = [*write(folder)]
    except OSError as error:
        _tell("stderr", f"{parser.prog}: {error}\n")
        return 1
    except KeyboardInterrupt:
        return 130
    there = [f"{target} is there already\n" for target, title in written if not title]
    _tell("stderr", "".join(there))
    if not _tell("stdout", "".join(f"{target}: {title}\n" for target, title in written if title)):
        _tell("stderr", f"{parser.prog}: standard output cannot be written\n")
        return 1
    return 0


def _tell(stream: Literal["stdout", "stderr"], text: str) -> bool:
    """Write to a standard stream, if that takes it; whether it does."""
    try:
        getattr(sys, stream).write(text)
        getattr(sys, stream).flush()
    except AttributeError, OSError:
        # The interpreter would try once more at its end.
        setattr(sys, stream, None)
        return False
    return True


if __name__ == "__main__":
    sys.exit(main())
