#include "fast_paths/universe_mask.hpp"

#include "fast_paths/masking.hpp"
#include "host/arrays.hpp"
#include "host/host.hpp"

using namespace nb::literals;

namespace qm {

namespace {

std::size_t cell_count(const std::vector<std::int64_t>& dims) {
    std::size_t n = 1;
    for (auto d : dims) n *= static_cast<std::size_t>(d);
    return n;
}

// Shapes that differ are left to NumPy's broadcasting (and its shape errors).
nb::object mask_by_broadcasting(nb::handle data, nb::handle universe) {
    nb::object np = host().numpy;
    nb::object u = np.attr("asarray")(universe, "dtype"_a = np.attr("float64"));
    nb::object inactive = np.attr("logical_or")(np.attr("equal")(u, 0.0), np.attr("isnan")(u));
    return np.attr("where")(inactive, np.attr("nan"), data);
}

}  // namespace

nb::object apply_universe_mask(nb::handle data, nb::handle universe) {
    if (universe.is_none()) return nb::borrow(data);
    nb::object d = as_float64_contiguous(data);
    nb::object u = as_float64_contiguous(universe);
    std::vector<std::int64_t> dims = dims_of(d);
    if (dims != dims_of(u)) return mask_by_broadcasting(data, universe);
    nb::object out = empty_float64(dims);
    const double* dp = float64_data(d);
    const double* up = float64_data(u);
    double* op = float64_data(out);
    std::size_t n = cell_count(dims);
    {
        nb::gil_scoped_release release;
        mask_cells(dp, up, op, n);
    }
    return out;
}

nb::object derive_universe_mask(nb::handle universe) {
    nb::object u = as_float64_contiguous(universe);
    std::vector<std::int64_t> dims = dims_of(u);
    nb::object mask = empty_uint8(dims);
    const double* up = float64_data(u);
    std::uint8_t* mp = uint8_data(mask);
    std::size_t n = cell_count(dims);
    {
        nb::gil_scoped_release release;
        derive_live_mask(up, mp, n);
    }
    return mask;
}

}  // namespace qm
