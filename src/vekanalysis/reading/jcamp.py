"""JCAMP-DX 4.24 to 5.01: text files of labelled data records.

Sources: R. S. McDonald, P. A. Wilks, Appl. Spectrosc. 42 (1988) 151-162 (4.24); P. Lampen et al.,
Appl. Spectrosc. 53 (1999) 1137-1144 (5.01). The ordinate tables are decoded in `jcamp_tables`.
"""

import re
from collections.abc import Iterator
from typing import NamedTuple

import numpy as np
from numpy.typing import NDArray

from ..errors import Refusal, Remedy
from .curve import MOST_POINTS, Curve, fact, number, stated
from .encoding import shortened
from .jcamp_tables import Lines, Table, decode_ordinates, decode_pairs

_RECORD = re.compile(r"\s*+##([^=]{0,200})(?:=(.*)|$)", re.DOTALL)
_DECIMAL_COMMA = re.compile(r"\s*+[+-]?[0-9]++,[0-9]")
# What stands behind it on its line is of the table.
_FORM = re.compile(r"\s*+\([^()]{0,40}(?:\([^()]{0,40}\)[^()]{0,40})?\)")
_DEPTH = 20
_MOST_FACTS = 100
# What must not be stated in two ways.
_ESSENTIAL = frozenset(
    ["XUNITS", "YUNITS", "XFACTOR", "YFACTOR", "FIRSTX", "LASTX", "NPOINTS", "DELTAX", "DATATYPE"]
)
# What says how the table is to be read, and nothing of the measurement.
_LAYOUT = (_ESSENTIAL - {"DATATYPE"}) | {
    *("JCAMPDX", "FIRSTY", "MAXX", "MINX", "MAXY", "MINY", "DATACLASS"),
    *("BLOCKID", "BLOCKS", "CROSSREFERENCE"),
}
_CURVES = ("XYDATA", "XYPOINTS")
_OTHERS = {
    "PEAKTABLE": "a list of peaks",
    "PEAKASSIGNMENTS": "a list of peaks",
    "RADATA": "an interferogram",
    "NTUPLES": "NTUPLES",
    "DATATABLE": "NTUPLES",
}


class _Record(NamedTuple):
    label: str
    # As the file has it.
    name: str
    lines: Lines

    @property
    def text(self) -> str:
        return "\n".join(text for _, text in self.lines).strip()

    @property
    def line(self) -> int:
        return self.lines.first


class _Block:
    """What stands between a TITLE and its END, without the blocks within."""

    def __init__(self, title: _Record) -> None:
        self.records = {title.label: title}
        self.tables: list[_Record] = []
        self.blocks = 0
        self.is_closed = False

    def text(self, label: str) -> str:
        record = self.records.get(label)
        return "" if record is None else record.text

    def add(self, record: _Record) -> None:
        if record.label in _CURVES or record.label in _OTHERS:
            if record.label in _CURVES and any(t.label in _CURVES for t in self.tables):
                raise Refusal(f"line {record.line}: a second {record.name} in one block")
            self.tables.append(record)
            return
        before = self.records.setdefault(record.label, record)
        if record.label in _ESSENTIAL and before.text != record.text:
            raise Refusal(
                f"line {record.line}: {record.name} is '{shortened(record.text)}', and in line "
                f"{before.line} '{shortened(before.text)}'"
            )


def parse(content: bytes, encoding: str | None = None) -> list[Curve]:
    """The curves of a file, those of linked blocks one by one; Refusal if it is damaged."""
    blocks, notes = _blocks(_decoded(content, encoding))
    if not blocks:
        raise Refusal("there is no ##TITLE=, with which JCAMP-DX begins: the start is missing")
    curves: list[Curve] = []
    others: list[str] = []
    for block in blocks:
        for table in block.tables:
            if table.label in _CURVES:
                curves.append(_curve(block, table))
            else:
                others.append(f"{_OTHERS[table.label]} ({table.name} in line {table.line})")
    if not curves:
        raise Refusal(f"no spectrum in this file: it holds {', '.join(others[:3]) or 'no data'}")
    notes += [f"left out: {other}" for other in others[:10]]
    return [curve._replace(notes=(*notes, *curve.notes)) for curve in curves]


