// Exponential over arrays.
//
// Double, on the x87 with its 64-bit significand, two pairs of elements a step:
//   t = x log2(e);  k = round(t 2^14) (t + S stored as a double, S = 1.5 2^38,
//   whose unit there is 2^-14);  r = t - k 2^-14, |r| <= 2^-15;
//   e^x = 2^(k >> 14) * 2^((k & 15)/16384) * 2^(((k >> 4) & 31)/1024)
//         * 2^(((k >> 9) & 31)/32) * 2^r,
//   2^r ~ C (((r + C2) r + C1) r + C0), C = 1/C0 folded into expFine.
// Error budget, relative to the result before the one rounding at the store:
//   t:   the product is rounded to 64 bits (|t| < 1024 for normal results,
//        so < 2^-55 absolute) and log2(e) in 64 bits is 2^-65 off, which x
//        multiplies (< 745 * 2^-65); together < 4.9e-17 absolute, and 2^t
//        inherits ln 2 times that: < 0.31 ulp at the top of the range, less
//        than 0.01 ulp for |x| < 2;
//   cubic fit of 2^r on |r| <= 2^-15 (checked by the table test): < 2^-62;
//   three 80-bit table entries and seven roundings of 64 bits: < 0.005 ulp;
//   plus 0.5 for the store: below 0.82 ulp.  Measured 0.79 near |x| = 704,
//   0.51 for |x| < 20 (docs/accuracy.md).
// The one-element path is the same arithmetic with the scale 2^(k >> 14)
// built as an 80-bit number, so a result in the denormal range is rounded
// once, at the store.
//
// Single, on the x87 at 53 bits, groups of four:
//   t = x log2(e);  v = t + S, S = 1.5 2^17;  u = v stored as a float (unit
//   2^-6), k = bits of u;  r = v - u, |r| <= 2^-7;
//   e^x ~ D ((r + B1) r + B0) * 2^((k & 63)/64) * 2^(k >> 6 less the bias of u),
//   D folded into expSingle.  The quadratic's relative error is below 2^-27
//   (0.12 ulp of a float at most), the 53-bit arithmetic adds < 2^-50, the
//   store 0.5 ulp.  Bound 0.65 ulp; measured 0.61.
#include <cmath>
#include <cstring>
#include <limits>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "frame/kernel_frame.h"
#include "vecmath/explog_shared.h"
#include "vecmath/explog_tables.h"
#include "vecmath/kernel_table.h"
#include "xebruk/vm_explog.h"

namespace xeb {
namespace {

using frame::Arrays;
using explog::expCoarse;
using explog::expCubic;
using explog::expFine;
using explog::expMid;
using explog::expSingle;
using explog::extended;

// ---------------------------------------------------------------- double

constexpr long double kShifter = 0x1.8p+38L;  // float bits 0x52C00000

// High word (without sign) from which a pair leaves the fast path: about 708.39.
constexpr uint32_t kFastLimitHigh = 0x4086232B;
// Finite x at or above this overflows: 709.7827128933841.
constexpr int64_t kOverflowBits = 0x40862E42FEFA39F0;
// |x| at or above this gives +0: 745.1332191019412.
constexpr uint64_t kUnderflowBits = 0x40874910D52D3052;
// |x| at or above this lies in the band reported with the table index: 708.3964185322642.
constexpr uint64_t kBandBits = 0x4086232BDD7ABCD3;
constexpr uint32_t kBandExemptHigh = 0x40862E42;  // positive x with this high word: no report

// The high word read on its own from memory, so that the value itself goes
// straight from the array into the x87 rather than through an integer
// register and a stack slot.
inline uint32_t high_word_at(const double* p) {
    uint32_t hi;
    std::memcpy(&hi, reinterpret_cast<const unsigned char*>(p) + 4, sizeof hi);
    return hi;
}

struct ExpSplit {
    long double r;  // t - k 2^-14
    uint32_t k;     // round(t 2^14), two's complement
};

inline long double x87_log2e() { return fpu::x87_constant<fpu::X87Constant::Log2E>(); }

inline ExpSplit split(double x) {
    const long double t = x * x87_log2e();
    // Rounded to 64 bits and then to a double: t to a multiple of 2^-14.
    const double v = static_cast<double>(t + kShifter);
    return {t - (static_cast<long double>(v) - kShifter), low_word(v)};
}

// 2^r times 2^((k mod 2^14) / 2^14), without the power of two.
inline long double fraction_power(const ExpSplit& s) {
    const long double p =
        ((s.r + extended(expCubic[0])) * s.r + extended(expCubic[1])) * s.r + extended(expCubic[2]);
    return p * extended(expFine[s.k & 15]) * extended(expMid[(s.k >> 4) & 31]) *
           extended(expCoarse[(s.k >> 9) & 31]);
}

// 2^(k >> 14) as a double; valid while the exponent stays normal.
inline double scale_double(uint32_t k) {
    const uint32_t high = ((k + 0x00FFC000u) & 0x01FFC000u) << 6;
    return double_from_bits(static_cast<uint64_t>(high) << 32);
}

// 2^(k >> 14) as an 80-bit number: significand 2^63, biased exponent from k.
inline long double scale_extended(uint32_t k) {
    const uint16_t exponent = static_cast<uint16_t>(((k + 0x0FFFC000u) & 0x1FFFC000u) >> 14);
    unsigned char image[sizeof(long double)] = {};
    const uint64_t significand = 0x8000000000000000ull;
    std::memcpy(image, &significand, 8);
    std::memcpy(image + 8, &exponent, 2);
    long double s;
    std::memcpy(&s, image, sizeof s);
    return s;
}

// A NaN stored through the x87, which quiets a signalling one.
inline double through_x87(double x) {
    double out;
    fpu::x87_copy(&x, &out);
    return out;
}

struct ExpD : frame::KernelPolicy<double> {
    static constexpr uint16_t x87 = frame::kX87Wide;
    static constexpr unsigned prefetch_arrays = 0;
    static constexpr frame::Trampoline trampoline = frame::Trampoline::X87Merge;
    static constexpr const char* name = "_xebdExp_HA";

