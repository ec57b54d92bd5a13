// MCG59's real fills in the kernel classes (rng/simd/mcg59.cpp, built once
// per class), filled when the library loads; the baseline class has none
// (rng/mcg59.cpp).  An entry runs `lanes` chains side by side, chain j from
// x[j] (element j of the call) stepping by `stride` = a^lanes mod 2^59, for
// `steps` steps, and writes element i to out[i]: the word rounded to T,
// times `scale` (a power of two keeping every product normal), plus a
// (a zero).  It leaves x[0] at element steps * lanes.
#pragma once

#include <cstdint>

namespace xeb {
namespace rng {

constexpr int kMcg59MostLanes = 16;

struct Mcg59Table {
    int lanes;
    void (*doubles)(uint64_t* x, uint64_t stride, int32_t steps, double* out, double scale, double a);
    void (*floats)(uint64_t* x, uint64_t stride, int32_t steps, float* out, float scale, float a);
};

}  // namespace rng
}  // namespace xeb
