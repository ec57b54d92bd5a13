// Accuracy rows of the exponential and logarithms, against glibc's 64-bit
// long double functions, every error above half an ulp measured again with
// MPFR.  Bounds are those of the error budgets at the top of
// vecmath/exp.cpp and vecmath/log.cpp (baseline) and vecmath/simd/explog.cpp
// (the SIMD classes: 0.6 for _HA, the forms' own bounds for the others).
#include <mpfr.h>

#include <cfloat>
#include <cmath>
#include <string>

#include "support/accuracy.h"
#include "xebruk/vm_explog.h"

namespace xt {
namespace {

long double ref_exp(long double x) { return expl(x); }
long double ref_ln(long double x) { return logl(x); }
long double ref_log10(long double x) { return log10l(x); }

// f(x) at 128 bits, rounded to the 64-bit format.
template <int (*F)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)>
long double exact(long double x) {
    mpfr_t a, r;
    mpfr_init2(a, 64);
    mpfr_init2(r, 128);
    mpfr_set_ld(a, x, MPFR_RNDN);
    F(r, a, MPFR_RNDN);
    const long double v = mpfr_get_ld(r, MPFR_RNDN);
    mpfr_clear(a);
    mpfr_clear(r);
    return v;
}

// The row with its MPFR reference and its bound in the SIMD classes: 0.6
// for _HA, 4 ulp for _50 and _21, 11 correct bits (2^12 float ulps) for _11.
KernelAccuracy with_classes(KernelAccuracy k, RefUnary exact_ref) {
    const std::string form = k.form;
    k.class_bound_ulp = form == "HA" ? 0.6 : form == "11" ? 4096 : 4;
    k.exact1 = exact_ref;
    return k;
}

// Exp: every binade up to past both ends (beyond them the reference leaves
// the format and an infinity or a zero is what the measure accepts), the
// working range, and the band near overflow and the denormal results.
const std::vector<Range> kExpD = {{DBL_TRUE_MIN, 745.2, true}, {0.5, 745.2, true},
                                  {700.0, 745.2, true}, {0x1p-30, 1.0, true}};
const std::vector<Range> kExpS = {{FLT_TRUE_MIN, 104.0f, true}, {0.5f, 104.0f, true},
                                  {85.0f, 104.0f, true}};
// Logarithms: all positive numbers including denormals, and close to 1 on
// both sides, where the result is smallest.
const std::vector<Range> kLogD = {{DBL_TRUE_MIN, DBL_MAX, false}, {0.5, 2.0, false},
                                  {0.99, 1.01, false}, {0.998046875, 1.0, false}};
const std::vector<Range> kLogS = {{FLT_TRUE_MIN, FLT_MAX, false}, {0.5f, 2.0f, false},
                                  {0.99f, 1.01f, false}};

std::vector<KernelAccuracy> explog_rows() {
    const RefUnary e = exact<mpfr_exp>, l = exact<mpfr_log>, g = exact<mpfr_log10>;
    return {
        with_classes(unary_row("xebdExp_HA", "HA", 0.82, xebdExp_HA, ref_exp, kExpD), e),
        with_classes(unary_row("xebdExp_50", "50", 0.82, xebdExp_50, ref_exp, {kExpD[1]}), e),
        with_classes(unary_row("xebsExp_HA", "HA", 0.65, xebsExp_HA, ref_exp, kExpS), e),
        with_classes(unary_row("xebsExp_21", "21", 0.65, xebsExp_21, ref_exp, {kExpS[1]}), e),
        with_classes(unary_row("xebsExp_11", "11", 0.65, xebsExp_11, ref_exp, {kExpS[1]}), e),
        with_classes(unary_row("xebdLn_HA", "HA", 0.8, xebdLn_HA, ref_ln, kLogD), l),
        with_classes(unary_row("xebdLn_50", "50", 0.8, xebdLn_50, ref_ln, kLogD), l),
        with_classes(unary_row("xebsLn_HA", "HA", 0.8, xebsLn_HA, ref_ln, kLogS), l),
        with_classes(unary_row("xebsLn_21", "21", 0.8, xebsLn_21, ref_ln, kLogS), l),
        with_classes(unary_row("xebsLn_11", "11", 0.8, xebsLn_11, ref_ln, kLogS), l),
        with_classes(unary_row("xebdLog10_HA", "HA", 0.95, xebdLog10_HA, ref_log10, kLogD), g),
        with_classes(unary_row("xebdLog10_50", "50", 0.95, xebdLog10_50, ref_log10, kLogD), g),
        with_classes(unary_row("xebsLog10_HA", "HA", 0.8, xebsLog10_HA, ref_log10, kLogS), g),
        with_classes(unary_row("xebsLog10_21", "21", 0.8, xebsLog10_21, ref_log10, kLogS), g),
        with_classes(unary_row("xebsLog10_11", "11", 0.8, xebsLog10_11, ref_log10, kLogS), g),
    };
}

const AccuracyRows registered(explog_rows);

}  // namespace
}  // namespace xt
