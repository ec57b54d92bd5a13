// Arcsine, arccosine and arctangent of the SIMD kernel classes, written once
// over the vector type and compiled once per class (see frame/class_frame.h
// for the frame and the recipe).  Coefficients: the baseline's sets of
// vecmath/invtrig_tables.inc (tools/invtrig_tables).  Every operation is IEEE
// with the fused multiply-adds written out, so AVX2 and AVX-512 give the same
// bits; the one-element routines run the same templates on one lane.
//
// Double Asin and Acos.  With P(z) = z A(z^2) + z^2 B(z^2) (relative error of
// y + y P(y^2) as asin y: 2^-58.5 for |y| <= 0.5):
//   |x| < 0.5:   asin |x| = |x| + |x| P(x^2),      acos x = pi/2 - (x + x P(x^2));
//   |x| >= 0.5:  w = (1 - |x|)/2 (exact), s = sqrt(w) = y + yl (y the rounded
//                root, yl = (w - y^2)/2y from one fused residual), asin s =
//                s + s P(w), and asin |x| = pi/2 - 2 asin s, acos x = 2 asin s
//                (x > 0) or pi - 2 asin s (x < 0).
// Each result is K + S (V + V P + 2 yl) with V = |x|, x or 2y exact and K =
// 0, pi/2 or pi as hi + lo; K + S V is split exactly as hi + err (Fast2Sum:
// |K| >= |V| wherever K is not 0), and V z (z = x^2 as z + z_lo, or w) as
// vz + vz_lo, so that the leading term V z A6 of V P is rounded once, in the
// tail's sum.  Error budget, in ulps of the result: the polynomial 2^-58.5
// relative on asin s, at most twice that after the doubling: 0.02; the
// roundings of the rest of V P (below 0.01 of the result): 0.02; the tail's
// sum 0.03; the final sum 0.5.  Bound 0.6 (measured 0.59, next to 0.5).
//
// Double Atan.  Classes by |x|: centres c = 0, 0.5, 1, 1.5 up to 0.3125,
// 0.6875, 1.1875, 2.4375, t = (|x| - c) / (1 + c^2 + c (|x| - c)) (exact
// numerator; the denominator d rounded once and its error dl recovered by
// one fused product), and beyond t = -1/|x| about pi/2.  t = th + tl from
// one reciprocal r = 1/d: th = num r, tl = (num - th d - th dl) r.  atan t =
// t - t z Q(z), z = t^2, |t| <= 0.4375, Q's relative error 2^-56.7; t z as
// tz + tz_lo, so that t z Q(0) is rounded once, in the tail's sum; the
// centre's arctangent hi + lo; hi + th split exactly (|hi| >= |th|).  Error
// budget: the polynomial 0.08 ulp at most (class 0, where the result is t's
// arctangent alone: its end at 0.3125 rather than 0.4375 keeps the tail
// below 0.04 of the result there), the tail's roundings 0.02, tl's error
// 2^-100; the final sum 0.5.  Bound 0.6 (measured 0.56).
//
// Double Atan2.  m <= M the two magnitudes, the centre c = 0, 0.5 or 1 of
// m/M (limits 0.3125 and 0.6875), t = (m - c M) / (M + c m) with an exact
// numerator and the denominator as an exact sum d + dl, t = th + tl as for
// Atan; the angle K + S (atan c + atan t), K = 0, pi/2 or pi and S = +-1 by
// quadrant and steepness, K + S atan c + S th as three exact parts, and
// atan(th + tl) = atan th + tl (1 - z).  The result is at least pi/4 where
// K is not 0, so the class-0 case (the result t's arctangent alone) is the
// worst, as for Atan: the polynomial 0.08 ulp, th's error through the slope
// of the tail 2^-100, the tail's roundings 0.02, the final sum 0.5.  Bound
// 0.6 (measured 0.562).  Lanes with an input outside 2^-510 .. 2^510 (where
// m/M might not be a normal double) take the one-element routine, which
// scales both by one power of two so that M lies in [1, 2) and runs the same
// template, or where m/M is below 2^-1000 returns K + S m/M.
//
// Single Asin and Acos: each float widened to double and run through the
// double template (0.59 ulp of a double), then one rounding to float: below
// 0.5 + 2^-28 ulp (measured 0.500).  Single Atan and Atan2 in doubles: the
// centre 0, 0.53125 or 1 of m/M (Atan: M or m is 1), t from an exact
// numerator and denominator and one rounding, the single polynomial's
// relative 2^-28 (at most 1/16 ulp of a float), a few double roundings
// (2^-50), one rounding to float: bound 0.6 (measured 0.548).  The _21 and
// _11 forms are these _HA kernels, under the _21 names.
//
// Lanes leave the vector code for the one-element routines: |x| >= 1 and
// NaNs for the arcsines (1 exactly, and the domain event with the default
// NaN above it, as the baseline), NaNs and infinities for the arctangent (whose
// reciprocal would be 0, and its residual 0 times infinity).  A NaN gives
// |x| quieted, as the baseline's x87 and SSE code does; of a single NaN the
// arcsine and the arctangent keep the sign, the arccosine drops it, as the
// baseline's single code.  Single Atan2 sends zeros, infinities and NaNs of
// either input to the scalar form, as the baseline does.
#include <cstdint>

