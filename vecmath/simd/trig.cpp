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
//   r1 - p into rh + err by an exact two-sum;
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
//   sin r = rh - rh^3/6 + rh^5 P(s) + rl (1 - s/2),         P through r^17;
//   cos r = 1 - rh^2/2 + rh^4 Q(s) - rl (rh - rh^3/6),     Q through r^18
// (rl's next terms, rl rh^4/24, are below 2^-58 of the result).
// Taylor coefficients (1/k! rounded): truncation below 2^-62 of the result.
// Sine: rh^3 = u + u' + rh s' exactly (u = rh s, s' and u' the fused
// products' remainders), 1/6 as a pair, and rh - u/6 by an exact two-sum:
// what is left, rh^5 P, is below 0.0031 of the result, so its roundings
// cost under 0.01 ulp.  Cosine: 1 - s/2 by an exact two-sum (w = 1 - s/2,
// (1 - w) - s/2 exact, s' carried), the rest below 0.016 of the result:
// under 0.03 ulp.  The final addition rounds once: below 0.56 ulp for the
// doubles (measured 0.554, Cos; bound 0.6).  The quadrant picks +-sin r or
// +-cos r by the bits of q.
//
// Tangent: the quotient of the pairs, sin r / cos r or -cos r / sin r, one
// rounded division corrected by the exact remainder; the pairs' own errors
// (up to 0.05 ulp each) add: below 0.62 ulp (measured 0.581; bound 0.8).
//
// Single: the same in doubles from the widened float, with rl dropped
// (2^-80 absolute for |x| < 2^30) and the series through r^11 and r^10
// (truncation 2^-32 of the result): within 0.004 of a float ulp before the
// one rounding to float, below 0.51 ulp.
#include <cstdint>

#include "frame/class_frame.h"
#include "vecmath/kernel_table.h"
#include "vecmath/simd/lanes.h"
#include "vecmath/trig_core.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

using namespace simd;
using namespace lanes;
using class_frame::Arrays;
using class_frame::Pair;

constexpr double kTwoOverPi = 0x1.45f306dc9c883p-1;
constexpr double kShift = 0x1.8p52;  // x 2/pi + kShift leaves q in the low bits
constexpr double kPio2[3] = {0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54, -0x1.f1976b7ed8fbcp-110};
// -1/6 as a pair.
constexpr double kSin3 = -0x1.5555555555555p-3, kSin3Lo = -0x1.5555555555555p-57;
// 1/5!, -1/7!, ..., 1/17!: sin r - r + r^3/6 = r^5 P(r^2).
constexpr double kSinP[7] = {0x1.1111111111111p-7,  -0x1.a01a01a01a01ap-13, 0x1.71de3a556c734p-19,
                             -0x1.ae64567f544e4p-26, 0x1.6124613a86d09p-33, -0x1.ae7f3e733b81fp-41,
                             0x1.952c77030ad4ap-49};
// 1/4!, -1/6!, ..., 1/18!: cos r - 1 + r^2/2 = r^4 Q(r^2).
constexpr double kCosQ[8] = {0x1.5555555555555p-5,  -0x1.6c16c16c16c17p-10, 0x1.a01a01a01a01ap-16,
                             -0x1.27e4fb7789f5cp-22, 0x1.1eed8eff8d898p-29,  -0x1.93974a8c07c9dp-37,
                             0x1.ae7f3e733b81fp-45,  -0x1.6827863b97d97p-53};

constexpr uint64_t kAbs = 0x7FFFFFFFFFFFFFFFull;
constexpr uint64_t kFastEnd = 0x41D0000000000000ull;  // 2^30
constexpr uint32_t kAbsF = 0x7FFFFFFFu;
constexpr uint32_t kFastEndF = 0x4E800000u;  // 2^30
constexpr uint32_t kInfF = 0x7F800000u;
constexpr uint64_t kDefaultNaN = 0xFFF8000000000000ull;
constexpr uint32_t kDefaultNaNF = 0xFFC00000u;

// Horner over the first K coefficients.
template <int K, int N>
XEB_INLINE D<N> series(D<N> s, const double* c) {
    D<N> p = broadcast<D<N>>(c[K - 1]);
    for (int k = K - 2; k >= 0; --k) p = fma(p, s, c[k]);
    return p;
}

// a + b = s + err exactly, any magnitudes.
template <int N>
XEB_INLINE D<N> two_sum(D<N> a, D<N> b, D<N>& err) {
    const D<N> s = a + b, bb = s - a;
    err = (a - (s - bb)) + (b - bb);
    return s;
}

template <int N>
struct Reduced {
    D<N> rh, rl;
    U<N> q;  // its low bits: the quadrant
};

// Precise: rl kept (doubles); otherwise rh alone (floats).
template <bool Precise, int N>
XEB_INLINE Reduced<N> reduce(D<N> x) {
    const D<N> y = fma(x, kTwoOverPi, kShift);
    const D<N> q = y - kShift;
    const D<N> r1 = fnma(q, broadcast<D<N>>(kPio2[0]), x);  // exact
    Reduced<N> out;
    out.q = bitcast<uint64_t>(y);
    if constexpr (Precise) {
        const D<N> p = q * kPio2[1];
        const D<N> e = fms(q, broadcast<D<N>>(kPio2[1]), p);
        D<N> err;
        out.rh = two_sum(r1, -p, err);
        out.rl = fnma(q, broadcast<D<N>>(kPio2[2]), err - e);
    } else {
        out.rh = fnma(q, broadcast<D<N>>(kPio2[1]), r1);
        out.rl = D<N>{};
    }
    return out;
}

