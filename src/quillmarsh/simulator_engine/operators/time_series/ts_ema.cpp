// ema(x, span): the exponential moving average of each column with
//   alpha = 2 / (span + 1): e = x for the first value of a run of non-NaN
//   values, then e = alpha x + (1 - alpha) e_prev, in float64.
// Input: one row of n float64 cells per step; output: n cells.
// NaN / warm-up: a NaN value ends the run (the average restarts from the next
//   value); a cell has a value only when its column's last `span` values are
//   all present, so the first span - 1 rows and the span - 1 rows after a NaN
//   are NaN. Infinities are values (once one enters, the average stays
//   non-finite until the next NaN restarts it).
// Exactness: the state is the float64 average itself, so a restored instance
//   continues one uninterrupted run bit for bit; the recursion forgets old
//   rounding errors geometrically. O(1) per cell.
// State: "count", "window" = span, "average" (n,) float64 (NaN outside a run),
//   "run" (n,) int64 (consecutive present values ending at the last row).
// Runs without the GIL, touches no Python object.
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include "operators/time_series/kernels.hpp"
#include "operators/time_series/row_history.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

class Ema final : public RowOperator {
public:
    explicit Ema(std::int64_t span) : span_(span), alpha_(2.0 / (static_cast<double>(span) + 1.0)) {}

    void step(const double* const* inputs, double* out, std::int64_t n) override {
        if (width_ < 0) restore(n, 0);
        if (n != width_) {
            throw std::invalid_argument("expected a row of " + std::to_string(width_) + " cells, got " +
                                        std::to_string(n));
        }
        const double* x = inputs[0];
        for (std::int64_t j = 0; j < n; ++j) {
            if (std::isnan(x[j])) {
                run_[j] = 0;
                average_[j] = x[j];
            } else {
                average_[j] = run_[j] == 0 ? x[j] : alpha_ * x[j] + (1.0 - alpha_) * average_[j];
                ++run_[j];
            }
            out[j] = run_[j] >= span_ ? average_[j] : std::numeric_limits<double>::quiet_NaN();
        }
        ++count_;
    }

    bool stateful() const override { return true; }
    std::int64_t window() const override { return span_; }
    std::int64_t count() const override { return count_; }
    std::int64_t width() const override { return width_; }

    void restore(std::int64_t n, std::int64_t count) override {
        if (n < 0) throw std::invalid_argument("row width must not be negative, got " + std::to_string(n));
        check_restored_count(count);
        width_ = n;
        count_ = count;
        average_.assign(static_cast<std::size_t>(n), std::numeric_limits<double>::quiet_NaN());
        run_.assign(static_cast<std::size_t>(n), 0);
    }

    std::vector<StateField> state_fields() override {
        if (width_ < 0) return {};
        return {StateField{"average", StateDType::Float64, {width_}, average_.data()},
                StateField{"run", StateDType::Int64, {width_}, run_.data()}};
    }

private:
    std::int64_t span_;
    double alpha_;
    std::int64_t count_ = 0;            // rows consumed over the whole run
    std::int64_t width_ = -1;           // row width, -1 until the first row or a restore
    std::vector<double> average_;       // the running average of each column
    std::vector<std::int64_t> run_;     // present values in a row ending at the last row
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_ema(const std::vector<double>& params) {
    return std::make_unique<Ema>(window_param(params));
}

}  // namespace qm::ops
