// Natural and decimal logarithms over arrays; the two differ only in their
// constants and tables (Natural, Decimal below).
//
// Double, on the x87 with its 64-bit significand, pairs of elements.  For a
// positive normal x = 2^e (c + t), c = 1 + i/256 from the top eight bits of
// the significand and 0 <= t < 1/256 exact:
//   log x = e L + (hi + lo)[i] + q(r),  r = t rcp[i] ~ t/c in [0, 1/256),
//   q(r) = r (A1 + r (A2 + r (A3 + r (A4 + r (A5 + r A6))))),
// summed as ((e L + hi) + lo) + q in 80 bits and rounded once at the store.
// Error budget, in ulps of the result:
//   rcp is 1/c rounded to double, so r is off by t * 2^-54 at most: 2^-62
//   absolute, which counts only where the result is below 2^-8 in magnitude
//   (rows 1 to 4 above 1, rows 252 to 254 just below 0.998): up to 0.44 ulp
//   for Log10 at the top of row 253 (x just below 0.99609375), 0.2 for Ln;
//   the degree-6 fit (an absolute fit, 2^-64) and its Horner in 80 bits:
//   up to 0.25 ulp for Ln in row 0, where the result is q alone;
//   A1 = log10(e) in a double is 2^-55.1 off (Log10 only): < 0.12 ulp;
//   e L with L the x87's constant (2^-66 absolute), hi + lo (2^-106), the
//   three 80-bit sums: < 2^-63 absolute, which counts only where they
//   cancel (e = -1, c near 2): < 0.1 ulp there;
//   the store: 0.5 ulp.  Bounds 0.8 ulp (Ln) and 0.95 ulp (Log10);
//   measured 0.73 and 0.93.
// x in [0.998046875, 1) (e = -1, row 255) would cancel in the sum: there
// t = x - 1 exactly and a degree-6 Taylor polynomial in t is used, whose
// truncation is t^7/7, below 2^-56.8 relative.  Zeros, denormals, negative
// numbers, infinities and NaNs go to the x87's fyl2x.
//
// Single, on the x87 at 53 bits: log x = cubic_i(m) + e L, m the significand in
// [1, 2), one cubic per 1/256 of it (fit error < 2^-40, Taylor about 1 and 2
// in the end rows); at 53 bits the cancellation just below 1 costs nothing at
// float accuracy.  Row 0's Taylor cubic leaves (m-1)^4/4 out, 0.25 ulp at
// the top of its interval, where x is just below 1 + 1/256.  Bound 0.8 ulp;
// measured 0.75 there, 0.55 elsewhere.
#include <cstring>

#include "frame/bits.h"
#include "frame/fpu.h"
#include "frame/kernel_frame.h"
#include "vecmath/explog_tables.h"
#include "vecmath/kernel_table.h"
#include "xebruk/vm_explog.h"

