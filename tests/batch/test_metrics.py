"""Coverage, the daily rank IC and its t-statistic, the fallback returns and PnL correlations."""
import math

import numpy as np
import pytest

from quillmarsh.batch.metrics import coverage, daily_rank_ic, ic_summary, market_returns
from quillmarsh.batch.tables import correlation_matrix
from quillmarsh.cli.market_data import MarketData


def average_ranks(values: np.ndarray) -> np.ndarray:
    """1-based ranks, ties sharing the mean of the ranks they span."""
    return (values[:, None] > values).sum(axis=1) + ((values[:, None] == values).sum(axis=1) + 1) / 2


def reference_ic(weights: np.ndarray, returns: np.ndarray, horizon: int) -> np.ndarray:
    """Spearman correlation day by day: ranks with ties averaged, then Pearson."""
    out = np.full(weights.shape[0] - horizon, np.nan)
    for day in range(out.size):
        x, y = weights[day], returns[day + horizon]
        both = np.isfinite(x) & np.isfinite(y)
        if both.sum() < 3:
            continue
        rx, ry = average_ranks(x[both]), average_ranks(y[both])
        if rx.std() > 0 and ry.std() > 0:
            out[day] = np.corrcoef(rx, ry)[0, 1]
    return out


def drawn(seed: int, days: int, assets: int, nan_share: float, levels: int | None) -> np.ndarray:
    """Random values, with ties when drawn from a few `levels`, and NaN holes."""
    rng = np.random.default_rng(seed)
    values = rng.integers(0, levels, (days, assets)).astype(float) if levels else rng.normal(size=(days, assets))
    values[rng.random((days, assets)) < nan_share] = np.nan
    return values


@pytest.mark.parametrize("seed, days, assets, nan_share, levels, horizon", [
    (0, 30, 12, 0.0, None, 1),
    (1, 40, 9, 0.3, None, 1),
    (2, 25, 15, 0.2, 3, 1),
    (3, 30, 6, 0.5, 2, 3),
    (4, 12, 4, 0.0, 1, 2),      # every weight tied: no IC on any day
    (5, 12, 7, 0.1, 1, 1),      # tied again, where the ranks' mean is not exact in binary
])
def test_daily_rank_ic_matches_spearman_per_day(seed, days, assets, nan_share, levels, horizon):
    weights = drawn(seed, days, assets, nan_share, levels)
    returns = drawn(seed + 100, days, assets, nan_share, None)
    np.testing.assert_allclose(daily_rank_ic(weights, returns, horizon),
                               reference_ic(weights, returns, horizon), rtol=1e-12, atol=1e-12)


@pytest.mark.parametrize("daily, mean, t_stat, days", [
    ([0.1, 0.3, np.nan], 0.2, 0.2 / (math.sqrt(0.02) / math.sqrt(2)), 2),
    ([0.05, np.nan], 0.05, math.nan, 1),
    ([0.1, 0.1, 0.1], 0.1, math.nan, 3),
    ([np.nan, np.nan], math.nan, math.nan, 0),
])
def test_ic_summary_is_the_mean_and_its_t_statistic(daily, mean, t_stat, days):
    summary = ic_summary(np.array(daily))
    assert summary.days == days
    np.testing.assert_allclose([summary.mean, summary.t_stat], [mean, t_stat], rtol=1e-12)


@pytest.mark.parametrize("weights, universe, expected", [
    ([[1.0, np.nan], [np.inf, 2.0]], [[1.0, 1.0], [1.0, 1.0]], 0.5),
    ([[1.0, 5.0], [np.nan, 2.0]], [[1.0, 0.0], [np.nan, 1.0]], 1.0),
    ([[1.0, 5.0]], [[0.0, np.nan]], math.nan),
])
def test_coverage_counts_finite_weights_inside_the_universe(weights, universe, expected):
    np.testing.assert_equal(coverage(np.array(weights), np.array(universe)), expected)


def test_returns_fall_back_to_close_to_close_changes():
    close = np.array([[10.0, 20.0], [11.0, 19.0], [12.1, np.nan]])
    returns = market_returns(MarketData({"close": close}, np.ones_like(close)))
    np.testing.assert_allclose(returns, [[np.nan, np.nan], [0.1, -0.05], [0.1, np.nan]])


def test_correlation_matrix_matches_numpy_and_leaves_flat_series_undefined():
    rng = np.random.default_rng(3)
    series = [rng.normal(size=50) for _ in range(3)]
    matrix = correlation_matrix([*series, np.full(50, 0.25)])
    np.testing.assert_allclose(matrix[:3, :3], np.corrcoef(series), rtol=1e-12)
    assert np.isnan(matrix[3]).all() and np.isnan(matrix[:, 3]).all()
