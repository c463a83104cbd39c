"""Function names of the text form: aliases of the built-ins and native operators, the paper
spellings of the alpha literature, and the node kind of a call.

Aliases and paper spellings are matched whatever their case (`Ts_Rank`, `SignedPower`); a
registry name is matched exactly.
"""
from __future__ import annotations

import functools
from typing import Any

from quillmarsh.simulator_engine import expression_evaluator
from quillmarsh.simulator_engine.expression_evaluator import FILTRATION_NODE_TYPES

# The reductions are not native operators; every other built-in is in the operator table.
REDUCTION_ALIASES: dict[str, str] = {
    "pool_mean": "reduction_mean_3f9c2e",
    "pool_pnl_weighted": "reduction_pnl_weighted_b7d41a",
}

# Other spellings of an alias, as the alpha literature writes them; printing uses the alias.
PAPER_SPELLINGS: dict[str, str] = {
    "sum": "ts_sum", "product": "ts_product", "stddev": "std", "ts_mean": "mean", "ts_std": "std",
    "ts_stddev": "std",
}


@functools.cache
def aliases() -> dict[str, str]:
    """Alias -> registry name, for every native operator and the reductions."""
    table = {row["alias"]: row["name"] for row in expression_evaluator._operator_table()}
    return {**table, **REDUCTION_ALIASES}


@functools.cache
def _alias_of() -> dict[str, str]:
    return {name: alias for alias, name in aliases().items()}


def registry_name(alias: str) -> str:
    """The registry name behind an alias the text form itself uses ("add", "where")."""
    return aliases()[alias]


def alias_of(function_name: object) -> str | None:
    """The alias of a registry name; None for other names and for values that are no name."""
    return _alias_of().get(function_name) if isinstance(function_name, str) else None


def canonical_alias(written: str) -> str | None:
    """The alias a name written in a call stands for, ignoring case; None when it is no alias."""
    key = written.lower()
    key = PAPER_SPELLINGS.get(key, key)
    return key if key in aliases() else None


def is_filter_operator(name: str) -> bool:
    return name in FILTRATION_NODE_TYPES


def resolve_call(name: str, registry: Any) -> tuple[str, str] | None:
    """(node type, node value) of a call written as `name(...)`, or None for an unknown name.

    Filter operators keep their name as both; functions resolve through the aliases to a
    registry name and are "reduction" nodes when the registry files them as reductions.
    """
    if is_filter_operator(name):
        return name, name
    alias = canonical_alias(name)
    function_name = aliases()[alias] if alias else name
    if not registry.has(function_name):
        return None
    family = getattr(registry.get_entry(function_name), "family", "")
    return ("reduction" if family == "reduction" else "rotation"), function_name


def display_name(function_name: object) -> str:
    """The alias of a built-in or native operator, or the registry name itself."""
    return alias_of(function_name) or str(function_name)
