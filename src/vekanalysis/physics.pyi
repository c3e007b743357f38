from ._core.physics import *
