"""Read-only queries over function graphs."""
from __future__ import annotations

from typing import Any

FEATURE_LEAF_TYPES = frozenset({"feature", "aggregation"})


def extract_feature_leaf_names(graph: Any) -> list:
    """Names of the graph's feature and aggregation leaves, unique, in depth-first pre-order.

    Each node is visited once, so a subgraph shared by several parents costs one visit and a
    cyclic graph ends the walk (the evaluation itself then reports the cycle).
    """
    names: dict = {}
    visited: set = set()
    pending = [graph]
    while pending:
        node = pending.pop()
        if id(node) in visited:
            continue
        visited.add(id(node))
        if node.type in FEATURE_LEAF_TYPES:
            names.setdefault(node.node, None)
        pending.extend(reversed(node.children or ()))
    return list(names)
