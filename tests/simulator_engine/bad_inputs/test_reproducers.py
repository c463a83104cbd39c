"""Inputs that once crashed the interpreter or lost the error now give a result or a typed error."""
from functools import partial

import numpy as np
import pytest

from quillmarsh.simulator_engine._graph_helpers import extract_feature_leaf_names
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node, UsefulSignal

from . import scenarios
from .fakes import Unprintable

ENGINE = "quillmarsh.simulator_engine._types."


@pytest.mark.parametrize("shape, signal, validate, error", [
    ((5,), None, True, "EvaluationShapeError"), ((), None, False, "EvaluationShapeError"),
    ((5,), UsefulSignal(), True, "EvaluationShapeError"),
    ((5,), UsefulSignal(pnl=np.zeros(5)), False, "EvaluationShapeError"),
    ((), UsefulSignal(pnl=np.zeros(3)), True, "EvaluationError"),
    ((), UsefulSignal(weights=np.zeros(3)), True, "EvaluationError"),
    ((), UsefulSignal(pnl=np.zeros(())), True, "EvaluationError"),
    ((2, 3, 4), UsefulSignal(), True, "EvaluationShapeError"),
])
def test_first_feature_shapes_are_checked_before_indexing(runner, shape, signal, validate, error):
    outcome = runner.run(partial(scenarios.first_feature_of_shape, shape, signal, validate))
    assert outcome.kind == "raised" and outcome.detail.startswith(ENGINE + error), outcome.detail


@pytest.mark.parametrize("shape", [[3, 2], [3, "a"], [2**70, 2], (3,)])
def test_shapes_that_are_not_tuples_of_integers(runner, shape):
    outcome = runner.run(partial(scenarios.shape_given_as, shape))
    assert not outcome.failed, outcome.detail


@pytest.mark.parametrize("where, error", [
    ("feature", "EvaluationError"), ("function", "FunctionExecutionError"), ("config key", "FunctionExecutionError"),
    ("index key", "EvaluationError"), ("instance error", "FunctionExecutionError"),
])
@pytest.mark.parametrize("name", ["x\udcff", Unprintable()], ids=["lone-surrogate", "unprintable"])
def test_messages_survive_any_name(runner, where, error, name):
    outcome = runner.run(partial(scenarios.named, where, name))
    assert outcome.kind == "raised" and outcome.detail.startswith(ENGINE + error), outcome.detail
    assert ("udcff" if isinstance(name, str) else "<unprintable ") in outcome.detail


@pytest.mark.parametrize("walk", sorted(scenarios.WALKS))
def test_deep_graphs_in_small_thread_stacks(runner, walk):
    outcome = runner.run(partial(scenarios.walk_in_small_stack, walk))
    assert outcome.kind == "result" or outcome.detail.startswith("builtins.RecursionError"), outcome.detail


def test_cyclic_graph_with_stage_data(runner):
    outcome = runner.run(scenarios.cyclic_graph_with_stage_data)
    assert outcome.detail.startswith("builtins.RecursionError"), outcome.detail


@pytest.mark.parametrize("stage_data", [False, True])
def test_a_graph_of_exponentially_many_places_is_refused_up_front(runner, stage_data):
    outcome = runner.run(partial(scenarios.shared_subgraph_doubling, 64, stage_data))
    assert outcome.kind == "raised" and outcome.detail.startswith(ENGINE + "SchemaError"), outcome.detail
    assert "shared node object" in outcome.detail


def test_feature_leaf_lookup_visits_a_shared_subgraph_once():
    graph = Node("feature", "x")
    for _ in range(60):
        graph = Node("rotation", "numerical_combine_d65e04", [graph, Node("aggregation", "y"), graph])
    names = extract_feature_leaf_names(graph)  # a failing assert would print the graph, 2**60 nodes long
    assert names == ["x", "y"]


def test_feature_index_dropping_the_node_cache(runner):
    outcome = runner.run(scenarios.cache_dropped_by_feature_index)
    assert outcome.kind == "result", outcome.detail
