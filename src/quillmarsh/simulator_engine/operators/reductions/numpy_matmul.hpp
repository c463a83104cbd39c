// The weighted sum of a PnL-weighted reduction, `weights[used] @ rows[used]`
// for used = weights > 0, computed by NumPy's matmul ufunc.
//
// NumPy hands this product to BLAS (gemv), whose summation order (blocks of
// columns, fused multiply-add) depends on the machine's kernel, so no loop of
// ours reproduces it everywhere. The used weights and rows are copied into
// new contiguous NumPy arrays, as the fancy indexing of the NumPy expression
// makes them, and numpy.matmul (looked up once at import) is called on them
// from C++: no Python frame, the same kernel and the same bits as NumPy.
//
// Needs the GIL. Throws nb::python_error when NumPy fails (out of memory).
#pragma once

#include <cstdint>

namespace qm::ops {

// out[j] = sum over k with weights[k] > 0 of weights[k] * rows[k, j], for the
// (signals, n) C-contiguous matrix `rows`.
void positive_weighted_sum(const double* weights, const double* rows, std::int64_t signals, std::int64_t n,
                           double* out);

}  // namespace qm::ops
