// Sine, cosine, tangent and sine-cosine over arrays.
//
// Every kernel reduces by a short multi-part subtraction of m*pi (or m*pi/2)
// and evaluates a polynomial, in groups of four; a group with any element
// at or beyond the kernel's bound (or an infinity or NaN, which lie beyond
// every bound) goes whole to the scalar forms of trig_scalar.cpp, which are
// accurate everywhere and raise the events.  The double kernels first reset
// the x87 with fninit, leaving its control word at the default (64 bits,
// nearest, all exceptions masked) for the rest of the call.
//
// Error budgets (the catalogue rows enforce the totals):
//  double Sin, Cos (x87, 64-bit significand): pi in four parts, the first
//   three short enough that m*part is exact for |x| < 128000 (|m| < 2^16);
//   the last part's truncation costs m * 2^-124 <= 2^-108 absolute, against
//   |t| >= 2^-53 for doubles of that range: 2^-55 relative.  Band fits
//   2^-56.6 relative (sin_bands; up to 0.16 ulp where the result lies just
//   below a power of two), evaluation about 2^-62, one rounding at the
//   store: below 0.7 ulp.
//  double SinCos: the same with pi/2 and the finer bands of sin_cos_bands
//   (fit 2^-59.4): below 0.7 ulp.
//  double Tan: a fixed rational N/D of degrees 7 and 6 on [-pi/4, pi/4],
//   whose own error is 2^-54 relative (0.47 ulp near |tan| = 1), four-way
//   division (six 64-bit roundings), the store: below 1 ulp.  Tan_50 rounds
//   N and D to double before the division (2^-52 more): below 3 ulp.
//  single HA (53-bit arithmetic): the degree-9 sine polynomial's own error
//   is 2^-25.7 relative (0.3 float ulp), the two-part reduction 2^-70
//   absolute, the store: below 0.85 ulp.  Tan and SinCos with their shorter
//   fits: below 1 ulp.
//  single _21: reduction in 64 bits, rounded to float; float polynomial
//   (about 4 float roundings): below 4 ulp.
#include <cmath>
#include <cstring>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "frame/kernel_frame.h"
#include "frame/simd.h"
#include "vecmath/kernel_table.h"
#include "vecmath/trig_tables.h"
#include "xebruk/vm_trig.h"

