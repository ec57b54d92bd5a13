// The rows of the catalogue (see vector_kernels.h), family by family.  A
// new family adds its section here: one row per export, each either
// forwarding to another export or giving its bound (the one its error
// budget states) and the intervals it is measured on.
#include "catalogue/vector_kernels.h"

#include <dlfcn.h>

#include <algorithm>
#include <cctype>
#include <cfloat>
#include <cstdio>
#include <cstdlib>

#include "xebruk/vm_div.h"
#include "xebruk/vm_erf.h"
#include "xebruk/vm_explog.h"
#include "xebruk/vm_hyperbolic.h"
#include "xebruk/vm_invtrig.h"
#include "xebruk/vm_power.h"
#include "xebruk/vm_roots.h"
#include "xebruk/vm_trig.h"

namespace xeb::catalogue {

namespace {

using K = VectorKernel;

// Every finite nonzero magnitude, both signs; the positive ones.
const Interval kAllDoubles{kDoubleTrueMin, DBL_MAX, true};
const Interval kAllFloats{FLT_TRUE_MIN, FLT_MAX, true};
const Interval kPositiveDoubles{kDoubleTrueMin, DBL_MAX, false};
const Interval kPositiveFloats{FLT_TRUE_MIN, FLT_MAX, false};

// Reciprocal and division.  Double: 64-bit intermediates and one rounding
// at the store (bound 0.51 ulp, see vecmath/divide.cpp); single: correctly
// rounded SSE division.  The SIMD classes' reciprocals (and square
// roots) are the hardware's, correctly rounded: a double's 0.5 ulp reads up
// to 2^-11 more against the 64-bit reference.
std::vector<K> divide() {
    const Interval near_one{0.5, 2.0, true};
    return {
        K("Inv", "HA", xebdInv_HA).ulp(0.51, 0.501).on({kAllDoubles, near_one}),
        K("Inv", "50", xebdInv_50).forwards(xebdInv_HA),
        K("Inv", "HA", xebsInv_HA).ulp(0.5, 0.5).on({kAllFloats}),
        K("Inv", "21", xebsInv_21).forwards(xebsInv_HA),
        K("Inv", "11", xebsInv_11).forwards(xebsInv_HA),
        K("Div", "HA", xebdDiv_HA).ulp(0.51, 0.501).on({kAllDoubles, near_one}, {kAllDoubles, near_one}),
        K("Div", "50", xebdDiv_50).forwards(xebdDiv_HA),
        K("Div", "HA", xebsDiv_HA).ulp(0.5, 0.5).on({kAllFloats}, {kAllFloats}),
        K("Div", "21", xebsDiv_21).forwards(xebsDiv_HA),
        K("Div", "11", xebsDiv_11).forwards(xebsDiv_HA),
    };
}

// Exponential and logarithms (vecmath/exp.cpp, vecmath/log.cpp; in the SIMD
// kernel classes vecmath/simd/explog.cpp, where the logarithms' lower forms
// have code of their own: in the baseline they are the _HA kernels, within
// its bound; _11 is _21's entry in every class).  Exp:
// every binade up to past both ends (beyond them the reference leaves the
// format and an infinity or a zero is what the measure accepts), the
// working range, the band near overflow and the denormal results.  Logs:
// all positive numbers including denormals, and close to 1 on both sides,
// where the result is smallest.
std::vector<K> exp_log() {
    const std::vector<Interval> exp_d = {{kDoubleTrueMin, 745.2, true}, {0.5, 745.2, true},
                                         {700.0, 745.2, true}, {0x1p-30, 1.0, true}};
    const std::vector<Interval> exp_s = {{FLT_TRUE_MIN, 104.0f, true}, {0.5f, 104.0f, true},
                                         {85.0f, 104.0f, true}};
    const std::vector<Interval> log_d = {{kDoubleTrueMin, DBL_MAX, false}, {0.5, 2.0, false},
                                         {0.99, 1.01, false}, {0.998046875, 1.0, false}};
    const std::vector<Interval> log_s = {{FLT_TRUE_MIN, FLT_MAX, false}, {0.5f, 2.0f, false},
                                         {0.99f, 1.01f, false}};
    return {
        K("Exp", "HA", xebdExp_HA).ulp(0.82, 0.6).on(exp_d),
        K("Exp", "50", xebdExp_50).forwards(xebdExp_HA),
        K("Exp", "HA", xebsExp_HA).ulp(0.65, 0.6).on(exp_s),
        K("Exp", "21", xebsExp_21).forwards(xebsExp_HA),
        K("Exp", "11", xebsExp_11).forwards(xebsExp_HA),
        K("Ln", "HA", xebdLn_HA).ulp(0.8, 0.6).on(log_d),
        K("Ln", "50", xebdLn_50).ulp(0.8, 3).on(log_d),
        K("Ln", "HA", xebsLn_HA).ulp(0.8, 0.6).on(log_s),
        K("Ln", "21", xebsLn_21).ulp(0.8, 4).on(log_s),
        K("Ln", "11", xebsLn_11).forwards(xebsLn_21),
        K("Log10", "HA", xebdLog10_HA).ulp(0.95, 0.6).on(log_d),
        K("Log10", "50", xebdLog10_50).ulp(0.95, 3).on(log_d),
        K("Log10", "HA", xebsLog10_HA).ulp(0.8, 0.6).on(log_s),
        K("Log10", "21", xebsLog10_21).ulp(0.8, 4).on(log_s),
        K("Log10", "11", xebsLog10_11).forwards(xebsLog10_21),
    };
}

// Power (vecmath/power.cpp): bases over every positive binade against
// exponents that keep x^y in range, bases near 1 (down to a few ulps from
// it, where log2 x is carried mostly in its low part) against large
// exponents, pairs whose results fall across the denormal range, and bases
// within 2^-9 of 1 against exponents that take |y log2 x| up to the ends of
// the range, where the error of log2 x is multiplied most.
std::vector<K> power() {
    const Interval half_to_two{0.5, 2.0, false}, near_one{1.0 - 0x1p-9, 1.0 + 0x1p-9, false};
    const std::vector<Interval> d_a{kPositiveDoubles, half_to_two, {1.0 - 0x1p-20, 1.0 + 0x1p-20, false},
                                    {kDoubleTrueMin, 0x1p-1000, false}, {1.0 - 0x1p-40, 1.0 + 0x1p-40, false},
                                    near_one};
    const std::vector<Interval> d_b{{0x1p-12, 1.0, true}, {1.0, 1074.0, true}, {1e3, 1e9, true},
                                    {0.9, 1.1, false}, {0x1p30, 0x1p56, true}, {0x1p17, 0x1p21, true}};
    const std::vector<Interval> s_a{kPositiveFloats, half_to_two, {1.0 - 0x1p-20, 1.0 + 0x1p-20, false}, near_one};
    const std::vector<Interval> s_b{{0x1p-12, 1.0, true}, {1.0, 149.0, true}, {1e3, 1e9, true}, {0x1p13, 0x1p17, true}};
    const std::vector<double> d_scalars{-801422.01973285736, -1074.5, -3.25, -0.5, 0x1p-9, 1.0 / 3, 2.5, 17.0, 700.125};
    const std::vector<double> s_scalars{-149.5, -3.25, -0.5, 0x1p-9, 1.0 / 3, 2.5, 17.0, 90.125};
    return {
        K("Pow", "HA", xebdPow_HA).ulp(0.75, 0.6).on(d_a, d_b),
        K("Pow", "50", xebdPow_50).ulp(4.0, 0.6).on(d_a, d_b),
        K("Pow", "HA", xebsPow_HA).ulp(0.51, 0.51).on(s_a, s_b),
        K("Pow", "21", xebsPow_21).ulp(4.0, 0.51).on(s_a, s_b),
        K("Pow", "11", xebsPow_11).forwards(xebsPow_21),
        K("Powx", "HA", xebdPowx_HA).ulp(0.75, 0.6).on({kPositiveDoubles, half_to_two, near_one}).with_scalars(d_scalars),
        K("Powx", "50", xebdPowx_50).forwards(xebdPowx_HA),
        K("Powx", "HA", xebsPowx_HA).ulp(0.51, 0.51).on({kPositiveFloats, half_to_two}).with_scalars(s_scalars),
        K("Powx", "21", xebsPowx_21).forwards(xebsPowx_HA),
        K("Powx", "11", xebsPowx_11).forwards(xebsPowx_HA),
    };
}

// Square and cube roots and their reciprocals (vecmath/roots.cpp), over
// every positive binade (and the negative ones for the cube roots),
// denormals included.
std::vector<K> roots() {
    const Interval denormal_d{kDoubleTrueMin, DBL_MIN, true}, denormal_s{FLT_TRUE_MIN, FLT_MIN, true};
    const std::vector<Interval> d_pos{kPositiveDoubles, denormal_d, {1.0, 4.0, false}};
    const std::vector<Interval> s_pos{kPositiveFloats, denormal_s, {1.0, 4.0, false}};
    const std::vector<Interval> d_all{kAllDoubles, denormal_d, {1.0, 8.0, true}};
    const std::vector<Interval> s_all{kAllFloats, denormal_s, {1.0, 8.0, true}};
    return {
        K("Sqrt", "HA", xebdSqrt_HA).ulp(0.51, 0.501).on(d_pos),
        K("Sqrt", "50", xebdSqrt_50).forwards(xebdSqrt_HA),
        K("Sqrt", "HA", xebsSqrt_HA).ulp(0.55, 0.5).on(s_pos),
        K("Sqrt", "21", xebsSqrt_21).forwards(xebsSqrt_HA),
        K("Sqrt", "11", xebsSqrt_11).forwards(xebsSqrt_HA),
        K("InvSqrt", "HA", xebdInvSqrt_HA).ulp(0.51, 0.51).on(d_pos),
        K("InvSqrt", "50", xebdInvSqrt_50).forwards(xebdInvSqrt_HA),
        K("InvSqrt", "HA", xebsInvSqrt_HA).ulp(0.55, 0.51).on(s_pos),
        K("InvSqrt", "21", xebsInvSqrt_21).forwards(xebsInvSqrt_HA),
        K("InvSqrt", "11", xebsInvSqrt_11).forwards(xebsInvSqrt_HA),
        K("Cbrt", "HA", xebdCbrt_HA).ulp(0.51, 0.51).on(d_all),
        K("Cbrt", "50", xebdCbrt_50).forwards(xebdCbrt_HA),
        K("Cbrt", "HA", xebsCbrt_HA).ulp(0.65, 0.51).on(s_all),
        K("Cbrt", "21", xebsCbrt_21).forwards(xebsCbrt_HA),
        K("Cbrt", "11", xebsCbrt_11).forwards(xebsCbrt_HA),
        K("InvCbrt", "HA", xebdInvCbrt_HA).ulp(0.51, 0.51).on(d_all),
        K("InvCbrt", "50", xebdInvCbrt_50).forwards(xebdInvCbrt_HA),
        K("InvCbrt", "HA", xebsInvCbrt_HA).ulp(0.9, 0.51).on(s_all),
        K("InvCbrt", "21", xebsInvCbrt_21).forwards(xebsInvCbrt_HA),
        K("InvCbrt", "11", xebsInvCbrt_11).forwards(xebsInvCbrt_HA),
    };
}

// Sine, cosine, sine-cosine and tangent (vecmath/trig.cpp): all finite
// magnitudes (most of them beyond the kernels' bounds, on the scalar
// forms), the fast range and a few periods.
std::vector<K> trig() {
    const Interval periods{0.25, 64.0, true};
    const std::vector<Interval> d{kAllDoubles, {0x1p-30, 127999.0, true}, periods};
    const Interval fast_10048{0x1p-30, 10048.0, true}, fast_128k{0x1p-30, 128000.0, true};
    const Interval fast_500k{0x1p-30, 500000.0, true}, fast_1m{0x1p-30, 1000000.0, true};
    return {
        K("Sin", "HA", xebdSin_HA).ulp(0.7, 0.6).on(d),
        K("Sin", "50", xebdSin_50).forwards(xebdSin_HA),
        K("Cos", "HA", xebdCos_HA).ulp(0.7, 0.6).on(d),
        K("Cos", "50", xebdCos_50).forwards(xebdCos_HA),
        K("SinCos", "HA", xebdSinCos_HA).ulp(0.6, 0.6).on(d),
        K("SinCos", "50", xebdSinCos_50).forwards(xebdSinCos_HA),
        K("Tan", "HA", xebdTan_HA).ulp(1, 0.8).on(d),
        K("Tan", "50", xebdTan_50).ulp(3, 3).on(d),
        K("Sin", "HA", xebsSin_HA).ulp(0.85, 0.6).on({kAllFloats, fast_500k, periods}),
        K("Sin", "21", xebsSin_21).ulp(4, 4).on({kAllFloats, fast_1m, periods}),
        K("Sin", "11", xebsSin_11).forwards(xebsSin_21),
        K("Cos", "HA", xebsCos_HA).ulp(0.85, 0.6).on({kAllFloats, fast_500k, periods}),
        K("Cos", "21", xebsCos_21).ulp(4, 4).on({kAllFloats, fast_10048, periods}),
        K("Cos", "11", xebsCos_11).forwards(xebsCos_21),
        K("SinCos", "HA", xebsSinCos_HA).ulp(1, 0.6).on({kAllFloats, fast_1m, periods}),
        K("SinCos", "21", xebsSinCos_21).ulp(4, 4).on({kAllFloats, fast_1m, periods}),
        K("SinCos", "11", xebsSinCos_11).forwards(xebsSinCos_21),
        K("Tan", "HA", xebsTan_HA).ulp(1, 0.8).on({kAllFloats, fast_128k, periods}),
        K("Tan", "21", xebsTan_21).ulp(4, 4).on({kAllFloats, fast_500k, periods}),
        K("Tan", "11", xebsTan_11).forwards(xebsTan_21),
    };
}

// Hyperbolic and inverse hyperbolic functions (vecmath/hyperbolic.cpp,
// vecmath/inverse_hyperbolic.cpp): every magnitude (Sinh and Cosh beyond
// their overflow bounds, Tanh beyond 20, where it is +-1), the seams of the
// series (Sinh at 0.00095, Tanh at 0.002, Asinh at 2^-9, Atanh at 2^-10,
// Acosh at 1.00048828125), Acosh next to 1 and Atanh next to +-1.
std::vector<K> hyperbolic() {
    const std::vector<Interval> sinh_d{kAllDoubles, {0x1p-30, 1.0, true}, {0.0005, 0.002, true}, {1.0, 710.5, true}};
    const std::vector<Interval> sinh_s{kAllFloats, {0x1p-20f, 1.0f, true}, {0.0001f, 0.001f, true}, {1.0f, 89.5f, true}};
    const std::vector<Interval> tanh_d{kAllDoubles, {0.001, 0.004, true}, {0.004, 0.5, true}, {0.5, 20.5, true}};
    const std::vector<Interval> tanh_s{kAllFloats, {0.0005f, 0.002f, true}, {0.002f, 0.5f, true}, {0.5f, 10.5f, true}};
    const std::vector<Interval> asinh_d{kAllDoubles, {0x1p-11, 0x1p-7, true}, {0.01, 100.0, true}};
    const std::vector<Interval> asinh_s{kAllFloats, {0x1p-14f, 0x1p-9f, true}, {0.01f, 100.0f, true}};
    const std::vector<Interval> acosh_d{{1.0, DBL_MAX, false}, {1.0, 1.002, false}, {1.0, 1.0 + 0x1p-30, false},
                                        {1.0, 10.0, false}};
    const std::vector<Interval> acosh_s{{1.0f, FLT_MAX, false}, {1.0f, 1.002f, false}, {1.0f, 10.0f, false}};
    const std::vector<Interval> atanh_d{{kDoubleTrueMin, 1.0, true}, {0x1p-12, 0x1p-8, true}, {0.9, 1.0, true},
                                        {1.0 - 0x1p-30, 1.0, true}};
    const std::vector<Interval> atanh_s{{FLT_TRUE_MIN, 1.0f, true}, {0x1p-12f, 0x1p-8f, true}, {0.9f, 1.0f, true}};
    return {
        K("Sinh", "HA", xebdSinh_HA).ulp(0.9, 0.6).on(sinh_d),
        K("Sinh", "50", xebdSinh_50).forwards(xebdSinh_HA),
        K("Sinh", "HA", xebsSinh_HA).ulp(0.51, 0.51).on(sinh_s),
        K("Sinh", "21", xebsSinh_21).forwards(xebsSinh_HA),
        K("Sinh", "11", xebsSinh_11).forwards(xebsSinh_HA),
        K("Cosh", "HA", xebdCosh_HA).ulp(0.9, 0.6).on(sinh_d),
        K("Cosh", "50", xebdCosh_50).forwards(xebdCosh_HA),
        K("Cosh", "HA", xebsCosh_HA).ulp(0.51, 0.51).on(sinh_s),
        K("Cosh", "21", xebsCosh_21).forwards(xebsCosh_HA),
        K("Cosh", "11", xebsCosh_11).forwards(xebsCosh_HA),
        K("Tanh", "HA", xebdTanh_HA).ulp(0.75, 0.6).on(tanh_d),
        K("Tanh", "50", xebdTanh_50).forwards(xebdTanh_HA),
        K("Tanh", "HA", xebsTanh_HA).ulp(0.8, 0.51).on(tanh_s),
        K("Tanh", "21", xebsTanh_21).forwards(xebsTanh_HA),
        K("Tanh", "11", xebsTanh_11).forwards(xebsTanh_HA),
        K("Asinh", "HA", xebdAsinh_HA).ulp(0.8, 0.6).on(asinh_d),
        K("Asinh", "50", xebdAsinh_50).forwards(xebdAsinh_HA),
        K("Asinh", "HA", xebsAsinh_HA).ulp(0.51, 0.51).on(asinh_s),
        K("Asinh", "21", xebsAsinh_21).forwards(xebsAsinh_HA),
        K("Asinh", "11", xebsAsinh_11).forwards(xebsAsinh_HA),
        K("Acosh", "HA", xebdAcosh_HA).ulp(0.85, 0.6).on(acosh_d),
        K("Acosh", "50", xebdAcosh_50).forwards(xebdAcosh_HA),
        K("Acosh", "HA", xebsAcosh_HA).ulp(0.51, 0.51).on(acosh_s),
        K("Acosh", "21", xebsAcosh_21).forwards(xebsAcosh_HA),
        K("Acosh", "11", xebsAcosh_11).forwards(xebsAcosh_HA),
        K("Atanh", "HA", xebdAtanh_HA).ulp(0.75, 0.6).on(atanh_d),
        K("Atanh", "50", xebdAtanh_50).forwards(xebdAtanh_HA),
        K("Atanh", "HA", xebsAtanh_HA).ulp(0.51, 0.51).on(atanh_s),
        K("Atanh", "21", xebsAtanh_21).forwards(xebsAtanh_HA),
        K("Atanh", "11", xebsAtanh_11).forwards(xebsAtanh_HA),
    };
}

// Arcsine, arccosine, arctangent and the two-argument arctangent
// (vecmath/invtrig.cpp): every binade of the domain, the far branch of the
// arcsine and its end at 1, the classes of the arctangent (and, for the
// double class kernels, the results just below a power of two, where their
// tails weigh most: arcsines of 0.4 to 0.65, arctangents of 0.2 to 0.35); for Atan2 the
// ordinate a against the abscissa b over all four quadrants, at ratios of
// every size (groups with values beyond 2^-1021 .. 2^1020 on the x87's
// fpatan; in the classes, lanes beyond 2^-510 .. 2^510 scaled), near 1 and
// between denormals.
std::vector<K> invtrig() {
    const std::vector<Interval> arc_d{{kDoubleTrueMin, 1.0, true}, {0.25, 1.0, true}, {0.99, 1.0, true}, {0.4, 0.65, true}};
    const std::vector<Interval> arc_s{{FLT_TRUE_MIN, 1.0f, true}, {0.25f, 1.0f, true}, {0.99f, 1.0f, true}};
    const Interval classes{0.25, 4.0, true};
    const std::vector<Interval> atan_d{kAllDoubles, classes, {0.2, 0.35, true}}, atan_s{kAllFloats, classes};
    const std::vector<Interval> plane_d{kAllDoubles, classes, {0x1p-30, 0x1p30, true}, {kDoubleTrueMin, 0x1p-1000, true}};
    const std::vector<Interval> plane_s{kAllFloats, classes, {0x1p-30, 0x1p30, true}};
    return {
        K("Asin", "HA", xebdAsin_HA).ulp(0.7, 0.6).on(arc_d),
        K("Asin", "50", xebdAsin_50).forwards(xebdAsin_HA),
        K("Acos", "HA", xebdAcos_HA).ulp(0.7, 0.6).on(arc_d),
        K("Acos", "50", xebdAcos_50).forwards(xebdAcos_HA),
        K("Atan", "HA", xebdAtan_HA).ulp(0.9, 0.6).on(atan_d),
        K("Atan", "50", xebdAtan_50).forwards(xebdAtan_HA),
        K("Atan2", "HA", xebdAtan2_HA).ulp(0.6, 0.6).on(plane_d, plane_d),
        K("Atan2", "50", xebdAtan2_50).forwards(xebdAtan2_HA),
        K("Asin", "HA", xebsAsin_HA).ulp(0.95, 0.6).on(arc_s),
        K("Asin", "21", xebsAsin_21).ulp(1.5, 0.6).on(arc_s),
        K("Asin", "11", xebsAsin_11).forwards(xebsAsin_21),
        K("Acos", "HA", xebsAcos_HA).ulp(0.8, 0.6).on(arc_s),
        K("Acos", "21", xebsAcos_21).ulp(1.5, 0.6).on(arc_s),
        K("Acos", "11", xebsAcos_11).forwards(xebsAcos_21),
        K("Atan", "HA", xebsAtan_HA).ulp(0.96, 0.6).on(atan_s),
        K("Atan", "21", xebsAtan_21).ulp(1.5, 0.6).on(atan_s),
        K("Atan", "11", xebsAtan_11).forwards(xebsAtan_21),
        K("Atan2", "HA", xebsAtan2_HA).ulp(0.6, 0.6).on(plane_s, plane_s),
        K("Atan2", "21", xebsAtan2_21).ulp(2, 0.6).on(plane_s, plane_s),
        K("Atan2", "11", xebsAtan2_11).forwards(xebsAtan2_21),
    };
}

// Error function and its complement (vecmath/erf.cpp).  Erf: every
// magnitude, the tiny arguments with the double denormals, the series
// below 0.125 and the rows up to the limit and past it.  Erfc: every
// magnitude, the rows that expand erfc itself (below 1.83) on both sides,
// the scaled rows up to the event and the denormal results.
std::vector<K> erf() {
    const std::vector<Interval> erf_d{kAllDoubles, {kDoubleTrueMin, 0x1p-40, true}, {0x1p-40, 0.125, true},
                                      {0.125, 6.0, true}};
    const std::vector<Interval> erf_s{kAllFloats, {0x1p-40, 0.125, true}, {0.125, 6.0, true}};
    const std::vector<Interval> erfc_d{kAllDoubles, {0x1p-70, 1.9, true}, {1.8, 6.0, true}, {6.0, 27.3, false},
                                       {26.5, 27.3, false}};
    const std::vector<Interval> erfc_s{kAllFloats, {0x1p-70, 1.9, true}, {1.8, 4.0, true}, {4.0, 10.1, false}};
    return {
        K("Erf", "HA", xebdErf_HA).ulp(0.6, 0.6).on(erf_d),
        K("Erf", "50", xebdErf_50).forwards(xebdErf_HA),
        K("Erf", "HA", xebsErf_HA).ulp(0.6, 0.6).on(erf_s),
        K("Erf", "21", xebsErf_21).forwards(xebsErf_HA),
        K("Erf", "11", xebsErf_11).forwards(xebsErf_HA),
        K("Erfc", "HA", xebdErfc_HA).ulp(0.6, 0.6).on(erfc_d),
        K("Erfc", "50", xebdErfc_50).forwards(xebdErfc_HA),
        K("Erfc", "HA", xebsErfc_HA).ulp(0.6, 0.6).on(erfc_s),
        K("Erfc", "21", xebsErfc_21).forwards(xebsErfc_HA),
        K("Erfc", "11", xebsErfc_11).forwards(xebsErfc_HA),
    };
}

// A malformed row is a mistake in this file: say which and stop.
[[noreturn]] void malformed(const VectorKernel& k, const char* what) {
    std::fprintf(stderr, "vector kernel catalogue: %s: %s\n", k.name.c_str(), what);
    std::abort();
}

std::vector<VectorKernel> build() {
    std::vector<VectorKernel> rows;
    for (auto family : {divide, exp_log, power, roots, trig, invtrig, hyperbolic, erf}) {
        const std::vector<VectorKernel> family_rows = family();
        rows.insert(rows.end(), family_rows.begin(), family_rows.end());
    }
    std::sort(rows.begin(), rows.end(),
              [](const VectorKernel& x, const VectorKernel& y) { return x.name < y.name; });
    for (std::size_t i = 0; i + 1 < rows.size(); ++i)
        if (rows[i].name == rows[i + 1].name) malformed(rows[i], "two rows");
    for (const VectorKernel& k : rows) {
        if (k.forwards_to != nullptr) {
            const auto t = std::find_if(rows.begin(), rows.end(),
                                        [&](const VectorKernel& r) { return r.function == k.forwards_to; });
            if (t == rows.end() || t->forwards_to != nullptr || t->shape != k.shape ||
                t->precision != k.precision || k.bound_ulp != 0 || !k.a.empty())
                malformed(k, "forwards to no row of its own with the same shape, or states its accuracy");
        } else if (!(k.bound_ulp > 0) || k.a.empty() || (k.shape == Shape::TwoInputs) == k.b.empty() ||
                   (k.shape == Shape::ScalarArgument) == k.scalars.empty()) {
            malformed(k, "needs a bound and the intervals (and scalars) of its shape");
        }
    }
    return rows;
}

}  // namespace

VectorKernel::VectorKernel(const char* family_name, const char* form_name, char p, Shape s, void (*f)())
    : name(std::string("xeb") + p + family_name + "_" + form_name),
      family(family_name),
      precision(p),
      form(form_name),
      shape(s),
      function(f) {}

std::string VectorKernel::short_name() const {
    std::string s = family + "_" + form;
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

void (*VectorKernel::front_end_function() const)() {
    return reinterpret_cast<void (*)()>(dlsym(RTLD_DEFAULT, front_end().c_str()));
}

const std::vector<VectorKernel>& vector_kernels() {
    static const std::vector<VectorKernel> rows = build();
    return rows;
}

const VectorKernel* find_kernel(const std::string& name) {
    for (const VectorKernel& k : vector_kernels())
        if (k.name == name) return &k;
    return nullptr;
}

const VectorKernel* forward_target(const VectorKernel& k) {
    if (k.forwards_to == nullptr) return nullptr;
    for (const VectorKernel& t : vector_kernels())
        if (t.function == k.forwards_to) return &t;
    return nullptr;
}

const VectorKernel* find_short(const std::string& short_name, char precision) {
    for (const VectorKernel& k : vector_kernels())
        if (k.precision == precision && k.short_name() == short_name) return &k;
    return nullptr;
}

}  // namespace xeb::catalogue
