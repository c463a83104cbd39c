// Sorting the present cells of one row for the batch rank kernel.
//
// A cell has an order key: a 64-bit integer that orders like the cell's value
// (-0.0 and 0.0 share one key, so they tie; NaN is never keyed). Equal keys
// mean equal values.
//
// Sorting moves 8-byte words, (high 32 bits of the key) << 32 | column. Long
// rows are ordered by bucket with an LSD radix sort on byte digits. A bucket is
// the top 16 bits of a word's high half less the row's smallest high half (24
// bits, three passes, when the high halves span more than 24 bits or the row
// holds more than 1,024 cells, which would crowd 16-bit buckets). In rows of
// both signs each sign is bucketed on its own span, 15 bits (23), negative
// buckets first: the stretch of tiny magnitudes between the two, which values
// seldom fill, then costs no bucket bits, and values of both signs spread
// over two passes where one span over both took three. Each run sharing a
// bucket, short unless values tie or crowd together, is then finished by its
// full keys. Short rows use std::sort on the full keys, for which the radix
// histograms would cost more than the sort.
// Runs without the GIL, touches no Python object.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

namespace qm {

// The order key of a non-NaN value (a NaN gets a key that no caller may read).
inline std::uint64_t rank_order_key(double value) {
    double normalised = value + 0.0;  // -0.0 becomes 0.0
    std::uint64_t bits;
    std::memcpy(&bits, &normalised, sizeof bits);
    // Negative values: all bits flipped (larger magnitude sorts first);
    // non-negative values: sign bit set, so they follow every negative value.
    return (bits >> 63) ? ~bits : (bits | (std::uint64_t{1} << 63));
}

// The sort word of a cell in `column` with key `key`, and its column back.
inline std::uint64_t rank_sort_word(std::uint64_t key, std::uint32_t column) {
    return (key & 0xFFFFFFFF00000000ULL) | column;
}
inline std::uint32_t rank_word_column(std::uint64_t word) { return static_cast<std::uint32_t>(word); }

// Sorts `words` by the full key of their column, `keys[column]` (ties in any
// order); `spare` is scratch space.
void sort_rank_words(const std::uint64_t* keys, std::vector<std::uint64_t>& words, std::vector<std::uint64_t>& spare);

}  // namespace qm
