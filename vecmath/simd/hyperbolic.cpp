// Hyperbolic and inverse hyperbolic functions of the SIMD kernel classes,
// written once over the vector type and compiled once per class (see
// frame/class_frame.h for the frame and the recipe), on the exponential's
// and the logarithm's vector cores (vecmath/simd/explog_core.h).  Every
// operation is IEEE with fused multiply-adds written out (square roots and
// quotients correctly rounded), so the AVX2 and AVX-512 classes give the
// same bits.  The single forms run the double arithmetic on their widened
// lanes and round once to float.
//
// Sinh, Cosh, Tanh: from e = e^y - 1 as a pair eh + el (y = |x|, or 2|x|
// for Tanh) and the quotient f = e / (e + c) as a pair, with
//   sinh|x| = (e + e / (e + 1)) / 2,   cosh x = 1 + e (e / (e + 1)) / 2,
//   tanh|x| = e / (e + 2),   e = e^(2|x|) - 1,
// so that no step cancels and the sign of x goes back on as a bit (zeros
// keep theirs).  e: the exponential's reduction (k = round(16 y / ln 2),
// r = y - k ln2/16 = rh + rl with rh exact), s = 2^(k >> 4) H_i, and
//   e = (s - 1) + s rh + s (tail_i (1 + r) + rl + r^2 q(r)),
// where s - 1 is exact (1 <= s < 2^53; beyond, e is s to far below the
// results' resolution) and s rh is split exactly by a fused product.
// Error budget, relative to e: q's fit 2^-64 absolute, the rounding of
// the low sum 2^-65 s, over e >= 0.044 s (k > 0; for k = 0, s = 1 and the
// errors scale with r): below 2^-60.  The quotient: its head is one
// division, its remainder one fused product (whose own rounding is 2^-105
// of the head), the rest 2^-104.  The sums of the pairs are two-sums; the
// final rounding 0.5 ulp: 0.51 by these terms.  Measured (4 x 10^6
// arguments a function): up to 0.53 ulp at |x| of 0.01 to 0.02, more than
// the terms account for; the bound the tests hold is 0.6 (double),
// 0.5 + 2^-28 (single).
// Sinh and Cosh from |x| = 708.39 (the exponential's fast limit) go one at
// a time: e^|x| / 2 from the exponential's terms with the scale shifted by
// 2^-1009 (e^-|x| is below 2^-1000 of it), within 0.56 ulp; from
// 710.4758600739439 they overflow with event 3.
//
// Asinh, Acosh, Atanh: log w with w as an exact-to-2^-104 pair wh + wl,
//   asinh|x| = log(|x| + sqrt(x^2 + 1)),  acosh x = log(x + sqrt(x^2 - 1)),
//   atanh|x| = log((1 + |x|) / (1 - |x|)) / 2,
// x^2 +- 1 as a pair (the square split by a fused product, one two-sum),
// its square root as sh + (x^2 +- 1 - sh^2) / (2 sh), the quotient as
// above, and log w = (hi + lo) + wl / wh from the logarithm's pair (to
// 2^-66 of log w next to 1, 2^-66 absolute elsewhere).  Next to 1 (Acosh)
// and next to 0 (Asinh, Atanh, where w - 1 is carried whole in the pair)
// the result keeps its relative accuracy: below 2^-60 before the final
// rounding by the terms above.  Measured: Asinh 0.539 ulp and Atanh 0.525
// at |x| of 0.015 to 0.03, Acosh 0.549 just above 1 (x near 1.0005), more
// than these terms account for; the bound the tests hold is 0.6 (double),
// 0.5 + 2^-28 (single).  From |x| = 2^28
// w is 2|x| (x^2 +- 1 = x^2 to 2^-56, 2^-62 of the result); Asinh and
// Acosh from 2^1022 go one at a time: log|x| + ln 2.
#include <cstdint>

#include "vecmath/kernel_table.h"
#include "vecmath/simd/explog_core.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

template <int N>
struct Pair {
    D<N> hi, lo;
};

template <int N>
XEB_INLINE D<N> magnitude(D<N> x) {
    return bitcast<double>(bitcast<uint64_t>(x) & kAbs);
}
template <int N>
XEB_INLINE D<N> with_sign_of(D<N> v, D<N> x) {
    return bitcast<double>(bitcast<uint64_t>(v) | (bitcast<uint64_t>(x) & ~kAbs));
}

