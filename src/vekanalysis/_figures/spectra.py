"""The spectra that a command works on: from text files, measurement files and built in."""

import math
import re
from collections.abc import Iterable, Mapping, Sequence
from io import BytesIO
from itertools import pairwise
from typing import NamedTuple

from .. import colorimetry, io
from .._core import Scan
from .catalogue import REFERENCES
from .errors import CommandError
from .text import interval, shortened

# The first bytes of a compound file, the container of measurement files.
_COMPOUND_FILE = bytes.fromhex("d0cf11e0a1b11ae1")

_NUMBER = rb"[+-]?(?:\d+\.?\d*|\.\d+)(?:[eE][+-]?\d+)?"
_BLANK = rb"[ \t\v\f]*"
_PAIR = re.compile(rb"%b(%b)[ ,\t;]+(%b)%b" % (_BLANK, _NUMBER, _NUMBER, _BLANK))


class Spectrum(NamedTuple):
    """A named scan with what is known about it."""

    label: str
    scan: Scan
    file: str | None = None
    data_set: str | None = None
    reference: str | None = None
    unit: str = ""
    notes: tuple[str, ...] = ()

    @property
    def source(self) -> str:
        """Where it comes from, for messages."""
        if self.file is None:
            return f"built-in {self.reference}"
        return self.file if self.data_set is None else f"{self.file}: {self.data_set}"

    @property
    def points(self) -> int:
        return len(self.scan.wavelengths())

    @property
    def range_nm(self) -> tuple[float, float]:
        return self.scan.min_wavelength(), self.scan.max_wavelength()

    @property
    def steps_nm(self) -> tuple[float, float] | None:
        """Smallest and largest distance between neighbours, if there are any."""
        wavelengths = self.scan.wavelengths()
        if len(wavelengths) < 2:
            return None
        # Rounded, since differences of decimal fractions are not exact: 0.1 nm steps are all equal.
        differences = [round(b - a, 9) for a, b in pairwise(wavelengths)]
        return min(differences), max(differences)


class VekFile(NamedTuple):
    """A measurement file, its bytes, and its data sets under names that differ."""

    path: str
    content: bytes
    record: io.VekFile
    data_sets: dict[str, io.DataSet]


def peak(scan: Scan) -> tuple[float, float]:
    """Wavelength and value of the highest stored point, the first of equals."""
    return max(scan.items(), key=lambda point: point[1])


def read_file(path: str) -> bytes:
    try:
        with open(path, "rb") as file:
            content = file.read()
    except (OSError, ValueError) as error:
        reason = getattr(error, "strerror", None) or error
        raise CommandError(f"{path}: cannot be read: {reason}") from None
    if not content:
        raise CommandError(f"{path}: the file is empty")
    return content


def read_vek(path: str) -> VekFile:
    return _parse_vek(path, read_vek_bytes(path))


def read_vek_bytes(path: str) -> bytes:
    content = read_file(path)
    if not content.startswith(_COMPOUND_FILE):
        raise CommandError(f"{path}: not a measurement file (.vek)")
    return content


def unreadable(path: str, error: Exception) -> CommandError:
    """What the reader of measurement files says, as the user is told it."""
    reason = str(error).rstrip(".") or "damaged directory"
    return CommandError(f"{path}: no readable measurement file: {reason}")


def read_spectra_file(
    path: str, data_sets: Sequence[str], *, only_pairs: bool = False
) -> list[Spectrum]:
    """The spectra of a text file, or of a measurement file all data sets or those named.

    With ``only_pairs`` text must be pairs of numbers, for x values that are no wavelengths.
    """
    content = read_file(path)
    if not content.startswith(_COMPOUND_FILE):
        pairs = _pairs(content)
        if only_pairs and pairs is None:
            raise CommandError(_no_pairs(path, content))
        return _from_pairs(path, pairs) if only_pairs and pairs else _read_csv(path, content)
    file = _parse_vek(path, content)
    selected = select_data_sets(file, data_sets)
    check_names(path, data_sets, selected, file.data_sets)
    return [_from_data_set(file, label) for label in selected]


