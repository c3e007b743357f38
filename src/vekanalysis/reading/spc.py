"""SPC: the binary files of infrared and UV/Vis spectrometers, with new and old headers.

The layout follows what Galactic published of its Universal Data Format in 1997 and, for the old
header, what files show. Counts and offsets are held against the bytes that are there before
anything is made of them.
"""

from collections.abc import Iterator
from typing import Any, NamedTuple

import numpy as np
from numpy.typing import NDArray

from ..errors import Refusal
from .curve import Curve, fact, stated
from .statements import Statement

# Flags.
_INT16, _MULTI, _RANDOM_Z, _ORDERED_Z = 1, 4, 8, 16
_LABELS, _OWN_X, _STORED_X = 32, 64, 128
# The second byte: new headers, least and most significant byte first, and old ones.
_NEW, _NEW_BIG, _OLD = 0x4B, 0x4C, 0x4D
_FLOATS = -128

_NEW_HEADER = np.dtype(
    [
        ("flags", "u1"),
        ("version", "u1"),
        ("technique", "u1"),
        ("exponent", "i1"),
        ("points", "<u4"),
        ("first", "<f8"),
        ("last", "<f8"),
        ("subfiles", "<u4"),
        ("units", "u1", 3),
        ("", "u1"),
        ("date", "<u4"),
        ("resolution", "V9"),
        ("source", "V9"),
        ("", "V34"),
        ("comment", "V130"),
        ("labels", "V30"),
        ("log", "<u4"),
        ("", "V12"),
        ("method", "V48"),
        ("z_step", "<f4"),
        ("", "V196"),
    ]
)
_OLD_HEADER = np.dtype(
    [
        ("flags", "u1"),
        ("version", "u1"),
        ("exponent", "<i2"),
        ("points", "<f4"),
        ("first", "<f4"),
        ("last", "<f4"),
        ("units", "u1", 2),
        ("year", "<u2"),
        ("date", "u1", 4),
        ("resolution", "V8"),
        ("", "V32"),
        ("comment", "V130"),
        ("labels", "V30"),
    ]
)
_SUBHEADER = np.dtype(
    [
        ("", "u1"),
        ("exponent", "i1"),
        ("", "V2"),
        ("z", "<f4"),
        ("next_z", "<f4"),
        ("", "V4"),
        ("points", "<u4"),
        ("", "V12"),
    ]
)
_ENTRY = np.dtype([("offset", "<u4"), ("size", "<u4"), ("z", "<f4")])
_LOG = np.dtype([("size", "<u4"), ("", "V4"), ("text", "<u4"), ("", "V52")])
_MOST_LOG_LINES = 100

_X_UNITS = {
    0: "",
    1: "cm-1",
    2: "um",
    3: "nm",
    4: "s",
    5: "min",
    6: "Hz",
    7: "kHz",
    8: "MHz",
    9: "m/z",
    10: "ppm",
    11: "days",
    12: "years",
    13: "Raman shift (cm-1)",
    14: "eV",
    16: "diode number",
    17: "channel",
    18: "degrees",
    19: "temperature (F)",
    20: "temperature (C)",
    21: "temperature (K)",
    22: "data points",
    23: "ms",
    24: "us",
    25: "ns",
    26: "GHz",
    27: "cm",
    28: "m",
    29: "mm",
    30: "h",
    255: "double interferogram",
}
_Y_UNITS = {
    0: "",
    1: "interferogram",
    2: "Absorbance",
    3: "Kubelka-Munk",
    4: "counts",
    5: "V",
    9: "mV",
    10: "log(1/R)",
    11: "%",
    12: "Intensity",
    13: "relative intensity",
    14: "energy",
    128: "Transmittance",
    129: "Reflectance",
    130: "single beam",
    131: "emission",
}
_TECHNIQUES = {
    0: "general",
    4: "FT-IR, FT-NIR or FT-Raman",
    5: "NIR",
    7: "UV-VIS",
    11: "Raman",
    12: "fluorescence",
    13: "atomic",
}


# Words that name no unit that a figure could be had in.
_ARBITRARY = ("Intensity", "relative intensity", "energy", "emission")


