from ._core.io import *
