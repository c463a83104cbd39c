"""Checks of configuration values shared by the built-in functions."""
from __future__ import annotations

import operator
from typing import Any


def validated_window(window: Any) -> int:
    """A window length: an integer of at least 1 (bool is refused)."""
    if isinstance(window, bool):
        raise TypeError(f"window must be an integer, got {window!r}")
    try:
        length = operator.index(window)
    except TypeError:
        raise TypeError(f"window must be an integer, got {window!r}") from None
    if length < 1:
        raise ValueError(f"window must be at least 1, got {length}")
    return length


def check_saved_window(data: dict, window: int) -> None:
    """A saved state must come from an instance of the same window (a missing "window" passes)."""
    saved = data.get("window", window)
    if saved != window:
        raise ValueError(f"saved state has window {saved}, this instance has window {window}")
