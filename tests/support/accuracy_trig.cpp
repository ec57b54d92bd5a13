// Accuracy rows of the trigonometric kernels, against glibc's long double
// sinl, cosl and tanl (64-bit significands, with a full reduction of huge
// arguments).  Every kernel is measured over all finite magnitudes (most of
// them beyond the kernels' bounds, on the scalar forms), over its fast
// range, and over a few periods.  Bounds as stated in vecmath/trig.cpp.
#include <cmath>

#include "support/accuracy.h"
#include "xebruk/vm_trig.h"

namespace xt {
namespace {

long double ref_sin(long double x) { return sinl(x); }
long double ref_cos(long double x) { return cosl(x); }
long double ref_tan(long double x) { return tanl(x); }

const Range kFastD{0x1p-30, 127999.0, true};
const Range kPeriods{0.25, 64.0, true};
const Range kFastS500k{0x1p-30, 500000.0, true};
const Range kFastS128k{0x1p-30, 128000.0, true};
const Range kFastS10048{0x1p-30, 10048.0, true};
const Range kFastS1M{0x1p-30, 1000000.0, true};

std::vector<KernelAccuracy> trig_rows() {
    const std::vector<Range> d = {kAllDoubles, kFastD, kPeriods};
    return {
        unary_row("xebdSin_HA", "HA", 0.7, xebdSin_HA, ref_sin, d),
        unary_row("xebdSin_50", "50", 0.7, xebdSin_50, ref_sin, d),
        unary_row("xebdCos_HA", "HA", 0.7, xebdCos_HA, ref_cos, d),
        unary_row("xebdCos_50", "50", 0.7, xebdCos_50, ref_cos, d),
        two_output_row("xebdSinCos_HA", "HA", 0.6, xebdSinCos_HA, ref_sin, ref_cos, d),
        two_output_row("xebdSinCos_50", "50", 0.6, xebdSinCos_50, ref_sin, ref_cos, d),
        unary_row("xebdTan_HA", "HA", 1, xebdTan_HA, ref_tan, d),
        unary_row("xebdTan_50", "50", 3, xebdTan_50, ref_tan, d),
        unary_row("xebsSin_HA", "HA", 0.85, xebsSin_HA, ref_sin, {kAllFloats, kFastS500k, kPeriods}),
        unary_row("xebsSin_21", "21", 4, xebsSin_21, ref_sin, {kAllFloats, kFastS1M, kPeriods}),
        unary_row("xebsSin_11", "11", 4, xebsSin_11, ref_sin, {kAllFloats, kFastS1M}),
        unary_row("xebsCos_HA", "HA", 0.85, xebsCos_HA, ref_cos, {kAllFloats, kFastS500k, kPeriods}),
        unary_row("xebsCos_21", "21", 4, xebsCos_21, ref_cos, {kAllFloats, kFastS10048, kPeriods}),
        unary_row("xebsCos_11", "11", 4, xebsCos_11, ref_cos, {kAllFloats, kFastS10048}),
        two_output_row("xebsSinCos_HA", "HA", 1, xebsSinCos_HA, ref_sin, ref_cos,
                       {kAllFloats, kFastS1M, kPeriods}),
        two_output_row("xebsSinCos_21", "21", 4, xebsSinCos_21, ref_sin, ref_cos,
                       {kAllFloats, kFastS1M, kPeriods}),
        two_output_row("xebsSinCos_11", "11", 4, xebsSinCos_11, ref_sin, ref_cos, {kAllFloats, kFastS1M}),
        unary_row("xebsTan_HA", "HA", 1, xebsTan_HA, ref_tan, {kAllFloats, kFastS128k, kPeriods}),
        unary_row("xebsTan_21", "21", 4, xebsTan_21, ref_tan, {kAllFloats, kFastS500k, kPeriods}),
        unary_row("xebsTan_11", "11", 4, xebsTan_11, ref_tan, {kAllFloats, kFastS500k}),
    };
}

const AccuracyRows registered(trig_rows);

}  // namespace
}  // namespace xt
