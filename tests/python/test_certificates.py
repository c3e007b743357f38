"""Certificates: settings, the page, the commands that write it."""

import base64
import hashlib
import re
import struct
import tomllib
from dataclasses import replace
from datetime import date
from html.parser import HTMLParser
from pathlib import Path
from types import SimpleNamespace
from typing import Any

import pytest
from cli import GREY, ROOT, Runner, flat, mistakes, write_csv, write_vek

import vekanalysis as vek
from vekanalysis.certificates import (
    Certificate,
    Decision,
    Field,
    Limits,
    Logo,
    Settings,
    _certificate,
    _pdf,
    _picture,
)
from vekanalysis.certificates._words import Words, safe, symbol
from vekanalysis.quantities import LENS, LENS_FULL, OwnTable, Value, quantity
from vekanalysis.uncertainty import Budget, Component, of_points

EXAMPLES = ROOT / "examples"
TAU_V = "ISO8980_3_tau_v"
PNG = b"\x89PNG\r\n\x1a\n" + bytes(20)


class Page(HTMLParser):
    """What a browser would make of a page: tags that do not match are told."""

    def __init__(self, text: str) -> None:
        super().__init__()
        self.open: list[str] = []
        self.tags: list[tuple[str, dict[str, str | None]]] = []
        self.words: list[str] = []
        self.feed(text)
        self.close()
        assert self.open == []

    def handle_starttag(self, tag: str, attrs: list[tuple[str, str | None]]) -> None:
        self.tags.append((tag, dict(attrs)))
        if tag not in ("meta", "img", "br"):
            self.open.append(tag)

    def handle_endtag(self, tag: str) -> None:
        assert self.open.pop() == tag
        self.words.append(" " * (tag in ("dt", "dd", "td", "th")))

    def handle_startendtag(self, tag: str, attrs: list[tuple[str, str | None]]) -> None:
        self.tags.append((tag, dict(attrs)))

    def handle_data(self, data: str) -> None:
        if "style" not in self.open:
            self.words.append(data)

    @property
    def text(self) -> str:
        return " ".join("".join(self.words).split())


def example(**changes: Any) -> Certificate:
    (spectrum,) = vek.read(GREY)
    given: dict[str, Any] = {
        "settings": Settings.read(EXAMPLES / "lab.toml"),
        "budget": Budget.read(EXAMPLES / "budget.toml"),
        "limits": Limits.read(EXAMPLES / "limits-categories.toml"),
        "purposes": ["driving"],
        "fields": {"number": "7", "issued": "2026-03-01"},
    }
    return Certificate(spectrum, **given | changes)


def settings(path: Path, text: str) -> Settings:
    (path / "lab.toml").write_text('[laboratory]\nname = "Lab"\n' + text)
    return Settings.read(path / "lab.toml")


def test_the_page_needs_nothing_from_elsewhere_and_runs_nothing() -> None:
    text = example().html()
    page = Page(text)
    for name in ("grey-glass-4mm.csv", "lab.toml", "budget.toml", "limits-categories.toml"):
        assert sha256((EXAMPLES / name).read_bytes()) in page.text
    assert text.startswith("<!DOCTYPE html>")
    assert not {"script", "link", "iframe", "object", "form"} & {tag for tag, _ in page.tags}
    names = {name for _, attributes in page.tags for name in attributes}
    assert not {"style", "href", "src", "onload"} & names
    (policy,) = re.findall(r'Security-Policy" content="([^"]*)"', text)
    (style,) = re.findall(r"<style>(.*?)</style>", text, re.DOTALL)
    digest = base64.b64encode(hashlib.sha256(style.encode()).digest()).decode()
    allowed = policy.replace("&#39;", "'").split("; ")
    assert allowed[:2] == ["default-src 'none'", f"style-src 'sha256-{digest}'"]
    assert "@import" not in style
    assert "url(" not in style


