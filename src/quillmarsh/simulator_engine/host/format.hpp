// Text forms used in messages: the one place that writes shapes, type names,
// name lists and values the way the host prints them.
#pragma once

#include <string>
#include <vector>

#include <nanobind/nanobind.h>
#include <nanobind/stl/string.h>

namespace nb = nanobind;

namespace qm {

// str(obj) as UTF-8 message text, whatever the str holds; never fails on an
// object whose __str__ raises (a placeholder naming its type stands in).
std::string text_of(nb::handle obj);

// repr(obj), with the same guarantees as text_of.
std::string repr_of(nb::handle obj);

// type(obj).__name__
std::string type_name_of(nb::handle obj);

// A shape written as the host prints a tuple of dimensions: "(250, 40)", "(40,)".
std::string shape_text(const std::vector<long long>& dims);

// The shape of an object with a `shape` attribute, written as above.
std::string shape_text_of(nb::handle array_like);

// Names sorted ascending and joined with ", ".
std::string joined_sorted(std::vector<std::string> names);

}  // namespace qm
