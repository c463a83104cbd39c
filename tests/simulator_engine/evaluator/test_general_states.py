"""Saved states of stateful instances and the get_state_failed log event."""
import pytest
from .general_fakes import Accumulator, FakeRegistry, Fn, make_context
from structlog.testing import capture_logs

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node, FunctionState


def _graph():
    return Node("rotation", "wrap", [Node("rotation", "acc", [Node("feature", "close")])])


def _registry(acc_factory=Accumulator):
    return FakeRegistry({"acc": acc_factory, "wrap": Fn}, stateful={"acc"})


def test_states_are_keyed_by_state_identity_and_round_trip():
    graph = _graph()
    graph.children[0]._state_identity = "root.c7"
    states = ee.evaluate(graph, make_context(registry=_registry())).states
    assert states == {"root.c7": FunctionState("acc", "acc@1", {"count": 4, "window": 10})}
    again = make_context(registry=_registry())
    ee.evaluate(graph, again, states)
    assert again.registry.created[0][:3] == ("create_instance_from_state", "acc", states["root.c7"])


def test_collect_states_false_returns_no_states():
    ctx = make_context()
    ctx._collect_states = False
    acc = Accumulator()
    out = ee.evaluate(_graph(), ctx, bound_function_instances={"root": Fn(), "root.c0": acc})
    assert out.states == {} and acc.count == 4


class StateUnavailable(Exception):
    pass


class BrokenState(Accumulator):
    def get_state(self):
        raise StateUnavailable("state unavailable")


def test_failed_get_state_is_logged_and_reraised():
    acc = BrokenState()
    ctx = make_context(registry=_registry())
    with capture_logs() as logs, pytest.raises(StateUnavailable):
        ee.evaluate(_graph(), ctx, bound_function_instances={"root": Fn(), "root.c0": acc})
    assert logs == [{"event": "expression_evaluator.get_state_failed", "log_level": "error",
                     "instance_id": id(acc), "node_id": "root.c0", "function_name": "acc"}]


def test_failed_warmup_count_is_logged_before_the_loop():
    acc = BrokenState()
    ctx = make_context(registry=_registry(lambda: acc))
    graph = Node("rotation", "acc", [Node("feature", "close"), Node("int", 3)])
    with capture_logs() as logs, pytest.raises(StateUnavailable):
        ee.evaluate(graph, ctx)
    assert acc.calls == [] and [(log["node_id"], log["function_name"]) for log in logs] == [("root", "acc")]
