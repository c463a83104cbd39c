// The per-cell arithmetic of the rolling statistics, shared by the
// whole-matrix kernel (rolling.cpp) and the one-row step (rolling_step.cpp) so
// that both produce the same bits: how one value joins a long-double running
// sum, and how a window's sums become its mean, standard deviation or z-score.
// Pure C++, no Python.
#pragma once

#include <cmath>

#include "fast_paths/rolling.hpp"

namespace qm {

// `x` joins a running sum (and, with Squares, a running sum of squares) in
// long double. A NaN joins neither; the result says whether `x` was NaN so
// the caller can count it.
template <bool Squares>
inline bool accumulate(double x, long double& sum, long double& sum_sq) {
    long double v = x;
    if (std::isnan(v)) return true;
    sum += v;
    if constexpr (Squares) sum_sq += v * v;
    return false;
}

// The statistic of one window from its sums, rounded to float64. `latest`
// stays a double until used: keeping it on the x87 stack through the
// computation forces spills (z-score 2x slower).
template <RollingStatistic S>
inline double window_value(long double sum, long double sum_sq, long double window, double latest) {
    long double mean = sum / window;
    if constexpr (S == RollingStatistic::Mean) {
        return static_cast<double>(mean);
    } else {
        long double variance = sum_sq / window - mean * mean;
        if (variance < 0.0L) variance = 0.0L;  // rounding residue; NaN stays NaN
        long double std_dev = std::sqrt(variance);
        if constexpr (S == RollingStatistic::Std) {
            return static_cast<double>(std_dev);
        } else {
            if (std_dev == 0.0L) return 0.0;
            return static_cast<double>((static_cast<long double>(latest) - mean) / std_dev);
        }
    }
}

}  // namespace qm