#include "frame/class_frame.h"
#include "vecmath/kernel_table.h"
#include "vecmath/simd/lanes.h"
#include "xebruk/vm_scalar.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

using namespace simd;
using namespace lanes;
using class_frame::Arrays;

// Centre of a double arctangent class: c, 1 + c^2, atan(c) = hi + lo.
struct AtanCentre {
    double c, one_plus_c2, hi, lo;
};
#include "vecmath/invtrig_tables.inc"

constexpr uint64_t kAbs = 0x7FFFFFFFFFFFFFFFull;
constexpr uint64_t kSignBit = 0x8000000000000000ull;
constexpr uint64_t kOneBits = 0x3FF0000000000000ull;
constexpr uint64_t kInfBits = 0x7FF0000000000000ull;
constexpr uint64_t kDefaultNaNBits = 0xFFF8000000000000ull;  // the x87's square root of a negative
constexpr double kHalfPiHi = 0x1.921fb54442d18p+0, kHalfPiLo = 0x1.1a62633145c07p-54;
constexpr double kPiHi = 0x1.921fb54442d18p+1, kPiLo = 0x1.1a62633145c07p-53;

// Lanes whose magnitude's bits are Limit or more.
template <uint64_t Limit, int N>
MaskOf<double, N> magnitude_from(D<N> x) {
    return compare<Cmp::Ge>(bitcast<uint64_t>(x) & kAbs, broadcast<U<N>>(Limit));
}

template <int N>
XEB_INLINE D<N> sign_flip(D<N> v, MaskOf<double, N> m) {
    return bitcast<double>(bitcast<uint64_t>(v) ^ select(m, broadcast<U<N>>(kSignBit), broadcast<U<N>>(0)));
}

// ---------------------------------------------------------------- Asin, Acos

// P(z) - z A6 = z A'(z^2) z^2 + z^2 B(z^2), where A(w) = A'(w) w + A6 (A and
// B in Horner order from the highest coefficient, A6 = asinA[6], near 1/6).
template <int N>
XEB_INLINE D<N> asin_poly_rest(D<N> z) {
    const D<N> w = z * z;
    D<N> a = broadcast<D<N>>(asinA[0]), b = broadcast<D<N>>(asinB[0]);
    for (int k = 1; k < 6; ++k) a = fma(a, w, broadcast<D<N>>(asinA[k]));
    for (int k = 1; k < 6; ++k) b = fma(b, w, broadcast<D<N>>(asinB[k]));
    return fma(z * w, a, w * b);
}

template <bool Cosine>
struct ArcSineK {
    using V = D<kNative<double>>;
    static constexpr const char* name = Cosine ? "_xebdAcos_HA" : "_xebdAsin_HA";
    static constexpr double filler = 0.0;