    // Two pairs per step, for more independent work on the x87 at once.  A
    // step with any argument outside the fast domain is done one element at
    // a time; that gives the same results and events as pairs would, since
    // the one-element path computes fast-domain arguments identically.
    static bool group_path(const Arrays<double>& x, int i) {
        for (int j = 0; j < 4; ++j)
            if ((high_word_at(x.a + i + j) & 0x7FFFFFFFu) >= kFastLimitHigh) return false;
        const ExpSplit s0 = split(x.a[i]), s1 = split(x.a[i + 1]);
        const ExpSplit s2 = split(x.a[i + 2]), s3 = split(x.a[i + 3]);
        const long double f0 = fraction_power(s0), f1 = fraction_power(s1);
        const long double f2 = fraction_power(s2), f3 = fraction_power(s3);
        x.y[i] = static_cast<double>(f0 * scale_double(s0.k));
        x.y[i + 1] = static_cast<double>(f1 * scale_double(s1.k));
        x.y[i + 2] = static_cast<double>(f2 * scale_double(s2.k));
        x.y[i + 3] = static_cast<double>(f3 * scale_double(s3.k));
        return true;
    }

    // Kept out of line: the group loop stays small.
    __attribute__((noinline)) static void one(const Arrays<double>& x, int i) {
        const double a = x.a[i];
        const uint64_t b = bits(a);
        if (static_cast<int64_t>(b) >= kOverflowBits) {  // +infinity and positive NaNs too
            if (std::isnan(a)) x.y[i] = through_x87(a);
            else {
                x.y[i] = std::numeric_limits<double>::infinity();
                if (!std::isinf(a)) frame::raise<ExpD>(XEB_STATUS_TOOLARGE, i, x);
            }
            return;
        }
        const uint64_t magnitude = b & 0x7FFFFFFFFFFFFFFFull;
        if (magnitude >= kUnderflowBits) {  // negative here, or a negative NaN
            if (std::isnan(a)) x.y[i] = through_x87(a);
            else {
                x.y[i] = 0.0;
                if (!std::isinf(a)) frame::raise<ExpD>(XEB_STATUS_TOOSMALL, i, x);
            }
            return;
        }
        const bool band = magnitude >= kBandBits && !(b >> 63 == 0 && high_word(a) == kBandExemptHigh);
        const ExpSplit s = split(a);
        x.y[i] = static_cast<double>(fraction_power(s) * scale_extended(s.k));
        // The band reports the table index it reached, not a fixed code.
        if (band) frame::raise<ExpD>(static_cast<int>(2 * ((s.k >> 4) & 31)), i, x);
    }
};

// ---------------------------------------------------------------- single

constexpr long double kShifterS = 0x1.8p+17L;    // float bits 0x48400000

constexpr uint32_t kLargeBits = 0x42B17218;     // 88.72283935546875: |x| from here is looked at
constexpr uint32_t kUnderflowS = 0x42CFF1B4;    // 103.97207641601562: below -this, +0
constexpr uint32_t kPlusInf = 0x7F800000;
constexpr uint32_t kMinusInf = 0xFF800000;

// The x87 runs at 53 bits here (the frame set it), so every operation below
// rounds as a double would, in the x87's wider exponent range.
inline float exp_single(float a) {
    const long double v = a * x87_log2e() + kShifterS;
    const uint32_t k = x87_float_image(v);  // v to a multiple of 2^-6
    const long double r = v - float_from_bits(k);
    const long double p = (r + explog::kExpB1) * r + explog::kExpB0;
    const uint32_t high = ((k + 0xFFC0u) & 0x1FFC0u) << 14;
    return float_from_bits(
        x87_float_image(p * expSingle[k & 63] * double_from_bits(static_cast<uint64_t>(high) << 32)));
}

inline bool needs_fix(uint32_t w) {
    const uint32_t m = w & 0x7FFFFFFFu;
    return m >= kLargeBits && m <= kPlusInf;
}

struct ExpS : frame::KernelPolicy<float> {
    static constexpr uint16_t x87 = frame::kX87Narrow;
    static constexpr frame::Trampoline trampoline = frame::Trampoline::X87Merge;
    static constexpr const char* name = "_xebsExp_HA";

