// Exponential and logarithms of the SIMD kernel classes, written once over
// the vector type and compiled once per class (see frame/class_frame.h for
// the frame and the recipe).  Tables and
// coefficients: vecmath/explog_vector_tables.inc.  Every operation is IEEE
// with fused multiply-adds written out, so the AVX2 and AVX-512 classes
// give the same bits; the one-element routines run the same templates on
// one lane.
//
// Double exponential.  k = round(16 x / ln 2) (x 16/ln 2 + 1.5 2^52, whose
// low bits are k), r = x - k ln2/16 (the first product exact, as
// expLn2HiN has 38 bits, and x - k expLn2HiN exact, being below 2^-5 with
// no bits under x's; the second rounded), 2^(k/16) = 2^(k >> 4) H_i
// (1 + tail_i), i = k mod 16, e^r = 1 + r + r^2 q(r):
//   e^x ~ s + s tmp,  s = 2^(k >> 4) H_i,  tmp = tail_i + r + r^2 q(r).
// Error budget, in ulps of the result: r's rounding 2^-53 |r| with
// |r| < 2^-5.5: 0.02; q's fit 2^-64 absolute: 0.001; tail_i's own
// rounding 2^-107: nothing; the roundings of r + tail and of tmp (both
// below 2^-5.4): 0.03; the final fused s + s tmp: 0.5.  Bound 0.56.
// Results near the ends (|x| from 708.39) go one at a time through the
// same arithmetic with the scale shifted by 2^1009 or 2^-1022; a denormal
// result is rounded once onto its grid (1 + y rounded, then 1 taken away).
//
// Single exponential, in floats: the same with 12-bit expLn2HiNF, q of
// degree 2 (fit 2^-36 absolute), float tables: below 0.53 ulp (r's
// rounding 2^-24 |r|: 0.01; tmp's roundings: 0.02; the fit: 0.001; the
// final fused step 0.5).  Bound 0.56.  |x| from 87 (results near the
// float range's ends) goes one at a time: the same terms, the scale
// applied in doubles, one rounding to float.
//
// Logarithms.  x = 2^k z with z in [0.703125, 1.40625), row j of 16 by the
// top bits of z's offset pattern, c_j with 1/c_j = logInvC[j] and log c_j
// = logLogC[j] (within 2^-68; c = 1 in the row around 1):
//   log x = k ln 2 + log c + log1p(r),  r = z/c - 1, |r| <= 2^-5.
// Double: r is formed exactly as q + pl (z/c = z invc split by one fused
// product, q its distance from 1, exact); k ln2hi + log c is exact (log c
// a multiple of 2^-42), its sum with q is hi + hl by one exact two-sum;
// log1p(r) - q = q (q g(q) - pl) + pl (g by Horner's rule, the fewest
// operations; fit 2^-66.4 absolute); Log10 multiplies the pair by
// log10(e) as a pair.  Error budget, in ulps of the result: the
// dropped pl q^2 (below 2^-63; pl = 0 in row 9, elsewhere the result is
// above 2^-6): 0.03; lo's roundings and the fit: 0.01; Log10's products
// 2^-104; the final sum 0.5.  Bound 0.54 (0.52 for Ln, 0.533 for Log10
// measured, next to the edges of row 9).
// Single: in floats, on the float rows (ln_float_pair below): log x as
// hi + lo, hi = k ln2hi + log c + q rounded once and its error exact,
// r = q + pl exact, log c one table value (a multiple of 2^-17 chosen with
// c).  Error budget: log c's own distance from the true value, below
// 2^-28.2 of the result (rows 8 and 10 next to 1; 0.02 ulp, 0.03 in
// Log10's ulps); the fit of g (float coefficients, 2^-25 absolute) times
// q^2, and lo's roundings (|lo| below 2^-5.5 of the result): 2^-28 of the
// result, under 0.12 ulp; Log10's product, hi log10(e) kept exact inside
// the last fused multiply-add with the small terms rounded before it,
// 2^-30; the final rounding 0.5.
// Bound 0.6 (measured over every positive float: 0.543 for Ln, 0.564 for
// Log10, both at the low end of row 10, 1.0314 and 1.0327).  A denormal
// is scaled by 2^23, k less 23.
// The single _HA loop is bound by its count of vector operations (23 a
// register, AVX-512; the 16 of _21 take 0.7 of its time), and each of them
// pays for a term that reaches half an ulp next to row 9, where |log x|
// is down to 2^-6 while |r| is up to 2^-5 (Ln's maxima over every
// positive normal float): r rounded once, without pl, 0.998 ulp; pl
// without its q pl term, 0.989; hi without the two-sum's error, 1.499.
// vgetmantps and vgetexpps save one of the five decoding operations only
// on rows aligned to [0.75, 1.5), which put 1 at a row's edge (|r| to
// 2^-4 there: one more coefficient); a 1/c short enough for an exact
// z/c - 1 leaves log c off the 2^-17 grid (a third table); two registers
// a step ran no faster.
#include <cstdint>