def _decoded(content: bytes, encoding: str | None) -> str:
    """The text, its lines ended as Python ends them."""
    content = content.rstrip(b"\0\x1a \t\r\n")
    if b"\0" in content:
        line = content.count(b"\n", 0, content.index(b"\0")) + 1
        raise Refusal(f"line {line}: zero bytes, which text does not have")
    for name in [encoding] if encoding else ["utf-8-sig", "cp1252", "latin-1"]:
        try:
            return content.decode(name).replace("\r\n", "\n").replace("\r", "\n")
        except UnicodeDecodeError:
            continue
        except LookupError, ValueError:
            raise Refusal(f"encoding is {encoding!r}, which Python does not know") from None
    raise Refusal(f"the bytes are not {encoding}", Remedy("leave {} out", (("encoding", ...),)))


def _records(text: str) -> Iterator[_Record]:
    """The labelled data records."""
    record: _Record | None = None
    start = 0
    for number_, line in Lines(text, 0, len(text), 1).as_they_stand():
        found = _RECORD.match(line)
        if found is not None:
            if record is not None:
                yield record._replace(lines=record.lines.up_to(start - 1))
            name = " ".join(found[1].split())
            if not name.isprintable():
                raise Refusal(f"line {number_}: the label '{shortened(name)}' is damaged")
            label = re.sub(r"[ \-/_]", "", name).upper()
            begin = start + (len(line) if found[2] is None else found.start(2))
            record = _Record(label, name, Lines(text, begin, len(text), number_))
        start += len(line) + 1
    if record is not None:
        yield record


def _blocks(text: str) -> tuple[list[_Block], list[str]]:
    blocks: list[_Block] = []
    notes: list[str] = []
    opened: list[_Block] = []
    for record in _records(text):
        if record.label == "TITLE":
            if len(opened) == _DEPTH:
                raise Refusal(f"line {record.line}: blocks more than {_DEPTH} deep")
            if opened:
                opened[-1].blocks += 1
            opened.append(_Block(record))
            blocks.append(opened[-1])
        elif not opened:
            notes = [f"left out: line {record.line}, behind the end"]
        elif record.label == "END":
            opened.pop().is_closed = True
        elif record.label:
            opened[-1].add(record)
    for block in blocks:
        stated_blocks = block.text("BLOCKS")
        if stated_blocks.isdigit() and stated_blocks != str(block.blocks):
            notes.append(f"BLOCKS is {fact(stated_blocks)}, but there are {block.blocks}")
    return blocks, notes


class _Head:
    """The numbers of a block that say how its table is to be read."""

    def __init__(self, block: _Block) -> None:
        self._block = block
        self.is_comma = any(
            _DECIMAL_COMMA.match(block.text(label)) for label in ("FIRSTX", "LASTX")
        )
        self.first = self.value("FIRSTX")
        self.last = self.value("LASTX")
        self.delta = self.value("DELTAX")
        self.x_factor = self._factor("XFACTOR")
        self.y_factor = self._factor("YFACTOR")
        self.points = self._count()

    def value(self, label: str) -> float | None:
        """The number of a label, None without one."""
        record = self._block.records.get(label)
        if record is None or not record.text:
            return None
        text = record.text.replace(",", ".") if self.is_comma else record.text
        return number(text, f"line {record.line}: {record.name}")

    def _factor(self, label: str) -> float:
        factor = self.value(label)
        if factor == 0.0:
            raise Refusal(f"line {self._block.records[label].line}: {label} is 0")
        return 1.0 if factor is None else factor

    def _count(self) -> int | None:
        count = self.value("NPOINTS")
        if count is None:
            return None
        if not 2.0 <= count <= MOST_POINTS or count != int(count):
            raise Refusal(
                f"line {self._block.records['NPOINTS'].line}: NPOINTS is {count:.10g}; it must be "
                f"a whole number from 2 to {MOST_POINTS}"
            )
        return int(count)


# What overflows becomes a point that is no number, which is refused with its place.
@np.errstate(over="ignore", invalid="ignore")
def _curve(block: _Block, record: _Record) -> Curve:
    head = _Head(block)
    if head.points is None and not block.is_closed:
        raise Refusal("it ends without ##END= and states no NPOINTS: it may be cut off")
    notes = [] if block.is_closed else ["there is no ##END=; the points are all there"]
    _, text = next(iter(record.lines))
    found = _FORM.match(text)
    form = "".join((found[0] if found else text).split()).upper()
    lines = record.lines.behind(found.end() if found else 0)
    table = Table(lines, head.points, head.is_comma)
    if form == "(X++(Y..Y))":
        x, y = _even(head, table, notes)
    elif form == "(XY..XY)":
        x, y = _uneven(head, table, notes)
    else:
        raise Refusal(
            f"line {record.line}: {record.name} has the form '{shortened(form)}', not (X++(Y..Y)) "
            "or (XY..XY)"
        )
    _compare(head, y, notes)
    x_unit = block.text("XUNITS")
    if "RAMAN" in block.text("DATATYPE").upper() and "CM" in x_unit.upper():
        x_unit = f"Raman shift ({fact(x_unit)})"
    return Curve(
        x,
        y,
        x_unit,
        stated(block.text("YUNITS")),
        label=fact(block.text("TITLE")),
        metadata=_metadata(block),
        notes=tuple(notes),
    )


