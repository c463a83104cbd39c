// The driver shared by the windowed time-series operators: a RowHistory plus a
// kernel that turns the window's rows (oldest first) into one output row.
//
// Phases of a step: the row enters the ring; while fewer rows than the window
// have been seen (warm-up) every cell is NaN; afterwards the kernel computes
// every column from the window's rows and, unless it reads only some of them,
// a column whose window holds a NaN is blanked. Kernels loop over the window's
// rows outside and the columns inside, so independent columns run side by side.
// Each cell is recomputed from the ring, so a restored history continues one
// uninterrupted run bit for bit and no error builds up over a long run.
// Runs without the GIL, touches no Python object.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "operators/row_operator.hpp"
#include "operators/time_series/row_history.hpp"

namespace qm::ops {

// A Kernel provides:
//   static constexpr std::size_t inputs;   data inputs
//   static constexpr bool whole_window;     a NaN anywhere in a window blanks the cell
//   void operator()(const double* const* rows, std::int64_t d, std::int64_t n, double* out);
// where rows[i * d + k] is row k (0 = oldest) of input i's window, n cells each.
template <class Kernel>
class WindowedOperator final : public RowOperator {
public:
    WindowedOperator(Kernel kernel, std::int64_t rows)
        : kernel_(std::move(kernel)), history_(rows, Kernel::inputs) {}

    void step(const double* const* inputs, double* out, std::int64_t n) override {
        history_.push(inputs, n);
        if (!history_.full()) {
            std::fill(out, out + n, std::numeric_limits<double>::quiet_NaN());
            return;
        }
        // Sized once the window is full: a window longer than the run never is.
        if (rows_.empty()) rows_.resize(Kernel::inputs * static_cast<std::size_t>(history_.rows()));
        history_.window_rows(rows_.data());
        kernel_(rows_.data(), history_.rows(), n, out);
        if (Kernel::whole_window) blank_windows_with_nan(out, n);
    }

    bool stateful() const override { return true; }
    std::int64_t window() const override { return history_.rows(); }
    std::int64_t count() const override { return history_.count(); }
    std::int64_t width() const override { return history_.width(); }
    void restore(std::int64_t n, std::int64_t count) override { history_.restore(n, count); }
    std::vector<StateField> state_fields() override { return history_.fields(); }

private:
    void blank_windows_with_nan(double* __restrict out, std::int64_t n) {
        const double* __restrict missing = history_.missing();
        constexpr double nan = std::numeric_limits<double>::quiet_NaN();
        for (std::int64_t j = 0; j < n; ++j) out[j] = missing[j] != 0.0 ? nan : out[j];
    }

    Kernel kernel_;
    RowHistory history_;
    std::vector<const double*> rows_;  // the window's rows, per input, oldest first
};

template <class Kernel>
std::unique_ptr<RowOperator> make_windowed(Kernel kernel, std::int64_t rows) {
    return std::make_unique<WindowedOperator<Kernel>>(std::move(kernel), rows);
}

// The "window" parameter, already floored and checked to be >= 1 by the binding.
inline std::int64_t window_param(const std::vector<double>& params) {
    return static_cast<std::int64_t>(params.at(0));
}

}  // namespace qm::ops
