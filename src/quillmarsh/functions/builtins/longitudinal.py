"""Registry names of the rolling mean, standard deviation and z-score built-ins.

Their instances are native operators (see the registry): fed rows 0, 1, 2, ... of a matrix,
an instance returns exactly (bit for bit) the rows of the engine's whole-matrix rolling
kernel over the same columns. A window sum is the difference of two long-double prefix sums
of the NaN-zeroed values, the leading one over every row seen and the lagging one over the
rows that have left the window; the departing value is never subtracted.

NaN policy: a cell has a value only when the window is full (at least `window` rows seen) and
none of its `window` values is NaN; infinities are values. Once an infinity enters a column's
prefix sums, later cells of that column are non-finite, as in the kernel.

State payload: "count", "window", "ring" (window, N) float64, "nan_in_window" (N,) int64 and
the long-double sums "prefix_sum", "prefix_sum_sq", "lagging_sum", "lagging_sum_sq" (N,). A mean
never reads the square sums and leaves them as they were (zero from a fresh start).
"""
ROLLING_MEAN = "longitudinal_accumulators_25c7fb"
ROLLING_STD = "longitudinal_accumulators_a5b1f0"
ROLLING_ZSCORE = "longitudinal_accumulators_7e8468"
