"""The memory budget for loaded data: how sizes are written on the command line and in messages.

Every loader checks the sizes a file declares against the budget before allocating, so a small
file that claims (or would expand to) gigabytes is refused instead of exhausting memory.
"""
from __future__ import annotations

import argparse
from pathlib import Path

from quillmarsh.cli.errors import UserError

DEFAULT_LIMIT = 4 * 1024 ** 3
FLOAT64_BYTES = 8
OPTION = "--max-data-size"
_UNITS = {"": 1, "K": 1024, "M": 1024 ** 2, "G": 1024 ** 3, "T": 1024 ** 4}


def parse_size(text: str) -> int:
    """Bytes of a size such as 512M, 4GiB or 1500000 (binary units; B and iB are optional)."""
    number = text.strip().upper().removesuffix("B").removesuffix("I")
    unit = number[-1:] if number[-1:] in _UNITS else ""
    try:
        value = float(number[:len(number) - len(unit)]) * _UNITS[unit]
    except ValueError:
        raise argparse.ArgumentTypeError(f"invalid size {text!r}; write e.g. 512M or 8G") from None
    if not value > 0 or value == float("inf"):
        raise argparse.ArgumentTypeError(f"invalid size {text!r}; it must be positive")
    return int(value)


def format_size(size: float) -> str:
    """1536 -> '1.5 KiB': the largest binary unit that keeps the number at least 1."""
    if size < 1024:
        return f"{size:.0f} B"
    for unit in ("KiB", "MiB", "GiB"):
        size /= 1024
        if size < 1024:
            return f"{size:.1f} {unit}"
    return f"{size / 1024:.1f} TiB"


def add_option(parser: argparse.ArgumentParser) -> None:
    parser.add_argument(OPTION, type=parse_size, default=DEFAULT_LIMIT, metavar="SIZE",
                        help="refuse data that would take more memory than this "
                             "(default 4G; units K, M, G, T)")


def over_budget_message(what: str, size: int, limit: int) -> str:
    return (f"{what} would take {format_size(size)} of memory, above the limit of "
            f"{format_size(limit)} (raise it with {OPTION})")


def check_expansion(path: Path, shape: tuple[int, int], matrices: int, limit: int) -> None:
    """Refuses a long table whose (dates, assets) matrices would not fit the budget: a few rows
    of many distinct dates and assets expand to a huge, mostly empty grid."""
    size = matrices * shape[0] * shape[1] * FLOAT64_BYTES
    if size > limit:
        raise UserError(f"data file {path} expands to {shape[0]} dates x {shape[1]} assets: "
                        + over_budget_message(f"{matrices} matrices of that shape", size, limit))
