/* Continuous distributions drawn from a stream, in double (rukd...) and
 * single (ruks...) precision.  Every function takes a method number, the
 * stream, the count n and the result array r, then the law's parameters,
 * and returns the status of the generator's kernel (negative: the draw
 * failed and r holds what was written before).  Parameters are not
 * checked; the stream advances by exactly the uniforms drawn. */
#ifndef XEBRUK_RNG_CONTINUOUS_H
#define XEBRUK_RNG_CONTINUOUS_H

#include <stdint.h>
#include "export.h"
#include "rng_stream.h"

XEBRUK_EXTERN_C_BEGIN

/* Uniform on the interval from a to b, as the generator's kernel writes it
 * (method ignored). */
XEBRUK_API int32_t rukdRngUniform(int32_t method, RukStream *stream, int32_t n, double *r,
                                  double a, double b);
XEBRUK_API int32_t ruksRngUniform(int32_t method, RukStream *stream, int32_t n, float *r,
                                  float a, float b);

/* Inverse-transform laws; U uniform on (0, 1).
 *   Exponential(a, beta)     a - beta ln U; the single form then max(., a)
 *   Gumbel(a, beta)          a + beta ln(-ln U)    (long tail on the low side)
 * method is ignored. */
XEBRUK_API int32_t rukdRngExponential(int32_t method, RukStream *stream, int32_t n, double *r,
                                      double a, double beta);
XEBRUK_API int32_t ruksRngExponential(int32_t method, RukStream *stream, int32_t n, float *r,
                                      float a, float beta);
XEBRUK_API int32_t rukdRngGumbel(int32_t method, RukStream *stream, int32_t n, double *r,
                                 double a, double beta);
XEBRUK_API int32_t ruksRngGumbel(int32_t method, RukStream *stream, int32_t n, float *r,
                                 float a, float beta);

XEBRUK_EXTERN_C_END

#endif
