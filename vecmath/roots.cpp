// Square and cube roots and their reciprocals over arrays.
//
// No fast path divides or takes a hardware square root.
//
// Double Sqrt, InvSqrt (x87, 64-bit significand).  x = 2^e * m, m in [1, 2):
//   y0 = rootQuad[i](m) * S * P with S * P = 2^(-e/2) (P = sqrt 2 for odd e),
//   h  = 1 - x * y0^2,  y = y0 * (1 + h/2 + 3/8 h^2)
// The correction is the Newton step y0 * (3/2 - x/2 * y0^2) with the next
// term of the binomial series added, which makes it cubically convergent.
// Error budget: the band quadratic has relative error d <= 4.7e-9, so
// |h| <= 9.4e-9 and the step leaves 5/16 |h|^3 < 3e-25; about a dozen 64-bit
// roundings add 7e-19 (0.006 ulp of a double); the store adds 0.5 ulp:
// below 0.51 ulp.  (The plain Newton step would leave 1.5 d^2 = 3.3e-17, up
// to 0.3 ulp, and would round sqrt(2) the wrong way.)  Sqrt multiplies by x
// once more at 64 bits.
//
// Double InvCbrt (x87, 64-bit significand).  y0 = cbrtQuad[i](m) ~
// m^(-1/3), h = 1 - m * y0^3, y = y0 * (1 + h/3 + 2/9 h^2) (the Newton step
// y0 * (4/3 - 1/3 * m * y0^3) plus the next series term), then the exponent
// divided by 3 by an integer multiply, the remainder selecting 2^(2/3),
// 2^(1/3) or 1.  Error budget: d <= 2.6e-9, the step leaves 14/81 |h|^3 <
// 1e-25, a dozen 64-bit roundings, the store: below 0.51 ulp.
//
// Double Cbrt (SSE doubles, see cbrt_core): the same start and exponent
// split, one Newton step in doubles, the root cut to 26 bits and corrected
// from its exact residual.  Error budget: the residual's relative error
// 2^-48 times its size 2^-25, the dropped third-order term 2^-76, the
// rounding of the small correction 2^-78: all far below 2^-60, then one
// rounding: below 0.51 ulp.  Odd by construction.
//
// Single Sqrt, InvSqrt (SSE).  The processor's estimate y of x^(-1/2)
// (about 12 bits), cut to 9 significant bits, is corrected in doubles with
// the series of (1+e)^(-1/2): e = x*y^2 - 1, which is exact (24 + 9 + 9
// bits), p = (-5/16 e^2 + 3/8 e - 1/2) e.  |e| < 2^-7, so the series is good
// to 1e-9 relative (0.02 ulp of a float); with a few double roundings and the
// store to float the bound is 0.55 ulp.  (Done in floats, the rounding of
// x*y^2 near 1 alone would cost up to a whole ulp.)
//
// Single Cbrt, InvCbrt (doubles, x87 at 53 bits): the 64-band quadratic
// alone, relative error <= 7.3e-9 (Cbrt, 0.13 ulp of a float) and 2.1e-8
// (InvCbrt, 0.36 ulp), plus the store: below 0.65 and 0.9 ulp.  A denormal
// is scaled into range as a double, so the scaling adds no rounding.
#include <immintrin.h>

#include <cfloat>
#include <cmath>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "frame/kernel_frame.h"
#include "vecmath/kernel_table.h"
#include "vecmath/roots_core.h"
#include "xebruk/vm_roots.h"

