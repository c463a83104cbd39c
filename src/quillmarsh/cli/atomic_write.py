"""Output files appear whole or not at all, and together.

Every output is written to a temporary file next to its target through a Python file object,
flushed, synced to disk and checked for size; only when all of them are written are they
renamed onto their targets. A failed write is a UserError and leaves every target as it was.
"""
from __future__ import annotations

import errno
import os
import stat
import tempfile
from collections.abc import Callable, Sequence
from pathlib import Path
from typing import BinaryIO

import numpy as np

from quillmarsh.cli.errors import UserError

Writer = Callable[[BinaryIO], None]
# Longest part of the target's name kept in its temporary's name, so that the temporary's
# name stays within file-system limits whenever the target's does.
_NAME_PREFIX_CHARS = 64


class _WriteOnly:
    """Hides the file object from NumPy, which would otherwise write through `tofile` and
    lose the errors of a full disk or a file-size limit."""

    def __init__(self, stream: BinaryIO) -> None:
        self.write = stream.write


def npy_writer(array: np.ndarray) -> Writer:
    return lambda stream: np.lib.format.write_array(_WriteOnly(stream), np.asanyarray(array),
                                                    allow_pickle=False)


def write_outputs(outputs: Sequence[tuple[Path, Writer]]) -> None:
    """Writes every (target, writer) pair; no target is replaced before all are written."""
    written: list[tuple[str, Path]] = []
    try:
        for path, write in outputs:
            written.append((_write_temporary(path, write), path))
        for temporary, path in written:
            os.replace(temporary, path)
    except OSError as error:
        raise UserError(f"cannot write {path}: {error.strerror or error}") from None
    finally:
        for temporary, _ in written:
            Path(temporary).unlink(missing_ok=True)


def write_atomically(path: Path, write: Writer) -> None:
    """One output, whole or not at all."""
    write_outputs([(path, write)])


def _write_temporary(path: Path, write: Writer) -> str:
    path.parent.mkdir(parents=True, exist_ok=True)
    fd, temporary = tempfile.mkstemp(prefix=f".{path.name[:_NAME_PREFIX_CHARS]}.", suffix=".tmp",
                                     dir=path.parent)
    try:
        os.fchmod(fd, _mode_for(path))
        with os.fdopen(fd, "wb") as stream:
            write(stream)
            stream.flush()
            os.fsync(stream.fileno())
            _check_size(stream)
    except BaseException:
        Path(temporary).unlink(missing_ok=True)
        raise
    return temporary


def _mode_for(path: Path) -> int:
    """The permissions of the file being replaced, else those of a new file (temporary files
    are created private)."""
    try:
        return stat.S_IMODE(os.stat(path).st_mode)
    except FileNotFoundError:
        umask = os.umask(0)
        os.umask(umask)
        return 0o666 & ~umask


def _check_size(stream: BinaryIO) -> None:
    expected, held = stream.tell(), os.fstat(stream.fileno()).st_size
    if held != expected:
        raise OSError(errno.EIO, f"wrote {expected} bytes but the file holds {held}")