// e^y - 1 as a pair, 0 <= y below the exponential's fast limit.
template <int N>
XEB_INLINE Pair<N> expm1_pair(D<N> y) {
    using E = ExpData<double>;
    const D<N> shifted = fma(y, E::inv_ln2_n, E::kShift);
    const U<N> k = bitcast<uint64_t>(shifted);
    const D<N> kd = shifted - E::kShift;
    const D<N> rh = fma(kd, -E::ln2_hi_n, y);  // exact
    const D<N> rl = kd * -E::ln2_lo_n;
    const D<N> r = rh + rl, r2 = r * r;
    const D<N> tail = lookup<16>(E::tail, k);
    const D<N> s = bitcast<double>(scale_bits<double>(k));
    const D<N> a = s - 1.0;
    const D<N> ae = (s - a) - 1.0;  // 0 but for s from 2^53
    const D<N> p = s * rh;
    const D<N> pe = fms(s, rh, p);
    const D<N> hi = a + p;  // |a| >= |p|, or a = 0
    const D<N> low = fma(s, fma(tail, r, fma(r2, E::q(r, r2), tail + rl)), ((a - hi) + p) + (pe + ae));
    const D<N> h = hi + low;
    return {h, (hi - h) + low};
}

// e / (e + c) as a pair, e = e.hi + e.lo >= 0, c > 0.
template <int N>
XEB_INLINE Pair<N> ratio(Pair<N> e, double c) {
    const D<N> dh = e.hi + c;
    const D<N> bb = dh - e.hi;
    const D<N> dl = ((e.hi - (dh - bb)) + (c - bb)) + e.lo;
    const D<N> inv = 1.0 / dh;
    const D<N> q = e.hi * inv;
    const D<N> rem = fnma(q, dh, e.hi);
    return {q, fnma(q, dl, rem + e.lo) * inv};
}

template <int N>
XEB_INLINE D<N> sinh_of_magnitude(D<N> ax) {
    const Pair<N> e = expm1_pair(ax);
    const Pair<N> f = ratio(e, 1.0);
    const D<N> sum = e.hi + f.hi;  // e >= f
    return 0.5 * (sum + ((((e.hi - sum) + f.hi) + e.lo) + f.lo));
}

template <int N>
XEB_INLINE D<N> cosh_of(D<N> ax) {
    const Pair<N> e = expm1_pair(ax);
    const Pair<N> f = ratio(e, 1.0);
    const D<N> m = 0.5 * (e.hi * f.hi);
    const D<N> me = 0.5 * (fms(e.hi, f.hi, e.hi * f.hi) + fma(e.hi, f.lo, e.lo * f.hi));
    const D<N> h = m + 1.0;
    const D<N> bb = h - m;
    return h + (((m - (h - bb)) + (1.0 - bb)) + me);
}

template <int N>
XEB_INLINE D<N> tanh_of_magnitude(D<N> ax) {
    const Pair<N> t = ratio(expm1_pair(ax + ax), 2.0);
    return t.hi + t.lo;
}

// sqrt(t.hi + t.lo) as a pair (t >= 0).
template <int N>
XEB_INLINE Pair<N> sqrt_pair(D<N> th, D<N> tl) {
    const D<N> sh = sqrt(th);
    return {sh, (fnma(sh, sh, th) + tl) / fma(sh, 2.0, 0x1p-1000)};  // 0 / tiny when t = 0
}

// log(w.hi + w.lo), w.hi >= 1.
template <int N>
XEB_INLINE D<N> log_pair(Pair<N> w) {
    D<N> hi, lo;
    ln_pair(w.hi, 0.0, hi, lo);
    return hi + (lo + w.lo / w.hi);
}

constexpr double kLarge = 0x1p28;  // from here w = 2|x|

// w = |x| + sqrt(x^2 + sign), sign = 1 (Asinh) or -1 (Acosh, x >= 1).
template <int N>
XEB_INLINE Pair<N> root_sum(D<N> ax, double sign) {
    const MaskOf<double, N> large = compare<Cmp::Ge>(ax, kLarge);
    const D<N> v = select(large, broadcast<D<N>>(kLarge), ax);
    const D<N> sq = v * v;
    const D<N> sqe = fms(v, v, sq);
    const D<N> th = sq + sign;
    const D<N> bb = th - sq;
    const D<N> tl = ((sq - (th - bb)) + (sign - bb)) + sqe;
    const Pair<N> root = sqrt_pair(th, tl);
    const D<N> wh = v + root.hi;  // v >= root.hi (Acosh), or root.hi >= v
    const D<N> wb = wh - v;
    const D<N> wl = ((v - (wh - wb)) + (root.hi - wb)) + root.lo;
    return {select(large, ax + ax, wh), select(large, D<N>{}, wl)};
}