#include "vecmath/kernel_table.h"
#include "vecmath/simd/explog_core.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

struct ExpD : ExpVector<double> {
    using V = D<kNative<double>>;
    static constexpr const char* name = "_xebdExp_HA";
    static constexpr double filler = 0.0;

    // e^x for x from the fast limit to the ends, from the same terms.
    static double near_ends(double x) {
        const ExpTerms<double, 1> t = exp_terms(D<1>{x});
        const U<1> scale = scale_bits<double>(t.k);
        if (x > 0) {
            const D<1> s = bitcast<double>(scale - (uint64_t{1009} << 52));
            return fma(s, t.tmp, s).v * 0x1p1009;
        }
        const D<1> s = bitcast<double>(scale + (uint64_t{1022} << 52));
        double y = fma(s, t.tmp, s).v;
        if (y < 1.0) {
            // The result is below 2^-1022: rounded once, on the grid of
            // 1 + y, which the scaling by 2^-1022 turns into the denormal grid.
            const double lo = fma(s, t.tmp, s - y).v;  // s + s tmp - y
            const double hi = 1.0 + y;
            y = (hi + (((1.0 - hi) + y) + lo)) - 1.0;
        }
        return y * 0x1p-1022;
    }

    static void one(double a, int i, const Arrays<double>& x) {
        const uint64_t b = bits(a), magnitude = b & kAbs;
        const bool finite = magnitude < kInfBits, nan = magnitude > kInfBits;
        if (static_cast<int64_t>(b) >= kOverflowBits) {  // +infinity and positive NaNs too
            x.y[i] = nan ? a + a : __builtin_inf();
            if (finite) class_frame::raise(XEB_STATUS_TOOLARGE, i, x, name);
            return;
        }
        if (magnitude >= kUnderflowBits) {  // negative here, -infinity and negative NaNs too
            x.y[i] = nan ? a + a : 0.0;
            if (finite) class_frame::raise(XEB_STATUS_TOOSMALL, i, x, name);
            return;
        }
        x.y[i] = near_ends(a);
        const bool band = magnitude >= kBandBits && !(b >> 63 == 0 && (b >> 32) == kBandExemptHigh);
        if (band) class_frame::raise(ex::exp_band_code(a), i, x, name);
    }
};

// ---------------------------------------------------------------- single exponential

constexpr uint32_t kLargeF = 0x42B17218;         // 88.72283935546875: the events' bound
constexpr uint32_t kUnderflowF = 0x42CFF1B4;     // below -103.97207641601562: +0, event 4
constexpr uint32_t kInfF = 0x7F800000;

struct ExpS : ExpVector<float> {
    using V = F<kNative<float>>;
    static constexpr const char* name = "_xebsExp_HA";
    static constexpr float filler = 0.0f;

    // e^x from the same terms, H_i (1 + tmp) 2^(k >> 4) in doubles and
    // rounded once to float (denormal, or near the top of the range).
    static float near_ends(float x) {
        const ExpTerms<float, 1> t = exp_terms(F<1>{x});
        const uint32_t i = t.k.v & 15;
        const double h = float_of(ex::expScaleBitsF[i] + (i << 19));
        const int e = static_cast<int32_t>(t.k.v - bits(ExpData<float>::kShift)) >> 4;  // k >> 4
        const double scale = double_of(static_cast<uint64_t>(e + 1023) << 52);
        return static_cast<float>((h + h * static_cast<double>(t.tmp.v)) * scale);
    }

