// Error function and its complement over arrays: r[i] = erf(a[i]),
// erfc(a[i]).  One element at a time, in double arithmetic (53 bits, the
// x87's narrow setting; here in SSE, see docs/behaviour.md), with the
// leading terms held as pairs of doubles (hi, lo) so that a 53-bit unit
// still rounds the result once.  The single forms run the same arithmetic
// on their widened argument and round the double result to float.
//
// Erf, by |x|:
//   below 2^-40   2/sqrt(pi) x as a pair from the pair of 2/sqrt(pi) and
//                 the split of x 2^200 (the scaling keeps the split exact),
//                 scaled back; in the double denormals the pair is split
//                 again so that the result is rounded once; below 2^-1033
//                 x times the constant (a result of 40 bits at most);
//   below 0.125   the series 2/sqrt(pi) x - 2/(3 sqrt(pi)) x^3 + x^3 z P(z),
//                 z = x^2, the two leading products exact;
//   below 5.92    the row of |x| (four a binade): value + t (slope + t curve)
//                 in pairs, t = |x| - c exact, + t^3 Q(t), Q of degree 11;
//   above         +-1, with the inexact flag.
// Error budget (relative to erf): fits 2^-57.2 in row 20 (from 4 to 5) and
// below 2^-61 elsewhere, 2^-69.9 for the series (erf_tables.inc); the
// rounding of t^3 Q(t) and of the pair steps below 2^-66; the rounding of
// x^3 in the series 2^-52 of a term below 0.0053 of the result (0.011
// ulp).  With the one rounding at the store: below 0.57 ulp; measured
// 0.545 (docs/accuracy.md).  The single form adds one rounding of a double
// within 0.56 ulp of double: below 0.51 ulp of a float.
//
// Erfc, by x:
//   NaN, +-inf, |x| below 2^-70, x at or below the lower limit: x + x, 0 or
//   2, 1 + x, 2 (with the inexact flag);
//   at or above the upper limit: 0 with the underflow flag and event 4;
//   otherwise the row i = floor(4 log2(1 + |x|)) (0 to 19) gives P(t),
//   t = |x| - c as a pair, P of degree 15 with orders 0 to 5 as pairs:
//   rows 0 to 5 approximate erfc(|x|) itself, rows 6 to 19
//   exp(x^2) erfc(|x|), which is multiplied by exp(-x^2) as a pair:
//   x^2 = h + l exactly; n = round(-h 64/ln 2); r = -x^2 - n ln 2/64 as a
//   pair (n ln 2/64 high exact: 36-bit constant, n below 2^17);
//   e^r = 1 + r + r^2 (P2 + ... + r^4 P6) on |r| <= ln 2/128; times
//   2^(j/64) (a pair), times 2^(n >> 6) apart.  Negative x: 2 - that.
//   The largest results in the double denormals keep the pair scaled by
//   2^200 and round once on the way down.
// Error budget (relative to erfc(|x|)): fits below 2^-62.3 (erf_tables.inc);
// the exponential: polynomial 2^-70.2, roundings of its sum, of 2^(j/64)
// times it and of the pair products below 2^-58.6 together; the pair steps
// of P below 2^-90.  With the one rounding at the store: below 0.53 ulp
// (negative x: erfc(|x|) is at most 1 against a result above 1, smaller
// still).  Measured 0.52 (docs/accuracy.md).  Single: own rows and limits,
// one more rounding from double: below 0.51 ulp of a float.
#include <cmath>
#include <cstdint>

#include "frame/bits.h"
#include "frame/kernel_frame.h"
#include "vecmath/erf_shared.h"
#include "vecmath/kernel_table.h"
#include "xebruk/vm_erf.h"

