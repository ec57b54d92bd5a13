// Bit views of floating-point values, for the integer tests that decide a
// kernel's fast domain.
#pragma once

#include <cstdint>
#include <cstring>

#include "frame/fpu.h"

namespace xeb {

inline uint64_t bits(double x) {
    uint64_t u;
    std::memcpy(&u, &x, sizeof u);
    return u;
}
inline uint32_t bits(float x) {
    uint32_t u;
    std::memcpy(&u, &x, sizeof u);
    return u;
}
inline double double_from_bits(uint64_t u) {
    double x;
    std::memcpy(&x, &u, sizeof x);
    return x;
}
inline float float_from_bits(uint32_t u) {
    float x;
    std::memcpy(&x, &u, sizeof x);
    return x;
}
inline uint32_t high_word(double x) { return static_cast<uint32_t>(bits(x) >> 32); }
inline uint32_t low_word(double x) { return static_cast<uint32_t>(bits(x)); }

inline bool is_zero(double x) { return (bits(x) << 1) == 0; }
inline bool is_zero(float x) { return (bits(x) << 1) == 0; }

// Bits of x rounded to a 32-bit float by the x87 store (no C++ conversion,
// which would be undefined for values beyond the float range).
inline uint32_t x87_float_image(long double x) { return bits(fpu::x87_store_float(x)); }

}  // namespace xeb