namespace xeb {
namespace {

using frame::Arrays;

// Reduction constants.
constexpr double kInvPi = 0x1.45f306dc9c883p-2;
constexpr double kInvPio2 = 0x1.45f306dc9c883p-1;
constexpr double kPio2 = 0x1.921fb54442d18p+0;
constexpr double kPi[4] = {0x1.921fb4p+1, 0x1.4442dp-23, 0x1.846988p-47, 0x1.8cc51701b839ap-71};
constexpr double kPio2Parts[4] = {0x1.921fb4p+0, 0x1.4442dp-24, 0x1.846988p-48, 0x1.8cc51701b839ap-72};
constexpr double kPiShort[2] = {0x1.921fb5444p+1, 0x1.68c234c4c6629p-38};    // SP1, SP2
constexpr double kPio2Short[2] = {0x1.921fb5444p+0, 0x1.68c234c4c6629p-39};  // SH1, SH2
// SP1 and SH1 split once more, into 33 bits and a last bit: q*SP1 needs 54
// bits once q has 19 (cosine above 411774, SinCos above 2^19 pi/2), and a
// double product would then lose 2^-34 absolute, 16 float ulps near a
// multiple of pi/2.  q*head and q*tail are exact for q below 2^20.
constexpr double kPiSplit[3] = {0x1.921fb544p+1, 0x1p-33, 0x1.68c234c4c6629p-38};
constexpr double kPio2Split[3] = {0x1.921fb544p+0, 0x1p-34, 0x1.68c234c4c6629p-39};
constexpr double kSinBandScale = 0x1.436720cee34f2p+5;                       // 127/pi
constexpr double kSinCosBandScale = 0x1.6eb167b830193p+7;                    // 576/pi

// The coefficient sets of the fast paths (kTanN, kTanD; kSinS, kTanSN,
// kTanSD, kSinCosA, kSinCosB and their float roundings kSinF, kTanNF,
// kTanDF, kSinCosAF, kSinCosBF) come with their measured errors from
// trig_tables.inc.

// Float constants of the _21 kernels.
constexpr float kInvPiF = 0x1.45f306p-2f, kInvPio2F = 0x1.45f306p-1f, kPio2F = 0x1.921fb6p+0f;
constexpr float kPio4F = 0x1.921fb6p-1f;

// Bounds: high word of |x| for double, bits of |x| for single.
constexpr uint32_t kBoundD = 0x40FF4000;  // 128000.0
constexpr uint32_t kBound500k = 0x48F42400, kBound1M = 0x49742400;
constexpr uint32_t kBound128k = 0x47FA0000, kBound10048 = 0x461D0000;

// Nearest integer of v (|v| < 2^62) in the x87's 64-bit format, and its
// low bits as an integer, read from the significand of v + 1.5*2^63.
inline long double nearest_x87(long double v, uint32_t& m) {
    const long double y = v + 0x1.8p63L;
    uint64_t low;
    std::memcpy(&low, &y, sizeof low);
    m = static_cast<uint32_t>(low);
    return y - 0x1.8p63L;
}

// The same in double arithmetic, |v| < 2^51.  The double kernels take m
// this way too: any m within one of the nearest keeps |t| inside the bands
// (the reduction itself stays in 64 bits), and the SSE unit gives it
// without a round trip through memory.
inline double nearest_double(double v, uint32_t& m) {
    const double y = v + 0x1.8p52;
    m = low_word(y);
    return y - 0x1.8p52;
}

inline float nearest_float(float v, int32_t& m) {
    m = simd::nearest_int(simd::Vec<float, 1>{v}).v;  // rounds to nearest: MXCSR is clean
    return static_cast<float>(m);
}

// Sign flips and selections on the bits: the parity of m is random, a
// branch on it would be mispredicted half the time.
inline double flip_if(double v, bool odd) { return double_from_bits(bits(v) ^ (uint64_t(odd) << 63)); }
inline float flip_if(float v, bool odd) { return float_from_bits(bits(v) ^ (uint32_t(odd) << 31)); }

// A polynomial in the form t + t*s*p turns -0 into +0: a zero argument
// keeps its own value (tested on the bits, after the store).
inline double keep_zero(double x, double v) { return is_zero(x) ? x : v; }

inline uint32_t abs_high(double x) { return high_word(x) & 0x7FFFFFFFu; }
inline uint32_t abs_bits(float x) { return bits(x) & 0x7FFFFFFFu; }

// Shared frame of the double kernels: 64-bit x87, clean MXCSR, groups of
// four, no prefetch, events only from the scalar forms.
struct DoubleTrig : frame::KernelPolicy<double> {
    static constexpr uint16_t x87 = frame::kX87Wide;
    static constexpr bool clean_mxcsr = true;
    static constexpr unsigned prefetch_arrays = 0;
    static constexpr bool reset = true;
    static bool beyond(double x) { return abs_high(x) >= kBoundD; }
};

template <uint32_t Bound, uint16_t X87>
struct SingleTrig : frame::KernelPolicy<float> {
    static constexpr uint16_t x87 = X87;
    static constexpr bool clean_mxcsr = true;
    static constexpr bool reset = false;
    static bool beyond(float x) { return abs_bits(x) > Bound; }
};

// The group structure shared by all twenty kernels.  K supplies the frame
// record above, `beyond(x)`, `scalar(x, i)` (the scalar form of element i)
// and `fast<N>(x, i)` for N = 4 (a group) or 1 (the tail).
template <class K>
struct Trig : K {
    static void fall_back(const Arrays<typename K::T>& x, int i, int count) {
        if (K::reset) fpu::x87_reinit();
        for (int k = 0; k < count; ++k) K::scalar(x, i + k);
    }
    static bool group_path(const Arrays<typename K::T>& x, int i) {
        const auto* a = x.a + i;
        bool beyond = false;
        for (int j = 0; j < 4; ++j) beyond |= K::beyond(a[j]);
        if (beyond)
            fall_back(x, i, 4);
        else
            K::template fast<4>(x, i);
        return true;
    }
    static void one(const Arrays<typename K::T>& x, int i) {
        if (K::beyond(x.a[i])) fall_back(x, i, 1);
        else K::template fast<1>(x, i);
    }
};

// r[k] = num[k] / den[k].  For a group of four, one division: with
// P = (d0 d1)(d2 d3) and R = 1/P, 1/(d0 d1) = R d2 d3 and so on (when P is
// 0, plain divisions).  W is the width of the inputs; the work is in T.
template <int N, class T, class W>
inline void divide_group(const W (&num)[N], const W (&den)[N], T (&r)[N]) {
    if constexpr (N == 4) {
        const T d0 = den[0], d1 = den[1], d2 = den[2], d3 = den[3];
        const T p01 = d0 * d1, p23 = d2 * d3;
        const T p = p01 * p23;
        if (p != 0) {
            const T rp = T(1) / p;
            const T u = rp * p23, w = rp * p01;  // 1/p01, 1/p23
            r[0] = num[0] * d1 * u;
            r[1] = num[1] * d0 * u;
            r[2] = num[2] * d3 * w;
            r[3] = num[3] * d2 * w;
            return;
        }
    }
    for (int k = 0; k < N; ++k) r[k] = static_cast<T>(num[k]) / static_cast<T>(den[k]);
}

// ---- double kernels ------------------------------------------------------
//
// Each group runs in two stages over its elements, so that the x87 works
// on several independent chains at once: first m (from a double product),
// the band row (from a double estimate of t, which may land a hair outside
// its band; the fits extend smoothly) and t in 64 bits; then the
// polynomials and the stores.

// t = x - m*P1 - m*P2 - m*P3 - m*P4.  The first three parts are short
// (22, 20 and 22 bits), so for |m| < 2^17 their products are exact doubles,
// and x - m*P1 is exact too when m is an integer: m = 0 leaves x, and
// otherwise |x| >= pi/4 (pi/2) has no bits below those of the result, which
// is below 1 (2).  The SSE unit forms them alongside, and the x87 does the
// remaining subtractions and the last product in 64 bits.
inline long double minus_multiple(double x, double m, const double (&part)[4]) {
    const double r1 = x - m * part[0];
    const double p2 = m * part[1], p3 = m * part[2];
    return (static_cast<long double>(r1) - p2) - p3 - static_cast<long double>(m) * part[3];
}

// The same for a half-integer multiple (cosine): x - q*P1 need not be exact
// in double (x = 0.6, q = 1/2), so it is formed in the x87.
inline long double minus_half_multiple(double x, double q, const double (&part)[4]) {
    const long double xl = x, ql = q;
    return xl - ql * part[0] - q * part[1] - q * part[2] - ql * part[3];
}

inline const double* band_row(const double (*table)[5], double t_estimate) {
    return table[static_cast<uint32_t>(std::fabs(t_estimate) * kSinBandScale + 0.5)];
}

// sin t from its band's polynomial, rounded once to double.
inline double banded_sin(long double t, const double* b) {
    const long double s = t * t, s2 = s * s;
    const long double p = (b[0] + b[1] * s) + s2 * ((b[2] + b[3] * s) + s2 * b[4]);  // Estrin
    return static_cast<double>(t + t * s * p);
}

inline double flip_if_odd(double v, uint32_t m) {
    return double_from_bits(bits(v) ^ (uint64_t(m & 1) << 63));
}

constexpr double kPiD = 0x1.921fb54442d18p+1, kPio2D = 0x1.921fb54442d18p+0;

// sin x = (-1)^m sin t, m = round(x/pi), t = x - m pi in [-pi/2, pi/2];
// cos x = sin(x + pi/2) = (-1)^m sin t, m = round((x + pi/2)/pi),
// t = x - (m - 1/2) pi.
template <bool Cosine>
struct SinCosineD : DoubleTrig {
    static constexpr const char* name = Cosine ? "dCos_HA" : "dSin_HA";
    static void scalar(const Arrays<double>& x, int i) {
        if (Cosine) xebdCos_SC_HA(i, x.a, x.y, nullptr);
        else xebdSin_SC_HA(i, x.a, x.y, nullptr);
    }
    template <int N>
    static void fast(const Arrays<double>& x, int i) {
        long double t[N];
        uint32_t m[N];
        const double* row[N];
        for (int k = 0; k < N; ++k) {
            const double a = x.a[i + k];
            double q = nearest_double((Cosine ? a + kPio2D : a) * kInvPi, m[k]);
            if (Cosine) q -= 0.5;  // exact
            row[k] = band_row(sin_bands, a - q * kPiD);  // row <= 65: |t| < pi/2 + 0.04
            t[k] = Cosine ? minus_half_multiple(a, q, kPi) : minus_multiple(a, q, kPi);
        }
        for (int k = 0; k < N; ++k) {
            const double r = flip_if_odd(banded_sin(t[k], row[k]), m[k]);
            x.y[i + k] = Cosine ? r : keep_zero(x.a[i + k], r);
        }
    }
};
using SinD = SinCosineD<false>;
using CosD = SinCosineD<true>;

// Places sin t and cos t by the quadrant m: sin(x) = +-sin t or +-cos t.
template <class F>
inline void place_quadrant(F sin_t, F cos_t, uint32_t m, F& y, F& z) {
    const uint32_t p = m & 1;
    const F pair[2] = {sin_t, cos_t};
    y = flip_if(pair[p], ((m - p) & 2) != 0);
    z = flip_if(pair[p ^ 1], ((m + p) & 2) != 0);
}

// m = round(x / (pi/2)), t = x - m pi/2 in [-pi/4, pi/4], finer bands.
struct SinCosD : DoubleTrig {
    static void scalar(const Arrays<double>& x, int i) { xebdSinCos_SC_HA(i, x.a, x.y, x.z, nullptr); }
    template <int N>
    static void fast(const Arrays<double>& x, int i) {
        long double t[N];
        uint32_t m[N];
        const double* b[N];
        for (int k = 0; k < N; ++k) {
            const double a = x.a[i + k];
            const double md = nearest_double(a * kInvPio2, m[k]);
            const double estimate = std::fabs(a - md * kPio2D);
            b[k] = sin_cos_bands[static_cast<uint32_t>(estimate * kSinCosBandScale + 0.5)];  // <= 144
            t[k] = minus_multiple(a, md, kPio2Parts);
        }
        for (int k = 0; k < N; ++k) {
            const long double s = t[k] * t[k], s2 = s * s;
            const double* c = b[k];
            const long double sin_t = t[k] + t[k] * s * ((c[0] + s * c[1]) + s2 * (c[2] + s * c[3]));
            const long double cos_t = 1 + s * (-0.5L + s * ((c[4] + s * c[5]) + s2 * (c[6] + s * c[7])));
            place_quadrant(keep_zero(x.a[i + k], static_cast<double>(sin_t)), static_cast<double>(cos_t),
                           m[k], x.y[i + k], x.z[i + k]);
        }
    }
};

// tan x = N/D for even m, -D/N for odd m, with m = round(x / (pi/2)) and a
// rational N/D on [-pi/4, pi/4].  W: the width in which N and D are held
// before the division (64 bits in Tan_HA, 53 in Tan_50).  The swap by
// parity is a branch: selections of x87 values without one cost more
// (measured) than the mispredictions.
template <class W>
struct TanD : DoubleTrig {
    static constexpr const char* name = "dTan_HA";
    static void scalar(const Arrays<double>& x, int i) { xebdTan_SC_HA(i, x.a, x.y, nullptr); }
    template <int N>
    static void fast(const Arrays<double>& x, int i) {
        long double t[N];
        uint32_t m[N];
        for (int k = 0; k < N; ++k) {
            const double a = x.a[i + k];
            t[k] = minus_multiple(a, nearest_double(a * kInvPio2, m[k]), kPio2Parts);
        }
        W num[N], den[N];
        for (int k = 0; k < N; ++k) {
            const long double s = t[k] * t[k], s2 = s * s;  // Estrin: short chains
            const long double n = t[k] * s * ((kTanN[0] + kTanN[1] * s) + kTanN[2] * s2) + t[k];
            const long double d = (1.0L + kTanD[0] * s) + s2 * (kTanD[1] + kTanD[2] * s);
            num[k] = static_cast<W>((m[k] & 1) ? d : n);
            den[k] = static_cast<W>((m[k] & 1) ? n : d);
        }
        long double r[N];
        divide_group<N>(num, den, r);
        // A zero argument keeps its sign (N lost it in t + t*s*p).
        for (int k = 0; k < N; ++k)
            x.y[i + k] = keep_zero(x.a[i + k], flip_if_odd(static_cast<double>(r[k]), m[k]));
    }
};

// ---- single HA: 53-bit arithmetic --------------------------------------

// x - q*P for a float x and |q| < 2^20 (a multiple of 1/2): x - q*head is
// exact (below 2 in magnitude, no bits below 2^-32 or those of x).
inline double reduce_split(double x, double q, const double (&part)[3]) {
    return ((x - q * part[0]) - q * part[1]) - q * part[2];
}

template <bool Cosine>
struct SinCosineS : SingleTrig<kBound500k, frame::kX87Narrow> {
    static constexpr const char* name = Cosine ? "sCos_HA" : "sSin_HA";
    static void scalar(const Arrays<float>& x, int i) {
        if (Cosine) xebsCos_SC_HA(i, x.a, x.y, nullptr);
        else xebsSin_SC_HA(i, x.a, x.y, nullptr);
    }
    template <int N>
    static void fast(const Arrays<float>& x, int i) {
        for (int k = 0; k < N; ++k) {
            const double v = x.a[i + k];
            uint32_t m;
            double q = nearest_double((Cosine ? v + kPio2 : v) * kInvPi, m);
            if (Cosine) q -= 0.5;
            const double t = reduce_split(v, q, kPiSplit);
            const double s = t * t;
            const double r = t * ((((kSinS[4] * s + kSinS[3]) * s + kSinS[2]) * s + kSinS[1]) * s + kSinS[0]);
            x.y[i + k] = flip_if(static_cast<float>(r), m & 1);
        }
    }
};

// sin t and cos t on [-pi/4, pi/4] in the precision F of the coefficients.
template <class F, class C>
inline void short_sin_cos(F t, const C (&a)[3], const C (&b)[3], F& sin_t, F& cos_t) {
    const F s = t * t;
    sin_t = t + t * s * (F(a[0]) + s * (F(a[1]) + s * F(a[2])));
    cos_t = F(1) - F(0.5) * s + s * s * (F(b[0]) + s * (F(b[1]) + s * F(b[2])));
}

// -0 must keep its sign in y: it goes to the scalar form.
template <uint16_t X87>
struct SinCosFrameS : SingleTrig<kBound1M, X87> {
    static bool beyond(float x) { return abs_bits(x) > kBound1M || bits(x) == 0x80000000u; }
};

struct SinCosS : SinCosFrameS<frame::kX87Narrow> {
    static void scalar(const Arrays<float>& x, int i) { xebsSinCos_SC_HA(i, x.a, x.y, x.z, nullptr); }
    template <int N>
    static void fast(const Arrays<float>& x, int i) {
        for (int k = 0; k < N; ++k) {
            const double v = x.a[i + k];
            uint32_t m;
            const double md = nearest_double(v * kInvPio2, m);
            double sin_t, cos_t;
            short_sin_cos(reduce_split(v, md, kPio2Split), kSinCosA, kSinCosB, sin_t, cos_t);
            place_quadrant(static_cast<float>(sin_t), static_cast<float>(cos_t), m, x.y[i + k], x.z[i + k]);
        }
    }
};

struct TanS : SingleTrig<kBound128k, frame::kX87Narrow> {
    static void scalar(const Arrays<float>& x, int i) { xebsTan_SC_HA(i, x.a, x.y, nullptr); }
    template <int N>
    static void fast(const Arrays<float>& x, int i) {
        double num[N], den[N];
        bool odd[N];
        for (int k = 0; k < N; ++k) {
            const double v = x.a[i + k];
            uint32_t m;
            const double md = nearest_double(v * kInvPio2, m);
            const double t = v - md * kPio2Short[0] - md * kPio2Short[1];
            const double s = t * t;
            const double n = t * (1.0 + s * kTanSN);
            const double d = 1.0 + s * (kTanSD[0] + s * kTanSD[1]);
            odd[k] = m & 1;
            const double pair[2] = {n, d};
            num[k] = pair[odd[k]];
            den[k] = pair[!odd[k]];
        }
        double r[N];
        divide_group<N>(num, den, r);
        for (int k = 0; k < N; ++k) x.y[i + k] = flip_if(static_cast<float>(r[k]), odd[k]);
    }
};

// ---- single _21: reduction in the x87, polynomial in floats ------------

// x - q*SP1 - q*SP2 (or the pi/2 parts) in 64 bits, rounded to float.
inline float reduce_short(float x, float q, const double (&part)[2]) {
    const long double v = x, ql = q;
    return static_cast<float>(v - ql * part[0] - ql * part[1]);
}

template <bool Cosine>
struct SinCosine21 : SingleTrig<Cosine ? kBound10048 : kBound1M, frame::kX87Wide> {
    static constexpr const char* name = Cosine ? "sCos_LA" : "sSin_LA";
    static void scalar(const Arrays<float>& x, int i) {
        if (Cosine) xebsCos_SC_LA(i, x.a, x.y, nullptr);
        else xebsSin_SC_LA(i, x.a, x.y, nullptr);
    }
    template <int N>
    static void fast(const Arrays<float>& x, int i) {
        for (int k = 0; k < N; ++k) {
            const float v = x.a[i + k];
            int32_t m;
            float q = nearest_float((Cosine ? v + kPio2F : v) * kInvPiF, m);
            if (Cosine) q -= 0.5f;
            const float t = reduce_short(v, q, kPiShort);
            const float s = t * t;
            const float r = t * ((((kSinF[3] * s + kSinF[2]) * s + kSinF[1]) * s + kSinF[0]) * s + 1.0f);
            x.y[i + k] = flip_if(r, m & 1);
        }
    }
};

struct SinCos21 : SinCosFrameS<frame::kX87Wide> {
    static void scalar(const Arrays<float>& x, int i) { xebsSinCos_SC_LA(i, x.a, x.y, x.z, nullptr); }
    template <int N>
    static void fast(const Arrays<float>& x, int i) {
        for (int k = 0; k < N; ++k) {
            const float v = x.a[i + k];
            uint32_t m;
            const long double md = nearest_x87(static_cast<long double>(v) * kInvPio2, m);
            float sin_t, cos_t;
            short_sin_cos(reduce_short(v, static_cast<float>(md), kPio2Short), kSinCosAF, kSinCosBF,
                          sin_t, cos_t);
            place_quadrant(sin_t, cos_t, m, x.y[i + k], x.z[i + k]);
        }
    }
};

// Zeros go to the scalar form too: the polynomial would lose their sign.
struct Tan21 : SingleTrig<kBound500k, frame::kX87Wide> {
    static bool beyond(float x) { return abs_bits(x) > kBound500k || abs_bits(x) == 0; }
    static void scalar(const Arrays<float>& x, int i) { xebsTan_SC_LA(i, x.a, x.y, nullptr); }
    template <int N>
    static void fast(const Arrays<float>& x, int i) {
        for (int k = 0; k < N; ++k) {
            const float v = x.a[i + k];
            int32_t m = 0;
            float t = v;  // |x| <= pi/4 needs no reduction
            if (std::fabs(v) > kPio4F) t = reduce_short(v, nearest_float(v * kInvPio2F, m), kPio2Short);
            const float s = t * t;
            const float n = t + t * s * kTanNF;
            const float d = 1.0f + s * (kTanDF[0] + s * kTanDF[1]);
            const float pair[2] = {n, d};
            x.y[i + k] = flip_if(pair[m & 1] / pair[(m & 1) ^ 1], m & 1);
        }
    }
};

}  // namespace
}  // namespace xeb

