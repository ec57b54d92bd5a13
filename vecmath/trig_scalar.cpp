// Scalar forms of the trigonometric family: one element, any finite
// argument, and every event of the family.
//
// sin, cos (and the pair): x' = x, or x reduced modulo pi/2 (quadrant n,
// tail t) from |x| >= 2^17; m = round(x' * 32/pi); r + c = x' + t - m*pi/32
// with pi/32 in three parts (m*C1 and m*C2 exact for |m| < 2^21), so
// |r| <= pi/64.  With th = (16n + m)*pi/32 and the row j of th,
//   sin(th + r) = sin th cos r + cos th sin r
// where sin th = sinHi + sinLo, cos th = cosHi + cosLo (cosHi in {-1,0,1},
// so cosHi*r is exact), and the leading sum sinHi + cosHi*r + cosLo*r is
// formed with its rounding errors recovered.  Error budget: series
// truncation below 2^-75, the reduction 2^-84 relative, tables 2^-106,
// roundings of the small terms about 2^-60 of the result, the last
// addition half an ulp: below 0.53 ulp.
//
// tan: x reduced from |x| >= 12800; j = (16n + m) & 31, r as above with a
// second three-part pi/32.  Rows far from the pole (|th| <= pi/4 mod pi)
// expand tan(th + r) to degree 15 in r.  Rows near it expand
// tan(th + r) + 1/w, w = th + r - pi/2 the distance to the pole, which is
// smooth, and subtract 1/w at the end: 1/w = qm + q*(1 - wh*qm - wl*q), with
// q = 1/wh, wh = w to 35 bits and qm = q to 18 bits so that wh*qm is exact.
// Error budget: series truncation 2^-70, tables 2^-106, the reciprocal 2^-68
// relative, the last addition half an ulp: below 0.55 ulp.
//
// Element functions: an infinity or NaN never reaches a core (the double
// form looks only at the high word, so a NaN whose high word is that of an
// infinity raises the domain event too); the single form sends NaNs on to
// the core, which keeps their payload.  The cores run in double arithmetic
// with rounding to nearest: the x87 is set to 53 bits and MXCSR cleaned for
// their duration.
#include <cmath>
#include <cstdint>

#include "frame/bits.h"
#include "frame/kernel_frame.h"
#include "vecmath/trig_core.h"
#include "vecmath/trig_tables.h"
#include "xebruk/frame.h"
#include "xebruk/vm_trig.h"

