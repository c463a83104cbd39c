// Python face of the native reductions: NativeMeanReduction and
// NativePnlWeightedReduction, the instances the registry creates for the two
// reduction built-ins.
#include <string>

#include <nanobind/nanobind.h>
#include <nanobind/stl/string.h>

#include "host/errors.hpp"
#include "host/messages.hpp"
#include "operators/reductions/reduction_instances.hpp"

namespace nb = nanobind;
using namespace nb::literals;

namespace qm {

namespace {

using ops::PnlWeightedInstance;

struct MeanReductionInstance {};

void export_mean_reduction(nb::module_& m) {
    nb::class_<MeanReductionInstance> cls(m, "NativeMeanReduction", nb::is_final(),
                                          "Column-wise mean of the signals' rows (A, N); all NaN when A is 0.");
    cls.attr("stateful") = false;
    cls.def(nb::init<>())
        .def("__call__", [](MeanReductionInstance&, nb::handle extraction,
                            nb::handle) { return ops::mean_reduction_call(extraction); },
             "extraction"_a.none(), "context"_a.none() = nb::none())
        .def("__getstate__", [](MeanReductionInstance&) { return nb::make_tuple(); })
        .def("__setstate__", [](MeanReductionInstance* self, nb::tuple) { new (self) MeanReductionInstance(); })
        .def("__repr__", [](MeanReductionInstance&) { return "NativeMeanReduction()"; });
}

void export_pnl_weighted_reduction(nb::module_& m) {
    // Final: the evaluator steps the core directly, so an overriding subclass would be bypassed.
    nb::class_<PnlWeightedInstance> cls(m, "NativePnlWeightedReduction", nb::is_final(),
                                        "Signals' rows averaged with weights from their trailing mean PnL.");
    cls.attr("stateful") = true;
    cls.def("__init__",
            [](PnlWeightedInstance* self, nb::handle window, nb::object pnl_column) {
                new (self) PnlWeightedInstance(window, std::move(pnl_column));
            },
            "window"_a.none(), "pnl_column"_a.none() = "gross_returns")
        .def_prop_ro("window", &PnlWeightedInstance::window)
        .def_prop_ro("pnl_column", &PnlWeightedInstance::pnl_column)
        .def("__call__",
             [](PnlWeightedInstance& self, nb::handle extraction, nb::handle signal_pnl, nb::handle) {
                 return self.call(extraction, signal_pnl);
             },
             "extraction"_a.none(), nb::kw_only(), "signal_pnl"_a.none(), "context"_a.none() = nb::none())
        .def("get_state", &PnlWeightedInstance::get_state)
        .def("set_state", &PnlWeightedInstance::set_state, "data"_a.none())
        .def("__getstate__",
             [](PnlWeightedInstance& self) {
                 return nb::make_tuple(self.window(), self.pnl_column(), self.get_state());
             })
        .def("__setstate__",
             [](PnlWeightedInstance* self, nb::tuple saved) {
                 if (saved.size() != 3) throw nb::value_error(msg::pickled_reduction().c_str());
                 // Built and restored before it takes the place of `self`, so that a
                 // refused state leaves nothing half made.
                 PnlWeightedInstance restored(saved[0], saved[1]);
                 restored.set_state(saved[2]);
                 new (self) PnlWeightedInstance(std::move(restored));
             })
        .def("__repr__", [](PnlWeightedInstance& self) {
            return "NativePnlWeightedReduction(window=" + std::to_string(self.window()) +
                   ", pnl_column=" + nb::repr(self.pnl_column()).c_str() + ")";
        });
}

}  // namespace

void export_reductions(nb::module_& m) {
    export_mean_reduction(m);
    export_pnl_weighted_reduction(m);
}

}  // namespace qm
