// Column blocks for the window kernels that recompute every cell from the
// ring: a block of neighbouring columns keeps its running sums in registers
// while the kernel walks the window's rows, instead of loading and storing a
// row of sums per window row. Each column still sums its own values oldest to
// newest with the same operations, so the cells are the same bits as a plain
// column loop.
//
// A block is L groups of four columns (Lanes); the last n % 4 columns run one
// at a time with plain doubles through the same kernel code.
// Kernels built on blocks are compiled with QM_VECTOR_CLONES (AVX2 copies).
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "fast_paths/vector_clones.hpp"

#define QM_INLINE __attribute__((always_inline)) inline

namespace qm::ops {

using Lanes = double __attribute__((vector_size(4 * sizeof(double))));
using LaneBits = std::int64_t __attribute__((vector_size(4 * sizeof(double))));

template <class V>
constexpr std::int64_t lanes_of = std::is_same_v<V, Lanes> ? 4 : 1;

template <class V>
QM_INLINE V load(const double* p) {
    V v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <class V>
QM_INLINE void store(double* p, V v) {
    std::memcpy(p, &v, sizeof v);
}

template <class V>
QM_INLINE V splat(double value) {
    return V{} + value;
}

// `value` where the condition holds, 0.0 elsewhere.
QM_INLINE double select_value(bool condition, double value) { return condition ? value : 0.0; }

QM_INLINE Lanes select_value(LaneBits condition, double value) {
    LaneBits bits;
    const Lanes values = splat<Lanes>(value);
    std::memcpy(&bits, &values, sizeof bits);
    bits &= condition;
    Lanes out;
    std::memcpy(&out, &bits, sizeof out);
    return out;
}

// Calls block(j0, V{}, count) with count = L groups of four columns while
// they fit, then four columns at a time, then one column at a time (V double);
// count is a std::integral_constant so the block's loops over it unroll.
template <std::int64_t L, class Block>
QM_INLINE void for_column_blocks(std::int64_t n, Block&& block) {
    std::int64_t j0 = 0;
    for (; j0 + 4 * L <= n; j0 += 4 * L) block(j0, Lanes{}, std::integral_constant<std::int64_t, L>{});
    for (; j0 + 4 <= n; j0 += 4) block(j0, Lanes{}, std::integral_constant<std::int64_t, 1>{});
    for (; j0 < n; ++j0) block(j0, 0.0, std::integral_constant<std::int64_t, 1>{});
}

}  // namespace qm::ops