    static void one(float a, int i, const Arrays<float>& x) {
        const uint32_t w = bits(a), magnitude = w & kAbsF;
        if (magnitude > kInfF) x.y[i] = a + a;  // NaN
        else if (magnitude < kLargeF) x.y[i] = near_ends(a);
        else if (w == kInfF) x.y[i] = __builtin_inff();
        else if (w == (kInfF | 0x80000000u)) x.y[i] = 0.0f;
        else if (w >> 31 == 0) {
            x.y[i] = __builtin_inff();
            class_frame::raise(XEB_STATUS_TOOLARGE, i, x, name);
        } else if (magnitude > kUnderflowF) {
            x.y[i] = 0.0f;
            class_frame::raise(XEB_STATUS_TOOSMALL, i, x, name);
        } else {
            x.y[i] = near_ends(a);  // -103.97 to -88.72: a denormal or zero, no event
        }
    }
};

// Natural and decimal, the difference of the two logarithms' kernels.
struct Natural {
    static constexpr const char* double_name = "_xebdLn_HA";
    static constexpr const char* single_name = "_xebsLn_HA";
    static constexpr const char* double_name_low = "_xebdLn_50";
    static constexpr const char* single_name_low = "_xebsLn_21";
    template <class V>
    XEB_INLINE static V from_pair(V hi, V lo) {
        return hi + lo;
    }
    template <class V>
    XEB_INLINE static V scale(V y) {
        return y;
    }
};

// The _HA forms, or the lower ones (_50, _21 and _11) with their own code.
enum class Form { HA, Low };

// Double _50: the same decomposition with r rounded once, g of degree 7
// and one plain sum.  Error budget: r's rounding, up to 0.25 ulp of the
// result in the rows next to 1; the fit 2^-50.6 times r, 0.25 ulp; three
// roundings of the sum, 1.5 ulp; Log10's product 0.5 ulp: bound 3 ulp.
template <int N>
XEB_INLINE D<N> ln_quick(D<N> x, double adjust) {
    const LogParts<N> p = log_parts(x, adjust);
    const D<N> r = fma(p.z, lookup<16>(ex::logInvC, p.row), -1.0);
    const D<N> r2 = r * r, r4 = r2 * r2;
    const double* c = ex::lnPoly50;
    const D<N> g = fma(r4, fma(r2, fma(r, c[7], c[6]), fma(r, c[5], c[4])),
                       fma(r2, fma(r, c[3], c[2]), fma(r, c[1], c[0])));
    return fma(p.kd, ex::logLn2Hi + ex::logLn2Lo, lookup<16>(ex::logLogC, p.row)) + fma(r2, g, r);
}

// The float forms' decoded argument x 2^-Adjust = 2^k z: z, -k as a float
// and the row.  The bits of x are taken from those of 0.703125 + 2^23 - 1:
// above bit 23 that is -k, below it the complement of z's offset pattern,
// whose top four bits give 15 - row (the float tables are stored from the
// top row down).
template <int N>
struct FloatLogParts {
    F<N> z, nkf;
    W<N> row;
};

template <int Adjust, int N>
XEB_INLINE FloatLogParts<N> float_log_parts(F<N> x) {
    const W<N> flipped = (W<N>{} + (kLogOffsetF + 0x7FFFFFu)) - bitcast<uint32_t>(x);
    const Vec<int32_t, N> nk = bitcast<int32_t>(flipped) >> 23;
    const F<N> nkf = convert<float>(nk);
    const F<N> z = scale_normal(x, nk, nkf);
    if constexpr (Adjust != 0) return {z, nkf + float(Adjust), flipped >> 19};
    else return {z, nkf, flipped >> 19};
}

