"""Native instances stepped by the general evaluator equal the same operators called through Python."""
import numpy as np
import pytest

from quillmarsh.functions.registry import FunctionRegistry, default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node
from quillmarsh.simulator_engine.expression_evaluator import NativeFunction, _operator_table

T, N = 30, 5
_rng = np.random.default_rng(5)
CLOSE = np.round(_rng.standard_normal((T, N)), 1)
CLOSE[[2, 7, 7], [1, 0, 4]] = np.nan
CLOSE[9, 3] = np.inf
VOLUME = np.round(_rng.random((T, N)), 1)
UNIVERSE = np.where(_rng.random((T, N)) < 0.15, 0.0, 1.0)


class PythonCall:
    """A native operator behind a Python call: the evaluator's Python path runs it."""

    def __init__(self, native):
        self._native = native
        self.stateful = native.stateful

    def __call__(self, *rows, context=None):
        return self._native(*rows)

    def get_state(self):
        return self._native.get_state()

    def set_state(self, data):
        self._native.set_state(data)


def python_call_registry():
    registry = FunctionRegistry()
    for row in _operator_table():
        registry.register(row["name"], param_schema=row["param_schema"], family=row["family"],
                          stateful=row["stateful"],
                          factory=lambda name=row["name"], **config: PythonCall(NativeFunction(name, **config)))
    return registry


def op(name, *children):
    return Node("rotation", name, list(children))


def feature(name):
    return Node("feature", name)


GRAPHS = {
    "sum_of_scaled": op("elementwise_add_58d1bb", feature("close"),
                        op("elementwise_mul_scalar_69980f", feature("volume"), Node("float", 2.0))),
    "where_greater": op("elementwise_where_46148c",
                        op("elementwise_greater_8f10c1", feature("close"), feature("volume")),
                        feature("close"), op("elementwise_neg_c732df", feature("volume"))),
    "same_child_twice": op("elementwise_div_26021f", feature("close"), feature("close")),
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
    assert native_states == python_states == {}


@pytest.mark.parametrize("wrap", [lambda f: f, PythonCall], ids=["native", "python"])
def test_bound_instances_take_either_path(wrap):
    graph = op("elementwise_sub_5d8561", feature("close"), feature("volume"))
    weights, _ = ee.evaluate(graph, _context(default_registry()),
                             bound_function_instances={"root": wrap(NativeFunction("elementwise_sub_5d8561"))})
    masked = np.where(UNIVERSE == 0.0, np.nan, 1.0)
    np.testing.assert_array_equal(weights, CLOSE * masked - VOLUME * masked)
