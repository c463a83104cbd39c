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

// The present (non-NaN) cells of `values`, sorted by value.
void sort_present(const double* values, std::size_t cols, RankScratch& scratch) {
    scratch.keys.resize(cols);
    scratch.words.resize(cols);
    // Every cell writes a word; only present cells advance the count, so a NaN
    // costs no mispredicted branch.
    std::size_t present = 0;
    for (std::size_t c = 0; c < cols; ++c) {
        const std::uint64_t key = rank_order_key(values[c]);
        scratch.keys[c] = key;
        scratch.words[present] = rank_sort_word(key, static_cast<std::uint32_t>(c));
        present += std::isnan(values[c]) ? 0 : 1;
    }
    scratch.words.resize(present);
    sort_rank_words(scratch.keys.data(), scratch.words, scratch.spare);
}

// Writes the percentile rank of every sorted cell; ties share their mean position.
void write_ranks(const std::vector<std::uint64_t>& words, const std::vector<std::uint64_t>& keys, double* out) {
    const std::size_t count = words.size();
    const double n = static_cast<double>(count);
    for (std::size_t start = 0; start < count;) {
        const std::uint64_t key = keys[rank_word_column(words[start])];
        std::size_t end = start;  // last position of the tie group
        while (end + 1 < count && keys[rank_word_column(words[end + 1])] == key) ++end;
        const double rank = static_cast<double>(start + end + 2) / 2.0 / n;
        for (std::size_t i = start; i <= end; ++i) out[rank_word_column(words[i])] = rank;
        start = end + 1;
    }
}

}  // namespace

void rank_row(const double* values, std::size_t cols, RankScratch& scratch, double* out) {
    std::fill_n(out, cols, kNaN);
    sort_present(values, cols, scratch);
    write_ranks(scratch.words, scratch.keys, out);
}

void rank_rows(const double* data, const double* universe, std::size_t rows, std::size_t cols, double* out) {
    RankScratch scratch;
    scratch.masked.resize(cols);
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