class _Header(NamedTuple):
    """What both headers say."""

    is_big: bool
    is_old: bool
    flags: int
    exponent: int
    # Of each subfile; where each has its own x, the offset of the directory.
    points: int
    first: float
    last: float
    # None in old files, which do not say it.
    subfiles: int | None
    x_unit: str
    z_unit: str
    stated: Statement
    z_step: float
    metadata: dict[str, str]
    notes: tuple[str, ...]


class _Subfile(NamedTuple):
    """Where a subfile is, and how it is to be read."""

    start: int
    exponent: int
    z: float
    next_z: float
    points: int
    # Bytes of an ordinate.
    width: int
    # Bytes of all of it.
    size: int


# What overflows, and NaN of the signalling sort, become points that are refused with their place.
@np.errstate(over="ignore", invalid="ignore")
def parse(content: bytes) -> list[Curve]:
    """The subfiles; Refusal if the file is damaged or truncated."""
    header = _old_header(content) if content[1] == _OLD else _new_header(content)
    position = (_OLD_HEADER if header.is_old else _NEW_HEADER).itemsize
    x: NDArray[np.float64] | None = None
    if not header.flags & _OWN_X:
        if header.points < 2:
            raise Refusal(f"{header.points} points are announced, at least 2 are needed")
        if header.flags & _STORED_X:
            x = _array(content, position, "f4", header.points, header)
            position += 4 * header.points
        else:
            # The ordinates have to be there before as many x are made.
            _require(content, position + _SUBHEADER.itemsize, 2 * header.points, "points")
            steps = np.arange(header.points) * (header.last - header.first)
            x = header.first + steps / (header.points - 1)
    subfiles = [*_subfiles(content, header, position)]
    is_multiple = bool(header.flags & _MULTI)
    curves = []
    for index, subfile in enumerate(subfiles):
        start = subfile.start + _SUBHEADER.itemsize
        own_x = x
        if own_x is None:
            own_x = _array(content, start, "f4", subfile.points, header)
            start += 4 * subfile.points
        curves.append(
            Curve(
                own_x,
                _ordinates(content, start, header, subfile),
                header.x_unit,
                header.stated,
                part=f"subfile {index + 1}" if is_multiple else "",
                metadata=header.metadata | (_z(header, subfiles, index) if is_multiple else {}),
                notes=header.notes,
            )
        )
    return curves


def _record(content: bytes, offset: int, layout: np.dtype[Any], is_big: bool) -> Any:
    """A record of the file; the caller has made sure that its bytes are there."""
    layout = layout.newbyteorder(">") if is_big else layout
    return np.frombuffer(content, layout, 1, offset)[0]


def _require(content: bytes, position: int, size: int, what: str) -> None:
    """Refuse what reaches beyond the end of the file."""
    if size > len(content) - position:
        raise Refusal(
            f"truncated: the {what} need {position + size} bytes, and {len(content)} are there"
        )


def _new_header(content: bytes) -> _Header:
    _require(content, 0, _NEW_HEADER.itemsize, "header")
    is_big = content[1] == _NEW_BIG
    header = _record(content, 0, _NEW_HEADER, is_big)
    flags = int(header["flags"])
    if flags & _OWN_X and not flags & _STORED_X:
        raise Refusal("the flags contradict each other: x of each subfile, but none stored")
    subfiles = max(int(header["subfiles"]), 1)
    if subfiles > 1 and not flags & _MULTI:
        raise Refusal(f"the header announces {subfiles} subfiles in a file of one")
    technique = int(header["technique"])
    facts = {
        "technique": _TECHNIQUES.get(technique, f"code {technique}"),
        "date": _date(int(header["date"])),
        "resolution": _text(header["resolution"]),
        "source": _text(header["source"]),
        "comment": _text(header["comment"]),
        "method": _text(header["method"]),
    }
    entries, notes = _log(content, int(header["log"]), is_big)
    labels = header["labels"] if flags & _LABELS else None
    x_unit, z_unit, y = _units(header["units"].tolist(), labels)
    if technique == 11 and x_unit == "cm-1":
        x_unit = _X_UNITS[13]
    return _Header(
        is_big,
        False,
        flags,
        int(header["exponent"]),
        int(header["points"]),
        float(header["first"]),
        float(header["last"]),
        subfiles,
        x_unit,
        z_unit,
        y,
        float(header["z_step"]),
        {name: text for name, text in facts.items() if text} | entries,
        notes,
    )


