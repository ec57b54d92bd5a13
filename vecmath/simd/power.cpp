// Power of the SIMD kernel classes (see frame/class_frame.h for the frame
// and the recipe).
//
// Double: x^y = e^w, w = y ln x, with ln x as a pair accurate to 2^-69 of
// itself and w as a pair, since a relative error e of ln x becomes |w| e
// in the result, |w| up to 745.  x = 2^k z, z in [0.7012, 1.4023) in row j
// of 128 (pow_vector_tables.inc), c = 1 in the row around 1:
//   ln x = k ln 2 + log c + log1p(r),  r = z/c - 1, -2^-8 <= r <= 2^-8,
// r = rh + rl exactly (z 1/c as a fused pair, its distance from 1 exact),
// k ln2hi + log c hi + rh - rh^2/2 as a pair by exact two-sums (rh^2 as a
// fused pair), and the rest, rh^3 P(rh) + rl (1 - rh) + k ln2lo + log c lo
// + the two-sums' errors, in one double.  Error budget of ln x, relative:
// P's fit 2^-54.6 times rh^2: 2^-70.6; the rounding of the rest (below
// |rh|^3/3 + 2^-52 |ln x|): 2^-70.5; the table's log c pair 2^-106.
// Below 2^-69.5.  w = y hi + (y lo + the fused product's error): 2^-104 of
// w.  So w is off by at most 2^-60 absolute (|w| < 745), 2^-60 relative in
// the result.  e^w on the double exponential's terms (explog_core.h): k =
// round(16 wh / ln 2), w - k ln2/16 = r + rl by a fused step (exact) and a
// two-sum, 2^(k/16) = 2^(k >> 4) H_i (1 + tail_i):
//   e^w ~ s + s tmp,  s = 2^(k >> 4) H_i,
//   tmp = r + (tail_i (1 + r) + r^2 q(r) + rl),  |r| <= ln2/32.
// q's fit 2^-64 absolute; rl (1 + r) - rl below 2^-58 |r|; the roundings
// inside the bracket 2^-65; that of tmp 2^-58.4 relative; the final fused
// s + s tmp 0.5 ulp.  Total, with the error of w: below 0.5 + 0.024 +
// 0.008 + 0.002 = 0.535 ulp (0.515 measured).  Bound 0.6.
// |wh| from 708 (results near the ends of the range) goes through the same
// terms with the scale shifted by 2^1009 or 2^-1022 in the vector code (w
// clamped to +-800, where the result is infinite or zero anyway); a
// denormal result is rounded once onto its grid (1 + y rounded, then 1
// taken away).  Denormal bases come through the one-element path, scaled
// by 2^52 with k less 52.
//
// Single: x^y = e^(y ln x) in doubles, from the natural logarithm's pair
// and the double exponential's vector cores (vecmath/simd/explog_core.h),
// rounded once to float.
//
// Error budget, relative, before the rounding to float: ln x as hi + lo to
// 2^-66 of ln x (next to 1) or 2^-66 absolute; w = y hi + y lo by one fused
// product and one product, |w| < 104 wherever the result is a nonzero
// finite float: 2^-46 absolute; e^w to 0.52 ulp of a double, 2^-52.9.
// Together below 2^-45.9, which adds 2^-21.9 ulp to the 0.5 ulp of the
// rounding to float.  Bound 0.51.  Denormal floats come out of a normal
// double, rounded once more: the same bound.  w is clamped to +-200 so that
// the exponential's reduction stays in range: the clamped results are
// still infinite or zero as floats.
//
// Lanes leave the vector code when x is not a positive finite float (its
// zeros, signs, infinities and NaNs; for doubles also the denormals) or y
// is zero, infinite or a NaN: the baseline's table (vecmath/power.cpp)
// decides those, and negative bases with integer exponents come back here
// on |x| with the table's sign.
// Overflow and underflow raise nothing, as in the baseline.
#include <cstdint>

