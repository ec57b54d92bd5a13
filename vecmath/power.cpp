// Power over arrays: r[i] = a[i]^b[i] (Pow) and r[i] = a[i]^b (Powx).
//
// All forms go x -> log2(x) -> w = y * log2(x) -> 2^w, and all decide the
// special arguments (zeros, infinities, NaNs, negative bases, x = 1, y = 0)
// by one table, pow_special below.  Overflow and underflow raise nothing.
//
// Double HA (Pow, Powx; the single HA forms run the same core on their
// widened arguments and round once to float).  log2(x) = n + T[j] +
// log2(1 + v/R0): j = the top 10 significand bits rounded (513 rows), R_j a
// 23-bit value near 1/(c ln 2) so that m * R_j is exact in two pieces,
// v = m * R_j - R0 with |v| < 2^-9.4, T[j] = log2(R0/R_j) as a pair, and the
// exponent split at m = 1.5 so that both neighbours of 1 use row 0 or 512
// with T = 0: no cancellation.  log2(1 + v/R0) - v is the degree-7
// polynomial W (powLogTail; its measured error, relative to log2(1 + v/R0),
// grows with |v| to 2^-64.5 at 2^-9.4, which is also its error relative to
// log2 x next to x = 1, where T = 0); its leading term W2 v^2, up to 2^-11
// of log2 x, is formed as a pair, so that its rounding does not cost
// 2^-64 of log2 x.  L = L0 + Ls is
// carried as a pair; y * L = T + Z with T = yh * Lh exact (27-bit halves).
// T is split as k/128 + f, |f| <= 2^-8, 2^f - 1 by the degree-5 E
// (powExp2Tail, relative error 2^-60.4), 2^(i/128) as a pair.  The tables
// and coefficient sets of every form are in pow_tables.inc with their errors.
// Error budget: the log pair, relative: W's fit 2^-64.5 (at |v| = 2^-9.4,
// next to x = 1 where T = 0; it shrinks with |v| and with |T|), the
// roundings 2^-70.  Times |w| < 1075: 2^-54.4 absolute in w, 2^-55 relative
// in the result, up to 0.24 ulp (as much only where |w| nears the ends of
// the range); exp2 part 2^-60; the final sum hi + (lo + hi * p) rounds
// once: 0.5 ulp, and the roundings of lo + hi * p and inside p add up to
// 0.01 ulp.  Total below 0.75 ulp (0.72 measured).  In the denormal range
// the sum is kept as a pair and rounded once onto the denormal grid: the
// same bound there.  The single HA forms round this once more, to float:
// below 0.51 ulp of a float.
//
// Double 50.  64-bit significand throughout: log2 by the 256-row table
// and the degree-6 Q series (or the x87's fyl2x for denormals and
// |x| in [0.25, 4), where the relative error of the table path would grow),
// then 2^w by a 2^-14 reduction, three 80-bit tables (2^(i/1024) and
// 2^(i/32) are the exponential's expMid and expCoarse) and a cubic.  The
// roundings of L and w at 64 bits each cost up to 2^-54 absolute in w when
// |w| nears 1075, 0.35 ulp each: below 1.3 ulp, bound 4.
//
// Single 21.  A cubic in m per 256 bands for log2 (error 2.6e-12; within
// 2^-8 of x = 1 the series of log2(1 + s) instead, whose error is relative),
// t = L*y in doubles, 2^t by a 2^-6 reduction, a 64-row table and a
// quadratic (relative error 3e-8, 0.5 ulp), one rounding to float: below
// 1.1 ulp, bound 4.
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "frame/kernel_frame.h"
#include "frame/simd.h"
#include "vecmath/explog_tables.h"
#include "vecmath/kernel_table.h"
#include "vecmath/power.h"
#include "xebruk/vm_power.h"

