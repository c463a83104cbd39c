"""Native instances stepped by the general evaluator equal the same operators called through Python."""
import numpy as np
import pytest

from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionExecutionError, FunctionGraphNode as Node
from quillmarsh.simulator_engine.expression_evaluator import NativeFunction

from ..operators.python_call import PythonCall, assert_same_states, python_call_registry

T, N = 30, 5
_rng = np.random.default_rng(5)
CLOSE = np.round(_rng.standard_normal((T, N)), 1)
CLOSE[[2, 7, 7], [1, 0, 4]] = np.nan
CLOSE[9, 3] = np.inf
VOLUME = np.round(_rng.random((T, N)), 1)
UNIVERSE = np.where(_rng.random((T, N)) < 0.15, 0.0, 1.0)


def op(name, *children):
    return Node("rotation", name, list(children))


def feature(name):
    return Node("feature", name)


ZSCORE = "longitudinal_accumulators_7e8468"

GRAPHS = {
    "sum_of_scaled": op("elementwise_add_58d1bb", feature("close"),
                        op("elementwise_mul_scalar_69980f", feature("volume"), Node("float", 2.0))),
    "where_greater": op("elementwise_where_46148c",
                        op("elementwise_greater_8f10c1", feature("close"), feature("volume")),
                        feature("close"), op("elementwise_neg_c732df", feature("volume"))),
    "same_child_twice": op("elementwise_div_26021f", feature("close"), feature("close")),
    "rolling_chain_times_rank": op(
        "numerical_combine_d65e04",
        op(ZSCORE, op("longitudinal_accumulators_25c7fb", feature("close"), Node("int", 5)), Node("int", 7)),
        op("latitudinal_rank_688068", op("cross_sectional_demean_5e2a7c", feature("volume")))),
    "product": op("numerical_combine_d65e04", op("elementwise_abs_82451b", feature("close")), feature("volume")),
}


def _context(registry, close=CLOSE):
    return ee.EvaluationContext([close, VOLUME], {"close": 0, "volume": 1}, registry=registry, universe=UNIVERSE)


@pytest.mark.parametrize("graph", GRAPHS.values(), ids=GRAPHS.keys())
@pytest.mark.parametrize("close, nan_features", [(CLOSE, None), (np.full((T, N), np.nan), ["close"])],
                         ids=["data", "missing-close"])
def test_native_steps_equal_python_calls(graph, close, nan_features):
    native, native_states = ee.evaluate(graph, _context(default_registry(), close), data_nan_features=nan_features)
    python, python_states = ee.evaluate(graph, _context(python_call_registry(), close), data_nan_features=nan_features)
    np.testing.assert_array_equal(native, python)
    assert_same_states(native_states, python_states)


@pytest.mark.parametrize("registry", [default_registry, python_call_registry], ids=["native", "python"])
def test_a_failing_step_names_the_node_and_row_with_the_cause_chained(registry):
    graph = op("longitudinal_accumulators_25c7fb", feature("close"), Node("int", 3))
    narrow = ee.EvaluationContext([CLOSE[:4, :3], VOLUME[:4, :3]], {"close": 0, "volume": 1}, registry=registry(),
                                  universe=UNIVERSE[:4, :3])
    _, states = ee.evaluate(graph, narrow)
    with pytest.raises(FunctionExecutionError) as caught:
        ee.evaluate(op("elementwise_abs_82451b", graph), _context(registry()),
                    function_states={"root.c0": states["root"]})
    assert str(caught.value) == ("Function 'longitudinal_accumulators_25c7fb' failed at row 0: "
                                 "expected a row of shape (3,), got (5,)")
    assert type(caught.value.__cause__) is ValueError


def test_bound_instances_keep_the_same_node_outputs_on_either_path():
    graph = GRAPHS["rolling_chain_times_rank"]
    bound_names = {"root": ("numerical_combine_d65e04", {}), "root.c0": (ZSCORE, {"window": 7}),
                   "root.c0.c0": ("longitudinal_accumulators_25c7fb", {"window": 5}),
                   "root.c1": ("latitudinal_rank_688068", {}), "root.c1.c0": ("cross_sectional_demean_5e2a7c", {})}

    def evaluate(wrap):
        instances = {path: wrap(NativeFunction(name, **config)) for path, (name, config) in bound_names.items()}
        return ee.evaluate(graph, _context(default_registry()), bound_function_instances=instances)

    native, python = evaluate(lambda f: f), evaluate(PythonCall)
    np.testing.assert_array_equal(native.weights, python.weights)
    assert native.node_outputs.keys() == python.node_outputs.keys() and len(native.node_outputs) > len(bound_names)
    for path, matrix in native.node_outputs.items():
        np.testing.assert_array_equal(matrix, python.node_outputs[path], err_msg=path)
    assert_same_states(native.states, python.states)


@pytest.mark.parametrize("width", [1, 63, 64, 65, 130])
def test_wide_rows_are_masked_on_every_inactive_column(width):
    # Inactive universe cells (0.0, -0.0, NaN) on both sides of each 64-column boundary.
    rng = np.random.default_rng(width)
    close = rng.standard_normal((6, width))
    universe = rng.choice([1.0, 1.0, 1.0, 0.0, -0.0, np.nan, np.inf], (6, width))
    context = ee.EvaluationContext([close], {"close": 0}, registry=default_registry(), universe=universe)
    out, _ = ee.evaluate(op("elementwise_abs_82451b", feature("close")), context)
    inactive = (universe == 0.0) | np.isnan(universe)
    np.testing.assert_array_equal(out, np.abs(np.where(inactive, np.nan, close)))