namespace xeb {
namespace {

using namespace roots;
using frame::Arrays;

constexpr uint64_t kRootDefaultNaN = 0x7FF8A5A55A5A5A5Aull;  // recognisable on purpose
constexpr uint32_t kSingleDefaultNaN = 0xFFC00000u;
constexpr long double kFourThirds = 0xa.aaaaaaaaaaaaaabp-3L;
constexpr long double kMinusThird = -0xa.aaaaaaaaaaaaaabp-5L;
constexpr long double kTwoNinths = 0xe.38e38e38e38e38ep-6L;
constexpr long double kThirdPowers[3] = {kTwoToTwoThirds, kTwoToOneThird, 1.0L};

// Denormal inputs are scaled into the normal range first.
constexpr double kDenormalIn = 0x1p996;
constexpr long double kSqrtDenormalOut = 0x1p-498L, kInvSqrtDenormalOut = 0x1p498L;
constexpr long double kCbrtDenormalOut = 0x1p-332L, kInvCbrtDenormalOut = 0x1p332L;

inline double cut27(double v) { return double_from_bits(bits(v) & ~((uint64_t{1} << 27) - 1)); }
inline bool is_nan(double x) { return (bits(x) << 1) > (0x7FF0000000000000ull << 1); }
inline bool is_nan(float x) { return (bits(x) << 1) > (0x7F800000u << 1); }
inline double quiet(double x) { return double_from_bits(bits(x) | 0x0008000000000000ull); }

// |x|^(-1/3) for |x| normal (or infinite / NaN, passed on), with the sign of
// x when Signed.
template <bool Signed>
inline long double inv_cbrt_core(double x) {
    const uint32_t h = high_word(x), a = h & 0x7FFFFFFFu;
    const BandQuadratic& q = cbrtQuad[(a >> 13) & 0x7F];
    const long double m = significand(x);
    // (biased exponent - 1) * 2^20 / 3: the quotient from bit 20 up, the
    // remainder 0, 1, 2 in bits 16-17.
    const uint32_t t = ((((a & 0x7FF00000u) >> 16) - 0x10u) * 0xAAABu) >> 1;
    uint32_t sh = 0x55300000u - (t & 0x7FF00000u);
    if (Signed) sh |= h & 0x80000000u;
    const long double s = from_high_word(sh);
    const long double y0 = (q.a * m + q.b) * m + q.c;
    const long double u = kMinusThird * m * y0 * y0 * y0;  // -(1 - d)/3 with d = 1 - m*y0^3
    const long double d = 3 * u + 1;
    const long double y = y0 * ((kFourThirds + u) + kTwoNinths * d * d);
    return y * kThirdPowers[(t >> 16) & 3] * s;
}

// Cube root of x, normal and finite, in doubles.  With E - 1 = 3q + r (E
// the biased exponent), x = 2^(3(q-341)) * M, M = m * 2^(r+1) in [2, 16)
// exactly.  Y ~ M^(-1/3) from the band quadratic and one Newton step
// (2^-48), R = M * Y^2 cut to 26 bits (rh, within 2^-25), then the exact
// residual e = rh^3 - M (rh^2 is exact; its halves times rh are exact and
// the difference with M is exact by Sterbenz) and cbrt(M) = rh * (1 - e'/3
// + 2/9 e'^2) with e' = e / M to 2^-48, dropping 2^-76.  One rounding, at
// rh + rh * c.
inline double cbrt_core(double x) {
    constexpr double kFourThirdsD = 0x1.5555555555555p+0, kThirdD = 0x1.5555555555555p-2,
                     kTwoNinthsD = 0x1.c71c71c71c71cp-3;
    const uint32_t h = high_word(x), a = h & 0x7FFFFFFFu;
    const BandQuadratic& q = cbrtQuad[(a >> 13) & 0x7F];
    const double m = significand(x);
    const uint32_t t = ((((a & 0x7FF00000u) >> 16) - 0x10u) * 0xAAABu) >> 1;
    const unsigned r = (t >> 16) & 3;
    const double big_m = m * static_cast<double>(2u << r);  // exact
    const double y = ((q.a * m + q.b) * m + q.c) * cbrtInvSteps[r];
    const double y1 = y * (kFourThirdsD - kThirdD * big_m * y * y * y);
    const double y2 = y1 * y1;
    const double rh = cut27(big_m * y2);
    const double s2 = rh * rh;  // exact: 26 + 26 bits
    const double s2h = cut27(s2), s2l = s2 - s2h;
    const double e = (s2h * rh - big_m) + s2l * rh;
    const double ep = e * (y2 * y1);
    const double c = ep * (kTwoNinthsD * ep - kThirdD);
    const uint64_t scale = (uint64_t{h & 0x80000000u} << 32) | (static_cast<uint64_t>((t >> 20) - 341 + 1023) << 52);
    return (rh + rh * c) * double_from_bits(scale);
}

// A double kernel of this family: F gives the fast domain on the high word,
// the fast result, and the one-element treatment of everything else.
template <class F>
struct DoubleRoot : frame::KernelPolicy<double> {
    static constexpr uint16_t x87 = frame::kX87Wide;
    static constexpr frame::Trampoline trampoline = frame::Trampoline::X87Merge;

