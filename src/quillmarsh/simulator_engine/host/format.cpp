#include "host/format.hpp"

#include <algorithm>

namespace qm {

std::string text_of(nb::handle obj) { return nb::str(obj).c_str(); }

std::string repr_of(nb::handle obj) { return nb::repr(obj).c_str(); }

std::string type_name_of(nb::handle obj) {
    return nb::str(nb::handle(reinterpret_cast<PyObject*>(Py_TYPE(obj.ptr()))).attr("__name__")).c_str();
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
    return text_of(nb::tuple(array_like.attr("shape")));
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