namespace xeb {
namespace {

using frame::Arrays;
using explog::CubicRow;
using explog::LogRow;

// L * log2(x) by the x87, for the arguments the tables do not take.
inline long double fyl2x(long double scale, long double x) { return fpu::x87_scaled_log2(scale, x); }

// Constants of one logarithm: its base's L as the x87 loads it (fldln2,
// fldlg2), the polynomial on [0, 1/256) and the Taylor form below 1.
struct Natural {
    static long double L() { return fpu::x87_constant<fpu::X87Constant::Ln2>(); }
    static constexpr const double (&A)[6] = explog::kLnPoly;
    static constexpr const double (&T)[6] = explog::kLnTaylor;
    static constexpr const char* double_name = "_xebdLn_HA";
    static constexpr const char* single_name = "_xebsLn_HA";
    static const LogRow* table() { return explog::lnTable; }
    static const CubicRow* cubic() { return explog::lnCubic; }
};

struct Decimal {
    static long double L() { return fpu::x87_constant<fpu::X87Constant::Log10Of2>(); }
    static constexpr const double (&A)[6] = explog::kLog10Poly;
    static constexpr const double (&T)[6] = explog::kLog10Taylor;
    static constexpr const char* double_name = "_xebdLog10_HA";
    static constexpr const char* single_name = "_xebsLog10_HA";
    static const LogRow* table() { return explog::log10Table; }
    static const CubicRow* cubic() { return explog::log10Cubic; }
};

// Degree-6 polynomial with zero constant term, Horner in 80 bits.
inline long double poly6(const double (&c)[6], long double r) {
    return r * (c[0] + r * (c[1] + r * (c[2] + r * (c[3] + r * (c[4] + r * c[5])))));
}

// The group path of both precisions: a pair goes through `value` when both
// arguments pass `fast`, and leaves the fast path whole otherwise.  Both are
// lambdas, which inline; a function pointer here would cost a call per
// element and the x87 stack with it.
template <class T, class Fast, class Value>
inline bool pair_path(const Arrays<T>& x, int i, Fast fast, Value value) {
    const T a0 = x.a[i], a1 = x.a[i + 1];
    if (!fast(a0) || !fast(a1)) return false;
    const auto v0 = value(a0), v1 = value(a1);
    x.y[i] = static_cast<T>(v0);
    x.y[i + 1] = static_cast<T>(v1);
    return true;
}

// ---------------------------------------------------------------- double

constexpr uint32_t kNormalBase = 0x00100000;   // hi - this, unsigned, below
constexpr uint32_t kNormalSpan = 0x7FE00000;   // the span: positive, normal, finite
constexpr uint32_t kRowMask = 0xFFFFF000;      // exponent and top eight significand bits
constexpr uint32_t kLastRowBelowOne = 0x3FEFF000;  // e = -1, row 255: [0.998046875, 1)

inline bool table_domain(uint32_t hi) {
    return hi - kNormalBase < kNormalSpan && (hi & kRowMask) != kLastRowBelowOne;
}

// Table path; x positive, normal, outside [0.998046875, 1).
template <class B>
inline long double log_table(double x) {
    const uint32_t hi = high_word(x);
    const int e = static_cast<int>(hi >> 20) - 1023;
    const LogRow& row = B::table()[(hi >> 12) & 0xFF];
    // x's significand with exponent of 1.0 and the row's eight bits cleared.
    const double m = double_from_bits((bits(x) & 0x00000FFFFFFFFFFFull) | 0x3FF0000000000000ull);
    const long double t = static_cast<long double>(m) - 1.0L;  // exact, in [0, 1/256)
    const long double r = t * row.rcp;
    return ((e * B::L() + row.hi) + row.lo) + poly6(B::A, r);
}

template <class B>
struct LogD : frame::KernelPolicy<double> {
    static constexpr uint16_t x87 = frame::kX87Wide;
    static constexpr int group = 2;
    static constexpr std::size_t prefetch_bytes = 0x40;
    // The dispatcher runs on the kernel's x87 state, with no image saved
    // (the policy's direct trampoline).
    static constexpr const char* name = B::double_name;

    static bool group_path(const Arrays<double>& x, int i) {
        return pair_path(
            x, i, [](double a) { return table_domain(high_word(a)); },
            [](double a) { return log_table<B>(a); });
    }

