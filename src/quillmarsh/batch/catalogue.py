"""Catalogues of signals to evaluate together.

A text catalogue is a signal file (cli/signal_file.py): one expression per line, optionally named
(`momentum_20: zscore(mean(returns, 20), 60)`).
A `.json` catalogue is the examples' form: {"examples": [{"name": ..., "file": ...}, ...]} with files
relative to the catalogue, or entries carrying their text as "expression" instead of "file".
Mistakes name the line (text) or the entry (JSON) they are in.
"""
from __future__ import annotations

import json
from pathlib import Path
from typing import Any

from quillmarsh.cli.errors import UserError
from quillmarsh.cli.graph_source import load_graph
from quillmarsh.cli.signal_file import Signal, read_signal_file
from quillmarsh.cli.text_form import parse_expression


def read_catalogue(path: Path, registry: Any) -> list[Signal]:
    """The signals of a text or `.json` catalogue, in file order."""
    if path.suffix != ".json":
        return read_signal_file(path, registry)
    signals = _json_signals(_read(path), path, registry)
    if not signals:
        raise UserError(f"catalogue {path} holds no signal")
    return signals


def _json_signals(text: str, path: Path, registry: Any) -> list[Signal]:
    try:
        document = json.loads(text)
    except json.JSONDecodeError as error:
        raise UserError(f"{path} line {error.lineno}: {error.msg}") from None
    entries = document.get("examples") if isinstance(document, dict) else None
    if not isinstance(entries, list):
        raise UserError(f"{path}: expected {{\"examples\": [{{\"name\": ..., \"file\": ...}}, ...]}}")
    signals: list[Signal] = []
    for number, entry in enumerate(entries, start=1):
        try:
            signals.append(_json_signal(entry, path.parent, registry))
        except UserError as error:
            raise UserError(f"{path} entry {number}: {error}") from None
    names = [signal.name for signal in signals]
    duplicates = sorted({name for name in names if names.count(name) > 1})
    if duplicates:
        raise UserError(f"{path}: the name '{duplicates[0]}' is used by more than one entry")
    return signals


def _json_signal(entry: Any, folder: Path, registry: Any) -> Signal:
    if not isinstance(entry, dict) or not isinstance(entry.get("name"), str):
        raise UserError("each entry needs a \"name\" string")
    name = entry["name"]
    if "expression" in entry:
        return Signal(name, parse_expression(str(entry["expression"]), registry))
    if not isinstance(entry.get("file"), str):
        raise UserError(f"'{name}' needs a \"file\" or an \"expression\"")
    return Signal(name, load_graph(str(folder / entry["file"]), registry))


def _read(path: Path) -> str:
    try:
        return path.read_text(encoding="utf-8")
    except OSError as error:
        raise UserError(f"cannot read the catalogue {path}: {error.strerror}") from None
