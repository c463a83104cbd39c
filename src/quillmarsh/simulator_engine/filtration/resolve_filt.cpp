#include "filtration/resolve_filt.hpp"

#include "filtration/filter_tree.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "host/pyutil.hpp"

using namespace nb::literals;

namespace qm {

namespace {

nb::object run_filtration(nb::handle tree, nb::handle context) {
    nb::object filter_tree = dict_to_filter_node(tree);
    nb::object instance = host().FiltrationInstance(filter_tree, context.attr("registry"));
    nb::object signals = context.attr("useful_signals");
    nb::object passing_ids = instance(signals);
    return host().FiltrationResult("passing_ids"_a = passing_ids, "signal_count"_a = length_of(passing_ids),
                                   "total_pool_size"_a = length_of(signals), "filter_diagnostics"_a = nb::list());
}

nb::dict no_passing_diagnostics() {
    nb::dict diagnostics;
    diagnostics["passing_count"] = 0;
    return diagnostics;
}

[[noreturn]] void raise_empty_selection(nb::handle tree, const nb::python_error& caught) {
    nb::object error = make_error(host().EvaluationError, msg::filtration_empty(describe_dict_filter(tree)));
    nb::object own = getattr_or_none(caught.value(), "filter_diagnostics");
    error.attr("filter_diagnostics") = truthy(own) ? own : nb::object(no_passing_diagnostics());
    throw_error_from(error, caught);
}

[[noreturn]] void raise_resolution_failure(nb::handle tree, const nb::python_error& caught) {
    std::string type_name = type_name_of(caught.value());
    nb::object error = make_error(host().FiltrationResolutionError,
                                  msg::filtration_failed(describe_dict_filter(tree), type_name, text_of(caught.value())));
    nb::dict diagnostics = no_passing_diagnostics();
    diagnostics["cause"] = nb::str(type_name.c_str());
    error.attr("filter_diagnostics") = diagnostics;
    throw_error_from(error, caught);
}

}  // namespace

nb::object resolve_filt(FiltrationTables& tables, nb::handle path) {
    if (tables.cache.contains(path)) return tables.cache[path];
    if (!contains(tables.nodes, path)) return nb::none();
    nb::object tree = tables.nodes[path];
    nb::object result;
    try {
        result = run_filtration(tree, tables.context);
    } catch (nb::python_error& caught) {
        if (error_is(caught, host().EmptyFiltrationError) || error_is(caught, host().EmptyPoolError)) {
            raise_empty_selection(tree, caught);
        }
        if (error_is(caught, host().EvaluationError) || !caught.matches(PyExc_Exception)) throw;
        raise_resolution_failure(tree, caught);
    }
    tables.cache[path] = result;
    return result;
}

}  // namespace qm
