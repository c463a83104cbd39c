"""Evaluation of filter trees over a pool of useful signals.

Every operator maps the pool (the signals' metadata maps, in pool order) to a boolean mask;
the table `_OPERATORS` names the function of each operator family. A signal whose metadata
lacks an operator's field fails that operator's test. Ranking operators see the whole pool,
whatever their siblings keep, so the result of a tree does not depend on child order.
"""
from __future__ import annotations

import math
import operator
from collections.abc import Callable, Mapping
from numbers import Integral, Real
from typing import Any

import numpy as np

from quillmarsh.functions.filtrations import EmptyFiltrationError, EmptyPoolError, FilterNode

Pool = list[Mapping[str, Any]]

_COMPARISONS: dict[str, Callable[[Any, Any], Any]] = {
    "gt": operator.gt,
    "lt": operator.lt,
    "gte": operator.ge,
    "lte": operator.le,
    "eq": operator.eq,
    "neq": operator.ne,
}


class FiltrationInstance:
    """A filter tree bound for evaluation; call it with the useful-signals map."""

    def __init__(self, filter_tree: FilterNode, registry: Any = None) -> None:
        self.filter_tree = filter_tree
        self.registry = registry

    def __call__(self, useful_signals: Mapping[Any, Any]) -> list:
        """The ids of the passing signals, in the map's iteration order."""
        ids = list(useful_signals)
        if not ids:
            raise EmptyPoolError("Useful signal pool is empty",
                                 {"passing_count": 0, "pool_size": 0})
        pool = [getattr(useful_signals[sid], "metadata", None) or {} for sid in ids]
        mask = _evaluate(self.filter_tree, pool)
        passing = [sid for sid, keep in zip(ids, mask) if keep]
        if not passing:
            raise EmptyFiltrationError("No signal passed the filtration",
                                       {"passing_count": 0, "pool_size": len(ids)})
        return passing


def _evaluate(node: FilterNode, pool: Pool) -> np.ndarray:
    family = _OPERATORS.get(node.function_name)
    if family is None:
        raise ValueError(f"Unknown filter operator '{node.function_name}'")
    return family(node, pool)


def _param(node: FilterNode, name: str) -> Any:
    if name not in node.params:
        raise ValueError(f"Filter operator '{node.function_name}' requires param '{name}'")
    return node.params[name]


def _field_test(pool: Pool, field: str, test: Callable[[Any], Any]) -> np.ndarray:
    return np.array([field in metadata and bool(test(metadata[field])) for metadata in pool],
                    dtype=bool)


def _comparison(node: FilterNode, pool: Pool) -> np.ndarray:
    compare = _COMPARISONS[node.function_name]
    value = _param(node, "value")
    return _field_test(pool, _param(node, "field"), lambda x: compare(x, value))


def _between(node: FilterNode, pool: Pool) -> np.ndarray:
    low, high = _param(node, "low"), _param(node, "high")
    return _field_test(pool, _param(node, "field"), lambda x: low <= x <= high)


def _membership(node: FilterNode, pool: Pool) -> np.ndarray:
    values = _param(node, "values")
    return _field_test(pool, _param(node, "field"), lambda x: x in values)


def _logical(node: FilterNode, pool: Pool) -> np.ndarray:
    """and_ and the root "filtration" keep what every child keeps (all, with no child);
    or_ what any child keeps; not_ what the and_ of its children drops."""
    masks = np.array([_evaluate(child, pool) for child in node.children], dtype=bool)
    masks = masks.reshape(len(node.children), len(pool))
    if node.function_name == "or_":
        return masks.any(axis=0)
    passing = masks.all(axis=0)
    return ~passing if node.function_name == "not_" else passing


def _ranked(node: FilterNode, pool: Pool) -> np.ndarray:
    """top_/bottom_ operators: the highest or lowest values of the field; ties keep pool order.

    Signals without the field, or whose value is NaN, are not ranked.
    """
    field = _param(node, "field")
    ranked = [i for i, metadata in enumerate(pool)
              if field in metadata and not _is_nan(metadata[field])]
    keep = _selection_size(node, len(ranked))
    ordered = sorted(ranked, key=lambda i: pool[i][field],
                     reverse=node.function_name.startswith("top_"))
    mask = np.zeros(len(pool), dtype=bool)
    mask[ordered[:keep]] = True
    return mask


def _selection_size(node: FilterNode, ranked_count: int) -> int:
    if node.function_name.endswith("_pct"):
        pct = _param(node, "pct")
        if isinstance(pct, bool) or not isinstance(pct, Real) or not 0 < pct <= 100:
            raise ValueError(
                f"Filter operator '{node.function_name}' needs 0 < pct <= 100, got {pct!r}")
        # pct * n / 100 rather than pct / 100 * n: 10 / 100 * 30 rounds up to 3.0000000000000004.
        return math.ceil(pct * ranked_count / 100)
    n = _param(node, "n")
    if isinstance(n, bool) or not isinstance(n, Integral) or n < 0:
        raise ValueError(
            f"Filter operator '{node.function_name}' needs a non-negative integer n, got {n!r}")
    return int(n)


def _is_nan(value: Any) -> bool:
    return isinstance(value, Real) and math.isnan(value)


_OPERATORS: dict[str, Callable[[FilterNode, Pool], np.ndarray]] = {
    **dict.fromkeys(_COMPARISONS, _comparison),
    "between": _between,
    "in_": _membership,
    **dict.fromkeys(("filtration", "and_", "or_", "not_"), _logical),
    **dict.fromkeys(("top_pct", "bottom_pct", "top_n", "bottom_n"), _ranked),
}
