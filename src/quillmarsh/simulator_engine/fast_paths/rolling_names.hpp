// Which rolling statistic a registry function name selects.
#pragma once

#include <optional>

#include <nanobind/nanobind.h>

#include "fast_paths/rolling.hpp"

namespace nb = nanobind;

namespace qm {

// The statistic of the rolling mean, standard deviation or z-score function
// named by `name`; nothing for any other object.
std::optional<RollingStatistic> rolling_statistic_named(nb::handle name);

}  // namespace qm