#include "frame/class_frame.h"
#include "vecmath/kernel_table.h"
#include "vecmath/power.h"
#include "vecmath/simd/explog_core.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

constexpr uint32_t kInfBitsF = 0x7F800000u;
constexpr double kClamp = 200.0;

// e^(y ln x) on doubles widened from floats, x positive finite, y finite.
template <int N>
XEB_INLINE D<N> pow_double(D<N> x, D<N> y) {
    D<N> hi, lo;
    ln_pair(x, 0.0, hi, lo);
    D<N> w = fma(y, hi, y * lo);
    w = select(compare<Cmp::Gt>(w, kClamp), broadcast<D<N>>(kClamp), w);
    w = select(compare<Cmp::Lt>(w, -kClamp), broadcast<D<N>>(-kClamp), w);
    return ExpVector<double>::compute(w);
}

template <const char* Name>
struct PowS {
    using V = F<kNative<float>>;
    static constexpr const char* name = Name;
    static constexpr float filler = 1.0f, filler_b = 1.0f;

    // x - 1 as bits wraps for +0 and lands at or above the infinity's
    // pattern less one for negative x, infinities and NaNs; |y| - 1 the
    // same for zeros, infinities and NaNs.
    template <int N>
    static MaskOf<float, N> special(F<N> x, F<N> y) {
        return compare<Cmp::Ge>(bitcast<uint32_t>(x) - 1u, kInfBitsF - 1) |
               compare<Cmp::Ge>((bitcast<uint32_t>(y) & kAbsF) - 1u, kInfBitsF - 1);
    }
    template <int P, int N>
    XEB_INLINE static D<N / 2> half_pow(F<N> x, F<N> y) {
        return pow_double(convert<double>(half<P>(x)), convert<double>(half<P>(y)));
    }
    template <int N>
    XEB_INLINE static F<N> compute(F<N> x, F<N> y) {
        if constexpr (N == 1) {
            return convert<float>(pow_double(convert<double>(x), convert<double>(y)));
        } else {
            return join(convert<float>(half_pow<0>(x, y)), convert<float>(half_pow<1>(x, y)));
        }
    }
    static void one(float a, float b, int i, const Arrays<float>& x) {
        const PowSpecial d = powSpecialS(a, b);
        x.y[i] = d.decided ? d.result : d.sign * compute(F<1>{d.magnitude}, F<1>{b}).v;
        if (d.code != 0) class_frame::raise(d.code, i, x, name);
    }
};

// ---------------------------------------------------------------- double power

namespace pv = powv;

// Row j of 128 holds the patterns kPowOffset + [j 2^45, (j + 1) 2^45).
constexpr uint64_t kPowOffset = 0x3FF0000000000000ull - (uint64_t{76} << 45) - (uint64_t{1} << 44);
constexpr uint64_t kPowRows = 127;
constexpr uint64_t kEndsBits = 0x4086200000000000ull;  // 708: 2^(k >> 7) normal and the result finite below
constexpr double kPowClamp = 800.0;