    template <int N>
    static MaskOf<double, N> special(D<N> x) { return magnitude_from<kOneBits>(x); }
    template <int N>
    XEB_INLINE static D<N> compute(D<N> x) {
        const D<N> zero = broadcast<D<N>>(0.0);
        const U<N> sign = bitcast<uint64_t>(x) & kSignBit;
        const D<N> ax = bitcast<double>(bitcast<uint64_t>(x) & kAbs);
        const auto small = compare<Cmp::Lt>(ax, broadcast<D<N>>(0.5));
        const D<N> w = fnma(ax, broadcast<D<N>>(0.5), broadcast<D<N>>(0.5));  // (1 - |x|)/2, exact
        const D<N> y = sqrt(w);
        const D<N> two_yl = fnma(y, y, w) / y;  // 2 (s - y)
        const D<N> v = select(small, Cosine ? x : ax, y + y);
        // V z as vz + vz_lo (z = x^2 as z + z_lo, or w exactly), so that the
        // leading term V z A6 costs one rounding, in the tail's sum.
        const D<N> z = select(small, x * x, w), z_lo = select(small, fms(x, x, z), zero);
        const D<N> vz = v * z, vz_lo = fma(v, z_lo, fms(v, z, vz));
        const D<N> inner = fma(v, asin_poly_rest(z), vz_lo * asinA[6]);
        const D<N> two_yl_or_0 = select(small, zero, two_yl);
        // K and the sign S (a mask of the lanes with S = -1).
        D<N> k_hi, k_lo;
        MaskOf<double, N> minus;
        if constexpr (Cosine) {
            const auto negative = compare<Cmp::Lt>(x, 0.0);
            k_hi = select(small, broadcast<D<N>>(kHalfPiHi), select(negative, broadcast<D<N>>(kPiHi), zero));
            k_lo = select(small, broadcast<D<N>>(kHalfPiLo), select(negative, broadcast<D<N>>(kPiLo), zero));
            minus = small | negative;
        } else {
            k_hi = select(small, zero, broadcast<D<N>>(kHalfPiHi));
            k_lo = select(small, zero, broadcast<D<N>>(kHalfPiLo));
            minus = ~small;
        }
        const D<N> sv = sign_flip(v, minus);
        const D<N> hi = k_hi + sv;
        const D<N> err = (k_hi - hi) + sv;
        const D<N> r = hi + fma(sign_flip(vz, minus), broadcast<D<N>>(asinA[6]),
                                (k_lo + err) + sign_flip(two_yl_or_0 + inner, minus));
        if constexpr (Cosine) return r;
        else return bitcast<double>(bitcast<uint64_t>(r) | sign);
    }
    static void one(double a, int i, const Arrays<double>& x) {
        const uint64_t magnitude = bits(a) & kAbs;
        const bool negative = bits(a) >> 63 != 0;
        if (magnitude > kInfBits) {
            x.y[i] = double_of(magnitude) + double_of(magnitude);
        } else if (magnitude == kOneBits) {
            if constexpr (Cosine) x.y[i] = negative ? kPiHi : 0.0;
            else x.y[i] = negative ? -kHalfPiHi : kHalfPiHi;
        } else if (magnitude > kOneBits) {
            x.y[i] = double_of(kDefaultNaNBits);
            class_frame::raise(XEB_STATUS_DOMAINFAULT, i, x, name);
        } else {
            x.y[i] = compute(D<1>{a}).v;
        }
    }
};

// ---------------------------------------------------------------- Atan

// Rows by class (0 to 3 the centres, 4 beyond 2.4375), padded to eight.
constexpr double kAtanC[8] = {atanCentres[0].c, atanCentres[1].c, atanCentres[2].c, atanCentres[3].c};
constexpr double kAtanOnePlusC2[8] = {atanCentres[0].one_plus_c2, atanCentres[1].one_plus_c2,
                                      atanCentres[2].one_plus_c2, atanCentres[3].one_plus_c2};
constexpr double kAtanHi[8] = {atanCentres[0].hi, atanCentres[1].hi, atanCentres[2].hi, atanCentres[3].hi,
                               atanCentres[4].hi};
