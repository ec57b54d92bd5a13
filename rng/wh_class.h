// WH's real fills in the kernel classes (rng/simd/wh.cpp, built once per
// class), filled when the library loads; the baseline class has none and
// sums in the x87 (rng/wh.cpp).  An entry runs `lanes` chains side by side,
// chain j at element j of the call and stepping by the multipliers' powers
// a_i^lanes, for `steps` steps, and writes element i to out[i]:
// (sum - its integer part) w + a with w a power of two and a zero, exactly
// as the x87 forms it.  It leaves x[i][0] at element steps * lanes.
#pragma once

#include <cstdint>

namespace xeb {
namespace rng {

constexpr int kWhMostLanes = 16;

struct WhLanes {
    double x[4][kWhMostLanes];  // component i of chain j, in 1 .. m_i - 1
    double stride[4];           // a_i^lanes mod m_i
    double modulus[4], reciprocal[4];
};

struct WhTable {
    int lanes;
    void (*doubles)(WhLanes& s, int32_t steps, double* out, double w, double a);
    void (*floats)(WhLanes& s, int32_t steps, float* out, double w, float a);
};

}  // namespace rng
}  // namespace xeb
