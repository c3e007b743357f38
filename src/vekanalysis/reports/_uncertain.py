"""What reports say of the uncertainty of their figures."""

from collections.abc import Iterator, Mapping, Sequence
from decimal import Decimal
from typing import TYPE_CHECKING, Any, Literal, NamedTuple

from ..errors import Refusal
from ..quantities import Quantity, Value
from ..spectrum import Spectrum
from ._layout import Json, aligned

if TYPE_CHECKING:
    from ..uncertainty import Budget, Results, Simulation, Uncertain
else:
    Budget = Results = Simulation = Uncertain = Any  # that room is imported when it is used

type Draws = int | Literal["auto"] | None


class Uncertainty(NamedTuple):
    """The uncertainties of a report, by the budget that they are of."""

    # That of the first spectrum: those of others differ at most in the size of a noise.
    budget: Budget
    # Of each spectrum.
    results: tuple[Results, ...]
    drawn: tuple[Simulation, ...] | None

    def document(self, index: int, key: str) -> dict[str, Json]:
        """What is said of a quantity of a spectrum; nothing if it has no uncertainty."""
        result = self.results[index].get(key)
        if result is None:
            return {}
        said: dict[str, Json] = {
            "u": result.u,
            "U": result.expanded,
            "k": result.k,
            "dof": result.dof,
            "contributions": {**result.contributions},
        }
        figure = None if self.drawn is None else self.drawn[index].get(key)
        if figure is not None:
            said["draws"] = {
                "mean": figure.mean,
                "u": figure.u,
                "interval": [*figure.interval],
                "shortest": [*figure.shortest],
                "first_order_validated": figure.validated,
            }
        return said

    def head(self) -> dict[str, Json]:
        """The budget, and where draws came from."""
        date = self.budget.date
        said: dict[str, Json] = {
            "label": self.budget.label,
            "date": None if date is None else str(date),
            "file": self.budget.file,
            "sha256": self.budget.sha256,
            "coverage": self.budget.coverage,
            "components": [component.name for component in self.budget.components],
        }
        if self.drawn is not None:
            said["draws"] = [
                {"count": each.draws, "seed": each.seed, "converged": each.converged}
                for each in self.drawn
            ]
        return said

    def cell(self, index: int, key: str, scale: int = 0) -> str | None:
        """The text of a figure times ten to the power of ``scale``; None without uncertainty."""
        from ..uncertainty import rounded

        result = self.results[index].get(key)
        drawn = None if self.drawn is None else self.drawn[index].get(key)
        if result is None or (self.drawn is not None and drawn is None):
            return None
        value, expanded = rounded(result.value, result.expanded)
        if expanded is None:
            return aligned(f"{10.0**scale * result.value:.6g}", *_PLACES) + " ± 0"
        if drawn is not None:
            return _with_interval(result, drawn.interval, scale)
        if result.interval != (result.value - result.expanded, result.value + result.expanded):
            return _with_interval(result, result.interval, scale)
        shown = aligned(_scaled(value, scale), *_PLACES)
        return f"{shown} ± {_scaled(expanded, scale):<8} {result.k:.2f}"

    def notes(
        self, spectra: Sequence[Spectrum], values: Sequence[Mapping[str, Value]]
    ) -> Iterator[str]:
        """What holds for all figures."""
        labels = [spectrum.label for spectrum in spectra]
        budget = self.budget
        name = f"'{budget.label}'" if budget.label else "without a label"
        where = f" ({budget.file})" if budget.file else ""
        percent = f"{100.0 * budget.coverage:g} %"
        if self.drawn is None:
            yield (
                f"± is the expanded uncertainty for a coverage of {percent}, k times the standard "
                "uncertainty, with k behind it, of the t distribution with the effective degrees "
                "of freedom; to first order. An interval stands where that would reach beyond "
                "what is possible."
            )
        else:
            yield f"Intervals are those of {percent} of the draws, symmetric in probability."
            yield from (_said_of(*pair) for pair in zip(labels, self.drawn, strict=True))
        yield f"The uncertainty budget is {name}{where}."
        for label, results, found in zip(labels, self.results, values, strict=True):
            missing = [key for key in results.problems if found[key].value is not None]
            if missing and self.drawn is None:
                yield f"Without an uncertainty to first order, of {label}: {', '.join(missing)}."


# Digits before and after the point of a figure.
_PLACES = (6, 7)
WIDTH = 36
"""Columns of a figure with its uncertainty."""


def _scaled(text: str, scale: int) -> str:
    """A number times a power of ten, with the digits that it has."""
    return f"{Decimal(text).scaleb(scale):f}" if scale else text


def make_uncertainty(
    spectra: Sequence[Spectrum],
    quantities: Sequence[Quantity],
    budgets: Sequence[Budget],
    draws: Draws,
    seed: int | None,
) -> Uncertainty:
    """The uncertainties of the quantities of each spectrum; Refusal where there are none.

    The budgets of the spectra are one, but for the noise that the repeats of each show.
    """
    from ..uncertainty import propagate, simulate

    results, drawn = [], []
    for spectrum, budget in zip(spectra, budgets, strict=True):
        try:
            if draws is None:
                results.append(propagate(spectrum, budget, quantities))
            else:
                drawn.append(simulate(spectrum, budget, quantities, draws=draws, seed=seed))
                results.append(drawn[-1].first_order)
        except RuntimeError as error:  # an error of the wavelength needs a slope
            reason = f"{spectrum.where}: its uncertainty cannot be computed: {error}"
            raise Refusal(reason) from None
    return Uncertainty(budgets[0], tuple(results), None if draws is None else tuple(drawn))


def _with_interval(result: Uncertain, interval: tuple[float, float], scale: int) -> str:
    from ..uncertainty import rounded

    value, ends = result.value, []
    for end in interval:
        ends.append(_scaled(rounded(end, result.expanded).value, scale))
    shown = aligned(_scaled(rounded(value, result.expanded).value, scale), *_PLACES)
    return f"{shown} {ends[0]} to {ends[1]}"


def _said_of(label: str, drawn: Simulation) -> str:
    """The check of the first order, in a line."""
    differing = [key for key, figure in drawn.items() if not figure.validated]
    count = f"{label}: {drawn.draws} draws, seed {drawn.seed}"
    if drawn.converged is False:
        count += ", not settled"
    if not differing:
        return f"{count}; the first order is validated for all quantities."
    named = ", ".join(differing[:3]) + (f" and {len(differing) - 3} more" * (len(differing) > 3))
    return f"{count}; the first order is not validated, to {drawn.digits} digits, for {named}."
