import copy
import pickle

import numpy as np
import pytest
from hypothesis import given, strategies as st
from hypothesis.extra.numpy import arrays

from quillmarsh._reference.rolling import rolling_reference
from quillmarsh.functions.builtins.longitudinal import ROLLING_MEAN, ROLLING_STD, ROLLING_ZSCORE
from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine._types import FunctionState

from ...cells import assert_same_bits

NAMES = [ROLLING_MEAN, ROLLING_STD, ROLLING_ZSCORE]


@st.composite
def rolling_inputs(draw):
    """A matrix with NaN holes, infinities and a constant run, and a window."""
    window = draw(st.sampled_from([1, 2, 3, 8, 20]))
    rows = draw(st.integers(0, 3 * window + 10))
    cols = draw(st.integers(1, 3))
    finite = st.one_of(st.floats(-1e6, 1e6), st.floats(allow_nan=False, allow_infinity=False))
    data = draw(arrays(np.float64, (rows, cols), elements=finite))
    if rows:
        for _ in range(draw(st.integers(0, 4))):
            cell = (draw(st.integers(0, rows - 1)), draw(st.integers(0, cols - 1)))
            data[cell] = draw(st.sampled_from([np.nan, np.nan, np.nan, np.inf, -np.inf]))
        start = draw(st.integers(0, rows - 1))
        data[start:start + draw(st.integers(0, 2 * window)), draw(st.integers(0, cols - 1))] = \
            draw(st.sampled_from([3.0, 0.1, -0.0, 1e6]))
    return data, window


def run_rows(instance, data):
    return np.array([instance(row.copy(), context=None) for row in data]).reshape(data.shape)


@pytest.mark.parametrize("name", NAMES)
@given(case=rolling_inputs())
def test_fresh_instance_reproduces_rolling_kernel(name, case):
    data, window = case
    original = data.copy()
    cells = run_rows(default_registry().create_instance(name, window=window), data)
    assert_same_bits(cells, rolling_reference(data, window, name))
    np.testing.assert_array_equal(data, original)


def run_resumed(name, data, window, cut, edit_state):
    """Runs data[:cut] on one instance and the rest on a second restored from the first's edited saved state."""
    registry = default_registry()
    first = registry.create_instance(name, window=window)
    head = run_rows(first, data[:cut])
    saved = FunctionState(function_name=name, function_version="1", data=edit_state(first.get_state()))
    resumed = registry.create_instance_from_state(name, saved, window=window)
    return np.vstack([head, run_rows(resumed, data[cut:])])


@pytest.mark.parametrize("name", NAMES)
@given(case=rolling_inputs(), split=st.floats(0, 1))
def test_restored_instance_continues_one_uninterrupted_run(name, case, split):
    data, window = case
    cut = int(split * data.shape[0])

    def pickled(saved):
        assert saved["count"] == cut and saved["window"] == window
        return pickle.loads(pickle.dumps(copy.deepcopy(saved)))

    assert_same_bits(run_resumed(name, data, window, cut, pickled), rolling_reference(data, window, name))


@pytest.mark.parametrize("window, error", [(0, ValueError), (-3, ValueError), (2.5, ValueError),
                                           (True, TypeError), (4, ValueError)])
def test_window_must_be_a_positive_integer_matching_the_state(window, error):
    saved = FunctionState(ROLLING_STD, "1", {"count": 0, "window": 3})
    with pytest.raises(error, match="window"):
        default_registry().create_instance_from_state(ROLLING_STD, saved, window=window)


def test_restores_from_arrays_of_any_layout_and_byte_order():
    data = np.arange(1.0, 25.0).reshape(8, 3) ** 1.5

    def relaid(saved):
        return {**saved, "ring": np.asfortranarray(saved["ring"]), "prefix_sum": np.repeat(saved["prefix_sum"], 2)[::2],
                "nan_in_window": saved["nan_in_window"].astype(">i8")}

    assert_same_bits(run_resumed(ROLLING_ZSCORE, data, 3, 5, relaid), rolling_reference(data, 3, ROLLING_ZSCORE))
