// Internal entries of the trigonometric family: the reduction modulo pi/2
// and the four core routines behind the scalar forms.  The cores take any
// finite double (a NaN comes back as a NaN) and run in double arithmetic,
// rounding to nearest.
#pragma once

#include <cstdint>

namespace xeb::trig {

int32_t reduce_pio2(double x, double out[2]);

double sin_core(double x);
double cos_core(double x);
double tan_core(double x);
void sin_cos_core(double x, double& s, double& c);

}  // namespace xeb::trig
