"""Which evaluation path the engine takes for a graph: the first fast path whose detector accepts
it, in the engine's own order, else the general row-by-row evaluator.

A detector the engine does not export is simply not taken.
"""
from __future__ import annotations

from typing import Any

from quillmarsh.simulator_engine import expression_evaluator as engine

LEAF, RANK, RANK_PRODUCT, LONGITUDINAL, GENERAL = (
    "leaf", "rank", "rank product", "longitudinal", "general")
STATES_PATH_NOTE = "the longitudinal path saves no states, so --states-out runs the general path"


def engine_path(graph: Any, context: Any, function_states: Any = None, *,
                bound_function_instances: Any = None, data_nan_features: Any = None) -> str:
    rows = len(context.features[0])
    # (path, detector, positional arguments after the states, keyword arguments besides
    # data_nan_features), in the order the engine tries them.
    detectors = (
        (LEAF, "_can_use_leaf_fast_path", (), {}),
        (RANK, "_can_use_simple_rank_fast_path", (), {}),
        (RANK_PRODUCT, "_can_use_rank_multiply_fast_path", (),
         {"bound_function_instances": bound_function_instances}),
        (LONGITUDINAL, "_can_use_longitudinal_fast_path", (rows,), {}),
    )
    for label, name, extra_args, extra_kwargs in detectors:
        detector = getattr(engine, name, None)
        if detector is not None and detector(graph, context, function_states, *extra_args,
                                             data_nan_features=data_nan_features, **extra_kwargs):
            return label
    return GENERAL
