"""The Python face of native operators: construction, calls, state, pickling and the table."""
import copy
import pickle

import numpy as np
import pytest

from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine.expression_evaluator import NativeFunction, _operator_table

ADD = "elementwise_add_58d1bb"
ADD_SCALAR = "elementwise_add_scalar_be4a7c"


def test_table_rows_are_unique_and_registered_as_stubs():
    table = _operator_table()
    assert len({row["name"] for row in table}) == len(table)
    assert len({row["alias"] for row in table}) == len(table)
    registry = default_registry()
    for row in table:
        entry = registry.get_entry(row["name"])
        assert (entry.param_schema, entry.family, entry.stateful) == (
            row["param_schema"], row["family"], row["stateful"])
        assert not registry.has_factory(row["name"])
        instance = registry.create_instance(row["name"], **{
            item["name"]: 1 for item in row["param_schema"] or []})
        assert isinstance(instance, NativeFunction) and instance.arity == row["arity"]


@pytest.mark.parametrize("config, error, text", [
    ({}, TypeError, "missing the parameter 'value'"),
    ({"value": 1.0, "other": 2}, TypeError, "unexpected parameter 'other'"),
    ({"value": True}, TypeError, "value must be a number, got True"),
    ({"value": "1.5"}, TypeError, "value must be a number"),
    ({"value": None}, TypeError, "value must be a number"),
])
def test_bad_parameters_are_refused(config, error, text):
    with pytest.raises(error, match=text):
        NativeFunction(ADD_SCALAR, **config)


@pytest.mark.parametrize("value", [2, np.float32(2.0), np.int64(2), 2.0])
def test_numbers_of_any_numeric_type_convert_to_float(value):
    instance = NativeFunction(ADD_SCALAR, value=value)
    assert instance.config == {"value": 2.0} and type(instance.config["value"]) is float
    np.testing.assert_array_equal(instance(np.array([1.0])), [3.0])


def test_unknown_name_is_a_key_error():
    with pytest.raises(KeyError, match="not a native operator"):
        NativeFunction("no_such_operator")


@pytest.mark.parametrize("rows, text", [
    ([np.ones(3)], "takes 2 row"),
    ([np.ones(3), np.ones(3), np.ones(3)], "takes 2 row"),
    ([np.ones((2, 3)), np.ones((2, 3))], r"expected a row vector, got shape \(2, 3\)"),
    ([np.float64(1.0), np.float64(1.0)], r"expected a row vector, got shape \(\)"),
    ([np.ones(3), np.ones(4)], r"one width, got shapes \(3,\) and \(4,\)"),
])
def test_bad_rows_are_value_errors(rows, text):
    with pytest.raises(ValueError, match=text):
        NativeFunction(ADD)(*rows)


def test_call_accepts_lists_strided_rows_and_context():
    strided = np.arange(10.0)[::2]
    out = NativeFunction(ADD)([1.0, 2.0, 3.0, 4.0, 5.0], strided, context=object())
    np.testing.assert_array_equal(out, [1.0, 4.0, 7.0, 10.0, 13.0])
    with pytest.raises(TypeError, match="unexpected keyword argument 'ctx'"):
        NativeFunction(ADD)(strided, strided, ctx=None)


def test_stateless_instance_contract():
    instance = NativeFunction(ADD_SCALAR, value=1.5)
    assert instance.stateful is False and not hasattr(instance, "window")
    assert instance.get_state() == {"count": 0, "window": 0}


@pytest.mark.parametrize("clone", [copy.deepcopy, copy.copy, lambda f: pickle.loads(pickle.dumps(f))])
def test_clones_keep_name_and_configuration(clone):
    original = NativeFunction(ADD_SCALAR, value=2.5)
    twin = clone(original)
    assert twin is not original and (twin.name, twin.config) == (ADD_SCALAR, {"value": 2.5})
    np.testing.assert_array_equal(twin(np.array([1.0])), [3.5])
