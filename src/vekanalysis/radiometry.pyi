from ._core.radiometry import *