// log|x| + ln 2 for |x| from 2^1022, finite.
inline double log_twice(double ax) {
    D<1> hi, lo;
    ln_pair(D<1>{ax}, -1.0, hi, lo);
    return (hi + lo).v;
}

// ---------------------------------------------------------------- kernels

// Asinh and Atanh below 2^-30: x + c3 x^3 (the next term is 2^-120 of x).
// Above, log w's pair loses nothing: its low part wl / wh (|wl| below
// 2^-53) is rounded to 2^-106 and log1p(wl / wh) - wl / wh is below 2^-107,
// both 2^-76 of the result; next to 0 they are not.
template <int N>
XEB_INLINE D<N> near_zero(D<N> ax, double c3, D<N> v) {
    return select(compare<Cmp::Lt>(ax, 0x1p-30), fma(ax * (ax * ax), c3, ax), v);
}

enum class Fn { Sinh, Cosh, Tanh, Asinh, Acosh, Atanh };

template <Fn G, int N>
XEB_INLINE D<N> value(D<N> x) {
    const D<N> ax = magnitude(x);
    if constexpr (G == Fn::Sinh) return with_sign_of(sinh_of_magnitude(ax), x);
    if constexpr (G == Fn::Cosh) return cosh_of(ax);
    if constexpr (G == Fn::Tanh) return with_sign_of(tanh_of_magnitude(ax), x);
    if constexpr (G == Fn::Asinh) return with_sign_of(near_zero(ax, -0x1.5555555555555p-3, log_pair(root_sum(ax, 1.0))), x);
    if constexpr (G == Fn::Acosh) return log_pair(root_sum(x, -1.0));
    if constexpr (G == Fn::Atanh) {
        const D<N> nh = 1.0 + ax, nl = (1.0 - nh) + ax;
        const D<N> dh = 1.0 - ax, dl = (1.0 - dh) - ax;
        const D<N> inv = 1.0 / dh;
        const D<N> q = nh * inv;
        const D<N> rem = fnma(q, dh, nh);
        const D<N> v = 0.5 * log_pair(Pair<N>{q, fnma(q, dl, rem + nl) * inv});
        return with_sign_of(near_zero(ax, 0x1.5555555555555p-3, v), x);
    }
}

// Fast domains, as bit patterns: |x| below kFast (Sinh, Cosh, Tanh, Asinh,
// Atanh), or x - kFastFrom below kFast (Acosh).
template <Fn G>
struct DoubleDomain;
template <>
struct DoubleDomain<Fn::Sinh> {
    static constexpr uint64_t kFast = ExpData<double>::kFastLimit;
};
template <>
struct DoubleDomain<Fn::Cosh> : DoubleDomain<Fn::Sinh> {};
template <>
struct DoubleDomain<Fn::Tanh> {
    static constexpr uint64_t kFast = 0x4034000000000000ull;  // 20: from here +-1
};
template <>
struct DoubleDomain<Fn::Asinh> {
    static constexpr uint64_t kFast = 0x7FD0000000000000ull;  // 2^1022
};
template <>
struct DoubleDomain<Fn::Atanh> {
    static constexpr uint64_t kFast = 0x3FF0000000000000ull;  // 1
};

constexpr uint64_t kOneBits = 0x3FF0000000000000ull;
constexpr uint64_t kSinhOverflow = 0x408633CE8FB9F87Eull;  // 710.4758600739439: |x| from here overflows
constexpr uint64_t kDomainNaN = 0x7FFFFFFFFFFFFFFFull;    // every bit but the sign

constexpr const char* kDoubleNames[] = {"_xebdSinh_HA",  "_xebdCosh_HA",  "_xebdTanh_HA",
                                        "_xebdAsinh_HA", "_xebdAcosh_HA", "_xebdAtanh_HA"};

template <Fn G>
struct HyperbolicD {
    using V = D<kNative<double>>;
    static constexpr const char* name = kDoubleNames[static_cast<int>(G)];
    static constexpr double filler = G == Fn::Acosh ? 1.0 : 0.0;

