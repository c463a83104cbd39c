#include "host/errors.hpp"

namespace qm {

nb::object make_error(nb::handle cls, const std::string& message) {
    // Bytes that are not UTF-8 become escapes rather than a decoding error
    // that would stand in for the error being raised.
    nb::object text = nb::steal(
        PyUnicode_DecodeUTF8(message.data(), static_cast<Py_ssize_t>(message.size()), "backslashreplace"));
    if (!text.is_valid()) throw nb::python_error();
    return cls(text);
}

void throw_error(nb::handle exc) {
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exc.ptr())), exc.ptr());
    throw nb::python_error();
}

void raise_error(nb::handle cls, const std::string& message) { throw_error(make_error(cls, message)); }

void throw_error_from(nb::handle exc, const nb::python_error& cause) {
    nb::object value = nb::borrow(cause.value());
    PyException_SetCause(exc.ptr(), value.inc_ref().ptr());
    PyException_SetContext(exc.ptr(), value.inc_ref().ptr());
    throw_error(exc);
}

void raise_error_from(nb::handle cls, const std::string& message, const nb::python_error& cause) {
    throw_error_from(make_error(cls, message), cause);
}

bool error_is(const nb::python_error& err, nb::handle cls) {
    int r = PyObject_IsInstance(err.value().ptr(), cls.ptr());
    if (r < 0) throw nb::python_error();  // never leave the check's own error set
    return r == 1;
}

}  // namespace qm
