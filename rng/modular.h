// Modular products shared by the generators and the exported powers.
#pragma once

#include <cstdint>

namespace xeb::rng {

constexpr uint32_t kMersenne31 = 0x7FFFFFFF;  // 2^31 - 1

// x * y mod 2^31 - 1 without division.  With p = x * y = q 2^31 + l,
// 2^31 = 1 (mod 2^31 - 1) gives p = q + l; for x, y below 2^31 the sum is
// below 2 (2^31 - 1), so one conditional subtraction finishes.  The sum is
// taken in 32 bits (larger operands wrap, as the powers define it).
inline uint32_t mul_mod_mersenne31(uint32_t x, uint32_t y) {
    const uint64_t p = static_cast<uint64_t>(x) * y;
    uint32_t s = static_cast<uint32_t>(p & kMersenne31) + static_cast<uint32_t>(p >> 31);
    if (s >= kMersenne31) s -= kMersenne31;
    return s;
}

// Square-and-multiply for e > 0: r <- b r at each set bit, then b <- b b,
// the base squared once more after the last bit.
template <class T, class Mul>
T pow_positive(T base, int32_t e, T one, Mul mul) {
    T r = one;
    while (e != 0) {
        if (e & 1) r = mul(base, r);
        e >>= 1;
        base = mul(base, base);
    }
    return r;
}

}  // namespace xeb::rng