    template <int N>
    static MaskOf<double, N> special(D<N> x) {
        if constexpr (G == Fn::Acosh)
            return compare<Cmp::Ge>(bitcast<uint64_t>(x) - kOneBits, 0x7FD0000000000000ull - kOneBits);
        else
            return compare<Cmp::Ge>(bitcast<uint64_t>(x) & kAbs, DoubleDomain<G>::kFast);
    }
    template <int N>
    XEB_INLINE static D<N> compute(D<N> x) {
        return value<G>(x);
    }

    // e^|x| / 2, |x| from the exponential's fast limit to Sinh's overflow bound.
    static double half_exp(double ax) {
        const ExpTerms<double, 1> t = exp_terms(D<1>{ax});
        const D<1> s = bitcast<double>(scale_bits<double>(t.k) - (uint64_t{1009} << 52));
        return fma(s, t.tmp, s).v * 0x1p1008;
    }

    static void one(double a, int i, const Arrays<double>& x) {
        const uint64_t b = bits(a), m = b & kAbs;
        const bool nan = m > kInfBits;
        if constexpr (G == Fn::Sinh || G == Fn::Cosh) {
            const double sign = G == Fn::Sinh && b >> 63 ? -1.0 : 1.0;
            // Beyond the bound e^|x| / 2 of 711 overflows, which leaves
            // MXCSR's overflow flag as the arithmetic would.
            const double ax = double_of(m);
            if (nan) x.y[i] = a + a;
            else if (m < kSinhOverflow) x.y[i] = sign * half_exp(ax);
            else x.y[i] = sign * (m < kInfBits ? half_exp(ax < 711.0 ? ax : 711.0) : __builtin_inf());
            if (m >= kSinhOverflow && m < kInfBits) class_frame::raise(XEB_STATUS_TOOLARGE, i, x, name);
        } else if constexpr (G == Fn::Tanh) {
            // The high word alone decides: a NaN whose high word is that
            // of an infinity gives +-1 too.
            x.y[i] = (m >> 32) > (kInfBits >> 32) ? a + a : b >> 63 ? -1.0 : 1.0;
        } else if constexpr (G == Fn::Asinh) {
            x.y[i] = m >= kInfBits ? a + a : with_sign_of(D<1>{log_twice(double_of(m))}, D<1>{a}).v;
        } else if constexpr (G == Fn::Acosh) {
            if (static_cast<int64_t>(b) >= static_cast<int64_t>(kInfBits)) {
                x.y[i] = a + a;  // +infinity, positive NaNs
            } else if (b >= kOneBits && b < kInfBits) {
                x.y[i] = log_twice(a);
            } else {  // below 1, negative numbers and negative NaNs included
                x.y[i] = double_of(kDomainNaN);
                if (!nan) class_frame::raise(XEB_STATUS_DOMAINFAULT, i, x, name);
            }
        } else {
            if (m == kOneBits) {
                x.y[i] = b >> 63 ? -__builtin_inf() : __builtin_inf();
                class_frame::raise(XEB_STATUS_POLE, i, x, name);
            } else {
                x.y[i] = double_of(kDomainNaN | (b & ~kAbs));
                if (!nan) class_frame::raise(XEB_STATUS_DOMAINFAULT, i, x, name);
            }
        }
    }
};

// ---------------------------------------------------------------- single kernels

constexpr uint32_t kOneF = 0x3F800000;
constexpr uint32_t kInfF = 0x7F800000;
constexpr uint32_t kDomainNaNF = 0x7FFFFFFF;
constexpr uint32_t kSinhOverflowF = 0x42B2D4FD;  // 89.4159927368164: |x| from here overflows

// Fast domains as float bit patterns, |x| below kFast (Acosh: x - 1 below
// kFast - 1 as patterns).
constexpr uint32_t kFastF[] = {kSinhOverflowF, kSinhOverflowF, 0x41200000 /* 10: +-1 beyond */, kInfF, kInfF, kOneF};

constexpr const char* kSingleNames[] = {"_xebsSinh_HA",  "_xebsCosh_HA",  "_xebsTanh_HA",
                                        "_xebsAsinh_HA", "_xebsAcosh_HA", "_xebsAtanh_HA"};

