"""The directive ``api``: reference of a module, a class or a function, from its docstrings.

    ```{api} vekanalysis.utils
    ```

writes everything public in the module, ``{api} vekanalysis.Scan`` one class with its members,
``{api} vekanalysis.io.load_csv`` one function. ``:only: name name`` takes just these names of the
module or the class, ``:except: name name`` leaves some out.

Signatures come from the stubs, or the source where there are none. A function with several
signatures gets an entry for each. A public name that no page describes is a warning.
"""

import ast
import functools
import importlib
import inspect
import re
import sys
from collections.abc import Iterator
from pathlib import Path
from types import ModuleType

from docutils import nodes
from docutils.parsers.rst import directives
from sphinx.addnodes import pending_xref
from sphinx.application import Sphinx
from sphinx.environment import BuildEnvironment
from sphinx.ext.napoleon import Config, NumpyDocstring
from sphinx.util import logging
from sphinx.util.docutils import SphinxDirective
from sphinx.util.typing import ExtensionMetadata

logger = logging.getLogger(__name__)

PACKAGE = "vekanalysis"
NAPOLEON = Config(napoleon_use_rtype=False)
# What the stubs call an argument's type, and what a reader calls it.
READABLE = {
    "_Float": "float",
    "_FloatList": "array_like",
    "_Path": "str | PathLike",
    "_Bytes": "bytes | array_like",
    "NDArray[Any]": "numpy.ndarray",
    "NDArray[np.float64]": "numpy.ndarray",
    "SupportsInt | SupportsIndex": "int",
}
# Special methods that say nothing a user of the class does not know.
PLAIN = {"__init__", "__repr__", "__str__", "__eq__", "__ne__", "__hash__", "__reduce__"}


@functools.cache
def definitions(module_name: str) -> dict[str, list[ast.AST]]:
    """Classes, functions and attributes of a module by dotted name: its stub, else its source."""
    module = sys.modules[module_name]
    package = Path(sys.modules[PACKAGE].__file__).parent
    stem = package.joinpath(*module_name.split(".")[1:])
    candidates = [stem.with_suffix(".pyi"), stem / "__init__.pyi"]
    path = next((path for path in candidates if path.is_file()), None)
    tree = ast.parse((path or Path(inspect.getsourcefile(module))).read_text())
    found: dict[str, list[ast.AST]] = {}

    def walk(body: list[ast.stmt], prefix: str) -> None:
        for node in body:
            if isinstance(node, ast.ClassDef | ast.FunctionDef):
                found.setdefault(prefix + node.name, []).append(node)
            elif isinstance(node, ast.AnnAssign):
                found.setdefault(prefix + ast.unparse(node.target), []).append(node)
            if isinstance(node, ast.ClassDef):
                walk(node.body, f"{prefix}{node.name}.")

    walk(tree.body, "")
    return found


def readable(annotation: ast.expr | None) -> str:
    if annotation is None:
        return ""
    text = ast.unparse(annotation)
    for name, words in READABLE.items():
        text = re.sub(rf"(?<!\w){re.escape(name)}(?!\w)", words, text)
    return text


def signature(node: ast.FunctionDef) -> str:
    """The arguments and the result as a reader wants them, without ``self``."""
    arguments = node.args
    for argument in (*arguments.posonlyargs, *arguments.args, *arguments.kwonlyargs):
        if argument.annotation:
            argument.annotation = ast.parse(readable(argument.annotation), mode="eval").body
    shown = [argument for argument in arguments.args if argument.arg != "self"]
    text = ast.unparse(
        ast.arguments(
            arguments.posonlyargs, shown, arguments.vararg, arguments.kwonlyargs,
            arguments.kw_defaults, arguments.kwarg, arguments.defaults,
        )
    )  # fmt: skip
    result = readable(node.returns)
    return f"({text})" + (f" -> {result}" if result and node.name != "__init__" else "")


