#include "evaluator/general_evaluator.hpp"

#include <algorithm>
#include <cmath>

#include "evaluator/general_evaluation.hpp"
#include "evaluator/preparation.hpp"
#include "evaluator/program.hpp"
#include "evaluator/repeated_nodes.hpp"
#include "evaluator/result.hpp"
#include "evaluator/row_loop.hpp"
#include "evaluator/states.hpp"
#include "host/arrays.hpp"

namespace qm {

namespace {

void prepare(GeneralEvaluation& ev) {
    build_node_tables(ev);
    check_feature_shapes(ev);
    check_function_state_keys(ev);
    allocate_evaluation(ev);
    if (!ev.options.function_states.is_none() && ev.options.is_cold_start) prefill_cold_start(ev);
    apply_instance_warmup(ev);
}

// Publishes the working buffers in the context and blanks the warm-up rows.
void finish_rows(GeneralEvaluation& ev) {
    ev.context.attr("registers") = ev.local_registers;
    if (!ev.local_extraction_buffer.is_none()) ev.context.attr("extraction_buffer") = ev.local_extraction_buffer;
    if (ev.root_warmup_rows == 0) return;
    double* output = float64_data(ev.output_weights);
    std::fill(output, output + ev.root_warmup_rows * ev.N, NAN);
}

}  // namespace

nb::object run_general_evaluator(nb::handle graph, nb::handle context, const EvaluationOptions& options,
                                 std::int64_t T, std::int64_t N) {
    GeneralEvaluation ev(graph, context, options, T, N);
    prepare(ev);
    Program program = compile_program(ev);
    run_row_loop(ev, program);
    copy_repeated_states(program);
    finish_rows(ev);
    nb::dict states = collect_states(ev);
    return make_result(ev.output_weights, states, ev.provenance.nan_source(), ev.node_outputs);
}

}  // namespace qm
