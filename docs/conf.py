"""Settings of the documentation site; `./run docs` builds it."""

import re
import sys
import tomllib
from pathlib import Path

from docutils import nodes
from sphinx.application import Sphinx

sys.path.insert(0, str(Path(__file__).parent / "_extensions"))

with open(Path(__file__).parents[1] / "pyproject.toml", "rb") as _file:
    _project = tomllib.load(_file)["project"]

project = _project["name"]
release = version = _project["version"]
author = "the vekanalysis developers"
project_copyright = author

extensions = [
    "myst_parser",
    "sphinx.ext.viewcode",
    "sphinx_copybutton",
    "api",
    "mathml",
    "picture",
    "spectra",
]
source_suffix = {".md": "markdown"}
exclude_patterns = ["_*"]
nitpicky = True

myst_enable_extensions = ["colon_fence", "dollarmath"]
myst_heading_anchors = 3

html_math_renderer = "mathml"
html_theme = "furo"
html_favicon = "_static/favicon.svg"
html_title = f"vekanalysis {version}"
html_static_path = ["_static"]
html_css_files = ["site.css"]
# The package's modules are what its rooms re-export.
viewcode_follow_imported_members = True
html_show_sphinx = False
html_copy_source = False
pygments_style = "default"
pygments_dark_style = "github-dark"
copybutton_prompt_text = r">>> |\.\.\. |\$ "
copybutton_prompt_is_regexp = True

# What the tables of a page hold. Cells of prose are stacked on a phone, figures are not broken.
table_classes = {"benchmarks": "figures", "coming-from": "prose", "errors": "prose"}


def prepare_tables(app: Sphinx, document: nodes.document) -> None:
    """Let narrow columns break long names at their joints, and say what the tables hold."""
    for table in document.findall(nodes.table):
        if app.env.docname in table_classes:
            table["classes"].append(table_classes[app.env.docname])
        for literal in list(table.findall(nodes.literal)):
            first, *others = re.split(r"(?<=[._(])(?=[^)])", literal.astext())
            literal.children = []
            literal += nodes.Text(first)
            for part in others:
                literal += [nodes.raw("", "<wbr>", format="html"), nodes.Text(part)]


def setup(app: Sphinx) -> None:
    app.connect("doctree-read", prepare_tables)