def texts(thing: object, name: str) -> list[str]:
    """The docstring, without the signatures of the binding layer: a text an overload."""
    doc = inspect.cleandoc(thing.__doc__ or "")
    first = re.compile(rf"{re.escape(name)}\(.*\)( -> .*)?(\n|$)")
    if not first.match(doc):
        return [doc]
    body = doc.partition("\n")[2].strip("\n")
    if body.startswith("Overloaded function."):
        parts = re.split(rf"^\d+\. `*{re.escape(name)}\(.*\)(?: -> .*)?$", body, flags=re.MULTILINE)
        return [inspect.cleandoc(part) for part in parts[1:]]
    return [inspect.cleandoc(body)]


def paragraphs(doc: str) -> list[str]:
    """The docstring as reStructuredText; the source that it ends with stands on its own."""
    text, source = doc, ""
    if found := re.search(r"^(?:@see|:see:|See) (.*?)\.?\s*\Z", doc, re.MULTILINE | re.DOTALL):
        text, source = doc[: found.start()], f"Source: {found[1]}."
    return [*str(NumpyDocstring(text, NAPOLEON)).splitlines(), "", *source.splitlines()]


def entry(kind: str, heading: str, body: list[str], *options: str) -> list[str]:
    return [
        f".. py:{kind}:: {heading}",
        *(f"   {option}" for option in options),
        "",
        *(f"   {line}" for line in body),
        "",
    ]


def functions(kind: str, name: str, thing: object, forms: list[ast.AST]) -> list[str]:
    docs = texts(thing, name.rpartition(".")[2])
    if len(docs) != len(forms):
        # One form stands for several: its text is the first one's, with what the others do.
        heads = [doc.partition("\n\nParameters\n")[0] for doc in docs]
        docs = ["\n\n".join(heads) + docs[0][len(heads[0]) :], *[""] * (len(forms) - 1)]
    lines: list[str] = []
    for number, (node, doc) in enumerate(zip(forms, docs, strict=True)):
        options = [":no-index:"] if number else []
        lines += entry(kind, name + signature(node), paragraphs(doc), *options)
    return lines


def is_enumeration(cls: type) -> bool:
    """Whether the class is one of the binding layer's enumerations."""
    return hasattr(cls, "__members__")


def members(cls: type, stub: dict[str, list[ast.AST]]) -> Iterator[tuple[str, list[str]]]:
    """Name and lines of every member worth an entry, in the order of the stub."""
    if is_enumeration(cls):
        for name, value in cls.__members__.items():
            doc = re.search(rf"^\s*{name} : (.*)", cls.__doc__ or "", re.MULTILINE)
            body = [doc[1]] if doc else []
            yield name, entry("attribute", name, body, f":value: {int(value)}")
        return
    for dotted, forms in stub.items():
        owner, _, name = dotted.rpartition(".")
        if owner != cls.__name__ or name in PLAIN or re.match(r"_[^_]|__[gs]etstate", name):
            continue
        thing = getattr(cls, name, None)  # a field of a dataclass is none
        if isinstance(thing, property):
            body = paragraphs("\n\n".join(texts(thing, name)))
            form = forms[0]
            kind = form.returns if isinstance(form, ast.FunctionDef) else form.annotation
            yield name, entry("property", name, body, f":type: {readable(kind)}")
        elif isinstance(forms[0], ast.FunctionDef):
            yield name, functions("method", name, thing, forms)


def describe(name: str, thing: object, chosen: set[str], left_out: set[str]) -> list[str]:
    stub = definitions(thing.__module__)
    if not isinstance(thing, type):
        return functions("function", name, thing, stub[thing.__name__])
    body = paragraphs(re.sub(r"\n*Members:\n.*", "", thing.__doc__ or "", flags=re.DOTALL))
    if not is_enumeration(thing):
        constructors = stub.get(f"{thing.__name__}.__init__", [])
        for node, doc in zip(constructors, texts(thing.__init__, "__init__"), strict=False):
            body += ["", *entry("method", name + signature(node), paragraphs(doc), ":no-index:")]
    for member, lines in members(thing, stub):
        if (not chosen or member in chosen) and member not in left_out:
            body += ["", *lines]
    return entry("class", name, body)


