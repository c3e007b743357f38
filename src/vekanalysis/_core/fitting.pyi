from . import Scan

class FitWavelengthParams:
    def __init__(self) -> None: ...
    d: float
    omega_t: float
    omega_m: float
    cos_K: float
    theta_z: float
    alpha: float
    a: float
    phi: float

class FitWavelengthParamsFree:
    def __init__(self) -> None: ...
    d: bool
    omega_t: bool
    omega_m: bool
    cos_K: bool
    theta_z: bool
    alpha: bool
    a: bool
    phi: bool

def fit_wavelength(
    data: Scan, params: FitWavelengthParams, free: FitWavelengthParamsFree
) -> bool: ...
