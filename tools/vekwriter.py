"""Writes compound files and measurement files, for tests, examples and the fuzz corpus.

``container`` makes whole compound files as other programs read them, too; ``contents``
makes the stream of a measurement file in any version of its layout. docs/file-format.md
describes both.
"""

from __future__ import annotations

import itertools
import math
import random
import struct
from collections.abc import Iterable, Sequence
from dataclasses import dataclass

MARKER = bytes.fromhex("4ED0DF7188CB024588EBD943A3091A1A")
FREE, END_OF_CHAIN, FAT_SECTOR, DIFAT_SECTOR = 0xFFFFFFFF, 0xFFFFFFFE, 0xFFFFFFFD, 0xFFFFFFFC
NO_ENTRY = 0xFFFFFFFF
HEADER_DIFAT_COUNT = 109
MINI_SECTOR_SIZE = 64


def _u32(*values: int) -> bytes:
    return struct.pack(f"<{len(values)}I", *values)


def _padded(data: bytes, unit: int, fill: bytes = b"\0") -> bytes:
    return data + fill * (-len(data) % unit)


class _Sectors:
    """Sectors of one size with their links. Chains take the next numbers, or scattered ones."""

    def __init__(self, size: int, count: int, shuffled: bool) -> None:
        self.size = size
        self.data = [b""] * count
        self.links = [FREE] * count
        self._free = list(range(count))
        if shuffled:
            random.Random(count).shuffle(self._free)

    def add(self, data: bytes) -> int:
        """Store a chain and return its start."""
        count = math.ceil(len(data) / self.size)
        numbers, self._free = self._free[:count], self._free[count:]
        for i, number in enumerate(numbers):
            self.data[number] = _padded(data[i * self.size : (i + 1) * self.size], self.size)
            self.links[number] = numbers[i + 1] if i + 1 < count else END_OF_CHAIN
        return numbers[0] if numbers else END_OF_CHAIN


def _entry(name: str, kind: int, start: int, size: int, right: int, child: int) -> bytes:
    encoded = name.encode("utf-16-le")
    return struct.pack(
        "<64sHBBIII16sIQQIQ",
        *(encoded, len(encoded) + 2 if name else 0, kind, 1, NO_ENTRY, right, child),
        *(bytes(16), 0, 0, 0, start, size),
    )


