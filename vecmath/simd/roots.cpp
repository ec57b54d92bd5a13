// Reciprocal, square and cube roots and their reciprocals in the SIMD
// kernel classes, written once over the vector type and compiled once per
// class (see frame/class_frame.h for the frame and the recipe).  Every
// operation is IEEE with fused multiply-adds written out, so the AVX2 and
// AVX-512 classes give the same bits; the one-element routines run the same
// templates on one lane.  Special values, default NaNs and events are the
// baseline's (vecmath/roots.cpp, vecmath/divide.cpp).
//
// Inv, Sqrt: correctly rounded (0.5 ulp), the hardware's division and
// square root, but for single Sqrt's second register of each pair below.
//
// Single Sqrt, AVX-512 class.  The square root instruction is a unit of
// its own, busy for many cycles per register, while the multiply-add pipes
// stand idle.  So the kernel takes two registers at a time: the first
// through the instruction, the second through multiply-adds, whose result
// is the same correctly rounded float.  For x in [2^-96, 2^128):
//  - y ~ 1/sqrt(x) from vrsqrt14ps (relative error e below 2^-14); s = x y
//    rounded (a = e + 2^-24); the Newton step s + (y/2)(x - s^2), the
//    residual fused, leaves sqrt(x)(1 - a e - a^2/2 + tiny), below 2^-27.4
//    relative.  Rounded, s is within 0.5 + 2^-3 ulp of sqrt(x): the
//    correctly rounded root is s, its successor u or its predecessor d
//    (the lane's bits plus or minus 1).
//  - The choice, exact: let m = (s + u)/2, the midpoint.  sqrt(x) > m iff
//    x > m^2 = s u + (u - s)^2/4.  With w = u - s, x, s u and so x - s u
//    are integer multiples of w^2 (x's ulp is at least w^2 in this
//    range), so x > m^2 iff x - s u > 0, whose sign the fused x - s u
//    gives exactly: it is a multiple of w^2 >= 2^-48 x, far above the
//    underflow threshold for x >= 2^-96.  Downwards likewise: sqrt(x) <
//    (s + d)/2 iff x - s d <= 0 (x = s d does occur: 1 + 2^-23 = (1 +
//    2^-23) 1).  The root is never a midpoint (m^2 is a multiple of w^2/4
//    that is not one of w^2, so never x), so one of three cases holds.
// Lanes outside [2^-96, 2^128) in the second register (zeros, denormals,
// negatives, infinities, NaNs) and negatives in the first go to the
// one-element routine: the instruction, or the default NaN and its event.
//
// InvSqrt, both precisions (p = 53 or 24 bits).  y0 = 1/sqrt(x) (two
// roundings: |1 - x y0^2| < 2^(2-p)), then one Newton step from the exact
// residual: x y0 = th + tl by a fused product, r = 1 - x y0^2 = (1 - th y0)
// - tl y0 (each fused, rounding errors near 2^(1-2p)), y = y0 + (y0/2) r
// rounded once.  The dropped term 3/8 r^2 is below 2^(3-2p), 2^-45 of the
// result for floats.  Bound 0.5 + 2^-20 ulp, stated 0.51.  Denormal
// arguments stay in range: x y0 is sqrt(x), and its exact rest tl is a
// normal number.
//
// Cube roots.  x = 2^(3q) M, M = m 2^r in [1, 8), m in [1, 2), r = 0, 1, 2
// (q and r from the biased exponent E in doubles: q + 400 = nearest((E +
// 176)/3), whose fraction is 0 or 1/3 away from the rounding points).
// y ~ M^(-1/3): the start polynomial in m - 3/2 (relative error 2^-19.8,
// roots_vector_tables.inc) times 2^(-r/3), then the Newton step y (1 +
// h/3), h = 1 - M y^3, which leaves 2 d^2 + 2^-51 < 2^-37.5.
//  - Double Cbrt: R = M y^2 (|R/cbrt(M) - 1| = d < 2^-36), its exact
//    residual e = R^3 - M (R^2 and R^2 R as fused pairs; R^3 - M exact by
//    Sterbenz, the rest rounded near 2^-104 M), then R - e y^2/3 rounded
//    once: the dropped 2/9 d^2 and y's error times d, near 2^-72; bound
//    0.5 + 2^-19 ulp, stated 0.51.
//  - Double InvCbrt: g = M y^3 - 1 from M y and y^2 as fused pairs (error
//    near 2^-100), then y - (y/3) g rounded once; 2/9 g^2 < 2^-76 dropped.
//    Bound 0.51.
//  - Single Cbrt, InvCbrt: in doubles from the widened float (denormals
//    included), R = M y^2 or y, relative error below 2^-36, rounded once to
//    float: below 0.5 + 2^-12 ulp, stated 0.51.
// The scale 2^q (2^-q) multiplies exactly; the sign is put back with it.
#include <cstdint>
#include <type_traits>

