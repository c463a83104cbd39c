"""Wrapping a signal graph in the rotations of a transform pipeline."""
from __future__ import annotations

from numbers import Integral, Real
from typing import Any

from quillmarsh.simulator_engine._types import FunctionGraphNode, TransformStage


def resolve_stage_option(metaparameters: Any, pool_id: Any, stage: TransformStage) -> Any:
    """A stage's option: the top-level metaparameter, else the pool's own entry, else the default.

    A top-level entry wins even when it is None (it switches the option off).
    """
    if metaparameters is None:
        return stage.default
    if stage.name in metaparameters:
        return metaparameters[stage.name]
    if pool_id is not None and pool_id in metaparameters:
        pool_entry = metaparameters[pool_id]
        if hasattr(pool_entry, "get") and stage.name in pool_entry:
            return pool_entry.get(stage.name)
    return stage.default


def combine_signal_and_transforms(graph: FunctionGraphNode, transform_pipeline: Any,
                                  metaparameters: Any, registry: Any,
                                  context: Any) -> FunctionGraphNode:
    """Return a new root applying every stage, in order, on top of `graph`.

    Each stage becomes a "rotation" node whose first child is the current root and whose
    second child, present only when the stage's option is not None, is the option as a literal.
    `graph` is not modified. `registry` is part of the calling convention; the stages alone
    decide the shape of the result.
    """
    pool_id = getattr(context, "pool_id", None)
    root = graph
    for stage in transform_pipeline or ():
        option = resolve_stage_option(metaparameters, pool_id, stage)
        children = [root] if option is None else [root, _option_literal(stage, option)]
        root = FunctionGraphNode("rotation", stage.function_name, children)
    return root


def _option_literal(stage: TransformStage, option: Any) -> FunctionGraphNode:
    """A literal node for a stage option; bool is tested first since it is also an integer."""
    if isinstance(option, bool):
        return FunctionGraphNode("bool", option)
    if isinstance(option, Integral):
        return FunctionGraphNode("int", int(option))
    if isinstance(option, Real):
        return FunctionGraphNode("float", float(option))
    if isinstance(option, str):
        return FunctionGraphNode("string", option)
    raise TypeError(
        f"Transform stage '{stage.name}' option {option!r} is not a float, int, string or bool")
