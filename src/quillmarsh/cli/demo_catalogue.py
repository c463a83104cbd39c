"""The demo's catalogue of example signals: `catalogue.json` in the examples folder.

{"examples": [{"name": ..., "file": ..., "data": "market" | "long" | "pool"}, ...],
 "stream": <name of the example streamed day by day>}
"data" picks what the example runs on: the synthetic market (the default), the long
single-feature run, or the market with the pool of useful signals. An example may also take
one named signal of a signal file: {"name": ..., "file": "alpha101.txt", "signal": "alpha001"}.
"""
from __future__ import annotations

import json
from dataclasses import dataclass
from pathlib import Path
from typing import Any

from quillmarsh.simulator_engine._types import FunctionGraphNode

from quillmarsh.cli.errors import UserError
from quillmarsh.cli.signal_file import entry_graph

DATA_KINDS = ("market", "long", "pool")


@dataclass
class Example:
    name: str
    file: Path
    data: str
    graph: FunctionGraphNode


@dataclass
class Catalogue:
    examples: list[Example]
    stream: Example


def load_catalogue(folder: Path, registry: Any) -> Catalogue:
    path = folder / "catalogue.json"
    try:
        document = json.loads(path.read_text(encoding="utf-8"))
    except (OSError, json.JSONDecodeError) as error:
        raise UserError(f"cannot read the example catalogue {path}: {error}") from None
    examples = [_example(folder, entry, registry) for entry in document["examples"]]
    by_name = {example.name: example for example in examples}
    stream = by_name.get(document.get("stream"))
    if stream is None or stream.data != "market":
        raise UserError(f"{path}: 'stream' must name one of the examples run on the market")
    return Catalogue(examples, stream)


def _example(folder: Path, entry: dict, registry: Any) -> Example:
    data = entry.get("data", "market")
    if data not in DATA_KINDS:
        raise UserError(f"example '{entry['name']}': data must be one of {', '.join(DATA_KINDS)}")
    return Example(entry["name"], folder / entry["file"], data, entry_graph(entry, folder, registry).graph)
