// rank(x): the percentile rank of each cell within the row, through the
// engine's batch rank kernel (fast_paths/rank_kernel), one row at a time:
// ties share the mean of their 1-based positions, ranks divided by the count
// of non-NaN cells lie in (0, 1], NaN stays NaN.
// Stateless, O(n) for spread-out values. Runs without the GIL, touches no
// Python object.
#pragma once

#include <memory>
#include <vector>

#include "fast_paths/rank_kernel.hpp"
#include "operators/row_operator.hpp"

namespace qm::ops {

class CrossSectionalRank final : public RowOperator {
public:
    void step(const double* const* inputs, double* out, std::int64_t n) override {
        rank_row(inputs[0], static_cast<std::size_t>(n), scratch_, out);
    }

private:
    RankScratch scratch_;
};

inline std::unique_ptr<RowOperator> make_rank(const std::vector<double>&) {
    return std::make_unique<CrossSectionalRank>();
}

}  // namespace qm::ops
