// Building the engine's small Python classes (context, result, errors) from C++:
// a heap type created with type(name, bases, namespace) whose methods are
// nanobind functions bound as instance methods. Instances are ordinary Python
// objects, so attribute storage, pickling and copying behave as for any record.
#pragma once

#include <utility>

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

inline constexpr const char* kModuleName = "quillmarsh.simulator_engine.expression_evaluator";

// type(name, (base,), namespace) with __module__ set to the engine module.
inline nb::object make_class(const char* name, nb::handle base, nb::dict ns) {
    ns["__module__"] = kModuleName;
    ns["__qualname__"] = name;
    return nb::handle(reinterpret_cast<PyObject*>(&PyType_Type))(name, nb::make_tuple(base), ns);
}

// A C++ callable taking `self` first, wrapped so that it binds as a method.
template <typename Func, typename... Extra>
nb::object method(const char* name, Func&& f, const Extra&... extra) {
    nb::object fn = nb::cpp_function(std::forward<Func>(f), nb::name(name), extra...);
    PyObject* bound = PyInstanceMethod_New(fn.ptr());
    if (!bound) throw nb::python_error();
    return nb::steal(bound);
}

}  // namespace qm