namespace xeb {
namespace {

#include "vecmath/pow_tables.inc"

using frame::Arrays;

// ---- the special arguments, shared by every form ----

// 0: y is not an integer, 1: odd integer, 2: even integer.  Zeros are
// even, magnitudes of 2^53 and more are even, infinities and NaNs are not
// integers.
int pow_parity(double y) {
    const uint64_t u = bits(y);
    if ((u << 1) == 0) return 2;
    const int biased = static_cast<int>((u >> 52) & 0x7FF);
    if (biased == 0x7FF || biased < 1023) return 0;
    const int e = biased - 1023;
    if (e > 52) return 2;
    const uint64_t significand = u & 0x000FFFFFFFFFFFFFull;
    if (significand & ((uint64_t{1} << (52 - e)) - 1)) return 0;
    // The units bit: bit 52 - e of the significand, or the hidden bit for e = 0.
    if (e == 0) return 1;
    return (significand >> (52 - e)) & 1 ? 1 : 2;
}

template <class T>
struct NaNBits;
template <>
struct NaNBits<double> {
    static double value() { return double_from_bits(0xFFF8000000000000ull); }
    static double quiet(double x) { return double_from_bits(bits(x) | 0x0008000000000000ull); }
};
template <>
struct NaNBits<float> {
    static float value() { return float_from_bits(0xFFC00000u); }
    static float quiet(float x) { return float_from_bits(bits(x) | 0x00400000u); }
};

// What the special table decided for (x, y): either a result with its
// event code, or the arithmetic on |x| with a sign factor.
template <class T>
struct Decision {
    bool decided;
    T result;
    int code;
    T magnitude;  // |x| when not decided
    T sign;       // +1 or -1 (odd y with negative x)
};

template <class T>
Decision<T> pow_special(T x, T y) {
    const T inf = static_cast<T>(HUGE_VAL);
    auto done = [](T r, int code = 0) { return Decision<T>{true, r, code, 0, 1}; };
    const bool x_nan = std::isnan(x), y_nan = std::isnan(y);
    if (y == 0) return done(1);
    if (x == 1) return done(1);
    if (y == 1) return done(x_nan ? NaNBits<T>::quiet(x) : x);  // x itself, every sign and zero
    if (x == -1 && std::isinf(y)) return done(1);
    if (x_nan) return done(NaNBits<T>::quiet(x));
    if (y_nan) return done(NaNBits<T>::quiet(y));
    if (x == 0 && y == -inf) return done(inf, XEB_STATUS_DOMAINFAULT);
    const T ax = std::fabs(x);
    if (std::isinf(y)) return done((ax > 1) == (y > 0) ? inf : 0);
    const bool negative = std::signbit(x);
    const int parity = pow_parity(y);
    if (std::isinf(x)) {
        const T r = y > 0 ? inf : 0;
        return done(negative && parity == 1 ? -r : r);
    }
    if (x == 0) {
        const T r = y > 0 ? 0 : inf;
        const int code = y > 0 ? 0 : XEB_STATUS_DOMAINFAULT;
        return done(negative && parity == 1 ? -r : r, code);
    }
    if (negative) {
        if (parity == 0) return done(NaNBits<T>::value(), XEB_STATUS_DOMAINFAULT);
        return {false, 0, 0, ax, parity == 1 ? T(-1) : T(1)};
    }
    return {false, 0, 0, x, 1};
}

// ---- double HA core ----

constexpr double kShift45 = 0x1.8p+45;  // 1.5 * 2^45: unit 2^-7 in its last place

inline double cut27(double v) { return double_from_bits(bits(v) & ~((uint64_t{1} << 27) - 1)); }
inline double significand(double x) {
    return double_from_bits((bits(x) & 0x000FFFFFFFFFFFFFull) | 0x3FF0000000000000ull);
}
inline int exponent_of(double v) { return static_cast<int>((bits(v) >> 52) & 0x7FF) - 1023; }
inline double power_of_two(int e) { return double_from_bits(static_cast<uint64_t>(e + 1023) << 52); }

// The double HA arithmetic is written once over V, a double or a pair of
// doubles in one SSE register (the two elements of a group); packed and
// scalar SSE operations round alike, so both give the same bits.
using Pair = simd::Vec<double, 2>;

inline Pair cut27(Pair a) {
    return simd::bitcast<double>(simd::bitcast<uint64_t>(a) & ~((uint64_t{1} << 27) - 1));
}

// Lane access: a double is one lane.
inline double lane(double v, int) { return v; }
inline double lane(Pair p, int i) { return simd::lane(p, i); }
template <class V>
V from_lanes(const double* x);
template <>
inline double from_lanes<double>(const double* x) { return x[0]; }
template <>
inline Pair from_lanes<Pair>(const double* x) { return simd::from_lanes<Pair>(x); }
template <class V>
constexpr int lanes = sizeof(V) / sizeof(double);

constexpr double kR0 = powRcpHi[0];
constexpr double kShift = kShift45;
// log2(1 + v/R0) - v (powLogTail)
constexpr double W1 = powLogTail[0], W2 = powLogTail[1], W3 = powLogTail[2], W4 = powLogTail[3],
                 W5 = powLogTail[4], W6 = powLogTail[5], W7 = powLogTail[6], W2twice = 2 * powLogTail[1];
// 2^f - 1 (powExp2Tail)
constexpr double E1 = powExp2Tail[0], E2 = powExp2Tail[1], E3 = powExp2Tail[2], E4 = powExp2Tail[3],
                 E5 = powExp2Tail[4];

// W2 split for an exact product with a 26-bit factor: 25 bits and the rest.
constexpr double W2hi = -0x1.62e434p-2, W2lo = W2 - W2hi;
static_assert(W2lo > -0x1p-27 && W2lo < 0x1p-27, "W2hi holds W2's leading bits");

// log2(1 + (v + vl)/R0) - (v + vl) on |v| < 2^-9.4, vl < 2^-50 |v| the low
// part of the argument (which enters through the derivative W1 + 2 W2 v),
// as sq + rest: sq = W2 v^2 (near 2^-20 |log2 x| next to 1) as the pair
// sq + sq_lo, good to 2^-75 of itself, the rest (below 2^-11 of sq) in one
// double.  In a single double the rounding of the W2 v^2 term alone would
// cost 2^-64 of log2 x, which a product y log2 x near 1000 turns into half
// an ulp of the result.  Estrin's scheme for the rest.
template <class V>
inline void log_tail(V v, V vl, V& sq, V& sq_lo, V& rest) {
    // v^2 = vh^2 + vl2 (v + vh), the first product exact (26-bit halves).
    const V vh = cut27(v), vv = v - vh;
    const V s_hi = vh * vh, s_lo = vv * (v + vh);
    const V sh = cut27(s_hi), sl = s_hi - sh;  // s_hi has 52 bits: two 26-bit halves
    sq = W2hi * sh;                             // exact: 25 bits times 26
    sq_lo = W2hi * sl + (W2lo * s_hi + W2 * s_lo);
    const V v2 = v * v, v4 = v2 * v2;
    rest = (W1 + v2 * (W3 + W4 * v) + v4 * ((W5 + W6 * v) + v2 * W7)) * v + vl * (W1 + W2twice * v);
}

// 2^f - 1 on |f| <= 2^-8.
template <class V>
inline V exp2_tail(V f) {
    const V f2 = f * f;
    return ((E1 + E2 * f) + f2 * ((E3 + E4 * f) + f2 * E5)) * f;
}

// y * log2(x) = t + z, |z| < 2^-40 |t|, for x positive and normal; l0, the
// leading part of log2 x, decides the early exit.  `adjust` is taken off
// the exponent (52 for a denormal scaled up by 2^52).
template <class V>
__attribute__((always_inline)) inline void y_log2(V x, V y, const int adjust[], V& l0, V& t, V& z) {
    constexpr int N = lanes<V>;
    double m_[N], r_[N], g_[N], lo_[N];
    for (int l = 0; l < N; ++l) {
        const double xl = lane(x, l);
        const uint32_t h = high_word(xl);
        const unsigned j = ((h & 0xFFC00u) + 0x400u) >> 11;
        // The exponent, counted from m = 1.5 (rows j >= 256 take the next one).
        const int n = (static_cast<int32_t>(h - 0x3FE7FC00u) >> 20) - adjust[l];
        m_[l] = significand(xl);
        r_[l] = powRcpHi[j];
        g_[l] = n + powLogPair[j][0];  // exact: 20 fraction bits
        lo_[l] = powLogPair[j][1];
    }
    const V m = from_lanes<V>(m_), r = from_lanes<V>(r_), g = from_lanes<V>(g_);
    // v + ul = m * r - R0 exactly: both partial products are exact (27 or
    // 26 bits times 23), p1 - R0 is exact (p1 lies within 2^-9 of R0), and
    // the last sum is a two-sum.  Next to 1, where log2 x is tiny, any
    // absolute error here would be a large relative one.
    const V mh = cut27(m), ml = m - mh;
    const V p1 = mh * r, p2 = ml * r;
    const V q = p1 - kR0;
    const V v = q + p2;
    const V qv = v - q;
    const V ul = (q - (v - qv)) + (p2 - qv);
    V sq, sq_lo, rest;
    log_tail(v, ul, sq, sq_lo, rest);
    // u + u_err = v + sq exactly (|sq| < 2^-10 |v|: a fast two-sum), then
    // l0 + err = u + g exactly.
    const V u = v + sq;
    const V u_err = sq - (u - v);
    l0 = u + g;
    const V gu = l0 - u;
    const V err = (u - (l0 - gu)) + (g - gu);  // two-sum of u and g
    V ls = ((err + from_lanes<V>(lo_)) + ul) + ((u_err + sq_lo) + rest);
    // Renormalise L = l0 + ls so that |ls| <= ulp(l0) / 2.  Next to 1 the
    // rounding of u0 leaves up to half of log2 x in ul (x = 1 + 2^-52: v is
    // 2^-52, ul 0.44 * 2^-52), and an unnormalised pair would put that into
    // z, far outside the reduction range of 2^f - 1.
    {
        const V sum = l0 + ls;
        const V back = sum - l0;
        ls = (l0 - (sum - back)) + (ls - back);
        l0 = sum;
    }
    // y * (l0 + ls) in pieces: yh * lh is exact (27-bit halves).
    const V lh = cut27(l0), ll = l0 - lh;
    const V yh = cut27(y), yl = y - yh;
    t = yh * lh;
    z = yh * ll + yl * lh + yl * ll + y * ls;
}

// |L0 * y| >= 2^12: the result overflows or underflows whatever the low parts.
inline bool beyond_range(double l0, double y) { return exponent_of(l0) + exponent_of(y) > 11; }

// x^y * sign for x positive finite, y finite non-zero.
double pow_core(double x, double y, double sign) {
    int adjust = 0;
    if (x < DBL_MIN) {
        x *= 0x1p52;
        adjust = 52;
    }
    double l0, t, z;
    y_log2(x, y, &adjust, l0, t, z);
    if (beyond_range(l0, y)) {
        const bool grows = std::signbit(l0) == std::signbit(y);
        return grows ? sign * HUGE_VAL : sign * 0.0;
    }
    const double s = t + kShift45;
    const int32_t k = static_cast<int32_t>(low_word(s));  // round(t * 128)
    const double f = (t - (s - kShift45)) + z;
    int q = k >> 7;
    const double hi = powExp2Pair[k & 127][0], lo = powExp2Pair[k & 127][1];
    const double tail = lo + hi * exp2_tail(f);
    if (q >= 1025) return sign * HUGE_VAL;
    if (q < -1075) return sign * 0.0;
    if (q >= 1023) {
        --q;
        sign *= 2;
    }
    if (q > -963) return (hi + tail) * sign * power_of_two(q);
    // Denormal range: the sum as a pair, scaled up by 2^(q+111) (exact, normal),
    // rounded onto the denormal grid, then put right by the residual.
    const double sh = hi + tail, sl = (hi - sh) + tail;
    const double up = power_of_two(q + 111);
    const double a = sh * up, b = sl * up;
    double r = a * 0x1p-111;  // exact when the result is normal
    if (r < DBL_MIN) {
        const double residual = (a - r * 0x1p111) + b;  // a - r * 2^111 is exact
        constexpr double half_grid = 0x1p-964;            // half of 2^-1074, scaled by 2^111
        if (residual > half_grid) r += 0x1p-1074;
        else if (residual < -half_grid) r -= 0x1p-1074;
    }
    return r * sign;
}

// Two elements with positive normal x and finite non-zero y whose results
// are normal: the same arithmetic as pow_core in both lanes at once.
// False, with nothing stored, when either needs pow_core's range handling:
// |t| below 960 keeps k, q and the result well inside the normal range.
__attribute__((always_inline)) inline bool pow_pair(const double* x, const double* y, double* out) {
    const int adjust[2] = {0, 0};
    Pair l0, t, z;
    y_log2(from_lanes<Pair>(x), from_lanes<Pair>(y), adjust, l0, t, z);
    const Pair magnitude = simd::bitcast<double>(simd::bitcast<uint64_t>(t) & 0x7FFFFFFFFFFFFFFFull);
    if (simd::bits(simd::compare<simd::Cmp::Lt>(magnitude, 960.0)) != 3) return false;
    const Pair s = t + kShift;
    double hi_[2], lo_[2], scale_[2];
    for (int l = 0; l < 2; ++l) {
        const int32_t k = static_cast<int32_t>(low_word(lane(s, l)));
        hi_[l] = powExp2Pair[k & 127][0];
        lo_[l] = powExp2Pair[k & 127][1];
        scale_[l] = power_of_two(k >> 7);
    }
    const Pair f = (t - (s - kShift)) + z;
    const Pair hi = from_lanes<Pair>(hi_);
    const Pair tail = from_lanes<Pair>(lo_) + hi * exp2_tail(f);
    // (hi + tail) * 1 * 2^q, as pow_core computes it with sign 1.
    simd::store(out, (hi + tail) * from_lanes<Pair>(scale_));
    return true;
}

// ---- double 50 core (64-bit significand) ----

// log2(x) for x positive finite, by the table where that is accurate.
long double log2_50(double x) {
    const uint32_t h = high_word(x);
    const uint32_t biased = h >> 20;
    if (biased == 0 || (biased >= 0x3FD && biased <= 0x400)) {
        return fpu::x87_scaled_log2(1.0L, x);
    }
    constexpr long double Q1 = powLogSeries50[0], Q2 = powLogSeries50[1], Q3 = powLogSeries50[2],
                          Q4 = powLogSeries50[3], Q5 = powLogSeries50[4], Q6 = powLogSeries50[5];
    const unsigned i = (h >> 12) & 0xFF;
    // m' = the significand with its top eight bits cleared, so t = m - c exactly.
    const long double mp = double_from_bits((bits(x) & 0x00000FFFFFFFFFFFull) | 0x3FF0000000000000ull);
    const long double r = (mp - 1) * powLog50[i][2];
    const long double e = static_cast<int>(biased) - 1023;
    return e + powLog50[i][0] + powLog50[i][1] + r * (Q1 + r * (Q2 + r * (Q3 + r * (Q4 + r * (Q5 + r * Q6)))));
}

// 2^e in the 80-bit format, for |e| < 16382: significand 1.0, the exponent
// word biased by 16383.
inline long double power_of_two_80(int e) {
    struct Bits80 {
        uint64_t significand;
        uint16_t exponent;
    } b{0x8000000000000000ull, static_cast<uint16_t>(e + 16383)};
    long double r = 0;
    std::memcpy(&r, &b, 10);
    return r;
}

// 2^w at 64 bits, rounded once to double.
double exp2_50(long double w) {
    if (std::isnan(w)) return static_cast<double>(w + w);
    if (std::fabs(w) >= 1075) return w > 0 ? HUGE_VAL : 0.0;
    constexpr long double kShift38 = 0x1.8p+38L;  // unit 2^-14 in a double's last place
    constexpr long double C1 = powExp2Cubic50[0], C2 = powExp2Cubic50[1], C3 = powExp2Cubic50[2];
    const double u = static_cast<double>(w + kShift38);
    const int32_t k = static_cast<int32_t>(low_word(u));  // round(w * 16384)
    const long double f = w - (u - kShift38);
    const long double p = ((C3 * f + C2) * f + C1) * f + 1.0L;
    const long double scaled =
        p * powFine[k & 15] * explog::extended(explog::expMid[(k >> 4) & 31]) *
        explog::extended(explog::expCoarse[(k >> 9) & 31]);
    return static_cast<double>(scaled * power_of_two_80(k >> 14));
}

// ---- single 21 core ----

float pow21_core(float x, float y, float sign) {
    uint32_t w = bits(x);
    int e = 0;
    if (w < 0x00800000u) {  // denormal
        w = bits(x * 0x1p24f);
        e = -24;
    }
    e += static_cast<int>(w >> 23) - 127;
    const unsigned band = (w >> 15) & 0xFF;
    const double m = float_from_bits((w & 0x007FFFFFu) | 0x3F800000u);
    double l;
    if ((band == 0 && e == 0) || (band == 255 && e == -1)) {
        // x within 2^-8 of 1: log2(1 + s) by its series, so that L keeps its
        // relative accuracy (the band cubic is only good to 2.6e-12 absolute,
        // which a large y would multiply).  Relative error s^4/5 <= 2^-34.
        const double s = band == 0 ? m - 1 : m * 0.5 - 1;  // exact
        constexpr double L1 = powLog2Series21[0], L2 = powLog2Series21[1], L3 = powLog2Series21[2],
                         L4 = powLog2Series21[3];
        l = s * (L1 + s * (L2 + s * (L3 + s * L4)));
    } else {
        const double* c = powCubic[band];
        l = (e + c[0]) + c[2] * m * m + m * (c[1] + c[3] * m * m);
    }
    const double t = l * y;
    if (t > 512) return sign * HUGE_VALF;
    if (t < -512) return sign * 0.0f;
    constexpr double kShift17 = 196608.0;  // 1.5 * 2^17: unit 2^-6 in a float's last place
    const float u = static_cast<float>(t + kShift17);
    const uint32_t k = bits(u);
    const double scale = double_from_bits(static_cast<uint64_t>(((k + 0xFFC0u) & 0x1FFC0u) << 14) << 32);
    // The scaled row stays a double: rounded to float first, it would
    // overflow for results just below the float maximum (2^128 * 2^f, f < 0)
    // and lose bits on denormal results.
    const double r = scale * powExp2Single[k & 63];
    const double f = t - (u - kShift17);
    const double p = (powExp2Quadratic21[2] * f + powExp2Quadratic21[1]) * f + powExp2Quadratic21[0];
    return sign * static_cast<float>(p * r);
}

// ---- kernels ----

inline bool positive_normal(double x) { return high_word(x) - 0x00100000u < 0x7FE00000u; }
inline bool finite_nonzero(double y) { return (high_word(y) & 0x7FFFFFFFu) < 0x7FF00000u && y != 0; }

// The frame record of every form: events leave through a saved x87 image.
template <class T>
struct PowPolicy : frame::KernelPolicy<T> {
    static constexpr frame::Trampoline trampoline = frame::Trampoline::X87;
};

// The element loop common to all forms.  F is the form's frame record and
// supplies the core and the fast-domain test; Scalar says whether y comes
// from b[0] (Powx).
template <class F, bool Scalar, const char* Name>
struct PowKernel : F {
    using T = typename F::T;
    static constexpr const char* name = Name;

