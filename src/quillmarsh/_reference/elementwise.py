"""Element-wise operators written with plain NumPy, keyed by registry name.

Each entry maps `(rows, params)` to the expected output row: `rows` are the data inputs in
order, `params` the operator's parameter values by name. Comparisons give 1.0 / 0.0 with IEEE
semantics; logic treats every non-zero cell (NaN included) as true; `where` gives NaN for a
NaN condition.
"""
from __future__ import annotations

from collections.abc import Callable

import numpy as np

Reference = Callable[[list[np.ndarray], dict[str, float]], np.ndarray]


def _truth(mask: np.ndarray) -> np.ndarray:
    return mask.astype(np.float64)


def _binary(function: Callable[[np.ndarray, np.ndarray], np.ndarray]) -> Reference:
    return lambda rows, params: function(rows[0], rows[1])


def _unary(function: Callable[[np.ndarray], np.ndarray]) -> Reference:
    return lambda rows, params: function(rows[0])


def _with_constant(function: Callable[[np.ndarray, np.float64], np.ndarray], param: str = "value") -> Reference:
    return lambda rows, params: function(rows[0], np.float64(params[param]))


def _reversed(function: Callable[[np.ndarray, np.ndarray], np.ndarray]) -> Callable:
    return lambda x, c: function(np.full_like(x, c), x)


def _logical_and(a: np.ndarray, b: np.ndarray) -> np.ndarray:
    return _truth((a != 0) & (b != 0))


def _logical_or(a: np.ndarray, b: np.ndarray) -> np.ndarray:
    return _truth((a != 0) | (b != 0))


def c_power(a, b) -> np.ndarray:
    """C `pow` cell by cell. NumPy's power with a scalar exponent of 0.5 takes a square
    root instead, which differs at -0.0 and -inf; an array exponent keeps `pow`."""
    base, exponent = np.broadcast_arrays(np.atleast_1d(np.asarray(a, dtype=np.float64)),
                                         np.atleast_1d(np.asarray(b, dtype=np.float64)))
    return np.power(base, exponent.copy())


def _signed_power(x: np.ndarray, a: np.float64) -> np.ndarray:
    return np.sign(x) * c_power(np.abs(x), a)


def _where(rows: list[np.ndarray], params: dict[str, float]) -> np.ndarray:
    cond, a, b = rows
    return np.where(np.isnan(cond), np.nan, np.where(cond != 0, a, b))


_COMPARISONS = {"less": np.less, "less_equal": np.less_equal, "greater": np.greater,
                "greater_equal": np.greater_equal, "equal": np.equal, "not_equal": np.not_equal}


def _compare(name: str) -> Callable[[np.ndarray, np.ndarray], np.ndarray]:
    return lambda a, b: _truth(_COMPARISONS[name](a, b))


ELEMENTWISE_REFERENCES: dict[str, Reference] = {
    "numerical_combine_d65e04": _binary(np.multiply),
    "elementwise_add_58d1bb": _binary(np.add),
    "elementwise_sub_5d8561": _binary(np.subtract),
    "elementwise_div_26021f": _binary(np.divide),
    "elementwise_neg_c732df": _unary(np.negative),
    "elementwise_abs_82451b": _unary(np.abs),
    "elementwise_log_7babc2": _unary(np.log),
    "elementwise_sign_81e920": _unary(np.sign),
    "elementwise_power_b573f2": _binary(c_power),
    "elementwise_signedpower_ab70ca": _with_constant(_signed_power, "a"),
    "elementwise_maximum_e77a31": _binary(np.maximum),
    "elementwise_minimum_bd164f": _binary(np.minimum),
    "elementwise_less_0b439c": _binary(_compare("less")),
    "elementwise_less_equal_9bc3ca": _binary(_compare("less_equal")),
    "elementwise_greater_8f10c1": _binary(_compare("greater")),
    "elementwise_greater_equal_b7ff05": _binary(_compare("greater_equal")),
    "elementwise_equal_f57b2d": _binary(_compare("equal")),
    "elementwise_not_equal_72645a": _binary(_compare("not_equal")),
    "elementwise_logical_and_827670": _binary(_logical_and),
    "elementwise_logical_or_b5bd67": _binary(_logical_or),
    "elementwise_logical_not_a2bb82": _unary(lambda x: _truth(x == 0)),
    "elementwise_where_46148c": _where,
    "elementwise_constant_like_09a791": _with_constant(lambda x, c: np.full_like(x, c)),
    "elementwise_add_scalar_be4a7c": _with_constant(np.add),
    "elementwise_sub_scalar_b7d2de": _with_constant(np.subtract),
    "elementwise_rsub_scalar_f0a004": _with_constant(_reversed(np.subtract)),
    "elementwise_mul_scalar_69980f": _with_constant(np.multiply),
    "elementwise_div_scalar_3fefad": _with_constant(np.divide),
    "elementwise_rdiv_scalar_258a05": _with_constant(_reversed(np.divide)),
    "elementwise_power_scalar_ce4fd6": _with_constant(c_power),
    "elementwise_rpower_scalar_99cde3": _with_constant(_reversed(c_power)),
    "elementwise_maximum_scalar_8920cc": _with_constant(np.maximum),
    "elementwise_minimum_scalar_dbe2dc": _with_constant(np.minimum),
    "elementwise_less_scalar_88d2ca": _with_constant(_compare("less")),
    "elementwise_less_equal_scalar_e46f17": _with_constant(_compare("less_equal")),
    "elementwise_greater_scalar_258100": _with_constant(_compare("greater")),
    "elementwise_greater_equal_scalar_d23682": _with_constant(_compare("greater_equal")),
    "elementwise_equal_scalar_b702c8": _with_constant(_compare("equal")),
    "elementwise_not_equal_scalar_fad117": _with_constant(_compare("not_equal")),
    "elementwise_logical_and_scalar_910a7b": _with_constant(_logical_and),
    "elementwise_logical_or_scalar_2c5c9c": _with_constant(_logical_or),
}