using xeb::frame::run;
using xeb::frame::two_outputs;
using xeb::frame::unary;
template <class K>
using TrigKernel = xeb::Trig<K>;

namespace xeb::baseline {
void dSin_HA(int n, const double* a, double* r) { run<TrigKernel<SinD>>(n, unary(a, r)); }
void dCos_HA(int n, const double* a, double* r) { run<TrigKernel<CosD>>(n, unary(a, r)); }
void dSinCos_HA(int n, const double* a, double* y, double* z) {
    run<TrigKernel<SinCosD>>(n, two_outputs(a, y, z));
}
void dTan_HA(int n, const double* a, double* r) { run<TrigKernel<TanD<long double>>>(n, unary(a, r)); }
void dTan_50(int n, const double* a, double* r) { run<TrigKernel<TanD<double>>>(n, unary(a, r)); }
void sSin_HA(int n, const float* a, float* r) { run<TrigKernel<SinCosineS<false>>>(n, unary(a, r)); }
void sSin_21(int n, const float* a, float* r) { run<TrigKernel<SinCosine21<false>>>(n, unary(a, r)); }
void sCos_HA(int n, const float* a, float* r) { run<TrigKernel<SinCosineS<true>>>(n, unary(a, r)); }
void sCos_21(int n, const float* a, float* r) { run<TrigKernel<SinCosine21<true>>>(n, unary(a, r)); }
void sSinCos_HA(int n, const float* a, float* y, float* z) { run<TrigKernel<SinCosS>>(n, two_outputs(a, y, z)); }
void sSinCos_21(int n, const float* a, float* y, float* z) { run<TrigKernel<SinCos21>>(n, two_outputs(a, y, z)); }
void sTan_HA(int n, const float* a, float* r) { run<TrigKernel<TanS>>(n, unary(a, r)); }
void sTan_21(int n, const float* a, float* r) { run<TrigKernel<Tan21>>(n, unary(a, r)); }
}  // namespace xeb::baseline