namespace xeb::trig {
namespace {

constexpr double kThirtyTwoOverPi = 0x1.45f306dc9c883p+3;
constexpr double kShifter = 0x1.8p52;    // adds to round to an integer
constexpr double kShifter16 = 0x1.8p56;  // rounds to a multiple of 16
// pi/32 = C1 + C2 + C3; C1 and C2 with 31 and 32 significant bits.
constexpr double kC1 = 0x1.921fb544p-4, kC2 = 0x1.0b4611a6p-38, kC3 = 0x1.3198a2e037073p-73;
// pi/32 = D1 + D2 + D3 for the tangent; D1, D2 with 35 significant bits.
constexpr double kD1 = 0x1.921fb5444p-4, kD2 = 0x1.68c234c4cp-43, kD3 = 0x1.98a2e03707345p-81;
// pi/32 = E1 + E2 + E3 for the distance to the pole; E1, E2 with 39 bits.
constexpr double kE1 = 0x1.921fb54444p-4, kE2 = -0x1.2e7b967674p-44, kE3 = 0x1.8a2e03707344ap-85;
// Taylor coefficients of sin r - r and cos r - 1 (|r| <= pi/64).
constexpr double kS3 = -0x1.5555555555555p-3, kS5 = 0x1.1111111111111p-7,
                 kS7 = -0x1.a01a01a01a01ap-13, kS9 = 0x1.71de3a556c734p-19;
constexpr double kK2 = -0.5, kK4 = 0x1.5555555555555p-5, kK6 = -0x1.6c16c16c16c17p-10,
                 kK8 = 0x1.a01a01a01a01ap-16;

struct Reduced {
    double x;      // reduced argument
    double tail;   // its low part
    uint32_t n;    // quadrant
};

Reduced reduce_if_large(double x, bool large) {
    if (!large) return {x, 0.0, 0};
    double out[2];
    const int32_t n = reduce_pio2(x, out);
    return {out[0], out[1], static_cast<uint32_t>(n)};
}

inline uint32_t exponent_of(double x) { return (high_word(x) >> 20) & 0x7FF; }

// Tiny arguments: sin x = x with the inexact flag raised.
double tiny_sin(double x) {
    if (x == 0.0) return x;
    return (x * 0x1p55 - x) * 0x1p-55;
}

// m = round(x * 32/pi) as an integer and as a double.
inline double nearest_multiple(double x, uint32_t& m) {
    const double y = x * kThirtyTwoOverPi + kShifter;
    m = low_word(y);
    return y - kShifter;
}

// sin(j*pi/32 + r + c) for |r| <= pi/64, c the low part of the argument.
double sin_row(const double* row, double r, double c) {
    const double cos_lo = row[0], sin_hi = row[1], sin_lo = row[2], cos_hi = row[3];
    const double s = r * r;
    const double sp = (((kS9 * s + kS7) * s + kS5) * s + kS3) * s * r * (cos_lo + cos_hi);
    const double cp = (((kK8 * s + kK6) * s + kK4) * s + kK2) * s * sin_hi;
    const double h1 = sin_hi + cos_hi * r;  // cos_hi * r exact
    const double h2 = cos_lo * r + h1;
    double sum = c * (cos_lo + cos_hi - r * sin_hi);
    sum += sin_lo;
    sum += sp + cp;
    sum += cos_hi * r + (sin_hi - h1);  // rounding error of h1
    sum += (h1 - h2) + cos_lo * r;      // rounding error of h2
    return sum + h2;
}

// The row index of th and the argument r + c left over.
struct RowArg {
    uint32_t j;
    double r, c;
};

RowArg sin_row_arg(double x) {
    const Reduced red = reduce_if_large(x, exponent_of(x) >= 0x410);
    uint32_t m;
    const double md = nearest_multiple(red.x, m);
    const double u = red.x - md * kC1;  // exact
    const double r = u - md * kC2;
    const double c = ((u - r) - md * kC2) - md * kC3 + red.tail;
    return {red.n * 16 + m, r, c};
}

}  // namespace

double sin_core(double x) {
    const uint32_t e = exponent_of(x);
    if (e == 0x7FF) return x * x;  // NaN (from the single form)
    if (e < 0x303) return tiny_sin(x);
    const RowArg a = sin_row_arg(x);
    return sin_row(sin_cos_rows[a.j & 63], a.r, a.c);
}

double cos_core(double x) {
    const uint32_t e = exponent_of(x);
    if (e == 0x7FF) return x * x;
    if (e < 0x303) return 1.0 - std::fabs(x);
    const RowArg a = sin_row_arg(x);
    return sin_row(sin_cos_rows[(a.j + 16) & 63], a.r, a.c);
}

void sin_cos_core(double x, double& s, double& c) {
    const uint32_t e = exponent_of(x);
    if (e == 0x7FF) {
        s = c = x * x;
        return;
    }
    if (e < 0x303) {
        s = tiny_sin(x);
        c = 1.0 - std::fabs(x);
        return;
    }
    const RowArg a = sin_row_arg(x);
    s = sin_row(sin_cos_rows[a.j & 63], a.r, a.c);
    c = sin_row(sin_cos_rows[(a.j + 16) & 63], a.r, a.c);
}

namespace {

// Sums a + b exactly as s + err.
inline void two_sum(double a, double b, double& s, double& err) {
    s = a + b;
    const double bb = s - a;
    err = (a - (s - bb)) + (b - bb);
}

inline double clear_low_bits(double x, int k) {
    return double_from_bits(bits(x) & ~((uint64_t(1) << k) - 1));
}

}  // namespace

double tan_core(double x) {
    const uint32_t e = exponent_of(x);
    if (e == 0x7FF) return x * x;
    if (e < 0x303) return tiny_sin(x);
    const Reduced red = reduce_if_large(x, (high_word(x) & 0x7FFFFFFF) >> 16 >= 0x40C9);
    const double xr = red.x, t = red.tail;
    uint32_t m;
    const double scaled = xr * kThirtyTwoOverPi;
    const double y = scaled + kShifter;
    m = low_word(y);
    const double md = y - kShifter;
    const double v = (scaled + kShifter16) - kShifter16;  // 16 * round(x' * 2/pi)
    const TanRow& row = tan_rows[(red.n * 16 + m) & 31];
    const double* c = row.c;

    const double u = xr - md * kD1;  // exact
    const double r = u - md * kD2;
    const double tl = ((u - r) - md * kD2) - md * kD3 + t;  // low part of r

    const double s = r * r, q4 = s * s;
    const double low = (c[5] * r + c[3]) * s + c[7] * q4 + (c[11] * r + c[9] + c[13] * s) * (q4 * r);
    const double high = (q4 * c[6] + (c[1] * r + c[0] + (c[4] * r + c[2]) * s) +
                         q4 * r * (s * c[12] + (c[10] * r + c[8]))) *
                        (q4 * q4);
    const double a_lin = r * c[16] + r * c[17];
    const double b_lin = r * c[17] + (r * c[16] - a_lin) + c[15];
    // The low part of r enters through the first derivative, and through
    // the second where it is large (a reduced argument's tail, 2^-54 of x'):
    // 2 c3 r tl is up to 0.1 ulp near tan = 1.
    const double p = (low + high) + (b_lin + (c[16] + c[17] + 2 * c[3] * r) * tl);

    double qm = 0.0, pole_term = 0.0;
    if (c[18] != 0.0) {
        double w0, w0l, w, wl;
        two_sum(xr - v * kE1, -(v * kE2), w0, w0l);  // xr - v*E1 and v*E2 exact
        // Renormalise: w0 may keep few bits after the cancellation, and
        // 1/(wh + wl) = q (1 - wl q) needs |wl| below 2^-35 |wh|.
        two_sum(w0, w0l + (t - v * kE3), w, wl);
        const double wh = clear_low_bits(w, 18);
        wl += w - wh;
        const double q = 1.0 / wh;
        qm = double_from_bits(bits(q) & row.mask);
        pole_term = q * (1.0 - wh * qm - wl * q);  // wh*qm exact
    }
    // tan = A + c14 - qm + P - pole_term, summed from the small terms up;
    // the rounding errors of G = qm - c14 and of H = A - G are both kept
    // (|qm| >= 4/pi > |c14| in pole rows, |G| >= |A| in all).
    double g, g_err;
    two_sum(qm, -c[14], g, g_err);
    const double h = a_lin - g;
    return h + (p + (a_lin - (g + h)) - g_err - pole_term);
}

}  // namespace xeb::trig

