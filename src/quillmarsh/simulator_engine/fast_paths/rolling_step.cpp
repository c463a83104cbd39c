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
    // A mean never reads the square sums: they keep whatever they held, and
    // each cell saves two long-double loads and stores, the bulk of its cost.
    constexpr bool kSquares = S != RollingStatistic::Mean;
    for (std::size_t c = 0; c < s.cols; ++c) {
        // The sums are held in locals, so each is loaded and stored once (the
        // state arrays might alias each other as far as the compiler knows).
        long double lag = s.lag[c], lead = s.lead[c];
        long double lag_sq = kSquares ? s.lag_sq[c] : 0.0L, lead_sq = kSquares ? s.lead_sq[c] : 0.0L;
        std::int64_t missing = s.missing[c];
        if (departs) {
            missing -= accumulate<kSquares>(held[c], lag, lag_sq);
            s.lag[c] = lag;
            if constexpr (kSquares) s.lag_sq[c] = lag_sq;
        }
        double x = row[c];
        missing += accumulate<kSquares>(x, lead, lead_sq);
        s.lead[c] = lead;
        if constexpr (kSquares) s.lead_sq[c] = lead_sq;
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
