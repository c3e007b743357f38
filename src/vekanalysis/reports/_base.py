"""What all reports can do."""

import os
from abc import ABC, abstractmethod
from io import BytesIO
from typing import Any

from .._files import save
from ._layout import Json, json_text, one_line, showable


class Printable(ABC):
    """A report: text for people, a document for programs."""

    @abstractmethod
    def _lines(self, encoding: str) -> list[str]:
        """The lines of the text; they may hold anything that labels from files hold."""

    @abstractmethod
    def document(self) -> dict[str, Json]:
        """The report as plain Python objects: dicts, lists, strings, numbers, None."""

    def lines(self, encoding: str = "utf-8") -> list[str]:
        """The lines of the text, without characters that control a terminal.

        Those that head a table are of a subclass of str, so that they can be set in bold. What
        ``encoding`` cannot show is written in plainer characters.
        """
        return [one_line(line) for line in self._lines(encoding)]

    def text(self, encoding: str = "utf-8") -> str:
        """The report as text of 80 columns and 17 for each spectrum but the first."""
        return showable("\n".join(self.lines(encoding)) + "\n", encoding)

    def json(self, *, indent: int = 2, ascii_only: bool = False) -> str:
        """The document as JSON; numbers that are not finite become null."""
        return json_text(self.document(), indent=indent, ascii_only=ascii_only)

    def __str__(self) -> str:
        return self.text()


class Drawable(Printable):
    """A report that can be drawn, with Matplotlib."""

    @abstractmethod
    def figure(self) -> Any:
        """A Matplotlib figure of it; ImportError where Matplotlib is not installed."""

    def draw(self, path: str | os.PathLike[str]) -> None:
        """Write the figure to a file, whose name says the format; raises as Matplotlib does.

        The file appears whole or not at all.
        """
        path = os.fspath(path)
        ending = os.path.splitext(path)[1][1:]
        picture = BytesIO()
        self.figure().savefig(picture, dpi=150, format=ending or None)
        save(path, picture.getvalue())
