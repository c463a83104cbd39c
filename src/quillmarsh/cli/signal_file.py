"""Signal files: one text-form expression per line, `name: expression` or the expression alone.

Blank lines and lines starting with `#` are skipped; a signal without a name is called
`line N`; names are unique. A line that does not parse is a UserError naming the file, the line and the column
within that line.
"""
from __future__ import annotations

import re
from dataclasses import dataclass
from pathlib import Path
from typing import Any

from quillmarsh.simulator_engine._types import FunctionGraphNode

from quillmarsh.cli.errors import UserError
from quillmarsh.cli.text_form import parse_expression

_NAMED = re.compile(r"\s*([A-Za-z_][\w.-]*)\s*:")


@dataclass(frozen=True)
class Signal:
    name: str
    text: str
    line: int
    graph: FunctionGraphNode


def read_signal_file(path: Path, registry: Any) -> list[Signal]:
    try:
        lines = path.read_text(encoding="utf-8").splitlines()
    except OSError as error:
        raise UserError(f"cannot read {path}: {error.strerror}") from None
    signals = [_signal(path, number, line, registry) for number, line in enumerate(lines, 1)
               if line.strip() and not line.lstrip().startswith("#")]
    if not signals:
        raise UserError(f"{path} holds no signal (one `name: expression` per line)")
    first_line: dict[str, int] = {}
    for signal in signals:
        if first_line.setdefault(signal.name, signal.line) != signal.line:
            raise UserError(f"{path} line {signal.line}: the name '{signal.name}' is already "
                            f"used on line {first_line[signal.name]}")
    return signals


def _signal(path: Path, number: int, line: str, registry: Any) -> Signal:
    named = _NAMED.match(line)
    name = named.group(1) if named else f"line {number}"
    # The name is blanked rather than cut off, so columns count from the start of the line.
    text = " " * named.end() + line[named.end():] if named else line
    try:
        graph = parse_expression(text, registry)
    except UserError as error:
        raise UserError(f"{path} line {number}: {error}") from None
    return Signal(name, text.strip(), number, graph)
