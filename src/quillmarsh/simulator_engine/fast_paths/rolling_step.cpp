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
        // The sums are held in locals, so each is loaded and stored once (the
        // state arrays might alias each other as far as the compiler knows).
        long double lag = s.lag[c], lag_sq = s.lag_sq[c], lead = s.lead[c], lead_sq = s.lead_sq[c];
        std::int64_t missing = s.missing[c];
        // The squares are kept for every statistic: the state has one format.
        if (departs) {
            missing -= accumulate<true>(held[c], lag, lag_sq);
            s.lag[c] = lag;
            s.lag_sq[c] = lag_sq;
        }
        double x = row[c];
        missing += accumulate<true>(x, lead, lead_sq);
        s.lead[c] = lead;
        s.lead_sq[c] = lead_sq;
        s.missing[c] = missing;
        held[c] = x;
        out[c] = warm_up || missing != 0 ? kNaN : window_value<S>(lead - lag, lead_sq - lag_sq, w, x);
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
