// Hyperbolic sine, cosine and tangent over arrays.
//
// Double Sinh and Cosh, on the x87 with its 64-bit significand, one element
// at a time.  With y = x log2(e) and n = round(y 2^14) 2^-14 (y + S stored as
// a double, S = 1.5 2^38), r = y - n, |r| <= 2^-15:
//   e^(+-x) = 2^(+-n) (cosh(r ln 2) +- sinh(r ln 2)),
//   E+- = 2^(+-n) / 2 = 2^(floor(+-n) - 1) T1[.] T2[.] T3[.],
//   sinh x = (E+ - E-) c + (E+ + E-) s,   cosh x = (E+ + E-) c + (E+ - E-) s,
//   c = 1 + b r^2 ~ cosh(r ln 2),  s = r (ln 2 + a r^2) ~ sinh(r ln 2).
// The one half in the scale keeps E+ finite up to the overflow bound.
// Error budget, relative to the result before the store:
//   c and s: truncation (r ln 2)^4/24 and (r ln 2)^5/120, below 2^-66;
//   y: log2(e) in 64 bits (2^-65 relative) and the product rounded to 64
//   bits (< 2^-55 absolute for |y| < 1024): together < 2^-54 absolute at
//   |x| = 710, which e^x inherits times ln 2: up to 0.35 ulp there;
//   E+- : three 80-bit table entries and three products each, < 6 2^-64;
//   the store: 0.5 ulp.  Bound 0.9 ulp; measured 0.83 (Cosh) and 0.77
//   (Sinh) near |x| = 700, 0.51 below |x| = 1.
// Sinh for small |x| would divide the errors of E+ - E- by tanh x (they
// cancel: 1.14 ulp measured at 0.00097), so below 1/16 it is a series:
// x + x^3 (1/6 + x^2/120) up to 0.00095 (truncation x^7/5040, < 2^-62
// relative), then the series to x^11 (truncation x^13/13!, < 2^-66), both
// in 80 bits: 0.50 ulp measured.  Cosh has no cancellation.
//
// Double Tanh, on the x87, groups of four:
//   E = e^(2x) = 2^(m/64) 2^r,  m = round(2x log2(e) 64),  |r| <= 1/128,
//   2^r ~ 1 + p(r), p of degree 6 (fit error < 2^-64),
//   tanh x = (E - 1) / (E + 1),  E - 1 = (T scale - 1) + p T scale,
// where T scale - 1 is exact, so E - 1 keeps its relative accuracy as x goes
// to 0 (1 - 2 / (E + 1) would lose nine bits near 0.002: 0.86 ulp
// measured).  What remains is the 2^-64 of T against E - 1 ~ 2x, the fit
// and the roundings of the quotient: < 0.15 ulp; the store 0.5.  Below
// 0.002 the series x + x^3 (-1/3 + 2/15 x^2) (truncation 17/315 x^7,
// < 2^-58 relative), from 20 on +-1.  Bound 0.75 ulp; measured 0.62 near
// 0.004, 0.51 from 0.1 on.
//
// Single Tanh, in double arithmetic (the x87's 53 bits), one element at a
// time: tanh(c + r) = (T C + S) / (C + T S), c = |x| rounded to 1/16,
// T = tanh(c) from the table, C ~ cosh r and S ~ sinh r (|r| <= 1/32, fitted
// as a ratio: S / C is tanh r to 1.6e-8 relative, 0.27 ulp at most, where
// T is 0).  Bound 0.8 ulp; measured 0.76 near |x| = 0.002, 0.52 from 0.1.
//
// Single Sinh and Cosh, in double arithmetic, groups of four: the scheme of
// the double forms with m = round(y 64) and 2^(m/64) from tanhPow2 (its
// double part, 2^-53), c and s fitted on |r| <= 1/128 (2^-35.7, 2^-38.4);
// all below 2^-33 relative before the rounding to float.  Sinh below 0.0003
// is x + x^3/6.  Bound 0.51 ulp; measured 0.5003.
#include <cmath>
#include <cstring>
#include <limits>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "frame/kernel_frame.h"
#include "vecmath/kernel_table.h"
#include "vecmath/hyperbolic_tables.h"
#include "xebruk/vm_hyperbolic.h"