def test_what_others_wrote_is_shown_and_never_run() -> None:
    (spectrum,) = vek.read(GREY)
    evil = "<script>alert(1)</script>\x1b[31m"
    page = Page(Certificate(spectrum.replace(label=evil), fields={"object": evil}).html())
    assert page.text.count("<script>alert(1)</script>?[31m") == 3
    assert "script" not in {tag for tag, _ in page.tags}


def test_german_has_all_words() -> None:
    folder = ROOT / "src/vekanalysis/certificates/languages"
    words = {each: tomllib.loads((folder / f"{each}.toml").read_text()) for each in ("en", "de")}
    assert words["en"]["words"].keys() == words["de"]["words"].keys()
    for key, english in words["en"]["words"].items():
        german = words["de"]["words"][key]
        assert sorted(re.findall("{.*?}", english)) == sorted(re.findall("{.*?}", german)), key
    assert {quantity.name for quantity in LENS_FULL} == words["de"]["names"].keys()
    notes = {note for quantity in LENS_FULL for note in quantity.notes}
    assert notes <= words["de"]["sentences"].keys()


Y, A_STAR = "CIE_tristimulus_values.Y", "CIELAB_tristimulus_values.a_star"
Q_RED = "ISO8980_3_Q_led.red"


@pytest.mark.parametrize(
    ("key", "number", "plain", "percent"),
    [
        (TAU_V, 0.123456, "0.1235|0.123456|0.12", "12,35 %|12,3456 %|12 %"),
        (TAU_V, 0.00125, "0.0013|0.00125|0.0013", "0,13 %|0,125 %|0,13 %"),
        (TAU_V, -4e-05, "0.0000|-0.00004|-0.000040", "0,00 %|-0,004 %|-0,0040 %"),
        (TAU_V, 1.00005, "1.0001|1.00005|1.0", "100,01 %|100,005 %|100 %"),
        (Q_RED, 10.5, "10.5000|10.5|10", "10,5000|10,5|10"),
        (Y, 5807.3412, "5807.34 nm|5807.34 nm|5800 nm", "5807,34 nm|5807,34 nm|5800 nm"),
        (Y, 0.99996, "1.0000 nm|0.99996 nm|1.0 nm", "1,0000 nm|0,99996 nm|1,0 nm"),
        (Y, 1.0, "1.00000 nm|1 nm|1.0 nm", "1,00000 nm|1 nm|1,0 nm"),
        (Y, 123456.7, "123457 nm|123457 nm|120000 nm", "123457 nm|123457 nm|120000 nm"),
        (A_STAR, -79.0159, "-79.0159|-79.0159|-79", "-79,0159|-79,0159|-79"),
    ],
)
def test_figures_limits_and_guard_bands_have_their_digits(
    key: str, number: float, plain: str, percent: str
) -> None:
    record = quantity(key)
    for words, expected in (
        (Words(Settings()), plain),
        (Words(Settings(language="de", decimal=",", percent=True)), percent),
    ):
        shown = [each(record, number) for each in (words.value, words.limit, words.guard)]
        told = "|".join(shown).replace("\N{MINUS SIGN}", "-").replace("\N{NO-BREAK SPACE}", " ")
        assert told == expected
        figure = words.figure(record, Value(value=number), None)
        assert figure == (shown[0].partition("\N{NO-BREAK SPACE}")[0], "")


@pytest.mark.parametrize(
    ("share", "said"),
    [
        (1.0, "> 99,9 %"),
        (0.9990001, "> 99,9 %"),
        (0.999, "99,9 %"),
        (0.12345, "12,3 %"),
        (0.001, "0,1 %"),
        (0.00099, "< 0,1 %"),
    ],
)
def test_no_probability_is_certain(share: float, said: str) -> None:
    words = Words(Settings(decimal=","))
    assert words.probability(share).replace("\N{NO-BREAK SPACE}", " ") == said


