"""The text form maps to the graph nodes the engine reads, and prints back to an equal graph."""
import pytest

from quillmarsh.functions.registry import default_registry

from quillmarsh.cli.errors import UserError
from quillmarsh.cli.graph_json import graph_to_dict
from quillmarsh.cli.text_form import graph_to_text, parse_expression

REGISTRY = default_registry()


def parse(text):
    return graph_to_dict(parse_expression(text, REGISTRY))


def test_literal_kinds_and_configuration():
    graph = parse("scale(demean(x), -2.5, True, 'a', 3, [1, 2], target=1.0)")
    assert [(child["type"], child["node"]) for child in graph["children"][1:]] == [
        ("float", -2.5), ("bool", True), ("string", "a"), ("int", 3), ("list", [1, 2])]
    assert graph["config"] == {"target": 1.0}


def test_functions_reductions_and_filter_operators_get_their_node_kinds():
    graph = parse("pool_pnl_weighted(filtration(gt('sharpe', 0.5)), rank(close), window=20)")
    assert graph["type"] == "reduction" and [child["type"] for child in graph["children"]] == ["filtration", "rotation"]
    assert graph["children"][0]["children"][0]["type"] == "gt"
    assert graph["children"][1]["children"] == [{"type": "feature", "node": "close"}]


@pytest.mark.parametrize("alias, name", [
    ("rank(close) * rank(volume)", "numerical_combine_d65e04(latitudinal_rank_688068(close), "
                                   "latitudinal_rank_688068(volume))"),
    ("mean(x, 5)", "longitudinal_accumulators_25c7fb(x, 5)"), ("a * b", "mul(a, b)"),
])
def test_aliases_and_registry_names_agree(alias, name):
    assert parse(alias) == parse(name)


@pytest.mark.parametrize("text", [
    "rank(close) * rank(volume)", "a * (b * c) * (d * e)", "zscore(mean(returns, 5), 60)",
    "pool_mean(filtration(or_(gt('sharpe', 0.5), lt('turnover', 1.0))))", "scale(demean(x), -2.0, target=0.5)",
])
def test_printed_text_parses_to_the_same_graph(text):
    graph = parse_expression(text, REGISTRY)
    assert graph_to_text(graph) == text and parse(text) == graph_to_dict(graph)


def test_nothing_is_evaluated():
    with pytest.raises(UserError, match="unknown function '__import__'"):
        parse_expression("__import__('os')", REGISTRY)
