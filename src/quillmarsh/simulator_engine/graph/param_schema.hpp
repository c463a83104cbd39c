// Reading a registry entry's parameter schema: its item forms (map entries,
// (name, constraint) pairs, maps, records), parameter names and types, default
// and required flags, and the name lists the configuration checks derive.
#pragma once

#include <utility>

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// The parameter types configuration literals can supply: frozenset of
// "float", "int", "string", "bool", "list".
nb::handle config_child_types();

// The schema itself, or an empty tuple when it is None.
nb::object iter_schema_items(nb::handle schema);

// (name, type) of one schema item; `fallback_name` when the item names no
// parameter, None when it declares no type.
std::pair<nb::object, nb::object> schema_param_name_and_type(nb::handle item, nb::handle fallback_name);

// The second element of a (name, constraint) pair, otherwise the item itself.
nb::object schema_param_constraint(nb::handle item);

// True when the constraint declares a default (a "default" key or attribute, whatever its value).
bool schema_param_has_default(nb::handle constraint);

// A required flag that is True or False decides; any other flag means
// "required unless a default is declared".
bool schema_param_required(nb::handle constraint);

// Names (str) of the schema parameters that configuration literals fill, in schema order.
nb::list config_param_names(nb::handle entry);

// Names (str) of the required parameters, data inputs excluded, in schema order.
nb::list required_config_param_names(nb::handle entry);

// The set of parameter names a registry entry's schema allows: the keys of a
// map schema, otherwise the non-empty `name` attributes of its items.
nb::set param_schema_names(nb::handle entry);

}  // namespace qm
