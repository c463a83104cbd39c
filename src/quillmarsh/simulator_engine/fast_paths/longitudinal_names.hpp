// Registry names of the rolling statistics that the longitudinal fast path
// computes with the rolling kernel.
#pragma once

namespace qm {

inline constexpr const char* kRollingMeanName = "longitudinal_accumulators_25c7fb";
inline constexpr const char* kRollingStdName = "longitudinal_accumulators_a5b1f0";
inline constexpr const char* kRollingZScoreName = "longitudinal_accumulators_7e8468";

}  // namespace qm
