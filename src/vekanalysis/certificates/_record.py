"""Records of certificates: what was computed from what, and whether that still holds."""

import dataclasses
import hashlib
import json
import os
from collections.abc import Iterator, Mapping
from pathlib import Path
from typing import Any, Final, NamedTuple

from .._core import version
from .._files import read_regular
from ..errors import Refusal
from ..quantities import DERIVED, OwnTable, Repeats
from ..reading import read
from ..reports import json_text
from ..spectrum import Spectrum
from ..uncertainty import Budget
from ._certificate import Certificate
from ._limits import Limits
from ._settings import Settings

_FORMAT: Final = "vekanalysis certificate"
# Of a page that differs in more lines, so many are told.
_TOLD: Final = 20
# The files of a certificate besides the spectrum's, by what reads them.
_READERS: Final[dict[str, Any]] = {"settings": Settings, "budget": Budget, "limits": Limits}


class Verification(NamedTuple):
    """What came of computing a certificate again.

    Attributes
    ----------
    figures : int
        Numbers that were compared.
    differences : tuple of str
        What is not as the record has it, a line each.
    """

    figures: int
    differences: tuple[str, ...]


def record(
    certificate: Certificate,
    path: str | os.PathLike[str],
    pages: Mapping[str, bytes],
    options: Mapping[str, Any],
) -> str:
    """The record of a certificate, as JSON.

    Parameters
    ----------
    certificate : Certificate
        Of a spectrum from a file.
    path : str or os.PathLike
        Where the record will be: other files are named relative to its folder.
    pages : mapping of str to bytes
        The files that were made of the certificate; the first is the page.
    options : mapping
        The arguments of `vekanalysis.read` with which the spectrum was read.

    Raises
    ------
    Refusal
        If the spectrum or one of the tables is from no file.
    """
    for spectrum in certificate.scans:
        if spectrum.source.file is None or spectrum.source.sha256 is None:
            raise Refusal(f"{spectrum.where}: a record needs a spectrum from a file")
    folder = Path(path).absolute().parent

    def placed(file: str) -> dict[str, str]:
        where = os.path.relpath(os.path.abspath(file), folder)
        return {"name": file, "path": Path(where).as_posix()}

    names = dict.fromkeys(str(spectrum.source.file) for spectrum in certificate.scans)
    files: dict[str, Any] = {"input": [placed(name) for name in names]}
    for role in _READERS:
        part = getattr(certificate, role)
        if part is not None and part.file is not None:
            files[role] = placed(part.file)
    for table in certificate.tables:
        if table.file is None:
            raise Refusal(f"table '{table.name}': a record needs a table from a file")
    if certificate.tables:
        files["tables"] = {table.name: placed(str(table.file)) for table in certificate.tables}
    content: dict[str, Any] = {
        "format": _FORMAT,
        "version": version(),
        "files": files,
        "options": _listed(options),
        "pages": [
            placed(name) | {"sha256": hashlib.sha256(page).hexdigest()}
            for name, page in pages.items()
        ],
        **certificate.document(),
    }
    return _text(content | {"sha256": _digest(content)})


def verify(path: str | os.PathLike[str]) -> Verification:
    """Compute a certificate again from what its record names, and compare all of it.

    Every file is compared by its digest, every number by its bits, the page by its text. That the
    record as a whole is not another one it cannot tell: it is no signature.

    Parameters
    ----------
    path : str or os.PathLike
        The record; the files are where it says, relative to its folder.

    Returns
    -------
    Verification

    Raises
    ------
    OSError
        If the record cannot be read.
    Refusal
        If it is no record.
    """
    path = Path(path)
    text = read_regular(path)
    try:
        content = json.loads(text)
        own = isinstance(content, dict) and text == _text(content).encode()
    except (ValueError, RecursionError) as error:
        raise Refusal(f"{path}: no record of a certificate: {error}") from None
    if not isinstance(content, dict) or content.get("format") != _FORMAT:
        raise Refusal(f"{path}: no record of a certificate")
    stated = {name: value for name, value in content.items() if name != "sha256"}
    differences = []
    if not own or content.get("sha256") != _digest(stated):
        differences.append(f"{path}: it has been changed: its own digest differs")
    if content.get("version") != version():
        differences.append(
            f"{path}: it was written by version {content.get('version')}, and this is {version()}"
        )
    try:
        certificate = _again(path, stated)
        found = json.loads(json_text(certificate.document()))
        differences += _differing({name: stated.get(name) for name in found}, found, "")
        differences += _of_pages(path.parent, stated["pages"], certificate.html())
    except Refusal as error:
        return Verification(0, (*differences, f"cannot be computed again: {error.reason}"))
    except OSError as error:
        reason = f"{error.filename}: cannot be read: {error.strerror or error}"
        return Verification(0, (*differences, reason))
    except (AttributeError, LookupError, RecursionError, TypeError, ValueError) as error:
        raise Refusal(f"{path}: no complete record: {type(error).__name__}: {error}") from None
    return Verification(sum(1 for _ in _numbers(found)), tuple(differences))


