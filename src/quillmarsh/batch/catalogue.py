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
from quillmarsh.cli.signal_file import Signal, entry_graph, text_signals


def read_catalogue(path: Path, registry: Any) -> list[Signal]:
    """The signals of a text or `.json` catalogue, in file order."""
    text = _read(path)
    signals = _json_signals(text, path, registry) if path.suffix == ".json" else \
        text_signals(text, registry, str(path))
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
            signals.append(entry_graph(entry, path.parent, registry))
        except UserError as error:
            raise UserError(f"{path} entry {number}: {error}") from None
    names = [signal.name for signal in signals]
    duplicates = sorted({name for name in names if names.count(name) > 1})
    if duplicates:
        raise UserError(f"{path}: the name '{duplicates[0]}' is used by more than one entry")
    return signals


def _read(path: Path) -> str:
    try:
        return path.read_text(encoding="utf-8")
    except OSError as error:
        raise UserError(f"cannot read the catalogue {path}: {error.strerror}") from None
