// Error of a result in units in the last place of its own format, against a
// reference of higher precision.
#pragma once

#include <cstdint>

namespace xt {

// Unit in the last place of format T at the magnitude of x (subnormal
// spacing below the normal range).
long double ulp_of_double(long double x);
long double ulp_of_float(long double x);

// |got - ref| in ulps of got's format at ref.  Both NaN, or equal
// infinities, give 0; one special and the other not gives +infinity.
double ulp_error(double got, long double ref);
double ulp_error(float got, long double ref);

// Signed distance in representable values (for directed bit tests).
int64_t ordered_distance(double x, double y);

}  // namespace xt
