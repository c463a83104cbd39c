"""Signal files: one text-form expression per line, `name: expression` or the expression alone.

`#` starts a comment, blank lines are skipped, and a signal without a name is called `line<N>`
(names are safe as file names: a batch writes each signal's weights under its name). Names are
unique. A line that does not parse is a UserError naming the file, the line and the column
within that line.
"""
from __future__ import annotations

import re
from dataclasses import dataclass
from pathlib import Path
from typing import Any

from quillmarsh.simulator_engine._types import FunctionGraphNode

from quillmarsh.cli.errors import UserError
from quillmarsh.cli.graph_source import load_graph
from quillmarsh.cli.text_form import parse_expression

# A name, then a colon with an expression after it.
_NAMED_LINE = re.compile(r"\s*([A-Za-z_][\w.\-]*)\s*:(?!\s*$)(.*)")


@dataclass(frozen=True)
class Signal:
    name: str
    graph: FunctionGraphNode


def read_signal_file(path: Path, registry: Any) -> list[Signal]:
    """The signals of a text file, in file order."""
    try:
        text = path.read_text(encoding="utf-8")
    except (OSError, UnicodeDecodeError) as error:
        raise UserError(f"cannot read {path}: {getattr(error, 'strerror', None) or error}") from None
    signals = text_signals(text, registry, str(path))
    if not signals:
        raise UserError(f"{path} holds no signal (one `name: expression` per line)")
    return signals


def text_signals(text: str, registry: Any, source: str) -> list[Signal]:
    signals: list[Signal] = []
    seen: dict[str, int] = {}
    for number, line in enumerate(text.splitlines(), start=1):
        content = line.split("#", 1)[0]
        if not content.strip():
            continue
        named = _NAMED_LINE.match(content)
        # The name is blanked rather than cut off, so error columns count from the line's start.
        name, expression = ((named.group(1), " " * named.start(2) + named.group(2)) if named
                            else (f"line{number}", content))
        if name in seen:
            raise UserError(f"{source} line {number}: the name '{name}' is already used on "
                            f"line {seen[name]}")
        seen[name] = number
        try:
            graph = parse_expression(expression, registry)
        except UserError as error:
            raise UserError(f"{source} line {number}: {error}") from None
        signals.append(Signal(name, graph))
    return signals


def entry_graph(entry: Any, folder: Path, registry: Any) -> Signal:
    """The signal of a JSON catalogue entry: {"name", and "expression" | "file" [+ "signal"]}.

    A "file" holds one graph (text or JSON), or with "signal" it is a signal file and the entry
    takes the signal of that name.
    """
    if not isinstance(entry, dict) or not isinstance(entry.get("name"), str):
        raise UserError("each entry needs a \"name\" string")
    name = entry["name"]
    if "expression" in entry:
        return Signal(name, parse_expression(str(entry["expression"]), registry))
    if not isinstance(entry.get("file"), str):
        raise UserError(f"'{name}' needs a \"file\" or an \"expression\"")
    file = folder / entry["file"]
    if "signal" not in entry:
        return Signal(name, load_graph(str(file), registry))
    found = next((signal for signal in read_signal_file(file, registry)
                  if signal.name == entry["signal"]), None)
    if found is None:
        raise UserError(f"{file} has no signal named '{entry['signal']}'")
    return Signal(name, found.graph)
