#include "fast_paths/rolling_names.hpp"

#include "fast_paths/longitudinal_names.hpp"
#include "host/pyutil.hpp"

namespace qm {

std::optional<RollingStatistic> rolling_statistic_named(nb::handle name) {
    if (str_eq(name, kRollingMeanName)) return RollingStatistic::Mean;
    if (str_eq(name, kRollingStdName)) return RollingStatistic::Std;
    if (str_eq(name, kRollingZScoreName)) return RollingStatistic::ZScore;
    return std::nullopt;
}

}  // namespace qm
