from . import slit_function as slit_function
