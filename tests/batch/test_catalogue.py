"""Reading catalogues and signal files: names, comments and line numbers in text; entries of the JSON form."""
import json
import re
from pathlib import Path

import pytest

from quillmarsh.batch import read_catalogue
from quillmarsh.cli.errors import UserError
from quillmarsh.cli.signal_file import read_signal_file
from quillmarsh.cli.text_form import graph_to_text
from quillmarsh.functions.registry import default_registry

EXAMPLES = Path(__file__).parents[2] / "examples"


def read(tmp_path: Path, text: str, suffix: str = ".txt", reader=read_catalogue) -> list:
    path = tmp_path / f"catalogue{suffix}"
    path.write_text(text, encoding="utf-8")
    return [(signal.name, graph_to_text(signal.graph)) for signal in reader(path, default_registry())]


# A text catalogue is a signal file: both readers take the same lines.
READERS = pytest.mark.parametrize("reader", [read_catalogue, read_signal_file])


@pytest.mark.parametrize("text, expected", [
    ("mom: rank(returns)\n", [("mom", "rank(returns)")]),
    ("rank(returns)\n\n  mean(close, 5)", [("line1", "rank(returns)"), ("line3", "mean(close, 5)")]),
    ("# heading\nv.2-a : rank(volume)  # trailing note\n", [("v.2-a", "rank(volume)")]),
    ("a: rank(close) * rank(volume)\nb:mean(returns, 3)",
     [("a", "rank(close) * rank(volume)"), ("b", "mean(returns, 3)")]),
])
@READERS
def test_text_lines_give_named_signals_in_file_order(tmp_path, text, expected, reader):
    assert read(tmp_path, text, reader=reader) == expected


@pytest.mark.parametrize("text, message", [
    ("a: rank(close)\n\nb: rank(close(\n", "line 3: syntax error at column"),
    ("rank(close)\nnamed:  nosuch(close)\n", "line 2: unknown function 'nosuch' at column 9"),
    ("a: rank(close)\n# note\na: rank(volume)\n", "line 3: the name 'a' is already used on line 1"),
    ("# only a comment\n\n", "holds no signal"),
])
@READERS
def test_a_bad_text_line_is_named_by_its_number(tmp_path, text, message, reader):
    with pytest.raises(UserError, match=message):
        read(tmp_path, text, reader=reader)


def test_the_examples_json_catalogue_reads_every_example():
    signals = read_catalogue(EXAMPLES / "catalogue.json", default_registry())
    names = [entry["name"] for entry in json.loads((EXAMPLES / "catalogue.json").read_text())["examples"]]
    assert [signal.name for signal in signals] == names
    assert graph_to_text(signals[names.index("rank")].graph) == "rank(returns)"


@pytest.mark.parametrize("document, message", [
    ('{"examples": [\n{"name": "a",\n "expression": "rank(close)"},\n]}', "line 3: Illegal trailing comma"),
    ('{"examples": [{"name": "a", "expression": "rank(close)"}, {"name": "b"}]}',
     "entry 2: 'b' needs a \"file\" or an \"expression\""),
    ('{"examples": [{"expression": "rank(close)"}]}', "entry 1: each entry needs a \"name\""),
    ('{"examples": [{"name": "a", "expression": "rank(close"}]}', "entry 1: syntax error"),
    ('{"examples": [{"name": "a", "expression": "rank(close)"}, {"name": "a", "expression": "close"}]}',
     "'a' is used by more than one entry"),
    ('[{"name": "a", "expression": "close"}]', "expected {\"examples\""),
])
def test_a_bad_json_catalogue_names_the_line_or_entry(tmp_path, document, message):
    with pytest.raises(UserError, match=re.escape(message)):
        read(tmp_path, document, ".json")

