// Python-facing masking operations built on the masking kernels.
#pragma once

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// `data` itself when `universe` is None; otherwise a new float64 array with the
// masking rule applied (data is never modified).
nb::object apply_universe_mask(nb::handle data, nb::handle universe);

// A new C-contiguous uint8 matrix of the universe's shape: 1 where live.
nb::object derive_universe_mask(nb::handle universe);

}  // namespace qm
