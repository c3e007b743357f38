"""How sure a figure is: budgets of a measurement, and what they do to quantities of its spectra."""

from ._budget import Budget
from ._comparison import Compared, Comparison, compare
from ._component import Component
from ._points import of_points
from ._propagation import propagate
from ._propagator import Propagator as Propagator
from ._results import Results, Uncertain, coverage_factor
from ._rounding import Rounded, rounded
from ._simulation import Simulated, Simulation, simulate
from ._sizes import Matrix

__all__ = [
    "Budget",
    "Compared",
    "Comparison",
    "Component",
    "Matrix",
    "Results",
    "Rounded",
    "Simulated",
    "Simulation",
    "Uncertain",
    "compare",
    "coverage_factor",
    "of_points",
    "propagate",
    "rounded",
    "simulate",
]
