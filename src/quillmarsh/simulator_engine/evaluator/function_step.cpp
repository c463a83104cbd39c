// Function nodes of the per-row loop: the instance called with one row vector
// per data child (register views for bound instances, fresh copies otherwise).
#include <vector>

#include "evaluator/node_steps.hpp"
#include "evaluator/row_arrays.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"

namespace qm {

namespace {

constexpr std::size_t kInlineArguments = 8;

// Owns the argument vector of one call, with the leading slot that
// PY_VECTORCALL_ARGUMENTS_OFFSET lets the callee use.
class CallArguments {
public:
    explicit CallArguments(std::size_t count) {
        if (count + 2 > kInlineArguments) heap_.resize(count + 2);
        slots_ = heap_.empty() ? inline_ : heap_.data();
        slots_[0] = nullptr;
    }
    ~CallArguments() {
        for (std::size_t i = 0; i < owned_; ++i) Py_DECREF(slots_[1 + i]);
    }
    CallArguments(const CallArguments&) = delete;
    CallArguments& operator=(const CallArguments&) = delete;

    void add_owned(PyObject* arg) {
        if (!arg) throw nb::python_error();
        slots_[1 + owned_++] = arg;
    }
    void add_borrowed_last(PyObject* arg) { slots_[1 + owned_] = arg; }
    PyObject* const* args() const { return slots_ + 1; }

private:
    PyObject* inline_[kInlineArguments];
    std::vector<PyObject*> heap_;
    PyObject** slots_;
    std::size_t owned_ = 0;
};

}  // namespace

void raise_instance_failure(const Instruction& ins, std::int64_t t) {
    nb::python_error caught;
    if (!caught.matches(PyExc_Exception)) throw caught;
    raise_error_from(host().FunctionExecutionError, msg::function_failed(text_of(ins.name), t, text_of(caught.value())),
                     caught);
}

void run_rotation(GeneralEvaluation& ev, Program& program, Instruction& ins, std::int64_t t) {
    const std::size_t count = ins.arg_regs.size();
    CallArguments call(count);
    for (std::int64_t reg : ins.arg_regs) {
        double* row = program.row(reg);
        call.add_owned(program.views ? new_row_view(ev.local_registers.ptr(), row, program.n)
                                     : new_row_copy(row, program.n));
    }
    PyObject* kwnames = nullptr;
    if (ins.pass_context) {
        call.add_borrowed_last(ev.context.ptr());
        kwnames = program.context_kwnames.ptr();
    }
    PyObject* result =
        PyObject_Vectorcall(ins.instance.ptr(), call.args(), count | PY_VECTORCALL_ARGUMENTS_OFFSET, kwnames);
    if (!result) raise_instance_failure(ins, t);
    store_function_result(ev, program, ins, nb::steal(result), t);
}

}  // namespace qm
