// WH's real fills in the widest double registers of one kernel class: one
// element per lane, the lanes of a register consecutive elements, the
// 64-bit-significand sum of rng/wh.cpp reproduced bit for bit with the
// pairs of rng/wide_pair.h.
//
// Components.  x <- a x mod m with x, a below m < 2^24: y = x a is exact,
// q = trunc(y (1/m)) the true quotient (rng/wh.cpp has the argument) and
// y - q m the remainder, exact.
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
static_assert(kLanes <= rng::kWhMostLanes, "chains of a WhLanes");

using D = simd::Vec<double, kLanes>;
using Pair = wide::Pair<kLanes>;

[[gnu::always_inline]] inline D next(D x, D a, D m, D inverse) {
    const D y = x * a;
    const D q = simd::convert<double>(simd::convert<int32_t>(y * inverse));
    return simd::fnma(q, m, y);
}

// u (the sum less its integer part) times w, as an unrounded pair.
[[gnu::always_inline]] inline Pair scaled_fraction(const D (&x)[4], const D (&c)[4], D w) {
    Pair s = wide::round_to_64(wide::exact_product(x[3], c[3]));
    for (int i = 2; i >= 0; --i) s = wide::sum_to_64(s, wide::round_to_64(wide::exact_product(x[i], c[i])));
    const D whole = simd::convert<double>(simd::convert<int32_t>(s.hi + s.lo));
    return {(s.hi - whole) * w, s.lo * w};
}

template <class T, class Store>
void run(rng::WhLanes& st, int32_t steps, double w, Store store) {
    D x[4], c[4], a[4], m[4];
    for (int i = 0; i < 4; ++i) {
        x[i] = simd::load<D>(st.x[i]);
        c[i] = simd::broadcast<D>(st.reciprocal[i]);
        a[i] = simd::broadcast<D>(st.stride[i]);
        m[i] = simd::broadcast<D>(st.modulus[i]);
    }
    const D scale = simd::broadcast<D>(w);
    for (int32_t k = 0; k < steps; ++k) {
        store(k, scaled_fraction(x, c, scale));
        for (int i = 0; i < 4; ++i) x[i] = next(x[i], a[i], m[i], c[i]);
    }
    for (int i = 0; i < 4; ++i) st.x[i][0] = simd::lane(x[i], 0);
}

void doubles(rng::WhLanes& st, int32_t steps, double* out, double w, double a) {
    run<double>(st, steps, w, [out, a](int32_t k, Pair u) {
        simd::store(out + static_cast<int64_t>(k) * kLanes, (u.hi + u.lo) + a);
    });
}

void floats(rng::WhLanes& st, int32_t steps, float* out, double w, float a) {
    run<float>(st, steps, w, [out, a](int32_t k, Pair u) {
        simd::store(out + static_cast<int64_t>(k) * kLanes, wide::to_float(u) + a);
    });
}

}  // namespace

void fill_wh_table(rng::WhTable& t) {
    t.lanes = kLanes;
    t.doubles = doubles;
    t.floats = floats;
}

}  // namespace XEB_ISA
}  // namespace xeb