def _old_header(content: bytes) -> _Header:
    header = _record(content, 0, _OLD_HEADER, False)
    flags = int(header["flags"])
    if flags & (_OWN_X | _STORED_X):
        raise Refusal("the flags say that x is stored, which old headers do not have")
    if int(header["exponent"]) in (_FLOATS, 128):
        raise Refusal("floating-point ordinates behind an old header, whose order is not known")
    points = float(header["points"])
    if not (0.0 < points < 2**24 and points == int(points)):
        raise Refusal(f"{points:g} points are announced; it must be a whole number below 2^24")
    year = int(header["year"])
    z_code, year = year >> 12, year & 0xFFF
    month, day, hour, minute = header["date"].tolist()
    facts = {
        # The year as it stands: mostly counted from 1900.
        "date": f"{year:02}-{month:02}-{day:02} {hour:02}:{minute:02}" if year else "",
        "resolution": _text(header["resolution"]),
        "comment": _text(header["comment"]),
    }
    has_labels = z_code == 15 or bool(flags & _LABELS)
    codes = [*header["units"].tolist(), 0 if z_code == 15 else z_code]
    x_unit, z_unit, y = _units(codes, header["labels"] if has_labels else None)
    return _Header(
        False,
        True,
        flags,
        int(header["exponent"]),
        int(points),
        float(header["first"]),
        float(header["last"]),
        None,
        x_unit,
        z_unit,
        y,
        0.0,
        {name: text for name, text in facts.items() if text},
        (),
    )


def _units(codes: list[int], labels: Any) -> tuple[str, str, Statement]:
    """What x, z and y are: the texts of the file, where empty those of the codes."""
    texts = [] if labels is None else labels.tobytes().split(b"\0")[:3]
    x, y, z = (_text(text) for text in [*texts, b"", b"", b""][:3])
    x = x or _X_UNITS.get(codes[0], f"unit code {codes[0]}")
    z = z or _X_UNITS.get(codes[2], f"unit code {codes[2]}")
    y = y or _Y_UNITS.get(codes[1], f"unit code {codes[1]}")
    return x, z, stated("a.u." if y in _ARBITRARY else y)


def _text(field: Any) -> str:
    """Text to the first zero byte, in one line."""
    content = field if isinstance(field, bytes) else field.tobytes()
    return fact(content.partition(b"\0")[0].decode("cp1252", "replace"))


def _date(packed: int) -> str:
    minute, hour, day = packed & 63, packed >> 6 & 31, packed >> 11 & 31
    month, year = packed >> 16 & 15, packed >> 20
    return f"{year}-{month:02}-{day:02} {hour:02}:{minute:02}" if year else ""


def _log(content: bytes, offset: int, is_big: bool) -> tuple[dict[str, str], tuple[str, ...]]:
    """The lines ``KEY = value`` of the log, which says nothing of the numbers."""
    if offset == 0:
        return {}, ()
    damaged: tuple[dict[str, str], tuple[str, ...]] = {}, ("the log is damaged and left out",)
    if offset < _NEW_HEADER.itemsize or offset > len(content) - _LOG.itemsize:
        return damaged
    block = _record(content, offset, _LOG, is_big)
    size, start = int(block["size"]), int(block["text"])
    if not _LOG.itemsize <= start <= size <= len(content) - offset:
        return damaged
    text = content[offset + start : offset + size].partition(b"\0")[0].decode("cp1252", "replace")
    entries = {}
    for line in text.splitlines()[:_MOST_LOG_LINES]:
        key, equals, value = line.partition("=")
        if equals and key.strip() and value.strip():
            entries[fact(key)] = fact(value)
    return entries, ()


