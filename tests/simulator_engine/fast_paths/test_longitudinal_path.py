import tracemalloc

import numpy as np
import pytest

from quillmarsh._reference.rolling import rolling_reference
from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node

from .fakes import MEAN, STD, ZSCORE, FakeRegistry, context, feature, rolling, stub_registry

MIN_ROWS = 100_000
STUBS = stub_registry(MEAN, STD, ZSCORE)
SINGLE = rolling(STD, feature(), window=20)


@pytest.mark.parametrize("rows, states, nan_features, fields, expected", [
    (MIN_ROWS, None, None, {}, True), (MIN_ROWS - 1, None, None, {}, False), (MIN_ROWS, {}, None, {}, False),
    (MIN_ROWS, None, ["close"], {}, False), (MIN_ROWS, None, [], {}, True),
    (MIN_ROWS, None, None, {"metaparameters": {"m": 1}}, False),
])
def test_detector_inputs(rows, states, nan_features, fields, expected):
    ctx = context(**{"registry": STUBS, **fields})
    assert ee._can_use_longitudinal_fast_path(SINGLE, ctx, states, rows, data_nan_features=nan_features) is expected


@pytest.mark.parametrize("graph, expected", [
    (feature(), True), (rolling(MEAN, rolling(ZSCORE, feature("open"))), True),
    # Literal children beyond the window become configuration the rolling
    # instance refuses, and a later "int" replaces the window, as in the general evaluator.
    (rolling(MEAN, feature(), Node("string", "x"), Node("bool", True)), False),
    (rolling(MEAN, feature(), Node("int", 0)), False), (rolling(MEAN, feature(), Node("int", 5)), True),
    (rolling(MEAN, feature("missing")), False), (rolling(MEAN, rolling("other_function", feature())), False),
    (rolling(MEAN, feature(), feature("open")), False), (rolling(MEAN, feature(), Node("float", 2.0)), False),
    (Node("rotation", MEAN, [feature(), Node("string", "3")]), False), (rolling(MEAN, feature(), window=0), False),
    (Node("reduction", MEAN, [feature(), Node("int", 3)]), False), (Node("int", 3), False),
])
def test_detector_graph_shapes(graph, expected):
    assert ee._can_use_longitudinal_fast_path(graph, context(registry=STUBS), None, MIN_ROWS) is expected


@pytest.mark.parametrize("registry, expected", [
    (None, False), (stub_registry(), False), (stub_registry(MEAN), True),
    (stub_registry(MEAN, module_path="", class_name=None, factory=None, implementation=None), True),
    (FakeRegistry({MEAN: object()}, factories=[MEAN]), False), (stub_registry(MEAN, module_path="pkg.mod"), False),
    (stub_registry(MEAN, class_name="Mean"), False), (stub_registry(MEAN, factory=object), False),
    (stub_registry(MEAN, implementation=object()), False),
    (FakeRegistry({MEAN: object()}, entry_error=LookupError("no entry")), False),
])
def test_registry_stub_rules(registry, expected):
    assert ee._registry_allows_stub_fast_path(registry, MEAN) is expected


def test_registry_errors_that_are_not_ordinary_propagate():
    registry = FakeRegistry({MEAN: object()}, entry_error=KeyboardInterrupt())
    with pytest.raises(KeyboardInterrupt):
        ee._registry_allows_stub_fast_path(registry, MEAN)


@pytest.mark.parametrize("children, config, expected", [
    ([feature(), Node("int", 5), Node("int", 7)], None, 7), ([Node("string", "a"), Node("int", 3)], None, 3),
    ([feature()], {"window": np.int64(4)}, 4), ([Node("int", 3)], {"window": 9}, 3),
    ([Node("int", 3.9)], None, None), ([Node("int", "12")], None, None), ([Node("int", True)], None, None),
    ([Node("bool", True)], None, None), ([Node("int", "abc")], None, None), ([Node("int", -3)], None, None),
    ([feature(), Node("float", 2.0)], None, None), ([], None, None), ([Node("int", 3)], {"invert": True}, None),
])
def test_window_is_the_one_the_general_evaluator_would_use(children, config, expected):
    node = Node("rotation", MEAN, children, config=config)
    assert ee._longitudinal_window(default_registry(), node) == expected


def _masked_context(rows, cols=2):
    data = np.random.default_rng(5).normal(size=(rows, cols))
    universe = np.ones((rows, cols))
    universe[rows // 2, 0] = 0.0
    return ee.EvaluationContext([data], {"close": 0}, universe=universe, registry=STUBS), np.where(
        universe == 0.0, np.nan, data)


def test_evaluate_takes_the_path_from_the_threshold_on():
    ctx, masked = _masked_context(MIN_ROWS)
    result = ee.evaluate(rolling(MEAN, rolling(STD, feature(), window=20), window=3), ctx)
    np.testing.assert_array_equal(result.weights, rolling_reference(rolling_reference(masked, 20, STD), 3, MEAN))
    assert result.states == {} and result.nan_source == {} and result.node_outputs == {}


def test_peak_memory_stays_within_three_matrices():
    ctx, _ = _masked_context(2000, cols=50)
    graph = rolling(MEAN, rolling(STD, rolling(ZSCORE, feature())))
    tracemalloc.start()
    try:
        ee._evaluate_longitudinal_fast(graph, ctx)
        _, peak = tracemalloc.get_traced_memory()
    finally:
        tracemalloc.stop()
    assert peak <= 3 * ctx.features[0].nbytes


@pytest.mark.parametrize("extra, error", [
    ([Node("string", "x")], TypeError), ([Node("bool", True)], TypeError), ([Node("int", 0)], ValueError),
    ([Node("int", "7")], TypeError),
], ids=["string", "bool", "zero-window", "text-window"])
@pytest.mark.parametrize("rows", [MIN_ROWS - 1, MIN_ROWS], ids=["general", "fast"])
def test_graphs_the_general_evaluator_refuses_fail_whichever_path_runs(extra, error, rows):
    ctx = ee.EvaluationContext([np.ones((rows, 1))], {"close": 0}, universe=np.ones((rows, 1)),
                               registry=default_registry())
    with pytest.raises(error):
        ee.evaluate(rolling(MEAN, feature(), *extra), ctx)
