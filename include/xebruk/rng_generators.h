/* Basic generators: each has an initStream (methods RUK_INIT_NEW,
 * RUK_INIT_LEAPFROG, RUK_INIT_SKIPAHEAD) and three kernels that fill r with
 * n numbers: single and double on the interval from a to b, and the raw
 * output words.  Normally reached through a stream and its table row. */
#ifndef XEBRUK_RNG_GENERATORS_H
#define XEBRUK_RNG_GENERATORS_H

#include <stdint.h>
#include "export.h"
#include "rng_stream.h"

XEBRUK_EXTERN_C_BEGIN

/* MCG31M1: x <- 1132489760 x mod 2^31 - 1.  One seed word (taken mod
 * 2^31 - 1, 0 becomes 1); leapfrog and skip-ahead.  The integer kernel
 * writes the values of x themselves (and always writes r[0], see the
 * documentation of its counts). */
XEBRUK_API int32_t rukBRngMCG31M1InitStream(int32_t method, RukStream *stream, int32_t n,
                                            const uint32_t *params);
XEBRUK_API int32_t ruksBRngMCG31M1(RukStream *stream, int32_t n, float *r, float a, float b);
XEBRUK_API int32_t rukdBRngMCG31M1(RukStream *stream, int32_t n, double *r, double a, double b);
XEBRUK_API int32_t rukiBRngMCG31M1(RukStream *stream, int32_t n, uint32_t *r);

XEBRUK_EXTERN_C_END

#endif
