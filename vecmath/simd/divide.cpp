// Division of the SIMD kernel classes (see frame/class_frame.h for the frame
// and the recipe), written once over the vector type and compiled once per
// class.  The hardware division is correctly rounded, denormal results
// included: error budget 0.5 ulp, and the AVX2 and AVX-512 classes give the
// same bits.
//
// Lanes leave the vector code only for their events or for a NaN the
// hardware would pick differently from the baseline:
//  - double: a zero divisor (event 2 whatever the numerator, the baseline's
//    rule) and lanes with a NaN in either input: of two NaNs the baseline's
//    x87 division does not always return the numerator, as SSE does.  (With
//    a signalling NaN among the two, the baseline's pick depends on the
//    order in which its compiled code loads them; here it is as if both
//    were quiet.)
//  - single: a zero divisor (event 2 unless the numerator is a NaN).  The
//    baseline divides in SSE too, so its NaNs are the hardware's.
#include <cstdint>

#include "frame/class_frame.h"
#include "vecmath/kernel_table.h"
#include "vecmath/simd/lanes.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

using namespace simd;
using namespace lanes;
using class_frame::Arrays;

constexpr uint64_t kAbs = 0x7FFFFFFFFFFFFFFFull;
constexpr uint32_t kAbsF = 0x7FFFFFFFu;
constexpr uint64_t kInfBits = 0x7FF0000000000000ull;
constexpr uint64_t kQuietBit = 0x0008000000000000ull;
constexpr uint64_t kSignificand = 0x000FFFFFFFFFFFFFull;
constexpr uint32_t kInfF = 0x7F800000u;

struct DivD {
    using V = D<kNative<double>>;
    static constexpr const char* name = "_xebdDiv_HA";
    static constexpr double filler = 1.0, filler_b = 1.0;

    // |b| - 1 wraps for a zero and lands above the infinity's pattern for
    // a NaN.
    template <int N>
    static MaskOf<double, N> special(D<N> a, D<N> b) {
        return compare<Cmp::Ge>((bitcast<uint64_t>(b) & kAbs) - 1, kInfBits) |
               compare<Cmp::Gt>(bitcast<uint64_t>(a) & kAbs, kInfBits);
    }
    template <int N>
    [[gnu::always_inline]] static D<N> compute(D<N> a, D<N> b) {
        return a / b;
    }

    // The baseline's choice between two quiet NaNs: the larger
    // significand, the positive one on a tie.  A signalling NaN is taken
    // quiet first.
    static double either_nan(uint64_t a, uint64_t b) {
        const uint64_t qa = a | kQuietBit, qb = b | kQuietBit;
        const uint64_t sa = qa & kSignificand, sb = qb & kSignificand;
        return double_of(sa > sb ? qa : sb > sa ? qb : qa & qb);
    }
    static void one(double a, double b, int i, const Arrays<double>& x) {
        const uint64_t ua = bits(a), ub = bits(b);
        const bool both_nan = (ua & kAbs) > kInfBits && (ub & kAbs) > kInfBits;
        x.y[i] = both_nan ? either_nan(ua, ub) : compute(D<1>{a}, D<1>{b}).v;
        if ((ub & kAbs) == 0) class_frame::raise(XEB_STATUS_POLE, i, x, name);
    }
};

struct DivS {
    using V = F<kNative<float>>;
    static constexpr const char* name = "_xebsDiv_HA";
    static constexpr float filler = 1.0f, filler_b = 1.0f;

    template <int N>
    static MaskOf<float, N> special(F<N>, F<N> b) {
        return compare<Cmp::Eq>(bitcast<uint32_t>(b) & kAbsF, 0u);
    }
    template <int N>
    [[gnu::always_inline]] static F<N> compute(F<N> a, F<N> b) {
        return a / b;
    }
    // As in the baseline, the event test reads both inputs from memory
    // after the result is stored: in place, a zero divisor overwritten by
    // its result (or a zero numerator by its NaN) raises nothing.
    static void one(float a, float b, int i, const Arrays<float>& x) {
        x.y[i] = compute(F<1>{a}, F<1>{b}).v;
        if ((bits(x.b[i]) & kAbsF) == 0 && (bits(x.a[i]) & kAbsF) <= kInfF)
            class_frame::raise(XEB_STATUS_POLE, i, x, name);
    }
};

}  // namespace

void divide_entries(vm::KernelTable& t) {
    t.dDiv_HA = t.dDiv_50 = class_frame::binary<DivD>;
    t.sDiv_HA = t.sDiv_21 = t.sDiv_11 = class_frame::binary<DivS>;
}

}  // namespace XEB_ISA
}  // namespace xeb
