"""Hypothesis strategies drawing malformed evaluation inputs.

A drawn case starts from one consistent T x N context and graph and changes some of it: feature,
universe and signal arrays of wrong shapes, dtypes and types; graphs with unknown node kinds,
non-node children, bad literals and cycles; user functions whose instances return or raise
anything; saved states and bound instances of every wrong kind. A case is a picklable
`functools.partial` of scenarios.evaluate_drawn, run by runner.CaseRunner.
"""
from __future__ import annotations

from functools import partial

import numpy as np
from hypothesis import strategies as st

from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine._types import (FunctionGraphNode as Node, FunctionState, StageData,
                                                TransformStage, UsefulSignal)

from . import scenarios
from .fakes import (CacheDroppingIndex, DrawnError, FailingIndex, OddShape, ScriptedInstance, ScriptedRegistry,
                    Unprintable, row_results)

T, N = 4, 3
BUILTINS = ["latitudinal_rank_688068", "numerical_combine_d65e04", "longitudinal_accumulators_25c7fb",
            "longitudinal_accumulators_a5b1f0", "longitudinal_accumulators_7e8468", "reduction_mean_3f9c2e",
            "reduction_pnl_weighted_b7d41a", "cross_sectional_demean_5e2a7c", "cross_sectional_scale_c81f06"]
USER_FUNCTIONS = ["user_a", "user_b"]
PATHS = ["root", "root.c0", "root.c1", "root.c0.c0", "root.c0.c1"]

NAMES = st.sampled_from(["x", "x", "y", "missing", "x\udcff", ""]) | st.builds(Unprintable)
ODD_VALUES = st.sampled_from([None, 0, 1, 3, -1, 2.5, 2**70, True, np.nan, "x", "3", [], [1, 2], {}, b"x"])
CELLS = st.sampled_from([1.0, 0.0, -0.0, 2.5, np.nan, np.inf, -np.inf])
SHAPES = st.sampled_from([(T, N), (T, N), (T, N), (T, N + 1), (T + 1, N), (N,), (), (T, N, 1), (0, N), (T, 0)])
DTYPES = st.sampled_from([np.float64, np.float64, np.float32, np.int64, np.bool_, np.complex128, object, "U2"])
NOT_ARRAYS = st.sampled_from([None, 3.0, "text", [[1.0] * N] * T, {}]) | st.builds(
    OddShape, st.sampled_from([(T, N), (T,), (), None, (T, "a"), (2**62, 2**62), (-1, N), [T, N], 5]))


@st.composite
def arrays(draw):
    """Mostly well-formed T x N float64 matrices; otherwise any shape, dtype or not an array."""
    if draw(st.integers(0, 9)) == 0:
        return draw(NOT_ARRAYS)
    shape, dtype = draw(SHAPES), draw(DTYPES)
    values = np.full(shape, draw(CELLS))
    values.flat[: draw(st.integers(0, values.size))] = draw(CELLS)
    with np.errstate(invalid="ignore"):
        return values.astype(dtype)


def rarely(common, rare, one_in=8):
    """`common` most of the time, `rare` once in `one_in` draws."""
    return st.integers(0, one_in - 1).flatmap(lambda k: rare if k == 0 else common)


def good_matrix():
    return np.arange(float(T * N)).reshape(T, N)


@st.composite
def instances(draw):
    """A user instance returning drawn row results (right or wrong) and a drawn saved state."""
    results = draw(st.lists(st.sampled_from(row_results(N)), min_size=1, max_size=3))
    state = draw(st.sampled_from([None, {}, {"count": 3}, {"count": "x"}, 5, DrawnError("get_state failed")]))
    return ScriptedInstance(results, stateful=draw(st.booleans()), state=state)


@st.composite
def registries(draw):
    kind = draw(st.sampled_from(["scripted", "scripted", "builtin", "none", "garbage"]))
    if kind == "builtin":
        return default_registry()
    if kind == "none":
        return None
    if kind == "garbage":
        return draw(st.sampled_from([object(), 3, "registry"]))
    methods = ["has", "has_factory", "get_entry", "create_instance", "create_instance_from_state"]
    return ScriptedRegistry({name: draw(instances()) for name in USER_FUNCTIONS},
                            param_schema=draw(st.sampled_from([None, {"window": "int"}, [("window", "int")], 3])),
                            family=draw(st.sampled_from(["user", "virtualization"])),
                            failing=draw(st.lists(st.sampled_from(methods), max_size=1)))


def literal(kind):
    return st.builds(Node, st.just(kind), ODD_VALUES | NAMES)


