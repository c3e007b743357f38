"""``vekanalysis stitch``: one spectrum from two that overlap."""

import sys
from argparse import Namespace

from .. import utils
from .._figures.errors import CommandError
from .._figures.spectra import Spectrum, describe, read_spectra
from .._figures.text import interval
from .output import emit, one_line

NO_MATCH = 1


def run(arguments: Namespace) -> int:
    """Tell how well the spectra match and write the joined one, if they do."""
    spectra = read_spectra(arguments.files, [], arguments.data_set)
    if len(spectra) != 2:
        raise CommandError(
            f"two spectra can be stitched, not {len(spectra)}; --data-set chooses from a "
            "measurement file"
        )
    first, second = spectra
    lowest, highest = _overlap(first, second, arguments.start, arguments.end)
    target: float = arguments.target
    try:
        result = utils.stitch_scans(first.scan, second.scan, lowest, highest, target)
    except (IndexError, RuntimeError, ValueError) as error:
        raise CommandError(_reason(str(error), second, (lowest, highest))) from None
    relative = (result.error / result.n) ** 0.5 / result.average if result.average else float("nan")
    facts = [
        ("1", describe(first)),
        ("2", describe(second)),
        ("compared", f"{result.n} points of 1, {interval((lowest, highest))} nm"),
        ("factor of 2", f"{result.k:.6g}"),
        ("match", f"{result.percent_error_rms:.3g} (target: below {target:g})"),
        ("RMS difference", f"{100 * relative:.2g} % of the mean"),
        ("joined at", f"{result.stitch_point:.2f} nm" if result.success else "-, no good match"),
    ]
    if sys.stderr is not None:
        for name, fact in facts:
            print(one_line(f"{name:<16}{fact}"), file=sys.stderr)
    if not result.success:
        return NO_MATCH
    emit("".join(f"{wl!r},{value!r}\n" for wl, value in result.stitch_scan.items()))
    return 0


def _overlap(
    first: Spectrum, second: Spectrum, start: float | None, end: float | None
) -> tuple[float, float]:
    """The stretch to compare, which begins and ends at points of the first spectrum."""
    lowest, highest = second.range_nm
    shared = [wl for wl in first.scan.wavelengths() if lowest <= wl <= highest]
    if not shared:
        raise CommandError(
            f"{first.source} ({interval(first.range_nm)} nm) has no point within the range of "
            f"{second.source} ({interval(second.range_nm)} nm)"
        )
    ends = []
    for option, wanted, default in (("--from", start, shared[0]), ("--to", end, shared[-1])):
        if wanted is not None and wanted not in shared:
            nearest = min(shared, key=lambda wl: abs(wl - wanted))
            raise CommandError(
                f"{option} {wanted:.10g}: {first.source} has no point there that is within the "
                f"range of {second.source}; the nearest is {nearest:.10g}"
            )
        ends.append(default if wanted is None else wanted)
    if ends[1] < ends[0]:
        raise CommandError(f"--from {ends[0]:.10g} is above --to {ends[1]:.10g}")
    return ends[0], ends[1]


def _reason(text: str, second: Spectrum, stretch: tuple[float, float]) -> str:
    where = f"{interval(stretch)} nm"
    if text == "failed to bracket the root":
        return (
            f"the spectra match but do not cross within {where}, so there is no place to join "
            "them without a step; try another stretch (--from, --to)"
        )
    if text.startswith("Division by zero"):
        return f"{second.source}: it is 0 throughout {where}"
    return f"{text} (within {where})"
