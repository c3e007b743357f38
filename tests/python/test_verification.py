"""Records of certificates, and their verification: whatever is changed is found."""

import hashlib
import json
import re
import shutil
from functools import reduce
from operator import getitem
from pathlib import Path
from typing import Any, NamedTuple

import pytest
from cli import ROOT, Runner, flat, rows, write_csv, write_vek

import vekanalysis as vek
from vekanalysis.certificates import Certificate, _record, record, verify
from vekanalysis.quantities import OwnTable, Repeats

NOISE = """
[[component]]
name = "repeats"
kind = "noise"
repeats = "repeats.csv"
averaged = 10
correlation = "observed"
"""
PNG = b"\x89PNG\r\n\x1a\n" + bytes(20)


class Made(NamedTuple):
    folder: Path
    record: Path


@pytest.fixture(scope="module")
def original(tmp_path_factory: pytest.TempPathFactory) -> Path:
    """A certificate in which every file that there can be is."""
    from vekanalysis.__main__ import main

    folder = tmp_path_factory.mktemp("original")
    shutil.copytree(ROOT / "examples", folder, dirs_exist_ok=True)
    shutil.copy(folder / "uncertainty/repeats.csv", folder)
    (folder / "logo.png").write_bytes(PNG)
    (folder / "own").mkdir()
    style = ROOT / "src/vekanalysis/certificates/templates/page.css"
    (folder / "own/page.css").write_text(style.read_text() + "h1 { color: #010203; }\n")
    lab = (folder / "lab.toml").read_text().replace("# logo", "logo").replace("# templ", "templ")
    (folder / "lab.toml").write_text(lab.replace('"templates"', '"own"'))
    with (folder / "budget.toml").open("a") as budget:
        budget.write(NOISE)
    arguments = ["certificate", folder / "grey-glass-4mm.csv", "--purpose", "driving"]
    arguments += ["--settings", folder / "lab.toml", "--uncertainty", folder / "budget.toml"]
    arguments += ["--limits", folder / "limits-categories.toml", "--set", "number=2026-17"]
    arguments += ["--out", folder / "cert.html", "--record", folder / "cert.json"]
    assert main([str(argument) for argument in arguments]) == 0
    return folder


@pytest.fixture
def made(original: Path, tmp_path: Path) -> Made:
    """The certificate in a folder that is another one than where it was made."""
    shutil.copytree(original, tmp_path / "moved")
    return Made(tmp_path / "moved", tmp_path / "moved/cert.json")


# Changes of the last digit of a number, or of a byte, by file, or none where it is gone.
@pytest.mark.parametrize(
    ("name", "old", "new", "told"), rows("changed-files.jsonl", "certificates")
)
def test_a_change_of_a_file_is_named(
    made: Made, run: Runner, name: str, old: str, new: str | None, told: str
) -> None:
    content = (made.folder / name).read_bytes()
    assert old.encode() in content
    (made.folder / name).write_bytes(content.replace(old.encode(), (new or "").encode(), 1))
    if new is None:
        (made.folder / name).unlink()
    status, out, _ = run("verify", made.record)
    assert status == 1
    assert re.search(told, out)


def is_found(record: Path) -> bool:
    try:
        return bool(verify(record).differences)
    except vek.Refusal:
        return True


