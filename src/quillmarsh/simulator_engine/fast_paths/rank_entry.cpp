#include "fast_paths/rank_entry.hpp"

#include <cstdint>

#include "fast_paths/rank_kernel.hpp"
#include "host/arrays.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/messages.hpp"

namespace qm {

namespace {

std::string dims_text(const std::vector<std::int64_t>& dims) { return shape_text({dims.begin(), dims.end()}); }

}  // namespace

nb::object batch_rank(nb::handle data, nb::handle universe) {
    nb::object matrix = as_float64_contiguous(data);
    std::vector<std::int64_t> dims = dims_of(matrix);
    if (dims.size() != 2) raise_error(nb::handle(PyExc_ValueError), msg::kernel_matrix_ndim("rank", dims_text(dims)));
    // The sort packs a column into 32 bits.
    if (dims[1] > std::int64_t{UINT32_MAX}) raise_error(nb::handle(PyExc_ValueError), msg::rank_row_too_wide(dims_text(dims)));
    nb::object live;
    if (!universe.is_none()) {
        live = as_float64_contiguous(universe);
        if (dims_of(live) != dims) {
            raise_error(nb::handle(PyExc_ValueError), msg::rank_universe_shape(dims_text(dims_of(live)), dims_text(dims)));
        }
    }
    nb::object out = empty_float64(dims);
    const double* in = float64_data(matrix);
    const double* mask = live.is_valid() ? float64_data(live) : nullptr;
    double* result = float64_data(out);
    {
        nb::gil_scoped_release release;
        rank_rows(in, mask, static_cast<std::size_t>(dims[0]), static_cast<std::size_t>(dims[1]), result);
    }
    return out;
}

}  // namespace qm
