#include "host/format.hpp"

#include <algorithm>

#include "host/pyutil.hpp"

namespace qm {

namespace {

// UTF-8 bytes of a str; characters UTF-8 cannot carry (lone surrogates, as
// os.fsdecode gives for undecodable file names) are written as backslash
// escapes, so every str becomes message text.
std::string utf8_text(nb::handle text) {
    nb::object bytes = nb::steal(PyUnicode_AsEncodedString(text.ptr(), "utf-8", "backslashreplace"));
    if (!bytes.is_valid()) throw nb::python_error();
    return std::string(PyBytes_AS_STRING(bytes.ptr()), static_cast<size_t>(PyBytes_GET_SIZE(bytes.ptr())));
}

// str(obj) or repr(obj) as message text. When the object's own method raises an
// ordinary exception, a placeholder naming its type stands in (as Python's
// traceback printer does), so building a message never replaces the error the
// message reports.
std::string rendered(nb::handle obj, PyObject* (*render)(PyObject*)) {
    nb::object text = nb::steal(render(obj.ptr()));
    if (text.is_valid()) return utf8_text(text);
    if (!PyErr_ExceptionMatches(PyExc_Exception)) throw nb::python_error();
    PyErr_Clear();
    return "<unprintable " + type_name_of(obj) + " object>";
}

}  // namespace

std::string text_of(nb::handle obj) { return rendered(obj, PyObject_Str); }

std::string repr_of(nb::handle obj) { return rendered(obj, PyObject_Repr); }

std::string type_name_of(nb::handle obj) {
    nb::object name = nb::steal(PyType_GetName(Py_TYPE(obj.ptr())));
    if (!name.is_valid()) throw nb::python_error();
    return utf8_text(name);
}

std::string shape_text(const std::vector<long long>& dims) {
    std::string out = "(";
    for (size_t i = 0; i < dims.size(); ++i) {
        if (i) out += ", ";
        out += std::to_string(dims[i]);
    }
    if (dims.size() == 1) out += ",";
    return out + ")";
}

std::string shape_text_of(nb::handle array_like) {
    return text_of(tuple_of(array_like.attr("shape")));
}

std::string joined_sorted(std::vector<std::string> names) {
    std::sort(names.begin(), names.end());
    std::string out;
    for (size_t i = 0; i < names.size(); ++i) {
        if (i) out += ", ";
        out += names[i];
    }
    return out;
}

}  // namespace qm