    static T y_of(const Arrays<T>& x, int i) { return Scalar ? x.b[0] : x.b[i]; }

    // Powx: b holds the scalar once per element of a group.
    static bool group_path(const Arrays<T>& x, int i) {
        const T* b = Scalar ? x.b : x.b + i;
        for (int k = 0; k < F::group; ++k)
            if (!F::fast(x.a[i + k], b[k])) return false;
        return F::group_core(x.a + i, b, x.y + i);
    }
    static void one(const Arrays<T>& x, int i) {
        const T a = x.a[i], b = y_of(x, i);
        if (F::fast(a, b)) {
            x.y[i] = F::core(a, b, 1);
            return;
        }
        const Decision<T> d = pow_special(a, b);
        x.y[i] = d.decided ? d.result : F::core(d.magnitude, b, d.sign);
        if (d.code != 0) {
            // Powx names array a for both inputs of the event.
            const Arrays<T> ev = Scalar ? Arrays<T>{x.a, x.a, x.y, x.z} : x;
            frame::raise<PowKernel>(d.code, i, ev);
        }
    }
};

// A group computed element by element with the form's core.
template <class F, class T>
bool one_by_one(const T* a, const T* b, T* r) {
    T out[F::group];
    for (int k = 0; k < F::group; ++k) out[k] = F::core(a[k], b[k], 1);
    for (int k = 0; k < F::group; ++k) r[k] = out[k];
    return true;
}

struct DoubleHA : PowPolicy<double> {
    static constexpr bool clean_mxcsr = true;  // arithmetic in SSE: needs MXCSR at nearest, no flush
    static constexpr uint16_t x87 = frame::kX87Narrow;
    static constexpr int group = 2;
    static bool fast(double a, double b) { return positive_normal(a) && finite_nonzero(b); }
    static double core(double a, double b, double sign) { return pow_core(a, b, sign); }
    __attribute__((always_inline)) static bool group_core(const double* a, const double* b, double* r) {
        return pow_pair(a, b, r);
    }
};

struct Double50 : PowPolicy<double> {  // x87 throughout: no MXCSR step
    static constexpr uint16_t x87 = frame::kX87Wide;
    static constexpr int group = 2;
    static bool fast(double a, double b) {
        return positive_normal(a) && (high_word(b) & 0x7FF00000u) != 0x7FF00000u && b != 0;
    }
    static double core(double a, double b, double sign) { return sign * exp2_50(b * log2_50(a)); }
    static bool group_core(const double* a, const double* b, double* r) { return one_by_one<Double50>(a, b, r); }
};

// The single forms: one element at a time, arithmetic in SSE doubles.
template <class Self>
struct SingleForm : PowPolicy<float> {
    static constexpr bool clean_mxcsr = true;
    static constexpr uint16_t x87 = frame::kX87Narrow;
    static constexpr int group = 1;
    static bool group_core(const float* a, const float* b, float* r) { return one_by_one<Self>(a, b, r); }
};

struct SingleHA : SingleForm<SingleHA> {
    static bool fast(float a, float b) { return positive_normal(a) && finite_nonzero(b); }
    static float core(float a, float b, float sign) { return static_cast<float>(pow_core(a, b, sign)); }
};

struct Single21 : SingleForm<Single21> {
    static bool fast(float a, float b) {
        return bits(a) - 0x00800000u < 0x7F000000u && (bits(b) & 0x7F800000u) != 0x7F800000u && b != 1;
    }
    static float core(float a, float b, float sign) { return pow21_core(a, b, sign); }
};

constexpr char kPowD[] = "_xebdPow_HA";
constexpr char kPow50[] = "_xebdPow_50";
constexpr char kPowxD[] = "_xebdPowx_HA";
constexpr char kPowS[] = "_xebsPow_HA";
constexpr char kPow21[] = "_xebsPow_21";
constexpr char kPowxS[] = "_xebsPowx_HA";

}  // namespace

int powParity(double y) { return pow_parity(y); }
PowSpecial powSpecialS(float x, float y) {
    const Decision<float> d = pow_special(x, y);
    return {d.decided, d.result, d.code, d.magnitude, d.sign};
}
PowSpecialOf<double> powSpecialD(double x, double y) {
    const Decision<double> d = pow_special(x, y);
    return {d.decided, d.result, d.code, d.magnitude, d.sign};
}

}  // namespace xeb