namespace xeb {
namespace {

using explog::extended;
using frame::Arrays;

inline long double x87_log2e() { return fpu::x87_constant<fpu::X87Constant::Log2E>(); }
inline long double x87_ln2() { return fpu::x87_constant<fpu::X87Constant::Ln2>(); }

// ---------------------------------------------------------------- double Sinh, Cosh

constexpr long double kSinhShifter = 0x1.8p+38L;           // float bits 0x52C00000
constexpr long double kEvenB = 0xF.5FDEFFCB3C1D0C1p-6L;    // (ln 2)^2 / 2: 0x3FFC F5FDEFFCB3C1D0C1
constexpr long double kOddA = 0xE.35846B8A818FBD5p-8L;     // (ln 2)^3 / 6: 0x3FFA E35846B8A818FBD5
constexpr long double kSixth = 0xA.AAAAAAAAAAAAAABp-6L;    // 1/6
constexpr long double kOne120th = 0x8.888888888888889p-10L;  // 1/120

constexpr uint32_t kSinhSeriesHigh = 0x3F4F0000;        // |x| up to 0.00095 (high word): the series
// From there up to 1/16 Sinh takes the series to x^11: the exponential
// scheme cancels in E+ - E- (up to 1.14 ulp measured at 0.00097).
constexpr uint32_t kSinhBandHigh = 0x3FB00000;
constexpr long double kSinhT7 = 1.0L / 5040;
constexpr long double kSinhT9 = 1.0L / 362880;
constexpr long double kSinhT11 = 1.0L / 39916800;
constexpr uint64_t kSinhOverflow = 0x408633CE8FB9F87Eull;  // 710.4758600739439: |x| from here overflows

// 2^(f 2^-14) / 2 for f in units of 2^-14 (two's complement): the power of
// two from the integer part with the one half folded into its exponent,
// times 2^(bits 4-8 / 2^10) 2^(bits 9-13 / 2^5) 2^(bits 0-3 / 2^14).  The
// power of two, up to 2^1024, is applied as two exact double factors.
inline long double half_power(uint32_t f) {
    const long double tables = extended(explog::expMid[(f >> 4) & 31]) *
                               extended(explog::expCoarse[(f >> 9) & 31]) *
                               extended(hyperbolic::sinhFine[f & 15]);
    const int32_t k = (static_cast<int32_t>(f) >> 14) - 1;  // floor(f 2^-14) - 1
    const int32_t k1 = k >> 1;
    return tables * double_from_bits(static_cast<uint64_t>(k1 + 1023) << 52) *
           double_from_bits(static_cast<uint64_t>(k - k1 + 1023) << 52);
}

// sinh (Odd) or cosh of x, |x| below the overflow bound.
template <bool Odd>
inline long double sinh_cosh(double x) {
    const long double y = x * x87_log2e();
    const double t = static_cast<double>(y + kSinhShifter);  // y to a multiple of 2^-14
    const uint32_t f = low_word(t);
    const long double r = y - (static_cast<long double>(t) - kSinhShifter);
    const long double r2 = r * r;
    const long double c = 1.0L + kEvenB * r2;
    const long double s = r * (x87_ln2() + kOddA * r2);
    const long double plus = half_power(f), minus = half_power(0u - f);
    return Odd ? (plus - minus) * c + (plus + minus) * s : (plus + minus) * c + (plus - minus) * s;
}

template <bool Odd>
struct SinhCoshD : frame::KernelPolicy<double> {
    static constexpr uint16_t x87 = frame::kX87Wide;
    static constexpr int group = 1;
    static constexpr frame::Trampoline trampoline = frame::Trampoline::X87Merge;
    static constexpr const char* name = Odd ? "_xebdSinh_HA" : "_xebdCosh_HA";

