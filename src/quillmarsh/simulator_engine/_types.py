"""Record types and errors shared by the engine and its host package."""
from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any

import numpy as np


class SimulatorEngineError(Exception):
    """Common base of the engine's errors; built with one message."""

    def __init__(self, message: str = "") -> None:
        super().__init__(message)
        self.message = message

    def __str__(self) -> str:
        return self.message


class EvaluationError(SimulatorEngineError):
    """Bad inputs, missing features or fields, key mismatches."""


class EvaluationShapeError(EvaluationError):
    """Feature matrices or function results of the wrong shape or type."""


class FunctionExecutionError(SimulatorEngineError):
    """Configuration and binding errors, and errors raised inside function instances."""


class FiltrationResolutionError(SimulatorEngineError):
    """Unexpected failures while resolving a filtration node."""


class SchemaError(SimulatorEngineError):
    """A graph node or stage-data value of the wrong type."""


class FunctionGraphNode:
    """One node of a function graph.

    `type` is the node kind ("rotation", "feature", "float", ...), `node` its value
    (function name, feature name or literal), `children` its ordered inputs and
    `config` its explicit configuration. The engine adds cache attributes
    (`_node_identities`, `_collect_nodes_cache`, `_state_identity`) when it needs them;
    nodes compare by identity.
    """

    def __init__(self, type: str, node: Any, children: list | None = None,
                 config: dict | None = None, canonical_id: str | None = None) -> None:
        self.type = type
        self.node = node
        self.children = children
        self.config = config
        self.canonical_id = canonical_id

    def __repr__(self) -> str:
        kids = self.children or []
        inner = ", ".join(repr(child) for child in kids)
        return f"FunctionGraphNode({self.type!r}, {self.node!r}{', [' + inner + ']' if kids else ''})"


@dataclass
class FunctionState:
    """Saved state of one stateful function instance."""

    function_name: str
    function_version: Any
    data: Any


@dataclass
class UsefulSignal:
    """A candidate signal of a pool: its weights (T, N_alloc), PnL (T rows) and metadata."""

    weights: np.ndarray | None = None
    pnl: np.ndarray | None = None
    metadata: dict = field(default_factory=dict)

    def __post_init__(self) -> None:
        if self.metadata is None:
            self.metadata = {}


@dataclass
class TransformStage:
    """One stage of a transform pipeline applied on top of a signal."""

    name: str
    function_name: str
    default: Any = None


class StageData:
    """Named two-dimensional arrays produced by earlier pipeline stages."""

    def __init__(self, values: dict | None = None) -> None:
        self.values = dict(values) if values else {}

    def is_empty(self) -> bool:
        return not self.values

    def value(self, name: str, default: Any = None) -> Any:
        return self.values.get(name, default)

    def __repr__(self) -> str:
        return f"StageData({sorted(self.values)!r})"
