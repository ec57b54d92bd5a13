// Inverse hyperbolic sine, cosine and tangent over arrays: each the
// logarithm of an algebraic expression w of the argument,
//   asinh x = log(|x| + sqrt(x^2 + 1)),   acosh x = log(x + sqrt(x^2 - 1)),
//   atanh x = log((1 + |x|) / (1 - |x|)) / 2,
// with the sign of x put back on asinh and atanh.
//
// Double, on the x87 with its 64-bit significand, in blocks of up to 64
// pairs: a first pass forms w for the block at 80 bits (the square roots
// and divisions back to back), a second takes the logarithms.  A pair with
// an argument outside the fast range is finished by the one-element path
// in the first pass.  w is never rounded to double; its logarithm is
//   log w = (e ln 2 + hi_i + lo_i) + q(r),  w = 2^e c_i (1 + r), c_i = 1 + i/256,
// with the natural logarithm's table and its degree-6 polynomial (fit error
// 2^-64 absolute on [0, 1/256)).
// Error budget, in ulps of the result:
//   w carries three or four roundings of 2^-64 relative (sqrt halves the
//   error of its argument); log w inherits them as an absolute error of
//   up to 2^-63, which counts where the result is small: up to 0.3 ulp for
//   Asinh at the low end of its fast range (2^-9), where w is near 1.  Atanh
//   forms w = 2|x| / (1 - |x|) + 1, whose one rounding near 1 is 2^-64
//   (0.125 ulp at 2^-10).  Acosh's x^2 - 1 loses up to 10 bits at
//   x = 1.0005 (a relative 2^-54 in w - 1, halved by the square root:
//   0.13 ulp);
//   r = t rcp_i with rcp_i rounded to double: 2^-62 absolute, < 0.25 ulp
//   in the table rows just above 1;
//   the polynomial and the sums at 80 bits: < 0.05 ulp;
//   the store: 0.5 ulp.  Bounds 0.8 (Asinh), 0.85 (Acosh), 0.75 (Atanh);
//   measured 0.68 (Asinh near 0.002), 0.62 (Atanh), 0.63 (Acosh in its fast
//   range, 0.76 on [1, 1.00048828125), where the fitted near-1 polynomial
//   below sets it).
// Outside the fast ranges: Asinh below 2^-9 x - x^3/6 + 3 x^5/40 and Atanh
// below 2^-10 x + x^3/3 + x^5/5 (truncations below 2^-58 relative); Acosh
// on [1, 1.00048828125) sqrt(2d) (1 + d (C1 + d (C2 + d C3))), d = x - 1
// (fit error 2^-60 relative).
//
// Single, in double arithmetic (the x87's 53 bits), groups of four: w in
// double (w - 1 keeps 2^-52 absolute, far below a float's ulp of the
// result), its logarithm from the same table (hi + lo, rcp) and
// r + r^2 (L0 + L1 r + L2 r^2) on [0, 1/256) (fitted, 2^-36.5 relative):
// below 2^-35 relative before the rounding to float.  Bound 0.51 ulp;
// measured 0.5001.  Fast ranges: Asinh from 2^-12, Acosh from 1, Atanh from
// 2^-10; below them the series of the double forms in double.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "frame/kernel_frame.h"
#include "vecmath/kernel_table.h"
#include "vecmath/hyperbolic_tables.h"
#include "xebruk/vm_hyperbolic.h"

