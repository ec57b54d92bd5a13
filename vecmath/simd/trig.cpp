// Sine, cosine, sine-cosine and tangent of the SIMD kernel classes,
// written once over the vector type and compiled once per class
// (frame/class_frame.h has the frame and the recipe).  Every operation is IEEE with the fused
// multiply-adds written out, so the AVX2 and AVX-512 classes give the same
// bits.
//
// Reduction (Cody and Waite, with fused products).  q = round(x 2/pi),
// r = x - q pi/2 with pi/2 = C1 + C2 + C3, three doubles (159 bits):
//   x - q C1 is exact in one fused step (|x| < 2^30: q C1 and x are
//   multiples of 2^-52 or 2^-53, the difference is below 1);
//   q C2 is split exactly into p + e by a fused product, and
//   r1 - p into rh + err by Fast2Sum, exact although |r1| may be below
//   |p|: r1 is a multiple of 2^-53 (x itself where q = 0, and then p = 0)
//   and ulp(p) is below 2^-77 (in floats 2^-24 and 2^-32);
//   rl = err - e - q C3.
// rh + rl is r to 2^-100 relative at worst: the omitted q (pi/2 - C1 - C2
// - C3) is below 2^-131, and |r| stays above 2^-61 for every double below
// 2^30 (the continued fraction of pi/2; tests/test_trig.cpp reaches the
// hardest cases).  Arguments from 2^30, zeros, infinities and NaNs go one
// at a time to the scalar cores of vecmath/trig_scalar.cpp (the 256-bit
// reduction above that), which also own the events.
//
// With s = rh^2, sin r and cos r on [-pi/4, pi/4] (q off by one at a
// rounding boundary reaches a hair beyond; the series do not care):
//   sin r = rh - rh^3/6 + rh^5 P(s) + rl (1 - s/2),         P through r^15;
//   cos r = 1 - rh^2/2 + rh^4 Q(s) - rl (rh - rh^3/6),     Q through r^14
// (rl's next terms, rl rh^4/24, are below 2^-58 of the result).
// P and Q are fits of tools/trig_tables (interpolation at Chebyshev nodes
// of s, near minimax; kClassSinD, kClassCosD): 2^-64.2 of sin r and
// 2^-59.5 of cos r, at most 0.012 ulp, where the Taylor series would need
// a term more in P and two more in Q, fused operations that bound the
// speed of the AVX-512 class.
// Sine: rh^3 = u + u' + rh s' exactly (u = rh s, s' and u' the fused
// products' remainders), 1/6 as a pair, and rh - u/6 by an exact two-sum:
// what is left, rh^5 P, is below 0.0031 of the result, so its roundings
// cost under 0.01 ulp.  Cosine: 1 - s/2 by an exact two-sum (w = 1 - s/2,
// (1 - w) - s/2 exact, s' carried), the rest below 0.016 of the result:
// under 0.03 ulp.  The final addition rounds once: below 0.57 ulp for the
// doubles (bound 0.6).  The quadrant picks +-sin r or +-cos r by the bits
// of q.  SinCos and Tan evaluate both series for every lane; Sin and Cos
// alone evaluate one, the same operations with constants chosen per lane
// (sine_of_quadrant): measured 0.554 Sin, 0.549 Cos over 10^8 points, half
// of them within a few ulps or 10^-3 of multiples of pi/2.
//
// Tangent: the quotient of the pairs, sin r / cos r or -cos r / sin r, one
// rounded division corrected by the exact remainder; the pairs' own errors
// (up to 0.05 ulp each) add: below 0.62 ulp (measured 0.577; bound 0.8).
//
// Single SinCos, below 2^17: the same in float lanes, pi/2 = C1 + C2 + C3 three
// floats (x - q C1 exact as above: multiples of 2^-24 below 1), fitted
// series through r^9 and r^8 (kClassSinF, kClassCosF: 2^-32.8 and 2^-30.2
// of the result, at most 0.014 ulp).  The
// omitted q (pi/2 - C1 - C2 - C3) is below 2^-60 there (the measurement
// below covers the floats closest to multiples of pi/2).  In floats the
// rest's operands carry 2^-24 relative errors, so the cosine's s^2 is
// corrected to first order by its remainders (0.05 ulp otherwise).
// Measured on every float below 2^17 (against the double functions): the
// sine 0.540, the cosine 0.536 ulp.  A register holding a lane from 2^17
// computes those lanes again in doubles from the widened float (the
// double algorithm above, rounded once to float: below 0.501 ulp).  Two
// outputs share the reduction and the squares here, which in double lanes
// (below) cost more than they save.
//
// Single Sin and Cos, below 2^30, in double lanes (sin_or_cos_of_single),
// reduced by pi: x = n pi + r or x = (n + 1/2) pi - r, r in [-pi/2, pi/2],
// and sin x or cos x is (-1)^n sin r, so one odd series serves both:
//   sin r = r + r s (-1/6 + s P(s)),  s = r^2, P = kClassSinPi through r^11,
// 2^-31.1 of sin r.  pi = C1 + C2 and pi/2 = C1' + C2' as double pairs:
// x - n C1 and m C1' - x (m = 2n + 1) are exact in one fused step (x is a
// multiple of 2^-23 from 1, C1 and C1' of 2^-51 and 2^-52, the difference
// below 2; below 1, n = 0 and r = x, or r is near pi/2 and the rounding
// of m C1' - x is 2^-53 of it), the step with C2 rounds once (2^-53 of
// r), and the omitted n (pi - C1 - C2) is below 2^-48 of r (|r| stays
// above 2^-27.8 for every float from 1 to 2^30).  No compensated steps:
// one rounding to float at the end, below 0.51 ulp (measured on every
// float below 2^30 against the double functions: 0.508 both; bound 0.6).
//
// Single Tan, below 2^30, in double lanes (tan_of_single): sin r and cos r
// within 2^-33.6 and 2^-29.8, their quotient within 2^-29.6 of tan x
// before the one rounding to float: below 0.53 ulp (bound 0.8).
#include <cstdint>
#include <type_traits>

