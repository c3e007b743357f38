"""Formulas as MathML: what a browser draws by itself, without scripts and without a network."""

from html import escape

from docutils import nodes
from docutils.utils.math import MathError
from docutils.utils.math.latex2mathml import tex2mathml
from sphinx.application import Sphinx
from sphinx.util import logging
from sphinx.util.typing import ExtensionMetadata
from sphinx.writers.html5 import HTML5Translator

logger = logging.getLogger(__name__)


def mathml(node: nodes.Element, formula: str, *, as_block: bool) -> str:
    try:
        return tex2mathml(formula, as_block=as_block)
    except MathError as error:
        logger.warning("formula %r: %s", formula, error, location=node, type="mathml")
        return escape(formula)


def inline(translator: HTML5Translator, node: nodes.math) -> None:
    translator.body.append(mathml(node, node.astext(), as_block=False))
    raise nodes.SkipNode


def block(translator: HTML5Translator, node: nodes.math_block) -> None:
    # Formulas side by side stand below each other where the page is too narrow for them.
    translator.body.append('<div class="math">')
    for formula in node.astext().split(r"\qquad"):
        translator.body.append(f"<div>{mathml(node, formula, as_block=True)}</div>")
    translator.body.append("</div>")
    raise nodes.SkipNode


def setup(app: Sphinx) -> ExtensionMetadata:
    app.add_html_math_renderer("mathml", (inline, None), (block, None))
    return {"parallel_read_safe": True, "parallel_write_safe": True}
