"""Notes of the library on certificates in another language than English."""

import re
import string
from collections.abc import Mapping
from pathlib import Path

import pytest
from cli import Runner, flat, rows, write_csv, write_vek

import vekanalysis as vek
from vekanalysis.certificates import Certificate, Settings
from vekanalysis.certificates._notes import Notes
from vekanalysis.certificates._words import catalogue

GERMAN = Settings(name="Labor", language="de", decimal=",")
KEPT = "liegen nur auf Englisch vor"


def note(english: str) -> str | None:
    return Notes(catalogue("de"), lambda text: text.replace(".", ","))(english)


LONG = [
    (f"mean of 2 scans: {'x' * 19_983}", f"Mittel aus 2 Messungen: {'x' * 19_983}"),
    (f"mean of 2 scans: {'x' * 19_984}", None),
]


@pytest.mark.parametrize(("english", "german"), [*rows("notes-de.jsonl", "certificates"), *LONG])
def test_a_note_is_put_together_in_the_language(english: str, german: str | None) -> None:
    assert note(english) == german


def test_no_note_takes_long() -> None:
    for text in ("column 1 '", "in %, ", "1", "a in ", "converted from a in ", "brought to 1-"):
        assert note(text * (19_000 // len(text))) is None


def places(text: str) -> set[str]:
    return {name for _, name, _, _ in string.Formatter().parse(text) if name}


def test_texts_have_the_places_of_the_english_ones() -> None:
    words: Mapping[str, Mapping[str, str]] = catalogue("de")
    for table in ("notes", "parts"):
        assert words[table]
        for english, german in words[table].items():
            assert places(german) == places(english)


def test_what_the_readers_usually_say_is_german(run: Runner, tmp_path: Path) -> None:
    rows = "".join(f"{wl};{30 + wl % 7}\n" for wl in range(380, 785, 3))
    (tmp_path / "percent.csv").write_text("a line of words\nnm;T (%)\n" + rows)
    (tmp_path / "od.csv").write_text("nm;A (OD)\n" + rows.replace(";3", ";0.3"))
    write_csv(tmp_path / "plain.csv", flat(0.5))
    write_csv(tmp_path / "twice.csv", [*flat(0.5), (780.0, 0.4)])
    write_vek(tmp_path / "a.vek", [("x", [*flat(0.5), (float("nan"), 1.0)])])
    (tmp_path / "de.toml").write_text('[laboratory]\nname = "x"\n[page]\nlanguage = "de"\n')
    files = sorted(tmp_path.glob("[!d]*"))
    out = ("--settings", tmp_path / "de.toml", "--out", f"{tmp_path}/out/", "--grid", "5")
    assert run("certificate", *out, *files).status == 0
    pages = [path.read_text() for path in (tmp_path / "out").iterdir()]
    assert len(pages) == len(files) == 5
    english = [line for page in pages for line in page.splitlines() if 'lang="en"' in line]
    assert english == []
    text = "\n".join(pages)
    for words in ("durch 100 geteilt", "umgerechnet: ", "davon interpoliert", "gelten als Anteile"):
        assert words in text
    assert KEPT not in text


def test_what_has_no_german_words_stays_and_is_said() -> None:
    lens = vek.Spectrum(
        vek.Scan(flat(0.5)), "transmittance", "1", "x", notes=("left out: <x>", "in %")
    )
    page = Certificate(lens, settings=GERMAN).html()
    assert '<p class="small" lang="en">left out: &lt;x&gt;</p>' in page
    assert page.count('lang="en"') == 1
    assert KEPT in page
    english = Certificate(lens, settings=Settings(name="Laboratory")).html()
    assert re.findall('lang="[a-z]+"', english) == ['lang="en"']
    assert "in English" not in english
