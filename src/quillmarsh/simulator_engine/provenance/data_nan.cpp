#include "provenance/data_nan.hpp"

#include <cmath>

#include "host/pyutil.hpp"

namespace qm {

namespace {

bool all_nan(const double* row, std::int64_t n) {
    for (std::int64_t i = 0; i < n; ++i) {
        if (!std::isnan(row[i])) return false;
    }
    return true;
}

}  // namespace

void DataNanProvenance::mark(std::int64_t reg, nb::handle path) {
    if (is_marked(reg)) return;
    nan_source_[path] = tag_;
    marked_[static_cast<std::size_t>(reg)] = 1;
}

void DataNanProvenance::seed(const NodeTables& tables, const nb::dict& reg_map, nb::handle data_nan_features,
                             nb::handle precomputed_nan_source) {
    marked_.assign(nb::len(reg_map), 0);
    if (!is_none_or_empty(data_nan_features)) {
        nb::set names = set_of(data_nan_features);
        for (auto [path, position] : tables.feature_refs) {
            if (names.contains(tables.node_info[path]["node"])) mark(nb::cast<std::int64_t>(reg_map[path]), path);
        }
    }
    if (!is_none_or_empty(precomputed_nan_source)) {
        for (auto [path, record] : tables.node_info) {
            nb::object cid = record["canonical_id"];
            if (cid.is_none() || !contains(precomputed_nan_source, cid)) continue;
            if (str_eq(precomputed_nan_source[cid], "data_nan")) mark(nb::cast<std::int64_t>(reg_map[path]), path);
        }
    }
    track_ = nb::len(nan_source_) > 0;
}

ChildOutputs DataNanProvenance::child_outputs_for_nan_check(const NanCheckNode& node, const double* registers,
                                                            std::int64_t n_alloc) const {
    ChildOutputs out;
    out.rows.reserve(node.child_regs.size());
    for (std::int64_t reg : node.child_regs) {
        out.rows.push_back(registers + reg * n_alloc);
        if (is_marked(reg)) out.has_data_nan = true;
    }
    return out;
}

bool DataNanProvenance::propagate_data_nan(const NanCheckNode& node, const double* registers, std::int64_t n_alloc) {
    if (!track_) return false;
    ChildOutputs children = child_outputs_for_nan_check(node, registers, n_alloc);
    if (!children.has_data_nan || children.rows.empty()) return false;
    for (const double* row : children.rows) {
        if (!all_nan(row, n_alloc)) return false;
    }
    mark(node.reg, node.path);
    return true;
}

}  // namespace qm
