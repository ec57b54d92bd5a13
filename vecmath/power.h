// Internal pieces of the power kernels that tests reach directly.
#pragma once

namespace xeb {

// Classification of an exponent: 0 not an integer (infinities and NaNs
// included), 1 odd integer, 2 even integer (zeros and |y| >= 2^53).
int powParity(double y);

}  // namespace xeb
