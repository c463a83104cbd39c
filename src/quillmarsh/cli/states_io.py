"""States files: the saved function states of one evaluation, tagged with the graph they belong to.

A states file is an `.npz` archive in the format of `states_format`: arrays and a JSON header,
read without pickles. Its "graph" is the graph's text form, so a file saved for one graph is
refused for another; any other file (older pickle states files included) is refused with a
line saying how to make a new one.
"""
from __future__ import annotations

from collections.abc import Callable
from pathlib import Path
from typing import BinaryIO

import numpy as np

from quillmarsh.cli import states_format
from quillmarsh.cli.errors import UserError
from quillmarsh.cli.file_checks import check_input_file
from quillmarsh.cli.npz_reader import read_npz

_ZIP_SIGNATURE = b"PK"
REGENERATE = ("states files are .npz archives written by --states-out; make a new one by "
              "evaluating the graph again with --states-out")


def states_writer(graph_text: str, states: dict) -> Callable[[BinaryIO], None]:
    """Writes the states file of `states` to a stream; encoding happens now, before any write."""
    try:
        arrays = states_format.encode(graph_text, states)
    except ValueError as error:
        raise UserError(f"the states cannot be saved: {error}") from None
    return lambda stream: np.savez(stream, **arrays)


def load_states(path: Path, graph_text: str, limit: int) -> dict:
    """The states saved in `path`, which must have been saved for `graph_text`."""
    check_input_file(path, "states file")
    label = f"states file {path}"
    if not _starts_like_a_zip(path):
        raise UserError(f"{label} is not a quillmarsh states file (pickle states files of "
                        f"earlier versions are not read); {REGENERATE}")
    try:
        arrays = read_npz(path, label, limit)
    except UserError as error:
        raise UserError(f"{error}; {REGENERATE}") from None
    try:
        saved_graph, states = states_format.decode(arrays)
    except ValueError as error:
        raise UserError(f"{label} is not a valid quillmarsh states file: {error}; "
                        f"{REGENERATE}") from None
    if saved_graph != graph_text:
        raise UserError(f"{label} was saved for the graph {saved_graph}, not for {graph_text}")
    return states


def _starts_like_a_zip(path: Path) -> bool:
    with path.open("rb") as stream:
        return stream.read(len(_ZIP_SIGNATURE)) == _ZIP_SIGNATURE
