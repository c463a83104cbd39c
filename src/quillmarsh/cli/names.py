"""Function names of the text form: friendly aliases of the built-ins and the node kind of a call."""
from __future__ import annotations

from typing import Any

from quillmarsh.simulator_engine.expression_evaluator import FILTRATION_NODE_TYPES

PRODUCT = "numerical_combine_d65e04"

ALIASES: dict[str, str] = {
    "rank": "latitudinal_rank_688068",
    "mul": PRODUCT,
    "mean": "longitudinal_accumulators_25c7fb",
    "std": "longitudinal_accumulators_a5b1f0",
    "zscore": "longitudinal_accumulators_7e8468",
    "demean": "cross_sectional_demean_5e2a7c",
    "scale": "cross_sectional_scale_c81f06",
    "pool_mean": "reduction_mean_3f9c2e",
    "pool_pnl_weighted": "reduction_pnl_weighted_b7d41a",
}

ALIAS_OF: dict[str, str] = {name: alias for alias, name in ALIASES.items()}


def is_filter_operator(name: str) -> bool:
    return name in FILTRATION_NODE_TYPES


def resolve_call(name: str, registry: Any) -> tuple[str, str] | None:
    """(node type, node value) of a call written as `name(...)`, or None for an unknown name.

    Filter operators keep their name as both; functions resolve through the aliases to a
    registry name and are "reduction" nodes when the registry files them as reductions.
    """
    if is_filter_operator(name):
        return name, name
    function_name = ALIASES.get(name, name)
    if not registry.has(function_name):
        return None
    family = getattr(registry.get_entry(function_name), "family", "")
    return ("reduction" if family == "reduction" else "rotation"), function_name


def display_name(function_name: str) -> str:
    """The alias of a built-in, or the registry name itself."""
    return ALIAS_OF.get(function_name, function_name)