namespace xeb {
namespace {

using explog::LogRow;
using frame::Arrays;

constexpr uint64_t kSignBit = 0x8000000000000000ull;
constexpr uint32_t kInfHigh = 0x7FF00000;
// The NaN of a domain fault: every bit set but the sign's (which Atanh sets
// for negative arguments).
constexpr uint64_t kDomainNaN = 0x7FFFFFFFFFFFFFFFull;
constexpr uint32_t kDomainNaNSingle = 0x7FFFFFFF;

inline long double x87_ln2() { return fpu::x87_constant<fpu::X87Constant::Ln2>(); }

// A NaN stored through the x87, which quiets a signalling one.
inline double through_x87(double x) {
    double out;
    fpu::x87_copy(&x, &out);
    return out;
}

// ---------------------------------------------------------------- logarithm of w

// log w for w >= 1 held at 80 bits.  The exponent e and the row i are read
// from w rounded to double (which may carry into the next row or binade:
// then t below is a hair negative, which the polynomial takes as well);
// t = w 2^-e - c_i is exact, both terms lying in [1, 2].  w from 2^1022 on
// (Asinh and Acosh near the largest double, up to 2^1025) is scaled by 2^-64
// first, so that it has a double image and 2^-e is normal.
inline long double log_extended(long double w) {
    int scaled = 0;
    if (w >= 0x1p1022L) {
        w *= 0x1p-64L;
        scaled = 64;
    }
    const uint64_t b = bits(static_cast<double>(w));
    const int e = static_cast<int>(b >> 52) - 1023;
    const unsigned i = (b >> 44) & 0xFF;
    const LogRow& row = explog::lnTable[i];
    const double unscale = double_from_bits(static_cast<uint64_t>(1023 - e) << 52);
    const double c = double_from_bits(0x3FF0000000000000ull | static_cast<uint64_t>(i) << 44);
    const long double r = (w * unscale - c) * row.rcp;
    const double(&A)[6] = explog::kLnPoly;
    const long double q = r * (A[0] + r * (A[1] + r * (A[2] + r * (A[3] + r * (A[4] + r * A[5])))));
    return (((e + scaled) * x87_ln2() + row.hi) + row.lo) + q;
}

// ---------------------------------------------------------------- double kernels

// The block loop: pairs in blocks of up to kBlockPairs through two passes,
// an odd last element alone.  K supplies fast (both of a pair in the fast
// range), argument (w at 80 bits), finish (the end step on log w) and one
// (the one-element path, which stores its result and raises its event).
constexpr int kBlockPairs = 64;

template <class K>
void run_blocks(int n, const Arrays<double>& x) {
    if (n <= 0) return;
    frame::ControlWords words(K::x87, K::clean_mxcsr);
    long double w[2 * kBlockPairs];
    bool finished[kBlockPairs];
    const int pairs = n / 2;
    for (int first = 0; first < pairs; first += kBlockPairs) {
        const int count = std::min(kBlockPairs, pairs - first);
        for (int p = 0; p < count; ++p) {
            const int i = 2 * (first + p);
            const double a0 = x.a[i], a1 = x.a[i + 1];
            finished[p] = !(K::fast(a0) && K::fast(a1));
            if (finished[p]) {
                K::one(x, i);
                K::one(x, i + 1);
            } else {
                w[2 * p] = K::argument(a0);
                w[2 * p + 1] = K::argument(a1);
            }
        }
        for (int p = 0; p < count; ++p) {
            if (finished[p]) continue;
            const int i = 2 * (first + p);
            x.y[i] = K::finish(log_extended(w[2 * p]), x.a[i]);
            x.y[i + 1] = K::finish(log_extended(w[2 * p + 1]), x.a[i + 1]);
        }
    }
    if (n % 2) K::one(x, n - 1);
}

inline double with_sign_of(double v, double x) { return double_from_bits(bits(v) | (bits(x) & kSignBit)); }

struct AsinhD : frame::KernelPolicy<double> {
    static constexpr uint16_t x87 = frame::kX87Wide;
    [[maybe_unused]] static constexpr const char* name = "_xebdAsinh_HA";
    static constexpr uint32_t kLow = 0x3F600000;  // 2^-9

    static bool fast(double x) { return (high_word(x) & 0x7FFFFFFFu) - kLow < 0x40900000u; }
    static long double argument(double x) {
        const long double ax = std::fabs(x);
        return ax + fpu::x87_sqrt(ax * ax + 1.0L);
    }
    static double finish(long double log_w, double x) { return with_sign_of(static_cast<double>(log_w), x); }