// ln x = hi + lo to 2^-69.5 of itself, x positive and normal (x 2^-adjust
// the argument).
template <int N>
XEB_INLINE void pow_log(D<N> x, double adjust, D<N>& hi, D<N>& lo) {
    const U<N> ix = bitcast<uint64_t>(x);
    const U<N> offset = ix - kPowOffset;
    const U<N> row = (offset >> 45) & kPowRows;
    const D<N> kd = signed_top_bits<52>(offset) - adjust;
    const D<N> z = bitcast<double>(ix - (offset & kExponentField));
    const D<N> invc = gather(pv::powInvC, row);
    // r = z invc - 1 = rh + rl exactly, as in ln_pair.
    const D<N> ph = z * invc;
    const D<N> pl = fms(z, invc, ph);
    const D<N> q = ph - 1.0;
    const D<N> rh = q + pl;
    const D<N> rl = (q - rh) + pl;
    // k ln2hi + log c + rh - rh^2/2 = h2 + (wl + h1l + h2l), exact two-sums:
    // |a| > |log c| unless a = 0, |w| >= |rh| unless w = 0 (log c is
    // 0 only in the row around 1, elsewhere beyond the row's reach of r),
    // and |h1| >= rh^2/2.
    const D<N> logc = gather(pv::powLogC, row);
    const D<N> a = kd * ex::logLn2Hi;  // exact: 11 bits times 42
    const D<N> w = a + logc;
    const D<N> wl = (a - w) + logc;
    const D<N> h1 = w + rh;
    const D<N> h1l = (w - h1) + rh;
    const D<N> sq = rh * rh;
    const D<N> sq_lo = fms(rh, rh, sq);
    const D<N> half_sq = -0.5 * sq;
    const D<N> h2 = h1 + half_sq;
    const D<N> h2l = (h1 - h2) + half_sq;
    const double* c = pv::powLogPoly;
    const D<N> p = fma(sq, fma(sq, fma(rh, c[5], c[4]), fma(rh, c[3], c[2])), fma(rh, c[1], c[0]));
    const D<N> table_lo = fma(kd, ex::logLn2Lo, gather(pv::powLogCLo, row));
    const D<N> rest = ((h1l + h2l) + (wl + table_lo)) + fma(sq_lo, -0.5, fnma(rh, rl, rl));
    const D<N> l = fma(sq * rh, p, rest);
    hi = h2 + l;
    lo = (h2 - hi) + l;  // |h2| >= |l|
}

// e^(wh + wl) ~ s + s tmp, s's bits as the scale (2^(k >> 7) H_i,
// wrapping beyond the range's ends).
template <int N>
struct PowExpTerms {
    U<N> scale;
    D<N> tmp;
};

template <int N>
XEB_INLINE PowExpTerms<N> pow_exp_terms(D<N> wh, D<N> wl) {
    using E = ExpData<double>;
    const D<N> shifted = fma(wh, E::inv_ln2_n, E::kShift);
    const U<N> k = bitcast<uint64_t>(shifted);
    const D<N> kd = shifted - E::kShift;
    // w - k ln2/16 = r + rl: the first part exact (a fused step, below
    // 2^-5.4), the second up to 2^-28, their sum split again by a two-sum.
    const D<N> r0 = fnma(kd, broadcast<D<N>>(E::ln2_hi_n), wh);
    const D<N> r1 = fnma(kd, broadcast<D<N>>(E::ln2_lo_n), wl);
    const D<N> r = r0 + r1;
    const D<N> v = r - r0;
    const D<N> rl = (r0 - (r - v)) + (r1 - v);
    const D<N> tail = lookup<16>(E::tail, k);
    const D<N> r2 = r * r;
    const D<N> tmp = r + (fma(tail, r, tail) + fma(r2, E::q(r, r2), rl));
    return {scale_bits<double>(k), tmp};
}

// e^w for |wh| from 708: the scale shifted into range and back.
template <int N>
XEB_INLINE D<N> pow_exp_ends(D<N> wh, D<N> wl) {
    const MaskOf<double, N> beyond = compare<Cmp::Gt>(bitcast<uint64_t>(wh) & kAbs, bits(kPowClamp));
    const D<N> clamped = select(compare<Cmp::Gt>(wh, 0.0), broadcast<D<N>>(kPowClamp), broadcast<D<N>>(-kPowClamp));
    const PowExpTerms<N> t = pow_exp_terms(select(beyond, clamped, wh), select(beyond, D<N>{}, wl));
    const D<N> up = bitcast<double>(t.scale - (uint64_t{1009} << 52));
    const D<N> high = fma(up, t.tmp, up) * 0x1p1009;
    const D<N> down = bitcast<double>(t.scale + (uint64_t{1022} << 52));
    const D<N> y = fma(down, t.tmp, down);
    // Below 2^-1022: rounded once, on the grid of 1 + y, which the scaling
    // by 2^-1022 turns into the denormal grid.
    const D<N> y_lo = fma(down, t.tmp, down - y);
    const D<N> one_y = 1.0 + y;
    const D<N> denormal = (one_y + (((1.0 - one_y) + y) + y_lo)) - 1.0;
    const D<N> low = select(compare<Cmp::Lt>(y, 1.0), denormal, y) * 0x1p-1022;
    return select(compare<Cmp::Gt>(wh, 0.0), high, low);
}