#include "frame/class_frame.h"
#include "vecmath/kernel_table.h"
#include "vecmath/simd/lanes.h"
#include "vecmath/trig_core.h"
#include "vecmath/trig_tables.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

using namespace simd;
using namespace lanes;
using class_frame::Arrays;
using class_frame::Pair;

// The constants of each precision.
template <class T>
struct Consts;
template <>
struct Consts<double> {
    static constexpr double two_over_pi = 0x1.45f306dc9c883p-1;
    static constexpr double shift = 0x1.8p52;  // x 2/pi + shift leaves q in the low bits
    static constexpr double pio2[3] = {0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54, -0x1.f1976b7ed8fbcp-110};
    static constexpr double one_over_pi = 0x1.45f306dc9c883p-2;
    static constexpr double pi[2] = {0x1.921fb54442d18p+1, 0x1.1a62633145c07p-53};
    // -1/6 as a pair.
    static constexpr double sin3 = -0x1.5555555555555p-3, sin3_lo = -0x1.5555555555555p-57;
    // sin r - r + r^3/6 = r^5 P(r^2) and cos r - 1 + r^2/2 = r^4 Q(r^2): fits
    // of tools/trig_tables.
    static constexpr int sin_terms = 6;
    static constexpr double sin_p[6] = {kClassSinD[0], kClassSinD[1], kClassSinD[2],
                                        kClassSinD[3], kClassSinD[4], kClassSinD[5]};
    static constexpr int cos_terms = 6;
    static constexpr bool square_rest = false;
    static constexpr double cos_q[6] = {kClassCosD[0], kClassCosD[1], kClassCosD[2],
                                        kClassCosD[3], kClassCosD[4], kClassCosD[5]};
};
template <>
struct Consts<float> {
    static constexpr float two_over_pi = 0x1.45f306p-1f;
    static constexpr float shift = 0x1.8p23f;
    static constexpr float pio2[3] = {0x1.921fb6p+0f, -0x1.777a5cp-25f, -0x1.ee59dap-50f};
    static constexpr float sin3 = -0x1.555556p-3f, sin3_lo = 0x1.555556p-28f;
    static constexpr int sin_terms = 3;
    static constexpr float sin_p[3] = {kClassSinF[0], kClassSinF[1], kClassSinF[2]};
    static constexpr int cos_terms = 3;
    static constexpr bool square_rest = true;
    static constexpr float cos_q[3] = {kClassCosF[0], kClassCosF[1], kClassCosF[2]};
};

