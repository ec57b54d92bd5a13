// Arcsine, arccosine, arctangent and two-argument arctangent over arrays.
//
// Error budgets (the catalogue rows enforce the totals; the error of each
// coefficient set is measured by tools/invtrig_tables and written beside it;
// the single one-argument kernels were also measured over every float):
//  double Asin, Acos (x87, 64-bit significand), one element at a time:
//   |x| < 0.5: x + x P(x^2), P's relative error 2^-58.5; |x| >= 0.5:
//   pi/2 - sqrt(u) Q(u), u = 1 - |x| exact, Q's error 2^-55.8 (0.14 ulp of
//   sqrt(u) Q, at most 0.15 ulp of pi/2 - sqrt(u) Q >= pi/6); a dozen 64-bit
//   roundings, one rounding at the store: below 0.7 ulp (measured 0.65).
//  double Atan (every operation rounded to 53 bits, as the x87 at 0x200;
//   done in SSE doubles, two lanes, which round the same way): the
//   numerator |x| - c is exact, the denominator c (|x| - c) + 1 + c^2 and the
//   division cost up to 1.5 * 2^-53 of |t| <= 0.19 in the classes with a
//   centre; the polynomial 2^-56.7; the last rounding of hi - (...): below
//   0.9 ulp (measured 0.85).
//  double Atan2 (x87, 64 bits): |a| - c|b| is exact at 64 bits, t carries two
//   64-bit roundings, the polynomial 2^-56.7, one rounding at the store; a
//   group with a value outside 2^-1021 .. 2^1020 takes fpatan, within an ulp
//   of the 64-bit format: below 0.6 ulp (measured 0.56).
//  single Asin, Acos _HA (SSE floats): the root of w = (1 - |x|)/2 as a pair
//   rh + rl, rh its top 8 bits (rh^2 and w - rh^2 exact), rl from a
//   corrected reciprocal (2^-22 relative on a term below 2^-7 of the root);
//   P's error 2^-27.3; pi/2 as a pair; the last two float roundings: below
//   0.95 and 0.8 ulp (measured over all floats: 0.93, 0.80).
//  single Asin, Acos _21: sqrtps and no pair, so the rounding of the root
//   alone is up to an ulp of a result near pi/6: below 1.5 ulp (1.33, 1.17).
//  single Atan _HA: the polynomial 2^-28; t from one division of a rounded
//   denominator (1 + c|x| is not exact); hi + (lo + (tail + t)): below 0.96
//   ulp (0.95).  _21: the reciprocal by rcpps and one Newton step (2^-22):
//   below 1.5 ulp (1.40).
//  single Atan2 _HA: in doubles: with m <= M the two magnitudes,
//   t = (m - c M) / (M + c m) has an exact numerator and denominator, then
//   the polynomial 2^-28 and one rounding to float: below 0.6 ulp.  _21:
//   the same in floats (c M and the sum are rounded), pi/2 and pi as pairs:
//   below 2 ulp (measured 1.59).
#include <immintrin.h>

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "frame/kernel_frame.h"
#include "vecmath/kernel_table.h"
#include "xebruk/vm_invtrig.h"
#include "xebruk/vm_scalar.h"

namespace xeb {
namespace {

// Centre of a double arctangent class: c, 1 + c^2, atan(c) = hi + lo.
struct AtanCentre {
    double c, one_plus_c2, hi, lo;
};
#include "vecmath/invtrig_tables.inc"

using frame::Arrays;

constexpr uint64_t kAbs = 0x7FFFFFFFFFFFFFFFull;
constexpr double kSigns[2] = {1.0, -1.0};  // by the sign bit

template <class T, std::size_t N>
T horner(const double (&c)[N], T x) {
    T acc = c[0];
    for (std::size_t k = 1; k < N; ++k) acc = acc * x + c[k];
    return acc;
}

// ---- double arcsine and arccosine (x87, 64 bits) ------------------------

constexpr long double kRoot2 = 0xb.504f333f9de6544p-3L;   // 80-bit, significand 0xB504F333F9DE6544
constexpr long double kHalfPi = 0xc.90fdaa22168c235p-3L;  // 80-bit, significand 0xC90FDAA22168C235
constexpr double kPi = 0x1.921fb54442d18p+1;              // 0x400921FB54442D18
constexpr double kPiLow = 0x1.1a62633145c04p-53;          // 0x3CA1A62633145C04
// The arccosine of a negative |x| >= 0.5 is (R - low) * -1 + pi: by the sign bit.
constexpr double kAcosLow[2] = {0.0, kPiLow}, kPiBySign[2] = {0.0, kPi};
constexpr uint32_t kHalfHigh = 0x3FE00000;           // 0.5
constexpr uint64_t kOneBits = 0x3FF0000000000000ull;  // 1.0
constexpr uint64_t kInfBits = 0x7FF0000000000000ull;

// asin |x| for |x| < 0.5.
inline long double asin_small(long double ax) {
    const long double z = ax * ax, w = z * z;
    const long double p = horner(asinA, w) * z + horner(asinB, w) * w;
    return ax + p * ax;
}

// acos |x| = sqrt(u) Q(u), u = 1 - |x|, for |x| >= 0.5; a NaN (the x87's
// square root of a negative) for |x| above 1.
inline long double acos_large(long double ax) {
    const long double u = 1 - ax, v = u * u;
    const long double q = kRoot2 + horner(asinC, v) * v + u * (asinE[0] + horner(asinD, v) * v);
    return fpu::x87_sqrt(u) * q;
}

template <bool Cosine>
inline long double arcsine_near_zero(long double ax, unsigned negative) {
    const long double r = asin_small(ax) * kSigns[negative];
    return Cosine ? kHalfPi - r : r;
}
template <bool Cosine>
inline long double arcsine_near_one(long double ax, unsigned negative) {
    const long double big_r = acos_large(ax);
    const long double s = kSigns[negative];
    return Cosine ? (big_r - kAcosLow[negative]) * s + kPiBySign[negative] : (kHalfPi - big_r) * s;
}

template <bool Cosine>
struct ArcSineD : frame::KernelPolicy<double> {
    static constexpr uint16_t x87 = frame::kX87Wide;
    static constexpr int group = 1;
    static constexpr const char* name = Cosine ? "_xebdAcos_HA" : "_xebdAsin_HA";

