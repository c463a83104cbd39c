// indneutralize(x, g): each cell of x minus the mean of x over the cells of its
//   row whose group code in g is the same (codes compare as float64, so -0.0
//   and 0.0 are one group).
// Inputs: one row of n float64 cells of x and of the group codes g; output: n cells.
// NaN: a cell whose x or code is NaN is left out of every mean and gives NaN.
//   Infinities are values (an infinite group mean gives NaN or -inf/inf).
//   A group of one gives 0.0.
// Arithmetic: each group's sum runs in column order in long double, the mean
//   is rounded to float64 once and subtracted in float64.
// Complexity: O(n log n) for a row whose codes differ from the previous row's
//   (the columns are sorted by code), O(n) otherwise: group codes rarely
//   change from one row to the next. Stateless: the cached grouping only
//   depends on the code row it was built from.
// Runs without the GIL, touches no Python object.
#include <algorithm>
#include <cmath>
#include <cstring>
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
        if (!same_codes(code, n)) group_columns(code, n);
        std::fill(out, out + n, std::numeric_limits<double>::quiet_NaN());
        for (std::size_t g = 0; g + 1 < group_starts_.size(); ++g) {
            Accum sum = 0.0L;
            std::int64_t present = 0;
            for (std::size_t k = group_starts_[g]; k < group_starts_[g + 1]; ++k) {
                const double value = x[members_[k]];
                if (std::isnan(value)) continue;
                sum += value;
                ++present;
            }
            if (present == 0) continue;
            const double mean = static_cast<double>(sum / static_cast<Accum>(present));
            for (std::size_t k = group_starts_[g]; k < group_starts_[g + 1]; ++k) {
                out[members_[k]] = x[members_[k]] - mean;  // a NaN x stays NaN
            }
        }
    }

private:
    // Bit for bit, so a NaN code compares equal to itself and -0.0 differs from 0.0.
    bool same_codes(const double* code, std::int64_t n) const {
        return static_cast<std::int64_t>(codes_.size()) == n &&
               (n == 0 || std::memcmp(codes_.data(), code, static_cast<std::size_t>(n) * sizeof(double)) == 0);
    }

    void group_columns(const double* code, std::int64_t n) {
        codes_.assign(code, code + n);
        members_.clear();
        for (std::int64_t j = 0; j < n; ++j) {
            if (!std::isnan(code[j])) members_.push_back(j);
        }
        // Stable, so each group's cells stay in column order.
        std::stable_sort(members_.begin(), members_.end(),
                         [code](std::int64_t a, std::int64_t b) { return code[a] < code[b]; });
        group_starts_.clear();
        for (std::size_t k = 0; k < members_.size(); ++k) {
            if (k == 0 || code[members_[k]] != code[members_[k - 1]]) group_starts_.push_back(k);
        }
        group_starts_.push_back(members_.size());
    }

    std::vector<double> codes_;               // the code row the grouping was built from
    std::vector<std::int64_t> members_;       // columns with a code, sorted by code
    std::vector<std::size_t> group_starts_;   // where each group begins in members_, then the end
};

}  // namespace

std::unique_ptr<RowOperator> make_indneutralize(const Params& params) {
    return std::make_unique<GroupNeutralize>();
}

}  // namespace qm::ops
