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

/* R250: the lagged generator x[n] = x[n-250] ^ x[n-147] on a ring of 250
 * words.  250 or more seed words are the ring itself; fewer seed it from
 * their first word (none: from 1) by powers of 69069, with 32 words made
 * independent in their top bits.  No leapfrog, no skip-ahead. */
XEBRUK_API int32_t rukBRngR250InitStream(int32_t method, RukStream *stream, int32_t n,
                                         const uint32_t *params);
XEBRUK_API int32_t ruksBRngR250(RukStream *stream, int32_t n, float *r, float a, float b);
XEBRUK_API int32_t rukdBRngR250(RukStream *stream, int32_t n, double *r, double a, double b);
XEBRUK_API int32_t rukiBRngR250(RukStream *stream, int32_t n, uint32_t *r);

/* MRG32K3A: L'Ecuyer's combined multiple recursive generator of two
 * components of order 3, moduli 2^32 - 209 and 2^32 - 22853.  Up to six seed
 * words (x1, x2, x3, y1, y2, y3; missing ones are 1).  The integer kernel
 * writes z in 1 .. 2^32 - 209.  Skip-ahead by matrix powers; no leapfrog. */
XEBRUK_API int32_t rukBRngMRG32K3AInitStream(int32_t method, RukStream *stream, int32_t n,
                                             const uint32_t *params);
XEBRUK_API int32_t ruksBRngMRG32K3A(RukStream *stream, int32_t n, float *r, float a, float b);
XEBRUK_API int32_t rukdBRngMRG32K3A(RukStream *stream, int32_t n, double *r, double a, double b);
XEBRUK_API int32_t rukiBRngMRG32K3A(RukStream *stream, int32_t n, uint32_t *r);

/* MCG59: x <- 13^13 x mod 2^59.  Seed words: the low and the high half of x
 * (x = 0 becomes 1).  The integer kernel writes 64-bit elements (n of them).
 * Leapfrog and skip-ahead. */
XEBRUK_API int32_t rukBRngMCG59InitStream(int32_t method, RukStream *stream, int32_t n,
                                          const uint32_t *params);
XEBRUK_API int32_t ruksBRngMCG59(RukStream *stream, int32_t n, float *r, float a, float b);
XEBRUK_API int32_t rukdBRngMCG59(RukStream *stream, int32_t n, double *r, double a, double b);
XEBRUK_API int32_t rukiBRngMCG59(RukStream *stream, int32_t n, uint64_t *r);

/* WH: the four-component Wichmann-Hill generator, with 273 parameter sets
 * (ids RUK_BRNG_WH + 0 .. 272, or 4 .. 276 in the older table).  Up to four
 * seed words, one per component (missing ones are 1; n below 0 reads four).
 * The integer kernel writes four 32-bit words, the four components, per
 * element.  Leapfrog and skip-ahead. */
XEBRUK_API int32_t rukBRngWHInitStream(int32_t method, RukStream *stream, int32_t n,
                                       const uint32_t *params);
XEBRUK_API int32_t ruksBRngWH(RukStream *stream, int32_t n, float *r, float a, float b);
XEBRUK_API int32_t rukdBRngWH(RukStream *stream, int32_t n, double *r, double a, double b);
XEBRUK_API int32_t rukiBRngWH(RukStream *stream, int32_t n, uint32_t *r);

/* MT19937: the Mersenne Twister of period 2^19937 - 1, seeded from an array
 * of n key words (n <= 0: the key {1}).  No leapfrog, no skip-ahead.  The
 * kernels use r as their working buffer; a count of zero or below writes
 * nothing and moves the position back by -n words. */
XEBRUK_API int32_t rukBRngMT19937InitStream(int32_t method, RukStream *stream, int32_t n,
                                            const uint32_t *params);
XEBRUK_API int32_t ruksBRngMT19937(RukStream *stream, int32_t n, float *r, float a, float b);
XEBRUK_API int32_t rukdBRngMT19937(RukStream *stream, int32_t n, double *r, double a, double b);
XEBRUK_API int32_t rukiBRngMT19937(RukStream *stream, int32_t n, uint32_t *r);

/* MT2203: 1024 Mersenne Twisters of period 2^2203 - 1, one per id
 * RUK_BRNG_MT2203 + k (k = 0..1023), each with its own recurrence, for
 * independent parallel streams; seeded from a key array like MT19937, with
 * the same kernel conventions.  rukCopyStreamState moves the words and the
 * position and leaves each stream its own parameter set.  No leapfrog, no
 * skip-ahead. */
XEBRUK_API int32_t rukBRngMT2203InitStream(int32_t method, RukStream *stream, int32_t n,
                                           const uint32_t *params);
XEBRUK_API int32_t ruksBRngMT2203(RukStream *stream, int32_t n, float *r, float a, float b);
XEBRUK_API int32_t rukdBRngMT2203(RukStream *stream, int32_t n, double *r, double a, double b);
XEBRUK_API int32_t rukiBRngMT2203(RukStream *stream, int32_t n, uint32_t *r);

/* SOBOL: the Sobol quasi-random sequence of up to 40 dimensions in
 * Gray-code order.  params[0] is the dimension (1 without seeds, above 40
 * taken as 1); the numbers are the components of one vector after another,
 * and a call may stop inside a vector.  Leapfrog only with nstreams
 * 0x7FFFFFFF: the stream then hands out component k alone.  Skip-ahead by
 * any count of 1 or more numbers.  A stream of dimension 0 or below hands
 * out nothing: its kernels return RUK_ERROR_BAD_ARGUMENT for counts of 1
 * or more. */
XEBRUK_API int32_t rukBRngSobolInitStream(int32_t method, RukStream *stream, int32_t n,
                                          const uint32_t *params);
XEBRUK_API int32_t ruksBRngSobol(RukStream *stream, int32_t n, float *r, float a, float b);
XEBRUK_API int32_t rukdBRngSobol(RukStream *stream, int32_t n, double *r, double a, double b);
XEBRUK_API int32_t rukiBRngSobol(RukStream *stream, int32_t n, uint32_t *r);

/* Niederr: the base-2 Niederreiter sequence of up to 318 dimensions in
 * Gray-code order, with SOBOL's kernels, leapfrog and dimension rules (above
 * 318 taken as 1).  Its direction numbers are built at creation.  A
 * skip-ahead that starts inside a vector makes two vector steps fewer than
 * drawing the same count would; from a whole vector it agrees with drawing. */
XEBRUK_API int32_t rukBRngNiederrInitStream(int32_t method, RukStream *stream, int32_t n,
                                            const uint32_t *params);
XEBRUK_API int32_t ruksBRngNiederr(RukStream *stream, int32_t n, float *r, float a, float b);
XEBRUK_API int32_t rukdBRngNiederr(RukStream *stream, int32_t n, double *r, double a, double b);
XEBRUK_API int32_t rukiBRngNiederr(RukStream *stream, int32_t n, uint32_t *r);

XEBRUK_EXTERN_C_END

#endif
