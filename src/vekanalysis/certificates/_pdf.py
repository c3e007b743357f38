"""Pages on paper."""

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

    fetcher = weasyprint.urls.URLFetcher(allowed_protocols=("data",))
    content: bytes = weasyprint.HTML(string=html, url_fetcher=fetcher).write_pdf()
    return content
