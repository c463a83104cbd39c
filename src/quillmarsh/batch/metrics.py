"""Per-signal measures beyond the PnL checks: coverage and the daily rank IC.

The rank IC of day t is the Spearman correlation, across the assets where both are known, of the
weights of day t with the returns of day t+h (h = 1 for the summary: next-day returns); days with
fewer than 3 such assets, or with all weights or all returns tied, have no IC.
"""
from __future__ import annotations

from dataclasses import dataclass

import numpy as np

from quillmarsh.cli.errors import UserError
from quillmarsh.cli.market_data import MarketData
from quillmarsh.functions.rotations.latitudinal.rank import batch_apply_3aa57128a46b

MIN_ASSETS = 3


@dataclass
class InformationCoefficient:
    mean: float
    t_stat: float
    days: int  # days with an IC


def market_returns(market: MarketData) -> np.ndarray:
    """The `returns` feature, or else close-to-close returns (NaN on the first day)."""
    if "returns" in market.features:
        return market.features["returns"]
    if "close" not in market.features:
        raise UserError("the summary measures need a 'returns' or a 'close' feature")
    close = market.features["close"]
    returns = np.full_like(close, np.nan)
    returns[1:] = close[1:] / close[:-1] - 1.0
    return returns


def coverage(weights: np.ndarray, universe: np.ndarray) -> float:
    """Share of the universe's (day, asset) cells that hold a finite weight."""
    members = (universe != 0) & ~np.isnan(universe)
    if not members.any():
        return float("nan")
    return float((np.isfinite(weights) & members).sum() / members.sum())


def daily_rank_ic(weights: np.ndarray, returns: np.ndarray, horizon: int = 1) -> np.ndarray:
    """IC of each day t < T - horizon with the returns `horizon` days later; NaN where undefined."""
    signal, later = weights[:-horizon], returns[horizon:]
    both = np.isfinite(signal) & np.isfinite(later)
    signal_ranks = batch_apply_3aa57128a46b(np.where(both, signal, np.nan))
    return_ranks = batch_apply_3aa57128a46b(np.where(both, later, np.nan))
    return _row_correlation(signal_ranks, return_ranks, both)


def ic_summary(daily: np.ndarray) -> InformationCoefficient:
    """Mean daily IC and its t-statistic, mean / (sample std / sqrt(days))."""
    known = daily[~np.isnan(daily)]
    if known.size < 2:
        return InformationCoefficient(float(known.mean()) if known.size else float("nan"),
                                      float("nan"), int(known.size))
    if known.min() == known.max():  # no spread; std() would give rounding noise, not 0
        return InformationCoefficient(float(known[0]), float("nan"), int(known.size))
    t_stat = known.mean() / known.std(ddof=1) * np.sqrt(known.size)
    return InformationCoefficient(float(known.mean()), float(t_stat), int(known.size))


def _row_correlation(x: np.ndarray, y: np.ndarray, present: np.ndarray) -> np.ndarray:
    """Pearson correlation of x and y within each row, over the `present` cells (NaN elsewhere).

    Rows whose x or y values are all equal have none: their centred values would be rounding
    noise of the mean rather than zeros.
    """
    count = present.sum(axis=1)
    varies = (np.fmax.reduce(x, axis=1) > np.fmin.reduce(x, axis=1)) & \
        (np.fmax.reduce(y, axis=1) > np.fmin.reduce(y, axis=1))
    safe_count = np.maximum(count, 1)
    x_centred, y_centred = (_centred(values, present, safe_count) for values in (x, y))
    covariance = np.einsum("ij,ij->i", x_centred, y_centred)
    scale = np.sqrt(np.einsum("ij,ij->i", x_centred, x_centred)
                    * np.einsum("ij,ij->i", y_centred, y_centred))
    defined = (count >= MIN_ASSETS) & varies
    return np.divide(covariance, scale, out=np.full(count.shape, np.nan), where=defined)


def _centred(values: np.ndarray, present: np.ndarray, count: np.ndarray) -> np.ndarray:
    """Values minus their row mean over the present cells, 0 elsewhere (one new array)."""
    centred = np.where(present, values, 0.0)
    centred -= (centred.sum(axis=1) / count)[:, None]
    centred *= present
    return centred