def test_reasons_are_translated_with_their_numbers() -> None:
    words = Words(Settings(language="de", decimal=","))
    data = "Keine Daten innerhalb von 1\N{EN DASH}2,5 nm."
    assert words.translated("No data within 1-2.5 nm") == data
    assert words.translated(f"{TAU_V}: No data within 1-2.5 nm") == f"{TAU_V}: {data}"
    assert words.translated("no uncertainty is stated") == "eine Unsicherheit ist nicht angegeben"
    assert words.kept == set()
    assert words.translated("x: y") == "x: y"
    assert words.kept == {"y"}
    assert words.interval((315.0, 380.5)) == "315\N{EN DASH}380,5"
    english = Words(Settings())
    assert (english.translated("x"), english.note("y"), english.kept) == ("x", "y", set())
    assert [symbol(each) for each in ("L*", "\N{GREEK SMALL LETTER TAU}_V", "a_b*", "x")] == [
        *(("L", "", "*"), ("\N{GREEK SMALL LETTER TAU}", "V", ""), ("a", "b", "*"), ("x", "", ""))
    ]
    assert safe("a\N{NO-BREAK SPACE}b\nc\x1b") == "a\N{NO-BREAK SPACE}b?c?"


def test_fields_come_from_the_header_unless_they_are_stated(tmp_path: Path) -> None:
    own = settings(
        tmp_path,
        '[fields]\nobject = { header = "Sample", ask = true }\n'
        'operator = { header = "nobody", value = "N. N." }\nmethod = "ours"',
    )
    (spectrum,) = vek.read(GREY)
    with pytest.raises(vek.Refusal, match="the field 'object' is to be stated"):
        Certificate(spectrum, settings=own)
    stated = spectrum.replace(metadata={"sample": "Lens 7"})
    fields = Certificate(stated, settings=own, fields={"issued": "today"}).fields
    expected = {"object": "Lens 7", "operator": "N. N.", "issued": "today", "method": "ours"}
    assert fields == expected
    given = {"object": "Lens 8", "method": ""}
    expected = {"object": "Lens 8", "operator": "N. N.", "issued": date.today().isoformat()}
    assert Certificate(stated, settings=own, fields=given).fields == expected
    given |= {"conditions": "", "number": "1"}
    assert Certificate(stated, fields=given).fields == {"number": "1", "object": "Lens 8"}
    with pytest.raises(vek.Refusal, match="no field 'objekt'; did you mean 'object'"):
        Certificate(stated, settings=own, fields={"objekt": "x"})


LED = "ISO8980_3_led_red"


@pytest.mark.parametrize(("text", "told"), mistakes("settings.txt"))
def test_a_mistake_is_told_with_its_line(tmp_path: Path, text: str, told: str) -> None:
    (tmp_path / "text.png").write_text("no picture")
    (tmp_path / "large.png").write_bytes(PNG + bytes((1 << 20) - len(PNG) + 1))
    (tmp_path / "lab.toml").write_text(text)
    with pytest.raises(vek.Refusal) as refusal:
        Settings.read(tmp_path / "lab.toml")
    assert str(refusal.value) == f"{tmp_path / 'lab.toml'}: {told.format(f'{tmp_path}/')}"


@pytest.mark.parametrize(
    ("start", "kind"),
    [(PNG[:8], "png"), (b"\xff\xd8\xff", "jpeg"), (b"GIF87a", "gif"), (b"GIF89a", "gif")],
)
def test_settings_have_all_that_is_in_the_file(tmp_path: Path, start: bytes, kind: str) -> None:
    picture = start + bytes((1 << 20) - len(start))
    (tmp_path / "logo").write_bytes(picture)
    (tmp_path / "own").mkdir()
    text = f"""address = "a\\nb"
logo = "logo"
[page]
title = "T"
language = "de"
figures = "per cent"
decimals = 12
quantities = ["{TAU_V}"]
templates = "own"
[fields]
method = "M"
object = {{ value = "V", header = "H", ask = true }}
"""
    found = settings(tmp_path, text)
    assert found == Settings(
        name="Lab",
        address=("a", "b"),
        logo=Logo(f"image/{kind}", picture),
        logo_name="logo",
        title="T",
        language="de",
        decimal=",",
        percent=True,
        decimals=12,
        quantities=(TAU_V,),
        templates=tmp_path / "own",
        templates_name="own",
        fields={"method": Field("M"), "object": Field("V", "H", True)},
        file=str(tmp_path / "lab.toml"),
        sha256=hashlib.sha256((tmp_path / "lab.toml").read_bytes()).hexdigest(),
    )
    plain = settings(tmp_path, '[page]\nlanguage = "en"\nfigures = "fractions"\ndecimals = 0')
    assert (plain.decimal, plain.percent, plain.decimals) == (".", False, 0)
    assert settings(tmp_path, '[page]\nlanguage = "de"\ndecimal = "."').decimal == "."
    keys = tuple(quantity.key for quantity in LENS)
    assert settings(tmp_path, "") == Settings(
        name="Lab", quantities=keys, file=plain.file, sha256=settings(tmp_path, "").sha256
    )