    // Puts right a result whose argument lies beyond 88.72 in magnitude;
    // from -103.97 to -88.72 the computed denormal (or zero) stands.
    __attribute__((noinline)) static void fix(const Arrays<float>& x, int i, uint32_t w) {
        const float inf = std::numeric_limits<float>::infinity();
        if (w == kPlusInf) x.y[i] = inf;
        else if (w == kMinusInf) x.y[i] = 0.0f;
        else if (w >> 31 == 0) {
            x.y[i] = inf;
            frame::raise<ExpS>(XEB_STATUS_TOOLARGE, i, x);
        } else if ((w & 0x7FFFFFFFu) > kUnderflowS) {
            x.y[i] = 0.0f;
            frame::raise<ExpS>(XEB_STATUS_TOOSMALL, i, x);
        }
    }

    // All four results are stored first; the inputs are kept, so the test
    // afterwards works in place too.
    static bool group_path(const Arrays<float>& x, int i) {
        uint32_t w[4];
        float r[4];
        for (int j = 0; j < 4; ++j) w[j] = bits(x.a[i + j]);
        for (int j = 0; j < 4; ++j) r[j] = exp_single(float_from_bits(w[j]));
        for (int j = 0; j < 4; ++j) x.y[i + j] = r[j];
        bool any = false;
        for (int j = 0; j < 4; ++j) any |= needs_fix(w[j]);
        if (any)
            for (int j = 0; j < 4; ++j)
                if (needs_fix(w[j])) fix(x, i + j, w[j]);
        return true;
    }

    __attribute__((noinline)) static void one(const Arrays<float>& x, int i) {
        const uint32_t w = bits(x.a[i]);
        x.y[i] = exp_single(float_from_bits(w));
        if (needs_fix(w)) fix(x, i, w);
    }
};

}  // namespace

int explog::exp_band_code(double x) {
    frame::ControlWords words(frame::kX87Wide, false);
    return static_cast<int>(2 * ((split(x).k >> 4) & 31));
}

void baseline::dExp_HA(int n, const double* a, double* r) { frame::run<ExpD>(n, frame::unary(a, r)); }
void baseline::sExp_HA(int n, const float* a, float* r) { frame::run<ExpS>(n, frame::unary(a, r)); }

}  // namespace xeb

// The exported names run the kernel class in use.
using xeb::vm::active;

extern "C" {

void xebdExp_HA(int n, const double* a, double* r) { active.dExp_HA(n, a, r); }
void xebdExp_50(int n, const double* a, double* r) { active.dExp_50(n, a, r); }
void xebsExp_HA(int n, const float* a, float* r) { active.sExp_HA(n, a, r); }
void xebsExp_21(int n, const float* a, float* r) { active.sExp_21(n, a, r); }
void xebsExp_11(int n, const float* a, float* r) { active.sExp_11(n, a, r); }

}  // extern "C"