    // Kept out of line: the group loop stays small.
    __attribute__((noinline)) static void one(const Arrays<double>& x, int i) {
        const double a = x.a[i];
        const uint32_t hi = high_word(a);
        if (hi - kNormalBase < kNormalSpan) {
            if ((hi & kRowMask) != kLastRowBelowOne) x.y[i] = static_cast<double>(log_table<B>(a));
            else x.y[i] = static_cast<double>(poly6(B::T, static_cast<long double>(a) - 1.0L));
            return;
        }
        x.y[i] = static_cast<double>(fyl2x(B::L(), a));
        if (is_zero(a)) frame::raise<LogD>(XEB_STATUS_POLE, i, x);
        // Negative, -infinity included, judged on the high word alone.
        else if (hi - 0x80000000u <= 0x7FF00000u) frame::raise<LogD>(XEB_STATUS_DOMAINFAULT, i, x);
    }
};

// ---------------------------------------------------------------- single

inline bool single_table_domain(uint32_t w) { return w < 0x7F800000u && w > 0x007FFFFFu; }

template <class B>
inline float log_cubic(float x) {
    const uint32_t w = bits(x);
    const int e = static_cast<int>(w >> 23) - 127;
    const CubicRow& c = B::cubic()[(w >> 15) & 0xFF];
    const long double m = float_from_bits((w & 0x007FFFFFu) | 0x3F800000u);
    // At 53 bits (the frame's setting): each step rounds as a double would.
    return static_cast<float>(((c.c3 * m + c.c2) * m + c.c1) * m + c.c0 + e * B::L());
}

template <class B>
struct LogS : frame::KernelPolicy<float> {
    static constexpr uint16_t x87 = frame::kX87Narrow;
    static constexpr int group = 2;
    static constexpr frame::Trampoline trampoline = frame::Trampoline::X87;
    static constexpr const char* name = B::single_name;

    static bool group_path(const Arrays<float>& x, int i) {
        return pair_path(
            x, i, [](float a) { return single_table_domain(bits(a)); },
            [](float a) { return log_cubic<B>(a); });
    }

    // Table-domain arguments by the pair's cubic, so that a lone last
    // element, or the partner of a special value, gets the bits it would get
    // in a pair; the rest through fyl2x (at the 53 bits the frame set).
    // Out of line, so that the group loop stays small.
    __attribute__((noinline)) static void one(const Arrays<float>& x, int i) {
        const float a = x.a[i];
        const uint32_t w = bits(a);
        if (single_table_domain(w)) {
            x.y[i] = log_cubic<B>(a);
            return;
        }
        x.y[i] = static_cast<float>(fyl2x(B::L(), a));
        if (is_zero(a)) frame::raise<LogS>(XEB_STATUS_POLE, i, x);
        else if (w - 0x80000000u <= 0x7F800000u) frame::raise<LogS>(XEB_STATUS_DOMAINFAULT, i, x);
    }
};

}  // namespace

void baseline::dLn_HA(int n, const double* a, double* r) { frame::run<LogD<Natural>>(n, frame::unary(a, r)); }
void baseline::sLn_HA(int n, const float* a, float* r) { frame::run<LogS<Natural>>(n, frame::unary(a, r)); }
void baseline::dLog10_HA(int n, const double* a, double* r) { frame::run<LogD<Decimal>>(n, frame::unary(a, r)); }
void baseline::sLog10_HA(int n, const float* a, float* r) { frame::run<LogS<Decimal>>(n, frame::unary(a, r)); }

}  // namespace xeb

// The exported names run the kernel class in use.
using xeb::vm::active;

extern "C" {

void xebdLn_HA(int n, const double* a, double* r) { active.dLn_HA(n, a, r); }
void xebdLn_50(int n, const double* a, double* r) { active.dLn_50(n, a, r); }
void xebsLn_HA(int n, const float* a, float* r) { active.sLn_HA(n, a, r); }
void xebsLn_21(int n, const float* a, float* r) { active.sLn_21(n, a, r); }
void xebsLn_11(int n, const float* a, float* r) { active.sLn_11(n, a, r); }

void xebdLog10_HA(int n, const double* a, double* r) { active.dLog10_HA(n, a, r); }
void xebdLog10_50(int n, const double* a, double* r) { active.dLog10_50(n, a, r); }
void xebsLog10_HA(int n, const float* a, float* r) { active.sLog10_HA(n, a, r); }
void xebsLog10_21(int n, const float* a, float* r) { active.sLog10_21(n, a, r); }
void xebsLog10_11(int n, const float* a, float* r) { active.sLog10_11(n, a, r); }

}  // extern "C"
