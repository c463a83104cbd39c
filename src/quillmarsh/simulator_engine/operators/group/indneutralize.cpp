// indneutralize(x, g): each cell of x minus the mean of x over the cells of its
//   row whose group code in g is the same (codes compare as float64, so -0.0
//   and 0.0 are one group).
// Inputs: one row of n float64 cells of x and of the group codes g; output: n cells.
// NaN: a cell whose x or code is NaN is left out of every mean and gives NaN.
//   Infinities are values (an infinite group mean gives NaN or -inf/inf).
//   A group of one gives 0.0.
// Arithmetic: each group's sum runs in column order in long double, the mean
//   is rounded to float64 once and subtracted in float64. O(n log n) per row
//   (the present cells sorted by code). Stateless.
// Runs without the GIL, touches no Python object.
#include <algorithm>
#include <cmath>
#include <limits>

#include "operators/group/kernels.hpp"

namespace qm::ops {

namespace {

using Accum = long double;

class GroupNeutralize final : public RowOperator {
public:
    void step(const double* const* inputs, double* out, std::int64_t n) override {
        const double* x = inputs[0];
        const double* code = inputs[1];
        members_.clear();
        for (std::int64_t j = 0; j < n; ++j) {
            out[j] = std::numeric_limits<double>::quiet_NaN();
            if (!std::isnan(x[j]) && !std::isnan(code[j])) members_.push_back(j);
        }
        // Stable, so each group's cells stay in column order.
        std::stable_sort(members_.begin(), members_.end(),
                         [code](std::int64_t a, std::int64_t b) { return code[a] < code[b]; });
        for (std::size_t first = 0; first < members_.size();) {
            std::size_t last = first;
            Accum sum = 0.0L;
            while (last < members_.size() && code[members_[last]] == code[members_[first]]) {
                sum += x[members_[last++]];
            }
            const double mean = static_cast<double>(sum / static_cast<Accum>(last - first));
            for (std::size_t k = first; k < last; ++k) out[members_[k]] = x[members_[k]] - mean;
            first = last;
        }
    }

private:
    std::vector<std::int64_t> members_;  // scratch: columns with a present value and code
};

}  // namespace

std::unique_ptr<RowOperator> make_indneutralize(const Params& params) {
    return std::make_unique<GroupNeutralize>();
}

}  // namespace qm::ops
