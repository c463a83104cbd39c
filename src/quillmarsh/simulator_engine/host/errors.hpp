// Raising host errors from C++: every engine error is a Python exception set
// with the C API and carried out of C++ frames as nb::python_error.
#pragma once

#include <string>

#include <nanobind/nanobind.h>

namespace nb = nanobind;

namespace qm {

// A new exception instance of `cls` built with one message.
nb::object make_error(nb::handle cls, const std::string& message);

// Raises `exc` (an exception instance) as the current Python error.
[[noreturn]] void throw_error(nb::handle exc);

// Raises `cls(message)`.
[[noreturn]] void raise_error(nb::handle cls, const std::string& message);

// Raises `cls(message)` with the caught error as its __cause__.
[[noreturn]] void raise_error_from(nb::handle cls, const std::string& message, const nb::python_error& cause);

// Raises `exc` with the caught error as its __cause__.
[[noreturn]] void throw_error_from(nb::handle exc, const nb::python_error& cause);

// True when the caught error is an instance of `cls`.
bool error_is(const nb::python_error& err, nb::handle cls);

}  // namespace qm
