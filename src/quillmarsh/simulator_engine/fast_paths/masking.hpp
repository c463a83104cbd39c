// The engine's single universe-masking rule and the derived live-cell mask.
//
// Masking: a data cell becomes NaN where its universe value equals 0.0 (either
// sign) or is NaN; infinite universe values count as live. Every path that
// masks data (fast paths and the per-row loop) goes through mask_cells, so all
// of them give identical cells.
//
// Live mask: the uint8 matrix stored as `universe_mask`, 1 where the universe
// value is finite and not 0.0 (infinities are inactive here, unlike masking).
//
// Kernels run without the GIL and touch no Python object.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qm {

inline bool universe_cell_inactive(double u) { return u == 0.0 || std::isnan(u); }

inline bool universe_cell_live_for_mask(double u) { return std::isfinite(u) && u != 0.0; }

// out[i] = NaN where universe[i] is inactive, data[i] otherwise. `out` may alias `data`.
void mask_cells(const double* data, const double* universe, double* out, std::size_t n);

// The columns whose universe value is inactive, in order: setting those cells
// of a row to NaN masks it as mask_cells does, touching only those cells.
void inactive_columns(const double* universe, std::size_t n, std::vector<std::uint32_t>& columns);

inline void blank_columns(double* row, const std::vector<std::uint32_t>& columns) {
    for (std::uint32_t column : columns) row[column] = NAN;
}

// mask[i] = 1 where universe[i] is finite and non-zero, else 0.
inline void derive_live_mask(const double* universe, std::uint8_t* mask, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) mask[i] = universe_cell_live_for_mask(universe[i]) ? 1 : 0;
}

}  // namespace qm
