// The time-series operators: one line per operator.
#include "operators/operator_declaration.hpp"
#include "operators/time_series/kernels.hpp"
#include "operators/time_series/rolling_moments.hpp"

namespace qm::ops {

namespace {

constexpr const char* kFamily = "time_series";

OperatorSpec windowed(const char* name, const char* alias, std::size_t arity, OperatorFactory make) {
    return {name, alias, kFamily, arity, true, {{"window", ParamKind::Window}}, make};
}

}  // namespace

void add_time_series_operators(std::vector<OperatorSpec>& table) {
    table.push_back(windowed("longitudinal_accumulators_25c7fb", "mean", 1, &make_rolling<RollingStatistic::Mean>));
    table.push_back(windowed("longitudinal_accumulators_a5b1f0", "std", 1, &make_rolling<RollingStatistic::Std>));
    table.push_back(windowed("longitudinal_accumulators_7e8468", "zscore", 1, &make_rolling<RollingStatistic::ZScore>));
    table.push_back(windowed("ts_delay_ab464f", "delay", 1, &make_ts_delay));
    table.push_back(windowed("ts_delta_736fca", "delta", 1, &make_ts_delta));
    table.push_back(windowed("ts_sum_b59147", "ts_sum", 1, &make_ts_sum));
    table.push_back(windowed("ts_min_508660", "ts_min", 1, &make_ts_min));
    table.push_back(windowed("ts_max_381223", "ts_max", 1, &make_ts_max));
    table.push_back(windowed("ts_argmax_901fc1", "ts_argmax", 1, &make_ts_argmax));
    table.push_back(windowed("ts_argmin_6fbbfa", "ts_argmin", 1, &make_ts_argmin));
    table.push_back(windowed("ts_rank_f40f3b", "ts_rank", 1, &make_ts_rank));
    table.push_back(windowed("ts_product_dcd9bf", "ts_product", 1, &make_ts_product));
    table.push_back(windowed("ts_decay_linear_a8d992", "decay_linear", 1, &make_ts_decay_linear));
    table.push_back(windowed("ts_correlation_146959", "correlation", 2, &make_ts_correlation));
    table.push_back(windowed("ts_covariance_d591af", "covariance", 2, &make_ts_covariance));
    table.push_back(windowed("ts_ema_6a7a53", "ema", 1, &make_ts_ema));
    table.push_back(windowed("ts_wma_aa55c9", "wma", 1, &make_ts_decay_linear));
    table.push_back(windowed("ts_skew_ce7d34", "ts_skew", 1, &make_ts_skew));
    table.push_back(windowed("ts_kurt_137370", "ts_kurt", 1, &make_ts_kurt));
    table.push_back({"ts_quantile_8fcf1f", "ts_quantile", kFamily, 1, true,
                     {{"window", ParamKind::Window}, {"q", ParamKind::Number}}, &make_ts_quantile});
    table.push_back(windowed("ts_median_b8bc47", "ts_median", 1, &make_ts_median));
    table.push_back(windowed("ts_slope_68f018", "ts_slope", 1, &make_ts_slope));
    table.push_back(windowed("ts_rsquare_92ad5b", "ts_rsquare", 1, &make_ts_rsquare));
    table.push_back(windowed("ts_residual_33a029", "ts_residual", 1, &make_ts_residual));
}

}  // namespace qm::ops