    static bool group_path(const Arrays<double>& x, int i) {
        const double v0 = x.a[i], v1 = x.a[i + 1], v2 = x.a[i + 2], v3 = x.a[i + 3];
        if (!(F::fast(high_word(v0)) && F::fast(high_word(v1)) && F::fast(high_word(v2)) &&
              F::fast(high_word(v3))))
            return false;
        const auto r0 = F::core(v0), r1 = F::core(v1), r2 = F::core(v2), r3 = F::core(v3);
        x.y[i] = static_cast<double>(r0);
        x.y[i + 1] = static_cast<double>(r1);
        x.y[i + 2] = static_cast<double>(r2);
        x.y[i + 3] = static_cast<double>(r3);
        return true;
    }
    static void one(const Arrays<double>& x, int i) {
        const double v = x.a[i];
        if (F::fast(high_word(v))) x.y[i] = static_cast<double>(F::core(v));
        else F::special(x, i);
    }
};

// Positive, normal, finite.
inline bool positive_normal(uint32_t h) { return h - 0x00100000u < 0x7FE00000u; }

template <class K>
void root_of_negative(const Arrays<double>& x, int i) {
    x.y[i] = double_from_bits(kRootDefaultNaN);
    frame::raise<K>(XEB_STATUS_DOMAINFAULT, i, x);
}

struct SqrtD : DoubleRoot<SqrtD> {
    static constexpr bool clean_mxcsr = true;
    static constexpr const char* name = "_xebdSqrt_HA";
    static bool fast(uint32_t h) { return positive_normal(h); }
    static long double core(double v) { return v * inv_sqrt_core(v); }
    static void special(const Arrays<double>& x, int i) {
        const double v = x.a[i];
        if (is_zero(v) || bits(v) == 0x7FF0000000000000ull) x.y[i] = v;
        else if (is_nan(v)) x.y[i] = quiet(v);
        else if (bits(v) >> 63) root_of_negative<SqrtD>(x, i);
        else x.y[i] = static_cast<double>(core(v * kDenormalIn) * kSqrtDenormalOut);
    }
};

struct InvSqrtD : DoubleRoot<InvSqrtD> {
    static constexpr bool clean_mxcsr = true;
    static constexpr const char* name = "_xebdInvSqrt_HA";
    static bool fast(uint32_t h) { return positive_normal(h); }
    static long double core(double v) { return inv_sqrt_core(v); }
    static void special(const Arrays<double>& x, int i) {
        const double v = x.a[i];
        if (is_zero(v)) {
            x.y[i] = (bits(v) >> 63) ? -HUGE_VAL : HUGE_VAL;
            frame::raise<InvSqrtD>(XEB_STATUS_POLE, i, x);
        } else if (bits(v) == 0x7FF0000000000000ull) {
            x.y[i] = 0.0;
        } else if (is_nan(v)) {
            x.y[i] = quiet(v);
        } else if (bits(v) >> 63) {
            root_of_negative<InvSqrtD>(x, i);
        } else {
            x.y[i] = static_cast<double>(core(v * kDenormalIn) * kInvSqrtDenormalOut);
        }
    }
};

struct CbrtD : DoubleRoot<CbrtD> {
    static constexpr bool clean_mxcsr = true;  // its arithmetic is in SSE doubles
    static bool fast(uint32_t h) { return (h & 0x7FFFFFFFu) - 0x00100000u < 0x7FE00000u; }
    static double core(double v) { return cbrt_core(v); }
    static void special(const Arrays<double>& x, int i) {
        const double v = x.a[i];
        if (is_zero(v)) x.y[i] = v;
        else if ((high_word(v) & 0x7FF00000u) == 0x7FF00000u) x.y[i] = v + v;  // infinities, NaNs
        else x.y[i] = core(v * kDenormalIn) * static_cast<double>(kCbrtDenormalOut);
    }
};

struct InvCbrtD : DoubleRoot<InvCbrtD> {
    static constexpr const char* name = "_xebdInvCbrt_HA";
    static bool fast(uint32_t h) { return (h & 0x7FFFFFFFu) - 0x00100000u < 0x7FE00000u; }
    static long double core(double v) { return inv_cbrt_core<true>(v); }
    static void special(const Arrays<double>& x, int i) {
        const double v = x.a[i];
        const bool negative = bits(v) >> 63;
        if (is_zero(v)) {
            x.y[i] = negative ? -HUGE_VAL : HUGE_VAL;
            frame::raise<InvCbrtD>(XEB_STATUS_POLE, i, x);
        } else if ((bits(v) << 1) == (0x7FF0000000000000ull << 1)) {
            x.y[i] = negative ? -0.0 : 0.0;
        } else if (is_nan(v)) {
            x.y[i] = quiet(v);
        } else {
            x.y[i] = static_cast<double>(core(v * kDenormalIn) * kInvCbrtDenormalOut);
        }
    }
};

// ---- single square roots (SSE) ----

const __m128 kCut = _mm_castsi128_ps(_mm_set1_epi32(static_cast<int>(0xFFFF8000u)));
const __m128 kSignBit = _mm_set1_ps(-0.0f);

// The processor's estimate of x^(-1/2) cut to 9 significant bits.
inline __m128 estimate(__m128 x) { return _mm_and_ps(_mm_rsqrt_ps(x), kCut); }

// (1 + e)^(-1/2) - 1 to third order.
inline __m128d series(__m128d e) {
    __m128d p = _mm_add_pd(_mm_mul_pd(_mm_set1_pd(-0.3125), e), _mm_set1_pd(0.375));
    p = _mm_sub_pd(_mm_mul_pd(p, e), _mm_set1_pd(0.5));
    return _mm_mul_pd(p, e);
}

// The correction of two lanes in doubles: x*y*y has at most 24 + 9 + 9
// significant bits, so e = x*y^2 - 1 is exact and the one rounding that
// matters is the final one to float.  Sqrt returns x*y*(1 + p), InvSqrt
// y*(1 + p).
template <bool Inverse>
inline __m128d corrected(__m128d x, __m128d y) {
    const __m128d xy = _mm_mul_pd(x, y);
    const __m128d e = _mm_sub_pd(_mm_mul_pd(xy, y), _mm_set1_pd(1.0));
    const __m128d base = Inverse ? y : xy;
    return _mm_add_pd(base, _mm_mul_pd(series(e), base));
}

template <bool Inverse>
inline __m128 root_lanes(__m128 x, __m128 y) {
    const __m128d lo = corrected<Inverse>(_mm_cvtps_pd(x), _mm_cvtps_pd(y));
    const __m128d hi = corrected<Inverse>(_mm_cvtps_pd(_mm_movehl_ps(x, x)),
                                          _mm_cvtps_pd(_mm_movehl_ps(y, y)));
    return _mm_movelh_ps(_mm_cvtpd_ps(lo), _mm_cvtpd_ps(hi));
}

// Square roots of four lanes; zero lanes give zeros of their sign.  Lanes
// for which |x*y| is beyond the float range or NaN are flagged in the mask
// (bit per lane): negatives, infinities, NaNs and denormals (whose estimate
// is infinite).
inline __m128 sqrt_lanes(__m128 x, int& flagged) {
    const __m128 y = _mm_andnot_ps(_mm_cmpeq_ps(x, _mm_setzero_ps()), estimate(x));
    const __m128 xhy = _mm_mul_ps(_mm_and_ps(x, kCut), y);
    flagged = _mm_movemask_ps(_mm_cmpnle_ps(_mm_andnot_ps(kSignBit, xhy), _mm_set1_ps(FLT_MAX)));
    return _mm_or_ps(root_lanes<false>(x, y), _mm_and_ps(x, kSignBit));
}

// Reciprocal square roots of four lanes, flagging lanes below the smallest
// normal or not below infinity (zeros, negatives, denormals, infinities, NaNs).
inline __m128 inv_sqrt_lanes(__m128 x, int& flagged) {
    const __m128 out = _mm_or_ps(_mm_cmplt_ps(x, _mm_set1_ps(FLT_MIN)),
                                 _mm_cmpnlt_ps(x, _mm_set1_ps(HUGE_VALF)));
    flagged = _mm_movemask_ps(out);
    return root_lanes<true>(x, estimate(x));
}

inline float lane0(__m128 v) { return _mm_cvtss_f32(v); }

struct SingleSse : frame::KernelPolicy<float> {
    static constexpr bool clean_mxcsr = true;
    static constexpr int group = 8;
};

// x * 1.0 as the processor computes it: quiets a signalling NaN.
inline float times_one(float x) {
    volatile float one = 1.0f;
    return x * one;
}

struct SqrtS : SingleSse {
    static constexpr const char* name = "_xebsSqrt_HA";
    static bool group_path(const Arrays<float>& x, int i) {
        int f0, f1;
        const __m128 r0 = sqrt_lanes(_mm_loadu_ps(x.a + i), f0);
        const __m128 r1 = sqrt_lanes(_mm_loadu_ps(x.a + i + 4), f1);
        if (f0 | f1) return false;
        _mm_storeu_ps(x.y + i, r0);
        _mm_storeu_ps(x.y + i + 4, r1);
        return true;
    }
    static void one(const Arrays<float>& x, int i) {
        const float v = x.a[i];
        const uint32_t w = bits(v);
        int flagged;
        if (w - 0x00800000u < 0x7F000000u) {
            x.y[i] = lane0(sqrt_lanes(_mm_set1_ps(v), flagged));
        } else if (is_zero(v) || w == 0x7F800000u) {
            x.y[i] = v;
        } else if (is_nan(v)) {
            x.y[i] = times_one(v);
        } else if (w >> 31) {
            x.y[i] = float_from_bits(kSingleDefaultNaN);
            frame::raise<SqrtS>(XEB_STATUS_DOMAINFAULT, i, x);
        } else {  // denormal: 2^26 in, 2^-13 out
            x.y[i] = lane0(sqrt_lanes(_mm_set1_ps(v * 0x1p26f), flagged)) * 0x1p-13f;
        }
    }
};

// 1 / sqrt(x) by the x87's square root and division, at the caller's
// precision: the rescue for everything outside the normal positive range.
inline float x87_inv_sqrt(float x) {
    return static_cast<float>(1.0L / fpu::x87_sqrt(x));
}

struct InvSqrtS : SingleSse {
    static constexpr const char* name = "_xebsInvSqrt_HA";
    // All results first, then the pole events of the block, then its domain
    // events, each in ascending order.
    static void rescue(const Arrays<float>& x, int i, int count) {
        float v[8];
        for (int k = 0; k < count; ++k) v[k] = x.a[i + k];
        for (int k = 0; k < count; ++k) x.y[i + k] = x87_inv_sqrt(v[k]);
        for (int k = 0; k < count; ++k)
            if (v[k] == 0.0f) frame::raise<InvSqrtS>(XEB_STATUS_POLE, i + k, x);
        for (int k = 0; k < count; ++k)
            if (v[k] < 0.0f) frame::raise<InvSqrtS>(XEB_STATUS_DOMAINFAULT, i + k, x);
    }
    static bool group_path(const Arrays<float>& x, int i) {
        int f0, f1;
        const __m128 r0 = inv_sqrt_lanes(_mm_loadu_ps(x.a + i), f0);
        const __m128 r1 = inv_sqrt_lanes(_mm_loadu_ps(x.a + i + 4), f1);
        if (f0 | f1) {
            rescue(x, i, 8);
        } else {
            _mm_storeu_ps(x.y + i, r0);
            _mm_storeu_ps(x.y + i + 4, r1);
        }
        return true;
    }
    static void one(const Arrays<float>& x, int i) {
        int flagged;
        const float r = lane0(inv_sqrt_lanes(_mm_set1_ps(x.a[i]), flagged));
        if (flagged) rescue(x, i, 1);
        else x.y[i] = r;
    }
};

// ---- single cube roots (doubles, x87 at 53 bits) ----

// Cube root (InvCbrt: its reciprocal) of x, a normal float or a scaled
// denormal held exactly as a double, by the band quadratic of its
// significand; the float exponent is divided by 3 with an integer multiply
// and `rows` holds the powers 2^(k/3) in the order the remainder picks.
template <bool Inverse>
inline double cbrt_float_core(double x, const double rows[3]) {
    const uint64_t u = bits(x);
    // The float image of x: sign, exponent rebiased, significand truncated.
    const uint32_t w = static_cast<uint32_t>(u >> 32 & 0x80000000u) |
                       (static_cast<uint32_t>((u >> 52 & 0x7FF) - 896) << 23) |
                       static_cast<uint32_t>(u >> 29 & 0x007FFFFFu);
    const BandQuadratic& q = (Inverse ? invCbrtFloat : cbrtFloat)[(w >> 17) & 0x3F];
    const double m = significand(x);
    const uint32_t field = (w & 0x7F800000u) >> 16;
    const uint32_t t = ((Inverse ? field - 0x100u : field) * 0xAAABu) >> 1;
    const uint32_t scale_field = Inverse ? 0x54000000u - (t & 0x7F800000u) : t + 0x2A600000u;
    const double scale = float_from_bits((w & 0x80000000u) | (scale_field & 0x7F800000u));
    return ((q.a * m + q.b) * m + q.c) * scale * rows[(t & 0x180000u) >> 19];
}

inline bool normal_float(float x) { return (bits(x) & 0x7FFFFFFFu) - 0x00800000u < 0x7F000000u; }

template <class F>
struct SingleCubeRoot : frame::KernelPolicy<float> {
    static constexpr uint16_t x87 = frame::kX87Narrow;
    static constexpr bool clean_mxcsr = true;  // its arithmetic is in SSE doubles
    static constexpr int group = 2;

