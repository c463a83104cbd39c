#include "fast_paths/rank_sort.hpp"

#include <algorithm>
#include <array>
#include <cstring>

namespace qm {

namespace {

constexpr std::size_t kRadixMinCells = 256;
// Rows whose high halves span at most 24 bits are bucketed on 16 bits (two
// byte passes), wider rows, such as values of both signs, on 24 (three).
constexpr int kNarrowSpanBits = 24;
constexpr int kNarrowBucketBits = 16;
constexpr int kWideBucketBits = 24;
constexpr int kMaxPasses = kWideBucketBits / 8;
constexpr std::size_t kDigits = 256;

// A word's bucket: the top kBucketBits bits of its high half's offset from the
// row's smallest high half. Buckets order like high halves (coarser).
struct Buckets {
    std::uint32_t lowest;
    int shift;
    int passes;  // byte digits of a bucket
    std::uint32_t of(std::uint64_t word) const { return (static_cast<std::uint32_t>(word >> 32) - lowest) >> shift; }
};

Buckets buckets_of(const std::vector<std::uint64_t>& words) {
    std::uint32_t lowest = UINT32_MAX, highest = 0;
    for (std::uint64_t word : words) {
        const auto high = static_cast<std::uint32_t>(word >> 32);
        lowest = std::min(lowest, high);
        highest = std::max(highest, high);
    }
    int width = 0;
    for (std::uint32_t span = highest - lowest; span != 0; span >>= 1) ++width;
    const int bits = std::min(width, width <= kNarrowSpanBits ? kNarrowBucketBits : kWideBucketBits);
    return {lowest, width - bits, (bits + 7) / 8};
}

// One stable counting pass on digit `d` (byte d of the bucket), from `src` into `dst`. The front half fills each digit's slots from
// its first slot up, the back half (read backwards) from its last slot down:
// two independent chains of counter updates, so words sharing a digit do not
// wait on one counter in turn.
void scatter_by_digit(const std::uint64_t* src, std::uint64_t* dst, std::size_t n, const Buckets& buckets,
                      const std::array<std::uint32_t, kDigits>& count, int d) {
    std::array<std::uint32_t, kDigits> first, end;
    std::uint32_t offset = 0;
    for (std::size_t i = 0; i < kDigits; ++i) {
        first[i] = offset;
        offset += count[i];
        end[i] = offset;
    }
    const int shift = 8 * d;
    const std::size_t half = n / 2;
    for (std::size_t i = 0; i < half; ++i) {
        const std::uint64_t front = src[i];
        const std::uint64_t back = src[n - 1 - i];
        dst[first[(buckets.of(front) >> shift) & 0xFF]++] = front;
        dst[--end[(buckets.of(back) >> shift) & 0xFF]] = back;
    }
    if (n % 2 != 0) dst[first[(buckets.of(src[half]) >> shift) & 0xFF]] = src[half];
}

// Orders `words` by bucket, in `Passes` byte passes.
template <int Passes>
void radix_sort_buckets(std::vector<std::uint64_t>& words, std::vector<std::uint64_t>& spare, const Buckets& buckets) {
    const std::size_t n = words.size();
    spare.resize(n);
    std::array<std::array<std::uint32_t, kDigits>, Passes> counts{};
    for (std::uint64_t word : words) {
        const std::uint32_t bucket = buckets.of(word);
        for (int d = 0; d < Passes; ++d) ++counts[d][(bucket >> (8 * d)) & 0xFF];
    }
    std::uint64_t* src = words.data();
    std::uint64_t* dst = spare.data();
    for (int d = 0; d < Passes; ++d) {
        if (counts[d][(buckets.of(src[0]) >> (8 * d)) & 0xFF] == n) continue;  // one digit for all: already ordered
        scatter_by_digit(src, dst, n, buckets, counts[d], d);
        std::swap(src, dst);
    }
    if (src != words.data()) std::copy(src, src + n, words.data());
}

void radix_sort_buckets(std::vector<std::uint64_t>& words, std::vector<std::uint64_t>& spare, const Buckets& buckets) {
    switch (buckets.passes) {
        case 0: break;  // every high half equal: one bucket
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
void order_runs_by_full_key(const std::uint64_t* keys, std::vector<std::uint64_t>& words, const Buckets& buckets) {
    const std::size_t n = words.size();
    for (std::size_t start = 0; start < n;) {
        const std::uint32_t bucket = buckets.of(words[start]);
        std::size_t end = start + 1;
        while (end < n && buckets.of(words[end]) == bucket) ++end;
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
    const Buckets buckets = buckets_of(words);
    radix_sort_buckets(words, spare, buckets);
    order_runs_by_full_key(keys, words, buckets);
}

}  // namespace qm
