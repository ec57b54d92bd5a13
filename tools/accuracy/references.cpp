#include "accuracy/references.h"

#include <mpfr.h>

#include <cmath>

namespace xt {

namespace {

// f(x) at 128 bits, rounded to the 64-bit format: the reference of families
// whose long double functions in glibc are not accurate enough (the hyperbolic
// and inverse trigonometric ones), and the check of every error above half an ulp of the others.
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

long double inv(long double x) { return 1.0L / x; }
long double div(long double x, long double y) { return x / y; }
long double exp_(long double x) { return expl(x); }
long double ln(long double x) { return logl(x); }
long double log10_(long double x) { return log10l(x); }
long double pow_(long double x, long double y) { return powl(x, y); }
long double sqrt_(long double x) { return sqrtl(x); }
long double inv_sqrt(long double x) { return 1.0L / sqrtl(x); }
long double cbrt_(long double x) { return cbrtl(x); }
long double inv_cbrt(long double x) { return 1.0L / cbrtl(x); }
long double sin_(long double x) { return sinl(x); }
long double cos_(long double x) { return cosl(x); }
long double tan_(long double x) { return tanl(x); }
long double erf_(long double x) { return erfl(x); }
long double erfc_(long double x) { return erfcl(x); }

// The angle of (x, y) at 128 bits, rounded to the 64-bit format: y first,
// as the kernels take it.
long double atan2_(long double y, long double x) {
    mpfr_t a, b, r;
    mpfr_inits2(128, a, b, r, static_cast<mpfr_ptr>(nullptr));
    mpfr_set_ld(a, y, MPFR_RNDN);
    mpfr_set_ld(b, x, MPFR_RNDN);
    mpfr_atan2(r, a, b, MPFR_RNDN);
    const long double v = mpfr_get_ld(r, MPFR_RNDN);
    mpfr_clears(a, b, r, static_cast<mpfr_ptr>(nullptr));
    return v;
}

const Reference kReferences[] = {
    {"Inv", inv},
    {"Div", nullptr, div},
    {"Exp", exp_, nullptr, nullptr, exact<mpfr_exp>},
    {"Ln", ln, nullptr, nullptr, exact<mpfr_log>},
    {"Log10", log10_, nullptr, nullptr, exact<mpfr_log10>},
    {"Pow", nullptr, pow_},
    {"Powx", nullptr, pow_},
    {"Sqrt", sqrt_},
    {"InvSqrt", inv_sqrt},
    {"Cbrt", cbrt_},
    {"InvCbrt", inv_cbrt},
    {"Sin", sin_},
    {"Cos", cos_},
    {"SinCos", sin_, nullptr, cos_},
    {"Tan", tan_},
    {"Sinh", exact<mpfr_sinh>},
    {"Cosh", exact<mpfr_cosh>},
    {"Tanh", exact<mpfr_tanh>},
    {"Asinh", exact<mpfr_asinh>},
    {"Acosh", exact<mpfr_acosh>},
    {"Atanh", exact<mpfr_atanh>},
    {"Asin", exact<mpfr_asin>},
    {"Acos", exact<mpfr_acos>},
    {"Atan", exact<mpfr_atan>},
    {"Atan2", nullptr, atan2_},
    {"Erf", erf_, nullptr, nullptr, exact<mpfr_erf>},
    {"Erfc", erfc_, nullptr, nullptr, exact<mpfr_erfc>},
};

}  // namespace

const Reference* reference_for(const std::string& family) {
    for (const Reference& r : kReferences)
        if (family == r.family) return &r;
    return nullptr;
}

}  // namespace xt
