#!/usr/bin/env python3
"""Write the seeds of the fuzzers into fuzz/corpus; what a fuzzer finds is added by hand.

Always writes the same bytes. usage: fuzz/make_corpus.py
"""

from __future__ import annotations

import math
import struct
import sys
from collections.abc import Iterator
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
CORPUS = ROOT / "fuzz" / "corpus"
sys.path.insert(0, str(ROOT / "tools"))

from vekwriter import MARKER, Contents, DataSet, container  # noqa: E402

LENSES = [
    DataSet("up", [(400.0, 0.5), (410.0, 0.25), (420.0, 0.75)]),
    DataSet("", []),
    DataSet("down", [(700.0, 0.5), (600.0, 0.125), (600.0, 0.25)]),
    DataSet("mixed", [(2.0, 1.0), (1.0, 1.0), (3.0, -0.0), (1e-21, 4.0), (0.0, 5.0)]),
]
NOTES = [(999, "note", [["a", "b"], []]), (1, "", [])]


def contents(version: int, graph_flag: int = 0) -> Contents:
    return Contents(
        file_version=version,
        gv_version=version,
        graph_flag=graph_flag,
        has_timestamps=True,
        graph_records=1,
        data_sets=LENSES,
        annotations=NOTES,
        arrows=(1, 1),
    )


def after_size(written: Contents) -> bytes:
    return written.stream().partition(MARKER)[2][4:]


def stream_seeds() -> Iterator[tuple[str, bytes]]:
    for version in range(1, 6):
        for graph_flag in (0, 2) if version > 3 else (0,):
            yield f"version{version}-flag{graph_flag}", after_size(contents(version, graph_flag))
    yield "nan", after_size(Contents(data_sets=[DataSet("n", [(math.nan, 1.0)])]))
    yield "empty", b""
    yield "no-data-sets", after_size(Contents())
    yield (
        "plain",
        after_size(
            Contents(
                data_sets=LENSES[:1],
                scan_summary="\u00b5m",
                type_and_units=("Counts", ""),
                auxiliary_type_and_units=("", "x"),
                x_type=5,
            )
        ),
    )


def patched(image: bytes, *words: tuple[int, int]) -> bytes:
    """The image with these 32-bit words (offset, value) changed."""
    changed = bytearray(image)
    for offset, value in words:
        struct.pack_into("<I", changed, offset, value)
    return bytes(changed)


def container_seeds() -> Iterator[tuple[str, bytes]]:
    small = contents(5)
    yield "mini", small.file()
    yield "mini-fragmented", small.file(fragmented=True)
    yield "regular-fragmented", small.file(cutoff=0, fragmented=True)
    yield "version4", small.file(version=4)
    yield "two-streams", container([("Contents", small.stream()), ("Other", bytes(5000))])
    yield "other-entry", container([("Other", small.stream())])
    regular = small.file(cutoff=0)
    fat = 512 * (1 + struct.unpack_from("<I", regular, 76)[0])
    yield "loop", patched(regular, *[(fat + 4 * i, i) for i in range(8)])
    yield "swapped-links", patched(regular, (fat, 2), (fat + 4, 0), (fat + 8, 1))
    yield "difat-loop", patched(regular, (68, 1), (512 * 3 - 4, 1))
    yield "giant-cutoff", patched(regular, (56, 0xFFFFFFFF), (60, 0))
    directory = 512 * (1 + struct.unpack_from("<I", regular, 48)[0])
    yield "giant-size", patched(regular, (directory + 128 + 124, 1))
    yield "header-only", regular[:512]
    yield "cut", regular[:-100]
    yield "cut-directory", regular[: directory + 200]
    yield "other-signature", patched(regular, (0, 0))
    yield "short", regular[:100]
    yield "no-marker", container([("Contents", bytes(300))])
    yield "other-size", container([("Contents", small.stream() + b"more")])
    names = {
        "surrogates": (0xDE00D83D, 0x0041D83D, 0x0042DE00, 0x20AC00E9, 0x0041FB01),
        "long-name": (0x00410041,) * 16,
    }
    for name, units in names.items():
        words = [(directory + 128 + 4 * i, pair) for i, pair in enumerate(units)]
        yield name, patched(regular, *words)
    # Where the walks begin: numbers of a sector and an entry in the header's class.
    end, chained = 0xFFFFFFFF, patched(regular, (68, 0))
    for name, image, number, entry in [
        ("marks", regular, end, end),
        ("far", regular, 0x00FFFFFF, 1),
        ("later-entry", regular, 600, 5),
        ("skipped-sectors", regular, 600, 1),
        ("skipped-mini-sectors", small.file(), 200, 1),
        ("beyond-stream", regular, 600, len(regular) - 1),
        ("first-difat", chained, 109, 0),
        ("second-difat", chained, 109 + 127, 0),
    ]:
        yield f"walk-{name}", patched(image, (8, number), (12, entry))


