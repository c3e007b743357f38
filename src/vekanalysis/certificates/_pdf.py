"""Pages on paper."""

from typing import Any

from .._optional import require


def pdf(html: str) -> bytes:
    """A page as PDF, by WeasyPrint; nothing is fetched for it.

    Parameters
    ----------
    html : str
        Of `Certificate.html`.

    Returns
    -------
    bytes

    Raises
    ------
    ImportError
        If WeasyPrint is not installed; the text says how to get it.
    """
    try:
        weasyprint = require("weasyprint", "a PDF", "pdf")
    except OSError as error:  # it loads Pango
        raise ImportError(f"a PDF needs weasyprint, which cannot be loaded: {error}") from None

    def only_data(url: str, *arguments: Any, **options: Any) -> Any:
        if not url.startswith("data:"):
            raise ValueError(f"{url} is not part of the page")
        return weasyprint.default_url_fetcher(url, *arguments, **options)

    content: bytes = weasyprint.HTML(string=html, url_fetcher=only_data).write_pdf()
    return content
