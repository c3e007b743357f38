"""Write the samples into a folder: ``python -m vekanalysis.samples FOLDER``."""

import argparse
import sys
from pathlib import Path

from . import get, names, path


def main() -> int:
    parser = argparse.ArgumentParser(
        prog="python -m vekanalysis.samples",
        description="Write the sample spectra into a folder, which is made where it is missing. "
        "Files that are there already are left alone.",
        allow_abbrev=False,
    )
    parser.add_argument("folder", type=Path, metavar="FOLDER")
    folder: Path = parser.parse_args().folder
    try:
        folder.mkdir(parents=True, exist_ok=True)
        for name in names():
            target = folder / path(name).name
            if target.exists():
                print(f"{target} is there already", file=sys.stderr)
                continue
            target.write_bytes(path(name).read_bytes())
            print(f"{target}: {get(name).title}")
    except OSError as error:
        print(f"{parser.prog}: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
