#include "fast_paths/masking.hpp"

#include <algorithm>

#include "fast_paths/vector_clones.hpp"

namespace qm {

QM_VECTOR_CLONES
void mask_cells(const double* data, const double* universe, double* out, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) out[i] = universe_cell_inactive(universe[i]) ? NAN : data[i];
}

// Bit i of the result: whether universe[i] is inactive, for up to 64 cells.
QM_VECTOR_CLONES
std::uint64_t inactive_bits(const double* universe, std::size_t count) {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < count; ++i) bits |= std::uint64_t{universe_cell_inactive(universe[i])} << i;
    return bits;
}

void inactive_columns(const double* universe, std::size_t n, std::vector<std::uint32_t>& columns) {
    // 64 cells are tested at once into a bit mask, and only the set bits are
    // visited: most columns are active, and a store per cell cost more.
    columns.clear();
    for (std::size_t start = 0; start < n; start += 64) {
        for (std::uint64_t bits = inactive_bits(universe + start, std::min<std::size_t>(64, n - start)); bits != 0;
             bits &= bits - 1) {
            columns.push_back(static_cast<std::uint32_t>(start + static_cast<std::size_t>(__builtin_ctzll(bits))));
        }
    }
}

}  // namespace qm
