// Powers under a modulus, for leapfrog and skip-ahead of the linear
// generators: a multiplier a^k jumps a multiplicative generator k steps,
// and the k-th power of the companion matrix jumps a recurrence of order 3.
//
// All follow one square-and-multiply loop.  An exponent of 0 gives 1 (the
// identity) before the modulus is looked at, so m = 1 still answers 1.  A
// negative exponent would shift forever; here it gives 0 (rukiVect3PowMod
// leaves v alone), as does a modulus of 0, which has no remainder.
#include <array>

#include "rng/modular.h"
#include "xebruk/rng_modular.h"

using xeb::rng::kMersenne31;
using xeb::rng::mul_mod_mersenne31;
using xeb::rng::pow_positive;

uint32_t rukiPowMod(uint32_t a, int32_t e, uint32_t m) {
    if (e == 0) return 1;
    if (e < 0 || m == 0) return 0;
    // Operands below 2^32, so each product fits 64 bits before its remainder.
    return pow_positive<uint32_t>(a, e, 1u, [m](uint32_t x, uint32_t y) {
        return static_cast<uint32_t>(static_cast<uint64_t>(x) * y % m);
    });
}

uint32_t rukiPowMod2P31M1(uint32_t a, int32_t e) {
    if (e == 0) return 1;
    if (e < 0) return 0;
    return pow_positive<uint32_t>(a, e, 1u, mul_mod_mersenne31);
}

uint64_t rukiPowMod2P59(uint64_t a, int32_t e) {
    constexpr uint64_t kMask59 = (uint64_t{1} << 59) - 1;  // high half masked with 0x7FFFFFF
    if (e == 0) return 1;
    if (e < 0) return 0;
    // The low 64 bits of each product, masked: the base unmasked until its
    // first squaring, every product after that below 2^59.
    return pow_positive<uint64_t>(a, e, 1u, [](uint64_t x, uint64_t y) { return x * y & kMask59; });
}

namespace {

using Matrix3 = std::array<uint32_t, 9>;  // by rows

// sum of x[i] * y[i] over three terms mod m: each term reduced by the
// remainder, the running sum (below 2m, so within 64 bits for m < 2^32)
// by one conditional subtraction.
uint32_t dot3_mod(const uint32_t* x, uint32_t y0, uint32_t y1, uint32_t y2, uint32_t m) {
    const uint32_t y[3] = {y0, y1, y2};
    uint64_t s = 0;
    for (int i = 0; i < 3; ++i) {
        s += static_cast<uint64_t>(x[i]) * y[i] % m;
        if (s >= m) s -= m;
    }
    return static_cast<uint32_t>(s);
}

Matrix3 matrix_product(const Matrix3& a, const Matrix3& b, uint32_t m) {
    Matrix3 c;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) c[3 * i + j] = dot3_mod(&a[3 * i], b[j], b[3 + j], b[6 + j], m);
    return c;
}

}  // namespace

void rukiVect3PowMod(uint32_t* v, const uint32_t* c, uint32_t m, int32_t e) {
    if (e < 0 || m == 0) return;
    // Companion matrix of x[n] = c0 x[n-1] + c1 x[n-2] + c2 x[n-3] acting on
    // (x[n-3], x[n-2], x[n-1]).
    const Matrix3 a = {0, 1, 0, 0, 0, 1, c[2], c[1], c[0]};
    const Matrix3 identity = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    const Matrix3 r = e == 0 ? identity
                             : pow_positive<Matrix3>(a, e, identity,
                                                     [m](const Matrix3& x, const Matrix3& y) {
                                                         return matrix_product(x, y, m);
                                                     });
    uint32_t out[3];
    for (int i = 0; i < 3; ++i) out[i] = dot3_mod(&r[3 * i], v[0], v[1], v[2], m);
    for (int i = 0; i < 3; ++i) v[i] = out[i];
}