    static bool group_path(const Arrays<double>& x, int i) {
        one(x, i);
        return true;
    }
    static void one(const Arrays<double>& x, int i) {
        const uint64_t b = bits(x.a[i]), abs_bits = b & kAbs;
        const unsigned negative = static_cast<unsigned>(b >> 63);
        const long double ax = double_from_bits(abs_bits);
        const long double r = static_cast<uint32_t>(abs_bits >> 32) < kHalfHigh
                                  ? arcsine_near_zero<Cosine>(ax, negative)
                                  : arcsine_near_one<Cosine>(ax, negative);
        x.y[i] = static_cast<double>(r);
        // Above 1 or infinite (not 1 itself, not a NaN): the result is the NaN
        // of the square root.
        if (abs_bits > kOneBits && abs_bits <= kInfBits) frame::raise<ArcSineD>(XEB_STATUS_DOMAINFAULT, i, x);
    }
};

// ---- double arctangent (53-bit rounding) ---------------------------------

constexpr uint64_t kAtanFarBits = 0x4003800000000000ull;  // 2.4375: above it t = -1/|x|
// The classes with centres 0.5, 1, 1.5 begin above 0.4375, 0.6875, 1.1875,
// compared on the high words alone.
constexpr uint32_t kAtanLimits[3] = {0x3FDC0000, 0x3FE60000, 0x3FF30000};

// The arctangent polynomial in two chains of w = z^2: q = z (p0 + p1 z + ...).
template <class T>
inline T atan_poly(T z) {
    const T w = z * z;
    const T even = ((((T(atanPoly[10]) * w + atanPoly[8]) * w + atanPoly[6]) * w + atanPoly[4]) * w + atanPoly[2]) * w +
                   atanPoly[0];
    const T odd = (((T(atanPoly[9]) * w + atanPoly[7]) * w + atanPoly[5]) * w + atanPoly[3]) * w + atanPoly[1];
    return (even + odd * z) * z;
}

// Two lanes in SSE doubles.  The classes: t = -1/|x| beyond 2.4375 (a full
// compare: 2.4375 itself keeps centre 1.5), else the centre c from the count
// of the limits the high word of |x| exceeds, t = (|x| - c) / (c (|x| - c) +
// 1 + c^2), whose numerator is exact.  The class of each lane is counted
// from integer masks and its row read from the table, without a branch.  A
// NaN fails the far compare and runs as class 3, which turns it into a NaN
// all the same.
using VD = __m128d;

inline VD madd(VD a, VD b, double c) { return _mm_add_pd(_mm_mul_pd(a, b), _mm_set1_pd(c)); }
inline VD blend(VD mask, VD if_set, VD otherwise) {
    return _mm_or_pd(_mm_and_pd(mask, if_set), _mm_andnot_pd(mask, otherwise));
}

__attribute__((always_inline)) inline VD atan_lanes(VD x) {
    const VD ax = _mm_andnot_pd(_mm_set1_pd(-0.0), x);
    const __m128i high = _mm_shuffle_epi32(_mm_castpd_si128(ax), _MM_SHUFFLE(3, 3, 1, 1));
    auto above = [&](uint32_t limit) { return _mm_cmpgt_epi32(high, _mm_set1_epi32(static_cast<int>(limit))); };
    const VD far = _mm_cmpgt_pd(ax, _mm_set1_pd(double_from_bits(kAtanFarBits)));
    __m128i k = _mm_sub_epi32(_mm_setzero_si128(),
                              _mm_add_epi32(_mm_add_epi32(above(kAtanLimits[0]), above(kAtanLimits[1])),
                                            above(kAtanLimits[2])));
    k = _mm_sub_epi32(k, _mm_castpd_si128(far));  // a far lane is above all three limits: 3 + 1
    const AtanCentre& r0 = atanCentres[_mm_cvtsi128_si32(k)];
    const AtanCentre& r1 = atanCentres[_mm_cvtsi128_si32(_mm_srli_si128(k, 8))];
    const VD c = _mm_set_pd(r1.c, r0.c), d = _mm_sub_pd(ax, c);
    const VD num = blend(far, _mm_set1_pd(-1.0), d);
    const VD den = blend(far, ax, _mm_add_pd(_mm_mul_pd(c, d), _mm_set_pd(r1.one_plus_c2, r0.one_plus_c2)));
    const VD t = _mm_div_pd(num, den);
    const VD z = _mm_mul_pd(t, t), w = _mm_mul_pd(z, z);
    const double* p = atanPoly;
    const VD even = madd(madd(madd(madd(madd(_mm_set1_pd(p[10]), w, p[8]), w, p[6]), w, p[4]), w, p[2]), w, p[0]);
    const VD odd = madd(madd(madd(madd(_mm_set1_pd(p[9]), w, p[7]), w, p[5]), w, p[3]), w, p[1]);
    const VD q = _mm_mul_pd(_mm_add_pd(even, _mm_mul_pd(odd, z)), z);
    const VD low = _mm_set_pd(r1.lo, r0.lo), high_part = _mm_set_pd(r1.hi, r0.hi);
    const VD r = _mm_sub_pd(high_part, _mm_sub_pd(_mm_sub_pd(_mm_mul_pd(q, t), low), t));
    return _mm_mul_pd(r, _mm_or_pd(_mm_set1_pd(1.0), _mm_and_pd(x, _mm_set1_pd(-0.0))));  // times +-1
}

struct AtanD : frame::KernelPolicy<double> {
    static constexpr uint16_t x87 = frame::kX87Narrow;
    static constexpr bool clean_mxcsr = true;  // its 53-bit arithmetic is in SSE doubles
    [[maybe_unused]] static constexpr const char* name = "_xebdAtan_HA";
    static bool group_path(const Arrays<double>& x, int i) {
        const VD r0 = atan_lanes(_mm_loadu_pd(x.a + i)), r1 = atan_lanes(_mm_loadu_pd(x.a + i + 2));
        _mm_storeu_pd(x.y + i, r0);
        _mm_storeu_pd(x.y + i + 2, r1);
        return true;
    }
    static void one(const Arrays<double>& x, int i) { _mm_store_sd(x.y + i, atan_lanes(_mm_load_sd(x.a + i))); }
};

// ---- double two-argument arctangent (x87, 64 bits) ----------------------

constexpr double kHalfPiD = 0x1.921fb54442d18p+0;
constexpr double kAtan2Limits[4] = {0.4375, 0.6875, 1.1875, 2.4375};
constexpr double kAtan2PiLow[2] = {0.0, 0x1.1a62633145c06p-53};  // 0x3CA1A62633145C06

// |v| from 2^-1021 up to 2^1020: products, sums and quotients of two such
// stay normal doubles.
inline bool atan2_fast(double v) {
    const int32_t h = static_cast<int32_t>(high_word(v) & 0x7FFFFFFFu);
    return ((h - 0x00200000) | (0x7FB00000 - h)) >= 0;
}

// The angle of (x, y) for y, x in the fast range.  The class k is the
// count of the limits |y| exceeds as multiples of |b|, on high words, or 4
// beyond 2.4375; then num = one |y| - c |x| and den = one |x| + c |y| with
// (one, c) = (1, centre) or (0, 1) for k = 4: the Part's forms exactly,
// without a branch.
constexpr double kAtan2Weights[5][2] = {{1, 0}, {1, 0.5}, {1, 1}, {1, 1.5}, {0, 1}};

inline long double atan2_core(double y, double x) {
    const double ax = double_from_bits(bits(x) & kAbs), ay = double_from_bits(bits(y) & kAbs);
    const uint32_t hy = high_word(ay);
    // The products |x| * limit, rounded to double (SSE, rounding to nearest).
    auto beyond = [&](int j) { return int(hy > high_word(ax * kAtan2Limits[j])); };
    const int near = beyond(0) + beyond(1) + beyond(2), far = beyond(3);
    const int k = near + far * (4 - near);  // no branch: the class is random
    const long double one = kAtan2Weights[k][0], c = kAtan2Weights[k][1];
    const long double t = (one * ay - c * ax) / (one * ax + c * ay);
    const long double q = atan_poly(t * t);
    const long double angle = atanCentres[k].hi - ((q * t - atanCentres[k].lo) - t);
    const unsigned x_negative = static_cast<unsigned>(bits(x) >> 63);
    const long double turned = (kPiBySign[x_negative] + angle * kSigns[x_negative]) + kAtan2PiLow[x_negative];
    return turned * kSigns[bits(y) >> 63];
}

struct Atan2D : frame::KernelPolicy<double> {
    static constexpr uint16_t x87 = frame::kX87Wide;
    static constexpr bool clean_mxcsr = true;  // the class products are SSE doubles
    static constexpr unsigned prefetch_arrays = frame::kPrefetchA | frame::kPrefetchB;
    [[maybe_unused]] static constexpr const char* name = "_xebdAtan2_HA";
    static void by_fpatan(const Arrays<double>& x, int i) {
        x.y[i] = static_cast<double>(fpu::x87_atan2(x.a[i], x.b[i]));
    }
    static bool group_path(const Arrays<double>& x, int i) {
        const double* a = x.a + i;
        const double* b = x.b + i;
        if (!(atan2_fast(a[0]) && atan2_fast(a[1]) && atan2_fast(a[2]) && atan2_fast(a[3]) && atan2_fast(b[0]) &&
              atan2_fast(b[1]) && atan2_fast(b[2]) && atan2_fast(b[3]))) {
            for (int k = 0; k < 4; ++k) by_fpatan(x, i + k);
            return true;
        }
        long double r[4];
        for (int k = 0; k < 4; ++k) r[k] = atan2_core(a[k], b[k]);
        for (int k = 0; k < 4; ++k) x.y[i + k] = static_cast<double>(r[k]);
        return true;
    }
    static void one(const Arrays<double>& x, int i) {
        if (atan2_fast(x.a[i]) && atan2_fast(x.b[i])) x.y[i] = static_cast<double>(atan2_core(x.a[i], x.b[i]));
        else by_fpatan(x, i);
    }
};

// ---- single kernels: four SSE lanes, masks instead of branches -----------

using V = __m128;

inline V splat(float v) { return _mm_set1_ps(v); }
inline V splat_bits(uint32_t b) { return _mm_castsi128_ps(_mm_set1_epi32(static_cast<int>(b))); }
inline V blend(V mask, V if_set, V otherwise) {
    return _mm_or_ps(_mm_and_ps(mask, if_set), _mm_andnot_ps(mask, otherwise));
}
inline V sign_of(V x) { return _mm_and_ps(x, splat(-0.0f)); }
inline V magnitude(V x) { return _mm_andnot_ps(splat(-0.0f), x); }

// pi/2 = kHalfPiHigh + kHalfPiLow; kQuarterPiHigh = kHalfPiHigh / 2; pi = 2 (high + low).
constexpr float kQuarterPiHigh = 0.7853981256484985f;  // 0x3F490FDA
constexpr float kHalfPiHigh = 2 * kQuarterPiHigh;
constexpr float kPiHigh = 4 * kQuarterPiHigh;
constexpr float kHalfPiLow = 7.549789415861596e-08f;
constexpr float kHalfPiF = 1.5707963705062866f;  // 0x3FC90FDB, pi/2 rounded
constexpr float kPiF = 3.1415927410125732f;      // 0x40490FDB, pi rounded

// The arcsine polynomial P(z) = p1 z + ... + p5 z^5 in two chains of z^2.
inline V asin_poly(V z, const float (&p)[5]) {
    const V z2 = _mm_mul_ps(z, z);
    const V odd = _mm_mul_ps(
        z, _mm_add_ps(_mm_mul_ps(_mm_add_ps(_mm_mul_ps(splat(p[4]), z2), splat(p[2])), z2), splat(p[0])));
    const V even = _mm_mul_ps(_mm_add_ps(_mm_mul_ps(splat(p[3]), z2), splat(p[1])), z2);
    return _mm_add_ps(odd, even);
}

// What the single arcsine and arccosine share, per lane.
struct ArcSineLanes {
    V ax, small, one, above;  // |x|; masks |x| <= 0.5, |x| = 1, |x| > 1
    V root, root_high, root_low;  // sqrt((1 - |x|)/2) (NaN above 1), as one value and as a pair
    V p;                          // P at |x|^2 (small lanes) or at (1 - |x|)/2
};

// Exact form: the root as a pair rh + rl, rh its top 8 bits, from the
// processor's estimate with one correction (see the file's budget).
// Rounded form (the _21 kernels): sqrtps and no pair.
template <bool Pair>
inline ArcSineLanes arcsine_lanes(V x, const float (&p)[5]) {
    ArcSineLanes l;
    l.ax = magnitude(x);
    l.small = _mm_cmple_ps(l.ax, splat(0.5f));
    l.one = _mm_cmpeq_ps(l.ax, splat(1.0f));
    l.above = _mm_cmpgt_ps(l.ax, splat(1.0f));
    const V w = _mm_mul_ps(_mm_sub_ps(splat(1.0f), l.ax), splat(0.5f));
    if constexpr (Pair) {
        // A lane at 1 takes the root of 1 instead of 0 (whose estimate is
        // infinite): its result is replaced, and no invalid flag is raised.
        const V r = _mm_rsqrt_ps(blend(l.one, splat(1.0f), w));
        const V y0 = _mm_mul_ps(r, w);
        l.root = _mm_mul_ps(_mm_mul_ps(y0, _mm_sub_ps(splat(3.0f), _mm_mul_ps(r, y0))), splat(0.5f));
        l.root_high = _mm_and_ps(l.root, splat_bits(0xFFFF0000u));
        const V d = _mm_add_ps(l.root, l.root_high);
        V rcp = _mm_rcp_ps(d);
        rcp = _mm_mul_ps(rcp, _mm_sub_ps(splat(2.0f), _mm_mul_ps(d, rcp)));
        l.root_low = _mm_mul_ps(_mm_sub_ps(w, _mm_mul_ps(l.root_high, l.root_high)), rcp);
    } else {
        l.root = l.root_high = _mm_sqrt_ps(w);
        l.root_low = _mm_setzero_ps();
    }
    l.p = asin_poly(blend(l.small, _mm_mul_ps(l.ax, l.ax), w), p);
    return l;
}

// asin x: small lanes |x| + |x| P; the others pi/2 - 2 (r + r P) with
// r = rh + rl, as kQuarterPiHigh - (p - q), p = 2 r P - (kHalfPiLow - 2 rl),
// q = kQuarterPiHigh - 2 rh.  The small lanes run the same formula with the
// constants 0, 0, -1 in place of kQuarterPiHigh, kHalfPiLow, 2.
inline V arcsine(V x, const ArcSineLanes& l) {
    const V k1 = _mm_andnot_ps(l.small, splat(kQuarterPiHigh));
    const V k2 = _mm_andnot_ps(l.small, splat(kHalfPiLow));
    const V s = blend(l.small, splat(-1.0f), splat(2.0f));
    const V r = blend(l.small, l.ax, l.root), rh = blend(l.small, l.ax, l.root_high);
    const V rl = _mm_andnot_ps(l.small, l.root_low);
    const V p = _mm_sub_ps(_mm_mul_ps(_mm_mul_ps(s, r), l.p), _mm_sub_ps(k2, _mm_mul_ps(s, rl)));
    const V q = _mm_sub_ps(k1, _mm_mul_ps(s, rh));
    const V t = blend(l.one, splat(kHalfPiF), _mm_sub_ps(k1, _mm_sub_ps(p, q)));
    return _mm_or_ps(t, sign_of(x));
}

// acos x = a - b (u + (v P - c)) with, by lane (r = rh + rl the root):
//   |x| <= 0.5:  a = pi/2 high, b = 1,  u = v = x,       c = pi/2 low        (pi/2 - asin x)
//   x < -0.5:    a = pi high,   b = 2,  u = rh, v = r,   c = pi/2 low - rl   (pi - 2 asin r)
//   x > 0.5:     a = 0,         b = -2, u = rh, v = r,   c = -rl             (2 asin r)
// and the lanes at +-1 take 0 and pi.
inline V arccosine(V x, const ArcSineLanes& l) {
    const V negative = _mm_cmplt_ps(x, _mm_setzero_ps());
    const V a = blend(l.small, splat(kHalfPiHigh), _mm_and_ps(negative, splat(kPiHigh)));
    const V b = blend(l.small, splat(1.0f), blend(negative, splat(2.0f), splat(-2.0f)));
    const V u = blend(l.small, x, l.root_high), v = blend(l.small, x, l.root);
    const V c = _mm_sub_ps(_mm_and_ps(_mm_or_ps(l.small, negative), splat(kHalfPiLow)),
                           _mm_andnot_ps(l.small, l.root_low));
    const V r = _mm_sub_ps(a, _mm_mul_ps(b, _mm_add_ps(u, _mm_sub_ps(_mm_mul_ps(v, l.p), c))));
    return blend(l.one, _mm_and_ps(negative, splat(kPiF)), r);
}

template <bool Cosine, bool Pair>
inline V arc_lanes(V x, int& above) {
    const ArcSineLanes l = arcsine_lanes<Pair>(x, Pair ? asinSingle : asinSingle21);
    above = _mm_movemask_ps(l.above);
    return Cosine ? arccosine(x, l) : arcsine(x, l);
}

// Stores `count` lanes of r at y + i (count < 4 only in the tail).
inline void store_lanes(float* y, V r, int count) {
    if (count == 4) {
        _mm_storeu_ps(y, r);
        return;
    }
    alignas(16) float out[4];
    _mm_store_ps(out, r);
    for (int k = 0; k < count; ++k) y[k] = out[k];
}

// Single Asin and Acos: all results of a group are stored, then the
// domain events of its lanes above 1 in ascending order.
template <bool Cosine, bool Pair>
struct ArcSineS : frame::KernelPolicy<float> {
    static constexpr bool clean_mxcsr = true;
    static constexpr int group = Pair ? 4 : 8;
    static constexpr frame::Trampoline trampoline = Pair ? frame::Trampoline::Direct : frame::Trampoline::X87;
    static constexpr const char* name = Cosine ? (Pair ? "_xebsAcos_HA" : "_xebsAcos_21")
                                               : (Pair ? "_xebsAsin_HA" : "_xebsAsin_21");
    static void raise_above(const Arrays<float>& x, int i, int above) {
        for (int k = 0; above; ++k, above >>= 1)
            if (above & 1) frame::raise<ArcSineS>(XEB_STATUS_DOMAINFAULT, i + k, x);
    }
    static bool group_path(const Arrays<float>& x, int i) {
        int above[2];
        V r[2];
        for (int h = 0; h < group / 4; ++h) r[h] = arc_lanes<Cosine, Pair>(_mm_loadu_ps(x.a + i + 4 * h), above[h]);
        for (int h = 0; h < group / 4; ++h) _mm_storeu_ps(x.y + i + 4 * h, r[h]);
        raise_above(x, i, group == 8 ? above[0] | above[1] << 4 : above[0]);
        return true;
    }
    static void one(const Arrays<float>& x, int i) {
        int above;
        store_lanes(x.y + i, arc_lanes<Cosine, Pair>(_mm_set1_ps(x.a[i]), above), 1);
        raise_above(x, i, above & 1);
    }
};

// ---- single arctangent --------------------------------------------------

constexpr float kAtanNear = 2.29f;  // 0x40128F5C; beyond it t = -1/|x|
constexpr float kAtanClass1 = 0.4375f, kAtanClass2 = 0.72f;
constexpr float kAtanCentre1 = 0.53125f;

// atan t - t = t z (a0 + a1 z + ... + a4 z^4), z = t^2, in two chains of z^2.
inline V atan_tail(V t) {
    const V z = _mm_mul_ps(t, t), z2 = _mm_mul_ps(z, z);
    const float(&a)[5] = atanSingle;
    const V even = _mm_add_ps(
        _mm_mul_ps(_mm_add_ps(_mm_mul_ps(splat(a[4]), z2), splat(a[2])), z2), splat(a[0]));
    const V odd = _mm_add_ps(_mm_mul_ps(splat(a[3]), z2), splat(a[1]));
    return _mm_mul_ps(_mm_mul_ps(t, z), _mm_add_ps(even, _mm_mul_ps(odd, z)));
}

// num / den: divps, or the reciprocal estimate with one Newton step.
template <bool Divide>
inline V quotient(V num, V den) {
    if constexpr (Divide) return _mm_div_ps(num, den);
    V r = _mm_rcp_ps(den);
    r = _mm_mul_ps(r, _mm_sub_ps(splat(2.0f), _mm_mul_ps(den, r)));
    return _mm_mul_ps(num, r);
}

// atan x by four classes of |x|: t = |x| (up to 0.4375), (|x| - c)/(1 + c|x|)
// with c = 0.53125 (up to 0.72) and c = 1 (up to 2.29), -1/|x| beyond; one
// division for all lanes through blended numerators and denominators.
template <bool Divide>
inline V atan_lanes(V x) {
    const V ax = magnitude(x);
    const V near = _mm_cmple_ps(ax, splat(kAtanNear));
    V t, hi, lo;
    if (Divide && !_mm_movemask_ps(_mm_or_ps(near, _mm_cmpeq_ps(ax, splat(HUGE_VALF))))) {
        t = quotient<Divide>(splat(-1.0f), ax);  // every lane beyond 2.29
        hi = splat(atanSinglePairs[6]);
        lo = splat(atanSinglePairs[7]);
    } else {
        const V c0 = _mm_cmple_ps(ax, splat(kAtanClass1)), c1 = _mm_cmple_ps(ax, splat(kAtanClass2));
        const V centre = blend(c1, splat(kAtanCentre1), splat(1.0f));
        const V num = blend(c0, ax, blend(near, _mm_sub_ps(ax, centre), splat(-1.0f)));
        const V den = blend(c0, splat(1.0f),
                            blend(near, _mm_add_ps(splat(1.0f), _mm_mul_ps(centre, ax)), ax));
        t = blend(c0, ax, quotient<Divide>(num, den));  // no reciprocal estimate of 1
        const float(&pair)[8] = atanSinglePairs;
        hi = blend(c0, splat(pair[0]), blend(c1, splat(pair[2]), blend(near, splat(pair[4]), splat(pair[6]))));
        lo = blend(c0, splat(pair[1]), blend(c1, splat(pair[3]), blend(near, splat(pair[5]), splat(pair[7]))));
    }
    const V r = _mm_add_ps(hi, _mm_add_ps(_mm_add_ps(atan_tail(t), lo), t));
    return _mm_or_ps(r, sign_of(x));
}

// The reciprocal path of the _21 form takes finite |x| below 2^126; a NaN or
// a larger |x| (whose reciprocal estimate is zero, and the Newton step of an
// infinity a NaN) sends its group to the scalar arctangent.
inline bool atan_estimate_range(V x) {
    return _mm_movemask_ps(_mm_cmpnlt_ps(magnitude(x), splat(0x1p126f))) == 0;
}

template <bool Divide>
struct AtanS : frame::KernelPolicy<float> {
    static constexpr bool clean_mxcsr = true;
    static constexpr const char* name = Divide ? "_xebsAtan_HA" : "_xebsAtan_21";
    static bool group_path(const Arrays<float>& x, int i) {
        const V v = _mm_loadu_ps(x.a + i);
        if (!Divide && !atan_estimate_range(v)) {
            for (int k = 0; k < 4; ++k) x.y[i + k] = xebsatan_scalar(x.a[i + k]);
            return true;
        }
        _mm_storeu_ps(x.y + i, atan_lanes<Divide>(v));
        return true;
    }
    static void one(const Arrays<float>& x, int i) {
        const V v = _mm_set1_ps(x.a[i]);
        if (!Divide && !atan_estimate_range(v)) x.y[i] = xebsatan_scalar(x.a[i]);
        else store_lanes(x.y + i, atan_lanes<Divide>(v), 1);
    }
};

// ---- single two-argument arctangent -------------------------------------
//
// m = min(|a|, |b|), M = max: the classes of the arctangent of m/M (0, 0.53125
// and 1, chosen by m against 0.4375 M and 0.72 M), t = (m - c M) / (M + c m),
// then pi/2 less the angle where |a| > |b|, pi less that where b < 0, and the
// sign of a.  A group with a zero, an infinity or a NaN goes to the scalar
// form, which has the table of special values.

inline bool atan2_ordinary(V y, V x) {
    const V special = _mm_or_ps(_mm_or_ps(_mm_cmpeq_ps(y, _mm_setzero_ps()), _mm_cmpeq_ps(x, _mm_setzero_ps())),
                                _mm_or_ps(_mm_cmpnlt_ps(magnitude(y), splat(HUGE_VALF)),
                                          _mm_cmpnlt_ps(magnitude(x), splat(HUGE_VALF))));
    return _mm_movemask_ps(special) == 0;
}

// The double stage of the _HA form, one lane: every step exact but the
// division, the polynomial and one rounding to float.
inline float atan2_lane(float y, float x) {
    const double ay = std::fabs(static_cast<double>(y)), ax = std::fabs(static_cast<double>(x));
    const bool steep = ay > ax;
    const double m = steep ? ax : ay, big_m = steep ? ay : ax;
    const int k = int(m > kAtanClass1 * big_m) + int(m > static_cast<double>(kAtanClass2) * big_m);
    const double c = k == 0 ? 0.0 : k == 1 ? kAtanCentre1 : 1.0;
    const double t = (m - c * big_m) / (big_m + c * m);
    const double z = t * t, z2 = z * z;
    const float(&a)[5] = atanSingle;
    const double poly = (double(a[4]) * z2 + a[2]) * z2 + a[0] + (double(a[3]) * z2 + a[1]) * z;
    double angle = atanSingleCentresD[k] + (t + t * z * poly);
    if (steep) angle = kHalfPiD - angle;
    if (std::signbit(x)) angle = kPi - angle;
    return static_cast<float>(std::signbit(y) ? -angle : angle);
}

// The _21 form, four lanes in floats.  Magnitudes from 2^126 up are scaled
// by 1/4 first, so that M + c m cannot overflow.
inline V atan2_lanes(V y, V x) {
    const V ay = magnitude(y), ax = magnitude(x);
    const V steep = _mm_cmpgt_ps(ay, ax);
    V m = _mm_min_ps(ay, ax), big_m = _mm_max_ps(ay, ax);
    const V scale = blend(_mm_cmpge_ps(big_m, splat(0x1p126f)), splat(0.25f), splat(1.0f));
    m = _mm_mul_ps(m, scale), big_m = _mm_mul_ps(big_m, scale);
    const V c0 = _mm_cmple_ps(m, _mm_mul_ps(splat(kAtanClass1), big_m));
    const V c1 = _mm_cmple_ps(m, _mm_mul_ps(splat(kAtanClass2), big_m));
    const V centre = _mm_andnot_ps(c0, blend(c1, splat(kAtanCentre1), splat(1.0f)));
    const V t = _mm_div_ps(_mm_sub_ps(m, _mm_mul_ps(centre, big_m)), _mm_add_ps(big_m, _mm_mul_ps(centre, m)));
    const float(&pair)[8] = atanSinglePairs;
    const V hi = blend(c0, splat(pair[0]), blend(c1, splat(pair[2]), splat(pair[4])));
    const V lo = blend(c0, splat(pair[1]), blend(c1, splat(pair[3]), splat(pair[5])));
    V angle = _mm_add_ps(hi, _mm_add_ps(_mm_add_ps(atan_tail(t), lo), t));
    // pi/2 - angle for steep lanes, then pi - angle for negative x, each as
    // (high - angle) + low.
    angle = _mm_add_ps(_mm_add_ps(_mm_and_ps(steep, splat(kHalfPiHigh)), _mm_xor_ps(angle, _mm_and_ps(steep, splat(-0.0f)))),
                       _mm_and_ps(steep, splat(kHalfPiLow)));
    const V west = _mm_cmplt_ps(x, _mm_setzero_ps());
    angle = _mm_add_ps(_mm_add_ps(_mm_and_ps(west, splat(kPiHigh)), _mm_xor_ps(angle, _mm_and_ps(west, splat(-0.0f)))),
                       _mm_and_ps(west, splat(2 * kHalfPiLow)));
    return _mm_or_ps(angle, sign_of(y));
}

template <bool Double>
struct Atan2S : frame::KernelPolicy<float> {
    static constexpr uint16_t x87 = frame::kX87Narrow;
    static constexpr bool clean_mxcsr = Double;
    static constexpr unsigned prefetch_arrays = frame::kPrefetchA | frame::kPrefetchB;
    static constexpr const char* name = Double ? "_xebsAtan2_HA" : "_xebsAtan2_21";
    static bool group_path(const Arrays<float>& x, int i) {
        const V y = _mm_loadu_ps(x.a + i), xs = _mm_loadu_ps(x.b + i);
        if (!atan2_ordinary(y, xs)) {
            for (int k = 0; k < 4; ++k) x.y[i + k] = xebsatan2_scalar(x.a[i + k], x.b[i + k]);
        } else if (Double) {
            float r[4];
            for (int k = 0; k < 4; ++k) r[k] = atan2_lane(x.a[i + k], x.b[i + k]);
            for (int k = 0; k < 4; ++k) x.y[i + k] = r[k];
        } else {
            _mm_storeu_ps(x.y + i, atan2_lanes(y, xs));
        }
        return true;
    }
    static void one(const Arrays<float>& x, int i) {
        const float y = x.a[i], xs = x.b[i];
        if (!atan2_ordinary(_mm_set1_ps(y), _mm_set1_ps(xs))) x.y[i] = xebsatan2_scalar(y, xs);
        else if (Double) x.y[i] = atan2_lane(y, xs);
        else store_lanes(x.y + i, atan2_lanes(_mm_set1_ps(y), _mm_set1_ps(xs)), 1);
    }
};

}  // namespace
}  // namespace xeb