def test_logo_and_templates_of_the_laboratory_are_taken(tmp_path: Path) -> None:
    (tmp_path / "logo.png").write_bytes(PNG)
    (tmp_path / "own").mkdir()
    template = tmp_path / "own/page.html"
    template.write_text("{{ laboratory.name }} {{ sheets[0].label }} {{ laboratory.logo }}")
    own = settings(tmp_path, 'logo = "logo.png"\n[page]\ntemplates = "own"')
    data = base64.b64encode(PNG).decode()
    assert example(settings=own).html() == f"Lab grey-glass-4mm data:image/png;base64,{data}"
    for text, words in (
        ("\n{% if %}", "line 2: no template"),
        ("\n\n{{ nobody }}", "line 3: no template: 'nobody' is undefined"),
        ("{{ 1 // 0 }}", "page.html: ZeroDivisionError: "),
        ("{{ ''.__class__.__mro__ }}", "line 1: no template: access to attribute '__class__'"),
    ):
        (tmp_path / "own/page.html").write_text(text)
        with pytest.raises(vek.Refusal) as refusal:
            example(settings=own).html()
        assert str(refusal.value).startswith(str(template))
        assert words in str(refusal.value)


def sha256(content: bytes) -> str:
    return hashlib.sha256(content).hexdigest()


def test_a_document_has_all_that_was_computed(tmp_path: Path) -> None:
    (tmp_path / "logo.png").write_bytes(PNG)
    (tmp_path / "own").mkdir()
    (tmp_path / "own/page.css").write_text("p {}")
    keys = f'quantities = ["{TAU_V}", "{Q_RED}"]\ntemplates = "own"'
    own = settings(tmp_path, f'logo = "logo.png"\n[page]\n{keys}')
    scan = vek.Scan(range(550, 690, 5), [1.0] * 28)
    first = Certificate(*vek.read(GREY), settings=own, tables=[OwnTable(LED, scan)])
    assert [table.name for table in first.tables] == [LED]
    package = ROOT / "src/vekanalysis/certificates/templates"
    d65 = vek.colorimetry.data.cie_illuminant_d65()
    assert [tuple(each.values()) for each in first.digests()][:6] == [
        ("input", GREY, sha256(Path(GREY).read_bytes())),
        ("settings", own.file, own.sha256),
        ("logo", "logo.png", sha256(PNG)),
        ("template", "page.html", sha256((package / "page.html").read_bytes())),
        ("template", "own/page.css", sha256(b"p {}")),
        ("table", f"{LED}: ", sha256(packed(scan))),
    ]
    assert first.digests()[-1] == {
        **{"role": "table", "name": "cie_illuminant_d65", "sha256": sha256(packed(d65))}
    }
    assert (first.document()["conformity"], first.document()["grid_nm"]) == (None, None)
    made = example(grid=10.0)
    document = made.document()
    assert list(document) == ["report", "fields", "purposes", "grid_nm", "conformity", "digests"]
    assert (document["purposes"], document["grid_nm"]) == (["driving"], 10.0)
    assert document["fields"] == dict(made.fields)
    assert document["report"]["budget"]["label"] == "Bench 1, March 2026"
    nothing = Certificate(made.spectrum, budget=Budget())
    assert (nothing.budget, nothing.results, nothing.scans) == (None, None, (nothing.spectrum,))
    assert "No uncertainty is stated." in nothing.html()
    shown = [Certificate(made.spectrum, full=full).quantities for full in (False, True)]
    assert shown == [[*LENS], [*LENS_FULL]]


