"""Where a graph comes from on the command line: a JSON file, a text file or the expression itself."""
from __future__ import annotations

from pathlib import Path
from typing import Any

from quillmarsh.simulator_engine._types import FunctionGraphNode

from quillmarsh.cli.errors import UserError
from quillmarsh.cli.file_checks import check_input_file
from quillmarsh.cli.graph_json import graph_from_json_text
from quillmarsh.cli.text_form import parse_expression


def load_graph(expression_or_file: str, registry: Any) -> FunctionGraphNode:
    """A `.json` file is a graph in JSON form, any other existing file holds a text expression,
    and anything else is a text expression."""
    path = Path(expression_or_file)
    if path.suffix == ".json":
        return graph_from_json_text(_read(path), str(path))
    if _is_file(path):
        return _parse_file(path, registry)
    return parse_expression(expression_or_file, registry)


def _is_file(path: Path) -> bool:
    """Whether `path` names an existing file; False for text that cannot be a file name (too
    long, a null character, not encodable)."""
    try:
        return path.is_file()
    except (OSError, ValueError):
        return False


def _parse_file(path: Path, registry: Any) -> FunctionGraphNode:
    text = _read(path)
    try:
        return parse_expression(text, registry)
    except UserError as error:
        raise UserError(f"{path}: {error}") from None


def _read(path: Path) -> str:
    check_input_file(path, "graph file")
    try:
        return path.read_text(encoding="utf-8")
    except OSError as error:
        raise UserError(f"cannot read {path}: {error.strerror}") from None
    except UnicodeDecodeError as error:
        raise UserError(f"cannot read {path}: not UTF-8 text ({error.reason} at byte "
                        f"{error.start})") from None
