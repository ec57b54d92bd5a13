// The error function's tables (vecmath/erf_tables.inc, defined once in
// vecmath/erf.cpp) and the baseline's one-element routines, shared with
// the kernel classes (vecmath/simd/erf.cpp): their vector code runs the
// same rows, and their one-element paths hand the arguments outside the
// rows (tiny, past the limits, denormal results) to the baseline.
#pragma once

#include <cstdint>

namespace xeb::erfdata {

// A value held as hi + lo, |lo| well below ulp(hi) in the tables.
struct Pair {
    double hi, lo;
};
struct ErfRow {
    double minus_c;
    Pair value, slope, curve;  // erf(c), erf'(c), erf''(c)/2
    double higher[12];         // orders 3 to 14
};
// Each row starts a cache line, so that the vector kernels' whole-row
// loads split no line at its head.
struct alignas(64) ErfcRow {
    double minus_c;
    Pair low[6];      // orders 0 to 5
    double high[10];  // orders 6 to 15
};
static_assert(sizeof(ErfRow) == 19 * sizeof(double), "a row of 19 doubles");
static_assert(sizeof(ErfcRow) == 24 * sizeof(double), "23 doubles and padding to 192 bytes");

extern const ErfRow erfRows[22];
extern const Pair erfSeriesLead[2];
extern const double erfSeries[5];
extern const ErfcRow erfcRows[20];
extern const ErfcRow erfcRowsSingle[20];

// erf(x) of a finite nonzero double: the baseline's rounding.
double erf_scalar(double x);
// erfc(x) of a finite double, of the double kernel or (single) of the
// float kernel before its rounding to float; true when the element raises
// event 4 (at or past the upper limit).
bool erfc_scalar(double x, bool single, double& result);

}  // namespace xeb::erfdata