def packed(scan: vek.Scan) -> bytes:
    numbers = [*scan.wavelengths(), *scan.values()]
    return struct.pack(f"<{len(numbers)}d", *numbers)


def test_the_coverage_of_the_decision_counts_for_it(tmp_path: Path) -> None:
    (tmp_path / "l.toml").write_text(
        f'[decision]\nrule = "guard-band"\ncoverage = 0.99\n'
        f'[[requirement]]\nname = "a"\nquantity = "{TAU_V}"\nabove = 0.1\n'
    )
    made = example(limits=Limits.read(tmp_path / "l.toml"), purposes=[])
    assert made.conformity is not None
    assert made.results is not None
    (statement,) = made.conformity.statements
    assert statement.k == pytest.approx(2.576, abs=1e-3)
    assert made.results[TAU_V].k == pytest.approx(1.96, abs=1e-3)
    assert statement.checks[0].guard == pytest.approx(2.576 * statement.u, rel=1e-3)


def test_points_have_the_uncertainty_of_their_components() -> None:
    spectrum = vek.Spectrum(vek.Scan(range(380, 781, 10), [i / 50 for i in range(41)]))
    budget = Budget(
        components=[
            Component(name="g", kind="gain", standard=0.03),
            Component(name="o", kind="offset", standard=0.004),
            Component(name="n", kind="noise", standard=0.005, correlation={"length": 20}),
            Component(name="i", kind="noise", standard=0.002, correlation="independent"),
            # The slope is 0.002 per nm.
            Component(name="w", kind="wavelength", standard=0.5),
        ]
    )
    u = of_points(spectrum, budget)
    inner = [((0.03 * i / 50) ** 2 + 46e-6) ** 0.5 for i in range(1, 40)]
    assert u[1:-1] == pytest.approx(inner, rel=1e-6)


def test_the_picture_has_the_expanded_uncertainty_of_the_points() -> None:
    page = example().html()
    area, curve = (
        [float(y) for y in re.findall(r"[ML][0-9.]+ ([0-9.]+)", text)]
        for text in re.findall(r'class="(?:uncertainty|curve)" [^>]*? d="([^"]*)"', page)
    )
    (spectrum,) = vek.read(GREY)
    values = spectrum.scan.values()
    heights = 1.96 * of_points(spectrum, Budget.read(EXAMPLES / "budget.toml"))
    heights *= (curve[0] - curve[-1]) / (values[-1] - values[0])
    upper, lower = area[: len(curve)], area[: len(curve) - 1 : -1]
    assert [y - up for up, y in zip(upper, curve, strict=True)] == pytest.approx(heights, abs=0.02)
    assert [low - y for low, y in zip(lower, curve, strict=True)] == pytest.approx(
        heights, abs=0.02
    )


def drawn(values: list[float]) -> vek.Spectrum:
    return vek.Spectrum(vek.Scan([400.0, 500.0, 600.0], values), "transmittance", "1")


def levels(svg: str) -> str:
    return " ".join(re.findall(r'class="left"[^>]*>([^<]*)<', svg)).replace("\N{MINUS SIGN}", "-")


