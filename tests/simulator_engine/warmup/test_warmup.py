from types import SimpleNamespace

import pytest

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationError, FunctionGraphNode as N, SchemaError


# roll and red are stateful, mix and plain are not, any other function is unknown.
ENTRIES = {"roll": SimpleNamespace(stateful=True), "red": SimpleNamespace(stateful=True),
           "mix": SimpleNamespace(stateful=False), "plain": SimpleNamespace()}
REGISTRY = SimpleNamespace(has=ENTRIES.__contains__, get_entry=ENTRIES.__getitem__)


def fn(name, *children, kind="rotation"):
    return N(kind, name, [c if isinstance(c, N) else N("int", c) for c in children])


FEAT = N("feature", "close")


@pytest.mark.parametrize("graph, rows", [
    (FEAT, 0), (fn("roll", 20, FEAT), 19), (fn("roll", 20, fn("roll", 5, FEAT)), 23),
    (fn("roll", 20, fn("mix", 5, FEAT)), 19), (fn("roll", 20, fn("other", 5, FEAT)), 19),
    (fn("roll", 20, fn("plain", 5, fn("roll", 3, FEAT))), 21),
    (fn("mix", fn("roll", 20, FEAT), fn("roll", 5, FEAT)), 19),
    (fn("roll", 20, fn("mix", fn("roll", 20, FEAT), fn("roll", 5, FEAT))), 38),
    (fn("red", 3, fn("roll", 20, FEAT), kind="reduction"), 2), (fn("roll", 5, 10, fn("roll", 3, FEAT)), 11),
    (fn("roll", 1, fn("roll", 5, FEAT)), 4), (fn("roll", fn("roll", 5, FEAT)), 4),
    (fn("roll", 20, N("filtration", "filtration", [fn("roll", 5, FEAT)])), 19),
    (fn("roll", "7", "abc", None, N("float", 50.0), FEAT), 6),
    (fn("roll", 2**63, FEAT), 2**63 - 1), (fn("roll", 2**62 + 1, fn("roll", 2**62 + 1, FEAT)), 2**63),
    (fn("roll", -2**70, fn("roll", 3, FEAT)), 2), (fn("red", 2**80, FEAT, kind="reduction"), 2**80 - 1),
])
def test_graph_warmup_rows(graph, rows):
    assert ee._compute_graph_warmup_rows(graph, REGISTRY) == rows and ee._compute_graph_warmup_rows(graph, None) == 0


def test_malformed_graphs_raise():
    valueless = N("int", 5)
    del valueless.node
    with pytest.raises(EvaluationError, match=r"^Graph node 'root.c1' missing required key: node$"):
        ee._compute_graph_warmup_rows(fn("roll", FEAT, valueless), REGISTRY)
    with pytest.raises(SchemaError, match="got dict"):
        ee._compute_graph_warmup_rows(N("rotation", "roll", [N("int", 20), {"type": "feature"}]), REGISTRY)


@pytest.mark.parametrize("state, count", [
    (None, 0), ({}, 0), ({"count": 37}, 37), ({"count": "37"}, 37), ({"count": "abc"}, 0), ({"count": None}, 0),
    ({"window": 5}, 0), ({"count": 2.9}, 2), ({"count": 2.5}, 2), (["count"], 0), ("payload", 0),
    ({"count": 10**20}, 10**20), ({"count": -10**30}, -10**30),
])
def test_warmup_count_for_instance(state, count):
    assert ee._get_warmup_count_for_instance(SimpleNamespace(get_state=lambda: state)) == count
