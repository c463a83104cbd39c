#include "fast_paths/masking.hpp"

#include "fast_paths/vector_clones.hpp"

namespace qm {

QM_VECTOR_CLONES
void mask_cells(const double* data, const double* universe, double* out, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) out[i] = universe_cell_inactive(universe[i]) ? NAN : data[i];
}

}  // namespace qm
