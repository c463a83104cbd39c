// Longitudinal fast path: a chain of built-in rolling statistics over one
// loaded feature, on runs of at least kLongitudinalFastMinRows rows, is
// evaluated with the whole-matrix rolling kernel instead of per-row instances.
#pragma once

#include <cstdint>
#include <string>

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

inline constexpr std::int64_t kLongitudinalFastMinRows = 100000;

// The function names the rolling kernel implements, as a frozenset.
nb::object longitudinal_fast_names();

bool can_use_longitudinal_fast_path(nb::handle graph, nb::handle context, nb::handle function_states,
                                    std::int64_t rows, nb::handle data_nan_features);

// True only for a registry that knows `name` but exposes no implementation of
// it (a bare stub entry).
bool registry_allows_stub_fast_path(nb::handle registry, nb::handle name);

// The window the general evaluator would create the rolling instance of `node`
// (at `path`) with, as an int; None when it could not create one (a
// configuration other than a single integer window of at least 1, bools
// refused), so that the general evaluator reports the error and a graph never
// evaluates on one path while failing on the other.
nb::object longitudinal_window(nb::handle registry, nb::handle node, const std::string& path);

// The chain's (T, N_alloc) float64 C-contiguous result.
nb::object evaluate_longitudinal_fast(nb::handle graph, nb::handle context);

// One level of the chain: a masked feature matrix, or the rolling statistic
// of the node's evaluated data child.
nb::object evaluate_longitudinal_fast_node(nb::handle node, nb::handle context);

}  // namespace qm
