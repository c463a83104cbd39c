"""Row-by-row group operators in plain NumPy, for tests and benchmarks."""
from __future__ import annotations

from typing import Any

import numpy as np


def indneutralize(x: Any, g: Any) -> np.ndarray:
    """x minus the mean of x over the cells of its row with the same group code in g.

    Cells whose x or code is NaN are left out of the means and give NaN.
    """
    x = np.array(x, dtype=np.float64, ndmin=2)
    g = np.array(g, dtype=np.float64, ndmin=2)
    out = np.full(x.shape, np.nan)
    for values, codes, row in zip(x, g, out):
        present = ~np.isnan(values) & ~np.isnan(codes)
        for code in np.unique(codes[present]):
            members = present & (codes == code)
            total = np.longdouble(0)
            with np.errstate(invalid="ignore"):  # inf + -inf, inf - inf
                for value in values[members]:
                    total += value
                row[members] = values[members] - np.float64(total / members.sum())
    return out