// sin r = sh + sl and cos r = ch + cl, each an unevaluated sum.
template <int N>
struct SinCosParts {
    D<N> sh, sl, ch, cl;
};

template <bool Precise, int N>
XEB_INLINE SinCosParts<N> sin_cos_reduced(const Reduced<N>& r) {
    const D<N> rh = r.rh, s = rh * rh;
    if constexpr (!Precise) {
        return {fma(rh * s, fma(s, series<4>(s, kSinP), kSin3), rh), D<N>{},
                fma(s, fma(s, series<4>(s, kCosQ), -0.5), 1.0), D<N>{}};
    }
    const D<N> s_rem = fms(rh, rh, s);
    // Sine: rh + rh^3 (-1/6) as h + h_rem and a rest.
    const D<N> u = rh * s, u_rem = fms(rh, s, u);  // rh^3 = u + u_rem + rh s_rem
    const D<N> m = u * kSin3, m_rem = fms(u, broadcast<D<N>>(kSin3), m);
    const D<N> h = rh + m, h_rem = (rh - h) + m;  // |m| < |rh|
    const D<N> cubic_rest = fma(u, kSin3Lo, fma(fma(rh, s_rem, u_rem), kSin3, m_rem));
    // Cosine: 1 - s/2 as w + w_rem.
    const D<N> half = s * 0.5, w = 1.0 - half;
    const D<N> w_rem = (1.0 - w) - half;  // exact
    // rl enters through the derivatives: rl cos rh and -rl sin rh, whose
    // leading terms w and h suffice (rl is below 2^-52 of rh).
    const D<N> sin_rest = fma(r.rl, w, cubic_rest + h_rem);
    const D<N> cos_rest = fnma(r.rl, h, fnma(s_rem, broadcast<D<N>>(0.5), w_rem));
    return {h, fma(u * s, series<7>(s, kSinP), sin_rest), w, fma(s * s, series<8>(s, kCosQ), cos_rest)};
}

// sin x = (+-) sin r or cos r by q mod 4; cos x the same with q + 1.
template <int N>
XEB_INLINE D<N> place(U<N> q, D<N> sin_r, D<N> cos_r) {
    const auto odd = compare<Cmp::Ne>(q & uint64_t{1}, U<N>{});
    const D<N> v = select(odd, cos_r, sin_r);
    return bitcast<double>(bitcast<uint64_t>(v) ^ ((q & uint64_t{2}) << 62));
}

// tan x = sin r / cos r for even q, -cos r / sin r for odd: the quotient
// of the leading parts, t = nh / dh, and its correction from the exact
// remainder nh - t dh and the low parts, (nh + nl) / (dh + dl) - t
// = (nh - t dh + nl - t dl) / (dh + dl), a few thousandths of t at most.
template <int N>
XEB_INLINE D<N> tangent(U<N> q, const SinCosParts<N>& p) {
    const auto odd = compare<Cmp::Ne>(q & uint64_t{1}, U<N>{});
    const D<N> nh = select(odd, -p.ch, p.sh), nl = select(odd, -p.cl, p.sl);
    const D<N> dh = select(odd, p.sh, p.ch), dl = select(odd, p.sl, p.cl);
    const D<N> t = nh / dh;
    return t + fnma(t, dl, fnma(t, dh, nh) + nl) / (dh + dl);
}

enum class Fn { Sin, Cos, SinCos, Tan };

template <Fn Fun, bool Precise, int N>
XEB_INLINE auto sin_cos(D<N> x) {
    const Reduced<N> r = reduce<Precise>(x);
    const SinCosParts<N> p = sin_cos_reduced<Precise>(r);
    if constexpr (Fun == Fn::Tan) {
        return tangent(r.q, p);
    } else {
        const D<N> s = p.sh + p.sl, c = p.ch + p.cl;
        if constexpr (Fun == Fn::Sin) return place(r.q, s, c);
        else if constexpr (Fun == Fn::Cos) return place(r.q + uint64_t{1}, s, c);
        else return Pair<D<N>>{place(r.q, s, c), place(r.q + uint64_t{1}, s, c)};
    }
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
        return sin_cos<Fun, true>(x);
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
    template <int N>
    XEB_INLINE static auto compute(F<N> x) {
        if constexpr (N == 1) {
            return narrow(sin_cos<Fun, false>(convert<double>(x)));
        } else {
            return join_halves(sin_cos<Fun, false>(convert<double>(half<0>(x))),
                               sin_cos<Fun, false>(convert<double>(half<1>(x))));
        }
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

}  // namespace

void trig_entries(vm::KernelTable& t) {
    t.dSin_HA = t.dSin_50 = class_frame::unary<TrigD<Fn::Sin>>;
    t.dCos_HA = t.dCos_50 = class_frame::unary<TrigD<Fn::Cos>>;
    t.dSinCos_HA = t.dSinCos_50 = class_frame::two_outputs<TrigD<Fn::SinCos>>;
    t.sSin_HA = t.sSin_21 = t.sSin_11 = class_frame::unary<TrigS<Fn::Sin>>;
    t.sCos_HA = t.sCos_21 = t.sCos_11 = class_frame::unary<TrigS<Fn::Cos>>;
    t.sSinCos_HA = t.sSinCos_21 = t.sSinCos_11 = class_frame::two_outputs<TrigS<Fn::SinCos>>;
    t.dTan_HA = t.dTan_50 = class_frame::unary<TrigD<Fn::Tan>>;
    t.sTan_HA = t.sTan_21 = t.sTan_11 = class_frame::unary<TrigS<Fn::Tan>>;
}

}  // namespace XEB_ISA
}  // namespace xeb
