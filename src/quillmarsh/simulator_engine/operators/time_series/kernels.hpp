// Factories of the time-series operators, one per kernel file. Each takes the
// parameter values in schema order (the window first), already converted and
// checked by the binding.
#pragma once

#include <memory>
#include <vector>

#include "operators/row_operator.hpp"

namespace qm::ops {

using Params = std::vector<double>;

std::unique_ptr<RowOperator> make_ts_delay(const Params& params);
std::unique_ptr<RowOperator> make_ts_delta(const Params& params);
std::unique_ptr<RowOperator> make_ts_sum(const Params& params);
std::unique_ptr<RowOperator> make_ts_min(const Params& params);
std::unique_ptr<RowOperator> make_ts_max(const Params& params);
std::unique_ptr<RowOperator> make_ts_argmax(const Params& params);
std::unique_ptr<RowOperator> make_ts_argmin(const Params& params);
std::unique_ptr<RowOperator> make_ts_rank(const Params& params);
std::unique_ptr<RowOperator> make_ts_product(const Params& params);
std::unique_ptr<RowOperator> make_ts_decay_linear(const Params& params);
std::unique_ptr<RowOperator> make_ts_correlation(const Params& params);
std::unique_ptr<RowOperator> make_ts_covariance(const Params& params);
std::unique_ptr<RowOperator> make_ts_ema(const Params& params);
std::unique_ptr<RowOperator> make_ts_skew(const Params& params);
std::unique_ptr<RowOperator> make_ts_kurt(const Params& params);
std::unique_ptr<RowOperator> make_ts_quantile(const Params& params);
std::unique_ptr<RowOperator> make_ts_median(const Params& params);
std::unique_ptr<RowOperator> make_ts_slope(const Params& params);
std::unique_ptr<RowOperator> make_ts_rsquare(const Params& params);
std::unique_ptr<RowOperator> make_ts_residual(const Params& params);

}  // namespace qm::ops
