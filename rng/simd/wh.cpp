// WH's real fills in the widest double registers of one kernel class: one
// element per lane, the lanes of a register consecutive elements (two
// registers of chains, 8 with AVX2, 16 with AVX-512), the
// 64-bit-significand sum of rng/wh.cpp reproduced bit for bit with the
// pairs of rng/wide_pair.h.
//
// Components.  x <- a x mod m with x, a below m < 2^24: y = x a is exact,
// and y/m has its fractional part in [2^-24, 1 - 2^-24] (y is no multiple
// of the prime m).  t = y (1/m) - 0.5, one fused operation with the double
// 1/m, is within 2^-28 of y/m - 0.5, so its nearest integer (adding and
// taking off 1.5 2^52) is the quotient q, and y - q m the remainder, exact.
//
// The sum s = ((x4 c4 + x3 c3) + x2 c2) + x1 c1, each product and each sum
// rounded to the 64-bit significand.  The c_i = 1/m_i are doubles in
// [2^-24, 2^-23), multiples of 2^-76; a product x c (x an integer from 1 to
// 2^24) lies in [2^-24, 2), so its 64-bit rounding is a multiple of
// 2^(-24-63) = 2^-87, and so is every sum of such values.  The sum of two
// rounded pairs (sh, sl) + (th, tl), all values positive and below 4:
// TwoSum gives S + E = sh + th exactly; |E| <= ulp(S)/2 <= 2^-52 and
// |sl|, |tl| <= 2^-52, so E + (sl + tl) is a multiple of 2^-87 below 2^-50
// in magnitude: 37 bits, exact in one double.  S >= 2^-24 exceeds it, so
// Fast2Sum renormalises exactly before the rounding to 64 bits.
//
// No product rounds to a power of two 2^k from below, so its rounding needs
// no look at the binade below: with c = (1 + e)/m, |e| <= 2^-53, that
// would put x/m within 2^(k-51) of 2^k, and the integer x within
// m 2^(k-51) < 2^-27 of m 2^k, which for -24 <= k < 0 is no integer (m is
// odd) and for k = 0 is m itself, above every component.
//
// Output.  With d = s rounded to double (hi + lo), the integer part is
// trunc(d) in 0 .. 3, and u = s - trunc(d) is (hi - trunc(d)) + lo, the
// head exact (both on hi's grid, the difference below 1, or Sterbenz's
// lemma where d rounded up to an integer).  u w and u w + a (a a zero) are
// exact in the x87 too, so the result is u w rounded once: to double
// by hi + lo, to float through rounding to odd (rng/wide_pair.h).
#include "frame/simd.h"
#include "rng/wh_class.h"
#include "rng/wide_pair.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

constexpr int kLanes = simd::kNative<double>;
// Independent registers of chains side by side: one element's sum is a long
// chain of dependent roundings, and the processor overlaps those of
// different registers within one step.
constexpr int kRegisters = 2;
static_assert(kLanes * kRegisters <= rng::kWhMostLanes, "chains of a WhLanes");

using D = simd::Vec<double, kLanes>;
using Pair = wide::Pair<kLanes>;
using Registers = D[kRegisters][4];  // component i of each register's chains

[[gnu::always_inline]] inline D next(D x, D a, D m, D inverse) {
    constexpr double kRoundingShift = 0x1.8p52;
    const D y = x * a;
    const D q = (simd::fma(y, inverse, simd::broadcast<D>(-0.5)) + kRoundingShift) - kRoundingShift;
    return simd::fnma(q, m, y);
}

// u (the sum less its integer part) times w, as an unrounded pair, for
// each register, the registers in step.
[[gnu::always_inline]] inline void scaled_fractions(const Registers& x, const D (&c)[4], D w, Pair (&u)[kRegisters]) {
    Pair s[kRegisters];
    for (int h = 0; h < kRegisters; ++h) s[h] = wide::round_to_64<false>(wide::exact_product(x[h][3], c[3]));
    for (int i = 2; i >= 0; --i)
        for (int h = 0; h < kRegisters; ++h)
            s[h] = wide::sum_to_64(s[h], wide::round_to_64<false>(wide::exact_product(x[h][i], c[i])));
    for (int h = 0; h < kRegisters; ++h) {
        const D whole = simd::convert<double>(simd::convert<int32_t>(s[h].hi + s[h].lo));
        u[h] = {(s[h].hi - whole) * w, s[h].lo * w};
    }
}

template <class Store>
void run(rng::WhLanes& st, int32_t steps, double w, Store store) {
    Registers x;
    D c[4], a[4], m[4];
    for (int i = 0; i < 4; ++i) {
        for (int h = 0; h < kRegisters; ++h) x[h][i] = simd::load<D>(st.x[i] + h * kLanes);
        c[i] = simd::broadcast<D>(st.reciprocal[i]);
        a[i] = simd::broadcast<D>(st.stride[i]);
        m[i] = simd::broadcast<D>(st.modulus[i]);
    }
    const D scale = simd::broadcast<D>(w);
    for (int32_t k = 0; k < steps; ++k) {
        Pair u[kRegisters];
        scaled_fractions(x, c, scale, u);
        for (int h = 0; h < kRegisters; ++h) store((static_cast<int64_t>(k) * kRegisters + h) * kLanes, u[h]);
        for (int h = 0; h < kRegisters; ++h)
            for (int i = 0; i < 4; ++i) x[h][i] = next(x[h][i], a[i], m[i], c[i]);
    }
    for (int i = 0; i < 4; ++i) st.x[i][0] = simd::lane(x[0][i], 0);
}

void doubles(rng::WhLanes& st, int32_t steps, double* out, double w, double a) {
    run(st, steps, w, [out, a](int64_t i, Pair u) { simd::store(out + i, (u.hi + u.lo) + a); });
}

void floats(rng::WhLanes& st, int32_t steps, float* out, double w, float a) {
    run(st, steps, w, [out, a](int64_t i, Pair u) { simd::store(out + i, wide::to_float(u) + a); });
}

}  // namespace

void fill_wh_table(rng::WhTable& t) {
    t.lanes = kLanes * kRegisters;
    t.doubles = doubles;
    t.floats = floats;
}

}  // namespace XEB_ISA
}  // namespace xeb
