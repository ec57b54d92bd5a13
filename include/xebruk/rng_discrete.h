/* Discrete distributions drawn from a stream: 32-bit integer results.
 * Every function takes a method number (ignored: each law has one method),
 * the stream, the count n and the result array r, then the law's
 * parameters, and returns the status of the last draw from the generator
 * (negative: the draw failed and the call stopped there; 0 when nothing was
 * drawn).  Parameters are not checked unless a function says so.  The
 * conversions to integers leave the x87 control word and MXCSR as they
 * are. */
#ifndef XEBRUK_RNG_DISCRETE_H
#define XEBRUK_RNG_DISCRETE_H

#include <stdint.h>
#include "export.h"
#include "rng_stream.h"

XEBRUK_EXTERN_C_BEGIN

/* floor(X), X drawn by the generator's double kernel on the interval from
 * a to b: for generators whose numbers stay below b, every integer of
 * [a, b) equally often.  One double per result. */
XEBRUK_API int32_t rukiRngUniform(int32_t method, RukStream *stream, int32_t n, int32_t *r,
                                  int32_t a, int32_t b);

/* The generator's raw output words, as its integer kernel writes them: n
 * words of the row's wordSize bytes (4 for most generators, so r is then an
 * array of n 32-bit words). */
XEBRUK_API int32_t rukiRngUniformBits(int32_t method, RukStream *stream, int32_t n, uint32_t *r);

/* 1 when U < p, else 0, with U a single-precision uniform on (0, 1). */
XEBRUK_API int32_t rukiRngBernoulli(int32_t method, RukStream *stream, int32_t n, int32_t *r,
                                    double p);

/* trunc(ln U / ln(1 - p)): the count of failures before the first success,
 * with U a single-precision uniform on (0, 1). */
XEBRUK_API int32_t rukiRngGeometric(int32_t method, RukStream *stream, int32_t n, int32_t *r,
                                    double p);

/* Successes in trials independent trials of probability p.  Its set-up is
 * kept on the stream (chunk RUK_CHUNK_BINOMIAL) and reused while trials and
 * p stay the same.  Also RUK_ERROR_NO_MEMORY when that record cannot be
 * made, and RUK_ERROR_BAD_ARGUMENT (nothing drawn) for arguments under
 * which the rejection method could not end (p NaN, for instance). */
XEBRUK_API int32_t rukiRngBinomial(int32_t method, RukStream *stream, int32_t n, int32_t *r,
                                   int32_t trials, double p);

/* Identifier of the Binomial set-up among a stream's chunks. */
#define RUK_CHUNK_BINOMIAL 5

/* Poisson(lambda): one mean for the whole array.
 *   method 0 (RUK_METHOD_POISSON_TABLE_REJECT): exact; inversion by a table
 *     of 32 cumulative probabilities below a mean of 27 (one double uniform
 *     per result), PTPE rejection from 27 up (two float uniforms per
 *     trial).  Its set-up is kept on the stream (chunk RUK_CHUNK_POISSON),
 *     the two routes in independent halves, each rebuilt only when its
 *     mean changes.  Means up to RUK_POISSON_MAX_MEAN.
 *   method 1 (RUK_METHOD_POISSON_GAUSSIAN_MAP): one Gaussian (method 1 of
 *     ruksRngGaussian) per result, turned into a count by fitted
 *     polynomials of the quantile function; below a mean of 1, one float
 *     uniform per result and no count above 11.
 * A negative or NaN mean (or above the limit in method 0):
 * RUK_ERROR_BAD_ARGUMENT, nothing drawn or written.  Another method: -2. */
#define RUK_METHOD_POISSON_TABLE_REJECT  0
#define RUK_METHOD_POISSON_GAUSSIAN_MAP  1
#define RUK_CHUNK_POISSON                3
#define RUK_POISSON_MAX_MEAN             2143289344.0 /* 2^31 - 2^22 */
XEBRUK_API int32_t rukiRngPoisson(int32_t method, RukStream *stream, int32_t n, int32_t *r,
                                  double lambda);

/* Poisson with a mean of its own for every element, lambda[0 .. n-1], by
 * the Gaussian map: one Gaussian (method 1 of ruksRngGaussian) per result
 * whatever the means.  Any negative or NaN mean: RUK_ERROR_BAD_ARGUMENT,
 * nothing drawn or written.  method is ignored. */
XEBRUK_API int32_t rukiRngPoissonV(int32_t method, RukStream *stream, int32_t n, int32_t *r,
                                   const double *lambda);

/* Marked items in a sample of s drawn without replacement from a lot of l
 * items of which m are marked.  Its set-up is kept on the stream (chunk
 * RUK_CHUNK_HYPERGEOMETRIC) and reused while l, s and m stay the same.
 * RUK_ERROR_BAD_ARGUMENT, with nothing drawn or written, unless
 * 0 <= s <= l and 0 <= m <= l; RUK_ERROR_NO_MEMORY when the record cannot
 * be made. */
XEBRUK_API int32_t rukiRngHypergeometric(int32_t method, RukStream *stream, int32_t n, int32_t *r,
                                         int32_t l, int32_t s, int32_t m);

/* Failures before the a-th success of probability p, for real a > 0: the
 * chance of k is Gamma(a + k) / (Gamma(a) k!) p^a (1 - p)^k.  Its set-up is
 * kept on the stream (chunk RUK_CHUNK_NEGBINOMIAL) and reused while a and p
 * stay the same.  RUK_ERROR_BAD_ARGUMENT, with nothing drawn or written,
 * unless a is finite and above 0, p lies in (0, 1], and the law's mass at
 * 2^31 and above (which 32-bit results cannot hold) is negligible;
 * RUK_ERROR_NO_MEMORY when the record cannot be made. */
XEBRUK_API int32_t rukiRngNegbinomial(int32_t method, RukStream *stream, int32_t n, int32_t *r,
                                      double a, double p);

/* Identifiers of their set-ups among a stream's chunks. */
#define RUK_CHUNK_NEGBINOMIAL 4
#define RUK_CHUNK_HYPERGEOMETRIC 6

XEBRUK_EXTERN_C_END

#endif