def container(
    streams: Sequence[tuple[str, bytes]],
    *,
    version: int = 3,
    cutoff: int = 4096,
    fragmented: bool = False,
) -> bytes:
    """Make a compound file whose directory entries 1, 2, ... are these streams, in this order."""
    sector_size = 512 if version == 3 else 4096
    per_sector = sector_size // 4

    small = {i: data for i, (_, data) in enumerate(streams) if len(data) < cutoff}
    large = {i: data for i, (_, data) in enumerate(streams) if len(data) >= cutoff}
    mini_count = sum(_sectors_for(len(data), MINI_SECTOR_SIZE) for data in small.values())
    mini = _Sectors(MINI_SECTOR_SIZE, mini_count, fragmented)
    starts = {i: mini.add(data) for i, data in small.items()}
    mini_stream = b"".join(mini.data)
    mini_fat = _padded(_u32(*mini.links), sector_size, b"\xff")

    directory_size = _sectors_for(128 * (1 + len(streams)), sector_size) * sector_size
    sizes = [directory_size, len(mini_fat), len(mini_stream), *map(len, large.values())]
    used = sum(_sectors_for(size, sector_size) for size in sizes)
    fat_count = difat_count = 0
    while True:
        needed_fat = _sectors_for(4 * (used + fat_count + difat_count), sector_size)
        needed_difat = math.ceil(max(0, needed_fat - HEADER_DIFAT_COUNT) / (per_sector - 1))
        if (needed_fat, needed_difat) == (fat_count, difat_count):
            break
        fat_count, difat_count = needed_fat, needed_difat

    sectors = _Sectors(sector_size, used, fragmented)
    starts |= {i: sectors.add(data) for i, data in large.items()}
    mini_fat_start = sectors.add(mini_fat)
    mini_stream_start = sectors.add(mini_stream)

    # The tree of names is a list: each entry's right neighbour is the next name in order.
    order = sorted(range(len(streams)), key=lambda i: (len(streams[i][0]), streams[i][0].upper()))
    following = {a: b + 1 for a, b in itertools.pairwise(order)}
    first = order[0] + 1 if order else NO_ENTRY
    directory = _entry("Root Entry", 5, mini_stream_start, len(mini_stream), NO_ENTRY, first)
    for i, (name, data) in enumerate(streams):
        directory += _entry(name, 2, starts[i], len(data), following.get(i, NO_ENTRY), NO_ENTRY)
    unused = _entry("", 0, 0, 0, NO_ENTRY, NO_ENTRY)
    directory_start = sectors.add(directory + unused * ((directory_size - len(directory)) // 128))

    fat_numbers = list(range(used, used + fat_count))
    difat_numbers = list(range(used + fat_count, used + fat_count + difat_count))
    links = sectors.links + [FAT_SECTOR] * fat_count + [DIFAT_SECTOR] * difat_count
    fat = _padded(_u32(*links), sector_size, b"\xff")
    difat = b""
    beyond = fat_numbers[HEADER_DIFAT_COUNT:]
    for i, _ in enumerate(difat_numbers):
        part = beyond[i * (per_sector - 1) : (i + 1) * (per_sector - 1)]
        part += [FREE] * (per_sector - 1 - len(part))
        difat += _u32(*part, difat_numbers[i + 1] if i + 1 < difat_count else END_OF_CHAIN)

    header = struct.pack(
        "<8s16sHHHHH6sIIIIIIIIII",
        *(bytes.fromhex("D0CF11E0A1B11AE1"), bytes(16), 0x3E, version, 0xFFFE),
        *(9 if version == 3 else 12, 6, bytes(6)),
        *(0 if version == 3 else directory_size // sector_size, fat_count, directory_start, 0),
        *(cutoff, mini_fat_start, len(mini_fat) // sector_size),
        *(difat_numbers[0] if difat_numbers else END_OF_CHAIN, difat_count),
        fat_numbers[0],
    )
    in_header = fat_numbers[1:HEADER_DIFAT_COUNT]
    header += _u32(*in_header, *[FREE] * (HEADER_DIFAT_COUNT - 1 - len(in_header)))
    return _padded(header, sector_size) + b"".join(sectors.data) + fat + difat


def _sectors_for(size: int, sector_size: int) -> int:
    return math.ceil(size / sector_size)


@dataclass
class DataSet:
    name: str
    points: Sequence[tuple[float, float]]


@dataclass
class Contents:
    """What a measurement file says, in the order of the stream.

    An empty text reads back as empty only where a zero byte follows it in the stream.
    """

    file_version: int = 5
    has_timestamps: bool = False
    gv_version: int = 5
    graph_flag: int = 0
    x_axis_title: str = "Wavelength / nm"
    y_axis_title: str = "Transmittance"
    graph_records: int = 0
    data_sets: Sequence[DataSet] = ()
    annotations: Sequence[tuple[int, str, Sequence[Sequence[str]]]] = ()
    arrows: tuple[int, int] = (0, 0)
    date_and_time: str = "2024-03-01 10:15:00"
    scan_summary: str = "summary"
    apply_data_calibration: bool = False
    data_calibration_file: str = "calibration.cal"
    certificate_file: str = "certificate.pdf"
    system_file: str = "system.ini"
    pre_scan_addon_description: str = "before"
    post_scan_addon_description: str = "after"
    pre_scan_addon_filename: str = "before.exe"
    post_scan_addon_filename: str = "after.exe"
    type_and_units: tuple[str, str] = ("Transmittance / ", "3 0")
    auxiliary_type_and_units: tuple[str, str] = ("Current / A", "1 2")
    apply_reference: bool = False
    reference_type: str = "none"
    reference_file: str = "reference.vek"
    reference_parameter: str = "1.0"
    x_type: int = 0

    def stream(self) -> bytes:
        """The stream "Contents"."""
        parts = (self._head(), self._data_sets(), self._after_data_sets(), self._data_info())
        body = b"".join(itertools.chain(*parts))
        return bytes(4) + MARKER + _u32(4 + len(MARKER) + 4 + len(body)) + body

    def file(self, *, version: int = 3, cutoff: int = 4096, fragmented: bool = False) -> bytes:
        """A whole measurement file."""
        return container(
            [("Contents", self.stream())], version=version, cutoff=cutoff, fragmented=fragmented
        )

    def _head(self) -> Iterable[bytes]:
        yield _u32(self.file_version, 0)
        if self.file_version >= 3:
            yield _u32(self.has_timestamps)
        if self.file_version >= 4:
            yield bytes(4)

        if self.gv_version >= 2:
            yield struct.pack("<dI4d", math.nan, self.gv_version, 380.0, 780.0, 0.0, 1.0)
        else:
            yield struct.pack("<4d", 380.0, 780.0, 0.0, 1.0)
        if self.gv_version >= 4:
            yield _u32(0, 0, self.graph_flag)
            if self.graph_flag <= 1:
                yield bytes(4 * 8 + 4 + 4)
        if self.gv_version < 4 or self.graph_flag <= 1:
            yield bytes(4)
        yield bytes(8) + text("Arial")
        yield bytes(13 * 4 + 8) + text("Arial")
        yield bytes(4 * 4) + text("title")
        yield bytes(8) + text("")
        yield bytes(4 * 4) + text(self.x_axis_title)
        yield bytes(4) + text(self.y_axis_title)
        yield bytes(4 * 4 + 4 * 8 + 5 * 4) + _u32(self.graph_records)
        yield bytes(40 * self.graph_records)
        if self.gv_version >= 3:
            yield bytes(3 * 4 + 8) + text("legend") + bytes(6 * 4 + 4 * 8 + 6 * 4)

    def _data_sets(self) -> Iterable[bytes]:
        yield text("data") + _u32(len(self.data_sets)) + bytes(4 + 16 + 40)
        for data_set in self.data_sets:
            yield _u32(len(data_set.points), 0) + text(data_set.name)
        for data_set in self.data_sets:
            numbers = [number for point in data_set.points for number in point]
            yield struct.pack(f"<{len(numbers)}d", *numbers)

    def _after_data_sets(self) -> Iterable[bytes]:
        if self.gv_version >= 2:
            yield _u32(len(self.annotations))
            for kind, note, groups in self.annotations:
                yield _u32(kind) + bytes(8 if kind == 999 else 0) + bytes(24 + 64) + text(note)
                yield _u32(len(groups))
                for group in groups:
                    yield _u32(len(group)) + b"".join(bytes(4) + text(line) for line in group)
        if self.gv_version >= 3:
            lines, heads = self.arrows
            yield _u32(lines) + bytes(60 * lines) + _u32(heads) + bytes(108 * heads)
        if self.gv_version >= 3 and self.file_version >= 3 and self.has_timestamps:
            yield bytes(16 * sum(len(data_set.points) for data_set in self.data_sets))

    def _data_info(self) -> Iterable[bytes]:
        yield text(self.date_and_time, self.scan_summary)
        yield _u32(self.apply_data_calibration)
        yield text(self.data_calibration_file, self.certificate_file, self.system_file)
        yield text(self.pre_scan_addon_description, self.post_scan_addon_description)
        yield text(self.pre_scan_addon_filename, self.post_scan_addon_filename)
        yield text(*self.type_and_units, *self.auxiliary_type_and_units)
        yield _u32(self.apply_reference)
        yield text(self.reference_type, self.reference_file, self.reference_parameter)
        yield bytes(16 + 16 + 4 + 4 * len(self.data_sets)) + _u32(self.x_type) + bytes(4)


def text(*values: str) -> bytes:
    """Texts with their length prefixes."""
    result = b""
    for encoded in (value.encode("latin-1") for value in values):
        short = len(encoded) < 255
        result += bytes([len(encoded)]) if short else struct.pack("<BH", 255, len(encoded))
        result += encoded
    return result
