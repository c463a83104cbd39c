#include "operators/time_series/window_math.hpp"

#include "operators/time_series/column_blocks.hpp"

namespace qm::ops {

QM_VECTOR_CLONES
void column_sums(const double* const* rows, std::int64_t d, std::int64_t n, double* __restrict sum) {
    // Eight groups: enough independent additions in flight to hide their latency.
    for_column_blocks<8>(n, [&](std::int64_t j0, auto lane, auto groups) __attribute__((always_inline)) {
        using V = decltype(lane);
        constexpr std::int64_t G = decltype(groups)::value, S = lanes_of<V>;
        V total[G] = {};
        for (std::int64_t k = 0; k < d; ++k) {
            const double* row = rows[k] + j0;
            for (std::int64_t g = 0; g < G; ++g) total[g] += load<V>(row + g * S);
        }
        for (std::int64_t g = 0; g < G; ++g) store(sum + j0 + g * S, total[g]);
    });
}

QM_VECTOR_CLONES
void shifted_pair_sums(const double* const* x, const double* const* y, std::int64_t d, std::int64_t n,
                       double* __restrict su, double* __restrict sv, double* __restrict cross,
                       double* __restrict squares_u, double* __restrict squares_v) {
    for_column_blocks<2>(n, [&](std::int64_t j0, auto lane, auto groups) __attribute__((always_inline)) {
        using V = decltype(lane);
        constexpr std::int64_t G = decltype(groups)::value, S = lanes_of<V>;
        V x0[G], y0[G], sum_u[G] = {}, sum_v[G] = {}, uv[G] = {}, uu[G] = {}, vv[G] = {};
        for (std::int64_t g = 0; g < G; ++g) {
            x0[g] = load<V>(x[0] + j0 + g * S);
            y0[g] = load<V>(y[0] + j0 + g * S);
        }
        for (std::int64_t k = 0; k < d; ++k) {
            const double* row_x = x[k] + j0;
            const double* row_y = y[k] + j0;
            for (std::int64_t g = 0; g < G; ++g) {
                const V u = load<V>(row_x + g * S) - x0[g];
                const V v = load<V>(row_y + g * S) - y0[g];
                sum_u[g] += u;
                sum_v[g] += v;
                uv[g] += u * v;
                uu[g] += u * u;
                vv[g] += v * v;
            }
        }
        for (std::int64_t g = 0; g < G; ++g) {
            const std::int64_t j = j0 + g * S;
            store(su + j, sum_u[g]);
            store(sv + j, sum_v[g]);
            store(cross + j, uv[g]);
            store(squares_u + j, uu[g]);
            store(squares_v + j, vv[g]);
        }
    });
    const double count = static_cast<double>(d);
    for (std::int64_t j = 0; j < n; ++j) {
        cross[j] -= su[j] * sv[j] / count;
        squares_u[j] = std::max(squares_u[j] - su[j] * su[j] / count, 0.0);
        squares_v[j] = std::max(squares_v[j] - sv[j] * sv[j] / count, 0.0);
    }
}

}  // namespace qm::ops
