from . import Scan, _Float

def longpass_filter(
    center_wl: _Float, bandwidth: _Float, min_wl: _Float, max_wl: _Float, step_wl: _Float
) -> Scan: ...
def shortpass_filter(
    center_wl: _Float, bandwidth: _Float, min_wl: _Float, max_wl: _Float, step_wl: _Float
) -> Scan: ...
def lognormal(
    peak_wl: _Float, fwhm: _Float, min_wl: _Float, max_wl: _Float, step_wl: _Float
) -> Scan: ...
