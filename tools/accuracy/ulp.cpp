#include "accuracy/ulp.h"

#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>

namespace xt {

namespace {

long double ulp_in(long double x, int mantissa_bits, int min_exp) {
    x = std::fabs(x);
    int e = 0;
    if (x == 0.0L || std::isinf(x)) e = min_exp;
    else {
        std::frexp(x, &e);  // x = f * 2^e with f in [0.5, 1)
        if (e < min_exp) e = min_exp;
    }
    return std::ldexp(1.0L, e - mantissa_bits);
}

template <class T>
double error_of(T got, long double ref, long double ulp) {
    const bool gn = std::isnan(got), rn = std::isnan(ref);
    if (gn || rn) return (gn && rn) ? 0.0 : std::numeric_limits<double>::infinity();
    const bool gi = std::isinf(got), ri = std::isinf(ref);
    if (gi || ri) {
        if (gi && ri && (got > 0) == (ref > 0)) return 0.0;
        // A finite reference beyond the format's range compares to the
        // overflow threshold; anything else is a wrong special.
        return std::numeric_limits<double>::infinity();
    }
    return static_cast<double>(std::fabs(static_cast<long double>(got) - ref) / ulp);
}

}  // namespace

long double ulp_of_double(long double x) { return ulp_in(x, DBL_MANT_DIG, DBL_MIN_EXP); }
long double ulp_of_float(long double x) { return ulp_in(x, FLT_MANT_DIG, FLT_MIN_EXP); }

double ulp_error(double got, long double ref) { return error_of(got, ref, ulp_of_double(ref)); }
double ulp_error(float got, long double ref) { return error_of(got, ref, ulp_of_float(ref)); }

int64_t ordered_distance(double x, double y) {
    auto key = [](double v) {
        int64_t i;
        std::memcpy(&i, &v, sizeof i);
        return i < 0 ? std::numeric_limits<int64_t>::min() - i : i;
    };
    return key(y) - key(x);
}

}  // namespace xt