    static void one(const Arrays<double>& x, int i) {
        const double a = x.a[i];
        const uint32_t h = high_word(a) & 0x7FFFFFFFu;
        if (h < kLow) {
            const long double ax = std::fabs(a), z = ax * ax;
            x.y[i] = with_sign_of(static_cast<double>(ax + ax * z * (-0x1.5555555555555p-3 + 0x1.3333333333333p-4 * z)), a);
        } else if (h >= kInfHigh) {
            x.y[i] = through_x87(a);
        } else {
            x.y[i] = finish(log_extended(argument(a)), a);
        }
    }
};

struct AcoshD : frame::KernelPolicy<double> {
    static constexpr uint16_t x87 = frame::kX87Wide;
    static constexpr const char* name = "_xebdAcosh_HA";
    static constexpr int32_t kOne = 0x3FF00000;
    static constexpr int32_t kFastLow = 0x3FF00200;  // 1.00048828125
    // acosh(1 + d) ~ sqrt(2d) (1 + d (C1 + d (C2 + d C3))) on [0, 2^-11).
    static constexpr double kC1 = -0x1.555555554cfd2p-4;  // 0xBFB555555554CFD2
    static constexpr double kC2 = 0x1.333330a736759p-6;   // 0x3F9333330A736759
    static constexpr double kC3 = -0x1.6d772cca47234p-8;  // 0xBF76D772CCA47234

    static bool fast(double x) {
        const int32_t h = static_cast<int32_t>(high_word(x));
        return h >= kFastLow && h < static_cast<int32_t>(kInfHigh);
    }
    static long double argument(double x) {
        const long double v = x;
        return v + fpu::x87_sqrt(v * v - 1.0L);
    }
    static double finish(long double log_w, double) { return static_cast<double>(log_w); }

    static void one(const Arrays<double>& x, int i) {
        const double a = x.a[i];
        const int32_t h = static_cast<int32_t>(high_word(a));
        if (fast(a)) {
            x.y[i] = finish(log_extended(argument(a)), a);
        } else if (h >= static_cast<int32_t>(kInfHigh)) {  // +infinity, positive NaNs
            x.y[i] = through_x87(a);
        } else if (h >= kOne) {
            const long double d = static_cast<long double>(a) - 1.0L;
            x.y[i] = static_cast<double>(fpu::x87_sqrt(2.0L * d) * (1.0L + d * (kC1 + d * (kC2 + d * kC3))));
        } else {  // below 1, negative numbers and negative NaNs included
            x.y[i] = double_from_bits(kDomainNaN);
            if (!std::isnan(a)) frame::raise<AcoshD>(XEB_STATUS_DOMAINFAULT, i, x);
        }
    }
};

struct AtanhD : frame::KernelPolicy<double> {
    static constexpr uint16_t x87 = frame::kX87Wide;
    static constexpr const char* name = "_xebdAtanh_HA";
    static constexpr uint32_t kLow = 0x3F500000;  // 2^-10
    static constexpr uint32_t kOne = 0x3FF00000;

    static bool fast(double x) { return (high_word(x) & 0x7FFFFFFFu) - kLow < kOne - kLow; }
    // (1 + |x|) / (1 - |x|) as 2|x| / (1 - |x|) + 1: one subtraction, one
    // multiplication, one division and one addition, whose rounding near
    // w = 1 is half that of the quotient -2 / (|x| - 1) near 2.
    static long double argument(double x) {
        const long double ax = std::fabs(static_cast<long double>(x));
        return 2.0L * ax / (1.0L - ax) + 1.0L;
    }
    static double finish(long double log_w, double x) {
        return with_sign_of(static_cast<double>(0.5L * log_w), x);
    }