constexpr double kAtanLo[8] = {atanCentres[0].lo, atanCentres[1].lo, atanCentres[2].lo, atanCentres[3].lo,
                               atanCentres[4].lo};
constexpr double kAtanLimits[4] = {0.3125, 0.6875, 1.1875, 2.4375};

// (Q(z) - Q(0)) / z in two chains of z^2 (atanPoly ascending: Q(0) = p0).
template <int N>
XEB_INLINE D<N> atan_poly_rest(D<N> z) {
    const D<N> w = z * z;
    const double* p = atanPoly;
    D<N> even = broadcast<D<N>>(p[9]), odd = broadcast<D<N>>(p[10]);
    for (int k = 7; k >= 1; k -= 2) even = fma(even, w, broadcast<D<N>>(p[k]));
    for (int k = 8; k >= 2; k -= 2) odd = fma(odd, w, broadcast<D<N>>(p[k]));
    return fma(odd, z, even);
}

struct AtanK {
    using V = D<kNative<double>>;
    [[maybe_unused]] static constexpr const char* name = "_xebdAtan_HA";  // raises no event
    static constexpr double filler = 0.0;

    template <int N>
    static MaskOf<double, N> special(D<N> x) { return magnitude_from<kInfBits>(x); }
    template <int N>
    XEB_INLINE static D<N> compute(D<N> x) {
        const U<N> sign = bitcast<uint64_t>(x) & kSignBit;
        const D<N> ax = bitcast<double>(bitcast<uint64_t>(x) & kAbs);
        const U<N> one = broadcast<U<N>>(1), none = broadcast<U<N>>(0);
        U<N> k = none;
        for (double limit : kAtanLimits) k = k + select(compare<Cmp::Gt>(ax, limit), one, none);
        const auto far = compare<Cmp::Gt>(ax, kAtanLimits[3]);
        const D<N> c = lookup<8>(kAtanC, k), opc2 = lookup<8>(kAtanOnePlusC2, k);
        const D<N> d = ax - c;  // exact
        const D<N> den_near = fma(c, d, opc2);
        const D<N> num = select(far, broadcast<D<N>>(-1.0), d);
        const D<N> den = select(far, ax, den_near);
        const D<N> den_lo = select(far, broadcast<D<N>>(0.0), fma(c, d, opc2 - den_near));
        const D<N> r = broadcast<D<N>>(1.0) / den;
        const D<N> th = num * r;
        const D<N> tl = fnma(th, den_lo, fnma(th, den, num)) * r;
        // t z = t^3 as tz + tz_lo (to 2^-104), so that its leading term
        // t z p0 costs one rounding, in the tail's sum.
        const D<N> z = th * th, z_lo = fms(th, th, z);
        const D<N> tz = th * z, tz_lo = fma(th, z_lo, fms(th, z, tz));
        const D<N> c_hi = lookup<8>(kAtanHi, k), c_lo = lookup<8>(kAtanLo, k);
        const D<N> hi = c_hi + th;
        const D<N> err = (c_hi - hi) + th;
        const D<N> rest = fma(tz * z, atan_poly_rest(z), tz_lo * atanPoly[0]);
        const D<N> result = hi + fnma(tz, broadcast<D<N>>(atanPoly[0]), ((c_lo + err) + tl) - rest);
        return bitcast<double>(bitcast<uint64_t>(result) | sign);
    }
    static void one(double a, int i, const Arrays<double>& x) {
        const uint64_t magnitude = bits(a) & kAbs;
        if (magnitude > kInfBits) x.y[i] = double_of(magnitude) + double_of(magnitude);
        else if (magnitude == kInfBits) x.y[i] = bits(a) >> 63 ? -kHalfPiHi : kHalfPiHi;
        else x.y[i] = compute(D<1>{a}).v;
    }
};

// ---------------------------------------------------------------- Atan2

