"""Reproducers of inputs that once crashed the engine; each runs in the worker of runner.py.

Every function raises on a wrong answer (AssertionError) and otherwise lets the engine's own
outcome (a result or a typed error) through to the parent.
"""
from __future__ import annotations

import os
import threading

import numpy as np

from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import (FunctionExecutionError, FunctionGraphNode as Node,
                                                SimulatorEngineError, StageData)

from .fakes import CacheDroppingIndex, DrawnError, OddShape, ScriptedInstance, ScriptedRegistry

RANK = "latitudinal_rank_688068"
MEAN = "longitudinal_accumulators_25c7fb"


def context(rows=3, cols=2, **fields):
    fields.setdefault("registry", default_registry())
    return ee.EvaluationContext([np.ones((rows, cols))], {"x": 0}, universe=np.ones((rows, cols)), **fields)


def first_feature_of_shape(shape, signal, validate):
    """A context (then an evaluation) whose first feature has `shape` and whose one signal (if any) is `signal`."""
    ctx = ee.EvaluationContext([np.zeros(shape)], {"x": 0}, useful_signals=None if signal is None else {"s": signal},
                               universe=np.ones(shape), validate_inputs=validate)
    ee.evaluate(Node("feature", "x"), ctx)


def shape_given_as(shape):
    """An evaluation whose first feature reports `shape` (a list, say) instead of a tuple."""
    ctx = ee.EvaluationContext([OddShape(shape)], {}, universe=np.ones((3, 2)), validate_inputs=False)
    ee.evaluate(Node("float", -1.0), ctx, function_states={})


def named(where, name):
    """An evaluation where `name` is a feature, function, config key, index key or failing text."""
    graph = Node("rotation", RANK, [Node("feature", "x")])
    ctx = context()
    if where == "feature":
        graph = Node("feature", name)
    elif where == "function":
        graph = Node("rotation", name, [Node("feature", "x")])
    elif where == "config key":
        graph = Node("rotation", "user", [Node("feature", "x")], config={name: 1})
        ctx = context(registry=ScriptedRegistry({"user": ScriptedInstance([0.0])}, {"window": "int"},
                                                family="virtualization"))
    elif where == "index key":
        ctx = ee.EvaluationContext([np.ones((3, 2))], {name: 4})
    elif where == "instance error":
        graph = Node("rotation", "user", [Node("feature", "x")])
        try:
            ee.evaluate(graph, ctx, bound_function_instances={"root": ScriptedInstance([DrawnError(name)])})
        except FunctionExecutionError as error:
            assert isinstance(error.__cause__, DrawnError), "the instance's error is the cause"
            raise
    ee.evaluate(graph, ctx)


def rank_chain(depth):
    graph = Node("feature", "x")
    for _ in range(depth):
        graph = Node("rotation", RANK, [graph])
    return graph


def rolling_chain(depth):
    graph = Node("feature", "x")
    for _ in range(depth):
        graph = Node("rotation", MEAN, [graph, Node("int", 1)])
    return graph


WALKS = {
    "evaluate": lambda: ee.evaluate(rank_chain(900), context()),
    "longitudinal": lambda: ee.evaluate(rolling_chain(900), context(rows=ee._LONGITUDINAL_FAST_MIN_ROWS, cols=1)),
    "identities": lambda: ee.generate_node_identities(rank_chain(900)),
    "warm-up": lambda: ee._compute_graph_warmup_rows(rolling_chain(900), default_registry()),
    "preflight": lambda: ee._preflight_explicit_graph_config(default_registry(), rank_chain(900), "root"),
    "state identities": lambda: ee._annotate_state_identities(rank_chain(900)),
    "invalidation": lambda: ee.invalidate_graph_evaluation_caches(rank_chain(900)),
}


def walk_in_small_stack(walk):
    """A 900-deep graph walked in a thread with a 256 KiB stack; its error is re-raised here."""
    failures = []

    def body():
        try:
            WALKS[walk]()
        except Exception as error:  # noqa: BLE001 - handed to the calling thread
            failures.append(error)

    previous = threading.stack_size(256 * 1024)
    try:
        thread = threading.Thread(target=body)
        thread.start()
        thread.join()
    finally:
        threading.stack_size(previous)
    if failures:
        raise failures[0]


def cyclic_graph_with_stage_data():
    """An evaluation of a cyclic graph with stage data, which looks up the graph's feature leaves."""
    graph = Node("rotation", RANK, [Node("feature", "x")])
    graph.children.append(graph)
    ee.evaluate(graph, context(stage_data=StageData({"z": np.ones((3, 2))})))


def shared_subgraph_doubling(depth, stage_data):
    """A graph reusing one node object twice at every level: 2**depth places to walk."""
    graph = Node("feature", "x")
    for _ in range(depth):
        graph = Node("rotation", RANK, [graph, graph])
    fields = {"stage_data": StageData({"z": np.ones((3, 2))})} if stage_data else {}
    ee.evaluate(graph, context(**fields))


def cache_dropped_by_feature_index():
    """Evaluations served from the collect-nodes cache while feature_index empties and drops it."""
    graph = Node("rotation", "user", [Node("feature", "x"), Node("feature", "y")])
    data = np.arange(6.0).reshape(3, 2)
    ctx = ee.EvaluationContext([data, data + 1], CacheDroppingIndex({"x": 0, "y": 1}, graph),
                               universe=np.ones((3, 2)))
    bound = {"root": ScriptedInstance([np.full(2, 5.0)])}
    results = [ee.evaluate(graph, ctx, bound_function_instances=bound).weights for _ in range(3)]
    for weights in results:
        np.testing.assert_array_equal(weights, np.full((3, 2), 5.0))


def evaluate_drawn(entry, graph, fields, options):
    """One drawn case: a context built from `fields`, then `entry` called on `graph`."""
    if entry == "identities":
        ee.generate_node_identities(graph)
    elif entry == "warm-up":
        ee._compute_graph_warmup_rows(graph, fields.get("registry"))
    else:
        ctx = ee.EvaluationContext(**fields)
        for _ in range(2 if entry == "evaluate twice" else 1):
            ee.evaluate(graph, ctx, **options)


def resident_bytes():
    with open("/proc/self/statm") as statm:
        return int(statm.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


def repeated_evaluations(count, allowed_growth):
    """`count` evaluations of small graphs, half of them raising, grow the resident memory little."""
    graph = Node("rotation", "user", [Node("rotation", RANK, [Node("feature", "x")]), Node("float", 2.0)])
    cols = 64  # wide enough rows that one leaked row per evaluation shows
    ctx = context(rows=5, cols=cols)
    # Every other evaluation raises: a failing instance, or a result of the wrong shape.
    instances = [ScriptedInstance([np.ones(cols)]), ScriptedInstance([DrawnError("row failed")]),
                 ScriptedInstance([np.ones(cols)]), ScriptedInstance([np.ones(cols + 1)])]

    def evaluate(i):
        bound = {"root": instances[i % 4], "root.c0": default_registry().create_instance(RANK)}
        try:
            ee.evaluate(graph, ctx, bound_function_instances=bound)
        except SimulatorEngineError:
            pass

    for i in range(count // 10):  # caches, interned strings and allocator pools settle first
        evaluate(i)
    before = resident_bytes()
    for i in range(count):
        evaluate(i)
    growth = resident_bytes() - before
    assert growth <= allowed_growth, f"{count} evaluations grew the resident memory by {growth} bytes"