LEAVES = st.one_of(
    st.builds(Node, st.sampled_from(["feature", "feature", "aggregation"]), NAMES),
    *(literal(kind) for kind in ["float", "int", "int", "string", "bool", "list"]),
    st.builds(Node, st.sampled_from(["weird", None, 3]), NAMES),
    st.builds(lambda op, field, value: Node("filtration", "filtration", [Node(op, op, [Node("string", field), value])]),
              st.sampled_from(["gt", "lt", "not_", "top_pct", "in_", "between"]), NAMES, literal("float")),
)
CONFIGS = st.none() | st.dictionaries(
    st.sampled_from(["window", "A", "N_alloc", "pnl_column", "invert", "target", "bogus", "x\udcff"]),
    ODD_VALUES, max_size=2) | st.sampled_from([[("window", 3)], "config"])


def function_nodes(children):
    node_children = st.lists(rarely(children, st.sampled_from([None, 3, "x"]), one_in=20), max_size=3)
    return st.builds(Node, st.sampled_from(["rotation", "rotation", "reduction"]),
                     st.sampled_from(BUILTINS + USER_FUNCTIONS + ["unknown"]),
                     rarely(node_children, st.sampled_from([None, (), "ab"])), CONFIGS)


@st.composite
def graphs(draw):
    graph = draw(st.recursive(LEAVES, function_nodes, max_leaves=6))
    if isinstance(graph.children, list) and graph.children and draw(st.integers(0, 19)) == 0:
        graph.children[-1] = graph  # a cycle
    return graph


def signals():
    signal = st.builds(UsefulSignal, st.just(good_matrix()) | arrays() | st.none(),
                       st.just(np.zeros((T, 2))) | arrays() | st.none())
    return st.dictionaries(NAMES, signal | ODD_VALUES, max_size=2)


@st.composite
def contexts(draw, graph):
    """EvaluationContext arguments: a consistent base with some fields replaced by drawn values."""
    fields = dict(features=[good_matrix(), good_matrix()[::-1].copy()], feature_index={"x": 0, "y": 1},
                  universe=np.ones((T, N)), registry=draw(registries()), column_labels=["gross_returns", "net"],
                  validate_inputs=draw(st.booleans()))
    replacements = {
        "features": rarely(st.lists(arrays(), max_size=3), NOT_ARRAYS),
        "feature_index": rarely(st.dictionaries(NAMES, ODD_VALUES | st.sampled_from([0, 1, np.int64(1)]), max_size=3),
                                st.builds(FailingIndex, st.just({"x": 0})) | ODD_VALUES, one_in=4)
        | st.just(CacheDroppingIndex({"x": 0, "y": 1}, graph)),
        "universe": arrays(), "universe_mask": arrays(), "useful_signals": rarely(signals(), ODD_VALUES),
        "signal_pnl_vectors": rarely(st.just({"s": {"gross_returns": 0.5}}), ODD_VALUES),
        "column_labels": rarely(st.lists(NAMES, max_size=2), ODD_VALUES),
        "transform_pipeline": rarely(st.lists(st.builds(TransformStage, NAMES,
                                                        st.sampled_from(BUILTINS + ["unknown"])), max_size=2),
                                     ODD_VALUES),
        "stage_data": rarely(st.builds(StageData, st.dictionaries(NAMES, arrays(), max_size=2)), ODD_VALUES),
        "metaparameters": rarely(st.dictionaries(NAMES, ODD_VALUES, max_size=2), ODD_VALUES),
        "current_day_index": ODD_VALUES,
    }
    for name in draw(st.lists(st.sampled_from(sorted(replacements)), max_size=3, unique=True)):
        fields[name] = draw(replacements[name])
    return fields


def states():
    saved = st.builds(FunctionState, st.sampled_from(BUILTINS + USER_FUNCTIONS) | NAMES, ODD_VALUES,
                      st.sampled_from([None, {}, {"count": 2, "window": 3}, {"count": -1}, DrawnError("bad state")]))
    return st.none() | rarely(st.dictionaries(st.sampled_from(PATHS) | NAMES, saved | ODD_VALUES, max_size=3),
                              ODD_VALUES)


def bound_instances():
    return st.none() | rarely(st.dictionaries(st.sampled_from(PATHS), instances() | ODD_VALUES, max_size=3),
                              ODD_VALUES)


@st.composite
def cases(draw):
    """One drawn bad input: what to call, on which graph, context and evaluation options."""
    graph = draw(graphs())
    options = dict(function_states=draw(states()), is_cold_start=draw(st.booleans()),
                   bound_function_instances=draw(bound_instances()),
                   data_nan_features=draw(st.none() | st.lists(NAMES, max_size=2) | ODD_VALUES))
    entry = draw(st.sampled_from(["evaluate", "evaluate", "evaluate", "evaluate twice", "identities", "warm-up"]))
    return partial(scenarios.evaluate_drawn, entry, graph, draw(contexts(graph)), options)
