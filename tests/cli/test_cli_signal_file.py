"""Signal files: names, comments, and errors that name the line and the column in it."""
import pytest

from quillmarsh.functions.registry import default_registry

from quillmarsh.cli.errors import UserError
from quillmarsh.cli.signal_file import read_signal_file
from quillmarsh.cli.text_form import graph_to_text

REGISTRY = default_registry()


def test_named_nameless_and_comment_lines(tmp_path):
    path = tmp_path / "signals.txt"
    path.write_text("# header\n\nmomentum: close / delay(close, 5) - 1\n  returns < 0 ? -1 : 1\n"
                    "alpha.2-b: rank(volume)\n")
    signals = read_signal_file(path, REGISTRY)
    assert [s.name for s in signals] == ["momentum", "line4", "alpha.2-b"]
    assert graph_to_text(signals[1].graph) == "returns < 0.0 ? -1.0 : 1.0"
    assert graph_to_text(signals[0].graph) == "close / delay(close, 5) - 1.0"


@pytest.mark.parametrize("content, message", [
    ("a: rank(x)\nb: rank(x +)\n", "line 2: syntax error at column 12: expected an operand"),
    ("a: rank(x)\nnamed:  nope(y)\n", "line 2: unknown function 'nope' at column 9"),
    ("a: rank(x)\na: rank(y)\n", "line 2: the name 'a' is already used on line 1"),
    ("# only a comment\n", "holds no signal"),
])
def test_bad_files_name_the_line(tmp_path, content, message):
    path = tmp_path / "signals.txt"
    path.write_text(content)
    with pytest.raises(UserError, match=message):
        read_signal_file(path, REGISTRY)
