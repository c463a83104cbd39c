"""The native operators behind Python calls, for comparing the evaluator's two paths."""
import numpy as np

from quillmarsh.functions.registry import FunctionRegistry
from quillmarsh.simulator_engine.expression_evaluator import NativeFunction, _operator_table


class PythonCall:
    """A native operator behind a Python call: the evaluator's Python path runs it."""

    def __init__(self, native):
        self._native = native
        self.stateful = native.stateful
        self.arity = native.arity  # bound, it takes only its data children, as the native instance does

    def __call__(self, *rows, context=None):
        return self._native(*rows)

    def get_state(self):
        return self._native.get_state()

    def set_state(self, data):
        self._native.set_state(data)

    @property
    def window(self):
        return self._native.window


def python_call_registry():
    registry = FunctionRegistry()
    for row in _operator_table():
        registry.register(row["name"], param_schema=row["param_schema"], family=row["family"],
                          stateful=row["stateful"],
                          factory=lambda name=row["name"], **config: PythonCall(NativeFunction(name, **config)))
    return registry


def assert_same_states(left, right):
    assert left.keys() == right.keys()
    for key, state in left.items():
        other = right[key]
        assert (state.function_name, state.function_version) == (other.function_name, other.function_version)
        assert state.data.keys() == other.data.keys()
        for field, value in state.data.items():
            assert np.asarray(value).dtype == np.asarray(other.data[field]).dtype, (key, field)
            np.testing.assert_array_equal(value, other.data[field], err_msg=f"{key} {field}")
