"""Time-series native operators: against their NumPy twins, conventions, and streaming through evaluate."""
import pickle

import numpy as np
import pytest
from hypothesis import given, strategies as st
from hypothesis.extra import numpy as hnp

from quillmarsh._reference.rank import mask_with_universe
from quillmarsh._reference.time_series import TIME_SERIES_REFERENCES
from quillmarsh.functions.registry import default_registry
from quillmarsh.simulator_engine import expression_evaluator as ee
from quillmarsh.simulator_engine._types import FunctionGraphNode as Node, FunctionState
from quillmarsh.simulator_engine.expression_evaluator import NativeFunction, _operator_table

from ...cells import assert_same_bits
from ...strategies import CELL, matrices_with_universe

TIME_SERIES = [row for row in _operator_table()
               if row["family"] == "time_series" and row["name"] in TIME_SERIES_REFERENCES]
BY_ALIAS = {row["alias"]: row["name"] for row in TIME_SERIES}
WINDOW = st.sampled_from([1, 2, 3, 5, 8])
# Ties, constant runs, signed zeros, infinities and NaN among ordinary values.
TS_CELL = st.one_of(CELL, st.sampled_from([1.0, 2.0, 2.0, -1.0]))


@st.composite
def matrices(draw, arity, max_rows=30):
    rows = draw(st.integers(0, max_rows))
    cols = draw(st.integers(1, 4))
    inputs = [draw(hnp.arrays(np.float64, (rows, cols), elements=TS_CELL)) for _ in range(arity)]
    if rows and draw(st.booleans()):  # a constant run in one column
        start = draw(st.integers(0, rows - 1))
        inputs[0][start:start + draw(st.integers(1, 12)), draw(st.integers(0, cols - 1))] = 0.1
    return inputs


def params_for(row, draw):
    params = {"window": draw(WINDOW)}
    if any(item["name"] == "q" for item in row["param_schema"]):
        params["q"] = draw(st.sampled_from([0.0, 0.25, 0.5, 0.9, 1.0]))
    return params


def assert_same_cells(actual, expected, message=""):
    assert_same_bits(actual, expected, message, zero_signs=False)


def run_rows(instance, inputs):
    out = np.full(inputs[0].shape, np.nan)
    for t in range(inputs[0].shape[0]):
        out[t] = instance(*(x[t].copy() for x in inputs))
    return out


def test_every_time_series_operator_has_a_twin():
    native = {row["name"] for row in _operator_table() if row["family"] == "time_series"}
    assert set(TIME_SERIES_REFERENCES) <= native


@pytest.mark.parametrize("row", TIME_SERIES, ids=lambda row: row["alias"])
@given(data=st.data())
def test_native_cells_equal_the_twin(row, data):
    inputs = data.draw(matrices(row["arity"]))
    params = params_for(row, data.draw)
    originals = [x.copy() for x in inputs]
    out = run_rows(NativeFunction(row["name"], **params), inputs)
    with np.errstate(all="ignore"):
        expected = TIME_SERIES_REFERENCES[row["name"]](inputs, params)
    assert_same_cells(out, expected, f"{params} {inputs}")
    for x, original in zip(inputs, originals):
        np.testing.assert_array_equal(x, original)


def prices(rows, cols, seed):
    rng = np.random.default_rng(seed)
    return 1e4 + np.cumsum(rng.standard_normal((rows, cols)), axis=0)


@pytest.mark.parametrize("alias", ["ts_sum", "decay_linear", "covariance", "correlation", "ts_skew", "ts_slope"])
def test_a_long_run_of_prices_keeps_every_cell_of_the_twin(alias):
    row = next(r for r in TIME_SERIES if r["alias"] == alias)
    inputs = [prices(100_000, 2, seed) for seed in range(row["arity"])]
    out = run_rows(NativeFunction(row["name"], window=10), inputs)
    assert_same_cells(out, TIME_SERIES_REFERENCES[row["name"]](inputs, {"window": 10}))


