/* Modular powers behind leapfrog and skip-ahead of the linear generators,
 * and four scalar helpers for callers of the library.
 *
 * Powers run by square-and-multiply.  An exponent of 0 gives 1 (the
 * identity matrix) without looking at the modulus.  A negative exponent has
 * no meaning here: the scalar powers return 0 for it and rukiVect3PowMod
 * leaves v alone.  A modulus of 0 likewise gives 0 (v alone). */
#ifndef XEBRUK_RNG_MODULAR_H
#define XEBRUK_RNG_MODULAR_H

#include <stdint.h>
#include "export.h"

XEBRUK_EXTERN_C_BEGIN

/* a^e mod m. */
XEBRUK_API uint32_t rukiPowMod(uint32_t a, int32_t e, uint32_t m);
/* a^e mod 2^31 - 1, for a below 2^31; the result is in 0 .. 2^31 - 2. */
XEBRUK_API uint32_t rukiPowMod2P31M1(uint32_t a, int32_t e);
/* a^e mod 2^59. */
XEBRUK_API uint64_t rukiPowMod2P59(uint64_t a, int32_t e);
/* v <- A^e v mod m, with A the companion matrix of
 * x[n] = c[0] x[n-1] + c[1] x[n-2] + c[2] x[n-3] and v = (x[n-3], x[n-2], x[n-1]). */
XEBRUK_API void rukiVect3PowMod(uint32_t *v, const uint32_t *c, uint32_t m, int32_t e);

/* Scalar helpers: floor, natural logarithm and square root. */
XEBRUK_API double rukdFloor(double x);
XEBRUK_API double rukdLn(double x);
XEBRUK_API float ruksLn(float x);
XEBRUK_API double rukdSqrt(double x);

XEBRUK_EXTERN_C_END

#endif
