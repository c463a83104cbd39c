// The contract between the evaluator and a native built-in operator: one output
// row from one row of each data input. Pure C++: no Python header, no Python
// object; every method may run without the GIL.
//
// An operator kernel lives in one file of its family folder (elementwise/,
// time_series/, cross_sectional/, group/) with its contract on top, and is
// listed by one line in its family's catalogue (see operator_declaration.hpp).
#pragma once

#include <cstdint>
#include <vector>

namespace qm::ops {

// Rows of a run and window lengths stay at or below 2^62, so a count can keep
// growing and a window plus a row or two never overflows. A run never reaches
// it: any longer window means the same (the window is never full).
constexpr std::int64_t kWindowLimit = std::int64_t{1} << 62;

// Element type of one saved state array.
enum class StateDType : std::uint8_t { Float64, Int64, LongDouble };

// A view of one array of an operator's history, owned by the operator. get_state
// copies it out into a NumPy array of this dtype and shape; set_state checks a
// saved array against the same dtype and shape and copies it in.
struct StateField {
    const char* name;                  // key of the state payload, e.g. "ring"
    StateDType dtype;
    std::vector<std::int64_t> shape;   // the last dimension is the row width n
    void* data;                        // C-contiguous, owned by the operator
};

class RowOperator {
public:
    virtual ~RowOperator() = default;

    // Writes one output row of n cells from `inputs` (one pointer per data input,
    // each n float64 cells, in the node's child order). Never writes the inputs;
    // `out` never aliases an input. A stateful operator consumes the row into its
    // history (count() grows by one). Invalid use (a width other than the one
    // fixed by the first row or a restored state) throws std::invalid_argument.
    virtual void step(const double* const* inputs, double* out, std::int64_t n) = 0;

    // Stateful operators override the rest. count: rows consumed; window: the
    // rows of history a cell needs (the payload's "window"); width: the row
    // width fixed by the first row or a restore, -1 before either.
    virtual bool stateful() const { return false; }
    virtual std::int64_t window() const { return 0; }
    virtual std::int64_t count() const { return 0; }
    virtual std::int64_t width() const { return -1; }

    // Restore: allocates the history for rows of n cells and sets the row
    // count; the caller then fills state_fields() from the saved arrays.
    virtual void restore(std::int64_t n, std::int64_t count) {}

    // The history arrays, in payload order; empty before the width is fixed.
    virtual std::vector<StateField> state_fields() { return {}; }
};

}  // namespace qm::ops
