from ._core.curves import *