template <Fn G>
struct HyperbolicS {
    using V = F<kNative<float>>;  // a whole register of floats, two of doubles
    static constexpr const char* name = kSingleNames[static_cast<int>(G)];
    static constexpr float filler = G == Fn::Acosh ? 1.0f : 0.0f;
    static constexpr uint32_t kFast = kFastF[static_cast<int>(G)];

    template <int N>
    static MaskOf<float, N> special(F<N> x) {
        if constexpr (G == Fn::Acosh) return compare<Cmp::Ge>(bitcast<uint32_t>(x) - kOneF, kInfF - kOneF);
        else return compare<Cmp::Ge>(bitcast<uint32_t>(x) & kAbsF, kFast);
    }
    template <int P, int N>
    XEB_INLINE static D<N / 2> half_value(F<N> x) {
        return value<G>(convert<double>(half<P>(x)));
    }
    template <int N>
    XEB_INLINE static F<N> compute(F<N> x) {
        if constexpr (N == 1) return convert<float>(value<G>(convert<double>(x)));
        else return join(convert<float>(half_value<0>(x)), convert<float>(half_value<1>(x)));
    }

    static void one(float a, int i, const Arrays<float>& x) {
        const uint32_t w = bits(a), m = w & kAbsF;
        const bool nan = m > kInfF;
        const float sign = w >> 31 ? -1.0f : 1.0f;
        if constexpr (G == Fn::Sinh || G == Fn::Cosh) {
            x.y[i] = nan ? a + a : (G == Fn::Sinh ? sign : 1.0f) * __builtin_inff();
            if (!nan && m < kInfF) class_frame::raise(XEB_STATUS_TOOLARGE, i, x, name);
        } else if constexpr (G == Fn::Tanh) {
            x.y[i] = nan ? a + a : sign;
        } else if constexpr (G == Fn::Asinh) {
            x.y[i] = a + a;  // infinities and NaNs
        } else if constexpr (G == Fn::Acosh) {
            if (static_cast<int32_t>(w) >= static_cast<int32_t>(kInfF)) {
                x.y[i] = a + a;  // +infinity, positive NaNs
            } else {  // below 1, negative numbers and negative NaNs included
                x.y[i] = float_of(kDomainNaNF);
                if (!nan) class_frame::raise(XEB_STATUS_DOMAINFAULT, i, x, name);
            }
        } else if (m == kOneF) {
            x.y[i] = sign * __builtin_inff();
            class_frame::raise(XEB_STATUS_POLE, i, x, name);
        } else {
            x.y[i] = float_of(kDomainNaNF | (w & 0x80000000u));
            if (!nan) class_frame::raise(XEB_STATUS_DOMAINFAULT, i, x, name);
        }
    }
};

}  // namespace

void hyperbolic_entries(vm::KernelTable& t) {
    t.dSinh_HA = t.dSinh_50 = class_frame::unary<HyperbolicD<Fn::Sinh>>;
    t.dCosh_HA = t.dCosh_50 = class_frame::unary<HyperbolicD<Fn::Cosh>>;
    t.dTanh_HA = t.dTanh_50 = class_frame::unary<HyperbolicD<Fn::Tanh>>;
    t.dAsinh_HA = t.dAsinh_50 = class_frame::unary<HyperbolicD<Fn::Asinh>>;
    t.dAcosh_HA = t.dAcosh_50 = class_frame::unary<HyperbolicD<Fn::Acosh>>;
    t.dAtanh_HA = t.dAtanh_50 = class_frame::unary<HyperbolicD<Fn::Atanh>>;
    t.sSinh_HA = t.sSinh_21 = t.sSinh_11 = class_frame::unary<HyperbolicS<Fn::Sinh>>;
    t.sCosh_HA = t.sCosh_21 = t.sCosh_11 = class_frame::unary<HyperbolicS<Fn::Cosh>>;
    t.sTanh_HA = t.sTanh_21 = t.sTanh_11 = class_frame::unary<HyperbolicS<Fn::Tanh>>;
    t.sAsinh_HA = t.sAsinh_21 = t.sAsinh_11 = class_frame::unary<HyperbolicS<Fn::Asinh>>;
    t.sAcosh_HA = t.sAcosh_21 = t.sAcosh_11 = class_frame::unary<HyperbolicS<Fn::Acosh>>;
    t.sAtanh_HA = t.sAtanh_21 = t.sAtanh_11 = class_frame::unary<HyperbolicS<Fn::Atanh>>;
}

}  // namespace XEB_ISA
}  // namespace xeb
