import sys
import types

import numpy as np
import pytest

from quillmarsh._reference.rank import rank_rows_reference
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationError, EvaluationShapeError, FunctionGraphNode as Node

from .fakes import COMBINE, RANK, FakeRegistry, context, feature, rank, stub_registry

RANK_MODULE = "quillmarsh.functions.rotations.latitudinal.rank"


@pytest.fixture
def rank_module(monkeypatch):
    """A stand-in host rank module recording its calls; ranks with the reference unless `results` are queued."""
    module = types.ModuleType(RANK_MODULE)
    module.calls = []
    module.results = None

    def batch_apply_3aa57128a46b(data, *, universe=None):
        module.calls.append((data, universe))
        return rank_rows_reference(data, universe) if module.results is None else module.results.pop(0)

    module.batch_apply_3aa57128a46b = batch_apply_3aa57128a46b
    monkeypatch.setitem(sys.modules, RANK_MODULE, module)
    return module


SIMPLE = rank(feature())
MULTIPLY = Node("rotation", COMBINE, [rank(feature("close")), rank(feature("open"))])


def _engine_context(universe=None):
    close, open_ = np.random.default_rng(3).normal(size=(2, 4, 5))
    close[:, 1] = np.nan
    # Without a universe, evaluate needs the derived mask.
    mask = np.ones((4, 5), dtype=np.uint8) if universe is None else None
    return ee.EvaluationContext([close, open_], {"close": 0, "open": 1}, universe=universe, universe_mask=mask)


@pytest.mark.parametrize("graph, ctx, states, nan_features, expected", [
    (SIMPLE, context(), None, None, True), (SIMPLE, context(registry=stub_registry(RANK)), {}, [], True),
    (rank(feature("missing")), context(), None, None, True), (rank(Node("int", 3)), context(), None, None, False),
    (rank(Node("aggregation", "close")), context(), None, None, True),
    (SIMPLE, context(), None, ["close"], False), (SIMPLE, context(), {"root": 1}, None, False),
    (SIMPLE, context(useful_signals={"s": 1}), None, None, False),
    (Node("reduction", RANK, [feature()]), context(), None, None, False),
    (Node("rotation", COMBINE, [feature()]), context(), None, None, False),
    (Node("rotation", RANK, [feature(), Node("int", 3)]), context(), None, None, False),
    (SIMPLE, context(registry=FakeRegistry(factories=[RANK])), None, None, False),
])
def test_simple_rank_detector(graph, ctx, states, nan_features, expected):
    assert ee._can_use_simple_rank_fast_path(graph, ctx, states, data_nan_features=nan_features) is expected


@pytest.mark.parametrize("graph, ctx, bound, expected", [
    (MULTIPLY, context(), None, True), (MULTIPLY, context(registry=stub_registry(RANK, COMBINE)), {}, True),
    (Node("rotation", COMBINE, [rank(feature()), rank(feature())]), context(), None, True),
    (MULTIPLY, context(), {"root.c0": object()}, False), (MULTIPLY, context(transform_pipeline=["t"]), None, False),
    (MULTIPLY, context(registry=FakeRegistry(factories=[COMBINE])), None, False),
    (MULTIPLY, context(registry=FakeRegistry(factories=[RANK])), None, False),
    (Node("rotation", COMBINE, [rank(feature()), feature("open")]), context(), None, False),
    (Node("rotation", COMBINE, [rank(feature())] * 3), context(), None, False),
    (Node("rotation", COMBINE, [rank(feature()), rank(feature("missing"))]), context(), None, False),
    (Node("rotation", COMBINE, [rank(feature()), Node("rotation", RANK, [feature(), Node("int", 1)])]),
     context(), None, False),
])
def test_rank_multiply_detector(graph, ctx, bound, expected):
    assert ee._can_use_rank_multiply_fast_path(graph, ctx, None, bound_function_instances=bound) is expected


@pytest.mark.parametrize("universe", [None, np.array([[1.0, 0.0, np.nan, -0.0, 2.0]] * 4)])
def test_simple_rank_hands_the_unmasked_feature_and_universe_to_the_host_kernel(rank_module, universe):
    ctx = _engine_context(universe)
    registers = ctx.registers
    result = ee.evaluate(SIMPLE, ctx)
    (data, passed_universe), = rank_module.calls
    assert data is ctx.features[0] and passed_universe is ctx.universe
    np.testing.assert_array_equal(result.weights, rank_rows_reference(ctx.features[0], universe))
    assert result.states == result.nan_source == result.node_outputs == {} and ctx.registers is registers


def test_simple_rank_converts_the_host_result(rank_module):
    rank_module.results = [np.asfortranarray(np.ones((4, 5), dtype=np.float32))]
    out = ee._evaluate_simple_rank_fast(SIMPLE, _engine_context())
    assert out.dtype == np.float64 and out.flags.c_contiguous


def test_simple_rank_of_a_feature_outside_the_index_fails(rank_module):
    with pytest.raises(EvaluationError, match="^Feature 'missing' not in context$"):
        ee._evaluate_simple_rank_fast(rank(feature("missing")), _engine_context())


@pytest.mark.parametrize("second, position", [("open", 1), ("close", 0)])
def test_rank_multiply_is_the_product_of_the_ranks(rank_module, second, position):
    universe = np.ones((4, 5))
    universe[2, 3] = 0.0
    ctx = _engine_context(universe)
    result = ee.evaluate(Node("rotation", COMBINE, [rank(feature()), rank(feature(second))]), ctx)
    expected = rank_rows_reference(ctx.features[0], universe) * rank_rows_reference(ctx.features[position], universe)
    np.testing.assert_array_equal(result.weights, expected)
    np.testing.assert_array_equal(ctx.registers, expected[-1:])
    assert result.states == {}


@pytest.mark.parametrize("results, calls", [([None], 1), ([np.ones((4, 5)), None], 2)])
def test_rank_multiply_gives_nothing_when_an_operand_gives_nothing(rank_module, results, calls):
    rank_module.results = results
    ctx = _engine_context()
    registers = ctx.registers
    assert ee._evaluate_rank_multiply_fast(MULTIPLY, ctx) is None
    assert len(rank_module.calls) == calls and ctx.registers is registers


def test_rank_multiply_refuses_a_product_that_is_not_a_matrix(rank_module):
    rank_module.results = [np.ones(5), np.ones(5)]
    with pytest.raises(EvaluationShapeError, match=r"got shape \(5,\)$"):
        ee._evaluate_rank_multiply_fast(MULTIPLY, _engine_context())