// Single _21 (and _11, the same entry): floats throughout, on the float
// forms' rows.  Error budget, in float ulps: r's rounding and log c's, up
// to 0.5 each in the rows next to 1; the fit, 2^-19.4 times r: 0.75; three
// roundings of the sum, 1.5; Log10's product 0.5: bound 4 ulp.
template <int Adjust, int N>
XEB_INLINE F<N> ln_float(F<N> x) {
    const FloatLogParts<N> p = float_log_parts<Adjust>(x);
    const F<N> r = fma(p.z, lookup<16>(ex::logInvCF, p.row), -1.0f);
    const float* c = ex::lnPolyF;
    const F<N> g = fma(r, fma(r, c[2], c[1]), c[0]);
    return fma(p.nkf, -ex::logLn2F, lookup<16>(ex::logLogCF, p.row) + fma(r * r, g, r));
}

struct Decimal {
    static constexpr const char* double_name = "_xebdLog10_HA";
    static constexpr const char* single_name = "_xebsLog10_HA";
    static constexpr const char* double_name_low = "_xebdLog10_50";
    static constexpr const char* single_name_low = "_xebsLog10_21";
    // (hi + lo) log10(e) with log10(e) as a pair: hi times its head split
    // exactly by a fused product, the rest added to the low part.
    template <int N>
    XEB_INLINE static D<N> from_pair(D<N> hi, D<N> lo) {
        const D<N> p = hi * ex::log10eHi;
        const D<N> pl = fms(hi, D<N>{} + ex::log10eHi, p);
        return p + fma(hi, ex::log10eLo, fma(lo, ex::log10eHi, pl));
    }
    // In floats the head product stays exact inside the last fused
    // multiply-add, which adds the small terms and rounds once.
    template <int N>
    XEB_INLINE static F<N> from_pair(F<N> hi, F<N> lo) {
        return fma(hi, ex::log10eF, fma(hi, ex::log10eLoF, lo * ex::log10eF));
    }
    template <int N>
    XEB_INLINE static D<N> scale(D<N> y) {
        return y * ex::log10eHi;
    }
    template <int N>
    XEB_INLINE static F<N> scale(F<N> y) {
        return y * ex::log10eF;
    }
};

template <class B, Form Fm>
struct LogD {
    using V = D<kNative<double>>;
    static constexpr const char* name = Fm == Form::HA ? B::double_name : B::double_name_low;
    static constexpr double filler = 1.0;

    template <int N>
    static MaskOf<double, N> special(D<N> x) {
        return not_positive_normal(x);
    }
    template <int N>
    XEB_INLINE static D<N> compute(D<N> x, double adjust = 0) {
        if constexpr (Fm == Form::Low) {
            return B::scale(ln_quick(x, adjust));
        } else {
            D<N> hi, lo;
            ln_pair(x, adjust, hi, lo);
            return B::from_pair(hi, lo);
        }
    }

    static void one(double a, int i, const Arrays<double>& x) {
        const uint64_t b = bits(a), magnitude = b & kAbs;
        if (magnitude == 0) {
            x.y[i] = -__builtin_inf();
            class_frame::raise(XEB_STATUS_POLE, i, x, name);
        } else if (b >> 63 != 0 && (b >> 32) <= 0xFFF00000u) {
            // Negative, -infinity included, judged on the high word: a NaN
            // of high word 0xFFF00000 counts too.
            x.y[i] = magnitude > kInfBits ? a + a : double_of(kDefaultNaN);
            class_frame::raise(XEB_STATUS_DOMAINFAULT, i, x, name);
        } else if (magnitude >= kInfBits) {
            x.y[i] = a + a;  // +infinity, NaNs
        } else if (magnitude < kNormalBits) {
            x.y[i] = compute(D<1>{a * 0x1p52}, 52).v;  // denormal
        } else {
            x.y[i] = compute(D<1>{a}).v;
        }
    }
};

