"""Weights written where they are computed: one `.npy` file per signal in an output folder.

On a cluster the folder must be reachable under the same path from every worker (a shared file
system), which saves sending every weights matrix back to the client.
"""
from __future__ import annotations

import re
from pathlib import Path

import numpy as np

from quillmarsh.cli.atomic_write import write_atomically
from quillmarsh.cli.errors import UserError

from quillmarsh.batch.evaluation import Outcome

_UNSAFE_IN_FILE_NAMES = re.compile(r"[^\w.\-]+")


def weights_file_name(name: str) -> str:
    """The signal's name with characters unsafe in file names replaced by '_', plus `.npy`."""
    return _UNSAFE_IN_FILE_NAMES.sub("_", name) + ".npy"


def check_file_names(names: list[str]) -> None:
    """A UserError when two names would write the same weights file."""
    seen: dict[str, str] = {}
    for name in names:
        file_name = weights_file_name(name)
        if file_name in seen:
            raise UserError(f"signals '{seen[file_name]}' and '{name}' would both write {file_name}")
        seen[file_name] = name


def stored(outcome: Outcome, folder: Path) -> Outcome:
    """The outcome with its weights written to `folder` and replaced by the file's path."""
    if outcome.weights is None:
        return outcome
    path = folder / weights_file_name(outcome.row["name"])
    weights = outcome.weights
    write_atomically(path, lambda stream: np.save(stream, weights, allow_pickle=False))
    return Outcome(outcome.row, None, outcome.pnl, path)
