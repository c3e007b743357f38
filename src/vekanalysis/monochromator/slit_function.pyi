from .._core.monochromator.slit_function import *