def read_spectra(
    files: Sequence[str], references: Sequence[str], data_sets: Sequence[str]
) -> list[Spectrum]:
    """All spectra asked for, those of the files first.

    Of measurement files all data sets count, or those whose names are in ``data_sets``; each
    of these must be in one of the files at least.
    """
    spectra: list[Spectrum] = []
    offered: dict[str, io.DataSet] = {}
    chosen: dict[str, io.DataSet] = {}
    for path in files:
        content = read_file(path)
        if not content.startswith(_COMPOUND_FILE):
            spectra += _read_csv(path, content)
            continue
        file = _parse_vek(path, content)
        selected = select_data_sets(file, data_sets)
        offered |= file.data_sets
        chosen |= selected
        spectra += [_from_data_set(file, label) for label in selected]
    if data_sets and not offered:
        raise CommandError("--data-set chooses from measurement files, and none is named")
    check_names(", ".join(files), data_sets, chosen, offered)
    spectra += [built_in(name) for name in references]
    if not spectra:
        raise CommandError("no spectrum: name a FILE or a --reference")
    return spectra


def select_data_sets(file: VekFile, names: Sequence[str]) -> dict[str, io.DataSet]:
    """The data sets by label, of which there must be some; those with such a name or label."""
    if not file.data_sets:
        raise CommandError(f"{file.path}: there are no data sets in it")
    if not names:
        return file.data_sets
    return {
        label: data_set
        for label, data_set in file.data_sets.items()
        if label in names or data_set.name in names
    }


def check_names(
    where: str, names: Sequence[str], chosen: Mapping[str, io.DataSet], offered: Iterable[str]
) -> None:
    """Refuse a name that has chosen nothing."""
    found = {*chosen, *(data_set.name for data_set in chosen.values())}
    for name in names:
        if name not in found:
            there = ", ".join(f"'{label}'" for label in offered)
            raise CommandError(f"{where}: no data set '{name}'; the data sets are: {there}")


def built_in(name: str) -> Spectrum:
    reference = REFERENCES.get(name)
    if reference is None:
        raise CommandError(f"no built-in spectrum '{name}'; 'vekanalysis references' lists them")
    scan = getattr(colorimetry.data, name)()
    return Spectrum(name, scan, reference=name, unit=reference.unit)


def _stem(path: str) -> str:
    name = re.split(r"[/\\]", path)[-1]
    stem, _, extension = name.rpartition(".")
    return stem if stem and extension.lower() in ("csv", "dat", "tsv", "txt", "vek") else name


def _parse_vek(path: str, content: bytes) -> VekFile:
    try:
        record = io.load_vekfile_binary_data(content)
    except (RuntimeError, ValueError) as error:
        raise unreadable(path, error) from None
    labels: dict[str, io.DataSet] = {}
    for data_set in record.data_sets:
        label = data_set.name
        count = 1
        while label in labels:
            count += 1
            label = f"{data_set.name} ({count})"
        labels[label] = data_set
    return VekFile(path, content, record, labels)


def _from_data_set(file: VekFile, label: str) -> Spectrum:
    data_set = file.data_sets[label]
    source = f"{file.path}: data set '{label}'"
    x_type = file.record.meta.x_type
    if x_type not in ("Wavelength / nm", ""):
        raise CommandError(f"{source}: its x axis is '{x_type}', not a wavelength in nm")
    points = len(data_set.data.wavelengths())
    if not points:
        raise CommandError(f"{source}: it has no points")
    return Spectrum(
        label,
        data_set.data,
        file=file.path,
        data_set=label,
        unit=file.record.data_info.type_and_units.units,
        notes=_repeated(data_set.no_of_points - points),
    )


