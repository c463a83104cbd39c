// The time-series operators: one line per operator.
#include "operators/operator_spec.hpp"
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
}

}  // namespace qm::ops