using xeb::vm::active;

// Every exported name calls the kernel class in use.
extern "C" {

void xebdSin_HA(int n, const double* a, double* r) { active.dSin_HA(n, a, r); }
void xebdSin_50(int n, const double* a, double* r) { active.dSin_50(n, a, r); }
void xebdCos_HA(int n, const double* a, double* r) { active.dCos_HA(n, a, r); }
void xebdCos_50(int n, const double* a, double* r) { active.dCos_50(n, a, r); }
void xebdSinCos_HA(int n, const double* a, double* y, double* z) { active.dSinCos_HA(n, a, y, z); }
void xebdSinCos_50(int n, const double* a, double* y, double* z) { active.dSinCos_50(n, a, y, z); }
void xebdTan_HA(int n, const double* a, double* r) { active.dTan_HA(n, a, r); }
void xebdTan_50(int n, const double* a, double* r) { active.dTan_50(n, a, r); }

void xebsSin_HA(int n, const float* a, float* r) { active.sSin_HA(n, a, r); }
void xebsSin_21(int n, const float* a, float* r) { active.sSin_21(n, a, r); }
void xebsSin_11(int n, const float* a, float* r) { active.sSin_11(n, a, r); }
void xebsCos_HA(int n, const float* a, float* r) { active.sCos_HA(n, a, r); }
void xebsCos_21(int n, const float* a, float* r) { active.sCos_21(n, a, r); }
void xebsCos_11(int n, const float* a, float* r) { active.sCos_11(n, a, r); }
void xebsSinCos_HA(int n, const float* a, float* y, float* z) { active.sSinCos_HA(n, a, y, z); }
void xebsSinCos_21(int n, const float* a, float* y, float* z) { active.sSinCos_21(n, a, y, z); }
void xebsSinCos_11(int n, const float* a, float* y, float* z) { active.sSinCos_11(n, a, y, z); }
void xebsTan_HA(int n, const float* a, float* r) { active.sTan_HA(n, a, r); }
void xebsTan_21(int n, const float* a, float* r) { active.sTan_21(n, a, r); }
void xebsTan_11(int n, const float* a, float* r) { active.sTan_11(n, a, r); }

}  // extern "C"
