"""The directive ``picture``: Matplotlib code that draws one figure while the site is built.

    ```{picture} What the picture shows, for those who do not see it.
    :code:

    import matplotlib.pyplot as plt
    ...
    ```

The code starts with nothing but an empty figure and runs in the root of the checkout, so paths as
in `examples/two-lenses.vek` work. The figure is saved twice: as it is, and in colours for pages
that are dark, where black and white change places and dark colours are lightened. ``:code:`` shows
the code below the picture, ``:caption:`` puts a line below the picture, ``:wide:`` keeps the
picture legible on a phone by letting the reader scroll it, ``:fills:`` keeps the colours of filled
areas on dark pages, for those that show a colour.
"""

import colorsys
import contextlib
import os
import re
from pathlib import Path

import matplotlib
from docutils import nodes
from docutils.parsers.rst import directives
from matplotlib.collections import Collection
from matplotlib.colors import to_rgba
from matplotlib.figure import Figure
from matplotlib.lines import Line2D
from matplotlib.patches import Patch
from matplotlib.text import Annotation, Text
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


def on_dark(colour: object) -> tuple[float, float, float, float]:
    """The colour that does on a dark page what this one does on white."""
    *rgb, alpha = to_rgba(colour)
    hue, lightness, saturation = colorsys.rgb_to_hls(*rgb)
    # A grey, hardly more than one, or a pastel behind text.
    changes_places = max(rgb) - min(rgb) <= 0.2 * max(rgb) or lightness > 0.75
    lightness = 1 - 0.92 * lightness if changes_places else max(lightness, 0.55)
    return (*colorsys.hls_to_rgb(hue, lightness, saturation), alpha)


def darken(figure: Figure, *, keeps_fills: bool) -> None:
    """Give all parts of a drawn figure colours for dark pages; images and maps keep theirs."""
    kept = {part for axes in figure.axes for part in (*axes.patches, *axes.collections)}
    kept = kept if keeps_fills else set()
    for part in figure.findobj(Line2D):
        for name in ("color", "markerfacecolor", "markeredgecolor"):
            colour = getattr(part, f"get_{name}")()
            if str(colour) != "none":
                getattr(part, f"set_{name}")(on_dark(colour))
    for part in figure.findobj(Text):
        part.set_color(on_dark(part.get_color()))
    # Arrows are no children of the figure, and are not what it fills.
    arrows = {part.arrow_patch for part in figure.findobj(Annotation)} - {None}
    for part in {*figure.findobj(Patch)} - kept | arrows:
        part.set(facecolor=on_dark(part.get_facecolor()), edgecolor=on_dark(part.get_edgecolor()))
    for part in {*figure.findobj(Collection)} - kept:
        if part.get_array() is None:
            part.set_facecolor([on_dark(colour) for colour in part.get_facecolor()])
            part.set_edgecolor([on_dark(colour) for colour in part.get_edgecolor()])
    for axes in figure.axes:
        axes.patch.set_alpha(0)


class Picture(SphinxDirective):
    has_content = True
    required_arguments = 1
    final_argument_whitespace = True
    option_spec = {  # noqa: RUF012  # as docutils declares it
        "caption": directives.unchanged,
        "code": directives.flag,
        "fills": directives.flag,
        "wide": directives.flag,
    }

    def run(self) -> list[nodes.Node]:
        code = "\n".join(self.content)
        classes = ["picture", "wide"] if "wide" in self.options else ["picture"]
        figure = nodes.figure("", classes=classes)
        for uri, shown in zip(self._draw(code), ("only-light", "only-dark"), strict=True):
            figure += nodes.image("", uri=uri, alt=self.arguments[0], classes=[shown])
        if caption := self.options.get("caption"):
            text, _ = self.parse_inline(caption)
            figure += nodes.caption(caption, "", *text)
        if "code" in self.options:
            return [figure, nodes.literal_block(code, code, language="python")]
        return [figure]

    def _draw(self, code: str) -> list[str]:
        """Run the code, save its figure for light and dark pages, and return both paths."""
        import matplotlib.pyplot as plt

        number = self.env.new_serialno("picture")
        name = re.sub(r"\W+", "-", self.env.docname)
        folder = Path(self.env.doctreedir) / "pictures"
        folder.mkdir(parents=True, exist_ok=True)
        light, dark = folder / f"{name}-{number}.svg", folder / f"{name}-{number}-dark.svg"
        with matplotlib.rc_context(STYLE), contextlib.chdir(ROOT):
            try:
                exec(compile(code, f"{self.env.docname}, picture {number}", "exec"), {})
                plt.savefig(light, metadata={"Date": None})
                darken(plt.gcf(), keeps_fills="fills" in self.options)
                plt.savefig(dark, facecolor="none", metadata={"Date": None})
            except Exception as error:
                raise self.error(f"the picture's code failed: {error!r}") from error
            finally:
                plt.close("all")
        return ["/" + os.path.relpath(path, self.env.srcdir) for path in (light, dark)]


def setup(app: Sphinx) -> ExtensionMetadata:
    app.add_directive("picture", Picture)
    return {"parallel_read_safe": True, "parallel_write_safe": True}
