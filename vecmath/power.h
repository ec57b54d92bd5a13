// Internal pieces of the power kernels that tests reach directly.
#pragma once

namespace xeb {

// Classification of an exponent: 0 not an integer (infinities and NaNs
// included), 1 odd integer, 2 even integer (zeros and |y| >= 2^53).
int powParity(double y);

// The special-argument table of every form, for the kernel classes'
// one-element routines: true with the result and its event code (0 for
// none) when the table decides x^y; otherwise false, with |x| and the
// sign (+1, or -1 for a negative x with an odd integer y) to compute.
struct PowSpecial {
    bool decided;
    float result;
    int code;
    float magnitude;
    float sign;
};
PowSpecial powSpecialS(float x, float y);

}  // namespace xeb
