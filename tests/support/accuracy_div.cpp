// Accuracy rows of the reciprocal and division kernels.  Double: 64-bit
// intermediates and one rounding at the store (bound 0.51 ulp, see
// vecmath/divide.cpp); single: correctly rounded SSE division.
#include "support/accuracy.h"
#include "xebruk/vm_div.h"

namespace xt {
namespace {

long double ref_inv(long double x) { return 1.0L / x; }
long double ref_div(long double x, long double y) { return x / y; }

const Range kNearOne{0.5, 2.0, true};

std::vector<KernelAccuracy> div_rows() {
    return {
        unary_row("xebdInv_HA", "HA", 0.51, xebdInv_HA, ref_inv, {kAllDoubles, kNearOne}),
        unary_row("xebdInv_50", "50", 0.51, xebdInv_50, ref_inv, {kAllDoubles}),
        binary_row("xebdDiv_HA", "HA", 0.51, xebdDiv_HA, ref_div, {kAllDoubles, kNearOne},
                   {kAllDoubles, kNearOne}),
        binary_row("xebdDiv_50", "50", 0.51, xebdDiv_50, ref_div, {kAllDoubles}, {kAllDoubles}),
        unary_row("xebsInv_HA", "HA", 0.5, xebsInv_HA, ref_inv, {kAllFloats}),
        unary_row("xebsInv_21", "21", 0.5, xebsInv_21, ref_inv, {kAllFloats}),
        unary_row("xebsInv_11", "11", 0.5, xebsInv_11, ref_inv, {kAllFloats}),
        binary_row("xebsDiv_HA", "HA", 0.5, xebsDiv_HA, ref_div, {kAllFloats}, {kAllFloats}),
        binary_row("xebsDiv_21", "21", 0.5, xebsDiv_21, ref_div, {kAllFloats}, {kAllFloats}),
        binary_row("xebsDiv_11", "11", 0.5, xebsDiv_11, ref_div, {kAllFloats}, {kAllFloats}),
    };
}

const AccuracyRows registered(div_rows);

}  // namespace
}  // namespace xt
