#include "fast_paths/rank_sort.hpp"

#include <algorithm>
#include <array>
#include <cstring>

namespace qm {

namespace {

constexpr std::size_t kRadixMinCells = 256;
constexpr int kFirstByte = 4;  // the high half of a word: bytes 4..7
constexpr int kKeyBytes = 8;
constexpr std::size_t kDigits = 256;

// One histogram per sorted byte, indexed by byte - kFirstByte.
using Histograms = std::array<std::array<std::uint32_t, kDigits>, kKeyBytes - kFirstByte>;

inline std::size_t digit(std::uint64_t word, int byte) { return (word >> (8 * byte)) & (kDigits - 1); }

Histograms count_digits(const std::vector<std::uint64_t>& words) {
    Histograms counts{};
    for (std::uint64_t word : words) {
        for (int byte = kFirstByte; byte < kKeyBytes; ++byte) ++counts[byte - kFirstByte][digit(word, byte)];
    }
    return counts;
}

// One stable counting pass on byte `byte`, from `src` into `dst`. The front
// half fills each digit's slots from its first slot up, the back half (read
// backwards) from its last slot down: two independent chains of counter
// updates, so words sharing a digit do not wait on one counter in turn.
void scatter_by_digit(const std::uint64_t* src, std::uint64_t* dst, std::size_t n,
                      const std::array<std::uint32_t, kDigits>& count, int byte) {
    std::array<std::uint32_t, kDigits> first, end;
    std::uint32_t offset = 0;
    for (std::size_t d = 0; d < kDigits; ++d) {
        first[d] = offset;
        offset += count[d];
        end[d] = offset;
    }
    const std::size_t half = n / 2;
    for (std::size_t i = 0; i < half; ++i) {
        const std::uint64_t front = src[i];
        const std::uint64_t back = src[n - 1 - i];
        dst[first[digit(front, byte)]++] = front;
        dst[--end[digit(back, byte)]] = back;
    }
    if (n % 2 != 0) dst[first[digit(src[half], byte)]] = src[half];
}

// Orders `words` by their high halves.
void radix_sort_high_halves(std::vector<std::uint64_t>& words, std::vector<std::uint64_t>& spare) {
    const std::size_t n = words.size();
    spare.resize(n);
    Histograms counts = count_digits(words);
    std::uint64_t* src = words.data();
    std::uint64_t* dst = spare.data();
    for (int byte = kFirstByte; byte < kKeyBytes; ++byte) {
        auto& count = counts[byte - kFirstByte];
        if (count[digit(src[0], byte)] == n) continue;  // every word has this byte: already ordered
        scatter_by_digit(src, dst, n, count, byte);
        std::swap(src, dst);
    }
    if (src != words.data()) std::copy(src, src + n, words.data());
}

void sort_by_full_key(const std::uint64_t* keys, std::uint64_t* first, std::uint64_t* last) {
    std::sort(first, last, [keys](std::uint64_t a, std::uint64_t b) {
        return keys[rank_word_column(a)] < keys[rank_word_column(b)];
    });
}

// Within each run of words sharing a high half, orders by the full keys.
void order_runs_by_full_key(const std::uint64_t* keys, std::vector<std::uint64_t>& words) {
    const std::size_t n = words.size();
    for (std::size_t start = 0; start < n;) {
        const std::uint64_t high = words[start] >> 32;
        std::size_t end = start + 1;
        while (end < n && (words[end] >> 32) == high) ++end;
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
    radix_sort_high_halves(words, spare);
    order_runs_by_full_key(keys, words);
}

}  // namespace qm
