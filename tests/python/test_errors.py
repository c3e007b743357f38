"""The words of refusals, for Python and for the command line."""

import json
import pickle
from typing import Any

import pytest

from vekanalysis._nearest import nearest
from vekanalysis._optional import require
from vekanalysis._parsing import parsed
from vekanalysis.errors import Refusal, Remedy, for_command_line, lacks_memory


@pytest.mark.parametrize(
    ("name", "value", "in_python", "option"),
    [
        ("unit", "%", "unit='%'", "--unit '%'"),
        ("wavelength_unit", "um", "wavelength_unit='um'", "--wavelength-unit um"),
        ("data_sets", ["Lens 7"], "data_sets=['Lens 7']", "--data-set 'Lens 7'"),
        ("columns", ..., "columns=", "--columns"),
        ("columns", (0, 2), "columns=(0, 2)", "--columns '0,2'"),
        ("encoding", "utf-16", "encoding='utf-16'", "--encoding utf-16"),
        ("sort", True, "sort=True", "--sort"),
        ("sort", False, "sort=False", "--sort False"),
        ("skip", {7}, "skip={7}", "--skip 7-7"),
        ("skip", frozenset((9, 8)), "skip=frozenset({8, 9})", "--skip '8,9'"),
        ("skip", 3, "skip=3", "--skip 3"),
    ],
)
def test_a_remedy_is_an_argument_here_and_an_option_there(
    name: str, value: Any, in_python: str, option: str
) -> None:
    remedy = Remedy("pass {} or leave it; pass it", ((name, value),))
    refusal = Refusal("a.csv: no", remedy)
    assert str(refusal) == f"a.csv: no; pass {in_python} or leave it; pass it"
    assert for_command_line(refusal) == f"a.csv: no; add {option} or leave it; pass it"
    again = pickle.loads(pickle.dumps(refusal))
    assert (again.reason, again.remedy, again.args) == ("a.csv: no", remedy, refusal.args)


def test_a_remedy_without_arguments_is_its_words() -> None:
    refusal = Refusal("a", Remedy("do not pass"))
    assert str(refusal) == for_command_line(refusal) == "a; do not pass"
    for error in (Refusal("b"), ValueError("b")):
        assert str(error) == for_command_line(error) == "b"


def test_a_lack_of_memory_is_known_by_its_cause() -> None:
    caused = TypeError()
    caused.__cause__ = MemoryError()
    assert [lacks_memory(error) for error in (MemoryError(), caused)] == [True, True]
    assert not lacks_memory(TypeError())


MANY = [f"{chr(97 + i) * 9}" for i in range(21)]


@pytest.mark.parametrize(
    ("name", "known", "told"),
    [
        ("nois", ["gain", "noise", "moist"], "; did you mean 'noise'?"),
        ("x", ["gain", "noise"], "; there are 'gain', 'noise'"),
        ("x", MANY[:20], "; there are " + ", ".join(f"'{each}'" for each in MANY[:20])),
        ("x", MANY, ""),
    ],
)
def test_the_nearest_name_is_told_or_all_of_few(name: str, known: list[str], told: str) -> None:
    assert nearest(name, known) == told


@pytest.mark.parametrize(
    ("content", "reason"),
    [
        (b"\xff", "no JSON: it is not in UTF-8"),
        (b"[" * 100_000, "too deeply nested"),
        (b"1" * 5_000, "no JSON: a number has too many digits"),
        (b'{\n"a" 1}', "line 2: no JSON: Expecting ':' delimiter"),
    ],
)
def test_what_a_parser_refuses_has_file_and_line(content: bytes, reason: str) -> None:
    with pytest.raises(Refusal) as refused:
        parsed("a.json", content, "JSON", json.loads)
    assert str(refused.value) == f"a.json: {reason}"
    assert parsed("a.json", b"\xef\xbb\xbf[1]", "JSON", json.loads) == [1]


def test_a_library_that_is_missing_is_named_with_its_extra() -> None:
    assert require("json.decoder", "it", "x").JSONDecoder is json.JSONDecoder
    with pytest.raises(ImportError) as missing:
        require("no_such_library.part", "a picture", "plot")
    assert missing.value.name == "no_such_library"
    assert str(missing.value) == (
        "a picture needs no_such_library, which cannot be imported (No module named "
        "'no_such_library'): pip install 'vekanalysis[plot]', or in a checkout tools/setup plot"
    )