constexpr uint64_t kAbs = 0x7FFFFFFFFFFFFFFFull;
constexpr uint64_t kFastEnd = 0x41D0000000000000ull;  // 2^30
constexpr uint32_t kAbsF = 0x7FFFFFFFu;
constexpr uint32_t kFastEndF = 0x4E800000u;  // 2^30
constexpr uint32_t kFloatLanesEnd = 0x48000000u;  // 2^17: from here in doubles
constexpr uint32_t kInfF = 0x7F800000u;
constexpr uint64_t kDefaultNaN = 0xFFF8000000000000ull;
constexpr uint32_t kDefaultNaNF = 0xFFC00000u;

// Horner over the first K coefficients.
template <int K, class T, int N>
XEB_INLINE Vec<T, N> series(Vec<T, N> s, const T* c) {
    Vec<T, N> p = broadcast<Vec<T, N>>(c[K - 1]);
    for (int k = K - 2; k >= 0; --k) p = fma(p, s, c[k]);
    return p;
}

// a + b = s + err exactly (Fast2Sum) when |a| >= |b| (Dekker), and also
// when a is a multiple of ulp(b): then |a + b| < 2 |b| or the sum is exact,
// so s - a is b within one ulp(b), a multiple of it, and representable.
template <class T, int N>
XEB_INLINE Vec<T, N> fast_two_sum(Vec<T, N> a, Vec<T, N> b, Vec<T, N>& err) {
    const Vec<T, N> s = a + b;
    err = b - (s - a);
    return s;
}

template <class T, int N>
struct Reduced {
    Vec<T, N> rh, rl;
    UVec<T, N> q;  // its low bits: the quadrant
};

template <class T, int N>
XEB_INLINE Reduced<T, N> reduce(Vec<T, N> x) {
    using C = Consts<T>;
    using V = Vec<T, N>;
    const V y = fma(x, C::two_over_pi, C::shift);
    const V minus_q = C::shift - y;
    const V r1 = fma(minus_q, broadcast<V>(C::pio2[0]), x);  // exact
    const V p = minus_q * C::pio2[1];                       // -q C2 = p + e
    const V e = fms(minus_q, broadcast<V>(C::pio2[1]), p);
    Reduced<T, N> out;
    out.q = bitcast<typename Traits<UVec<T, N>>::Lane>(y);
    V err;
    out.rh = fast_two_sum(r1, p, err);
    out.rl = fma(minus_q, broadcast<V>(C::pio2[2]), err + e);
    return out;
}

// sin r = sh + sl and cos r = ch + cl, each an unevaluated sum.
template <class T, int N>
struct SinCosParts {
    Vec<T, N> sh, sl, ch, cl;
};

template <class T, int N>
XEB_INLINE SinCosParts<T, N> sin_cos_reduced(const Reduced<T, N>& r) {
    using C = Consts<T>;
    using V = Vec<T, N>;
    const V rh = r.rh, s = rh * rh;
    const V s_rem = fms(rh, rh, s);
    // Sine: rh + rh^3 (-1/6) as h + h_rem and a rest.
    const V u = rh * s, u_rem = fms(rh, s, u);  // rh^3 = u + u_rem + rh s_rem
    const V m = u * C::sin3, m_rem = fms(u, broadcast<V>(C::sin3), m);
    const V h = rh + m, h_rem = (rh - h) + m;  // |m| < |rh|
    const V cubic_rest = fma(u, C::sin3_lo, fma(fma(rh, s_rem, u_rem), C::sin3, m_rem));
    // Cosine: 1 - s/2 as w + w_rem.
    const V half = s * T(0.5), w = T(1) - half;
    const V w_rem = (T(1) - w) - half;  // exact
    // rl enters through the derivatives: rl cos rh and -rl sin rh, whose
    // leading terms w and h suffice (rl is below 2^-p of rh).
    const V sin_rest = fma(r.rl, w, cubic_rest + h_rem);
    V cos_rest = fnma(r.rl, h, fnma(s_rem, broadcast<V>(T(0.5)), w_rem));
    const V s2 = s * s;
    if constexpr (C::square_rest) {
        // rh^4 = s2 + (s2_rem + 2 s s_rem) to first order, the remainder
        // times 1/24 (in floats the roundings of s2 weigh 0.05 ulp).
        const V s2_rem = fms(s, s, s2);
        cos_rest = fma(fma(s + s, s_rem, s2_rem), C::cos_q[0], cos_rest);
    }
    return {h, fma(u * s, series<C::sin_terms>(s, C::sin_p), sin_rest), w,
            fma(s2, series<C::cos_terms>(s, C::cos_q), cos_rest)};
}

