"""Spectra to try things with, inside the package; none of them was measured.

``python -m vekanalysis.samples FOLDER`` writes the files into a folder.
"""

from ._samples import Sample, get, names, path, read

__all__ = ["Sample", "get", "names", "path", "read"]