namespace xeb {
namespace erfdata {
#include "vecmath/erf_tables.inc"
}  // namespace erfdata

namespace {

using frame::Arrays;
using namespace erfdata;

// ---------------------------------------------------------------- pairs

constexpr double kSplitter = 0x1.0000002p+27;  // 2^27 + 1, bits 0x41A0000002000000

// v = hi + lo, hi its top 26 bits (Dekker's split): products of two halves
// are exact.
inline Pair split(double v) {
    const double t = kSplitter * v;
    const double hi = t - (t - v);
    return {hi, v - hi};
}

// a + b = hi + lo exactly, whatever their magnitudes.
inline Pair two_sum(double a, double b) {
    const double s = a + b;
    const double bb = s - a;
    return {s, (a - (s - bb)) + (b - bb)};
}

// a * b = hi + lo exactly, bs the split of b.
inline Pair two_product(double a, double b, const Pair& bs) {
    const Pair as = split(a);
    const double p = a * b;
    return {p, ((as.hi * bs.hi - p) + as.hi * bs.lo + as.lo * bs.hi) + as.lo * bs.lo};
}

// (a.hi + a.lo) (b.hi + b.lo) to about 2^-100, bs the split of b.hi; the
// low parts' product is left out.
inline Pair multiply(const Pair& a, const Pair& b, const Pair& bs) {
    const Pair p = two_product(a.hi, b.hi, bs);
    return {p.hi, p.lo + (a.hi * b.lo + a.lo * b.hi)};
}

inline Pair add(const Pair& a, const Pair& b) {
    const Pair s = two_sum(a.hi, b.hi);
    return {s.hi, s.lo + (a.lo + b.lo)};
}

inline double power_of_two(int e) { return double_from_bits(static_cast<uint64_t>(e + 1023) << 52); }
inline int biased_exponent(double x) { return static_cast<int>((bits(x) >> 52) & 0x7FF); }

constexpr double kScaleUp = 0x1p200, kScaleDown = 0x1p-200;
constexpr double kLeastNormalPlus = 0x1.0000000000001p-1022;  // bits 0x0010000000000001

// ---------------------------------------------------------------- erf

constexpr int kErfTinyExponent = 0x3D7;                // |x| below 2^-40
constexpr uint64_t kErfTinyScaledFrom = 0xE2DFC48DA77B5;  // 1.971920364530142e-308: result normal
constexpr uint64_t kErfTinyPlainBelow = 0x10000000000;    // 5.43230922487e-312
constexpr double kTwoOverRootPiWhole = 0x1.20dd750429b6dp+0;  // bits 0x3FF20DD750429B6D
constexpr double kErfLimit = 0x1.7afb48dc96628p+2;          // 5.921587195794508
constexpr double kErfSeriesBelow = 0.125;
constexpr uint32_t kErfFirstRowHigh = 0x3FC00000;  // high word of 0.125; 2^18 of it per row

const Pair& kTwoOverRootPi = erfSeriesLead[0];
const Pair& kMinusTwoOverThreeRootPi = erfSeriesLead[1];

// 2/sqrt(pi) x for tiny x (not zero).
double erf_tiny(double x) {
    const uint64_t magnitude = bits(x) & 0x7FFFFFFFFFFFFFFFull;
    if (magnitude < kErfTinyPlainBelow) return x * kTwoOverRootPiWhole;
    // t 2^-200 = x.  The products of t's halves with the constant's high
    // part are exact, so the sum is kept as a pair.
    const Pair t = split(x * kScaleUp);
    const Pair p = two_sum(t.hi * kTwoOverRootPi.hi, t.lo * kTwoOverRootPi.hi);
    const double lo = p.lo + (t.lo * kTwoOverRootPi.lo + t.hi * kTwoOverRootPi.lo);
    if (magnitude >= kErfTinyScaledFrom) return (p.hi + lo) * kScaleDown;
    // A denormal result: the 26-bit half of the pair scales exactly onto
    // the denormal grid, so the rest is rounded once, onto it.
    const Pair s = split(p.hi);
    return s.hi * kScaleDown + (s.lo + lo) * kScaleDown;
}

// erf(ax), ax in [2^-40, 0.125).
double erf_series(double ax) {
    const double z = ax * ax;
    const double x3 = ax * z;
    const double* s = erfSeries;
    const double p = x3 * z * (s[0] + z * (s[1] + z * (s[2] + z * (s[3] + z * s[4]))));
    // Both leading products in exact pieces: the constants' high parts have
    // at most 26 bits.
    const Pair a = split(ax), b = split(x3);
    const double small = (p + kMinusTwoOverThreeRootPi.lo * x3) + kTwoOverRootPi.lo * ax;
    const double cubic = kMinusTwoOverThreeRootPi.hi * b.lo + kMinusTwoOverThreeRootPi.hi * b.hi;
    const Pair linear = two_sum(kTwoOverRootPi.hi * a.hi, kTwoOverRootPi.hi * a.lo);
    return linear.hi + (linear.lo + (cubic + small));
}

// erf(ax), ax in [0.125, kErfLimit).
double erf_table(double ax) {
    const ErfRow& row = erfRows[(high_word(ax) - kErfFirstRowHigh) >> 18];
    const double t = ax + row.minus_c;  // exact: ax and c within a factor of 2
    const double* h = row.higher;
    double q = h[11];
    for (int k = 10; k >= 0; --k) q = q * t + h[k];
    const double p = q * (t * t * t);
    const Pair ts = split(t);
    Pair s = add(row.slope, multiply(row.curve, {t, 0.0}, ts));
    s = add(row.value, multiply(s, {t, 0.0}, ts));
    return s.hi + (s.lo + p);
}

// erf(x) for x held as a double: every input but the infinities, NaNs and
// zeros, which the callers decide on the bits of their own format.
double erf_finite(double x) {
    const double ax = std::fabs(x);
    const double sign = x < 0 ? -1.0 : 1.0;
    if (biased_exponent(x) < kErfTinyExponent) return erf_tiny(x);
    if (ax >= kErfLimit) {
        volatile double tiny = kScaleDown;  // 1 + 2^-200 rounds to 1, inexact
        return sign * (1.0 + tiny);
    }
    return sign * (ax < kErfSeriesBelow ? erf_series(ax) : erf_table(ax));
}

struct ErfD : frame::KernelPolicy<double> {
    static constexpr uint16_t x87 = frame::kX87Narrow;
    static constexpr bool clean_mxcsr = true;  // the arithmetic is in SSE
    static constexpr int group = 1;
    static constexpr unsigned prefetch_arrays = 0;
    [[maybe_unused]] static constexpr const char* name = "_xebdErf_HA";  // raises no event