def _repeated(count: int) -> tuple[str, ...]:
    if count <= 0:
        return ()
    return (f"{count} repeated wavelength{'s' * (count > 1)}: the last value of each counts",)


def _read_csv(path: str, content: bytes) -> list[Spectrum]:
    """The spectra in text: pairs of numbers, or a table with a column for each."""
    pairs = _pairs(content)
    if pairs is None or not _are_plain(pairs[0]):
        # Which says what is wrong with them, and where.
        return _read_table(path, content)
    return _from_pairs(path, pairs)


def _are_plain(wavelengths: list[float]) -> bool:
    """Whether wavelengths are in one order, and can be nothing but nm."""
    return (
        wavelengths in (sorted(wavelengths), sorted(wavelengths, reverse=True))
        and min(wavelengths) < 2500.0
        and max(wavelengths) >= 20.0
        and min(wavelengths) > 1.0
    )


def _from_pairs(path: str, pairs: tuple[list[float], list[float]]) -> list[Spectrum]:
    scan = Scan(*pairs)
    repeated = len(pairs[0]) - len(scan.wavelengths())
    return [Spectrum(_stem(path), scan, file=path, notes=_repeated(repeated))]


def _pairs(content: bytes) -> tuple[list[float], list[float]] | None:
    """Wavelengths and values in text whose lines have a pair each or none; None for other text.

    Stricter than ``io.load_csv``, which stops without a word at the first text that is not a
    number, and takes the numbers two by two whatever lines they stand on.
    """
    wavelengths, values = [], []
    for line in content.splitlines():
        match = _PAIR.fullmatch(line)
        if match is not None:
            wavelengths.append(float(match[1]))
            values.append(float(match[2]))
        elif line.strip():
            return None
    if not wavelengths or math.isinf(max(wavelengths)) or not all(map(math.isfinite, values)):
        return None
    return wavelengths, values


def _no_pairs(path: str, content: bytes) -> str:
    needed = "expected two numbers a line, with decimal points, without a header"
    for line_number, line in enumerate(content.splitlines(), start=1):
        if line.strip() and not _PAIR.fullmatch(line):
            shown = shortened(line.strip().decode("utf-8", "replace"), 40)
            return f"{path}: line {line_number}: '{shown}' is not a pair of numbers; {needed}"
    return f"{path}: there are no finite numbers in it; {needed}"


def _read_table(path: str, content: bytes) -> list[Spectrum]:
    # Imported here: most files are pairs.
    from .._refusal import reason_of
    from .._tables import read_table

    file = BytesIO(content)
    file.name = path
    try:
        table = read_table(file, percent=False, duplicates="last")
    except ValueError as error:
        raise CommandError(reason_of(error)) from None
    notes = list(table.notes)
    skipped = [str(line) for line, _, reason in table.skipped if reason in ("text", "comment")]
    if skipped:
        more = f" and {len(skipped) - 5} more" if len(skipped) > 5 else ""
        notes.append(f"skipped, since there are no numbers: line {', '.join(skipped[:5])}{more}")
    return [
        Spectrum(
            _stem(path) if len(table) == 1 else name,
            scan,
            file=path,
            data_set=None if len(table) == 1 else name,
            unit=table.units[name],
            notes=tuple(notes),
        )
        for name, scan in table.items()
    ]


def describe(spectrum: Spectrum) -> str:
    """``lens.csv: 320-800 nm, 49 points, step 10 nm``."""
    count, steps = spectrum.points, spectrum.steps_nm
    facts = [f"{interval(spectrum.range_nm)} nm", f"{count} point{'s' * (count != 1)}"]
    if steps is not None:
        smallest, largest = steps
        even = smallest == largest
        facts.append(f"step {smallest:.10g} nm" if even else f"steps {smallest:g}-{largest:g} nm")
    if spectrum.unit not in ("", "1"):
        facts.append(f"unit {spectrum.unit}")
    return f"{spectrum.source}: {', '.join(facts)}"
