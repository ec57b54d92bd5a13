// Modular products shared by the generators and the exported powers.
#pragma once

#include <array>
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

// 3-by-3 matrices mod m, by rows, for recurrences of order 3: the
// companion matrix of x[n] = c0 x[n-1] + c1 x[n-2] + c2 x[n-3] maps
// (x[n-3], x[n-2], x[n-1]) to (x[n-2], x[n-1], x[n]), and its e-th power
// jumps e steps.  Entries below m < 2^32.  All constexpr, so that fixed
// jumps are tables built by the compiler.
using Matrix3 = std::array<uint32_t, 9>;

constexpr Matrix3 kIdentity3 = {1, 0, 0, 0, 1, 0, 0, 0, 1};

constexpr Matrix3 companion_matrix(uint32_t c0, uint32_t c1, uint32_t c2) {
    return {0, 1, 0, 0, 0, 1, c2, c1, c0};
}

// x0 y0 + x1 y1 + x2 y2 mod m: each term reduced by the remainder, the
// running sum (below 2m, within 64 bits for m < 2^32) by one conditional
// subtraction.
constexpr uint32_t dot3_mod(const uint32_t* x, uint32_t y0, uint32_t y1, uint32_t y2, uint32_t m) {
    const uint32_t y[3] = {y0, y1, y2};
    uint64_t s = 0;
    for (int i = 0; i < 3; ++i) {
        s += static_cast<uint64_t>(x[i]) * y[i] % m;
        if (s >= m) s -= m;
    }
    return static_cast<uint32_t>(s);
}

constexpr Matrix3 matrix_product(const Matrix3& a, const Matrix3& b, uint32_t m) {
    Matrix3 c{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            c[3 * i + j] = dot3_mod(&a[3 * i], b[j], b[3 + j], b[6 + j], m);
    return c;
}

// v <- a v mod m.
constexpr void matrix_times_vector(const Matrix3& a, uint32_t* v, uint32_t m) {
    uint32_t out[3] = {};
    for (int i = 0; i < 3; ++i) out[i] = dot3_mod(&a[3 * i], v[0], v[1], v[2], m);
    for (int i = 0; i < 3; ++i) v[i] = out[i];
}

// a^e mod m for e >= 1, by the square-and-multiply loop above.
constexpr Matrix3 matrix_power(const Matrix3& a, uint64_t e, uint32_t m) {
    Matrix3 r = kIdentity3, b = a;
    for (; e != 0; e >>= 1) {
        if (e & 1) r = matrix_product(b, r, m);
        b = matrix_product(b, b, m);
    }
    return r;
}

}  // namespace xeb::rng
