"""Node collection, registers, evaluation order, binding and the collect-nodes cache."""
import numpy as np
import pytest
from .general_fakes import Fn, make_context

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationError, FunctionExecutionError, FunctionGraphNode as Node


def test_registers_follow_collection_order_and_children_run_first():
    order = []
    f = Fn(lambda x: (order.append("f"), x * 2)[1])
    g = Fn(lambda a, b: (order.append("g"), a + b)[1])
    ctx = make_context()
    graph = Node("rotation", "g", [Node("feature", "close"), Node("rotation", "f", [Node("float", 2.5)])])
    result = ee.evaluate(graph, ctx, bound_function_instances={"root": g, "root.c1": f})
    assert list(graph._collect_nodes_cache["node_info"]) == ["root.c0", "root.c1.c0", "root.c1", "root"]
    assert order == ["f", "g"] * 4
    np.testing.assert_array_equal(ctx.registers, [[9.0, 10.0, 11.0], [2.5] * 3, [5.0] * 3, [14.0, 15.0, 16.0]])
    np.testing.assert_array_equal(result.weights, np.arange(12.0).reshape(4, 3) + 5.0)


def test_cached_collection_is_reused_with_new_feature_positions():
    graph = Node("rotation", "f", [Node("feature", "close")])
    f = Fn()
    ee.evaluate(graph, make_context(), bound_function_instances={"root": f})
    node_info = graph._collect_nodes_cache["node_info"]
    ctx = make_context([np.zeros((4, 3)), np.full((4, 3), 7.0)], {"open": 0, "close": 1})
    result = ee.evaluate(graph, ctx, bound_function_instances={"root": f})
    assert graph._collect_nodes_cache["node_info"] is node_info
    np.testing.assert_array_equal(result.weights, np.full((4, 3), 7.0))


def test_unbound_function_without_registry_fails_and_leaves_the_cache_alone():
    graph = Node("rotation", "f", [Node("feature", "close")])
    graph._collect_nodes_cache = {"node_info": "garbage"}
    with pytest.raises(FunctionExecutionError, match="^Function 'f' at node 'root' is not bound and cannot be "
                                                     "instantiated from the evaluation registry$"):
        ee.evaluate(graph, make_context())
    assert graph._collect_nodes_cache == {"node_info": "garbage"}


@pytest.mark.parametrize("cached", [False, True])
@pytest.mark.parametrize("bound, message", [
    ({"root": Fn()}, "Bound function instance missing for path 'root.c0' (function 'f')"),
    ({"root": Fn(), "root.c0": None}, "Bound function instance is None for node 'root.c0' (function 'f')"),
    ({}, "Bound function instance missing for path 'root.c0' (function 'f')"),
])
def test_bound_instances_must_cover_every_function_node(cached, bound, message):
    graph = Node("rotation", "g", [Node("rotation", "f", [Node("feature", "close")])])
    if cached:
        ee.evaluate(graph, make_context(), bound_function_instances={"root": Fn(), "root.c0": Fn()})
    with pytest.raises(FunctionExecutionError) as err:
        ee.evaluate(graph, make_context(), bound_function_instances=bound)
    assert str(err.value) == message


def test_missing_feature_fails_before_later_siblings_are_collected():
    graph = Node("rotation", "f", [Node("feature", "volume"), Node("feature", "open")])
    with pytest.raises(EvaluationError, match="^Feature 'volume' not in context$"):
        ee.evaluate(graph, make_context(), bound_function_instances={"root": Fn()})


@pytest.mark.parametrize("name, children, explicit, expected", [
    ("f", [("bool", True)], {}, {"invert": True}),
    ("f", [("string", "net"), ("string", "gross")], {}, {"pnl_column": "net"}),
    ("statistical_sharpe_2e4daa", [("string", "sharpe")], {}, {"stat_name": "sharpe"}),
    ("f", [("int", 20)], {"window": 10}, {"window": 20}), ("f", [("int", 20), ("float", 0.5)], {}, {"window": 20}),
])
def test_configuration_literals_without_schema_use_kind_defaults(name, children, explicit, expected):
    kids = [Node("feature", "close")] + [Node(kind, value) for kind, value in children]
    graph = Node("rotation", name, kids, config=dict(explicit))
    ee.evaluate(graph, make_context(), bound_function_instances={"root": Fn()})
    record = graph._collect_nodes_cache["node_info"]["root"]
    assert record["config"] == expected and graph.config == explicit
    assert record["config_child_paths"] == {f"root.c{i + 1}" for i, (kind, _) in enumerate(children) if kind != "float"}