namespace {

using xeb::frame::ControlWords;
using xeb::frame::kX87Narrow;

constexpr uint64_t kDefaultNaN = 0xFFF8000000000000ull;
constexpr uint32_t kDefaultNaNf = 0xFFC00000u;

// Default NaN into every output; the domain event when the high word is
// exactly that of an infinity.  False when x goes on to the core.
bool double_special(int32_t index, const double* a, const char* name, double* y, double* z) {
    const uint32_t hi = xeb::high_word(a[index]) & 0x7FFFFFFF;
    if (hi < 0x7FF00000) return false;
    y[index] = z[index] = xeb::double_from_bits(kDefaultNaN);
    if (hi == 0x7FF00000) xebdError(XEB_STATUS_DOMAINFAULT, index, a, a, y, z, name);
    return true;
}

bool single_special(int32_t index, const float* a, const char* name, float* y, float* z) {
    if ((xeb::bits(a[index]) & 0x7FFFFFFF) != 0x7F800000) return false;
    y[index] = z[index] = xeb::float_from_bits(kDefaultNaNf);
    xebsError(XEB_STATUS_DOMAINFAULT, index, a, a, y, z, name);
    return true;
}

template <double (*core)(double)>
void double_element(int32_t index, const double* a, double* r, const char* name) {
    if (double_special(index, a, name, r, r)) return;
    ControlWords words(kX87Narrow, true);
    r[index] = core(a[index]);
}

template <double (*core)(double)>
void single_element(int32_t index, const float* a, float* r, const char* name) {
    if (single_special(index, a, name, r, r)) return;
    ControlWords words(kX87Narrow, true);
    r[index] = static_cast<float>(core(static_cast<double>(a[index])));
}

void double_pair(int32_t index, const double* a, double* y, double* z, const char* name) {
    if (double_special(index, a, name, y, z)) return;
    ControlWords words(kX87Narrow, true);
    xeb::trig::sin_cos_core(a[index], y[index], z[index]);
}

void single_pair(int32_t index, const float* a, float* y, float* z, const char* name) {
    if (single_special(index, a, name, y, z)) return;
    ControlWords words(kX87Narrow, true);
    double s, c;
    xeb::trig::sin_cos_core(static_cast<double>(a[index]), s, c);
    y[index] = static_cast<float>(s);
    z[index] = static_cast<float>(c);
}

}  // namespace

using xeb::trig::cos_core;
using xeb::trig::sin_core;
using xeb::trig::tan_core;

