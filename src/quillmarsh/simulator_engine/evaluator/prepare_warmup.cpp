// Warm-up rows already consumed by restored stateful instances are not blanked again.
#include <algorithm>

#include "evaluator/preparation.hpp"
#include "evaluator/states.hpp"
#include "warmup/warmup.hpp"

namespace qm {

void apply_instance_warmup(GeneralEvaluation& ev) {
    if (ev.total_root_warmup_rows <= 0) return;
    long long rows_seen = 0;
    for (auto [path, instance] : ev.tables.func_instances) {
        if (!is_stateful(instance)) continue;
        long long count = 0;
        try {
            count = get_warmup_count_for_instance(instance);
        } catch (nb::python_error&) {
            log_get_state_failed(ev, path, instance);
            throw;
        }
        rows_seen = std::max(rows_seen, count);
    }
    ev.root_warmup_rows = std::max(ev.total_root_warmup_rows - rows_seen, 0LL);
}

}  // namespace qm
