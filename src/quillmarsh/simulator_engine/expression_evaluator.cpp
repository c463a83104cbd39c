// quillmarsh.simulator_engine.expression_evaluator: executes function graphs
// against feature matrices. One export per subsystem folder.
#include <nanobind/nanobind.h>

#include "host/host.hpp"

namespace nb = nanobind;

namespace qm {
void export_graph(nb::module_& m);       // graph/: accessors, identities, caches, configuration checks
void export_context(nb::module_& m);     // context/: EvaluationContext, input shapes, stage data
void export_fast_paths(nb::module_& m);  // fast_paths/: masking rule and whole-matrix paths
void export_evaluator(nb::module_& m);   // evaluator/: evaluate, EvaluationResult, general evaluator
void export_filtration(nb::module_& m);  // filtration/: filter trees and passing signals' weights
void export_warmup(nb::module_& m);      // warmup/: warm-up rows of a graph and of restored instances
void export_operators(nb::module_& m);   // operators/: native operator instances and the operator table
void export_reductions(nb::module_& m);  // operators/reductions/: native reduction instances
}  // namespace qm

NB_MODULE(expression_evaluator, m) {
    qm::load_host();
    qm::export_graph(m);
    qm::export_context(m);
    qm::export_fast_paths(m);
    qm::export_evaluator(m);
    qm::export_filtration(m);
    qm::export_warmup(m);
    qm::export_operators(m);
    qm::export_reductions(m);
}
