#include "host/pyutil.hpp"

#include <pthread.h>

#include <cstdint>

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

nb::object item_at(nb::handle sequence, Py_ssize_t i) {
    PyObject* item = PySequence_GetItem(sequence.ptr(), i);
    if (!item) throw nb::python_error();
    return nb::steal(item);
}

std::vector<long long> shape_dims(nb::handle array_like) {
    nb::tuple shape = tuple_of(array_like.attr("shape"));
    std::vector<long long> dims;
    for (nb::handle dim : shape) dims.push_back(index_value(dim));
    return dims;
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

nb::tuple tuple_of(nb::handle iterable) {
    PyObject* out = PySequence_Tuple(iterable.ptr());
    if (!out) throw nb::python_error();
    return nb::steal<nb::tuple>(out);
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

// Stack kept free below the deepest walk level: room for the calls one level
// makes into the interpreter and user code (registry, feature_index, instance
// constructors), which run on the same C stack.
constexpr std::uintptr_t kStackReserveBytes = 96 * 1024;

// Lowest usable address of this thread's stack, or 0 when unknown. Threads may
// be started with small stacks (threading.stack_size), so the walk depth is
// bounded by the real stack rather than by a level count alone.
std::uintptr_t stack_floor() {
#if defined(__GLIBC__)
    thread_local std::uintptr_t lowest_usable = [] {
        pthread_attr_t attr;
        if (pthread_getattr_np(pthread_self(), &attr) != 0) return std::uintptr_t{0};
        void* base = nullptr;
        size_t size = 0;
        int rc = pthread_attr_getstack(&attr, &base, &size);
        pthread_attr_destroy(&attr);
        return rc == 0 ? reinterpret_cast<std::uintptr_t>(base) + kStackReserveBytes : std::uintptr_t{0};
    }();
    return lowest_usable;
#else
    return 0;  // no portable way to read the stack bounds: the level count alone applies
#endif
}

bool stack_nearly_exhausted() {
    std::uintptr_t here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    std::uintptr_t lowest_usable = stack_floor();
    return lowest_usable != 0 && here < lowest_usable;
}

}  // namespace

RecursionGuard::RecursionGuard(const char* where) {
    // Python's own limit on C recursion (10,000 levels) assumes small frames; a
    // walk's frames are larger, so the walks stop at the interpreter's
    // recursion limit, as a recursive walk written in Python would, or earlier
    // when the thread's stack is about to run out.
    if (guarded_walk_depth >= Py_GetRecursionLimit() || stack_nearly_exhausted()) {
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
