"""Quick checks of a weights matrix: NaN share, turnover and the Sharpe ratio of next-day PnL.

Weights are scaled to a gross exposure of 1 each day (NaN counts as no position), so that
signals of any scale compare; the PnL of day t+1 is the scaled weights of day t times the
returns of day t+1, summed over assets.
"""
from __future__ import annotations

from dataclasses import dataclass

import numpy as np

TRADING_DAYS = 252


@dataclass
class SignalStats:
    nan_share: float
    turnover: float
    sharpe: float
    pnl: np.ndarray  # (T - 1,) next-day PnL


def unit_gross(weights: np.ndarray) -> np.ndarray:
    """Each row divided by its sum of absolute weights; NaN and rows without exposure become 0."""
    positions = np.nan_to_num(weights, nan=0.0, posinf=0.0, neginf=0.0)
    gross = np.abs(positions).sum(axis=1, keepdims=True)
    return np.divide(positions, gross, out=np.zeros_like(positions), where=gross > 0)


def next_day_pnl(positions: np.ndarray, returns: np.ndarray) -> np.ndarray:
    """PnL of unit-gross `positions` (see unit_gross) held from each day to the next."""
    return (positions[:-1] * np.nan_to_num(returns[1:], nan=0.0)).sum(axis=1)


def turnover(positions: np.ndarray) -> float:
    """Mean daily traded fraction of unit-gross `positions`, over days invested on both sides."""
    invested = np.abs(positions).sum(axis=1) > 0
    both = invested[1:] & invested[:-1]
    if not both.any():
        return float("nan")
    traded = np.abs(np.diff(positions, axis=0)).sum(axis=1)
    return float(traded[both].mean())


def sharpe(pnl: np.ndarray) -> float:
    """Annualised Sharpe ratio of daily PnL; NaN without variation."""
    spread = pnl.std()
    if not spread > 0:
        return float("nan")
    return float(pnl.mean() / spread * np.sqrt(TRADING_DAYS))


def signal_stats(weights: np.ndarray, returns: np.ndarray) -> SignalStats:
    weights = np.asarray(weights, dtype=np.float64)
    positions = unit_gross(weights)
    pnl = next_day_pnl(positions, returns)
    return SignalStats(float(np.isnan(weights).mean()), turnover(positions), sharpe(pnl), pnl)