// Both inputs within 2^-510 .. 2^510: every quotient m/M is then a normal
// double and no sum or product below overflows.
constexpr uint64_t kAtan2Low = 0x2010000000000000ull;         // 2^-510
constexpr uint64_t kAtan2Span = 0x5FD0000000000000ull - kAtan2Low;  // up to 2^510
constexpr double kQuarterPi = 0x1.921fb54442d18p-1, kThreeQuarterPi = 0x1.2d97c7f3321d2p+1;
constexpr uint64_t kQuietBit = 0x0008000000000000ull, kSignificand = 0x000FFFFFFFFFFFFFull;

template <int N>
MaskOf<double, N> outside_atan2_range(D<N> v) {
    return compare<Cmp::Ge>((bitcast<uint64_t>(v) & kAbs) - kAtan2Low, broadcast<U<N>>(kAtan2Span));
}

struct Atan2K {
    using V = D<kNative<double>>;
    [[maybe_unused]] static constexpr const char* name = "_xebdAtan2_HA";  // raises no event
    static constexpr double filler = 1.0, filler_b = 1.0;

    template <int N>
    static MaskOf<double, N> special(D<N> y, D<N> x) {
        return outside_atan2_range(y) | outside_atan2_range(x);
    }
    template <int N>
    XEB_INLINE static D<N> compute(D<N> y, D<N> x) {
        const U<N> sign = bitcast<uint64_t>(y) & kSignBit;
        const D<N> ay = bitcast<double>(bitcast<uint64_t>(y) & kAbs), ax = bitcast<double>(bitcast<uint64_t>(x) & kAbs);
        const auto steep = compare<Cmp::Gt>(ay, ax);
        const auto west = compare<Cmp::Lt>(x, 0.0);
        const D<N> big = select(steep, ay, ax), small = select(steep, ax, ay);
        const U<N> one = broadcast<U<N>>(1), none = broadcast<U<N>>(0);
        const U<N> k = select(compare<Cmp::Gt>(small, big * kAtanLimits[0]), one, none) +
                       select(compare<Cmp::Gt>(small, big * kAtanLimits[1]), one, none);
        // t = (m - c M) / (M + c m) for the centre c = 0, 0.5 or 1 of m/M:
        // the numerator exact (m within M/4 .. 2M where c is not 0), the
        // denominator d + dl exactly (c m exact, d >= c m).
        const D<N> c = lookup<8>(kAtanC, k);
        const D<N> num = fnma(c, big, small), cm = c * small;
        const D<N> den = big + cm, den_lo = cm - (den - big);
        const D<N> r = broadcast<D<N>>(1.0) / den;
        // The angle is K + S (atan c + atan t): K = pi/2 (steep), pi (x < 0)
        // or 0, S = -1 where exactly one of the two holds.
        const auto minus = (steep & ~west) | (west & ~steep);
        const D<N> th = sign_flip(num * r, minus);
        const D<N> tl = sign_flip(fnma(num * r, den_lo, fnma(num * r, den, num)) * r, minus);
        const D<N> zero = broadcast<D<N>>(0.0);
        const D<N> k_hi = select(steep, broadcast<D<N>>(kHalfPiHi), select(west, broadcast<D<N>>(kPiHi), zero));
        const D<N> k_lo = select(steep, broadcast<D<N>>(kHalfPiLo), select(west, broadcast<D<N>>(kPiLo), zero));
        const D<N> c_hi = sign_flip(lookup<8>(kAtanHi, k), minus), c_lo = sign_flip(lookup<8>(kAtanLo, k), minus);
        // K + S atan c + S th as hi + e1 + e2 (two exact sums: |K| >= |atan
        // c| where K is not 0, and the first sum is 0 or at least atan 0.5
        // > |t|).
        const D<N> s1 = k_hi + c_hi, e1 = (k_hi - s1) + c_hi;
        const D<N> hi = s1 + th, e2 = (s1 - hi) + th;
        const D<N> z = th * th, z_lo = fms(th, th, z);
        const D<N> tz = th * z, tz_lo = fma(th, z_lo, fms(th, z, tz));
        const D<N> rest = fma(tz * z, atan_poly_rest(z), tz_lo * atanPoly[0]);
        // atan(th + tl) = atan th + tl (1 - z) to 2^-100: th is the
        // quotient rounded twice, and the slope of atan t - t (up to 0.09
        // in class 0) would otherwise weigh its error.
        const D<N> result =
            hi + fnma(tz, broadcast<D<N>>(atanPoly[0]), (((k_lo + e1) + (c_lo + e2)) + fnma(tl, z, tl)) - rest);
        return bitcast<double>(bitcast<uint64_t>(result) | sign);
    }
    // The x87's choice between two NaNs, both quieted: the larger
    // significand, and the positive one of two equal.
    static double nan_of(uint64_t y, uint64_t x) {
        const bool y_nan = (y & kAbs) > kInfBits, x_nan = (x & kAbs) > kInfBits;
        y |= kQuietBit, x |= kQuietBit;
        if (!x_nan) return double_of(y);
        if (!y_nan) return double_of(x);
        if ((y & kSignificand) != (x & kSignificand)) return double_of((y & kSignificand) > (x & kSignificand) ? y : x);
        return double_of(y >> 63 ? x : y);
    }
    // |atan2(y, x)| for finite nonzero y, x of which one at least lies
    // outside the vector code's range: both scaled by one power of two so
    // that the larger lies in [1, 2); where the smaller then falls below
    // 2^-1000 the angle is K + S m/M (m/M rounded once, the rest of its
    // arctangent below 2^-2000 of it), which is K itself where K is not 0.
    static double far(double y, double x) {
        double ay = double_of(bits(y) & kAbs), ax = double_of(bits(x) & kAbs);
        const bool steep = ay > ax, west = bits(x) >> 63 != 0;
        if ((steep ? ay : ax) < 0x1p-900) ay *= 0x1p600, ax *= 0x1p600;
        const int e = static_cast<int>(bits(steep ? ay : ax) >> 52) - 1023;
        const double s1 = double_of(static_cast<uint64_t>(1023 - e / 2) << 52);
        const double s2 = double_of(static_cast<uint64_t>(1023 - (e - e / 2)) << 52);
        const double sy = ay * s1 * s2, sx = ax * s1 * s2;
        if ((steep ? sx : sy) >= 0x1p-1000) return compute(D<1>{sy}, D<1>{west ? -sx : sx}).v;
        if (steep) return kHalfPiHi;  // K + S m/M rounds to K where K is not 0
        return west ? kPiHi : ay / ax;
    }
    // C99's table for zeros and infinities; NaNs as the x87.
    static void one(double a, double b, int i, const Arrays<double>& x) {
        const uint64_t my = bits(a) & kAbs, mx = bits(b) & kAbs;
        const bool west = bits(b) >> 63 != 0;
        double r;
        if (my > kInfBits || mx > kInfBits) {
            x.y[i] = nan_of(bits(a), bits(b));
            return;
        }
        if (my == 0) r = west ? kPiHi : 0.0;
        else if (mx == 0) r = kHalfPiHi;
        else if (my == kInfBits) r = mx != kInfBits ? kHalfPiHi : west ? kThreeQuarterPi : kQuarterPi;
        else if (mx == kInfBits) r = west ? kPiHi : 0.0;
        else r = far(a, b);
        x.y[i] = double_of(bits(r) | (bits(a) & kSignBit));
    }
};

