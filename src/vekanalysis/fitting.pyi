from ._core.fitting import *