    static void one(const Arrays<double>& x, int i) {
        const double a = x.a[i];
        const uint32_t h = high_word(a) & 0x7FFFFFFFu;
        if (h < kLow) {
            const long double ax = std::fabs(a), z = ax * ax;
            x.y[i] = with_sign_of(static_cast<double>(ax + ax * z * (0x1.5555555555555p-2 + 0x1.999999999999ap-3 * z)), a);
        } else if (h < kOne) {
            x.y[i] = finish(log_extended(argument(a)), a);
        } else if (h == kOne && low_word(a) == 0) {
            x.y[i] = std::copysign(std::numeric_limits<double>::infinity(), a);
            frame::raise<AtanhD>(XEB_STATUS_POLE, i, x);
        } else {
            x.y[i] = with_sign_of(double_from_bits(kDomainNaN), a);
            if (!std::isnan(a)) frame::raise<AtanhD>(XEB_STATUS_DOMAINFAULT, i, x);
        }
    }
};

// ---------------------------------------------------------------- single kernels

constexpr double kLn2 = 0x1.62e42fefa39efp-1;
constexpr uint32_t kFloatInf = 0x7F800000;

// log w for a double w >= 1: 2^e (1 + i/256) (1 + r), the table row's
// hi + lo and the fitted polynomial.
inline double log_double(double w) {
    const uint64_t b = bits(w);
    const int e = static_cast<int>(b >> 52) - 1023;
    const LogRow& row = explog::lnTable[(b >> 44) & 0xFF];
    const double t = double_from_bits((b & 0x00000FFFFFFFFFFFull) | 0x3FF0000000000000ull) - 1.0;
    const double r = t * row.rcp;
    const double(&L)[3] = hyperbolic::kLogSingle;
    return (e * kLn2 + row.hi) + (row.lo + (r + r * r * (L[0] + r * (L[1] + r * L[2]))));
}

inline float with_sign_of(float v, float x) { return float_from_bits(bits(v) | (bits(x) & 0x80000000u)); }

// The group path of the three: four arguments in the fast range, or none
// of them here.
template <class K>
inline bool group_of_four(const Arrays<float>& x, int i) {
    const float a0 = x.a[i], a1 = x.a[i + 1], a2 = x.a[i + 2], a3 = x.a[i + 3];
    if (!(K::fast(bits(a0)) && K::fast(bits(a1)) && K::fast(bits(a2)) && K::fast(bits(a3)))) return false;
    const float r0 = K::value(a0), r1 = K::value(a1), r2 = K::value(a2), r3 = K::value(a3);
    x.y[i] = r0;
    x.y[i + 1] = r1;
    x.y[i + 2] = r2;
    x.y[i + 3] = r3;
    return true;
}

struct SinglePolicy : frame::KernelPolicy<float> {
    static constexpr uint16_t x87 = frame::kX87Narrow;
    static constexpr bool clean_mxcsr = true;
};

struct AsinhS : SinglePolicy {
    [[maybe_unused]] static constexpr const char* name = "_xebsAsinh_HA";
    static constexpr uint32_t kLow = 0x39800000;  // 2^-12
    static bool fast(uint32_t w) { return (w & 0x7FFFFFFFu) - kLow < kFloatInf - kLow; }
    static float value(float x) {
        const double ax = std::fabs(x);
        return with_sign_of(static_cast<float>(log_double(ax + std::sqrt(ax * ax + 1.0))), x);
    }
    static bool group_path(const Arrays<float>& x, int i) { return group_of_four<AsinhS>(x, i); }
    static void one(const Arrays<float>& x, int i) {
        const float a = x.a[i];
        const uint32_t h = bits(a) & 0x7FFFFFFFu;
        if (fast(h)) x.y[i] = value(a);
        else if (h >= kFloatInf) x.y[i] = a + a;
        else {
            const double ax = std::fabs(a), z = ax * ax;
            x.y[i] = with_sign_of(static_cast<float>(ax + ax * z * (-0x1.5555555555555p-3 + 0x1.3333333333333p-4 * z)), a);
        }
    }
};

struct AcoshS : SinglePolicy {
    static constexpr const char* name = "_xebsAcosh_HA";
    static constexpr uint32_t kOne = 0x3F800000;
    static bool fast(uint32_t w) { return w - kOne < kFloatInf - kOne; }
    static float value(float x) {
        const double v = x;
        return static_cast<float>(log_double(v + std::sqrt(v * v - 1.0)));
    }
    static bool group_path(const Arrays<float>& x, int i) { return group_of_four<AcoshS>(x, i); }
    static void one(const Arrays<float>& x, int i) {
        const float a = x.a[i];
        const uint32_t w = bits(a);
        if (fast(w)) x.y[i] = value(a);
        else if (static_cast<int32_t>(w) >= static_cast<int32_t>(kFloatInf)) x.y[i] = a + a;  // +inf, positive NaNs
        else {  // below 1, negative numbers and negative NaNs included
            x.y[i] = float_from_bits(kDomainNaNSingle);
            if (!std::isnan(a)) frame::raise<AcoshS>(XEB_STATUS_DOMAINFAULT, i, x);
        }
    }
};

struct AtanhS : SinglePolicy {
    static constexpr const char* name = "_xebsAtanh_HA";
    static constexpr uint32_t kLow = 0x3A800000;  // 2^-10
    static constexpr uint32_t kOne = 0x3F800000;
    static bool fast(uint32_t w) { return (w & 0x7FFFFFFFu) - kLow < kOne - kLow; }
    static float value(float x) {
        const double ax = std::fabs(x);
        return with_sign_of(static_cast<float>(0.5 * log_double((1.0 + ax) / (1.0 - ax))), x);
    }
    static bool group_path(const Arrays<float>& x, int i) { return group_of_four<AtanhS>(x, i); }
    static void one(const Arrays<float>& x, int i) {
        const float a = x.a[i];
        const uint32_t h = bits(a) & 0x7FFFFFFFu;
        if (fast(h)) {
            x.y[i] = value(a);
        } else if (h < kLow) {
            const double ax = std::fabs(a), z = ax * ax;
            x.y[i] = with_sign_of(static_cast<float>(ax + ax * z * (0x1.5555555555555p-2 + 0x1.999999999999ap-3 * z)), a);
        } else if (h == kOne) {
            x.y[i] = std::copysign(std::numeric_limits<float>::infinity(), a);
            frame::raise<AtanhS>(XEB_STATUS_POLE, i, x);
        } else {
            x.y[i] = with_sign_of(float_from_bits(kDomainNaNSingle), a);
            if (!std::isnan(a)) frame::raise<AtanhS>(XEB_STATUS_DOMAINFAULT, i, x);
        }
    }
};

}  // namespace

void baseline::dAsinh_HA(int n, const double* a, double* r) { run_blocks<AsinhD>(n, frame::unary(a, r)); }
void baseline::sAsinh_HA(int n, const float* a, float* r) { frame::run<AsinhS>(n, frame::unary(a, r)); }
void baseline::dAcosh_HA(int n, const double* a, double* r) { run_blocks<AcoshD>(n, frame::unary(a, r)); }
void baseline::sAcosh_HA(int n, const float* a, float* r) { frame::run<AcoshS>(n, frame::unary(a, r)); }
void baseline::dAtanh_HA(int n, const double* a, double* r) { run_blocks<AtanhD>(n, frame::unary(a, r)); }
void baseline::sAtanh_HA(int n, const float* a, float* r) { frame::run<AtanhS>(n, frame::unary(a, r)); }

}  // namespace xeb

