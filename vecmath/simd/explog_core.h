// The exponential's and the logarithm's vector cores of the SIMD kernel
// classes (their error budgets are in vecmath/simd/explog.cpp), shared by
// the families built on them (vecmath/simd/power.cpp).  Included by the
// class translation units only.
#pragma once

#include <cstdint>

#include "frame/class_frame.h"
#include "vecmath/explog_shared.h"
#include "vecmath/simd/lanes.h"

namespace xeb {
inline namespace XEB_ISA {
namespace {

using namespace simd;
using class_frame::Arrays;
namespace ex = explog;

using namespace lanes;

constexpr uint64_t kAbs = 0x7FFFFFFFFFFFFFFFull;
constexpr uint32_t kAbsF = 0x7FFFFFFFu;

// ---------------------------------------------------------------- double exponential

constexpr int64_t kOverflowBits = 0x40862E42FEFA39F0;    // 709.7827128933841: +infinity, event 3
constexpr uint64_t kUnderflowBits = 0x40874910D52D3052;  // -745.1332191019412 and beyond: +0, event 4
constexpr uint64_t kBandBits = 0x4086232BDD7ABCD3;       // |x| from 708.3964185322642: the band event
constexpr uint32_t kBandExemptHigh = 0x40862E42;         // positive x with this high word: no band event
constexpr uint64_t kInfBits = 0x7FF0000000000000ull;

// The data of one precision's exponential: the shifter whose last place
// is 1 (x 16/ln 2 + it leaves k in the low bits), 16/ln 2, ln2/16 in two
// parts, the tables, the place of k's low bits in the scale's pattern and
// q(r) = (e^r - 1 - r) / r^2.
template <class T>
struct ExpData;
template <>
struct ExpData<double> {
    static constexpr double kShift = 0x1.8p52;
    static constexpr const double &inv_ln2_n = ex::expInvLn2N, &ln2_hi_n = ex::expLn2HiN, &ln2_lo_n = ex::expLn2LoN;
    static constexpr const double* tail = ex::expTail;
    static constexpr const uint64_t* scale = ex::expScaleBits;
    static constexpr int kIndexShift = 48;  // 52 - 4
    static constexpr uint64_t kFastLimit = 0x4086232B00000000ull;  // high word 0x4086232B, about 708.39
    template <int N>
    XEB_INLINE static D<N> q(D<N> r, D<N> r2) {
        const double* c = ex::expPoly;
        return fma(r2 * r2, fma(r, c[5], c[4]), fma(r2, fma(r, c[3], c[2]), fma(r, c[1], c[0])));
    }
};
template <>
struct ExpData<float> {
    static constexpr float kShift = 0x1.8p23f;
    static constexpr const float &inv_ln2_n = ex::expInvLn2NF, &ln2_hi_n = ex::expLn2HiNF, &ln2_lo_n = ex::expLn2LoNF;
    static constexpr const float* tail = ex::expTailF;
    static constexpr const uint32_t* scale = ex::expScaleBitsF;
    static constexpr int kIndexShift = 19;  // 23 - 4
    static constexpr uint32_t kFastLimit = 0x42AE0000;  // 87: results near the float range's ends
    template <int N>
    XEB_INLINE static F<N> q(F<N> r, F<N>) {
        const float* c = ex::expPolyF;
        return fma(r, fma(r, c[2], c[1]), c[0]);
    }
};

// e^x ~ s + s tmp, s = 2^(k >> 4) H_i, i = k mod 16.
template <class T, int N>
struct ExpTerms {
    Vec<T, N> tmp;
    UVec<T, N> k;  // k in the low bits, as the shifted sum's pattern
};

template <class T, int N>
XEB_INLINE ExpTerms<T, N> exp_terms(Vec<T, N> x) {
    using E = ExpData<T>;
    const Vec<T, N> shifted = fma(x, E::inv_ln2_n, E::kShift);
    const UVec<T, N> k = bitcast<typename Traits<UVec<T, N>>::Lane>(shifted);
    const Vec<T, N> kd = shifted - E::kShift;
    const Vec<T, N> r = fma(kd, -E::ln2_lo_n, fma(kd, -E::ln2_hi_n, x));
    const Vec<T, N> r2 = r * r;
    return {fma(r2, E::q(r, r2), r + lookup<16>(E::tail, k)), k};
}

// The bits of s: H_i's less i at k's place, plus k there (its low bits put
// i back, the rest lands in the exponent, wrapping beyond the range's ends).
template <class T, int N>
XEB_INLINE UVec<T, N> scale_bits(UVec<T, N> k) {
    return lookup<16>(ExpData<T>::scale, k) + (k << ExpData<T>::kIndexShift);
}

// The vector code of both exponentials: |x| from the fast limit leaves it
// (2^(k >> 4) H_i is a normal number below).
template <class T>
struct ExpVector {
    using Bits = typename LaneInt<static_cast<int>(sizeof(T))>::U;
    static constexpr Bits kAbsMask = ~Bits{0} >> 1;
    template <int N>
    static MaskOf<T, N> special(Vec<T, N> x) {
        return compare<Cmp::Ge>(bitcast<Bits>(x) & kAbsMask, ExpData<T>::kFastLimit);
    }
    template <int N>
    XEB_INLINE static Vec<T, N> compute(Vec<T, N> x) {
        const ExpTerms<T, N> t = exp_terms(x);
        const Vec<T, N> s = bitcast<T>(scale_bits<T>(t.k));
        return fma(s, t.tmp, s);
    }
};

// ---------------------------------------------------------------- logarithms

constexpr uint64_t kLogOffset = 0x3FE6800000000000ull;  // bits of 0.703125, row 0's start
constexpr uint64_t kExponentField = 0xFFF0000000000000ull;
constexpr uint64_t kNormalBits = 0x0010000000000000ull;
constexpr uint64_t kNormalSpan = 0x7FE0000000000000ull;  // bits - kNormalBits below it: positive normal
constexpr uint64_t kDefaultNaN = 0xFFF8000000000000ull;
constexpr uint32_t kDefaultNaNF = 0xFFC00000u;
constexpr uint32_t kLogOffsetF = 0x3F340000;  // bits of 0.703125 as a float
constexpr uint32_t kNormalF = 0x00800000;

// The decoded argument: z, k (as a double, less `adjust`) and the row.
template <int N>
struct LogParts {
    D<N> z, kd;
    U<N> row;
};

template <int N>
XEB_INLINE LogParts<N> log_parts(D<N> x, double adjust) {
    const U<N> ix = bitcast<uint64_t>(x);
    const U<N> offset = ix - kLogOffset;
    const U<N> row = offset >> 48;
    D<N> kd = signed_top_bits<52>(offset);
    if (adjust != 0) kd = kd - adjust;  // a constant 0 where inlined: no operation
    return {bitcast<double>(ix - (offset & kExponentField)), kd, row};
}

// log x = hi + lo, x positive and normal (x 2^-adjust the argument).
// r = z invc - 1 = q + pl exactly: the product as a fused pair (ph, pl),
// q = ph - 1 exact (ph lies within 2^-5 of 1).  Then
//   log1p(q + pl) = q + q^2 g(q) + pl (1 - q) - pl q^2 + ...,
// the dropped terms below 2^-63 (|pl| <= 2^-53, |q| <= 2^-5), and pl = 0 in
// row 9 (c = 1), the only row whose results fall below 2^-6.
template <int N>
XEB_INLINE void ln_pair(D<N> x, double adjust, D<N>& hi, D<N>& lo) {
    const LogParts<N> p = log_parts(x, adjust);
    const D<N> invc = lookup<16>(ex::logInvC, p.row), logc = lookup<16>(ex::logLogC, p.row);
    const D<N> ph = p.z * invc;
    const D<N> pl = fms(p.z, invc, ph);
    const D<N> q = ph - 1.0;
    // k ln2hi + log c + q = hi + hl: k ln2hi (42 bits times 12) and log c
    // (a multiple of 2^-42) add exactly, then one exact two-sum.
    const D<N> w = fma(p.kd, ex::logLn2Hi, logc);
    hi = w + q;
    const D<N> hl = (w - hi) + q;  // |w| >= |q|, or w = 0
    const double* c = ex::lnPoly;
    D<N> g = fma(q, c[8], c[7]);
    for (int j = 6; j >= 0; --j) g = fma(q, g, c[j]);
    // q^2 g + pl (1 - q) = q (q g - pl) + pl.
    const D<N> t = fms(q, g, pl);
    lo = fma(q, t, hl + fma(p.kd, ex::logLn2Lo, pl));
}

}  // namespace
}  // namespace XEB_ISA
}  // namespace xeb