    // Overflow, infinities and NaNs.
    __attribute__((noinline)) static void beyond(const Arrays<double>& x, int i) {
        const double a = x.a[i];
        const double inf = std::numeric_limits<double>::infinity();
        if (std::isnan(a)) {
            x.y[i] = static_cast<double>(a * x87_log2e());  // the NaN, quiet
        } else if (std::isinf(a)) {
            x.y[i] = Odd ? a : inf;
        } else {
            fpu::x87_square_store(std::numeric_limits<double>::max());  // the x87's overflow flag
            x.y[i] = Odd ? std::copysign(inf, a) : inf;
            frame::raise<SinhCoshD>(XEB_STATUS_TOOLARGE, i, x);
        }
    }

    static bool group_path(const Arrays<double>& x, int i) {
        const double a = x.a[i];
        const uint64_t magnitude = bits(a) & 0x7FFFFFFFFFFFFFFFull;
        if (magnitude >= kSinhOverflow) return false;
        const uint32_t h = static_cast<uint32_t>(magnitude >> 32);
        if (Odd && h <= kSinhSeriesHigh) {
            const long double v = a, v2 = v * v;
            x.y[i] = static_cast<double>(v + v * v2 * (kSixth + v2 * kOne120th));
        } else if (Odd && h < kSinhBandHigh) {
            const long double v = a, v2 = v * v;
            const long double odd = kSixth + v2 * (kOne120th + v2 * (kSinhT7 + v2 * (kSinhT9 + v2 * kSinhT11)));
            x.y[i] = static_cast<double>(v + v * v2 * odd);
        } else {
            x.y[i] = static_cast<double>(sinh_cosh<Odd>(a));
        }
        return true;
    }

    static void one(const Arrays<double>& x, int i) {
        if (!group_path(x, i)) beyond(x, i);
    }
};

// ---------------------------------------------------------------- double Tanh

constexpr long double kTwoLog2E = 0xB.8AA3B295C17F0BCp-2L;  // 2 log2(e): 0x4000 B8AA3B295C17F0BC
constexpr long double kTanhShifter = 0x1.8p+17L;           // 196608.0
// 2^r - 1 ~ r (P1 + r (P2 + r (P3 + r (P4 + r (P5 + r P6))))), |r| <= 1/128.
constexpr long double kTanhP1 = 0xB.17217F7D1CF7B6Cp-4L;   // 0.6931471805599453
constexpr long double kTanhP2 = 0xF.5FDEFFC162C776Ep-6L;   // 0.24022650695910072
constexpr long double kTanhP3 = 0xE.35846B8170765EFp-8L;   // 0.05550410866402609
constexpr long double kTanhP4 = 0x9.D955B7DC971C673p-10L;  // 0.009618129107500472
constexpr long double kTanhP5 = 0xA.EC43736AA71699Ep-13L;  // 0.0013333623313273133
constexpr long double kTanhP6 = 0xA.184BB5F6F665068p-16L;  // 0.0001540360298938114
constexpr long double kMinusThird = -0xA.AAAAAAAAAAAAAABp-5L;  // -1/3
constexpr long double kTwo15ths = 0x8.888888888888889p-6L;     // 2/15

constexpr uint32_t kTanhSeriesHigh = 0x3F60624D;  // |x| up to 0.002 (high word): the series
constexpr uint32_t kTanhOneHigh = 0x40340000;     // |x| from 20: +-1
constexpr uint32_t kInfHigh = 0x7FF00000;

inline long double tanh_formula(double x) {
    const long double y = x * kTwoLog2E;
    const uint32_t m = x87_float_image(y + kTanhShifter);  // y to a multiple of 1/64
    const long double r = y - (static_cast<long double>(float_from_bits(m)) - kTanhShifter);
    const long double p =
        r * (kTanhP1 + r * (kTanhP2 + r * (kTanhP3 + r * (kTanhP4 + r * (kTanhP5 + r * kTanhP6)))));
    const float scale = float_from_bits(((m + 0x1FC0u) & 0x3FC0u) << 17);  // 2^floor(m/64)
    // E = (1 + p) T scale and E - 1 = (T scale - 1) + p T scale, where
    // T scale - 1 is exact for T scale <= 2, so E - 1 keeps its relative
    // accuracy as x goes to 0 (1 - 2 / (E + 1) loses nine bits there).
    const long double power = extended(hyperbolic::tanhPow2[m & 63]) * scale;
    const long double e_less_one = (power - 1.0L) + p * power;
    return e_less_one / (e_less_one + 2.0L);
}

inline bool tanh_formula_domain(double x) {
    const uint32_t h = high_word(x) & 0x7FFFFFFFu;
    return h > kTanhSeriesHigh && h < kTanhOneHigh;
}

struct TanhD : frame::KernelPolicy<double> {
    static constexpr uint16_t x87 = frame::kX87Wide;
    [[maybe_unused]] static constexpr const char* name = "_xebdTanh_HA";