    static bool group_path(const Arrays<double>& x, int i) {
        one(x, i);
        return true;
    }
    static void one(const Arrays<double>& x, int i) {
        const double a = x.a[i];
        if (biased_exponent(a) == 0x7FF) x.y[i] = std::isnan(a) ? a + a : (a < 0 ? -1.0 : 1.0);
        else if (is_zero(a)) x.y[i] = a;
        else x.y[i] = erf_finite(a);
    }
};

struct ErfS : frame::KernelPolicy<float> {
    static constexpr uint16_t x87 = frame::kX87Narrow;
    static constexpr bool clean_mxcsr = true;
    static constexpr int group = 1;
    static constexpr unsigned prefetch_arrays = 0;
    [[maybe_unused]] static constexpr const char* name = "_xebsErf_HA";  // raises no event

    static bool group_path(const Arrays<float>& x, int i) {
        one(x, i);
        return true;
    }
    static void one(const Arrays<float>& x, int i) {
        const float a = x.a[i];
        const uint32_t w = bits(a);
        if ((w & 0x7F800000u) == 0x7F800000u) x.y[i] = std::isnan(a) ? a + a : (a < 0 ? -1.0f : 1.0f);
        else if (is_zero(a)) x.y[i] = a;
        else x.y[i] = static_cast<float>(erf_finite(a));
    }
};

// ---------------------------------------------------------------- erfc

constexpr int kErfcTinyExponent = 0x3B9;  // |x| below 2^-70: 1 + x
constexpr int kErfcLastDirectRow = 5;     // rows up to here expand erfc itself
constexpr double k64OverLn2 = 0x1.71547652b82fep+6;       // 92.33248261689366
constexpr double kLn2Over64Hi = 0x1.62e42fefap-7;         // 36 bits: n times it is exact
constexpr double kLn2Over64Lo = 0x1.cf79abc9e3b3ap-46;
constexpr double kShifter = 0x1.8p52;                     // round to an integer by addition
// Above this the double result is a denormal (the band), above the second
// one the pair is rounded once and y + y^2 raises the underflow flag.
constexpr double kErfcBandFrom = 0x1.a8b12fc6e4892p+4;    // 26.54325845425098
constexpr double kErfcBandTinyAbove = 0x1.ab30a0f9c4611p+4;  // 26.699372268345602

struct ErfcLimitsD {
    static constexpr double lower = -0x1.7744f8f74e94ap+2;  // -5.8635847487551676: 2 below
    static constexpr double upper = 0x1.b39dc41e48bfdp+4;   // 27.226017111108366: 0 above
    static constexpr const ErfcRow* rows = erfcRows;
};
struct ErfcLimitsS {
    static constexpr double lower = -0x1.ea8f95ae0aca8p+1;  // -3.832506856900711
    static constexpr double upper = 0x1.41bbf700dc3fbp+3;   // 10.054194928818097
    static constexpr const ErfcRow* rows = erfcRowsSingle;
};

// P(t) of the row, t = ax - c as a pair: the plain orders by Horner, then
// the six pair orders, each step a pair product and a pair sum.
Pair erfc_row(const ErfcRow& row, double ax) {
    const Pair t = two_sum(ax, row.minus_c);
    const Pair ts = split(t.hi);
    const double* h = row.high;
    double q = h[9];
    for (int k = 8; k >= 0; --k) q = q * t.hi + h[k];
    Pair s{q, 0.0};
    for (int k = 5; k >= 0; --k) s = add(row.low[k], multiply(s, t, ts));
    return s;
}

// exp(-ax^2) = e.hi + e.lo times 2^scale_exponent.
struct Gaussian {
    Pair e;
    int scale_exponent;
};
Gaussian exp_minus_square(double ax) {
    const Pair square = two_product(ax, ax, split(ax));
    const double shifted = kShifter - square.hi * k64OverLn2;
    const int32_t n = static_cast<int32_t>(low_word(shifted));
    const double nf = shifted - kShifter;
    // -ax^2 - n ln 2/64: the first difference is exact (n ln 2/64 high is,
    // and it lies within a factor of 2 of ax^2).
    const Pair r = two_sum(-square.hi - nf * kLn2Over64Hi, -square.lo - nf * kLn2Over64Lo);
    const double* c = erfcExpPoly;
    const double q = r.hi + (r.hi * r.hi * (c[0] + r.hi * (c[1] + r.hi * (c[2] + r.hi * (c[3] + r.hi * c[4])))) + r.lo);
    const Pair& power = erfcExp2[n & 63];
    return {{power.hi, power.lo + (power.hi * q + power.lo * q)}, n >> 6};
}

// erfc(x) for finite x held as a double; Limits gives the format's rows
// and limits, Single says the result is rounded to float (which has no
// band of double denormals).  True when the element raises event 4.
template <class Limits, bool Single>
bool erfc_finite(double x, double& result) {
    if (biased_exponent(x) < kErfcTinyExponent) {
        result = 1.0 + x;
        return false;
    }
    if (x <= Limits::lower) {
        volatile double least = kLeastNormalPlus;  // 2 - it rounds to 2, inexact
        result = 2.0 - least;
        return false;
    }
    if (x >= Limits::upper) {
        volatile double least = kLeastNormalPlus;  // its square underflows to 0
        result = least * least;
        return true;
    }
    const double ax = std::fabs(x);
    double y = 1.0 + ax;
    y *= y;
    const int index = biased_exponent(y * y) - 1023;
    Pair p = erfc_row(Limits::rows[index], ax);
    int scale_exponent = 0;
    if (index > kErfcLastDirectRow) {
        const Gaussian g = exp_minus_square(ax);
        p = multiply(p, g.e, split(g.e.hi));
        scale_exponent = g.scale_exponent;
    }
    if (x < 0) {
        const double scale = -power_of_two(scale_exponent);
        const Pair s = two_sum(2.0, p.hi * scale);
        result = s.hi + (s.lo + p.lo * scale);
    } else if (Single || x < kErfcBandFrom) {
        result = (p.hi + p.lo) * power_of_two(scale_exponent);
    } else {
        // A double denormal: the pair scaled by 2^200 stays normal.
        const double scale = power_of_two(scale_exponent + 200);
        const double hi = p.hi * scale, lo = p.lo * scale;
        if (x > kErfcBandTinyAbove) {
            const double v = (hi + lo) * kScaleDown;
            result = v + v * v;  // v * v underflows: the flag, and v unchanged
        } else {
            // The sum's 26-bit top scales exactly; the rest, its remainder
            // included, is rounded once onto the denormal grid.
            const Pair sum = two_sum(hi, lo);
            const Pair s = split(sum.hi);
            result = s.hi * kScaleDown + (s.lo + sum.lo) * kScaleDown;
        }
    }
    return false;
}

struct ErfcD : frame::KernelPolicy<double> {
    static constexpr uint16_t x87 = frame::kX87Narrow;
    static constexpr bool clean_mxcsr = true;
    static constexpr int group = 1;
    static constexpr unsigned prefetch_arrays = 0;
    static constexpr const char* name = "_xebdErfc_HA";

