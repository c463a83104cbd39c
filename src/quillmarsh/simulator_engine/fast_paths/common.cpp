#include "fast_paths/common.hpp"

#include <algorithm>

#include "host/arrays.hpp"
#include "host/errors.hpp"
#include "host/format.hpp"
#include "host/host.hpp"
#include "host/messages.hpp"
#include "host/pyutil.hpp"

namespace qm {

void store_last_row_register(nb::handle context, nb::handle result) {
    if (ndim_of(result) != 2) {
        raise_error(host().EvaluationShapeError, msg::fast_path_result_shape(shape_text_of(result)));
    }
    std::int64_t rows = dim_of(result, 0), cols = dim_of(result, 1);
    nb::object last = zeros_float64({1, cols});
    if (rows > 0) {
        const double* src = float64_data(result) + (rows - 1) * cols;
        std::copy(src, src + cols, float64_data(last));
    }
    context.attr("registers") = last;
}

bool context_has_no_signals_or_transforms(nb::handle context) {
    return is_none_or_empty(getattr_or_none(context, "useful_signals")) &&
           is_none_or_empty(getattr_or_none(context, "transform_pipeline")) &&
           is_none_or_empty(getattr_or_none(context, "metaparameters"));
}

}  // namespace qm
