from .._core.colorimetry import *