template <int N>
XEB_INLINE D<N> pow_core(D<N> x, double adjust, D<N> y) {
    D<N> hi, lo;
    pow_log(x, adjust, hi, lo);
    const D<N> wh = y * hi;
    const D<N> wl = fma(y, lo, fms(y, hi, wh));
    const PowExpTerms<N> t = pow_exp_terms(wh, wl);
    const D<N> s = bitcast<double>(t.scale);
    const D<N> result = fma(s, t.tmp, s);
    const MaskOf<double, N> ends = compare<Cmp::Ge>(bitcast<uint64_t>(wh) & kAbs, kEndsBits);
    if (!any(ends)) return result;
    return select(ends, pow_exp_ends(wh, wl), result);
}

template <const char* Name>
struct PowD {
    using V = D<kNative<double>>;
    static constexpr const char* name = Name;
    static constexpr double filler = 1.0, filler_b = 1.0;

    // x less the smallest normal, as bits, lands at or above the span of
    // the positive normals for zeros, denormals, negative x, infinities
    // and NaNs; |y| - 1 as for floats.
    template <int N>
    static MaskOf<double, N> special(D<N> x, D<N> y) {
        return compare<Cmp::Ge>(bitcast<uint64_t>(x) - kNormalBits, kNormalSpan) |
               compare<Cmp::Ge>((bitcast<uint64_t>(y) & kAbs) - 1u, kInfBits - 1);
    }
    template <int N>
    XEB_INLINE static D<N> compute(D<N> x, D<N> y) {
        return pow_core(x, 0.0, y);
    }
    static void one(double a, double b, int i, const Arrays<double>& x) {
        const PowSpecialOf<double> d = powSpecialD(a, b);
        if (d.decided) {
            x.y[i] = d.result;
        } else {
            const D<1> m{d.magnitude}, y{b};
            x.y[i] = d.sign * (d.magnitude < 0x1p-1022 ? pow_core(m * 0x1p52, 52.0, y) : compute(m, y)).v;
        }
        if (d.code != 0) class_frame::raise(d.code, i, x, name);
    }
};

constexpr char kPowD[] = "_xebdPow_HA";
constexpr char kPowxD[] = "_xebdPowx_HA";
constexpr char kPowS[] = "_xebsPow_HA";
constexpr char kPowxS[] = "_xebsPowx_HA";
// The lower forms with code of their own in the baseline keep its names.
constexpr char kPow50D[] = "_xebdPow_50";
constexpr char kPow21S[] = "_xebsPow_21";

}  // namespace

void power_entries(vm::KernelTable& t) {
    t.dPow_HA = class_frame::binary<PowD<kPowD>>;
    t.dPow_50 = class_frame::binary<PowD<kPowD>, kPow50D>;
    t.dPowx_HA = t.dPowx_50 = class_frame::vector_scalar<PowD<kPowxD>>;
    t.sPow_HA = class_frame::binary<PowS<kPowS>>;
    t.sPow_21 = t.sPow_11 = class_frame::binary<PowS<kPowS>, kPow21S>;
    t.sPowx_HA = t.sPowx_21 = t.sPowx_11 = class_frame::vector_scalar<PowS<kPowxS>>;
}

}  // namespace XEB_ISA
}  // namespace xeb
