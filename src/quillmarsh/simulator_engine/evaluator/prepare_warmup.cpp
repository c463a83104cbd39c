// Warm-up rows already consumed by restored stateful instances are not blanked again.
#include "evaluator/preparation.hpp"
#include "evaluator/states.hpp"
#include "warmup/warmup.hpp"

namespace qm {

void apply_instance_warmup(GeneralEvaluation& ev) {
    if (!compare(ev.total_root_warmup_rows, nb::int_(0), Py_GT)) return;
    nb::object rows_seen = nb::int_(0);
    for (auto [path, instance] : ev.tables.func_instances) {
        if (!is_stateful(instance)) continue;
        nb::object count;
        try {
            count = get_warmup_count_for_instance(instance);
        } catch (nb::python_error&) {
            log_get_state_failed(ev, path, instance);
            throw;
        }
        rows_seen = larger(rows_seen, count);
    }
    ev.root_warmup_rows = rows_within(ev.total_root_warmup_rows - rows_seen, ev.T);
}

}  // namespace qm
