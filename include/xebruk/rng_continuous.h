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
 *   Laplace(a, beta)         a -+ beta ln U1, minus when a second U2 <= 0.5
 *   Weibull(alpha, a, beta)  a + beta (-ln U)^(1/alpha)
 *   Cauchy(a, beta)          a + beta tan V, V uniform on (-pi/2, pi/2)
 *   Rayleigh(a, beta)        a + beta sqrt(-ln U)  (no factor 2)
 *   Gumbel(a, beta)          a + beta ln(-ln U)    (long tail on the low side)
 * method is ignored. */
XEBRUK_API int32_t rukdRngExponential(int32_t method, RukStream *stream, int32_t n, double *r,
                                      double a, double beta);
XEBRUK_API int32_t ruksRngExponential(int32_t method, RukStream *stream, int32_t n, float *r,
                                      float a, float beta);
XEBRUK_API int32_t rukdRngLaplace(int32_t method, RukStream *stream, int32_t n, double *r,
                                  double a, double beta);
XEBRUK_API int32_t ruksRngLaplace(int32_t method, RukStream *stream, int32_t n, float *r,
                                  float a, float beta);
XEBRUK_API int32_t rukdRngWeibull(int32_t method, RukStream *stream, int32_t n, double *r,
                                  double alpha, double a, double beta);
XEBRUK_API int32_t ruksRngWeibull(int32_t method, RukStream *stream, int32_t n, float *r,
                                  float alpha, float a, float beta);
XEBRUK_API int32_t rukdRngCauchy(int32_t method, RukStream *stream, int32_t n, double *r,
                                 double a, double beta);
XEBRUK_API int32_t ruksRngCauchy(int32_t method, RukStream *stream, int32_t n, float *r,
                                 float a, float beta);
XEBRUK_API int32_t rukdRngRayleigh(int32_t method, RukStream *stream, int32_t n, double *r,
                                   double a, double beta);
XEBRUK_API int32_t ruksRngRayleigh(int32_t method, RukStream *stream, int32_t n, float *r,
                                   float a, float beta);
XEBRUK_API int32_t rukdRngGumbel(int32_t method, RukStream *stream, int32_t n, double *r,
                                 double a, double beta);
XEBRUK_API int32_t ruksRngGumbel(int32_t method, RukStream *stream, int32_t n, float *r,
                                 float a, float beta);

/* Gaussian(a, sigma) by Box-Muller.  Method 0: one value per pair of
 * uniforms.  Method 1: two values per pair; an odd count leaves the pair's
 * uniforms in the stream (chunk 2 in double, 1 in single) and the next
 * method-1 call continues the sequence.  Another method: -2. */
#define RUK_METHOD_GAUSSIAN_SINGLE  0
#define RUK_METHOD_GAUSSIAN_PAIRED  1
#define RUK_CHUNK_GAUSSIAN_SINGLE_PAIR  1
#define RUK_CHUNK_GAUSSIAN_DOUBLE_PAIR  2
XEBRUK_API int32_t rukdRngGaussian(int32_t method, RukStream *stream, int32_t n, double *r,
                                   double a, double sigma);
XEBRUK_API int32_t ruksRngGaussian(int32_t method, RukStream *stream, int32_t n, float *r,
                                   float a, float sigma);

/* Lognormal(a, sigma, b, beta): b + beta exp(G), G Gaussian(a, sigma) drawn
 * by method 1 whatever method is given. */
XEBRUK_API int32_t rukdRngLognormal(int32_t method, RukStream *stream, int32_t n, double *r,
                                    double a, double sigma, double b, double beta);
XEBRUK_API int32_t ruksRngLognormal(int32_t method, RukStream *stream, int32_t n, float *r,
                                    float a, float sigma, float b, float beta);

/* Gamma(alpha) shifted by a and scaled by beta: a + beta G, with G of
 * density x^(alpha-1) e^(-x) / Gamma(alpha).  The shape picks the
 * generator: Marsaglia and Tsang's squeeze above 1, the Exponential at 1,
 * rejection from a Weibull law from 0.6 to 1 and a two-part rejection
 * below 0.6.  Above 1 an unused candidate stays in the stream (chunk 7 in
 * double, 8 in single), so that calls of any split continue one sequence.
 * A negative or NaN alpha or beta: RUK_ERROR_BAD_ARGUMENT, nothing drawn or
 * written; also RUK_ERROR_NO_MEMORY when the record cannot be made.
 * method is ignored. */
#define RUK_CHUNK_GAMMA_DOUBLE_PAIR  7
#define RUK_CHUNK_GAMMA_SINGLE_PAIR  8
XEBRUK_API int32_t rukdRngGamma(int32_t method, RukStream *stream, int32_t n, double *r,
                                double alpha, double a, double beta);
XEBRUK_API int32_t ruksRngGamma(int32_t method, RukStream *stream, int32_t n, float *r,
                                float alpha, float a, float beta);

/* Beta(p, q) shifted by a and scaled by beta: a + beta X, X of density
 * x^(p-1) (1-x)^(q-1) / B(p, q).  The shapes pick the generator: Johnk's
 * or a switching rejection (Atkinson and Whittaker) when one is below 1,
 * Cheng's BB when both are above 1, a power of one uniform when one is 1.
 * A shape of 0 or below, or both shapes so small that Johnk's powers
 * underflow in 99% of trials (p + q below 1.5e-5 in double, 1e-4 in
 * single): RUK_ERROR_BAD_ARGUMENT, nothing drawn or written.  A NaN shape
 * draws uniforms on the interval from a to a + beta.  10,000 rejected
 * trials in a row (a stream that is not uniform) also give
 * RUK_ERROR_BAD_ARGUMENT, with the results made so far in r.  method is
 * ignored. */
XEBRUK_API int32_t rukdRngBeta(int32_t method, RukStream *stream, int32_t n, double *r, double p,
                               double q, double a, double beta);
XEBRUK_API int32_t ruksRngBeta(int32_t method, RukStream *stream, int32_t n, float *r, float p,
                               float q, float a, float beta);

/* n vectors of dimension d of the normal law of mean a and covariance
 * T T': r[v d + j] = (T z + a)[j] for z standard normal (drawn by the
 * Gaussian method `method`).  T is lower triangular, stored as storage
 * says: RUK_FACTOR_SQUARE t[j d + k] (the upper triangle is not read),
 * RUK_FACTOR_PACKED the lower triangle column after column, or
 * RUK_FACTOR_DIAGONAL the diagonal alone; another storage gives the
 * standard normals.  d = 1: Gaussian(a[0], t[0]).  A dimension below 1 or
 * n d beyond 2^31 - 1: RUK_ERROR_BAD_ARGUMENT, nothing drawn or written. */
#define RUK_FACTOR_SQUARE    0
#define RUK_FACTOR_PACKED    1
#define RUK_FACTOR_DIAGONAL  2
XEBRUK_API int32_t rukdRngGaussianMV(int32_t method, RukStream *stream, int32_t n, double *r,
                                     int32_t dimension, int32_t storage, const double *a,
                                     const double *t);
XEBRUK_API int32_t ruksRngGaussianMV(int32_t method, RukStream *stream, int32_t n, float *r,
                                     int32_t dimension, int32_t storage, const float *a,
                                     const float *t);

XEBRUK_EXTERN_C_END

#endif
