// The parameter sets of the WH generator (rng/wh_parameters.inc, written by
// tools/wh_parameters): one row per sub-id.
#pragma once

#include <cstdint>

namespace xeb::rng {

constexpr int kWhSets = 273;
constexpr int kWhComponents = 4;

struct WhParameters {
    uint8_t multiplier[kWhComponents];  // 112 .. 127, a primitive root of its modulus
    uint32_t modulus[kWhComponents];    // primes in 16718909 .. 16776971
    double reciprocal[kWhComponents];   // 1.0 / modulus, rounded to double
};

extern const WhParameters kWhParameters[kWhSets];

}  // namespace xeb::rng