@pytest.mark.parametrize(
    ("lowest", "highest", "plain", "percent"),
    [
        (0.0, 0.01, "0 0.002 0.004 0.006 0.008 0.01", "0 0.5 1 1.5 2"),
        (0.0, 0.015, "0 0.005 0.01 0.015 0.02", "0 1 2 3 4 5"),
        (0.0, 0.04, "0 0.01 0.02 0.03 0.04 0.05", "0 1 2 3 4 5"),
        (0.0, 0.08, "0 0.02 0.04 0.06 0.08 0.1", "0 2 4 6 8 10"),
        (0.0, 0.15, "0 0.05 0.1 0.15 0.2", "0 5 10 15 20"),
        (0.0, 0.5, "0 0.1 0.2 0.3 0.4 0.5", "0 20 40 60 80 100"),
        (-0.3, 0.9, "-0.2 0 0.2 0.4 0.6 0.8 1", "-20 0 20 40 60 80 100"),
        (-0.3, 1.3, "0 0.5 1", "0 50 100"),
    ],
)
def test_an_axis_has_round_numbers(lowest: float, highest: float, plain: str, percent: str) -> None:
    words, spectrum = Words(Settings()), drawn([lowest, highest, 0.0])
    assert levels(_picture.picture(spectrum, words, percent=False)) == plain
    widths = [0.002, 0.01, 0.0]
    svg = _picture.picture(spectrum, words, percent=True, half_widths=widths)
    assert levels(svg) == percent


@pytest.mark.parametrize(
    ("difference", "expected"),
    [
        (0.0, "-1e-06 -5e-07 0 5e-07 1e-06"),
        (0.004, "-0.004 -0.002 0 0.002 0.004"),
        (0.05, "-0.05 0 0.05"),
        (0.12, "-0.1 0 0.1"),
    ],
)
def test_differences_have_a_scale(difference: float, expected: str) -> None:
    words, mean = Words(Settings()), drawn([0.1, 0.5, 0.1])
    scans = [mean, drawn([0.1, 0.5 - difference, 0.1])]
    assert levels(_picture.deviations(mean, scans, words, percent=False)) == expected


