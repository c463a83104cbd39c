"""A seeded synthetic market for the demo: daily prices, volume, dollar volume, returns, market
capitalisation and group codes of a changing universe.

Daily returns are a market factor times each asset's beta, plus an industry factor, plus
idiosyncratic noise, plus two weak effects that simple signals can find: a slowly moving
per-asset drift that also lifts trading volume, and a short-term reversal of the previous day's
idiosyncratic move. Open, high, low and vwap are drawn around the close-to-close path; amount
is vwap times volume. Sector, industry and subindustry are float codes of a fixed hierarchy
(two subindustries per industry, three industries per sector). Assets enter and leave the
universe on a few random days, and a few blocks of days are missing from every price and
volume feature.
"""
from __future__ import annotations

import numpy as np

from quillmarsh.cli.market_data import MarketData

_DRIFT_PERSISTENCE = 0.98   # day-to-day autocorrelation of the per-asset drift factor
_DRIFT_RETURN = 0.0006      # daily expected return per unit of drift factor
_REVERSAL = 0.015           # share of yesterday's idiosyncratic move that reverts today
_SUBINDUSTRIES = 48         # 24 industries in 8 sectors


def synthetic_market(days: int, assets: int, seed: int = 7) -> MarketData:
    rng = np.random.default_rng(seed)
    subindustry = rng.integers(0, _SUBINDUSTRIES, assets)
    drift = _drift_factor(rng, days, assets)
    noise = rng.normal(size=(days, assets)) * rng.uniform(0.012, 0.03, assets)
    market = rng.normal(0.0003, 0.01, days)
    industry_moves = rng.normal(0.0, 0.006, (days, _SUBINDUSTRIES // 2))
    returns = (np.outer(market, rng.uniform(0.6, 1.4, assets)) + industry_moves[:, subindustry // 2]
               + noise)
    returns[1:] += _DRIFT_RETURN * drift[:-1] - _REVERSAL * noise[:-1]
    close = np.exp(rng.normal(4.0, 0.8, assets)) * np.exp(np.cumsum(returns, axis=0))
    log_volume = (13.0 + rng.normal(0.0, 1.0, assets) + 0.4 * drift
                  + 0.3 * rng.normal(size=(days, assets)))
    returns[0] = np.nan  # no previous close on the first day
    features = {"close": close, "volume": np.exp(log_volume), "returns": returns,
                **_intraday_prices(rng, close, returns)}
    features["amount"] = features["vwap"] * features["volume"]
    _punch_holes(rng, features)
    features["cap"] = close * np.exp(rng.normal(17.0, 1.0, assets))
    features.update(_group_codes(subindustry, days))
    return MarketData(features, _universe(rng, days, assets))


def _intraday_prices(rng: np.random.Generator, close: np.ndarray,
                     returns: np.ndarray) -> dict[str, np.ndarray]:
    """Open gaps part of the way from yesterday's close; high and low reach beyond open and close;
    vwap lies between low and high, nearer the close."""
    days, assets = close.shape
    gap = np.nan_to_num(returns) * rng.uniform(0.1, 0.5, (days, assets))
    open_ = close * np.exp(gap - np.nan_to_num(returns))
    reach = np.abs(rng.normal(0.0, 0.006, (2, days, assets)))
    high = np.maximum(open_, close) * np.exp(reach[0])
    low = np.minimum(open_, close) * np.exp(-reach[1])
    weight = rng.uniform(0.3, 0.7, (days, assets))
    vwap = weight * close + (1 - weight) * (high + low) / 2
    return {"open": open_, "high": high, "low": low, "vwap": vwap}


def _group_codes(subindustry: np.ndarray, days: int) -> dict[str, np.ndarray]:
    """The same codes every day: a subindustry's industry and an industry's sector."""
    codes = {"subindustry": subindustry, "industry": subindustry // 2, "sector": subindustry // 6}
    return {level: np.tile(code.astype(np.float64), (days, 1)) for level, code in codes.items()}


def long_market(rows: int, assets: int, seed: int = 11) -> MarketData:
    """One `returns` feature with a little positive autocorrelation, every asset always live."""
    rng = np.random.default_rng(seed)
    shocks = rng.normal(0.0, 0.01, (rows, assets))
    returns = shocks.copy()
    returns[1:] += 0.05 * shocks[:-1]
    return MarketData({"returns": returns}, np.ones((rows, assets)))


def _drift_factor(rng: np.random.Generator, days: int, assets: int) -> np.ndarray:
    """Per-asset AR(1) paths with unit variance."""
    innovations = rng.normal(size=(days, assets)) * np.sqrt(1 - _DRIFT_PERSISTENCE ** 2)
    drift = np.empty((days, assets))
    drift[0] = rng.normal(size=assets)
    for t in range(1, days):
        drift[t] = _DRIFT_PERSISTENCE * drift[t - 1] + innovations[t]
    return drift


def _universe(rng: np.random.Generator, days: int, assets: int) -> np.ndarray:
    """1.0 on the days an asset is a member: most assets are members throughout, some join
    late, some leave early."""
    joins = np.where(rng.random(assets) < 0.8, 0, rng.integers(0, days, assets))
    leaves = np.where(rng.random(assets) < 0.8, days, rng.integers(joins, days + 1))
    day = np.arange(days)[:, None]
    return ((day >= joins) & (day < leaves)).astype(np.float64)


def _punch_holes(rng: np.random.Generator, features: dict[str, np.ndarray]) -> None:
    """A few blocks of consecutive days of one asset with no data in any of `features`."""
    days, assets = features["close"].shape
    for _ in range(max(3, assets // 40)):
        asset = rng.integers(assets)
        start = rng.integers(days)
        stop = start + rng.integers(5, 60)
        for matrix in features.values():
            matrix[start:stop, asset] = np.nan
