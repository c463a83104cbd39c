// ts_quantile(x, d, q) and ts_median(x, d) = ts_quantile(x, d, 0.5): the q-th
//   quantile of each column's trailing d values, interpolated linearly between
//   order statistics: with s the sorted window, p = q (d - 1), i = floor(p),
//   f = p - i, the cell is s[i] when f is 0, else s[i] + f (s[i + 1] - s[i]).
// Input: one row of n float64 cells per step; output: n cells. q in [0, 1].
// NaN / warm-up: NaN until d rows are seen and wherever the window holds a NaN;
//   infinities are values (interpolating between -inf and inf gives NaN).
// Exact: order statistics of the window, at most one interpolation in float64.
// Each column keeps its window sorted (NaN last, -0.0 before 0.0, so the
//   order is total and one window has one sorted form): a step moves the
//   departing value out and the new one in, O(d) per cell. The sorted windows
//   are rebuilt from the ring after a restore, so they are not saved.
// State: "count", "window" = d, "ring" (1, d, n).
// Runs without the GIL, touches no Python object.
#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include "operators/time_series/kernels.hpp"
#include "operators/time_series/row_history.hpp"
#include "operators/time_series/windowed_operator.hpp"

namespace qm::ops {

namespace {

bool ordered_before(double a, double b) {
    if (std::isnan(b)) return !std::isnan(a);
    if (std::isnan(a)) return false;
    if (a == b) return std::signbit(a) && !std::signbit(b);
    return a < b;
}

class Quantile final : public RowOperator {
public:
    Quantile(std::int64_t window, double q) : history_(window, 1), q_(q) {}

    void step(const double* const* inputs, double* out, std::int64_t n) override {
        const bool continues = history_.full() && sorted_valid_;
        if (continues) {
            load_window_rows();
            departing_.assign(rows_[0], rows_[0] + n);
        }
        history_.push(inputs, n);
        if (!history_.full()) {
            std::fill(out, out + n, std::numeric_limits<double>::quiet_NaN());
            return;
        }
        load_window_rows();
        if (continues) {
            move_values(inputs[0], n);
        } else {
            sort_windows(n);
        }
        sorted_valid_ = true;
        write_quantiles(out, n);
    }

    bool stateful() const override { return true; }
    std::int64_t window() const override { return history_.rows(); }
    std::int64_t count() const override { return history_.count(); }
    std::int64_t width() const override { return history_.width(); }

    void restore(std::int64_t n, std::int64_t count) override {
        history_.restore(n, count);
        sorted_valid_ = false;
    }

    std::vector<StateField> state_fields() override { return history_.fields(); }

private:
    // Sized once the window is full: a window longer than the run never is.
    void load_window_rows() {
        if (rows_.empty()) rows_.resize(static_cast<std::size_t>(history_.rows()));
        history_.window_rows(rows_.data());
    }

    void sort_windows(std::int64_t n) {
        const std::int64_t d = history_.rows();
        sorted_.resize(static_cast<std::size_t>(n * d));
        for (std::int64_t j = 0; j < n; ++j) {
            double* column = sorted_.data() + j * d;
            for (std::int64_t k = 0; k < d; ++k) column[k] = rows_[k][j];
            std::sort(column, column + d, ordered_before);
        }
    }

    // Takes each column's departing value out of its sorted window and puts
    // the new value in, shifting the values in between by one place.
    void move_values(const double* incoming, std::int64_t n) {
        const std::int64_t d = history_.rows();
        for (std::int64_t j = 0; j < n; ++j) {
            double* column = sorted_.data() + j * d;
            double* gone = std::lower_bound(column, column + d, departing_[j], ordered_before);
            double* place = std::upper_bound(column, column + d, incoming[j], ordered_before);
            if (place > gone) {
                std::copy(gone + 1, place, gone);
                *(place - 1) = incoming[j];
            } else {
                std::copy_backward(place, gone, gone + 1);
                *place = incoming[j];
            }
        }
    }

    void write_quantiles(double* out, std::int64_t n) const {
        const std::int64_t d = history_.rows();
        const double position = q_ * static_cast<double>(d - 1);
        const double below = std::floor(position);
        const double fraction = position - below;
        const auto i = static_cast<std::int64_t>(below);
        const double* missing = history_.missing();
        for (std::int64_t j = 0; j < n; ++j) {
            const double* s = sorted_.data() + j * d;
            const double value = fraction == 0.0 ? s[i] : s[i] + fraction * (s[i + 1] - s[i]);
            out[j] = missing[j] != 0.0 ? std::numeric_limits<double>::quiet_NaN() : value;
        }
    }

    RowHistory history_;
    double q_;
    std::vector<const double*> rows_;  // the window's rows, oldest first
    std::vector<double> sorted_;       // per column, its window in order: n x d
    std::vector<double> departing_;    // the oldest row, saved before a step overwrites it
    bool sorted_valid_ = false;        // sorted_ holds the windows up to the last row
};

}  // namespace

std::unique_ptr<RowOperator> make_ts_quantile(const std::vector<double>& params) {
    const double q = params.at(1);
    if (!(q >= 0.0 && q <= 1.0)) {
        throw std::invalid_argument("q must be between 0 and 1, got " + std::to_string(q));
    }
    return std::make_unique<Quantile>(window_param(params), q);
}

std::unique_ptr<RowOperator> make_ts_median(const std::vector<double>& params) {
    return std::make_unique<Quantile>(window_param(params), 0.5);
}

}  // namespace qm::ops