using xeb::frame::binary;
using xeb::frame::run;
using xeb::frame::unary;
using xeb::vm::active;

void xeb::baseline::dAsin_HA(int n, const double* a, double* r) { run<ArcSineD<false>>(n, unary(a, r)); }
void xeb::baseline::dAcos_HA(int n, const double* a, double* r) { run<ArcSineD<true>>(n, unary(a, r)); }
void xeb::baseline::dAtan_HA(int n, const double* a, double* r) { run<AtanD>(n, unary(a, r)); }
void xeb::baseline::dAtan2_HA(int n, const double* a, const double* b, double* r) {
    run<Atan2D>(n, binary(a, b, r));
}
void xeb::baseline::sAsin_HA(int n, const float* a, float* r) { run<ArcSineS<false, true>>(n, unary(a, r)); }
void xeb::baseline::sAsin_21(int n, const float* a, float* r) { run<ArcSineS<false, false>>(n, unary(a, r)); }
void xeb::baseline::sAcos_HA(int n, const float* a, float* r) { run<ArcSineS<true, true>>(n, unary(a, r)); }
void xeb::baseline::sAcos_21(int n, const float* a, float* r) { run<ArcSineS<true, false>>(n, unary(a, r)); }
void xeb::baseline::sAtan_HA(int n, const float* a, float* r) { run<AtanS<true>>(n, unary(a, r)); }
void xeb::baseline::sAtan_21(int n, const float* a, float* r) { run<AtanS<false>>(n, unary(a, r)); }
void xeb::baseline::sAtan2_HA(int n, const float* a, const float* b, float* r) { run<Atan2S<true>>(n, binary(a, b, r)); }
void xeb::baseline::sAtan2_21(int n, const float* a, const float* b, float* r) { run<Atan2S<false>>(n, binary(a, b, r)); }

