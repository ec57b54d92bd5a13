#include "support/args.h"

#include <cfloat>
#include <cmath>
#include <limits>

namespace xt {

std::vector<double> special_doubles() {
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<double> v = {0.0, kDoubleTrueMin, 2 * kDoubleTrueMin, DBL_MIN - kDoubleTrueMin,
                             DBL_MIN, 2 * DBL_MIN, 0.5, 1.0 - DBL_EPSILON / 2, 1.0,
                             1.0 + DBL_EPSILON, 2.0, 1e300, DBL_MAX / 2, DBL_MAX, inf, nan};
    const std::size_t n = v.size();
    for (std::size_t i = 0; i < n; ++i) v.push_back(-v[i]);
    return v;
}

std::vector<float> special_floats() {
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    std::vector<float> v = {0.0f, FLT_TRUE_MIN, 2 * FLT_TRUE_MIN, FLT_MIN - FLT_TRUE_MIN,
                            FLT_MIN, 2 * FLT_MIN, 0.5f, 1.0f - FLT_EPSILON / 2, 1.0f,
                            1.0f + FLT_EPSILON, 2.0f, 1e30f, FLT_MAX / 2, FLT_MAX, inf, nan};
    const std::size_t n = v.size();
    for (std::size_t i = 0; i < n; ++i) v.push_back(-v[i]);
    return v;
}

}  // namespace xt
