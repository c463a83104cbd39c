import numpy as np

from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine._types import FunctionState


def test_pnl_weighted_reduction_weights_by_positive_trailing_mean():
    reduction = default_registry().create_instance("reduction_pnl_weighted_b7d41a", window=2)
    rows = np.array([[1.0, 0.0], [0.0, 1.0], [5.0, 5.0]])
    # No positive PnL yet: the plain mean.
    np.testing.assert_array_equal(reduction(rows, signal_pnl=np.array([0.0, -1.0, np.nan])), rows.mean(axis=0))
    # Trailing means over 2 rows: 1.0, 0.5 and -0.5 (left out).
    np.testing.assert_allclose(reduction(rows, signal_pnl=np.array([2.0, 2.0, -1.0])), [1.0 / 1.5, 0.5 / 1.5])
    state = reduction.get_state()
    assert state["count"] == 2 and state["window"] == 2 and state["pnl_history"].shape == (2, 3)
    reduction(rows[:2], signal_pnl=np.array([1.0, 1.0]))
    assert reduction.get_state()["count"] == 1


def test_stateful_reduction_resumes_from_its_state():
    registry = default_registry()
    name = "reduction_pnl_weighted_b7d41a"
    rows = np.array([[1.0, 0.0], [0.0, 1.0]])
    pnls = [np.array([1.0, 0.0]), np.array([0.0, 3.0]), np.array([2.0, 0.0])]
    whole, first = (registry.create_instance(name, window=2) for _ in range(2))
    expected = [whole(rows, signal_pnl=pnl) for pnl in pnls][-1]
    first(rows, signal_pnl=pnls[0])
    resumed = registry.create_instance_from_state(name, FunctionState(name, "1", first.get_state()), window=2)
    resumed(rows, signal_pnl=pnls[1])
    np.testing.assert_array_equal(resumed(rows, signal_pnl=pnls[2]), expected)
