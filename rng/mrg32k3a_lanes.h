// MRG32K3A's constants, and its step on lanes of 64-bit integers holding
// 32-bit values (rng/mrg32k3a.cpp has the reasoning), written over the
// vector type of frame/simd.h: the baseline runs it on one lane and on two
// (SSE2); the kernel classes (rng/simd/mrg32k3a.cpp) take the constants.
#pragma once

#include <cstdint>

#include "frame/simd.h"

namespace xeb {
inline namespace XEB_ISA {
namespace mrg32k3a {

constexpr uint32_t kM1 = 4294967087u;  // 2^32 - 209
constexpr uint32_t kM2 = 4294944443u;  // 2^32 - 22853
constexpr uint32_t kDelta1 = 209, kDelta2 = 22853;
constexpr uint32_t kA12 = 1403580, kA13 = 810728;  // x[n-2], -x[n-3]
constexpr uint32_t kA21 = 527612, kA23 = 1370589;  // y[n-1], -y[n-3]
constexpr uint64_t kLow32 = 0xFFFFFFFFu;

// Coefficients (c0, c1, c2) of x[n] = c0 x[n-1] + c1 x[n-2] + c2 x[n-3].
constexpr uint32_t kCoefficients1[3] = {0, kA12, kM1 - kA13};
constexpr uint32_t kCoefficients2[3] = {kA21, 0, kM2 - kA23};

// -k w = k (2^32 - 1 - w) - k (2^32 - 1): the complement of a 32-bit w stays
// in the multiplier's 32-bit operand, and the constant below (k (2^32 - 1)
// taken off modulo m) is added instead.
constexpr uint64_t minus_k_offset(uint32_t k, uint32_t m) {
    return (m - uint64_t{k} * kLow32 % m) % m;
}
constexpr uint64_t kOffset1 = minus_k_offset(kA13, kM1), kOffset2 = minus_k_offset(kA23, kM2);

template <int N>
using Lanes = simd::Vec<uint64_t, N>;

template <int N>
[[gnu::always_inline]] inline Lanes<N> times(Lanes<N> x, uint32_t k) {
    return simd::mul_low32(x, simd::broadcast<Lanes<N>>(k));
}

// t mod (2^32 - delta) for t < 2 (2^32 - delta): t + delta reaches 2^32
// exactly when t >= m, and then its low 32 bits are t - m.
template <uint32_t Delta, int N>
[[gnu::always_inline]] inline Lanes<N> subtract_modulus_once(Lanes<N> t) {
    const Lanes<N> carry = (t + uint64_t{Delta}) >> 32;
    return (t + ((uint64_t{0} - carry) & uint64_t{Delta})) & kLow32;
}

// h 2^32 + l -> delta h + l, the same modulo 2^32 - delta.
template <uint32_t Delta, int N>
[[gnu::always_inline]] inline Lanes<N> fold(Lanes<N> t) {
    return times(t >> 32, Delta) + (t & kLow32);
}

template <int N>
[[gnu::always_inline]] inline Lanes<N> next_x(Lanes<N> x1, Lanes<N> x2) {
    // below 2^53 + 2^52 + 2^32 before the fold
    const Lanes<N> t = times(x2, kA12) + times(x1 ^ kLow32, kA13) + kOffset1;
    return subtract_modulus_once<kDelta1>(fold<kDelta1>(t));
}

template <int N>
[[gnu::always_inline]] inline Lanes<N> next_y(Lanes<N> y1, Lanes<N> y3) {
    // below 2^52 + 2^53 + 2^32 before the folds
    const Lanes<N> t = times(y3, kA21) + times(y1 ^ kLow32, kA23) + kOffset2;
    return subtract_modulus_once<kDelta2>(fold<kDelta2>(fold<kDelta2>(t)));
}

// z = p - q, or p - q + m1 when p <= q: with t = p + m1 - q in 1 .. 2 m1,
// p > q exactly when t + 208 reaches 2^32.
template <int N>
[[gnu::always_inline]] inline Lanes<N> combine(Lanes<N> p, Lanes<N> q) {
    const Lanes<N> t = p + uint64_t{kM1} - q;
    const Lanes<N> carry = (t + uint64_t{kDelta1 - 1}) >> 32;
    return (t + ((uint64_t{0} - carry) & uint64_t{kDelta1})) & kLow32;
}

// The last three values of a component, oldest first, moved on by v.
template <class T>
[[gnu::always_inline]] inline void push(T (&w)[3], T v) {
    w[0] = w[1];
    w[1] = w[2];
    w[2] = v;
}

// One chain per lane: the last three values of each component, oldest
// first.  A step returns z.
template <int N>
struct Chain {
    Lanes<N> x[3], y[3];
    [[gnu::always_inline]] inline Lanes<N> step() {
        const Lanes<N> p = next_x(x[0], x[1]), q = next_y(y[0], y[2]);
        push(x, p);
        push(y, q);
        return combine(p, q);
    }
};

}  // namespace mrg32k3a
}  // namespace XEB_ISA
}  // namespace xeb
