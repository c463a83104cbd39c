"""Reductions over useful signals, their PnL inputs and the cold-start replay."""
import numpy as np
import pytest
from .general_fakes import Accumulator, Fn, make_context, signals

from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import EvaluationError, FunctionExecutionError, FunctionState
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node

T, N = 4, 2


def _context(weights_by_id, pnl_by_id=None, **kwargs):
    """A context shaped like the first signal's weights (default T x N) that collects no states."""
    shape = np.shape(next(iter(weights_by_id.values()))) if weights_by_id else (T, N)
    ctx = make_context([np.zeros(shape)], {"close": 0}, useful_signals=signals(weights_by_id, pnl_by_id), **kwargs)
    ctx._collect_states = False
    return ctx


def _reduce(ctx, instance, children=(), states=None, cold=False):
    graph = Node("reduction", "reduce", list(children))
    return ee.evaluate(graph, ctx, states, cold, bound_function_instances={"root": instance})


@pytest.mark.parametrize("count, n", [(1, 2), (7, 2), (5, 3), (9, 1), (300, 1), (1, 1)])
def test_stateless_reduction_is_the_numpy_column_mean_bit_for_bit_and_never_calls_the_instance(count, n):
    rng = np.random.default_rng(count * 10 + n)
    weights = {f"s{i:03d}": rng.normal(size=(2, n)) * 10.0 ** rng.integers(-8, 8) for i in range(count)}
    weights["s000"][0] = -0.0
    weights["s000"][1, 0] = np.nan
    mean = Fn()
    out = _reduce(_context(weights), mean)
    expected = np.array([np.stack([weights[k][t] for k in sorted(weights)]).mean(axis=0) for t in range(2)])
    np.testing.assert_array_equal(out.weights, expected)
    assert np.signbit(out.weights[0]).tolist() == np.signbit(expected[0]).tolist() and mean.calls == []


@pytest.mark.parametrize("vectors, labels, pnl_child, expected", [
    ({"a": {"gross_returns": 0.5}}, None, None, [[0.5, 0.0]] * T), ({"a": {"net": 0.5}}, None, None, [[0.0, 0.0]] * T),
    (None, ["gross_returns", "net"], None, [[t, 10 * t] for t in range(T)]), (None, None, None, [[0.0, 0.0]] * T),
    (None, ["gross_returns", "net"], "net", [[t + 0.5, 10 * t + 0.5] for t in range(T)]),
])
def test_stateful_reduction_receives_rows_and_pnl_per_signal_in_sorted_id_order(vectors, labels, pnl_child, expected):
    pnl = {"a": np.array([[t, t + 0.5] for t in range(T)]), "b": np.array([[10 * t, 10 * t + 0.5] for t in range(T)])}
    ctx = _context({"b": np.full((T, N), 2.0), "a": np.ones((T, N))}, pnl, signal_pnl_vectors=vectors,
                   column_labels=labels)
    acc = Accumulator()
    out = _reduce(ctx, acc, [Node("string", pnl_child)] if pnl_child else [])
    assert all(extraction[:, 0].tolist() == [1.0, 2.0] for (extraction,), _ in acc.calls)
    np.testing.assert_array_equal([pnl for _, pnl in acc.calls], expected)
    np.testing.assert_array_equal(out.weights[:, 0], [1.0, 2.0, 3.0, 4.0])


def test_missing_pnl_column_is_an_evaluation_error_not_a_function_failure():
    ctx = _context({"a": np.ones((T, N))}, column_labels=["gross_returns", "fees"])
    with pytest.raises(EvaluationError) as err:
        _reduce(ctx, Accumulator(), [Node("string", "net")])
    assert not isinstance(err.value, FunctionExecutionError)
    assert str(err.value) == "PnL column 'net' not found in column_labels: ['gross_returns', 'fees']"


def test_reduction_instance_failure_is_wrapped():
    acc = type("Failing", (Accumulator,), {"__call__": lambda self, *a, **k: 1 / 0})()
    with pytest.raises(FunctionExecutionError, match=r"^Function 'reduce' failed at row 0: division by zero$") as err:
        _reduce(_context({"a": np.ones((T, N))}), acc)
    assert isinstance(err.value.__cause__, ZeroDivisionError)


@pytest.mark.parametrize("instance", [Fn(), Accumulator()])
def test_reduction_without_signals_or_filtration_fails_clearly(instance):
    with pytest.raises(EvaluationError, match="^Reduction 'reduce' at node 'root' has no useful signals to reduce"):
        _reduce(_context({}), instance)


@pytest.mark.parametrize("rows, payload, replayed", [
    (12, {"count": 3, "window": 10}, list(range(5, 12))), (4, {"count": 3, "window": 10}, [0, 1, 2, 3]),
    (12, {"count": 10, "window": 10}, []), (12, {"count": 8}, [10, 11]), (12, {}, []), (12, None, []),
    (12, {"count": 10**20, "window": 10}, []), (12, {"count": -10**30, "window": 10}, list(range(12))),
    (12, {"count": 2**64, "window": 2**65}, list(range(12))), (12, {"count": 3, "window": 2**70}, list(range(12))),
    (12, {"count": 2.5, "window": 10.9}, list(range(4, 12))), (12, {"count": "abc", "window": 5}, list(range(7, 12))),
    (12, {"count": 3, "window": "x"}, []), (12, {"count": 3, "window": None}, []),
])
def test_cold_start_replays_the_tail_of_saved_states_before_row_zero(rows, payload, replayed):
    weights = np.repeat(np.arange(float(rows))[:, None], N, axis=1)
    acc = Accumulator()
    states = None if payload is None else {"root": FunctionState("reduce", 1, payload)}
    _reduce(_context({"a": weights}, column_labels=["gross_returns"]), acc, states=states, cold=True)
    assert [int(extraction[0][0, 0]) for extraction, _ in acc.calls] == replayed + list(range(rows))