// ---------------------------------------------------------------- single

constexpr uint32_t kAbsF = 0x7FFFFFFFu, kSignBitF = 0x80000000u, kOneBitsF = 0x3F800000u, kInfBitsF = 0x7F800000u;
constexpr uint32_t kDefaultNaNBitsF = 0xFFC00000u, kQuietBitF = 0x00400000u;
constexpr float kHalfPiF = 0x1.921fb6p+0f, kPiF = 0x1.921fb6p+1f;  // rounded

// The float lanes through the double kernel K's vector code, each result
// rounded once to float.
template <class K, int N>
XEB_INLINE F<N> in_doubles(F<N> x) {
    if constexpr (N == 1) return convert<float>(K::compute(convert<double>(x)));
    else return join(convert<float>(K::compute(convert<double>(half<0>(x)))),
                     convert<float>(K::compute(convert<double>(half<1>(x)))));
}
// |atan2(y, x)| of floats in double lanes (finite, not both zero; x = 1
// for the one-argument arctangent): the centre c = 0, 0.53125 or 1 of m/M
// (limits 0.4375 and 0.72), t = (m - c M) / (M + c m) from an exact
// numerator and denominator and one rounding, the single polynomial (2^-28)
// in doubles, then pi/2 less the angle where |y| > |x| and pi less that
// where x < 0.
constexpr double kSingleC[8] = {0.0, 0.53125, 1.0};
constexpr double kSingleCentres[8] = {atanSingleCentresD[0], atanSingleCentresD[1], atanSingleCentresD[2]};