CSV_SEEDS = {
    "separators": b"400,1.5\n401;2.5\r\n402\t3.5\n403 4.5\n404 , ;\t5.5",
    "forms": b"+1,.5 -2.,+.25 1e5.3 400-1 1.2.3 1e2-3\v1\f2",
    "edges": b"1e-400,1e-320 1e308,-1e-5 0x10,1",
    "overflow": b"1,2 1e400,3",
    "header": b"wavelength,value\n400,1\n",
    "mark": b"\xef\xbb\xbf400,1",
    "names": b"1,nan 2,inf",
    "halves": b"1,1.5e",
    "small": b"1e-400,1.e-400 1,-x",
    "mark-alone": b"1,.e1",
    "capital-mark": b"1,2E",
    "long": b"0." + b"0" * 400 + b"1e390, " + b"9" * 400,
}

# Tables as instruments and people write them; every form that the tolerant reader knows.
TEXT_SEEDS = {
    "comments": b"# wavelength T\n400 0.25\n! dark\n405 n/a\n406\n410 0.5\n\nmean 0.375\n",
    "decimal-comma": "Wellenlänge [nm];Transmissionsgrad in %\n400,0;25,5\n410,0;50\n".encode(),
    "groups": b"nm;E [mW/(m^2*nm)]\n1.400,5;1.250,25\n1.410,5;2.250,5\n",
    "units": b"Wavelength\tT\tR%\n[nm]\t1\t%\n400\t0.25\t7\n410\t0.5\t8\n",
    "quotes": b'"wl, nm","T, 1","Lens, ""7"""\n"400","0.25","1"\n"410","0.5","2"\n',
    "row-numbers": b",wl,T\n0,400,0.25\n1,410,0.5\n2,420,0.25\n",
    "second-column": "E (W m-2 um-1);λ / Å\n0,25;4000\n0,5;4100\n".encode(),
    "pairs-of-columns": b"nm,T,nm,T\nA,A,B,B\n400,0.25,500,0.5\n410,0.5,510,0.25\n",
    "facts": b"Operator: K\nSlit;2,0\n##YUNITS=%T\nSample = lens 7\n\nnm;T\n400;0.25\n410;0.5\n",
    "micrometres": "L [W m-2 sr-1 nm-1]\tWavelength [µm]\n1e-3\t0.4\n2E-3\t0.41\n".encode("cp1252"),
    "wave-numbers": b"Wavenumber [cm-1];Absorbance\n25000;0.25\n24000;0.5\n",
    "duplicates": b"405 1\n410 0.5\n400 0.25\n405 1\n405 2\n",
    "uncertainty": b"nm\tT\tu(T)\tdark\n400\t0.25\t0.01\t9\n410\t0.5\t0.01\t9\n",
    "log": b"nm log T 1-T OD\n400 -1 0.9 1\n410 -2 0.99 2\n",
    "utf-16": "wl;Éclairement énergétique (W/m2/nm)\n400;0.25\n410;0.5\n".encode("utf-16"),
    "sensitivity": "Sensitivity [mA/W];Wavelength\n\n0.25;400\n;405\n0.5;410\n".encode("utf-16-le"),
    "old-line-ends": b"Intensity (counts)\r400 25\r410 50\r",
    "ambiguous": b"1,200;2,400\n2,300;3,500\n",
}


# Of each: the interpolation, the tolerance, four quantities, half the count of points, the step,
# where it starts, and the values.
EVALUATOR_SEEDS = {
    "akima-1nm": bytes((0, 1, 0, 3, 6, 9, 250, 1, 50, 0, *range(5, 250, 7))),
    "akima-5nm": bytes((0, 1, 1, 4, 7, 10, 52, 4, 30, 0, *range(250, 5, -11))),
    "akima-10nm-runs": bytes((0, 1, 2, 5, 8, 11, 30, 5, 30, 0, 9, 9, 9, 60, 60, 200, 200, 200)),
    "akima-uneven": bytes((1, 1, 0, 5, 10, 12, 120, 9, 40, 1, 30, 7, 99, 250, 14, 61, 3, 180)),
    "akima-wide-tolerance": bytes((1, 0, 0, 1, 3, 6, 120, 1, 50, 1, 10, 80, 200, 250, 251)),
    "linear-thirds": bytes((2, 1, 0, 3, 5, 16, 200, 7, 60, 2, 200, 10, 90, 40, 77)),
    "cubic-5nm": bytes((3, 1, 2, 6, 9, 13, 60, 4, 40, 0, *range(0, 255, 13))),
    "cubic-below-black": bytes((39, 169, 3, 6, 210, 40, 124, 10, 100, 0, 0, 0, 0, 254, 90)),
    "polynomial": bytes((4, 1, 3, 6, 9, 40, 7, 10, 100, 0, 20, 90, 160, 80)),
    "points": bytes((5, 1, 0, 3, 11, 30, 220, 1, 50, 0, *range(30, 200, 3))),
    "light": bytes((0, 1, 25, 30, 35, 38, 210, 3, 100, 0, *range(10, 240, 9))),
    "empty": b"",
}


def main() -> None:
    seeds = {
        "contents": stream_seeds(),
        "container": container_seeds(),
        "csv": CSV_SEEDS.items(),
        "text": TEXT_SEEDS.items(),
        "evaluator": EVALUATOR_SEEDS.items(),
    }
    for target, files in seeds.items():
        (CORPUS / target).mkdir(parents=True, exist_ok=True)
        for name, data in files:
            (CORPUS / target / name).write_bytes(data)


if __name__ == "__main__":
    main()
