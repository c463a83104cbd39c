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


MEAN = "longitudinal_accumulators_25c7fb"


@pytest.mark.parametrize("name, config, error, text", [
    ("no_such_operator", {}, KeyError, "not a native operator"),
    (ADD_SCALAR, {}, TypeError, "missing the parameter 'value'"),
    (ADD_SCALAR, {"value": 1.0, "other": 2}, TypeError, "unexpected parameter 'other'"),
    (ADD_SCALAR, {"value": True}, TypeError, "value must be a number, got True"),
    (ADD_SCALAR, {"value": "1.5"}, TypeError, "value must be a number"),
    (ADD_SCALAR, {"value": None}, TypeError, "value must be a number"),
    (MEAN, {"window": True}, TypeError, "window must be an integer, got True"),
    (MEAN, {"window": "3"}, TypeError, "window must be an integer, got '3'"),
    (MEAN, {"window": None}, TypeError, "window must be an integer, got None"),
    (MEAN, {"window": 0}, ValueError, "window must be at least 1, got 0"),
    (MEAN, {"window": 0.99}, ValueError, "window must be at least 1, got 0.99"),
    (MEAN, {"window": -10**30}, ValueError, "window must be at least 1, got -1000000000000000000000000000000"),
    (MEAN, {"window": float("nan")}, ValueError, "window must be finite"),
    (MEAN, {"window": float("inf")}, ValueError, "window must be finite"),
    ("ts_quantile_8fcf1f", {"window": 3, "q": -0.1}, ValueError, "q must be between 0 and 1"),
    ("ts_quantile_8fcf1f", {"window": 3, "q": 1.5}, ValueError, "q must be between 0 and 1"),
    ("ts_quantile_8fcf1f", {"window": 3, "q": np.nan}, ValueError, "q must be between 0 and 1"),
])
def test_bad_names_and_parameters_are_refused(name, config, error, text):
    with pytest.raises(error, match=text):
        NativeFunction(name, **config)


@pytest.mark.parametrize("name, config, expected", [
    (ADD_SCALAR, {"value": 2}, 2.0), (ADD_SCALAR, {"value": np.float32(2.0)}, 2.0),
    (ADD_SCALAR, {"value": np.int64(2)}, 2.0), (MEAN, {"window": 3.9}, 3), (MEAN, {"window": 1.0}, 1),
    (MEAN, {"window": np.int64(4)}, 4), (MEAN, {"window": np.float64(2.5)}, 2),
])
def test_numbers_convert_to_the_parameter_kind_and_windows_are_floored(name, config, expected):
    (key, value), = NativeFunction(name, **config).config.items()
    assert value == expected and type(value) is type(expected)


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


def _fed(rows=((1.0, 2.0, 3.0), (4.0, np.nan, 6.0))):
    instance = NativeFunction(MEAN, window=2)
    for row in rows:
        instance(np.array(row))
    return instance


def test_state_payload_holds_copies():
    instance = _fed()
    instance.get_state()["ring"][:] = 0.0
    assert instance.get_state()["ring"][0, 0] == 1.0


def _edited(**changes):
    state = _fed().get_state()
    state.update(changes)
    return {key: value for key, value in state.items() if value is not None}


@pytest.mark.parametrize("data, error, text", [
    (_edited(window=3), ValueError, "saved state has window 3, this instance has window 2"),
    (_edited(count=-1), ValueError, "negative count -1"),
    (_edited(ring=None), ValueError, "carries no 'ring'"),
    (_edited(prefix_sum=None), ValueError, "lacks 'prefix_sum'"),
    (_edited(nan_in_window=np.zeros(4, dtype=np.int64)), ValueError, r"shape \(4,\), expected \(3,\)"),
    (_edited(ring=np.zeros((3, 3))), ValueError, r"shape \(3, 3\), expected \(2, 3\)"),
    (_edited(nan_in_window=np.zeros(3)), ValueError, "does not cast safely to int64"),
    (_edited(prefix_sum=np.zeros(3, dtype=complex)), ValueError, "does not cast safely"),
    ([("count", 0)], TypeError, "must be a dict"),
])
def test_bad_saved_states_are_refused_and_leave_the_instance_as_it_was(data, error, text):
    instance = _fed()
    before = instance.get_state()
    with pytest.raises(error, match=text):
        instance.set_state(data)
    after = instance.get_state()
    assert after.keys() == before.keys() and all(np.array_equal(after[k], before[k], equal_nan=True) for k in before)


@pytest.mark.parametrize("clone", [copy.deepcopy, copy.copy, lambda f: pickle.loads(pickle.dumps(f))])
@pytest.mark.parametrize("make, row", [(lambda: NativeFunction(ADD_SCALAR, value=2.5), [1.0, 2.0, 3.0]),
                                       (_fed, [7.0, 8.0, 9.0])], ids=["stateless", "stateful"])
def test_clones_keep_name_and_configuration_and_continue_the_run(clone, make, row):
    original = make()
    twin = clone(original)
    assert twin is not original and (twin.name, twin.config) == (original.name, original.config)
    np.testing.assert_array_equal(twin(np.array(row)), original(np.array(row)))


def test_a_restored_width_is_enforced():
    instance = _fed()
    with pytest.raises(ValueError, match=r"expected a row of shape \(3,\), got \(2,\)"):
        instance(np.ones(2))
    fresh = NativeFunction(MEAN, window=2)
    fresh.set_state({"count": 0, "window": 2})
    assert fresh(np.ones(5)).shape == (5,)


LIMIT = 2**62


@pytest.mark.parametrize("name, inputs", [(MEAN, 1), ("ts_sum_b59147", 1), ("ts_correlation_146959", 2),
                                          ("ts_quantile_8fcf1f", 1)])
@pytest.mark.parametrize("window, saved", [(10**12, 10**12), (2**63, LIMIT), (10**40, LIMIT), (1e300, LIMIT)])
def test_a_window_longer_than_any_run_keeps_only_the_rows_seen(name, inputs, window, saved):
    config = {"window": window, "q": 0.5} if "quantile" in name else {"window": window}
    instance = NativeFunction(name, **config)
    rows = [np.arange(10_000.0) + k for k in range(3)]
    outputs = [instance(*([row] * inputs)) for row in rows]
    assert instance.window == saved and all(np.isnan(out).all() for out in outputs)
    state = instance.get_state()
    assert state["window"] == saved and state["ring"].shape[-2:] == (3, 10_000)
    restored = NativeFunction(name, **config)
    restored.set_state({**state, "window": window})
    assert np.isnan(restored(*([rows[0]] * inputs))).all() and restored.get_state()["count"] == 4


@pytest.mark.parametrize("count", [10**20, 2**62])
def test_a_saved_count_past_the_limit_means_a_full_window(count):
    state = _fed().get_state()
    twin = NativeFunction(MEAN, window=2)
    twin.set_state({**state, "count": count})
    assert twin.get_state()["count"] == LIMIT
    np.testing.assert_array_equal(twin(np.array([7.0, 8.0, 9.0])), _fed()(np.array([7.0, 8.0, 9.0])))
