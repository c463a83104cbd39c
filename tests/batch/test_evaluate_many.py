"""evaluate_many in this process: every signal as if evaluated alone, failures kept in their rows."""
import re
import sys

import numpy as np
import pytest

from quillmarsh.batch import Signal, evaluate_many
from quillmarsh.batch import evaluation as batch_evaluation
from quillmarsh.cli.text_form import parse_expression
from quillmarsh.functions.registry import default_registry

from tests.batch.conftest import SIGNALS, weights_alone


def test_each_signal_gets_the_weights_it_gets_alone_and_its_row_in_order(small_market):
    result = evaluate_many(SIGNALS, small_market)
    assert list(result.summary["name"]) == list(SIGNALS)
    assert set(result.weights) == set(SIGNALS) - {"broken"}
    for name, weights in result.weights.items():
        assert np.array_equal(weights, weights_alone(SIGNALS[name], small_market), equal_nan=True), name
    broken = result.summary.set_index("name").loc["broken"]
    assert "unknown feature 'nosuch'" in broken["error"] and np.isnan(broken["sharpe"])
    assert (result.summary.drop(index=3)["error"] == "").all()


def test_the_correlation_table_covers_the_signals_that_evaluated(small_market):
    correlation = evaluate_many(SIGNALS, small_market).pnl_correlation.set_index("signal")
    evaluated = [name for name in SIGNALS if name != "broken"]
    assert list(correlation.index) == list(correlation.columns) == evaluated
    np.testing.assert_allclose(np.diag(correlation.to_numpy()), 1.0)
    np.testing.assert_allclose(correlation.to_numpy(), correlation.to_numpy().T)


def test_an_unexpected_error_in_one_signal_is_reported_in_its_row(small_market, monkeypatch):
    real = batch_evaluation.evaluate_graph

    def failing_on_volume(graph, context):
        if graph.type == "feature":
            raise RuntimeError("engine fault")
        return real(graph, context)
    monkeypatch.setattr(batch_evaluation, "evaluate_graph", failing_on_volume)
    summary = evaluate_many(["volume", "rank(close)"], small_market).summary
    assert list(summary["error"]) == ["RuntimeError: engine fault", ""]


def test_weights_written_to_a_folder_are_the_returned_weights(small_market, tmp_path):
    in_memory = evaluate_many(SIGNALS, small_market).weights
    stored = evaluate_many(SIGNALS, small_market, weights_dir=tmp_path).weights
    assert set(stored) == set(in_memory)
    for name, path in stored.items():
        assert path == tmp_path / f"{name}.npy"
        assert np.array_equal(np.load(path), in_memory[name], equal_nan=True)


def test_names_sharing_a_weights_file_are_refused_before_writing(small_market, tmp_path):
    with pytest.raises(ValueError, match=re.escape("'rank(close)' and 'rank[close]' would both write")):
        evaluate_many({"rank(close)": "rank(close)", "rank[close]": "close"}, small_market, weights_dir=tmp_path)
    assert not any(tmp_path.iterdir())


def test_inputs_may_be_texts_graphs_signals_and_a_mapping_market(small_market):
    graph = parse_expression("rank(volume)", default_registry())
    arrays = {**small_market.features, "universe": small_market.universe}
    result = evaluate_many(["rank(close)", graph, Signal("mine", graph)], arrays)
    assert list(result.summary["name"]) == ["rank(close)", "signal2", "mine"]


@pytest.mark.parametrize("expressions, error, message", [
    (["rank(close)", "rank(close)"], ValueError, "'rank(close)' is used more than once"),
    ({"a": "rank(close("}, ValueError, "signal 'a': syntax error at column"),
    ([3.5], TypeError, "signal 'signal1': expected a text expression"),
])
def test_bad_signal_lists_are_refused_before_any_evaluation(small_market, expressions, error, message):
    with pytest.raises(error, match=re.escape(message)):
        evaluate_many(expressions, small_market)


@pytest.mark.parametrize("market, error, message", [
    ({"volume": np.ones((3, 2)), "universe": np.ones((3, 2))}, ValueError, "need a 'returns' or a 'close'"),
    ({"close": np.ones((3, 2)), "universe": np.ones((3, 1))}, ValueError, "feature 'close' has shape (3, 2)"),
    ({"close": np.ones((3, 2))}, TypeError, "expected a MarketData or a mapping"),
])
def test_markets_without_what_the_summary_needs_are_refused(market, error, message):
    with pytest.raises(error, match=re.escape(message)):
        evaluate_many(["close"], market)


def test_without_pandas_the_tables_are_lists_of_rows(small_market, monkeypatch):
    monkeypatch.setitem(sys.modules, "pandas", None)
    result = evaluate_many({"a": "rank(close)", "b": "mean(nosuch, 2)"}, small_market)
    assert [row["name"] for row in result.summary] == ["a", "b"]
    assert result.pnl_correlation == [{"signal": "a", "a": 1.0}]
