// Arithmetic of the x87's 64-bit significand, reproduced exactly in double
// lanes, for the generators whose real output is defined by it (WH's sum of
// four scaled components, MCG59's scaled 59-bit words).
//
// A 64-bit-significand value v is held as a pair (hi, lo) of doubles with
// v = hi + lo exactly and |lo| <= ulp(hi)/2.
//
//  - Product of two doubles: hi = x c, lo = fma(x, c, -hi), exact
//    (T. J. Dekker, "A floating-point technique for extending the available
//    precision", Numer. Math. 18 (1971) 224-242, with the fused operation).
//  - Rounding to 64 significant bits, to nearest with ties to even: with
//    E the exponent of v, the grid is q = 2^(E-63), and hi, a double of the
//    same binade, is a multiple of 2^11 q: an even multiple.  So rounding v
//    is rounding lo to a multiple of q, ties to even on lo / q, which
//    lo + M - M does with M = 1.5 2^52 q (lo + M lies in [2^52 q, 2^53 q),
//    whose spacing is q).  E is the exponent of hi, but one lower where hi
//    is a power of two and lo takes v below it: the exponent of the double
//    next to hi towards lo.  The pair that comes out has |lo| <= ulp(hi)/2
//    still (ulp(hi)/2 is on the grid), not necessarily the nearest hi.
//  - Sums: TwoSum of the heads (D. E. Knuth, TAOCP vol. 2, 4.2.2) is exact;
//    whether the tails then add exactly depends on the operands, and each
//    caller proves it for its ranges.  Fast2Sum (Dekker) renormalises when
//    the larger magnitude comes first.
//  - To double: hi + lo, one rounding of the exact value.  To float: the
//    nearest double of the sum is first rounded to odd (the double towards
//    zero, its last bit set when inexact), then to float: with 29 bits to
//    spare that is the nearest float of the exact sum, no double rounding
//    (S. Boldo and G. Melquiond, "Emulation of FMA and correctly rounded
//    sums: proved algorithms using rounding to odd", IEEE Trans. Comput.
//    57 (2008) 462-471).
//
// Domain: every hi that is rounded to 64 bits lies between 2^-1000 and
// 2^1000 in magnitude (M stays normal); MXCSR rounds to nearest without
// flush-to-zero (the generators run under the stream control words).
#pragma once

#include <cstdint>

#include "frame/simd.h"

namespace xeb {
inline namespace XEB_ISA {
namespace wide {

template <int N>
using D = simd::Vec<double, N>;
template <int N>
using U = simd::Vec<uint64_t, N>;

template <int N>
struct Pair {
    D<N> hi, lo;
};

constexpr uint64_t kExponentBits = 0x7FF0000000000000ull;

template <int N>
[[gnu::always_inline]] inline Pair<N> exact_product(D<N> x, D<N> c) {
    const D<N> p = x * c;
    return {p, simd::fms(x, c, p)};
}

// Knuth's TwoSum: s + e = a + b exactly.
template <int N>
[[gnu::always_inline]] inline Pair<N> two_sum(D<N> a, D<N> b) {
    const D<N> s = a + b;
    const D<N> bb = s - a;
    return {s, (a - (s - bb)) + (b - bb)};
}

// Dekker's Fast2Sum, for |a| >= |b| (or a = 0).
template <int N>
[[gnu::always_inline]] inline Pair<N> fast_two_sum(D<N> a, D<N> b) {
    const D<N> s = a + b;
    return {s, b - (s - a)};
}

// v rounded to 64 significant bits, as argued at the top.  A caller that
// knows hi is no power of two (or lo not of the other sign) may leave out
// the look at the binade below.
template <bool MayLeaveBinade = true, int N>
[[gnu::always_inline]] inline Pair<N> round_to_64(Pair<N> v) {
    U<N> hi = simd::bitcast<uint64_t>(v.hi);
    // The exponent of the double next to hi towards lo where their signs
    // differ: the binade below only for a power of two.
    if constexpr (MayLeaveBinade) hi = hi - ((hi ^ simd::bitcast<uint64_t>(v.lo)) >> 63);
    // M = 1.5 2^(E - 11) = 1.5 2^52 q: E's field less 11, significand 1.5.
    constexpr uint64_t kToMagic = 0x0008000000000000ull - (uint64_t{11} << 52);
    const D<N> magic = simd::bitcast<double>((hi & kExponentBits) + kToMagic);
    return {v.hi, (v.lo + magic) - magic};
}

// s + t rounded to 64 bits, for pairs whose tails and the error of the
// heads' sum add exactly in one double and whose sum's head exceeds that
// (the caller's ranges must show it).
template <int N>
[[gnu::always_inline]] inline Pair<N> sum_to_64(Pair<N> s, Pair<N> t) {
    const Pair<N> head = two_sum(s.hi, t.hi);
    return round_to_64(fast_two_sum(head.hi, head.lo + (s.lo + t.lo)));
}

// The nearest float of hi + lo (any pair of finite doubles whose sum does
// not overflow).
template <int N>
[[gnu::always_inline]] inline simd::Vec<float, N> to_float(Pair<N> v) {
    const Pair<N> s = two_sum(v.hi, v.lo);
    const U<N> head = simd::bitcast<uint64_t>(s.hi), tail = simd::bitcast<uint64_t>(s.lo);
    constexpr uint64_t kMagnitude = 0x7FFFFFFFFFFFFFFFull;
    const U<N> inexact = ((tail & kMagnitude) + kMagnitude) >> 63;         // 1 where the tail is not zero
    const U<N> towards_zero = head - (((head ^ tail) >> 63) & inexact);  // a tail of the other sign
    return simd::convert<float>(simd::bitcast<double>(towards_zero | inexact));
}

}  // namespace wide
}  // namespace XEB_ISA
}  // namespace xeb