template <bool UnitX, int N>
XEB_INLINE D<N> single_angle(D<N> y, D<N> x) {
    const D<N> ay = bitcast<double>(bitcast<uint64_t>(y) & kAbs);
    const D<N> ax = UnitX ? broadcast<D<N>>(1.0) : bitcast<double>(bitcast<uint64_t>(x) & kAbs);
    const auto steep = compare<Cmp::Gt>(ay, ax);
    const D<N> big = select(steep, ay, ax), small = select(steep, ax, ay);
    const U<N> one = broadcast<U<N>>(1), none = broadcast<U<N>>(0);
    const U<N> k = select(compare<Cmp::Gt>(small, big * 0.4375), one, none) +
                   select(compare<Cmp::Gt>(small, big * static_cast<double>(0.72f)), one, none);
    const D<N> c = lookup<8>(kSingleC, k);
    const D<N> t = fnma(c, big, small) / fma(c, small, big);
    const D<N> z = t * t, z2 = z * z;
    const float* a = atanSingle;
    const D<N> poly = fma(fma(broadcast<D<N>>(a[3]), z2, broadcast<D<N>>(a[1])), z,
                          fma(fma(broadcast<D<N>>(a[4]), z2, broadcast<D<N>>(a[2])), z2, broadcast<D<N>>(a[0])));
    D<N> angle = lookup<8>(kSingleCentres, k) + fma(t * z, poly, t);
    angle = select(steep, broadcast<D<N>>(kHalfPiHi) - angle, angle);
    if constexpr (UnitX) return angle;
    else return select(compare<Cmp::Lt>(x, 0.0), broadcast<D<N>>(kPiHi) - angle, angle);
}

// The same for float lanes (by halves in doubles), with the sign of y.
template <bool UnitX, int N>
XEB_INLINE F<N> single_atan2(F<N> y, F<N> x) {
    F<N> r;
    if constexpr (N == 1) {
        r = convert<float>(single_angle<UnitX>(convert<double>(y), convert<double>(x)));
    } else {
        r = join(convert<float>(single_angle<UnitX>(convert<double>(half<0>(y)), convert<double>(half<0>(x)))),
                 convert<float>(single_angle<UnitX>(convert<double>(half<1>(y)), convert<double>(half<1>(x)))));
    }
    return bitcast<float>(bitcast<uint32_t>(r) | (bitcast<uint32_t>(y) & kSignBitF));
}

template <bool Cosine>
struct ArcSineS {
    using V = F<kNative<float>>;
    static constexpr const char* name = Cosine ? "_xebsAcos_HA" : "_xebsAsin_HA";
    static constexpr float filler = 0.0f;

