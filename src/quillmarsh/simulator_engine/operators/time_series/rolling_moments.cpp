#include "operators/time_series/rolling_moments.hpp"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>
#include <stdexcept>

#include "fast_paths/rolling_step.hpp"
#include "host/messages.hpp"

namespace qm::ops {

void RollingMoments::restore(std::int64_t n, std::int64_t count) {
    const auto cells = static_cast<std::size_t>(n);
    missing_.assign(cells, 0);
    for (auto* sums : {&lead_, &lead_sq_, &lag_, &lag_sq_}) sums->assign(cells, 0.0L);
    width_ = n;
    ring_.clear();
    hold_rows(std::min(window_, count));
    count_ = count;
}

// The ring holds the rows seen, at most a window of them: until it is full row
// r sits in slot r, so growing keeps the rows in place, and a window longer
// than the run costs only the rows the run has.
void RollingMoments::hold_rows(std::int64_t rows) {
    const auto cells = static_cast<std::size_t>(width_);
    // A row count times a width past what memory can address would wrap the ring's size.
    const std::size_t max_ring = std::numeric_limits<std::ptrdiff_t>::max() / sizeof(double);
    if (cells != 0 && static_cast<std::size_t>(rows) > max_ring / cells) throw std::bad_alloc();
    ring_.resize(static_cast<std::size_t>(rows) * cells, std::numeric_limits<double>::quiet_NaN());
}

void RollingMoments::step(const double* const* inputs, double* out, std::int64_t n) {
    if (width_ < 0) restore(n, 0);
    if (n != width_) throw std::invalid_argument(msg::operator_width_changed());
    if (count_ < window_) hold_rows(count_ + 1);
    const RollingState state{ring_.data(),  missing_.data(), lead_.data(),
                             lead_sq_.data(), lag_.data(),   lag_sq_.data(),
                             static_cast<std::size_t>(window_), static_cast<std::size_t>(width_)};
    rolling_step(state, inputs[0], static_cast<std::size_t>(count_), statistic_, out);
    ++count_;
}

std::vector<StateField> RollingMoments::state_fields() {
    if (width_ < 0) return {};
    const std::vector<std::int64_t> row{width_};
    return {{"ring", StateDType::Float64, {std::min(window_, count_), width_}, ring_.data()},
            {"nan_in_window", StateDType::Int64, row, missing_.data()},
            {"prefix_sum", StateDType::LongDouble, row, lead_.data()},
            {"prefix_sum_sq", StateDType::LongDouble, row, lead_sq_.data()},
            {"lagging_sum", StateDType::LongDouble, row, lag_.data()},
            {"lagging_sum_sq", StateDType::LongDouble, row, lag_sq_.data()}};
}

}  // namespace qm::ops
