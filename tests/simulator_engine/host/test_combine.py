from types import SimpleNamespace

import numpy as np
import pytest

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._combine import combine_signal_and_transforms, resolve_stage_option
from quillmarsh.simulator_engine._graph_helpers import extract_feature_leaf_names
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node, TransformStage

STAGE = TransformStage(name="gross", function_name="cross_sectional_scale_c81f06", default=1.0)


@pytest.mark.parametrize("metaparameters, pool_id, expected", [
    (None, "pool_a", 1.0), ({}, "pool_a", 1.0), ({"gross": 2.0, "pool_a": {"gross": 3.0}}, "pool_a", 2.0),
    ({"gross": None}, "pool_a", None), ({"pool_a": {"gross": 3.0}}, "pool_a", 3.0),
    ({"pool_a": {"gross": 3.0}}, None, 1.0), ({"pool_a": {"other": 3.0}}, "pool_a", 1.0),
    ({"pool_a": "gross"}, "pool_a", 1.0),
])
def test_host_and_engine_agree_on_stage_option_precedence(metaparameters, pool_id, expected):
    assert resolve_stage_option(metaparameters, pool_id, STAGE) == expected
    context = SimpleNamespace(metaparameters=metaparameters or {}, pool_id=pool_id)
    assert ee._resolve_stage_option(context, STAGE) == expected


@pytest.mark.parametrize("option, literal_type, literal_value", [
    (2.5, "float", 2.5), (np.float64(0.5), "float", 0.5), (3, "int", 3), (np.int64(4), "int", 4),
    ("gross_returns", "string", "gross_returns"), (True, "bool", True),
])
def test_option_becomes_a_literal_of_its_type(option, literal_type, literal_value):
    graph = Node("feature", "close")
    root = combine_signal_and_transforms(graph, [STAGE], {"gross": option}, None, None)
    assert (root.type, root.node, root.children[0]) == ("rotation", STAGE.function_name, graph)
    literal = root.children[1]
    assert (literal.type, literal.node, type(literal.node)) == (literal_type, literal_value, type(literal_value))


def test_stages_wrap_the_graph_in_order():
    graph = Node("feature", "close")
    pipeline = [TransformStage("centre", "cross_sectional_demean_5e2a7c"), STAGE]
    metaparameters = {"pool_a": {"gross": 4.0}}
    root = combine_signal_and_transforms(graph, pipeline, metaparameters, None, SimpleNamespace(pool_id="pool_a"))
    inner = root.children[0]
    assert [c.node for c in root.children] == [inner.node, 4.0]
    assert inner.node == "cross_sectional_demean_5e2a7c" and inner.children == [graph] and graph.children is None


def test_no_stages_keep_the_graph_and_odd_options_are_refused():
    graph = Node("feature", "close")
    assert combine_signal_and_transforms(graph, None, None, None, None) is graph
    with pytest.raises(TypeError, match="'gross' option"):
        combine_signal_and_transforms(graph, [STAGE], {"gross": [1.0]}, None, None)


def test_feature_leaves_unique_in_preorder():
    mean = Node("rotation", "mean", [Node("aggregation", "sector_close"), Node("int", 20), Node("feature", "volume")])
    rank = Node("rotation", "rank", [Node("feature", "volume")])
    graph = Node("rotation", "mul", [rank, mean, Node("feature", "close")])
    assert extract_feature_leaf_names(graph) == ["volume", "sector_close", "close"]
