"""The directive ``picture``: Matplotlib code that draws one figure while the site is built.

    ```{picture} What the picture shows, for those who do not see it.
    :code:

    import matplotlib.pyplot as plt
    ...
    ```

The code starts with nothing but an empty figure and runs in the root of the checkout, so paths as
in `examples/two-lenses.vek` work. ``:code:`` shows it below the picture, ``:caption:`` puts a line
below the picture, ``:wide:`` keeps the picture legible on a phone by letting the reader scroll it.
"""

import contextlib
import os
import re
from pathlib import Path

import matplotlib
from docutils import nodes
from docutils.parsers.rst import directives
from sphinx.application import Sphinx
from sphinx.util.docutils import SphinxDirective
from sphinx.util.typing import ExtensionMetadata

matplotlib.use("agg")

ROOT = Path(__file__).resolve().parents[2]
STYLE = {
    "axes.grid": True,
    "axes.spines.right": False,
    "axes.spines.top": False,
    "figure.constrained_layout.use": True,
    "figure.figsize": (6.4, 3.4),
    "font.size": 11,
    "grid.alpha": 0.3,
    "savefig.facecolor": "white",
    "svg.hashsalt": "vekanalysis",
}


class Picture(SphinxDirective):
    has_content = True
    required_arguments = 1
    final_argument_whitespace = True
    option_spec = {  # noqa: RUF012  # as docutils declares it
        "caption": directives.unchanged,
        "code": directives.flag,
        "wide": directives.flag,
    }

    def run(self) -> list[nodes.Node]:
        code = "\n".join(self.content)
        uri = self._draw(code)
        classes = ["picture", "wide"] if "wide" in self.options else ["picture"]
        figure = nodes.figure("", nodes.image("", uri=uri, alt=self.arguments[0]), classes=classes)
        if caption := self.options.get("caption"):
            text, _ = self.parse_inline(caption)
            figure += nodes.caption(caption, "", *text)
        if "code" in self.options:
            return [figure, nodes.literal_block(code, code, language="python")]
        return [figure]

    def _draw(self, code: str) -> str:
        """Run the code, save its figure, and return the figure's path as Sphinx wants it."""
        import matplotlib.pyplot as plt

        number = self.env.new_serialno("picture")
        name = re.sub(r"\W+", "-", self.env.docname)
        path = Path(self.env.doctreedir) / "pictures" / f"{name}-{number}.svg"
        path.parent.mkdir(parents=True, exist_ok=True)
        with matplotlib.rc_context(STYLE), contextlib.chdir(ROOT):
            try:
                exec(compile(code, f"{self.env.docname}, picture {number}", "exec"), {})
                plt.savefig(path, metadata={"Date": None})
            except Exception as error:
                raise self.error(f"the picture's code failed: {error!r}") from error
            finally:
                plt.close("all")
        return "/" + os.path.relpath(path, self.env.srcdir)


def setup(app: Sphinx) -> ExtensionMetadata:
    app.add_directive("picture", Picture)
    return {"parallel_read_safe": True, "parallel_write_safe": True}
