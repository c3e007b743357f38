"""A page on one spectrum: figures, picture, conformity, budget, and what they were computed of."""

import base64
import hashlib
import struct
from collections.abc import Collection, Mapping, Sequence
from datetime import date
from itertools import groupby
from types import MappingProxyType
from typing import Any, Final

from .._core import Scan, colorimetry, version
from .._nearest import nearest
from ..errors import Refusal
from ..quantities import (
    DERIVED,
    LENS,
    LENS_FULL,
    OwnTable,
    Quantity,
    Repeats,
    Value,
    quantity,
    with_tables,
)
from ..reports import Report
from ..reports import lens as lens_report
from ..spectrum import Spectrum
from ..uncertainty import Budget, Results, coverage_factor, of_points
from ._conformity import Conformity, Statement, assess
from ._limits import Limits
from ._page import render, template_files
from ._picture import deviations, picture
from ._settings import FIELDS, Settings
from ._words import Words, safe, symbol

# From here on a clear lens's figure is off in the fourth decimal.
_CLEAR: Final = 0.00005
_PLAIN: Final = Settings()


class Certificate:
    """What a laboratory hands out on a lens.

    Parameters
    ----------
    spectrum : Spectrum or Repeats
        A transmittance, or scans of one object, of whose mean the figures are.
    settings : Settings, optional
        Of the laboratory; without one the page has no frame.
    budget : Budget, optional
        Of the uncertainty; repeats give it the noise that it is to have of them.
    limits : Limits, optional
        Of which statements of conformity are made.
    purposes : collection of str
        Of the requirements.
    fields : mapping of str to str
        Texts for the fields of `FIELDS`, before those of settings and file.
    grid : float, optional
        Step in nm to which the spectrum is brought first: see `reports.lens`.
    full : bool
        Whether a page without settings has the derived quantities, too.
    tables : sequence of OwnTable
        In place of built-in ones, before those of the settings.

    Attributes
    ----------
    report : Report
        All quantities of lenses; the derived ones where one of them is asked for.
    tables : tuple of OwnTable
        All that take the place of built-in ones.
    fields : mapping of str to str
        As they are on the page.
    conformity : Conformity or None
    has_noise_of_repeats : bool
        Whether the uncertainty has the scatter of the repeats.

    Raises
    ------
    Refusal
        If the spectrum is no transmittance, repeats have no mean, the budget does not fit, a
        purpose is none of the limits, or the settings ask for a field that nobody states.
    """

    def __init__(
        self,
        spectrum: Spectrum | Repeats,
        *,
        settings: Settings | None = None,
        budget: Budget | None = None,
        limits: Limits | None = None,
        purposes: Collection[str] = (),
        fields: Mapping[str, str] = MappingProxyType({}),
        grid: float | None = None,
        full: bool = False,
        tables: Sequence[OwnTable] = (),
    ) -> None:
        self._full = full
        own = {each.name: each for each in (*(settings or _PLAIN).tables, *tables)}
        self.tables = tuple(own.values())
        self.settings = settings
        self.limits = limits
        self.grid = grid
        self.purposes = tuple(purposes)
        if budget is not None and not budget.components and not budget.of_repeats:
            budget = None
        self.report: Report = lens_report(
            spectrum, budget=budget, grid=grid, full=self._needs_derived(), tables=self.tables
        )
        said = self.report.uncertainty
        self.budget = None if said is None else said.budget
        self.has_noise_of_repeats = budget is not None and bool(budget.of_repeats)
        self.fields = MappingProxyType(_fields(settings, self.spectrum, fields))
        self.conformity: Conformity | None = None
        if limits is not None:
            self.conformity = self._assess(limits)

    @property
    def spectrum(self) -> Spectrum:
        return self.report.spectra[0]

    @property
    def scans(self) -> tuple[Spectrum, ...]:
        """What the spectrum is the mean of; the spectrum itself if it is no mean."""
        repeated = self.report.repeats[0]
        return (self.spectrum,) if repeated is None else repeated.scans

    @property
    def results(self) -> Results | None:
        """The figures with their uncertainty, for the coverage of the budget."""
        said = self.report.uncertainty
        return None if said is None else said.results[0]

    def _needs_derived(self) -> bool:
        named = {record.key for record in self.quantities}
        if self.limits is not None:
            named.update(self.limits.quantities)
        return any(record.key in named for record in DERIVED)

    def _assess(self, limits: Limits) -> Conformity:
        results, decision = self.results, limits.decision
        if results is not None and decision is not None and decision.coverage is not None:
            results = results.covering(decision.coverage)
        trusted = [table.name for table in self.tables]
        values = self.report.values[0]
        return assess(limits, values, results, purposes=self.purposes, trusted=trusted)

    def document(self) -> dict[str, Any]:
        """All that was computed, as plain Python objects."""
        return {
            "report": self.report.document(),
            "fields": {**self.fields},
            "purposes": [*self.purposes],
            "grid_nm": self.grid,
            "conformity": None if self.conformity is None else _plain(self.conformity),
            "digests": self.digests(),
        }

    def digests(self) -> list[dict[str, str]]:
        """Of everything that the page was made of: its role, its name and its SHA-256 digest."""
        sources = dict.fromkeys(
            (each.source.file or each.source.reference, each.source.sha256) for each in self.scans
        )
        found: list[tuple[str, str | None, str | None]] = [
            ("input", name, digest) for name, digest in sources
        ]
        if self.budget is not None:
            found.append(("budget", self.budget.file, self.budget.sha256))
            found += [("budget", name, digest) for name, digest in self.budget.files.items()]
        if self.limits is not None:
            found.append(("limits", self.limits.file, self.limits.sha256))
        settings = self.settings or _PLAIN
        found.append(("settings", settings.file, settings.sha256))
        if settings.logo is not None:
            digest = hashlib.sha256(settings.logo.content).hexdigest()
            found.append(("logo", settings.logo_name, digest))
        for name, file in template_files(settings.templates).items():
            digest = hashlib.sha256(file.read_bytes()).hexdigest()
            own = settings.templates is not None and file.parent == settings.templates
            found.append(("template", f"{settings.templates_name}/{name}" if own else name, digest))
        tables = {table.name: table for table in self.tables}
        for name in sorted({name for each in self.quantities for name in each.tables}):
            table = tables.get(name)
            if table is None:
                found.append(("table", name, _table_digest(name)))
            else:
                # Of the file, as of all others; without one, of the numbers.
                digest = table.sha256 or _digest_of(table.scan)
                found.append(("table", f"{name}: {table.file or ''}", digest))
        return [
            {"role": role, "name": name, "sha256": digest}
            for role, name, digest in found
            if name is not None and digest is not None
        ]

    def html(self) -> str:
        """The page: one file without scripts that needs nothing else."""
        return page([self])

    @property
    def quantities(self) -> list[Quantity]:
        """Those of the page, in its order."""
        if self.settings is None:
            wanted = LENS_FULL if self._full else LENS
        else:
            wanted = tuple(quantity(key) for key in self.settings.quantities)
        return [*with_tables(wanted, self.tables)]


