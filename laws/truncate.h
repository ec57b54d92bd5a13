// Doubles to 32-bit integers by integer operations on their bit patterns,
// for every discrete law: no conversion instruction, so neither the x87
// control word nor MXCSR is read or changed, and the result does not depend
// on the rounding mode a caller has set.
//
// truncate_to_int32(x), toward zero.  With e the biased exponent:
//   e <= 1022        |x| < 1: 0.
//   1023 <= e        the significand with its leading one, as the 32-bit
//                    word 1.f * 2^31 (f cut to 31 bits), shifted right by
//                    1054 - e, then negated when x is negative.
// Exact for |x| < 2^31 (the 31 fraction bits kept cover every integer
// bit).  For 2^31 <= |x| < 2^32 (e = 1054) the word is the integer part
// modulo 2^32, read as signed.  Above that (e > 1054, infinities and NaNs
// included) the shift count is taken modulo 32 and the result, though
// fixed, means nothing: callers keep their values below 2^31.
#pragma once

#include <cstdint>
#include <cstring>

#include "frame/bits.h"

namespace xeb::laws {

constexpr int kExponentOfOne = 1023;      // biased exponent of [1, 2)
constexpr int kExponentOfTwo31 = 1054;    // biased exponent of [2^31, 2^32)

inline int32_t truncate_to_int32(double x) {
    const uint64_t u = bits(x);
    const int e = static_cast<int>((u >> 52) & 0x7FF);
    const int shift = kExponentOfTwo31 - e;  // 0..31 for 1 <= |x| < 2^32
    // Bits 62..32 of u << 11 are the top 31 fraction bits; bit 31 becomes
    // the leading one.
    const uint32_t word = static_cast<uint32_t>((u << 11) >> 32) | 0x80000000u;
    uint32_t magnitude = word >> (shift & 31);
    magnitude = shift > 31 ? 0u : magnitude;  // |x| < 1 (a select, not a branch)
    const uint32_t sign = 0u - static_cast<uint32_t>(u >> 63);  // all ones when negative
    return static_cast<int32_t>((magnitude ^ sign) - sign);
}

// floor(x) for |x| < 2^31: the truncation, one lower when x is negative
// and not an integer.  Exact: t - 1 is an integer of at most 32 bits.
inline int32_t floor_to_int32(double x) {
    double t = truncate_to_int32(x);
    if (t != x && x < 0) t -= 1.0;
    return truncate_to_int32(t);
}

// The float at place i of an integer array that a law drew floats into (a
// float and a 32-bit integer have the same size), read through memcpy: the
// element changes type under the same address.
inline float float_at(const int32_t* r, int32_t i) {
    float f;
    std::memcpy(&f, r + i, sizeof f);
    return f;
}

}  // namespace xeb::laws