extern "C" {

void xebdAsin_HA(int n, const double* a, double* r) { active.dAsin_HA(n, a, r); }
void xebdAsin_50(int n, const double* a, double* r) { active.dAsin_50(n, a, r); }
void xebdAcos_HA(int n, const double* a, double* r) { active.dAcos_HA(n, a, r); }
void xebdAcos_50(int n, const double* a, double* r) { active.dAcos_50(n, a, r); }
void xebdAtan_HA(int n, const double* a, double* r) { active.dAtan_HA(n, a, r); }
void xebdAtan_50(int n, const double* a, double* r) { active.dAtan_50(n, a, r); }
void xebdAtan2_HA(int n, const double* a, const double* b, double* r) { active.dAtan2_HA(n, a, b, r); }
void xebdAtan2_50(int n, const double* a, const double* b, double* r) { active.dAtan2_50(n, a, b, r); }

void xebsAsin_HA(int n, const float* a, float* r) { active.sAsin_HA(n, a, r); }
void xebsAsin_21(int n, const float* a, float* r) { active.sAsin_21(n, a, r); }
void xebsAsin_11(int n, const float* a, float* r) { active.sAsin_11(n, a, r); }
void xebsAcos_HA(int n, const float* a, float* r) { active.sAcos_HA(n, a, r); }
void xebsAcos_21(int n, const float* a, float* r) { active.sAcos_21(n, a, r); }
void xebsAcos_11(int n, const float* a, float* r) { active.sAcos_11(n, a, r); }
void xebsAtan_HA(int n, const float* a, float* r) { active.sAtan_HA(n, a, r); }
void xebsAtan_21(int n, const float* a, float* r) { active.sAtan_21(n, a, r); }
void xebsAtan_11(int n, const float* a, float* r) { active.sAtan_11(n, a, r); }
void xebsAtan2_HA(int n, const float* a, const float* b, float* r) { active.sAtan2_HA(n, a, b, r); }
void xebsAtan2_21(int n, const float* a, const float* b, float* r) { active.sAtan2_21(n, a, b, r); }
void xebsAtan2_11(int n, const float* a, const float* b, float* r) { active.sAtan2_11(n, a, b, r); }

}  // extern "C"
