"""Whole-matrix time-series operators in plain NumPy, for tests and benchmarks.

Every function takes a (T, N) matrix (convertible to float64) and a window d, and returns a new
(T, N) float64 matrix. A window is the trailing d rows of a column, oldest first. A cell has a
value only when its window is full and holds no NaN; delay and delta read only the two rows
they use. Sums run oldest to newest in float64; the mean of a constant window is its value.
"""
from __future__ import annotations

from collections.abc import Callable
from typing import Any

import numpy as np
from numpy.lib.stride_tricks import sliding_window_view


def delay(x: Any, d: int) -> np.ndarray:
    x = _matrix(x)
    out = np.full(x.shape, np.nan)
    if d < x.shape[0]:
        out[d:] = x[:x.shape[0] - d]
    return out


def delta(x: Any, d: int) -> np.ndarray:
    x = _matrix(x)
    with np.errstate(invalid="ignore"):
        return x - delay(x, d)


def ts_sum(x: Any, d: int) -> np.ndarray:
    return _rolling(lambda w: _sum_oldest_first(w), d, x)


def ts_min(x: Any, d: int) -> np.ndarray:
    return _rolling(lambda w: w.min(axis=-1), d, x)


def ts_max(x: Any, d: int) -> np.ndarray:
    return _rolling(lambda w: w.max(axis=-1), d, x)


def ts_argmax(x: Any, d: int) -> np.ndarray:
    # argmax returns the first (oldest) of equal maxima.
    return _rolling(lambda w: d - 1 - np.argmax(w, axis=-1), d, x)


def ts_argmin(x: Any, d: int) -> np.ndarray:
    return _rolling(lambda w: d - 1 - np.argmin(w, axis=-1), d, x)


def ts_rank(x: Any, d: int) -> np.ndarray:
    def rank(w):
        current = w[..., -1:]
        below = (w < current).sum(axis=-1)
        equal = (w == current).sum(axis=-1)
        return (2 * below + equal + 1) / (2.0 * d)
    return _rolling(rank, d, x)


def ts_product(x: Any, d: int) -> np.ndarray:
    def product(w):
        out = w[..., 0].copy()
        for k in range(1, d):
            out *= w[..., k]
        return out
    return _rolling(product, d, x)


def decay_linear(x: Any, d: int) -> np.ndarray:
    weights = np.arange(1.0, d + 1.0)
    return _rolling(lambda w: _sum_oldest_first(w * weights) / (d * (d + 1.0) / 2.0), d, x)


def covariance(x: Any, y: Any, d: int) -> np.ndarray:
    return _rolling(lambda wx, wy: _shifted_pair_sums(wx, wy)[0] / d, d, x, y)


def correlation(x: Any, y: Any, d: int) -> np.ndarray:
    def pearson(wx, wy):
        cross, squares_x, squares_y = _shifted_pair_sums(wx, wy)
        r = cross / np.sqrt(squares_x * squares_y)
        return np.where(r > 1, 1, np.where(r < -1, -1, r))
    return _rolling(pearson, d, x, y)


def _shifted_pair_sums(wx: np.ndarray, wy: np.ndarray) -> tuple[np.ndarray, np.ndarray, np.ndarray]:
    """Sxy, Sxx, Syy from the values shifted by each window's oldest: sum(u v) - sum(u) sum(v) / d."""
    d = wx.shape[-1]
    u, v = wx - wx[..., :1], wy - wy[..., :1]
    su, sv = _sum_oldest_first(u), _sum_oldest_first(v)
    cross = _sum_oldest_first(u * v) - su * sv / d
    squares_x = np.maximum(_sum_oldest_first(u * u) - su * su / d, 0.0)
    squares_y = np.maximum(_sum_oldest_first(v * v) - sv * sv / d, 0.0)
    return cross, squares_x, squares_y


def ts_skew(x: Any, d: int) -> np.ndarray:
    def skew(w):
        dev = w - _mean(w)[..., None]
        m2 = _sum_oldest_first(dev * dev) / d
        m3 = _sum_oldest_first(dev * dev * dev) / d
        return m3 / (m2 * np.sqrt(m2))
    return _rolling(skew, d, x)


def ts_kurt(x: Any, d: int) -> np.ndarray:
    def kurt(w):
        dev = w - _mean(w)[..., None]
        m2 = _sum_oldest_first(dev * dev) / d
        m4 = _sum_oldest_first(dev * dev * (dev * dev)) / d
        return m4 / (m2 * m2) - 3
    return _rolling(kurt, d, x)


def ts_quantile(x: Any, d: int, q: float) -> np.ndarray:
    """Linear interpolation between the order statistics s[i] and s[i + 1], i = floor(q (d - 1))."""
    def quantile(w):
        ordered = np.sort(w, axis=-1)
        position = q * (d - 1)
        below = int(np.floor(position))
        fraction = position - below
        if fraction == 0.0:
            return ordered[..., below]
        return ordered[..., below] + fraction * (ordered[..., below + 1] - ordered[..., below])
    return _rolling(quantile, d, x)


def ts_median(x: Any, d: int) -> np.ndarray:
    return ts_quantile(x, d, 0.5)


