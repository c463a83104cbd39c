// Python face of the native operators: the NativeFunction class and the
// operator table, the one description of every operator that the registry and
// the text form read.
#include <nanobind/nanobind.h>
#include <nanobind/stl/string.h>

#include "host/messages.hpp"
#include "operators/native_function.hpp"
#include "operators/operator_params.hpp"

namespace nb = nanobind;
using namespace nb::literals;

namespace qm {

namespace {

using ops::NativeFunction;

const char* schema_type(ops::ParamKind kind) { return kind == ops::ParamKind::Number ? "float" : "int"; }

nb::object schema_of(const ops::OperatorSpec& declaration) {
    if (declaration.params.empty()) return nb::none();
    nb::list schema;
    for (const ops::ParamSpec& param : declaration.params) {
        nb::dict item;
        item["name"] = param.name;
        item["type"] = schema_type(param.kind);
        if (param.has_default) {
            item["default"] = ops::param_object(param.kind, param.default_value);
        }
        schema.append(item);
    }
    return schema;
}

nb::list operator_table_rows() {
    nb::list rows;
    for (const ops::OperatorSpec& declaration : ops::operator_table()) {
        nb::dict row;
        row["name"] = declaration.name;
        row["alias"] = declaration.alias;
        row["family"] = declaration.family;
        row["arity"] = declaration.arity;
        row["stateful"] = declaration.stateful;
        row["param_schema"] = schema_of(declaration);
        rows.append(row);
    }
    return rows;
}

nb::object window_of(NativeFunction& self) {
    if (!self.declaration().stateful) throw nb::attribute_error(msg::operator_without_window().c_str());
    return nb::int_(self.row_operator().window());
}

}  // namespace

void export_operators(nb::module_& m) {
    nb::class_<NativeFunction>(m, "NativeFunction")
        .def("__init__",
             [](NativeFunction* self, const std::string& name, nb::kwargs config) {
                 new (self) NativeFunction(name, config);
             },
             "name"_a, "config"_a)
        .def_prop_ro("name", [](NativeFunction& self) { return std::string(self.declaration().name); })
        .def_prop_ro("alias", [](NativeFunction& self) { return std::string(self.declaration().alias); })
        .def_prop_ro("family", [](NativeFunction& self) { return std::string(self.declaration().family); })
        .def_prop_ro("arity", [](NativeFunction& self) { return self.declaration().arity; })
        .def_prop_ro("stateful", [](NativeFunction& self) { return self.declaration().stateful; })
        .def_prop_ro("window", &window_of)
        .def_prop_ro("config", [](NativeFunction& self) { return self.config(); })
        .def("__call__", &NativeFunction::call, "rows"_a, "kwargs"_a)
        .def("get_state", &NativeFunction::get_state)
        .def("set_state", &NativeFunction::set_state, "data"_a)
        .def("__getstate__",
             [](NativeFunction& self) {
                 return nb::make_tuple(self.declaration().name, self.config(), self.get_state());
             })
        .def("__setstate__",
             [](NativeFunction* self, nb::tuple saved) {
                 if (saved.size() != 3) throw nb::value_error(msg::pickled_native_function().c_str());
                 // Built and restored before it takes the place of `self`, so that a
                 // refused state leaves nothing half made.
                 NativeFunction restored(nb::cast<std::string>(saved[0]), saved[1]);
                 restored.set_state(saved[2]);
                 new (self) NativeFunction(std::move(restored));
             })
        .def("__repr__", [](NativeFunction& self) {
            return std::string("NativeFunction(") + nb::repr(nb::str(self.declaration().name)).c_str() + ", **" +
                   nb::repr(self.config()).c_str() + ")";
        });
    m.def("_operator_table", &operator_table_rows);
}

}  // namespace qm