#include "frame/class_frame.h"
#include "vecmath/kernel_table.h"
#include "vecmath/roots_shared.h"
#include "vecmath/simd/lanes.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

using namespace simd;
using class_frame::Arrays;

using namespace lanes;

template <class T>
using Bits = typename LaneInt<static_cast<int>(sizeof(T))>::U;

// The bit patterns of one precision: sign, +infinity, the default NaN of
// a root of a negative number (double: recognisable on purpose).
template <class T>
struct Patterns;
template <>
struct Patterns<double> {
    static constexpr uint64_t kSign = 0x8000000000000000ull, kInf = 0x7FF0000000000000ull;
    static constexpr uint64_t kRootNaN = 0x7FF8A5A55A5A5A5Aull;
};
template <>
struct Patterns<float> {
    static constexpr uint32_t kSign = 0x80000000u, kInf = 0x7F800000u;
    static constexpr uint32_t kRootNaN = 0xFFC00000u;
};

template <class T>
constexpr const char* pick(const char* d, const char* s) {
    return sizeof(T) == 8 ? d : s;
}

// Not positive and finite (zeros, negatives, infinities, NaNs).
template <class T, int N>
XEB_INLINE MaskOf<T, N> not_positive_finite(Vec<T, N> x) {
    return compare<Cmp::Ge>(bitcast<Bits<T>>(x) - Bits<T>{1}, Bits<T>(Patterns<T>::kInf - 1));
}

template <class T>
bool is_zero(T a) {
    return (bits(a) & ~Patterns<T>::kSign) == 0;
}
// Negative and not a NaN (-infinity included, -0 not).
template <class T>
bool negative_number(T a) {
    using P = Patterns<T>;
    return bits(a) - (P::kSign | 1) < P::kInf;
}

// ---------------------------------------------------------------- Inv, Sqrt

template <class T>
struct InvK {
    using V = Vec<T, kNative<T>>;
    static constexpr const char* name = pick<T>("_xebdInv_HA", "_xebsInv_HA");
    static constexpr T filler = 1;
    template <int N>
    static MaskOf<T, N> special(Vec<T, N> x) {  // zeros
        return compare<Cmp::Eq>(bitcast<Bits<T>>(x) & Bits<T>(~Patterns<T>::kSign), Bits<T>{0});
    }
    template <int N>
    XEB_INLINE static Vec<T, N> compute(Vec<T, N> x) {
        return T(1) / x;
    }
    static void one(T a, int i, const Arrays<T>& x) {
        x.y[i] = compute(Vec<T, 1>{a}).v;
        // The single kernel looks at the argument in memory after the
        // store, as the baseline's does: in place, a zero already replaced
        // by its infinite result raises nothing.
        if (is_zero(sizeof(T) == 8 ? a : x.a[i])) class_frame::raise(XEB_STATUS_POLE, i, x, name);
    }
};

// The correctly rounded square root of x in [2^-96, 2^128) by multiply-adds
// (see the header).
constexpr uint32_t kRefinedLow = 0x0F800000u;  // 2^-96
template <int N>
XEB_INLINE F<N> refined_sqrt(F<N> x) {
    static_assert(N > 1 && kRootEstimateBits >= 14, "one Newton step from a 14-bit estimate");
    const F<N> y = root_estimate(x);
    const F<N> half_y = bitcast<float>(bitcast<uint32_t>(y) - 0x00800000u);  // y/2 exactly: y is normal
    F<N> s = x * y;
    s = fma(half_y, fnma(s, s, x), s);
    const W<N> s_bits = bitcast<uint32_t>(s);
    const F<N> up = bitcast<float>(s_bits + 1u), down = bitcast<float>(s_bits - 1u);
    const auto above_upper_midpoint = compare<Cmp::Gt>(fnma(s, up, x), 0.0f);   // x - s u > 0
    const auto below_lower_midpoint = compare<Cmp::Le>(fnma(s, down, x), 0.0f); // x - s d <= 0
    return select(above_upper_midpoint, up, select(below_lower_midpoint, down, s));
}

