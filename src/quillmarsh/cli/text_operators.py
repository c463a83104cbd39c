"""The operators of the text form: symbols, binding levels, the element-wise operator each
stands for, its forms with one constant operand, and how two constants fold at parse time.

Binding, loosest first: the conditional (`c ? a : b`, `a if c else b`), `|`, `&`, comparisons,
`+ -`, `* /`, unary `- + ~`, `**`. Comparisons bind tighter than `&` and `|`, as in the
alpha literature, so `a < b & c < d` needs no parentheses. `^` is a power and `&&`, `||`
are `&`, `|`, as the literature writes them.
"""
from __future__ import annotations

import operator
from collections.abc import Callable
from dataclasses import dataclass

import numpy as np

TERNARY, OR, AND, COMPARE, SUM, TIMES, UNARY, POWER, ATOM = range(1, 10)

SYMBOL_SPELLINGS = {"^": "**", "&&": "&", "||": "|"}


def _numeric(function: Callable[[np.float64, np.float64], object]) -> Callable[[float, float], float]:
    """IEEE float64 arithmetic on two constants: 1 / 0 is inf, 0 / 0 is NaN, no warnings."""
    def fold(left: float, right: float) -> float:
        with np.errstate(all="ignore"):
            return float(function(np.float64(left), np.float64(right)))
    return fold


def _truth(value: float) -> bool:
    """Non-zero is true, NaN included, as the logical operators read their inputs."""
    return value != 0


@dataclass(frozen=True)
class Binary:
    alias: str            # the operator on two data inputs
    symbol: str | None    # infix symbol; None for the call-only maximum and minimum
    level: int
    scalar: str           # x (op) c
    reflected: str        # c (op) x, written as an operator on x with the value c
    fold: Callable[[float, float], float]


BINARIES = (
    Binary("logical_or", "|", OR, "logical_or_scalar", "logical_or_scalar",
           lambda a, b: float(_truth(a) or _truth(b))),
    Binary("logical_and", "&", AND, "logical_and_scalar", "logical_and_scalar",
           lambda a, b: float(_truth(a) and _truth(b))),
    Binary("less", "<", COMPARE, "less_scalar", "greater_scalar", _numeric(operator.lt)),
    Binary("less_equal", "<=", COMPARE, "less_equal_scalar", "greater_equal_scalar", _numeric(operator.le)),
    Binary("greater", ">", COMPARE, "greater_scalar", "less_scalar", _numeric(operator.gt)),
    Binary("greater_equal", ">=", COMPARE, "greater_equal_scalar", "less_equal_scalar",
           _numeric(operator.ge)),
    Binary("equal", "==", COMPARE, "equal_scalar", "equal_scalar", _numeric(operator.eq)),
    Binary("not_equal", "!=", COMPARE, "not_equal_scalar", "not_equal_scalar", _numeric(operator.ne)),
    Binary("add", "+", SUM, "add_scalar", "add_scalar", _numeric(operator.add)),
    Binary("sub", "-", SUM, "sub_scalar", "rsub_scalar", _numeric(operator.sub)),
    Binary("mul", "*", TIMES, "mul_scalar", "mul_scalar", _numeric(operator.mul)),
    Binary("div", "/", TIMES, "div_scalar", "rdiv_scalar", _numeric(operator.truediv)),
    Binary("power", "**", POWER, "power_scalar", "rpower_scalar", _numeric(operator.pow)),
    Binary("maximum", None, ATOM, "maximum_scalar", "maximum_scalar", _numeric(np.maximum)),
    Binary("minimum", None, ATOM, "minimum_scalar", "minimum_scalar", _numeric(np.minimum)),
)
BINARY_BY_SYMBOL = {binary.symbol: binary for binary in BINARIES if binary.symbol}
BINARY_BY_ALIAS = {binary.alias: binary for binary in BINARIES}

# Scalar alias -> (operator, whether the constant is the left operand); the plain form wins
# where one alias is both (greater_scalar is `x > c` and, reflected, `c < x`).
SCALAR_FORMS: dict[str, tuple[Binary, bool]] = {binary.reflected: (binary, True) for binary in BINARIES}
SCALAR_FORMS.update({binary.scalar: (binary, False) for binary in BINARIES})


@dataclass(frozen=True)
class Unary:
    alias: str | None     # None for the unary plus, which leaves its operand as it is
    symbol: str
    fold: Callable[[float], float]


UNARIES = (Unary("neg", "-", lambda a: -a), Unary("logical_not", "~", lambda a: float(not _truth(a))),
           Unary(None, "+", lambda a: a))
UNARY_BY_SYMBOL = {unary.symbol: unary for unary in UNARIES}
UNARY_BY_ALIAS = {unary.alias: unary for unary in UNARIES if unary.alias}

WHERE, CONSTANT_LIKE = "where", "constant_like"
