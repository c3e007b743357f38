"""Write the samples into a folder: ``python -m vekanalysis.samples FOLDER``."""

import argparse
import sys
from pathlib import Path

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
        for target, title in write(folder):
            if title:
                print(f"{target}: {title}")
            else:
                print(f"{target} is there already", file=sys.stderr)
    except OSError as error:
        print(f"{parser.prog}: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
