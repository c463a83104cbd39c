// The time-series operators: one line per operator.
#include "operators/operator_spec.hpp"
#include "operators/time_series/kernels.hpp"

namespace qm::ops {

namespace {

const ParamSpec window{"window", ParamKind::Window};
const ParamSpec quantile{"q", ParamKind::Number};

}  // namespace

void add_time_series_operators(std::vector<OperatorSpec>& table) {
    const char* family = "time_series";
    table.push_back({"ts_delay_ab464f", "delay", family, 1, true, {window}, make_ts_delay});
    table.push_back({"ts_delta_736fca", "delta", family, 1, true, {window}, make_ts_delta});
    table.push_back({"ts_sum_b59147", "ts_sum", family, 1, true, {window}, make_ts_sum});
    table.push_back({"ts_min_508660", "ts_min", family, 1, true, {window}, make_ts_min});
    table.push_back({"ts_max_381223", "ts_max", family, 1, true, {window}, make_ts_max});
    table.push_back({"ts_argmax_901fc1", "ts_argmax", family, 1, true, {window}, make_ts_argmax});
    table.push_back({"ts_argmin_6fbbfa", "ts_argmin", family, 1, true, {window}, make_ts_argmin});
    table.push_back({"ts_rank_f40f3b", "ts_rank", family, 1, true, {window}, make_ts_rank});
    table.push_back({"ts_product_dcd9bf", "ts_product", family, 1, true, {window}, make_ts_product});
    table.push_back({"ts_decay_linear_a8d992", "decay_linear", family, 1, true, {window}, make_ts_decay_linear});
    table.push_back({"ts_correlation_146959", "correlation", family, 2, true, {window}, make_ts_correlation});
    table.push_back({"ts_covariance_d591af", "covariance", family, 2, true, {window}, make_ts_covariance});
    table.push_back({"ts_ema_6a7a53", "ema", family, 1, true, {window}, make_ts_ema});
    table.push_back({"ts_wma_aa55c9", "wma", family, 1, true, {window}, make_ts_decay_linear});
    table.push_back({"ts_skew_ce7d34", "ts_skew", family, 1, true, {window}, make_ts_skew});
    table.push_back({"ts_kurt_137370", "ts_kurt", family, 1, true, {window}, make_ts_kurt});
    table.push_back({"ts_quantile_8fcf1f", "ts_quantile", family, 1, true, {window, quantile}, make_ts_quantile});
    table.push_back({"ts_median_b8bc47", "ts_median", family, 1, true, {window}, make_ts_median});
    table.push_back({"ts_slope_68f018", "ts_slope", family, 1, true, {window}, make_ts_slope});
    table.push_back({"ts_rsquare_92ad5b", "ts_rsquare", family, 1, true, {window}, make_ts_rsquare});
    table.push_back({"ts_residual_33a029", "ts_residual", family, 1, true, {window}, make_ts_residual});
}

}  // namespace qm::ops