    static bool group_path(const Arrays<float>& x, int i) {
        const float v0 = x.a[i], v1 = x.a[i + 1];
        if (!(normal_float(v0) && normal_float(v1))) return false;
        const double r0 = F::core(v0, F::rows), r1 = F::core(v1, F::rows);
        x.y[i] = static_cast<float>(r0);
        x.y[i + 1] = static_cast<float>(r1);
        return true;
    }
    static void one(const Arrays<float>& x, int i) {
        const float v = x.a[i];
        if (normal_float(v)) x.y[i] = static_cast<float>(F::core(v, F::rows));
        else if ((bits(v) & 0x7FFFFFFFu) < 0x00800000u && !is_zero(v))
            x.y[i] = static_cast<float>(F::core(v * F::denormal_in, F::denormal_rows));
        else F::special(x, i);
    }
};

struct CbrtS : SingleCubeRoot<CbrtS> {
    static constexpr const double* rows = cbrtRows;
    static constexpr const double* denormal_rows = cbrtRowsDenormal;
    static constexpr double denormal_in = 1e39;
    static double core(double v, const double* r) { return cbrt_float_core<false>(v, r); }
    static void special(const Arrays<float>& x, int i) {  // zeros keep their sign, 1 + x otherwise
        const float v = x.a[i];
        x.y[i] = is_zero(v) ? v : static_cast<float>(1.0 + v);
    }
};

struct InvCbrtS : SingleCubeRoot<InvCbrtS> {
    static constexpr const char* name = "_xebsInvCbrt_HA";
    static constexpr const double* rows = invCbrtRows;
    static constexpr const double* denormal_rows = invCbrtRowsDenormal;
    static constexpr double denormal_in = 1e45;
    static double core(double v, const double* r) { return cbrt_float_core<true>(v, r); }
    static void special(const Arrays<float>& x, int i) {
        const float v = x.a[i];
        const bool negative = bits(v) >> 31;
        if (is_zero(v)) {
            x.y[i] = negative ? -HUGE_VALF : HUGE_VALF;
            frame::raise<InvCbrtS>(XEB_STATUS_POLE, i, x);
        } else if (is_nan(v)) {
            x.y[i] = times_one(v);
        } else {
            x.y[i] = negative ? -0.0f : 0.0f;
        }
    }
};

}  // namespace

void baseline::dSqrt_HA(int n, const double* a, double* r) { frame::run<SqrtD>(n, frame::unary(a, r)); }
void baseline::sSqrt_HA(int n, const float* a, float* r) { frame::run<SqrtS>(n, frame::unary(a, r)); }
void baseline::dInvSqrt_HA(int n, const double* a, double* r) { frame::run<InvSqrtD>(n, frame::unary(a, r)); }
void baseline::sInvSqrt_HA(int n, const float* a, float* r) { frame::run<InvSqrtS>(n, frame::unary(a, r)); }
void baseline::dCbrt_HA(int n, const double* a, double* r) { frame::run<CbrtD>(n, frame::unary(a, r)); }
void baseline::sCbrt_HA(int n, const float* a, float* r) { frame::run<CbrtS>(n, frame::unary(a, r)); }
void baseline::dInvCbrt_HA(int n, const double* a, double* r) { frame::run<InvCbrtD>(n, frame::unary(a, r)); }
void baseline::sInvCbrt_HA(int n, const float* a, float* r) { frame::run<InvCbrtS>(n, frame::unary(a, r)); }

}  // namespace xeb

