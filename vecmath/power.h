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
template <class T>
struct PowSpecialOf {
    bool decided;
    T result;
    int code;
    T magnitude;
    T sign;
};
using PowSpecial = PowSpecialOf<float>;
PowSpecial powSpecialS(float x, float y);
PowSpecialOf<double> powSpecialD(double x, double y);

// The logarithm of the double power of the SIMD kernel classes
// (tools/explog_vector_tables generates them into pow_vector_tables.inc):
// log x = k ln 2 + log c + log1p(r) over 128 rows; see the generated file.
namespace powv {
extern const double powInvC[128], powLogC[128], powLogCLo[128], powLogPoly[6];
}  // namespace powv

}  // namespace xeb