// sin x = (+-) sin r or cos r by q mod 4; cos x the same with q + 1.
template <class T, int N>
XEB_INLINE Vec<T, N> place(UVec<T, N> q, Vec<T, N> sin_r, Vec<T, N> cos_r) {
    using B = typename Traits<UVec<T, N>>::Lane;
    const auto odd = compare<Cmp::Ne>(q & B{1}, UVec<T, N>{});
    const Vec<T, N> v = select(odd, cos_r, sin_r);
    return bitcast<T>(bitcast<B>(v) ^ ((q & B{2}) << (8 * sizeof(B) - 2)));
}

// tan x = sin r / cos r for even q, -cos r / sin r for odd: the quotient
// of the leading parts, t = nh / dh, and its correction from the exact
// remainder nh - t dh and the low parts, (nh + nl) / (dh + dl) - t
// = (nh - t dh + nl - t dl) / (dh + dl), a few thousandths of t at most.
template <class T, int N>
XEB_INLINE Vec<T, N> tangent(UVec<T, N> q, const SinCosParts<T, N>& p) {
    using B = typename Traits<UVec<T, N>>::Lane;
    const auto odd = compare<Cmp::Ne>(q & B{1}, UVec<T, N>{});
    const Vec<T, N> nh = select(odd, -p.ch, p.sh), nl = select(odd, -p.cl, p.sl);
    const Vec<T, N> dh = select(odd, p.sh, p.ch), dl = select(odd, p.sl, p.cl);
    const Vec<T, N> t = nh / dh;
    return t + fnma(t, dl, fnma(t, dh, nh) + nl) / (dh + dl);
}

// The double sine alone, with q the quadrant (q + 1 for the cosine): one
// compensated sum per lane, sin r in the even quadrants and cos r in the
// odd ones, each written as
//   t + b c + b (c' + s R(s)) + rl d,
// t = rh, b = rh^3, c + c' = -1/6 (a pair), R = P, d = 1 - s/2 for sin r;
// t = 1, b = s, c = -1/2, c' = 0, R = Q, d = -rh (1 - s/6) for cos r.
// The leading term is a blend, the constants pairs read by the parity of
// q (one in-lane permute each), and the operations are the same for both:
// with the reduction, per register 24 multiplies and fused operations, 10
// additions, 9 permutes and 2 blends, where both series and the choice
// take 32, 14 and a blend; the permutes and blends run beside the fused
// operations (on the processors with two FMA pipes the bound).
// Error budget, in ulps of the result: b = t s and b c are carried exactly
// (remainders of fused products; b c is exact where c = -1/2) and t + b c
// by an exact two-sum; the rest rounds below 0.01 (sine, under 0.0031 of
// the result) or 0.03 (cosine, under 0.016); the fits 0.012; rl d leaves
// out rl s^2/24 (sine) or rl rh^5/120 (cosine), at most 0.016; the final
// addition 0.5: below 0.56 in all.
// Pairs {for sin r, for cos r}, read per lane by the parity of q.
struct alignas(16) SinePair {
    double v[2];
};
constexpr SinePair kHeadC = {{Consts<double>::sin3, -0.5}}, kHeadCLo = {{Consts<double>::sin3_lo, 0.0}};
constexpr SinePair kDerivC = {{-0.5, -1.0 / 6}};
constexpr SinePair kRestC[6] = {{{kClassSinD[0], kClassCosD[0]}}, {{kClassSinD[1], kClassCosD[1]}},
                                {{kClassSinD[2], kClassCosD[2]}}, {{kClassSinD[3], kClassCosD[3]}},
                                {{kClassSinD[4], kClassCosD[4]}}, {{kClassSinD[5], kClassCosD[5]}}};

