// The band tables of the root kernels (written by tools/roots_tables) and
// the double reciprocal square root they start from, shared by
// vecmath/roots.cpp and the scalar square roots of vecmath/scalar_helpers.cpp.
// Each including file holds its own copy of the tables it reads.
#pragma once

#include <cstdint>

#include "frame/bits.h"

namespace xeb::roots {

struct BandQuadratic {
    double a, b, c;  // (a*m + b)*m + c
};
#include "vecmath/roots_tables.inc"

constexpr uint64_t kSignificand = 0x000FFFFFFFFFFFFFull;
constexpr uint64_t kOneBits = 0x3FF0000000000000ull;
constexpr long double kSqrt2Double = 0x1.6a09e667f3bcdp+0;  // sqrt 2 rounded to double
constexpr long double kThreeEighths = 0.375L;

inline double significand(double x) { return double_from_bits((bits(x) & kSignificand) | kOneBits); }
inline double from_high_word(uint32_t h) { return double_from_bits(static_cast<uint64_t>(h) << 32); }

// x^(-1/2) for x positive, normal and finite, at the x87 precision in force.
inline long double inv_sqrt_core(double x) {
    const uint32_t h = high_word(x);
    const BandQuadratic& q = rootQuad[(h >> 13) & 0x7F];
    const long double m = significand(x);
    const long double s = from_high_word(0x5FE00000u - ((h >> 1) & 0x7FF00000u));
    const long double p = (h & 0x00100000u) ? 1.0L : kSqrt2Double;
    const long double y0 = ((q.a * m + q.b) * m + q.c) * s * p;
    const long double t = -0.5L * x * y0 * y0;  // -(1 - d)/2 with d = 1 - x*y0^2
    const long double d = 2 * t + 1;             // exact: 2t is near -1
    return y0 * ((1.5L + t) + kThreeEighths * d * d);
}

}  // namespace xeb::roots
