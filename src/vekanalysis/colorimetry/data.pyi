from .._core.colorimetry.data import *
