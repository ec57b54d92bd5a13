#include "accuracy/references.h"

#include <cmath>

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
};

}  // namespace

const Reference* reference_for(const std::string& family) {
    for (const Reference& r : kReferences)
        if (family == r.family) return &r;
    return nullptr;
}

}  // namespace xt
