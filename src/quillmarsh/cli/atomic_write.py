"""Output files appear whole or not at all: write a temporary file, then rename it."""
from __future__ import annotations

import os
import pickle
import tempfile
from collections.abc import Callable
from pathlib import Path
from typing import Any, BinaryIO

import numpy as np


def write_atomically(path: Path, write: Callable[[BinaryIO], Any]) -> None:
    """Call `write` on a temporary file next to `path` and rename it to `path` when it succeeds.

    On any failure the temporary file is removed and `path` is left as it was.
    """
    path.parent.mkdir(parents=True, exist_ok=True)
    fd, temporary = tempfile.mkstemp(prefix=f".{path.name}.", suffix=".tmp", dir=path.parent)
    try:
        with os.fdopen(fd, "wb") as stream:
            write(stream)
        os.replace(temporary, path)
    except BaseException:
        Path(temporary).unlink(missing_ok=True)
        raise


def write_npy(path: Path, array: np.ndarray) -> None:
    write_atomically(path, lambda stream: np.save(stream, array, allow_pickle=False))


def write_pickle(path: Path, value: Any) -> None:
    write_atomically(path, lambda stream: pickle.dump(value, stream, protocol=pickle.HIGHEST_PROTOCOL))
