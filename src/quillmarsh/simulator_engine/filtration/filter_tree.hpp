// Graph-form filter trees: conversion to the filtration engine's FilterNode
// trees and the short description used in error messages.
#pragma once

#include <string>

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// The filter node kinds: frozenset of "filtration" and the 15 operator names.
nb::handle filtration_node_types();

// A FilterNode tree for the graph-form filter tree rooted at `graph_node`.
nb::object dict_to_filter_node(nb::handle graph_node, const std::string& path = "filtration");

// A human-readable description such as "and_(gt(close, 5.0), top_pct)".
std::string describe_dict_filter(nb::handle node, const std::string& path = "filtration");

}  // namespace qm
