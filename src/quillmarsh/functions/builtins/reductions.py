"""Registry names of the reduction built-ins.

Their instances are native (see the registry): `NativeMeanReduction` averages the signals'
rows; `NativePnlWeightedReduction(window, pnl_column)` weights each signal's row by the
positive part of its mean PnL over the last `window` rows and is stepped by the general
evaluator without Python. Both return the same bits as their NumPy twins in
`quillmarsh._reference.reductions`; the weighted sum is NumPy's own matrix product.

State payload of the PnL-weighted reduction: "count", "window" and "pnl_history", a
(rows kept <= window, A) float64 copy, oldest first.
"""
REDUCTION_MEAN = "reduction_mean_3f9c2e"
REDUCTION_PNL_WEIGHTED = "reduction_pnl_weighted_b7d41a"
