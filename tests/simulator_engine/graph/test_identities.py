import pytest

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationError, FunctionGraphNode as Node, SchemaError


def test_identity_map_is_pre_order_and_memoised_until_invalidated():
    tree = Node("rotation", "combine", [Node("feature", "close"), Node("rotation", "f", [Node("int", 5)])])
    first = ee.generate_node_identities(tree)
    assert list(first.items()) == [("root", "combine"), ("root.c0", "close"), ("root.c1", "f"), ("root.c1.c0", 5)]
    assert ee.generate_node_identities(tree) is first
    ee.invalidate_graph_evaluation_caches(tree)
    assert tree._node_identities is None and tree.children[1]._collect_nodes_cache is None
    second = ee.generate_node_identities(tree)
    assert second == first and second is not first


def test_malformed_graphs_raise():
    mapping_child = Node("rotation", "f", [Node("feature", "a"), {"type": "feature", "node": "b"}])
    with pytest.raises(SchemaError, match=r"^Graph node 'field-check' must be FunctionGraphNode; got dict$"):
        ee._annotate_state_identities(mapping_child)
    untyped = Node("feature", "b")
    del untyped.type
    with pytest.raises(EvaluationError, match=r"^Graph node 'root.c1' missing required key: type$"):
        ee._annotate_state_identities(Node("rotation", "f", [Node("feature", "a"), untyped]))


def test_state_identities_stamp_function_nodes_only():
    inner = Node("rotation", "g", [Node("feature", "x")])
    literal = Node("float", 1.5)
    root = Node("reduction", "r", [inner, literal])
    ee._annotate_state_identities(root)
    assert root._state_identity == "root" and inner._state_identity == "root.c0"
    assert not hasattr(literal, "_state_identity")
    ee.invalidate_graph_evaluation_caches(root)
    assert inner._state_identity == "root.c0"


def test_cache_write_refused_by_node_type_is_dropped():
    class Frozen(Node):
        def __setattr__(self, key, value):
            if key.startswith("_"):
                raise AttributeError(key)
            super().__setattr__(key, value)

    node = Frozen("feature", "x")
    ee._graph_cache_set(node, "_node_identities", {"root": "x"})
    assert ee._graph_cache_get(node, "_node_identities") is None and ee.generate_node_identities(node) == {"root": "x"}