template <class T>
struct SqrtK {
    using V = Vec<T, kNative<T>>;
    using P = Patterns<T>;
    static constexpr const char* name = pick<T>("_xebdSqrt_HA", "_xebsSqrt_HA");
    static constexpr T filler = 1;
    template <int N>
    static MaskOf<T, N> special(Vec<T, N> x) {  // negative numbers
        return compare<Cmp::Lt>(bitcast<Bits<T>>(x) - Bits<T>(P::kSign | 1), P::kInf);
    }
    template <int N>
    XEB_INLINE static Vec<T, N> compute(Vec<T, N> x) {
        return sqrt(x);
    }
    // Zeros keep their sign, NaNs come back quiet with their payload.
    static void one(T a, int i, const Arrays<T>& x) {
        if (!negative_number(a)) {
            x.y[i] = compute(Vec<T, 1>{a}).v;
            return;
        }
        x.y[i] = bitcast<T>(Vec<Bits<T>, 1>{P::kRootNaN}).v;
        class_frame::raise(XEB_STATUS_DOMAINFAULT, i, x, name);
    }
};

// Single: two registers, the first through the instruction, the second
// by multiply-adds (see the header).
template <class T>
struct TwinSqrtK : SqrtK<T> {
    using V = Twin<F<kNative<float>>>;
    static TwinMask<MaskOf<float, kNative<float>>> special(V x) {
        return {SqrtK<T>::special(x.lo),
                compare<Cmp::Ge>(bitcast<uint32_t>(x.hi) - kRefinedLow, Patterns<T>::kInf - kRefinedLow)};
    }
    XEB_INLINE static V compute(V x) {
        return {sqrt(x.lo), refined_sqrt(x.hi)};
    }
};

// The AVX2 class keeps the instruction: vrsqrtps's 12 bits need a second
// Newton step, and the pair then measured 1.35 times slower than a loop of
// vsqrtps on the AVX-512 processor here (Zen 4, n = 1000).
using SingleSqrt = std::conditional_t<XEB_ISA_AVX512 == 1, TwinSqrtK<float>, SqrtK<float>>;

// ---------------------------------------------------------------- InvSqrt

template <class T, int N>
XEB_INLINE Vec<T, N> inv_sqrt(Vec<T, N> x) {
    const Vec<T, N> one = broadcast<Vec<T, N>>(1);
    const Vec<T, N> y0 = one / sqrt(x);
    const Vec<T, N> th = x * y0;
    const Vec<T, N> tl = fms(x, y0, th);
    const Vec<T, N> r = fnma(tl, y0, fnma(th, y0, one));  // 1 - x y0^2
    return fma(y0 * T(0.5), r, y0);
}

// The lanes of a float register through a double routine, a half at a time.
template <D<kNative<double>> (*G)(D<kNative<double>>), int N>
XEB_INLINE F<N> through_doubles(F<N> x) {
    return join(convert<float>(G(convert<double>(half<0>(x)))), convert<float>(G(convert<double>(half<1>(x)))));
}

template <class T>
struct InvSqrtK {
    using V = Vec<T, kNative<T>>;
    using P = Patterns<T>;
    static constexpr const char* name = pick<T>("_xebdInvSqrt_HA", "_xebsInvSqrt_HA");
    static constexpr T filler = 1;
    template <int N>
    static MaskOf<T, N> special(Vec<T, N> x) {
        return not_positive_finite(x);
    }
    template <int N>
    XEB_INLINE static Vec<T, N> compute(Vec<T, N> x) {
        return inv_sqrt(x);
    }

