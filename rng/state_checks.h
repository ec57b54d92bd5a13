// Invariants of generator states, for whatever reads a state from outside
// the library (a stream file): each answers whether `size` bytes at `state`
// are a state its generator can reach from a seed.  The kernels stay
// memory-safe on any state; these tell a loader what to refuse.
#pragma once

#include <cstddef>
#include <cstdint>

namespace xeb::rng {

// Each component below its modulus and not all zero.
bool mrg32k3a_state_is_valid(const unsigned char* state, std::size_t size);
// x below 2^59 and non-zero, the multiplier odd and below 2^59.
bool mcg59_state_is_valid(const unsigned char* state, std::size_t size);
// Both positions in 0 .. 249, the second 103 after the first.
bool r250_state_is_valid(const unsigned char* state, std::size_t size);
// Components in 1 .. m - 1 and multipliers in 1 .. m - 1 for the moduli of
// sub-id `sub` (0 .. 272).
bool wh_state_is_valid(const unsigned char* state, std::size_t size, int32_t sub);

}  // namespace xeb::rng
