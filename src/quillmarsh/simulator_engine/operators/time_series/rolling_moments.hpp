// Rolling mean, population standard deviation and z-score over the trailing
// `window` rows, one row per step: the rolling built-ins.
//
// Input: one row of n float64 cells per step; n is fixed by the first row or
//   a restore. Output: n float64 cells.
// NaN policy: a cell has a value only when the window is full and holds no
//   NaN; infinities are values.
// Exactness: each row is the engine's rolling step (fast_paths/rolling_step),
//   so stepping rows 0, 1, 2, ... gives the whole-matrix kernel's cells bit for
//   bit, and a restored state continues a run exactly.
// State payload: ring (min(window, count), n) float64, nan_in_window (n,) int64, and the
//   long-double sums prefix_sum, prefix_sum_sq, lagging_sum, lagging_sum_sq (n,);
//   a mean keeps its square sums as restored (zero from a fresh start).
// Complexity: O(n) per step. Runs without the GIL, touches no Python object.
#pragma once

#include <memory>
#include <vector>

#include "fast_paths/rolling.hpp"
#include "operators/row_operator.hpp"

namespace qm::ops {

class RollingMoments final : public RowOperator {
public:
    RollingMoments(RollingStatistic statistic, std::int64_t window) : statistic_(statistic), window_(window) {}

    void step(const double* const* inputs, double* out, std::int64_t n) override;

    bool stateful() const override { return true; }
    std::int64_t window() const override { return window_; }
    std::int64_t count() const override { return count_; }
    std::int64_t width() const override { return width_; }
    void restore(std::int64_t n, std::int64_t count) override;
    std::vector<StateField> state_fields() override;

private:
    void hold_rows(std::int64_t rows);

    RollingStatistic statistic_;
    std::int64_t window_;
    std::int64_t count_ = 0;   // rows consumed
    std::int64_t width_ = -1;  // cells per row, once fixed
    std::vector<double> ring_;              // (min(window, count), n): row r in slot r % window
    std::vector<std::int64_t> missing_;     // NaN cells among the rows in the ring
    std::vector<long double> lead_, lead_sq_, lag_, lag_sq_;  // leading and lagging prefix sums
};

template <RollingStatistic S>
std::unique_ptr<RowOperator> make_rolling(const std::vector<double>& params) {
    return std::make_unique<RollingMoments>(S, static_cast<std::int64_t>(params.at(0)));
}

}  // namespace qm::ops