@pytest.mark.parametrize("name", ["cert.json", "cert.html"])
def test_every_digit_counts(made: Made, name: str) -> None:
    path = made.folder / name
    text = path.read_text()
    digits = [found.start() for found in re.finditer("[0-9]", text)]
    for place in digits[:: len(digits) // 40]:
        changed = str((int(text[place]) + 1) % 10)
        path.write_text(text[:place] + changed + text[place + 1 :])
        assert is_found(made.record), text[place - 40 : place + 10]
    # A digit more that changes no bit of the number is a change, too.
    path.write_text(re.sub(r"(0\.5495\d*)", r"\g<1>0", text, count=1))
    assert verify(made.record).differences


def test_a_change_of_the_library_is_found(made: Made, monkeypatch: pytest.MonkeyPatch) -> None:
    from vekanalysis.certificates import _certificate, _record

    monkeypatch.setattr(_certificate, "_table_digest", lambda name: "0" * 64)
    differences = verify(made.record).differences
    assert any("digests[cie_illuminant_d65].sha256" in each for each in differences)
    monkeypatch.setattr(_record, "version", lambda: "0.0")
    assert any("and this is 0.0" in each for each in verify(made.record).differences)


def test_options_of_reading_and_data_sets_are_kept(run: Runner, tmp_path: Path) -> None:
    write_vek(tmp_path / "a.vek", [("one", flat(0.5)), ("two", flat(0.6))])
    table = "".join(f"{wl};{i};{i + 1}\n" for i, wl in enumerate(range(380, 785, 5), start=1))
    (tmp_path / "b.txt").write_text("a line\n" + table)
    (tmp_path / "out").mkdir()
    out = ["--out", tmp_path / "out", "--record", tmp_path / "out"]
    status, _, err = run(
        "certificate", tmp_path / "a.vek", *out, "--data-set", "two", "--grid", "10"
    )
    assert (status, err) == (0, "")
    status, _, err = run("certificate", tmp_path / "b.txt", *out, "--percent", "--skip", "1-1")
    assert (status, err) == (0, "")
    records = sorted((tmp_path / "out").glob("*.json"))
    assert len(records) == 3
    assert run("verify", *records).status == 0


@pytest.mark.parametrize(
    ("names", "status"),
    [
        (["none.json", "cert.json"], 2),
        (["cert.json", "lab.toml", "changed.json"], 2),
        (["changed.json", "cert.json"], 1),
        (["cert.json", "cert.json"], 0),
    ],
)
def test_each_of_several_records_is_told(
    made: Made, run: Runner, names: list[str], status: int
) -> None:
    text = made.record.read_text()
    (made.folder / "changed.json").write_text(text.replace("2026-17", "2026-18"))
    done = run("verify", *[made.folder / name for name in names])
    reasons = {"none.json": "cannot be read", "lab.toml": "no record", "changed.json": "diff"}
    told = iter((done.out + done.err).splitlines())
    for name in sorted(names, key=lambda name: name in ("none.json", "lab.toml")):
        assert any(f"{name}: " in line and reasons.get(name, "agree") in line for line in told)
    assert done.status == status


def changed(folder: Path, changes: dict[str, Any]) -> Path:
    """A record that was changed, in places, by one who knows how digests are made."""
    document = json.loads((folder / "c.json").read_text())
    for place, value in changes.items():
        steps: list[Any] = [int(part) if part.isdigit() else part for part in place.split(".")]
        around, name = reduce(getitem, steps[:-1], document), steps[-1]
        if value is None:
            del around[name]
        elif isinstance(around, list):
            around[name : name + 1] = [value]
        else:
            around[name] = value
    document.pop("sha256")
    document["sha256"] = _record._digest(document)
    (folder / "d.json").write_text(_record._text(document))
    return folder / "d.json"


@pytest.fixture
def plain(tmp_path: Path, run: Runner, monkeypatch: pytest.MonkeyPatch) -> Path:
    """The folder of a certificate of a spectrum, and of nothing else."""
    monkeypatch.chdir(tmp_path)
    write_csv(Path("a.csv"), flat(0.5))
    assert run("certificate", "a.csv", "--out", "c.html", "--record", "c.json").status == 0
    return tmp_path


@pytest.mark.parametrize(("changes", "told"), rows("changed-records.jsonl", "certificates"))
def test_differences_are_told_one_by_one(
    plain: Path, changes: dict[str, Any], told: list[str]
) -> None:
    found = verify(changed(plain, changes))
    ends = [each.format(plain, version=vek.__version__).removesuffix("...") for each in told]
    assert [each[: len(end)] for each, end in zip(found.differences, ends, strict=True)] == ends
    # Points, range, steps; of 35 quantities band and values, with what is needed and covered.
    assert found.figures == (0 if "b.csv" in str(told) or "any more" in str(told) else 271)


@pytest.mark.parametrize(
    ("changes", "told"),
    [
        ({"report.spectra.0.repeats": 3}, "TypeError: repeats must be a list"),
        ({"options.skip": ["x"]}, "TypeError: 'str' object cannot be"),
        ({"pages": None}, "KeyError: 'pages'"),
        ({"fields": 3}, "TypeError: 'int' object is not"),
    ],
)
def test_a_record_that_is_not_complete_is_refused(
    plain: Path, changes: dict[str, Any], told: str
) -> None:
    path = changed(plain, changes)
    with pytest.raises(vek.Refusal) as refusal:
        verify(path)
    assert str(refusal.value).startswith(f"{path}: no complete record: {told}")


def test_a_page_that_differs_much_is_told_in_part(plain: Path) -> None:
    page = (plain / "c.html").read_text()
    (plain / "c.html").write_text(page.replace("<", " <x") + "\n")
    own, *lines, last = verify(plain / "c.json").differences
    file, count = plain / "c.html", page.count("\n") + 1
    assert own == f"{file}: its SHA-256 digest is not that of the record"
    assert lines[0] == f"{file}: line 1: <x!DOCTYPE html>: computed again: <!DOCTYPE html>"
    assert (len(lines), last) == (20, f"{file}: {count + 1} lines; computed again: {count}")


def test_a_record_needs_files(plain: Path) -> None:
    (spectrum,) = vek.read("a.csv")
    pages = {"p.html": b"page", "p.pdf": b"paper"}
    path = plain / "in/r.json"
    text = record(Certificate(spectrum), path, pages, {"skip": {3, 1}})
    made = json.loads(text)
    # As ASCII, so that no program on the way changes a byte of what the digest is of.
    assert text == json.dumps(made, indent=2) + "\n"
    own = made.pop("sha256")
    assert own == hashlib.sha256((json.dumps(made, indent=2) + "\n").encode()).hexdigest()
    assert made["files"] == {"input": [{"name": "a.csv", "path": "../a.csv"}]}
    assert (made["options"], made["format"]) == ({"skip": [1, 3]}, "vekanalysis certificate")
    assert made["pages"] == [
        {"name": name, "path": f"../{name}", "sha256": hashlib.sha256(page).hexdigest()}
        for name, page in pages.items()
    ]
    loose = vek.Spectrum(spectrum.scan, label="loose")
    table = OwnTable("ISO8980_3_led_red", vek.colorimetry.data.ISO8980_3_led_red())
    for certificate, reason in (
        (Certificate(loose), "loose: a record needs a spectrum from a file"),
        (Certificate(Repeats([spectrum, loose], "m")), "loose: a record needs a spectrum from a"),
        (Certificate(spectrum, tables=[table]), f"table '{table.name}': a record needs a table fr"),
    ):
        with pytest.raises(vek.Refusal) as refusal:
            record(certificate, path, pages, {})
        assert str(refusal.value).startswith(reason)


DEEP = f'{{"format": "vekanalysis certificate", "a": {"[" * 5000}{"]" * 5000}}}'


@pytest.mark.parametrize("text", ["", "{", "[]", '{"format": "other"}', "[" * 100_000, DEEP])
def test_what_is_no_record_is_refused(run: Runner, tmp_path: Path, text: str) -> None:
    (tmp_path / "r.json").write_text(text)
    assert "no record of a certificate" in run.refuse("verify", tmp_path / "r.json")


def test_a_record_that_lacks_a_part_or_has_another_is_told(made: Made, run: Runner) -> None:
    content = json.loads(made.record.read_text())
    broken = [{k: v for k, v in content.items() if k != key} for key in content]
    broken += [content | {key: wrong} for key in content for wrong in ([], {}, 3, "x", None)]
    broken.append(content | {"files": {}})
    broken.append(content | {"report": {"spectra": []}})
    for document in broken:
        made.record.write_text(json.dumps(document))
        status, out, err = run("verify", made.record)
        assert (status, bool(out), bool(err)) in ((1, True, False), (2, False, True))
        assert status == 1 or "record" in err
