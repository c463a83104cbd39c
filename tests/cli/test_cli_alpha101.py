"""The 101-alpha catalogue: every alpha parses, prints back to itself and evaluates; a few agree
with hand-computed cells; alphas with stateful operators stream day by day as they run at once."""
from pathlib import Path

import numpy as np
import pytest

from quillmarsh.functions.registry import default_registry

from quillmarsh.cli.engine_context import build_context
from quillmarsh.cli.evaluation import evaluate_graph
from quillmarsh.cli.graph_json import graph_to_json_text
from quillmarsh.cli.market import synthetic_market
from quillmarsh.cli.signal_file import read_signal_file
from quillmarsh.cli.streaming import evaluate_in_chunks
from quillmarsh.cli.text_form import graph_to_text, parse_expression

REGISTRY = default_registry()
ALPHAS = {s.name: s for s in read_signal_file(Path(__file__).parents[2] / "examples" / "alpha101.txt", REGISTRY)}
MARKET = synthetic_market(90, 24, seed=1)


def _weights(graph, market=MARKET):
    with np.errstate(all="ignore"):
        return np.asarray(evaluate_graph(graph, build_context(market, REGISTRY)).weights)


def test_the_catalogue_holds_the_101_alphas_in_order():
    assert list(ALPHAS) == [f"alpha{n:03d}" for n in range(1, 102)]


@pytest.mark.parametrize("name", list(ALPHAS))
def test_alpha_prints_back_and_evaluates(name):
    graph = ALPHAS[name].graph
    assert graph_to_json_text(parse_expression(graph_to_text(graph), REGISTRY)) == graph_to_json_text(graph)
    assert _weights(graph).shape == MARKET.shape


def _moving(x, window):
    """(T, window, N) trailing windows; the first window-1 rows are all NaN."""
    padded = np.vstack([np.full((window - 1, x.shape[1]), np.nan), x])
    return np.lib.stride_tricks.sliding_window_view(padded, window, axis=0).transpose(0, 2, 1)


def _correlation(x, y, window):
    wx, wy = _moving(x, window), _moving(y, window)
    dx, dy = wx - wx.mean(axis=1, keepdims=True), wy - wy.mean(axis=1, keepdims=True)
    return (dx * dy).sum(axis=1) / np.sqrt((dx ** 2).sum(axis=1) * (dy ** 2).sum(axis=1))


def _delta(x, days):
    return x - np.vstack([np.full((days, x.shape[1]), np.nan), x[:-days]])


HAND = {
    "alpha101": (lambda f: (f["close"] - f["open"]) / (f["high"] - f["low"] + 0.001)),
    "alpha041": (lambda f: np.sqrt(f["high"] * f["low"]) - f["vwap"]),
    "alpha054": (lambda f: -(f["low"] - f["close"]) * f["open"] ** 5 / ((f["low"] - f["high"]) * f["close"] ** 5)),
    "alpha012": (lambda f: np.sign(_delta(f["volume"], 1)) * -_delta(f["close"], 1)),
    "alpha006": (lambda f: -_correlation(f["open"], f["volume"], 10)),
    "alpha023": (lambda f: np.where(_moving(f["high"], 20).mean(axis=1) < f["high"], -_delta(f["high"], 2), 0.0)),
}


@pytest.mark.parametrize("name", sorted(HAND))
def test_alpha_matches_hand_computed_cells(name):
    """On a market where every asset is always a member, so windows see the raw features."""
    market = synthetic_market(90, 24, seed=2)
    market.universe[:] = 1.0
    with np.errstate(all="ignore"):
        expected = HAND[name](market.features)
    got = _weights(ALPHAS[name].graph, market)
    assert np.isfinite(expected[30:]).sum() > 1000
    np.testing.assert_allclose(got[30:], expected[30:], rtol=1e-9, atol=1e-12, equal_nan=True)


STATEFUL = ["alpha001", "alpha007", "alpha009", "alpha013", "alpha029", "alpha031", "alpha026", "alpha058",
            "alpha083", "alpha098"]


@pytest.mark.parametrize("name", STATEFUL)
def test_streaming_day_by_day_equals_one_shot(name):
    graph = ALPHAS[name].graph
    days = MARKET.shape[0]
    history, states = evaluate_in_chunks(graph, MARKET, REGISTRY, [(0, 60)])
    streamed, _ = evaluate_in_chunks(graph, MARKET, REGISTRY, [(day, day + 1) for day in range(60, days)], states)
    one_shot = _weights(graph)
    assert np.isfinite(one_shot).any()
    np.testing.assert_array_equal(np.vstack([history, streamed]), one_shot)