template <int N>
XEB_INLINE D<N> sine_of_quadrant(const Reduced<double, N>& r, UVec<double, N> q) {
    using V = D<N>;
    const auto odd = compare<Cmp::Ne>(q & uint64_t{1}, UVec<double, N>{});
    const auto pick = [&q](const SinePair& c) { return lookup<2>(c.v, q); };
    const V rh = r.rh, s = rh * rh, s_rem = fms(rh, rh, s);
    const V t = select(odd, broadcast<V>(1.0), rh);
    const V b = t * s, b_rem = fma(t, s_rem, fms(t, s, b));  // t rh^2 = b + b_rem
    const V c = pick(kHeadC);
    const V m = b * c, m_rem = fms(b, c, m);
    const V h = t + m, h_rem = (t - h) + m;  // |m| < |t|
    const V d = select(odd, -rh, broadcast<V>(1.0)) * fma(s, pick(kDerivC), broadcast<V>(1.0));
    const V rest = fma(r.rl, d, fma(b_rem, c, m_rem) + h_rem);
    V R = pick(kRestC[5]);
    for (int k = 4; k >= 0; --k) R = fma(R, s, pick(kRestC[k]));
    const V v = h + fma(b, fma(R, s, pick(kHeadCLo)), rest);
    return bitcast<double>(bitcast<uint64_t>(v) ^ ((q << 62) & uint64_t{0x8000000000000000ull}));
}

enum class Fn { Sin, Cos, SinCos, Tan };

template <Fn Fun, class T, int N>
XEB_INLINE auto sin_cos(Vec<T, N> x) {
    const Reduced<T, N> r = reduce(x);
    using B = typename Traits<UVec<T, N>>::Lane;
    if constexpr (std::is_same_v<T, double> && Fun == Fn::Sin) {
        return sine_of_quadrant(r, r.q);
    } else if constexpr (std::is_same_v<T, double> && Fun == Fn::Cos) {
        return sine_of_quadrant(r, r.q + B{1});
    } else if constexpr (Fun == Fn::Tan) {
        return tangent(r.q, sin_cos_reduced(r));
    } else {
        const SinCosParts<T, N> p = sin_cos_reduced(r);
        const Vec<T, N> s = p.sh + p.sl, c = p.ch + p.cl;
        if constexpr (Fun == Fn::Sin) return place(r.q, s, c);
        else if constexpr (Fun == Fn::Cos) return place(r.q + B{1}, s, c);
        else return Pair<Vec<T, N>>{place(r.q, s, c), place(r.q + B{1}, s, c)};
    }
}

// The single tangent in double lanes (below 2^30).  r = x - q pi/2 with
// the first two doubles of pi/2: x - q C1 is exact (x is a multiple of
// 2^-52 where q is not 0, the difference below 1), the step with C2 rounds
// once (2^-53 of r), and the omitted q C3 is below 2^-55 of r (|r| stays
// above 2^-27.8 for every float from 1 to 2^30).  Then, s = r^2,
//   sin r = r + r s (-1/6 + s P(s)),   cos r = 1 + s (-1/2 + s Q(s)),
// P and Q of kClassSinS and kClassCosS (2^-33.6 and 2^-29.8 of the
// result), the tails in Estrin's order, and one double division: the
// quotient is within 2^-29 of tan x before the rounding to float (below
// 0.52 ulp).  Fewer operations than the float pairs' quotient with its
// correction, and no second path for lanes from 2^17.
template <int N>
XEB_INLINE D<N> tan_of_single(D<N> x) {
    using C = Consts<double>;
    using V = D<N>;
    const V y = fma(x, C::two_over_pi, C::shift);
    const V minus_q = C::shift - y;
    const V r = fma(minus_q, broadcast<V>(C::pio2[1]), fma(minus_q, broadcast<V>(C::pio2[0]), x));
    const V s = r * r, s2 = s * s;
    const V sin_tail = fma(s2, fma(s, kClassSinS[2], kClassSinS[1]), fma(s, kClassSinS[0], -1.0 / 6));
    const V cos_tail = fma(s2, fma(s, kClassCosS[2], kClassCosS[1]), fma(s, kClassCosS[0], -0.5));
    const V sin_r = fma(r * s, sin_tail, r), cos_r = fma(s, cos_tail, broadcast<V>(1.0));
    const auto odd = compare<Cmp::Ne>(bitcast<uint64_t>(y) & uint64_t{1}, UVec<double, N>{});
    return select(odd, -cos_r, sin_r) / select(odd, sin_r, cos_r);
}