def ts_slope(x: Any, d: int) -> np.ndarray:
    return _rolling(lambda w: _time_cross_sum(w) / _time_square_sum(d), d, x)


def ts_rsquare(x: Any, d: int) -> np.ndarray:
    def rsquare(w):
        sxy = _time_cross_sum(w)
        r2 = sxy * sxy / (_time_square_sum(d) * _cross_sum(w, w))
        return np.where(r2 > 1, 1, r2)
    return _rolling(rsquare, d, x)


def ts_residual(x: Any, d: int) -> np.ndarray:
    def residual(w):
        slope = _time_cross_sum(w) / _time_square_sum(d)
        return w[..., -1] - (_mean(w) + slope * ((d - 1) / 2.0))
    return _rolling(residual, d, x)


def ema(x: Any, span: int) -> np.ndarray:
    """alpha = 2 / (span + 1); a NaN restarts the average; a value once `span` present values ran."""
    x = _matrix(x)
    alpha = 2.0 / (span + 1.0)
    out = np.full(x.shape, np.nan)
    for col in range(x.shape[1]):
        average, run = np.nan, 0
        for row, value in enumerate(x[:, col].tolist()):  # Python floats: inf - inf is NaN without warnings
            if np.isnan(value):
                average, run = np.nan, 0
                continue
            average = value if run == 0 else alpha * value + (1.0 - alpha) * average
            run += 1
            if run >= span:
                out[row, col] = average
    return out


def _matrix(x: Any) -> np.ndarray:
    return np.array(x, dtype=np.float64, ndmin=2)


def _rolling(statistic: Callable[..., np.ndarray], d: int, *inputs: Any) -> np.ndarray:
    """`statistic` of each full window (arrays (T - d + 1, N, d)) where none holds a NaN."""
    matrices = [_matrix(x) for x in inputs]
    out = np.full(matrices[0].shape, np.nan)
    if matrices[0].shape[0] < d:
        return out
    windows = [sliding_window_view(m, d, axis=0) for m in matrices]
    present = ~np.any([np.isnan(w).any(axis=-1) for w in windows], axis=0)
    with np.errstate(all="ignore"):
        values = statistic(*windows)
    out[d - 1:][present] = np.asarray(values, dtype=np.float64)[present]
    return out


def _sum_oldest_first(values: np.ndarray) -> np.ndarray:
    total = np.zeros(values.shape[:-1])
    for k in range(values.shape[-1]):
        total += values[..., k]
    return total


def _mean(w: np.ndarray) -> np.ndarray:
    """The window's mean; a constant window's own value, so its deviations are exactly 0."""
    return np.where((w == w[..., :1]).all(axis=-1), w[..., 0], _sum_oldest_first(w) / w.shape[-1])


def _cross_sum(wx: np.ndarray, wy: np.ndarray) -> np.ndarray:
    return _sum_oldest_first((wx - _mean(wx)[..., None]) * (wy - _mean(wy)[..., None]))


def _time_cross_sum(w: np.ndarray) -> np.ndarray:
    d = w.shape[-1]
    centred_time = np.arange(d) - (d - 1) / 2.0
    return _sum_oldest_first(centred_time * (w - _mean(w)[..., None]))


def _time_square_sum(d: int) -> float:
    return d * (d * float(d) - 1.0) / 12.0


def _by_window(reference: Callable[..., np.ndarray]) -> Callable[[list, dict], np.ndarray]:
    return lambda inputs, params: reference(*inputs, int(params["window"]))


# Registry name -> reference(inputs, params): `inputs` the (T, N) matrices in child order,
# `params` the configuration by parameter name.
TIME_SERIES_REFERENCES: dict[str, Callable[[list, dict], np.ndarray]] = {
    "ts_delay_ab464f": _by_window(delay),
    "ts_delta_736fca": _by_window(delta),
    "ts_sum_b59147": _by_window(ts_sum),
    "ts_min_508660": _by_window(ts_min),
    "ts_max_381223": _by_window(ts_max),
    "ts_argmax_901fc1": _by_window(ts_argmax),
    "ts_argmin_6fbbfa": _by_window(ts_argmin),
    "ts_rank_f40f3b": _by_window(ts_rank),
    "ts_product_dcd9bf": _by_window(ts_product),
    "ts_decay_linear_a8d992": _by_window(decay_linear),
    "ts_correlation_146959": _by_window(correlation),
    "ts_covariance_d591af": _by_window(covariance),
    "ts_ema_6a7a53": _by_window(ema),
    "ts_wma_aa55c9": _by_window(decay_linear),
    "ts_skew_ce7d34": _by_window(ts_skew),
    "ts_kurt_137370": _by_window(ts_kurt),
    "ts_quantile_8fcf1f": lambda inputs, params: ts_quantile(inputs[0], int(params["window"]), params["q"]),
    "ts_median_b8bc47": _by_window(ts_median),
    "ts_slope_68f018": _by_window(ts_slope),
    "ts_rsquare_92ad5b": _by_window(ts_rsquare),
    "ts_residual_33a029": _by_window(ts_residual),
}