// The exported names run the kernel class in use.
using xeb::vm::active;

extern "C" {

void xebdSqrt_HA(int n, const double* a, double* r) { active.dSqrt_HA(n, a, r); }
void xebdSqrt_50(int n, const double* a, double* r) { active.dSqrt_50(n, a, r); }
void xebsSqrt_HA(int n, const float* a, float* r) { active.sSqrt_HA(n, a, r); }
void xebsSqrt_21(int n, const float* a, float* r) { active.sSqrt_21(n, a, r); }
void xebsSqrt_11(int n, const float* a, float* r) { active.sSqrt_11(n, a, r); }

void xebdInvSqrt_HA(int n, const double* a, double* r) { active.dInvSqrt_HA(n, a, r); }
void xebdInvSqrt_50(int n, const double* a, double* r) { active.dInvSqrt_50(n, a, r); }
void xebsInvSqrt_HA(int n, const float* a, float* r) { active.sInvSqrt_HA(n, a, r); }
void xebsInvSqrt_21(int n, const float* a, float* r) { active.sInvSqrt_21(n, a, r); }
void xebsInvSqrt_11(int n, const float* a, float* r) { active.sInvSqrt_11(n, a, r); }

void xebdCbrt_HA(int n, const double* a, double* r) { active.dCbrt_HA(n, a, r); }
void xebdCbrt_50(int n, const double* a, double* r) { active.dCbrt_50(n, a, r); }
void xebsCbrt_HA(int n, const float* a, float* r) { active.sCbrt_HA(n, a, r); }
void xebsCbrt_21(int n, const float* a, float* r) { active.sCbrt_21(n, a, r); }
void xebsCbrt_11(int n, const float* a, float* r) { active.sCbrt_11(n, a, r); }

void xebdInvCbrt_HA(int n, const double* a, double* r) { active.dInvCbrt_HA(n, a, r); }
void xebdInvCbrt_50(int n, const double* a, double* r) { active.dInvCbrt_50(n, a, r); }
void xebsInvCbrt_HA(int n, const float* a, float* r) { active.sInvCbrt_HA(n, a, r); }
void xebsInvCbrt_21(int n, const float* a, float* r) { active.sInvCbrt_21(n, a, r); }
void xebsInvCbrt_11(int n, const float* a, float* r) { active.sInvCbrt_11(n, a, r); }

}  // extern "C"