    static bool group_path(const Arrays<double>& x, int i) {
        const double a0 = x.a[i], a1 = x.a[i + 1], a2 = x.a[i + 2], a3 = x.a[i + 3];
        if (!(tanh_formula_domain(a0) && tanh_formula_domain(a1) && tanh_formula_domain(a2) &&
              tanh_formula_domain(a3)))
            return false;
        const long double t0 = tanh_formula(a0), t1 = tanh_formula(a1);
        const long double t2 = tanh_formula(a2), t3 = tanh_formula(a3);
        x.y[i] = static_cast<double>(t0);
        x.y[i + 1] = static_cast<double>(t1);
        x.y[i + 2] = static_cast<double>(t2);
        x.y[i + 3] = static_cast<double>(t3);
        return true;
    }

    __attribute__((noinline)) static void one(const Arrays<double>& x, int i) {
        const double a = x.a[i];
        const uint32_t h = high_word(a) & 0x7FFFFFFFu;
        if (h <= kTanhSeriesHigh) {
            if ((h >> 20) == 0) {  // zeros and denormals as they stand
                x.y[i] = a;
                return;
            }
            const long double v = a, v2 = v * v;
            x.y[i] = static_cast<double>(v + v * v2 * (kMinusThird + kTwo15ths * v2));
        } else if (h >= kTanhOneHigh) {
            // The high word alone decides: a NaN whose high word is that of
            // an infinity gives +-1 too.
            x.y[i] = h > kInfHigh ? static_cast<double>(static_cast<long double>(a) * a) : std::copysign(1.0, a);
        } else {
            x.y[i] = static_cast<double>(tanh_formula(a));
        }
    }
};

// ---------------------------------------------------------------- single Tanh

// C ~ cosh r and S ~ sinh r on |r| <= 1/32, fitted so that S / C is tanh r.
constexpr double kTanhC0 = 0x1.ffffffd5592c5p-1;  // 0.9999999950346924
constexpr double kTanhC2 = 0x1.0005553db99b2p-1;  // 0.5000406873557977
constexpr double kTanhS1 = 0x1.0000002eee44cp+0;  // 1.0000000109269136
constexpr double kTanhS3 = 0x1.555111173a039p-3;  // 0.16665852882511148
// tanh x ~ x + x^3 (T3 + x^2 (T5 + x^2 T7)) below 0.001.
constexpr double kTanhT3 = -0x1.5555555555555p-2;  // -0.3333333333333333
constexpr double kTanhT5 = 0x1.1111111111111p-3;   // 0.13333333333333333
constexpr double kTanhT7 = -0x1.ba1ba1ba1ba1cp-5;  // -0.05396825396825397

constexpr uint32_t kTanhSingleSeries = 0x3A83126F;  // 0.001: below, the series
constexpr uint32_t kTanhSingleOne = 0x41200000;     // 10.0: from here +-1
constexpr uint32_t kFloatInf = 0x7F800000;
constexpr double kTanhSingleShifter = 524288.0;     // 2^19: a float's unit there is 1/16

inline float tanh_single(float x) {
    const uint32_t w = bits(x), h = w & 0x7FFFFFFFu;
    if (h < kTanhSingleSeries) {
        if (h <= 0x00800000u) return x;
        const double v = x, v2 = v * v;
        return static_cast<float>(v + v * v2 * (kTanhT3 + v2 * (kTanhT5 + v2 * kTanhT7)));
    }
    if (h >= kTanhSingleOne) return h > kFloatInf ? x + x : std::copysign(1.0f, x);
    const double ax = float_from_bits(h);
    const float t = static_cast<float>(ax + kTanhSingleShifter);  // |x| to a multiple of 1/16
    const double tc = hyperbolic::tanhSingle[bits(t) & 0xFF];
    const double r = ax - (t - kTanhSingleShifter), z = r * r;
    const double c = kTanhC0 + kTanhC2 * z, s = r * (kTanhS1 + kTanhS3 * z);
    return float_from_bits(bits(static_cast<float>((tc * c + s) / (c + tc * s))) | (w & 0x80000000u));
}

// Computes in SSE doubles, so it cleans MXCSR besides setting the x87.
struct TanhS : frame::KernelPolicy<float> {
    static constexpr uint16_t x87 = frame::kX87Narrow;
    static constexpr bool clean_mxcsr = true;
    static constexpr int group = 1;
    [[maybe_unused]] static constexpr const char* name = "_xebsTanh_HA";
    static bool group_path(const Arrays<float>& x, int i) {
        x.y[i] = tanh_single(x.a[i]);
        return true;
    }
    static void one(const Arrays<float>& x, int i) { group_path(x, i); }
};

// ---------------------------------------------------------------- single Sinh, Cosh

constexpr uint32_t kSinhSingleOverflow = 0x42B2D4FD;  // 89.4159927368164: |x| from here overflows
constexpr uint32_t kSinhSingleTiny = 0x399D4952;      // 0.0003: Sinh below is x + x^3/6
constexpr double kSingleShifter = 0x1.8p+46;          // a double's unit there is 1/64
constexpr double kLog2E = 0x1.71547652b82fep+0;
constexpr double kSixthD = 0x1.5555555555555p-3;

// 2^(m/64) / 2 for m in units of 1/64 (two's complement), in double.
inline double half_power_single(uint32_t m) {
    const uint64_t exponent = static_cast<uint64_t>(static_cast<int32_t>(m) >> 6) + 1022;
    return hyperbolic::tanhPow2[m & 63].hi * double_from_bits(exponent << 52);
}

// sinh (Odd) or cosh of |x| = ax, below the overflow bound.
template <bool Odd>
inline double sinh_cosh_single(double ax) {
    const double y = ax * kLog2E;
    const double t = y + kSingleShifter;  // y to a multiple of 1/64
    const uint32_t m = low_word(t);
    const double r = y - (t - kSingleShifter), r2 = r * r;
    const double c = 1.0 + hyperbolic::kSinhSingleEven[0] * r2;
    const double s = r * (hyperbolic::kSinhSingleOdd[0] + hyperbolic::kSinhSingleOdd[1] * r2);
    const double plus = half_power_single(m), minus = half_power_single(0u - m);
    return Odd ? (plus - minus) * c + (plus + minus) * s : (plus + minus) * c + (plus - minus) * s;
}

template <bool Odd>
inline float sinh_cosh_value(float x) {
    const uint32_t w = bits(x), h = w & 0x7FFFFFFFu;
    const float inf = std::numeric_limits<float>::infinity();
    if (h >= kSinhSingleOverflow) {
        if (h > kFloatInf) return x + x;
        return Odd ? std::copysign(inf, x) : inf;
    }
    const double ax = float_from_bits(h);
    const double v = Odd && h < kSinhSingleTiny ? ax + ax * (ax * ax) * kSixthD : sinh_cosh_single<Odd>(ax);
    return Odd ? float_from_bits(bits(static_cast<float>(v)) | (w & 0x80000000u)) : static_cast<float>(v);
}

template <bool Odd>
struct SinhCoshS : frame::KernelPolicy<float> {
    static constexpr uint16_t x87 = frame::kX87Wide;
    static constexpr bool clean_mxcsr = true;
    static constexpr const char* name = Odd ? "_xebsSinh_HA" : "_xebsCosh_HA";

