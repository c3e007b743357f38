from ._core.utils import *
