"""The reduction built-ins: their behaviour, and the native instances against their NumPy twins
(cells bit for bit, states, resuming and errors)."""
import copy
import pickle

import numpy as np
import pytest
from hypothesis import given, strategies as st

from quillmarsh._reference.reductions import MeanReduction, PnlWeightedReduction
from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine._types import FunctionState
from quillmarsh.simulator_engine.expression_evaluator import NativeMeanReduction, NativePnlWeightedReduction

from ...cells import assert_same_bits


def test_pnl_weighted_reduction_weights_by_positive_trailing_mean():
    reduction = default_registry().create_instance("reduction_pnl_weighted_b7d41a", window=2)
    rows = np.array([[1.0, 0.0], [0.0, 1.0], [5.0, 5.0]])
    # No positive PnL yet: the plain mean.
    np.testing.assert_array_equal(reduction(rows, signal_pnl=np.array([0.0, -1.0, np.nan])), rows.mean(axis=0))
    # Trailing means over 2 rows: 1.0, 0.5 and -0.5 (left out).
    np.testing.assert_allclose(reduction(rows, signal_pnl=np.array([2.0, 2.0, -1.0])), [1.0 / 1.5, 0.5 / 1.5])


# How a row's PnL values are drawn: each style leads the weights to another branch.
PNL_STYLES = ("mixed", "negative", "zero", "nan", "inf", "tiny")


def pnl_row(rng, signals, style):
    values = rng.normal(size=signals) * 10.0 ** rng.integers(-3, 3)
    if style == "negative":
        return -np.abs(values)
    if style == "zero":
        return np.zeros(signals)
    if style == "nan":
        values[rng.random(signals) < 0.5] = np.nan
    if style == "inf":
        values[rng.integers(signals)] = rng.choice([np.inf, -np.inf])
    if style == "tiny":
        values *= 1e-300
    return values


def weight_rows(rng, signals, n):
    rows = rng.normal(size=(signals, n)) * 10.0 ** rng.integers(-6, 6)
    rows[rng.random((signals, n)) < 0.1] = np.nan
    return rows


def assert_same_state(native, twin):
    left, right = native.get_state(), twin.get_state()
    assert (left["count"], left["window"]) == (right["count"], right["window"])
    assert_same_bits(left["pnl_history"], right["pnl_history"])


def run_both(window, steps):
    native, twin = NativePnlWeightedReduction(window), PnlWeightedReduction(window)
    for rows, pnl in steps:
        with np.errstate(all="ignore"):
            assert_same_bits(native(rows, signal_pnl=pnl), twin(rows, signal_pnl=pnl))
        assert_same_state(native, twin)


@pytest.mark.parametrize("signals", range(1, 41))
def test_native_pnl_weighted_reduction_equals_its_numpy_twin_bit_for_bit(signals):
    rng = np.random.default_rng(signals)
    n = int(rng.integers(1, 7))
    # Past 8 and 128 rows, a single signal's mean is a blocked sum.
    window = {1: 130, 2: 130, 3: 20, 4: 9}.get(signals) or int(rng.choice([1, 2, 3, 5, 9]))
    steps = [(weight_rows(rng, signals, n), pnl_row(rng, signals, PNL_STYLES[t % len(PNL_STYLES)]))
             for t in range(window + 12)]
    run_both(window, steps)


@given(window=st.integers(1, 6), n=st.integers(1, 4), seed=st.integers(0, 2**32 - 1),
       plan=st.lists(st.tuples(st.integers(1, 9), st.sampled_from(PNL_STYLES)), min_size=1, max_size=12))
def test_a_change_in_the_signal_count_restarts_the_history_as_the_twin_does(window, n, seed, plan):
    rng = np.random.default_rng(seed)
    run_both(window, [(weight_rows(rng, signals, n), pnl_row(rng, signals, style)) for signals, style in plan])


@pytest.mark.parametrize("window", [10**12, 2**63, 10**40])
def test_a_window_past_any_run_keeps_every_row_and_saturates(window):
    rng = np.random.default_rng(7)
    native, twin = NativePnlWeightedReduction(window), PnlWeightedReduction(window)
    for t in range(6):
        rows, pnl = weight_rows(rng, 3, 2), pnl_row(rng, 3, PNL_STYLES[t % len(PNL_STYLES)])
        with np.errstate(all="ignore"):
            assert_same_bits(native(rows, signal_pnl=pnl), twin(rows, signal_pnl=pnl))
    state = native.get_state()
    assert native.window == min(window, 2**62) and state["pnl_history"].shape == (6, 3)
    resumed = NativePnlWeightedReduction(window)
    resumed.set_state({**state, "window": window, "count": 10**20})
    assert resumed.get_state()["count"] == 2**62


