"""The directive ``spectra``: a table of built-in spectra, from the spectra themselves.

    ```{spectra}
    cie_illuminant_a cie_illuminant_c
    ```

Below the table stand their sources, and whether the figures are those printed there.
"""

from itertools import groupby

from docutils import nodes
from sphinx.application import Sphinx
from sphinx.util.docutils import SphinxDirective
from sphinx.util.typing import ExtensionMetadata

from vekanalysis.quantities import REFERENCES
from vekanalysis.reports import built_in

STANDING = {reference.name: (reference.source, reference.status) for reference in REFERENCES}


def row(name: str) -> str:
    spectrum = built_in(name)
    low, high = spectrum.range_nm
    steps = " to ".join(f"{step:,g}" for step in dict.fromkeys(spectrum.steps_nm or ()))
    wavelength, value = max(spectrum.scan.items(), key=lambda point: point[1])
    cells = (
        f"{{py:func}}`~vekanalysis.colorimetry.data.{name}`",
        f"{low:,g} to {high:,g}",
        steps,
        f"{spectrum.points}",
        f"{value:g} at {wavelength:g}",
        spectrum.unit or "",
    )
    return f"| {' | '.join(cells)} |"


class Spectra(SphinxDirective):
    has_content = True

    def run(self) -> list[nodes.Node]:
        names = " ".join(self.content).split()
        lines = ["| name | range, nm | step, nm | points | peak, at nm | unit |", "|" + "---|" * 6]
        lines += [row(name) for name in names]
        for (source, status), _ in groupby(STANDING[name] for name in names):
            if status == "reconstruction":
                status = f"**{status}**, not the printed figures; not for conformity decisions"
            lines += ["", f"Source: {source}; {status}."]
        return self.parse_text_to_nodes("\n".join(lines))


def setup(app: Sphinx) -> ExtensionMetadata:
    app.add_directive("spectra", Spectra)
    return {"parallel_read_safe": True, "parallel_write_safe": True}
