#include "host/pyutil.hpp"

namespace qm {

bool truthy(nb::handle obj) {
    int r = PyObject_IsTrue(obj.ptr());
    if (r < 0) throw nb::python_error();
    return r == 1;
}

bool is_none_or_empty(nb::handle obj) {
    if (obj.is_none()) return true;
    if (PyObject_HasAttrString(reinterpret_cast<PyObject*>(Py_TYPE(obj.ptr())), "__len__")) {
        return length_of(obj) == 0;
    }
    return !truthy(obj);
}

bool str_eq(nb::handle obj, const char* text) {
    return PyUnicode_Check(obj.ptr()) && PyUnicode_CompareWithASCIIString(obj.ptr(), text) == 0;
}

nb::object getattr_or_none(nb::handle obj, const char* name) {
    PyObject* value = nullptr;
    int r = PyObject_GetOptionalAttrString(obj.ptr(), name, &value);
    if (r < 0) throw nb::python_error();
    if (r == 0) return nb::none();
    return nb::steal(value);
}

bool has_attr(nb::handle obj, const char* name) {
    int r = PyObject_HasAttrStringWithError(obj.ptr(), name);
    if (r < 0) throw nb::python_error();
    return r == 1;
}

bool contains(nb::handle container, nb::handle key) {
    int r = PySequence_Contains(container.ptr(), key.ptr());
    if (r < 0) throw nb::python_error();
    return r == 1;
}

Py_ssize_t length_of(nb::handle obj) {
    Py_ssize_t n = PyObject_Length(obj.ptr());
    if (n < 0) throw nb::python_error();
    return n;
}

Py_ssize_t index_value(nb::handle obj) {
    Py_ssize_t n = PyNumber_AsSsize_t(obj.ptr(), PyExc_OverflowError);
    if (n == -1 && PyErr_Occurred()) throw nb::python_error();
    return n;
}

bool is_instance(nb::handle obj, nb::handle cls) {
    int r = PyObject_IsInstance(obj.ptr(), cls.ptr());
    if (r < 0) throw nb::python_error();
    return r == 1;
}

nb::list list_of(nb::handle iterable) {
    PyObject* out = PySequence_List(iterable.ptr());
    if (!out) throw nb::python_error();
    return nb::steal<nb::list>(out);
}

nb::set set_of(nb::handle iterable) {
    PyObject* out = PySet_New(iterable.ptr());
    if (!out) throw nb::python_error();
    return nb::steal<nb::set>(out);
}

bool compare(nb::handle a, nb::handle b, int op) {
    int r = PyObject_RichCompareBool(a.ptr(), b.ptr(), op);
    if (r < 0) throw nb::python_error();
    return r == 1;
}

nb::object larger(nb::handle a, nb::handle b) { return nb::borrow(compare(b, a, Py_GT) ? b : a); }

std::int64_t rows_within(nb::handle rows, std::int64_t limit) {
    if (!compare(rows, nb::int_(0), Py_GT)) return 0;
    if (!compare(rows, nb::int_(limit), Py_LT)) return limit;
    return nb::cast<std::int64_t>(rows);
}

nb::object frozenset_of(std::initializer_list<const char*> names) {
    nb::list items;
    for (const char* name : names) items.append(nb::str(name));
    PyObject* out = PyFrozenSet_New(items.ptr());
    if (!out) throw nb::python_error();
    return nb::steal(out);
}

namespace {
thread_local int guarded_walk_depth = 0;  // nesting of RecursionGuards on this thread
}  // namespace

RecursionGuard::RecursionGuard(const char* where) {
    // Python's own limit on C recursion (10,000 levels) assumes small frames; a
    // walk's frames are larger, so the walks stop at the interpreter's
    // recursion limit, as a recursive walk written in Python would.
    if (guarded_walk_depth >= Py_GetRecursionLimit()) {
        PyErr_Format(PyExc_RecursionError, "maximum recursion depth exceeded%s", where);
        throw nb::python_error();
    }
    if (Py_EnterRecursiveCall(where) != 0) throw nb::python_error();
    ++guarded_walk_depth;
}

RecursionGuard::~RecursionGuard() {
    --guarded_walk_depth;
    Py_LeaveRecursiveCall();
}

}  // namespace qm
