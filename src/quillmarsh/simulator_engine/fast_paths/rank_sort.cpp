#include "fast_paths/rank_sort.hpp"

#include <algorithm>
#include <array>
#include <cstring>

#include "fast_paths/vector_clones.hpp"

namespace qm {

namespace {

constexpr std::size_t kRadixMinCells = 256;
// In rows of at most kNarrowMaxCells cells, a sign's high halves spanning at
// most kNarrowSpanBits bits get 15-bit buckets (with the sign bit 16: two byte
// passes); wider spans and longer rows, whose cells would crowd into shared
// buckets, get 23 (24: three).
constexpr std::size_t kNarrowMaxCells = 1024;
constexpr int kNarrowSpanBits = 24;
constexpr int kNarrowBucketBits = 15;
constexpr int kWideBucketBits = 23;
constexpr int kMaxPasses = (kWideBucketBits + 1 + 7) / 8;
constexpr std::size_t kDigits = 256;
constexpr std::uint32_t kNonNegative = 0x80000000u;  // high-half bit of a key of a value >= 0

inline std::uint32_t high_half(std::uint64_t word) { return static_cast<std::uint32_t>(word >> 32); }

inline int bit_width(std::uint32_t span) {
    int width = 0;
    for (; span != 0; span >>= 1) ++width;
    return width;
}

// The high halves of one sign: offsets from the sign's smallest, shifted to
// fit the bucket bits, after `base`.
struct SignBuckets {
    std::uint32_t lowest = 0;
    int shift = 0;
    std::uint32_t base = 0;
    std::uint32_t of(std::uint32_t high) const { return base + ((high - lowest) >> shift); }
};

// A word's bucket: negative values' buckets all precede non-negative values',
// and within a sign buckets order like high halves (coarser). Splitting the
// signs keeps the empty stretch of tiny magnitudes around zero, between the
// most negative and the most positive keys, out of the bucket range.
struct Buckets {
    std::array<SignBuckets, 2> by_sign;  // [0] negative, [1] non-negative values
    int passes = 0;                      // byte digits of a bucket
    // Indexed by the sign rather than chosen by a branch, which rows of mixed
    // signs would mispredict half the time.
    std::uint32_t of(std::uint32_t high) const { return by_sign[high >> 31].of(high); }
};

inline bool narrow(int width, std::size_t cells) { return width <= kNarrowSpanBits && cells <= kNarrowMaxCells; }

SignBuckets sign_buckets(std::uint32_t lowest, std::uint32_t highest, int bits, std::uint32_t base) {
    return {lowest, std::max(bit_width(highest - lowest) - bits, 0), base};
}

// The smallest and largest high half over all words and over each sign.
struct HighHalfRange {
    std::uint32_t lowest, highest, highest_negative, lowest_non_negative;
};

QM_VECTOR_CLONES
HighHalfRange high_half_range(const std::uint64_t* words, std::size_t n) {
    // Flipping the sign bit moves the non-negative values' high halves below
    // the negative values': the flipped minimum is the smallest non-negative
    // one, the flipped maximum the largest negative one. Plain minima and
    // maxima vectorise, where choosing by sign would not.
    std::uint32_t lowest = UINT32_MAX, highest = 0, lowest_flipped = UINT32_MAX, highest_flipped = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const std::uint32_t high = high_half(words[i]);
        const std::uint32_t flipped = high ^ kNonNegative;
        lowest = std::min(lowest, high);
        highest = std::max(highest, high);
        lowest_flipped = std::min(lowest_flipped, flipped);
        highest_flipped = std::max(highest_flipped, flipped);
    }
    return {lowest, highest, highest_flipped ^ kNonNegative, lowest_flipped ^ kNonNegative};
}

Buckets buckets_of(const std::vector<std::uint64_t>& words) {
    const auto [lowest, highest, highest_negative, lowest_non_negative] = high_half_range(words.data(), words.size());
    Buckets buckets;
    if ((lowest & kNonNegative) == (highest & kNonNegative)) {  // one sign
        const int width = bit_width(highest - lowest);
        const int bits = std::min(width, narrow(width, words.size()) ? kNarrowBucketBits + 1 : kWideBucketBits + 1);
        buckets.by_sign[0] = buckets.by_sign[1] = sign_buckets(lowest, highest, bits, 0);
        buckets.passes = (bits + 7) / 8;
        return buckets;
    }
    const int width = std::max(bit_width(highest_negative - lowest), bit_width(highest - lowest_non_negative));
    const int bits = narrow(width, words.size()) ? kNarrowBucketBits : kWideBucketBits;
    buckets.by_sign[0] = sign_buckets(lowest, highest_negative, bits, 0);
    buckets.by_sign[1] = sign_buckets(lowest_non_negative, highest, bits, std::uint32_t{1} << bits);
    buckets.passes = (bits + 1 + 7) / 8;
    return buckets;
}

template <int Passes>
using Histograms = std::array<std::array<std::uint32_t, kDigits>, Passes>;

// Puts each word's bucket in its high half (the column stays in the low half)
// and counts the words of every byte digit of the buckets.
template <int Passes>
Histograms<Passes> tag_with_buckets(std::vector<std::uint64_t>& words, const Buckets& buckets) {
    Histograms<Passes> counts{};
    for (std::uint64_t& word : words) {
        const std::uint32_t bucket = buckets.of(high_half(word));
        word = (std::uint64_t{bucket} << 32) | static_cast<std::uint32_t>(word);
        for (int d = 0; d < Passes; ++d) ++counts[d][(bucket >> (8 * d)) & 0xFF];
    }
    return counts;
}

inline std::size_t digit(std::uint64_t word, int d) { return (word >> (32 + 8 * d)) & (kDigits - 1); }

// One stable counting pass on byte digit `d` of the buckets, from `src` into
// `dst`. The front half fills each digit's slots from its first slot up, the
// back half (read backwards) from its last slot down: two independent chains
// of counter updates, so words sharing a digit do not wait on one counter in
// turn.
void scatter_by_digit(const std::uint64_t* src, std::uint64_t* dst, std::size_t n,
                      const std::array<std::uint32_t, kDigits>& count, int d) {
    std::array<std::uint32_t, kDigits> first, end;
    std::uint32_t offset = 0;
    for (std::size_t i = 0; i < kDigits; ++i) {
        first[i] = offset;
        offset += count[i];
        end[i] = offset;
    }
    const std::size_t half = n / 2;
    for (std::size_t i = 0; i < half; ++i) {
        const std::uint64_t front = src[i];
        const std::uint64_t back = src[n - 1 - i];
        dst[first[digit(front, d)]++] = front;
        dst[--end[digit(back, d)]] = back;
    }
    if (n % 2 != 0) dst[first[digit(src[half], d)]] = src[half];
}

// Orders `words` by bucket, in `Passes` byte passes; the words leave tagged
// with their buckets.
template <int Passes>
void radix_sort_buckets(std::vector<std::uint64_t>& words, std::vector<std::uint64_t>& spare, const Buckets& buckets) {
    const std::size_t n = words.size();
    spare.resize(n);
    const Histograms<Passes> counts = tag_with_buckets<Passes>(words, buckets);
    std::uint64_t* src = words.data();
    std::uint64_t* dst = spare.data();
    for (int d = 0; d < Passes; ++d) {
        if (counts[d][digit(src[0], d)] == n) continue;  // one digit for all: already ordered
        scatter_by_digit(src, dst, n, counts[d], d);
        std::swap(src, dst);
    }
    if (src != words.data()) std::copy(src, src + n, words.data());
}

void radix_sort_buckets(std::vector<std::uint64_t>& words, std::vector<std::uint64_t>& spare, const Buckets& buckets) {
    switch (buckets.passes) {
        case 0: radix_sort_buckets<0>(words, spare, buckets); break;  // one bucket: tagging is all
        case 1: radix_sort_buckets<1>(words, spare, buckets); break;
        case 2: radix_sort_buckets<2>(words, spare, buckets); break;
        default: radix_sort_buckets<kMaxPasses>(words, spare, buckets); break;
    }
}

void sort_by_full_key(const std::uint64_t* keys, std::uint64_t* first, std::uint64_t* last) {
    std::sort(first, last, [keys](std::uint64_t a, std::uint64_t b) {
        return keys[rank_word_column(a)] < keys[rank_word_column(b)];
    });
}

// Within each run of words sharing a bucket, orders by the full keys.
void order_runs_by_full_key(const std::uint64_t* keys, std::vector<std::uint64_t>& words) {
    const std::size_t n = words.size();
    for (std::size_t start = 0; start < n;) {
        const std::uint32_t bucket = high_half(words[start]);
        std::size_t end = start + 1;
        while (end < n && high_half(words[end]) == bucket) ++end;
        if (end - start > 1) sort_by_full_key(keys, words.data() + start, words.data() + end);
        start = end;
    }
}

}  // namespace

void sort_rank_words(const std::uint64_t* keys, std::vector<std::uint64_t>& words, std::vector<std::uint64_t>& spare) {
    if (words.size() < kRadixMinCells) {
        sort_by_full_key(keys, words.data(), words.data() + words.size());
        return;
    }
    radix_sort_buckets(words, spare, buckets_of(words));
    order_runs_by_full_key(keys, words);
}

}  // namespace qm