def page(certificates: Sequence[Certificate]) -> str:
    """A page of several spectra, with the frame of the first.

    Raises
    ------
    Refusal
        If a template is wrong.
    OSError
        If a template cannot be read.
    """
    settings = certificates[0].settings or _PLAIN
    views = [_View(each, each.settings or _PLAIN) for each in certificates]
    digests = {tuple(item.items()): item for each in certificates for item in each.digests()}
    words = views[0].words
    shown = [{**each, "role": words(each["role"])} for each in digests.values()]
    sheets = [view.sheet() for view in views]
    return render(settings.templates, views[0].page() | {"sheets": sheets, "digests": shown})


def _fields(
    settings: Settings | None, spectrum: Spectrum, given: Mapping[str, str]
) -> dict[str, str]:
    """The fields of a certificate that have a text, in their order."""
    for name in given:
        if name not in FIELDS:
            raise Refusal(f"there is no field '{name}'{nearest(name, FIELDS)}")
    if settings is None:
        return {name: given[name] for name in FIELDS if given.get(name)}
    stated = {name.casefold(): text for name, text in spectrum.metadata.items()}
    found: dict[str, str] = {}
    for name in FIELDS:
        rule = settings.fields.get(name)
        text = given.get(name)
        if text is None and rule is not None:
            header = None if rule.header is None else stated.get(rule.header.casefold())
            text = header or rule.value
        if not text and rule is not None and rule.ask:
            raise Refusal(f"{spectrum.where}: the field '{name}' is to be stated")
        if text:
            found[name] = text
    found.setdefault("issued", date.today().isoformat())
    return {name: found[name] for name in FIELDS if name in found}


def _table_digest(name: str) -> str:
    scan: Scan = getattr(colorimetry.data, name)()
    return _digest_of(scan)


def _digest_of(scan: Scan) -> str:
    """Of the numbers of a table: wavelengths, then values, as 64-bit little-endian."""
    wavelengths, values = scan.to_lists()
    content = struct.pack(f"<{2 * len(values)}d", *wavelengths, *values)
    return hashlib.sha256(content).hexdigest()


def _plain(value: Any) -> Any:
    """Records as dicts."""
    if hasattr(value, "_asdict"):
        return {name: _plain(each) for name, each in value._asdict().items()}
    return [_plain(each) for each in value] if isinstance(value, tuple) else value