    static bool group_path(const Arrays<double>& x, int i) {
        one(x, i);
        return true;
    }
    static void one(const Arrays<double>& x, int i) {
        const double a = x.a[i];
        if (biased_exponent(a) == 0x7FF) {
            x.y[i] = std::isnan(a) ? a + a : (a < 0 ? 2.0 : 0.0);
            return;
        }
        double r;
        const bool underflow = erfc_finite<ErfcLimitsD, false>(a, r);
        x.y[i] = r;
        if (underflow) frame::raise<ErfcD>(XEB_STATUS_TOOSMALL, i, x);
    }
};

struct ErfcS : frame::KernelPolicy<float> {
    static constexpr uint16_t x87 = frame::kX87Narrow;
    static constexpr bool clean_mxcsr = true;
    static constexpr int group = 1;
    static constexpr unsigned prefetch_arrays = 0;
    static constexpr const char* name = "_xebsErfc_HA";

    static bool group_path(const Arrays<float>& x, int i) {
        one(x, i);
        return true;
    }
    static void one(const Arrays<float>& x, int i) {
        const float a = x.a[i];
        if ((bits(a) & 0x7F800000u) == 0x7F800000u) {
            x.y[i] = std::isnan(a) ? a + a : (a < 0 ? 2.0f : 0.0f);
            return;
        }
        double r;
        const bool underflow = erfc_finite<ErfcLimitsS, true>(a, r);
        x.y[i] = static_cast<float>(r);
        if (underflow) frame::raise<ErfcS>(XEB_STATUS_TOOSMALL, i, x);
    }
};

}  // namespace

double erfdata::erf_scalar(double x) { return erf_finite(x); }
bool erfdata::erfc_scalar(double x, bool single, double& result) {
    return single ? erfc_finite<ErfcLimitsS, true>(x, result) : erfc_finite<ErfcLimitsD, false>(x, result);
}

}  // namespace xeb

