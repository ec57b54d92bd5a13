// Single power of the SIMD kernel classes (see frame/class_frame.h for the
// frame and the recipe): x^y = e^(y ln x) in doubles, from the natural
// logarithm's pair and the double exponential's vector cores
// (vecmath/simd/explog_core.h), rounded once to float.
//
// Error budget, relative, before the rounding to float: ln x as hi + lo to
// 2^-66 of ln x (next to 1) or 2^-66 absolute; w = y hi + y lo by one fused
// product and one product, |w| < 104 wherever the result is a nonzero
// finite float: 2^-46 absolute; e^w to 0.52 ulp of a double, 2^-52.9.
// Together below 2^-45.9, which adds 2^-21.9 ulp to the 0.5 ulp of the
// rounding to float.  Bound 0.51.  Denormal floats come out of a normal
// double, rounded once more: the same bound.  w is clamped to +-200 so that
// the exponential's reduction stays in range: the clamped results are
// still infinite or zero as floats.
//
// Lanes leave the vector code when x is not a positive finite float (its
// zeros, signs, infinities and NaNs) or y is zero, infinite or a NaN: the
// baseline's table (vecmath/power.cpp) decides those, and negative bases
// with integer exponents come back here on |x| with the table's sign.
// Overflow and underflow raise nothing, as in the baseline.
#include <cstdint>

#include "frame/class_frame.h"
#include "vecmath/kernel_table.h"
#include "vecmath/power.h"
#include "vecmath/simd/explog_core.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

constexpr uint32_t kInfBitsF = 0x7F800000u;
constexpr double kClamp = 200.0;

// e^(y ln x) on doubles widened from floats, x positive finite, y finite.
template <int N>
XEB_INLINE D<N> pow_double(D<N> x, D<N> y) {
    D<N> hi, lo;
    ln_pair(x, 0.0, hi, lo);
    D<N> w = fma(y, hi, y * lo);
    w = select(compare<Cmp::Gt>(w, kClamp), broadcast<D<N>>(kClamp), w);
    w = select(compare<Cmp::Lt>(w, -kClamp), broadcast<D<N>>(-kClamp), w);
    return ExpVector<double>::compute(w);
}

template <const char* Name>
struct PowS {
    using V = F<kNative<float>>;
    static constexpr const char* name = Name;
    static constexpr float filler = 1.0f, filler_b = 1.0f;

    // x - 1 as bits wraps for +0 and lands at or above the infinity's
    // pattern less one for negative x, infinities and NaNs; |y| - 1 the
    // same for zeros, infinities and NaNs.
    template <int N>
    static MaskOf<float, N> special(F<N> x, F<N> y) {
        return compare<Cmp::Ge>(bitcast<uint32_t>(x) - 1u, kInfBitsF - 1) |
               compare<Cmp::Ge>((bitcast<uint32_t>(y) & kAbsF) - 1u, kInfBitsF - 1);
    }
    template <int P, int N>
    XEB_INLINE static D<N / 2> half_pow(F<N> x, F<N> y) {
        return pow_double(convert<double>(half<P>(x)), convert<double>(half<P>(y)));
    }
    template <int N>
    XEB_INLINE static F<N> compute(F<N> x, F<N> y) {
        if constexpr (N == 1) {
            return convert<float>(pow_double(convert<double>(x), convert<double>(y)));
        } else {
            return join(convert<float>(half_pow<0>(x, y)), convert<float>(half_pow<1>(x, y)));
        }
    }
    static void one(float a, float b, int i, const Arrays<float>& x) {
        const PowSpecial d = powSpecialS(a, b);
        x.y[i] = d.decided ? d.result : d.sign * compute(F<1>{d.magnitude}, F<1>{b}).v;
        if (d.code != 0) class_frame::raise(d.code, i, x, name);
    }
};

constexpr char kPowS[] = "_xebsPow_HA";
constexpr char kPowxS[] = "_xebsPowx_HA";

}  // namespace

#undef XEB_INLINE

void power_entries(vm::KernelTable& t) {
    t.sPow_HA = t.sPow_21 = t.sPow_11 = class_frame::binary<PowS<kPowS>>;
    t.sPowx_HA = t.sPowx_21 = t.sPowx_11 = class_frame::vector_scalar<PowS<kPowxS>>;
}

}  // namespace XEB_ISA
}  // namespace xeb
