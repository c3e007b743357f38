#!/usr/bin/env python3
"""Check that sdists and wheels hold what they should and nothing else.

An sdist holds every file that git tracks, and PKG-INFO. A wheel holds every file that git tracks in
src/vekanalysis, the compiled module, and its metadata. Neither names a path of the machine that
built it. Prints one line a fault.

With --release, the files must be all that a release has, too, and TAG, CHANGELOG.md and
CITATION.cff must name this version.
"""

from __future__ import annotations

import argparse
import email
import re
import subprocess
import sys
import tarfile
import tomllib
import zipfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent


def read(name: str) -> str:
    return (ROOT / name).read_text(encoding="utf-8")


PROJECT = tomllib.loads(read("pyproject.toml"))["project"]
STEM = f"{PROJECT['name']}-{PROJECT['version']}"
RELEASED_PLATFORMS = (
    r"-manylinux\w+_x86_64",
    r"-manylinux\w+_aarch64",
    r"-macosx_\w+_x86_64",
    r"-macosx_\w+_arm64",
    r"-win_amd64",
)
MODULE = re.compile(r"vekanalysis/_core\.(cpython-314-[\w-]+\.so|cp314-win\w+\.pyd)")
# What a compiler leaves of an assertion or of debug information: an absolute path to a source.
SOURCE_PATH = re.compile(
    rb"(?<![\w.])(?:/|[A-Za-z]:[\\/])[\w.+@~ \\/-]*\.(?:[ch]pp|cc?|hh?|o|obj|pdb)\b"
)


def tracked() -> set[str]:
    """Paths of the files that git tracks, deleted ones left out."""
    listed = subprocess.run(
        ["git", "-C", str(ROOT), "ls-files", "-z"], check=True, capture_output=True, text=True
    ).stdout.split("\0")
    return {name for name in listed if name and (ROOT / name).is_file()}


def differences(found: set[str], expected: set[str]) -> list[str]:
    return [f"is missing: {name}" for name in sorted(expected - found)] + [
        f"does not belong here: {name}" for name in sorted(found - expected)
    ]


def read_sdist(path: Path) -> dict[str, bytes]:
    """Contents of the files, by name below the sdist's folder."""
    files = {}
    with tarfile.open(path) as archive:
        for member in archive:
            stream = archive.extractfile(member)
            if stream:
                files[member.name.removeprefix(f"{STEM}/")] = stream.read()
    return files


def read_wheel(path: Path) -> dict[str, bytes]:
    with zipfile.ZipFile(path) as archive:
        return {name: archive.read(name) for name in archive.namelist() if name[-1] != "/"}


def metadata_faults(text: bytes) -> list[str]:
    found = email.message_from_bytes(text)
    expected = {
        "Name": PROJECT["name"],
        "Version": PROJECT["version"],
        "Requires-Python": PROJECT["requires-python"],
        "License-Expression": PROJECT["license"],
    }
    return [
        f"metadata: {key} is {found[key]!r}, not {value!r}"
        for key, value in expected.items()
        if found[key] != value
    ]


def path_faults(files: dict[str, bytes]) -> list[str]:
    faults = []
    for name, content in files.items():
        places = [str(ROOT).encode()] if str(ROOT).encode() in content else []
        if MODULE.fullmatch(name):
            places += SOURCE_PATH.findall(content)
        if places:
            faults.append(f"{name} names a path of the build: {places[0].decode()}")
    return faults


def sdist_faults(path: Path) -> list[str]:
    files = read_sdist(path)
    faults = differences(set(files), tracked() | {"PKG-INFO"})
    return faults + metadata_faults(files.get("PKG-INFO", b"")) + path_faults(files)


def wheel_faults(path: Path) -> list[str]:
    files = read_wheel(path)
    names = set(files)
    info = f"{STEM}.dist-info"
    expected = {
        name.removeprefix("src/") for name in tracked() if name.startswith("src/vekanalysis/")
    }
    for name in ("METADATA", "RECORD", "WHEEL", "entry_points.txt"):
        expected.add(f"{info}/{name}")
    expected |= {f"{info}/licenses/{name}" for name in PROJECT["license-files"]}
    modules = {name for name in names if MODULE.fullmatch(name)}
    faults = differences(names, expected | modules)
    if len(modules) != 1:
        faults.append(f"holds {len(modules)} compiled modules, not 1")
    if not path.name.startswith(f"{STEM}-cp314-cp314-"):
        faults.append("is not named as a wheel for CPython 3.14")
    return faults + metadata_faults(files.get(f"{info}/METADATA", b"")) + path_faults(files)


def release_faults(tag: str, paths: list[Path]) -> list[str]:
    version = PROJECT["version"]
    faults = []
    if tag != f"v{version}":
        faults.append(f"tag: is {tag}, but the version is {version}")
    if not re.search(
        rf"^## \[{re.escape(version)}\] - \d{{4}}-\d\d-\d\d$", read("CHANGELOG.md"), re.MULTILINE
    ):
        faults.append(f"CHANGELOG.md: has no dated section for {version}")
    if f"\nversion: {version}\n" not in read("CITATION.cff"):
        faults.append(f"CITATION.cff: does not say version: {version}")
    for platform in (r"\.tar\.gz", *RELEASED_PLATFORMS):
        count = sum(bool(re.search(platform, path.name)) for path in paths)
        if count != 1:
            faults.append(f"release: {count} files match {platform}, not 1")
    return faults


def main() -> int:
    parser = argparse.ArgumentParser(description="Check the contents of sdists and wheels.")
    parser.add_argument("--release", metavar="TAG", help="the files must be all of this release")
    parser.add_argument("files", nargs="+", type=Path, metavar="FILE")
    arguments = parser.parse_args()
    paths: list[Path] = arguments.files
    faults = release_faults(arguments.release, paths) if arguments.release else []
    for path in paths:
        if path.name == f"{STEM}.tar.gz":
            found = sdist_faults(path)
        elif path.suffix == ".whl":
            found = wheel_faults(path)
        else:
            found = ["is neither this version's sdist nor a wheel"]
        faults += [f"{path.name}: {fault}" for fault in found]
    print("\n".join(faults or [f"{path.name}: as it should be" for path in paths]))
    return int(bool(faults))


if __name__ == "__main__":
    sys.exit(main())
