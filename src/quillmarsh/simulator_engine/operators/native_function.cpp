#include "operators/native_function.hpp"

#include <cstring>

#include "host/arrays.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/messages.hpp"
#include "operators/operator_params.hpp"
#include "operators/operator_state.hpp"

namespace qm::ops {

namespace {

const OperatorSpec& declaration_named(const std::string& name) {
    for (const OperatorSpec& declaration : operator_table()) {
        if (name == declaration.name) return declaration;
    }
    raise_error(nb::handle(PyExc_KeyError), msg::unknown_operator(name));
}

std::string shape_of(std::int64_t n) { return shape_text({static_cast<long long>(n)}); }

}  // namespace

NativeFunction::NativeFunction(const std::string& name, nb::handle config) : declaration_(&declaration_named(name)) {
    OperatorParams params = convert_params(*declaration_, config);
    params_ = std::move(params.values);
    config_ = std::move(params.config);
    op_ = declaration_->make(params_);
}

nb::object NativeFunction::call(nb::args rows, nb::kwargs kwargs) {
    for (auto [key, value] : kwargs) {
        if (text_of(key) == "context") continue;
        raise_error(nb::handle(PyExc_TypeError), msg::operator_keyword(declaration_->name, repr_of(key)));
    }
    if (rows.size() != declaration_->arity) {
        const std::string message = msg::operator_row_count(declaration_->name, declaration_->arity, rows.size());
        raise_error(nb::handle(PyExc_ValueError), message);
    }
    std::vector<nb::object> arrays;
    std::vector<const double*> inputs;
    std::int64_t n = -1;  // every operator takes at least one row, which sets it
    for (nb::handle row : rows) {
        nb::object array = as_float64_contiguous(row);
        std::vector<std::int64_t> dims = dims_of(array);
        if (dims.size() != 1) {
            const std::string shape = shape_text({dims.begin(), dims.end()});
            raise_error(nb::handle(PyExc_ValueError), msg::operator_row_not_vector(shape));
        }
        if (n >= 0 && dims[0] != n) {
            raise_error(nb::handle(PyExc_ValueError), msg::operator_rows_unequal(shape_of(n), shape_of(dims[0])));
        }
        n = dims[0];
        inputs.push_back(float64_data(array));
        arrays.push_back(std::move(array));
    }
    const std::string mismatch = row_width_mismatch(*op_, n);
    if (!mismatch.empty()) raise_error(nb::handle(PyExc_ValueError), mismatch);
    nb::object out = empty_float64({n});
    op_->step(inputs.data(), float64_data(out), n);
    return out;
}

nb::dict NativeFunction::get_state() { return state_payload(*op_); }

void NativeFunction::set_state(nb::handle data) { op_ = restored_operator(*declaration_, params_, data); }

std::string row_width_mismatch(const RowOperator& op, std::int64_t n) {
    if (fits_row_width(op, n)) return {};
    return msg::operator_row_width(shape_of(op.width()), shape_of(n));
}

RowOperator* native_operator_of(nb::handle instance) {
    NativeFunction* native = nullptr;
    if (!nb::try_cast<NativeFunction*>(instance, native) || native == nullptr) return nullptr;
    return &native->row_operator();
}

const NativeFunction* native_function_of(nb::handle instance) {
    NativeFunction* native = nullptr;
    if (!nb::try_cast<NativeFunction*>(instance, native)) return nullptr;
    return native;
}

std::size_t native_arity_of(nb::handle instance) {
    NativeFunction* native = nullptr;
    if (!nb::try_cast<NativeFunction*>(instance, native) || native == nullptr) return 0;
    return native->declaration().arity;
}

}  // namespace qm::ops