def _again(path: Path, stated: Mapping[str, Any]) -> Certificate:
    """The certificate from the files as they are now, under the names that they had."""
    files = stated["files"]
    parts: dict[str, Any] = {}
    for role, reader in _READERS.items():
        if role in files:
            part = reader.read(path.parent / files[role]["path"])
            parts[role] = dataclasses.replace(part, file=files[role]["name"])
    tables = [
        OwnTable.read(name, path.parent / each["path"])._replace(file=each["name"])
        for name, each in files.get("tables", {}).items()
    ]
    return Certificate(
        _measured(path.parent, stated),
        **parts,
        tables=tables,
        purposes=stated["purposes"],
        fields=stated["fields"],
        grid=stated["grid_nm"],
        full="settings" not in files and _has_derived(stated["report"]),
    )


def _has_derived(report: Mapping[str, Any]) -> bool:
    derived = {record.key for record in DERIVED}
    return any(each["key"] in derived for each in report["quantities"])


def _measured(folder: Path, stated: Mapping[str, Any]) -> Spectrum | Repeats:
    """The spectrum, or the repeats that it is the mean of, in their order."""
    described = stated["report"]["spectra"][0]
    scans = described.get("repeats")
    wanted = [described] if scans is None else scans
    if not isinstance(wanted, list):
        raise TypeError("repeats must be a list")
    found: dict[tuple[Any, ...], Spectrum] = {}
    for place in stated["files"]["input"]:
        name = place["name"]
        here = [each for each in wanted if each["file"] == name]
        for spectrum in read(folder / place["path"], **_options(stated["options"], here)):
            source = spectrum.source._replace(file=name)
            found[source[:3]] = spectrum.replace(source=source)
    spectra = []
    for each in wanted:
        key = each["file"], each["data_set"], each["column"]
        if key not in found:
            raise Refusal(f"{each['file']}: the spectrum is not in it any more")
        spectra.append(found[key])
    return spectra[0] if scans is None else Repeats(spectra, described["label"])


def _options(stated: Mapping[str, Any], wanted: list[dict[str, Any]]) -> dict[str, Any]:
    """How a file is read of which these spectra are wanted."""
    options = dict(stated)
    if "data_sets" in options:
        # Others may be in other files.
        options["data_sets"] = [each["data_set"] for each in wanted if each["data_set"]]
    return options


def _of_pages(folder: Path, pages: list[Mapping[str, str]], html: str) -> Iterator[str]:
    """What differs of the pages: of the first the lines, of others whether anything does."""
    for index, page in enumerate(pages):
        file = folder / page["path"]
        try:
            content = read_regular(file)
        except OSError as error:
            yield f"{file}: cannot be read: {error.strerror or error}"
            continue
        if hashlib.sha256(content).hexdigest() != page["sha256"]:
            yield f"{file}: its SHA-256 digest is not that of the record"
        if index == 0 and content != html.encode():
            yield from _lines(file, content.decode("utf-8", "replace"), html)


def _lines(file: Path, there: str, again: str) -> Iterator[str]:
    old, new = there.split("\n"), again.split("\n")
    lines = [i for i in range(min(len(old), len(new))) if old[i] != new[i]]
    for i in lines[:_TOLD]:
        yield f"{file}: line {i + 1}: {old[i].strip()}: computed again: {new[i].strip()}"
    if len(old) != len(new):
        yield f"{file}: {len(old)} lines; computed again: {len(new)}"


def _differing(stated: Any, found: Any, where: str) -> Iterator[str]:
    """The places at which two documents differ, with both values."""
    if isinstance(stated, dict) and isinstance(found, dict):
        for name in dict.fromkeys((*stated, *found)):
            place = f"{where}.{name}" if where else name
            if name not in stated or name not in found:
                yield f"{place}: is in only one of record and computation"
            else:
                yield from _differing(stated[name], found[name], place)
    elif isinstance(stated, list) and isinstance(found, list) and len(stated) == len(found):
        for i, pair in enumerate(zip(stated, found, strict=True)):
            yield from _differing(*pair, f"{where}[{_name(pair[0], i)}]")
    # By their texts: these tell 1 from 1.0 and 0.0 from -0.0, and have every bit.
    elif json.dumps(stated) != json.dumps(found):
        yield f"{where}: the record has {json.dumps(stated)}, computed again: {json.dumps(found)}"


def _name(item: Any, index: int) -> str:
    """What tells an item of a list to people."""
    if isinstance(item, dict):
        for key in ("key", "name"):
            if isinstance(item.get(key), str):
                return str(item[key])
    return str(index)


def _numbers(value: Any) -> Iterator[float]:
    if isinstance(value, dict):
        value = list(value.values())
    if isinstance(value, list):
        for each in value:
            yield from _numbers(each)
    elif isinstance(value, int | float) and not isinstance(value, bool):
        yield value


def _listed(options: Mapping[str, Any]) -> dict[str, Any]:
    return {
        name: sorted(value) if isinstance(value, set | frozenset) else value
        for name, value in options.items()
    }


def _text(content: Mapping[str, Any]) -> str:
    return json_text(dict(content), ascii_only=True) + "\n"


def _digest(content: Mapping[str, Any]) -> str:
    return hashlib.sha256(_text(content).encode()).hexdigest()