def _even(
    head: _Head, table: Table, notes: list[str]
) -> tuple[NDArray[np.float64], NDArray[np.float64]]:
    """The points of a table whose lines state the first x only."""
    ordinates = decode_ordinates(table)
    notes += ordinates.notes
    count = len(ordinates.values)
    first = ordinates.first_x * head.x_factor if head.first is None else head.first
    last = head.last
    if last is None:
        if head.delta is None:
            raise Refusal("there is neither LASTX nor DELTAX")
        last = first + (count - 1) * head.delta
        notes.append("there is no LASTX: x follows from DELTAX")
    if first == last:
        raise Refusal(f"FIRSTX and LASTX are both {first:.10g}")
    x = first + np.arange(count) * (last - first) / (count - 1)
    step = abs(last - first) / (count - 1)
    if head.delta is not None and abs(abs(head.delta) - step) > 0.1 * step:
        notes.append(f"DELTAX is {head.delta:.10g}, but FIRSTX, LASTX and NPOINTS give {step:.10g}")
    away = np.abs(np.array(ordinates.line_x) * head.x_factor - x[np.array(ordinates.line_points)])
    if (away > step * (1.0 + 1e-9)).any():
        index = int((away > step * (1.0 + 1e-9)).argmax())
        raise Refusal(
            f"line {ordinates.line_numbers[index]}: it starts at "
            f"{ordinates.line_x[index] * head.x_factor:.10g}, where FIRSTX, LASTX and NPOINTS give "
            f"{x[ordinates.line_points[index]]:.10g}: points are missing or doubled"
        )
    # Half a step is rounding.
    if (away > 0.5 * step * (1.0 + 1e-6)).any():
        notes.append(
            f"the lines start up to {away.max() / step:.2g} steps from where FIRSTX, LASTX and "
            "NPOINTS put their points"
        )
    values = np.array(ordinates.values, dtype=np.float64)
    present = ~np.isnan(values)
    if not present.all():
        notes.append(f"points without an ordinate ('?') left out: {int((~present).sum())}")
    return x[present], _scaled(values[present], head.y_factor)


def _uneven(
    head: _Head, table: Table, notes: list[str]
) -> tuple[NDArray[np.float64], NDArray[np.float64]]:
    numbers = np.array(decode_pairs(table), dtype=np.float64).reshape(-1, 2)
    x, y = _scaled(numbers[:, 0], head.x_factor), _scaled(numbers[:, 1], head.y_factor)
    for label, stated_x, found in ("FIRSTX", head.first, x[0]), ("LASTX", head.last, x[-1]):
        if stated_x is not None and abs(stated_x - found) > 1e-6 * abs(found):
            notes.append(f"{label} is {stated_x:.10g}, but that point is at {found:.10g}")
    return x, y


def _scaled(values: NDArray[np.float64], factor: float) -> NDArray[np.float64]:
    """Values times a factor; divided where it is one by a whole number: 12 / 10000 is 0.0012."""
    divisor = round(1.0 / factor) if 1e-15 < abs(factor) < 1.0 else 0
    return values / divisor if divisor and 1.0 / divisor == factor else values * factor


def _compare(head: _Head, y: NDArray[np.float64], notes: list[str]) -> None:
    """Say where stated extremes are not those of the points; they often are not."""
    if not len(y):
        return
    tolerance = 0.01 * float(np.abs(y).max())
    for label, found in ("FIRSTY", y[0]), ("MINY", y.min()), ("MAXY", y.max()):
        value = head.value(label)
        if value is not None and not abs(value - found) <= tolerance:
            notes.append(f"{label} is stated as {value:.6g}, and is {found:.6g}")


def _metadata(block: _Block) -> dict[str, str]:
    texts = {
        record.name: fact(record.text)
        for label, record in block.records.items()
        if label not in _LAYOUT
    }
    return dict([(name, text) for name, text in texts.items() if text][:_MOST_FACTS])
