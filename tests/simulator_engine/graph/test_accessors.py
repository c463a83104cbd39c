import pytest

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationError, FunctionGraphNode as Node, SchemaError


@pytest.mark.parametrize("call, label", [
    (lambda n: ee._graph_has_field(n, "type"), "field-check"),
    (lambda n: ee._require_graph_type_value(n, "root.c3"), "field-check"),
    (ee._graph_children, "children"), (ee._graph_config_dict, "config"),
    (lambda n: ee._graph_cache_get(n, "_node_identities"), "cache"),
    (lambda n: ee._graph_cache_set(n, "_node_identities", {}), "cache"),
    (lambda n: ee._require_graph_node_instance(n, "root.c1"), "root.c1"),
])
def test_non_nodes_are_rejected_with_the_accessor_label(call, label):
    with pytest.raises(SchemaError, match=f"^Graph node '{label}' must be FunctionGraphNode; got dict$"):
        call({"type": "feature", "node": "close"})


@pytest.mark.parametrize("field", ["type", "node"])
def test_missing_required_field_names_path_and_key(field):
    node = Node("feature", "close")
    delattr(node, field)
    assert not ee._graph_has_field(node, field)
    with pytest.raises(EvaluationError, match=rf"^Graph node 'root\.c1' missing required key: {field}$"):
        ee._require_graph_field(node, field, "root.c1")


def test_cache_write_refused_by_node_type_is_dropped():
    class Frozen(Node):
        def __setattr__(self, key, value):
            if key.startswith("_"):
                raise AttributeError(key)
            super().__setattr__(key, value)

    node = Frozen("feature", "x")
    ee._graph_cache_set(node, "_node_identities", {"root": "x"})
    assert ee._graph_cache_get(node, "_node_identities") is None and ee.generate_node_identities(node) == {"root": "x"}
