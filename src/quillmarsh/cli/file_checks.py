"""What the files named on the command line must be: inputs existing regular files (a pipe or
a device would block or never end), outputs regular files or nothing yet."""
from __future__ import annotations

import os
import stat
from pathlib import Path

from quillmarsh.cli.errors import UserError


def check_input_file(path: Path, label: str) -> None:
    """`label` names the file's role in messages: "data file", "states file", ..."""
    mode = _mode(path, label)
    if mode is None:
        raise UserError(f"{label} {path} does not exist")
    _check_regular(mode, path, label)


def check_output_target(path: Path, option: str) -> None:
    """Refuses a target that exists but is not a regular file (a folder, a device, a pipe)."""
    mode = _mode(path, option)
    if mode is not None:
        _check_regular(mode, path, option)


def _mode(path: Path, label: str) -> int | None:
    try:
        return os.stat(path).st_mode
    except FileNotFoundError:
        return None
    except OSError as error:
        raise UserError(f"{label} {path}: {error.strerror}") from None


def _check_regular(mode: int, path: Path, label: str) -> None:
    if stat.S_ISDIR(mode):
        raise UserError(f"{label} {path} is a folder; name a file")
    if not stat.S_ISREG(mode):
        raise UserError(f"{label} {path} is not a regular file")