extern "C" {

void xebdSin_SC(int32_t i, const double* a, double* r, int32_t*, const char* name) {
    double_element<sin_core>(i, a, r, name);
}
void xebdCos_SC(int32_t i, const double* a, double* r, int32_t*, const char* name) {
    double_element<cos_core>(i, a, r, name);
}
void xebdTan_SC(int32_t i, const double* a, double* r, int32_t*, const char* name) {
    double_element<tan_core>(i, a, r, name);
}
void xebdSinCos_SC(int32_t i, const double* a, double* y, double* z, int32_t*, const char* name) {
    double_pair(i, a, y, z, name);
}

void xebdSin_SC_HA(int32_t i, const double* a, double* r, int32_t*) { double_element<sin_core>(i, a, r, "dSin_HA"); }
void xebdSin_SC_LA(int32_t i, const double* a, double* r, int32_t*) { double_element<sin_core>(i, a, r, "dSin_LA"); }
void xebdSin_SC_A11(int32_t i, const double* a, double* r, int32_t*) { double_element<sin_core>(i, a, r, "dSin_A11"); }
void xebdCos_SC_HA(int32_t i, const double* a, double* r, int32_t*) { double_element<cos_core>(i, a, r, "dCos_HA"); }
void xebdCos_SC_LA(int32_t i, const double* a, double* r, int32_t*) { double_element<cos_core>(i, a, r, "dCos_LA"); }
void xebdCos_SC_A11(int32_t i, const double* a, double* r, int32_t*) { double_element<cos_core>(i, a, r, "dCos_A11"); }
void xebdTan_SC_HA(int32_t i, const double* a, double* r, int32_t*) { double_element<tan_core>(i, a, r, "dTan_HA"); }
void xebdTan_SC_LA(int32_t i, const double* a, double* r, int32_t*) { double_element<tan_core>(i, a, r, "dTan_LA"); }
void xebdTan_SC_A11(int32_t i, const double* a, double* r, int32_t*) { double_element<tan_core>(i, a, r, "dTan_A11"); }
void xebdSinCos_SC_HA(int32_t i, const double* a, double* y, double* z, int32_t*) { double_pair(i, a, y, z, "dSinCos_HA"); }
void xebdSinCos_SC_LA(int32_t i, const double* a, double* y, double* z, int32_t*) { double_pair(i, a, y, z, "dSinCos_LA"); }
void xebdSinCos_SC_A11(int32_t i, const double* a, double* y, double* z, int32_t*) { double_pair(i, a, y, z, "dSinCos_A11"); }

void xebsSin_SC_HA(int32_t i, const float* a, float* r, int32_t*) { single_element<sin_core>(i, a, r, "sSin_HA"); }
void xebsSin_SC_LA(int32_t i, const float* a, float* r, int32_t*) { single_element<sin_core>(i, a, r, "sSin_LA"); }
void xebsSin_SC_A11(int32_t i, const float* a, float* r, int32_t*) { single_element<sin_core>(i, a, r, "sSin_A11"); }
void xebsCos_SC_HA(int32_t i, const float* a, float* r, int32_t*) { single_element<cos_core>(i, a, r, "sCos_HA"); }
void xebsCos_SC_LA(int32_t i, const float* a, float* r, int32_t*) { single_element<cos_core>(i, a, r, "sCos_LA"); }
void xebsCos_SC_A11(int32_t i, const float* a, float* r, int32_t*) { single_element<cos_core>(i, a, r, "sCos_A11"); }
void xebsTan_SC_HA(int32_t i, const float* a, float* r, int32_t*) { single_element<tan_core>(i, a, r, "sTan_HA"); }
void xebsTan_SC_LA(int32_t i, const float* a, float* r, int32_t*) { single_element<tan_core>(i, a, r, "sTan_LA"); }
void xebsTan_SC_A11(int32_t i, const float* a, float* r, int32_t*) { single_element<tan_core>(i, a, r, "sTan_A11"); }
void xebsSinCos_SC_HA(int32_t i, const float* a, float* y, float* z, int32_t*) { single_pair(i, a, y, z, "sSinCos_HA"); }
void xebsSinCos_SC_LA(int32_t i, const float* a, float* y, float* z, int32_t*) { single_pair(i, a, y, z, "sSinCos_LA"); }
void xebsSinCos_SC_A11(int32_t i, const float* a, float* y, float* z, int32_t*) { single_pair(i, a, y, z, "sSinCos_A11"); }

}  // extern "C"
