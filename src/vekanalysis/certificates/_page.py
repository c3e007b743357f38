"""Pages of templates: one file each, without scripts and without anything from elsewhere."""

import base64
import hashlib
from collections.abc import Mapping
from functools import lru_cache
from pathlib import Path
from typing import Any, Final

from ..errors import Refusal
from ._words import safe

FOLDER: Final = Path(__file__).parent / "templates"
NAMES: Final = ("page.html", "page.css")


def template_files(folder: Path | None) -> dict[str, Path]:
    """The files of which a page is made; those of the folder go before the package's."""
    return {
        name: folder / name if folder and (folder / name).is_file() else FOLDER / name
        for name in NAMES
    }


def render(folder: Path | None, view: Mapping[str, Any]) -> str:
    """A page.

    Parameters
    ----------
    folder : Path or None
        With templates of the laboratory.
    view : mapping
        What the templates show.

    Raises
    ------
    Refusal
        If a template is wrong, with its file and line.
    OSError
        If a template cannot be read.
    """
    import jinja2
    from markupsafe import Markup

    files = template_files(folder)
    style = "\n" + files["page.css"].read_text("utf-8").replace("</", "<\\/")
    digest = base64.b64encode(hashlib.sha256(style.encode()).digest()).decode()
    policy = (
        f"default-src 'none'; style-src 'sha256-{digest}'; img-src data:; "
        "base-uri 'none'; form-action 'none'"
    )
    try:
        template = _environment(folder).get_template("page.html")
        page: str = template.render(view, style=Markup(style), policy=policy)
    except jinja2.TemplateError as error:
        raise Refusal(_described(error, files["page.html"])) from None
    except Refusal:
        raise
    except (ArithmeticError, LookupError, TypeError, ValueError, AttributeError) as error:
        raise Refusal(f"{files['page.html']}: {type(error).__name__}: {error}") from None
    return page


@lru_cache(maxsize=4)
def _environment(folder: Path | None) -> Any:
    """Templates as they stand now: calls in them can do nothing but show."""
    import jinja2
    from jinja2.sandbox import ImmutableSandboxedEnvironment

    folders = [folder, FOLDER] if folder else [FOLDER]
    return ImmutableSandboxedEnvironment(
        loader=jinja2.FileSystemLoader(folders),
        autoescape=True,
        undefined=jinja2.StrictUndefined,
        trim_blocks=True,
        lstrip_blocks=True,
        finalize=lambda value: safe(value) if type(value) is str else value,
    )


def _described(error: Any, file: Path) -> str:
    line = getattr(error, "lineno", None)
    if line is None:
        # What went wrong while it was shown has the line in its trace.
        trace = error.__traceback__
        while trace is not None:
            if trace.tb_frame.f_code.co_filename.endswith("page.html"):
                line = trace.tb_lineno
            trace = trace.tb_next
    where = f"{file}: line {line}" if line else f"{file}"
    return f"{where}: no template: {error}"