def _subfiles(content: bytes, header: _Header, position: int) -> Iterator[_Subfile]:
    if header.flags & _OWN_X and header.points:
        yield from _listed(content, header)
        return
    count = header.subfiles or 1
    if header.subfiles is None and header.flags & _MULTI:
        # An old file ends where its bytes do.
        size = _SUBHEADER.itemsize + header.points * (2 if header.flags & _INT16 else 4)
        count = max(1, -(-(len(content) - position) // size))
    _require(content, position, count * _SUBHEADER.itemsize, f"{count} subfiles")
    for index in range(count):
        subfile = _subfile(content, position, header, index)
        yield subfile
        position += subfile.size


def _listed(content: bytes, header: _Header) -> Iterator[_Subfile]:
    """The subfiles that the directory lists, in its order."""
    count, offset = header.subfiles or 1, header.points
    if offset < _NEW_HEADER.itemsize:
        raise Refusal(f"the directory at byte {offset} lies in the header")
    _require(content, offset, count * _ENTRY.itemsize, "directory")
    total = 0
    for index in range(count):
        entry = _record(content, offset + index * _ENTRY.itemsize, _ENTRY, header.is_big)
        start = int(entry["offset"])
        if start < _NEW_HEADER.itemsize:
            raise Refusal(f"subfile {index + 1} at byte {start} lies in the header")
        subfile = _subfile(content, start, header, index)
        total += subfile.size
        if total > len(content):
            raise Refusal(f"subfile {index + 1} overlaps with others")
        yield subfile


def _subfile(content: bytes, start: int, header: _Header, index: int) -> _Subfile:
    name = f"subfile {index + 1}"
    _require(content, start, _SUBHEADER.itemsize, f"header of {name}")
    record = _record(content, start, _SUBHEADER, header.is_big)
    exponent = header.exponent
    if header.flags & _MULTI:
        exponent = int(record["exponent"])
        if header.exponent == _FLOATS != exponent:
            raise Refusal(f"{name} has whole numbers in a file of floating-point ones")
    own_x = bool(header.flags & _OWN_X)
    points = int(record["points"]) if own_x else header.points
    if points < 2:
        raise Refusal(f"{name}: {points} points are announced, at least 2 are needed")
    width = 2 if header.flags & _INT16 and (exponent != _FLOATS or header.is_old) else 4
    size = _SUBHEADER.itemsize + points * (width + (4 if own_x else 0))
    _require(content, start, size, f"{points} points of {name}")
    z, next_z = float(record["z"]), float(record["next_z"])
    return _Subfile(start, exponent, z, next_z, points, width, size)


def _array(
    content: bytes, position: int, kind: str, count: int, header: _Header
) -> NDArray[np.float64]:
    layout = np.dtype(kind).newbyteorder(">" if header.is_big else "<")
    _require(content, position, count * layout.itemsize, f"{count} points")
    return np.frombuffer(content, layout, count, position).astype(np.float64)


def _ordinates(
    content: bytes, position: int, header: _Header, subfile: _Subfile
) -> NDArray[np.float64]:
    if subfile.exponent == _FLOATS and not header.is_old:
        return _array(content, position, "f4", subfile.points, header)
    if header.is_old and subfile.width == 4:
        words = np.frombuffer(content, "<u2", 2 * subfile.points, position).reshape(-1, 2)
        # The high word comes first; the sign is that of the whole.
        whole = (words[:, 0].astype(np.uint32) << 16 | words[:, 1]).view(np.int32)
        values = whole.astype(np.float64)
    else:
        values = _array(content, position, f"i{subfile.width}", subfile.points, header)
    scaled = np.empty(subfile.points)
    np.ldexp(values, subfile.exponent - 8 * subfile.width, out=scaled)
    return scaled


def _z(header: _Header, subfiles: list[_Subfile], index: int) -> dict[str, str]:
    """Where on the third axis a subfile is: its own place, or steps from the first one's."""
    first = subfiles[0]
    z = subfiles[index].z
    if not header.flags & (_RANDOM_Z | _ORDERED_Z) and not header.is_old:
        z = first.z + index * (header.z_step or first.next_z - first.z)
    return {"Z": f"{z:.7g} {header.z_unit}".strip()}