@pytest.mark.parametrize("alias, column, window, expected", [
    # Rows since the extreme: ties go to the oldest.
    ("ts_argmax", [1.0, 3.0, 3.0, 2.0], 4, [np.nan] * 3 + [2.0]),
    ("ts_argmin", [5.0, 1.0, 4.0, 1.0, 9.0], 3, [np.nan] * 2 + [1.0, 2.0, 1.0]),
    # Average rank of the current value among the window, divided by the window.
    ("ts_rank", [2.0, 2.0, 1.0, 2.0], 3, [np.nan] * 2 + [1 / 3, 5 / 6]),
    ("ts_rank", [-0.0, 0.0, np.inf, np.inf], 2, [np.nan, 0.75, 1.0, 0.75]),
    # delay and delta read only the two rows they use.
    ("delay", [1.0, np.nan, 3.0, 4.0], 2, [np.nan, np.nan, 1.0, np.nan]),
    ("delta", [1.0, np.nan, 3.0, np.inf], 2, [np.nan, np.nan, 2.0, np.nan]),
    ("correlation", [1.0, 1.0, 1.0], 3, [np.nan] * 3),
    ("ts_skew", [2.0, 2.0, 2.0], 3, [np.nan] * 3),
    ("ts_rsquare", [1.0, 2.0, 3.0], 1, [np.nan] * 3),
    ("ts_residual", [1.0, 2.0, 3.0, 5.0], 3, [np.nan] * 2 + [0.0, 1 / 6]),
    ("ts_slope", [4.0, 4.0, 4.0], 2, [np.nan, 0.0, 0.0]),
    ("covariance", [0.1, 0.1, 0.1], 3, [np.nan] * 2 + [0.0]),
    ("decay_linear", [1.0, 2.0, 4.0], 3, [np.nan] * 2 + [17 / 6]),
    ("ts_quantile", [4.0, 1.0, 3.0, 2.0], 4, [np.nan] * 3 + [1.75]),
    ("ts_median", [4.0, 1.0, 3.0, 2.0], 4, [np.nan] * 3 + [2.5]),
    ("ts_product", [2.0, np.inf, 0.0], 2, [np.nan, np.inf, np.nan]),
    # ema: alpha = 2 / (span + 1); a NaN restarts the average and its warm-up.
    ("ema", [1.0, 4.0, np.nan, 2.0, 5.0, 8.0], 2, [np.nan, 3.0, np.nan, np.nan, 4.0, 6.666666666666666]),
])
def test_conventions_on_chosen_columns(alias, column, window, expected):
    params = {"window": window} | ({"q": 0.25} if alias == "ts_quantile" else {})
    x = np.array(column)[:, None]
    inputs = [x, x] if alias in ("correlation", "covariance") else [x]
    out = run_rows(NativeFunction(BY_ALIAS[alias], **params), inputs)
    np.testing.assert_allclose(out[:, 0], expected, rtol=1e-12)


@pytest.mark.parametrize("q", [0.0, 0.3, 0.5, 1.0])
@given(column=hnp.arrays(np.float64, st.integers(0, 200),
                         elements=st.sampled_from([0.0, -0.0, 1.0, 1.0, 2.0, -np.inf, np.inf, np.nan])),
       window=st.sampled_from([1, 2, 4, 7]))
def test_quantile_keeps_its_sorted_windows_over_long_runs_of_ties(q, column, window):
    x = column[:, None]
    out = run_rows(NativeFunction(BY_ALIAS["ts_quantile"], window=window, q=q), [x])
    with np.errstate(all="ignore"):
        assert_same_cells(out, TIME_SERIES_REFERENCES[BY_ALIAS["ts_quantile"]]([x], {"window": window, "q": q}))


@pytest.mark.parametrize("row", TIME_SERIES, ids=lambda row: row["alias"])
@given(data=st.data())
def test_a_restored_instance_continues_the_run(row, data):
    """The saved history, NaN cells included, carries the run across a pickled state."""
    inputs = data.draw(matrices(row["arity"], max_rows=20))
    params = params_for(row, data.draw)
    cut = data.draw(st.integers(0, inputs[0].shape[0]))
    first = NativeFunction(row["name"], **params)
    head = run_rows(first, [x[:cut] for x in inputs])
    saved = pickle.loads(pickle.dumps(first.get_state()))
    resumed = default_registry().create_instance_from_state(row["name"], FunctionState(row["name"], "1", saved),
                                                              **params)
    tail = run_rows(resumed, [x[cut:] for x in inputs])
    assert saved["count"] == cut
    assert_same_cells(np.vstack([head, tail]), run_rows(NativeFunction(row["name"], **params), inputs))


@pytest.mark.parametrize("alias", ["ts_sum", "ema"])
@pytest.mark.parametrize("count", [-1, -10**30])
def test_a_negative_count_is_refused(alias, count):
    instance = NativeFunction(BY_ALIAS[alias], window=2)
    instance(np.ones(3))
    with pytest.raises(ValueError, match="count"):
        instance.set_state({**instance.get_state(), "count": count})


