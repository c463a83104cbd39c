#include "fast_paths/rolling_step.hpp"

#include <limits>

#include "fast_paths/rolling_cell.hpp"

namespace qm {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <RollingStatistic S>
void step(const RollingState& s, const double* row, std::size_t count, double* out) {
    double* held = s.ring + (count % s.window) * s.cols;
    const bool departs = count >= s.window;
    const bool warm_up = count + 1 < s.window;
    const long double w = static_cast<long double>(s.window);
    for (std::size_t c = 0; c < s.cols; ++c) {
        // The squares are kept for every statistic: the state has one format.
        if (departs) s.missing[c] -= accumulate<true>(held[c], s.lag[c], s.lag_sq[c]);
        double x = row[c];
        s.missing[c] += accumulate<true>(x, s.lead[c], s.lead_sq[c]);
        held[c] = x;
        out[c] = warm_up || s.missing[c] != 0
                     ? kNaN
                     : window_value<S>(s.lead[c] - s.lag[c], s.lead_sq[c] - s.lag_sq[c], w, x);
    }
}

}  // namespace

void rolling_step(const RollingState& state, const double* row, std::size_t count, RollingStatistic statistic,
                  double* out) {
    switch (statistic) {
        case RollingStatistic::Mean: step<RollingStatistic::Mean>(state, row, count, out); break;
        case RollingStatistic::Std: step<RollingStatistic::Std>(state, row, count, out); break;
        case RollingStatistic::ZScore: step<RollingStatistic::ZScore>(state, row, count, out); break;
    }
}

}  // namespace qm