    static void one(T a, int i, const Arrays<T>& x) {
        if (is_zero(a)) {
            x.y[i] = bits(a) >> (8 * sizeof(T) - 1) ? -__builtin_inf() : __builtin_inf();
            class_frame::raise(XEB_STATUS_POLE, i, x, name);
        } else if (negative_number(a)) {
            x.y[i] = bitcast<T>(Vec<Bits<T>, 1>{P::kRootNaN}).v;
            class_frame::raise(XEB_STATUS_DOMAINFAULT, i, x, name);
        } else if (bits(a) == P::kInf) {
            x.y[i] = 0;
        } else if (bits(a) > P::kInf) {
            x.y[i] = a + a;  // NaNs: quiet, payload kept
        } else {
            x.y[i] = compute(Vec<T, 1>{a}).v;
        }
    }
};

// ---------------------------------------------------------------- cube roots

constexpr double kShift = 0x1.8p52;
constexpr double kThird = 0x1.5555555555555p-2;
constexpr uint64_t kSignificand = 0x000FFFFFFFFFFFFFull;
constexpr uint64_t kAbs = 0x7FFFFFFFFFFFFFFFull;

// x = 2^(3q) M (with x's sign), y ~ M^(-1/3) to 2^-37.5.
template <int N>
struct CubeStart {
    D<N> big_m, y;
    U<N> q_bits;  // the pattern of kShift + q + 400
    U<N> sign;
};

template <int N>
XEB_INLINE CubeStart<N> cube_start(D<N> x) {  // x normal and finite
    const U<N> b = bitcast<uint64_t>(x);
    const D<N> e = signed_top_bits<52>(b & kAbs);  // the biased exponent
    const D<N> qs = fma(e + 176.0, kThird, D<N>{} + kShift);
    const D<N> r = fma(qs - kShift, D<N>{} - 3.0, e + 177.0);  // 0, 1 or 2
    const U<N> r_bits = bitcast<uint64_t>(r + kShift);
    const D<N> m = bitcast<double>((b & kSignificand) | 0x3FF0000000000000ull);
    const D<N> big_m = bitcast<double>((b & kSignificand) | ((r_bits + 1023) << 52));
    const D<N> t = m - 1.5, t2 = t * t;
    const double* c = roots::cbrtStart;
    const D<N> p = fma(t2 * t2, fma(t2, c[6], fma(t, c[5], c[4])), fma(t2, fma(t, c[3], c[2]), fma(t, c[1], c[0])));
    const D<N> y0 = p * lookup<16>(roots::cbrtThirds, r_bits);
    const D<N> h = fnma(big_m * y0, y0 * y0, D<N>{} + 1.0);  // 1 - M y0^3
    return {big_m, fma(y0 * kThird, h, y0), bitcast<uint64_t>(qs), b & Patterns<double>::kSign};
}

// 2^q (Inverse: 2^-q) with the sign of x.
template <bool Inverse, int N>
XEB_INLINE D<N> cube_scale(const CubeStart<N>& s) {
    const U<N> field = Inverse ? U<N>{} + uint64_t{1023 + 400} - s.q_bits : s.q_bits + uint64_t{1023 - 400};
    return bitcast<double>((field << 52) | s.sign);
}

// Double: the cube root (or its reciprocal) of a normal x, to 0.51 ulp.
template <bool Inverse, int N>
XEB_INLINE D<N> cube_root(D<N> x) {
    const CubeStart<N> s = cube_start(x);
    const D<N> y = s.y;
    if constexpr (Inverse) {
        const D<N> my = s.big_m * y, my_low = fms(s.big_m, y, my);
        const D<N> y2 = y * y, y2_low = fms(y, y, y2);
        const D<N> g = fma(my, y2_low, fma(my_low, y2, fms(my, y2, D<N>{} + 1.0)));  // M y^3 - 1
        return fnma(y * kThird, g, y) * cube_scale<true>(s);
    } else {
        const D<N> r = s.big_m * y * y;
        const D<N> r2 = r * r, r2_low = fms(r, r, r2);
        const D<N> r3 = r2 * r, r3_low = fms(r2, r, r3);
        const D<N> e = (r3 - s.big_m) + fma(r2_low, r, r3_low);  // R^3 - M
        return fnma(e, y * y * kThird, r) * cube_scale<false>(s);
    }
}

// Single, in doubles: relative error below 2^-36 before the rounding to float.
template <bool Inverse, int N>
XEB_INLINE D<N> cube_root_single(D<N> x) {
    const CubeStart<N> s = cube_start(x);
    return (Inverse ? s.y : s.big_m * s.y * s.y) * cube_scale<Inverse>(s);
}