void xeb::baseline::dErf_HA(int n, const double* a, double* r) { xeb::frame::run<xeb::ErfD>(n, xeb::frame::unary(a, r)); }
void xeb::baseline::sErf_HA(int n, const float* a, float* r) { xeb::frame::run<xeb::ErfS>(n, xeb::frame::unary(a, r)); }
void xeb::baseline::dErfc_HA(int n, const double* a, double* r) { xeb::frame::run<xeb::ErfcD>(n, xeb::frame::unary(a, r)); }
void xeb::baseline::sErfc_HA(int n, const float* a, float* r) { xeb::frame::run<xeb::ErfcS>(n, xeb::frame::unary(a, r)); }

// The exported names run the kernel class in use.
using xeb::vm::active;

extern "C" {

void xebdErf_HA(int n, const double* a, double* r) { active.dErf_HA(n, a, r); }
void xebdErf_50(int n, const double* a, double* r) { active.dErf_50(n, a, r); }
void xebsErf_HA(int n, const float* a, float* r) { active.sErf_HA(n, a, r); }
void xebsErf_21(int n, const float* a, float* r) { active.sErf_21(n, a, r); }
void xebsErf_11(int n, const float* a, float* r) { active.sErf_11(n, a, r); }
void xebdErfc_HA(int n, const double* a, double* r) { active.dErfc_HA(n, a, r); }
void xebdErfc_50(int n, const double* a, double* r) { active.dErfc_50(n, a, r); }
void xebsErfc_HA(int n, const float* a, float* r) { active.sErfc_HA(n, a, r); }
void xebsErfc_21(int n, const float* a, float* r) { active.sErfc_21(n, a, r); }
void xebsErfc_11(int n, const float* a, float* r) { active.sErfc_11(n, a, r); }

}  // extern "C"
