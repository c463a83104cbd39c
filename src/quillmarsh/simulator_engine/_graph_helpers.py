"""Read-only queries over function graphs."""
from __future__ import annotations

from typing import Any

FEATURE_LEAF_TYPES = frozenset({"feature", "aggregation"})


def extract_feature_leaf_names(graph: Any) -> list:
    """Names of the graph's feature and aggregation leaves, unique, in depth-first pre-order."""
    names: dict = {}
    pending = [graph]
    while pending:
        node = pending.pop()
        if node.type in FEATURE_LEAF_TYPES:
            names.setdefault(node.node, None)
        pending.extend(reversed(node.children or ()))
    return list(names)