using xeb::frame::binary;
using xeb::frame::run;

namespace {
template <class K, class T>
void run_scalar(int n, const T* a, T b, T* r) {
    static_assert(K::group <= 2, "one copy of b per element of a group");
    const T copies[2] = {b, b};
    run<K>(n, xeb::frame::Arrays<T>{a, copies, r, r});
}
}  // namespace

void xeb::baseline::dPow_HA(int n, const double* a, const double* b, double* r) {
    run<xeb::PowKernel<xeb::DoubleHA, false, xeb::kPowD>>(n, binary(a, b, r));
}
void xeb::baseline::dPow_50(int n, const double* a, const double* b, double* r) {
    run<xeb::PowKernel<xeb::Double50, false, xeb::kPow50>>(n, binary(a, b, r));
}
void xeb::baseline::sPow_HA(int n, const float* a, const float* b, float* r) {
    run<xeb::PowKernel<xeb::SingleHA, false, xeb::kPowS>>(n, binary(a, b, r));
}
void xeb::baseline::sPow_21(int n, const float* a, const float* b, float* r) {
    run<xeb::PowKernel<xeb::Single21, false, xeb::kPow21>>(n, binary(a, b, r));
}
void xeb::baseline::dPowx_HA(int n, const double* a, double b, double* r) {
    run_scalar<xeb::PowKernel<xeb::DoubleHA, true, xeb::kPowxD>>(n, a, b, r);
}
void xeb::baseline::sPowx_HA(int n, const float* a, float b, float* r) {
    run_scalar<xeb::PowKernel<xeb::SingleHA, true, xeb::kPowxS>>(n, a, b, r);
}

using xeb::vm::active;

extern "C" {

void xebdPow_HA(int n, const double* a, const double* b, double* r) { active.dPow_HA(n, a, b, r); }
void xebdPow_50(int n, const double* a, const double* b, double* r) { active.dPow_50(n, a, b, r); }
void xebsPow_HA(int n, const float* a, const float* b, float* r) { active.sPow_HA(n, a, b, r); }
void xebsPow_21(int n, const float* a, const float* b, float* r) { active.sPow_21(n, a, b, r); }
void xebsPow_11(int n, const float* a, const float* b, float* r) { active.sPow_11(n, a, b, r); }

void xebdPowx_HA(int n, const double* a, double b, double* r) { active.dPowx_HA(n, a, b, r); }
void xebdPowx_50(int n, const double* a, double b, double* r) { active.dPowx_50(n, a, b, r); }
void xebsPowx_HA(int n, const float* a, float b, float* r) { active.sPowx_HA(n, a, b, r); }
void xebsPowx_21(int n, const float* a, float b, float* r) { active.sPowx_21(n, a, b, r); }
void xebsPowx_11(int n, const float* a, float b, float* r) { active.sPowx_11(n, a, b, r); }

}  // extern "C"
