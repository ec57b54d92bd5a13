// Accuracy rows of the power kernels (bounds from the error budget in
// vecmath/power.cpp): bases over every positive binade against exponents
// that keep x^y in range, bases near 1 against large exponents, and pairs
// whose results fall across the denormal range.  Results beyond the range
// are met by infinities and zeros, which the measure accepts when the
// reference is beyond the range as well.
#include <cfloat>
#include <cmath>

#include "support/accuracy.h"
#include "xebruk/vm_power.h"

namespace xt {
namespace {

long double ref_pow(long double x, long double y) { return std::pow(x, y); }

const Range kPositiveDoubles{kDoubleTrueMin, DBL_MAX, false};
const Range kPositiveFloats{FLT_TRUE_MIN, FLT_MAX, false};
const Range kSmallExponents{0x1p-12, 1.0, true};
const Range kNearOneHalfToTwo{0.5, 2.0, false};
const Range kLargeExponents{1.0, 1074.0, true};
const Range kFloatExponents{1.0, 149.0, true};
const Range kNearOne{1.0 - 0x1p-20, 1.0 + 0x1p-20, false};
const Range kHugeExponents{1e3, 1e9, true};
const Range kTinyBases{kDoubleTrueMin, 0x1p-1000, false};
const Range kAroundOne{0.9, 1.1, false};
// Bases a few ulps from 1, where log2 x is carried mostly in its low part,
// against exponents that bring y log2 x back to order 1 and beyond.
const Range kVeryNearOne{1.0 - 0x1p-40, 1.0 + 0x1p-40, false};
const Range kVastExponents{0x1p30, 0x1p56, true};

std::vector<KernelAccuracy> power_rows() {
    const std::vector<Range> d_a{kPositiveDoubles, kNearOneHalfToTwo, kNearOne, kTinyBases, kVeryNearOne};
    const std::vector<Range> d_b{kSmallExponents, kLargeExponents, kHugeExponents, kAroundOne, kVastExponents};
    const std::vector<Range> s_a{kPositiveFloats, kNearOneHalfToTwo, kNearOne};
    const std::vector<Range> s_b{kSmallExponents, kFloatExponents, kHugeExponents};
    const std::vector<double> scalars{-1074.5, -3.25, -0.5, 0x1p-9, 1.0 / 3, 2.5, 17.0, 700.125};
    const std::vector<double> s_scalars{-149.5, -3.25, -0.5, 0x1p-9, 1.0 / 3, 2.5, 17.0, 90.125};
    return {
        binary_row("xebdPow_HA", "HA", 0.52, xebdPow_HA, ref_pow, d_a, d_b),
        binary_row("xebdPow_50", "50", 4.0, xebdPow_50, ref_pow, d_a, d_b),
        scalar_row("xebdPowx_HA", "HA", 0.52, xebdPowx_HA, ref_pow, {kPositiveDoubles, kNearOneHalfToTwo}, scalars),
        scalar_row("xebdPowx_50", "50", 0.52, xebdPowx_50, ref_pow, {kPositiveDoubles}, scalars),
        binary_row("xebsPow_HA", "HA", 0.51, xebsPow_HA, ref_pow, s_a, s_b),
        binary_row("xebsPow_21", "21", 4.0, xebsPow_21, ref_pow, s_a, s_b),
        binary_row("xebsPow_11", "11", 4.0, xebsPow_11, ref_pow, s_a, s_b),
        scalar_row("xebsPowx_HA", "HA", 0.51, xebsPowx_HA, ref_pow, {kPositiveFloats, kNearOneHalfToTwo}, s_scalars),
        scalar_row("xebsPowx_21", "21", 0.51, xebsPowx_21, ref_pow, {kPositiveFloats}, s_scalars),
        scalar_row("xebsPowx_11", "11", 0.51, xebsPowx_11, ref_pow, {kPositiveFloats}, s_scalars),
    };
}

const AccuracyRows registered(power_rows);

}  // namespace
}  // namespace xt
