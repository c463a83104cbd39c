// The cell functions of the element-wise operators: one small struct per
// operation with `static double apply(...)`, shared by the two-input maps and
// by the maps with a constant operand. IEEE double arithmetic throughout:
// NaN in gives NaN out except where a function says otherwise.
#pragma once

#include <cmath>
#include <limits>

namespace qm::ops::cell {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

inline double truth(bool value) { return value ? 1.0 : 0.0; }

// Arithmetic.
struct Add { static double apply(double a, double b) { return a + b; } };
struct Sub { static double apply(double a, double b) { return a - b; } };
struct Mul { static double apply(double a, double b) { return a * b; } };
struct Div { static double apply(double a, double b) { return a / b; } };
struct Power { static double apply(double a, double b) { return std::pow(a, b); } };

// The larger / smaller of two cells; NaN when either is NaN (fmax would drop it).
struct Maximum {
    static double apply(double a, double b) { return std::isnan(a) || std::isnan(b) ? kNaN : (a >= b ? a : b); }
};
struct Minimum {
    static double apply(double a, double b) { return std::isnan(a) || std::isnan(b) ? kNaN : (a <= b ? a : b); }
};

// Comparisons give 1.0 / 0.0; NaN compares false except under !=.
struct Less { static double apply(double a, double b) { return truth(a < b); } };
struct LessEqual { static double apply(double a, double b) { return truth(a <= b); } };
struct Greater { static double apply(double a, double b) { return truth(a > b); } };
struct GreaterEqual { static double apply(double a, double b) { return truth(a >= b); } };
struct Equal { static double apply(double a, double b) { return truth(a == b); } };
struct NotEqual { static double apply(double a, double b) { return truth(a != b); } };

// Logic over truth values: a cell is true when it is not zero, so NaN is true.
struct LogicalAnd { static double apply(double a, double b) { return truth(a != 0.0 && b != 0.0); } };
struct LogicalOr { static double apply(double a, double b) { return truth(a != 0.0 || b != 0.0); } };

// Operand order swapped, for a constant on the left: F(c, x) from (x, c).
template <class F>
struct Reversed { static double apply(double x, double c) { return F::apply(c, x); } };

// sign(x) * |x|^a; NaN stays NaN.
struct SignedPower {
    static double apply(double x, double a) {
        if (std::isnan(x)) return kNaN;
        const double sign = x > 0.0 ? 1.0 : (x < 0.0 ? -1.0 : 0.0);
        return sign * std::pow(std::fabs(x), a);
    }
};

// The constant itself, whatever the cell holds.
struct ConstantLike { static double apply(double, double c) { return c; } };

// One-input functions.
struct Negate { static double apply(double x) { return -x; } };
struct Absolute { static double apply(double x) { return std::fabs(x); } };
struct Log { static double apply(double x) { return std::log(x); } };
struct Sign {
    static double apply(double x) { return std::isnan(x) ? kNaN : (x > 0.0 ? 1.0 : (x < 0.0 ? -1.0 : 0.0)); }
};
struct LogicalNot { static double apply(double x) { return truth(x == 0.0); } };

}  // namespace qm::ops::cell
