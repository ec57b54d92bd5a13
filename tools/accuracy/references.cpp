#include "accuracy/references.h"

#include <cmath>
#ifdef XEBRUK_ACCURACY_MPFR
#include <mpfr.h>
#endif

namespace xt {

namespace {

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

#ifdef XEBRUK_ACCURACY_MPFR
// MPFR, correctly rounded to the 64-bit significand.
using MpfrUnary = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
template <MpfrUnary F>
long double mpfr_of(long double x) {
    thread_local struct Work {
        mpfr_t v;
        Work() { mpfr_init2(v, 64); }
        ~Work() { mpfr_clear(v); }
    } w;
    mpfr_set_ld(w.v, x, MPFR_RNDN);
    F(w.v, w.v, MPFR_RNDN);
    return mpfr_get_ld(w.v, MPFR_RNDN);
}
// The angle of (x, y): y first, as the kernels take it.
long double atan2_(long double y, long double x) {
    thread_local struct Work {
        mpfr_t y, x;
        Work() { mpfr_inits2(64, y, x, static_cast<mpfr_ptr>(nullptr)); }
        ~Work() { mpfr_clears(y, x, static_cast<mpfr_ptr>(nullptr)); }
    } w;
    mpfr_set_ld(w.y, y, MPFR_RNDN);
    mpfr_set_ld(w.x, x, MPFR_RNDN);
    mpfr_atan2(w.y, w.y, w.x, MPFR_RNDN);
    return mpfr_get_ld(w.y, MPFR_RNDN);
}
long double asin_(long double x) { return mpfr_of<mpfr_asin>(x); }
long double acos_(long double x) { return mpfr_of<mpfr_acos>(x); }
long double atan_(long double x) { return mpfr_of<mpfr_atan>(x); }
#else
long double asin_(long double x) { return asinl(x); }
long double acos_(long double x) { return acosl(x); }
long double atan_(long double x) { return atanl(x); }
long double atan2_(long double y, long double x) { return atan2l(y, x); }
#endif

const Reference kReferences[] = {
    {"Inv", inv},
    {"Div", nullptr, div},
    {"Exp", exp_},
    {"Ln", ln},
    {"Log10", log10_},
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
    {"Asin", asin_},
    {"Acos", acos_},
    {"Atan", atan_},
    {"Atan2", nullptr, atan2_},
};

}  // namespace

const Reference* reference_for(const std::string& family) {
    for (const Reference& r : kReferences)
        if (family == r.family) return &r;
    return nullptr;
}

}  // namespace xt
