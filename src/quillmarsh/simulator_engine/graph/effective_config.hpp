// The effective configuration of a function node: its explicit config plus the
// values of its configuration-literal children.
#pragma once

#include <string>

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

struct EffectiveConfig {
    nb::dict config;              // parameter name -> value
    nb::set config_child_paths;   // identities of the children consumed as configuration
};

// Literal children fill the registry schema's configuration parameters by
// position; once those run out (or the registry does not know the function),
// int, string and bool children fall back to "window", "pnl_column" (or
// "stat_name") and "invert".
EffectiveConfig effective_config(nb::handle registry, nb::handle node, nb::handle function_name,
                                 const std::string& path);

}  // namespace qm
