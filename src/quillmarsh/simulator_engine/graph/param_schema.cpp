#include "graph/param_schema.hpp"

#include <string>

#include "host/pyutil.hpp"

namespace qm {

namespace {

bool is_pair(nb::handle item) { return PyTuple_Check(item.ptr()) && PyTuple_GET_SIZE(item.ptr()) == 2; }

bool is_map(nb::handle obj) { return PyDict_Check(obj.ptr()); }

// map.get(key, fallback)
nb::object map_get(nb::handle map, const char* key, nb::handle fallback) {
    PyObject* value = nullptr;
    int r = PyDict_GetItemStringRef(map.ptr(), key, &value);
    if (r < 0) throw nb::python_error();
    return r == 0 ? nb::borrow(fallback) : nb::steal(value);
}

// getattr(obj, name, fallback)
nb::object attr_get(nb::handle obj, const char* name, nb::handle fallback) {
    PyObject* value = nullptr;
    int r = PyObject_GetOptionalAttrString(obj.ptr(), name, &value);
    if (r < 0) throw nb::python_error();
    return r == 0 ? nb::borrow(fallback) : nb::steal(value);
}

// A constraint's key of a map, otherwise its attribute; None when missing.
nb::object constraint_field(nb::handle constraint, const char* key) {
    return is_map(constraint) ? map_get(constraint, key, nb::none()) : attr_get(constraint, key, nb::none());
}

// The entry's schema items: the (name, constraint) pairs of a map schema,
// otherwise the schema's elements, collected first.
nb::list schema_items(nb::handle entry) {
    nb::object schema = getattr_or_none(entry, "param_schema");
    if (is_map(schema)) {
        PyObject* pairs = PyDict_Items(schema.ptr());
        if (!pairs) throw nb::python_error();
        return nb::steal<nb::list>(pairs);
    }
    return list_of(iter_schema_items(schema));
}

// "param_{idx}": the name of a schema item that names no parameter.
nb::str positional_name(size_t idx) { return nb::str(("param_" + std::to_string(idx)).c_str()); }

}  // namespace

nb::handle config_child_types() {
    static nb::handle types = frozenset_of({"float", "int", "string", "bool", "list"}).release();
    return types;
}

nb::object iter_schema_items(nb::handle schema) {
    if (schema.is_none()) return nb::tuple();
    return nb::borrow(schema);
}

std::pair<nb::object, nb::object> schema_param_name_and_type(nb::handle item, nb::handle fallback_name) {
    if (is_pair(item)) {
        nb::handle constraint = PyTuple_GET_ITEM(item.ptr(), 1);
        nb::object type = PyUnicode_Check(constraint.ptr()) ? nb::borrow(constraint)
                                                             : constraint_field(constraint, "type");
        return {nb::borrow(PyTuple_GET_ITEM(item.ptr(), 0)), type};
    }
    if (is_map(item)) return {map_get(item, "name", fallback_name), map_get(item, "type", nb::none())};
    return {attr_get(item, "name", fallback_name), attr_get(item, "type", nb::none())};
}

nb::object schema_param_constraint(nb::handle item) {
    if (is_pair(item)) return nb::borrow(PyTuple_GET_ITEM(item.ptr(), 1));
    return nb::borrow(item);
}

bool schema_param_has_default(nb::handle constraint) {
    if (!is_map(constraint)) return has_attr(constraint, "default");
    int r = PyDict_Contains(constraint.ptr(), nb::str("default").ptr());
    if (r < 0) throw nb::python_error();
    return r == 1;
}

bool schema_param_required(nb::handle constraint) {
    nb::object flag = constraint_field(constraint, "required");
    if (flag.ptr() == Py_True) return true;
    if (flag.ptr() == Py_False) return false;
    return !schema_param_has_default(constraint);
}

nb::list config_param_names(nb::handle entry) {
    nb::list names;
    size_t idx = 0;
    for (nb::handle item : schema_items(entry)) {
        auto [name, type] = schema_param_name_and_type(item, positional_name(idx++));
        if (contains(config_child_types(), type) && truthy(name)) names.append(nb::str(name));
    }
    return names;
}

nb::list required_config_param_names(nb::handle entry) {
    nb::list names;
    size_t idx = 0;
    for (nb::handle item : schema_items(entry)) {
        auto [name, type] = schema_param_name_and_type(item, positional_name(idx++));
        if (str_eq(type, "data") || !truthy(name)) continue;
        if (schema_param_required(schema_param_constraint(item))) names.append(nb::str(name));
    }
    return names;
}

nb::set param_schema_names(nb::handle entry) {
    nb::object schema = getattr_or_none(entry, "param_schema");
    nb::set names;
    if (is_map(schema)) {
        for (nb::handle key : schema) names.add(key);
        return names;
    }
    for (nb::handle item : iter_schema_items(schema)) {
        nb::object name = getattr_or_none(item, "name");
        if (truthy(name)) names.add(name);
    }
    return names;
}

}  // namespace qm
