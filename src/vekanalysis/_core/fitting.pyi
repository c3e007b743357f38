from collections.abc import Iterator
from typing import SupportsIndex, SupportsInt

from . import Scan, _Float, _FloatList, _Numbers, _Record

class FitWavelengthParams(_Numbers):
    def __init__(self) -> None: ...
    d: float
    omega_t: float
    omega_m: float
    cos_K: float
    theta_z: float
    alpha: float
    a: float
    phi: float

class FitWavelengthParamsFree(_Record):
    def __init__(self) -> None: ...
    d: bool
    omega_t: bool
    omega_m: bool
    cos_K: bool
    theta_z: bool
    alpha: bool
    a: bool
    phi: bool
    def __iter__(self) -> Iterator[bool]: ...

class WavelengthResiduals(_Record):
    def __init__(self, values: _FloatList, rms: _Float, largest: _Float) -> None: ...
    @property
    def values(self) -> list[float]: ...
    @property
    def rms(self) -> float: ...
    @property
    def largest(self) -> float: ...

def fit_wavelength(
    data: Scan, params: FitWavelengthParams, free: FitWavelengthParamsFree
) -> bool: ...
def fit_wavelength_from_phases(
    data: Scan,
    params: FitWavelengthParams,
    free: FitWavelengthParamsFree,
    phases: SupportsInt | SupportsIndex,
) -> bool: ...
def wavelength_residuals(data: Scan, params: FitWavelengthParams) -> WavelengthResiduals: ...
