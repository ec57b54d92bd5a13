// What the continuous laws share: the row of a stream, the vector kernels
// of each precision gathered in one record, and the final affine pass, so
// that every law is written once as a template over its element type.
//
// Arithmetic.  The double forms keep intermediate values in the x87's
// 64-bit significand (long double) and round once at each store, as the
// generators' own double kernels do; the single forms work in single
// precision, each operation rounded (the element-wise steps of the single
// forms are four-wide SIMD operations on floats, whose results these
// plain loops reproduce).
//
// The laws trust their arguments: the stream's id is not tested, nor n,
// nor any parameter.
#pragma once

#include <cmath>
#include <cstdint>

#include "frame/kernel_frame.h"
#include "xebruk/rng_continuous.h"
#include "xebruk/vm_explog.h"
#include "xebruk/vm_pack.h"
#include "xebruk/vm_power.h"
#include "xebruk/vm_roots.h"
#include "xebruk/vm_trig.h"

namespace xeb::laws {

// The generator row of a stream, derived anew from its id.
inline const RukBrngEntry& row_of(const RukStream* stream) {
    int32_t row, sub;
    const RukBrngEntry* table = rukGetBrngBaseOffset(stream->brngId, &row, &sub);
    return table[row];
}

// Per precision: the type of intermediate arithmetic, the uniform draw,
// the vector kernels the laws call (high accuracy throughout, but for the
// tangent of Cauchy, the trigonometric steps of the single Gaussian and
// Beta's power of one trial),
// and the constants, as exact bits.
template <class T>
struct Precision;

template <>
struct Precision<double> {
    using Work = long double;
    static constexpr double kTwoPi = 0x1.921fb54442d18p+2;   // 0x401921FB54442D18
    static constexpr double kHalfPi = 0x1.921fb54442d18p+0;  // 0x3FF921FB54442D18
    static constexpr int32_t kGaussianChunk = RUK_CHUNK_GAUSSIAN_DOUBLE_PAIR;
    static int32_t uniform(RukStream* s, int32_t n, double* r, double a, double b) {
        return rukdRngUniform(0, s, n, r, a, b);
    }
    static int32_t gaussian(int32_t m, RukStream* s, int32_t n, double* r, double a, double sd) {
        return rukdRngGaussian(m, s, n, r, a, sd);
    }
    static void ln(int n, double* r) { xebdLn_HA(n, r, r); }
    static void exp(int n, double* r) { xebdExp_HA(n, r, r); }
    static void sqrt(int n, double* r) { xebdSqrt_HA(n, r, r); }
    static void powx(int n, double* r, double b) { xebdPowx_HA(n, r, b, r); }
    static void pow_low(int n, const double* a, const double* b, double* r) {
        xebdPow_50(n, a, b, r);
    }
    static void tan(int n, double* r) { xebdTan_50(n, r, r); }
    static void sin(int n, const double* a, double* r) { xebdSin_HA(n, a, r); }
    static void cos(int n, double* r) { xebdCos_HA(n, r, r); }
    static void sincos(int n, const double* a, double* s, double* c) {
        xebdSinCos_HA(n, a, s, c);
    }
    static void pack(int n, const double* a, int inc, double* y) { xebdPackI(n, a, inc, y); }
};

template <>
struct Precision<float> {
    using Work = float;
    static constexpr float kTwoPi = 0x1.921fb6p+2f;   // 0x40C90FDB
    static constexpr float kHalfPi = 0x1.921fb6p+0f;  // 0x3FC90FDB
    static constexpr int32_t kGaussianChunk = RUK_CHUNK_GAUSSIAN_SINGLE_PAIR;
    static int32_t uniform(RukStream* s, int32_t n, float* r, float a, float b) {
        return ruksRngUniform(0, s, n, r, a, b);
    }
    static int32_t gaussian(int32_t m, RukStream* s, int32_t n, float* r, float a, float sd) {
        return ruksRngGaussian(m, s, n, r, a, sd);
    }
    static void ln(int n, float* r) { xebsLn_HA(n, r, r); }
    static void exp(int n, float* r) { xebsExp_HA(n, r, r); }
    static void sqrt(int n, float* r) { xebsSqrt_HA(n, r, r); }
    static void powx(int n, float* r, float b) { xebsPowx_HA(n, r, b, r); }
    static void pow_low(int n, const float* a, const float* b, float* r) { xebsPow_21(n, a, b, r); }
    static void tan(int n, float* r) { xebsTan_21(n, r, r); }
    static void sin(int n, const float* a, float* r) { xebsSin_21(n, a, r); }
    static void cos(int n, float* r) { xebsCos_21(n, r, r); }
    static void sincos(int n, const float* a, float* s, float* c) { xebsSinCos_21(n, a, s, c); }
    static void pack(int n, const float* a, int inc, float* y) { xebsPackI(n, a, inc, y); }
};

// x * m + s, rounded once to T from the working precision.
template <class T>
inline T mul_add(T x, T m, T s) {
    using W = typename Precision<T>::Work;
    return static_cast<T>(static_cast<W>(x) * m + s);
}

// x * m, rounded once to T from the working precision.
template <class T>
inline T mul(T x, T m) {
    using W = typename Precision<T>::Work;
    return static_cast<T>(static_cast<W>(x) * m);
}

// Whether x * m + s, rounded once from the working precision, is the
// product rounded in T plus s: true when s is a zero and m a power of two
// of magnitude at least 1, so that the product is exact in the working
// precision and never rounds to a zero (whose sign the addition would
// change).  Then the pass needs no x87.
template <class T>
bool exact_affine(T m, T s) {
    int exponent = 0;
    const T mantissa = std::frexp(m, &exponent);
    return s == T(0) && (mantissa == T(0.5) || mantissa == T(-0.5)) && exponent >= 1;
}

// The final pass of most laws: r[i] = r[i] * m + s.
template <class T>
void affine(int32_t n, T* r, T m, T s) {
    if (exact_affine(m, s))
        for (int32_t i = 0; i < n; ++i) r[i] = r[i] * m + s;
    else
        for (int32_t i = 0; i < n; ++i) r[i] = mul_add(r[i], m, s);
}

// What follows an inner law's draw in Gumbel and Lognormal: unless the
// status is negative, one vector step in place and the affine pass.  The
// status is the inner draw's.
template <class T>
int32_t then_step(int32_t status, int32_t n, T* r, void (*step)(int, T*), T m, T s) {
    if (status < 0) return status;
    step(n, r);
    affine(n, r, m, s);
    return status;
}

// -x: the double form negates, the single form subtracts from 0 (which
// turns -0 into +0).
inline double negate(double x) { return -x; }
inline float negate(float x) { return 0.0f - x; }

// -2x, formed as the negative of x doubled by an addition (exact).
inline double minus_twice(double x) { return -(x + x); }
inline float minus_twice(float x) { return 0.0f - (x + x); }

// A block of the laws' stack buffers.
constexpr int32_t kBlock = 1024;

}  // namespace xeb::laws
