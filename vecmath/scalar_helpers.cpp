// Scalar helpers: absolute value, square root and arctangents of one value,
// for the front end and for the rare lanes of the single arctangent kernels
// (vecmath/invtrig.cpp).  No frame: they compute in the x87 (long double)
// at whatever precision the caller's control word sets, raise no events and
// return the declared type.
//
// Error budgets (measured in tests/test_invtrig.cpp):
//  double sqrt: the band quadratic and correction of xebdSqrt_HA (roots_core.h):
//   below 0.51 ulp at 64-bit precision.
//  single sqrt: the 64-band quadratic alone, relative error 7.3e-9 (0.12 ulp),
//   plus the product by the scale and the store: below 0.65 ulp.  A denormal
//   is scaled by 1e42 and rounded to float first (up to 0.25 ulp more in the
//   root), then multiplied by 1e-21 (not a power of two): below 1 ulp.
//  atan: band reduction (one rounded division), polynomial error 2^-26.9
//   (0.13 ulp of a float), the store: below 0.7 ulp.
//  atan2: the quotient b/a in the form of one division of d^2 by d^4, the
//   polynomial's 2^-26 (0.25 ulp), t = p z + c and pi - t, the store: below
//   0.85 ulp.
#include <cstdint>

#include "frame/bits.h"
#include "vecmath/roots_core.h"
#include "xebruk/vm_scalar.h"

namespace xeb {
namespace {

#include "vecmath/scalar_helpers_tables.inc"

using roots::BandQuadratic;

constexpr uint64_t kRootDefaultNaN = 0x7FF8A5A55A5A5A5Aull;  // recognisable on purpose
constexpr uint32_t kSingleDefaultNaN = 0xFFC00000u;

// Single square root: the parity factors by bit 23 of the argument (sqrt 2
// for an even biased exponent, 2 for an odd one), and for a denormal scaled
// by 1e42 the same divided by 1e21.
constexpr double kDenormalScale = 1e42;  // bits 0x48A6F578C4E0A061
constexpr long double kParity[2] = {1.4142135623730951, 2.0};
constexpr long double kParityDenormal[2] = {1.414213562373095e-21, 2e-21};

constexpr double kDenormalIn = 0x1p996;
constexpr long double kSqrtDenormalOut = 0x1p-498L;

// Arctangent bands: above kBand2Top (2.6875) z = -1/a; in (1, 2.6875] and
// (0.375, 1] the centres 1.625 and 0.5625; up to 0.375, z = a.
constexpr long double kBand2Top = 2.6875, kBand1Top = 1.0, kBand0Top = 0.375;
constexpr long double kCentre2 = 1.625, kCentre1 = 0.5625;
constexpr long double kBase3 = 1.5707963267948966, kBase2 = 1.0191413442663497, kBase1 = 0.5123894603107377;

constexpr long double kHalfPi = 1.5707963267948966, kPi = 3.141592653589793;
// Results of the special cases of atan2, as floats.
constexpr uint32_t kPiF = 0x40490FDB, kHalfPiF = 0x3FC90FDB, kQuarterPiF = 0x3F490FDB,
                   kThreeQuarterPiF = 0x4016CBE4;
constexpr uint32_t kInfBits = 0x7F800000;

template <std::size_t N>
long double horner(const double (&c)[N], long double x) {
    long double acc = c[0];
    for (std::size_t k = 1; k < N; ++k) acc = acc * x + c[k];
    return acc;
}

float with_sign(uint32_t magnitude_bits, bool negative) {
    return float_from_bits(magnitude_bits | (negative ? 0x80000000u : 0u));
}

}  // namespace
}  // namespace xeb

using namespace xeb;

