from typing import Literal, SupportsIndex, SupportsInt

import numpy as np
from numpy.typing import ArrayLike, NDArray

from . import Scan, _Float

type _Distribution = Literal["normal", "t", "rectangular", "triangular", "arcsine"]

def coverage_factor(coverage: _Float, dof: _Float) -> float: ...
def shifted(scan: Scan, shifts: ArrayLike) -> NDArray[np.float64]: ...

class ErrorModel:
    class Draws:
        def fill(self, spectra: NDArray[np.float64], figures: NDArray[np.float64]) -> None: ...

    def __init__(self, scan: Scan) -> None: ...
    @property
    def figures(self) -> int: ...
    def add_effects(
        self, effects: ArrayLike, distribution: _Distribution = "normal", dof: _Float = 0.0
    ) -> None: ...
    def add_independent(
        self, sizes: ArrayLike, distribution: _Distribution = "normal", dof: _Float = 0.0
    ) -> None: ...
    def add_chain(
        self,
        sizes: ArrayLike,
        correlations: ArrayLike,
        distribution: _Distribution = "normal",
        dof: _Float = 0.0,
    ) -> None: ...
    def add_shift(
        self, shifts: ArrayLike, distribution: _Distribution = "normal", dof: _Float = 0.0
    ) -> None: ...
    def add_jitter(
        self, shifts: ArrayLike, distribution: _Distribution = "normal", dof: _Float = 0.0
    ) -> None: ...
    def add_figure(self, distribution: _Distribution = "normal", dof: _Float = 0.0) -> None: ...
    def draws(
        self, seed: SupportsInt | SupportsIndex, block: SupportsInt | SupportsIndex
    ) -> ErrorModel.Draws: ...