// Single _HA, in floats on the float rows (x = 2^k z as for _21):
//  - q + pl = z invc - 1 exactly: z invc as a fused pair, its distance
//    from 1 exact;
//  - s = k ln2hi + log c exactly (both on the grid of 2^-17, |s| < 2^7),
//    and s + q = hi + e by a fast two-sum: |s| >= |q| unless s = 0 (log c
//    is 0 only in the row around 1, elsewhere beyond q's reach);
//  - log1p(q + pl) - q = q^2 g(q) + pl (1 - q), the dropped terms below
//    2^-50 of the result;
//   log x = hi + lo,  lo = e + k ln2lo + pl + q (q g(q) - pl),
//  g by Horner's rule (no q^2: one operation fewer).
template <int Adjust, int N>
XEB_INLINE void ln_float_pair(F<N> x, F<N>& hi, F<N>& lo) {
    const FloatLogParts<N> p = float_log_parts<Adjust>(x);
    const F<N> invc = lookup<16>(ex::logInvCF, p.row);
    const F<N> ph = p.z * invc;
    const F<N> pl = fms(p.z, invc, ph);
    const F<N> q = ph - 1.0f;
    const F<N> s = fma(p.nkf, -ex::logLn2HiF, lookup<16>(ex::logLogCF, p.row));  // exact
    hi = s + q;
    const F<N> e = (s - hi) + q;
    const float* c = ex::lnPolyS;
    const F<N> g = fma(q, fma(q, fma(q, c[3], c[2]), c[1]), c[0]);
    // q^2 g + pl (1 - q) = q (q g - pl) + pl.
    lo = fma(q, fms(q, g, pl), e + fma(p.nkf, -ex::logLn2LoF, pl));
}

template <class B, Form Fm>
struct LogS {
    using V = F<kNative<float>>;
    static constexpr const char* name = Fm == Form::HA ? B::single_name : B::single_name_low;
    static constexpr float filler = 1.0f;

    template <int N>
    static MaskOf<float, N> special(F<N> x) {
        return not_positive_normal(x);
    }

    // Adjust: 23 for a denormal scaled by 2^23.
    template <int Adjust = 0, int N>
    XEB_INLINE static F<N> compute(F<N> x) {
        if constexpr (Fm == Form::Low) {
            return B::scale(ln_float<Adjust>(x));
        } else {
            F<N> hi, lo;
            ln_float_pair<Adjust>(x, hi, lo);
            return B::from_pair(hi, lo);
        }
    }

    static void one(float a, int i, const Arrays<float>& x) {
        const uint32_t w = bits(a), magnitude = w & kAbsF;
        if (magnitude == 0) {
            x.y[i] = -__builtin_inff();
            class_frame::raise(XEB_STATUS_POLE, i, x, name);
        } else if (w - 0x80000000u <= kInfF) {  // negative, not a NaN
            x.y[i] = float_of(kDefaultNaNF);
            class_frame::raise(XEB_STATUS_DOMAINFAULT, i, x, name);
        } else if (magnitude < kNormalF) {
            x.y[i] = compute<23>(F<1>{a * 0x1p23f}).v;  // denormal, scaled into range
        } else {
            x.y[i] = a + a;  // +infinity, NaNs
        }
    }
};

}  // namespace

void explog_entries(vm::KernelTable& t) {
    t.dExp_HA = t.dExp_50 = class_frame::unary<ExpD>;
    t.sExp_HA = t.sExp_21 = t.sExp_11 = class_frame::unary<ExpS>;
    t.dLn_HA = class_frame::unary<LogD<Natural, Form::HA>>;
    t.dLn_50 = class_frame::unary<LogD<Natural, Form::Low>>;
    t.sLn_HA = class_frame::unary<LogS<Natural, Form::HA>>;
    t.sLn_21 = t.sLn_11 = class_frame::unary<LogS<Natural, Form::Low>>;
    t.dLog10_HA = class_frame::unary<LogD<Decimal, Form::HA>>;
    t.dLog10_50 = class_frame::unary<LogD<Decimal, Form::Low>>;
    t.sLog10_HA = class_frame::unary<LogS<Decimal, Form::HA>>;
    t.sLog10_21 = t.sLog10_11 = class_frame::unary<LogS<Decimal, Form::Low>>;
}

}  // namespace XEB_ISA
}  // namespace xeb
