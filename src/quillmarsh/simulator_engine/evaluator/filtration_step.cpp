// Filtration nodes of the per-row loop: resolved once, then the passing
// signals' rows copied into the extraction buffer at every row.
#include "evaluator/node_steps.hpp"

namespace qm {

void run_filtration(GeneralEvaluation& ev, Instruction& ins, std::int64_t t) {
    if (!ins.filtration) {
        auto plan = std::make_unique<FiltrationPlan>();
        nb::object result = resolve_filt(ev.filtration, ins.path);
        plan->absent = result.is_none();
        if (!plan->absent) {
            plan->signals = signal_rows(getattr_or_none(ev.context, "useful_signals"), result.attr("passing_ids"), ev.N);
        }
        ins.filtration = std::move(plan);
    }
    if (!ins.filtration->absent) fill_extraction_buffer(ev, ins.filtration->signals, t);
}

}  // namespace qm