// The exported names run the kernel class in use.
using xeb::vm::active;

extern "C" {

void xebdAsinh_HA(int n, const double* a, double* r) { active.dAsinh_HA(n, a, r); }
void xebdAsinh_50(int n, const double* a, double* r) { active.dAsinh_50(n, a, r); }
void xebsAsinh_HA(int n, const float* a, float* r) { active.sAsinh_HA(n, a, r); }
void xebsAsinh_21(int n, const float* a, float* r) { active.sAsinh_21(n, a, r); }
void xebsAsinh_11(int n, const float* a, float* r) { active.sAsinh_11(n, a, r); }

void xebdAcosh_HA(int n, const double* a, double* r) { active.dAcosh_HA(n, a, r); }
void xebdAcosh_50(int n, const double* a, double* r) { active.dAcosh_50(n, a, r); }
void xebsAcosh_HA(int n, const float* a, float* r) { active.sAcosh_HA(n, a, r); }
void xebsAcosh_21(int n, const float* a, float* r) { active.sAcosh_21(n, a, r); }
void xebsAcosh_11(int n, const float* a, float* r) { active.sAcosh_11(n, a, r); }

void xebdAtanh_HA(int n, const double* a, double* r) { active.dAtanh_HA(n, a, r); }
void xebdAtanh_50(int n, const double* a, double* r) { active.dAtanh_50(n, a, r); }
void xebsAtanh_HA(int n, const float* a, float* r) { active.sAtanh_HA(n, a, r); }
void xebsAtanh_21(int n, const float* a, float* r) { active.sAtanh_21(n, a, r); }
void xebsAtanh_11(int n, const float* a, float* r) { active.sAtanh_11(n, a, r); }

}  // extern "C"
