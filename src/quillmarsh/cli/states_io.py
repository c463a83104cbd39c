"""States files: the saved function states of one evaluation, tagged with the graph they belong to.

The file is a pickle of {"format", "graph", "states"}; "graph" is the graph's text form, so a
file saved for one graph is refused for another. Load only states files you made yourself:
unpickling runs code from the file.
"""
from __future__ import annotations

import pickle
from pathlib import Path
from typing import Any

from quillmarsh.cli.atomic_write import write_pickle
from quillmarsh.cli.errors import UserError

FORMAT = "quillmarsh-states-1"


def save_states(path: Path, graph_text: str, states: dict) -> None:
    write_pickle(path, {"format": FORMAT, "graph": graph_text, "states": dict(states)})


def load_states(path: Path, graph_text: str) -> dict:
    document = _read(path)
    if not isinstance(document, dict) or document.get("format") != FORMAT:
        raise UserError(f"{path} is not a quillmarsh states file")
    if document["graph"] != graph_text:
        raise UserError(f"states file {path} was saved for the graph {document['graph']}, "
                        f"not for {graph_text}")
    return document["states"]


def _read(path: Path) -> Any:
    try:
        with path.open("rb") as stream:
            return pickle.load(stream)
    except FileNotFoundError:
        raise UserError(f"states file {path} does not exist") from None
    except (OSError, pickle.UnpicklingError, EOFError, AttributeError, ImportError) as error:
        raise UserError(f"{path} is not a quillmarsh states file: {error}") from None
