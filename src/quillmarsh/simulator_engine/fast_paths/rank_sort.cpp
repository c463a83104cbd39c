#include "fast_paths/rank_sort.hpp"

#include <algorithm>
#include <array>
#include <cstring>

namespace qm {

namespace {

constexpr std::size_t kRadixMinCells = 256;
constexpr int kKeyBytes = 8;
constexpr std::size_t kDigits = 256;

using Histograms = std::array<std::array<std::uint32_t, kDigits>, kKeyBytes>;

inline std::size_t digit(std::uint64_t key, int byte) { return (key >> (8 * byte)) & (kDigits - 1); }

Histograms count_digits(const std::vector<RankCell>& cells) {
    Histograms counts{};
    for (const RankCell& cell : cells) {
        for (int byte = 0; byte < kKeyBytes; ++byte) ++counts[byte][digit(cell.key, byte)];
    }
    return counts;
}

// One stable counting pass on key byte `byte`, from `src` into `dst`.
void scatter_by_digit(const RankCell* src, RankCell* dst, std::size_t n, std::array<std::uint32_t, kDigits>& count,
                      int byte) {
    std::uint32_t offset = 0;
    for (std::uint32_t& slot : count) {
        std::uint32_t here = slot;
        slot = offset;
        offset += here;
    }
    for (std::size_t i = 0; i < n; ++i) dst[count[digit(src[i].key, byte)]++] = src[i];
}

void radix_sort(std::vector<RankCell>& cells, std::vector<RankCell>& spare) {
    const std::size_t n = cells.size();
    spare.resize(n);
    Histograms counts = count_digits(cells);
    RankCell* src = cells.data();
    RankCell* dst = spare.data();
    for (int byte = 0; byte < kKeyBytes; ++byte) {
        if (counts[byte][digit(src[0].key, byte)] == n) continue;  // every key has this byte: already ordered
        scatter_by_digit(src, dst, n, counts[byte], byte);
        std::swap(src, dst);
    }
    if (src != cells.data()) std::copy(src, src + n, cells.data());
}

}  // namespace

std::uint64_t rank_order_key(double value) {
    double normalised = value + 0.0;  // -0.0 becomes 0.0
    std::uint64_t bits;
    std::memcpy(&bits, &normalised, sizeof bits);
    // Negative values: all bits flipped (larger magnitude sorts first);
    // non-negative values: sign bit set, so they follow every negative value.
    return (bits >> 63) ? ~bits : (bits | (std::uint64_t{1} << 63));
}

void sort_rank_cells(std::vector<RankCell>& cells, std::vector<RankCell>& spare) {
    if (cells.size() < kRadixMinCells) {
        std::sort(cells.begin(), cells.end(), [](const RankCell& a, const RankCell& b) { return a.key < b.key; });
        return;
    }
    radix_sort(cells, spare);
}

}  // namespace qm
