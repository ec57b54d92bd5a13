// MRG32K3A's entries in the kernel classes (rng/simd/mrg32k3a.cpp, built
// once per class), filled when the library loads; the baseline class has
// none and runs its own chains (rng/mrg32k3a.cpp).  An entry runs `chains`
// chains, chain j from start[j] = (x[n-3], x[n-2], x[n-1], y[n-3], y[n-2],
// y[n-1]) for `steps` steps (a multiple of 8), and writes step i of chain j
// to out[j steps + i].
#pragma once

#include <cstdint>

namespace xeb {
namespace rng {

struct Mrg32k3aTable {
    int chains;
    void (*words)(const uint32_t (*start)[6], int32_t steps, uint32_t* out);
    // z c rounded to the 64-bit significand, then to double: c a double
    // with c and m1 c in the normal range, under the stream control words.
    void (*scaled_doubles)(const uint32_t (*start)[6], int32_t steps, double* out, double c);
    // z c rounded to the 64-bit significand, then to float: c a long
    // double with c and m1 c in the normal range of floats, hi = c rounded
    // to double.
    void (*scaled_floats)(const uint32_t (*start)[6], int32_t steps, float* out, double hi, long double c);
};

}  // namespace rng

}  // namespace xeb