    template <int N>
    static MaskOf<float, N> special(F<N> x) {
        return compare<Cmp::Ge>(bitcast<uint32_t>(x) & kAbsF, broadcast<W<N>>(kOneBitsF));
    }
    template <int N>
    XEB_INLINE static F<N> compute(F<N> x) { return in_doubles<ArcSineK<Cosine>>(x); }
    static void one(float a, int i, const Arrays<float>& x) {
        const uint32_t magnitude = bits(a) & kAbsF;
        const bool negative = bits(a) >> 31 != 0;
        if (magnitude > kInfBitsF) {
            x.y[i] = Cosine ? float_of(magnitude | kQuietBitF) : a + a;  // as the baseline's SSE code
        } else if (magnitude == kOneBitsF) {
            if constexpr (Cosine) x.y[i] = negative ? kPiF : 0.0f;
            else x.y[i] = negative ? -kHalfPiF : kHalfPiF;
        } else if (magnitude > kOneBitsF) {
            x.y[i] = float_of(kDefaultNaNBitsF);
            class_frame::raise(XEB_STATUS_DOMAINFAULT, i, x, name);
        } else {
            x.y[i] = compute(F<1>{a}).v;
        }
    }
};

struct AtanS {
    using V = F<kNative<float>>;
    [[maybe_unused]] static constexpr const char* name = "_xebsAtan_HA";  // raises no event
    static constexpr float filler = 0.0f;

    template <int N>
    static MaskOf<float, N> special(F<N> x) {
        return compare<Cmp::Ge>(bitcast<uint32_t>(x) & kAbsF, broadcast<W<N>>(kInfBitsF));
    }
    template <int N>
    XEB_INLINE static F<N> compute(F<N> x) { return single_atan2<true>(x, x); }
    static void one(float a, int i, const Arrays<float>& x) {
        if ((bits(a) & kAbsF) > kInfBitsF) x.y[i] = a + a;
        else if ((bits(a) & kAbsF) == kInfBitsF) x.y[i] = bits(a) >> 31 ? -kHalfPiF : kHalfPiF;
        else x.y[i] = compute(F<1>{a}).v;
    }
};

// Zeros, infinities and NaNs go to the scalar form, which has C99's table
// (and a NaN's x + y), as they do in the baseline.
struct Atan2S {
    using V = F<kNative<float>>;
    [[maybe_unused]] static constexpr const char* name = "_xebsAtan2_HA";  // raises no event
    static constexpr float filler = 1.0f, filler_b = 1.0f;

    template <int N>
    static MaskOf<float, N> special(F<N> y, F<N> x) {
        return compare<Cmp::Ge>((bitcast<uint32_t>(y) & kAbsF) - 1u, broadcast<W<N>>(kInfBitsF - 1)) |
               compare<Cmp::Ge>((bitcast<uint32_t>(x) & kAbsF) - 1u, broadcast<W<N>>(kInfBitsF - 1));
    }
    template <int N>
    XEB_INLINE static F<N> compute(F<N> y, F<N> x) { return single_atan2<false>(y, x); }
    static void one(float a, float b, int i, const Arrays<float>& x) { x.y[i] = xebsatan2_scalar(a, b); }
};

// The single _21 forms have code of their own in the baseline and keep its
// names (the _11 forms are the same entries).
constexpr char kAsin21S[] = "_xebsAsin_21";
constexpr char kAcos21S[] = "_xebsAcos_21";

}  // namespace

void invtrig_entries(vm::KernelTable& t) {
    t.dAsin_HA = t.dAsin_50 = class_frame::unary<ArcSineK<false>>;
    t.dAcos_HA = t.dAcos_50 = class_frame::unary<ArcSineK<true>>;
    t.dAtan_HA = t.dAtan_50 = class_frame::unary<AtanK>;
    t.dAtan2_HA = t.dAtan2_50 = class_frame::binary<Atan2K>;
    t.sAsin_HA = class_frame::unary<ArcSineS<false>>;
    t.sAsin_21 = t.sAsin_11 = class_frame::unary<ArcSineS<false>, kAsin21S>;
    t.sAcos_HA = class_frame::unary<ArcSineS<true>>;
    t.sAcos_21 = t.sAcos_11 = class_frame::unary<ArcSineS<true>, kAcos21S>;
    t.sAtan_HA = t.sAtan_21 = t.sAtan_11 = class_frame::unary<AtanS>;
    t.sAtan2_HA = t.sAtan2_21 = t.sAtan2_11 = class_frame::binary<Atan2S>;
}

}  // namespace XEB_ISA
}  // namespace xeb
