from ._core.chromaticity import *
