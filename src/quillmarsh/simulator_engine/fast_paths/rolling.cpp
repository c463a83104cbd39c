#include "fast_paths/rolling.hpp"

#include <algorithm>
#include <limits>
#include <vector>

#include "fast_paths/rolling_cell.hpp"

namespace qm {

namespace {

// Tiles of kTileRows x kTileColumns cells: one column of a tile is rolled with
// its running sums held in registers, and the tile's rows stay in L1 for the
// next column. Rolling row by row over a block of columns, with the sums in
// arrays, measured 3x slower on (100000, 500): the long-double loads and
// stores of the sums dominated.
constexpr std::size_t kTileColumns = 64;
constexpr std::size_t kTileRows = 64;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Running sums of one column. NaN cells count as 0.0 in the sums and are
// counted in the `*_missing` counters instead.
template <RollingStatistic S>
struct ColumnSums {
    static constexpr bool kSquares = S != RollingStatistic::Mean;

    long double lead = 0.0L;     // values of rows 0..t
    long double lead_sq = 0.0L;  // their squares
    long double lag = 0.0L;      // values of the rows that have left the window
    long double lag_sq = 0.0L;   // their squares
    std::size_t lead_missing = 0;  // NaN cells among rows 0..t
    std::size_t lag_missing = 0;   // NaN cells among the rows that have left

    // Row t enters the window.
    void add(double x) { lead_missing += accumulate<kSquares>(x, lead, lead_sq); }

    // Row t - window leaves: it joins the lagging sums, in the same order the
    // leading sums saw it, so the window sum is exactly a difference of prefix sums.
    void remove(double x) { lag_missing += accumulate<kSquares>(x, lag, lag_sq); }

    double value(long double window, double latest) const {
        if (lead_missing != lag_missing) return kNaN;
        return window_value<S>(lead - lag, lead_sq - lag_sq, window, latest);
    }
};

// Rolls one column over rows [begin, end), continuing `sums`. `column` and
// `out` point at the column's row 0; `stride` is the row length. Phases:
// warm-up (rows before window - 1: NaN), the first full window (nothing
// departs yet), steady state (row t - window departs as row t enters).
template <RollingStatistic S>
void roll_column(ColumnSums<S>& sums, const double* column, double* out, std::size_t stride, std::size_t window,
                 std::size_t begin, std::size_t end) {
    ColumnSums<S> k = sums;
    const long double w = static_cast<long double>(window);
    std::size_t t = begin;
    for (; t < end && t + 1 < window; ++t) {
        k.add(column[t * stride]);
        out[t * stride] = kNaN;
    }
    if (t < end && t + 1 == window) {
        k.add(column[t * stride]);
        out[t * stride] = k.value(w, column[t * stride]);
        ++t;
    }
    for (; t < end; ++t) {
        k.remove(column[(t - window) * stride]);
        double x = column[t * stride];
        k.add(x);
        out[t * stride] = k.value(w, x);
    }
    sums = k;
}

template <RollingStatistic S>
void roll_tiles(const double* data, std::size_t rows, std::size_t cols, std::size_t window, double* out) {
    std::vector<ColumnSums<S>> sums(kTileColumns);
    for (std::size_t first = 0; first < cols; first += kTileColumns) {
        std::size_t width = std::min(kTileColumns, cols - first);
        std::fill(sums.begin(), sums.end(), ColumnSums<S>{});
        for (std::size_t begin = 0; begin < rows; begin += kTileRows) {
            std::size_t end = std::min(rows, begin + kTileRows);
            for (std::size_t c = 0; c < width; ++c) {
                roll_column(sums[c], data + first + c, out + first + c, cols, window, begin, end);
            }
        }
    }
}

}  // namespace

void rolling_statistic(const double* data, std::size_t rows, std::size_t cols, std::size_t window,
                       RollingStatistic statistic, double* out) {
    if (rows < window) {
        std::fill_n(out, rows * cols, kNaN);
        return;
    }
    switch (statistic) {
        case RollingStatistic::Mean: roll_tiles<RollingStatistic::Mean>(data, rows, cols, window, out); break;
        case RollingStatistic::Std: roll_tiles<RollingStatistic::Std>(data, rows, cols, window, out); break;
        case RollingStatistic::ZScore: roll_tiles<RollingStatistic::ZScore>(data, rows, cols, window, out); break;
    }
}

}  // namespace qm
