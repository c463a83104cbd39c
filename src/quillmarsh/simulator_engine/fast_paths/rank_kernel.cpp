#include "fast_paths/rank_kernel.hpp"

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "fast_paths/masking.hpp"
#include "fast_paths/rank_sort.hpp"

namespace qm {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Scratch of one row, reused for every row.
struct RowScratch {
    std::vector<double> masked;    // the row after masking
    std::vector<RankCell> cells;   // its present cells, sorted by value
    std::vector<RankCell> spare;   // sorting space

    explicit RowScratch(std::size_t cols) : masked(cols) { cells.reserve(cols); }
};

// The present (non-NaN) cells of `values`, sorted by value.
void sort_present(const double* values, std::size_t cols, RowScratch& scratch) {
    scratch.cells.clear();
    for (std::size_t c = 0; c < cols; ++c) {
        if (!std::isnan(values[c])) scratch.cells.push_back(RankCell{rank_order_key(values[c]), static_cast<std::uint32_t>(c)});
    }
    sort_rank_cells(scratch.cells, scratch.spare);
}

// Writes the percentile rank of every sorted cell; ties share their mean position.
void write_ranks(const std::vector<RankCell>& cells, double* out) {
    const std::size_t count = cells.size();
    const double n = static_cast<double>(count);
    for (std::size_t start = 0; start < count;) {
        std::size_t end = start;  // last position of the tie group
        while (end + 1 < count && cells[end + 1].key == cells[start].key) ++end;
        const double rank = static_cast<double>(start + end + 2) / 2.0 / n;
        for (std::size_t i = start; i <= end; ++i) out[cells[i].column] = rank;
        start = end + 1;
    }
}

void rank_row(const double* values, std::size_t cols, RowScratch& scratch, double* out) {
    std::fill_n(out, cols, kNaN);
    sort_present(values, cols, scratch);
    write_ranks(scratch.cells, out);
}

}  // namespace

void rank_rows(const double* data, const double* universe, std::size_t rows, std::size_t cols, double* out) {
    RowScratch scratch(cols);
    for (std::size_t t = 0; t < rows; ++t) {
        const double* row = data + t * cols;
        if (universe) {
            mask_cells(row, universe + t * cols, scratch.masked.data(), cols);
            row = scratch.masked.data();
        }
        rank_row(row, cols, scratch, out + t * cols);
    }
}

}  // namespace qm
