"""Filter trees, filtration results and the errors of an empty selection."""
from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any


@dataclass
class FilterNode:
    """One operator of a filter tree: its name, named parameters and child filters."""

    function_name: str
    params: dict | None = None
    children: list | None = None

    def __post_init__(self) -> None:
        if self.params is None:
            self.params = {}
        if self.children is None:
            self.children = []


@dataclass
class FiltrationResult:
    """The signals that passed a filtration, in pool order, with counts and diagnostics."""

    passing_ids: list
    signal_count: int
    total_pool_size: int
    filter_diagnostics: dict = field(default_factory=dict)


class FiltrationError(Exception):
    """A filtration that selected nothing; `filter_diagnostics` says why."""

    def __init__(self, message: str, filter_diagnostics: dict[str, Any] | None = None) -> None:
        super().__init__(message)
        self.message = message
        self.filter_diagnostics = filter_diagnostics if filter_diagnostics is not None else {}


class EmptyFiltrationError(FiltrationError):
    """No signal of a non-empty pool passed the filter tree."""


class EmptyPoolError(FiltrationError):
    """The pool of useful signals is empty."""
