// Module surface of the filtration subsystem: filter-tree conversion and
// description, and the extraction of passing signals' weight rows.
#include <nanobind/nanobind.h>
#include <nanobind/stl/string.h>

#include "filtration/filter_tree.hpp"
#include "filtration/weight_extraction.hpp"

namespace nb = nanobind;
using namespace nb::literals;

namespace qm {

void export_filtration(nb::module_& m) {
    m.attr("FILTRATION_NODE_TYPES") = filtration_node_types();
    m.def("_dict_to_filter_node", &dict_to_filter_node, "graph_node"_a.none(), "path"_a = "filtration");
    m.def("_describe_dict_filter", &describe_dict_filter, "node"_a.none(), "path"_a = "filtration");
    m.def("extract_filtration_weights", &extract_filtration_weights, "useful_signals"_a.none(), "passing_ids"_a.none(),
          "t"_a);
}

}  // namespace qm