def set_state_of_a_fresh_instance(first):
    resumed = NativePnlWeightedReduction(4)
    resumed.set_state(first.get_state())
    return resumed


def from_the_registry(first):
    name = "reduction_pnl_weighted_b7d41a"
    return default_registry().create_instance_from_state(name, FunctionState(name, "1", first.get_state()), window=4)


@pytest.mark.parametrize("split", [0, 1, 3, 7])
@pytest.mark.parametrize("resume", [set_state_of_a_fresh_instance, from_the_registry, copy.deepcopy,
                                    lambda first: pickle.loads(pickle.dumps(first))],
                         ids=["set_state", "registry", "deepcopy", "pickle"])
def test_a_resumed_instance_continues_the_run_bit_for_bit(split, resume):
    rng = np.random.default_rng(split)
    steps = [(weight_rows(rng, 5, 3), pnl_row(rng, 5, PNL_STYLES[t % 3])) for t in range(10)]
    whole, first = NativePnlWeightedReduction(4), NativePnlWeightedReduction(4)
    expected = [whole(rows, signal_pnl=pnl) for rows, pnl in steps]
    for rows, pnl in steps[:split]:
        first(rows, signal_pnl=pnl)
    resumed = resume(first)
    for (rows, pnl), cells in zip(steps[split:], expected[split:]):
        assert_same_bits(resumed(rows, signal_pnl=pnl), cells)
    assert_same_state(resumed, whole)


def test_saved_history_is_a_copy_and_a_restore_copies_it_in():
    reduction = NativePnlWeightedReduction(3)
    reduction(np.ones((2, 2)), signal_pnl=np.array([1.0, 2.0]))
    state = reduction.get_state()
    state["pnl_history"][:] = -5.0
    np.testing.assert_array_equal(reduction.get_state()["pnl_history"], [[1.0, 2.0]])
    saved = {"count": 1, "window": 3, "pnl_history": np.array([[1.0, 2.0]])}
    reduction.set_state(saved)
    saved["pnl_history"][:] = -5.0
    np.testing.assert_array_equal(reduction.get_state()["pnl_history"], [[1.0, 2.0]])


def outcome(action):
    try:
        result = action()
    except Exception as error:  # noqa: BLE001 - the outcome is compared, whatever it is
        return type(error), str(error)
    return "returned", result


def called(instance_class, rows, pnl):
    return lambda: instance_class(2)(rows, signal_pnl=pnl)


def restored(instance_class, payload):
    return lambda: instance_class(2).set_state(payload)


@pytest.mark.parametrize("make", [
    lambda cls: lambda: cls(True), lambda cls: lambda: cls(2.5), lambda cls: lambda: cls("3"),
    lambda cls: lambda: cls(None), lambda cls: lambda: cls(0), lambda cls: lambda: cls(-(10**30)),
    lambda cls: lambda: cls(2).set_state(None),
    lambda cls: called(cls, np.ones((2, 3)), np.ones(3)), lambda cls: called(cls, np.ones((2, 3)), np.ones((1, 1))),
    lambda cls: restored(cls, {"window": 3}), lambda cls: restored(cls, {"window": 2, "pnl_history": np.ones(4)}),
    lambda cls: restored(cls, {"pnl_history": np.ones((3, 2))}), lambda cls: restored(cls, []),
    lambda cls: restored(cls, {"count": "x", "pnl_history": np.ones((1, 2))}),
    lambda cls: restored(cls, {"window": 2.0, "count": 1.7, "pnl_history": [[1, 2]]}),
], ids=["bool", "float", "str", "none", "zero", "hugely negative", "state none", "pnl count", "pnl count 2-D",
        "other window", "1-D history", "long history", "not a dict", "count not a number", "numbers of other types"])
def test_errors_are_those_of_the_twin(make):
    assert outcome(make(NativePnlWeightedReduction)) == outcome(make(PnlWeightedReduction))


@pytest.mark.parametrize("signals, n", [(0, 3), (1, 1), (2, 3), (9, 1), (200, 1), (5, 4)])
def test_native_mean_reduction_equals_its_twin(signals, n):
    rows = np.random.default_rng(n).normal(size=(signals, n))
    assert_same_bits(NativeMeanReduction()(rows), MeanReduction()(rows))


@pytest.mark.parametrize("extraction", [np.ones(3), np.ones((1, 2, 3)), 4.0])
@pytest.mark.parametrize("stateful", [False, True], ids=["mean", "pnl"])
def test_an_extraction_that_is_not_a_matrix_is_a_value_error(stateful, extraction):
    instance = NativePnlWeightedReduction(2) if stateful else NativeMeanReduction()
    call = (lambda rows: instance(rows, signal_pnl=np.ones(1))) if stateful else instance
    with pytest.raises(ValueError, match=r"^extraction must be a \(signals, assets\) matrix, got shape \("):
        call(extraction)