def public(module: ModuleType) -> list[str]:
    return [
        name
        for name in getattr(module, "__all__", sorted(vars(module)))
        if not name.startswith("_")
        and callable(getattr(module, name))
        and getattr(module, name).__module__.startswith(PACKAGE)
    ]


class Api(SphinxDirective):
    required_arguments = 1
    option_spec = {"only": directives.unchanged, "except": directives.unchanged}  # noqa: RUF012

    def run(self) -> list[nodes.Node]:
        chosen, left_out = (set(self.options.get(key, "").split()) for key in ("only", "except"))
        path = self.arguments[0]
        try:
            lines = self._lines(path, chosen, left_out)
        except (ImportError, AttributeError, KeyError) as error:
            raise self.error(f"api: {path}: {error!r}") from error
        # The docstrings are reStructuredText, the pages are not.
        fence = "`" * 8
        return self.parse_text_to_nodes("\n".join([fence + "{eval-rst}", *lines, fence]))

    def _lines(self, path: str, chosen: set[str], left_out: set[str]) -> list[str]:
        try:
            module = importlib.import_module(path)
        except ImportError:
            parent, _, name = path.rpartition(".")
            thing = getattr(importlib.import_module(parent), name)
            return [f".. py:currentmodule:: {parent}", "", *describe(name, thing, chosen, left_out)]
        lines = [f".. py:currentmodule:: {path}", ""]
        for name in public(module):
            if (not chosen or name in chosen) and name not in left_out:
                lines += describe(name, getattr(module, name), set(), set())
        return lines


def resolve(
    app: Sphinx, env: BuildEnvironment, node: pending_xref, content: nodes.Element
) -> nodes.Node | None:
    """Link a type to the one thing of that name; types of others stay plain text."""
    if node.get("refdomain") != "py":
        return None
    target = node["reftarget"]
    domain = env.domains.python_domain
    names = [name for name in domain.objects if name.rpartition(".")[2] == target]
    if len(names) == 1:
        name = node["reftarget"] = names[0]
        return domain.resolve_xref(env, node["refdoc"], app.builder, "obj", name, node, content)
    is_type = node["reftype"] in ("class", "exc")
    return content if is_type and not target.startswith(PACKAGE) else None


def parts(cls: type) -> Iterator[str]:
    """The public members that are documented apart: fields of plain records stand in its text."""
    for name, member in vars(cls).items():
        if name[0] != "_" and (callable(member) or isinstance(member, property | classmethod)):
            yield name


def is_room(thing: object) -> bool:
    return isinstance(thing, ModuleType) and thing.__name__.startswith(PACKAGE)


def everything() -> Iterator[str]:
    """Dotted names of all that is public: what the package names, and the room of batches."""
    package = importlib.import_module(PACKAGE)
    named = {name: getattr(package, name) for name in package.__all__}
    todo = [(PACKAGE, package), (f"{PACKAGE}.batch", importlib.import_module(f"{PACKAGE}.batch"))]
    todo += [(f"{PACKAGE}.{name}", thing) for name, thing in named.items() if is_room(thing)]
    while todo:
        path, module = todo.pop()
        for name in public(module):
            thing = getattr(module, name)
            if path == PACKAGE and thing.__module__ == f"{PACKAGE}.errors":
                continue  # documented in its own room
            yield f"{path}.{name}"
            if isinstance(thing, type) and not is_enumeration(thing):
                yield from (f"{path}.{name}.{part}" for part in parts(thing))
        todo += [
            (f"{path}.{name}", member)
            for name, member in vars(module).items()
            if path != PACKAGE and is_room(member) and not name.startswith("_")
        ]


def check_completeness(app: Sphinx, env: BuildEnvironment) -> None:
    for name in sorted(set(everything()) - set(env.domains.python_domain.objects)):
        logger.warning("no page has the reference of %s", name, type="api")


def setup(app: Sphinx) -> ExtensionMetadata:
    app.add_directive("api", Api)
    app.connect("missing-reference", resolve)
    app.connect("env-check-consistency", check_completeness)
    return {"parallel_read_safe": True, "parallel_write_safe": True}