    static bool overflows(uint32_t w) {
        const uint32_t h = w & 0x7FFFFFFFu;
        return h >= kSinhSingleOverflow && h < kFloatInf;
    }

    // All four results are stored before the events, from a copy of the
    // inputs, so that in-place use finds them.
    static bool group_path(const Arrays<float>& x, int i) {
        float a[4], r[4];
        for (int j = 0; j < 4; ++j) a[j] = x.a[i + j];
        for (int j = 0; j < 4; ++j) r[j] = sinh_cosh_value<Odd>(a[j]);
        for (int j = 0; j < 4; ++j) x.y[i + j] = r[j];
        for (int j = 0; j < 4; ++j)
            if (overflows(bits(a[j]))) frame::raise<SinhCoshS>(XEB_STATUS_TOOLARGE, i + j, x);
        return true;
    }

    static void one(const Arrays<float>& x, int i) {
        const float a = x.a[i];
        x.y[i] = sinh_cosh_value<Odd>(a);
        if (overflows(bits(a))) frame::raise<SinhCoshS>(XEB_STATUS_TOOLARGE, i, x);
    }
};

}  // namespace

void baseline::dSinh_HA(int n, const double* a, double* r) { frame::run<SinhCoshD<true>>(n, frame::unary(a, r)); }
void baseline::sSinh_HA(int n, const float* a, float* r) { frame::run<SinhCoshS<true>>(n, frame::unary(a, r)); }
void baseline::dCosh_HA(int n, const double* a, double* r) { frame::run<SinhCoshD<false>>(n, frame::unary(a, r)); }
void baseline::sCosh_HA(int n, const float* a, float* r) { frame::run<SinhCoshS<false>>(n, frame::unary(a, r)); }
void baseline::dTanh_HA(int n, const double* a, double* r) { frame::run<TanhD>(n, frame::unary(a, r)); }
void baseline::sTanh_HA(int n, const float* a, float* r) { frame::run<TanhS>(n, frame::unary(a, r)); }

}  // namespace xeb