// sin x = (-1)^n sin r with r = x - n pi, n = round(x/pi); cos x = (-1)^n
// sin r with r = m pi/2 - x, m = 2n + 1, n = round(x/pi - 1/2).  n in the
// low bits of y; its low bit moves to the sign.
template <Fn Fun, int N>
XEB_INLINE D<N> sin_or_cos_of_single(D<N> x) {
    using C = Consts<double>;
    using V = D<N>;
    V y, r;
    if constexpr (Fun == Fn::Sin) {
        y = fma(x, C::one_over_pi, C::shift);
        const V minus_n = C::shift - y;
        r = fma(minus_n, broadcast<V>(C::pi[1]), fma(minus_n, broadcast<V>(C::pi[0]), x));
    } else {
        y = fma(x, C::one_over_pi, -0.5) + C::shift;
        const V m = fma(y - C::shift, broadcast<V>(2.0), broadcast<V>(1.0));
        r = fma(m, broadcast<V>(C::pio2[1]), fms(m, broadcast<V>(C::pio2[0]), x));
    }
    const V s = r * r;
    const V sin_r = fma(r * s, fma(series<4>(s, kClassSinPi), s, broadcast<V>(-1.0 / 6)), r);
    return bitcast<double>(bitcast<uint64_t>(sin_r) ^ (bitcast<uint64_t>(y) << 63));
}

// The scalar cores, by the function.
template <Fn Fun>
struct Core;
template <>
struct Core<Fn::Sin> {
    static constexpr const char* double_name = "dSin_HA";
    static constexpr const char* single_name = "sSin_HA";
    static void eval(double x, double& y, double&) { y = trig::sin_core(x); }
};
template <>
struct Core<Fn::Cos> {
    static constexpr const char* double_name = "dCos_HA";
    static constexpr const char* single_name = "sCos_HA";
    static void eval(double x, double& y, double&) { y = trig::cos_core(x); }
};
template <>
struct Core<Fn::Tan> {
    static constexpr const char* double_name = "dTan_HA";
    static constexpr const char* single_name = "sTan_HA";
    static void eval(double x, double& y, double&) { y = trig::tan_core(x); }
};
template <>
struct Core<Fn::SinCos> {
    static constexpr const char* double_name = "dSinCos_HA";
    static constexpr const char* single_name = "sSinCos_HA";
    static void eval(double x, double& y, double& z) { trig::sin_cos_core(x, y, z); }
};

template <Fn Fun, class T>
inline void store_one(const Arrays<T>& x, int i, T y, T z) {
    x.y[i] = y;
    if constexpr (Fun == Fn::SinCos) x.z[i] = z;
}

template <Fn Fun>
struct TrigD {
    using V = D<kNative<double>>;
    static constexpr const char* name = Core<Fun>::double_name;
    static constexpr double filler = 1.0;

    // Zeros (x - 1 wraps), 2^30 and beyond, infinities and NaNs.
    template <int N>
    static MaskOf<double, N> special(D<N> x) {
        return compare<Cmp::Ge>((bitcast<uint64_t>(x) & kAbs) - uint64_t{1}, kFastEnd - 1);
    }
    template <int N>
    XEB_INLINE static auto compute(D<N> x) {
        return sin_cos<Fun>(x);
    }
    // Infinities and NaNs give the default NaN, judged on the high word
    // (as the scalar forms do): the event when it is that of an infinity.
    static void one(double a, int i, const Arrays<double>& x) {
        const uint64_t magnitude = bits(a) & kAbs;
        if (magnitude >= 0x7FF0000000000000ull) {
            const double nan = double_of(kDefaultNaN);
            store_one<Fun>(x, i, nan, nan);
            if (magnitude >> 32 == 0x7FF00000u) class_frame::raise(XEB_STATUS_DOMAINFAULT, i, x, name);
            return;
        }
        double y, z = 0;
        Core<Fun>::eval(a, y, z);
        store_one<Fun>(x, i, y, z);
    }
};

template <Fn Fun>
struct TrigS {
    using V = F<kNative<float>>;
    static constexpr const char* name = Core<Fun>::single_name;
    static constexpr float filler = 1.0f;

