"""The built-ins as they were before they became native operators, for same-run comparisons.

Python instances calling the engine's compiled kernels once per row: rank through
`_batch_rank` on a one-row matrix, the product through NumPy, the rolling statistics through
`_rolling_step` on running sums held in NumPy arrays.
"""
from __future__ import annotations

import numpy as np

from quillmarsh.functions.builtins.longitudinal import ROLLING_MEAN, ROLLING_STD, ROLLING_ZSCORE
from quillmarsh.functions.registry import FunctionRegistry
from quillmarsh.simulator_engine.expression_evaluator import _batch_rank, _rolling_step


class Rank:
    stateful = False

    def __call__(self, x, context=None):
        values = np.asarray(x, dtype=np.float64)
        return _batch_rank(values.reshape(1, -1)).reshape(values.shape)


class Product:
    stateful = False

    def __call__(self, a, b, context=None):
        return np.multiply(np.asarray(a, dtype=np.float64), np.asarray(b, dtype=np.float64))


class Rolling:
    stateful = True

    def __init__(self, statistic, window):
        self.window, self._statistic, self._count, self._sums = window, statistic, 0, None

    def __call__(self, x, context=None):
        row = np.asarray(x, dtype=np.float64)
        if self._sums is None:
            self._sums = [np.full((self.window, row.shape[0]), np.nan), np.zeros(row.shape[0], dtype=np.int64),
                          *(np.zeros(row.shape[0], dtype=np.longdouble) for _ in range(4))]
        out = _rolling_step(*self._sums, row, self._count, self._statistic)
        self._count += 1
        return out

    def get_state(self):
        return {"count": self._count, "window": self.window}


def former_registry():
    registry = FunctionRegistry()
    registry.register("latitudinal_rank_688068", factory=Rank)
    registry.register("numerical_combine_d65e04", factory=Product)
    for name in (ROLLING_MEAN, ROLLING_STD, ROLLING_ZSCORE):
        registry.register(name, factory=lambda window, name=name: Rolling(name, window),
                          param_schema=[("window", "int")], stateful=True)
    return registry
