"""The quantities of one spectrum."""

from collections.abc import Iterable
from typing import NamedTuple

from .._core import Scan, colorimetry
from .._core.quantities import DERIVED, LENS, Quantity, quantity
from .._core.quantities import evaluate as evaluate_scan
from ..errors import Refusal
from ..spectrum import Spectrum
from ._measurand import measurand

type Range = tuple[float, float]


def _by_standard() -> tuple[Quantity, ...]:
    standards = [*dict.fromkeys(record.standard for record in LENS)]
    return tuple(sorted((*LENS, *DERIVED), key=lambda record: standards.index(record.standard)))


LENS_FULL: tuple[Quantity, ...] = _by_standard()
"""The quantities of lenses, those derived behind the others of their standard."""


class Value(NamedTuple):
    """A quantity of a spectrum, or the reason why there is none.

    Attributes
    ----------
    value : float or None
    problem : str or None
        Why there is no value.
    needed : (float, float) or None
        The wavelengths in nm that it needs; None for quantities without a band.
    covered : (float, float) or None
        The part of these that has data.
    clear_lens : float or None
        What a clear lens, 1 at each wavelength of the data, gives for a transmittance.
    """

    value: float | None = None
    problem: str | None = None
    needed: Range | None = None
    covered: Range | None = None
    clear_lens: float | None = None

    @property
    def complete(self) -> bool:
        """Whether the data cover all that is needed."""
        return self.covered == self.needed


def evaluate(
    spectrum: Spectrum | Scan,
    quantities: Iterable[Quantity | str] | Quantity | str = LENS,
    *,
    white: Spectrum | Scan | str = "D65",
    clear_lens: bool = True,
) -> dict[str, Value]:
    """Compute quantities of one spectrum; each function of the library is called once at most.

    Parameters
    ----------
    spectrum : Spectrum or Scan
        A `Spectrum` becomes what each quantity needs, as `measurand` does it. A `Scan` knows no
        unit: its values are taken as they are.
    quantities : iterable of Quantity or str
        A catalogue, or records and keys of any of them; a key that both have means the quantity of
        a lens.
    white : Spectrum, Scan or str
        The white of L*a*b* of a light source: a spectrum, or the name of an `illuminant`.
    clear_lens : bool
        Whether transmittances come with the value of a clear lens, which takes as long again.

    Returns
    -------
    dict of str to Value
        By the keys of the quantities, in their order.

    Raises
    ------
    ValueError
        If a key or the illuminant is not known.

    Examples
    --------
    >>> import vekanalysis as vek
    >>> lens = vek.Scan(range(380, 781, 5), [0.25] * 81)
    >>> vek.quantities.evaluate(lens, ["ISO8980_3_tau_v"])["ISO8980_3_tau_v"].value
    0.25
    """
    wanted = records_of(quantities)
    white_scan = white_of(white)
    if isinstance(spectrum, Scan):
        rows = evaluate_scan(spectrum, wanted, white_scan, clear_lens)
        values = map(Value._make, rows)
        return {record.key: value for record, value in zip(wanted, values, strict=True)}
    by_key = {record.key: Value() for record in wanted}
    for kind in dict.fromkeys(record.kind for record in wanted):
        records = [record for record in wanted if record.kind == kind]
        try:
            scan = measurand(spectrum, kind).scan
        except Refusal as error:
            problem = f"Not computable: {error.reason.removeprefix(f'{spectrum.where}: ')}"
            by_key |= {
                record.key: Value(problem=problem, needed=record.needed) for record in records
            }
            continue
        by_key |= evaluate(scan, records, white=white_scan, clear_lens=clear_lens)
    return by_key


def illuminant(name: str) -> Scan:
    """The spectrum of a white: illuminant "A", "C", "D65", or "E", the equal-energy spectrum.

    Parameters
    ----------
    name : str
        In capitals or not.

    Returns
    -------
    Scan
        A built-in spectrum itself, relative; of E, 1 from 380 to 780 nm.

    Raises
    ------
    ValueError
        If there is no illuminant of that name.
    """
    match name.upper():
        case "A":
            return colorimetry.data.cie_illuminant_a()
        case "C":
            return colorimetry.data.cie_illuminant_c()
        case "D65":
            return colorimetry.data.cie_illuminant_d65()
        case "E":
            wavelengths = range(380, 781, 5)
            return Scan([*wavelengths], [1.0] * len(wavelengths))
    raise ValueError(f"no illuminant {name!r}; there are 'A', 'C', 'D65' and 'E'")


def records_of(quantities: Iterable[Quantity | str] | Quantity | str) -> list[Quantity]:
    """The records that are meant; ValueError if a key is not known."""
    if isinstance(quantities, Quantity | str):
        quantities = (quantities,)
    return [quantity(item) if isinstance(item, str) else item for item in quantities]


def white_of(white: Spectrum | Scan | str) -> Scan:
    """The spectrum of a white, or that of the illuminant that it names."""
    if isinstance(white, str):
        return illuminant(white)
    return white.scan if isinstance(white, Spectrum) else white
