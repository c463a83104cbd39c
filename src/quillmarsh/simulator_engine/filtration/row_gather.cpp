#include "filtration/row_gather.hpp"

#include <cstring>

namespace qm {

void gather_rows(const std::vector<const double*>& sources, std::int64_t row, std::int64_t columns, double* out) {
    const size_t row_bytes = static_cast<size_t>(columns) * sizeof(double);
    for (size_t i = 0; i < sources.size(); ++i) {
        std::memcpy(out + static_cast<std::int64_t>(i) * columns, sources[i] + row * columns, row_bytes);
    }
}

}  // namespace qm
