// Row gather kernel: copies one row of several matrices into consecutive rows
// of an output matrix.
//
// Inputs: `sources`, pointers to C-contiguous float64 matrices of `columns`
// columns, each with more than `row` rows (checked by the caller); `out`, a
// C-contiguous float64 buffer of sources.size() * columns values.
// Output: row i of `out` is row `row` of sources[i], copied bit for bit (NaN kept).
// O(sources.size() * columns). Runs without the GIL, touches no Python object.
#pragma once

#include <cstdint>
#include <vector>

namespace qm {

void gather_rows(const std::vector<const double*>& sources, std::int64_t row, std::int64_t columns, double* out);

}  // namespace qm
