// The driver shared by the windowed time-series operators: a RowHistory plus a
// kernel that turns one column's window (oldest row first) into one cell.
//
// Phases of a step: the row enters the ring; while fewer rows than the window
// have been seen (warm-up) every cell is NaN; afterwards each column's window
// is gathered and, unless the kernel reads only some of its rows, a window
// holding a NaN gives NaN. Each cell is recomputed from the ring, so a restored
// history continues one uninterrupted run bit for bit and no error builds up
// over a long run. Runs without the GIL, touches no Python object.
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
//   static constexpr std::size_t inputs;         data inputs
//   static constexpr bool whole_window;           a NaN anywhere in a window blanks the cell
//   double operator()(const double* const* windows, std::int64_t rows) const;
template <class Kernel>
class WindowedOperator final : public RowOperator {
public:
    WindowedOperator(Kernel kernel, std::int64_t rows)
        : kernel_(kernel), history_(rows, Kernel::inputs),
          scratch_(Kernel::inputs * static_cast<std::size_t>(rows)) {}

    void step(const double* const* inputs, double* out, std::int64_t n) override {
        history_.push(inputs, n);
        constexpr double nan = std::numeric_limits<double>::quiet_NaN();
        if (!history_.full()) {
            std::fill(out, out + n, nan);
            return;
        }
        const std::int64_t rows = history_.rows();
        const double* windows[Kernel::inputs];
        for (std::size_t i = 0; i < Kernel::inputs; ++i) windows[i] = scratch_.data() + i * rows;
        for (std::int64_t j = 0; j < n; ++j) {
            bool present = true;
            for (std::size_t i = 0; i < Kernel::inputs; ++i) {
                double* window = scratch_.data() + i * rows;
                history_.gather(i, j, window);
                if (Kernel::whole_window) {
                    present = present && std::none_of(window, window + rows, [](double v) { return std::isnan(v); });
                }
            }
            out[j] = present ? kernel_(windows, rows) : nan;
        }
    }

    bool stateful() const override { return true; }
    std::int64_t window() const override { return history_.rows(); }
    std::int64_t count() const override { return history_.count(); }
    std::int64_t width() const override { return history_.width(); }
    void restore(std::int64_t n, std::int64_t count) override { history_.restore(n, count); }
    std::vector<StateField> state_fields() override { return history_.fields(); }

private:
    Kernel kernel_;
    RowHistory history_;
    std::vector<double> scratch_;  // one gathered window per input
};

template <class Kernel>
std::unique_ptr<RowOperator> make_windowed(Kernel kernel, std::int64_t rows) {
    return std::make_unique<WindowedOperator<Kernel>>(kernel, rows);
}

// The "window" parameter, already floored and checked to be >= 1 by the binding.
inline std::int64_t window_param(const std::vector<double>& params) {
    return static_cast<std::int64_t>(params.at(0));
}

}  // namespace qm::ops
