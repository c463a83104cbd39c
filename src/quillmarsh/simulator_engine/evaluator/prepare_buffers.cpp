// Registers, evaluation order, warm-up rows and every matrix the per-row loop
// writes, allocated once per evaluation.
#include "evaluator/preparation.hpp"

#include "host/arrays.hpp"
#include "warmup/warmup.hpp"

namespace qm {

namespace {

void assign_registers(GeneralEvaluation& ev) {
    for (auto [path, record] : ev.tables.node_info) ev.reg_map[path] = ev.next_reg++;
    ev.tables.topo_order = nb::list();
    topo_sort(ev.tables, nb::str("root"));
}

// With an absent registry every graph has 0 warm-up rows.
nb::object graph_warmup_rows(const GeneralEvaluation& ev) {
    if (!is_none_or_empty(ev.tables.bound_instances)) return nb::int_(0);
    nb::object registry = getattr_or_none(ev.context, "registry");
    if (registry.is_none()) return nb::int_(0);
    return compute_graph_warmup_rows(ev.graph, registry, "root");
}

bool collects_node_outputs(const GeneralEvaluation& ev) {
    if (has_attr(ev.context, "_collect_node_outputs")) return truthy(ev.context.attr("_collect_node_outputs"));
    return !is_none_or_empty(ev.tables.bound_instances) || !is_none_or_empty(ev.precomputed_node_outputs);
}

nb::object node_output_matrices(const GeneralEvaluation& ev) {
    if (!collects_node_outputs(ev)) return nb::none();
    nb::dict outputs;
    for (auto [path, record] : ev.tables.node_info) outputs[path] = zeros_float64({ev.T, ev.N});
    return outputs;
}

}  // namespace

void allocate_evaluation(GeneralEvaluation& ev) {
    assign_registers(ev);
    ev.context.attr("registers") = zeros_float64({ev.next_reg, ev.N});
    ev.total_root_warmup_rows = graph_warmup_rows(ev);
    ev.root_warmup_rows = rows_within(ev.total_root_warmup_rows, ev.T);
    ev.filtration = FiltrationTables{nb::dict(), ev.tables.filtration_nodes, ev.context};
    ev.output_weights = empty_float64({ev.T, ev.N});  // the row loop writes every row
    ev.local_registers = zeros_float64({ev.next_reg, ev.N});
    nb::object signals = getattr_or_none(ev.context, "useful_signals");
    ev.local_extraction_buffer =
        is_none_or_empty(signals) ? nb::none() : zeros_float64({static_cast<std::int64_t>(length_of(signals)), ev.N});
    ev.provenance.seed(ev.tables, ev.reg_map, ev.options.data_nan_features, ev.precomputed_node_nan_source);
    ev.node_outputs = node_output_matrices(ev);
}

}  // namespace qm
