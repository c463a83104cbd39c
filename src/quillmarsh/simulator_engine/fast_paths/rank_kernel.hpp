// Batch cross-sectional rank: the percentile rank of every cell within its row.
//
// Input:  `data`, T x N float64, row-major (C-contiguous); `universe`, the same
//         shape, or null for no masking.
// Output: `out`, T x N float64, row-major; every cell is written.
// Masking: a cell is missing where it is NaN or where its universe value is 0.0
//   or NaN (the engine's masking rule, masking.hpp); missing cells stay NaN.
// Ranks: per row, the present cells are ordered by value; tied values (equal
//   under ==, so -0.0 ties 0.0 and equal infinities tie) share the mean of their
//   1-based positions; every rank is divided by the row's count of present
//   cells, so ranks lie in (0, 1].
// Complexity: O(N) per row for spread-out values (radix sort, rank_sort.hpp);
//   O(N log N) for short rows and for values that crowd together; scratch
//   rows reused across rows.
// Runs without the GIL, touches no Python object.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qm {

// Scratch of one row, reused for every row; it grows to the widest row seen.
struct RankScratch {
    std::vector<double> masked;        // the row after masking
    std::vector<std::uint64_t> keys;   // order key of every present cell, by column
    std::vector<std::uint64_t> words;  // sort words of the present cells, sorted by key
    std::vector<std::uint64_t> spare;  // sorting space
};

// `out` must not alias `data` or `universe`.
void rank_rows(const double* data, const double* universe, std::size_t rows, std::size_t cols, double* out);

// One unmasked row of `cols` cells, with the caller's scratch, so that a row
// operator allocates nothing per row. `out` must not alias `values`.
void rank_row(const double* values, std::size_t cols, RankScratch& scratch, double* out);

}  // namespace qm
