import pytest

from quillmarsh.functions.filtrations import FilterNode
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationError, FunctionGraphNode as N, SchemaError

LIT = {str: "string", float: "float", int: "int", bool: "bool"}


def op(name, *args):
    return N(name, name, [a if isinstance(a, N) else N(LIT[type(a)], a) for a in args])


@pytest.mark.parametrize("node, params", [
    (op("gt", "close", 5), {"field": "close", "value": 5}),
    (op("gt", "close", 5, 2.5), {"field": "close", "value": 2.5}),
    (op("lte", True, "close", "x", 1.5), {"field": "close", "value": 1.5}),
    (op("eq", "sector", "tech"), {"field": "sector", "value": "tech"}),
    (op("neq", "sector", 1.0, "tech"), {"field": "sector", "value": "tech"}),
    (op("between", "f", 1.0), {"field": "f"}), (op("in_", "sector"), {"field": "sector"}),
    (op("between", 1.0, 2.0, 3.0), {"low": 1.0, "high": 2.0}),
    (op("in_", "sector", "tech", "energy"), {"field": "sector", "values": ["tech", "energy"]}),
    (op("bottom_pct", "f", 1, 0.1), {"field": "f", "pct": 0.1}), (op("top_n", "f", 1.0), {"field": "f"}),
    (op("bottom_n", "f", 2.0, 3), {"field": "f", "n": 3}), (op("custom", "f", 1.0), {}),
])
def test_params_by_operator(node, params):
    converted = ee._dict_to_filter_node(node)
    assert converted.params == params
    assert [type(v) for v in converted.params.values()] == [type(v) for v in params.values()]


def test_nested_conversion():
    tree = op("filtration", op("not_", op("gt", "close", 5.0)), "ignored")
    assert ee._dict_to_filter_node(tree) == FilterNode("filtration", {}, [
        FilterNode("not_", {}, [FilterNode("gt", {"field": "close", "value": 5.0}, [])])])


@pytest.mark.parametrize("node, text", [
    (op("filtration"), "filtration()"), (op("or_", op("not_", op("eq", "a", "b"))), "or_(not_(eq))"),
    (op("filtration", op("lt", "close", 1.0), op("gt", "x", 2)), "filtration(lt)"),
    (op("and_", op("gt", "close", 5.0), op("top_pct", "f", 0.1)), "and_(gt(close, 5.0), top_pct)"),
    (op("gt", "close", 20, 1e-05, op("not_")), "gt(close, 20, 1e-05, not_)"),
])
def test_description(node, text):
    assert ee._describe_dict_filter(node) == text


@pytest.mark.parametrize("convert", [ee._dict_to_filter_node, ee._describe_dict_filter])
def test_malformed_trees_raise(convert):
    valueless = N("gt", "gt")
    del valueless.node
    with pytest.raises(EvaluationError, match=r"^Graph node 'filtration.c2' missing required key: node$"):
        convert(op("and_", True, op("gt", "x", 1.0), valueless))
    with pytest.raises(SchemaError, match="got dict"):
        convert(N("and_", "and_", [{"type": "gt", "node": "gt"}]))
    cyclic = op("and_")
    cyclic.children = [cyclic]
    with pytest.raises(RecursionError):
        convert(cyclic)