@pytest.mark.parametrize(
    ("low", "high", "numbers", "bands"),
    [
        (400.0, 410.0, "400 450", []),
        (401.0, 501.0, "400 450 500 550", []),
        (250.0, 950.0, " ".join(map(str, range(250, 1000, 50))), ["UV-A"]),
        (250.0, 951.0, "400 600 800 1000", ["UV-A"]),
        (270.0, 500.0, "250 300 350 400 450 500", ["UV-B", "UV-A"]),
    ],
)
def test_an_axis_of_wavelengths_ends_at_fifties(
    low: float, high: float, numbers: str, bands: list[str]
) -> None:
    spectrum = vek.Spectrum(vek.Scan([low, high], [0.1, 0.1]), "transmittance", "1")
    svg = _picture.picture(spectrum, Words(Settings()), percent=False)
    assert " ".join(re.findall(r'class="(?:below|between)"[^>]*>([0-9]+)<', svg)) == numbers
    assert re.findall(r">(UV-[AB])<", svg) == bands
    for name, number in re.findall(r'class="(below|between)"[^>]*>([0-9]+)<', svg):
        step = 200 if high > 950.0 else 50
        assert (name == "between") == (int(number) // step % 2 == 1)


@pytest.mark.parametrize(
    ("clear", "told"), [(1.000052, True), (0.999948, True), (1.000048, False), (0.999952, False)]
)
def test_a_clear_lens_counts_from_the_fourth_decimal_on(clear: float, told: bool) -> None:
    lens = vek.Spectrum(vek.Scan(flat(0.5)), "transmittance", "1", "x")
    made = Certificate(lens)
    (values,) = made.report.values
    made.report.values = (
        {
            key: value._replace(clear_lens=clear if key == TAU_V else None)
            for key, value in values.items()
        },
    )
    assert ("Measured like this, a clear lens would give" in made.html()) == told
    assert ("A clear lens (1 at each wavelength of x) would" in made.report.text()) == told


@pytest.mark.parametrize(
    ("value", "decision", "text", "rule"),
    [
        (0.029, Decision("guard-band"), "none_could_be", "guard-band"),
        (
            0.02,
            Decision("non-binary", 2.0),
            "the figure is in none of the categories",
            "non-binary",
        ),
        (0.05, None, "the limits state no decision rule", "no_rule"),
        (0.05, Decision("simple"), "4", "simple"),
        (0.031, Decision("uncritical"), "4", "uncritical"),
    ],
)
def test_the_category_is_said_with_the_rule(
    value: float, decision: Decision | None, text: str, rule: str
) -> None:
    lens = vek.Spectrum(vek.Scan(flat(value)), "transmittance", "1", "x")
    gain = Budget(components=[Component(name="g", kind="gain", standard=0.03)])
    limits = replace(Limits.read(EXAMPLES / "limits-categories.toml"), decision=decision)
    made = Certificate(lens, budget=gain, limits=limits)
    found = _certificate._View(made, Settings()).sheet()["conformity"]
    words = Words(Settings())
    factor = "2" if decision is not None and decision.factor == 2.0 else "1"
    assert found["rule"] == words(rule, factor=factor)
    assert found["category"]["text"] == (words(text, others="4") if "_" in text else text)


def test_nothing_is_fetched_for_paper(monkeypatch: pytest.MonkeyPatch) -> None:
    class HTML:
        def __init__(self, **arguments: Any) -> None:
            self.arguments = arguments

        def write_pdf(self) -> Any:
            return self.arguments

    fetcher = SimpleNamespace(URLFetcher=lambda **how: how)
    module = SimpleNamespace(HTML=HTML, urls=fetcher)
    monkeypatch.setattr(_pdf, "require", lambda *names: module)
    allowed = {"allowed_protocols": ("data",)}
    assert _pdf.pdf("page") == {"string": "page", "url_fetcher": allowed}

    def fail(*names: str) -> None:
        raise OSError(f"no Pango for {' '.join(names)}")

    monkeypatch.setattr(_pdf, "require", fail)
    told = "a PDF needs weasyprint, which cannot be loaded: no Pango for weasyprint a PDF pdf"
    with pytest.raises(ImportError, match=f"^{told}$"):
        _pdf.pdf("page")


def test_the_command_writes_a_page(run: Runner, tmp_path: Path) -> None:
    out = tmp_path / "cert.html"
    arguments = ["certificate", GREY, "--settings", EXAMPLES / "lab.toml", "--out", out]
    assert run(*arguments, "--set", "object=A = B") == (0, "", "")
    assert "Object A = B" in Page(out.read_text()).text
    assert "--overwrite replaces it" in run.refuse(*arguments)
    assert run(*arguments, "--overwrite").status == 0
    assert "Object" not in Page(out.read_text()).text
    report = tmp_path / "report.html"
    assert run("report", EXAMPLES / "two-lenses.vek", "--html", report).status == 0
    page = Page(report.read_text())
    assert page.text.count("Results") == 2
    assert "Laboratory" not in page.text


def test_many_spectra_make_many_pages(run: Runner, tmp_path: Path) -> None:
    write_vek(tmp_path / "a.vek", [("Lens/1", flat(0.5)), ("Lens 2", flat(0.6))])
    write_csv(tmp_path / "b.csv", flat(3.0))
    out = tmp_path / "pages"
    result = run("certificate", tmp_path / "a.vek", tmp_path / "b.csv", "--out", f"{out}/")
    assert result.status == 1
    assert "b.csv" in result.err
    assert sorted(path.name for path in out.iterdir()) == ["Lens_1.html", "Lens_2.html"]


def test_paper_has_the_same_page(run: Runner, tmp_path: Path) -> None:
    out, paper = tmp_path / "cert.html", tmp_path / "cert.pdf"
    arguments = ["certificate", GREY, "--out", out, "--pdf", paper]
    try:
        import weasyprint  # noqa: F401
    except ImportError, OSError:
        assert "--pdf: a PDF needs weasyprint" in run.refuse(*arguments)
        assert not out.exists()
    else:
        assert run(*arguments).status == 0
        assert paper.read_bytes().startswith(b"%PDF-")
