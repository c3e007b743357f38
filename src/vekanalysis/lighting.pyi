from ._core.lighting import *
