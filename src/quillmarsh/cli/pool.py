"""A pool of useful signals for the demo: ranked momentum and reversal over many lookbacks.

Each signal's weights are the cross-sectional rank of its trailing return sum, centred each
day; its PnL (one "gross_returns" column) is the previous day's weights times today's
returns, known at the end of the day; its metadata carries its Sharpe ratio and turnover.
"""
from __future__ import annotations

import numpy as np

from quillmarsh.functions.rotations.latitudinal.rank import batch_apply_3aa57128a46b
from quillmarsh.simulator_engine._types import UsefulSignal

from quillmarsh.cli.market_data import MarketData
from quillmarsh.cli.pnl import next_day_pnl, sharpe, turnover, unit_gross

PNL_COLUMNS = ["gross_returns"]
LOOKBACKS = (1, 2, 3, 4, 5, 6, 8, 10, 12, 15, 20, 25, 30, 40, 50, 60, 90, 120, 180, 250)


def momentum_pool(market: MarketData) -> dict[str, UsefulSignal]:
    """Two signals per lookback: "momentum_{k}" and its opposite "reversal_{k}"."""
    returns = market.features["returns"]
    live = (market.universe != 0) & ~np.isnan(market.universe)
    totals = np.vstack([np.zeros((1, returns.shape[1])), np.cumsum(np.nan_to_num(returns), axis=0)])
    pool = {}
    for lookback in LOOKBACKS:
        ranked = centred_rank(np.where(live, trailing_sum(totals, lookback), np.nan))
        positions = unit_gross(ranked)
        pnl = np.concatenate([[0.0], next_day_pnl(positions, returns)])
        traded = turnover(positions)  # the same for the opposite signal
        for name, sign in ((f"momentum_{lookback}", 1.0), (f"reversal_{lookback}", -1.0)):
            metadata = {"sharpe": sharpe(sign * pnl), "turnover": traded, "lookback": lookback}
            pool[name] = UsefulSignal(weights=sign * ranked, pnl=(sign * pnl)[:, None], metadata=metadata)
    return pool


def trailing_sum(totals: np.ndarray, window: int) -> np.ndarray:
    """Sum of the last `window` rows from `totals`, the running sums of the rows after a zero
    row (NaN counted as 0); NaN until a full window is seen."""
    out = np.full((totals.shape[0] - 1, totals.shape[1]), np.nan)
    out[window - 1:] = totals[window:] - totals[:-window]
    return out


def centred_rank(values: np.ndarray) -> np.ndarray:
    """The engine's percentile rank within each row minus the row's mean rank; NaN stays NaN."""
    ranks = batch_apply_3aa57128a46b(values)
    present = ~np.isnan(ranks)
    count = np.maximum(present.sum(axis=1, keepdims=True), 1)
    centre = np.where(present, ranks, 0.0).sum(axis=1, keepdims=True) / count
    return ranks - centre