// The exported names run the kernel class in use.
using xeb::vm::active;

extern "C" {

void xebdSinh_HA(int n, const double* a, double* r) { active.dSinh_HA(n, a, r); }
void xebdSinh_50(int n, const double* a, double* r) { active.dSinh_50(n, a, r); }
void xebsSinh_HA(int n, const float* a, float* r) { active.sSinh_HA(n, a, r); }
void xebsSinh_21(int n, const float* a, float* r) { active.sSinh_21(n, a, r); }
void xebsSinh_11(int n, const float* a, float* r) { active.sSinh_11(n, a, r); }

void xebdCosh_HA(int n, const double* a, double* r) { active.dCosh_HA(n, a, r); }
void xebdCosh_50(int n, const double* a, double* r) { active.dCosh_50(n, a, r); }
void xebsCosh_HA(int n, const float* a, float* r) { active.sCosh_HA(n, a, r); }
void xebsCosh_21(int n, const float* a, float* r) { active.sCosh_21(n, a, r); }
void xebsCosh_11(int n, const float* a, float* r) { active.sCosh_11(n, a, r); }

void xebdTanh_HA(int n, const double* a, double* r) { active.dTanh_HA(n, a, r); }
void xebdTanh_50(int n, const double* a, double* r) { active.dTanh_50(n, a, r); }
void xebsTanh_HA(int n, const float* a, float* r) { active.sTanh_HA(n, a, r); }
void xebsTanh_21(int n, const float* a, float* r) { active.sTanh_21(n, a, r); }
void xebsTanh_11(int n, const float* a, float* r) { active.sTanh_11(n, a, r); }

}  // extern "C"