@pytest.mark.parametrize("row", TIME_SERIES, ids=lambda row: row["alias"])
def test_a_row_of_another_width_than_the_history_is_refused(row):
    instance = NativeFunction(row["name"], window=3, **({"q": 0.5} if row["alias"] == "ts_quantile" else {}))
    instance(*[np.ones(4)] * row["arity"])
    with pytest.raises(ValueError):
        instance(*[np.ones(5)] * row["arity"])


def graph_of(row, params, children):
    literals = [Node("int", params["window"])] + ([Node("float", params["q"])] if "q" in params else [])
    return Node("rotation", row["name"], [*children, *literals])


def context_of(inputs, rows=slice(None)):
    names = {f"x{i}": i for i in range(len(inputs))}
    return ee.EvaluationContext([x[rows] for x in inputs], names, registry=default_registry(),
                                universe=np.ones_like(inputs[0][rows]))


@pytest.mark.parametrize("row", TIME_SERIES, ids=lambda row: row["alias"])
@given(data=st.data())
def test_streaming_in_two_parts_equals_one_evaluation(row, data):
    inputs = data.draw(matrices(row["arity"], max_rows=25).filter(lambda m: m[0].shape[0] >= 2))
    params = params_for(row, data.draw)
    # Nested under a second stateful operator, so both carry their history across the split.
    inner = graph_of(row, params, [Node("feature", f"x{i}") for i in range(row["arity"])])
    graph = Node("rotation", BY_ALIAS["ts_sum"], [inner, Node("int", 2)])
    split = data.draw(st.integers(1, inputs[0].shape[0] - 1))
    whole, _ = ee.evaluate(graph, context_of(inputs))
    first, states = ee.evaluate(graph, context_of(inputs, slice(0, split)))
    second, final = ee.evaluate(graph, context_of(inputs, slice(split, None)), function_states=states)
    assert_same_cells(np.vstack([first, second]), whole)
    assert final["root.c0"].data["count"] == inputs[0].shape[0]


@pytest.mark.parametrize("row", TIME_SERIES, ids=lambda row: row["alias"])
@given(data=st.data())
def test_cells_outside_the_universe_enter_windows_as_nan(row, data):
    x, universe = data.draw(matrices_with_universe(max_rows=20, max_cols=3))
    params = params_for(row, data.draw)
    inputs = [x] * row["arity"]
    graph = graph_of(row, params, [Node("feature", "x0")] * row["arity"])
    context = ee.EvaluationContext([x], {"x0": 0}, registry=default_registry(), universe=universe)
    weights, _ = ee.evaluate(graph, context)
    with np.errstate(all="ignore"):
        expected = TIME_SERIES_REFERENCES[row["name"]]([mask_with_universe(m, universe) for m in inputs], params)
    expected = mask_with_universe(expected, universe)  # native outputs pass the universe mask too
    expected[:params["window"] - 1] = np.nan  # the graph's warm-up rows
    assert_same_cells(weights, mask_with_universe(expected, universe))  # outputs are masked too


def test_evaluate_blanks_the_warm_up_and_matches_the_twins():
    x = prices(40, 3, 7)
    graph = Node("rotation", BY_ALIAS["ts_rank"], [
        Node("rotation", BY_ALIAS["delay"], [Node("feature", "x0"), Node("int", 2)]), Node("int", 4)])
    weights, _ = ee.evaluate(graph, context_of([x]))
    reference = TIME_SERIES_REFERENCES
    expected = reference[BY_ALIAS["ts_rank"]]([reference[BY_ALIAS["delay"]]([x], {"window": 2})], {"window": 4})
    assert np.isnan(weights[:5]).all() and not np.isnan(weights[5:]).any()
    assert_same_cells(weights, expected)


@pytest.mark.parametrize("alias", ["ts_sum", "correlation", "ts_quantile", "delay"])
@pytest.mark.parametrize("window", [10**12, 2**63, 1e30])
def test_a_window_longer_than_the_run_leaves_every_row_nan_when_streamed(alias, window):
    row = next(row for row in TIME_SERIES if row["alias"] == alias)
    params = {"window": window} | ({"q": 0.5} if alias == "ts_quantile" else {})
    inputs = [prices(6, 3, seed) for seed in range(row["arity"])]
    graph = graph_of(row, params, [Node("feature", f"x{i}") for i in range(row["arity"])])
    if isinstance(window, float):
        graph.children[row["arity"]] = Node("float", window)
    first, states = ee.evaluate(graph, context_of(inputs, slice(0, 4)))
    second, final = ee.evaluate(graph, context_of(inputs, slice(4, None)), function_states=states)
    assert np.isnan(first).all() and np.isnan(second).all()
    assert final["root"].data["count"] == 6 and final["root"].data["ring"].shape[1] == 6