    template <int N>
    static MaskOf<float, N> special(F<N> x) {
        return compare<Cmp::Ge>((bitcast<uint32_t>(x) & kAbsF) - 1u, kFastEndF - 1);
    }
    // Sine-cosine in float lanes below 2^17; when a register holds a
    // larger one, its lanes from 2^17 are computed again in doubles.  The
    // others in double lanes (sin_or_cos_of_single, tan_of_single).
    template <int N>
    XEB_INLINE static auto compute(F<N> x) {
        if constexpr (Fun != Fn::SinCos) {
            return widened(x);
        } else {
            const auto wide = compare<Cmp::Ge>(bitcast<uint32_t>(x) & kAbsF, kFloatLanesEnd);
            auto y = sin_cos<Fun>(x);
            if (any(wide)) y = choose(wide, in_doubles(x), y);
            return y;
        }
    }
    // The function of the widened lanes, rounded once to float: the
    // single algorithms, the sine-cosine's the double one.
    template <int N>
    XEB_INLINE static auto in_double_lanes(D<N> x) {
        if constexpr (Fun == Fn::Tan) return tan_of_single(x);
        else if constexpr (Fun == Fn::SinCos) return sin_cos<Fun>(x);
        else return sin_or_cos_of_single<Fun>(x);
    }
    template <int N>
    XEB_INLINE static auto widened(F<N> x) {
        if constexpr (N == 1) {
            return narrow(in_double_lanes(convert<double>(x)));
        } else {
            return join_halves(in_double_lanes(convert<double>(half<0>(x))),
                               in_double_lanes(convert<double>(half<1>(x))));
        }
    }
    template <int N>
    static auto in_doubles(F<N> x) {
        return widened(x);
    }
    template <int N>
    XEB_INLINE static F<N> narrow(D<N> v) {
        return convert<float>(v);
    }
    template <int N>
    XEB_INLINE static Pair<F<N>> narrow(Pair<D<N>> v) {
        return {convert<float>(v.y), convert<float>(v.z)};
    }
    template <int N>
    XEB_INLINE static F<2 * N> join_halves(D<N> lo, D<N> hi) {
        return join(convert<float>(lo), convert<float>(hi));
    }
    template <int N>
    XEB_INLINE static Pair<F<2 * N>> join_halves(Pair<D<N>> lo, Pair<D<N>> hi) {
        return {join(convert<float>(lo.y), convert<float>(hi.y)), join(convert<float>(lo.z), convert<float>(hi.z))};
    }
    template <int N>
    XEB_INLINE static F<N> choose(MaskOf<float, N> m, F<N> a, F<N> b) {
        return select(m, a, b);
    }
    template <int N>
    XEB_INLINE static Pair<F<N>> choose(MaskOf<float, N> m, Pair<F<N>> a, Pair<F<N>> b) {
        return {select(m, a.y, b.y), select(m, a.z, b.z)};
    }
    // Infinities give the default NaN and the event; NaNs keep their
    // payload, quiet, through the core.
    static void one(float a, int i, const Arrays<float>& x) {
        if ((bits(a) & kAbsF) == kInfF) {
            const float nan = float_of(kDefaultNaNF);
            store_one<Fun>(x, i, nan, nan);
            class_frame::raise(XEB_STATUS_DOMAINFAULT, i, x, name);
            return;
        }
        double y, z = 0;
        Core<Fun>::eval(a, y, z);
        store_one<Fun>(x, i, static_cast<float>(y), static_cast<float>(z));
    }
};

// The single _21 forms (and _11, the same entries) keep the baseline's LA names.
constexpr char kSinLA[] = "sSin_LA", kCosLA[] = "sCos_LA", kSinCosLA[] = "sSinCos_LA", kTanLA[] = "sTan_LA";

}  // namespace

void trig_entries(vm::KernelTable& t) {
    t.dSin_HA = t.dSin_50 = class_frame::unary<TrigD<Fn::Sin>>;
    t.dCos_HA = t.dCos_50 = class_frame::unary<TrigD<Fn::Cos>>;
    t.dSinCos_HA = t.dSinCos_50 = class_frame::two_outputs<TrigD<Fn::SinCos>>;
    t.sSin_HA = class_frame::unary<TrigS<Fn::Sin>>;
    t.sSin_21 = t.sSin_11 = class_frame::unary<TrigS<Fn::Sin>, kSinLA>;
    t.sCos_HA = class_frame::unary<TrigS<Fn::Cos>>;
    t.sCos_21 = t.sCos_11 = class_frame::unary<TrigS<Fn::Cos>, kCosLA>;
    t.sSinCos_HA = class_frame::two_outputs<TrigS<Fn::SinCos>>;
    t.sSinCos_21 = t.sSinCos_11 = class_frame::two_outputs<TrigS<Fn::SinCos>, kSinCosLA>;
    t.dTan_HA = t.dTan_50 = class_frame::unary<TrigD<Fn::Tan>>;
    t.sTan_HA = class_frame::unary<TrigS<Fn::Tan>>;
    t.sTan_21 = t.sTan_11 = class_frame::unary<TrigS<Fn::Tan>, kTanLA>;
}

}  // namespace XEB_ISA
}  // namespace xeb
