"""Reading `.npz` archives without trusting them.

Each member's `.npy` header is read first: its declared shape and dtype must account for exactly
the bytes the member holds, and the declared sizes together must fit the memory budget. Only
then are the arrays read, never with pickles. Anything else is a UserError naming the file.
"""
from __future__ import annotations

import lzma
import math
import zipfile
import zlib
from pathlib import Path
from typing import IO

import numpy as np

from quillmarsh.cli.data_size import over_budget_message
from quillmarsh.cli.errors import UserError

_NPY_SUFFIX = ".npy"
_HEADER_READERS = {(1, 0): np.lib.format.read_array_header_1_0,
                   (2, 0): np.lib.format.read_array_header_2_0}
# What zipfile and the decompressors raise for damaged or unsupported archives.
_ARCHIVE_ERRORS = (OSError, EOFError, ValueError, RuntimeError, NotImplementedError,
                   zipfile.BadZipFile, zlib.error, lzma.LZMAError)


def read_npz(path: Path, label: str, limit: int) -> dict[str, np.ndarray]:
    """The arrays of the archive at `path`, by name; `label` names the file in messages."""
    try:
        with zipfile.ZipFile(path) as archive:
            members = _checked_members(archive, label, limit)
            return {name: _read_array(archive, info) for name, info in members.items()}
    except FileNotFoundError:
        raise UserError(f"{label} does not exist") from None
    except IsADirectoryError:
        raise UserError(f"{label} is a folder, not an .npz file") from None
    except _ARCHIVE_ERRORS as error:
        raise UserError(f"{label} cannot be read as .npz: {error}") from None


def _checked_members(archive: zipfile.ZipFile, label: str, limit: int) -> dict[str, zipfile.ZipInfo]:
    members: dict[str, zipfile.ZipInfo] = {}
    total = 0
    for info in archive.infolist():
        if not info.filename.endswith(_NPY_SUFFIX):
            raise UserError(f"{label} holds '{info.filename}', which is not an .npy array")
        name = info.filename[:-len(_NPY_SUFFIX)]
        if name in members:
            raise UserError(f"{label} holds two arrays named '{name}'")
        members[name] = info
        total += _declared_bytes(archive, info, name, label)
        if total > limit:
            raise UserError(f"{label}: " + over_budget_message("its arrays", total, limit))
    return members


def _declared_bytes(archive: zipfile.ZipFile, info: zipfile.ZipInfo, name: str, label: str) -> int:
    """The bytes the member's header declares, checked against the bytes it holds."""
    with archive.open(info) as stream:
        shape, dtype, header_size = _read_header(stream, name, label)
    declared = math.prod(shape) * dtype.itemsize
    held = info.file_size - header_size
    if declared != held:
        raise UserError(f"{label}: array '{name}' declares shape {shape} of {dtype} "
                        f"({declared} bytes) but holds {held} bytes")
    return declared


def _read_header(stream: IO[bytes], name: str, label: str) -> tuple[tuple[int, ...], np.dtype, int]:
    try:
        version = np.lib.format.read_magic(stream)
        reader = _HEADER_READERS.get(version)
        if reader is None:
            raise ValueError(f"unsupported .npy version {version}")
        shape, _, dtype = reader(stream)
    except ValueError as error:
        raise UserError(f"{label}: array '{name}' has no valid .npy header: {error}") from None
    if dtype.hasobject:
        raise UserError(f"{label}: array '{name}' holds Python objects, which are never loaded")
    return shape, dtype, stream.tell()


def _read_array(archive: zipfile.ZipFile, info: zipfile.ZipInfo) -> np.ndarray:
    with archive.open(info) as stream:
        return np.lib.format.read_array(stream, allow_pickle=False)