template <class T, bool Inverse>
struct CubeRootK {
    using V = Vec<T, kNative<T>>;
    using P = Patterns<T>;
    static constexpr const char* name =
        Inverse ? pick<T>("_xebdInvCbrt_HA", "_xebsInvCbrt_HA") : pick<T>("_xebdCbrt_HA", "_xebsCbrt_HA");
    static constexpr T filler = 1;
    static constexpr Bits<T> kAbsMask = ~P::kSign;
    static constexpr uint64_t kNormal = 0x0010000000000000ull;
    static bool is_denormal(uint64_t magnitude) { return magnitude < kNormal; }
    template <int N>
    static MaskOf<T, N> special(Vec<T, N> x) {
        // Double: not normal and finite; single: zeros, infinities and NaNs
        // (a denormal float is a normal double).
        const Vec<Bits<T>, N> magnitude = bitcast<Bits<T>>(x) & kAbsMask;
        if constexpr (sizeof(T) == 8) return compare<Cmp::Ge>(magnitude - kNormal, 0x7FE0000000000000ull);
        else return compare<Cmp::Ge>(magnitude - 1u, P::kInf - 1);
    }
    XEB_INLINE static D<kNative<double>> single_core(D<kNative<double>> x) {
        return cube_root_single<Inverse>(x);
    }
    template <int N>
    XEB_INLINE static Vec<T, N> compute(Vec<T, N> x) {
        if constexpr (sizeof(T) == 8) return cube_root<Inverse>(x);
        else if constexpr (N == 1) return {static_cast<float>(cube_root_single<Inverse>(D<1>{x.v}).v)};
        else return through_doubles<single_core>(x);
    }

    static void one(T a, int i, const Arrays<T>& x) {
        const Bits<T> magnitude = bits(a) & kAbsMask;
        const bool negative = bits(a) >> (8 * sizeof(T) - 1);
        if (magnitude == 0) {
            if (!Inverse) {
                x.y[i] = a;
                return;
            }
            x.y[i] = negative ? -__builtin_inf() : __builtin_inf();
            class_frame::raise(XEB_STATUS_POLE, i, x, name);
        } else if (magnitude > P::kInf) {
            x.y[i] = a + a;  // NaNs: quiet, payload kept
        } else if (magnitude == P::kInf) {
            x.y[i] = Inverse ? (negative ? T(-0.0) : T(0)) : a;
        } else if (sizeof(T) == 8 && is_denormal(magnitude)) {
            // A denormal double, scaled by 2^54 on the way in.
            x.y[i] = compute(Vec<T, 1>{a * T(0x1p54)}).v * (Inverse ? T(0x1p18) : T(0x1p-18));
        } else {
            x.y[i] = compute(Vec<T, 1>{a}).v;
        }
    }
};

}  // namespace

void roots_entries(vm::KernelTable& t) {
    t.dInv_HA = t.dInv_50 = class_frame::unary<InvK<double>>;
    t.sInv_HA = t.sInv_21 = t.sInv_11 = class_frame::unary<InvK<float>>;
    t.dSqrt_HA = t.dSqrt_50 = class_frame::unary<SqrtK<double>>;
    t.sSqrt_HA = t.sSqrt_21 = t.sSqrt_11 = class_frame::unary<SingleSqrt>;
    t.dInvSqrt_HA = t.dInvSqrt_50 = class_frame::unary<InvSqrtK<double>>;
    t.sInvSqrt_HA = t.sInvSqrt_21 = t.sInvSqrt_11 = class_frame::unary<InvSqrtK<float>>;
    t.dCbrt_HA = t.dCbrt_50 = class_frame::unary<CubeRootK<double, false>>;
    t.sCbrt_HA = t.sCbrt_21 = t.sCbrt_11 = class_frame::unary<CubeRootK<float, false>>;
    t.dInvCbrt_HA = t.dInvCbrt_50 = class_frame::unary<CubeRootK<double, true>>;
    t.sInvCbrt_HA = t.sInvCbrt_21 = t.sInvCbrt_11 = class_frame::unary<CubeRootK<float, true>>;
}

}  // namespace XEB_ISA
}  // namespace xeb