def _relative(text: str, words: Words) -> str:
    """The factor of a relative bound and its quantity, in the language."""
    factor, key = text.split(" ")
    base, index, star = symbol(quantity(key).symbol)
    return f"{words.number(factor)} {base}{f'_{index}' * bool(index)}{star} ({key})"


class _View:
    """What the templates show: texts, in the language of the settings."""

    def __init__(self, certificate: Certificate, settings: Settings) -> None:
        self.certificate = certificate
        self.settings = settings
        self.words = Words(settings)
        self.values_of = certificate.report.values[0]
        self.results = certificate.results
        self.notes: dict[str, int] = {}

    def page(self) -> dict[str, Any]:
        """What there is once on a page."""
        certificate, words = self.certificate, self.words
        frame = certificate.settings is not None
        return {
            "language": self.settings.language,
            "word": words,
            "title": self.settings.title or words("certificate" if frame else "report"),
            "laboratory": self._laboratory() if frame else None,
            "fields": [(words(name), text) for name, text in certificate.fields.items()],
            "software": words("software", version=version()),
        }

    def sheet(self) -> dict[str, Any]:
        """What there is of each spectrum; the groups come first, since they make the notes."""
        groups = self._groups(self.certificate.quantities)
        return {
            "label": self.certificate.spectrum.label,
            "facts": self._facts(),
            "spectrum_notes": self._spectrum_notes(),
            "picture": self._picture(),
            "deviations": self._deviations(),
            "groups": groups,
            "notes": [*self.notes],
            "conformity": self._conformity(),
            "budget": self._budget(),
            # Last, since they say whether anything stayed English.
            "general_notes": self._general_notes(),
            "english": self.words.kept,
        }

    def _laboratory(self) -> dict[str, Any]:
        logo = None
        if self.settings.logo is not None:
            kind, content = self.settings.logo
            logo = f"data:{kind};base64,{base64.b64encode(content).decode()}"
        return {"name": self.settings.name, "address": self.settings.address, "logo": logo}

    def _facts(self) -> str:
        spectrum = self.certificate.spectrum
        points = self.words.general(spectrum.points)
        return self.words("points", range=self.words.interval(spectrum.range_nm), count=points)

    def _spectrum_notes(self) -> list[str]:
        values = self.certificate.spectrum.scan.values()
        negative = [value for value in values if value < 0.0]
        notes = [self.words.note(note) for note in self.certificate.spectrum.notes]
        if negative:
            lowest = self.words.number(f"{min(negative):.3g}")
            notes.append(self.words("negative", count=len(negative), lowest=lowest))
        return notes

    def _picture(self) -> Any:
        from markupsafe import Markup

        spectrum, budget, widths = self.certificate.spectrum, self.certificate.budget, None
        if budget is not None:
            k = coverage_factor(budget.coverage, float("inf"))
            widths = [k * u for u in of_points(spectrum, budget).tolist()]
        percent = self.settings.percent
        scans = self.certificate.scans
        return Markup(
            picture(
                spectrum,
                self.words,
                percent=percent,
                half_widths=widths,
                repeats=scans if len(scans) > 1 else (),
            )
        )

    def _deviations(self) -> Any:
        """Of repeats, where there are any."""
        from markupsafe import Markup

        certificate = self.certificate
        if len(certificate.scans) < 2:
            return None
        percent = self.settings.percent
        return Markup(
            deviations(certificate.spectrum, certificate.scans, self.words, percent=percent)
        )

    def _groups(self, quantities: Sequence[Quantity]) -> list[dict[str, Any]]:
        """The quantities by standard, as far as those of one stand together."""
        return [
            {"standard": standard, "rows": [self._row(each) for each in members]}
            for standard, members in groupby(quantities, key=lambda each: each.standard)
        ]

    def _row(self, record: Quantity) -> dict[str, Any]:
        value = self.values_of[record.key]
        result = None if self.results is None else self.results.get(record.key)
        text, sure = self.words.figure(record, value, result)
        return {
            "key": record.key,
            "symbol": symbol(record.symbol),
            "name": self.words.name(record),
            "section": record.section,
            "band": self.words.interval(record.band) if record.band else "",
            "value": text,
            "sure": sure,
            "unit": self.words.unit(record) if value.value is not None else "",
            "scatter": self._scatter(record),
            "exact": None if value.value is None else repr(value.value),
            "marks": sorted(self._mark(note) for note in self._value_notes(record, value)),
        }

    def _scatter(self, record: Quantity) -> str | None:
        """The standard deviation of the repeats, where there are any."""
        repeated = self.certificate.report.repeats[0]
        s = None if repeated is None else repeated.scatter[record.key].s
        return None if s is None else self.words.guard(record, s)

    def _mark(self, note: str) -> int:
        return self.notes.setdefault(note, len(self.notes) + 1)

    def _value_notes(self, record: Quantity, value: Value) -> list[str]:
        words = self.words
        notes = [words.translated(note) for note in record.notes]
        if value.value is not None and value.needed and value.covered and not value.complete:
            name = "coverage" if record.is_integral else "coverage_rest"
            covered, needed = words.interval(value.covered), words.interval(value.needed)
            notes.append(words(name, covered=covered, needed=needed))
        if value.problem:
            notes.append(words.translated(value.problem))
        clear = value.clear_lens
        if clear is not None and abs(clear - 1.0) >= _CLEAR:
            notes.append(words("clear", value=words.value(record, clear)))
        return notes

    def _general_notes(self) -> list[str]:
        certificate, words = self.certificate, self.words
        notes = [words("in_english")] * bool(words.kept)
        if (count := len(certificate.scans)) > 1:
            notes.append(words("scatter", count=count))
        if self.results is None:
            return [*notes, words("no_uncertainty")]
        if count > 1 and not certificate.has_noise_of_repeats:
            notes.append(words("scatter_left_out"))
        percent = words.general(100.0 * self.results.coverage)
        return [*notes, *(words(name, percent=percent) for name in ("expanded", "shaded"))]

    def _conformity(self) -> dict[str, Any] | None:
        found, limits, words = self.certificate.conformity, self.certificate.limits, self.words
        if found is None or limits is None:
            return None
        category = None
        if found.category is not None:
            member, others = found.category, words("or").join(found.category.could_be)
            if member.name is None and not others:
                text = words.translated(member.reason or "")
            elif member.name is None:
                text = words("none_could_be", others=others)
            else:
                text = member.name
                if others:
                    text = words("could_be", name=member.name, others=others)
            category = {"text": text, "rows": [self._statement(s) for s in member.statements]}
        decision = limits.decision
        if decision is None:
            rule = words("no_rule")
        else:
            rule = words(decision.rule, factor=words.general(decision.factor))
        return {
            "label": limits.label,
            "edition": limits.edition,
            "source": limits.source,
            "rule": rule,
            "category": category,
            "rows": [self._statement(statement) for statement in found.statements],
        }

    def _statement(self, statement: Statement) -> dict[str, Any]:
        words, record = self.words, quantity(statement.quantity)
        conditions = []
        if statement.when:
            conditions.append(words("for_purpose", purpose=statement.when))
        if statement.categories:
            names = words("or").join(statement.categories)
            conditions.append(words("for_category", names=names))
        value = self.values_of[statement.quantity]
        result = None if self.results is None else self.results.get(statement.quantity)
        figure, sure = words.figure(record, value, result)
        limits = []
        for check in statement.checks:
            limit = words.limit(record, check.limit)
            if check.relative is not None:
                limit = words("relative", limit=limit, relative=_relative(check.relative, words))
            limits.append(words(check.word, limit=limit))
        guards = dict.fromkeys(words.guard(record, check.guard) for check in statement.checks)
        share = statement.probability
        return {
            "name": statement.name,
            "conditions": conditions,
            "symbol": symbol(record.symbol),
            "value": f"{figure} {sure} {words.unit(record)}".replace("  ", " ").rstrip(),
            "limits": limits,
            "guards": [*guards],
            "probability": None if share is None else words.probability(share),
            "verdict": words(statement.verdict.replace(" ", "_")),
            "class": statement.verdict.replace(" ", "-"),
            "reason": statement.reason and words.translated(statement.reason),
        }

    def _budget(self) -> dict[str, Any] | None:
        """The contributions to the first quantity of the page that has any."""
        budget, results = self.certificate.budget, self.results
        if budget is None or results is None:
            return None
        records = [each for each in self.certificate.quantities if each.key in results]
        if not records:
            return None
        shown = records[: self._BUDGETED]
        parts = [results[record.key] for record in shown]
        rows = [
            {
                "name": component.name,
                "kind": self.words(f"kind_{component.kind}"),
                "parts": [
                    self.words.guard(record, part.contributions[component.name])
                    for record, part in zip(shown, parts, strict=True)
                ],
            }
            for component in budget.components
        ]
        total = [
            self.words.guard(record, part.u) for record, part in zip(shown, parts, strict=True)
        ]
        return {
            "label": budget.label,
            "date": None if budget.date is None else safe(str(budget.date)),
            "columns": [(symbol(record.symbol), self.words.name(record)) for record in shown],
            "rows": rows,
            "total": total,
        }

    # Columns that fit to a narrow screen.
    _BUDGETED: Final = 3
