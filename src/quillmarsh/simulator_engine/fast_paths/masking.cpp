#include "fast_paths/masking.hpp"

#include "fast_paths/vector_clones.hpp"

namespace qm {

QM_VECTOR_CLONES
void mask_cells(const double* data, const double* universe, double* out, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) out[i] = universe_cell_inactive(universe[i]) ? NAN : data[i];
}

void inactive_columns(const double* universe, std::size_t n, std::vector<std::uint32_t>& columns) {
    // Every column is written, the count advances past the inactive ones: no branch per cell.
    columns.resize(n);
    std::size_t count = 0;
    for (std::size_t i = 0; i < n; ++i) {
        columns[count] = static_cast<std::uint32_t>(i);
        count += universe_cell_inactive(universe[i]) ? 1 : 0;
    }
    columns.resize(count);
}

}  // namespace qm
