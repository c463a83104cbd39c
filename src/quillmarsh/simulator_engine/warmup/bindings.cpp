// Module surface of the warm-up accounting.
#include <nanobind/nanobind.h>
#include <nanobind/stl/string.h>

#include "warmup/warmup.hpp"

namespace nb = nanobind;
using namespace nb::literals;

namespace qm {

void export_warmup(nb::module_& m) {
    m.def("_compute_graph_warmup_rows", &compute_graph_warmup_rows, "graph_node"_a.none(), "registry"_a.none(),
          "path"_a = "root");
    m.def("_get_warmup_count_for_instance", &get_warmup_count_for_instance, "instance"_a.none());
}

}  // namespace qm
