// Powers under a modulus, for leapfrog and skip-ahead of the linear
// generators: a multiplier a^k jumps a multiplicative generator k steps,
// and the k-th power of the companion matrix jumps a recurrence of order 3.
//
// All follow one square-and-multiply loop.  An exponent of 0 gives 1 (the
// identity) before the modulus is looked at, so m = 1 still answers 1.  A
// negative exponent would shift forever; here it gives 0 (rukiVect3PowMod
// leaves v alone), as does a modulus of 0, which has no remainder.
#include "rng/modular.h"
#include "xebruk/rng_modular.h"

using xeb::rng::companion_matrix;
using xeb::rng::kIdentity3;
using xeb::rng::kMersenne31;
using xeb::rng::Matrix3;
using xeb::rng::matrix_power;
using xeb::rng::matrix_times_vector;
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

void rukiVect3PowMod(uint32_t* v, const uint32_t* c, uint32_t m, int32_t e) {
    if (e < 0 || m == 0) return;
    // e = 0: the identity, which still reduces each element of v.
    const Matrix3 r = e == 0 ? kIdentity3
                             : matrix_power(companion_matrix(c[0], c[1], c[2]),
                                            static_cast<uint64_t>(e), m);
    matrix_times_vector(r, v, m);
}
