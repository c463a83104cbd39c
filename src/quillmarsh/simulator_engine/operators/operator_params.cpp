#include "operators/operator_params.hpp"

#include <algorithm>
#include <cmath>
#include <string>

#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/messages.hpp"

namespace qm::ops {

namespace {

[[noreturn]] void raise_type(const std::string& message) { raise_error(nb::handle(PyExc_TypeError), message); }

[[noreturn]] void raise_value(const std::string& message) { raise_error(nb::handle(PyExc_ValueError), message); }

std::string not_an_integer(const ParamSpec& param, nb::handle value) {
    return msg::param_not_integer(param.name, repr_of(value));
}

// A window given as an integer: anything with __index__, never a bool.
nb::object index_of(const ParamSpec& param, nb::handle value) {
    if (PyBool_Check(value.ptr())) raise_type(not_an_integer(param, value));
    PyObject* index = PyNumber_Index(value.ptr());
    if (!index) {
        PyErr_Clear();
        raise_type(not_an_integer(param, value));
    }
    return nb::steal(index);
}

// A window of at least 1, saturated at kWindowLimit: a run never gets that far,
// so every longer window means the same thing (every row stays warm-up NaN).
std::int64_t window_value(const ParamSpec& param, nb::handle value) {
    if (PyFloat_Check(value.ptr())) {
        const double raw = PyFloat_AS_DOUBLE(value.ptr());
        if (!std::isfinite(raw)) raise_value(msg::param_not_finite(param.name, repr_of(value)));
        // Floored: the usual rule of formulaic alphas.
        const double floored = std::floor(raw);
        if (floored < 1.0) raise_value(msg::param_below_one(param.name, repr_of(value)));
        return floored >= static_cast<double>(kWindowLimit) ? kWindowLimit : static_cast<std::int64_t>(floored);
    }
    nb::object index = index_of(param, value);
    int overflow = 0;
    const long long length = PyLong_AsLongLongAndOverflow(index.ptr(), &overflow);
    if (length == -1 && PyErr_Occurred()) throw nb::python_error();
    if (overflow < 0 || (overflow == 0 && length < 1)) raise_value(msg::param_below_one(param.name, repr_of(value)));
    return overflow > 0 ? kWindowLimit : std::min<std::int64_t>(length, kWindowLimit);
}

double number_value(const ParamSpec& param, nb::handle value) {
    const std::string message = msg::param_not_number(param.name, repr_of(value));
    PyObject* raw = value.ptr();
    if (PyBool_Check(raw) || PyUnicode_Check(raw) || PyBytes_Check(raw)) raise_type(message);
    const double out = PyFloat_AsDouble(raw);
    if (out == -1.0 && PyErr_Occurred()) {
        PyErr_Clear();
        raise_type(message);
    }
    return out;
}

double converted_value(const ParamSpec& param, nb::handle value) {
    switch (param.kind) {
        case ParamKind::Window: return static_cast<double>(window_value(param, value));
        case ParamKind::Number: return number_value(param, value);
    }
    return 0.0;
}

void check_known_names(const OperatorSpec& declaration, nb::dict config) {
    for (auto [key, value] : config) {
        bool known = false;
        for (const ParamSpec& param : declaration.params) known = known || text_of(key) == param.name;
        if (!known) raise_type(msg::operator_param_unknown(declaration.name, repr_of(key)));
    }
}

}  // namespace

nb::object param_object(ParamKind kind, double value) {
    if (kind == ParamKind::Number) return nb::float_(value);
    return nb::int_(static_cast<long long>(value));
}

OperatorParams convert_params(const OperatorSpec& declaration, nb::handle config) {
    if (!PyDict_Check(config.ptr())) raise_type(msg::operator_config_type(type_name_of(config)));
    nb::dict given = nb::borrow<nb::dict>(config);
    check_known_names(declaration, given);
    OperatorParams out;
    for (const ParamSpec& param : declaration.params) {
        nb::str key(param.name);
        if (!given.contains(key)) {
            if (!param.has_default) raise_type(msg::operator_param_missing(declaration.name, param.name));
            out.values.push_back(param.default_value);
            out.config[key] = param_object(param.kind, param.default_value);
            continue;
        }
        const double converted = converted_value(param, given[key]);
        out.values.push_back(converted);
        out.config[key] = param_object(param.kind, converted);
    }
    return out;
}

}  // namespace qm::ops