extern "C" {

float xeb_sabs_scalar(float x) { return float_from_bits(bits(x) & 0x7FFFFFFFu); }

double xeb_dabs_scalar(double x) { return double_from_bits(bits(x) & 0x7FFFFFFFFFFFFFFFull); }

float xebssqrt_scalar(float x) {
    uint32_t w = bits(x);
    const long double* parity = kParity;
    if (w <= 0x007FFFFFu) {
        if (w == 0) return 0.0f;
        w = bits(static_cast<float>(x * static_cast<long double>(kDenormalScale)));
        parity = kParityDenormal;
    } else if (w >= kInfBits) {
        if (w > 0x80000000u && w < 0xFF800001u) return float_from_bits(kSingleDefaultNaN);
        return x + x;  // -0, +infinity, NaNs
    }
    const BandQuadratic& q = roots::ssqrtQuad[(w >> 17) & 0x3F];
    const long double m = float_from_bits((w & 0x007FFFFFu) | 0x3F800000u);
    const long double scale = float_from_bits(((w >> 1) & 0x7F800000u) + 0x1F800000u);
    return static_cast<float>(((q.a * m + q.b) * m + q.c) * parity[(w >> 23) & 1] * scale);
}

double xebdsqrt_scalar(double x) {
    const uint32_t h = high_word(x);
    if (h < 0x00100000u) {
        if (is_zero(x)) return 0.0;
        const double scaled = x * kDenormalIn;
        return static_cast<double>(scaled * roots::inv_sqrt_core(scaled) * kSqrtDenormalOut);
    }
    if (h >= 0x7FF00000u) {
        if ((bits(x) << 1) > (0x7FF0000000000000ull << 1)) return x + x;  // NaNs
        if (bits(x) == 0x8000000000000000ull || bits(x) == 0x7FF0000000000000ull) return x;
        return double_from_bits(kRootDefaultNaN);
    }
    return static_cast<double>(x * roots::inv_sqrt_core(x));
}

float xebsatan_scalar(float x) {
    const long double a = xeb_sabs_scalar(x);
    long double z, base;
    if (a > kBand2Top) {
        z = (1 / a) * -1;
        base = kBase3;
    } else if (a <= kBand1Top) {
        if (a > kBand0Top) {
            z = (1 / (a * kCentre1 + 1)) * (a - kCentre1);
            base = kBase1;
        } else {
            z = a;
            base = 0;
        }
    } else {  // (1, 2.6875], and NaNs, which fail every comparison
        z = (1 / (a * kCentre2 + 1)) * (a - kCentre2);
        base = kBase2;
    }
    const long double s = z * z;
    const long double q = horner(scalarAtan, s);
    return static_cast<float>((z + z * s * q + base) * ((bits(x) >> 31) ? -1.0L : 1.0L));
}

float xebsatan2_scalar(float y, float x) {
    const uint32_t ay = bits(y) & 0x7FFFFFFFu, ax = bits(x) & 0x7FFFFFFFu;
    const bool y_negative = bits(y) >> 31, x_negative = bits(x) >> 31;
    if (ay > kInfBits || ax > kInfBits) return x + y;
    if (ay == 0) return x_negative ? with_sign(kPiF, y_negative) : y;
    if (ax == 0) return with_sign(kHalfPiF, y_negative);
    if (ax == kInfBits) {
        if (ay == kInfBits) return with_sign(x_negative ? kThreeQuarterPiF : kQuarterPiF, y_negative);
        return x_negative ? with_sign(kPiF, y_negative) : with_sign(0, y_negative);
    }
    if (ay == kInfBits) return with_sign(kHalfPiF, y_negative);

    // One division: 1/d as d * (d^2 / d^4), in the x87's wide exponent range.
    const long double a = float_from_bits(ay), b = float_from_bits(ax);
    const bool below = ay < ax;
    const long double num = below ? a : -b, d = below ? b : a, c = below ? 0 : kHalfPi;
    const long double z = num * (d * ((d * d) / (d * d * d * d)));
    const long double s = z * z;
    long double t = horner(scalarAtan2, s) * z + c;
    if (x_negative) t = kPi - t;
    return static_cast<float>(t * (y_negative ? -1.0L : 1.0L));
}

}  // extern "C"
