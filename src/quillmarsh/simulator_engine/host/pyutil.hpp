// Small helpers over the Python object protocol, shared by every subsystem.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include <nanobind/nanobind.h>
#include <nanobind/stl/string.h>

namespace nb = nanobind;

namespace qm {

// Truth value of a Python object; errors propagate.
bool truthy(nb::handle obj);

// "Absent or empty": None, an object of length 0, or (for objects without a
// length) a false truth value.
bool is_none_or_empty(nb::handle obj);

// True when `obj` is a str equal to `text`.
bool str_eq(nb::handle obj, const char* text);

// getattr(obj, name, None); errors other than AttributeError propagate.
nb::object getattr_or_none(nb::handle obj, const char* name);

// hasattr(obj, name); errors other than AttributeError propagate.
bool has_attr(nb::handle obj, const char* name);

// `key in container`; errors propagate.
bool contains(nb::handle container, nb::handle key);

// len(obj); errors propagate.
Py_ssize_t length_of(nb::handle obj);

// operator.index(obj) as a C++ integer; errors propagate.
Py_ssize_t index_value(nb::handle obj);

// sequence[i] with the bounds checked (IndexError past the end); for tuples and
// lists from callers, whose unchecked indexing would read past the end.
nb::object item_at(nb::handle sequence, Py_ssize_t i);

// The integers of obj.shape; errors propagate.
std::vector<long long> shape_dims(nb::handle array_like);

// isinstance(obj, cls); errors propagate.
bool is_instance(nb::handle obj, nb::handle cls);

// list(iterable); errors propagate.
nb::list list_of(nb::handle iterable);

// tuple(iterable), always a real tuple (nb::tuple built from an accessor would
// take a list as it is and index it as a tuple); errors propagate.
nb::tuple tuple_of(nb::handle iterable);

// set(iterable); errors propagate.
nb::set set_of(nb::handle iterable);

// The rich comparison `a op b` (op one of Py_LT, Py_EQ, ...) as a bool; errors propagate.
bool compare(nb::handle a, nb::handle b, int op);

// max(a, b) of two comparable objects (a when they are equal); errors propagate.
nb::object larger(nb::handle a, nb::handle b);

// A Python int of rows clamped to [0, limit] as a C++ integer.
std::int64_t rows_within(nb::handle rows, std::int64_t limit);

// A new frozenset of the given strings.
nb::object frozenset_of(std::initializer_list<const char*> names);

// Guards a recursive walk over caller-built trees: a cycle, a tree deeper than
// sys.getrecursionlimit(), or one deeper than the thread's stack can hold raises
// RecursionError instead of exhausting the C stack.
class RecursionGuard {
public:
    explicit RecursionGuard(const char* where);
    ~RecursionGuard();
    RecursionGuard(const RecursionGuard&) = delete;
    RecursionGuard& operator=(const RecursionGuard&) = delete;
};

}  // namespace qm
