// Data-NaN provenance: which nodes are NaN because their input data is
// missing. Marks start at the named feature leaves and at precomputed nodes
// tagged "data_nan", and spread upward one row at a time: a node whose data
// children are all NaN, at least one of them marked, is marked and its row
// forced to NaN. Marks are never removed during an evaluation.
#pragma once

#include <cstdint>
#include <vector>

#include <nanobind/nanobind.h>

#include "graph/collect_nodes.hpp"

namespace nb = nanobind;

namespace qm {

// A function or reduction node as the check sees it.
struct NanCheckNode {
    std::int64_t reg = 0;
    nb::object path;
    std::vector<std::int64_t> child_regs;  // registers of the children other than filtration nodes, in order
};

// The current rows of a node's data children, and whether one of them is marked.
struct ChildOutputs {
    std::vector<const double*> rows;
    bool has_data_nan = false;
};

class DataNanProvenance {
public:
    // Marks the leaves named in `data_nan_features` and the nodes whose canonical
    // id `precomputed_nan_source` tags "data_nan"; tracking is on when any is marked.
    void seed(const NodeTables& tables, const nb::dict& reg_map, nb::handle data_nan_features,
              nb::handle precomputed_nan_source);

    bool is_marked(std::int64_t reg) const { return marked_[static_cast<std::size_t>(reg)] != 0; }
    const nb::dict& nan_source() const { return nan_source_; }

    ChildOutputs child_outputs_for_nan_check(const NanCheckNode& node, const double* registers,
                                             std::int64_t n_alloc) const;

    // True when the node's freshly computed row must be replaced by NaNs; the
    // node is then marked.
    bool propagate_data_nan(const NanCheckNode& node, const double* registers, std::int64_t n_alloc);

private:
    void mark(std::int64_t reg, nb::handle path);

    nb::dict nan_source_;
    nb::str tag_{"data_nan"};
    std::vector<char> marked_;  // by register index
    bool track_ = false;
};

}  // namespace qm
